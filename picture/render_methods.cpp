// The rendering methods, one per pairing of picture kind and display kind,
// and the rule that picks one.
//
// Every method walks the tile row by row through the zoom tables. The colour
// work is done by look-ups into tables the preparation filled (gamma already
// applied), so each inner loop is a few loads and integer operations; the
// way pixels reach the buffer (32-bit word, 16-bit half, byte, or the
// put-pixel operation of the buffer's format) is a template parameter,
// chosen per tile from the buffer's layout.
#include <algorithm>
#include <bit>
#include <cstring>

#include "picture/bayer_matrix.h"
#include "picture/renderer.h"

namespace quivel {

namespace {

// Stores of one row of `width` pixels, pixelOf(i) giving column i's pixel.
// Word, half and byte stores write pixels of 32, 16 and 8 bits in this
// machine's order; PixelStore goes through the buffer's put-pixel
// operation. A method that writes through put-pixel takes one of the direct
// stores when the buffer's layout makes it give the same bytes.
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

struct HalfStore {
    template <class PixelOf>
    static void row(TileBuffer &t, int32_t j, int32_t width, PixelOf pixelOf) {
        uint8_t *out = t.data + size_t(j) * size_t(t.bytesPerLine);
        for (int32_t i = 0; i < width; ++i) {
            const uint16_t half = uint16_t(pixelOf(i));
            std::memcpy(out + size_t(i) * 2, &half, 2);
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

// Calls body(store) with the fastest store that writes what put-pixel
// would into this buffer.
template <class Body>
inline void withStore(const TileBuffer &t, Body body) {
    const bool hostOrder = t.byteOrder == hostByteOrder();
    if (t.bitsPerPixel == 32 && hostOrder)
        body(WordStore{});
    else if (t.bitsPerPixel == 16 && hostOrder)
        body(HalfStore{});
    else if (t.bitsPerPixel == 8)
        body(ByteStore{});
    else
        body(PixelStore{});
}

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

// Which byte of a source pixel feeds a one-value look-up.
enum class Source { kMask, kIndex };

template <Source kSource>
inline unsigned sample(const uint8_t *s) {
    if constexpr (kSource == Source::kMask)
        return s[3];
    else
        return s[0];
}

void renderBinary(const ColorContext &colors, Renderer &r, const TileRect &tile) {
    const uint32_t black = colors.blackPixel | r.opaqueBits;
    const uint32_t change = (colors.whitePixel | r.opaqueBits) ^ black;
    withStore(r.tile, [&](auto store) {
        renderRows<decltype(store)>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t) {
            return [=](int32_t i) {
                const uint32_t bit = offsets[i];
                const uint32_t set = (src[bit >> 3] >> (7 - (bit & 7))) & 1;
                return black ^ (change & (0u - set));   // no branch on picture data
            };
        });
    });
}

// Red, green and blue as one word with red in the low byte (kRedHigh false)
// or in the third (true).
template <bool kRedHigh>
inline uint32_t packed(uint32_t red, uint32_t green, uint32_t blue) {
    if constexpr (kRedHigh) return blue | green << 8 | red << 16;
    return red | green << 8 | blue << 16;
}

template <bool kGamma, bool kRedHigh>
void trueDirect(Renderer &r, const TileRect &tile) {
    const uint8_t *gamma = r.gammaTable;
    const uint32_t opaque = r.opaqueBits;
    // Without gamma, a pixel whose four bytes lie inside its row is read with
    // one load; the columns from wideReadColumns on are read byte by byte.
    constexpr bool kWide = !kGamma && std::endian::native == std::endian::little;
    const int32_t wide = kWide ? std::clamp(r.wideReadColumns - tile.x, 0, tile.width) : 0;
    const uint32_t *offsets = r.columnOffsets.data() + tile.x;
    for (int32_t j = 0; j < tile.height; ++j) {
        const uint8_t *src = r.rowStarts[size_t(tile.y + j)];
        uint8_t *out = r.tile.data + size_t(j) * size_t(r.tile.bytesPerLine);
        int32_t i = 0;
        for (; i < wide; ++i) {
            uint32_t word;
            std::memcpy(&word, src + offsets[i], 4);
            if constexpr (kRedHigh)
                word = __builtin_bswap32(word) >> 8;
            else
                word &= 0xFFFFFFu;
            word |= opaque;
            std::memcpy(out + size_t(i) * 4, &word, 4);
        }
        for (; i < tile.width; ++i) {
            const uint8_t *s = src + offsets[i];
            uint32_t red = s[0], green = s[1], blue = s[2];
            if constexpr (kGamma) {
                red = gamma[red];
                green = gamma[green];
                blue = gamma[blue];
            }
            const uint32_t word = packed<kRedHigh>(red, green, blue) | opaque;
            std::memcpy(out + size_t(i) * 4, &word, 4);
        }
    }
}

void renderTrueDirectRgb(const ColorContext &, Renderer &r, const TileRect &tile) {
    r.gammaOn ? trueDirect<true, false>(r, tile) : trueDirect<false, false>(r, tile);
}

void renderTrueDirectBgr(const ColorContext &, Renderer &r, const TileRect &tile) {
    r.gammaOn ? trueDirect<true, true>(r, tile) : trueDirect<false, true>(r, tile);
}

void renderTrueComputed(const ColorContext &, Renderer &r, const TileRect &tile) {
    const uint32_t *red = r.channelPixel[0], *green = r.channelPixel[1], *blue = r.channelPixel[2];
    withStore(r.tile, [&](auto store) {
        renderRows<decltype(store)>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t) {
            return [=](int32_t i) {
                const uint8_t *s = src + offsets[i];
                return red[s[0]] | green[s[1]] | blue[s[2]];
            };
        });
    });
}

// A finished pixel per source byte: palette index or mask value.
template <Source kSource>
void renderLookup(const ColorContext &, Renderer &r, const TileRect &tile) {
    const uint32_t *table = r.indexPixel;
    withStore(r.tile, [&](auto store) {
        renderRows<decltype(store)>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t) {
            return [=](int32_t i) { return table[sample<kSource>(src + offsets[i])]; };
        });
    });
}

