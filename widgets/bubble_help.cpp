#include "widgets/bubble_help.h"

#include <X11/IntrinsicP.h>
#include <X11/ShellP.h>
#include <Xm/Label.h>
#include <Xm/Xm.h>

#include <cstring>
#include <map>
#include <string>

#include "widgets/class_check.h"
#include "widgets/widget_layout.h"

namespace {

struct BubblePart {
    int delayMs;
    Boolean enabled;
    Widget label;
    XtIntervalId timer;
    Widget pending;        // the widget whose tip the timer will show
    int pendingX, pendingY;
};

struct BubbleRec {
    CorePart core;
    CompositePart composite;
    ShellPart shell;
    OverrideShellPart override_shell;
    BubblePart bubble;
};

struct BubbleClassRec {
    CoreClassPart core_class;
    CompositeClassPart composite_class;
    ShellClassPart shell_class;
    OverrideShellClassPart override_shell_class;
    struct {
        XtPointer extension;
    } bubble_class;
};

using Bubble = BubbleRec *;

// Which bubble and tip belong to each attached widget.
struct Tip {
    Widget bubble;
    std::string text;
};
std::map<Widget, Tip> &tips() {
    static std::map<Widget, Tip> table;
    return table;
}

XtResource resources[] = {
    {const_cast<char *>("delay"), const_cast<char *>("Delay"), const_cast<char *>(XmRInt), sizeof(int),
     XtOffsetOf(BubbleRec, bubble.delayMs), const_cast<char *>(XmRImmediate), reinterpret_cast<XtPointer>(600)},
};

void cancelTimer(Bubble b) {
    if (b->bubble.timer) XtRemoveTimeOut(b->bubble.timer);
    b->bubble.timer = 0;
    b->bubble.pending = nullptr;
}

void show(Bubble b, const char *text, int rootX, int rootY) {
    Widget self = reinterpret_cast<Widget>(b);
    XmString string = XmStringCreateLtoR(const_cast<char *>(text), const_cast<char *>(XmFONTLIST_DEFAULT_TAG));
    XtVaSetValues(b->bubble.label, XmNlabelString, string, nullptr);
    XmStringFree(string);
    if (!XtIsRealized(self)) XtRealizeWidget(self);
    Dimension width = 0, height = 0;
    XtVaGetValues(b->bubble.label, XmNwidth, &width, XmNheight, &height, nullptr);
    Screen *screen = XtScreen(self);
    const quivel::Point at = quivel::bubblePosition(rootX, rootY, width, height, WidthOfScreen(screen),
                                                    HeightOfScreen(screen));
    XtVaSetValues(self, XmNx, Position(at.x), XmNy, Position(at.y), XmNwidth, width, XmNheight, height, nullptr);
    XtPopup(self, XtGrabNone);
    XRaiseWindow(XtDisplay(self), XtWindow(self));
}

void timerFired(XtPointer clientData, XtIntervalId *) {
    Bubble b = static_cast<Bubble>(clientData);
    b->bubble.timer = 0;
    Widget target = b->bubble.pending;
    b->bubble.pending = nullptr;
    auto it = tips().find(target);
    if (it != tips().end() && b->bubble.enabled) show(b, it->second.text.c_str(), b->bubble.pendingX, b->bubble.pendingY);
}

void targetDestroyed(Widget w, XtPointer, XtPointer) {
    auto it = tips().find(w);
    if (it == tips().end()) return;
    Bubble b = reinterpret_cast<Bubble>(it->second.bubble);
    if (b->bubble.pending == w) cancelTimer(b);
    tips().erase(it);
}

void crossing(Widget w, XtPointer, XEvent *event, Boolean *) {
    String param = const_cast<String>(event->type == EnterNotify ? "enter" : "leave");
    Cardinal one = 1;
    DoBubble(w, event, &param, &one);
}

void Initialize(Widget, Widget created, ArgList, Cardinal *) {
    Bubble b = reinterpret_cast<Bubble>(created);
    b->bubble.enabled = True;
    b->bubble.timer = 0;
    b->bubble.pending = nullptr;
    const std::string labelName = std::string(XtName(created)) + "Text";
    b->bubble.label = XtVaCreateManagedWidget(labelName.c_str(), xmLabelWidgetClass, created, XmNborderWidth, 1,
                                              XmNmarginWidth, 3, XmNmarginHeight, 2, nullptr);
}

void Destroy(Widget widget) {
    Bubble b = reinterpret_cast<Bubble>(widget);
    cancelTimer(b);
    std::erase_if(tips(), [&](const auto &entry) { return entry.second.bubble == widget; });
}

BubbleClassRec bubbleClassRec = {
    {
        reinterpret_cast<WidgetClass>(&overrideShellClassRec),  // superclass
        const_cast<char *>("MyBubble"),                        // class_name
        sizeof(BubbleRec),                                     // widget_size
        nullptr, nullptr, False,                               // class_initialize, class_part_initialize, inited
        Initialize, nullptr,                                   // initialize, initialize_hook
        XtInheritRealize,                                      // realize
        nullptr, 0,                                            // actions
        resources, XtNumber(resources),                        // resources
        NULLQUARK,                                             // xrm_class
        False, True, False, False,                             // compression, visible_interest
        Destroy,                                               // destroy
        XtInheritResize, nullptr,                              // resize, expose
        nullptr, nullptr, XtInheritSetValuesAlmost,           // set_values, hook, almost
        nullptr, nullptr,                                      // get_values_hook, accept_focus
        XtVersion, nullptr,                                    // version, callback_private
        nullptr,                                               // tm_table
        nullptr, nullptr, nullptr,                             // query_geometry, display_accelerator, extension
    },
    {XtInheritGeometryManager, XtInheritChangeManaged, XtInheritInsertChild, XtInheritDeleteChild, nullptr},
    {nullptr},
    {nullptr},
    {nullptr},
};

Bubble checked(Widget w, const char *function) {
    return quivel::hasWidgetClass(w, myBubbleWidgetClass, function) ? reinterpret_cast<Bubble>(w) : nullptr;
}

}  // namespace

