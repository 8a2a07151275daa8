// The rendering methods, one per pairing of picture kind and display kind,
// and the rule that picks one.
//
// Every method walks the tile row by row through the zoom tables. The colour
// work is done by look-ups into tables the preparation filled (gamma already
// applied), so each inner loop is a few loads and integer operations; the
// way pixels reach the buffer (32-bit word, byte, or the put-pixel operation
// of the buffer's format) is a template parameter, decided per method.
#include <algorithm>
#include <cstring>

#include "picture/bayer_matrix.h"
#include "picture/renderer.h"

namespace quivel {

namespace {

// Stores of one row of `width` pixels, pixelOf(i) giving column i's pixel.
struct WordStore {
    template <class PixelOf>
    static void row(TileBuffer &t, int32_t j, int32_t width, PixelOf pixelOf) {
        uint8_t *out = t.data + size_t(j) * size_t(t.bytesPerLine);
        for (int32_t i = 0; i < width; ++i) {
            const uint32_t word = pixelOf(i);
            std::memcpy(out + size_t(i) * 4, &word, 4);
        }
    }
};

struct ByteStore {
    template <class PixelOf>
    static void row(TileBuffer &t, int32_t j, int32_t width, PixelOf pixelOf) {
        uint8_t *out = t.data + size_t(j) * size_t(t.bytesPerLine);
        for (int32_t i = 0; i < width; ++i) out[i] = uint8_t(pixelOf(i));
    }
};

struct PixelStore {
    template <class PixelOf>
    static void row(TileBuffer &t, int32_t j, int32_t width, PixelOf pixelOf) {
        uint32_t line[kTileSize];
        for (int32_t start = 0; start < width; start += kTileSize) {
            const int32_t count = std::min(kTileSize, width - start);
            for (int32_t i = 0; i < count; ++i) line[i] = pixelOf(start + i);
            storeRow(t, start, j, line, count);
        }
    }
};

// makeRow(source row, column offsets of the tile, displayed row) returns the
// pixel function of that row.
template <class Store, class MakeRow>
inline void renderRows(Renderer &r, const TileRect &tile, MakeRow makeRow) {
    const uint32_t *offsets = r.columnOffsets.data() + tile.x;
    for (int32_t j = 0; j < tile.height; ++j) {
        const int32_t y = tile.y + j;
        Store::row(r.tile, j, tile.width, makeRow(r.rowStarts[size_t(y)], offsets, y));
    }
}

// Which bytes of a source pixel feed the three channels.
enum class Source { kRgb, kMask, kIndex };

template <Source kSource>
inline void sample(const uint8_t *s, unsigned &a, unsigned &b, unsigned &c) {
    if constexpr (kSource == Source::kRgb) {
        a = s[0];
        b = s[1];
        c = s[2];
    } else if constexpr (kSource == Source::kMask) {
        a = b = c = s[3];
    } else {
        a = b = c = s[0];
    }
}

void renderBinary(const ColorContext &colors, Renderer &r, const TileRect &tile) {
    const uint32_t white = colors.whitePixel | r.opaqueBits;
    const uint32_t black = colors.blackPixel | r.opaqueBits;
    renderRows<PixelStore>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t) {
        return [=](int32_t i) {
            const uint32_t bit = offsets[i];
            return (src[bit >> 3] >> (7 - (bit & 7))) & 1 ? white : black;
        };
    });
}

template <bool kGamma, bool kRedHigh>
void trueDirect(Renderer &r, const TileRect &tile) {
    const uint8_t *gamma = r.gammaTable;
    const uint32_t opaque = r.opaqueBits;
    renderRows<WordStore>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t) {
        return [=](int32_t i) {
            const uint8_t *s = src + offsets[i];
            uint32_t red = s[0], green = s[1], blue = s[2];
            if constexpr (kGamma) {
                red = gamma[red];
                green = gamma[green];
                blue = gamma[blue];
            }
            if constexpr (kRedHigh) return blue | green << 8 | red << 16 | opaque;
            return red | green << 8 | blue << 16 | opaque;
        };
    });
}

