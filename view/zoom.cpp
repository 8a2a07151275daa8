#include "view/zoom.h"

#include <algorithm>
#include <charconv>

namespace quivel {

namespace {

bool fits(int step, Size picture, Size area, bool byWidth = true, bool byHeight = true) {
    const long long w = (long long)picture.width * step / 100;
    const long long h = (long long)picture.height * step / 100;
    return (!byWidth || w <= area.width) && (!byHeight || h <= area.height);
}

int largestFittingStep(Size picture, Size area, bool byWidth, bool byHeight) {
    for (int step : kZoomSteps)
        if (fits(step, picture, area, byWidth, byHeight)) return step;
    return kZoomSteps.back();
}

// The walk of the step table: the first entry not larger than the zoom.
size_t walk(int zoom) {
    size_t i = 0;
    while (i < kZoomSteps.size() && zoom < kZoomSteps[i]) ++i;
    return i;
}

}  // namespace

int zoomForArgument(std::string_view argument, int currentZoom, Size picture, Size area) {
    int result = 0;
    if (argument == "+") {
        result = largestFittingStep(picture, area, true, true);
    } else if (argument == "-" || argument == "-1") {
        size_t i = walk(currentZoom);
        if (i < kZoomSteps.size() && kZoomSteps[i] == currentZoom && i + 1 < kZoomSteps.size()) ++i;
        result = i < kZoomSteps.size() ? kZoomSteps[i] : 0;
    } else if (argument == "+1") {
        size_t i = walk(currentZoom);
        if (i > 0) --i;
        result = kZoomSteps[i];
    } else {
        std::from_chars(argument.data(), argument.data() + argument.size(), result);
    }
    return result == 0 ? 100 : result;
}

Offset scrollAfterZoom(std::string_view argument, int oldZoom, int newZoom, Offset oldOffset, Offset anchor,
                       Size picture, Size area) {
    if (argument == "+" || argument == "-") {
        return {newZoom * anchor.x / 100 - (area.width - newZoom * picture.width / 100) / 2,
                newZoom * anchor.y / 100 - (area.height - newZoom * picture.height / 100) / 2};
    }
    if (oldZoom <= 0) oldZoom = 100;
    return {int((long long)(area.width / 2 + oldOffset.x) * 100 / oldZoom * newZoom / 100 - area.width / 2),
            int((long long)(area.height / 2 + oldOffset.y) * 100 / oldZoom * newZoom / 100 - area.height / 2)};
}

int fitZoom(int fitMode, Size picture, Size area) {
    if (picture.width < 1 || picture.height < 1) return 100;
    const long long byWidth = (long long)std::max(area.width, 1) * 100 / picture.width;
    const long long byHeight = (long long)std::max(area.height, 1) * 100 / picture.height;
    long long zoom = 100;
    switch (fitMode) {
    case 2: zoom = std::min(byWidth, byHeight); break;
    case 3: zoom = std::min({byWidth, byHeight, 100LL}); break;
    case 6: zoom = byWidth; break;
    case 7: zoom = byHeight; break;
    default: return 100;
    }
    return int(std::clamp<long long>(zoom, 1, kZoomSteps.front()));
}

}  // namespace quivel