WidgetClass myBubbleWidgetClass = reinterpret_cast<WidgetClass>(&bubbleClassRec);

Widget MyCreateBubble(Widget parent, const char *name) {
    return XtVaCreatePopupShell(name, myBubbleWidgetClass, parent, XmNallowShellResize, True, nullptr);
}

void MyBubbleAttach(Widget bubble, Widget target, const char *tip) {
    if (checked(bubble, "MyBubbleAttach") == nullptr || target == nullptr) return;
    const bool known = tips().count(target) != 0;
    tips()[target] = {bubble, tip ? tip : ""};
    if (known) return;
    // An event handler rather than translations: buttons already bind their
    // enter and leave events, and a handler runs beside those bindings.
    XtAddEventHandler(target, EnterWindowMask | LeaveWindowMask | ButtonPressMask, False, crossing, nullptr);
    XtAddCallback(target, XmNdestroyCallback, targetDestroyed, nullptr);
}

void MyBubbleSetEnabled(Widget bubble, Boolean enabled) {
    Bubble b = checked(bubble, "MyBubbleSetEnabled");
    if (b == nullptr) return;
    b->bubble.enabled = enabled;
    if (!enabled) MyBubbleHide(bubble);
}

void MyBubbleSetDelay(Widget bubble, int delayMs) {
    if (Bubble b = checked(bubble, "MyBubbleSetDelay")) b->bubble.delayMs = delayMs < 0 ? 0 : delayMs;
}

void MyBubbleShowAt(Widget bubble, const char *text, int rootX, int rootY) {
    Bubble b = checked(bubble, "MyBubbleShowAt");
    if (b == nullptr || text == nullptr) return;
    cancelTimer(b);
    show(b, text, rootX, rootY);
}

void MyBubbleHide(Widget bubble) {
    Bubble b = checked(bubble, "MyBubbleHide");
    if (b == nullptr) return;
    cancelTimer(b);
    XtPopdown(bubble);
}

void DoBubble(Widget w, XEvent *event, String *params, Cardinal *paramCount) {
    auto it = tips().find(w);
    if (it == tips().end() || *paramCount != 1) return;
    Bubble b = reinterpret_cast<Bubble>(it->second.bubble);
    if (std::strcmp(params[0], "enter") == 0 && event != nullptr && event->type == EnterNotify) {
        cancelTimer(b);
        if (!b->bubble.enabled) return;
        b->bubble.pending = w;
        b->bubble.pendingX = event->xcrossing.x_root;
        b->bubble.pendingY = event->xcrossing.y_root;
        b->bubble.timer = XtAppAddTimeOut(XtWidgetToApplicationContext(w), unsigned(b->bubble.delayMs), timerFired, b);
    } else {
        MyBubbleHide(reinterpret_cast<Widget>(b));
    }
}
