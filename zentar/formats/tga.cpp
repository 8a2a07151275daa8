// Truevision TGA: colour-mapped (8-bit indexes into a map of 15, 16, 24 or
// 32-bit entries), true colour of 15, 16, 24 and 32 bits, grey of 8 bits
// (16 with alpha), raw or run-length encoded, rows bottom-up or top-down,
// left-to-right or right-to-left. The file has no magic number: the header
// fields must be plausible together (and the optional footer of newer files
// is checked when present).
//
// Written bottom-up with the footer: binary and palette pictures as a
// colour map of 24-bit entries, grey as 8-bit grey, true colour as 24 bits,
// or 32 bits with the mask as alpha. FormatParams.rleCompress writes the
// run-length encoded types; packets never cross a row.
//
// Alpha: 32-bit pixels and 16-bit pixels with one attribute bit carry it;
// a 32-bit file whose alpha bytes are all zero and whose header claims no
// alpha bits is taken as opaque (older writers left the byte empty).
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"
#include "raster_helpers.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

enum ImageType : uint8_t { kMapped = 1, kTrue = 2, kGrey = 3, kRleMapped = 9, kRleTrue = 10, kRleGrey = 11 };
constexpr size_t kHeaderBytes = 18;
constexpr char kFooterSignature[] = "TRUEVISION-XFILE.";   // written with its zero byte
constexpr size_t kFooterBytes = 26;

struct TgaHeader {
    uint8_t idLength = 0, mapType = 0, imageType = 0;
    uint16_t mapFirst = 0, mapLength = 0;
    uint8_t mapEntryBits = 0;
    uint16_t width = 0, height = 0;
    uint8_t depth = 0, descriptor = 0;
    size_t mapOffset = 0, dataOffset = 0;

    bool rle() const { return imageType >= kRleMapped; }
    uint8_t baseType() const { return rle() ? uint8_t(imageType - 8) : imageType; }
    bool topDown() const { return (descriptor & 0x20) != 0; }
    bool rightToLeft() const { return (descriptor & 0x10) != 0; }
    int alphaBits() const { return descriptor & 15; }
    int pixelBytes() const { return (depth + 7) / 8; }
};

void readFields(Bytes bytes, TgaHeader &h) {
    const uint8_t *p = bytes.data();
    h.idLength = p[0];
    h.mapType = p[1];
    h.imageType = p[2];
    h.mapFirst = readLe16(p + 3);
    h.mapLength = readLe16(p + 5);
    h.mapEntryBits = p[7];
    h.width = readLe16(p + 12);
    h.height = readLe16(p + 14);
    h.depth = p[16];
    h.descriptor = p[17];
    h.mapOffset = kHeaderBytes + h.idLength;
    const size_t mapBytes = h.mapType == 1 ? size_t(h.mapLength) * ((h.mapEntryBits + 7) / 8) : 0;
    h.dataOffset = h.mapOffset + mapBytes;
}

// Why the fields do not describe a picture we read, or "" when they do.
std::string problemWith(const TgaHeader &h) {
    const uint8_t base = h.baseType();
    if (h.mapType > 1) return "Unknown TGA colour map type";
    if (base != kMapped && base != kTrue && base != kGrey) return "Unknown TGA image type " + std::to_string(h.imageType);
    if (h.imageType > kRleGrey) return "Unknown TGA image type " + std::to_string(h.imageType);
    if (h.width == 0 || h.height == 0) return "Bad TGA picture size";
    if ((h.descriptor & 0xc0) != 0) return "Interleaved TGA rows are not supported";
    if (h.mapType == 1 && h.mapEntryBits != 15 && h.mapEntryBits != 16 && h.mapEntryBits != 24 && h.mapEntryBits != 32)
        return "Bad TGA colour map entry size";
    if (h.mapType == 0 && h.mapLength != 0) return "TGA colour map without a map type";
    switch (base) {
    case kMapped:
        if (h.mapType != 1 || h.depth != 8) return "Colour-mapped TGA needs a map and 8-bit indexes";
        break;
    case kTrue:
        if (h.depth != 15 && h.depth != 16 && h.depth != 24 && h.depth != 32)
            return "TGA with " + std::to_string(h.depth) + " bits per pixel is not supported";
        break;
    default:
        if (h.depth != 8 && h.depth != 16) return "Grey TGA needs 8 or 16 bits per pixel";
        break;
    }
    if (h.alphaBits() > 8 || h.alphaBits() > h.depth) return "Bad TGA alpha bits";
    return {};
}

