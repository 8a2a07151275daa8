// Conversions between picture kinds: the mode table, result delivery, grey
// levels, true-colour layouts, exact palettes and colour counting.
#include <gtest/gtest.h>

#include <set>

#include "imageops/color_reduction.h"
#include "picture_files.h"

using namespace quivel;
using namespace testsupport;

namespace {

// A true-colour picture in `type` whose pixel (x, y) has the colour rgb(x, y).
void makeColorPicture(OwnedTestPicture &picture, int type, int width, int height,
                      const std::function<uint32_t(int, int)> &rgb) {
    const ChannelOrder order = channelOrderOf(type);
    makePicture(picture, type, width, height, [&](int x, int y, int k) {
        const uint32_t c = rgb(x, y);
        if (k == order.red) return int(c >> 16);
        if (k == order.green) return int((c >> 8) & 255);
        if (k == order.blue) return int(c & 255);
        return 200;   // the mask byte
    });
}

uint32_t entry(const Picture &p, int i) {
    return uint32_t(p.palette[i]) << 16 | uint32_t(p.palette[256 + i]) << 8 | p.palette[512 + i];
}

}  // namespace

TEST(ConversionModes, ModeTablePicksTargetAndRefusesUnknownModes) {
    OwnedTestPicture src;
    makeColorPicture(src, ZNT_RGB, 9, 5, [](int x, int y) { return uint32_t(x * 25) << 16 | uint32_t(y * 60); });
    const std::vector<uint8_t> before = pixelBytes(src.p);
    for (int mode : {0, 10, 11, 25, -1}) {
        OwnedTestPicture out;
        EXPECT_EQ(convertPicture(src.get(), out.get(), mode, 0), ZNT_BAD_ARGUMENT) << mode;
        EXPECT_EQ(out->data, nullptr);
    }
    EXPECT_EQ(pixelBytes(src.p), before);
    struct Expect { int mode, type, colors; };
    for (Expect e : {Expect{1, ZNT_BINARY, 2}, {3, ZNT_GREY, 8}, {8, ZNT_GREY, 216}, {9, ZNT_GREY, 256},
                     {12, ZNT_PALETTE, 8}, {17, ZNT_PALETTE, 216}, {19, ZNT_RGB, 0}, {21, ZNT_BGR, 0},
                     {24, ZNT_ARGB, 0}}) {
        OwnedTestPicture out;
        ASSERT_EQ(convertPicture(src.get(), out.get(), e.mode, 4), ZNT_OK) << e.mode;
        EXPECT_EQ(out->type, e.type) << e.mode;
        if (e.colors != 0) {
            EXPECT_EQ(out->numberOfColors, e.colors) << e.mode;
        }
    }
}

TEST(ConversionModes, ResultGoesToOutputOrReplacesTheSource) {
    OwnedTestPicture src;
    makeColorPicture(src, ZNT_RGBA, 6, 4, [](int x, int y) { return uint32_t(x * 40 + y); });
    src->colorModel = 0x10;
    src->resolutionX = 300;
    src->resolutionY = 150;
    src->bitsPerComponent = 8;
    src->transparentIndex = 5;
    const std::vector<uint8_t> before = pixelBytes(src.p);

    OwnedTestPicture out;
    ASSERT_EQ(convertToGrey(src.get(), out.get(), 256, 4), ZNT_OK);
    EXPECT_EQ(pixelBytes(src.p), before) << "the source stays when an output is given";
    EXPECT_EQ(src->type, ZNT_RGBA);
    EXPECT_EQ(out->colorModel, 0x10);
    EXPECT_EQ(out->resolutionX, 300u);
    EXPECT_EQ(out->resolutionY, 150u);
    EXPECT_EQ(out->transparentIndex, -1);
    EXPECT_EQ(out->palette, nullptr);

    ASSERT_EQ(convertToGrey(src.get(), nullptr, 16, 4), ZNT_OK);
    EXPECT_EQ(src->type, ZNT_GREY) << "without an output the conversion is in place";
    EXPECT_EQ(src->numberOfColors, 16);
    EXPECT_EQ(src->resolutionX, 300u);
}

