// Conversion to a palette picture: the fixed colour cube with ordered
// dither, and the adaptive palette (exact for pictures with few colours, the
// median cut otherwise).
#include <algorithm>
#include <cstring>

#include "imageops/color_reduction.h"
#include "imageops/median_cut.h"
#include "imageops/ordered_dither.h"
#include "imageops/pixel_rows.h"

namespace quivel {

namespace {

struct CubeShape {
    int red, green, blue;
};

// The cube used for each palette size; 128 colours deliberately take the
// same 8 x 8 x 4 cube as 256.
bool cubeFor(int colors, CubeShape &shape) {
    switch (colors) {
    case 8: shape = {2, 2, 2}; return true;
    case 16: shape = {2, 4, 2}; return true;
    case 32: shape = {4, 4, 2}; return true;
    case 64: shape = {4, 4, 4}; return true;
    case 128:
    case 256: shape = {8, 8, 4}; return true;
    case 216: shape = {6, 6, 6}; return true;
    default: return false;
    }
}

void setEntry(Picture &picture, int index, int red, int green, int blue) {
    picture.palette[index] = uint8_t(red);
    picture.palette[256 + index] = uint8_t(green);
    picture.palette[512 + index] = uint8_t(blue);
}

void binaryToIndices(const Picture &src, Picture &dst) {
    const int width = int(src.width);
    for (int y = 0; y < src.height; ++y) {
        const uint8_t *in = bufferRow(src, y);
        uint8_t *out = bufferRow(dst, y);
        for (int x = 0; x < width; ++x) out[x] = (in[x >> 3] >> (7 - (x & 7))) & 1;
    }
    setEntry(dst, 0, 0, 0, 0);
    setEntry(dst, 1, 255, 255, 255);
}

OpStatus ditherOntoCube(const Picture &src, const CubeShape &cube, Picture &dst) {
    auto tables = workBuffer<OrderedDitherTable>(3);
    auto scratch = workBuffer<uint8_t>(size_t(src.width) * 3);
    if (!tables || !scratch) return ZNT_NO_MEMORY;
    buildOrderedDither(cube.red, cube.green * cube.blue, tables[0]);
    buildOrderedDither(cube.green, cube.blue, tables[1]);
    buildOrderedDither(cube.blue, 1, tables[2]);

    const RowReader reader(src);
    const int width = int(src.width);
    for (int y = 0; y < src.height; ++y) {
        const uint8_t *rgb = reader.rgb(bufferRow(src, y), scratch.get());
        uint8_t *out = bufferRow(dst, y);
        const int matrixRow = (y & 7) * 8;
        for (int x = 0; x < width; ++x, rgb += 3) {
            const int cell = matrixRow + (x & 7);
            out[x] = uint8_t(tables[0].level[cell][rgb[0]] + tables[1].level[cell][rgb[1]] +
                             tables[2].level[cell][rgb[2]]);
        }
    }
    int index = 0;
    for (int r = 0; r < cube.red; ++r)
        for (int g = 0; g < cube.green; ++g)
            for (int b = 0; b < cube.blue; ++b)
                setEntry(dst, index++, r * 255 / (cube.red - 1), g * 255 / (cube.green - 1),
                         b * 255 / (cube.blue - 1));
    dst.numberOfColors = uint16_t(index);
    return ZNT_OK;
}

// A true-colour picture with at most `colors` colours gets exactly those, in
// order of first appearance. False, with the indices written so far left for
// the next stage to overwrite, as soon as one colour too many turns up.
bool exactTrueColors(const Picture &src, int colors, const RowReader &reader, uint8_t *scratch, Picture &dst) {
    // Colours seen so far, found again through a small open-addressing table
    // of (colour + 1) keys; 1024 slots for at most 256 colours.
    uint32_t keys[1024] = {};
    uint8_t slotIndex[1024] = {};
    uint32_t seen[256];
    int count = 0;
    uint32_t lastColor = 0xFFFFFFFF;
    uint8_t lastIndex = 0;
    const int width = int(src.width);
    for (int y = 0; y < src.height; ++y) {
        const uint8_t *rgb = reader.rgb(bufferRow(src, y), scratch);
        uint8_t *out = bufferRow(dst, y);
        for (int x = 0; x < width; ++x, rgb += 3) {
            const uint32_t color = uint32_t(rgb[0]) << 16 | uint32_t(rgb[1]) << 8 | rgb[2];
            if (color != lastColor) {
                uint32_t slot = (color * 2654435761u) >> 22;
                while (keys[slot] != 0 && keys[slot] != color + 1) slot = (slot + 1) & 1023;
                if (keys[slot] == 0) {
                    if (count == colors) return false;
                    keys[slot] = color + 1;
                    slotIndex[slot] = uint8_t(count);
                    seen[count++] = color;
                }
                lastColor = color;
                lastIndex = slotIndex[slot];
            }
            out[x] = lastIndex;
        }
    }
    for (int i = 0; i < count; ++i) setEntry(dst, i, seen[i] >> 16, (seen[i] >> 8) & 255, seen[i] & 255);
    return true;
}

// A palette or grey picture using at most `colors` of its entries gets those
// entries, most used first, and its pixels re-indexed.
bool exactIndexedColors(const Picture &src, int colors, const RowReader &reader, Picture &dst) {
    uint32_t counts[256] = {};
    const int width = int(src.width);
    for (int y = 0; y < src.height; ++y) {
        const uint8_t *in = bufferRow(src, y);
        for (int x = 0; x < width; ++x) ++counts[in[x]];
    }
    int order[256];
    for (int i = 0; i < 256; ++i) order[i] = i;
    // Equal counts keep the entries' order, so that the result is repeatable.
    std::stable_sort(order, order + 256, [&](int a, int b) { return counts[a] > counts[b]; });
    int used = 0;
    while (used < 256 && counts[order[used]] != 0) ++used;
    if (used > colors) return false;

    uint8_t remap[256] = {};
    for (int k = 0; k < used; ++k) {
        const int entry = order[k];
        remap[entry] = uint8_t(k);
        setEntry(dst, k, reader.red()[entry], reader.green()[entry], reader.blue()[entry]);
    }
    for (int y = 0; y < src.height; ++y) {
        const uint8_t *in = bufferRow(src, y);
        uint8_t *out = bufferRow(dst, y);
        for (int x = 0; x < width; ++x) out[x] = remap[in[x]];
    }
    return true;
}

}  // namespace

OpStatus convertToColors(Picture *source, Picture *output, int colors, int dither) {
    CubeShape cube;
    if (source == nullptr || !cubeFor(colors, cube)) return ZNT_BAD_ARGUMENT;
    if (OpStatus status = checkSource(source)) return status;
    const Picture &src = *source;

    OwnedPicture result;
    if (!result.allocate(ZNT_PALETTE, src.bitsPerComponent, int(src.width), src.height)) return ZNT_NO_MEMORY;
    Picture &dst = *result;
    copyCarriedFields(src, dst);
    dst.numberOfColors = uint16_t(colors);

    if (src.type == ZNT_BINARY) {
        binaryToIndices(src, dst);
    } else if (dither == kDitherPattern) {
        if (OpStatus status = ditherOntoCube(src, cube, dst)) return status;
    } else {
        const RowReader reader(src);
        bool done;
        if (isTrueColor(src.type)) {
            auto scratch = workBuffer<uint8_t>(size_t(src.width) * 3);
            if (!scratch) return ZNT_NO_MEMORY;
            done = exactTrueColors(src, colors, reader, scratch.get(), dst);
        } else {
            done = exactIndexedColors(src, colors, reader, dst);
        }
        if (!done && medianCutQuantize(src, colors, dst) < 0) return ZNT_NO_MEMORY;
    }
    deliverPicture(source, output, result);
    return ZNT_OK;
}

}  // namespace quivel