bool sniffTga(Bytes head) {
    if (head.size() < kHeaderBytes) return false;
    TgaHeader h;
    readFields(head, h);
    if (!problemWith(h).empty()) return false;
    // Older files have no signature; a newer one ends in its footer.
    if (head.size() >= kFooterBytes + kHeaderBytes &&
        std::memcmp(head.data() + head.size() - 18, kFooterSignature, 17) == 0)
        return true;
    return head.size() >= h.dataOffset;
}

OpStatus parseHeader(Bytes bytes, TgaHeader &h, std::string &message) {
    if (bytes.size() < kHeaderBytes) {
        message = "Not a TGA file";
        return ZNT_BAD_FILE;
    }
    readFields(bytes, h);
    message = problemWith(h);
    if (!message.empty()) return ZNT_BAD_FILE;
    if (h.dataOffset > bytes.size()) return ZNT_CANT_READ;
    return ZNT_OK;
}

int colorModelOf(const TgaHeader &h) {
    switch (h.baseType()) {
    case kMapped:
        return ZNT_CM_PALETTE;
    case kGrey:
        return h.depth == 16 ? ZNT_CM_GREY_ALPHA : ZNT_CM_GREY;
    default:
        return h.depth == 32 || (h.depth == 16 && h.alphaBits() == 1) ? ZNT_CM_RGBA : ZNT_CM_RGB;
    }
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    TgaHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, header.message); s != ZNT_OK) return s;
    const int bits = h.baseType() == kTrue ? (h.depth == 32 ? 8 : h.depth == 24 ? 8 : 5) : 8;
    header.images.push_back(ZntSubImage{uint16_t(colorModelOf(h)), h.width, h.height, uint16_t(bits)});
    header.compression = h.rle() ? 1 : 0;
    header.compressionName = h.rle() ? "RLE" : "None";
    if (h.idLength > 0) {
        const char *id = reinterpret_cast<const char *>(source.bytes.data()) + kHeaderBytes;
        header.comment.assign(id, strnlen(id, h.idLength));
    }
    return ZNT_OK;
}

// The 5-bit channels of 15 and 16-bit pixels spread over 0-255.
constexpr std::array<uint8_t, 32> kFiveBits = [] {
    std::array<uint8_t, 32> t{};
    for (int i = 0; i < 32; ++i) t[size_t(i)] = uint8_t((i * 255 + 15) / 31);
    return t;
}();

// Run-length packets may run on from one row into the next, so the
// decoder keeps the packet it is in between rows.
class RleRows {
public:
    RleRows(Bytes bytes, size_t offset, int pixelBytes) : bytes_(bytes), pos_(offset), pixelBytes_(size_t(pixelBytes)) {}

