// Geometric operations: crop, flips, turns and free rotation, resizing,
// canvas, automatic crop and de-interlacing.
#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "imageops/geometry.h"
#include "picture_files.h"

using namespace quivel;
using namespace testsupport;

namespace {

// A picture whose bytes tell where they came from.
void makeNumbered(OwnedTestPicture &picture, int type, int width, int height) {
    makePicture(picture, type, width, height, [&](int x, int y, int k) {
        if (type == ZNT_BINARY) return (x * 7 + y * 3) % 5 < 2 ? 1 : 0;
        return (x * 13 + y * 29 + k * 101) & 255;
    });
}

// Pixel (x, y) as shown, whatever the row order, as bytes (binary: the bit).
std::vector<uint8_t> shown(const Picture &p, int x, int y) {
    const int row = (p.colorModel & 0x10) ? p.height - 1 - y : y;
    if (p.type == ZNT_BINARY) return {uint8_t(bitAt(p, x, row))};
    const uint8_t *px = pixelAt(p, x, row);
    return std::vector<uint8_t>(px, px + p.bytesPerPixel);
}

// Whether `after` shows at (x, y) what `before` shows at map(x, y).
void expectMapped(const Picture &before, const Picture &after,
                  const std::function<std::pair<int, int>(int, int)> &map) {
    for (int y = 0; y < after.height; ++y)
        for (int x = 0; x < int(after.width); ++x) {
            const auto [sx, sy] = map(x, y);
            ASSERT_EQ(shown(after, x, y), shown(before, sx, sy)) << x << "," << y;
        }
}

std::vector<uint8_t> greyRow(const Picture &p, int y) {
    return std::vector<uint8_t>(pixelAt(p, 0, y), pixelAt(p, 0, y) + p.width);
}

const int kAllTypes[] = {ZNT_BINARY, ZNT_GREY, ZNT_PALETTE, ZNT_RGB, ZNT_ARGB};

}  // namespace

TEST(Crop, ClipsTheRectangleAndKeepsTheDescription) {
    OwnedTestPicture src;
    makeNumbered(src, ZNT_PALETTE, 40, 10);
    src->numberOfColors = 77;
    src->transparentIndex = 3;
    src->resolutionX = 96;
    setPaletteEntry(src.p, 9, 1, 2, 3);
    OwnedTestPicture out;
    const PictureRect left{-10, 2, 20, 5};
    ASSERT_EQ(cropPicture(src.get(), out.get(), &left), ZNT_OK);
    EXPECT_EQ(out->width, 10u);
    EXPECT_EQ(out->height, 5);
    expectMapped(src.p, out.p, [](int x, int y) { return std::pair{x, y + 2}; });
    EXPECT_EQ(out->numberOfColors, 77);
    EXPECT_EQ(out->transparentIndex, 3);
    EXPECT_EQ(out->resolutionX, 96u);
    EXPECT_EQ(out->palette[9], 1);

    const PictureRect beyond{40, 0, 5, 5};
    const std::vector<uint8_t> before = pixelBytes(src.p);
    EXPECT_EQ(cropPicture(src.get(), nullptr, &beyond), ZNT_BAD_ARGUMENT);
    EXPECT_EQ(pixelBytes(src.p), before);
    EXPECT_EQ(src->width, 40u);
}

TEST(Crop, BinaryFromAnyBitAndBottomUpRows) {
    OwnedTestPicture bits;
    makeNumbered(bits, ZNT_BINARY, 37, 6);
    OwnedTestPicture out;
    const PictureRect rect{3, 1, 13, 4};
    ASSERT_EQ(cropPicture(bits.get(), out.get(), &rect), ZNT_OK);
    expectMapped(bits.p, out.p, [](int x, int y) { return std::pair{x + 3, y + 1}; });

    // Bottom-up: the top half as shown, still bottom-up.
    OwnedTestPicture up;
    makeNumbered(up, ZNT_RGB, 5, 6);
    up->colorModel = 0x10;
    const PictureRect top{0, 0, 5, 3};
    OwnedTestPicture half;
    ASSERT_EQ(cropPicture(up.get(), half.get(), &top), ZNT_OK);
    EXPECT_EQ(half->colorModel, 0x10);
    expectMapped(up.p, half.p, [](int x, int y) { return std::pair{x, y}; });
    EXPECT_EQ(pixelAt(half.p, 0, 2)[0], pixelAt(up.p, 0, 5)[0]) << "shown row 0 is the last buffer row";
}