void renderTrueDirectRgb(const ColorContext &, Renderer &r, const TileRect &tile) {
    r.gammaOn ? trueDirect<true, false>(r, tile) : trueDirect<false, false>(r, tile);
}

void renderTrueDirectBgr(const ColorContext &, Renderer &r, const TileRect &tile) {
    r.gammaOn ? trueDirect<true, true>(r, tile) : trueDirect<false, true>(r, tile);
}

void renderTrueComputed(const ColorContext &, Renderer &r, const TileRect &tile) {
    const uint32_t *red = r.channelPixel[0], *green = r.channelPixel[1], *blue = r.channelPixel[2];
    renderRows<PixelStore>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t) {
        return [=](int32_t i) {
            const uint8_t *s = src + offsets[i];
            return red[s[0]] | green[s[1]] | blue[s[2]];
        };
    });
}

// A finished pixel per source byte: palette index or mask value.
template <class Store, Source kSource>
void renderLookup(const ColorContext &, Renderer &r, const TileRect &tile) {
    const uint32_t *table = r.indexPixel;
    renderRows<Store>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t) {
        return [=](int32_t i) {
            unsigned a, b, c;
            sample<kSource>(src + offsets[i], a, b, c);
            return table[a];
        };
    });
}

// The ordered dither of the colour cube: per channel the lower or the upper
// cube index, by the threshold of the pixel's cell for the channel's fraction.
template <class Store, Source kSource>
void renderDither(const ColorContext &colors, Renderer &r, const TileRect &tile) {
    const DitherEntry *red = r.ditherEntry[0], *green = r.ditherEntry[1], *blue = r.ditherEntry[2];
    const uint32_t *pixels = colors.pixelTable;
    const DitherTables *dither = colors.dither;
    const int32_t x0 = tile.x;
    renderRows<Store>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t y) {
        const uint8_t(*cells)[64] = dither->thresholds[y & 7];
        return [=](int32_t i) {
            unsigned a, b, c;
            sample<kSource>(src + offsets[i], a, b, c);
            const uint8_t *cell = cells[(x0 + i) & 7];
            const DitherEntry &er = red[a], &eg = green[b], &eb = blue[c];
            const uint8_t index = uint8_t((cell[er.fraction] ? er.upperIndex : er.lowerIndex) +
                                          (cell[eg.fraction] ? eg.upperIndex : eg.lowerIndex) +
                                          (cell[eb.fraction] ? eb.upperIndex : eb.lowerIndex));
            return pixels[index];
        };
    });
}

// Each channel against the Bayer value picks a corner of the 2 x 2 x 2 cube.
template <Source kSource>
void renderBayerCube(const ColorContext &colors, Renderer &r, const TileRect &tile) {
    const uint8_t *red = r.component[0], *green = r.component[1], *blue = r.component[2];
    const uint32_t *pixels = colors.pixelTable;
    const int32_t x0 = tile.x;
    renderRows<PixelStore>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t y) {
        const uint8_t *bayer = kBayer16.value[y & 15];
        return [=](int32_t i) {
            unsigned a, b, c;
            sample<kSource>(src + offsets[i], a, b, c);
            const unsigned t = bayer[(x0 + i) & 15];
            return pixels[4 * (red[a] > t) + 2 * (green[b] > t) + (blue[c] > t)];
        };
    });
}

// Black or white by the luminance against the Bayer value.
template <Source kSource>
void renderBayerGrey(const ColorContext &colors, Renderer &r, const TileRect &tile) {
    const uint8_t *red = r.component[0], *green = r.component[1], *blue = r.component[2];
    const uint8_t *luminance = r.luminance;
    const uint32_t black = colors.pixelTable[0], white = colors.pixelTable[1];
    const int32_t x0 = tile.x;
    renderRows<PixelStore>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t y) {
        const uint8_t *bayer = kBayer16.value[y & 15];
        return [=](int32_t i) {
            unsigned a, b, c;
            sample<kSource>(src + offsets[i], a, b, c);
            unsigned level;
            if constexpr (kSource == Source::kIndex)
                level = luminance[a];
            else
                level = (77 * red[a] + 150 * green[b] + 29 * blue[c]) >> 8;
            return level >= bayer[(x0 + i) & 15] ? white : black;
        };
    });
}

