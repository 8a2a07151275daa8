// Rendering a picture for each kind of display: every method against the
// plain reference, the method chosen per pairing, and the cases a user sees.
#include <gtest/gtest.h>

#include "picture/bayer_matrix.h"
#include "render_fixtures.h"

using namespace quivel;
using namespace rendertest;

namespace {

std::vector<DisplayCase> allDisplays() {
    return {
        computedDisplay("true24 red high", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF),
        computedDisplay("true24 red low", kTrueColor, 24, 32, 0xFF, 0xFF00, 0xFF0000),
        computedDisplay("argb32", kTrueColor, 32, 32, 0xFF0000, 0xFF00, 0xFF),
        computedDisplay("abgr32", kTrueColor, 32, 32, 0xFF, 0xFF00, 0xFF0000),
        computedDisplay("direct24", kDirectColor, 24, 32, 0xFF0000, 0xFF00, 0xFF),
        computedDisplay("true24 packed msb", kTrueColor, 24, 24, 0xFF0000, 0xFF00, 0xFF, kMsbFirst),
        computedDisplay("true16", kTrueColor, 16, 16, 0xF800, 0x7E0, 0x1F),
        computedDisplay("true16 msb", kTrueColor, 16, 16, 0xF800, 0x7E0, 0x1F, kMsbFirst),
        computedDisplay("true15", kTrueColor, 15, 16, 0x7C00, 0x3E0, 0x1F),
        computedDisplay("true8 332", kTrueColor, 8, 8, 0x7, 0x38, 0xC0),
        computedDisplay("static gray", kStaticGray, 8, 8, 0, 0, 0),
        mappedDisplay("mapped8 cube 8x8x4", 8, 8, 8, 8, 4),
        mappedDisplay("mapped8 cube 6x6x6", 8, 8, 6, 6, 6),
        mappedDisplay("mapped8 cube 2x2x2", 8, 8, 2, 2, 2),
        mappedDisplay("mapped12 cube in 16-bit pixels", 12, 16, 8, 8, 4),
        mappedDisplay("mapped8 own palette", 8, 8, 8, 8, 4, true),
        mappedDisplay("mapped12 own palette in 16-bit pixels", 12, 16, 8, 8, 4, true),
        mappedDisplay("mapped4", 4, 8),
        mappedDisplay("mapped4 nibbles msb", 4, 4, 0, 0, 0, false, kMsbFirst),
        mappedDisplay("mapped4 nibbles lsb", 4, 4),
        mappedDisplay("mapped2", 2, 2),
        mappedDisplay("mapped2 bytes", 2, 8),
    };
}

struct PictureCase {
    std::string name;
    TestPicture picture;
    bool showMask;
};

std::vector<PictureCase> allPictures(int width, int height) {
    std::vector<PictureCase> cases;
    cases.push_back({"binary", makePicture(ZNT_BINARY, width, height, 11), false});
    cases.push_back({"grey16 ramp", makePicture(ZNT_GREY, width, height, 12, 16, false), false});
    cases.push_back({"grey256 ramp", makePicture(ZNT_GREY, width, height, 13, 256, false), false});
    cases.push_back({"palette", makePicture(ZNT_PALETTE, width, height, 14, 200), false});
    cases.push_back({"rgb", makePicture(ZNT_RGB, width, height, 15), false});
    cases.push_back({"rgb rows unpadded", makePicture(ZNT_RGB, width, height, 18, 256, true, 0), false});
    cases.push_back({"rgba", makePicture(ZNT_RGBA, width, height, 16), false});
    cases.push_back({"rgba mask view", makePicture(ZNT_RGBA, width, height, 17), true});
    return cases;
}

// Draws the displayed picture at an origin of (3, 5) through the tile walk
// and returns what reached the "screen".
std::vector<uint32_t> drawAll(const Picture &picture, bool showMask, const DisplayCase &d, double gamma,
                              int destWidth, int destHeight, int tileSize = kTileSize) {
    std::vector<uint8_t> storage;
    Renderer r;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, tileSize, tileSize, storage));
    SetDisplayGamma(r, gamma);
    EXPECT_EQ(PrepareRender(r, picture, destWidth, destHeight, showMask), ZNT_OK);
    Screen screen{3, 5, destWidth, destHeight, &r.tile, std::vector<uint32_t>(size_t(destWidth) * destHeight, 0xDEAD)};
    walkExposedTiles(r, 3, 5, TileRect{0, 0, 4000, 4000}, copyTileToScreen, &screen);
    return screen.pixels;
}

