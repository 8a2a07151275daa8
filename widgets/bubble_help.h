// MyBubble: tool tips. A small override shell (named as the caller asks,
// "ButtonBubble" for toolbar buttons) with a label named after it plus
// "Text". Widgets attached to a bubble show their tip after a short pause
// with the pointer over them (the global action DoBubble, bound to their
// enter and leave events), and hide it when the pointer leaves or a button
// is pressed. The same action can be bound in translations elsewhere.
#pragma once

#include <X11/Intrinsic.h>

extern WidgetClass myBubbleWidgetClass;

Widget MyCreateBubble(Widget parent, const char *name);
void MyBubbleAttach(Widget bubble, Widget target, const char *tip);
void MyBubbleSetEnabled(Widget bubble, Boolean enabled);
void MyBubbleSetDelay(Widget bubble, int delayMs);
// Shows a text at a root-window position at once, or hides the bubble.
void MyBubbleShowAt(Widget bubble, const char *text, int rootX, int rootY);
void MyBubbleHide(Widget bubble);

// The action behind the bindings: DoBubble(enter) or DoBubble(leave).
void DoBubble(Widget w, XEvent *event, String *params, Cardinal *paramCount);
