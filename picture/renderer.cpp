// Preparation of a renderer (palette, zoom tables, method and its colour
// tables), the display gamma, and the walk over an exposed area in tiles.
#include "picture/renderer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>

namespace quivel {

namespace {

// A ramp of n greys: 0 .. 255 over the first n entries, white above. A single
// entry is black, as the private colormap stores it; a count of 0 (or more
// than 256) is taken as a full ramp.
void fillGreyRamp(Renderer &r, int n) {
    if (n <= 0 || n > 256) n = 256;
    for (int i = 0; i < 256; ++i) {
        const uint8_t grey = i >= n ? 255 : n == 1 ? 0 : uint8_t(i * 255 / (n - 1));
        r.paletteRed[i] = r.paletteGreen[i] = r.paletteBlue[i] = grey;
    }
}

// A computed pixel: per channel ((c * levels) >> 8) << shift. An empty mask
// (shift 32, levels 1) contributes nothing.
uint32_t channelPart(unsigned c, int32_t levels, int32_t shift) {
    if (shift < 0 || shift >= 32) return 0;
    return uint32_t(((uint64_t(c) * uint64_t(uint32_t(levels))) >> 8) << shift);
}

uint32_t computedPixel(const DisplayVisual &v, unsigned red, unsigned green, unsigned blue) {
    return channelPart(red, v.redLevels, v.redShift) | channelPart(green, v.greenLevels, v.greenShift) |
           channelPart(blue, v.blueLevels, v.blueShift);
}

// The top byte of a 32-bit TrueColor visual whose colour masks leave it free
// is alpha under a compositing manager: every pixel sets it, so that the
// window stays opaque.
uint32_t opaqueBitsFor(const DisplayVisual &v, const TileBuffer &tile) {
    const unsigned long colours = v.redMask | v.greenMask | v.blueMask;
    if (v.visualClass == kTrueColor && v.depth == 32 && tile.bitsPerPixel == 32 && (colours & 0xFF000000UL) == 0)
        return 0xFF000000u;
    return 0;
}

bool pictureIsUsable(const Picture &p) {
    if (p.data == nullptr || p.width < 1 || p.height < 1) return false;
    if (p.type == ZNT_BINARY) return p.bytesPerLine >= (uint64_t(p.width) + 7) / 8;
    const unsigned needed = (p.type & ZNT_TRUECOLOR_MASK) != 0 ? 3 : 1;
    return p.bytesPerPixel >= needed && p.bytesPerLine >= uint64_t(p.width) * p.bytesPerPixel;
}

// Fills the look-up tables the chosen method reads; gamma is applied here,
// except on the mask, on the own-palette pixels (the colormap carries it)
// and on binary pictures.
void buildColorTables(Renderer &r) {
    using M = RenderMethod;
    const DisplayVisual &v = *r.visual;
    const ColorContext &colors = *r.colors;
    uint8_t gamma[256];
    for (int i = 0; i < 256; ++i) gamma[i] = r.gammaOn ? r.gammaTable[i] : uint8_t(i);
    uint8_t red[256], green[256], blue[256];   // the palette after gamma
    for (int i = 0; i < 256; ++i) {
        red[i] = gamma[r.paletteRed[i]];
        green[i] = gamma[r.paletteGreen[i]];
        blue[i] = gamma[r.paletteBlue[i]];
    }
    const uint32_t opaque = r.opaqueBits;
    const DitherTables *dither = colors.dither;
    r.ownPaletteGammaPending = false;

    switch (r.method) {
    case M::kTrueComputed:
        for (int c = 0; c < 256; ++c) {
            r.channelPixel[0][c] = channelPart(gamma[c], v.redLevels, v.redShift) | opaque;
            r.channelPixel[1][c] = channelPart(gamma[c], v.greenLevels, v.greenShift);
            r.channelPixel[2][c] = channelPart(gamma[c], v.blueLevels, v.blueShift);
        }
        break;
    case M::kMaskComputed:
        for (int m = 0; m < 256; ++m) r.indexPixel[m] = computedPixel(v, m, m, m) | opaque;
        break;
    case M::kIndexedDirectRgb:
        for (int i = 0; i < 256; ++i) r.indexPixel[i] = red[i] | green[i] << 8 | blue[i] << 16 | opaque;
        break;
    case M::kIndexedDirectBgr:
        for (int i = 0; i < 256; ++i) r.indexPixel[i] = blue[i] | green[i] << 8 | red[i] << 16 | opaque;
        break;
    case M::kIndexedComputed:
        for (int i = 0; i < 256; ++i) r.indexPixel[i] = computedPixel(v, red[i], green[i], blue[i]) | opaque;
        break;
    case M::kIndexedOwnByte:
    case M::kIndexedOwn:
        for (int i = 0; i < 256; ++i) r.indexPixel[i] = colors.pixelTable[i];
        r.ownPaletteGammaPending = r.gammaOn || r.ownPaletteCorrected;
        break;
    case M::kTrueDitherByte:
    case M::kTrueDither:
        for (int cell = 0; cell < 64; ++cell) {
            const uint8_t *threshold = dither->thresholds[cell >> 3][cell & 7];
            uint8_t *parts = &r.ditherParts[size_t(cell) * 768];
            const DitherEntry *tables[3] = {dither->redTable, dither->greenTable, dither->blueTable};
            for (int channel = 0; channel < 3; ++channel)
                for (int c = 0; c < 256; ++c) {
                    const DitherEntry &e = tables[channel][gamma[c]];
                    parts[channel * 256 + c] = threshold[e.fraction] ? e.upperIndex : e.lowerIndex;
                }
        }
        break;
    case M::kMaskDither:
    case M::kIndexedDitherByte:
    case M::kIndexedDither:
        for (int cell = 0; cell < 64; ++cell) {
            const uint8_t *threshold = dither->thresholds[cell >> 3][cell & 7];
            auto part = [threshold](const DitherEntry &e) { return threshold[e.fraction] ? e.upperIndex : e.lowerIndex; };
            for (int i = 0; i < 256; ++i) {
                // The mask is grey without gamma; an index stands for its palette colour.
                const bool mask = r.method == M::kMaskDither;
                const uint8_t index = uint8_t(part(dither->redTable[mask ? i : red[i]]) +
                                              part(dither->greenTable[mask ? i : green[i]]) +
                                              part(dither->blueTable[mask ? i : blue[i]]));
                r.ditherPixels[size_t(cell) * 256 + size_t(i)] = colors.pixelTable[index];
            }
        }
        break;
    case M::kTrueBayerCube:
    case M::kTrueBayerGrey:
        for (int c = 0; c < 256; ++c) {
            r.component[0][c] = r.component[1][c] = r.component[2][c] = gamma[c];
            r.weightedLuminance[0][c] = uint16_t(77 * gamma[c]);
            r.weightedLuminance[1][c] = uint16_t(150 * gamma[c]);
            r.weightedLuminance[2][c] = uint16_t(29 * gamma[c]);
        }
        break;
    case M::kIndexedBayerCube:
    case M::kIndexedBayerGrey:
        for (int i = 0; i < 256; ++i) {
            r.component[0][i] = red[i];
            r.component[1][i] = green[i];
            r.component[2][i] = blue[i];
            r.luminance[i] = uint8_t((77 * red[i] + 150 * green[i] + 29 * blue[i]) >> 8);
        }
        break;
    case M::kNone:
    case M::kBinary:
    case M::kTrueDirectRgb:
    case M::kTrueDirectBgr:
        break;
    }
}

}  // namespace

void setRendererTarget(Renderer &r, const ColorContext *colors, const DisplayVisual *visual, const TileBuffer &tile) {
    r.visual = visual;
    r.colors = colors;
    r.tile = tile;
    r.columnOffsets.clear();
    r.rowStarts.clear();
    r.destWidth = r.destHeight = 0;
    r.lastTile = TileRect{-1, -1, -1, -1};
    r.renderTile = nullptr;
    r.method = RenderMethod::kNone;
    r.opaqueBits = visual != nullptr ? opaqueBitsFor(*visual, tile) : 0;
}

void SetDisplayGamma(Renderer &r, double gamma) {
    r.gammaOn = gamma < 0.99 || gamma > 1.01;
    if (r.gammaOn)
        for (int i = 0; i < 256; ++i)
            r.gammaTable[i] = uint8_t(std::trunc(std::pow(i / 255.0, 1.0 / gamma) * 255.0 + 0.5));
    // What the tile holds is stale, and the prepared tables carry the old gamma.
    r.lastTile = TileRect{-1, -1, -1, -1};
    if (r.renderTile != nullptr) buildColorTables(r);
}

OpStatus PrepareRender(Renderer &r, const Picture &picture, int32_t destWidth, int32_t destHeight, bool showMask) {
    if (picture.type & 7) {
        if (picture.palette != nullptr) {
            std::memcpy(r.paletteRed, picture.palette, 256);
            std::memcpy(r.paletteGreen, picture.palette + 256, 256);
            std::memcpy(r.paletteBlue, picture.palette + 512, 256);
        } else {
            fillGreyRamp(r, picture.numberOfColors);
        }
    }

    r.columnOffsets = {};   // freed, not only emptied: a deep zoom's tables are large
    r.rowStarts = {};
    r.renderTile = nullptr;
    r.method = RenderMethod::kNone;
    r.ownPaletteGammaPending = false;
    r.destWidth = destWidth;
    r.destHeight = destHeight;
    r.lastTile = TileRect{-1, -1, -1, -1};
    if (r.visual == nullptr || r.colors == nullptr || destWidth < 1 || destHeight < 1 || !pictureIsUsable(picture)) {
        r.destWidth = r.destHeight = 0;
        return ZNT_BAD_ARGUMENT;
    }

    try {
        r.columnOffsets.resize(size_t(destWidth));
        r.rowStarts.resize(size_t(destHeight));
    } catch (const std::bad_alloc &) {
        r.columnOffsets = {};
        r.destWidth = r.destHeight = 0;
        return ZNT_NO_MEMORY;
    }
    // Binary pictures count bits, the others bytes.
    const uint64_t step = picture.type == ZNT_BINARY ? 1 : picture.bytesPerPixel;
    const uint64_t width = picture.width, height = uint64_t(picture.height);
    for (int32_t i = 0; i < destWidth; ++i)
        r.columnOffsets[size_t(i)] = uint32_t(uint64_t(i) * width / uint64_t(destWidth) * step);
    for (int32_t j = 0; j < destHeight; ++j)
        r.rowStarts[size_t(j)] = picture.data + uint64_t(j) * height / uint64_t(destHeight) * picture.bytesPerLine;

    // Columns from this one on may map to the row's last pixel, whose
    // fourth byte may lie beyond the buffer.
    r.wideReadColumns = destWidth;
    for (int32_t i = 0; i < destWidth; ++i)
        if (uint64_t(r.columnOffsets[size_t(i)]) + 4 > picture.bytesPerLine) {
            r.wideReadColumns = i;
            break;
        }

    const bool maskView = showMask && picture.bytesPerPixel >= 4;
    const RenderMethod method = chooseRenderMethod(picture, maskView, *r.visual, *r.colors, r.tile);
    if (method == RenderMethod::kNone) {
        std::fputs(kNoMethodMessage, stderr);
        return ZNT_OK;
    }
    using M = RenderMethod;
    const bool trueDither = method == M::kTrueDitherByte || method == M::kTrueDither;
    const bool otherDither = method == M::kMaskDither || method == M::kIndexedDitherByte || method == M::kIndexedDither;
    try {
        r.ditherParts.resize(trueDither ? 64 * 768 : 0);
        r.ditherPixels.resize(otherDither ? 64 * 256 : 0);
    } catch (const std::bad_alloc &) {
        return ZNT_NO_MEMORY;
    }
    r.method = method;
    r.renderTile = renderFunctionFor(method);
    buildColorTables(r);
    return ZNT_OK;
}

void walkExposedTiles(Renderer &r, int32_t originX, int32_t originY, const TileRect &exposed, PutTileFunction put,
                      void *context) {
    if (r.renderTile == nullptr || r.colors == nullptr) return;
    const int64_t x0 = std::max<int64_t>(originX, exposed.x);
    const int64_t y0 = std::max<int64_t>(originY, exposed.y);
    const int64_t x1 = std::min<int64_t>(int64_t(originX) + r.destWidth, int64_t(exposed.x) + exposed.width);
    const int64_t y1 = std::min<int64_t>(int64_t(originY) + r.destHeight, int64_t(exposed.y) + exposed.height);
    if (x1 - x0 < 1 || y1 - y0 < 1) return;

    const TileRect clipped{int32_t(x0), int32_t(y0), int32_t(x1 - x0), int32_t(y1 - y0)};
    if (originX == r.lastOriginX && originY == r.lastOriginY && clipped == r.lastTile) {
        put(context, r.lastTile.x, r.lastTile.y, r.lastTile.width, r.lastTile.height);
        return;
    }
    r.lastOriginX = originX;
    r.lastOriginY = originY;
    // A smaller target than the tile image (tests, small thumbnails) takes
    // smaller steps.
    const int64_t stepX = std::min(kTileSize, r.tile.width), stepY = std::min(kTileSize, r.tile.height);
    if (stepX < 1 || stepY < 1) return;
    for (int64_t y = y0; y < y1; y += stepY)
        for (int64_t x = x0; x < x1; x += stepX) {
            TileRect tile{int32_t(x - originX), int32_t(y - originY), int32_t(std::min(stepX, x1 - x)),
                          int32_t(std::min(stepY, y1 - y))};
            tile.width = std::min(tile.width, r.destWidth - tile.x);
            tile.height = std::min(tile.height, r.destHeight - tile.y);
            if (tile.width < 1 || tile.height < 1) continue;
            r.renderTile(*r.colors, r, tile);
            put(context, originX + tile.x, originY + tile.y, tile.width, tile.height);
            r.lastTile = TileRect{originX + tile.x, originY + tile.y, tile.width, tile.height};
        }
}

OpStatus renderPictureToBuffer(const Picture &picture, TileBuffer &target, const ColorContext &colors,
                               const DisplayVisual &visual) {
    Renderer r;
    setRendererTarget(r, &colors, &visual, target);
    SetDisplayGamma(r, 1.0);
    const OpStatus status = PrepareRender(r, picture, int32_t(std::min<uint32_t>(picture.width, INT32_MAX)),
                                          picture.height, false);
    if (status != ZNT_OK) return status;
    if (r.renderTile == nullptr) return ZNT_NOT_APPLICABLE;
    const TileRect whole{0, 0, std::min(r.destWidth, target.width), std::min(r.destHeight, target.height)};
    if (whole.width > 0 && whole.height > 0) r.renderTile(colors, r, whole);
    return ZNT_OK;
}

}  // namespace quivel
