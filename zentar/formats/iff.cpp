// IFF interleaved bitmaps: a FORM of type ILBM (bit planes, each row one
// plane after the other) or PBM (one byte per pixel), with the chunks
// BMHD (size, planes, masking, compression), CMAP (colour map), CAMG
// (display mode) and BODY. Read: 1 to 8 planes through the colour map (a
// grey ramp without one), extra half-brite (64 colours from 32), hold-and-
// modify of 6 and 8 planes, 24 planes of true colour and 32 with alpha; a
// mask plane is skipped; a transparent colour becomes the transparent
// index. Raw or ByteRun1 (runs of -1..-127, literals of 0..127).
//
// Written as ILBM: binary as one plane, grey and palette as the fewest
// planes that hold their entries (the transparent index as the transparent
// colour), true colour as 24 planes; ByteRun1 when FormatParams.rleCompress
// is set.
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

constexpr uint32_t kCamgHam = 0x800;
constexpr uint32_t kCamgHalfBrite = 0x80;
enum Masking : uint8_t { kNoMask = 0, kMaskPlane = 1, kTransparentColour = 2, kLasso = 3 };

struct IffHeader {
    bool chunky = false;   // PBM: one byte per pixel
    uint16_t width = 0, height = 0;
    uint8_t planes = 0, masking = 0, compression = 0;
    uint16_t transparent = 0;
    uint32_t camg = 0;
    Bytes cmap, body;
    bool haveBody = false;

    uint32_t planeBytes() const { return (uint32_t(width) + 15) / 16 * 2; }
    uint32_t rowBytes() const {
        if (chunky) return (uint32_t(width) + 1) & ~1u;
        return planeBytes() * (planes + (masking == kMaskPlane ? 1u : 0u));
    }
    bool ham() const { return (camg & kCamgHam) != 0 && (planes == 6 || planes == 8) && !chunky; }
    bool halfBrite() const { return (camg & kCamgHalfBrite) != 0 && planes == 6 && !ham(); }
    bool trueColour() const { return planes == 24 || planes == 32; }
};

bool sniffIff(Bytes head) {
    return head.size() >= 12 && std::memcmp(head.data(), "FORM", 4) == 0 &&
           (std::memcmp(head.data() + 8, "ILBM", 4) == 0 || std::memcmp(head.data() + 8, "PBM ", 4) == 0);
}

OpStatus parseHeader(Bytes bytes, IffHeader &h, std::string &message) {
    if (!sniffIff(bytes)) {
        message = "Not an IFF bitmap";
        return ZNT_BAD_FILE;
    }
    h.chunky = bytes[8] == 'P';
    // A FORM that claims more than the file holds is read as far as it goes.
    const size_t end = std::min<uint64_t>(bytes.size(), 8 + uint64_t(readBe32(bytes.data() + 4)));
    size_t pos = 12;
    bool haveHeader = false;
    while (pos + 8 <= end) {
        const uint8_t *id = bytes.data() + pos;
        const uint32_t size = readBe32(id + 4);
        const size_t start = pos + 8;
        const size_t held = size_t(std::min<uint64_t>(size, end - start));
        const Bytes chunk = bytes.subspan(start, held);
        if (std::memcmp(id, "BMHD", 4) == 0) {
            if (held < 20) return ZNT_CANT_READ;
            const uint8_t *p = chunk.data();
            h.width = readBe16(p), h.height = readBe16(p + 2);
            h.planes = p[8], h.masking = p[9], h.compression = p[10];
            h.transparent = readBe16(p + 12);
            haveHeader = true;
        } else if (std::memcmp(id, "CMAP", 4) == 0) {
            h.cmap = chunk;
        } else if (std::memcmp(id, "CAMG", 4) == 0 && held >= 4) {
            h.camg = readBe32(chunk.data());
        } else if (std::memcmp(id, "BODY", 4) == 0) {
            h.body = chunk;
            h.haveBody = true;
            break;
        }
        pos = start + uint64_t(size) + (size & 1);
        if (pos > end) break;
    }
    if (!haveHeader) {
        message = "IFF bitmap without a BMHD chunk";
        return pos >= bytes.size() ? ZNT_CANT_READ : ZNT_BAD_FILE;
    }
    if (h.width == 0 || h.height == 0) {
        message = "Bad IFF picture size";
        return ZNT_BAD_FILE;
    }
    const bool planesOk = h.chunky ? h.planes == 8 : (h.planes >= 1 && h.planes <= 8) || h.trueColour();
    if (!planesOk) {
        message = "IFF bitmap of " + std::to_string(h.planes) + " planes is not supported";
        return ZNT_BAD_FILE;
    }
    if (h.compression > 1) {
        message = "Unknown IFF compression " + std::to_string(h.compression);
        return ZNT_BAD_FILE;
    }
    if (h.masking > kLasso) {
        message = "Unknown IFF masking";
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

int colorModelOf(const IffHeader &h) {
    if (h.planes == 32) return ZNT_CM_RGBA;
    if (h.trueColour() || h.ham()) return ZNT_CM_RGB;
    if (h.cmap.empty() && !h.chunky) return h.planes == 1 ? ZNT_CM_BINARY : ZNT_CM_GREY;
    return ZNT_CM_PALETTE;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    IffHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, header.message); s != ZNT_OK) return s;
    header.images.push_back(ZntSubImage{uint16_t(colorModelOf(h)), h.width, h.height,
                                        uint16_t(h.trueColour() ? 8 : h.planes)});
    header.compression = h.compression;
    header.compressionName = h.compression ? "ByteRun1" : "None";
    return ZNT_OK;
}

