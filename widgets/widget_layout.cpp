#include "widgets/widget_layout.h"

#include <algorithm>

namespace quivel {

int progressFillWidth(int innerWidth, int value, int maximum) {
    if (maximum < 1 || innerWidth < 1 || value < 1) return 0;
    if (value >= maximum) return innerWidth;
    return int(int64_t(innerWidth) * value / maximum);
}

std::vector<StatusPartBox> layoutStatusParts(int barWidth, const std::vector<StatusPartSpec> &parts, int padding,
                                             int gap) {
    std::vector<StatusPartBox> boxes(parts.size(), StatusPartBox{0, 0, 0});
    auto boxWidth = [&](size_t i) { return parts[i].textWidth > 0 ? parts[i].textWidth + 2 * padding : 0; };

    // End parts from the right edge, last part outermost.
    int right = barWidth;
    for (size_t i = parts.size(); i-- > 0;) {
        if (parts[i].alignment != kAlignEnd || boxWidth(i) == 0) continue;
        const int w = std::min(boxWidth(i), std::max(0, right));
        boxes[i] = {right - w, w, right - w + padding};
        right -= w + gap;
    }
    // The others from the left, up to what the end parts left free.
    int left = 0;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (parts[i].alignment == kAlignEnd || boxWidth(i) == 0) continue;
        const int room = std::max(0, right - left);
        const int w = std::min(boxWidth(i), room);
        int textX = left + padding;
        if (parts[i].alignment == kAlignCenter) textX = left + (w - parts[i].textWidth) / 2;
        boxes[i] = {left, w, textX};
        left += w + gap;
    }
    return boxes;
}

Point bubblePosition(int pointerX, int pointerY, int tipWidth, int tipHeight, int screenWidth, int screenHeight) {
    constexpr int kBelow = 20;   // clear of the pointer's shape
    int x = pointerX;
    int y = pointerY + kBelow;
    if (y + tipHeight > screenHeight) y = pointerY - 4 - tipHeight;
    x = std::min(x, screenWidth - tipWidth);
    return {std::max(0, x), std::max(0, y)};
}

void rememberComboItem(std::vector<std::string> &items, const std::string &text, size_t limit) {
    if (text.find_first_not_of(" \t") == std::string::npos) return;
    std::erase(items, text);
    items.insert(items.begin(), text);
    if (items.size() > limit) items.resize(limit);
}

}  // namespace quivel
