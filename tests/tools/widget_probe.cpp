// A test-only program that shows each of Quivel's own widgets in one window
// "WidgetProbe", so that GUI tests can drive them with real events:
//   progress bar at value 30 of 120, a status bar with three parts (the last
//   one at the end), a combo box with three items, and a button with a tip.
// A combo box activation prints "activate: <text>" on standard output. With
// the argument "misuse" it first calls every public function on a widget of
// the wrong class, which must only warn.
#include <Xm/Form.h>
#include <Xm/Label.h>
#include <Xm/PushB.h>
#include <Xm/Xm.h>

#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "app/fallback_resources.h"
#include "widgets/bubble_help.h"
#include "widgets/combo_box.h"
#include "widgets/progress_bar.h"
#include "widgets/status_bar.h"

namespace {

void activated(Widget, XtPointer, XtPointer callData) {
    std::printf("activate: %s\n", static_cast<MyComboBoxCallbackStruct *>(callData)->text);
    std::fflush(stdout);
}

void misuse(Widget wrong) {
    MyProgressBarSetValue(wrong, 1);
    MyProgressBarSetMaximum(wrong, 1);
    MyProgressBarGetValue(wrong);
    MyStatusBarSetPartCount(wrong, 1);
    MyStatusBarSetText(wrong, 0, "x", 0);
    MyStatusBarGetText(wrong, 0);
    MyComboBoxAddItem(wrong, "x", 0);
    MyComboBoxDeleteAllItems(wrong);
    MyComboBoxGetItemCount(wrong);
    MyComboBoxSetText(wrong, "x");
    MyComboBoxGetText(wrong);
    MyComboBoxGetTextField(wrong);
    MyComboBoxGetList(wrong);
    MyBubbleAttach(wrong, wrong, "x");
    MyBubbleSetEnabled(wrong, True);
    MyBubbleSetDelay(wrong, 1);
    MyBubbleShowAt(wrong, "x", 0, 0);
    MyBubbleHide(wrong);
}

}  // namespace

int main(int argc, char **argv) {
    XtAppContext context;
    XtActionsRec actions[] = {{const_cast<char *>("DoBubble"), DoBubble}};
    Widget top = XtVaAppInitialize(&context, "Quivel", nullptr, 0, &argc, argv,
                                   const_cast<String *>(quivel::kFallbackResources), XmNtitle, "WidgetProbe",
                                   nullptr);
    XtAppAddActions(context, actions, 1);
    Widget form = XtVaCreateManagedWidget("form", xmFormWidgetClass, top, XmNwidth, 400, nullptr);
    if (argc > 1 && std::strcmp(argv[1], "misuse") == 0) misuse(form);

    Widget bar = MyCreateProgressBar(form, "BarH", nullptr, 0);
    XtVaSetValues(bar, XmNtopAttachment, XmATTACH_FORM, XmNleftAttachment, XmATTACH_FORM, XmNwidth, 244,
                  XmNheight, 20, XmNshadowThickness, 2, XmNhighlightThickness, 0, nullptr);
    MyProgressBarSetMaximum(bar, 120);
    MyProgressBarSetValue(bar, 30);
    XtManageChild(bar);

    Widget combo = MyCreateComboBox(form, "comboBox", nullptr, 0);
    XtVaSetValues(combo, XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, bar, XmNtopOffset, 10, XmNleftAttachment,
                  XmATTACH_FORM, XmNwidth, 250, nullptr);
    for (const char *item : {"/home/first", "/tmp/second", "/var/third"}) MyComboBoxAddItem(combo, item, 0);
    MyComboBoxSetText(combo, "/start");
    XtAddCallback(combo, XmNactivateCallback, activated, nullptr);
    XtManageChild(combo);

    Widget button = XtVaCreateManagedWidget("tipButton", xmPushButtonWidgetClass, form, XmNtopAttachment,
                                            XmATTACH_WIDGET, XmNtopWidget, combo, XmNtopOffset, 10,
                                            XmNleftAttachment, XmATTACH_FORM, nullptr);
    Widget bubble = MyCreateBubble(top, "ButtonBubble");
    MyBubbleSetDelay(bubble, 200);
    MyBubbleAttach(bubble, button, "Zoom in");

    Widget status = MyCreateStatusBar(form, "statusBar", nullptr, 0);
    XtVaSetValues(status, XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, button, XmNtopOffset, 10,
                  XmNbottomAttachment, XmATTACH_FORM, XmNleftAttachment, XmATTACH_FORM,
                  XmNrightAttachment, XmATTACH_FORM, XmNshadowThickness, 1, nullptr);
    MyStatusBarSetPartCount(status, 3);
    MyStatusBarSetText(status, 0, "clouds.jpg", 0);
    MyStatusBarSetText(status, 1, "640x480x24", 0);
    MyStatusBarSetText(status, 2, "100%", 2);
    XtManageChild(status);

    XtRealizeWidget(top);
    XtAppMainLoop(context);
}