// ByteRun1: n from 0 to 127 is n + 1 literal bytes, -1 to -127 repeats
// the next byte 1 - n times, -128 does nothing.
struct ByteRun1 {
    static bool next(Bytes data, size_t &pos, Run &run) {
        if (pos >= data.size()) return false;
        const int8_t c = int8_t(data[pos++]);
        if (c == -128) return true;
        if (c >= 0) {
            run = Run{uint32_t(c) + 1, true, 0};
            return true;
        }
        if (pos >= data.size()) return false;
        run = Run{uint32_t(-c) + 1, false, data[pos++]};
        return true;
    }
};

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    IffHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    if (!h.haveBody) {
        message = "IFF bitmap without a BODY chunk";
        return ZNT_CANT_READ;
    }
    const uint32_t w = h.width, height = h.height;
    if (request.tooLarge(w, height)) return ZNT_NO_MEMORY;
    const uint64_t raster = uint64_t(h.rowBytes()) * height;
    // A run of two bytes stands for 128.
    if (!canHold(raster, h.body.size(), h.compression ? 64 : 1, request.ignoreErrors())) return ZNT_CANT_READ;

    // The colour map: as many entries as the planes can index.
    uint8_t palette[768] = {};
    int entries = 0;
    const int indexBits = h.trueColour() ? 0 : h.ham() ? h.planes - 2 : h.planes;
    if (!h.trueColour()) {
        const int most = 1 << indexBits;
        entries = std::min<int>(int(h.cmap.size() / 3), most);
        for (int i = 0; i < entries; ++i)
            palette[i] = h.cmap[3 * size_t(i)], palette[256 + i] = h.cmap[3 * size_t(i) + 1],
            palette[512 + i] = h.cmap[3 * size_t(i) + 2];
        if (h.halfBrite()) {
            for (int i = 0; i < 32; ++i)
                for (int c = 0; c < 3; ++c) palette[256 * c + 32 + i] = palette[256 * c + i] / 2;
            entries = 64;
        }
        if (entries == 0 && !h.ham()) {
            entries = most;
            setGreyRamp(palette, entries);
        }
    }

    bool inverted = false;
    int type = ZNT_PALETTE;
    if (h.planes == 32) {
        type = ZNT_RGBA;
    } else if (h.trueColour() || h.ham()) {
        type = ZNT_RGB;
    } else if (h.planes == 1 && h.masking != kTransparentColour && isBlackWhitePalette(palette, entries, inverted)) {
        type = ZNT_BINARY;
    }
    if (!out.allocate(type, 8, w, height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOf(h));
    if (type == ZNT_PALETTE) {
        std::memcpy(pic.palette, palette, sizeof palette);
        pic.numberOfColors = uint16_t(std::max(entries, 1));
        if (h.masking == kTransparentColour && h.transparent < 256) pic.transparentIndex = int16_t(h.transparent);
    }

    const uint32_t planeBytes = h.planeBytes();
    std::vector<uint8_t> line(size_t(h.rowBytes()) + 8), indexes((size_t(w) + 7) / 8 * 8 * 4);
    RunRows<ByteRun1> body(h.body, h.compression == 1);
    Progress progress(request, int(height));
    uint32_t y = 0;
    for (; y < height; ++y) {
        if (!body.row(line.data(), h.rowBytes())) break;
        uint8_t *row = out.row(y);
        const uint8_t *in = line.data();
        if (h.chunky) {
            std::memcpy(row, in, w);
        } else if (type == ZNT_BINARY) {
            const size_t n = (size_t(w) + 7) / 8;
            for (size_t k = 0; k < n; ++k) row[k] = inverted ? uint8_t(~in[k]) : in[k];
            if (w & 7) row[n - 1] &= uint8_t(0xff00 >> (w & 7));
        } else if (h.trueColour()) {
            // Eight planes per channel, least significant plane first.
            const size_t stride = indexes.size() / 4;
            const int channels = h.planes / 8;
            for (int c = 0; c < channels; ++c)
                mergeBitPlanes(in + size_t(c) * 8 * planeBytes, planeBytes, 8, w, indexes.data() + size_t(c) * stride);
            const int step = channels;
            for (int c = 0; c < channels; ++c) {
                const uint8_t *s = indexes.data() + size_t(c) * stride;
                uint8_t *o = row + c;
                for (uint32_t x = 0; x < w; ++x, o += step) *o = s[x];
            }
        } else if (h.ham()) {
            mergeBitPlanes(in, planeBytes, h.planes, w, indexes.data());
            // Each pixel either takes a colour from the map or changes one
            // channel of the pixel to its left.
            const int valueBits = h.planes - 2;
            const uint8_t mask = uint8_t((1 << valueBits) - 1);
            uint8_t r = palette[0], g = palette[256], b = palette[512];
            for (uint32_t x = 0; x < w; ++x, row += 3) {
                const uint8_t v = indexes[x];
                const uint8_t value = v & mask;
                const uint8_t full = valueBits == 4 ? uint8_t(value * 17) : uint8_t(value << 2 | value >> 4);
                switch (v >> valueBits) {
                case 0:
                    r = palette[value], g = palette[256 + value], b = palette[512 + value];
                    break;
                case 1:
                    b = full;
                    break;
                case 2:
                    r = full;
                    break;
                default:
                    g = full;
                    break;
                }
                row[0] = r, row[1] = g, row[2] = b;
            }
        } else {
            mergeBitPlanes(in, planeBytes, h.planes, w, indexes.data());
            std::memcpy(row, indexes.data(), w);
        }
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    if (y < height && !request.ignoreErrors()) return ZNT_CANT_READ;
    paletteToGreyIfRamp(pic);
    dropOpaqueMask(pic);
    return ZNT_OK;
}

// ByteRun1 of one plane row: runs of two to 128 equal bytes, literals of
// up to 128 elsewhere.
void packRow(const uint8_t *in, size_t count, std::vector<uint8_t> &out) {
    size_t x = 0;
    while (x < count) {
        size_t run = 1;
        while (x + run < count && run < 128 && in[x + run] == in[x]) ++run;
        if (run >= 2) {
            out.push_back(uint8_t(int8_t(1 - int(run))));
            out.push_back(in[x]);
            x += run;
            continue;
        }
        size_t n = 1;
        while (x + n < count && n < 128 && !(x + n + 1 < count && in[x + n] == in[x + n + 1])) ++n;
        out.push_back(uint8_t(n - 1));
        out.insert(out.end(), in + x, in + x + n);
        x += n;
    }
}

void putBe16(std::vector<uint8_t> &out, uint32_t v) {
    out.push_back(uint8_t(v >> 8));
    out.push_back(uint8_t(v));
}
void putBe32(std::vector<uint8_t> &out, uint32_t v) {
    putBe16(out, v >> 16);
    putBe16(out, v & 0xffff);
}
void putChunk(FileWriter &out, const char *id, const std::vector<uint8_t> &body) {
    out.bytes(id, 4);
    out.be32(uint32_t(body.size()));
    out.bytes(body.data(), body.size());
    if (body.size() & 1) out.u8(0);
}

uint32_t chunkBytes(const std::vector<uint8_t> &body) { return uint32_t(8 + body.size() + (body.size() & 1)); }

const ZntSaveKind kIffSaveKinds[] = {{ZNT_CM_BINARY, 1, 65535, 65535},
                                     {ZNT_CM_GREY, 8, 65535, 65535},
                                     {ZNT_CM_PALETTE, 8, 65535, 65535},
                                     {ZNT_CM_RGB, 24, 65535, 65535},
                                     {-1, 0, 0, 0}};

OpStatus writeIff(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t w = pic.width, height = uint32_t(pic.height);
    if (w > 65535 || height > 65535) return ZNT_CANT_SAVE;
    const bool packed = params.rleCompress != 0;
    const bool indexed = pic.type == ZNT_GREY || pic.type == ZNT_PALETTE;
    const bool trueColour = isTrueColor(pic.type);
    uint8_t palette[768];
    const uint32_t colours = writerPalette(pic, palette);
    int planes = 24;
    if (!trueColour) {
        planes = 1;
        while ((1u << planes) < colours) ++planes;
    }
    const bool transparent = pic.type == ZNT_PALETTE && pic.transparentIndex >= 0 && uint32_t(pic.transparentIndex) < colours;
    const uint64_t planeBytes = (uint64_t(w) + 15) / 16 * 2;
    const uint64_t raw = planeBytes * planes * height;
    if (raw > UINT32_MAX / 2) return ZNT_CANT_SAVE;

    std::vector<uint8_t> bmhd;
    putBe16(bmhd, w);
    putBe16(bmhd, height);
    putBe32(bmhd, 0);   // position
    bmhd.push_back(uint8_t(planes));
    bmhd.push_back(transparent ? kTransparentColour : kNoMask);
    bmhd.push_back(packed ? 1 : 0);
    bmhd.push_back(0);
    putBe16(bmhd, transparent ? uint32_t(pic.transparentIndex) : 0);
    bmhd.push_back(1);   // square pixels
    bmhd.push_back(1);
    putBe16(bmhd, std::min<uint32_t>(w, 32767));
    putBe16(bmhd, std::min<uint32_t>(height, 32767));

    std::vector<uint8_t> body, line(size_t(planeBytes) * planes), rgb(size_t(w) * 3), channel(w);
    body.reserve(packed ? size_t(raw / 2) : size_t(raw));
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
        if (pic.type == ZNT_BINARY) {
            std::fill(line.begin(), line.end(), 0);
            std::memcpy(line.data(), in, (size_t(w) + 7) / 8);
        } else if (indexed) {
            splitBitPlanes(in, w, planes, planeBytes, line.data());
        } else {
            rowToRgb(pic, y, rgb.data());
            for (int c = 0; c < 3; ++c) {
                for (uint32_t x = 0; x < w; ++x) channel[x] = rgb[3 * size_t(x) + size_t(c)];
                splitBitPlanes(channel.data(), w, 8, planeBytes, line.data() + size_t(c) * 8 * planeBytes);
            }
        }
        if (packed) {
            for (int p = 0; p < planes; ++p) packRow(line.data() + size_t(p) * planeBytes, planeBytes, body);
        } else {
            body.insert(body.end(), line.begin(), line.end());
        }
        reportSaveProgress(params, int(y), int(height));
    }

    std::vector<uint8_t> cmap;
    for (uint32_t i = 0; i < colours; ++i) {
        cmap.push_back(palette[i]);
        cmap.push_back(palette[256 + i]);
        cmap.push_back(palette[512 + i]);
    }
    FileWriter out(file);
    out.text("FORM");
    out.be32(4 + chunkBytes(bmhd) + (colours > 0 ? chunkBytes(cmap) : 0) + chunkBytes(body));
    out.text("ILBM");
    putChunk(out, "BMHD", bmhd);
    if (colours > 0) putChunk(out, "CMAP", cmap);
    putChunk(out, "BODY", body);
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kIffFormat = {
    "iff", "Interchange File Format bitmap", "iff ilbm lbm", "IFF", Signature::exact, sniffIff,
    readHeader, readPixels, kIffSaveKinds, writeIff, nullptr,
};

}  // namespace zentar
