// Conversions to binary, grey and true colour, and the mode dispatch.
#include "imageops/color_reduction.h"

#include <cstring>

#include "imageops/dither_matrices.h"
#include "imageops/ordered_dither.h"
#include "imageops/pixel_rows.h"

namespace quivel {

namespace {

// Packs one 0/1 byte per pixel into a binary row, leftmost pixel in the most
// significant bit.
void packBits(const uint8_t *bits, int width, uint8_t *out) {
    int x = 0;
    for (; x + 8 <= width; x += 8)
        *out++ = uint8_t(bits[x] << 7 | bits[x + 1] << 6 | bits[x + 2] << 5 | bits[x + 3] << 4 |
                         bits[x + 4] << 3 | bits[x + 5] << 2 | bits[x + 6] << 1 | bits[x + 7]);
    if (x < width) {
        uint8_t last = 0;
        for (int i = 0; x < width; ++x, ++i) last |= uint8_t(bits[x] << (7 - i));
        *out = last;
    }
}

bool validGreyLevels(int levels) {
    switch (levels) {
    case 4: case 8: case 16: case 32: case 64: case 128: case 216: case 256: return true;
    default: return false;
    }
}

bool validTrueColorType(int type) { return isTrueColor(type) && bytesPerPixelOfType(type) != 0; }

}  // namespace

OpStatus convertToBinary(Picture *source, Picture *output, int dither) {
    if (OpStatus status = checkSource(source)) return status;
    const Picture &src = *source;
    const int width = int(src.width), height = src.height;
    OwnedPicture result;
    if (!result.allocate(ZNT_BINARY, src.bitsPerComponent, width, height)) return ZNT_NO_MEMORY;
    Picture &dst = *result;
    copyCarriedFields(src, dst);

    if (src.type == ZNT_BINARY) {
        for (int y = 0; y < height; ++y) std::memcpy(bufferRow(dst, y), bufferRow(src, y), dst.bytesPerLine);
        if (src.palette != nullptr) {
            if (!result.allocatePalette()) return ZNT_NO_MEMORY;
            std::memcpy(dst.palette, src.palette, 768);
        }
        deliverPicture(source, output, result);
        return ZNT_OK;
    }

    // One byte per pixel: the luminance, then the 0/1 decision in place.
    auto row = workBuffer<uint8_t>(size_t(width));
    std::unique_ptr<int32_t[]> errors;
    if (dither == kDitherFloydSteinberg) errors = workBuffer<int32_t>(2 * (size_t(width) + 1));
    if (!row || (dither == kDitherFloydSteinberg && !errors)) return ZNT_NO_MEMORY;
    uint8_t *v = row.get();

    uint8_t screenLevel[256];   // luminance * 36 / 255, for the halftone screens
    for (int i = 0; i < 256; ++i) screenLevel[i] = uint8_t(i * 36 / 255);
    const auto &screen = dither == kDitherHalftone90 ? kHalftone90 : kHalftone45;

    const RowReader reader(src);
    for (int y = 0; y < height; ++y) {
        reader.luminance(bufferRow(src, y), v);
        switch (dither) {
        case kDitherThreshold:
            for (int x = 0; x < width; ++x) v[x] = v[x] >= 127;
            break;
        case kDitherPattern: {
            const uint8_t *pattern = kPattern16[y & 15];
            for (int x = 0; x < width; ++x) v[x] = v[x] >= pattern[x & 15];
            break;
        }
        case kDitherFloydSteinberg: {
            // Left to right only; the error goes 3/8 right, 3/8 down and 1/4
            // down-right. The cell past the last column takes the last
            // pixel's shares and is never read.
            int32_t *current = errors.get() + (y & 1) * (size_t(width) + 1);
            int32_t *next = errors.get() + ((y + 1) & 1) * (size_t(width) + 1);
            for (int x = 0; x < width; ++x) {
                const int value = v[x] + current[x];
                const int error = value < 128 ? value : value - 255;
                const int threeEighths = 3 * error / 8;
                v[x] = value > 127;
                next[x] += threeEighths;
                next[x + 1] += error / 4;
                current[x] = 0;
                current[x + 1] += threeEighths;
            }
            current[width] = 0;
            break;
        }
        default: {
            const uint8_t *cells = screen[y % 6];
            for (int x = 0, column = 0; x < width; ++x) {
                v[x] = screenLevel[v[x]] >= cells[column];
                if (++column == 6) column = 0;
            }
            break;
        }
        }
        packBits(v, width, bufferRow(dst, y));
    }
    deliverPicture(source, output, result);
    return ZNT_OK;
}

OpStatus convertToGrey(Picture *source, Picture *output, int levels, int dither) {
    if (source == nullptr || !validGreyLevels(levels)) return ZNT_BAD_ARGUMENT;
    if (OpStatus status = checkSource(source)) return status;
    const Picture &src = *source;
    const int width = int(src.width), height = src.height;
    const bool dithered = dither == kDitherPattern && levels != 256;

    OwnedPicture result;
    if (!result.allocate(ZNT_GREY, src.bitsPerComponent, width, height)) return ZNT_NO_MEMORY;
    Picture &dst = *result;
    copyCarriedFields(src, dst);
    dst.numberOfColors = uint16_t(levels);

    if (src.type == ZNT_GREY && !dithered) {
        // Level to level, without going through intensities.
        int sourceLevels = src.numberOfColors;
        if (sourceLevels < 2 || sourceLevels > 256) sourceLevels = 256;
        uint8_t map[256];
        for (int i = 0; i < 256; ++i) {
            const int level = i < sourceLevels ? i : sourceLevels - 1;
            map[i] = uint8_t(level * (levels - 1) / (sourceLevels - 1));
        }
        for (int y = 0; y < height; ++y) {
            const uint8_t *in = bufferRow(src, y);
            uint8_t *out = bufferRow(dst, y);
            for (int x = 0; x < width; ++x) out[x] = map[in[x]];
        }
        deliverPicture(source, output, result);
        return ZNT_OK;
    }

    auto row = workBuffer<uint8_t>(size_t(width));
    std::unique_ptr<OrderedDitherTable[]> table;
    if (dithered) table = workBuffer<OrderedDitherTable>(1);
    if (!row || (dithered && !table)) return ZNT_NO_MEMORY;

    const RowReader reader(src);
    if (dithered) {
        buildOrderedDither(levels, 1, table[0]);
        for (int y = 0; y < height; ++y) {
            // Dithered true colour weighs bytes 0, 1, 2 as R, G, B whatever
            // the channel order: kept, since converted pictures depend on it.
            reader.luminance(bufferRow(src, y), row.get(), true);
            const uint8_t *in = row.get();
            uint8_t *out = bufferRow(dst, y);
            const auto &cells = table[0].level;
            const int matrixRow = (y & 7) * 8;
            for (int x = 0; x < width; ++x) out[x] = cells[matrixRow + (x & 7)][in[x]];
        }
    } else {
        uint8_t map[256];
        for (int i = 0; i < 256; ++i) map[i] = uint8_t(i * (levels - 1) / 255);
        for (int y = 0; y < height; ++y) {
            uint8_t *out = bufferRow(dst, y);
            reader.luminance(bufferRow(src, y), out);
            for (int x = 0; x < width; ++x) out[x] = map[out[x]];
        }
    }
    deliverPicture(source, output, result);
    return ZNT_OK;
}

OpStatus convertToTrueColor(Picture *source, Picture *output, int type) {
    if (source == nullptr || !validTrueColorType(type)) return ZNT_BAD_ARGUMENT;
    if (OpStatus status = checkSource(source)) return status;
    const Picture &src = *source;
    const int width = int(src.width), height = src.height;

    OwnedPicture result;
    if (!result.allocate(type, src.bitsPerComponent, width, height)) return ZNT_NO_MEMORY;
    Picture &dst = *result;
    copyCarriedFields(src, dst);

    if (src.type == type) {
        for (int y = 0; y < height; ++y) std::memcpy(bufferRow(dst, y), bufferRow(src, y), dst.bytesPerLine);
        deliverPicture(source, output, result);
        return ZNT_OK;
    }

    auto scratch = workBuffer<uint8_t>(size_t(width) * 3);
    if (!scratch) return ZNT_NO_MEMORY;
    const RowReader reader(src);
    const ChannelOrder from = channelOrderOf(src.type);
    const ChannelOrder to = channelOrderOf(type);
    const int step = dst.bytesPerPixel;

    // The mask byte of the target: carried over from a four-byte source,
    // else opaque, and clear for a palette's transparent entry.
    uint8_t indexAlpha[256];
    std::memset(indexAlpha, 255, sizeof indexAlpha);
    if (src.type == ZNT_PALETTE && src.transparentIndex >= 0 && src.transparentIndex < 256)
        indexAlpha[src.transparentIndex] = 0;

    for (int y = 0; y < height; ++y) {
        const uint8_t *in = bufferRow(src, y);
        const uint8_t *rgb = reader.rgb(in, scratch.get());
        uint8_t *out = bufferRow(dst, y);
        for (int x = 0; x < width; ++x, rgb += 3, out += step) {
            out[to.red] = rgb[0];
            out[to.green] = rgb[1];
            out[to.blue] = rgb[2];
        }
        if (to.alpha < 0) continue;
        out = bufferRow(dst, y) + to.alpha;
        if (from.alpha >= 0) {
            const int fromStep = src.bytesPerPixel;
            in += from.alpha;
            for (int x = 0; x < width; ++x, in += fromStep, out += step) *out = *in;
        } else if (src.type == ZNT_PALETTE) {
            for (int x = 0; x < width; ++x, out += step) *out = indexAlpha[in[x]];
        } else {
            for (int x = 0; x < width; ++x, out += step) *out = 255;
        }
    }
    deliverPicture(source, output, result);
    return ZNT_OK;
}

OpStatus convertPicture(Picture *source, Picture *output, int mode, int dither) {
    static constexpr int kGreyLevels[] = {4, 8, 16, 32, 64, 128, 216, 256};       // modes 2..9
    static constexpr int kColors[] = {8, 16, 32, 64, 128, 216, 256};              // modes 12..18
    static constexpr int kTypes[] = {ZNT_RGB, ZNT_RGBA, ZNT_BGR, ZNT_ABGR, ZNT_BGRA, ZNT_ARGB};  // 19..24
    if (mode == 1) return convertToBinary(source, output, dither);
    if (mode >= 2 && mode <= 9) return convertToGrey(source, output, kGreyLevels[mode - 2], dither);
    if (mode >= 12 && mode <= 18) return convertToColors(source, output, kColors[mode - 12], dither);
    if (mode >= 19 && mode <= 24) return convertToTrueColor(source, output, kTypes[mode - 19]);
    return ZNT_BAD_ARGUMENT;
}

}  // namespace quivel
