#include "widgets/combo_box.h"

#include <X11/keysym.h>
#include <Xm/ArrowB.h>
#include <Xm/FormP.h>
#include <Xm/GrabShell.h>
#include <Xm/List.h>
#include <Xm/TextF.h>
#include <Xm/XmP.h>

#include "widgets/class_check.h"

namespace {

struct ComboBoxPart {
    Pixel arrowColor;
    XmFontList fontList;
    int visibleItemCount;
    XtCallbackList activateCallback;
    Widget text, arrow, popup, list;
};

struct ComboBoxRec {
    CorePart core;
    CompositePart composite;
    ConstraintPart constraint;
    XmManagerPart manager;
    XmBulletinBoardPart bulletin_board;
    XmFormPart form;
    ComboBoxPart combo;
};

struct ComboBoxClassRec {
    CoreClassPart core_class;
    CompositeClassPart composite_class;
    ConstraintClassPart constraint_class;
    XmManagerClassPart manager_class;
    XmBulletinBoardClassPart bulletin_board_class;
    XmFormClassPart form_class;
    struct {
        XtPointer extension;
    } combo_class;
};

using ComboBox = ComboBoxRec *;

XtResource resources[] = {
    {const_cast<char *>("arrowColor"), const_cast<char *>("ArrowColor"), const_cast<char *>(XmRPixel), sizeof(Pixel),
     XtOffsetOf(ComboBoxRec, combo.arrowColor), const_cast<char *>(XmRString), const_cast<char *>("#707070")},
    {const_cast<char *>(XmNfontList), const_cast<char *>(XmCFontList), const_cast<char *>(XmRFontList),
     sizeof(XmFontList), XtOffsetOf(ComboBoxRec, combo.fontList), const_cast<char *>(XmRImmediate), nullptr},
    {const_cast<char *>(XmNvisibleItemCount), const_cast<char *>(XmCVisibleItemCount), const_cast<char *>(XmRInt),
     sizeof(int), XtOffsetOf(ComboBoxRec, combo.visibleItemCount), const_cast<char *>(XmRImmediate),
     reinterpret_cast<XtPointer>(8)},
    {const_cast<char *>(XmNactivateCallback), const_cast<char *>(XmCCallback), const_cast<char *>(XmRCallback),
     sizeof(XtCallbackList), XtOffsetOf(ComboBoxRec, combo.activateCallback), const_cast<char *>(XmRImmediate),
     nullptr},
};

ComboBox comboOf(Widget child) {
    for (Widget w = child; w != nullptr; w = XtParent(w))
        if (XtIsSubclass(w, myComboBoxWidgetClass)) return reinterpret_cast<ComboBox>(w);
    return nullptr;
}

void notify(ComboBox c, XEvent *event, const char *text) {
    MyComboBoxCallbackStruct data{XmCR_ACTIVATE, event, text};
    XtCallCallbackList(reinterpret_cast<Widget>(c), c->combo.activateCallback, &data);
}

// The keyboard goes back to the text when the list closes.
void popDown(ComboBox c) {
    XtPopdown(c->combo.popup);
    XmProcessTraversal(c->combo.text, XmTRAVERSE_CURRENT);
}

void popUp(ComboBox c) {
    int count = 0;
    XtVaGetValues(c->combo.list, XmNitemCount, &count, nullptr);
    if (count == 0) return;
    Widget self = reinterpret_cast<Widget>(c);
    Position x = 0, y = 0;
    XtTranslateCoords(self, 0, Position(c->core.height), &x, &y);
    XtVaSetValues(c->combo.list, XmNvisibleItemCount, std::min(count, std::max(1, c->combo.visibleItemCount)),
                  nullptr);
    XtVaSetValues(c->combo.popup, XmNx, x, XmNy, y, XmNwidth, c->core.width, nullptr);
    XtPopup(c->combo.popup, XtGrabNone);
    XmProcessTraversal(c->combo.list, XmTRAVERSE_CURRENT);
}

void arrowActivated(Widget w, XtPointer, XtPointer) {
    if (ComboBox c = comboOf(w)) popUp(c);
}

void textActivated(Widget w, XtPointer, XtPointer callData) {
    ComboBox c = comboOf(w);
    if (c == nullptr) return;
    char *text = XmTextFieldGetString(c->combo.text);
    notify(c, static_cast<XmAnyCallbackStruct *>(callData)->event, text);
    XtFree(text);
}

void itemChosen(Widget w, XtPointer, XtPointer callData) {
    ComboBox c = comboOf(XtParent(XtParent(XtParent(w))));   // list -> scrolled window -> grab shell -> combo
    if (c == nullptr) return;
    auto *data = static_cast<XmListCallbackStruct *>(callData);
    // A click only moves the selection while the pointer is held; the item is
    // taken on release, on a double click or on Return.
    if (data->reason == XmCR_BROWSE_SELECT && (data->event == nullptr || data->event->type != ButtonRelease)) return;
    char *text = nullptr;
    if (!XmStringGetLtoR(data->item, const_cast<char *>(XmFONTLIST_DEFAULT_TAG), &text)) return;
    XmTextFieldSetString(c->combo.text, text);
    XmTextFieldSetInsertionPosition(c->combo.text, XmTextFieldGetLastPosition(c->combo.text));
    popDown(c);
    notify(c, data->event, text);
    XtFree(text);
}

void listKey(Widget w, XtPointer, XEvent *event, Boolean *) {
    if (event->type != KeyPress) return;
    if (XLookupKeysym(&event->xkey, 0) == XK_Escape)
        if (ComboBox c = comboOf(XtParent(XtParent(XtParent(w))))) popDown(c);
}

void textKey(Widget w, XtPointer, XEvent *event, Boolean *) {
    if (event->type != KeyPress) return;
    if (XLookupKeysym(&event->xkey, 0) == XK_Down)
        if (ComboBox c = comboOf(w)) popUp(c);
}

void Initialize(Widget, Widget created, ArgList, Cardinal *) {
    ComboBox c = reinterpret_cast<ComboBox>(created);
    XmFontList fonts = c->combo.fontList;
    Arg fontArg[1];
    Cardinal fontArgs = 0;
    if (fonts) {
        XtSetArg(fontArg[0], XmNfontList, fonts);   // the macro names its array element twice
        fontArgs = 1;
    }

    c->combo.arrow = XtVaCreateManagedWidget(
        "arrow", xmArrowButtonWidgetClass, created, XmNarrowDirection, XmARROW_DOWN, XmNforeground,
        c->combo.arrowColor, XmNtraversalOn, False, XmNtopAttachment, XmATTACH_FORM, XmNbottomAttachment,
        XmATTACH_FORM, XmNrightAttachment, XmATTACH_FORM, XmNwidth, 20, nullptr);
    c->combo.text = XtCreateManagedWidget("text", xmTextFieldWidgetClass, created, fontArg, fontArgs);
    XtVaSetValues(c->combo.text, XmNtopAttachment, XmATTACH_FORM, XmNbottomAttachment, XmATTACH_FORM,
                  XmNleftAttachment, XmATTACH_FORM, XmNrightAttachment, XmATTACH_WIDGET, XmNrightWidget,
                  c->combo.arrow, nullptr);
    c->combo.popup = XtVaCreatePopupShell("popup", xmGrabShellWidgetClass, created, XmNownerEvents, True,
                                          XmNgrabStyle, GrabModeAsync, nullptr);
    c->combo.list = XmCreateScrolledList(c->combo.popup, const_cast<char *>("list"), fontArg, fontArgs);
    XtVaSetValues(c->combo.list, XmNselectionPolicy, XmBROWSE_SELECT, nullptr);
    XtManageChild(c->combo.list);

    XtAddCallback(c->combo.arrow, XmNactivateCallback, arrowActivated, nullptr);
    XtAddCallback(c->combo.text, XmNactivateCallback, textActivated, nullptr);
    XtAddCallback(c->combo.list, XmNdefaultActionCallback, itemChosen, nullptr);
    XtAddCallback(c->combo.list, XmNbrowseSelectionCallback, itemChosen, nullptr);
    XtAddEventHandler(c->combo.list, KeyPressMask, False, listKey, nullptr);
    XtInsertEventHandler(c->combo.text, KeyPressMask, False, textKey, nullptr, XtListHead);
}

Boolean SetValues(Widget old, Widget, Widget now, ArgList, Cardinal *) {
    ComboBox o = reinterpret_cast<ComboBox>(old), n = reinterpret_cast<ComboBox>(now);
    if (o->combo.arrowColor != n->combo.arrowColor)
        XtVaSetValues(n->combo.arrow, XmNforeground, n->combo.arrowColor, nullptr);
    if (o->combo.fontList != n->combo.fontList && n->combo.fontList) {
        XtVaSetValues(n->combo.text, XmNfontList, n->combo.fontList, nullptr);
        XtVaSetValues(n->combo.list, XmNfontList, n->combo.fontList, nullptr);
    }
    return False;
}

ComboBoxClassRec comboBoxClassRec = {
    {
        reinterpret_cast<WidgetClass>(&xmFormClassRec),  // superclass
        const_cast<char *>("MyComboBox"),               // class_name
        sizeof(ComboBoxRec),                            // widget_size
        nullptr, nullptr, False,                        // class_initialize, class_part_initialize, inited
        Initialize, nullptr,                            // initialize, initialize_hook
        XtInheritRealize,                               // realize
        nullptr, 0,                                     // actions
        resources, XtNumber(resources),                 // resources
        NULLQUARK,                                      // xrm_class
        True, XtExposeCompressMaximal, True, False,     // compression, visible_interest
        nullptr,                                        // destroy: children go with it
        XtInheritResize, XtInheritExpose,               // resize, expose
        SetValues, nullptr, XtInheritSetValuesAlmost,  // set_values, hook, almost
        nullptr, XtInheritAcceptFocus,                  // get_values_hook, accept_focus
        XtVersion, nullptr,                             // version, callback_private
        XtInheritTranslations,                          // tm_table
        XtInheritQueryGeometry, nullptr, nullptr,       // query_geometry, display_accelerator, extension
    },
    {XtInheritGeometryManager, XtInheritChangeManaged, XtInheritInsertChild, XtInheritDeleteChild, nullptr},
    {nullptr, 0, sizeof(XmFormConstraintRec), nullptr, nullptr, nullptr, nullptr},
    {XtInheritTranslations, nullptr, 0, nullptr, 0, XmInheritParentProcess, nullptr},
    {False, XmInheritGeoMatrixCreate, XmInheritFocusMovedProc, nullptr},
    {nullptr},
    {nullptr},
};

ComboBox checked(Widget w, const char *function) {
    return quivel::hasWidgetClass(w, myComboBoxWidgetClass, function) ? reinterpret_cast<ComboBox>(w) : nullptr;
}

}  // namespace

