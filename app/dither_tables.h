// Ordered-dither tables for a colour cube of r x g x b levels.
//
// For a channel value v the entry gives the two cube indices between which v
// lies (already multiplied by the channel's index weight: g*b for red, b for
// green, 1 for blue) and the fraction of the way from the lower to the upper
// level in 0..63. The renderer adds, per channel, the upper index when
// thresholds[row & 7][column & 7][fraction] is set and the lower one
// otherwise, and looks the sum up in the colour context's pixel table.
//
// Tables are built once per cube shape, kept in a process-wide list and freed
// only by freeDitherTables at exit. Indices are stored in one byte each, so
// the sums wrap at 256 exactly as the pixel table is indexed.
#pragma once

#include <cstdint>

namespace quivel {

struct DitherEntry {
    uint8_t fraction;
    uint8_t lowerIndex;
    uint8_t upperIndex;
};

struct DitherTables {
    int32_t redLevels, greenLevels, blueLevels;
    DitherEntry redTable[256];
    DitherEntry greenTable[256];
    DitherEntry blueTable[256];
    uint8_t thresholds[8][8][64];  // [row][column][fraction]: 1 when matrix value < fraction
    DitherTables *next;
};

// The tables for an r x g x b cube (each at least 2), built on first use.
DitherTables *GetDitherTables(int r, int g, int b);

// Frees every table; pointers handed out before become invalid.
void freeDitherTables();

}  // namespace quivel
