// The zoom rule of image views.
//
// Zoom is an integer percentage, the same horizontally and vertically. The
// steps, largest first, are 1600 ... 7. Stepping keeps two deliberate
// quirks: zooming out from below the smallest step jumps to 100 %, and
// zooming in from above the largest step lands on it.
#pragma once

#include <array>
#include <string_view>

namespace quivel {

inline constexpr std::array<int, 18> kZoomSteps = {1600, 1200, 800, 700, 600, 500, 400, 300, 200,
                                                   100,  70,   50,  30,  25,  20,  15,  10,  7};

struct Size {
    int width = 0, height = 0;
    bool operator==(const Size &) const = default;
};

struct Offset {
    int x = 0, y = 0;
    bool operator==(const Offset &) const = default;
};

// The zoom an argument asks for, from the current zoom:
//   "+"        the largest step at which the whole picture fits the area (7 if none)
//   "-", "-1"  the next smaller step
//   "+1"       the next larger step
//   a number   that percentage
// A result of 0 becomes 100.
int zoomForArgument(std::string_view argument, int currentZoom, Size picture, Size area);

// The scroll offset after a zoom change. For "+" and "-" alone the picture
// point under the anchor is placed; for every other argument the picture
// point at the centre of the area stays at the centre.
Offset scrollAfterZoom(std::string_view argument, int oldZoom, int newZoom, Offset oldOffset, Offset anchor,
                       Size picture, Size area);

// The zoom for the fit modes that zoom the picture into the window: 2 all
// pictures, 3 only larger ones (smaller ones stay at 100 %), 6 by width,
// 7 by height. The largest whole percentage at which the picture fits, so
// that it fills the window, between 1 and the largest step; other modes 100.
int fitZoom(int fitMode, Size picture, Size area);

}  // namespace quivel
