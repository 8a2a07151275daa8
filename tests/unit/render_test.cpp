// Rendering pictures for every kind of display, against a plain reference
// that computes each displayed pixel on its own, straight from the rules
// (source pixel by the zoom, gamma by pow, the cube dither from the 8 x 8
// level matrix, Bayer values from the bits of row and column): it shares no
// table with the renderer.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "app/color_context.h"
#include "app/dither_tables.h"
#include "imageops/dither_matrices.h"
#include "picture/bayer_matrix.h"
#include "picture/renderer.h"

using namespace quivel;

namespace {

// A picture over vectors; rows are padded with a byte no rule should read.
struct TestPicture {
    std::vector<uint8_t> pixels, palette;
    Picture picture{};
};

TestPicture makePicture(int type, int width, int height, uint32_t seed = 1, int colors = 256,
                        bool withPalette = true, uint32_t padding = 5) {
    TestPicture t;
    Picture &p = t.picture;
    p.bytesPerPixel = uint16_t(type == ZNT_RGB ? 3 : (type & ZNT_FOURBYTE_MASK) ? 4 : 1);
    const uint32_t used = type == ZNT_BINARY ? uint32_t(width + 7) / 8 : uint32_t(width) * p.bytesPerPixel;
    p.width = uint32_t(width);
    p.height = height;
    p.bytesPerLine = used + padding;
    p.type = int16_t(type);
    p.numberOfColors = uint16_t(colors);
    t.pixels.assign(size_t(p.bytesPerLine) * size_t(height), 0xEE);
    uint32_t state = seed;
    auto next = [&state] { return uint8_t((state = state * 1664525u + 1013904223u) >> 24); };
    for (int y = 0; y < height; ++y)
        for (uint32_t i = 0; i < used; ++i) {
            const uint8_t v = next();
            // Indexed pictures: mostly indices in use, a few above the count.
            t.pixels[size_t(y) * p.bytesPerLine + i] = (type & 6) ? uint8_t(v % (colors + (v & 1 ? 3 : 0))) : v;
        }
    if ((type & 6) && withPalette) {
        t.palette.resize(768);
        for (uint8_t &v : t.palette) v = next();
        p.palette = t.palette.data();
    }
    p.data = t.pixels.data();
    return t;
}

struct DisplayCase {
    std::string name;
    DisplayVisual visual;
    ColorContext colors;
    int bitsPerPixel;
    int byteOrder = kLsbFirst;
};

DisplayCase computed(const std::string &name, int visualClass, int depth, int bitsPerPixel, unsigned long red,
                     unsigned long green, unsigned long blue, int byteOrder = kLsbFirst) {
    DisplayCase d{name, {}, {}, bitsPerPixel, byteOrder};
    fillDisplayVisual(VisualDescription{0, visualClass, depth, 0, red, green, blue}, d.visual);
    d.colors.whitePixel = computedWhitePixel(d.visual);
    return d;
}

// A colour-mapped display whose pixel table is scrambled, so that a method
// confusing an index with its pixel shows.
DisplayCase mapped(const std::string &name, int depth, int bitsPerPixel, int cubeRed = 0, int cubeGreen = 0,
                   int cubeBlue = 0, bool ownPalette = false, int byteOrder = kLsbFirst) {
    DisplayCase d{name, {}, {}, bitsPerPixel, byteOrder};
    fillDisplayVisual(VisualDescription{0, kPseudoColor, depth, 0, 0, 0, 0}, d.visual);
    ColorContext &c = d.colors;
    for (int i = 0; i < 256; ++i) c.pixelTable[i] = (uint32_t(i) * 37u + 11u) & ((1u << depth) - 1);
    c.colorCount = depth <= 2 ? 2 : depth <= 4 ? 8 : 256;
    if (depth <= 2) c.pixelTable[0] = (1u << depth) - 1, c.pixelTable[1] = (1u << depth) - 2;
    if (cubeRed > 0) c.dither = GetDitherTables(cubeRed, cubeGreen, cubeBlue);
    c.ownPalette = ownPalette;
    c.blackPixel = c.pixelTable[0];
    c.whitePixel = c.pixelTable[c.colorCount - 1];
    return d;
}

TileBuffer makeTarget(const DisplayCase &d, int width, int height, std::vector<uint8_t> &storage) {
    TileBuffer t;
    t.width = width;
    t.height = height;
    t.bitsPerPixel = d.bitsPerPixel;
    t.depth = d.visual.depth;
    t.byteOrder = t.bitOrder = d.byteOrder;
    t.bytesPerLine = (width * d.bitsPerPixel + 31) / 32 * 4;
    t.redMask = d.visual.redMask;
    t.greenMask = d.visual.greenMask;
    t.blueMask = d.visual.blueMask;
    storage.assign(size_t(t.bytesPerLine) * size_t(height), 0);
    t.data = storage.data();
    return t;
}

// Each doubling of the matrix adds, for the quadrant picked by a bit of the
// row and of the column, 0, 2, 3 or 1 times 4^(3 - bit).
int bayerValue(int row, int column) {
    static const int kQuadrant[2][2] = {{0, 2}, {3, 1}};
    int value = 0;
    for (int b = 0; b < 4; ++b) value += kQuadrant[(row >> b) & 1][(column >> b) & 1] << (2 * (3 - b));
    return value;
}

struct Reference {
    const Picture &p;
    bool showMask;
    const DisplayCase &d;
    double gamma;