TEST(ConversionModes, GreyLevelsWithoutDither) {
    OwnedTestPicture grey;
    makePicture(grey, ZNT_GREY, 256, 1, [](int x, int, int) { return x; });
    OwnedTestPicture four;
    ASSERT_EQ(convertToGrey(grey.get(), four.get(), 4, 4), ZNT_OK);
    EXPECT_EQ(pixelAt(four.p, 0, 0)[0], 0);
    EXPECT_EQ(pixelAt(four.p, 254, 0)[0], 2) << "the top level is reached only by 255";
    EXPECT_EQ(pixelAt(four.p, 255, 0)[0], 3);

    // A 16-level source maps level to level: i * 3 / 15.
    grey->numberOfColors = 16;
    OwnedTestPicture fromSixteen;
    ASSERT_EQ(convertToGrey(grey.get(), fromSixteen.get(), 4, 4), ZNT_OK);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(pixelAt(fromSixteen.p, i, 0)[0], i * 3 / 15) << i;

    OwnedTestPicture bits;
    makePicture(bits, ZNT_BINARY, 9, 1, [](int x, int, int) { return x & 1; });
    OwnedTestPicture levels;
    ASSERT_EQ(convertToGrey(bits.get(), levels.get(), 216, 1), ZNT_OK);
    EXPECT_EQ(pixelAt(levels.p, 0, 0)[0], 0);
    EXPECT_EQ(pixelAt(levels.p, 1, 0)[0], 215);

    // Undithered true colour reads channels by the type's order.
    OwnedTestPicture blue;
    makeColorPicture(blue, ZNT_BGR, 2, 1, [](int, int) { return 0x0000FFu; });
    OwnedTestPicture lum;
    ASSERT_EQ(convertToGrey(blue.get(), lum.get(), 256, 4), ZNT_OK);
    EXPECT_EQ(pixelAt(lum.p, 0, 0)[0], (29 * 255) >> 8);
}

TEST(ConversionModes, DitheredGreyWeighsTheFirstThreeBytesAsRedGreenBlue) {
    // The same bytes as RGB and as BGR give the same dithered grey picture,
    // though the colours differ.
    const auto bytes = [](int x, int y, int k) { return k == 0 ? 230 - x * 7 : k == 1 ? 40 + y * 9 : 90; };
    OwnedTestPicture rgb, bgr;
    makePicture(rgb, ZNT_RGB, 16, 16, bytes);
    makePicture(bgr, ZNT_BGR, 16, 16, bytes);
    OwnedTestPicture a, b, plainA, plainB;
    ASSERT_EQ(convertToGrey(rgb.get(), a.get(), 8, kDitherPattern), ZNT_OK);
    ASSERT_EQ(convertToGrey(bgr.get(), b.get(), 8, kDitherPattern), ZNT_OK);
    EXPECT_EQ(pixelBytes(a.p), pixelBytes(b.p));
    ASSERT_EQ(convertToGrey(rgb.get(), plainA.get(), 8, kDitherNone), ZNT_OK);
    ASSERT_EQ(convertToGrey(bgr.get(), plainB.get(), 8, kDitherNone), ZNT_OK);
    EXPECT_NE(pixelBytes(plainA.p), pixelBytes(plainB.p));
}