// The direct 32-bit stores of indexed pictures: words in this machine's
// order, like those of true-colour pictures, whatever the image's order.
void renderIndexedDirect(const ColorContext &, Renderer &r, const TileRect &tile) {
    const uint32_t *table = r.indexPixel;
    renderRows<WordStore>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t) {
        return [=](int32_t i) { return table[src[offsets[i]]]; };
    });
}

// The ordered dither of the colour cube, resolved per matrix cell at
// preparation: each channel value gives its cube index part directly.
void renderTrueDither(const ColorContext &colors, Renderer &r, const TileRect &tile) {
    const uint32_t *pixels = colors.pixelTable;
    const uint8_t *parts = r.ditherParts.data();
    const int32_t x0 = tile.x;
    withStore(r.tile, [&](auto store) {
        renderRows<decltype(store)>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t y) {
            const uint8_t *rowParts = parts + size_t(y & 7) * 8 * 768;
            return [=](int32_t i) {
                const uint8_t *s = src + offsets[i];
                const uint8_t *cell = rowParts + size_t((x0 + i) & 7) * 768;
                return pixels[uint8_t(cell[s[0]] + cell[256 + s[1]] + cell[512 + s[2]])];
            };
        });
    });
}

// The same for one value standing for all three channels (an index, or the
// mask): the finished pixel per cell and value.
template <Source kSource>
void renderValueDither(const ColorContext &, Renderer &r, const TileRect &tile) {
    const uint32_t *pixels = r.ditherPixels.data();
    const int32_t x0 = tile.x;
    withStore(r.tile, [&](auto store) {
        renderRows<decltype(store)>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t y) {
            const uint32_t *rowPixels = pixels + size_t(y & 7) * 8 * 256;
            return [=](int32_t i) {
                return rowPixels[size_t((x0 + i) & 7) * 256 + sample<kSource>(src + offsets[i])];
            };
        });
    });
}

// Each channel against the Bayer value picks a corner of the 2 x 2 x 2 cube.
template <bool kIndexed>
void renderBayerCube(const ColorContext &colors, Renderer &r, const TileRect &tile) {
    const uint8_t *red = r.component[0], *green = r.component[1], *blue = r.component[2];
    const uint32_t *pixels = colors.pixelTable;
    const int32_t x0 = tile.x;
    withStore(r.tile, [&](auto store) {
        renderRows<decltype(store)>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t y) {
            const uint8_t *bayer = kBayer16.value[y & 15];
            return [=](int32_t i) {
                const uint8_t *s = src + offsets[i];
                const unsigned a = s[0], b = kIndexed ? a : s[1], c = kIndexed ? a : s[2];
                const unsigned t = bayer[(x0 + i) & 15];
                return pixels[4 * (red[a] > t) + 2 * (green[b] > t) + (blue[c] > t)];
            };
        });
    });
}

// Black or white by the luminance against the Bayer value.
template <bool kIndexed>
void renderBayerGrey(const ColorContext &colors, Renderer &r, const TileRect &tile) {
    const uint16_t *red = r.weightedLuminance[0], *green = r.weightedLuminance[1], *blue = r.weightedLuminance[2];
    const uint8_t *luminance = r.luminance;
    const uint32_t black = colors.pixelTable[0], change = colors.pixelTable[1] ^ black;
    const int32_t x0 = tile.x;
    withStore(r.tile, [&](auto store) {
        renderRows<decltype(store)>(r, tile, [=](const uint8_t *src, const uint32_t *offsets, int32_t y) {
            const uint8_t *bayer = kBayer16.value[y & 15];
            return [=](int32_t i) {
                const uint8_t *s = src + offsets[i];
                const unsigned level = kIndexed ? luminance[s[0]] : unsigned(red[s[0]] + green[s[1]] + blue[s[2]]) >> 8;
                return black ^ (change & (0u - uint32_t(level >= bayer[(x0 + i) & 15])));
            };
        });
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
    case M::kMaskComputed: return renderLookup<Source::kMask>;
    case M::kTrueDitherByte:
    case M::kTrueDither: return renderTrueDither;
    case M::kMaskDither: return renderValueDither<Source::kMask>;
    case M::kTrueBayerCube: return renderBayerCube<false>;
    case M::kTrueBayerGrey: return renderBayerGrey<false>;
    case M::kIndexedDirectRgb:
    case M::kIndexedDirectBgr: return renderIndexedDirect;
    case M::kIndexedComputed:
    case M::kIndexedOwnByte:
    case M::kIndexedOwn: return renderLookup<Source::kIndex>;
    case M::kIndexedDitherByte:
    case M::kIndexedDither: return renderValueDither<Source::kIndex>;
    case M::kIndexedBayerCube: return renderBayerCube<true>;
    case M::kIndexedBayerGrey: return renderBayerGrey<true>;
    }
    return nullptr;
}

}  // namespace quivel
