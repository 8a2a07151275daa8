// Colour reduction: changing the pixel kind of a picture (binary, grey with
// a number of levels, a palette of a number of colours, a true-colour
// layout), with the dithers that go with it, and counting a picture's colours.
//
// Every conversion builds a new picture of the source's size and
// bitsPerComponent, carries colorModel and the resolutions over, starts with
// transparentIndex -1, and hands the result over as op_support.h describes
// (output record, or in place). The source may be of any kind; it is never
// changed unless the conversion succeeds in place.
#pragma once

#include "imageops/op_support.h"

namespace quivel {

// Dither methods.
enum DitherMethod {
    kDitherThreshold = 0,       // plain threshold
    kDitherPattern = 1,         // ordered dither (the "Dither" menu entries)
    kDitherHalftone45 = 2,
    kDitherHalftone90 = 3,
    kDitherNone = 4,            // grey: no dither; colours: the adaptive palette
    kDitherFloydSteinberg = 5,
};

// The single entry point. mode 1: binary; 2..9: grey with 4, 8, 16, 32, 64,
// 128, 216, 256 levels; 12..18: 8, 16, 32, 64, 128, 216, 256 colours;
// 19..24: true colour of type 16, 32, 64, 128, 256, 512. Other modes
// (10 and 11 among them) return 16.
OpStatus convertPicture(Picture *source, Picture *output, int mode, int dither);

// To a binary picture. dither 0 threshold at 127, 1 the 16 x 16 pattern,
// 3 the halftone-90 screen, 5 a reduced Floyd-Steinberg (3/8 right, 3/8 down,
// 1/4 down-right), any other value the halftone-45 screen.
OpStatus convertToBinary(Picture *source, Picture *output, int dither);

// To grey with `levels` levels (4, 8, 16, 32, 64, 128, 216 or 256, else 16).
// dither 1 with fewer than 256 levels uses the 8 x 8 ordered dither; any
// other value maps without dither.
OpStatus convertToGrey(Picture *source, Picture *output, int levels, int dither);

// To a palette of `colors` entries (8, 16, 32, 64, 128, 216 or 256, else 16).
// dither 1 dithers onto a fixed colour cube; any other value builds an
// adaptive palette (exact when the picture has few enough colours, else the
// median cut with error diffusion).
OpStatus convertToColors(Picture *source, Picture *output, int colors, int dither);

// To the true-colour `type` (16, 32, 64, 128, 256 or 512, else 16). The
// fourth byte of a four-byte target takes the source's mask byte when it has
// one; otherwise it is 255, and 0 for pixels of a palette's transparent index.
OpStatus convertToTrueColor(Picture *source, Picture *output, int type);

// The number of distinct colours, counting stopped once it exceeds a
// positive `limit` (limit <= 0: no limit). Binary pictures report 2; one-byte
// pictures count the byte values used (a palette's duplicate entries once);
// wider pixels count distinct values of their first three bytes in memory,
// whatever the channel order. -1 when a work buffer cannot be had or the
// record cannot be read.
int countColorsUsed(const Picture *picture, int limit);

}  // namespace quivel
