// MyProgressBar: a horizontal bar filled from a value and a maximum
// (resources XmNvalue, XmNmaximum and "barColor").
#pragma once

#include <X11/Intrinsic.h>

extern WidgetClass myProgressBarWidgetClass;

Widget MyCreateProgressBar(Widget parent, const char *name, ArgList args, Cardinal argCount);
void MyProgressBarSetValue(Widget w, int value);
void MyProgressBarSetMaximum(Widget w, int maximum);
int MyProgressBarGetValue(Widget w);
