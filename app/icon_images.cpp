// The compiled-in icon and pointer pictures, drawn as text: one character
// per pixel.
#include "app/icon_images.h"

#include <array>
#include <cstddef>

namespace quivel {

namespace {

constexpr int kIconSide = 32;

// A framed landscape. ' ' is transparent; the other letters are the colours
// of kIconColors.
constexpr const char *kIconArt[kIconSide] = {
    "                                ",
    "                                ",
    "                                ",
    " kkkkkkkkkkkkkkkkkkkkkkkkkkkkkk ",
    " kwwwwwwwwwwwwwwwwwwwwwwwwwwwwk ",
    " kwllllllllllllllllllllllllllwk ",
    " kwllllllllllllllllooooolllllwk ",
    " kwlllllllllllllllooyyyoollllwk ",
    " kwllllllllllllllooyyyyyoolllwk ",
    " kwlllllllllllllloyyyyyyyolllwk ",
    " kwlllllllllllllloyyyyyyyolllwk ",
    " kwlllllllllllllloyyyyyyyolllwk ",
    " kwbbbbbbbbbbbbbbooyyyyyoobbbwk ",
    " kwbbbbbbbwbbbbbbbooyyyoobbbbwk ",
    " kwbbbbbbwwwbbbbbbbooooobbbbbwk ",
    " kwbbbbbwwmwwbbbbbbbbbbbbbbbbwk ",
    " kwbbbbmwmmmwmbbbbbbbbbbbbbbbwk ",
    " kwbbbmmmmmmmmmbbbbbbbbbbbbbbwk ",
    " kwbbmmmmmmmmmmmgggggggbbbbbbwk ",
    " kwbmmmmmmmmmmggggggggggbbbbbwk ",
    " kwmmmmmmmmmmgggggggggggggbbbwk ",
    " kwmmmmmmmmmggggdddddddggggbbwk ",
    " kwmmmmmmmggggddddddddddgggggwk ",
    " kwggggggggggdddddddddddddgggwk ",
    " kwgggggggggdddddddddddddddggwk ",
    " kwgggggggdddddddddddddddddddwk ",
    " kwddddddddddddddddddddddddddwk ",
    " kwwwwwwwwwwwwwwwwwwwwwwwwwwwwk ",
    " kkkkkkkkkkkkkkkkkkkkkkkkkkkkkk ",
    "                                ",
    "                                ",
    "                                ",
};

constexpr IconColor kIconColors[] = {
    {'k', 0x20, 0x20, 0x20}, {'w', 0xf4, 0xf4, 0xf0}, {'l', 0x9c, 0xc8, 0xf0}, {'b', 0x70, 0xa8, 0xe0},
    {'y', 0xff, 0xe0, 0x40}, {'o', 0xf0, 0x90, 0x20}, {'m', 0x80, 0x80, 0x90}, {'g', 0x50, 0xb0, 0x40},
    {'d', 0x28, 0x78, 0x28},
};
constexpr int kIconColorCount = int(sizeof kIconColors / sizeof kIconColors[0]);

template <int Scale>
constexpr std::array<uint8_t, kIconSide * kIconSide * Scale * Scale> iconCodes() {
    std::array<uint8_t, kIconSide * kIconSide * Scale * Scale> codes{};
    for (int y = 0; y < kIconSide * Scale; ++y)
        for (int x = 0; x < kIconSide * Scale; ++x)
            codes[std::size_t(y * kIconSide * Scale + x)] = uint8_t(kIconArt[y / Scale][x / Scale]);
    return codes;
}

constexpr auto kSmallCodes = iconCodes<1>();
constexpr auto kLargeCodes = iconCodes<2>();

constexpr IconImage makeIcon(int side, const uint8_t *codes) {
    IconImage icon{side, side, ' ', kIconColorCount, {}, codes};
    for (int i = 0; i < kIconColorCount; ++i) icon.colors[i] = kIconColors[i];
    return icon;
}

// Pointer art: '#' draws in the foreground, '.' in the background (the mask's
// outline), ' ' is left alone.
constexpr const char *kMoveArt[32] = {
    "      ..#..                     ",
    "     ..###..                    ",
    "    ..#####..                   ",
    "    .#######.                   ",
    "  .....###.....                 ",
    " ..#. .###. .#..                ",
    "..##...###...##..               ",
    ".###############..              ",
    "#################.              ",
    ".###############..              ",
    "..##...###...##..               ",
    " ..#. .###. .#..                ",
    "  .....###.....                 ",
    "    .#######.                   ",
    "    ..#####..                   ",
    "     ..###..                    ",
    "      ..#..                     ",
    "       ...                      ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
};

constexpr const char *kGrabArt[32] = {
    "                                ",
    "                                ",
    "                                ",
    "   ...........                  ",
    "   .#########.                  ",
    "   .#########.                  ",
    "  ..#########..                 ",
    "  .###########...               ",
    "  .#############.               ",
    "  .#############.               ",
    "  .#############.               ",
    "  .#############.               ",
    "  .###########...               ",
    "  .###########.                 ",
    "  ..#########..                 ",
    "   ...........                  ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
    "                                ",
};

constexpr PointerBitmap pointerFromArt(const char *const (&art)[32]) {
    PointerBitmap bitmap{};
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 32; ++x) {
            const uint8_t bit = uint8_t(1u << (x & 7));
            const int byte = y * 4 + x / 8;
            if (art[y][x] == '#') bitmap.source[byte] |= bit;
            if (art[y][x] != ' ') bitmap.mask[byte] |= bit;
        }
    return bitmap;
}

constexpr PointerBitmap kMovePointer = pointerFromArt(kMoveArt);
constexpr PointerBitmap kGrabPointer = pointerFromArt(kGrabArt);

}  // namespace

const IconImage kSmallIcon = makeIcon(kIconSide, kSmallCodes.data());
const IconImage kLargeIcon = makeIcon(kIconSide * 2, kLargeCodes.data());

const PointerBitmap &movePointerBitmap() { return kMovePointer; }
const PointerBitmap &grabPointerBitmap() { return kGrabPointer; }

}  // namespace quivel
