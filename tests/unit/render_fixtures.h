// Pictures, displays and a plain reference renderer for the rendering tests.
//
// The reference computes each displayed pixel on its own, straight from the
// rules (source pixel by the zoom, gamma by pow, the cube dither from the
// level-dither matrix, Bayer values from the bits of row and column), so
// that it shares no table with the renderer under test.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "app/color_context.h"
#include "app/display_visual.h"
#include "app/dither_tables.h"
#include "imageops/dither_matrices.h"
#include "picture/renderer.h"
#include "zentar.h"

namespace rendertest {

using namespace quivel;

// A picture over vectors, rows padded beyond their minimum with a byte that
// no rule should ever read.
struct TestPicture {
    std::vector<uint8_t> pixels, palette;
    Picture picture{};
};

inline uint32_t nextRandom(uint32_t &state) {
    state = state * 1664525u + 1013904223u;
    return state >> 8;
}

inline TestPicture makePicture(int type, int width, int height, uint32_t seed = 1, int colors = 256,
                               bool withPalette = true, uint32_t padding = 5) {
    TestPicture t;
    Picture &p = t.picture;
    const int bytesPerPixel = type == ZNT_RGB || type == ZNT_BGR ? 3 : (type & ZNT_FOURBYTE_MASK) ? 4 : 1;
    const uint32_t minimum = type == ZNT_BINARY ? uint32_t(width + 7) / 8 : uint32_t(width * bytesPerPixel);
    p.width = uint32_t(width);
    p.height = height;
    p.bytesPerLine = minimum + padding;
    p.type = int16_t(type);
    p.bytesPerPixel = uint16_t(bytesPerPixel);
    p.numberOfColors = uint16_t(type == ZNT_BINARY ? 2 : (type & 6) ? colors : 0);
    p.transparentIndex = -1;
    t.pixels.assign(size_t(p.bytesPerLine) * size_t(height), 0xEE);
    uint32_t state = seed;
    for (int y = 0; y < height; ++y) {
        uint8_t *row = t.pixels.data() + size_t(y) * p.bytesPerLine;
        for (uint32_t i = 0; i < minimum; ++i) {
            uint8_t v = uint8_t(nextRandom(state));
            // Mostly indices in use, a few above the count.
            if (type == ZNT_GREY || type == ZNT_PALETTE) v = uint8_t(v % (colors + (v & 1 ? 3 : 0)));
            row[i] = v;
        }
    }
    if ((type & 6) && withPalette) {
        t.palette.resize(768);
        for (uint8_t &v : t.palette) v = uint8_t(nextRandom(state));
        p.palette = t.palette.data();
    }
    p.data = t.pixels.data();
    return t;
}

// One kind of display: its visual, its colour context and the layout of its
// images.
struct DisplayCase {
    std::string name;
    DisplayVisual visual;
    ColorContext colors;
    int bitsPerPixel = 32;
    int byteOrder = kLsbFirst;
};

inline DisplayCase computedDisplay(const std::string &name, int visualClass, int depth, int bitsPerPixel,
                                   unsigned long red, unsigned long green, unsigned long blue,
                                   int byteOrder = kLsbFirst) {
    DisplayCase d;
    d.name = name;
    VisualDescription description;
    description.visualClass = visualClass;
    description.depth = depth;
    description.redMask = red;
    description.greenMask = green;
    description.blueMask = blue;
    fillDisplayVisual(description, d.visual);
    d.colors.visualClass = visualClass;
    d.colors.depth = depth;
    d.colors.blackPixel = 0;
    d.colors.whitePixel = computedWhitePixel(d.visual);
    d.bitsPerPixel = bitsPerPixel;
    d.byteOrder = byteOrder;
    return d;
}

// A colour-mapped display. The pixel table is scrambled, so that a method
// that confuses an index with its pixel shows.
inline DisplayCase mappedDisplay(const std::string &name, int depth, int bitsPerPixel, int cubeRed = 0,
                                 int cubeGreen = 0, int cubeBlue = 0, bool ownPalette = false,
                                 int byteOrder = kLsbFirst) {
    DisplayCase d;
    d.name = name;
    VisualDescription description;
    description.visualClass = kPseudoColor;
    description.depth = depth;
    fillDisplayVisual(description, d.visual);
    ColorContext &c = d.colors;
    c.visualClass = kPseudoColor;
    c.depth = depth;
    const uint32_t pixelMask = depth >= 32 ? 0xFFFFFFFFu : (1u << depth) - 1;
    for (int i = 0; i < 256; ++i) c.pixelTable[i] = (uint32_t(i) * 37u + 11u) & pixelMask;
    if (depth == 2) {
        c.pixelTable[0] = 2;
        c.pixelTable[1] = 1;
        c.colorCount = 2;
    } else if (depth <= 4) {
        c.colorCount = 8;
    } else {
        c.colorCount = 256;
    }
    if (cubeRed > 0) {
        c.dither = GetDitherTables(cubeRed, cubeGreen, cubeBlue);
        c.ditherMode = ownPalette ? kDitherNone : kDither884;
    }
    c.ownPalette = ownPalette ? 1 : 0;
    c.blackPixel = c.pixelTable[0];
    c.whitePixel = c.pixelTable[c.colorCount - 1];
    d.bitsPerPixel = bitsPerPixel;
    d.byteOrder = byteOrder;
    return d;
}

inline TileBuffer makeTarget(const DisplayCase &d, int width, int height, std::vector<uint8_t> &storage) {
    TileBuffer t;
    t.width = width;
    t.height = height;
    t.bitsPerPixel = d.bitsPerPixel;
    t.depth = d.visual.depth;
    t.byteOrder = d.byteOrder;
    t.bitOrder = kMsbFirst;
    t.bitmapUnit = 32;
    t.bytesPerLine = (width * d.bitsPerPixel + 31) / 32 * 4;
    t.redMask = d.visual.redMask;
    t.greenMask = d.visual.greenMask;
    t.blueMask = d.visual.blueMask;
    storage.assign(size_t(t.bytesPerLine) * size_t(height), 0);
    t.data = storage.data();
    return t;
}

inline int bayerValue(int row, int column) {
    // Two bits per doubling: the quadrant pair (row bit, column bit) at level
    // b adds {0, 2, 3, 1}[...] times 4^(3 - b).
    static const int kQuadrant[2][2] = {{0, 2}, {3, 1}};
    int value = 0;
    for (int b = 0; b < 4; ++b) value += kQuadrant[(row >> b) & 1][(column >> b) & 1] << (2 * (3 - b));
    return value;
}

struct Reference {
    const Picture &picture;
    bool showMask;
    const DisplayCase &display;
    double gamma;