TEST(ConversionModes, TrueColourLayoutsRoundTripAndKeepTheMask) {
    OwnedTestPicture src;
    makePicture(src, ZNT_RGBA, 7, 3, [](int x, int y, int k) { return x * 31 + y * 7 + k * 50; });
    const std::vector<uint8_t> before = pixelBytes(src.p);
    OwnedTestPicture work;
    ASSERT_EQ(convertToTrueColor(src.get(), work.get(), ZNT_RGBA), ZNT_OK);
    for (int type : {ZNT_ARGB, ZNT_BGRA, ZNT_ABGR, ZNT_RGBA}) {
        ASSERT_EQ(convertToTrueColor(work.get(), nullptr, type), ZNT_OK);
        EXPECT_EQ(work->type, type);
    }
    EXPECT_EQ(pixelBytes(work.p), before) << "colours and mask survive every four-byte layout";

    ASSERT_EQ(convertToTrueColor(work.get(), nullptr, ZNT_BGR), ZNT_OK);
    ASSERT_EQ(convertToTrueColor(work.get(), nullptr, ZNT_ABGR), ZNT_OK);
    EXPECT_EQ(pixelAt(work.p, 1, 0)[0], 255) << "a mask made from three bytes is opaque";
    EXPECT_EQ(convertToTrueColor(work.get(), nullptr, ZNT_PALETTE), ZNT_BAD_ARGUMENT);
}

TEST(ConversionModes, TrueColourFromOneBytePictures) {
    OwnedTestPicture pal;
    makePicture(pal, ZNT_PALETTE, 3, 1, [](int x, int, int) { return x; });
    setPaletteEntry(pal.p, 1, 10, 20, 30);
    pal->transparentIndex = 2;
    OwnedTestPicture rgba;
    ASSERT_EQ(convertToTrueColor(pal.get(), rgba.get(), ZNT_RGBA), ZNT_OK);
    EXPECT_EQ(std::vector<uint8_t>(pixelAt(rgba.p, 1, 0), pixelAt(rgba.p, 1, 0) + 4),
              (std::vector<uint8_t>{10, 20, 30, 255}));
    EXPECT_EQ(pixelAt(rgba.p, 2, 0)[3], 0) << "the transparent entry is see-through";

    OwnedTestPicture grey;
    makePicture(grey, ZNT_GREY, 4, 1, [](int x, int, int) { return x; });
    grey->numberOfColors = 4;
    OwnedTestPicture rgb;
    ASSERT_EQ(convertToTrueColor(grey.get(), rgb.get(), ZNT_RGB), ZNT_OK);
    EXPECT_EQ(pixelAt(rgb.p, 1, 0)[1], 85);
    EXPECT_EQ(pixelAt(rgb.p, 3, 0)[2], 255);
}

TEST(ConversionModes, AdaptivePaletteIsExactForFewColours) {
    // Four colours, first seen in the order red, green, blue, white.
    const uint32_t colors[] = {0xFF0000, 0x00FF00, 0x0000FF, 0xFFFFFF};
    OwnedTestPicture src;
    makeColorPicture(src, ZNT_BGRA, 50, 30, [&](int x, int y) { return colors[(x / 13 + y / 8) % 4]; });
    OwnedTestPicture out;
    ASSERT_EQ(convertToColors(src.get(), out.get(), 8, kDitherNone), ZNT_OK);
    EXPECT_EQ(out->numberOfColors, 8);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(entry(out.p, i), colors[i]);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 50; ++x) ASSERT_EQ(pixelAt(out.p, x, y)[0], (x / 13 + y / 8) % 4) << "no diffusion";

    // A palette picture using three of its entries: most used first.
    OwnedTestPicture pal;
    makePicture(pal, ZNT_PALETTE, 10, 1, [](int x, int, int) { return x < 2 ? 7 : x < 9 ? 3 : 200; });
    setPaletteEntry(pal.p, 3, 1, 2, 3);
    setPaletteEntry(pal.p, 7, 4, 5, 6);
    setPaletteEntry(pal.p, 200, 7, 8, 9);
    OwnedTestPicture sorted;
    ASSERT_EQ(convertToColors(pal.get(), sorted.get(), 16, kDitherNone), ZNT_OK);
    EXPECT_EQ(entry(sorted.p, 0), 0x010203u);
    EXPECT_EQ(entry(sorted.p, 1), 0x040506u);
    EXPECT_EQ(entry(sorted.p, 2), 0x070809u);
    EXPECT_EQ(pixelBytes(sorted.p), (std::vector<uint8_t>{1, 1, 0, 0, 0, 0, 0, 0, 0, 2}));
}