    int corrected(int c) const {
        return gamma > 0.99 && gamma < 1.01 ? c : int(std::trunc(std::pow(c / 255.0, 1.0 / gamma) * 255.0 + 0.5));
    }
    uint32_t opaque() const {
        const DisplayVisual &v = d.visual;
        const bool argb = v.visualClass == kTrueColor && v.depth == 32 && d.bitsPerPixel == 32 &&
                          ((v.redMask | v.greenMask | v.blueMask) >> 24) == 0;
        return argb ? 0xFF000000u : 0;
    }
    uint32_t computedPixel(int r, int g, int b) const {
        const DisplayVisual &v = d.visual;
        auto part = [](int c, int levels, int shift) { return shift >= 32 ? 0 : (uint64_t(c) * levels >> 8) << shift; };
        return uint32_t(part(r, v.redLevels, v.redShift) | part(g, v.greenLevels, v.greenShift) |
                        part(b, v.blueLevels, v.blueShift)) | opaque();
    }
    uint32_t dithered(int r, int g, int b, int x, int y) const {
        const DitherTables &t = *d.colors.dither;
        const int cell = kLevelDither8[y & 7][x & 7];
        auto part = [cell](const DitherEntry &e) { return cell < e.fraction ? e.upperIndex : e.lowerIndex; };
        return d.colors.pixelTable[uint8_t(part(t.redTable[r]) + part(t.greenTable[g]) + part(t.blueTable[b]))];
    }

