#include "picture/renderer_x.h"

#include <X11/Intrinsic.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/socket.h>

#include <cstdlib>
#include <memory>

#include "app/x_app.h"

namespace quivel {

namespace {

bool gSharedMemoryAllowed = true;

struct SharedTile {
    XShmSegmentInfo info{};
};

// Shared memory only works when client and server share the machine; a
// Unix-domain connection is the sure sign of that.
bool connectionIsLocal(Display *display) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (getsockname(ConnectionNumber(display), reinterpret_cast<sockaddr *>(&address), &length) != 0) return false;
    return address.ss_family == AF_UNIX;
}

bool gAttachFailed = false;

int noteAttachError(Display *, XErrorEvent *) {
    gAttachFailed = true;
    return 0;
}

void destroySharedImage(Display *display, XImage *image, SharedTile *shared, bool attached) {
    if (attached) XShmDetach(display, &shared->info);
    if (shared->info.shmaddr != nullptr && shared->info.shmaddr != reinterpret_cast<char *>(-1))
        shmdt(shared->info.shmaddr);
    // The image points at the segment and at our segment record; neither is
    // Xlib's to free.
    image->data = nullptr;
    image->obdata = nullptr;
    XDestroyImage(image);
    delete shared;
}

// A tile image in a shared segment the server has attached, or nullptr.
XImage *createSharedImage(Display *display, Visual *visual, int depth, SharedTile *&sharedOut) {
    if (!gSharedMemoryAllowed || !XShmQueryExtension(display) || !connectionIsLocal(display)) return nullptr;
    auto shared = std::make_unique<SharedTile>();
    XImage *image = XShmCreateImage(display, visual, unsigned(depth), ZPixmap, nullptr, &shared->info, kTileSize,
                                    kTileSize);
    if (image == nullptr) return nullptr;
    shared->info.shmid = shmget(IPC_PRIVATE, size_t(image->bytes_per_line) * size_t(image->height), IPC_CREAT | 0600);
    if (shared->info.shmid < 0) {
        destroySharedImage(display, image, shared.release(), false);
        return nullptr;
    }
    shared->info.shmaddr = image->data = static_cast<char *>(shmat(shared->info.shmid, nullptr, 0));
    shared->info.readOnly = True;
    if (shared->info.shmaddr == reinterpret_cast<char *>(-1)) {
        shmctl(shared->info.shmid, IPC_RMID, nullptr);
        destroySharedImage(display, image, shared.release(), false);
        return nullptr;
    }
    // An attach the server refuses comes back as an asynchronous error:
    // catch it here instead of letting the toolkit's handler end the program.
    XSync(display, False);
    gAttachFailed = false;
    XErrorHandler previous = XSetErrorHandler(noteAttachError);
    const Status attached = XShmAttach(display, &shared->info);
    XSync(display, False);
    XSetErrorHandler(previous);
    // Marked for removal now, so that the segment goes away with the last
    // process using it, however this one ends.
    shmctl(shared->info.shmid, IPC_RMID, nullptr);
    if (!attached || gAttachFailed) {
        destroySharedImage(display, image, shared.release(), false);
        return nullptr;
    }
    sharedOut = shared.release();
    return image;
}

struct PutContext {
    Display *display;
    Drawable drawable;
    GC gc;
    XImage *image;
    bool shared;
};

void putTile(void *context, int32_t x, int32_t y, int32_t width, int32_t height) {
    const PutContext &c = *static_cast<PutContext *>(context);
    if (c.shared) {
        XShmPutImage(c.display, c.drawable, c.gc, c.image, 0, 0, x, y, unsigned(width), unsigned(height), False);
        // The next tile overwrites the segment: the server must have read it.
        XSync(c.display, False);
    } else {
        XPutImage(c.display, c.drawable, c.gc, c.image, 0, 0, x, y, unsigned(width), unsigned(height));
    }
}

// The private colormap holds the picture's palette as loaded; with gamma on,
// its cells get the corrected colours instead (and the plain ones again when
// gamma goes off).
void storeGammaPalette(Renderer &r) {
    const ColorContext &colors = *r.colors;
    const int count = colors.colorCount < 256 ? colors.colorCount : 256;
    auto corrected = [&r](uint8_t c) { return uint16_t((r.gammaOn ? r.gammaTable[c] : c) * 257); };
    XColor cells[256];
    for (int i = 0; i < count; ++i) {
        cells[i].pixel = colors.pixelTable[i];
        cells[i].red = corrected(r.paletteRed[i]);
        cells[i].green = corrected(r.paletteGreen[i]);
        cells[i].blue = corrected(r.paletteBlue[i]);
        cells[i].flags = DoRed | DoGreen | DoBlue;
    }
    if (count > 0) XStoreColors(gX.display, colors.colormap, cells, count);
    r.ownPaletteGammaPending = false;
    r.ownPaletteCorrected = r.gammaOn;
}

}  // namespace

