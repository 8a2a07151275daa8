// The view window: creation, the picture window, layout, drawing,
// scrolling, zoom and fit, status bar and title, full screen, colour
// information, files, pages and animation, and the way out.
#include "view/view_window.h"

#include <X11/Shell.h>
#include <X11/Xatom.h>
#include <Xm/DrawingA.h>
#include <Xm/Form.h>
#include <Xm/Label.h>
#include <Xm/MainW.h>
#include <Xm/MwmUtil.h>
#include <Xm/Protocols.h>
#include <Xm/RowColumn.h>
#include <Xm/ScrollBar.h>
#include <Xm/Xm.h>
#include <sys/time.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "app/app_globals.h"
#include "app/command_line.h"
#include "app/later_parts.h"
#include "app/message_box.h"
#include "app/settings.h"
#include "app/x_app.h"
#include "picture/load_save.h"
#include "picture/renderer_x.h"
#include "picture/status_message.h"
#include "view/commands.h"
#include "view/file_navigation.h"
#include "view/menu_tables.h"
#include "view/status_text.h"
#include "view/view_support.h"
#include "widgets/status_bar.h"
#include "widgets/widget_layout.h"

namespace quivel {

namespace {

std::vector<View *> gViews;

long nowMs() {
    timeval t{};
    gettimeofday(&t, nullptr);
    return long(t.tv_sec) * 1000 + t.tv_usec / 1000;
}

Size pictureSize(const Picture &p) { return {int(p.width), int(p.height)}; }

// The picture on screen: the current one, or a decoded frame of an animation.
const Picture &shownPicture(const View &v) {
    if (v.frame > 0 && size_t(v.frame) < v.frames.size() && hasPixels(v.frames[size_t(v.frame)]))
        return v.frames[size_t(v.frame)];
    return v.pictures.current;
}

bool hasPicture(const View &v) { return hasPixels(v.pictures.current); }

Size areaSize(const View &v) {
    Dimension w = 0, h = 0;
    XtVaGetValues(v.drawingArea, XmNwidth, &w, XmNheight, &h, nullptr);
    return {int(w), int(h)};
}

Size screenSize() { return {DisplayWidth(gX.display, gX.screen), DisplayHeight(gX.display, gX.screen)}; }

Cursor blankCursor() {
    static Cursor blank = 0;
    if (blank == 0) {
        const char bits[1] = {0};
        Pixmap empty = XCreateBitmapFromData(gX.display, RootWindow(gX.display, gX.screen), bits, 1, 1);
        XColor black{};
        blank = XCreatePixmapCursor(gX.display, empty, empty, &black, &black, 0, 0);
        XFreePixmap(gX.display, empty);
    }
    return blank;
}

void releaseFrames(View &v) {
    for (size_t i = 1; i < v.frames.size(); ++i)
        if (v.frames[i].data != nullptr) zntFree(&v.frames[i]);
    v.frames.clear();
}

// ---- Drawing ----------------------------------------------------------------

// The selection outline, drawn over whatever part of the window was just
// painted.
void drawSelection(View &v, const XRectangle &clip) {
    if (!v.selectionActive || v.selectionGc == nullptr) return;
    const WindowRect r = areaRectangle(v.layout, pictureSize(shownPicture(v)), v.selection);
    XSetClipRectangles(gX.display, v.selectionGc, 0, 0, const_cast<XRectangle *>(&clip), 1, Unsorted);
    XDrawRectangle(gX.display, v.pictureWindow, v.selectionGc, r.x - v.layout.window.x, r.y - v.layout.window.y,
                   unsigned(std::max(r.width - 1, 0)), unsigned(std::max(r.height - 1, 0)));
}

// Paints a rectangle of the picture window.
void paint(View &v, int x, int y, int width, int height) {
    if (!v.rendererReady || width <= 0 || height <= 0) return;
    DrawPicture(v.pictureWindow, v.gc, v.renderer, -v.layout.offset.x, -v.layout.offset.y,
                TileRect{x, y, width, height});
    drawSelection(v, XRectangle{short(x), short(y), uint16_t(width), uint16_t(height)});
}

void paintAll(View &v) { paint(v, 0, 0, v.layout.window.width, v.layout.window.height); }

void prepareRenderer(View &v) {
    const Picture &p = shownPicture(v);
    v.rendererReady = false;
    if (!hasPixels(p)) return;
    const Size shown = displayedSize(pictureSize(p), v.zoom);
    v.rendererReady = PrepareRender(v.renderer, p, shown.width, shown.height, v.showMask) == ZNT_OK &&
                      v.renderer.renderTile != nullptr;
}

void updateScrollBars(View &v) {
    auto set = [](Widget bar, int displayed, int visible, int value) {
        const int maximum = std::max(displayed, 1);
        const int slider = std::clamp(visible, 1, maximum);
        XtVaSetValues(bar, XmNminimum, 0, XmNmaximum, maximum, XmNsliderSize, slider, XmNvalue,
                      std::clamp(value, 0, maximum - slider), XmNincrement, 16, XmNpageIncrement,
                      std::max(1, slider / 2), nullptr);
    };
    if (!hasPicture(v)) {
        set(v.scrollBarH, 1, 1, 0);
        set(v.scrollBarV, 1, 1, 0);
        return;
    }
    set(v.scrollBarH, v.layout.displayed.width, v.area.width, v.layout.offset.x);
    set(v.scrollBarV, v.layout.displayed.height, v.area.height, v.layout.offset.y);
}

// Places the picture window for the wished offset. Returns true when what
// the window shows moved (so that it must be painted again).
bool applyLayout(View &v, Offset wished) {
    const PictureLayout old = v.layout;
    v.area = areaSize(v);
    if (!hasPixels(shownPicture(v))) {
        v.layout = {};
        if (v.pictureWindow) XUnmapWindow(gX.display, v.pictureWindow);
        updateScrollBars(v);
        return false;
    }
    v.layout = layoutPicture(pictureSize(shownPicture(v)), v.zoom, v.area, wished);
    const WindowRect &w = v.layout.window;
    if (v.pictureWindow && w.width > 0 && w.height > 0) {
        if (!(w == old.window)) XMoveResizeWindow(gX.display, v.pictureWindow, w.x, w.y, unsigned(w.width),
                                                  unsigned(w.height));
        XMapWindow(gX.display, v.pictureWindow);
    }
    updateScrollBars(v);
    return !(v.layout.offset.x == old.offset.x && v.layout.offset.y == old.offset.y) ||
           !(v.layout.displayed.width == old.displayed.width && v.layout.displayed.height == old.displayed.height);
}

// Asks for the shell size at which the area shows the whole displayed
// picture (capped at the screen). Further passes come from areaResized.
void requestFit(View &v) {
    if (v.fitPasses <= 0 || !hasPixels(shownPicture(v))) return;
    --v.fitPasses;
    const Size shown = displayedSize(pictureSize(shownPicture(v)), v.zoom);
    Dimension width = 0, height = 0;
    XtVaGetValues(v.shell, XmNwidth, &width, XmNheight, &height, nullptr);
    const Size area = areaSize(v);
    if (area == shown) return;
    // Narrower than its menu bar, the window would fold the menus into a
    // column; a small picture is centred in a window that keeps them in a row.
    Size minimum{1, height - area.height + 32};
    if (v.menuBar != nullptr) {
        XtWidgetGeometry preferred{};
        XtQueryGeometry(v.menuBar, nullptr, &preferred);
        minimum.width = preferred.width + 2;
    }
    const Size wanted = fittedShellSize({width, height}, area, shown, screenSize(), minimum);
    if (wanted == Size{width, height}) return;
    XtVaSetValues(v.shell, XmNwidth, Dimension(wanted.width), XmNheight, Dimension(wanted.height), nullptr);
}

// ---- Colour information -------------------------------------------------------

void hideColorPicker(View &v) {
    if (v.colorPicker != nullptr) XtPopdown(v.colorPicker);
}

void showColorAt(View &v, int areaX, int areaY, int rootX, int rootY) {
    const Picture &p = shownPicture(v);
    if (!v.colorInformation || !hasPixels(p) || v.fullScreen) return hideColorPicker(v);
    const PicturePoint at = pictureAt(v.layout, pictureSize(p), areaX, areaY);
    if (!at.inside) return hideColorPicker(v);
    if (v.colorPicker == nullptr) {
        v.colorPicker = XtVaCreatePopupShell("ColorPicker", overrideShellWidgetClass, v.shell, XmNallowShellResize,
                                             True, nullptr);
        XtVaCreateManagedWidget("ColorPickerText", xmLabelWidgetClass, v.colorPicker, XmNborderWidth, 1,
                                XmNmarginWidth, 3, XmNmarginHeight, 2, nullptr);
    }
    Widget label = XtNameToWidget(v.colorPicker, "ColorPickerText");
    const std::string text = colorInformationText(p, at.x, at.y);
    XmString string = XmStringCreateLtoR(const_cast<char *>(text.c_str()), const_cast<char *>(XmFONTLIST_DEFAULT_TAG));
    XtVaSetValues(label, XmNlabelString, string, nullptr);
    XmStringFree(string);
    if (!XtIsRealized(v.colorPicker)) XtRealizeWidget(v.colorPicker);
    Dimension width = 0, height = 0;
    XtVaGetValues(label, XmNwidth, &width, XmNheight, &height, nullptr);
    // Beside the pointer, clear of it, and inside the screen.
    const Size screen = screenSize();
    const Point place = bubblePosition(rootX + 12, rootY + 4, width, height, screen.width, screen.height);
    XtVaSetValues(v.colorPicker, XmNx, Position(place.x), XmNy, Position(place.y), nullptr);
    XtPopup(v.colorPicker, XtGrabNone);
}

// ---- Events of the picture area -------------------------------------------------

void exposed(Widget, XtPointer clientData, XEvent *event, Boolean *) {
    View &v = *static_cast<View *>(clientData);
    if (event->xany.window != v.pictureWindow) return;
    if (event->type == Expose) {
        const XExposeEvent &e = event->xexpose;
        paint(v, e.x, e.y, e.width, e.height);
        if (e.count == 0 && !v.firstPaintReported && v.rendererReady) {
            v.firstPaintReported = true;
            if (gApp.verbose) {
                XSync(gX.display, False);
                std::fprintf(stderr, "view: %s shown in %ld ms\n", v.path.c_str(), nowMs() - v.openedAtMs);
            }
        }
    } else if (event->type == GraphicsExpose) {
        const XGraphicsExposeEvent &e = event->xgraphicsexpose;
        paint(v, e.x, e.y, e.width, e.height);
    }
}

void areaResized(Widget, XtPointer clientData, XtPointer) {
    View &v = *static_cast<View *>(clientData);
    if (!hasPicture(v)) return;
    v.area = areaSize(v);
    if (v.fit == 1 && !v.fullScreen && v.fitPasses > 0 && nowMs() < v.fitUntilMs) requestFit(v);
    bool zoomed = false;
    if (!v.zoomChanged && (v.fit == 2 || v.fit == 3 || v.fit == 6 || v.fit == 7 || v.fullScreen)) {
        const int zoom = fitZoom(v.fullScreen && (v.fit < 2) ? 3 : v.fit, pictureSize(shownPicture(v)), v.area);
        if (zoom != v.zoom) {
            v.zoom = zoom;
            prepareRenderer(v);
            zoomed = true;
            updateStatus(v);
        }
    }
    // A picture zoomed anew to the window is shown whole, centred.
    Offset wished = v.layout.offset;
    if (zoomed) {
        const Size shown = displayedSize(pictureSize(shownPicture(v)), v.zoom);
        wished = {(shown.width - v.area.width) / 2, (shown.height - v.area.height) / 2};
    }
    if (applyLayout(v, wished) || zoomed) paintAll(v);
}

void scrolled(Widget w, XtPointer clientData, XtPointer callData) {
    View &v = *static_cast<View *>(clientData);
    const int value = static_cast<XmScrollBarCallbackStruct *>(callData)->value;
    Offset o = v.layout.offset;
    (w == v.scrollBarH ? o.x : o.y) = value;
    scrollTo(v, o);
}

void mouse(Widget, XtPointer clientData, XEvent *event, Boolean *) {
    View &v = *static_cast<View *>(clientData);
    const Size picture = pictureSize(shownPicture(v));
    switch (event->type) {
    case ButtonPress: {
        const XButtonEvent &b = event->xbutton;
        XmProcessTraversal(v.drawingArea, XmTRAVERSE_CURRENT);
        if (b.button == Button3 && v.popupMenu != nullptr) {
            XmMenuPosition(v.popupMenu, const_cast<XButtonPressedEvent *>(&b));
            XtManageChild(v.popupMenu);
            return;
        }
        if (!hasPicture(v)) return;
        if (b.button == Button4 || b.button == Button5) {
            // The wheel scrolls (with Shift across, with Ctrl it zooms); with
            // mouse navigation, a picture shown whole moves to the next file.
            const int step = b.button == Button4 ? -48 : 48;
            const bool whole = v.layout.displayed.width <= v.area.width && v.layout.displayed.height <= v.area.height;
            if (b.state & ControlMask) {
                setZoom(v, b.button == Button4 ? "+1" : "-1");
            } else if (gSettings.view.mouseNavigation && whole && !loadOrSaveInProgress()) {
                navigateFile(v, b.button == Button4 ? "prev" : "next");
            } else if (b.state & ShiftMask) {
                scrollTo(v, {v.layout.offset.x + step, v.layout.offset.y});
            } else {
                scrollTo(v, {v.layout.offset.x, v.layout.offset.y + step});
            }
            return;
        }
        v.dragX = b.x;
        v.dragY = b.y;
        if (b.button == Button1) {
            v.drag = View::Drag::Select;
        } else if (b.button == Button2) {
            v.drag = View::Drag::Move;
            v.dragOffset = v.layout.offset;
            if (v.pictureWindow) XDefineCursor(gX.display, v.pictureWindow, grabPointer());
        }
        return;
    }
    case MotionNotify: {
        const XMotionEvent &m = event->xmotion;
        if (v.drag == View::Drag::Select) {
            const PictureRectangle r = dragRectangle(v.layout, picture, v.dragX, v.dragY, m.x, m.y);
            if (r.width > 0 && (m.x != v.dragX || m.y != v.dragY)) setSelection(v, true, r);
        } else if (v.drag == View::Drag::Move) {
            scrollTo(v, {v.dragOffset.x - (m.x - v.dragX), v.dragOffset.y - (m.y - v.dragY)});
        }
        showColorAt(v, m.x, m.y, m.x_root, m.y_root);
        return;
    }
    case ButtonRelease: {
        const XButtonEvent &b = event->xbutton;
        if (v.drag == View::Drag::Select && b.x == v.dragX && b.y == v.dragY) setSelection(v, false);
        if (v.drag == View::Drag::Move && v.pictureWindow) {
            if (v.fullScreen && gSettings.view.hideMouse)
                XDefineCursor(gX.display, v.pictureWindow, blankCursor());
            else
                XUndefineCursor(gX.display, v.pictureWindow);
        }
        v.drag = View::Drag::Idle;
        return;
    }
    case LeaveNotify: hideColorPicker(v); return;
    default: return;
    }
}

// A dialog waiting for its answer (a question about this view, its save
// selector...) has a caller that still holds the view: the request is
// refused until it is answered.
void windowClosed(Widget w, XtPointer, XtPointer) {
    if (loadOrSaveInProgress() || modalLoopRunning()) return;
    if (View *v = viewForWidget(w)) runViewCommand(*v, "close");
}

void viewDestroyed(Widget w, XtPointer clientData, XtPointer) {
    View *v = static_cast<View *>(clientData);
    if (v->animationTimer) XtRemoveTimeOut(v->animationTimer);
    v->animationTimer = 0;
    releaseFrames(*v);
    FreeRenderer(v->renderer);
    if (v->pictureWindow) XtUnregisterDrawable(gX.display, v->pictureWindow);
    if (v->gc) XFreeGC(gX.display, v->gc);
    if (v->selectionGc) XFreeGC(gX.display, v->selectionGc);
    if (v->colors) ReleaseColorContext(v->colors);
    releaseSlots(v->pictures);
    const auto it = std::find(gViews.begin(), gViews.end(), v);
    if (it == gViews.end())
        std::fputs("Error DelView: Wid not find\n", stderr);
    else
        gViews.erase(it);
    delete v;
    (void)w;
    if (gViews.empty() && !browserOpen()) saveSettingsAndQuit();
}

// ---- Creation -----------------------------------------------------------------

XtTranslations viewTranslations() {
    static XtTranslations table = XtParseTranslationTable(kViewTranslations);
    return table;
}

void createPictureWindow(View &v) {
    Display *d = gX.display;
    XSetWindowAttributes a{};
    a.colormap = v.colors->colormap;
    a.border_pixel = 0;
    a.background_pixmap = None;
    a.bit_gravity = NorthWestGravity;
    a.event_mask = ExposureMask;
    v.pictureWindow = XCreateWindow(d, XtWindow(v.drawingArea), 0, 0, 1, 1, 0, v.visual.depth, InputOutput,
                                    static_cast<Visual *>(v.visual.visual),
                                    CWColormap | CWBorderPixel | CWBackPixmap | CWBitGravity | CWEventMask, &a);
    XtRegisterDrawable(d, v.pictureWindow, v.drawingArea);
    Window colormapWindows[2] = {v.pictureWindow, XtWindow(v.shell)};
    XSetWMColormapWindows(d, XtWindow(v.shell), colormapWindows, 2);
    v.gc = XCreateGC(d, v.pictureWindow, 0, nullptr);
    XGCValues values{};
    values.line_style = LineDoubleDash;
    values.foreground = v.colors->whitePixel | v.renderer.opaqueBits;
    values.background = v.colors->blackPixel | v.renderer.opaqueBits;
    values.dashes = 4;
    v.selectionGc = XCreateGC(d, v.pictureWindow, GCLineStyle | GCForeground | GCBackground | GCDashList, &values);
}

View *createView() {
    auto *v = new View;
    v->openedAtMs = nowMs();
    v->fit = gApp.fitToImage ? 1 : gSettings.view.fit;
    v->colorInformation = gSettings.view.displayColorInformation;
    ChoosePictureVisual(gX.visual, v->visual);
    v->colors = AcquireColorContext(nullptr, v->visual, gApp.ownColormap);
    if (v->colors == nullptr) {
        delete v;
        return nullptr;
    }
    InitRenderer(v->renderer, v->colors, &v->visual);
    SetDisplayGamma(v->renderer, gSettings.view.useGamma ? gSettings.view.gamma : 1.0);

    v->shell = XtVaCreatePopupShell("TolvaView", topLevelShellWidgetClass, gX.topLevel, XmNtitle, kProgramTitle,
                                    XmNiconName, "Quivel", XmNiconPixmap, gX.iconPixmap, XmNdeleteResponse,
                                    XmDO_NOTHING, nullptr);
    XtAddCallback(v->shell, XmNdestroyCallback, viewDestroyed, v);
    Atom deleteWindow = XmInternAtom(gX.display, const_cast<char *>("WM_DELETE_WINDOW"), False);
    XmAddWMProtocolCallback(v->shell, deleteWindow, windowClosed, nullptr);

    v->mainWindow = XtVaCreateManagedWidget("mainWindow", xmMainWindowWidgetClass, v->shell, XmNscrollingPolicy,
                                            XmAPPLICATION_DEFINED, XmNscrollBarDisplayPolicy, XmSTATIC, nullptr);
    if (gApp.menuBar && !gSettings.view.usePopupInView)
        v->menuBar = XmCreateMenuBar(v->mainWindow, const_cast<char *>("menuBar"), nullptr, 0);
    // A form rather than a row column: a narrow window clips the toolbar
    // instead of folding it into more rows.
    v->toolBar = XtVaCreateWidget("toolBar", xmFormWidgetClass, v->mainWindow, XmNmarginHeight, 1, XmNmarginWidth, 1,
                                  XmNresizePolicy, XmRESIZE_ANY, nullptr);
    const Size screen = screenSize();
    v->drawingArea = XtVaCreateManagedWidget(
        "drawingArea", xmDrawingAreaWidgetClass, v->mainWindow, XmNwidth, Dimension(screen.width * 2 / 3),
        XmNheight, Dimension(screen.height * 2 / 3), XmNmarginWidth, 0, XmNmarginHeight, 0, XmNresizePolicy,
        XmRESIZE_NONE, XmNtraversalOn, True, XmNtranslations, viewTranslations(), nullptr);
    // With traversal on, Motif overrides the arrow and Home keys of a manager
    // with its own traversal; the view's keys come first again.
    XtOverrideTranslations(v->drawingArea, viewTranslations());
    v->scrollBarH = XtVaCreateManagedWidget("scrollBarH", xmScrollBarWidgetClass, v->mainWindow, XmNorientation,
                                            XmHORIZONTAL, XmNtraversalOn, False, nullptr);
    v->scrollBarV = XtVaCreateManagedWidget("scrollBarV", xmScrollBarWidgetClass, v->mainWindow, XmNorientation,
                                            XmVERTICAL, XmNtraversalOn, False, nullptr);
    v->statusBar = MyCreateStatusBar(v->mainWindow, "statusBar", nullptr, 0);
    if (gSettings.view.statusBar) XtManageChild(v->statusBar);
    XmMainWindowSetAreas(v->mainWindow, v->menuBar, v->toolBar, v->scrollBarH, v->scrollBarV, v->drawingArea);
    XtVaSetValues(v->mainWindow, XmNmessageWindow, v->statusBar, XmNinitialFocus, v->drawingArea, nullptr);

    for (Widget bar : {v->scrollBarH, v->scrollBarV}) {
        XtAddCallback(bar, XmNvalueChangedCallback, scrolled, v);
        XtAddCallback(bar, XmNdragCallback, scrolled, v);
    }
    XtAddCallback(v->drawingArea, XmNresizeCallback, areaResized, v);
    XtAddEventHandler(v->drawingArea, ExposureMask, True, exposed, v);
    XtAddEventHandler(v->drawingArea,
                      ButtonPressMask | ButtonReleaseMask | PointerMotionMask | LeaveWindowMask, False, mouse, v);

    buildMenus(*v);
    buildToolBar(*v);
    if (v->menuBar) XtManageChild(v->menuBar);
    if (gSettings.view.toolBar) XtManageChild(v->toolBar);
    gViews.push_back(v);
    return v;
}

void raise(View &v) {
    if (XtWindow(v.shell)) XMapRaised(gX.display, XtWindow(v.shell));
}

// ---- Animation ------------------------------------------------------------------

void showFrame(View &v, int frame);

void animationTick(XtPointer clientData, XtIntervalId *) {
    View &v = *static_cast<View *>(clientData);
    v.animationTimer = 0;
    showFrame(v, (v.frame + 1) % v.frameCount);
    v.animationTimer = XtAppAddTimeOut(gX.context, frameDelayMs(v.delaysMs.data(), int(v.delaysMs.size()), v.frame),
                                       animationTick, &v);
}

// Frames are decoded once and kept, within a memory budget; a frame that
// cannot be kept is decoded again each time it comes round.
constexpr size_t kFrameBudgetBytes = size_t(256) << 20;

void showFrame(View &v, int frame) {
    if (frame < 0 || frame >= v.frameCount) return;
    if (size_t(v.frameCount) != v.frames.size()) {
        releaseFrames(v);
        v.frames.resize(size_t(v.frameCount));
    }
    if (frame > 0 && !hasPixels(v.frames[size_t(frame)])) {
        size_t kept = 0;
        for (const Picture &p : v.frames) kept += p.data ? size_t(p.bytesPerLine) * size_t(p.height) : 0;
        // The current frame, if decoded only for this showing, goes first.
        if (v.frame > 0 && kept > kFrameBudgetBytes && v.frames[size_t(v.frame)].data)
            zntFree(&v.frames[size_t(v.frame)]);
        FormatParams params;
        zntDefaultParams(&params);
        params.formatIndex = int16_t(v.formatIndex);
        params.pageNumber = frame;
        Picture picture{};
        if (zntLoad(v.path.c_str(), &picture, &params, nullptr) != ZNT_OK) {
            stopAnimation(v);
            return;
        }
        v.frames[size_t(frame)] = picture;
    }
    v.frame = frame;
    prepareRenderer(v);
    applyLayout(v, v.layout.offset);
    paintAll(v);
    updateStatus(v);
}

void startAnimation(View &v) {
    if (v.frameCount < 2 || gSettings.view.disableAnimation || v.animationTimer) return;
    v.animationTimer = XtAppAddTimeOut(gX.context, frameDelayMs(v.delaysMs.data(), int(v.delaysMs.size()), v.frame),
                                       animationTick, &v);
}

}  // namespace

// ---- The view list ----------------------------------------------------------------

const std::vector<View *> &openViews() { return gViews; }

View *viewForWidget(Widget w) {
    while (w != nullptr && !XtIsTopLevelShell(w)) w = XtParent(w);
    for (View *v : gViews)
        if (v->shell == w) return v;
    return nullptr;
}

bool anyViewOpen() { return !gViews.empty(); }

Widget openView(const std::vector<std::string> &files) {
    if (files.empty()) return nullptr;
    if (gSettings.view.onlyOneView && !gViews.empty()) {
        View &v = *gViews.front();
        if (!settleChanges(v)) return v.shell;
        std::vector<std::string> list = files.size() > 1 ? files : std::vector<std::string>{};
        const int shown = v.fileIndex;
        list.swap(v.fileList);
        v.fileIndex = 0;
        // A stopped load stays on the file and the list shown.
        if (!loadViewFile(v, files[0], 0, false) && v.path != files[0]) {
            list.swap(v.fileList);
            v.fileIndex = shown;
        }
        raise(v);
        return v.shell;
    }
    View *v = createView();
    if (v == nullptr) return nullptr;
    if (files.size() > 1) v->fileList = files;
    XtRealizeWidget(v->shell);
    createPictureWindow(*v);

    // The first load reports its failure once the window is on the screen,
    // so that the message has a window to stand over.
    Picture picture{};
    FileInformation info{};
    const std::string &path = files[0];
    const int status = loadPictureFileBusy(v->shell, path.c_str(), 0, picture, info, false);
    std::string failure;
    if (status != 0 && status != ZNT_STOPPED) failure = statusMessage(OpStatus(status), path, info.message);
    v->path = path;
    if (status == 0) {
        v->formatIndex = info.formatIndex;
        v->fileSize = info.fileSize;
        v->pageCount = std::max(1, int(info.imageCount));
        if (info.delaysMs != nullptr && info.imageCount > 1) {
            v->frameCount = v->pageCount;
            v->pageCount = 1;
            v->delaysMs.assign(info.delaysMs, info.delaysMs + info.imageCount);
        }
        replaceCurrent(v->pictures, picture);
        if (gSettings.start.useMostRecentlyUsedFiles)
            rememberRecentFile(&gSettings.fileName[0][0], kRecentCount, kPathCapacity, path);
    } else {
        v->loadFailed = true;
    }
    zntFileInformationFree(&info);
    ReloadOwnPalette(&v->pictures.current, v->colors, v->visual);

    if (gApp.fullScreen) setFullScreen(*v, true);
    pictureChanged(*v, true);
    XtPopup(v->shell, XtGrabNone);
    XmProcessTraversal(v->drawingArea, XmTRAVERSE_CURRENT);
    if (!failure.empty()) showMessage(v->shell, MessageKind::Error, failure);
    startAnimation(*v);
    return v->shell;
}

Widget openFolderView(const std::string &folder) { return openView(folderPictures(folder)); }

void destroyView(View &view) { XtDestroyWidget(view.shell); }

// ---- Loading --------------------------------------------------------------------

bool loadViewFile(View &v, const std::string &path, int page, bool keepZoom) {
    // What is shown stays, frames included, while the load runs (its progress
    // dispatches exposures); a load the user stops, or one refused because
    // another runs, leaves the view as it was.
    const bool animating = v.animationTimer != 0;
    stopAnimation(v);
    Picture picture{};
    FileInformation info{};
    const int status = loadPictureFileBusy(v.shell, path.c_str(), page, picture, info, true);
    if (status == ZNT_STOPPED && hasPicture(v)) {
        zntFileInformationFree(&info);
        if (animating) startAnimation(v);
        return false;
    }
    releaseFrames(v);
    v.frame = 0;
    v.loadFailed = false;
    v.path = path;
    v.page = page;
    v.delaysMs.clear();
    v.frameCount = 1;
    if (status == 0) {
        v.formatIndex = info.formatIndex;
        v.fileSize = info.fileSize;
        v.pageCount = std::max(1, int(info.imageCount));
        if (info.delaysMs != nullptr && info.imageCount > 1) {
            v.frameCount = v.pageCount;
            v.pageCount = 1;
            v.frame = page;
            v.page = 0;
            v.delaysMs.assign(info.delaysMs, info.delaysMs + info.imageCount);
        }
        replaceCurrent(v.pictures, picture);
        if (gSettings.start.useMostRecentlyUsedFiles)
            rememberRecentFile(&gSettings.fileName[0][0], kRecentCount, kPathCapacity, path);
    } else {
        releaseSlots(v.pictures);
        v.loadFailed = true;
        v.pageCount = 1;
        v.fileSize = 0;
    }
    zntFileInformationFree(&info);
    ReloadOwnPalette(&v.pictures.current, v.colors, v.visual);
    v.selectionActive = false;
    pictureChanged(v, true, keepZoom);
    setModified(v, false);
    updatePageDialog(v);
    if (status == 0 && v.frame == 0) startAnimation(v);
    return status == 0;
}

void pictureChanged(View &v, bool newPicture, bool keepZoom) {
    const Size picture = pictureSize(shownPicture(v));
    Offset wished = v.layout.offset;
    if (newPicture) {
        v.area = areaSize(v);
        if (!keepZoom) {
            v.zoomChanged = false;
            if (v.fullScreen)
                v.zoom = fitZoom(v.fit >= 2 ? v.fit : 3, picture, v.area);
            else if (v.fit == 2 || v.fit == 3 || v.fit == 6 || v.fit == 7)
                v.zoom = fitZoom(v.fit, picture, v.area);
            else
                v.zoom = 100;
        }
        // A new picture opens centred.
        const Size shown = displayedSize(picture, v.zoom);
        wished = {(shown.width - v.area.width) / 2, (shown.height - v.area.height) / 2};
    } else if (!v.zoomChanged && !v.fullScreen && (v.fit == 2 || v.fit == 3 || v.fit == 6 || v.fit == 7)) {
        // A picture whose size an operation changed is fitted again, unless
        // the user chose a zoom of their own.
        v.zoom = fitZoom(v.fit, picture, areaSize(v));
    }
    prepareRenderer(v);
    if (v.fit == 1 && !v.fullScreen && hasPicture(v)) fitWindowToPicture(v, false);
    applyLayout(v, wished);
    paintAll(v);
    updateStatus(v);
    updateMenus(v);
}

// ---- Status and title ----------------------------------------------------------------

void updateStatus(View &v) {
    ViewStatus s;
    s.pageCount = v.pageCount;
    s.page = v.page;
    s.fileName = v.path;
    s.secondText = v.secondText;
    if (v.selectionActive) {
        char text[64];
        std::snprintf(text, sizeof text, "Selection %d,%d %dx%d", v.selection.x, v.selection.y, v.selection.width,
                      v.selection.height);
        s.secondText = text;
    } else if (v.fileList.size() > 1) {
        s.secondText = std::to_string(v.fileIndex + 1) + " of " + std::to_string(v.fileList.size());
    }
    const Picture &p = shownPicture(v);
    s.picture = hasPixels(p) ? &p : nullptr;
    s.fileSize = v.fileSize;
    s.zoom = v.zoom;
    s.frameCount = v.frameCount;
    s.frame = v.frame;
    const std::vector<StatusPart> parts = statusParts(s);
    MyStatusBarSetPartCount(v.statusBar, int(parts.size()));
    std::string line;
    for (size_t i = 0; i < parts.size(); ++i) {
        MyStatusBarSetText(v.statusBar, int(i), parts[i].text.c_str(), parts[i].alignment);
        line += (i ? "|" : "") + parts[i].text;
    }
    // With -v the status bar is also written out, so that scripts and tests
    // can follow what the view shows.
    if (gApp.verbose && line != v.lastStatus) std::fprintf(stderr, "status: %s\n", line.c_str());
    v.lastStatus = line;
    if (gSettings.view.showFilename) {
        const std::string base(baseName(v.path));
        XtVaSetValues(v.shell, XmNiconName, base.empty() ? "Quivel" : base.c_str(), nullptr);
    }
}

void setModified(View &v, bool modified) {
    v.modified = modified;
    char *title = nullptr;
    XtVaGetValues(v.shell, XmNtitle, &title, nullptr);
    const std::string marked = markedTitle(title ? title : kProgramTitle, modified);
    XtVaSetValues(v.shell, XmNtitle, marked.c_str(), nullptr);
}

// ---- Zoom, fit, scroll -----------------------------------------------------------------

void setZoom(View &v, const char *argument) {
    if (!hasPicture(v)) return;
    const Size picture = pictureSize(shownPicture(v));
    v.area = areaSize(v);
    const int zoom = zoomForArgument(argument, v.zoom, picture, v.area);
    if (zoom == v.zoom) return;
    const Offset wished = scrollAfterZoom(argument, v.zoom, zoom, v.layout.offset, v.anchor, picture, v.area);
    v.zoom = zoom;
    v.zoomChanged = true;
    prepareRenderer(v);
    if (v.fit == 1) fitWindowToPicture(v, false);
    applyLayout(v, wished);
    paintAll(v);
    updateStatus(v);
}

void fitWindowToPicture(View &v, bool setFitMode) {
    if (v.fullScreen) return;
    if (setFitMode) v.fit = 1;
    v.fitPasses = 3;
    v.fitUntilMs = nowMs() + 1000;
    requestFit(v);
    updateMenus(v);
}

void setFitMode(View &v, int mode) {
    v.fit = mode;
    v.zoomChanged = false;
    if (mode == 1) return fitWindowToPicture(v, true);
    if (!hasPicture(v)) return;
    const int zoom = mode == 0 ? 100 : fitZoom(mode, pictureSize(shownPicture(v)), areaSize(v));
    char argument[16];
    std::snprintf(argument, sizeof argument, "%d", zoom);
    setZoom(v, argument);
    v.zoomChanged = false;
    updateMenus(v);
}

void scrollTo(View &v, Offset wished) {
    if (!hasPixels(shownPicture(v)) || v.pictureWindow == 0) return;
    const PictureLayout old = v.layout;
    v.layout = layoutPicture(pictureSize(shownPicture(v)), v.zoom, v.area, wished);
    const int dx = v.layout.offset.x - old.offset.x, dy = v.layout.offset.y - old.offset.y;
    if (dx == 0 && dy == 0) return;
    updateScrollBars(v);
    const WindowRect &w = v.layout.window;
    if (!(w == old.window) || std::abs(dx) >= w.width || std::abs(dy) >= w.height) {
        if (!(w == old.window))
            XMoveResizeWindow(gX.display, v.pictureWindow, w.x, w.y, unsigned(w.width), unsigned(w.height));
        paintAll(v);
        return;
    }
    // Move what is already shown and paint only the strips that came into view;
    // parts the copy could not read arrive as GraphicsExpose events.
    XCopyArea(gX.display, v.pictureWindow, v.pictureWindow, v.gc, std::max(dx, 0), std::max(dy, 0),
              unsigned(w.width - std::abs(dx)), unsigned(w.height - std::abs(dy)), std::max(-dx, 0),
              std::max(-dy, 0));
    if (dx > 0) paint(v, w.width - dx, 0, dx, w.height);
    if (dx < 0) paint(v, 0, 0, -dx, w.height);
    if (dy > 0) paint(v, 0, w.height - dy, w.width, dy);
    if (dy < 0) paint(v, 0, 0, w.width, -dy);
}

void redrawPicture(View &v) {
    prepareRenderer(v);
    applyLayout(v, v.layout.offset);
    paintAll(v);
}

// ---- Selection, mask, bars --------------------------------------------------------------

void setSelection(View &v, bool active, PictureRectangle rect) {
    const bool was = v.selectionActive;
    const WindowRect old = was ? areaRectangle(v.layout, pictureSize(shownPicture(v)), v.selection) : WindowRect{};
    v.selectionActive = active && rect.width > 0 && rect.height > 0;
    if (v.selectionActive) v.selection = rect;
    if (was) {
        // Paint the old outline's four edges over with the picture.
        const int x = old.x - v.layout.window.x, y = old.y - v.layout.window.y;
        paint(v, x, y, old.width, 1);
        paint(v, x, y + old.height - 1, old.width, 1);
        paint(v, x, y, 1, old.height);
        paint(v, x + old.width - 1, y, 1, old.height);
    }
    if (v.selectionActive)
        drawSelection(v, XRectangle{0, 0, uint16_t(v.layout.window.width), uint16_t(v.layout.window.height)});
    if (was != v.selectionActive || v.selectionActive) {
        updateStatus(v);
        updateMenus(v);
    }
}

void setShowMask(View &v, bool on) {
    v.showMask = on;
    redrawPicture(v);
    updateMenus(v);
}

void setColorInformation(View &v, bool on) {
    v.colorInformation = on;
    gSettings.view.displayColorInformation = on;
    if (!on) hideColorPicker(v);
    updateMenus(v);
}

void setStatusBarShown(View &v, bool on) {
    gSettings.view.statusBar = on;
    if (!v.fullScreen) on ? XtManageChild(v.statusBar) : XtUnmanageChild(v.statusBar);
    updateMenus(v);
}

void setToolBarShown(View &v, bool on) {
    gSettings.view.toolBar = on;
    if (!v.fullScreen) on ? XtManageChild(v.toolBar) : XtUnmanageChild(v.toolBar);
    updateMenus(v);
}

// ---- Full screen ----

// Where the window manager's frame around the view stands: a window placed
// at a position has its frame's corner there, so this is where it goes back.
Point framePosition(const View &v) {
    Display *d = gX.display;
    Window w = XtWindow(v.shell), root = 0, parent = 0, *children = nullptr;
    unsigned count = 0;
    if (w == 0) return {0, 0};
    while (XQueryTree(d, w, &root, &parent, &children, &count)) {
        if (children) XFree(children);
        if (parent == root || parent == 0) break;
        w = parent;
    }
    XWindowAttributes a{};
    XGetWindowAttributes(d, w, &a);
    return {a.x, a.y};
}

void setFullScreen(View &v, bool on) {
    if (on == v.fullScreen) return;
    Display *d = gX.display;
    const bool shown = XtIsRealized(v.shell) && [&] {
        XWindowAttributes a{};
        return XGetWindowAttributes(d, XtWindow(v.shell), &a) && a.map_state != IsUnmapped;
    }();
    if (shown) XtPopdown(v.shell);
    v.fullScreen = on;
    hideColorPicker(v);
    Widget bars[] = {v.menuBar, v.toolBar, v.statusBar, v.scrollBarH, v.scrollBarV};
    if (on) {
        Dimension width = 0, height = 0;
        XtVaGetValues(v.shell, XmNwidth, &width, XmNheight, &height, nullptr);
        const Point frame = framePosition(v);
        v.savedX = frame.x, v.savedY = frame.y, v.savedWidth = width, v.savedHeight = height;
        for (Widget w : bars)
            if (w) XtUnmanageChild(w);
        XtVaGetValues(v.drawingArea, XmNbackground, &v.areaBackground, nullptr);
        XtVaSetValues(v.drawingArea, XmNbackground, BlackPixel(d, gX.screen), nullptr);
        const Size screen = screenSize();
        XtVaSetValues(v.shell, XmNmwmDecorations, 0, XmNmwmFunctions, MWM_FUNC_CLOSE, XmNx, 0, XmNy, 0, XmNwidth,
                      Dimension(screen.width), XmNheight, Dimension(screen.height), nullptr);
    } else {
        if (v.menuBar) XtManageChild(v.menuBar);
        if (gSettings.view.toolBar) XtManageChild(v.toolBar);
        if (gSettings.view.statusBar) XtManageChild(v.statusBar);
        XtManageChild(v.scrollBarH);
        XtManageChild(v.scrollBarV);
        XtVaSetValues(v.drawingArea, XmNbackground, v.areaBackground, nullptr);
        XtVaSetValues(v.shell, XmNmwmDecorations, MWM_DECOR_ALL, XmNmwmFunctions, MWM_FUNC_ALL, XmNx,
                      Position(v.savedX), XmNy, Position(v.savedY), XmNwidth, Dimension(v.savedWidth), XmNheight,
                      Dimension(v.savedHeight), nullptr);
    }
    // Window managers that follow the desktop conventions read this state
    // when the window is mapped again.
    if (XtIsRealized(v.shell)) {
        const Atom state = XInternAtom(d, "_NET_WM_STATE", False);
        if (on) {
            Atom full = XInternAtom(d, "_NET_WM_STATE_FULLSCREEN", False);
            XChangeProperty(d, XtWindow(v.shell), state, XA_ATOM, 32, PropModeReplace,
                            reinterpret_cast<unsigned char *>(&full), 1);
        } else {
            XDeleteProperty(d, XtWindow(v.shell), state);
        }
    }
    // In full screen the pointer can be hidden over the picture.
    if (v.pictureWindow != 0) {
        if (on && gSettings.view.hideMouse)
            XDefineCursor(d, v.pictureWindow, blankCursor());
        else
            XUndefineCursor(d, v.pictureWindow);
    }
    if (shown) {
        XtPopup(v.shell, XtGrabNone);
        XmProcessTraversal(v.drawingArea, XmTRAVERSE_CURRENT);
    }
    if (hasPicture(v)) pictureChanged(v, true, v.zoomChanged);
    updateMenus(v);
}

// ---- Files, pages and frames ----------------------------------------------------------

void navigateFile(View &v, const char *move) {
    std::vector<std::string> list = v.fileList;
    int current = v.fileIndex;
    if (list.empty()) {
        list = folderPictures(folderOf(v.path));
        const auto it = std::find(list.begin(), list.end(), v.path);
        current = it == list.end() ? -1 : int(it - list.begin());
    }
    const int count = int(list.size());
    int target;
    if (current < 0 && (std::strcmp(move, "next") == 0 || std::strcmp(move, "prev") == 0)) {
        // The shown file has left the list: its neighbours by name.
        const int after = insertionIndex(list, v.path);
        target = std::strcmp(move, "next") == 0 ? (after < count ? after : -1) : after - 1;
    } else {
        target = navigateIndex(move, current, count);
    }
    if (target < 0) return;
    if (!settleChanges(v)) return;
    const int shown = v.fileIndex;
    if (!v.fileList.empty()) v.fileIndex = target;
    const std::string &path = list[size_t(target)];
    // A stopped load stays on the file shown.
    if (!loadViewFile(v, path, 0, gSettings.view.keepZoomFactor) && v.path != path) v.fileIndex = shown;
}

void navigatePage(View &v, int page) {
    if (v.frameCount > 1) {
        stopAnimation(v);
        showFrame(v, page);
        return;
    }
    if (page < 0 || page >= v.pageCount || page == v.page) return;
    if (!settleChanges(v)) return;
    loadViewFile(v, v.path, page, true);
}

void stopAnimation(View &v) {
    if (v.animationTimer) XtRemoveTimeOut(v.animationTimer);
    v.animationTimer = 0;
}

}  // namespace quivel
