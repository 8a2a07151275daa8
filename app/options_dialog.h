// The options dialog "TolvaOption": the list of pages on the left, one page
// at a time on the right, and "OK", "Apply" and "Cancel" below.
//
// There is one dialog at a time; opening it while it is open raises it. A
// page's controls are loaded from `gSettings` when the page is first shown;
// OK and Apply store every page shown so far back into `gSettings` (and the
// file types into `gFileTypeFlags`), Cancel and the window manager's close
// discard them. Nothing is written to disk here: the configuration file is
// written on the way out.
//
// With -v the dialog reports on standard error where its controls are each
// time a page is shown, one line per widget:
//   "TolvaOption <page> <widget name> <x> <y> <width> <height>"
// in pixels from the dialog window's origin ("<page>" is "dialog" for the
// page list entries, named after their page, and the buttons).
#pragma once

#include <X11/Intrinsic.h>

namespace quivel {

void optionsDialog(Widget parent);
// Opens (or raises) the dialog on one page, by the page's widget name
// ("PSlideShow"); an unknown name opens it where it was.
void optionsDialogAtPage(Widget parent, const char *pageName);

}  // namespace quivel
