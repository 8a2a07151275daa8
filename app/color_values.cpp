// The display-free arithmetic of colour contexts.
#include "app/color_context.h"

namespace quivel {

uint32_t computedWhitePixel(const DisplayVisual &v) {
    auto channel = [](int32_t levels, int32_t shift) -> uint32_t {
        if (shift >= 32) return 0;
        return uint32_t(levels * 255 / 256) << shift;
    };
    return channel(v.redLevels, v.redShift) | channel(v.greenLevels, v.greenShift) |
           channel(v.blueLevels, v.blueShift);
}

CubeColor cubeColor(int ri, int gi, int bi, int r, int g, int b) {
    return {uint16_t(ri * 65535 / (r - 1)), uint16_t(gi * 65535 / (g - 1)), uint16_t(bi * 65535 / (b - 1))};
}

}  // namespace quivel
