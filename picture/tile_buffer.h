// A display-free description of an image buffer in the server's pixel layout.
//
// The renderer writes its tiles through this record instead of an Xlib image,
// so that every rendering method runs and is tested without a display. The X
// side fills one from an XImage (same buffer, same layout); tests fill one
// over a vector. The buffer belongs to whoever made the record.
//
// Pixel layout follows Xlib's ZPixmap conventions exactly:
//  - 8, 16, 24 and 32 bits per pixel: the pixel's low bytes, in `byteOrder`;
//  - 4 bits per pixel: two pixels a byte, the even column in the high nibble
//    when `byteOrder` is kMsbFirst and in the low nibble otherwise;
//  - 2 bits per pixel: four pixels a byte, the first column in the low bits
//    whatever the byte order (Xlib does not reorder these);
//  - 1 bit per pixel: bits in units of `bitmapUnit` bits, ordered by
//    `bitOrder` within a byte and by `byteOrder` within the unit.
// Values wider than the pixel are cut to its low bits.
#pragma once

#include <cstdint>

namespace quivel {

enum : int32_t {
    kLsbFirst = 0,   // Xlib's LSBFirst
    kMsbFirst = 1,   // Xlib's MSBFirst
};

struct TileBuffer {
    uint8_t *data = nullptr;
    int32_t width = 0, height = 0;
    int32_t bytesPerLine = 0;
    int32_t bitsPerPixel = 0;   // 1, 2, 4, 8, 16, 24 or 32
    int32_t depth = 0;
    int32_t byteOrder = kLsbFirst;
    int32_t bitOrder = kLsbFirst;   // for 1 bit per pixel
    int32_t bitmapUnit = 32;        // for 1 bit per pixel: 8, 16 or 32
    unsigned long redMask = 0, greenMask = 0, blueMask = 0;
};

// The byte order of this machine, as kLsbFirst or kMsbFirst.
int32_t hostByteOrder();

// Stores one pixel; x and y must lie inside the buffer.
void putPixel(TileBuffer &buffer, int32_t x, int32_t y, uint32_t pixel);
uint32_t getPixel(const TileBuffer &buffer, int32_t x, int32_t y);

// Stores `count` pixels of row y from column x on: the put-pixel operation
// for a whole run, with the format decided once per call.
void storeRow(TileBuffer &buffer, int32_t x, int32_t y, const uint32_t *pixels, int32_t count);

}  // namespace quivel