    // Fills `count` pixels; false when the data ends first.
    bool row(uint8_t *out, uint32_t count) {
        const size_t pb = pixelBytes_;
        while (count > 0) {
            if (left_ == 0) {
                if (pos_ >= bytes_.size()) return false;
                const uint8_t c = bytes_[pos_++];
                left_ = (c & 0x7fu) + 1;
                repeat_ = (c & 0x80) != 0;
                if (repeat_) {
                    if (bytes_.size() - pos_ < pb) return false;
                    std::memcpy(value_, bytes_.data() + pos_, pb);
                    pos_ += pb;
                }
            }
            const uint32_t n = std::min(left_, count);
            if (repeat_) {
                for (uint32_t i = 0; i < n; ++i, out += pb) std::memcpy(out, value_, pb);
            } else {
                const size_t want = size_t(n) * pb;
                if (bytes_.size() - pos_ < want) return false;
                std::memcpy(out, bytes_.data() + pos_, want);
                pos_ += want;
                out += want;
            }
            left_ -= n;
            count -= n;
        }
        return true;
    }

private:
    Bytes bytes_;
    size_t pos_;
    size_t pixelBytes_;
    uint32_t left_ = 0;
    bool repeat_ = false;
    uint8_t value_[4] = {};
};

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    TgaHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    const Bytes bytes = source.bytes;
    const uint32_t w = h.width, height = h.height;
    if (request.tooLarge(w, height)) return ZNT_NO_MEMORY;
    const int pb = h.pixelBytes();
    // A packet of one byte and one pixel stands for at most 128 pixels.
    const uint64_t raster = uint64_t(w) * height * uint64_t(pb);
    const uint64_t available = bytes.size() - h.dataOffset;
    if (!canHold(raster, available, h.rle() ? 128 * uint64_t(pb) / (pb + 1) : 1, request.ignoreErrors()))
        return ZNT_CANT_READ;

    uint8_t palette[768] = {};
    int entries = 0;
    if (h.mapType == 1) {
        const int entryBytes = (h.mapEntryBits + 7) / 8;
        const uint8_t *m = bytes.data() + h.mapOffset;
        for (uint32_t i = 0; i < h.mapLength; ++i, m += entryBytes) {
            const uint32_t index = uint32_t(h.mapFirst) + i;
            if (index >= 256) break;
            uint8_t r, g, b;
            if (entryBytes == 2) {
                const uint16_t v = readLe16(m);
                r = kFiveBits[(v >> 10) & 31], g = kFiveBits[(v >> 5) & 31], b = kFiveBits[v & 31];
            } else {
                b = m[0], g = m[1], r = m[2];
            }
            palette[index] = r, palette[256 + index] = g, palette[512 + index] = b;
            entries = int(index) + 1;
        }
    }

    const uint8_t base = h.baseType();
    bool inverted = false;
    int type = ZNT_RGB;
    if (base == kMapped) {
        type = isBlackWhitePalette(palette, entries, inverted) ? ZNT_BINARY : ZNT_PALETTE;
    } else if (base == kGrey) {
        type = h.depth == 16 ? ZNT_RGBA : ZNT_GREY;
    } else if (h.depth == 32 || (h.depth == 16 && h.alphaBits() == 1)) {
        type = ZNT_RGBA;
    }
    if (!out.allocate(type, 8, w, height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOf(h));
    if (type == ZNT_PALETTE) {
        std::memcpy(pic.palette, palette, sizeof palette);
        pic.numberOfColors = uint16_t(std::max(entries, 1));
    }

    std::vector<uint8_t> raw(size_t(w) * size_t(pb) + 8);
    RleRows rle(bytes, h.dataOffset, pb);
    const size_t rowBytes = size_t(w) * size_t(pb);
    Progress progress(request, int(height));
    bool complete = true;
    for (uint32_t i = 0; i < height; ++i) {
        if (h.rle()) {
            complete = rle.row(raw.data(), w);
        } else {
            const uint64_t at = h.dataOffset + uint64_t(i) * rowBytes;
            complete = at + rowBytes <= bytes.size();
            if (complete) std::memcpy(raw.data(), bytes.data() + at, rowBytes);
        }
        if (!complete) break;
        if (h.rightToLeft()) {
            for (uint32_t a = 0, b = w - 1; a < b; ++a, --b)
                std::swap_ranges(raw.data() + size_t(a) * pb, raw.data() + size_t(a + 1) * pb, raw.data() + size_t(b) * pb);
        }
        uint8_t *row = out.row(h.topDown() ? i : height - 1 - i);
        const uint8_t *in = raw.data();
        switch (type) {
        case ZNT_BINARY:
            packBits(in, w, row, inverted);
            break;
        case ZNT_PALETTE:
        case ZNT_GREY:
            std::memcpy(row, in, w);
            break;
        case ZNT_RGB:
            if (pb == 3) {
                for (uint32_t x = 0; x < w; ++x, in += 3, row += 3) row[0] = in[2], row[1] = in[1], row[2] = in[0];
            } else if (pb == 4) {
                for (uint32_t x = 0; x < w; ++x, in += 4, row += 3) row[0] = in[2], row[1] = in[1], row[2] = in[0];
            } else {
                for (uint32_t x = 0; x < w; ++x, in += 2, row += 3) {
                    const uint16_t v = readLe16(in);
                    row[0] = kFiveBits[(v >> 10) & 31], row[1] = kFiveBits[(v >> 5) & 31], row[2] = kFiveBits[v & 31];
                }
            }
            break;
        default:   // RGBA
            if (base == kGrey) {
                for (uint32_t x = 0; x < w; ++x, in += 2, row += 4) row[0] = row[1] = row[2] = in[0], row[3] = in[1];
            } else if (pb == 4) {
                for (uint32_t x = 0; x < w; ++x, in += 4, row += 4)
                    row[0] = in[2], row[1] = in[1], row[2] = in[0], row[3] = in[3];
            } else {
                for (uint32_t x = 0; x < w; ++x, in += 2, row += 4) {
                    const uint16_t v = readLe16(in);
                    row[0] = kFiveBits[(v >> 10) & 31], row[1] = kFiveBits[(v >> 5) & 31], row[2] = kFiveBits[v & 31];
                    row[3] = (v & 0x8000) ? 255 : 0;
                }
            }
            break;
        }
        if (progress.row(int(i))) return ZNT_STOPPED;
    }
    if (!complete && !request.ignoreErrors()) return ZNT_CANT_READ;

    if (type == ZNT_RGBA && h.depth == 32 && h.alphaBits() == 0) {
        // No alpha bits claimed and every alpha byte zero: an opaque picture.
        bool anyAlpha = false;
        for (uint32_t y = 0; y < height && !anyAlpha; ++y) {
            const uint8_t *row = out.row(y);
            for (uint32_t x = 0; x < w; ++x) anyAlpha |= row[4 * x + 3] != 0;
        }
        if (!anyAlpha)
            for (uint32_t y = 0; y < height; ++y) {
                uint8_t *row = out.row(y);
                for (uint32_t x = 0; x < w; ++x) row[4 * x + 3] = 255;
            }
    }
    dropOpaqueMask(pic);
    return ZNT_OK;
}

