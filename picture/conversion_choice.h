// Conversion choices: the 32 ways a picture can be converted before it is
// saved in a format that cannot hold it as it is, numbered 1 to 32.
//
//   1-4    black and white, dithered by pattern, Floyd-Steinberg, halftone 45, halftone 90
//   5-10   4 to 128 grey levels, no dither;   11  256 grey levels
//   12-17  4 to 128 grey levels, pattern dither
//   18-24  8, 16, 32, 64, 128, 216, 256 colours, adaptive palette
//   25-31  the same numbers of colours on a fixed palette with pattern dither
//   32     true colour
//
// The "Convert To ..." dialog shows them grouped by kind, count and dither
// (ChoiceParts); a format's save kinds decide which of them it can hold.
// The last choice made is remembered for the whole process, so that saving
// many pictures can ask once.
#pragma once

#include <cstdint>
#include <span>

#include "zentar.h"

namespace quivel {

inline constexpr int kConversionChoiceCount = 32;
inline constexpr int kTrueColorChoice = 32;
inline constexpr uint16_t kNoConversionChoice = 65535;

// The colour conversion's mode and dither for a choice; ZNT_NO_MEMORY (as
// the conversion itself answers) for a choice outside 1 to 32.
struct ConversionMode {
    int mode = 0;
    int dither = 0;
};
OpStatus conversionModeForChoice(int choice, ConversionMode &out);

// Converts `source` into `output` (a new picture the caller frees) by the
// choice. `source` is not changed.
OpStatus convertForChoice(const Picture &source, Picture &output, int choice);

// The dialog's view of a choice.
enum class ConversionKind { Binary, Grey, Colors, TrueColors };
enum class ConversionDither { Plain, Pattern, FloydSteinberg, Halftone45, Halftone90 };
struct ChoiceParts {
    ConversionKind kind = ConversionKind::TrueColors;
    int count = 0;   // grey levels or colours; 2 for black and white, 0 for true colour
    ConversionDither dither = ConversionDither::Plain;
};

// Parts of a choice in 1 to 32 (anything else reads as true colour).
ChoiceParts partsOfChoice(int choice);
// The choice of those parts, 0 when there is none (256 grey levels with a
// pattern, black and white without dither, ...).
int choiceOfParts(const ChoiceParts &parts);
// The counts the kind offers, smallest first (empty for true colour).
std::span<const int> countsOfKind(ConversionKind kind);

// The dialog's rules. A kind is offered when the format holds one of its
// choices, a count when it holds one of its dithers.
bool saveKindsHoldKind(const ZntSaveKind *kinds, ConversionKind kind);
bool saveKindsHoldCount(const ZntSaveKind *kinds, ConversionKind kind, int count);
// The nearest parts the format holds: the kind kept when it is held, else
// the first held kind; the count kept when held, else the largest held one;
// the dither kept when held, else the first held one. `wanted` unchanged
// when the format holds no choice at all.
ChoiceParts settleChoiceParts(const ZntSaveKind *kinds, ChoiceParts wanted);

// Whether one of a format's save kinds (a list ended by colorModel -1, or
// null) holds the result of the choice: black and white needs a binary
// entry, grey an entry of at least its levels (exactly 256 for 256 levels),
// colours a palette entry of at least its colours (exactly 256 for 256),
// true colour an RGB or RGBA entry. Sizes are not looked at.
bool saveKindsHoldChoice(const ZntSaveKind *kinds, int choice);

// The choice that loses least of `source` among those the format holds:
// true colour, else the most colours or grey levels (grey first for grey
// and black-and-white pictures), else Floyd-Steinberg black and white.
// 0 when the format holds none.
int defaultConversionChoice(const ZntSaveKind *kinds, const Picture &source);

// The choice remembered for the process: kNoConversionChoice for none.
uint16_t rememberedConversion();
void rememberConversion(uint16_t choice);
void forgetConversion();

}  // namespace quivel