TEST(ConversionModes, PaletteOfBinaryAndOfTheColourCube) {
    OwnedTestPicture bits;
    makePicture(bits, ZNT_BINARY, 11, 2, [](int x, int y, int) { return (x + y) % 3 == 0; });
    OwnedTestPicture pal;
    ASSERT_EQ(convertToColors(bits.get(), pal.get(), 64, kDitherPattern), ZNT_OK);
    EXPECT_EQ(pal->numberOfColors, 64) << "two entries defined, but the requested count is reported";
    EXPECT_EQ(entry(pal.p, 0), 0u);
    EXPECT_EQ(entry(pal.p, 1), 0xFFFFFFu);
    EXPECT_EQ(entry(pal.p, 2), 0u);
    EXPECT_EQ(pixelAt(pal.p, 3, 0)[0], 1);

    OwnedTestPicture rgb;
    makeColorPicture(rgb, ZNT_RGB, 8, 8, [](int x, int y) { return uint32_t(x * 30) << 16 | uint32_t(y * 30) << 8; });
    OwnedTestPicture cube;
    ASSERT_EQ(convertToColors(rgb.get(), cube.get(), 128, kDitherPattern), ZNT_OK);
    EXPECT_EQ(cube->numberOfColors, 256) << "128 colours share the 8 x 8 x 4 cube of 256";
    // Entry (i, j, k) of the cube is (i * 255 / 7, j * 255 / 7, k * 255 / 3).
    EXPECT_EQ(entry(cube.p, 5 * 32 + 2 * 4 + 3), uint32_t(5 * 255 / 7) << 16 | uint32_t(2 * 255 / 7) << 8 | 255);
}

TEST(ColourCount, CountsDistinctColoursOfEveryKind) {
    OwnedTestPicture bits;
    makePicture(bits, ZNT_BINARY, 5, 5, [](int, int, int) { return 0; });
    EXPECT_EQ(countColorsUsed(bits.get(), -1), 2);

    OwnedTestPicture pal;
    makePicture(pal, ZNT_PALETTE, 6, 1, [](int x, int, int) { return x; });
    for (int i = 1; i < 4; ++i) setPaletteEntry(pal.p, i, i, 0, 0);
    setPaletteEntry(pal.p, 4, 9, 9, 9);
    setPaletteEntry(pal.p, 5, 9, 9, 9);
    pal->numberOfColors = 6;
    EXPECT_EQ(countColorsUsed(pal.get(), -1), 5) << "entry 5 repeats entry 4";
    setPaletteEntry(pal.p, 3, 0, 0, 0);
    EXPECT_EQ(countColorsUsed(pal.get(), -1), 4) << "entry 3 repeats entry 0";
    pal->data[0] = 1;
    setPaletteEntry(pal.p, 1, 0, 0, 0);
    EXPECT_EQ(countColorsUsed(pal.get(), -1), 3) << "black counts though its first entry is unused";

    // 100000 colours make the set grow several times.
    OwnedTestPicture many;
    makeColorPicture(many, ZNT_RGB, 400, 250, [](int x, int y) { return uint32_t(y * 400 + x) * 167u & 0xFFFFFF; });
    EXPECT_EQ(countColorsUsed(many.get(), 0), 100000);
    EXPECT_EQ(countColorsUsed(many.get(), 1000), 1001) << "counting stops past the limit";

    // Wide pixels are counted by their first three bytes in memory: for ARGB
    // the mask and red, green, but not blue.
    OwnedTestPicture argb;
    makePicture(argb, ZNT_ARGB, 4, 1, [](int x, int, int k) { return k == 3 ? x : k == 0 ? 255 : 1; });
    EXPECT_EQ(countColorsUsed(argb.get(), -1), 1);
    argb->data[4] = 0;   // the second pixel's mask
    EXPECT_EQ(countColorsUsed(argb.get(), -1), 2);
}
