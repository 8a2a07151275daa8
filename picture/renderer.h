// Turning a Picture into pixels of the display's visual, one tile at a time.
//
// A view keeps one Renderer per window. Order of calls:
//   1. setRendererTarget (or, on the X side, InitRenderer, which makes the
//      256 x 256 tile image and then calls it);
//   2. SetDisplayGamma, once the display-gamma setting is known;
//   3. PrepareRender whenever the picture, the displayed size or the mask
//      state changes: it builds the zoom tables and chooses the method;
//   4. drawing (walkExposedTiles here, DrawPicture on the X side), as often as
//      exposes come;
//   5. freeing (FreeRenderer on the X side).
//
// Zooming is nearest neighbour through two index tables: columnOffsets gives,
// per displayed column, the byte offset of its source pixel in a row (its bit
// number for binary pictures), rowStarts per displayed row the start of its
// source row. The picture is never scaled in memory, and it must stay alive
// and unchanged until the next PrepareRender.
//
// One method is chosen per preparation from the picture kind (binary,
// indexed, true colour, mask view) and the display kind (computed pixel
// values, or a colour-mapped visual of depth 8 and up, 4 or 2). Methods never
// look at bounds per pixel: a tile must lie inside the displayed picture and
// inside the target buffer. Dither positions are those of the displayed
// picture, so the pattern stays fixed to the picture while it scrolls.
//
// True-colour pixels are read as red, green, blue in bytes 0, 1 and 2 and a
// mask in byte 3, whatever the channel order the picture type names.
//
// The renderer owns its tables; the picture, the visual, the colour context
// and the target buffer belong to the caller and must outlive the renderer's
// use of them.
#pragma once

#include <cstdint>
#include <vector>

#include "app/color_context.h"
#include "app/display_visual.h"
#include "picture/tile_buffer.h"
#include "zentar.h"

namespace quivel {

inline constexpr int32_t kTileSize = 256;

// A rectangle in displayed-picture coordinates (tiles) or drawable
// coordinates (exposed areas, lastTile).
struct TileRect {
    int32_t x = 0, y = 0, width = 0, height = 0;
    bool operator==(const TileRect &) const = default;
};

// Every pairing of picture kind and display kind that has a method.
// "Byte" methods store 8-bit pixels straight into the buffer, "Direct" ones
// 32-bit words in this machine's byte order; the others go through the
// buffer's put-pixel operation.
enum class RenderMethod : int32_t {
    kNone,
    kBinary,                // any display: white or black pixel
    kTrueDirectRgb,         // computed, 32 bits, red mask 0xFF, blue 0xFF0000
    kTrueDirectBgr,         // computed, 32 bits, red mask 0xFF0000, blue 0xFF
    kTrueComputed,          // computed, any other image
    kMaskComputed,          // computed, the mask byte as grey
    kTrueDitherByte,        // mapped 8 and up, 8 bits per pixel
    kTrueDither,            // mapped 8 and up, other pixel sizes
    kMaskDither,            // mapped 8 and up, the mask byte as grey
    kTrueBayerCube,         // mapped 4: 2 x 2 x 2 cube against Bayer 16
    kTrueBayerGrey,         // mapped 2: luminance against Bayer 16
    kIndexedDirectRgb,
    kIndexedDirectBgr,
    kIndexedComputed,
    kIndexedOwnByte,        // mapped 8 and up, the colormap holds the palette
    kIndexedOwn,
    kIndexedDitherByte,     // mapped 8 and up, shared colour cube
    kIndexedDither,
    kIndexedBayerCube,
    kIndexedBayerGrey,
};

// Printed on standard error when a preparation finds no method.
inline constexpr char kNoMethodMessage[] = "******** ERROR : ConvertBitmapToImage NULL \n";

struct Renderer;
using RenderTileFunction = void (*)(const ColorContext &colors, Renderer &renderer, const TileRect &tile);

struct Renderer {
    const DisplayVisual *visual = nullptr;
    const ColorContext *colors = nullptr;
    void *image = nullptr;             // the X side's XImage of the tile, if any
    TileBuffer tile;                   // where methods write: the tile image's buffer
    std::vector<uint32_t> columnOffsets;        // destWidth entries
    std::vector<const uint8_t *> rowStarts;     // destHeight entries
    uint8_t paletteRed[256] = {}, paletteGreen[256] = {}, paletteBlue[256] = {};
    int32_t destWidth = 0, destHeight = 0;
    TileRect lastTile{-1, -1, -1, -1};  // drawable rectangle of the tile held in `tile`
    int32_t lastOriginX = 0, lastOriginY = 0;
    RenderTileFunction renderTile = nullptr;
    uint8_t gammaTable[256] = {};
    bool gammaOn = false;

