#include "widgets/status_bar.h"

#include <Xm/DrawP.h>
#include <Xm/PrimitiveP.h>
#include <Xm/XmP.h>

#include <string>
#include <vector>

#include "widgets/class_check.h"
#include "widgets/widget_layout.h"

namespace {

constexpr int kPadding = 4;
constexpr int kGap = 2;

struct Part {
    std::string text;
    int alignment = quivel::kAlignBeginning;
};

struct StatusBarPart {
    XmFontList fontList;
    std::vector<Part> *parts;   // made in Initialize, deleted in Destroy
    GC textGC;
};

struct StatusBarRec {
    CorePart core;
    XmPrimitivePart primitive;
    StatusBarPart status;
};

struct StatusBarClassRec {
    CoreClassPart core_class;
    XmPrimitiveClassPart primitive_class;
    struct {
        XtPointer extension;
    } status_class;
};

using StatusBar = StatusBarRec *;

XtResource resources[] = {
    {const_cast<char *>(XmNfontList), const_cast<char *>(XmCFontList), const_cast<char *>(XmRFontList),
     sizeof(XmFontList), XtOffsetOf(StatusBarRec, status.fontList), const_cast<char *>(XmRImmediate), nullptr},
};

void makeGC(StatusBar w) {
    XGCValues values;
    values.foreground = w->primitive.foreground;
    values.background = w->core.background_pixel;
    w->status.textGC = XtGetGC(reinterpret_cast<Widget>(w), GCForeground | GCBackground, &values);
}

int lineHeight(StatusBar w) {
    XmString sample = XmStringCreateLocalized(const_cast<char *>("Xg"));
    // The first measure of a render table whose fonts load on demand may
    // come back empty while the font is being loaded; the second is right.
    int h = XmStringHeight(w->status.fontList, sample);
    if (h == 0) h = XmStringHeight(w->status.fontList, sample);
    XmStringFree(sample);
    return h;
}

Dimension preferredHeight(StatusBar w) {
    return Dimension(lineHeight(w) + 2 * (kGap + w->primitive.shadow_thickness + w->primitive.highlight_thickness));
}

// One line of text high; any width.
XtGeometryResult QueryGeometry(Widget widget, XtWidgetGeometry *, XtWidgetGeometry *preferred) {
    StatusBar w = reinterpret_cast<StatusBar>(widget);
    preferred->request_mode = CWHeight;
    preferred->height = preferredHeight(w);
    return preferred->height == w->core.height ? XtGeometryYes : XtGeometryAlmost;
}

void Initialize(Widget request, Widget created, ArgList, Cardinal *) {
    // The superclass gives a widget without a size a token one; the sizes
    // asked for are in `request`.
    StatusBar w = reinterpret_cast<StatusBar>(created);
    if (w->status.fontList == nullptr) w->status.fontList = XmeGetDefaultRenderTable(created, XmLABEL_FONTLIST);
    w->status.fontList = XmFontListCopy(w->status.fontList);
    w->status.parts = new std::vector<Part>();
    w->primitive.traversal_on = False;
    if (request->core.width == 0) w->core.width = 300;
    if (request->core.height == 0) w->core.height = preferredHeight(w);
    makeGC(w);
}

void Destroy(Widget widget) {
    StatusBar w = reinterpret_cast<StatusBar>(widget);
    delete w->status.parts;
    XmFontListFree(w->status.fontList);
    XtReleaseGC(widget, w->status.textGC);
}

void Redisplay(Widget widget, XEvent *, Region) {
    StatusBar w = reinterpret_cast<StatusBar>(widget);
    if (!XtIsRealized(widget)) return;
    Display *display = XtDisplay(widget);
    const Window window = XtWindow(widget);
    XClearWindow(display, window);
    const std::vector<Part> &parts = *w->status.parts;
    std::vector<XmString> strings;
    std::vector<quivel::StatusPartSpec> specs;
    for (const Part &p : parts) {
        XmString s = XmStringCreateLocalized(const_cast<char *>(p.text.c_str()));
        strings.push_back(s);
        specs.push_back({p.text.empty() ? 0 : int(XmStringWidth(w->status.fontList, s)), p.alignment});
    }
    const int shadow = w->primitive.shadow_thickness;
    const int inset = w->primitive.highlight_thickness;
    const std::vector<quivel::StatusPartBox> boxes =
        quivel::layoutStatusParts(int(w->core.width) - 2 * inset, specs, kPadding + shadow, kGap);
    const int height = int(w->core.height) - 2 * inset;
    const int textHeight = lineHeight(w);
    for (size_t i = 0; i < parts.size(); ++i) {
        const quivel::StatusPartBox &box = boxes[i];
        if (box.width <= 0) continue;
        XmeDrawShadows(display, window, w->primitive.top_shadow_GC, w->primitive.bottom_shadow_GC,
                       Position(inset + box.x), Position(inset), Dimension(box.width), Dimension(height),
                       Dimension(shadow), XmSHADOW_IN);
        XRectangle clip = {short(inset + box.x + shadow), short(inset + shadow),
                           (unsigned short)std::max(0, box.width - 2 * shadow),
                           (unsigned short)std::max(0, height - 2 * shadow)};
        XmStringDraw(display, window, w->status.fontList, strings[i], w->status.textGC, Position(inset + box.textX),
                     Position(inset + (height - textHeight) / 2), Dimension(specs[i].textWidth),
                     XmALIGNMENT_BEGINNING, XmSTRING_DIRECTION_L_TO_R, &clip);
    }
    for (XmString s : strings) XmStringFree(s);
}

Boolean SetValues(Widget old, Widget, Widget now, ArgList, Cardinal *) {
    StatusBar o = reinterpret_cast<StatusBar>(old), n = reinterpret_cast<StatusBar>(now);
    bool redraw = false;
    if (o->status.fontList != n->status.fontList) {
        XmFontListFree(o->status.fontList);
        n->status.fontList = XmFontListCopy(n->status.fontList);
        redraw = true;
    }
    if (o->primitive.foreground != n->primitive.foreground || o->core.background_pixel != n->core.background_pixel) {
        XtReleaseGC(now, o->status.textGC);
        makeGC(n);
        redraw = true;
    }
    return redraw;
}

StatusBarClassRec statusBarClassRec = {
    {
        reinterpret_cast<WidgetClass>(&xmPrimitiveClassRec),  // superclass
        const_cast<char *>("MyStatusBar"),                   // class_name
        sizeof(StatusBarRec),                                // widget_size
        nullptr, nullptr, False,                             // class_initialize, class_part_initialize, inited
        Initialize, nullptr,                                 // initialize, initialize_hook
        XtInheritRealize,                                    // realize
        nullptr, 0,                                          // actions
        resources, XtNumber(resources),                      // resources
        NULLQUARK,                                           // xrm_class
        True, XtExposeCompressMaximal, True, False,          // compression, visible_interest
        Destroy,                                             // destroy
        XtInheritResize,                                     // resize
        Redisplay,                                           // expose
        SetValues, nullptr, XtInheritSetValuesAlmost,       // set_values, hook, almost
        nullptr, nullptr,                                    // get_values_hook, accept_focus
        XtVersion, nullptr,                                  // version, callback_private
        XtInheritTranslations,                               // tm_table
        QueryGeometry, nullptr, nullptr,                     // query_geometry, display_accelerator, extension
    },
    {XmInheritBorderHighlight, XmInheritBorderUnhighlight, XtInheritTranslations, nullptr, nullptr, 0, nullptr},
    {nullptr},
};

// Asks for an expose instead of drawing at once: a window that sets all its
// parts in a row is drawn once.
void redraw(Widget w) {
    if (XtIsRealized(w)) XClearArea(XtDisplay(w), XtWindow(w), 0, 0, 0, 0, True);
}

}  // namespace

