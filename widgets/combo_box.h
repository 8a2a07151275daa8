// MyComboBox: a text field with an arrow that drops a list of choices
// (recent folders, formats...). Resources: "arrowColor", XmNfontList,
// XmNvisibleItemCount; XmNactivateCallback is called when the user presses
// Return in the text or picks an item, with a MyComboBoxCallbackStruct.
// Keyboard: Down (or Alt+Down) opens the list; Return picks, Escape closes.
#pragma once

#include <X11/Intrinsic.h>

extern WidgetClass myComboBoxWidgetClass;

struct MyComboBoxCallbackStruct {
    int reason;            // XmCR_ACTIVATE
    XEvent *event;
    const char *text;      // the chosen text, valid during the call
};

Widget MyCreateComboBox(Widget parent, const char *name, ArgList args, Cardinal argCount);
// Adds an item at a 1-based position (0 appends).
void MyComboBoxAddItem(Widget w, const char *text, int position);
void MyComboBoxDeleteAllItems(Widget w);
int MyComboBoxGetItemCount(Widget w);
void MyComboBoxSetText(Widget w, const char *text);
// A copy of the text, to be released with XtFree; nullptr for a wrong widget.
char *MyComboBoxGetText(Widget w);
Widget MyComboBoxGetTextField(Widget w);
Widget MyComboBoxGetList(Widget w);