    // Derived at preparation (and again when the gamma changes), so that
    // the inner loops are look-ups: colours with gamma already applied.
    RenderMethod method = RenderMethod::kNone;
    uint32_t opaqueBits = 0;            // ored into every pixel of an ARGB visual
    int32_t wideReadColumns = 0;        // leading columns whose pixel can be read as 4 bytes within its row
    uint32_t channelPixel[3][256] = {}; // computed pixel part of each component value
    uint32_t indexPixel[256] = {};      // finished pixel per palette index or mask value
    // The ordered dither resolved per cell of the 8 x 8 matrix (cell =
    // (row & 7) * 8 + (column & 7)): for true colour the cube index part of
    // each channel value, [cell][channel][value]; for indexed pictures and
    // the mask the finished pixel, [cell][index].
    std::vector<uint8_t> ditherParts;
    std::vector<uint32_t> ditherPixels;
    uint8_t component[3][256] = {};     // component per value or index, for Bayer methods
    uint16_t weightedLuminance[3][256] = {};   // 77, 150 and 29 times each component value
    uint8_t luminance[256] = {};        // luminance per palette index
    // An indexed picture on a private palette colormap takes its gamma from
    // the colormap: the flag is set when the colormap must receive the
    // palette again (gamma on, or just switched off after the colormap got
    // corrected colours); the X side stores it at the next draw, clears the
    // flag and notes whether the stored colours are corrected.
    bool ownPaletteGammaPending = false;
    bool ownPaletteCorrected = false;

    void *sharedMemory = nullptr;       // the X side's shared-memory segment, if any
};

// The tables of a fresh renderer: stores the targets and clears everything
// else. InitRenderer calls it with the tile image's buffer.
void setRendererTarget(Renderer &renderer, const ColorContext *colors, const DisplayVisual *visual,
                       const TileBuffer &tile);

// Gammas within 0.01 of 1 switch correction off.
void SetDisplayGamma(Renderer &renderer, double gamma);

// Returns 0, or 1 when the zoom tables cannot be allocated (the renderer then
// draws nothing). A pairing without a method prints kNoMethodMessage.
OpStatus PrepareRender(Renderer &renderer, const Picture &picture, int32_t destWidth, int32_t destHeight,
                       bool showMask);

// The method for a pairing; kNone when there is none.
RenderMethod chooseRenderMethod(const Picture &picture, bool showMask, const DisplayVisual &visual,
                                const ColorContext &colors, const TileBuffer &tile);
RenderTileFunction renderFunctionFor(RenderMethod method);

// Draws the part of the displayed picture inside `exposed`, its top-left
// corner being at (originX, originY) of the drawable: renders each tile of at
// most 256 x 256 into the target buffer and hands it to put(context, x, y,
// width, height), which copies the buffer's top-left part of that size to the
// drawable at (x, y). An expose that repeats the last tile at the same origin
// is put again without rendering. Does nothing without a method.
using PutTileFunction = void (*)(void *context, int32_t x, int32_t y, int32_t width, int32_t height);
void walkExposedTiles(Renderer &renderer, int32_t originX, int32_t originY, const TileRect &exposed,
                      PutTileFunction put, void *context);

// Renders a whole picture at its own size into `target` (no gamma, no mask
// view), as thumbnails and the slide show need. Only the part that fits in
// the target is drawn. Returns 0, 1 when memory is short, or 17 when the
// pairing has no method.
OpStatus renderPictureToBuffer(const Picture &picture, TileBuffer &target, const ColorContext &colors,
                               const DisplayVisual &visual);

}  // namespace quivel
