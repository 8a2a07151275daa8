// Helpers of the geometric operations: single bits of binary rows, the
// pixel that stands for a background colour, and filling rows with it.
#pragma once

#include <cstdint>

#include "imageops/op_support.h"

namespace quivel {

inline int getBit(const uint8_t *row, int x) { return (row[x >> 3] >> (7 - (x & 7))) & 1; }

inline void putBit(uint8_t *row, int x, int bit) {
    const uint8_t mask = uint8_t(0x80 >> (x & 7));
    row[x >> 3] = uint8_t(bit ? row[x >> 3] | mask : row[x >> 3] & ~mask);
}

// Copies `count` bits from column srcX of one binary row to column dstX of
// another (the rows must not overlap).
void copyBits(const uint8_t *src, int srcX, uint8_t *dst, int dstX, int count);

// The bytes of one pixel (1 to 4; for binary pictures a single 0 or 1) that
// show `background` (0xRRGGBB) in `picture`. A palette picture without an
// entry of that colour gets one when numberOfColors is below 256.
void backgroundPixel(Picture &picture, uint32_t background, uint8_t pixel[4]);

// Sets columns x0..x1-1 of a row to `pixel`.
void fillPixels(const Picture &picture, uint8_t *row, int x0, int x1, const uint8_t pixel[4]);

// Copies the fields a geometric result shares with its source (everything
// but the size and the buffers), and the palette when there is one.
bool takeDescription(const Picture &source, OwnedPicture &result);

}  // namespace quivel
