// render_probe: draws the test scene through the renderer on the display in
// DISPLAY, set up as start-up sets it up (visual choice, colour context), and
// then waits to be looked at. For the GUI tests.
//
//   render_probe [-visualid <hex id>] [-own] [-gamma <g>] [-noshm]
//
// Prints on standard output the visual used ("visual 0x21 depth 24 class 4"),
// the colour cube if there is one ("cube 8x8x4"), whether tiles go through
// shared memory ("shared memory 1"), and "drawn <n>" each time the n-th run
// of exposures has been drawn and has reached the server.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "app/app_globals.h"
#include "app/x_app.h"
#include "picture/renderer_x.h"
#include "tests/tools/render_scene.h"
#include "zentar.h"

namespace quivel {
AppGlobals gApp;
XApp gX;
}  // namespace quivel

using namespace quivel;
using namespace renderscene;

namespace {

Picture makePicture(Kind kind, int width, int height) {
    Picture p{};
    const int type = kind == Kind::kBinary    ? ZNT_BINARY
                     : kind == Kind::kGrey16  ? ZNT_GREY
                     : kind == Kind::kPalette ? ZNT_PALETTE
                     : kind == Kind::kRgba    ? ZNT_RGBA
                                              : ZNT_RGB;
    if (!zntAllock(&p, type, 8, width, height)) {
        std::fprintf(stderr, "render_probe: no memory\n");
        std::exit(1);
    }
    for (int y = 0; y < height; ++y) {
        uint8_t *row = p.data + size_t(y) * p.bytesPerLine;
        for (int x = 0; x < width; ++x) {
            const Rgb c = colorAt(kind, x, y);
            if (type == ZNT_BINARY) {
                if (indexAt(kind, x, y)) row[x / 8] |= uint8_t(0x80 >> (x % 8));
            } else if (type == ZNT_GREY || type == ZNT_PALETTE) {
                row[x] = uint8_t(indexAt(kind, x, y));
            } else {
                uint8_t *s = row + size_t(x) * p.bytesPerPixel;
                s[0] = uint8_t(c.r), s[1] = uint8_t(c.g), s[2] = uint8_t(c.b);
                if (type == ZNT_RGBA) s[3] = maskAt(x, y);
            }
        }
    }
    if (type == ZNT_GREY) p.numberOfColors = 16;
    if (type == ZNT_PALETTE) {
        p.numberOfColors = kPaletteColors;
        for (int i = 0; i < kPaletteColors; ++i) {
            const Rgb c = paletteEntry(i);
            p.palette[i] = uint8_t(c.r), p.palette[256 + i] = uint8_t(c.g), p.palette[512 + i] = uint8_t(c.b);
        }
    }
    return p;
}

}  // namespace

int main(int argc, char **argv) {
    long visualId = -1;
    bool own = false;
    double gamma = 1.0;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "-visualid") && i + 1 < argc)
            visualId = std::strtol(argv[++i], nullptr, 16);
        else if (!std::strcmp(argv[i], "-own"))
            own = true;
        else if (!std::strcmp(argv[i], "-gamma") && i + 1 < argc)
            gamma = std::atof(argv[++i]);
        else if (!std::strcmp(argv[i], "-noshm"))
            setSharedMemoryAllowed(false);
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);

    gX.display = XOpenDisplay(nullptr);
    if (gX.display == nullptr) {
        std::fprintf(stderr, "render_probe: no display\n");
        return 1;
    }
    Display *display = gX.display;
    gX.screen = DefaultScreen(display);
    ChooseVisual(visualId, gX.visual);
    const std::span<const Panel> panels = own ? std::span<const Panel>(kOwnPalettePanels) : std::span<const Panel>(kPanels);

    std::vector<Picture> pictures;
    for (const Panel &panel : panels) pictures.push_back(makePicture(panel.kind, panel.sourceWidth, panel.sourceHeight));
    // A private colormap holds the shown picture's palette, as a view loads it.
    gX.colors = AcquireColorContext(own ? &pictures[0] : nullptr, gX.visual, own);
    ReloadOwnPalette(&pictures[0], gX.colors, gX.visual);
    const ColorContext &colors = *gX.colors;
    std::printf("visual 0x%x depth %d class %d\n", unsigned(gX.visual.visualId), gX.visual.depth,
                gX.visual.visualClass);
    if (colors.dither != nullptr)
        std::printf("cube %dx%dx%d\n", colors.dither->redLevels, colors.dither->greenLevels,
                    colors.dither->blueLevels);

    Visual *visual = static_cast<Visual *>(gX.visual.visual);
    XSetWindowAttributes attributes{};
    attributes.colormap = colors.colormap;
    attributes.border_pixel = 0;
    attributes.background_pixel = colors.blackPixel;
    const Window window = XCreateWindow(display, RootWindow(display, gX.screen), 0, 0, kWindowWidth, kWindowHeight, 0,
                                        gX.visual.depth, InputOutput, visual,
                                        CWColormap | CWBorderPixel | CWBackPixel, &attributes);
    XStoreName(display, window, "render_probe");
    XSelectInput(display, window, ExposureMask);
    GC gc = XCreateGC(display, window, 0, nullptr);

    std::vector<Renderer> renderers(panels.size());
    std::vector<Pixmap> pixmaps(panels.size(), 0);
    for (size_t i = 0; i < panels.size(); ++i) {
        if (panels[i].throughPixmap) {
            pixmaps[i] = CreatePicturePixmap(pictures[i], gc, colors, gX.visual);
            continue;
        }
        InitRenderer(renderers[i], &colors, &gX.visual);
        SetDisplayGamma(renderers[i], gamma);
        PrepareRender(renderers[i], pictures[i], panels[i].destWidth, panels[i].destHeight, false);
    }
    std::printf("shared memory %d\n", renderers[0].sharedMemory != nullptr ? 1 : 0);

    XMapWindow(display, window);
    int drawn = 0;
    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type != Expose) continue;
        const TileRect exposed{event.xexpose.x, event.xexpose.y, event.xexpose.width, event.xexpose.height};
        for (size_t i = 0; i < panels.size(); ++i) {
            if (pixmaps[i] != 0)
                XCopyArea(display, pixmaps[i], window, gc, 0, 0, unsigned(panels[i].sourceWidth),
                          unsigned(panels[i].sourceHeight), panels[i].x, panels[i].y);
            else
                DrawPicture(window, gc, renderers[i], panels[i].x, panels[i].y, exposed);
        }
        if (event.xexpose.count == 0) {
            XSync(display, False);
            std::printf("drawn %d\n", ++drawn);
        }
    }
}
