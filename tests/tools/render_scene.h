// The scene render_probe draws and the GUI tests check: generated pictures of
// every kind placed side by side in one window, some zoomed.
#pragma once

#include <cstdint>

namespace renderscene {

enum class Kind { kRgb, kRgba, kGrey16, kPalette, kBinary, kFlat };

struct Panel {
    Kind kind;
    int sourceWidth, sourceHeight;
    int destWidth, destHeight;
    int x, y;                 // window position of the picture's corner
    bool throughPixmap;       // drawn by CreatePicturePixmap and copied, at its own size
};

inline constexpr int kWindowWidth = 640, kWindowHeight = 420;

inline constexpr Panel kPanels[] = {
    {Kind::kRgb, 120, 90, 120, 90, 0, 0, false},        // 100 %
    {Kind::kRgb, 120, 90, 44, 33, 130, 0, false},       // 37 %
    {Kind::kGrey16, 40, 30, 40, 30, 180, 0, false},
    {Kind::kBinary, 64, 48, 96, 72, 230, 0, false},     // 150 %
    {Kind::kRgba, 50, 40, 50, 40, 340, 0, false},
    {Kind::kFlat, 64, 64, 64, 64, 400, 0, false},
    {Kind::kPalette, 40, 30, 40, 30, 480, 0, true},
    {Kind::kRgb, 120, 90, 300, 225, 0, 100, false},     // 250 %, two tiles across
    {Kind::kPalette, 40, 30, 93, 70, 310, 100, false},  // 7/3 across
};

// The own-palette scene: the palette picture alone, as a private colormap
// holds one picture's palette.
inline constexpr Panel kOwnPalettePanels[] = {
    {Kind::kPalette, 40, 30, 93, 70, 10, 10, false},
    {Kind::kPalette, 40, 30, 40, 30, 120, 10, false},
};

struct Rgb {
    int r, g, b;
};

inline constexpr int kPaletteColors = 40;

inline Rgb paletteEntry(int i) { return {i * 6, 255 - i * 5, (i * 37) & 255}; }

// The value stored in the picture: an index for grey, palette and binary
// pictures, unused (0) for true colour.
inline int indexAt(Kind kind, int x, int y) {
    switch (kind) {
    case Kind::kGrey16: return (x / 3 + y / 2) % 16;
    case Kind::kPalette: return (x + 2 * y) % kPaletteColors;
    case Kind::kBinary: return (((x / 4 + y / 4) & 1) ^ (x == y ? 1 : 0));
    default: return 0;
    }
}

inline uint8_t maskAt(int x, int y) { return uint8_t(x * 4 + y); }

// The colour a source pixel shows.
inline Rgb colorAt(Kind kind, int x, int y) {
    switch (kind) {
    case Kind::kRgb: return {x * 255 / 119, y * 255 / 89, (x * 3 + y * 5) & 255};
    case Kind::kRgba: return {255 - x * 5, x * 5, y * 6};
    case Kind::kGrey16: {
        const int v = indexAt(kind, x, y) * 17;
        return {v, v, v};
    }
    case Kind::kPalette: return paletteEntry(indexAt(kind, x, y));
    case Kind::kBinary: return indexAt(kind, x, y) ? Rgb{255, 255, 255} : Rgb{0, 0, 0};
    case Kind::kFlat: return {100, 150, 200};
    }
    return {0, 0, 0};
}

}  // namespace renderscene