// The first pixel that differs from the reference, as a message; empty when
// all agree.
std::string compareWithReference(const std::vector<uint32_t> &drawn, const Reference &reference, int destWidth,
                                 int destHeight) {
    for (int y = 0; y < destHeight; ++y)
        for (int x = 0; x < destWidth; ++x) {
            const uint32_t expected = reference.pixelAt(x, y, destWidth, destHeight);
            const uint32_t got = drawn[size_t(y) * destWidth + x];
            if (got != expected) {
                char text[160];
                std::snprintf(text, sizeof text, "at (%d, %d) of %dx%d: drew 0x%x, expected 0x%x", x, y, destWidth,
                              destHeight, got, expected);
                return text;
            }
        }
    return {};
}

}  // namespace

TEST(Rendering, EveryPictureKindOnEveryDisplayAtSeveralZooms) {
    const int width = 60, height = 45;
    // 100 %, 37 %, 250 %, and a stretch of 7/3 across and 5/4 down.
    const int zooms[][2] = {{60, 45}, {22, 16}, {150, 112}, {140, 56}};
    std::vector<DisplayCase> displays = allDisplays();
    std::vector<PictureCase> pictures = allPictures(width, height);
    for (const DisplayCase &d : displays)
        for (const PictureCase &pc : pictures)
            for (double gamma : {1.0, 1.8})
                for (const auto &zoom : zooms) {
                    const Picture &p = pc.picture.picture;
                    const std::vector<uint32_t> drawn = drawAll(p, pc.showMask, d, gamma, zoom[0], zoom[1]);
                    const std::string difference =
                        compareWithReference(drawn, Reference{p, pc.showMask, d, gamma}, zoom[0], zoom[1]);
                    EXPECT_EQ(difference, "") << pc.name << " on " << d.name << ", gamma " << gamma;
                }
}

TEST(Rendering, PatternsStayFixedToThePictureAcrossTiles) {
    // Displayed pictures wider and taller than one tile, drawn in tiles of
    // 256 and of 40 (whose origins fall on no multiple of 8 or 16).
    const TestPicture rgb = makePicture(ZNT_RGB, 130, 120, 21);
    const TestPicture palette = makePicture(ZNT_PALETTE, 130, 120, 22, 100);
    for (const DisplayCase &d : {mappedDisplay("mapped8", 8, 8, 8, 8, 4), mappedDisplay("mapped4", 4, 8),
                                 mappedDisplay("mapped2", 2, 2), computedDisplay("true16", kTrueColor, 16, 16, 0xF800,
                                                                                 0x7E0, 0x1F)})
        for (const TestPicture *t : {&rgb, &palette})
            for (int tileSize : {256, 40}) {
                const std::vector<uint32_t> drawn = drawAll(t->picture, false, d, 1.0, 300, 270, tileSize);
                EXPECT_EQ(compareWithReference(drawn, Reference{t->picture, false, d, 1.0}, 300, 270), "")
                    << d.name << ", tiles of " << tileSize;
            }
}