bool isMasks(const TileBuffer &t, unsigned long red, unsigned long green, unsigned long blue) {
    return t.redMask == red && t.greenMask == green && t.blueMask == blue;
}

}  // namespace

RenderMethod chooseRenderMethod(const Picture &picture, bool showMask, const DisplayVisual &visual,
                                const ColorContext &colors, const TileBuffer &tile) {
    using M = RenderMethod;
    if (picture.type == ZNT_BINARY) return M::kBinary;
    const bool trueColor = (picture.type & ZNT_TRUECOLOR_MASK) != 0;
    const bool maskView = trueColor && showMask && (picture.type & ZNT_FOURBYTE_MASK) != 0;

    const int visualClass = visual.visualClass;
    if (visualClass == kTrueColor || visualClass == kDirectColor || visualClass == kStaticColor ||
        visualClass == kStaticGray) {
        const bool words = tile.bitsPerPixel == 32;
        const bool rgbLow = words && isMasks(tile, 0xFF, 0xFF00, 0xFF0000);
        const bool rgbHigh = words && isMasks(tile, 0xFF0000, 0xFF00, 0xFF);
        if (maskView) return M::kMaskComputed;
        if (trueColor) return rgbLow ? M::kTrueDirectRgb : rgbHigh ? M::kTrueDirectBgr : M::kTrueComputed;
        return rgbLow ? M::kIndexedDirectRgb : rgbHigh ? M::kIndexedDirectBgr : M::kIndexedComputed;
    }
    if (visualClass != kPseudoColor && visualClass != kGrayScale) return M::kNone;

    if (visual.depth >= 8) {
        const bool bytes = tile.bitsPerPixel == 8;
        if (!trueColor && colors.ownPalette) return bytes ? M::kIndexedOwnByte : M::kIndexedOwn;
        if (colors.dither == nullptr) return M::kNone;
        if (maskView) return M::kMaskDither;
        if (trueColor) return bytes ? M::kTrueDitherByte : M::kTrueDither;
        return bytes ? M::kIndexedDitherByte : M::kIndexedDither;
    }
    if (visual.depth == 4) return trueColor ? M::kTrueBayerCube : M::kIndexedBayerCube;
    if (visual.depth == 2) return trueColor ? M::kTrueBayerGrey : M::kIndexedBayerGrey;
    return M::kNone;
}

RenderTileFunction renderFunctionFor(RenderMethod method) {
    using M = RenderMethod;
    switch (method) {
    case M::kNone: return nullptr;
    case M::kBinary: return renderBinary;
    case M::kTrueDirectRgb: return renderTrueDirectRgb;
    case M::kTrueDirectBgr: return renderTrueDirectBgr;
    case M::kTrueComputed: return renderTrueComputed;
    case M::kMaskComputed: return renderLookup<PixelStore, Source::kMask>;
    case M::kTrueDitherByte: return renderDither<ByteStore, Source::kRgb>;
    case M::kTrueDither: return renderDither<PixelStore, Source::kRgb>;
    case M::kMaskDither: return renderDither<PixelStore, Source::kMask>;
    case M::kTrueBayerCube: return renderBayerCube<Source::kRgb>;
    case M::kTrueBayerGrey: return renderBayerGrey<Source::kRgb>;
    case M::kIndexedDirectRgb:
    case M::kIndexedDirectBgr: return renderLookup<WordStore, Source::kIndex>;
    case M::kIndexedComputed: return renderLookup<PixelStore, Source::kIndex>;
    case M::kIndexedOwnByte: return renderLookup<ByteStore, Source::kIndex>;
    case M::kIndexedOwn: return renderLookup<PixelStore, Source::kIndex>;
    case M::kIndexedDitherByte: return renderDither<ByteStore, Source::kIndex>;
    case M::kIndexedDither: return renderDither<PixelStore, Source::kIndex>;
    case M::kIndexedBayerCube: return renderBayerCube<Source::kIndex>;
    case M::kIndexedBayerGrey: return renderBayerGrey<Source::kIndex>;
    }
    return nullptr;
}

}  // namespace quivel
