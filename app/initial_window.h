// The initial window "TolvaInit", shown when start-up opens nothing else, and
// the About box.
#pragma once

#include <X11/Intrinsic.h>

namespace quivel {

// Makes and shows the initial window; returns its shell.
Widget openInitialWindow();

// Shows the About box "TolvaAbout" over `parent`, or raises it.
void showAboutBox(Widget parent);

}  // namespace quivel
