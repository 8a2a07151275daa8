// Colormaps and the colours allocated in them, shared between the windows of
// one visual.
//
// Contexts live in one process-wide list, newest first. A shared context is
// reused by every window of the same visual and stays in the list, even at a
// reference count of 0, until FreeColorContexts at exit; a private one (an
// 8-bit colormap of a picture's own palette, asked for with -own) is freed
// when its last holder releases it.
//
// The record itself holds no X types: the colormap is an X resource id and
// the visual an opaque Xlib Visual pointer, so that the renderer's pixel
// computations can be tested without a display.
#pragma once

#include <cstdint>

#include "app/display_visual.h"
#include "app/dither_tables.h"

struct Picture;

namespace quivel {

enum DitherMode : int32_t {
    kDitherNone = 0,   // true-colour visual, black-and-white pair, or own palette
    kDither884 = 1,
    kDither666 = 2,
    kDither484 = 3,
    kDither444 = 4,
    kDither222 = 5,
};

struct ColorContext {
    int32_t ditherMode = kDitherNone;
    unsigned long colormap = 0;        // X Colormap id
    int16_t shared = 0;
    int16_t ownPalette = 0;
    void *visual = nullptr;            // Xlib Visual pointer
    int32_t refCount = 0;
    int32_t colorCount = 0;
    uint32_t pixelTable[256] = {};     // cube: entry ri*g*b + gi*b + bi; palette: entry i
    uint32_t blackPixel = 0;
    uint32_t whitePixel = 0;
    DitherTables *dither = nullptr;
    ColorContext *next = nullptr;
    // Copied from the visual when the context is made.
    uint32_t visualId = 0;
    int32_t visualClass = kPseudoColor;
    int32_t depth = 0;
};

// The white pixel of a computed visual: the or over the channels of
// ((levels * 255 / 256) << shift).
uint32_t computedWhitePixel(const DisplayVisual &visual);

// The colour of cube entry (ri, gi, bi) of an r x g x b cube, 16 bits per channel.
struct CubeColor {
    uint16_t red, green, blue;
};
CubeColor cubeColor(int ri, int gi, int bi, int r, int g, int b);

// Display side (color_context.cpp, needs the X connection of start-up).
ColorContext *AcquireColorContext(const Picture *picture, const DisplayVisual &visual, int own);
void ReleaseColorContext(ColorContext *context);
void ReloadOwnPalette(const Picture *picture, ColorContext *context, const DisplayVisual &visual);
void FreeColorContexts();

}  // namespace quivel
