// Pixel-row helpers shared by the formats: what a writer needs to turn any
// kind of picture row into the bytes of its file, and what a reader needs
// to hand back the simplest picture kind that holds the file exactly.
//
// Each helper chooses its loop once per row from the picture type; the
// inner loops are plain array work.
#pragma once

#include "zentar.h"

#include <array>
#include <cstdint>
#include <vector>

namespace zentar {

inline bool isTrueColor(int type) { return (type & ZNT_TRUECOLOR_MASK) != 0; }
inline bool hasMask(int type) { return (type & ZNT_FOURBYTE_MASK) != 0; }

// The 8-bit value of each level of a grey picture of `levels` levels.
std::array<uint8_t, 256> greyLevelValues(int levels);

// One row of any picture as R, G, B (width * 3 bytes). Grey levels are
// spread over 0-255, binary gives 0 and 255, a palette is looked up.
void rowToRgb(const Picture &picture, uint32_t y, uint8_t *out);

// One row as R, G, B, A: the mask byte of four-byte kinds, 0 for the
// transparent index of a palette picture, 255 elsewhere.
void rowToRgba(const Picture &picture, uint32_t y, uint8_t *out);

// One row of a binary or grey picture as 8-bit grey (binary: 0 or 255).
void rowToGrey(const Picture &picture, uint32_t y, uint8_t *out);

// One row as 1 (grey, for binary and grey pictures only), 3 (R, G, B) or 4
// (R, G, B, A) bytes a pixel.
void rowToChannels(const Picture &picture, uint32_t y, int channels, uint8_t *out);

// The whole picture as rows of `channels` bytes a pixel (rowToChannels),
// for encoders that take it in one buffer. False when memory is short.
bool pictureToChannels(const Picture &picture, int channels, std::vector<uint8_t> &out);

// The palette a writer stores, in three planes of 256 entries: black and
// white for a binary picture, the ramp of its levels for a grey one, its
// own for a palette picture, zeros for true colour. Returns the entries
// that count: 2, the picture's colours (1 to 256), or 0 for true colour.
uint32_t writerPalette(const Picture &picture, uint8_t palette[768]);

// Whether the first `count` palette entries are the grey ramp of `count`
// levels (entry i is i * 255 / (count - 1) in all three planes).
bool isGreyRamp(const uint8_t *palette, int count);

// Fills the first `count` entries with the grey ramp of `count` levels.
void setGreyRamp(uint8_t *palette, int count);

// Turns a palette picture whose palette is a grey ramp and which has no
// transparent index into a grey picture of as many levels (the indexes
// are already the levels), dropping the palette.
void paletteToGreyIfRamp(Picture &picture);

// Turns a palette picture of exactly two entries, black and white in either
// order and without a transparent index, into a binary picture.
// `indexes` is the one-byte-per-pixel source; the picture must already be
// allocated as binary of the same size. Returns false when the palette is
// not black and white.
bool isBlackWhitePalette(const uint8_t *palette, int count, bool &inverted);

// Packs one row of 0/1 bytes into a binary row (most significant bit first).
void packBits(const uint8_t *bits, uint32_t width, uint8_t *out, bool invert);

// The colour model of a picture kind, as used in save kinds and sub-images.
int colorModelOfType(int type);

}  // namespace zentar