TEST(Rendering, MethodChosenPerPairing) {
    using M = RenderMethod;
    const TestPicture binary = makePicture(ZNT_BINARY, 4, 4), grey = makePicture(ZNT_GREY, 4, 4),
                      rgb = makePicture(ZNT_RGB, 4, 4), rgba = makePicture(ZNT_RGBA, 4, 4);
    auto choose = [](const TestPicture &t, const DisplayCase &d, bool mask = false) {
        std::vector<uint8_t> storage;
        return chooseRenderMethod(t.picture, mask, d.visual, d.colors, makeTarget(d, 8, 8, storage));
    };
    const DisplayCase redLow = computedDisplay("", kTrueColor, 24, 32, 0xFF, 0xFF00, 0xFF0000);
    const DisplayCase redHigh = computedDisplay("", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF);
    const DisplayCase packed = computedDisplay("", kTrueColor, 24, 24, 0xFF0000, 0xFF00, 0xFF);
    const DisplayCase cube = mappedDisplay("", 8, 8, 8, 8, 4), cube16 = mappedDisplay("", 12, 16, 8, 8, 4);
    const DisplayCase own = mappedDisplay("", 8, 8, 8, 8, 4, true);
    EXPECT_EQ(choose(rgb, redLow), M::kTrueDirectRgb);
    EXPECT_EQ(choose(rgb, redHigh), M::kTrueDirectBgr);
    EXPECT_EQ(choose(rgb, packed), M::kTrueComputed);
    EXPECT_EQ(choose(grey, redLow), M::kIndexedDirectRgb);
    EXPECT_EQ(choose(grey, redHigh), M::kIndexedDirectBgr);
    EXPECT_EQ(choose(grey, packed), M::kIndexedComputed);
    EXPECT_EQ(choose(rgba, redHigh, true), M::kMaskComputed);
    EXPECT_EQ(choose(rgb, redHigh, true), M::kTrueDirectBgr) << "a three-byte picture has no mask";
    EXPECT_EQ(choose(rgba, redHigh, false), M::kTrueDirectBgr);
    EXPECT_EQ(choose(rgb, cube), M::kTrueDitherByte);
    EXPECT_EQ(choose(rgb, cube16), M::kTrueDither);
    EXPECT_EQ(choose(rgba, cube16, true), M::kMaskDither);
    EXPECT_EQ(choose(grey, cube), M::kIndexedDitherByte);
    EXPECT_EQ(choose(grey, cube16), M::kIndexedDither);
    EXPECT_EQ(choose(grey, own), M::kIndexedOwnByte);
    EXPECT_EQ(choose(rgb, own), M::kTrueDitherByte) << "a true-colour picture on its own colormap uses the cube";
    EXPECT_EQ(choose(grey, mappedDisplay("", 12, 16, 8, 8, 4, true)), M::kIndexedOwn);
    EXPECT_EQ(choose(rgb, mappedDisplay("", 4, 8)), M::kTrueBayerCube);
    EXPECT_EQ(choose(grey, mappedDisplay("", 4, 4)), M::kIndexedBayerCube);
    EXPECT_EQ(choose(rgb, mappedDisplay("", 2, 2)), M::kTrueBayerGrey);
    EXPECT_EQ(choose(grey, mappedDisplay("", 2, 8)), M::kIndexedBayerGrey);
    for (int depth : {1, 3, 5, 6, 7}) {
        EXPECT_EQ(choose(rgb, mappedDisplay("", depth, 8)), M::kNone) << depth;
        EXPECT_EQ(choose(grey, mappedDisplay("", depth, 8)), M::kNone) << depth;
        EXPECT_EQ(choose(binary, mappedDisplay("", depth, depth == 1 ? 1 : 8)), M::kBinary) << depth;
    }
}

