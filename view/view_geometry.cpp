#include "view/view_geometry.h"

#include <algorithm>

namespace quivel {

namespace {

// Displayed coordinate of the left (top) edge of picture pixel p.
int64_t displayedEdge(int64_t p, int pictureSize, int displayedSize) {
    // The renderer maps displayed column i to picture column i * w / dw; the
    // first displayed column of pixel p is the smallest i with i * w / dw >= p.
    if (pictureSize <= 0) return 0;
    return (p * displayedSize + pictureSize - 1) / pictureSize;
}

// Picture pixel shown at displayed coordinate d.
int pictureCoordinate(int64_t d, int pictureSize, int displayedSize) {
    if (displayedSize <= 0) return 0;
    return int(d * pictureSize / displayedSize);
}

}  // namespace

Size displayedSize(Size picture, int zoom) {
    const int64_t w = int64_t(picture.width) * zoom / 100, h = int64_t(picture.height) * zoom / 100;
    return {int(std::clamp<int64_t>(w, 1, INT32_MAX)), int(std::clamp<int64_t>(h, 1, INT32_MAX))};
}

PictureLayout layoutPicture(Size picture, int zoom, Size area, Offset wished) {
    PictureLayout l;
    l.displayed = displayedSize(picture, zoom);
    auto axis = [](int displayed, int area, int wished, int &offset, int &position, int &length) {
        if (displayed <= area) {
            offset = 0;
            position = (area - displayed) / 2;
            length = displayed;
        } else {
            offset = std::clamp(wished, 0, displayed - std::max(area, 0));
            position = 0;
            length = std::max(area, 0);
        }
    };
    axis(l.displayed.width, area.width, wished.x, l.offset.x, l.window.x, l.window.width);
    axis(l.displayed.height, area.height, wished.y, l.offset.y, l.window.y, l.window.height);
    return l;
}

int keyScrollValue(int direction, int value, int minimum, int maximum, int sliderSize, int pageIncrement) {
    const int step = direction == 0 || direction == 3 ? pageIncrement : -pageIncrement;
    return std::clamp(value + step, minimum, std::max(minimum, maximum - sliderSize));
}

Size fittedShellSize(Size shell, Size area, Size displayed, Size screen, Size minimum) {
    auto axis = [](int shell, int area, int displayed, int screen, int minimum) {
        const int wanted = std::max(shell + displayed - area, std::max(minimum, 1));
        return std::min(wanted, std::max(1, screen));
    };
    return {axis(shell.width, area.width, displayed.width, screen.width, minimum.width),
            axis(shell.height, area.height, displayed.height, screen.height, minimum.height)};
}

PicturePoint pictureAt(const PictureLayout &l, Size picture, int areaX, int areaY) {
    const int64_t dx = int64_t(areaX) - l.window.x + l.offset.x;
    const int64_t dy = int64_t(areaY) - l.window.y + l.offset.y;
    PicturePoint p;
    p.inside = dx >= 0 && dy >= 0 && dx < l.displayed.width && dy < l.displayed.height &&
               areaX >= l.window.x && areaY >= l.window.y && areaX < l.window.x + l.window.width &&
               areaY < l.window.y + l.window.height;
    p.x = std::clamp(pictureCoordinate(std::clamp<int64_t>(dx, 0, l.displayed.width - 1), picture.width,
                                       l.displayed.width),
                     0, std::max(0, picture.width - 1));
    p.y = std::clamp(pictureCoordinate(std::clamp<int64_t>(dy, 0, l.displayed.height - 1), picture.height,
                                       l.displayed.height),
                     0, std::max(0, picture.height - 1));
    return p;
}

PictureRectangle dragRectangle(const PictureLayout &l, Size picture, int x0, int y0, int x1, int y1) {
    // Displayed coordinates of both corners, ordered, then clipped to the
    // displayed picture.
    int64_t left = int64_t(std::min(x0, x1)) - l.window.x + l.offset.x;
    int64_t right = int64_t(std::max(x0, x1)) - l.window.x + l.offset.x;
    int64_t top = int64_t(std::min(y0, y1)) - l.window.y + l.offset.y;
    int64_t bottom = int64_t(std::max(y0, y1)) - l.window.y + l.offset.y;
    if (right < 0 || bottom < 0 || left >= l.displayed.width || top >= l.displayed.height) return {};
    left = std::max<int64_t>(left, 0);
    top = std::max<int64_t>(top, 0);
    right = std::min<int64_t>(right, l.displayed.width - 1);
    bottom = std::min<int64_t>(bottom, l.displayed.height - 1);
    const int px0 = pictureCoordinate(left, picture.width, l.displayed.width);
    const int py0 = pictureCoordinate(top, picture.height, l.displayed.height);
    // The last displayed pixel covers every picture pixel up to the next one's.
    const int px1 = std::max(px0, pictureCoordinate(right + 1, picture.width, l.displayed.width) - 1);
    const int py1 = std::max(py0, pictureCoordinate(bottom + 1, picture.height, l.displayed.height) - 1);
    return {px0, py0, px1 - px0 + 1, py1 - py0 + 1};
}

WindowRect areaRectangle(const PictureLayout &l, Size picture, const PictureRectangle &r) {
    const int64_t left = displayedEdge(r.x, picture.width, l.displayed.width);
    const int64_t right = displayedEdge(int64_t(r.x) + r.width, picture.width, l.displayed.width);
    const int64_t top = displayedEdge(r.y, picture.height, l.displayed.height);
    const int64_t bottom = displayedEdge(int64_t(r.y) + r.height, picture.height, l.displayed.height);
    return {int(left - l.offset.x + l.window.x), int(top - l.offset.y + l.window.y), int(right - left),
            int(bottom - top)};
}

}  // namespace quivel
