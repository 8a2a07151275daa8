#include "pixels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace zentar {

std::array<uint8_t, 256> greyLevelValues(int levels) {
    std::array<uint8_t, 256> values{};
    if (levels < 2 || levels > 256) levels = 256;
    for (int i = 0; i < 256; ++i) {
        const int level = i < levels ? i : levels - 1;
        values[size_t(i)] = uint8_t((level * 255 + (levels - 1) / 2) / (levels - 1));
    }
    return values;
}

void rowToRgb(const Picture &picture, uint32_t y, uint8_t *out) {
    const uint8_t *in = picture.data + size_t(y) * picture.bytesPerLine;
    const uint32_t w = picture.width;
    switch (picture.type) {
    case ZNT_BINARY:
        for (uint32_t x = 0; x < w; ++x) {
            const uint8_t v = (in[x >> 3] >> (7 - (x & 7)) & 1) ? 255 : 0;
            out[0] = out[1] = out[2] = v;
            out += 3;
        }
        break;
    case ZNT_GREY: {
        const auto values = greyLevelValues(picture.numberOfColors);
        for (uint32_t x = 0; x < w; ++x) {
            out[0] = out[1] = out[2] = values[in[x]];
            out += 3;
        }
        break;
    }
    case ZNT_PALETTE: {
        static const uint8_t kNoPalette[768] = {};
        const uint8_t *pal = picture.palette ? picture.palette : kNoPalette;
        for (uint32_t x = 0; x < w; ++x) {
            out[0] = pal[in[x]];
            out[1] = pal[256 + in[x]];
            out[2] = pal[512 + in[x]];
            out += 3;
        }
        break;
    }
    case ZNT_RGB:
        std::memcpy(out, in, size_t(w) * 3);
        break;
    case ZNT_BGR:
        for (uint32_t x = 0; x < w; ++x, in += 3, out += 3) out[0] = in[2], out[1] = in[1], out[2] = in[0];
        break;
    case ZNT_RGBA:
        for (uint32_t x = 0; x < w; ++x, in += 4, out += 3) out[0] = in[0], out[1] = in[1], out[2] = in[2];
        break;
    case ZNT_ABGR:
        for (uint32_t x = 0; x < w; ++x, in += 4, out += 3) out[0] = in[3], out[1] = in[2], out[2] = in[1];
        break;
    case ZNT_BGRA:
        for (uint32_t x = 0; x < w; ++x, in += 4, out += 3) out[0] = in[2], out[1] = in[1], out[2] = in[0];
        break;
    case ZNT_ARGB:
        for (uint32_t x = 0; x < w; ++x, in += 4, out += 3) out[0] = in[1], out[1] = in[2], out[2] = in[3];
        break;
    default:
        std::memset(out, 0, size_t(w) * 3);
        break;
    }
}

void rowToRgba(const Picture &picture, uint32_t y, uint8_t *out) {
    const uint8_t *in = picture.data + size_t(y) * picture.bytesPerLine;
    const uint32_t w = picture.width;
    switch (picture.type) {
    case ZNT_RGBA:
        std::memcpy(out, in, size_t(w) * 4);
        return;
    case ZNT_ABGR:
        for (uint32_t x = 0; x < w; ++x, in += 4, out += 4)
            out[0] = in[3], out[1] = in[2], out[2] = in[1], out[3] = in[0];
        return;
    case ZNT_BGRA:
        for (uint32_t x = 0; x < w; ++x, in += 4, out += 4)
            out[0] = in[2], out[1] = in[1], out[2] = in[0], out[3] = in[3];
        return;
    case ZNT_ARGB:
        for (uint32_t x = 0; x < w; ++x, in += 4, out += 4)
            out[0] = in[1], out[1] = in[2], out[2] = in[3], out[3] = in[0];
        return;
    default:
        break;
    }
    // The three-byte and one-byte kinds: expand in place from the back.
    rowToRgb(picture, y, out);
    for (uint32_t x = w; x-- > 0;) {
        out[x * 4 + 2] = out[x * 3 + 2];
        out[x * 4 + 1] = out[x * 3 + 1];
        out[x * 4 + 0] = out[x * 3 + 0];
        out[x * 4 + 3] = 255;
    }
    if (picture.type == ZNT_PALETTE && picture.transparentIndex >= 0) {
        for (uint32_t x = 0; x < w; ++x)
            if (in[x] == picture.transparentIndex) out[x * 4 + 3] = 0;
    }
}

void rowToGrey(const Picture &picture, uint32_t y, uint8_t *out) {
    const uint8_t *in = picture.data + size_t(y) * picture.bytesPerLine;
    const uint32_t w = picture.width;
    if (picture.type == ZNT_BINARY) {
        for (uint32_t x = 0; x < w; ++x) out[x] = (in[x >> 3] >> (7 - (x & 7)) & 1) ? 255 : 0;
    } else if (picture.type == ZNT_GREY) {
        const auto values = greyLevelValues(picture.numberOfColors);
        for (uint32_t x = 0; x < w; ++x) out[x] = values[in[x]];
    } else {
        std::memset(out, 0, w);
    }
}

