// Colour contexts on the server: colormaps, colour cubes and private palettes.
#include <X11/Xlib.h>

#include <cstdio>
#include <new>

#include "app/app_globals.h"
#include "app/x_app.h"
#include "zentar.h"

namespace quivel {

namespace {

ColorContext *gContexts = nullptr;

bool isColorMapped(int visualClass) { return visualClass == kPseudoColor || visualClass == kGrayScale; }

int ditherModeFor(int r, int g, int b) {
    if (r == 2 && g == 2 && b == 2) return kDither222;
    if (r == 4 && g == 4 && b == 4) return kDither444;
    if (r == 4 && g == 8 && b == 4) return kDither484;
    if (r == 6 && g == 6 && b == 6) return kDither666;
    return kDither884;
}

// Allocates (or, on a private colormap, stores) an r x g x b cube. An
// allocation that fails part-way frees what it took and reports failure.
bool AllocColorCube(ColorContext &c, int r, int g, int b, bool allocate) {
    Display *display = gX.display;
    int index = 0;
    for (int ri = 0; ri < r; ++ri)
        for (int gi = 0; gi < g; ++gi)
            for (int bi = 0; bi < b; ++bi, ++index) {
                const CubeColor cube = cubeColor(ri, gi, bi, r, g, b);
                XColor color{};
                color.red = cube.red;
                color.green = cube.green;
                color.blue = cube.blue;
                color.flags = DoRed | DoGreen | DoBlue;
                if (allocate) {
                    if (!XAllocColor(display, c.colormap, &color)) {
                        unsigned long taken[256];
                        for (int i = 0; i < index; ++i) taken[i] = c.pixelTable[i];
                        if (index > 0) XFreeColors(display, c.colormap, taken, index, 0);
                        return false;
                    }
                } else {
                    color.pixel = unsigned(index);
                    XStoreColor(display, c.colormap, &color);
                }
                c.pixelTable[index] = uint32_t(color.pixel);
            }
    c.blackPixel = c.pixelTable[0];
    c.whitePixel = c.pixelTable[r * g * b - 1];
    c.colorCount = r * g * b;
    c.ditherMode = ditherModeFor(r, g, b);
    if (gApp.verbose) std::printf("Use %dx%dx%d colormap \n", r, g, b);
    c.dither = GetDitherTables(r, g, b);
    return true;
}

void allocBlackAndWhite(ColorContext &c) {
    XColor black{}, white{};
    black.flags = white.flags = DoRed | DoGreen | DoBlue;
    white.red = white.green = white.blue = 65535;
    if (!XAllocColor(gX.display, c.colormap, &black)) std::fprintf(stderr, "Failed to allocate\n");
    if (!XAllocColor(gX.display, c.colormap, &white)) std::fprintf(stderr, "Failed to allocate\n");
    c.pixelTable[0] = c.blackPixel = uint32_t(black.pixel);
    c.pixelTable[1] = c.whitePixel = uint32_t(white.pixel);
    c.colorCount = 2;
}

void StorePicturePalette(const Picture *picture, ColorContext &c) {
    const bool indexed = picture != nullptr && (picture->type == ZNT_BINARY || picture->type == ZNT_GREY ||
                                                picture->type == ZNT_PALETTE);
    if (indexed) {
        const int n = picture->type == ZNT_BINARY ? 2 : picture->numberOfColors;
        for (int i = 0; i < n && i < 256; ++i) {
            XColor color{};
            color.pixel = unsigned(i);
            color.flags = DoRed | DoGreen | DoBlue;
            if (picture->palette != nullptr) {
                color.red = uint16_t(picture->palette[i] * 257);
                color.green = uint16_t(picture->palette[256 + i] * 257);
                color.blue = uint16_t(picture->palette[512 + i] * 257);
            } else {
                // A ramp of a single entry would divide by zero; it is black.
                const uint16_t grey = n > 1 ? uint16_t(i * 65535 / (n - 1)) : 0;
                color.red = color.green = color.blue = grey;
            }
            XStoreColor(gX.display, c.colormap, &color);
            c.pixelTable[i] = uint32_t(i);
        }
        c.colorCount = n;
    } else {
        AllocColorCube(c, 8, 8, 4, false);
    }
    c.ditherMode = kDitherNone;
    c.ownPalette = 1;
}

void allocateMappedColors(const Picture *picture, ColorContext &c) {
    for (uint32_t &pixel : c.pixelTable) pixel = 0;
    if (c.depth <= 2) {
        allocBlackAndWhite(c);
    } else if (c.depth <= 4) {
        AllocColorCube(c, 2, 2, 2, true);
    } else if (!c.shared) {
        StorePicturePalette(picture, c);
    } else if (!AllocColorCube(c, 8, 8, 4, true) && !AllocColorCube(c, 6, 6, 6, true) &&
               !AllocColorCube(c, 4, 8, 4, true) && !AllocColorCube(c, 4, 4, 4, true)) {
        AllocColorCube(c, 2, 2, 2, true);
    }
}

void allocateDirectColorRamp(const DisplayVisual &v, ColorContext &c) {
    const int n = v.colormapSize;
    if (n < 2) return;
    for (int i = 0; i < n; ++i) {
        const unsigned value = unsigned(i) * 65535u / unsigned(n - 1);
        XColor color{};
        color.red = uint16_t(value & unsigned((v.redLevels - 1) * (65536 / v.redLevels)));
        color.green = uint16_t(value & unsigned((v.greenLevels - 1) * (65536 / v.greenLevels)));
        color.blue = uint16_t(value & unsigned((v.blueLevels - 1) * (65536 / v.blueLevels)));
        color.flags = DoRed | DoGreen | DoBlue;
        XAllocColor(gX.display, c.colormap, &color);
    }
}

}  // namespace

ColorContext *AcquireColorContext(const Picture *picture, const DisplayVisual &v, int own) {
    Display *display = gX.display;
    const bool isPrivate = own && isColorMapped(v.visualClass);
    if (!isPrivate) {
        for (ColorContext *c = gContexts; c != nullptr; c = c->next)
            if (c->shared && c->visualId == v.visualId) {
                ++c->refCount;
                return c;
            }
    }

    ColorContext *c = new (std::nothrow) ColorContext{};
    if (c == nullptr) return nullptr;
    c->next = gContexts;
    gContexts = c;
    c->visual = v.visual;
    c->visualId = v.visualId;
    c->visualClass = v.visualClass;
    c->depth = v.depth;
    c->blackPixel = uint32_t(BlackPixel(display, gX.screen));
    c->whitePixel = uint32_t(WhitePixel(display, gX.screen));
    if (!isColorMapped(v.visualClass)) {
        c->blackPixel = 0;
        c->whitePixel = computedWhitePixel(v);
    }

    Visual *visual = static_cast<Visual *>(v.visual);
    const Window root = RootWindow(display, gX.screen);
    if (!own && visual == DefaultVisual(display, gX.screen)) {
        c->colormap = DefaultColormap(display, gX.screen);
        c->shared = 1;
    } else if (isColorMapped(v.visualClass) && v.depth >= 8 && own) {
        c->colormap = XCreateColormap(display, root, visual, AllocAll);
        c->shared = 0;
    } else {
        c->colormap = XCreateColormap(display, root, visual, AllocNone);
        c->shared = 1;
    }

    if (isColorMapped(v.visualClass))
        allocateMappedColors(picture, *c);
    else if (v.visualClass == kDirectColor)
        allocateDirectColorRamp(v, *c);
    c->refCount = 1;
    return c;
}

void ReleaseColorContext(ColorContext *context) {
    for (ColorContext **link = &gContexts; *link != nullptr; link = &(*link)->next) {
        if (*link != context) continue;
        if (--context->refCount == 0 && !context->shared) {
            if (context->colormap != DefaultColormap(gX.display, gX.screen))
                XFreeColormap(gX.display, context->colormap);
            *link = context->next;
            delete context;
        }
        return;
    }
}

void ReloadOwnPalette(const Picture *picture, ColorContext *context, const DisplayVisual &) {
    if (context != nullptr && context->ownPalette) StorePicturePalette(picture, *context);
}

void FreeColorContexts() {
    while (gContexts != nullptr) {
        ColorContext *c = gContexts;
        gContexts = c->next;
        if (c->colormap == DefaultColormap(gX.display, gX.screen)) {
            if (isColorMapped(c->visualClass) && c->colorCount > 0) {
                unsigned long pixels[256];
                for (int i = 0; i < c->colorCount && i < 256; ++i) pixels[i] = c->pixelTable[i];
                XFreeColors(gX.display, c->colormap, pixels, c->colorCount > 256 ? 256 : c->colorCount, 0);
            }
        } else {
            XFreeColormap(gX.display, c->colormap);
        }
        delete c;
    }
    freeDitherTables();
}

}  // namespace quivel
