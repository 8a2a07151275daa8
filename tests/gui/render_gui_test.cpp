// Pictures drawn on real servers of 8, 16 and 24 bits: what reaches the
// screen, pixel by pixel, for every picture kind at several zooms.
#include <gtest/gtest.h>
// After gtest: Xlib's None macro would break its headers.
#include <X11/Xutil.h>

#include <cmath>
#include <cstdio>
#include <span>
#include <sstream>
#include <string>

#include "app/color_context.h"
#include "app/dither_tables.h"
#include "harness.h"
#include "imageops/dither_matrices.h"
#include "tests/tools/render_scene.h"

using namespace guitest;
using namespace renderscene;

namespace {

struct ProbeRun {
    std::string output;
    Screenshot shot;
    std::vector<uint32_t> raw;   // pixel values as the window holds them
    Visual *visual = nullptr;
    unsigned visualId = 0;
    int depth = 0, visualClass = -1;
    int cube[3] = {0, 0, 0};
    int sharedMemory = -1;
};

ProbeRun runProbe(const XServer &server, const std::vector<std::string> &args) {
    ProbeRun run;
    App app(server, args, {}, "render_probe");
    if (!app.waitForOutput("drawn 1\n")) {
        ADD_FAILURE() << "render_probe did not draw: " << app.errors();
        return run;
    }
    Display *display = server.display();
    const Window window = waitForWindow(display, "render_probe");
    // Two exposes at odd places make the probe draw tiles that start at no
    // multiple of the dither sizes.
    XSync(display, False);
    int drawn = 0;
    const std::string before = app.output();
    for (size_t at = 0; (at = before.find("drawn ", at)) != std::string::npos; ++at) ++drawn;
    XClearArea(display, window, 13, 5, 301, 290, True);
    XClearArea(display, window, 333, 3, 277, 200, True);
    XFlush(display);
    if (!app.waitForOutput("drawn " + std::to_string(drawn + 2) + "\n")) {
        ADD_FAILURE() << "render_probe did not draw the exposed areas again: " << app.output();
        return run;
    }
    run.shot = capture(display, window);
    XWindowAttributes attributes{};
    XGetWindowAttributes(display, window, &attributes);
    run.visual = attributes.visual;
    if (XImage *image = XGetImage(display, window, 0, 0, kWindowWidth, kWindowHeight, AllPlanes, ZPixmap)) {
        for (int y = 0; y < kWindowHeight; ++y)
            for (int x = 0; x < kWindowWidth; ++x) run.raw.push_back(uint32_t(XGetPixel(image, x, y)));
        XDestroyImage(image);
    }
    run.output = app.output();
    std::istringstream lines(run.output);
    for (std::string line; std::getline(lines, line);) {
        std::sscanf(line.c_str(), "visual 0x%x depth %d class %d", &run.visualId, &run.depth, &run.visualClass);
        std::sscanf(line.c_str(), "cube %dx%dx%d", &run.cube[0], &run.cube[1], &run.cube[2]);
        std::sscanf(line.c_str(), "shared memory %d", &run.sharedMemory);
    }
    return run;
}

// A channel value as a true-colour visual keeps it and the screenshot
// scales it back to 0..255.
int quantized(int c, unsigned long mask) {
    if (mask == 0) return 0;
    int bits = 0;
    for (unsigned long m = mask; m; m >>= 1) bits += int(m & 1);
    const int levels = 1 << bits;
    return ((c * levels) >> 8) * 255 / (levels - 1);
}

// The cube level a channel takes at a position under the ordered dither.
int ditheredLevel(const quivel::DitherEntry *table, int weight, int c, int x, int y) {
    const quivel::DitherEntry &e = table[c];
    return (quivel::kLevelDither8[y & 7][x & 7] < e.fraction ? e.upperIndex : e.lowerIndex) / weight;
}

int corrected(int c, double gamma) {
    if (gamma > 0.99 && gamma < 1.01) return c;
    return int(std::trunc(std::pow(c / 255.0, 1.0 / gamma) * 255.0 + 0.5));
}

// Compares every panel with what its picture must look like on the probe's
// visual; returns the first difference, or "" when all agree.
std::string checkPanels(const ProbeRun &run, std::span<const Panel> panels, bool ownPalette = false,
                        double gamma = 1.0) {
    if (run.shot.pixels.empty() || run.visual == nullptr) return "no screenshot";
    const bool mapped = run.visualClass == PseudoColor || run.visualClass == GrayScale;
    const int tolerance = mapped ? 3 : 0;
    const quivel::DitherTables *tables =
        mapped && !ownPalette ? quivel::GetDitherTables(run.cube[0], run.cube[1], run.cube[2]) : nullptr;
    for (const Panel &panel : panels) {
        const int width = panel.throughPixmap ? panel.sourceWidth : panel.destWidth;
        const int height = panel.throughPixmap ? panel.sourceHeight : panel.destHeight;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const renderscene::Rgb c = colorAt(panel.kind, x * panel.sourceWidth / width, y * panel.sourceHeight / height);
                int r = corrected(c.r, gamma), g = corrected(c.g, gamma), b = corrected(c.b, gamma);
                if (!mapped) {
                    r = quantized(r, run.visual->red_mask);
                    g = quantized(g, run.visual->green_mask);
                    b = quantized(b, run.visual->blue_mask);
                } else if (tables != nullptr) {
                    const int rl = ditheredLevel(tables->redTable, run.cube[1] * run.cube[2], r, x, y);
                    const int gl = ditheredLevel(tables->greenTable, run.cube[2], g, x, y);
                    const int bl = ditheredLevel(tables->blueTable, 1, b, x, y);
                    const quivel::CubeColor cube = quivel::cubeColor(rl, gl, bl, run.cube[0], run.cube[1], run.cube[2]);
                    r = cube.red >> 8, g = cube.green >> 8, b = cube.blue >> 8;
                }
                const uint32_t got = run.shot.at(panel.x + x, panel.y + y);
                const int gr = int(got >> 16), gg = int(got >> 8 & 255), gb = int(got & 255);
                if (std::abs(gr - r) > tolerance || std::abs(gg - g) > tolerance || std::abs(gb - b) > tolerance) {
                    char text[200];
                    std::snprintf(text, sizeof text,
                                  "panel at (%d, %d), pixel (%d, %d): screen %02x%02x%02x, expected %02x%02x%02x",
                                  panel.x, panel.y, x, y, gr, gg, gb, r, g, b);
                    return text;
                }
            }
    }
    return "";
}

}  // namespace