// Run-length packets of one row of pixels of `PB` bytes: a run of two or
// more equal pixels is one repeat packet, anything else goes in raw packets.
template <int PB>
void encodeRow(const uint8_t *px, uint32_t w, std::vector<uint8_t> &out) {
    auto same = [px](uint32_t a, uint32_t b) { return std::memcmp(px + size_t(a) * PB, px + size_t(b) * PB, PB) == 0; };
    uint32_t x = 0;
    while (x < w) {
        uint32_t run = 1;
        while (x + run < w && run < 128 && same(x, x + run)) ++run;
        if (run >= 2) {
            out.push_back(uint8_t(0x80 | (run - 1)));
            out.insert(out.end(), px + size_t(x) * PB, px + size_t(x + 1) * PB);
            x += run;
            continue;
        }
        uint32_t n = 1;
        while (x + n < w && n < 128 && !(x + n + 1 < w && same(x + n, x + n + 1))) ++n;
        out.push_back(uint8_t(n - 1));
        out.insert(out.end(), px + size_t(x) * PB, px + size_t(x + n) * PB);
        x += n;
    }
}

const ZntSaveKind kTgaSaveKinds[] = {{ZNT_CM_BINARY, 1, 65535, 65535},
                                     {ZNT_CM_GREY, 8, 65535, 65535},
                                     {ZNT_CM_PALETTE, 8, 65535, 65535},
                                     {ZNT_CM_RGB, 24, 65535, 65535},
                                     {ZNT_CM_RGBA, 32, 65535, 65535},
                                     {-1, 0, 0, 0}};