    uint32_t pixelAt(int x, int y, int destWidth, int destHeight) const {
        const int sx = int(int64_t(x) * p.width / destWidth), sy = int(int64_t(y) * p.height / destHeight);
        const uint8_t *s = p.data + size_t(sy) * p.bytesPerLine + size_t(sx) * p.bytesPerPixel;
        const ColorContext &c = d.colors;
        const bool isMapped = d.visual.visualClass == kPseudoColor, deep = d.visual.depth >= 8;
        if (p.type == ZNT_BINARY) {
            const bool white = (p.data[size_t(sy) * p.bytesPerLine + sx / 8] >> (7 - sx % 8)) & 1;
            return (white ? c.whitePixel : c.blackPixel) | opaque();
        }
        int r, g, b;
        if (p.type & ZNT_TRUECOLOR_MASK) {
            if (showMask && (p.type & ZNT_FOURBYTE_MASK) && (!isMapped || deep))   // no mask view below 8 bits
                return isMapped ? dithered(s[3], s[3], s[3], x, y) : computedPixel(s[3], s[3], s[3]);
            r = s[0], g = s[1], b = s[2];
        } else if (isMapped && deep && c.ownPalette) {
            return c.pixelTable[s[0]];
        } else if (p.palette) {
            r = p.palette[s[0]], g = p.palette[256 + s[0]], b = p.palette[512 + s[0]];
        } else {
            r = g = b = s[0] >= p.numberOfColors ? 255 : s[0] * 255 / (p.numberOfColors - 1);
        }
        r = corrected(r), g = corrected(g), b = corrected(b);
        if (!isMapped) return computedPixel(r, g, b);
        if (deep) return dithered(r, g, b, x, y);
        const int t = bayerValue(y & 15, x & 15);
        if (d.visual.depth == 4) return c.pixelTable[4 * (r > t) + 2 * (g > t) + (b > t)];
        return c.pixelTable[(77 * r + 150 * g + 29 * b) >> 8 >= t ? 1 : 0];
    }
};

// The displayed picture as a server holds it after the tiles were put:
// pixels read back from the tile buffer at every put.
struct Screen {
    int originX, originY, width, height;
    const TileBuffer *tile;
    std::vector<uint32_t> pixels;
    int puts = 0;
};

void copyToScreen(void *context, int32_t x, int32_t y, int32_t width, int32_t height) {
    Screen &s = *static_cast<Screen *>(context);
    ++s.puts;
    for (int j = 0; j < height; ++j)
        for (int i = 0; i < width; ++i)
            s.pixels[size_t(y - s.originY + j) * s.width + size_t(x - s.originX + i)] = getPixel(*s.tile, i, j);
}

// Draws the whole displayed picture at (3, 5) in tiles of tileSize.
std::vector<uint32_t> drawAll(const Picture &picture, bool showMask, const DisplayCase &d, double gamma, int destWidth,
                              int destHeight, int tileSize = kTileSize) {
    std::vector<uint8_t> storage;
    Renderer r;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, tileSize, tileSize, storage));
    SetDisplayGamma(r, gamma);
    EXPECT_EQ(PrepareRender(r, picture, destWidth, destHeight, showMask), ZNT_OK);
    Screen screen{3, 5, destWidth, destHeight, &r.tile, std::vector<uint32_t>(size_t(destWidth) * destHeight, 0xDEAD)};
    walkExposedTiles(r, 3, 5, TileRect{0, 0, 4000, 4000}, copyToScreen, &screen);
    return screen.pixels;
}

// The first pixel that differs from the reference, or "".
std::string difference(const std::vector<uint32_t> &drawn, const Reference &reference, int width, int height) {
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const uint32_t expected = reference.pixelAt(x, y, width, height), got = drawn[size_t(y) * width + x];
            if (got != expected)
                return "at (" + std::to_string(x) + ", " + std::to_string(y) + ") of " + std::to_string(width) + "x" +
                       std::to_string(height) + ": drew " + std::to_string(got) + ", expected " + std::to_string(expected);
        }
    return "";
}

}  // namespace

