#include "picture/tile_buffer.h"

#include <cstring>

namespace quivel {

namespace {

// The byte and bit of a 1-bit pixel: a bit offset in the unit, numbered as if
// bytes and bits were both least significant first, then mapped to the
// buffer's orders.
void bitPosition(const TileBuffer &b, int32_t x, int32_t y, size_t &byteIndex, int &bit) {
    const int unitBytes = b.bitmapUnit >> 3;
    const int offset = x % b.bitmapUnit;
    int byteInUnit = offset >> 3;
    if (b.byteOrder != b.bitOrder) byteInUnit = unitBytes - 1 - byteInUnit;
    byteIndex = size_t(y) * size_t(b.bytesPerLine) + size_t(x / b.bitmapUnit) * size_t(unitBytes) + size_t(byteInUnit);
    bit = b.bitOrder == kMsbFirst ? 7 - (offset & 7) : (offset & 7);
}

uint8_t *rowAt(const TileBuffer &b, int32_t y) { return b.data + size_t(y) * size_t(b.bytesPerLine); }

}  // namespace

int32_t hostByteOrder() {
    const uint16_t one = 1;
    uint8_t first;
    std::memcpy(&first, &one, 1);
    return first == 1 ? kLsbFirst : kMsbFirst;
}

void putPixel(TileBuffer &b, int32_t x, int32_t y, uint32_t pixel) {
    uint8_t *row = rowAt(b, y);
    const bool msb = b.byteOrder == kMsbFirst;
    switch (b.bitsPerPixel) {
    case 1: {
        size_t index;
        int bit;
        bitPosition(b, x, y, index, bit);
        b.data[index] = uint8_t((b.data[index] & ~(1u << bit)) | ((pixel & 1u) << bit));
        break;
    }
    case 2: {
        uint8_t &byte = row[x >> 2];
        const int shift = (x & 3) * 2;
        byte = uint8_t((byte & ~(3u << shift)) | ((pixel & 3u) << shift));
        break;
    }
    case 4: {
        uint8_t &byte = row[x >> 1];
        const int shift = ((x & 1) != 0) != msb ? 4 : 0;
        byte = uint8_t((byte & ~(15u << shift)) | ((pixel & 15u) << shift));
        break;
    }
    case 8:
        row[x] = uint8_t(pixel);
        break;
    case 16: {
        uint8_t *p = row + size_t(x) * 2;
        p[msb ? 1 : 0] = uint8_t(pixel);
        p[msb ? 0 : 1] = uint8_t(pixel >> 8);
        break;
    }
    case 24: {
        uint8_t *p = row + size_t(x) * 3;
        for (int i = 0; i < 3; ++i) p[msb ? 2 - i : i] = uint8_t(pixel >> (8 * i));
        break;
    }
    case 32: {
        uint8_t *p = row + size_t(x) * 4;
        for (int i = 0; i < 4; ++i) p[msb ? 3 - i : i] = uint8_t(pixel >> (8 * i));
        break;
    }
    default:
        break;
    }
}

uint32_t getPixel(const TileBuffer &b, int32_t x, int32_t y) {
    const uint8_t *row = rowAt(b, y);
    const bool msb = b.byteOrder == kMsbFirst;
    uint32_t pixel = 0;
    switch (b.bitsPerPixel) {
    case 1: {
        size_t index;
        int bit;
        bitPosition(b, x, y, index, bit);
        return (b.data[index] >> bit) & 1u;
    }
    case 2:
        return (row[x >> 2] >> ((x & 3) * 2)) & 3u;
    case 4:
        return (row[x >> 1] >> ((((x & 1) != 0) != msb) ? 4 : 0)) & 15u;
    case 8:
        return row[x];
    case 16:
    case 24:
    case 32: {
        const int bytes = b.bitsPerPixel / 8;
        const uint8_t *p = row + size_t(x) * size_t(bytes);
        for (int i = 0; i < bytes; ++i) pixel |= uint32_t(p[msb ? bytes - 1 - i : i]) << (8 * i);
        return pixel;
    }
    default:
        return 0;
    }
}

void storeRow(TileBuffer &b, int32_t x, int32_t y, const uint32_t *pixels, int32_t count) {
    uint8_t *row = rowAt(b, y);
    if (b.bitsPerPixel == 32 && b.byteOrder == hostByteOrder()) {
        std::memcpy(row + size_t(x) * 4, pixels, size_t(count) * 4);
    } else if (b.bitsPerPixel == 8) {
        uint8_t *out = row + x;
        for (int32_t i = 0; i < count; ++i) out[i] = uint8_t(pixels[i]);
    } else if (b.bitsPerPixel == 16) {
        uint8_t *out = row + size_t(x) * 2;
        const int low = b.byteOrder == kMsbFirst ? 1 : 0;
        for (int32_t i = 0; i < count; ++i) {
            out[2 * i + low] = uint8_t(pixels[i]);
            out[2 * i + 1 - low] = uint8_t(pixels[i] >> 8);
        }
    } else {
        for (int32_t i = 0; i < count; ++i) putPixel(b, x + i, y, pixels[i]);
    }
}

}  // namespace quivel
