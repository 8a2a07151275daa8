// Constant dither matrices shared by the display's colour cube (ordered
// dither of 8 x 8) and the colour-reduction operations.
#pragma once

#include <cstdint>

namespace quivel {

// The 8 x 8 level-dither matrix, values 0..50. It is not a Bayer matrix and
// some values repeat (47, 39, 31, 23, 7 and 0 twice): the exact values decide
// which pixels switch to the upper level, so they are kept as they are.
inline constexpr uint8_t kLevelDither8[8][8] = {
    {0, 38, 9, 47, 2, 40, 11, 50},  {25, 12, 35, 22, 27, 15, 37, 24},
    {6, 44, 3, 41, 8, 47, 5, 43},   {31, 19, 28, 15, 34, 21, 31, 18},
    {1, 39, 11, 49, 0, 39, 10, 48}, {27, 14, 36, 23, 26, 13, 35, 23},
    {7, 46, 4, 43, 7, 45, 3, 42},   {33, 20, 30, 17, 32, 19, 29, 16},
};

}  // namespace quivel
