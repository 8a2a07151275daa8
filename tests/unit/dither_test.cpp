// Dithers of the colour reduction: binary threshold, pattern, halftone
// screens and the reduced Floyd-Steinberg; the ordered dither onto grey
// levels and onto the colour cube.
#include <gtest/gtest.h>

#include "imageops/color_reduction.h"
#include "picture_files.h"

using namespace quivel;
using namespace testsupport;

namespace {

// Converts a flat grey picture of intensity `value` to binary.
void flatToBinary(OwnedTestPicture &out, int value, int dither, int width = 48, int height = 48) {
    OwnedTestPicture grey;
    makePicture(grey, ZNT_GREY, width, height, [&](int, int, int) { return value; });
    ASSERT_EQ(convertToBinary(grey.get(), out.get(), dither), ZNT_OK);
}

int whiteCount(const Picture &p, int x0, int y0, int size) {
    int count = 0;
    for (int y = y0; y < y0 + size; ++y)
        for (int x = x0; x < x0 + size; ++x) count += bitAt(p, x, y);
    return count;
}

std::string rowBits(const Picture &p, int y) {
    std::string bits;
    for (int x = 0; x < int(p.width); ++x) bits += char('0' + bitAt(p, x, y));
    return bits;
}

}  // namespace

TEST(BinaryDither, ThresholdAndPattern) {
    OwnedTestPicture dark, light;
    flatToBinary(dark, 126, kDitherThreshold);
    flatToBinary(light, 127, kDitherThreshold);
    EXPECT_EQ(whiteCount(dark.p, 0, 0, 48), 0);
    EXPECT_EQ(whiteCount(light.p, 0, 0, 48), 48 * 48);

    // The pattern's first row starts 1, 128, 32: luminance 1 whitens only the
    // cells of value 1, 128 also the second cell.
    OwnedTestPicture one, half;
    flatToBinary(one, 1, kDitherPattern);
    flatToBinary(half, 128, kDitherPattern);
    EXPECT_EQ(bitAt(one.p, 0, 0), 1);
    EXPECT_EQ(bitAt(one.p, 1, 0), 0);
    EXPECT_EQ(whiteCount(one.p, 0, 0, 16), 2) << "value 1 appears twice in the pattern";
    EXPECT_EQ(bitAt(half.p, 1, 0), 1);
    EXPECT_EQ(bitAt(half.p, 3, 0), 0);
    EXPECT_NEAR(whiteCount(half.p, 0, 0, 16), 128, 2);
}

TEST(BinaryDither, HalftoneScreens) {
    // Luminance 8 gives screen level 8 * 36 / 255 = 1: only the cell of
    // value 1 in each 6 x 6 tile turns white; (1, 1) in the 45-degree screen,
    // (2, 2) in the 90-degree one.
    OwnedTestPicture h45, h90, h4;
    flatToBinary(h45, 8, kDitherHalftone45, 12, 12);
    flatToBinary(h90, 8, kDitherHalftone90, 12, 12);
    flatToBinary(h4, 8, kDitherNone, 12, 12);
    EXPECT_EQ(whiteCount(h45.p, 0, 0, 12), 4);
    EXPECT_EQ(bitAt(h45.p, 1, 1), 1);
    EXPECT_EQ(bitAt(h90.p, 2, 2), 1);
    EXPECT_EQ(bitAt(h90.p, 1, 1), 0);
    EXPECT_EQ(pixelBytes(h4.p), pixelBytes(h45.p)) << "any other method takes the 45-degree screen";

    OwnedTestPicture half;
    flatToBinary(half, 128, kDitherHalftone90, 6, 6);
    EXPECT_EQ(whiteCount(half.p, 0, 0, 6), 18) << "level 18 of 36";
}

TEST(BinaryDither, ReducedFloydSteinbergSpreadsRightAndDown) {
    // Worked by hand for mid-grey 128: the error goes 3/8 right, 3/8 down,
    // 1/4 down-right, divisions truncating toward zero.
    OwnedTestPicture small;
    flatToBinary(small, 128, kDitherFloydSteinberg, 4, 2);
    EXPECT_EQ(rowBits(small.p, 0), "1010");
    EXPECT_EQ(rowBits(small.p, 1), "0101");

    // Over an area the share of white follows the luminance.
    for (int value : {30, 128, 220}) {
        OwnedTestPicture big;
        flatToBinary(big, value, kDitherFloydSteinberg, 96, 96);
        EXPECT_NEAR(whiteCount(big.p, 0, 0, 96) / (96.0 * 96.0), value / 255.0, 0.02) << value;
    }
    // One column: the error to the right lands in the spare cell.
    OwnedTestPicture column;
    flatToBinary(column, 128, kDitherFloydSteinberg, 1, 64);
    int white = 0;
    for (int y = 0; y < 64; ++y) white += bitAt(column.p, 0, y);
    EXPECT_NEAR(white, 32, 4);
}

TEST(GreyDither, OrderedDitherBetweenTwoLevels) {
    // 128 to four levels: between level 1 (85) and 2 (170), fraction
    // (128 - 85) / (85 / 63) = 31; the 39 matrix cells below 31 take level 2.
    OwnedTestPicture grey;
    makePicture(grey, ZNT_GREY, 8, 8, [](int, int, int) { return 128; });
    OwnedTestPicture out;
    ASSERT_EQ(convertToGrey(grey.get(), out.get(), 4, kDitherPattern), ZNT_OK);
    int upper = 0;
    for (uint8_t level : pixelBytes(out.p)) {
        ASSERT_TRUE(level == 1 || level == 2);
        upper += level == 2;
    }
    EXPECT_EQ(upper, 39);
    EXPECT_EQ(pixelAt(out.p, 0, 0)[0], 2) << "matrix value 0";
    EXPECT_EQ(pixelAt(out.p, 7, 0)[0], 1) << "matrix value 50";

    for (int value : {0, 255}) {
        OwnedTestPicture flat, levels;
        makePicture(flat, ZNT_RGB, 9, 9, [&](int, int, int) { return value; });
        ASSERT_EQ(convertToGrey(flat.get(), levels.get(), 4, kDitherPattern), ZNT_OK);
        for (uint8_t level : pixelBytes(levels.p)) ASSERT_EQ(level, value ? 3 : 0);
    }
}

TEST(ColourCubeDither, ColoursOnTheCubeStayAndOthersMixNeighbours) {
    // 216 colours: 6 levels a channel, 51 apart.
    OwnedTestPicture exact;
    makePicture(exact, ZNT_RGB, 8, 8, [](int, int, int k) { return 51 * (k + 1); });
    OwnedTestPicture out;
    ASSERT_EQ(convertToColors(exact.get(), out.get(), 216, kDitherPattern), ZNT_OK);
    EXPECT_EQ(out->numberOfColors, 216);
    for (uint8_t index : pixelBytes(out.p)) ASSERT_EQ(index, 1 * 36 + 2 * 6 + 3);

    OwnedTestPicture between;
    makePicture(between, ZNT_BGR, 8, 8, [](int, int, int k) { return k == 2 ? 70 : k == 0 ? 255 : 0; });
    ASSERT_EQ(convertToColors(between.get(), out.fresh(), 216, kDitherPattern), ZNT_OK);
    int upper = 0;
    for (uint8_t index : pixelBytes(out.p)) {
        ASSERT_TRUE(index == 1 * 36 + 5 || index == 2 * 36 + 5) << int(index);
        upper += index == 2 * 36 + 5;
    }
    EXPECT_GT(upper, 0);
    EXPECT_LT(upper, 32) << "70 lies nearer the lower level";
}
