// Where a view's picture sits in its drawing area, and the sizes and
// positions derived from it: scrolling, fitting the window, the selection.
//
// Coordinates: "displayed" pixels are picture pixels times zoom / 100; the
// scroll offset is the displayed pixel at the area's top-left corner. A
// displayed picture smaller than the area in one axis is centred in that axis
// and its offset there is 0. The picture is drawn into a window that covers
// exactly the visible part of the displayed picture.
#pragma once

#include <cstdint>

#include "view/zoom.h"

namespace quivel {

struct WindowRect {
    int x = 0, y = 0, width = 0, height = 0;
    bool operator==(const WindowRect &) const = default;
};

struct PictureLayout {
    Size displayed;     // the whole picture at the zoom, at least 1 x 1
    Offset offset;      // clamped scroll offset
    WindowRect window;  // the picture window within the area
};

// The displayed size of a picture at a zoom (at least 1 in each axis).
Size displayedSize(Size picture, int zoom);

// The layout for a zoom, area and wished offset; the offset is clamped to
// [0, displayed - area] in each axis.
PictureLayout layoutPicture(Size picture, int zoom, Size area, Offset wished);

// The scroll-bar value a scroll key moves to: direction 0 right, 1 left,
// 2 up, 3 down, by one page increment, clamped to [minimum, maximum - slider].
int keyScrollValue(int direction, int value, int minimum, int maximum, int sliderSize, int pageIncrement);

// The shell size that makes the area show `displayed` exactly: the shell
// grows or shrinks by the difference, each axis capped at the screen and
// kept at least `minimum` (the size below which the window's controls would
// fold up).
Size fittedShellSize(Size shell, Size area, Size displayed, Size screen, Size minimum = {1, 1});

// A picture pixel under a point of the area (clamped into the picture).
struct PicturePoint {
    int x = 0, y = 0;
    bool inside = false;   // the point lies on the picture
};
PicturePoint pictureAt(const PictureLayout &layout, Size picture, int areaX, int areaY);

// The picture rectangle that a drag from one area point to another covers:
// both corners included, clipped to the picture; width 0 when the drag
// covers no picture pixel.
struct PictureRectangle {
    int32_t x = 0, y = 0, width = 0, height = 0;
    bool operator==(const PictureRectangle &) const = default;
};
PictureRectangle dragRectangle(const PictureLayout &layout, Size picture, int x0, int y0, int x1, int y1);

// The area rectangle that shows a picture rectangle (for drawing the
// selection), before clipping to the area.
WindowRect areaRectangle(const PictureLayout &layout, Size picture, const PictureRectangle &rect);

}  // namespace quivel
