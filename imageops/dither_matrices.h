// Constant dither matrices shared by the display's colour cube (ordered
// dither of 8 x 8) and the colour-reduction operations (all of them). They
// are used exactly as stored: changing one value moves dots in every
// converted picture.
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

// The 16 x 16 pattern matrix of the binary ordered dither, row = y & 15,
// column = x & 15: a pixel is white when its luminance reaches the entry.
inline constexpr uint8_t kPattern16[16][16] = {
    {1, 128, 32, 160, 8, 136, 40, 168, 2, 130, 34, 162, 10, 138, 42, 170},
    {192, 64, 224, 96, 200, 72, 232, 104, 194, 66, 226, 98, 202, 74, 234, 106},
    {48, 176, 16, 144, 56, 184, 24, 152, 50, 178, 18, 146, 58, 186, 26, 154},
    {240, 112, 208, 80, 248, 120, 216, 88, 242, 114, 210, 82, 250, 122, 218, 90},
    {12, 140, 44, 172, 4, 132, 36, 164, 14, 142, 46, 174, 6, 134, 38, 166},
    {204, 76, 236, 108, 196, 68, 228, 100, 206, 78, 238, 110, 198, 70, 230, 102},
    {60, 188, 28, 156, 52, 180, 20, 148, 62, 190, 30, 158, 54, 182, 22, 150},
    {252, 124, 220, 92, 244, 116, 212, 84, 254, 126, 222, 94, 246, 118, 214, 86},
    {3, 131, 35, 163, 11, 139, 43, 171, 1, 129, 33, 161, 9, 137, 41, 169},
    {195, 67, 227, 99, 203, 75, 235, 107, 193, 65, 225, 97, 201, 73, 233, 105},
    {51, 179, 19, 147, 59, 187, 27, 155, 49, 177, 17, 145, 57, 185, 25, 153},
    {243, 115, 211, 83, 251, 123, 219, 91, 241, 113, 209, 81, 249, 121, 217, 89},
    {15, 143, 47, 175, 7, 135, 39, 167, 13, 141, 45, 173, 5, 133, 37, 165},
    {207, 79, 239, 111, 199, 71, 231, 103, 205, 77, 237, 109, 197, 69, 229, 101},
    {63, 191, 31, 159, 55, 183, 23, 151, 61, 189, 29, 157, 53, 181, 21, 149},
    {255, 127, 223, 95, 247, 119, 215, 87, 253, 125, 221, 93, 245, 117, 213, 85},
};

// Halftone screens of 6 x 6 cells, row = y mod 6, column = x mod 6, values
// 1..36: a pixel is white when luminance * 36 / 255 reaches the entry. The
// first grows its dots along the 45 degree diagonals, the second along the
// rows and columns.
inline constexpr uint8_t kHalftone45[6][6] = {
    {15, 9, 17, 32, 22, 30}, {7, 1, 3, 19, 35, 23}, {13, 5, 11, 27, 26, 33},
    {31, 21, 29, 16, 10, 18}, {20, 36, 24, 8, 2, 4}, {28, 25, 34, 14, 6, 12},
};
inline constexpr uint8_t kHalftone90[6][6] = {
    {30, 19, 13, 20, 31, 35}, {18, 8, 5, 9, 21, 29}, {12, 4, 1, 2, 10, 28},
    {17, 7, 3, 6, 14, 27}, {26, 16, 11, 15, 22, 32}, {34, 25, 24, 23, 33, 36},
};

}  // namespace quivel