OpStatus writeTga(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t w = pic.width, height = uint32_t(pic.height);
    if (w > 65535 || height > 65535) return ZNT_CANT_SAVE;
    const bool rle = params.rleCompress != 0;
    const bool mapped = pic.type == ZNT_BINARY || pic.type == ZNT_PALETTE;
    const bool alpha = hasMask(pic.type);
    uint8_t type = mapped ? kMapped : pic.type == ZNT_GREY ? kGrey : kTrue;
    const int pb = mapped || type == kGrey ? 1 : alpha ? 4 : 3;
    uint8_t palette[768];
    const uint32_t entries = writerPalette(pic, palette);
    const uint32_t colours = mapped ? entries : 0;   // grey is stored without a map
    if (rle) type = uint8_t(type + 8);

    FileWriter out(file);
    const uint8_t header[kHeaderBytes] = {
        0, uint8_t(mapped ? 1 : 0), type,
        0, 0, uint8_t(colours), uint8_t(colours >> 8), uint8_t(mapped ? 24 : 0),
        0, 0, 0, 0,
        uint8_t(w), uint8_t(w >> 8), uint8_t(height), uint8_t(height >> 8),
        uint8_t(pb * 8), uint8_t(alpha ? 8 : 0)};
    out.bytes(header, sizeof header);
    for (uint32_t i = 0; i < colours; ++i) {
        out.u8(palette[512 + i]);
        out.u8(palette[256 + i]);
        out.u8(palette[i]);
    }
    std::vector<uint8_t> line(size_t(w) * 4 + 8), pixels(size_t(w) * 4 + 8), encoded;
    for (uint32_t i = 0; i < height; ++i) {
        const uint32_t y = height - 1 - i;
        const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
        uint8_t *o = pixels.data();
        if (pic.type == ZNT_BINARY) {
            for (uint32_t x = 0; x < w; ++x) o[x] = (in[x >> 3] >> (7 - (x & 7))) & 1;
        } else if (pic.type == ZNT_PALETTE) {
            std::memcpy(o, in, w);
        } else if (pic.type == ZNT_GREY) {
            rowToGrey(pic, y, o);
        } else if (alpha) {
            rowToRgba(pic, y, line.data());
            for (uint32_t x = 0; x < w; ++x, o += 4)
                o[0] = line[4 * x + 2], o[1] = line[4 * x + 1], o[2] = line[4 * x], o[3] = line[4 * x + 3];
        } else {
            rowToRgb(pic, y, line.data());
            for (uint32_t x = 0; x < w; ++x, o += 3) o[0] = line[3 * x + 2], o[1] = line[3 * x + 1], o[2] = line[3 * x];
        }
        if (rle) {
            encoded.clear();
            switch (pb) {
            case 1:
                encodeRow<1>(pixels.data(), w, encoded);
                break;
            case 3:
                encodeRow<3>(pixels.data(), w, encoded);
                break;
            default:
                encodeRow<4>(pixels.data(), w, encoded);
                break;
            }
            out.bytes(encoded.data(), encoded.size());
        } else {
            out.bytes(pixels.data(), size_t(w) * size_t(pb));
        }
        reportSaveProgress(params, int(i), int(height));
    }
    // The footer of newer files: no extension area, no developer area.
    const uint8_t none[8] = {};
    out.bytes(none, sizeof none);
    out.bytes(kFooterSignature, sizeof kFooterSignature);
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kTgaFormat = {
    "tga", "Truevision Targa", "tga targa vda icb vst", "TGA", Signature::weak, sniffTga,
    readHeader, readPixels, kTgaSaveKinds, writeTga, nullptr,
};

}  // namespace zentar