TEST(RenderOnScreen, Depth24ArgbVisualExactAndOpaqueWithOrWithoutSharedMemory) {
    XServer server(ServerOptions{24, -1, 700, 500});
    const ProbeRun shared = runProbe(server, {});
    EXPECT_EQ(shared.depth, 32) << "the deepest TrueColor visual is the ARGB one: " << shared.output;
    EXPECT_EQ(shared.sharedMemory, 1);
    EXPECT_EQ(checkPanels(shared, kPanels), "");
    int transparent = 0;
    for (const Panel &panel : kPanels)
        for (int y = 0; y < panel.destHeight; ++y)
            for (int x = 0; x < (panel.throughPixmap ? panel.sourceWidth : panel.destWidth); ++x)
                transparent += (shared.raw[size_t(panel.y + y) * kWindowWidth + size_t(panel.x + x)] >> 24) != 0xFF;
    EXPECT_EQ(transparent, 0) << "pixels whose alpha byte is not all ones";

    const ProbeRun copied = runProbe(server, {"-noshm"});
    EXPECT_EQ(copied.sharedMemory, 0);
    EXPECT_TRUE(copied.raw == shared.raw) << "the same pixels through XPutImage";
}

TEST(RenderOnScreen, Depth24DefaultVisual) {
    XServer server(ServerOptions{24, -1, 700, 500});
    const ProbeRun run = runProbe(server, {"-visualid", "0"});
    EXPECT_EQ(run.depth, 24);
    EXPECT_EQ(checkPanels(run, kPanels), "");
}

TEST(RenderOnScreen, Depth16) {
    XServer server(ServerOptions{16, -1, 700, 500});
    const ProbeRun packed = runProbe(server, {"-visualid", "0"});
    EXPECT_EQ(packed.depth, 16);
    EXPECT_EQ(checkPanels(packed, kPanels), "");
    const ProbeRun argb = runProbe(server, {});
    EXPECT_EQ(argb.depth, 32);
    EXPECT_EQ(checkPanels(argb, kPanels), "");
}

TEST(RenderOnScreen, Depth8PseudoColorDithersIntoTheCube) {
    XServer server(ServerOptions{8, PseudoColor, 700, 500});
    const ProbeRun run = runProbe(server, {});
    EXPECT_EQ(run.visualClass, PseudoColor);
    ASSERT_GT(run.cube[0], 1) << run.output;
    EXPECT_EQ(checkPanels(run, kPanels), "");
}

TEST(RenderOnScreen, Depth8OwnPaletteWithAndWithoutGamma) {
    XServer server(ServerOptions{8, PseudoColor, 700, 500});
    const ProbeRun plain = runProbe(server, {"-own"});
    EXPECT_EQ(checkPanels(plain, kOwnPalettePanels, true), "");
    const ProbeRun corrected = runProbe(server, {"-own", "-gamma", "2.0"});
    EXPECT_EQ(checkPanels(corrected, kOwnPalettePanels, true, 2.0), "");
}
