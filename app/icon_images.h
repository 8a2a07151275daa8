// Quivel's compiled-in pictures: the window icons and the two drag pointers.
#pragma once

#include <cstdint>

namespace quivel {

struct IconColor {
    uint8_t code, red, green, blue;
};

// A coloured icon: width x height one-byte codes, row by row; each code names
// one of `colorCount` colours, and `transparentCode` shows the background.
struct IconImage {
    int32_t width, height;
    uint32_t transparentCode;
    int32_t colorCount;
    IconColor colors[256];
    const uint8_t *codes;
};

extern const IconImage kSmallIcon;   // 32 x 32
extern const IconImage kLargeIcon;   // 64 x 64

// A 32 x 32 pointer shape as X bitmaps (least significant bit first, rows of
// four bytes): the source draws in the foreground, the mask outlines it.
struct PointerBitmap {
    uint8_t source[128];
    uint8_t mask[128];
};

// The move pointer (four arrows) and the grab pointer (a closed hand); both
// have their hot spot at (8, 8).
const PointerBitmap &movePointerBitmap();
const PointerBitmap &grabPointerBitmap();
inline constexpr int kPointerHotX = 8, kPointerHotY = 8;

}  // namespace quivel
