// Geometric operations: crop, flips, rotations, resizing, canvas size,
// automatic crop, resolution and de-interlacing.
//
// They work on every picture kind and keep it: the result has the source's
// type and bitsPerComponent and carries over colorModel, the resolutions,
// numberOfColors, transparentIndex and the palette (a background colour may
// add one palette entry, see below). Binary pixels are moved one bit at a
// time, all others as whole pixels. Rows stored bottom-up (bit 0x10 of
// colorModel) are addressed as shown, so a turn or a crop of such a picture
// looks the same as of a top-down one and the result stays bottom-up.
// Statuses and result delivery as op_support.h describes.
//
// Background colours are 0xRRGGBB. A binary picture takes white for a
// background of luminance 128 or more, else black; a grey picture the level
// nearest to its luminance; a palette picture an entry of exactly that
// colour, else a new entry when numberOfColors is below 256, else the
// nearest entry; true colour the colour itself with an opaque mask byte.
#pragma once

#include "imageops/op_support.h"

namespace quivel {

// Keeps the part of the picture inside `rect` (nullptr: all of it). Parts of
// the rectangle outside the picture are cut off; 16 when nothing is left.
OpStatus cropPicture(Picture *source, Picture *output, const PictureRect *rect);

// Mirror the part inside `rect` (nullptr: the whole picture) left to right,
// or top to bottom; the rest stays. 16 when the rectangle misses the picture.
OpStatus flipHorizontal(Picture *source, Picture *output, const PictureRect *rect);
OpStatus flipVertical(Picture *source, Picture *output, const PictureRect *rect);

// Turns the picture by `angleDegrees`, positive clockwise. Multiples of 360
// copy; 90 and -270 turn a quarter clockwise, -90 and 270 a quarter
// counter-clockwise, 180 and -180 a half turn, all exactly. Any other angle
// rotates freely onto a canvas just large enough for the turned picture,
// filled with `background`: bilinear for grey and true colour (edges blend
// into the background), nearest pixel for palette and binary pictures, so
// that no new colours appear; a free angle that is a whole number of quarter
// turns (450, -630, ...) is done as the exact turn. 16 for an angle that is
// not a finite number.
OpStatus rotatePicture(Picture *source, Picture *output, double angleDegrees, uint32_t background);

// Resampling modes of resizePicture.
enum ResampleMode {
    kResampleArea = 0,      // area averaging; enlarged axes interpolate between neighbours
    kResampleNearest = 2,
};

// Scales to newWidth x newHeight (16 when either is below 1). kResampleNearest,
// and every palette or binary picture, take the source pixel under each new
// pixel's centre; any other mode averages grey and true-colour pictures by
// area: each source pixel contributes to the new pixels it overlaps by the
// overlapped area, and an enlarged axis blends each source pixel with its
// right (or lower) neighbour by the position within it, so that enlarging
// interpolates and an unchanged axis is copied exactly.
OpStatus resizePicture(Picture *source, Picture *output, int newWidth, int newHeight, int mode);

// Changes the canvas to newWidth x newHeight (16 when either is below 1)
// with the picture centred on it: a larger canvas is filled with
// `background`, a smaller one cuts the picture evenly on both sides.
OpStatus resizeCanvas(Picture *source, Picture *output, int newWidth, int newHeight, uint32_t background);

// Crops away the border: the rows and columns at the edges whose every pixel
// is within `tolerance` (0..255, else 16) in each of red, green and blue of
// the top-left pixel's colour. A picture that is all border stays as it is.
OpStatus autoCropPicture(Picture *source, Picture *output, int tolerance);

// Sets resolutionX and resolutionY (dots per inch, at least 1, else 16).
OpStatus setResolution(Picture *source, Picture *output, uint32_t dotsPerInchX, uint32_t dotsPerInchY);

// De-interlace flags: which field (set of alternate rows) is kept, and how
// the rows of the other field are rebuilt from it.
enum DeinterlaceFlags {
    kKeepEvenField = 1,     // keep rows 0, 2, 4...; without it rows 1, 3, 5...
    kDuplicateRows = 2,     // copy the kept row of the pair; without it the
                            // mean of the kept rows above and below
};

// Rebuilds the rows of one field from the other. Palette and binary pictures
// always duplicate, since their values cannot be averaged; rows at the top or
// bottom edge with one kept neighbour copy it.
OpStatus deinterlacePicture(Picture *source, Picture *output, int flags);

}  // namespace quivel
