// The two-pass median-cut colour quantiser.
//
// Pass one counts the picture's colours in a histogram of 32 x 64 x 32 cells
// (5 bits of red, 6 of green, 5 of blue, counts saturating at 65535), then
// cuts the colour space into boxes: while the number of boxes is at most half
// the colours wanted, the box covering the most non-empty cells is split,
// after that the one with the largest volume; each split halves the box's
// longest side (sides weighted 2 for red, 3 for green, 1 for blue, ties going
// to green, then red) and shrinks both halves to the cells that hold counts.
// Each box's colour is the count-weighted mean of its cells' centres.
//
// Pass two maps every pixel to the nearest box colour through an inverse
// colour map that reuses the histogram's cells and is filled lazily, one
// block of 4 x 8 x 4 cells at a time, from the colours that can be nearest
// anywhere in the block. True-colour pixels are mapped with Floyd-Steinberg
// error diffusion (7/16 ahead, 3/16 below-behind, 5/16 below, 1/16
// below-ahead), rows in alternating directions, the error passed through a
// limiting curve so that errors never run away; palette and grey pixels are
// mapped as they are.
//
// The arithmetic is integer throughout and follows the published algorithm
// step for step, so the palette and indices are exactly those of the
// reference decoders' two-pass quantiser on the same pixels.
#pragma once

#include "imageops/op_support.h"

namespace quivel {

// Reduces `source` (grey, palette or true colour) to at most `colors`
// (1..256) colours: the indices go into `target`, a palette picture of the
// source's size, and the box colours into its palette (entries past the
// number of boxes are left as they were). Returns the number of colours
// made, or -1 when the workspace cannot be had (target then unchanged).
int medianCutQuantize(const Picture &source, int colors, Picture &target);

}  // namespace quivel
