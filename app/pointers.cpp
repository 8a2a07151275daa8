// Icon pixmaps, the drag pointers and the busy cursor.
#include <X11/Xlib.h>
#include <X11/StringDefs.h>
#include <X11/cursorfont.h>

#include <cstdio>
#include <vector>

#include "app/x_app.h"

namespace quivel {

namespace {

Cursor gMovePointer = 0;
Cursor gGrabPointer = 0;
Cursor gBusyCursor = 0;

Cursor makePointer(const PointerBitmap &bitmap) {
    Display *display = gX.display;
    const Window root = RootWindow(display, gX.screen);
    Pixmap source = XCreateBitmapFromData(display, root, reinterpret_cast<const char *>(bitmap.source), 32, 32);
    Pixmap mask = XCreateBitmapFromData(display, root, reinterpret_cast<const char *>(bitmap.mask), 32, 32);
    const Colormap colormap = DefaultColormap(display, gX.screen);
    XColor foreground{}, background{};
    foreground.pixel = BlackPixel(display, gX.screen);
    background.pixel = WhitePixel(display, gX.screen);
    XQueryColor(display, colormap, &foreground);
    XQueryColor(display, colormap, &background);
    Cursor cursor = XCreatePixmapCursor(display, source, mask, &foreground, &background, kPointerHotX, kPointerHotY);
    XFreePixmap(display, source);
    XFreePixmap(display, mask);
    return cursor;
}

}  // namespace

Pixmap CreateIconPixmap(Widget widget, const IconImage &icon) {
    Display *display = XtDisplay(widget);
    const int screen = DefaultScreen(display);
    const int defaultClass = DefaultVisual(display, screen)->c_class;
    if (defaultClass == StaticGray || defaultClass == GrayScale) {
        std::fprintf(stderr, "Bad Visual \n");
        return 2;
    }
    Colormap colormap = 0;
    int depth = 0;
    Pixel background = 0;
    XtVaGetValues(widget, XtNcolormap, &colormap, XtNdepth, &depth, XtNbackground, &background, nullptr);

    std::vector<unsigned long> pixels(size_t(icon.colorCount), 0);
    for (int i = 0; i < icon.colorCount; ++i) {
        XColor color{};
        color.red = uint16_t(icon.colors[i].red * 65535 / 255);
        color.green = uint16_t(icon.colors[i].green * 65535 / 255);
        color.blue = uint16_t(icon.colors[i].blue * 65535 / 255);
        color.flags = DoRed | DoGreen | DoBlue;
        if (!XAllocColor(display, colormap, &color)) {
            std::fprintf(stderr, "Error XAllocColor : <%x %x %x>\n", icon.colors[i].red, icon.colors[i].green,
                         icon.colors[i].blue);
            break;
        }
        pixels[size_t(i)] = color.pixel;
    }

    Pixmap pixmap = XCreatePixmap(display, RootWindow(display, screen), unsigned(icon.width), unsigned(icon.height),
                                  unsigned(depth));
    GC gc = XCreateGC(display, pixmap, 0, nullptr);
    // Everything not covered by a listed colour shows the background.
    XSetForeground(display, gc, background);
    XFillRectangle(display, pixmap, gc, 0, 0, unsigned(icon.width), unsigned(icon.height));
    std::vector<XPoint> points;
    for (int i = 0; i < icon.colorCount; ++i) {
        points.clear();
        for (int y = 0; y < icon.height; ++y)
            for (int x = 0; x < icon.width; ++x)
                if (icon.codes[y * icon.width + x] == icon.colors[i].code) points.push_back({short(x), short(y)});
        if (points.empty()) continue;
        XSetForeground(display, gc, icon.colors[i].code == icon.transparentCode ? background : pixels[size_t(i)]);
        XDrawPoints(display, pixmap, gc, points.data(), int(points.size()), CoordModeOrigin);
    }
    XFreeGC(display, gc);
    return pixmap;
}

void CreatePointerShapes() {
    gMovePointer = makePointer(movePointerBitmap());
    gGrabPointer = makePointer(grabPointerBitmap());
}

void FreePointerShapes() {
    if (gMovePointer) XFreeCursor(gX.display, gMovePointer);
    if (gGrabPointer) XFreeCursor(gX.display, gGrabPointer);
    gMovePointer = gGrabPointer = 0;
}

Cursor movePointer() { return gMovePointer; }
Cursor grabPointer() { return gGrabPointer; }

void SetBusyCursor(Widget widget, bool on) {
    Display *display = XtDisplay(widget);
    if (gBusyCursor) {
        XFreeCursor(display, gBusyCursor);
        gBusyCursor = 0;
    }
    if (XtWindow(widget)) {
        if (on) {
            gBusyCursor = XCreateFontCursor(display, XC_watch);
            XDefineCursor(display, XtWindow(widget), gBusyCursor);
        } else {
            XUndefineCursor(display, XtWindow(widget));
        }
    }
    XFlush(display);
}

}  // namespace quivel
