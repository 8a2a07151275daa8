// Visual choice over the server's visual list.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "app/app_globals.h"
#include "app/x_app.h"

namespace quivel {

namespace {

VisualDescription describe(const XVisualInfo &info) {
    VisualDescription d;
    d.visualId = uint32_t(info.visualid);
    d.visualClass = info.c_class;
    d.depth = info.depth;
    d.colormapSize = info.colormap_size;
    d.redMask = info.red_mask;
    d.greenMask = info.green_mask;
    d.blueMask = info.blue_mask;
    return d;
}

[[noreturn]] void noVisualInfo(Display *display) {
    std::fprintf(stderr, "Error obtaining X visual info for %s\n", XDisplayName(display ? DisplayString(display) : nullptr));
    std::exit(0);
}

}  // namespace

void ChooseVisual(long visualId, DisplayVisual &out) {
    Display *display = gX.display;
    XVisualInfo wanted{};
    int count = 0;
    wanted.visualid = XVisualIDFromVisual(DefaultVisual(display, gX.screen));
    XVisualInfo *defaultInfo = XGetVisualInfo(display, VisualIDMask, &wanted, &count);
    if (defaultInfo == nullptr || count == 0) noVisualInfo(display);
    wanted.screen = gX.screen;
    XVisualInfo *all = XGetVisualInfo(display, VisualScreenMask, &wanted, &count);
    if (all == nullptr || count == 0) noVisualInfo(display);

    std::vector<VisualDescription> visuals;
    for (int i = 0; i < count; ++i) visuals.push_back(describe(all[i]));
    int chosen = chooseVisualIndex(visuals, uint32_t(defaultInfo->visualid), visualId);
    if (chosen < 0) noVisualInfo(display);

    if (gApp.verbose) std::fputs(visualChoiceMessage(visuals[size_t(chosen)]).c_str(), stderr);
    out = DisplayVisual{};
    fillDisplayVisual(visuals[size_t(chosen)], out);
    out.visual = all[chosen].visual;
    XFree(defaultInfo);
    XFree(all);
}

void ChoosePictureVisual(const DisplayVisual &chosen, DisplayVisual &out) {
    out = chosen;
    XVisualInfo wanted{};
    wanted.screen = gX.screen;
    int count = 0;
    XVisualInfo *all = XGetVisualInfo(gX.display, VisualScreenMask, &wanted, &count);
    if (all == nullptr) return;
    std::vector<VisualDescription> visuals;
    int index = -1;
    for (int i = 0; i < count; ++i) {
        visuals.push_back(describe(all[i]));
        if (all[i].visualid == chosen.visualId) index = i;
    }
    const int picked = pictureVisualIndex(visuals, index);
    if (picked >= 0 && picked != index) {
        out = DisplayVisual{};
        fillDisplayVisual(visuals[size_t(picked)], out);
        out.visual = all[picked].visual;
    }
    XFree(all);
}

void ListVisuals() {
    Display *display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        std::fprintf(stderr, "Can't open X Server : %s\n", XDisplayName(nullptr));
        std::exit(1);
    }
    XVisualInfo wanted{};
    wanted.screen = DefaultScreen(display);
    int count = 0;
    XVisualInfo *all = XGetVisualInfo(display, VisualScreenMask, &wanted, &count);
    XCloseDisplay(display);
    if (all == nullptr || count == 0) {
        std::fprintf(stderr, "Error obtaining X visual info for %s\n", XDisplayName(nullptr));
        std::exit(0);
    }
    std::vector<VisualDescription> visuals;
    for (int i = 0; i < count; ++i) visuals.push_back(describe(all[i]));
    XFree(all);
    std::fputs(visualListText(visuals).c_str(), stdout);
}

}  // namespace quivel
