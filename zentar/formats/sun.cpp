// Sun raster files: a header of eight big-endian words, an optional colour
// map (all reds, then all greens, then all blues), then rows padded to 16
// bits. Depths 1 (set bits black when there is no map), 8 (grey without a
// map), 24 and 32 (blue, green, red, or red, green, blue in the RGB type;
// the first byte of a 32-bit pixel is padding). The old, standard and RGB
// types are raw; the byte-encoded type escapes runs with 0x80.
//
// Written as the standard type, raw: binary as depth 1 without a map, grey
// and palette as depth 8 with a map, true colour as 24 bits.
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

constexpr uint32_t kMagic = 0x59a66a95;
constexpr size_t kHeaderBytes = 32;
enum Type : uint32_t { kOld = 0, kStandard = 1, kByteEncoded = 2, kRgb = 3 };
enum MapType : uint32_t { kNoMap = 0, kRgbMap = 1, kRawMap = 2 };

struct SunHeader {
    uint32_t width = 0, height = 0, depth = 0, length = 0, type = 0, mapType = 0, mapLength = 0;
    uint64_t rowBytes() const { return (uint64_t(width) * depth + 15) / 16 * 2; }
    size_t dataOffset() const { return kHeaderBytes + mapLength; }
};

bool sniffSun(Bytes head) { return head.size() >= 4 && readBe32(head.data()) == kMagic; }

OpStatus parseHeader(Bytes bytes, SunHeader &h, std::string &message) {
    if (!sniffSun(bytes)) {
        message = "Not a Sun raster file";
        return ZNT_BAD_FILE;
    }
    if (bytes.size() < kHeaderBytes) return ZNT_CANT_READ;
    const uint8_t *p = bytes.data();
    h.width = readBe32(p + 4), h.height = readBe32(p + 8), h.depth = readBe32(p + 12), h.length = readBe32(p + 16);
    h.type = readBe32(p + 20), h.mapType = readBe32(p + 24), h.mapLength = readBe32(p + 28);
    if (h.width == 0 || h.height == 0 || h.width > kMaxRasterSidePx || h.height > kMaxRasterSidePx) {
        message = "Bad Sun raster size";
        return ZNT_BAD_FILE;
    }
    if (h.depth != 1 && h.depth != 8 && h.depth != 24 && h.depth != 32) {
        message = "Sun raster of depth " + std::to_string(h.depth) + " is not supported";
        return ZNT_BAD_FILE;
    }
    if (h.type > kRgb) {
        message = "Sun raster type " + std::to_string(h.type) + " is not supported";
        return ZNT_BAD_FILE;
    }
    if (h.mapType > kRawMap || (h.mapType == kRgbMap && (h.mapLength % 3 != 0 || h.mapLength > 768))) {
        message = "Bad Sun raster colour map";
        return ZNT_BAD_FILE;
    }
    if (h.mapType == kNoMap) h.mapLength = 0;
    if (h.dataOffset() > bytes.size()) return ZNT_CANT_READ;
    return ZNT_OK;
}

bool hasMap(const SunHeader &h) { return h.mapType == kRgbMap && h.mapLength >= 3 && h.depth <= 8; }

int colorModelOf(const SunHeader &h) {
    if (h.depth >= 24) return ZNT_CM_RGB;
    if (h.depth == 1) return hasMap(h) ? ZNT_CM_PALETTE : ZNT_CM_BINARY;
    return hasMap(h) ? ZNT_CM_PALETTE : ZNT_CM_GREY;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    SunHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, header.message); s != ZNT_OK) return s;
    header.images.push_back(ZntSubImage{uint16_t(colorModelOf(h)), h.width, h.height, uint16_t(h.depth == 1 ? 1 : 8)});
    header.compression = uint16_t(h.type);
    header.compressionName = h.type == kByteEncoded ? "RLE" : "None";
    return ZNT_OK;
}