TEST(Flip, MirrorsTheWholePictureOrOnlyTheRectangle) {
    for (int type : kAllTypes) {
        SCOPED_TRACE(type);
        OwnedTestPicture src;
        makeNumbered(src, type, 11, 5);
        OwnedTestPicture h, v;
        ASSERT_EQ(flipHorizontal(src.get(), h.get(), nullptr), ZNT_OK);
        expectMapped(src.p, h.p, [](int x, int y) { return std::pair{10 - x, y}; });
        ASSERT_EQ(flipVertical(src.get(), v.get(), nullptr), ZNT_OK);
        expectMapped(src.p, v.p, [](int x, int y) { return std::pair{x, 4 - y}; });

        // Only the rectangle, clipped to the picture, changes.
        const PictureRect rect{7, -1, 10, 3};   // columns 7..10, rows 0..1
        OwnedTestPicture part;
        ASSERT_EQ(flipHorizontal(src.get(), part.get(), &rect), ZNT_OK);
        expectMapped(src.p, part.p, [](int x, int y) { return std::pair{x >= 7 && y < 2 ? 17 - x : x, y}; });
        OwnedTestPicture original;
        makeNumbered(original, type, 11, 5);
        ASSERT_EQ(flipVertical(src.get(), nullptr, &rect), ZNT_OK);   // in place
        expectMapped(original.p, src.p, [](int x, int y) { return std::pair{x, x >= 7 && y < 2 ? 1 - y : y}; });
        ASSERT_EQ(flipVertical(src.get(), nullptr, &rect), ZNT_OK);
        EXPECT_EQ(pixelBytes(src.p), pixelBytes(original.p));
        ASSERT_EQ(flipHorizontal(h.get(), nullptr, nullptr), ZNT_OK);
        EXPECT_EQ(pixelBytes(h.p), pixelBytes(src.p));
    }
    OwnedTestPicture src;
    makeNumbered(src, ZNT_GREY, 4, 4);
    const PictureRect outside{4, 0, 2, 2};
    EXPECT_EQ(flipHorizontal(src.get(), nullptr, &outside), ZNT_BAD_ARGUMENT);
    EXPECT_EQ(flipVertical(src.get(), nullptr, &outside), ZNT_BAD_ARGUMENT);
}

TEST(Rotate, QuarterAndHalfTurnsAreExactAndClockwiseForPositiveAngles) {
    OwnedTestPicture src;
    makeNumbered(src, ZNT_RGB, 5, 3);
    struct Turn { double angle; std::function<std::pair<int, int>(int, int)> map; int width; };
    const Turn turns[] = {
        {90, [](int x, int y) { return std::pair{y, 2 - x}; }, 3},    // the top row becomes the right column
        {-270, [](int x, int y) { return std::pair{y, 2 - x}; }, 3},
        {-90, [](int x, int y) { return std::pair{4 - y, x}; }, 3},
        {270, [](int x, int y) { return std::pair{4 - y, x}; }, 3},
        {180, [](int x, int y) { return std::pair{4 - x, 2 - y}; }, 5},
        {-180, [](int x, int y) { return std::pair{4 - x, 2 - y}; }, 5},
        {450, [](int x, int y) { return std::pair{y, 2 - x}; }, 3},
        {360, [](int x, int y) { return std::pair{x, y}; }, 5},
        {-720, [](int x, int y) { return std::pair{x, y}; }, 5},
    };
    for (const Turn &turn : turns) {
        OwnedTestPicture out;
        ASSERT_EQ(rotatePicture(src.get(), out.get(), turn.angle, 0), ZNT_OK) << turn.angle;
        ASSERT_EQ(int(out->width), turn.width) << turn.angle;
        expectMapped(src.p, out.p, turn.map);
    }
}

TEST(Rotate, FourQuarterTurnsRestoreEveryKindAndBottomUpTurnsAsShown) {
    for (int type : kAllTypes) {
        OwnedTestPicture src, work;
        makeNumbered(src, type, 70, 13);   // wider than a tile, odd sizes
        makeNumbered(work, type, 70, 13);
        for (int i = 0; i < 4; ++i) ASSERT_EQ(rotatePicture(work.get(), nullptr, i < 2 ? 90 : -270, 0), ZNT_OK);
        EXPECT_EQ(pixelBytes(work.p), pixelBytes(src.p)) << type;
    }
    OwnedTestPicture up;
    makeNumbered(up, ZNT_GREY, 6, 4);
    up->colorModel = 0x10;
    OwnedTestPicture out;
    ASSERT_EQ(rotatePicture(up.get(), out.get(), 90, 0), ZNT_OK);
    expectMapped(up.p, out.p, [](int x, int y) { return std::pair{y, 3 - x}; });
}

