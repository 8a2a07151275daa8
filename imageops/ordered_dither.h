// The 8 x 8 ordered dither of one channel onto evenly spaced levels, shared
// by the grey conversion and the colour cube.
//
// With d = 255 / (levels - 1) in double precision, a value v lies between
// level lo = floor(v / d) (one less when that is the top level) and lo + 1, a
// fraction f = floor((v - d lo) / (d / 63)) of the way up, 0..63. The pixel
// at (x, y) takes lo + 1 when f exceeds kLevelDither8[y & 7][x & 7], else lo.
#pragma once

#include <cstdint>

#include "imageops/dither_matrices.h"

namespace quivel {

// Level (times `weight`) for each matrix cell ((y & 7) * 8 + (x & 7)) and
// each value, so that a pixel costs one look-up.
struct OrderedDitherTable {
    uint8_t level[64][256];
};

inline void buildOrderedDither(int levels, int weight, OrderedDitherTable &table) {
    uint8_t fraction[256], lower[256];
    const double step = 255.0 / (levels - 1);
    for (int v = 0; v < 256; ++v) {
        int lo = int(v / step);
        if (lo >= levels - 1) lo = levels - 2;
        int f = int((v - step * lo) / (step / 63.0));
        fraction[v] = uint8_t(f < 0 ? 0 : f > 63 ? 63 : f);
        lower[v] = uint8_t(lo);
    }
    // above[cell][f]: whether the matrix value of the cell is below f.
    uint8_t above[64][64];
    for (int cell = 0; cell < 64; ++cell)
        for (int f = 0; f < 64; ++f) above[cell][f] = kLevelDither8[cell >> 3][cell & 7] < f ? 1 : 0;
    for (int cell = 0; cell < 64; ++cell)
        for (int v = 0; v < 256; ++v)
            table.level[cell][v] = uint8_t((lower[v] + above[cell][fraction[v]]) * weight);
}

}  // namespace quivel
