// The X side of the renderer: the tile image, putting tiles on drawables,
// and whole pictures rendered into images and pixmaps.
//
// All of it uses the display and screen of start-up (gX). The tile image is
// 256 x 256, ZPixmap, of the visual's depth. When the server offers the
// shared-memory extension and the connection is local, the image lives in a
// shared segment and tiles are put with XShmPutImage (waiting until the
// server has read each one before the buffer is reused); otherwise its
// buffer comes from the toolkit allocator and tiles go with XPutImage. The
// pixels drawn are the same either way.
#pragma once

#include <X11/Xlib.h>

#include "picture/renderer.h"

namespace quivel {

// Makes the tile image for the visual and clears the tables. Returns 0, or 1
// when the image cannot be made (the renderer then draws nothing).
OpStatus InitRenderer(Renderer &renderer, const ColorContext *colors, const DisplayVisual *visual);

// Draws the part of the displayed picture inside `exposed` (drawable
// coordinates), the picture's top-left corner being at (originX, originY).
// On a private colormap holding an indexed picture's own palette, the first
// draw after a preparation with gamma on stores the palette with the gamma
// applied, so that own-palette pictures are corrected like all others.
void DrawPicture(Drawable drawable, GC gc, Renderer &renderer, int originX, int originY, const TileRect &exposed);

// Renders a whole picture at its own size into the caller's image (no gamma,
// no mask view). Returns 0, 1 when memory is short, 17 when the pairing has
// no method.
OpStatus RenderPictureToImage(const Picture &picture, XImage *image, const ColorContext &colors,
                              const DisplayVisual &visual);

// A pixmap of the picture's size and the visual's depth on the root window,
// showing the picture; 0 when it cannot be made. The caller frees it.
Pixmap CreatePicturePixmap(const Picture &picture, GC gc, const ColorContext &colors, const DisplayVisual &visual);

// Frees both index tables and the tile image.
void FreeRenderer(Renderer &renderer);

// Whether InitRenderer may use shared memory (on by default); for comparing
// the two ways of putting tiles.
void setSharedMemoryAllowed(bool allowed);

// The description of an image's buffer that the rendering methods write.
TileBuffer tileBufferOf(const XImage &image);

}  // namespace quivel