WidgetClass myStatusBarWidgetClass = reinterpret_cast<WidgetClass>(&statusBarClassRec);

Widget MyCreateStatusBar(Widget parent, const char *name, ArgList args, Cardinal argCount) {
    return XtCreateWidget(name, myStatusBarWidgetClass, parent, args, argCount);
}

void MyStatusBarSetPartCount(Widget w, int count) {
    if (!quivel::hasWidgetClass(w, myStatusBarWidgetClass, "MyStatusBarSetPartCount")) return;
    reinterpret_cast<StatusBar>(w)->status.parts->resize(size_t(std::max(0, count)));
    redraw(w);
}

void MyStatusBarSetText(Widget w, int part, const char *text, int alignment) {
    if (!quivel::hasWidgetClass(w, myStatusBarWidgetClass, "MyStatusBarSetText")) return;
    std::vector<Part> &parts = *reinterpret_cast<StatusBar>(w)->status.parts;
    if (part < 0 || size_t(part) >= parts.size()) return;
    parts[size_t(part)] = {text ? text : "", alignment};
    redraw(w);
}

const char *MyStatusBarGetText(Widget w, int part) {
    if (!quivel::hasWidgetClass(w, myStatusBarWidgetClass, "MyStatusBarGetText")) return nullptr;
    const std::vector<Part> &parts = *reinterpret_cast<StatusBar>(w)->status.parts;
    if (part < 0 || size_t(part) >= parts.size()) return nullptr;
    return parts[size_t(part)].text.c_str();
}