WidgetClass myComboBoxWidgetClass = reinterpret_cast<WidgetClass>(&comboBoxClassRec);

Widget MyCreateComboBox(Widget parent, const char *name, ArgList args, Cardinal argCount) {
    return XtCreateWidget(name, myComboBoxWidgetClass, parent, args, argCount);
}

void MyComboBoxAddItem(Widget w, const char *text, int position) {
    ComboBox c = checked(w, "MyComboBoxAddItem");
    if (c == nullptr || text == nullptr) return;
    XmString item = XmStringCreateLocalized(const_cast<char *>(text));
    XmListAddItemUnselected(c->combo.list, item, position);
    XmStringFree(item);
}

void MyComboBoxDeleteAllItems(Widget w) {
    if (ComboBox c = checked(w, "MyComboBoxDeleteAllItems")) XmListDeleteAllItems(c->combo.list);
}

int MyComboBoxGetItemCount(Widget w) {
    ComboBox c = checked(w, "MyComboBoxGetItemCount");
    if (c == nullptr) return 0;
    int count = 0;
    XtVaGetValues(c->combo.list, XmNitemCount, &count, nullptr);
    return count;
}

void MyComboBoxSetText(Widget w, const char *text) {
    if (ComboBox c = checked(w, "MyComboBoxSetText")) {
        XmTextFieldSetString(c->combo.text, const_cast<char *>(text ? text : ""));
        XmTextFieldSetInsertionPosition(c->combo.text, XmTextFieldGetLastPosition(c->combo.text));
    }
}

char *MyComboBoxGetText(Widget w) {
    ComboBox c = checked(w, "MyComboBoxGetText");
    return c ? XmTextFieldGetString(c->combo.text) : nullptr;
}

Widget MyComboBoxGetTextField(Widget w) {
    ComboBox c = checked(w, "MyComboBoxGetTextField");
    return c ? c->combo.text : nullptr;
}

Widget MyComboBoxGetList(Widget w) {
    ComboBox c = checked(w, "MyComboBoxGetList");
    return c ? c->combo.list : nullptr;
}
