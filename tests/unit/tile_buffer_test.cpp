// Pixels in the server's layouts: where each format puts a pixel's bits.
#include <gtest/gtest.h>

#include <vector>

#include "picture/tile_buffer.h"

using namespace quivel;

namespace {

TileBuffer buffer(int bitsPerPixel, int byteOrder, int bitOrder, std::vector<uint8_t> &storage, int width = 40,
                  int height = 3) {
    TileBuffer t;
    t.width = width;
    t.height = height;
    t.bitsPerPixel = bitsPerPixel;
    t.depth = bitsPerPixel;
    t.byteOrder = byteOrder;
    t.bitOrder = bitOrder;
    t.bytesPerLine = (width * bitsPerPixel + 31) / 32 * 4;
    storage.assign(size_t(t.bytesPerLine) * size_t(height), 0);
    t.data = storage.data();
    return t;
}

}  // namespace

TEST(TileBuffer, BytesOfEachPixelSize) {
    std::vector<uint8_t> s;
    TileBuffer t = buffer(16, kMsbFirst, kMsbFirst, s);
    putPixel(t, 1, 1, 0xABCD);
    EXPECT_EQ(s[size_t(t.bytesPerLine) + 2], 0xAB);
    EXPECT_EQ(s[size_t(t.bytesPerLine) + 3], 0xCD);

    t = buffer(24, kLsbFirst, kLsbFirst, s);
    putPixel(t, 2, 0, 0x123456);
    EXPECT_EQ((std::vector<uint8_t>(s.begin() + 6, s.begin() + 9)), (std::vector<uint8_t>{0x56, 0x34, 0x12}));

    t = buffer(32, kMsbFirst, kMsbFirst, s);
    putPixel(t, 0, 0, 0xFF102030);
    EXPECT_EQ((std::vector<uint8_t>(s.begin(), s.begin() + 4)), (std::vector<uint8_t>{0xFF, 0x10, 0x20, 0x30}));
}

TEST(TileBuffer, PixelsSmallerThanAByte) {
    std::vector<uint8_t> s;
    TileBuffer t = buffer(4, kMsbFirst, kMsbFirst, s);
    putPixel(t, 0, 0, 0x3);
    putPixel(t, 1, 0, 0xC);
    EXPECT_EQ(s[0], 0x3C) << "the even column in the high nibble";
    t = buffer(4, kLsbFirst, kLsbFirst, s);
    putPixel(t, 0, 0, 0x3);
    putPixel(t, 1, 0, 0x1C);   // cut to four bits
    EXPECT_EQ(s[0], 0xC3);

    t = buffer(2, kMsbFirst, kMsbFirst, s);
    putPixel(t, 1, 0, 2);
    EXPECT_EQ(s[0], 0x08) << "two-bit pixels from the low bits up";

    t = buffer(1, kMsbFirst, kMsbFirst, s);
    putPixel(t, 1, 0, 1);
    EXPECT_EQ(s[0], 0x40);
    t = buffer(1, kLsbFirst, kLsbFirst, s);
    putPixel(t, 9, 0, 1);
    EXPECT_EQ(s[1], 0x02);
    // Bit order and byte order disagreeing: bytes swap within the 32-bit unit.
    t = buffer(1, kLsbFirst, kMsbFirst, s);
    putPixel(t, 1, 0, 1);
    EXPECT_EQ(s[3], 0x40);
}

TEST(TileBuffer, RowsAndSinglePixelsAgree) {
    for (int bits : {1, 2, 4, 8, 16, 24, 32})
        for (int order : {kLsbFirst, kMsbFirst}) {
            std::vector<uint8_t> a, b;
            TileBuffer one = buffer(bits, order, order, a, 300), row = buffer(bits, order, order, b, 300);
            std::vector<uint32_t> pixels(290);
            uint32_t state = 7;
            for (uint32_t &p : pixels) p = (state = state * 1664525u + 1013904223u) >> 3;
            for (int i = 0; i < 290; ++i) putPixel(one, 5 + i, 2, pixels[size_t(i)]);
            storeRow(row, 5, 2, pixels.data(), 290);
            EXPECT_EQ(a, b) << bits << " bits, order " << order;
            const uint32_t mask = bits == 32 ? 0xFFFFFFFFu : (1u << bits) - 1;
            for (int i = 0; i < 290; ++i) ASSERT_EQ(getPixel(row, 5 + i, 2), pixels[size_t(i)] & mask) << bits << " " << i;
        }
}
