// Every public function of Quivel's own widgets first checks the widget's
// class; on a mismatch it warns "<function>: widget has invalid class"
// through the toolkit's warning channel and does nothing.
#pragma once

#include <X11/Intrinsic.h>

#include <string>

namespace quivel {

inline bool hasWidgetClass(Widget w, WidgetClass widgetClass, const char *function) {
    if (w != nullptr && XtIsSubclass(w, widgetClass)) return true;
    const std::string message = std::string(function) + ": widget has invalid class";
    if (w != nullptr)
        XtAppWarning(XtWidgetToApplicationContext(w), message.c_str());
    else
        XtWarning(message.c_str());
    return false;
}

}  // namespace quivel