TEST(Rendering, EveryPictureKindOnEveryDisplayAtSeveralZooms) {
    const DisplayCase displays[] = {
        computed("true24 red high", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF),
        computed("true24 red low", kTrueColor, 24, 32, 0xFF, 0xFF00, 0xFF0000),
        computed("argb32", kTrueColor, 32, 32, 0xFF0000, 0xFF00, 0xFF),
        computed("abgr32", kTrueColor, 32, 32, 0xFF, 0xFF00, 0xFF0000),
        computed("direct24", kDirectColor, 24, 32, 0xFF0000, 0xFF00, 0xFF),
        computed("true24 packed msb", kTrueColor, 24, 24, 0xFF0000, 0xFF00, 0xFF, kMsbFirst),
        computed("true24 msb words", kTrueColor, 24, 32, 0xFF00, 0xFF0000, 0xFF000000, kMsbFirst),
        computed("true16", kTrueColor, 16, 16, 0xF800, 0x7E0, 0x1F),
        computed("true16 msb", kTrueColor, 16, 16, 0xF800, 0x7E0, 0x1F, kMsbFirst),
        computed("true15", kTrueColor, 15, 16, 0x7C00, 0x3E0, 0x1F),
        computed("true8 332", kTrueColor, 8, 8, 0x7, 0x38, 0xC0),
        computed("static gray", kStaticGray, 8, 8, 0, 0, 0),
        mapped("mapped8 8x8x4", 8, 8, 8, 8, 4),
        mapped("mapped8 6x6x6", 8, 8, 6, 6, 6),
        mapped("mapped8 2x2x2", 8, 8, 2, 2, 2),
        mapped("mapped12 in 16-bit pixels", 12, 16, 8, 8, 4),
        mapped("mapped8 own palette", 8, 8, 8, 8, 4, true),
        mapped("mapped12 own palette", 12, 16, 8, 8, 4, true),
        mapped("mapped4", 4, 8),
        mapped("mapped4 nibbles msb", 4, 4, 0, 0, 0, false, kMsbFirst),
        mapped("mapped4 nibbles lsb", 4, 4),
        mapped("mapped2", 2, 2),
        mapped("mapped2 bytes", 2, 8),
    };
    struct PictureCase {
        const char *name;
        TestPicture picture;
        bool showMask;
    };
    const PictureCase pictures[] = {
        {"binary", makePicture(ZNT_BINARY, 60, 45, 11), false},
        {"grey16 ramp", makePicture(ZNT_GREY, 60, 45, 12, 16, false), false},
        {"grey256 ramp", makePicture(ZNT_GREY, 60, 45, 13, 256, false), false},
        {"palette", makePicture(ZNT_PALETTE, 60, 45, 14, 200), false},
        {"rgb", makePicture(ZNT_RGB, 60, 45, 15), false},
        {"rgb rows unpadded", makePicture(ZNT_RGB, 60, 45, 18, 256, true, 0), false},
        {"rgba", makePicture(ZNT_RGBA, 60, 45, 16), false},
        {"rgba mask view", makePicture(ZNT_RGBA, 60, 45, 17), true},
    };
    // 100 %, 37 %, 250 %, and 7/3 across by 5/4 down.
    const int zooms[][2] = {{60, 45}, {22, 16}, {150, 112}, {140, 56}};
    for (const DisplayCase &d : displays)
        for (const PictureCase &pc : pictures)
            for (double gamma : {1.0, 1.8})
                for (const auto &zoom : zooms) {
                    const Picture &p = pc.picture.picture;
                    EXPECT_EQ(difference(drawAll(p, pc.showMask, d, gamma, zoom[0], zoom[1]),
                                         Reference{p, pc.showMask, d, gamma}, zoom[0], zoom[1]),
                              "")
                        << pc.name << " on " << d.name << ", gamma " << gamma;
                }
}

TEST(Rendering, PatternsStayFixedToThePictureAcrossTiles) {
    // Tiles of 256, and of 37, whose corners fall on no multiple of 8 or 16.
    const TestPicture rgb = makePicture(ZNT_RGB, 130, 120, 21), palette = makePicture(ZNT_PALETTE, 130, 120, 22, 100);
    for (const DisplayCase &d : {mapped("mapped8", 8, 8, 8, 8, 4), mapped("mapped4", 4, 8), mapped("mapped2", 2, 2)})
        for (const TestPicture *t : {&rgb, &palette})
            for (int tileSize : {256, 37})
                EXPECT_EQ(difference(drawAll(t->picture, false, d, 1.0, 300, 270, tileSize),
                                     Reference{t->picture, false, d, 1.0}, 300, 270),
                          "")
                    << d.name << ", tiles of " << tileSize;
}