void rowToChannels(const Picture &picture, uint32_t y, int channels, uint8_t *out) {
    if (channels == 1)
        rowToGrey(picture, y, out);
    else if (channels == 4)
        rowToRgba(picture, y, out);
    else
        rowToRgb(picture, y, out);
}

bool pictureToChannels(const Picture &picture, int channels, std::vector<uint8_t> &out) {
    const size_t stride = size_t(picture.width) * size_t(channels);
    try {
        out.resize(stride * size_t(picture.height));
    } catch (const std::bad_alloc &) {
        return false;
    }
    for (uint32_t y = 0; y < uint32_t(picture.height); ++y) rowToChannels(picture, y, channels, out.data() + y * stride);
    return true;
}

uint32_t writerPalette(const Picture &picture, uint8_t palette[768]) {
    std::memset(palette, 0, 768);
    switch (picture.type) {
    case ZNT_BINARY:
        palette[1] = palette[257] = palette[513] = 255;
        return 2;
    case ZNT_GREY: {
        const uint32_t count = std::clamp<uint32_t>(picture.numberOfColors, 1, 256);
        setGreyRamp(palette, int(count));
        return count;
    }
    case ZNT_PALETTE:
        if (picture.palette != nullptr) std::memcpy(palette, picture.palette, 768);
        return std::clamp<uint32_t>(picture.numberOfColors, 1, 256);
    default:
        return 0;
    }
}

bool isGreyRamp(const uint8_t *palette, int count) {
    if (palette == nullptr || count < 2 || count > 256) return false;
    const auto values = greyLevelValues(count);
    for (int i = 0; i < count; ++i) {
        const uint8_t v = values[size_t(i)];
        if (palette[i] != v || palette[256 + i] != v || palette[512 + i] != v) return false;
    }
    return true;
}

void setGreyRamp(uint8_t *palette, int count) {
    const auto values = greyLevelValues(count);
    for (int i = 0; i < count && i < 256; ++i)
        palette[i] = palette[256 + i] = palette[512 + i] = values[size_t(i)];
}

void paletteToGreyIfRamp(Picture &picture) {
    if (picture.type != ZNT_PALETTE || picture.transparentIndex >= 0) return;
    if (!isGreyRamp(picture.palette, picture.numberOfColors)) return;
    // Every index must be a level: a pixel beyond the ramp keeps the palette.
    for (int32_t y = 0; y < picture.height; ++y) {
        const uint8_t *row = picture.data + size_t(y) * picture.bytesPerLine;
        for (uint32_t x = 0; x < picture.width; ++x)
            if (row[x] >= picture.numberOfColors) return;
    }
    std::free(picture.palette);
    picture.palette = nullptr;
    picture.type = ZNT_GREY;
}

bool isBlackWhitePalette(const uint8_t *palette, int count, bool &inverted) {
    if (palette == nullptr || count != 2) return false;
    auto is = [&](int i, uint8_t v) { return palette[i] == v && palette[256 + i] == v && palette[512 + i] == v; };
    if (is(0, 0) && is(1, 255)) {
        inverted = false;
        return true;
    }
    if (is(0, 255) && is(1, 0)) {
        inverted = true;
        return true;
    }
    return false;
}

void packBits(const uint8_t *bits, uint32_t width, uint8_t *out, bool invert) {
    const uint8_t flip = invert ? 1 : 0;
    uint32_t x = 0;
    for (; x + 8 <= width; x += 8) {
        const uint8_t *b = bits + x;
        *out++ = uint8_t(((b[0] ^ flip) & 1) << 7 | ((b[1] ^ flip) & 1) << 6 | ((b[2] ^ flip) & 1) << 5 |
                         ((b[3] ^ flip) & 1) << 4 | ((b[4] ^ flip) & 1) << 3 | ((b[5] ^ flip) & 1) << 2 |
                         ((b[6] ^ flip) & 1) << 1 | ((b[7] ^ flip) & 1));
    }
    if (x < width) {
        uint8_t v = 0;
        for (int bit = 7; x < width; ++x, --bit) v |= uint8_t(((bits[x] ^ flip) & 1) << bit);
        *out = v;
    }
}

int colorModelOfType(int type) {
    switch (type) {
    case ZNT_BINARY:
        return ZNT_CM_BINARY;
    case ZNT_GREY:
        return ZNT_CM_GREY;
    case ZNT_PALETTE:
        return ZNT_CM_PALETTE;
    case ZNT_RGB:
    case ZNT_BGR:
        return ZNT_CM_RGB;
    default:
        return hasMask(type) ? ZNT_CM_RGBA : 0;
    }
}

}  // namespace zentar
