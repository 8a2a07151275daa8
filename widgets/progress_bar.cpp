#include "widgets/progress_bar.h"

#include <Xm/DrawP.h>
#include <Xm/PrimitiveP.h>
#include <Xm/XmP.h>

#include "widgets/class_check.h"
#include "widgets/widget_layout.h"

namespace {

struct ProgressBarPart {
    int value;
    int maximum;
    Pixel barColor;
    GC barGC;
    GC troughGC;
};

struct ProgressBarRec {
    CorePart core;
    XmPrimitivePart primitive;
    ProgressBarPart bar;
};

struct ProgressBarClassPart {
    XtPointer extension;
};

struct ProgressBarClassRec {
    CoreClassPart core_class;
    XmPrimitiveClassPart primitive_class;
    ProgressBarClassPart bar_class;
};

using ProgressBar = ProgressBarRec *;

XtResource resources[] = {
    {const_cast<char *>(XmNvalue), const_cast<char *>(XmCValue), const_cast<char *>(XmRInt), sizeof(int),
     XtOffsetOf(ProgressBarRec, bar.value), const_cast<char *>(XmRImmediate), reinterpret_cast<XtPointer>(0)},
    {const_cast<char *>(XmNmaximum), const_cast<char *>(XmCMaximum), const_cast<char *>(XmRInt), sizeof(int),
     XtOffsetOf(ProgressBarRec, bar.maximum), const_cast<char *>(XmRImmediate), reinterpret_cast<XtPointer>(100)},
    {const_cast<char *>("barColor"), const_cast<char *>("BarColor"), const_cast<char *>(XmRPixel), sizeof(Pixel),
     XtOffsetOf(ProgressBarRec, bar.barColor), const_cast<char *>(XmRString), const_cast<char *>("#707070")},
};

void makeGCs(ProgressBar w) {
    XGCValues values;
    values.foreground = w->bar.barColor;
    w->bar.barGC = XtGetGC(reinterpret_cast<Widget>(w), GCForeground, &values);
    values.foreground = w->core.background_pixel;
    w->bar.troughGC = XtGetGC(reinterpret_cast<Widget>(w), GCForeground, &values);
}

void freeGCs(ProgressBar w) {
    XtReleaseGC(reinterpret_cast<Widget>(w), w->bar.barGC);
    XtReleaseGC(reinterpret_cast<Widget>(w), w->bar.troughGC);
}

void Initialize(Widget request, Widget created, ArgList, Cardinal *) {
    // The superclass gives a widget without a size a token one; the sizes
    // asked for are in `request`.
    ProgressBar w = reinterpret_cast<ProgressBar>(created);
    if (request->core.width == 0) w->core.width = 200;
    if (request->core.height == 0) w->core.height = 18;
    w->primitive.traversal_on = False;
    makeGCs(w);
}

void Destroy(Widget widget) { freeGCs(reinterpret_cast<ProgressBar>(widget)); }

void Redisplay(Widget widget, XEvent *, Region) {
    ProgressBar w = reinterpret_cast<ProgressBar>(widget);
    if (!XtIsRealized(widget)) return;
    Display *display = XtDisplay(widget);
    const int inset = w->primitive.highlight_thickness + w->primitive.shadow_thickness;
    const int innerWidth = int(w->core.width) - 2 * inset;
    const int innerHeight = int(w->core.height) - 2 * inset;
    if (innerWidth <= 0 || innerHeight <= 0) return;
    const int filled = quivel::progressFillWidth(innerWidth, w->bar.value, w->bar.maximum);
    if (filled > 0)
        XFillRectangle(display, XtWindow(widget), w->bar.barGC, inset, inset, unsigned(filled), unsigned(innerHeight));
    if (filled < innerWidth)
        XFillRectangle(display, XtWindow(widget), w->bar.troughGC, inset + filled, inset, unsigned(innerWidth - filled),
                       unsigned(innerHeight));
    XmeDrawShadows(display, XtWindow(widget), w->primitive.top_shadow_GC, w->primitive.bottom_shadow_GC,
                   w->primitive.highlight_thickness, w->primitive.highlight_thickness,
                   Dimension(w->core.width - 2 * w->primitive.highlight_thickness),
                   Dimension(w->core.height - 2 * w->primitive.highlight_thickness), w->primitive.shadow_thickness,
                   XmSHADOW_IN);
}

Boolean SetValues(Widget old, Widget, Widget now, ArgList, Cardinal *) {
    ProgressBar o = reinterpret_cast<ProgressBar>(old), n = reinterpret_cast<ProgressBar>(now);
    if (o->bar.barColor != n->bar.barColor || o->core.background_pixel != n->core.background_pixel) {
        freeGCs(o);
        makeGCs(n);
        return True;
    }
    return o->bar.value != n->bar.value || o->bar.maximum != n->bar.maximum;
}

ProgressBarClassRec progressBarClassRec = {
    {
        reinterpret_cast<WidgetClass>(&xmPrimitiveClassRec),  // superclass
        const_cast<char *>("MyProgressBar"),                 // class_name
        sizeof(ProgressBarRec),                              // widget_size
        nullptr,                                             // class_initialize
        nullptr,                                             // class_part_initialize
        False,                                               // class_inited
        Initialize,                                          // initialize
        nullptr,                                             // initialize_hook
        XtInheritRealize,                                    // realize
        nullptr, 0,                                          // actions
        resources, XtNumber(resources),                      // resources
        NULLQUARK,                                           // xrm_class
        True, XtExposeCompressMaximal, True, False,          // compression, visible_interest
        Destroy,                                             // destroy
        XtInheritResize,                                     // resize
        Redisplay,                                           // expose
        SetValues,                                           // set_values
        nullptr,                                             // set_values_hook
        XtInheritSetValuesAlmost,                            // set_values_almost
        nullptr,                                             // get_values_hook
        nullptr,                                             // accept_focus
        XtVersion,                                           // version
        nullptr,                                             // callback_private
        XtInheritTranslations,                               // tm_table
        nullptr,                                             // query_geometry
        nullptr,                                             // display_accelerator
        nullptr,                                             // extension
    },
    {
        XmInheritBorderHighlight, XmInheritBorderUnhighlight, XtInheritTranslations, nullptr, nullptr, 0, nullptr,
    },
    {nullptr},
};

}  // namespace

WidgetClass myProgressBarWidgetClass = reinterpret_cast<WidgetClass>(&progressBarClassRec);

Widget MyCreateProgressBar(Widget parent, const char *name, ArgList args, Cardinal argCount) {
    return XtCreateWidget(name, myProgressBarWidgetClass, parent, args, argCount);
}

void MyProgressBarSetValue(Widget w, int value) {
    if (!quivel::hasWidgetClass(w, myProgressBarWidgetClass, "MyProgressBarSetValue")) return;
    XtVaSetValues(w, XmNvalue, value, nullptr);
}

void MyProgressBarSetMaximum(Widget w, int maximum) {
    if (!quivel::hasWidgetClass(w, myProgressBarWidgetClass, "MyProgressBarSetMaximum")) return;
    XtVaSetValues(w, XmNmaximum, maximum, nullptr);
}

int MyProgressBarGetValue(Widget w) {
    if (!quivel::hasWidgetClass(w, myProgressBarWidgetClass, "MyProgressBarGetValue")) return 0;
    return reinterpret_cast<ProgressBar>(w)->bar.value;
}