TEST(Rotate, FreeAngleFitsTheCanvasAndFillsTheBackground) {
    OwnedTestPicture src;
    makePicture(src, ZNT_RGB, 20, 10, [](int, int, int k) { return k == 0 ? 200 : 40; });
    OwnedTestPicture out;
    ASSERT_EQ(rotatePicture(src.get(), out.get(), 45, 0x0000FF), ZNT_OK);
    EXPECT_EQ(out->width, 22u) << "ceil((20 + 10) / sqrt 2)";
    EXPECT_EQ(out->height, 22);
    EXPECT_EQ(shown(out.p, 0, 0), (std::vector<uint8_t>{0, 0, 255}));
    EXPECT_EQ(shown(out.p, 11, 11), (std::vector<uint8_t>{200, 40, 40}));

    // Palette pictures take the nearest pixel: no colour but the background,
    // which gets a palette entry of its own.
    OwnedTestPicture pal;
    makePicture(pal, ZNT_PALETTE, 9, 9, [](int x, int y, int) { return (x + y) % 3; });
    for (int i = 0; i < 3; ++i) setPaletteEntry(pal.p, i, 50 * i, 0, 0);
    pal->numberOfColors = 3;
    ASSERT_EQ(rotatePicture(pal.get(), nullptr, -30, 0xFFFFFF), ZNT_OK);
    EXPECT_EQ(pal->numberOfColors, 4);
    EXPECT_EQ(pal->palette[3], 255);
    const std::vector<uint8_t> indices = pixelBytes(pal.p);
    EXPECT_LE(std::set<uint8_t>(indices.begin(), indices.end()).size(), 4u);
    EXPECT_EQ(pixelAt(pal.p, 0, 0)[0], 3);

    EXPECT_EQ(rotatePicture(src.get(), nullptr, std::nan(""), 0), ZNT_BAD_ARGUMENT);
}

TEST(Resize, NearestNeighbourAndItsUseForPalettes) {
    OwnedTestPicture pal;
    makePicture(pal, ZNT_PALETTE, 2, 2, [](int x, int y, int) { return 10 + x + 2 * y; });
    OwnedTestPicture out;
    ASSERT_EQ(resizePicture(pal.get(), out.get(), 5, 3, kResampleArea), ZNT_OK);
    expectMapped(pal.p, out.p, [](int x, int y) { return std::pair{(2 * x + 1) * 2 / 10, (2 * y + 1) * 2 / 6}; });

    const std::vector<uint8_t> before = pixelBytes(pal.p);
    EXPECT_EQ(resizePicture(pal.get(), nullptr, 0, 3, kResampleNearest), ZNT_BAD_ARGUMENT);
    EXPECT_EQ(pixelBytes(pal.p), before);
    EXPECT_EQ(pal->width, 2u);

    OwnedTestPicture bits;
    makeNumbered(bits, ZNT_BINARY, 9, 4);
    ASSERT_EQ(resizePicture(bits.get(), out.fresh(), 18, 8, kResampleArea), ZNT_OK);
    expectMapped(bits.p, out.p, [](int x, int y) { return std::pair{x / 2, y / 2}; });
}

TEST(Resize, AreaAveragesWhenReducingAndInterpolatesWhenEnlarging) {
    auto resizeRow = [](std::vector<int> values, int newWidth) {
        OwnedTestPicture src, out;
        makePicture(src, ZNT_GREY, int(values.size()), 1, [&](int x, int, int) { return values[x]; });
        EXPECT_EQ(resizePicture(src.get(), out.get(), newWidth, 1, kResampleArea), ZNT_OK);
        return greyRow(out.p, 0);
    };
    EXPECT_EQ(resizeRow({0, 90, 180}, 2), (std::vector<uint8_t>{30, 150}));
    EXPECT_EQ(resizeRow({0, 100}, 4), (std::vector<uint8_t>{0, 50, 100, 100}));
    EXPECT_EQ(resizeRow({10, 20, 30, 41}, 1), (std::vector<uint8_t>{25}));

    // Vertically the same, blending with the row below.
    OwnedTestPicture column, tall;
    makePicture(column, ZNT_RGB, 1, 2, [](int, int y, int k) { return y * 100 + k; });
    ASSERT_EQ(resizePicture(column.get(), tall.get(), 1, 4, kResampleArea), ZNT_OK);
    EXPECT_EQ(pixelAt(tall.p, 0, 1)[0], 50);
    EXPECT_EQ(pixelAt(tall.p, 0, 1)[2], 52);
    EXPECT_EQ(pixelAt(tall.p, 0, 3)[0], 100);

    // An unchanged size, or an unchanged axis, copies exactly.
    OwnedTestPicture photo, same, wider;
    makeNumbered(photo, ZNT_RGBA, 13, 7);
    ASSERT_EQ(resizePicture(photo.get(), same.get(), 13, 7, kResampleArea), ZNT_OK);
    EXPECT_EQ(pixelBytes(same.p), pixelBytes(photo.p));
    ASSERT_EQ(resizePicture(photo.get(), wider.get(), 13, 3, kResampleArea), ZNT_OK);
    // New row 0 covers source rows 0, 1 and a third of row 2.
    const auto green = [&](int y) { return double(pixelAt(photo.p, 4, y)[1]); };
    EXPECT_EQ(pixelAt(wider.p, 4, 0)[1], std::lround((green(0) + green(1) + green(2) / 3) * 3 / 7));
}

