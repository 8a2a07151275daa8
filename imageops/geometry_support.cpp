#include "imageops/geometry_support.h"

#include <cstring>

namespace quivel {

void copyBits(const uint8_t *src, int srcX, uint8_t *dst, int dstX, int count) {
    if (((srcX | dstX) & 7) == 0) {
        const int bytes = count >> 3;
        std::memcpy(dst + (dstX >> 3), src + (srcX >> 3), size_t(bytes));
        for (int i = bytes * 8; i < count; ++i) putBit(dst, dstX + i, getBit(src, srcX + i));
        return;
    }
    for (int i = 0; i < count; ++i) putBit(dst, dstX + i, getBit(src, srcX + i));
}

void backgroundPixel(Picture &picture, uint32_t background, uint8_t pixel[4]) {
    const int red = int(background >> 16) & 255, green = int(background >> 8) & 255, blue = int(background) & 255;
    pixel[0] = pixel[1] = pixel[2] = pixel[3] = 0;
    switch (picture.type) {
    case ZNT_BINARY:
        pixel[0] = luminance(red, green, blue) >= 128 ? 1 : 0;
        return;
    case ZNT_GREY: {
        int levels = picture.numberOfColors;
        if (levels < 2 || levels > 256) levels = 256;
        pixel[0] = uint8_t((luminance(red, green, blue) * (levels - 1) + 127) / 255);
        return;
    }
    case ZNT_PALETTE: {
        uint8_t *pal = picture.palette;
        const int entries = picture.numberOfColors < 1 || picture.numberOfColors > 256 ? 256 : picture.numberOfColors;
        int best = 0;
        int64_t bestDistance = INT64_MAX;
        for (int i = 0; i < entries; ++i) {
            const int64_t dr = pal[i] - red, dg = pal[256 + i] - green, db = pal[512 + i] - blue;
            const int64_t distance = dr * dr + dg * dg + db * db;
            if (distance < bestDistance) {
                bestDistance = distance;
                best = i;
            }
        }
        if (bestDistance != 0 && entries < 256) {
            best = entries;
            pal[best] = uint8_t(red);
            pal[256 + best] = uint8_t(green);
            pal[512 + best] = uint8_t(blue);
            picture.numberOfColors = uint16_t(entries + 1);
        }
        pixel[0] = uint8_t(best);
        return;
    }
    default: {
        const ChannelOrder order = channelOrderOf(picture.type);
        pixel[order.red] = uint8_t(red);
        pixel[order.green] = uint8_t(green);
        pixel[order.blue] = uint8_t(blue);
        if (order.alpha >= 0) pixel[order.alpha] = 255;
        return;
    }
    }
}

void fillPixels(const Picture &picture, uint8_t *row, int x0, int x1, const uint8_t pixel[4]) {
    if (picture.type == ZNT_BINARY) {
        for (int x = x0; x < x1; ++x) putBit(row, x, pixel[0]);
        return;
    }
    const int bpp = picture.bytesPerPixel;
    if (bpp == 1) {
        std::memset(row + x0, pixel[0], size_t(x1 - x0));
        return;
    }
    for (uint8_t *p = row + size_t(x0) * bpp, *end = row + size_t(x1) * bpp; p < end; p += bpp)
        std::memcpy(p, pixel, size_t(bpp));
}

bool takeDescription(const Picture &source, OwnedPicture &result) {
    Picture &target = *result;
    copyCarriedFields(source, target);
    target.numberOfColors = source.numberOfColors;
    target.transparentIndex = source.transparentIndex;
    if (source.palette != nullptr) {
        if (!result.allocatePalette()) return false;
        std::memcpy(target.palette, source.palette, 768);
    }
    return true;
}

}  // namespace quivel
