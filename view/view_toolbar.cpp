// The view toolbar: one button per bit of Start.ToolbarViewConfig, with its
// tip in the shared bubble "ButtonBubble".
#include <Xm/PushB.h>
#include <Xm/Xm.h>

#include <array>
#include <utility>
#include <vector>

#include "app/later_parts.h"
#include "app/motif_text.h"
#include "app/settings.h"
#include "app/x_app.h"
#include "view/menu_tables.h"
#include "view/toolbar_icons.h"
#include "view/view_window.h"
#include "widgets/bubble_help.h"

namespace quivel {

namespace {

// Shared by every view: the bubble and one pixmap per icon, made on first
// use and freed on the way out.
Widget gBubble = nullptr;
std::array<Pixmap, kToolbarIconCount> gIconPixmaps{};

void buttonActivated(Widget w, XtPointer clientData, XtPointer callData) {
    auto *cb = static_cast<XmAnyCallbackStruct *>(callData);
    String params[1] = {static_cast<String>(clientData)};
    XtCallActionProc(w, const_cast<String>("ViewDoCommand"), cb ? cb->event : nullptr, params, 1);
}

Pixmap iconPixmap(Widget button, int index) {
    const IconImage *icon = toolbarIcon(index);
    if (icon == nullptr) return 0;
    if (gIconPixmaps[size_t(index)] == 0) gIconPixmaps[size_t(index)] = CreateIconPixmap(button, *icon);
    return gIconPixmaps[size_t(index)];
}

}  // namespace

void buildToolBar(View &v) {
    if (gBubble == nullptr) {
        gBubble = MyCreateBubble(gX.topLevel, "ButtonBubble");
        MyBubbleSetDelay(gBubble, 600);
    }
    MyBubbleSetEnabled(gBubble, gSettings.start.showToolTipsInToolbar);
    const bool pictures = gSettings.start.toolbarIndex == 0;
    Widget previous = nullptr;
    for (const ToolbarButton *b : shownToolbarButtons(gSettings.start.toolbarViewConfig)) {
        Widget button = XtVaCreateManagedWidget(b->name, xmPushButtonWidgetClass, v.toolBar, XmNtraversalOn, False,
                                                XmNmarginWidth, 2, XmNmarginHeight, 2, XmNtopAttachment,
                                                XmATTACH_FORM, XmNleftAttachment,
                                                previous ? XmATTACH_WIDGET : XmATTACH_FORM, XmNleftWidget, previous,
                                                nullptr);
        previous = button;
        const Pixmap pixmap = pictures ? iconPixmap(button, b->icon) : 0;
        if (pixmap > 2) {
            XtVaSetValues(button, XmNlabelType, XmPIXMAP, XmNlabelPixmap, pixmap, nullptr);
        } else {
            XtVaSetValues(button, XmNlabelString, static_cast<XmString>(CompoundString(b->tip)), nullptr);
        }
        XtAddCallback(button, XmNactivateCallback, buttonActivated, const_cast<char *>(b->command));
        MyBubbleAttach(gBubble, button, b->tip);
    }
}

void releaseToolbarResources() {
    for (Pixmap &p : gIconPixmaps) {
        if (p > 2) XFreePixmap(gX.display, p);
        p = 0;
    }
    if (gBubble != nullptr) XtDestroyWidget(gBubble);
    gBubble = nullptr;
}

}  // namespace quivel