TEST(Rendering, UnsupportedPairingSaysSoAndDrawsNothing) {
    const TestPicture rgb = makePicture(ZNT_RGB, 10, 10), binary = makePicture(ZNT_BINARY, 10, 10);
    for (int depth : {1, 3, 5, 7}) {
        const DisplayCase d = mapped("mapped", depth, depth == 1 ? 1 : 8);
        std::vector<uint8_t> storage;
        Renderer r;
        setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
        testing::internal::CaptureStderr();
        EXPECT_EQ(PrepareRender(r, rgb.picture, 10, 10, false), ZNT_OK);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "******** ERROR : ConvertBitmapToImage NULL \n");
        Screen screen{0, 0, 10, 10, &r.tile, std::vector<uint32_t>(100)};
        walkExposedTiles(r, 0, 0, TileRect{0, 0, 10, 10}, copyToScreen, &screen);
        EXPECT_EQ(screen.puts, 0);
        // A binary picture shows on any display.
        EXPECT_EQ(difference(drawAll(binary.picture, false, d, 1.0, 10, 10), Reference{binary.picture, false, d, 1.0},
                             10, 10),
                  "")
            << depth;
    }
}

TEST(Rendering, GreyRampZoomTablesAndGamma) {
    const DisplayCase d = computed("", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF);
    std::vector<uint8_t> storage;
    Renderer r;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
    TestPicture grey = makePicture(ZNT_GREY, 3, 2, 1, 16, false);
    PrepareRender(r, grey.picture, 7, 5, false);
    for (int i = 0; i < 256; ++i) ASSERT_EQ(r.paletteRed[i], i < 16 ? 17 * i : 255) << i;
    EXPECT_EQ(r.columnOffsets, (std::vector<uint32_t>{0, 0, 0, 1, 1, 2, 2}));
    EXPECT_EQ(r.rowStarts[4], grey.picture.data + grey.picture.bytesPerLine) << "row 4 of 5 shows source row 1";
    const TestPicture rgb = makePicture(ZNT_RGB, 3, 2);
    PrepareRender(r, rgb.picture, 7, 5, false);
    EXPECT_EQ(r.columnOffsets, (std::vector<uint32_t>{0, 0, 0, 3, 3, 6, 6}));

    // A ramp of one grey would divide by zero: it is black, as on a private
    // colormap. No count at all gives the full ramp.
    grey.picture.numberOfColors = 1;
    PrepareRender(r, grey.picture, 3, 2, false);
    EXPECT_EQ(r.paletteGreen[0], 0);
    EXPECT_EQ(r.paletteGreen[1], 255);
    grey.picture.numberOfColors = 0;
    PrepareRender(r, grey.picture, 3, 2, false);
    EXPECT_EQ(r.paletteBlue[128], 128);

    SetDisplayGamma(r, 1.005);
    EXPECT_FALSE(r.gammaOn);
    SetDisplayGamma(r, 2.0);
    EXPECT_EQ(r.gammaTable[64], 128);
    // A gamma set after the preparation applies at the next draw.
    TestPicture dark = makePicture(ZNT_RGB, 1, 1);
    std::memset(dark.pixels.data(), 64, 3);
    SetDisplayGamma(r, 1.0);
    PrepareRender(r, dark.picture, 1, 1, false);
    SetDisplayGamma(r, 2.0);
    Screen screen{0, 0, 1, 1, &r.tile, {0}};
    walkExposedTiles(r, 0, 0, TileRect{0, 0, 1, 1}, copyToScreen, &screen);
    EXPECT_EQ(screen.pixels[0], 0x808080u);
}

TEST(Rendering, MidGreyOnFourBitsIsHalfWhite) {
    const DisplayCase d = mapped("mapped4", 4, 8);
    TestPicture grey = makePicture(ZNT_RGB, 16, 16);
    std::fill(grey.pixels.begin(), grey.pixels.end(), 128);
    const std::vector<uint32_t> drawn = drawAll(grey.picture, false, d, 1.0, 16, 16);
    int white = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            const uint32_t pixel = drawn[size_t(y) * 16 + x];
            ASSERT_TRUE(pixel == d.colors.pixelTable[7] || pixel == d.colors.pixelTable[0]) << "black or white";
            EXPECT_EQ(pixel == d.colors.pixelTable[7], kBayer16.value[y][x] < 128) << x << ", " << y;
            white += pixel == d.colors.pixelTable[7];
        }
    EXPECT_EQ(white, 128);
}

