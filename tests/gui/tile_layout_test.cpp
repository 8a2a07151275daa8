// The renderer's own put-pixel against Xlib's, on images of every pixel size
// and order a server may ask for (made by hand and set up by Xlib: no server).
#include <gtest/gtest.h>
// After gtest: Xlib's None macro would break its headers.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstring>
#include <vector>

#include "picture/tile_buffer.h"

using namespace quivel;

TEST(TileLayout, PutPixelAgreesWithXlib) {
    const int width = 70, height = 3;
    for (int bits : {1, 2, 4, 8, 16, 24, 32})
        for (int byteOrder : {LSBFirst, MSBFirst})
            for (int bitOrder : {LSBFirst, MSBFirst})
                for (int unit : {8, 16, 32}) {
                    if (bits != 1 && (bitOrder != byteOrder || unit != 32)) continue;
                    const int bytesPerLine = (width * bits + 31) / 32 * 4;
                    std::vector<char> theirs(size_t(bytesPerLine) * height, 0), ours(theirs.size(), 0);
                    XImage image{};
                    image.width = width, image.height = height, image.format = ZPixmap;
                    image.data = theirs.data();
                    image.byte_order = byteOrder, image.bitmap_unit = unit, image.bitmap_bit_order = bitOrder;
                    image.bitmap_pad = 32, image.depth = bits, image.bits_per_pixel = bits;
                    image.bytes_per_line = bytesPerLine;
                    ASSERT_TRUE(XInitImage(&image));
                    TileBuffer t;
                    t.data = reinterpret_cast<uint8_t *>(ours.data());
                    t.width = width, t.height = height, t.bytesPerLine = bytesPerLine;
                    t.bitsPerPixel = t.depth = bits, t.bitmapUnit = unit;
                    t.byteOrder = byteOrder == MSBFirst ? kMsbFirst : kLsbFirst;
                    t.bitOrder = bitOrder == MSBFirst ? kMsbFirst : kLsbFirst;

                    uint32_t state = 99;
                    for (int y = 0; y < height; ++y)
                        for (int x = 0; x < width; ++x) {
                            state = state * 1664525u + 1013904223u;
                            const uint32_t pixel = (state >> 4) & (bits == 32 ? 0xFFFFFFFFu : (1u << bits) - 1);
                            XPutPixel(&image, x, y, pixel);
                            putPixel(t, x, y, pixel);
                            // Xlib reads two-bit pixels back with their neighbours' bits.
                            if (bits != 2) {
                                ASSERT_EQ(getPixel(t, x, y), uint32_t(XGetPixel(&image, x, y))) << bits;
                            }
                        }
                    EXPECT_EQ(std::memcmp(ours.data(), theirs.data(), ours.size()), 0)
                        << bits << " bits, byte order " << byteOrder << ", bit order " << bitOrder << ", unit " << unit;
                }
}