TEST(Canvas, CentresThePictureOnTheBackground) {
    OwnedTestPicture grey;
    makePicture(grey, ZNT_GREY, 2, 2, [](int x, int y, int) { return 1 + x + 2 * y; });
    OwnedTestPicture big;
    ASSERT_EQ(resizeCanvas(grey.get(), big.get(), 5, 4, 0xFFFFFF), ZNT_OK);
    EXPECT_EQ(greyRow(big.p, 0), (std::vector<uint8_t>{255, 255, 255, 255, 255}));
    EXPECT_EQ(greyRow(big.p, 1), (std::vector<uint8_t>{255, 1, 2, 255, 255}));
    EXPECT_EQ(greyRow(big.p, 2), (std::vector<uint8_t>{255, 3, 4, 255, 255}));

    OwnedTestPicture small;
    makeNumbered(small, ZNT_BINARY, 12, 6);
    OwnedTestPicture cut;
    ASSERT_EQ(resizeCanvas(small.get(), cut.get(), 4, 2, 0), ZNT_OK);
    expectMapped(small.p, cut.p, [](int x, int y) { return std::pair{x + 4, y + 2}; });

    OwnedTestPicture pal;
    makePicture(pal, ZNT_PALETTE, 1, 1, [](int, int, int) { return 0; });
    pal->numberOfColors = 1;
    ASSERT_EQ(resizeCanvas(pal.get(), nullptr, 3, 1, 0x102030), ZNT_OK);
    EXPECT_EQ(pal->numberOfColors, 2);
    EXPECT_EQ(pixelBytes(pal.p), (std::vector<uint8_t>{1, 0, 1}));
    EXPECT_EQ(resizeCanvas(pal.get(), nullptr, 3, 0, 0), ZNT_BAD_ARGUMENT);
}

TEST(AutoCrop, RemovesTheBorderWithinTheTolerance) {
    // A white picture, a few near-white specks in the border, a red block.
    OwnedTestPicture src;
    makePicture(src, ZNT_RGB, 12, 9, [](int x, int y, int k) {
        if (x >= 3 && x < 6 && y >= 2 && y < 5) return k == 0 ? 255 : 0;
        return (x == 10 && y == 7) ? 250 : 255;
    });
    OwnedTestPicture out;
    ASSERT_EQ(autoCropPicture(src.get(), out.get(), 10), ZNT_OK);
    EXPECT_EQ(out->width, 3u);
    EXPECT_EQ(out->height, 3);
    ASSERT_EQ(autoCropPicture(src.get(), out.fresh(), 0), ZNT_OK);
    EXPECT_EQ(out->width, 8u) << "the speck counts without tolerance";
    EXPECT_EQ(out->height, 6);

    OwnedTestPicture blank;
    makePicture(blank, ZNT_GREY, 4, 4, [](int, int, int) { return 9; });
    ASSERT_EQ(autoCropPicture(blank.get(), nullptr, 0), ZNT_OK);
    EXPECT_EQ(blank->width, 4u);
    EXPECT_EQ(autoCropPicture(blank.get(), nullptr, 256), ZNT_BAD_ARGUMENT);
}

TEST(Deinterlace, RebuildsTheOtherFieldByCopyOrMean) {
    auto run = [](int type, int flags) {
        const int values[] = {0, 100, 0, 200, 0};
        OwnedTestPicture column;
        makePicture(column, type, 1, 5, [&](int, int y, int) { return values[y]; });
        EXPECT_EQ(deinterlacePicture(column.get(), nullptr, flags), ZNT_OK);
        std::vector<int> rows;
        for (int y = 0; y < 5; ++y) rows.push_back(pixelAt(column.p, 0, y)[0]);
        return rows;
    };
    using V = std::vector<int>;
    EXPECT_EQ(run(ZNT_GREY, kKeepEvenField | kDuplicateRows), (V{0, 0, 0, 0, 0}));
    EXPECT_EQ(run(ZNT_GREY, kDuplicateRows), (V{100, 100, 200, 200, 200}));
    EXPECT_EQ(run(ZNT_GREY, 0), (V{100, 100, 150, 200, 200}));
    EXPECT_EQ(run(ZNT_PALETTE, 0), (V{100, 100, 200, 200, 200})) << "palette indices are never averaged";
}