TEST(Rendering, OwnPaletteTakesItsGammaFromTheColormap) {
    // The pixel-table entry of each index, undithered, whatever the gamma...
    const DisplayCase d = mapped("own", 8, 8, 8, 8, 4, true);
    const TestPicture palette = makePicture(ZNT_PALETTE, 20, 10, 5);
    EXPECT_EQ(difference(drawAll(palette.picture, false, d, 1.8, 20, 10), Reference{palette.picture, false, d, 1.8}, 20,
                         10),
              "");
    // ...and the colormap is to receive the corrected palette, or the plain
    // one again when gamma goes off.
    std::vector<uint8_t> storage;
    Renderer r;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
    SetDisplayGamma(r, 1.8);
    PrepareRender(r, palette.picture, 20, 10, false);
    EXPECT_TRUE(r.ownPaletteGammaPending);
    SetDisplayGamma(r, 1.0);
    EXPECT_FALSE(r.ownPaletteGammaPending);
    r.ownPaletteCorrected = true;   // as after a draw with gamma on
    SetDisplayGamma(r, 1.0);
    EXPECT_TRUE(r.ownPaletteGammaPending);
}

TEST(Rendering, DirectStoresUseThisMachinesByteOrder) {
    // Chosen by masks and pixel size alone, whatever order the image asks for.
    const int otherOrder = hostByteOrder() == kLsbFirst ? kMsbFirst : kLsbFirst;
    const DisplayCase d = computed("", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF, otherOrder);
    TestPicture rgb = makePicture(ZNT_RGB, 1, 1), palette = makePicture(ZNT_PALETTE, 1, 1);
    std::memcpy(rgb.pixels.data(), "\x11\x22\x33", 3);
    palette.pixels[0] = 0;
    palette.palette[0] = 0x11, palette.palette[256] = 0x22, palette.palette[512] = 0x33;
    for (const TestPicture *t : {&rgb, &palette}) {
        std::vector<uint8_t> storage;
        Renderer r;
        setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
        PrepareRender(r, t->picture, 1, 1, false);
        r.renderTile(d.colors, r, TileRect{0, 0, 1, 1});
        uint32_t word;
        std::memcpy(&word, storage.data(), 4);
        EXPECT_EQ(word, 0x112233u);
    }
}

namespace {

void recordPut(void *context, int32_t x, int32_t y, int32_t width, int32_t height) {
    static_cast<std::vector<TileRect> *>(context)->push_back(TileRect{x, y, width, height});
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
        setRendererTarget(r, &display.colors, &display.visual, makeTarget(display, 256, 256, storage));
        prepare();
    }
    void prepare() {
        ASSERT_EQ(PrepareRender(r, picture.picture, 600, 400, false), ZNT_OK);
        gMethod = r.renderTile;
        r.renderTile = countingMethod;
        gRenders = 0;
    }
    std::vector<TileRect> draw(int originX, int originY, TileRect exposed) {
        std::vector<TileRect> puts;
        walkExposedTiles(r, originX, originY, exposed, recordPut, &puts);
        return puts;
    }

    DisplayCase display = computed("", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF);
    TestPicture picture = makePicture(ZNT_RGB, 300, 200);
    std::vector<uint8_t> storage;
    Renderer r;
};

}  // namespace

TEST_F(TileWalk, ExposedPartInTilesOfAtMost256) {
    EXPECT_EQ(draw(10, 20, TileRect{0, 0, 1000, 1000}),
              (std::vector<TileRect>{{10, 20, 256, 256},
                                     {266, 20, 256, 256},
                                     {522, 20, 88, 256},
                                     {10, 276, 256, 144},
                                     {266, 276, 256, 144},
                                     {522, 276, 88, 144}}));
    // A scrolled picture: tiles start at the exposed corner.
    EXPECT_EQ(draw(-100, -50, TileRect{30, 40, 300, 20}), (std::vector<TileRect>{{30, 40, 256, 20}, {286, 40, 44, 20}}));
    EXPECT_TRUE(draw(10, 20, TileRect{700, 0, 50, 50}).empty());
    EXPECT_TRUE(draw(10, 20, TileRect{0, 0, 10, 500}).empty()) << "ends where the picture begins";
    EXPECT_EQ(gRenders, 8);
}