// Runs escaped by 0x80: 0x80 0 is one 0x80, 0x80 n v is n + 1 times v,
// any other byte stands for itself.
struct EscapedRuns {
    static bool next(Bytes data, size_t &pos, Run &run) {
        if (pos >= data.size()) return false;
        const uint8_t c = data[pos++];
        run = Run{1, false, c};
        if (c != 0x80) return true;
        if (pos >= data.size()) return false;
        const uint8_t n = data[pos++];
        if (n == 0) return true;
        if (pos >= data.size()) return false;
        run = Run{uint32_t(n) + 1, false, data[pos++]};
        return true;
    }
};

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    SunHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    const Bytes bytes = source.bytes;
    const uint32_t w = h.width, height = h.height;
    if (request.tooLarge(w, height)) return ZNT_NO_MEMORY;
    const bool encoded = h.type == kByteEncoded;
    const Bytes data = bytes.subspan(h.dataOffset());
    const uint64_t stride = h.rowBytes();
    // Three bytes stand for at most 256.
    if (!canHold(stride * height, data.size(), encoded ? 85 : 1, request.ignoreErrors())) return ZNT_CANT_READ;

    uint8_t palette[768] = {};
    int entries = 0;
    if (hasMap(h)) {
        entries = int(h.mapLength / 3);
        const uint8_t *m = bytes.data() + kHeaderBytes;
        for (int i = 0; i < entries; ++i)
            palette[i] = m[i], palette[256 + i] = m[entries + i], palette[512 + i] = m[2 * entries + i];
    }
    bool inverted = true;   // without a map a set bit is black
    int type = ZNT_RGB;
    if (h.depth == 1) {
        type = !hasMap(h) || isBlackWhitePalette(palette, entries, inverted) ? ZNT_BINARY : ZNT_PALETTE;
    } else if (h.depth == 8) {
        type = hasMap(h) ? ZNT_PALETTE : ZNT_GREY;
    }
    if (!out.allocate(type, 8, w, height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOf(h));
    if (type == ZNT_PALETTE) {
        std::memcpy(pic.palette, palette, sizeof palette);
        pic.numberOfColors = uint16_t(entries);
    }

    std::vector<uint8_t> line(size_t(stride) + 8);
    RunRows<EscapedRuns> rows(data, encoded);
    const bool rgbOrder = h.type == kRgb;
    Progress progress(request, int(height));
    uint32_t y = 0;
    for (; y < height; ++y) {
        if (!rows.row(line.data(), size_t(stride))) break;
        uint8_t *row = out.row(y);
        const uint8_t *in = line.data();
        switch (h.depth) {
        case 1:
            if (type == ZNT_BINARY) {
                const size_t n = (size_t(w) + 7) / 8;
                for (size_t k = 0; k < n; ++k) row[k] = inverted ? uint8_t(~in[k]) : in[k];
                if (w & 7) row[n - 1] &= uint8_t(0xff00 >> (w & 7));
            } else {
                for (uint32_t x = 0; x < w; ++x) row[x] = (in[x >> 3] >> (7 - (x & 7))) & 1;
            }
            break;
        case 8:
            std::memcpy(row, in, w);
            break;
        default: {
            const int step = h.depth == 32 ? 4 : 3;
            if (step == 4) ++in;   // the padding byte
            const int r = rgbOrder ? 0 : 2, b = rgbOrder ? 2 : 0;
            for (uint32_t x = 0; x < w; ++x, in += step, row += 3) row[0] = in[r], row[1] = in[1], row[2] = in[b];
            break;
        }
        }
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    if (y < height && !request.ignoreErrors()) return ZNT_CANT_READ;
    paletteToGreyIfRamp(pic);
    return ZNT_OK;
}

const ZntSaveKind kSunSaveKinds[] = {{ZNT_CM_BINARY, 1, 0, 0},
                                     {ZNT_CM_GREY, 8, 0, 0},
                                     {ZNT_CM_PALETTE, 8, 0, 0},
                                     {ZNT_CM_RGB, 24, 0, 0},
                                     {-1, 0, 0, 0}};

OpStatus writeSun(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t w = pic.width, height = uint32_t(pic.height);
    const bool binary = pic.type == ZNT_BINARY;
    const bool indexed = pic.type == ZNT_GREY || pic.type == ZNT_PALETTE;
    const uint32_t depth = binary ? 1 : indexed ? 8 : 24;
    uint8_t palette[768];
    const uint32_t entries = writerPalette(pic, palette);
    const uint32_t colours = indexed ? entries : 0;   // a bitmap has no map
    const uint64_t stride = (uint64_t(w) * depth + 15) / 16 * 2;
    const uint64_t length = stride * height;
    if (length + kHeaderBytes + 768 > UINT32_MAX) return ZNT_CANT_SAVE;

    FileWriter out(file);
    for (uint32_t v : {kMagic, w, height, depth, uint32_t(length), uint32_t(kStandard), uint32_t(indexed ? kRgbMap : kNoMap),
                       colours * 3})
        out.be32(v);
    for (int plane = 0; plane < 3; ++plane) out.bytes(palette + 256 * plane, colours);
    std::vector<uint8_t> line(size_t(stride), 0), rgb(size_t(w) * 3);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
        if (binary) {
            const size_t n = (size_t(w) + 7) / 8;
            for (size_t k = 0; k < n; ++k) line[k] = uint8_t(~in[k]);
            if (w & 7) line[n - 1] &= uint8_t(0xff00 >> (w & 7));
        } else if (indexed) {
            std::memcpy(line.data(), in, w);
        } else {
            rowToRgb(pic, y, rgb.data());
            for (uint32_t x = 0; x < w; ++x)
                line[3 * x] = rgb[3 * x + 2], line[3 * x + 1] = rgb[3 * x + 1], line[3 * x + 2] = rgb[3 * x];
        }
        out.bytes(line.data(), line.size());
        reportSaveProgress(params, int(y), int(height));
    }
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kSunFormat = {
    "sun", "Sun Raster", "ras sun rs im1 im8 im24 im32", "SUN", Signature::exact, sniffSun,
    readHeader, readPixels, kSunSaveKinds, writeSun, nullptr,
};

}  // namespace zentar