    int corrected(int c) const {
        if (gamma > 0.99 && gamma < 1.01) return c;
        return int(std::trunc(std::pow(c / 255.0, 1.0 / gamma) * 255.0 + 0.5));
    }

    uint32_t opaque() const {
        const DisplayVisual &v = display.visual;
        return v.visualClass == kTrueColor && v.depth == 32 && display.bitsPerPixel == 32 &&
                       ((v.redMask | v.greenMask | v.blueMask) >> 24) == 0
                   ? 0xFF000000u
                   : 0;
    }

    uint32_t computed(int r, int g, int b) const {
        const DisplayVisual &v = display.visual;
        auto part = [](int c, int levels, int shift) -> uint64_t {
            return shift >= 32 ? 0 : (uint64_t(c) * uint64_t(levels) >> 8) << shift;
        };
        return uint32_t(part(r, v.redLevels, v.redShift) | part(g, v.greenLevels, v.greenShift) |
                        part(b, v.blueLevels, v.blueShift)) |
               opaque();
    }

    uint32_t dithered(int r, int g, int b, int x, int y) const {
        const DitherTables &t = *display.colors.dither;
        const int cell = kLevelDither8[y & 7][x & 7];
        auto part = [cell](const DitherEntry &e) { return cell < e.fraction ? e.upperIndex : e.lowerIndex; };
        return display.colors.pixelTable[uint8_t(part(t.redTable[r]) + part(t.greenTable[g]) + part(t.blueTable[b]))];
    }

    uint32_t pixelAt(int x, int y, int destWidth, int destHeight) const {
        const Picture &p = picture;
        const int sx = int(int64_t(x) * p.width / destWidth), sy = int(int64_t(y) * p.height / destHeight);
        const uint8_t *row = p.data + size_t(sy) * p.bytesPerLine;
        const ColorContext &c = display.colors;
        const DisplayVisual &v = display.visual;
        const bool mapped = v.visualClass == kPseudoColor || v.visualClass == kGrayScale;
        if (p.type == ZNT_BINARY) {
            const bool white = (row[sx / 8] >> (7 - sx % 8)) & 1;
            return (white ? c.whitePixel : c.blackPixel) | opaque();
        }
        int r, g, b;
        const bool trueColor = (p.type & ZNT_TRUECOLOR_MASK) != 0;
        const uint8_t *s = row + size_t(sx) * p.bytesPerPixel;
        // 4-bit and 2-bit screens have no mask view.
        if (trueColor && showMask && (p.type & ZNT_FOURBYTE_MASK) && (!mapped || v.depth >= 8)) {
            const int m = s[3];
            return mapped ? dithered(m, m, m, x, y) : computed(m, m, m);
        }
        if (trueColor) {
            r = corrected(s[0]), g = corrected(s[1]), b = corrected(s[2]);
        } else {
            const int index = s[0];
            if (mapped && v.depth >= 8 && c.ownPalette) return c.pixelTable[index];
            if (p.palette) {
                r = p.palette[index], g = p.palette[256 + index], b = p.palette[512 + index];
            } else {
                const int n = p.numberOfColors;
                r = g = b = index >= n ? 255 : index * 255 / (n - 1);
            }
            r = corrected(r), g = corrected(g), b = corrected(b);
        }
        if (!mapped) return computed(r, g, b);
        if (v.depth >= 8) return dithered(r, g, b, x, y);
        const int t = bayerValue(y & 15, x & 15);
        if (v.depth == 4) return c.pixelTable[4 * (r > t) + 2 * (g > t) + (b > t)];
        return c.pixelTable[(77 * r + 150 * g + 29 * b) >> 8 >= t ? 1 : 0];
    }
};

// The displayed picture as a server would hold it after drawing the exposed
// area in tiles: pixels read back from the tile buffer after every put.
struct Screen {
    int originX = 0, originY = 0, width = 0, height = 0;
    const TileBuffer *tile = nullptr;
    std::vector<uint32_t> pixels;
    int puts = 0;
};

inline void copyTileToScreen(void *context, int32_t x, int32_t y, int32_t width, int32_t height) {
    Screen &s = *static_cast<Screen *>(context);
    ++s.puts;
    for (int j = 0; j < height; ++j)
        for (int i = 0; i < width; ++i)
            s.pixels[size_t(y - s.originY + j) * size_t(s.width) + size_t(x - s.originX + i)] = getPixel(*s.tile, i, j);
}

}  // namespace rendertest
