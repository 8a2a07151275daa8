// Rendering speed: each method in megapixels per second on a 24-megapixel
// picture shown at 100 % and at 37 % (in memory, no server), and a full-HD
// redraw through DrawPicture on a private Xvfb (started here, stopped at
// exit), with and without shared memory.
//
//   build/render_bench [--benchmark_filter=...]
#include <X11/Xlib.h>
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/app_globals.h"
#include "app/x_app.h"
#include "picture/renderer_x.h"
#include "zentar.h"

namespace quivel {
AppGlobals gApp;
XApp gX;
}  // namespace quivel

using namespace quivel;

namespace {

constexpr int kPictureWidth = 6000, kPictureHeight = 4000;

// One picture of each kind, filled with varied values, made once.
const Picture &bigPicture(int type) {
    static std::map<int, Picture> pictures;
    auto found = pictures.find(type);
    if (found != pictures.end()) return found->second;
    Picture p{};
    if (!zntAllock(&p, type, 8, kPictureWidth, kPictureHeight)) {
        std::fprintf(stderr, "render_bench: no memory for the picture\n");
        std::exit(1);
    }
    uint32_t state = 1;
    const size_t bytes = size_t(p.bytesPerLine) * size_t(p.height);
    for (size_t i = 0; i < bytes; ++i) {
        state = state * 1664525u + 1013904223u;
        p.data[i] = uint8_t(state >> 24);
    }
    if (p.palette != nullptr)
        for (int i = 0; i < 768; ++i) p.palette[i] = uint8_t(i * 7);
    return pictures.emplace(type, p).first->second;
}

struct Display {
    DisplayVisual visual;
    ColorContext colors;
    int bitsPerPixel;
};

Display computed(int depth, int bitsPerPixel, unsigned long red, unsigned long green, unsigned long blue) {
    Display d{};
    VisualDescription description;
    description.visualClass = kTrueColor;
    description.depth = depth;
    description.redMask = red;
    description.greenMask = green;
    description.blueMask = blue;
    fillDisplayVisual(description, d.visual);
    d.colors.whitePixel = computedWhitePixel(d.visual);
    d.bitsPerPixel = bitsPerPixel;
    return d;
}

Display mapped(int depth, int bitsPerPixel, bool ownPalette = false) {
    Display d{};
    VisualDescription description;
    description.visualClass = kPseudoColor;
    description.depth = depth;
    fillDisplayVisual(description, d.visual);
    for (int i = 0; i < 256; ++i) d.colors.pixelTable[i] = uint32_t(i);
    if (depth >= 8) d.colors.dither = GetDitherTables(8, 8, 4);
    d.colors.ownPalette = ownPalette;
    d.colors.whitePixel = 255;
    d.bitsPerPixel = bitsPerPixel;
    return d;
}

void ignorePut(void *, int32_t, int32_t, int32_t, int32_t) {}

// Renders the whole displayed picture tile by tile, as exposes of the whole
// picture would.
void renderMethod(benchmark::State &state, int type, bool showMask, Display display, RenderMethod expected) {
    const Picture &picture = bigPicture(type);
    const int percent = int(state.range(0));
    const int destWidth = kPictureWidth * percent / 100, destHeight = kPictureHeight * percent / 100;
    std::vector<uint8_t> tileData(size_t(kTileSize) * kTileSize * 4);
    TileBuffer tile;
    tile.data = tileData.data();
    tile.width = tile.height = kTileSize;
    tile.bitsPerPixel = display.bitsPerPixel;
    tile.depth = display.visual.depth;
    tile.byteOrder = hostByteOrder();
    tile.bytesPerLine = (kTileSize * display.bitsPerPixel + 31) / 32 * 4;
    tile.redMask = display.visual.redMask;
    tile.greenMask = display.visual.greenMask;
    tile.blueMask = display.visual.blueMask;
    Renderer r;
    setRendererTarget(r, &display.colors, &display.visual, tile);
    SetDisplayGamma(r, 1.0);
    PrepareRender(r, picture, destWidth, destHeight, showMask);
    if (r.method != expected) {
        state.SkipWithError("a different method was chosen");
        return;
    }
    for (auto _ : state) {
        r.lastTile = TileRect{-1, -1, -1, -1};
        walkExposedTiles(r, 0, 0, TileRect{0, 0, destWidth, destHeight}, ignorePut, nullptr);
        benchmark::DoNotOptimize(tileData.data());
        benchmark::ClobberMemory();
    }
    state.counters["Mpixel/s"] =
        benchmark::Counter(double(destWidth) * destHeight * double(state.iterations()) / 1e6, benchmark::Counter::kIsRate);
}

using M = RenderMethod;
const Display kRedLow = computed(24, 32, 0xFF, 0xFF00, 0xFF0000);
const Display kRedHigh = computed(24, 32, 0xFF0000, 0xFF00, 0xFF);
const Display kTrue16 = computed(16, 16, 0xF800, 0x7E0, 0x1F);

#define RENDER_BENCH(name, type, mask, display, method) \
    BENCHMARK_CAPTURE(renderMethod, name, type, mask, display, method)->Arg(100)->Arg(37)->Unit(benchmark::kMillisecond)

RENDER_BENCH(binary_on_32, ZNT_BINARY, false, kRedHigh, M::kBinary);
RENDER_BENCH(true_direct_rgb, ZNT_RGB, false, kRedLow, M::kTrueDirectRgb);
RENDER_BENCH(true_direct_bgr, ZNT_RGB, false, kRedHigh, M::kTrueDirectBgr);
RENDER_BENCH(true_direct_bgr_from_rgba, ZNT_RGBA, false, kRedHigh, M::kTrueDirectBgr);
RENDER_BENCH(true_computed_16, ZNT_RGB, false, kTrue16, M::kTrueComputed);
RENDER_BENCH(mask_computed_32, ZNT_RGBA, true, kRedHigh, M::kMaskComputed);
RENDER_BENCH(true_dither_8, ZNT_RGB, false, mapped(8, 8), M::kTrueDitherByte);
RENDER_BENCH(true_dither_16bpp, ZNT_RGB, false, mapped(12, 16), M::kTrueDither);
RENDER_BENCH(mask_dither_8, ZNT_RGBA, true, mapped(8, 8), M::kMaskDither);
RENDER_BENCH(true_bayer_cube_4, ZNT_RGB, false, mapped(4, 8), M::kTrueBayerCube);
RENDER_BENCH(true_bayer_grey_2, ZNT_RGB, false, mapped(2, 8), M::kTrueBayerGrey);
RENDER_BENCH(indexed_direct_rgb, ZNT_PALETTE, false, kRedLow, M::kIndexedDirectRgb);
RENDER_BENCH(indexed_direct_bgr, ZNT_PALETTE, false, kRedHigh, M::kIndexedDirectBgr);
RENDER_BENCH(indexed_computed_16, ZNT_PALETTE, false, kTrue16, M::kIndexedComputed);
RENDER_BENCH(indexed_own_8, ZNT_PALETTE, false, mapped(8, 8, true), M::kIndexedOwnByte);
RENDER_BENCH(indexed_dither_8, ZNT_PALETTE, false, mapped(8, 8), M::kIndexedDitherByte);
RENDER_BENCH(indexed_bayer_cube_4, ZNT_PALETTE, false, mapped(4, 8), M::kIndexedBayerCube);
RENDER_BENCH(indexed_bayer_grey_2, ZNT_PALETTE, false, mapped(2, 8), M::kIndexedBayerGrey);

// A private Xvfb per screen kind, kept for the whole run.
class Server {
public:
    Server(int depth, int visualClass) {
        int fds[2];
        if (pipe(fds) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            close(fds[0]);
            const std::string fd = std::to_string(fds[1]), screen = "1920x1080x" + std::to_string(depth);
            std::vector<std::string> args = {"/usr/bin/Xvfb", "-displayfd", fd, "-screen", "0", screen, "-nolisten", "tcp"};
            if (visualClass >= 0) args.insert(args.end(), {"-cc", std::to_string(visualClass)});
            std::vector<char *> argv;
            for (std::string &a : args) argv.push_back(a.data());
            argv.push_back(nullptr);
            freopen("/dev/null", "w", stderr);
            execv(argv[0], argv.data());
            _exit(127);
        }
        close(fds[1]);
        std::string number;
        char c;
        while (read(fds[0], &c, 1) == 1 && c != '\n') number += c;
        close(fds[0]);
        if (!number.empty()) display_ = XOpenDisplay((":" + number).c_str());
    }
    ~Server() {
        if (display_ != nullptr) XCloseDisplay(display_);
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
    }
    ::Display *display() const { return display_; }

private:
    pid_t pid_ = -1;
    ::Display *display_ = nullptr;
};

Server *serverFor(int depth, int visualClass) {
    static std::map<std::pair<int, int>, std::unique_ptr<Server>> servers;
    auto &slot = servers[{depth, visualClass}];
    if (!slot) slot = std::make_unique<Server>(depth, visualClass);
    return slot.get();
}

// Draws a full-HD picture into a full-HD window, every tile converted and put.
void fullHdRedraw(benchmark::State &state, int depth, int visualClass, long visualId, bool sharedMemory) {
    Server *server = serverFor(depth, visualClass);
    if (server->display() == nullptr) {
        state.SkipWithError("Xvfb did not start");
        return;
    }
    gX.display = server->display();
    gX.screen = DefaultScreen(gX.display);
    DisplayVisual visual;
    ChooseVisual(visualId, visual);
    ColorContext *colors = AcquireColorContext(nullptr, visual, 0);
    XSetWindowAttributes attributes{};
    attributes.colormap = colors->colormap;
    attributes.border_pixel = 0;
    const Window window = XCreateWindow(gX.display, RootWindow(gX.display, gX.screen), 0, 0, 1920, 1080, 0, visual.depth,
                                        InputOutput, static_cast<Visual *>(visual.visual), CWColormap | CWBorderPixel,
                                        &attributes);
    XMapWindow(gX.display, window);
    GC gc = XCreateGC(gX.display, window, 0, nullptr);
    XSync(gX.display, False);

    Picture picture{};
    zntAllock(&picture, ZNT_RGB, 8, 1920, 1080);
    for (size_t i = 0; i < size_t(picture.bytesPerLine) * 1080; ++i) picture.data[i] = uint8_t(i * 7 + (i >> 11));
    setSharedMemoryAllowed(sharedMemory);
    Renderer r;
    InitRenderer(r, colors, &visual);
    SetDisplayGamma(r, 1.0);
    PrepareRender(r, picture, 1920, 1080, false);
    if (sharedMemory && r.sharedMemory == nullptr) state.SkipWithError("no shared memory");
    for (auto _ : state) {
        r.lastTile = TileRect{-1, -1, -1, -1};
        DrawPicture(window, gc, r, 0, 0, TileRect{0, 0, 1920, 1080});
        XSync(gX.display, False);
    }
    state.SetLabel("depth " + std::to_string(visual.depth));
    FreeRenderer(r);
    zntFree(&picture);
    XFreeGC(gX.display, gc);
    XDestroyWindow(gX.display, window);
    ReleaseColorContext(colors);
    // Contexts are matched by visual id, and the next server reuses ids.
    FreeColorContexts();
    XSync(gX.display, False);
}

BENCHMARK_CAPTURE(fullHdRedraw, argb32_shm, 24, -1, -1, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fullHdRedraw, argb32_put, 24, -1, -1, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fullHdRedraw, rgb24_shm, 24, -1, 0, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fullHdRedraw, rgb16_shm, 16, -1, 0, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fullHdRedraw, pseudo8_shm, 8, 3, -1, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fullHdRedraw, pseudo8_put, 8, 3, -1, false)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
