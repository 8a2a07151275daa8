// The X visual that image windows use, and the rule that chooses it.
//
// Everything here is plain data and display-free logic: the X side
// (display.cpp) turns the server's visual list into VisualDescription
// records, calls chooseVisualIndex and fills a DisplayVisual from the result.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quivel {

// X visual classes, with the values Xlib gives them.
enum VisualClass : int {
    kStaticGray = 0,
    kGrayScale = 1,
    kStaticColor = 2,
    kPseudoColor = 3,
    kTrueColor = 4,
    kDirectColor = 5,
};

struct VisualDescription {
    uint32_t visualId = 0;
    int visualClass = kPseudoColor;
    int depth = 0;
    int colormapSize = 0;
    unsigned long redMask = 0, greenMask = 0, blueMask = 0;
};

// The chosen visual. `visual` is the Xlib Visual pointer, kept opaque here.
// Shifts and levels are filled for StaticGray, StaticColor, TrueColor and
// DirectColor; colour-mapped classes keep shift 0 and levels 1.
struct DisplayVisual {
    void *visual = nullptr;
    uint32_t visualId = 0;
    int32_t depth = 0;
    int32_t colormapSize = 0;
    int32_t redShift = 0, redLevels = 1;
    int32_t greenShift = 0, greenLevels = 1;
    int32_t blueShift = 0, blueLevels = 1;
    int32_t visualClass = kPseudoColor;
    unsigned long redMask = 0, greenMask = 0, blueMask = 0;
};

struct ChannelLayout {
    int32_t shift;   // zero bits below the mask; 32 for an empty mask
    int32_t levels;  // 2 to the number of contiguous one bits; 1 for an empty mask
};

ChannelLayout channelLayout(unsigned long mask);

// Fills id, depth, colormap size, class, masks, shifts and levels from a
// description (the Visual pointer is left to the caller).
void fillDisplayVisual(const VisualDescription &description, DisplayVisual &out);

// Chooses among `visuals` (the default screen's, in server order): the deepest
// TrueColor, else DirectColor, PseudoColor, StaticColor, StaticGray (first met
// among equals; GrayScale never); the default visual instead when its depth is
// the same; then `requestedId`: 0 takes the default, a positive id present on
// the screen takes that visual, anything else keeps the automatic choice.
// When the search finds nothing (a GrayScale-only screen) the default visual
// is used. Returns an index into `visuals`, or -1 when the default is absent.
int chooseVisualIndex(const std::vector<VisualDescription> &visuals, uint32_t defaultVisualId,
                      long requestedId);

// The visual a picture window is made with, for the chosen visual `chosen`
// (an index into `visuals`). A visual whose depth holds more bits than its
// colour masks (the 32-bit visual with an alpha byte that a compositing
// server offers) gets its windows composited by the server into their
// parents, and such a window beneath another view's window is drawn over the
// one above it. An opaque visual of the same class (depth no more than its
// mask bits) avoids that: the one with the same masks, which shows the same
// pixels, else the deepest, whose depth is then the screen's own (the server
// would bring the composited pixels down to it anyway). `chosen` when it has
// no spare bits or the screen has no such visual.
int pictureVisualIndex(const std::vector<VisualDescription> &visuals, int chosen);

// "StaticGray", "GrayScale", ... or nullptr for an unknown class.
const char *visualClassName(int visualClass);

// The verbose report of a choice: "Use TrueColor visual (0x21) with 24 bits...\n".
std::string visualChoiceMessage(const VisualDescription &chosen);

// The text ListVisuals prints: a heading and one line per visual of a known class.
std::string visualListText(const std::vector<VisualDescription> &visuals);

}  // namespace quivel
