// PCX: 1 bit per pixel in 1 to 4 planes (2 to 16 colours from the header's
// palette), 2 and 4 bits in one plane, 8 bits with the 256-entry palette
// that follows the pixels, and 8 bits in 3 or 4 planes (RGB, RGBA); raw or
// run-length encoded. Runs may carry on from one row into the next: some
// writers do that, so the decoder keeps its run between rows.
//
// Written as the smallest layout that holds the picture: binary as one
// plane of 1 bit, up to 16 colours or grey levels as 4 planes of 1 bit, up
// to 256 as 8 bits with the palette at the end (grey marked as such), true
// colour as 3 planes of 8 bits. FormatParams.rleCompress selects the
// run-length encoding; without it the pixels are stored raw (encoding 0).
//
// A palette picture loads with as many colours as its largest index uses,
// so a grey ramp written from a grey picture comes back grey.
#include "pcx.h"

#include "../bytes.h"
#include "../pixels.h"
#include "raster_helpers.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace zentar {

namespace pcx {

namespace {

constexpr size_t kHeaderBytes = 128;
constexpr size_t kTrailingPaletteBytes = 769;   // the marker 12, then 256 entries of R, G, B

// The sixteen colours of the display these files were made for, used when
// a file of up to 16 colours carries no palette of its own.
constexpr uint8_t kDefaultPalette[48] = {
    0, 0, 0,       0, 0, 170,     0, 170, 0,     0, 170, 170,   170, 0, 0,     170, 0, 170,
    170, 85, 0,    170, 170, 170, 85, 85, 85,    85, 85, 255,   85, 255, 85,   85, 255, 255,
    255, 85, 85,   255, 85, 255,  255, 255, 85,  255, 255, 255,
};

struct PcxHeader {
    uint8_t version = 0, encoding = 0, bitsPerPixel = 0, planes = 0;
    uint16_t xMin = 0, yMin = 0, xMax = 0, yMax = 0, dpiX = 0, dpiY = 0;
    uint16_t bytesPerLine = 0, paletteInfo = 0;
    const uint8_t *headerPalette = nullptr;
    uint32_t width = 0, height = 0;

    uint32_t lineBytes() const { return uint32_t(planes) * bytesPerLine; }
    int colourBits() const { return bitsPerPixel * planes; }
    bool trueColour() const { return bitsPerPixel == 8 && planes >= 3; }
};

bool supportedLayout(int bits, int planes) {
    if (bits == 1) return planes >= 1 && planes <= 4;
    if (bits == 2 || bits == 4) return planes == 1;
    return bits == 8 && (planes == 1 || planes == 3 || planes == 4);
}

void readFields(Bytes bytes, PcxHeader &h) {
    const uint8_t *p = bytes.data();
    h.version = p[1];
    h.encoding = p[2];
    h.bitsPerPixel = p[3];
    h.xMin = readLe16(p + 4), h.yMin = readLe16(p + 6), h.xMax = readLe16(p + 8), h.yMax = readLe16(p + 10);
    h.dpiX = readLe16(p + 12), h.dpiY = readLe16(p + 14);
    h.headerPalette = p + 16;
    h.planes = p[65];
    h.bytesPerLine = readLe16(p + 66);
    h.paletteInfo = readLe16(p + 68);
    h.width = h.xMax >= h.xMin ? uint32_t(h.xMax - h.xMin) + 1 : 0;
    h.height = h.yMax >= h.yMin ? uint32_t(h.yMax - h.yMin) + 1 : 0;
}

std::string problemWith(const PcxHeader &h) {
    if (h.version > 5 || h.version == 1) return "Unknown PCX version " + std::to_string(h.version);
    if (h.encoding > 1) return "Unknown PCX encoding";
    if (!supportedLayout(h.bitsPerPixel, h.planes))
        return "PCX with " + std::to_string(h.planes) + " planes of " + std::to_string(h.bitsPerPixel) +
               " bits is not supported";
    if (h.width == 0 || h.height == 0) return "Bad PCX picture size";
    if (uint64_t(h.bytesPerLine) * 8 < uint64_t(h.width) * h.bitsPerPixel) return "PCX rows shorter than the picture";
    return {};
}

OpStatus parseHeader(Bytes bytes, PcxHeader &h, std::string &message) {
    if (bytes.size() < kHeaderBytes || bytes[0] != 0x0a) {
        message = "Not a PCX file";
        return bytes.size() < kHeaderBytes && !bytes.empty() && bytes[0] == 0x0a ? ZNT_CANT_READ : ZNT_BAD_FILE;
    }
    readFields(bytes, h);
    message = problemWith(h);
    return message.empty() ? ZNT_OK : ZNT_BAD_FILE;
}

bool hasTrailingPalette(Bytes bytes, const PcxHeader &h) {
    return h.bitsPerPixel == 8 && h.planes == 1 && bytes.size() >= kHeaderBytes + kTrailingPaletteBytes &&
           bytes[bytes.size() - kTrailingPaletteBytes] == 12;
}

int colorModelOf(const PcxHeader &h) {
    if (h.trueColour()) return h.planes == 4 ? ZNT_CM_RGBA : ZNT_CM_RGB;
    if (h.colourBits() == 1) return ZNT_CM_BINARY;
    if (h.bitsPerPixel == 8 && h.paletteInfo == 2) return ZNT_CM_GREY;
    return ZNT_CM_PALETTE;
}

// Run-length decoding of whole rows (all planes of a row one after the other).
class RleRows {
public:
    RleRows(Bytes data, bool encoded) : data_(data), encoded_(encoded) {}

