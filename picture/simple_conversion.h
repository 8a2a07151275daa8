// A plain conversion of a picture into a kind a format can save, for the
// converter's first form: expanding to RGB where the format holds true
// colour, else to grey, to a palette or to black and white. No dithering:
// grey is the luminance, a palette the 6 x 7 x 6 colour cube, black and
// white a threshold at half grey.
#pragma once

#include "zentar.h"

namespace quivel {

// When the format holds `source` as it is, returns ZNT_OK and leaves
// `converted` empty (data null). Otherwise makes `converted` (freed by the
// caller with zntFree) in the first kind the format accepts, in an order
// that loses least for the source kind. ZNT_CANT_SAVE when no kind fits,
// ZNT_NO_MEMORY when allocation fails.
OpStatus convertForFormat(const Picture &source, int formatIndex, Picture &converted);

// The single conversions, each into a new picture; false when memory is short.
bool convertToRgb(const Picture &source, Picture &out);
bool convertToGrey(const Picture &source, Picture &out);
bool convertToBinary(const Picture &source, Picture &out);
bool convertToPalette(const Picture &source, Picture &out);

}  // namespace quivel