TEST(Rendering, UnsupportedPairingSaysSoAndDrawsNothing) {
    const TestPicture rgb = makePicture(ZNT_RGB, 10, 10);
    const DisplayCase d = mappedDisplay("mapped3", 3, 8);
    std::vector<uint8_t> storage;
    Renderer r;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
    testing::internal::CaptureStderr();
    EXPECT_EQ(PrepareRender(r, rgb.picture, 10, 10, false), ZNT_OK);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "******** ERROR : ConvertBitmapToImage NULL \n");
    Screen screen{0, 0, 10, 10, &r.tile, std::vector<uint32_t>(100)};
    walkExposedTiles(r, 0, 0, TileRect{0, 0, 10, 10}, copyTileToScreen, &screen);
    EXPECT_EQ(screen.puts, 0);

    // A binary picture has a method on any display, even a 1-bit one.
    const TestPicture binary = makePicture(ZNT_BINARY, 10, 10);
    const DisplayCase mono = mappedDisplay("mapped1", 1, 1);
    std::vector<uint8_t> monoStorage;
    setRendererTarget(r, &mono.colors, &mono.visual, makeTarget(mono, 256, 256, monoStorage));
    testing::internal::CaptureStderr();
    PrepareRender(r, binary.picture, 10, 10, false);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    walkExposedTiles(r, 0, 0, TileRect{0, 0, 10, 10}, copyTileToScreen, &screen);
    EXPECT_EQ(screen.puts, 1);
    EXPECT_EQ(compareWithReference(screen.pixels, Reference{binary.picture, false, mono, 1.0}, 10, 10), "");
}

TEST(Rendering, GreyRampWithoutPalette) {
    const DisplayCase d = computedDisplay("", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF);
    std::vector<uint8_t> storage;
    Renderer r;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
    TestPicture grey = makePicture(ZNT_GREY, 4, 4, 1, 16, false);
    PrepareRender(r, grey.picture, 4, 4, false);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(r.paletteRed[i], 17 * i) << i;
    for (int i = 16; i < 256; ++i) ASSERT_EQ(r.paletteBlue[i], 255) << "entries above the count are white";

    // One colour would divide by zero: it is black, as on a private colormap.
    grey.picture.numberOfColors = 1;
    PrepareRender(r, grey.picture, 4, 4, false);
    EXPECT_EQ(r.paletteGreen[0], 0);
    EXPECT_EQ(r.paletteGreen[1], 255);
    // No count at all: the full ramp.
    grey.picture.numberOfColors = 0;
    PrepareRender(r, grey.picture, 4, 4, false);
    EXPECT_EQ(r.paletteRed[128], 128);
}

TEST(Rendering, ZoomTablesPickTheTopLeftSourcePixel) {
    const DisplayCase d = computedDisplay("", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF);
    std::vector<uint8_t> storage;
    Renderer r;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
    const TestPicture rgb = makePicture(ZNT_RGB, 3, 2);
    PrepareRender(r, rgb.picture, 7, 5, false);
    const std::vector<uint32_t> columns = {0, 0, 0, 3, 3, 6, 6};   // source columns 0 0 0 1 1 2 2, 3 bytes each
    EXPECT_EQ(r.columnOffsets, columns);
    for (int j = 0; j < 5; ++j)
        EXPECT_EQ(r.rowStarts[size_t(j)], rgb.picture.data + (j * 2 / 5) * rgb.picture.bytesPerLine) << j;

    const TestPicture binary = makePicture(ZNT_BINARY, 3, 2);
    PrepareRender(r, binary.picture, 7, 5, false);
    const std::vector<uint32_t> bits = {0, 0, 0, 1, 1, 2, 2};
    EXPECT_EQ(r.columnOffsets, bits) << "binary pictures count bits";
}

TEST(Rendering, DisplayGamma) {
    Renderer r;
    SetDisplayGamma(r, 1.005);
    EXPECT_FALSE(r.gammaOn);
    SetDisplayGamma(r, 2.0);
    EXPECT_TRUE(r.gammaOn);
    EXPECT_EQ(r.gammaTable[64], 128);
    EXPECT_EQ(r.gammaTable[0], 0);
    EXPECT_EQ(r.gammaTable[255], 255);

    // Changing the gamma after a preparation changes what is drawn.
    const DisplayCase d = computedDisplay("", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF);
    TestPicture rgb = makePicture(ZNT_RGB, 1, 1);
    rgb.pixels[0] = rgb.pixels[1] = rgb.pixels[2] = 64;
    std::vector<uint8_t> storage;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
    SetDisplayGamma(r, 1.0);
    PrepareRender(r, rgb.picture, 1, 1, false);
    Screen screen{0, 0, 1, 1, &r.tile, {0}};
    walkExposedTiles(r, 0, 0, TileRect{0, 0, 1, 1}, copyTileToScreen, &screen);
    EXPECT_EQ(screen.pixels[0], 0x404040u);
    SetDisplayGamma(r, 2.0);
    walkExposedTiles(r, 0, 0, TileRect{0, 0, 1, 1}, copyTileToScreen, &screen);
    EXPECT_EQ(screen.pixels[0], 0x808080u);
}

