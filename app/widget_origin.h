// Where a widget sits in its dialog, for the layout reports that dialogs
// write with -v.
#pragma once

#include <Xm/Xm.h>

namespace quivel {

// The origin of a widget's window (inside its border), in pixels from the
// dialog window's origin. The shell's child fills the shell whatever its x
// and y say (a shell's child may report the shell's own position).
inline void originInShell(Widget w, Position &x, Position &y) {
    x = y = 0;
    for (Widget p = w; p && !XtIsShell(p); p = XtParent(p)) {
        Position px = 0, py = 0;
        Dimension border = 0;
        XtVaGetValues(p, XmNx, &px, XmNy, &py, XmNborderWidth, &border, nullptr);
        if (XtParent(p) && XtIsShell(XtParent(p))) px = py = 0;
        x = Position(x + px + border);
        y = Position(y + py + border);
    }
}

}  // namespace quivel