void setSharedMemoryAllowed(bool allowed) { gSharedMemoryAllowed = allowed; }

TileBuffer tileBufferOf(const XImage &image) {
    TileBuffer t;
    t.data = reinterpret_cast<uint8_t *>(image.data);
    t.width = image.width;
    t.height = image.height;
    t.bytesPerLine = image.bytes_per_line;
    t.bitsPerPixel = image.bits_per_pixel;
    t.depth = image.depth;
    t.byteOrder = image.byte_order == MSBFirst ? kMsbFirst : kLsbFirst;
    t.bitOrder = image.bitmap_bit_order == MSBFirst ? kMsbFirst : kLsbFirst;
    t.bitmapUnit = image.bitmap_unit;
    t.redMask = image.red_mask;
    t.greenMask = image.green_mask;
    t.blueMask = image.blue_mask;
    return t;
}

OpStatus InitRenderer(Renderer &r, const ColorContext *colors, const DisplayVisual *visual) {
    FreeRenderer(r);
    Display *display = gX.display;
    Visual *xVisual = static_cast<Visual *>(visual->visual);
    SharedTile *shared = nullptr;
    XImage *image = createSharedImage(display, xVisual, visual->depth, shared);
    if (image == nullptr) {
        image = XCreateImage(display, xVisual, unsigned(visual->depth), ZPixmap, 0, nullptr, kTileSize, kTileSize,
                             BitmapPad(display), 0);
        if (image == nullptr) {
            setRendererTarget(r, colors, visual, TileBuffer{});
            return ZNT_NO_MEMORY;
        }
        image->data = XtMalloc(Cardinal(image->bytes_per_line * kTileSize));
    }
    r.image = image;
    r.sharedMemory = shared;
    setRendererTarget(r, colors, visual, tileBufferOf(*image));
    return ZNT_OK;
}

void DrawPicture(Drawable drawable, GC gc, Renderer &r, int originX, int originY, const TileRect &exposed) {
    if (r.image == nullptr || r.renderTile == nullptr) return;
    if (r.ownPaletteGammaPending) storeGammaPalette(r);
    PutContext context{gX.display, drawable, gc, static_cast<XImage *>(r.image), r.sharedMemory != nullptr};
    walkExposedTiles(r, originX, originY, exposed, putTile, &context);
}

OpStatus RenderPictureToImage(const Picture &picture, XImage *image, const ColorContext &colors,
                              const DisplayVisual &visual) {
    if (image == nullptr || image->data == nullptr) return ZNT_BAD_ARGUMENT;
    TileBuffer target = tileBufferOf(*image);
    return renderPictureToBuffer(picture, target, colors, visual);
}

Pixmap CreatePicturePixmap(const Picture &picture, GC gc, const ColorContext &colors, const DisplayVisual &visual) {
    // The protocol's sizes are 16-bit.
    if (picture.width < 1 || picture.height < 1 || picture.width > 32767 || picture.height > 32767) return 0;
    Display *display = gX.display;
    const unsigned width = picture.width, height = unsigned(picture.height);
    XImage *image = XCreateImage(display, static_cast<Visual *>(visual.visual), unsigned(visual.depth), ZPixmap, 0,
                                 nullptr, width, height, BitmapPad(display), 0);
    if (image == nullptr) return 0;
    image->data = static_cast<char *>(std::malloc(size_t(image->bytes_per_line) * height));
    if (image->data == nullptr || RenderPictureToImage(picture, image, colors, visual) != ZNT_OK) {
        XDestroyImage(image);
        return 0;
    }
    const Pixmap pixmap = XCreatePixmap(display, RootWindow(display, gX.screen), width, height, unsigned(visual.depth));
    XPutImage(display, pixmap, gc, image, 0, 0, 0, 0, width, height);
    XDestroyImage(image);
    return pixmap;
}

void FreeRenderer(Renderer &r) {
    r.columnOffsets = {};
    r.rowStarts = {};
    r.renderTile = nullptr;
    r.method = RenderMethod::kNone;
    r.destWidth = r.destHeight = 0;
    r.lastTile = TileRect{-1, -1, -1, -1};
    if (r.image != nullptr) {
        XImage *image = static_cast<XImage *>(r.image);
        if (r.sharedMemory != nullptr) {
            destroySharedImage(gX.display, image, static_cast<SharedTile *>(r.sharedMemory), true);
        } else {
            XtFree(image->data);
            image->data = nullptr;
            XDestroyImage(image);
        }
    }
    r.image = nullptr;
    r.sharedMemory = nullptr;
    r.tile = TileBuffer{};
}

}  // namespace quivel