    bool row(uint8_t *out, size_t count) {
        if (!encoded_) {
            if (data_.size() - pos_ < count) return false;
            std::memcpy(out, data_.data() + pos_, count);
            pos_ += count;
            return true;
        }
        // The rest of a run left over from the row before.
        const size_t carried = std::min<size_t>(left_, count);
        std::memset(out, value_, carried);
        out += carried;
        count -= carried;
        left_ -= uint32_t(carried);
        const uint8_t *p = data_.data() + pos_, *end = data_.data() + data_.size();
        while (count > 0) {
            if (p >= end) break;
            const uint8_t c = *p++;
            if ((c & 0xc0) != 0xc0) {   // a byte below 0xc0 stands for itself
                *out++ = c;
                --count;
                continue;
            }
            if (p >= end) break;
            const uint8_t value = *p++;
            const size_t run = c & 0x3fu;
            const size_t n = std::min(run, count);
            std::memset(out, value, n);
            out += n;
            count -= n;
            left_ = uint32_t(run - n);
            value_ = value;
        }
        pos_ = size_t(p - data_.data());
        return count == 0;
    }

private:
    Bytes data_;
    bool encoded_;
    size_t pos_ = 0;
    uint32_t left_ = 0;
    uint8_t value_ = 0;
};

}  // namespace

bool sniff(Bytes bytes) {
    if (bytes.size() < kHeaderBytes || bytes[0] != 0x0a) return false;
    PcxHeader h;
    readFields(bytes, h);
    // The reserved byte is zero in every writer we know of.
    return problemWith(h).empty() && bytes[64] == 0;
}

OpStatus describe(Bytes page, ZntSubImage &image, std::string &compressionName, uint32_t &dpiX, uint32_t &dpiY,
                  std::string &message) {
    PcxHeader h;
    if (const OpStatus s = parseHeader(page, h, message); s != ZNT_OK) return s;
    image = ZntSubImage{uint16_t(colorModelOf(h)), h.width, h.height, h.bitsPerPixel};
    compressionName = h.encoding == 1 ? "RLE" : "None";
    dpiX = h.dpiX;
    dpiY = h.dpiY;
    return ZNT_OK;
}

OpStatus decode(Bytes page, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    PcxHeader h;
    if (const OpStatus s = parseHeader(page, h, message); s != ZNT_OK) return s;
    const uint32_t w = h.width, height = h.height;
    if (request.tooLarge(w, height)) return ZNT_NO_MEMORY;
    const bool trailing = hasTrailingPalette(page, h);
    const size_t dataEnd = trailing ? page.size() - kTrailingPaletteBytes : page.size();
    const Bytes data = page.subspan(kHeaderBytes, std::max(dataEnd, kHeaderBytes) - kHeaderBytes);
    const uint64_t raster = uint64_t(h.lineBytes()) * height;
    // One run of two bytes stands for at most 63.
    if (!canHold(raster, data.size(), h.encoding == 1 ? 31 : 1, request.ignoreErrors())) return ZNT_CANT_READ;

    // The palette: the header's for up to 16 colours, the trailing one for 256.
    uint8_t palette[768] = {};
    const int colours = h.trueColour() ? 0 : 1 << h.colourBits();
    if (colours == 2) {
        const uint8_t *p = h.headerPalette;
        const bool distinct = std::memcmp(p, p + 3, 3) != 0;
        for (int i = 0; i < 2; ++i) {
            const uint8_t v = i ? 255 : 0;
            palette[i] = distinct ? p[3 * i] : v;
            palette[256 + i] = distinct ? p[3 * i + 1] : v;
            palette[512 + i] = distinct ? p[3 * i + 2] : v;
        }
    } else if (colours > 2 && colours <= 16) {
        const uint8_t *p = h.headerPalette;
        if (h.version == 3 || std::all_of(p, p + 3 * colours, [](uint8_t v) { return v == 0; })) p = kDefaultPalette;
        for (int i = 0; i < colours; ++i) palette[i] = p[3 * i], palette[256 + i] = p[3 * i + 1], palette[512 + i] = p[3 * i + 2];
    } else if (colours == 256) {
        if (trailing) {
            const uint8_t *p = page.data() + page.size() - kTrailingPaletteBytes + 1;
            for (int i = 0; i < 256; ++i) palette[i] = p[3 * i], palette[256 + i] = p[3 * i + 1], palette[512 + i] = p[3 * i + 2];
        } else if (h.paletteInfo == 2 || request.ignoreErrors()) {
            setGreyRamp(palette, 256);
        } else {
            return ZNT_CANT_READ;   // the palette was cut off with the end of the file
        }
    }

    bool inverted = false;
    const bool binary = colours == 2 && h.planes == 1 && isBlackWhitePalette(palette, 2, inverted);
    const int type = binary ? ZNT_BINARY : colours > 0 ? ZNT_PALETTE : h.planes == 4 ? ZNT_RGBA : ZNT_RGB;
    if (!out.allocate(type, 8, w, height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOf(h));
    pic.resolutionX = h.dpiX;
    pic.resolutionY = h.dpiY;
    if (type == ZNT_PALETTE) std::memcpy(pic.palette, palette, sizeof palette);

    const uint32_t bpl = h.bytesPerLine;
    std::vector<uint8_t> line(size_t(h.lineBytes()) + 8), indexes((size_t(w) + 7) / 8 * 8);
    RleRows rows(data, h.encoding == 1);
    Progress progress(request, int(height));
    uint32_t y = 0;
    for (; y < height; ++y) {
        if (!rows.row(line.data(), h.lineBytes())) break;
        uint8_t *row = out.row(y);
        const uint8_t *in = line.data();
        if (binary) {
            const size_t n = (size_t(w) + 7) / 8;
            for (size_t k = 0; k < n; ++k) row[k] = inverted ? uint8_t(~in[k]) : in[k];
            if (w & 7) row[n - 1] &= uint8_t(0xff00 >> (w & 7));
        } else if (h.bitsPerPixel == 1) {
            mergeBitPlanes(in, bpl, h.planes, w, indexes.data());
            std::memcpy(row, indexes.data(), w);
        } else if (h.bitsPerPixel == 2) {
            for (uint32_t x = 0; x < w; ++x) row[x] = uint8_t((in[x / 4] >> (6 - 2 * (x & 3))) & 3);
        } else if (h.bitsPerPixel == 4) {
            for (uint32_t x = 0; x < w; ++x) row[x] = uint8_t((x & 1) ? in[x / 2] & 15 : in[x / 2] >> 4);
        } else if (h.planes == 1) {
            std::memcpy(row, in, w);
        } else {
            const int step = h.planes;
            for (int c = 0; c < step; ++c) {
                const uint8_t *plane = in + size_t(c) * bpl;
                uint8_t *o = row + c;
                for (uint32_t x = 0; x < w; ++x, o += step) *o = plane[x];
            }
        }
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    if (y < height && !request.ignoreErrors()) return ZNT_CANT_READ;
    if (type == ZNT_PALETTE) {
        int most = 0;
        for (uint32_t r = 0; r < height; ++r) {
            const uint8_t *row = out.row(r);
            uint8_t m = 0;
            for (uint32_t x = 0; x < w; ++x) m = std::max(m, row[x]);
            most = std::max(most, int(m));
        }
        pic.numberOfColors = uint16_t(most + 1);
        paletteToGreyIfRamp(pic);
    }
    dropOpaqueMask(pic);
    return ZNT_OK;
}

namespace {

// One plane of one row: runs of up to 63 equal bytes; a single byte below
// 0xc0 stands for itself.
void encodePlane(const uint8_t *in, size_t count, std::vector<uint8_t> &out) {
    size_t x = 0;
    while (x < count) {
        size_t run = 1;
        while (x + run < count && run < 63 && in[x + run] == in[x]) ++run;
        if (run > 1 || in[x] >= 0xc0) out.push_back(uint8_t(0xc0 | run));
        out.push_back(in[x]);
        x += run;
    }
}

}  // namespace

const ZntSaveKind kSaveKinds[] = {{ZNT_CM_BINARY, 1, 65534, 65535},
                                  {ZNT_CM_GREY, 8, 65534, 65535},
                                  {ZNT_CM_PALETTE, 8, 65534, 65535},
                                  {ZNT_CM_RGB, 24, 65534, 65535},
                                  {-1, 0, 0, 0}};

OpStatus write(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t w = pic.width, height = uint32_t(pic.height);
    if (w > 65534 || height > 65535) return ZNT_CANT_SAVE;
    const bool rle = params.rleCompress != 0;
    const bool indexed = pic.type == ZNT_GREY || pic.type == ZNT_PALETTE;
    uint8_t palette[768];
    const uint32_t colours = writerPalette(pic, palette);
    const bool planar = indexed && colours <= 16;
    const int bits = pic.type == ZNT_BINARY || planar ? 1 : 8;
    const int planes = pic.type == ZNT_BINARY ? 1 : planar ? 4 : indexed ? 1 : 3;
    const uint32_t bpl = ((bits == 1 ? (w + 7) / 8 : w) + 1) & ~1u;   // rows of an even length

    uint8_t header[kHeaderBytes] = {};
    header[0] = 0x0a;
    header[1] = 5;
    header[2] = rle ? 1 : 0;
    header[3] = uint8_t(bits);
    writeLe16(header + 8, w - 1);
    writeLe16(header + 10, height - 1);
    writeLe16(header + 12, pic.resolutionX ? std::min<uint32_t>(pic.resolutionX, 65535) : 72);
    writeLe16(header + 14, pic.resolutionY ? std::min<uint32_t>(pic.resolutionY, 65535) : 72);
    if (bits == 1)
        for (int i = 0; i < 16; ++i)
            header[16 + 3 * i] = palette[i], header[17 + 3 * i] = palette[256 + i], header[18 + 3 * i] = palette[512 + i];
    header[65] = uint8_t(planes);
    writeLe16(header + 66, bpl);
    writeLe16(header + 68, pic.type == ZNT_GREY ? 2 : 1);

    FileWriter out(file);
    out.bytes(header, sizeof header);
    std::vector<uint8_t> line(size_t(bpl) * planes, 0), rgb(size_t(w) * 3), encoded;
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
        if (pic.type == ZNT_BINARY) {
            std::memcpy(line.data(), in, (size_t(w) + 7) / 8);
        } else if (planar) {
            splitBitPlanes(in, w, 4, bpl, line.data());
        } else if (indexed) {
            std::memcpy(line.data(), in, w);
        } else {
            rowToRgb(pic, y, rgb.data());
            for (int c = 0; c < 3; ++c) {
                uint8_t *plane = line.data() + size_t(c) * bpl;
                const uint8_t *s = rgb.data() + c;
                for (uint32_t x = 0; x < w; ++x, s += 3) plane[x] = *s;
            }
        }
        if (rle) {
            encoded.clear();
            for (int p = 0; p < planes; ++p) encodePlane(line.data() + size_t(p) * bpl, bpl, encoded);
            out.bytes(encoded.data(), encoded.size());
        } else {
            out.bytes(line.data(), line.size());
        }
        reportSaveProgress(params, int(y), int(height));
    }
    if (bits == 8 && planes == 1) {
        out.u8(12);
        for (int i = 0; i < 256; ++i) {
            out.u8(palette[i]);
            out.u8(palette[256 + i]);
            out.u8(palette[512 + i]);
        }
    }
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace pcx

namespace {

bool sniffPcx(Bytes head) { return pcx::sniff(head); }

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    ZntSubImage image{};
    if (const OpStatus s = pcx::describe(source.bytes, image, header.compressionName, header.resolutionX,
                                         header.resolutionY, header.message);
        s != ZNT_OK)
        return s;
    header.images.push_back(image);
    header.compression = header.compressionName == "RLE" ? 1 : 0;
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    return pcx::decode(source.bytes, request, out, message);
}

}  // namespace

const Format kPcxFormat = {
    "pcx", "Paintbrush", "pcx pcc", "PCX", Signature::weak, sniffPcx,
    readHeader, readPixels, pcx::kSaveKinds, pcx::write, nullptr,
};

}  // namespace zentar
