// The 16 x 16 Bayer index matrix used by the renderer on 4-bit and 2-bit
// colour-mapped screens, indexed [row & 15][column & 15].
#pragma once

#include <cstdint>

namespace quivel {

struct BayerMatrix {
    uint8_t value[16][16];
};

// Built by doubling from the 1 x 1 matrix {0}: each value M becomes 4M and
// 4M+2 in the upper two quadrants and 4M+3, 4M+1 in the lower two, so every
// value 0..255 appears once and the first row reads 0, 128, 32, 160, ...
constexpr BayerMatrix makeBayer16() {
    BayerMatrix m{};
    for (int size = 1; size < 16; size *= 2) {
        BayerMatrix next{};
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x) {
                const int v = 4 * m.value[y][x];
                next.value[y][x] = uint8_t(v);
                next.value[y][x + size] = uint8_t(v + 2);
                next.value[y + size][x] = uint8_t(v + 3);
                next.value[y + size][x + size] = uint8_t(v + 1);
            }
        m = next;
    }
    return m;
}

inline constexpr BayerMatrix kBayer16 = makeBayer16();

}  // namespace quivel