TEST_F(TileWalk, RepeatedLastTileIsPutAgainWithoutRendering) {
    draw(0, 0, TileRect{590, 390, 10, 10});
    // A larger expose with the same part on the picture: the same tile.
    EXPECT_EQ(draw(0, 0, TileRect{590, 390, 50, 50}), (std::vector<TileRect>{{590, 390, 10, 10}}));
    EXPECT_EQ(gRenders, 1);
    draw(1, 0, TileRect{590, 390, 10, 10});   // another origin
    draw(1, 0, TileRect{590, 390, 9, 10});    // another area
    EXPECT_EQ(gRenders, 3);
    prepare();
    draw(1, 0, TileRect{590, 390, 9, 10});
    EXPECT_EQ(gRenders, 1) << "a preparation forgets the tile";
    draw(0, 0, TileRect{0, 0, 600, 400});
    draw(0, 0, TileRect{0, 0, 256, 256});
    EXPECT_EQ(gRenders, 8) << "only the last tile of a walk is remembered";
}

TEST(WholePicture, RenderedAtItsOwnSizeIntoWhatFits) {
    const DisplayCase d = computed("", kTrueColor, 16, 16, 0xF800, 0x7E0, 0x1F);
    const TestPicture rgba = makePicture(ZNT_RGBA, 300, 20, 9);
    const Reference reference{rgba.picture, false, d, 1.0};
    std::vector<uint8_t> storage, smallStorage;
    TileBuffer target = makeTarget(d, 300, 20, storage), small = makeTarget(d, 7, 3, smallStorage);
    EXPECT_EQ(renderPictureToBuffer(rgba.picture, target, d.colors, d.visual), ZNT_OK);
    EXPECT_EQ(renderPictureToBuffer(rgba.picture, small, d.colors, d.visual), ZNT_OK);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 300; ++x) ASSERT_EQ(getPixel(target, x, y), reference.pixelAt(x, y, 300, 20)) << x << "," << y;
    EXPECT_EQ(getPixel(small, 6, 2), reference.pixelAt(6, 2, 300, 20));

    const DisplayCase mapped5 = mapped("", 5, 8);
    testing::internal::CaptureStderr();
    EXPECT_EQ(renderPictureToBuffer(rgba.picture, target, mapped5.colors, mapped5.visual), ZNT_NOT_APPLICABLE);
    testing::internal::GetCapturedStderr();
}

TEST(WholePicture, MalformedPicturesAreRefused) {
    const DisplayCase d = computed("", kTrueColor, 24, 32, 0xFF0000, 0xFF00, 0xFF);
    std::vector<uint8_t> storage;
    Renderer r;
    setRendererTarget(r, &d.colors, &d.visual, makeTarget(d, 256, 256, storage));
    auto prepare = [&r](void (*spoil)(Picture &), int destWidth = 10) {
        TestPicture rgb = makePicture(ZNT_RGB, 10, 10);
        spoil(rgb.picture);
        return PrepareRender(r, rgb.picture, destWidth, 10, false);
    };
    EXPECT_EQ(prepare([](Picture &p) { p.bytesPerLine = 29; }), ZNT_BAD_ARGUMENT) << "rows shorter than the width";
    EXPECT_EQ(prepare([](Picture &p) { p.bytesPerPixel = 1; }), ZNT_BAD_ARGUMENT);
    EXPECT_EQ(prepare([](Picture &p) { p.data = nullptr; }), ZNT_BAD_ARGUMENT);
    EXPECT_EQ(prepare([](Picture &) {}, 0), ZNT_BAD_ARGUMENT);
    EXPECT_EQ(r.renderTile, nullptr);
}
