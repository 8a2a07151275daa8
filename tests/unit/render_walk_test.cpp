// Drawing exposed areas in tiles, the last-tile shortcut, and whole pictures
// rendered at their own size.
#include <gtest/gtest.h>

#include "render_fixtures.h"

using namespace quivel;
using namespace rendertest;

namespace {

struct Walk {
    std::vector<TileRect> puts;
};

void recordPut(void *context, int32_t x, int32_t y, int32_t width, int32_t height) {
    static_cast<Walk *>(context)->puts.push_back(TileRect{x, y, width, height});
}

int gRenders = 0;
RenderTileFunction gMethod = nullptr;

void countingMethod(const ColorContext &colors, Renderer &r, const TileRect &tile) {
    ++gRenders;
    gMethod(colors, r, tile);
}

class TileWalk : public testing::Test {
protected:
    void SetUp() override {
        display = computedDisplay("", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF);
        setRendererTarget(r, &display.colors, &display.visual, makeTarget(display, 256, 256, storage));
        picture = makePicture(ZNT_RGB, 300, 200);
        ASSERT_EQ(PrepareRender(r, picture.picture, 600, 400, false), ZNT_OK);
        gMethod = r.renderTile;
        r.renderTile = countingMethod;
        gRenders = 0;
    }

    std::vector<TileRect> draw(int originX, int originY, TileRect exposed) {
        Walk walk;
        walkExposedTiles(r, originX, originY, exposed, recordPut, &walk);
        return walk.puts;
    }

    DisplayCase display;
    std::vector<uint8_t> storage;
    Renderer r;
    TestPicture picture;
};

}  // namespace

TEST_F(TileWalk, ExposedAreaInTilesOfAtMost256) {
    // The picture (600 x 400) sits at (10, 20); the expose covers more than it.
    const std::vector<TileRect> puts = draw(10, 20, TileRect{0, 0, 1000, 1000});
    const std::vector<TileRect> expected = {{10, 20, 256, 256},  {266, 20, 256, 256},  {522, 20, 88, 256},
                                            {10, 276, 256, 144}, {266, 276, 256, 144}, {522, 276, 88, 144}};
    EXPECT_EQ(puts, expected);
    EXPECT_EQ(gRenders, 6);
    EXPECT_EQ(r.lastTile, (TileRect{522, 276, 88, 144}));
}

TEST_F(TileWalk, TilesStartAtTheExposedCorner) {
    // A scrolled picture (origin left of and above the window) and an expose
    // in the middle.
    const std::vector<TileRect> puts = draw(-100, -50, TileRect{30, 40, 300, 20});
    const std::vector<TileRect> expected = {{30, 40, 256, 20}, {286, 40, 44, 20}};
    EXPECT_EQ(puts, expected);
}

TEST_F(TileWalk, NothingOutsideThePicture) {
    EXPECT_TRUE(draw(10, 20, TileRect{700, 0, 50, 50}).empty());
    EXPECT_TRUE(draw(10, 20, TileRect{0, 0, 10, 500}).empty()) << "ends where the picture begins";
    EXPECT_TRUE(draw(10, 20, TileRect{100, 100, 0, 10}).empty());
    EXPECT_EQ(gRenders, 0);
}

TEST_F(TileWalk, RepeatedLastTileIsPutWithoutRendering) {
    draw(0, 0, TileRect{5, 5, 100, 100});
    EXPECT_EQ(gRenders, 1);
    EXPECT_EQ(draw(0, 0, TileRect{5, 5, 100, 100}), (std::vector<TileRect>{TileRect{5, 5, 100, 100}}));
    EXPECT_EQ(gRenders, 1);
    // The expose may be larger as long as its part on the picture is the same.
    draw(0, 0, TileRect{590, 390, 10, 10});
    EXPECT_EQ(draw(0, 0, TileRect{590, 390, 50, 50}), (std::vector<TileRect>{TileRect{590, 390, 10, 10}}));
    EXPECT_EQ(gRenders, 2);

    // Another origin, another area, or a new preparation renders again.
    draw(1, 0, TileRect{590, 390, 10, 10});
    EXPECT_EQ(gRenders, 3);
    draw(1, 0, TileRect{590, 390, 9, 10});
    EXPECT_EQ(gRenders, 4);
    PrepareRender(r, picture.picture, 600, 400, false);
    gMethod = r.renderTile;
    r.renderTile = countingMethod;
    draw(1, 0, TileRect{590, 390, 9, 10});
    EXPECT_EQ(gRenders, 5);
    // Only the last tile of a walk is remembered.
    draw(0, 0, TileRect{0, 0, 600, 400});
    EXPECT_EQ(gRenders, 11);
    draw(0, 0, TileRect{0, 0, 256, 256});
    EXPECT_EQ(gRenders, 12);
}

TEST(WholePicture, RenderedAtItsOwnSizeWithoutGammaOrMask) {
    const DisplayCase d = computedDisplay("", kTrueColor, 16, 16, 0xF800, 0x7E0, 0x1F);
    const TestPicture rgba = makePicture(ZNT_RGBA, 300, 20, 9);
    std::vector<uint8_t> storage;
    TileBuffer target = makeTarget(d, 300, 20, storage);
    EXPECT_EQ(renderPictureToBuffer(rgba.picture, target, d.colors, d.visual), ZNT_OK);
    const Reference reference{rgba.picture, false, d, 1.0};
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 300; ++x) ASSERT_EQ(getPixel(target, x, y), reference.pixelAt(x, y, 300, 20)) << x << "," << y;

    // A smaller target gets the part that fits.
    std::vector<uint8_t> smallStorage;
    TileBuffer small = makeTarget(d, 7, 3, smallStorage);
    EXPECT_EQ(renderPictureToBuffer(rgba.picture, small, d.colors, d.visual), ZNT_OK);
    EXPECT_EQ(getPixel(small, 6, 2), reference.pixelAt(6, 2, 300, 20));

    const DisplayCase mapped5 = mappedDisplay("", 5, 8);
    testing::internal::CaptureStderr();
    EXPECT_EQ(renderPictureToBuffer(rgba.picture, target, mapped5.colors, mapped5.visual), ZNT_NOT_APPLICABLE);
    testing::internal::GetCapturedStderr();
}

TEST(WholePicture, MalformedPicturesAreRefused) {
    const DisplayCase d = computedDisplay("", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF);
    std::vector<uint8_t> storage;
    Renderer r;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
    TestPicture rgb = makePicture(ZNT_RGB, 10, 10);
    rgb.picture.bytesPerLine = 29;   // shorter than ten pixels of three bytes
    EXPECT_EQ(PrepareRender(r, rgb.picture, 10, 10, false), ZNT_BAD_ARGUMENT);
    EXPECT_EQ(r.renderTile, nullptr);
    rgb = makePicture(ZNT_RGB, 10, 10);
    rgb.picture.bytesPerPixel = 1;
    EXPECT_EQ(PrepareRender(r, rgb.picture, 10, 10, false), ZNT_BAD_ARGUMENT);
    rgb = makePicture(ZNT_RGB, 10, 10);
    EXPECT_EQ(PrepareRender(r, rgb.picture, 0, 10, false), ZNT_BAD_ARGUMENT);
    rgb.picture.data = nullptr;
    EXPECT_EQ(PrepareRender(r, rgb.picture, 10, 10, false), ZNT_BAD_ARGUMENT);
    Walk walk;
    walkExposedTiles(r, 0, 0, TileRect{0, 0, 10, 10}, recordPut, &walk);
    EXPECT_TRUE(walk.puts.empty());
}
