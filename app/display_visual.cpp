#include "app/display_visual.h"

#include <bit>
#include <cstdio>

namespace quivel {

ChannelLayout channelLayout(unsigned long mask) {
    ChannelLayout layout{0, 1};
    mask &= 0xffffffffUL;
    if (mask == 0) return {32, 1};
    while ((mask & 1) == 0) {
        mask >>= 1;
        ++layout.shift;
    }
    while (mask & 1) {
        mask >>= 1;
        layout.levels *= 2;
    }
    return layout;
}

void fillDisplayVisual(const VisualDescription &d, DisplayVisual &out) {
    out.visualId = d.visualId;
    out.depth = d.depth;
    out.colormapSize = d.colormapSize;
    out.visualClass = d.visualClass;
    out.redMask = d.redMask;
    out.greenMask = d.greenMask;
    out.blueMask = d.blueMask;
    out.redShift = out.greenShift = out.blueShift = 0;
    out.redLevels = out.greenLevels = out.blueLevels = 1;
    if (d.visualClass == kGrayScale || d.visualClass == kPseudoColor) return;
    const ChannelLayout red = channelLayout(d.redMask);
    const ChannelLayout green = channelLayout(d.greenMask);
    const ChannelLayout blue = channelLayout(d.blueMask);
    out.redShift = red.shift;
    out.redLevels = red.levels;
    out.greenShift = green.shift;
    out.greenLevels = green.levels;
    out.blueShift = blue.shift;
    out.blueLevels = blue.levels;
}

int chooseVisualIndex(const std::vector<VisualDescription> &visuals, uint32_t defaultVisualId,
                      long requestedId) {
    int defaultIndex = -1;
    for (size_t i = 0; i < visuals.size(); ++i) {
        if (visuals[i].visualId == defaultVisualId) {
            defaultIndex = int(i);
            break;
        }
    }
    if (defaultIndex < 0) return -1;

    static constexpr int kPreference[] = {kTrueColor, kDirectColor, kPseudoColor, kStaticColor, kStaticGray};
    int best = -1;
    for (int visualClass : kPreference) {
        for (size_t i = 0; i < visuals.size(); ++i) {
            if (visuals[i].visualClass != visualClass) continue;
            if (best < 0 || visuals[i].depth > visuals[size_t(best)].depth) best = int(i);
        }
        if (best >= 0) break;
    }
    if (best < 0 || visuals[size_t(defaultIndex)].depth == visuals[size_t(best)].depth) best = defaultIndex;

    if (requestedId == 0) return defaultIndex;
    if (requestedId > 0) {
        for (size_t i = 0; i < visuals.size(); ++i)
            if (visuals[i].visualId == uint32_t(requestedId)) return int(i);
    }
    return best;
}

int pictureVisualIndex(const std::vector<VisualDescription> &visuals, int chosen) {
    if (chosen < 0 || size_t(chosen) >= visuals.size()) return chosen;
    const VisualDescription &c = visuals[size_t(chosen)];
    const int colorBits = std::popcount(c.redMask | c.greenMask | c.blueMask);
    if (colorBits == 0 || c.depth <= colorBits) return chosen;
    int deepest = -1;
    for (size_t i = 0; i < visuals.size(); ++i) {
        const VisualDescription &v = visuals[i];
        if (v.visualClass != c.visualClass || v.depth != std::popcount(v.redMask | v.greenMask | v.blueMask)) continue;
        if (v.redMask == c.redMask && v.greenMask == c.greenMask && v.blueMask == c.blueMask) return int(i);
        if (deepest < 0 || v.depth > visuals[size_t(deepest)].depth) deepest = int(i);
    }
    return deepest >= 0 ? deepest : chosen;
}

const char *visualClassName(int visualClass) {
    switch (visualClass) {
    case kStaticGray: return "StaticGray";
    case kGrayScale: return "GrayScale";
    case kStaticColor: return "StaticColor";
    case kPseudoColor: return "PseudoColor";
    case kTrueColor: return "TrueColor";
    case kDirectColor: return "DirectColor";
    default: return nullptr;
    }
}

std::string visualChoiceMessage(const VisualDescription &chosen) {
    const char *name = visualClassName(chosen.visualClass);
    if (name == nullptr) return {};
    char line[96];
    std::snprintf(line, sizeof line, "Use %s visual (0x%x) with %d bits...\n", name, unsigned(chosen.visualId),
                  chosen.depth);
    return line;
}

std::string visualListText(const std::vector<VisualDescription> &visuals) {
    std::string text = "              Visual available : \n";
    for (const VisualDescription &v : visuals) {
        const char *name = visualClassName(v.visualClass);
        if (name == nullptr) continue;
        char line[96];
        std::snprintf(line, sizeof line, "                0x%x : %-15s / % 2d planes\n", unsigned(v.visualId), name,
                      v.depth);
        text += line;
    }
    return text;
}

}  // namespace quivel