TEST(Rendering, MidGreyOnFourBitsIsHalfWhite) {
    DisplayCase d = mappedDisplay("mapped4", 4, 8);
    TestPicture grey = makePicture(ZNT_RGB, 16, 16);
    std::fill(grey.pixels.begin(), grey.pixels.end(), 128);
    const std::vector<uint32_t> drawn = drawAll(grey.picture, false, d, 1.0, 16, 16);
    int white = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            const uint32_t pixel = drawn[size_t(y) * 16 + x];
            const bool isWhite = pixel == d.colors.pixelTable[7];
            EXPECT_TRUE(isWhite || pixel == d.colors.pixelTable[0]) << "only black and white cube corners";
            EXPECT_EQ(isWhite, kBayer16.value[y][x] < 128) << x << ", " << y;
            white += isWhite;
        }
    EXPECT_EQ(white, 128);
}

TEST(Rendering, OwnPaletteUsesThePixelTableWithoutDither) {
    const DisplayCase d = mappedDisplay("own", 8, 8, 8, 8, 4, true);
    const TestPicture palette = makePicture(ZNT_PALETTE, 20, 10, 5, 256);
    const std::vector<uint32_t> drawn = drawAll(palette.picture, false, d, 1.8, 20, 10);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x)
            ASSERT_EQ(drawn[size_t(y) * 20 + x], d.colors.pixelTable[palette.pixels[y * palette.picture.bytesPerLine + x]]);

    // The gamma is not lost: the colormap is to receive the corrected palette.
    std::vector<uint8_t> storage;
    Renderer r;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
    SetDisplayGamma(r, 1.8);
    PrepareRender(r, palette.picture, 20, 10, false);
    EXPECT_TRUE(r.ownPaletteGammaPending);
    SetDisplayGamma(r, 1.0);
    EXPECT_FALSE(r.ownPaletteGammaPending);
}

TEST(Rendering, BayerMatrix) {
    const uint8_t firstRow[16] = {0, 128, 32, 160, 8, 136, 40, 168, 2, 130, 34, 162, 10, 138, 42, 170};
    bool seen[256] = {};
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            const int v = kBayer16.value[y][x];
            EXPECT_FALSE(seen[v]) << v;
            seen[v] = true;
            EXPECT_EQ(v, bayerValue(y, x));
        }
    for (int x = 0; x < 16; ++x) EXPECT_EQ(kBayer16.value[0][x], firstRow[x]);
}

TEST(Rendering, DirectStoresUseThisMachinesByteOrder) {
    // The direct 32-bit methods are chosen by masks and pixel size alone and
    // store words as this machine orders them, whatever the image says.
    const int otherOrder = hostByteOrder() == kLsbFirst ? kMsbFirst : kLsbFirst;
    const DisplayCase d = computedDisplay("", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF, otherOrder);
    TestPicture rgb = makePicture(ZNT_RGB, 1, 1);
    rgb.pixels[0] = 0x11, rgb.pixels[1] = 0x22, rgb.pixels[2] = 0x33;
    std::vector<uint8_t> storage;
    Renderer r;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
    PrepareRender(r, rgb.picture, 1, 1, false);
    EXPECT_EQ(r.method, RenderMethod::kTrueDirectBgr);
    r.renderTile(d.colors, r, TileRect{0, 0, 1, 1});
    uint32_t word;
    std::memcpy(&word, storage.data(), 4);
    EXPECT_EQ(word, 0x112233u);
}
