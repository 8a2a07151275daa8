// The image view window "TolvaView" and its state.
//
// A View is made by openView (app/later_parts.h) and freed by its shell's
// destroy callback; every action and callback finds its View through the
// widget it came from (viewForWidget). All open views are in one list; when
// the last one goes and no browser is open, the configuration is written
// and the program ends.
//
// Widgets: the shell holds `mainWindow` (an XmMainWindow) with the menu bar
// (or, with -popup or View.UsePopupInView, a popup menu on the picture
// instead), the toolbar `toolBar`, the work area `drawingArea`, the scroll
// bars `scrollBarH` and `scrollBarV` and the status bar `statusBar`. The
// window's controls use the display's default visual, which every Motif
// widget and dialog handles; the picture itself is drawn into a child window
// of the drawing area made with the visual chosen at start-up and its
// colormap (a deep visual's alpha pixels are refused by the colour queries
// Motif makes, so no widget lives on it), or with that visual's opaque twin
// when it has one (`visual`; see pictureVisualIndex). That window covers
// exactly the visible part of the displayed picture; its events reach the
// drawing area.
//
// Pictures: `pictures` owns the current and the undo picture; the renderer
// reads the current one and is prepared again after every change of
// picture, zoom or mask view.
#pragma once

#include <X11/Intrinsic.h>

#include <string>
#include <vector>

#include "app/color_context.h"
#include "picture/renderer.h"
#include "view/picture_slots.h"
#include "view/view_geometry.h"

namespace quivel {

struct View {
    PictureSlots pictures;

    Widget shell = nullptr;
    Widget mainWindow = nullptr;
    Widget menuBar = nullptr;       // or nullptr with a popup menu
    Widget popupMenu = nullptr;
    Widget toolBar = nullptr;
    Widget drawingArea = nullptr;
    Widget statusBar = nullptr;
    Widget scrollBarH = nullptr;
    Widget scrollBarV = nullptr;
    Widget colorPicker = nullptr;   // the shell of ColorPickerText
    Widget pageDialog = nullptr;
    Window pictureWindow = 0;
    GC gc = nullptr;                // for the picture window
    GC selectionGc = nullptr;
    DisplayVisual visual;           // of the picture window; the renderer points at it
    ColorContext *colors = nullptr;
    Renderer renderer;
    bool rendererReady = false;

    std::string path;               // the file shown
    int formatIndex = -1;
    uint64_t fileSize = 0;
    int fit = 0;                    // View.Fit values
    bool modified = false;
    bool loadFailed = false;
    bool fullScreen = false;
    bool showMask = false;
    bool colorInformation = false;

    bool selectionActive = false;
    PictureRectangle selection;

    int zoom = 100;                 // horizontal and vertical alike
    bool zoomChanged = false;       // the user zoomed since the last load
    Offset anchor;                  // from the centre, for "+" and "-"
    PictureLayout layout;
    Size area;                      // the drawing area's size

    XtIntervalId animationTimer = 0;
    int frameCount = 1, frame = 0;
    std::vector<uint32_t> delaysMs;
    std::vector<Picture> frames;    // decoded frames, kept while animating

    int pageCount = 1, page = 0;

    std::vector<std::string> fileList;   // empty: the file's folder is browsed
    int fileIndex = 0;
    std::string secondText;

    // Full screen: the window's place before it.
    int savedX = 0, savedY = 0, savedWidth = 0, savedHeight = 0;
    unsigned long areaBackground = 0;

    // Mouse: a selection being dragged, or the picture being moved.
    enum class Drag { Idle, Select, Move } drag = Drag::Idle;
    int dragX = 0, dragY = 0;
    Offset dragOffset;

    // Fitting the window to the picture: the controls may fold (a menu bar
    // or toolbar that wraps) after the shell has its new size, so the fit is
    // checked again as the area's size settles, a few times, for a moment.
    int fitPasses = 0;
    long fitUntilMs = 0;

    bool firstPaintReported = false;
    std::string lastStatus;
    long openedAtMs = 0;
};

// The view owning a widget (any widget of its window, menus and dialogs
// included), or nullptr.
View *viewForWidget(Widget w);
const std::vector<View *> &openViews();

// Loading into a view: a new file (page 0) or another page of the same one.
// `keepZoom` keeps the zoom instead of applying the fit mode. False when the
// load failed (the view then shows nothing and `loadFailed` is set) or was
// stopped: a view that shows a picture keeps it, its file and its page when
// the user stops the load (or it is refused while another runs).
bool loadViewFile(View &view, const std::string &path, int page, bool keepZoom);
// Shows the current picture after it changed: renderer, fit, layout, redraw,
// status bar, title and menus. `newPicture` applies the fit mode's zoom.
void pictureChanged(View &view, bool newPicture, bool keepZoom = false);

void updateStatus(View &view);
void setModified(View &view, bool modified);
void setZoom(View &view, const char *argument);
void fitWindowToPicture(View &view, bool setFitMode);
void setFitMode(View &view, int mode);
void scrollTo(View &view, Offset offset);
void redrawPicture(View &view);
void setFullScreen(View &view, bool on);
void setShowMask(View &view, bool on);
void setColorInformation(View &view, bool on);
void setStatusBarShown(View &view, bool on);
void setToolBarShown(View &view, bool on);
void setSelection(View &view, bool active, PictureRectangle rect = {});
void navigateFile(View &view, const char *move);
void navigatePage(View &view, int page);
void stopAnimation(View &view);

// Destroys the view's shell now (its destroy callback frees the view).
void destroyView(View &view);

// Commands (view_commands.cpp).
void runViewCommand(View &view, const char *name);
// Asks about unsaved changes and saves on yes; false when a save failed.
bool settleChanges(View &view);
void applyPictureOperation(View &view, const SlotOperation &operation, bool usesSelection);
void saveViewInPlace(View &view);
void countColors(View &view);

// Menus and toolbar (view_menus.cpp, view_toolbar.cpp).
void buildMenus(View &view);
void updateMenus(View &view);
void buildToolBar(View &view);

// Dialogs (view_dialogs.cpp).
void showPageDialog(View &view);
void updatePageDialog(View &view);
void resizeDialog(View &view);
void canvasDialog(View &view);

// The clipboard (view_clipboard.cpp).
void copyToClipboard(View &view);
void pasteFromClipboard(View &view);

}  // namespace quivel
