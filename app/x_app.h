// The X side of the application shell: the toolkit context, the display and
// the top-level shell made at start-up, and the display set-up every window
// kind uses.
#pragma once

#include <X11/Intrinsic.h>

#include "app/color_context.h"
#include "app/display_visual.h"
#include "app/icon_images.h"

namespace quivel {

struct XApp {
    XtAppContext context = nullptr;
    Display *display = nullptr;
    int screen = 0;
    Widget topLevel = nullptr;        // realised, never mapped
    Widget mainWindow = nullptr;      // the first window opened
    Pixmap iconPixmap = 0;
    DisplayVisual visual;             // the visual chosen at start-up
    ColorContext *colors = nullptr;   // its shared colour context
    int argc = 0;                     // the argument vector as given, for XSetCommand
    char **argv = nullptr;
    int modalLoops = 0;               // dialogs waiting for their answer (ModalLoop)
};

extern XApp gX;

// A dialog that waits for its answer in an event loop of its own counts
// itself for as long as it waits. Its caller holds a window's state across
// that loop, so the window manager's requests to close a window are refused
// while such a loop runs (modalLoopRunning); the user answers first.
class ModalLoop {
public:
    ModalLoop() { ++gX.modalLoops; }
    ~ModalLoop() { --gX.modalLoops; }
    ModalLoop(const ModalLoop &) = delete;
    ModalLoop &operator=(const ModalLoop &) = delete;
};
inline bool modalLoopRunning() { return gX.modalLoops > 0; }

// Visual choice and listing.
void ChooseVisual(long visualId, DisplayVisual &out);
void ListVisuals();
// The visual a picture window is made with for the chosen one: the same, or
// its opaque twin (pictureVisualIndex in display_visual.h).
void ChoosePictureVisual(const DisplayVisual &chosen, DisplayVisual &out);

// Icons and pointers.
Pixmap CreateIconPixmap(Widget widget, const IconImage &icon);
void CreatePointerShapes();
void FreePointerShapes();
Cursor movePointer();
Cursor grabPointer();
void SetBusyCursor(Widget widget, bool on);

// Records the argument vector on the first window opened, which becomes the
// program's main window. Later calls do nothing.
void setMainWindow(Widget shell);

// The single exit path: frees what start-up took and exits with status 0.
[[noreturn]] void quit();

// Writes the configuration, then quits: the way out when the last window closes.
[[noreturn]] void saveSettingsAndQuit();

}  // namespace quivel
