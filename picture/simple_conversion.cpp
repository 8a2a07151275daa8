#include "picture/simple_conversion.h"

#include <cstring>
#include <vector>

namespace quivel {

namespace {

// One row of any kind as R, G, B.
void rgbRow(const Picture &p, uint32_t y, uint8_t *out) {
    const uint8_t *in = p.data + size_t(y) * p.bytesPerLine;
    const uint32_t w = p.width;
    switch (p.type) {
    case ZNT_BINARY:
        for (uint32_t x = 0; x < w; ++x, out += 3) out[0] = out[1] = out[2] = (in[x >> 3] & (0x80 >> (x & 7))) ? 255 : 0;
        break;
    case ZNT_GREY: {
        const unsigned top = p.numberOfColors > 1 ? p.numberOfColors - 1u : 255u;
        uint8_t levels[256];
        for (unsigned i = 0; i < 256; ++i) levels[i] = uint8_t(((i < top ? i : top) * 255u + top / 2) / top);
        for (uint32_t x = 0; x < w; ++x, out += 3) out[0] = out[1] = out[2] = levels[in[x]];
        break;
    }
    case ZNT_PALETTE:
        for (uint32_t x = 0; x < w; ++x, out += 3) {
            out[0] = p.palette ? p.palette[in[x]] : 0;
            out[1] = p.palette ? p.palette[256 + in[x]] : 0;
            out[2] = p.palette ? p.palette[512 + in[x]] : 0;
        }
        break;
    default: {
        // True colour: the byte offsets of R, G and B in each layout.
        int r = 0, g = 1, b = 2, step = 3;
        switch (p.type) {
        case ZNT_RGBA: step = 4; break;
        case ZNT_BGR: r = 2, b = 0; break;
        case ZNT_ABGR: r = 3, g = 2, b = 1, step = 4; break;
        case ZNT_BGRA: r = 2, b = 0, step = 4; break;
        case ZNT_ARGB: r = 1, g = 2, b = 3, step = 4; break;
        default: break;
        }
        for (uint32_t x = 0; x < w; ++x, in += step, out += 3) out[0] = in[r], out[1] = in[g], out[2] = in[b];
        break;
    }
    }
}

inline uint8_t luminance(const uint8_t *rgb) { return uint8_t((77 * rgb[0] + 150 * rgb[1] + 29 * rgb[2]) >> 8); }

void copyCommon(const Picture &from, Picture &to) {
    to.colorModel = from.colorModel;
    to.resolutionX = from.resolutionX;
    to.resolutionY = from.resolutionY;
}

}  // namespace

bool convertToRgb(const Picture &source, Picture &out) {
    if (!zntAllock(&out, ZNT_RGB, 8, int(source.width), source.height)) return false;
    copyCommon(source, out);
    for (int32_t y = 0; y < source.height; ++y) rgbRow(source, uint32_t(y), out.data + size_t(y) * out.bytesPerLine);
    return true;
}

bool convertToGrey(const Picture &source, Picture &out) {
    if (!zntAllock(&out, ZNT_GREY, 8, int(source.width), source.height)) return false;
    copyCommon(source, out);
    std::vector<uint8_t> rgb(size_t(source.width) * 3);
    for (int32_t y = 0; y < source.height; ++y) {
        rgbRow(source, uint32_t(y), rgb.data());
        uint8_t *row = out.data + size_t(y) * out.bytesPerLine;
        for (uint32_t x = 0; x < source.width; ++x) row[x] = luminance(&rgb[3 * x]);
    }
    return true;
}

bool convertToBinary(const Picture &source, Picture &out) {
    if (!zntAllock(&out, ZNT_BINARY, 1, int(source.width), source.height)) return false;
    copyCommon(source, out);
    std::vector<uint8_t> rgb(size_t(source.width) * 3);
    for (int32_t y = 0; y < source.height; ++y) {
        rgbRow(source, uint32_t(y), rgb.data());
        uint8_t *row = out.data + size_t(y) * out.bytesPerLine;
        for (uint32_t x = 0; x < source.width; ++x)
            if (luminance(&rgb[3 * x]) >= 128) row[x >> 3] |= uint8_t(0x80 >> (x & 7));
    }
    return true;
}

bool convertToPalette(const Picture &source, Picture &out) {
    if (!zntAllock(&out, ZNT_PALETTE, 1, int(source.width), source.height)) return false;
    copyCommon(source, out);
    if (source.type == ZNT_GREY || source.type == ZNT_BINARY) {
        // Grey levels become a grey palette of as many entries.
        const unsigned levels = source.type == ZNT_BINARY ? 2 : source.numberOfColors;
        const unsigned top = levels > 1 ? levels - 1 : 1;
        for (unsigned i = 0; i < levels && i < 256; ++i)
            out.palette[i] = out.palette[256 + i] = out.palette[512 + i] = uint8_t((i * 255 + top / 2) / top);
        out.numberOfColors = uint16_t(levels);
        for (int32_t y = 0; y < source.height; ++y) {
            const uint8_t *in = source.data + size_t(y) * source.bytesPerLine;
            uint8_t *row = out.data + size_t(y) * out.bytesPerLine;
            for (uint32_t x = 0; x < source.width; ++x)
                row[x] = source.type == ZNT_BINARY ? ((in[x >> 3] & (0x80 >> (x & 7))) ? 1 : 0) : in[x];
        }
        return true;
    }
    // The 6 x 7 x 6 colour cube: 252 entries, each value to its nearest level.
    constexpr int kR = 6, kG = 7, kB = 6;
    uint8_t nearR[256], nearG[256], nearB[256];
    for (int v = 0; v < 256; ++v) {
        nearR[v] = uint8_t((v * (kR - 1) + 127) / 255);
        nearG[v] = uint8_t((v * (kG - 1) + 127) / 255);
        nearB[v] = uint8_t((v * (kB - 1) + 127) / 255);
    }
    for (int r = 0; r < kR; ++r)
        for (int g = 0; g < kG; ++g)
            for (int b = 0; b < kB; ++b) {
                const int i = (r * kG + g) * kB + b;
                out.palette[i] = uint8_t(r * 255 / (kR - 1));
                out.palette[256 + i] = uint8_t(g * 255 / (kG - 1));
                out.palette[512 + i] = uint8_t(b * 255 / (kB - 1));
            }
    out.numberOfColors = kR * kG * kB;
    std::vector<uint8_t> rgb(size_t(source.width) * 3);
    for (int32_t y = 0; y < source.height; ++y) {
        rgbRow(source, uint32_t(y), rgb.data());
        uint8_t *row = out.data + size_t(y) * out.bytesPerLine;
        for (uint32_t x = 0; x < source.width; ++x)
            row[x] = uint8_t((nearR[rgb[3 * x]] * kG + nearG[rgb[3 * x + 1]]) * kB + nearB[rgb[3 * x + 2]]);
    }
    return true;
}

OpStatus convertForFormat(const Picture &source, int formatIndex, Picture &converted) {
    converted.data = nullptr;
    converted.palette = nullptr;
    if (!zntFormatIsWritable(formatIndex)) return ZNT_CANT_SAVE;
    if (zntFormatAcceptsPicture(formatIndex, &source)) return ZNT_OK;

    using Conversion = bool (*)(const Picture &, Picture &);
    std::vector<Conversion> order;
    switch (source.type) {
    case ZNT_BINARY:
        order = {convertToPalette, convertToGrey, convertToRgb};
        break;
    case ZNT_GREY:
        order = {convertToPalette, convertToRgb, convertToBinary};
        break;
    case ZNT_PALETTE:
        order = {convertToRgb, convertToGrey, convertToBinary};
        break;
    default:
        order = {convertToRgb, convertToPalette, convertToGrey, convertToBinary};
        break;
    }
    for (Conversion convert : order) {
        Picture candidate{};
        if (!convert(source, candidate)) return ZNT_NO_MEMORY;
        if (zntFormatAcceptsPicture(formatIndex, &candidate)) {
            converted = candidate;
            return ZNT_OK;
        }
        zntFree(&candidate);
    }
    return ZNT_CANT_SAVE;
}

}  // namespace quivel
