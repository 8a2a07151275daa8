// MyStatusBar: a bar divided into a settable number of parts, each holding
// a text with an alignment code (0 beginning, 1 centre, 2 end). Parts with
// code 2 sit at the bar's right end.
#pragma once

#include <X11/Intrinsic.h>

extern WidgetClass myStatusBarWidgetClass;

Widget MyCreateStatusBar(Widget parent, const char *name, ArgList args, Cardinal argCount);
void MyStatusBarSetPartCount(Widget w, int count);
void MyStatusBarSetText(Widget w, int part, const char *text, int alignment);
// The part's text (owned by the widget), or nullptr.
const char *MyStatusBarGetText(Widget w, int part);
