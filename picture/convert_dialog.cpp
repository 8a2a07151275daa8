#include "picture/convert_dialog.h"

#include <Xm/DialogS.h>
#include <Xm/Form.h>
#include <Xm/Frame.h>
#include <Xm/Label.h>
#include <Xm/PushB.h>
#include <Xm/RowColumn.h>
#include <Xm/Separator.h>
#include <Xm/ToggleB.h>
#include <Xm/Xm.h>

#include <cstdio>
#include <string>
#include <vector>

#include "app/app_globals.h"
#include "app/motif_text.h"
#include "app/widget_origin.h"
#include "app/x_app.h"
#include "picture/conversion_choice.h"

namespace quivel {

namespace {

struct KindControl {
    ConversionKind kind;
    const char *name, *label;
};
constexpr KindControl kKindControls[] = {
    {ConversionKind::Binary, "binary", "Black & White"},
    {ConversionKind::Grey, "grey", "Grey Levels"},
    {ConversionKind::Colors, "colors", "Colors"},
    {ConversionKind::TrueColors, "trueColor", "True Colors"},
};

struct DitherControl {
    ConversionDither dither;
    const char *name, *label;
};
constexpr DitherControl kDitherControls[] = {
    {ConversionDither::Plain, "none", "None"},
    {ConversionDither::Pattern, "pattern", "Pattern"},
    {ConversionDither::FloydSteinberg, "floydSteinberg", "Floyd Steinberg"},
    {ConversionDither::Halftone45, "halftone45", "HalfTone 45"},
    {ConversionDither::Halftone90, "halftone90", "HalfTone 90"},
};

// An option menu of counts and its items.
struct CountMenu {
    ConversionKind kind;
    Widget menu = nullptr;
    std::vector<Widget> items;   // in the order of countsOfKind
};

struct Dialog {
    const ZntSaveKind *kinds = nullptr;
    ChoiceParts parts;
    Widget shell = nullptr;
    Widget kindToggles[std::size(kKindControls)] = {};
    Widget ditherToggles[std::size(kDitherControls)] = {};
    CountMenu greyMenu{ConversionKind::Grey, nullptr, {}}, colorMenu{ConversionKind::Colors, nullptr, {}};
    Widget ok = nullptr, cancel = nullptr;
    XtIntervalId report = 0;   // the pending layout report
    enum { kWaiting, kChosen, kCancelled } answer = kWaiting;
};

CountMenu *menuOf(Dialog &d, ConversionKind kind) {
    if (kind == ConversionKind::Grey) return &d.greyMenu;
    if (kind == ConversionKind::Colors) return &d.colorMenu;
    return nullptr;
}

// Shows the parts and what the format allows.
void refresh(Dialog &d) {
    d.parts = settleChoiceParts(d.kinds, d.parts);
    for (size_t i = 0; i < std::size(kKindControls); ++i) {
        const ConversionKind kind = kKindControls[i].kind;
        XtSetSensitive(d.kindToggles[i], saveKindsHoldKind(d.kinds, kind));
        XmToggleButtonSetState(d.kindToggles[i], kind == d.parts.kind, False);
    }
    for (CountMenu *menu : {&d.greyMenu, &d.colorMenu}) {
        const std::span<const int> counts = countsOfKind(menu->kind);
        for (size_t i = 0; i < counts.size(); ++i) {
            XtSetSensitive(menu->items[i], saveKindsHoldCount(d.kinds, menu->kind, counts[i]));
            if (menu->kind == d.parts.kind && counts[i] == d.parts.count)
                XtVaSetValues(menu->menu, XmNmenuHistory, menu->items[i], nullptr);
        }
        XtSetSensitive(menu->menu, saveKindsHoldKind(d.kinds, menu->kind));
    }
    for (size_t i = 0; i < std::size(kDitherControls); ++i) {
        ChoiceParts candidate = d.parts;
        candidate.dither = kDitherControls[i].dither;
        XtSetSensitive(d.ditherToggles[i], saveKindsHoldChoice(d.kinds, choiceOfParts(candidate)));
        XmToggleButtonSetState(d.ditherToggles[i], candidate.dither == d.parts.dither, False);
    }
    XtSetSensitive(d.ok, saveKindsHoldChoice(d.kinds, choiceOfParts(d.parts)));
}

// The count a kind's menu shows, when the kind is picked again.
int menuCount(Dialog &d, ConversionKind kind) {
    CountMenu *menu = menuOf(d, kind);
    if (menu == nullptr) return 0;
    Widget shown = nullptr;
    XtVaGetValues(menu->menu, XmNmenuHistory, &shown, nullptr);
    const std::span<const int> counts = countsOfKind(kind);
    for (size_t i = 0; i < menu->items.size(); ++i)
        if (menu->items[i] == shown) return counts[i];
    return counts.back();
}

void kindChanged(Widget w, XtPointer clientData, XtPointer callData) {
    // The radio group also reports the toggle it turns off; only the one
    // turned on counts.
    if (!static_cast<XmToggleButtonCallbackStruct *>(callData)->set) return;
    auto *d = static_cast<Dialog *>(clientData);
    for (size_t i = 0; i < std::size(kKindControls); ++i) {
        if (d->kindToggles[i] != w) continue;
        d->parts.kind = kKindControls[i].kind;
        d->parts.count = d->parts.kind == ConversionKind::Binary ? 2 : menuCount(*d, d->parts.kind);
    }
    refresh(*d);
}

void ditherChanged(Widget w, XtPointer clientData, XtPointer callData) {
    if (!static_cast<XmToggleButtonCallbackStruct *>(callData)->set) return;
    auto *d = static_cast<Dialog *>(clientData);
    for (size_t i = 0; i < std::size(kDitherControls); ++i)
        if (d->ditherToggles[i] == w) d->parts.dither = kDitherControls[i].dither;
    refresh(*d);
}

void countChosen(Widget w, XtPointer clientData, XtPointer) {
    auto *d = static_cast<Dialog *>(clientData);
    for (CountMenu *menu : {&d->greyMenu, &d->colorMenu}) {
        const std::span<const int> counts = countsOfKind(menu->kind);
        for (size_t i = 0; i < menu->items.size(); ++i) {
            if (menu->items[i] != w) continue;
            d->parts.kind = menu->kind;
            d->parts.count = counts[i];
        }
    }
    refresh(*d);
}

void okPressed(Widget, XtPointer clientData, XtPointer) {
    auto *d = static_cast<Dialog *>(clientData);
    if (saveKindsHoldChoice(d->kinds, choiceOfParts(d->parts))) d->answer = Dialog::kChosen;
}

void cancelPressed(Widget, XtPointer clientData, XtPointer) {
    static_cast<Dialog *>(clientData)->answer = Dialog::kCancelled;
}

void poppedDown(Widget, XtPointer clientData, XtPointer) {
    auto *d = static_cast<Dialog *>(clientData);
    if (d->answer == Dialog::kWaiting) d->answer = Dialog::kCancelled;
}

// The parent window went away while the dialog was up.
void shellDestroyed(Widget, XtPointer clientData, XtPointer) {
    auto *d = static_cast<Dialog *>(clientData);
    d->shell = nullptr;
    if (d->answer == Dialog::kWaiting) d->answer = Dialog::kCancelled;
}

Widget radioBox(Widget parent, const char *name, int columns) {
    return XtVaCreateManagedWidget(name, xmRowColumnWidgetClass, parent, XmNradioBehavior, True, XmNpacking,
                                   XmPACK_COLUMN, XmNnumColumns, columns, XmNorientation, XmVERTICAL, nullptr);
}

Widget framed(Widget parent, const char *name, const char *title) {
    Widget frame = XtVaCreateManagedWidget(name, xmFrameWidgetClass, parent, nullptr);
    const CompoundString label(title);
    XtVaCreateManagedWidget("title", xmLabelWidgetClass, frame, XmNchildType, XmFRAME_TITLE_CHILD, XmNlabelString,
                            static_cast<XmString>(label), nullptr);
    return frame;
}

void buildCountMenu(Dialog &d, Widget parent, CountMenu &menu, const char *name) {
    Widget pulldown = XmCreatePulldownMenu(parent, const_cast<char *>((std::string(name) + "Items").c_str()), nullptr, 0);
    for (int count : countsOfKind(menu.kind)) {
        const std::string text = std::to_string(count);
        const CompoundString label(text);
        Widget item = XtVaCreateManagedWidget(("count" + text).c_str(), xmPushButtonWidgetClass, pulldown,
                                              XmNlabelString, static_cast<XmString>(label), nullptr);
        XtAddCallback(item, XmNactivateCallback, countChosen, &d);
        menu.items.push_back(item);
    }
    // Until the kind is chosen the menu shows the most the format holds.
    Widget shown = menu.items.back();
    const std::span<const int> counts = countsOfKind(menu.kind);
    for (size_t i = 0; i < counts.size(); ++i)
        if (saveKindsHoldCount(d.kinds, menu.kind, counts[i])) shown = menu.items[i];
    Arg args[2];
    XtSetArg(args[0], XmNsubMenuId, pulldown);
    XtSetArg(args[1], XmNmenuHistory, shown);
    menu.menu = XmCreateOptionMenu(parent, const_cast<char *>(name), args, 2);
    XtUnmanageChild(XmOptionLabelGadget(menu.menu));
    XtManageChild(menu.menu);
}

void build(Dialog &d, Widget parent) {
    d.shell = XtVaCreatePopupShell("TolvaConvert", xmDialogShellWidgetClass, parent, XmNtitle, "Convert To ...",
                                   XmNdeleteResponse, XmUNMAP, nullptr);
    XtAddCallback(d.shell, XmNpopdownCallback, poppedDown, &d);
    XtAddCallback(d.shell, XmNdestroyCallback, shellDestroyed, &d);
    Widget form = XtVaCreateWidget("form", xmFormWidgetClass, d.shell, XmNautoUnmanage, False, XmNdialogStyle,
                                   XmDIALOG_FULL_APPLICATION_MODAL, XmNmarginWidth, 8, XmNmarginHeight, 8,
                                   XmNhorizontalSpacing, 8, XmNverticalSpacing, 8, nullptr);

    // The two frames side by side, as tall as the taller.
    Widget choices = XtVaCreateManagedWidget("choices", xmRowColumnWidgetClass, form, XmNorientation, XmHORIZONTAL,
                                             XmNpacking, XmPACK_TIGHT, XmNspacing, 8, XmNtopAttachment,
                                             XmATTACH_FORM, XmNleftAttachment, XmATTACH_FORM, XmNrightAttachment,
                                             XmATTACH_FORM, nullptr);
    Widget kindFrame = framed(choices, "kindFrame", "Convert to");
    // Two columns: the kinds, and beside grey and colours their counts.
    Widget kinds = radioBox(kindFrame, "kinds", 2);
    for (size_t i = 0; i < std::size(kKindControls); ++i) {
        const CompoundString label(kKindControls[i].label);
        d.kindToggles[i] = XtVaCreateManagedWidget(kKindControls[i].name, xmToggleButtonWidgetClass, kinds,
                                                   XmNlabelString, static_cast<XmString>(label), XmNindicatorType,
                                                   XmONE_OF_MANY, nullptr);
        XtAddCallback(d.kindToggles[i], XmNvalueChangedCallback, kindChanged, &d);
    }
    const CompoundString blank("");
    XtVaCreateManagedWidget("space", xmLabelWidgetClass, kinds, XmNlabelString, static_cast<XmString>(blank), nullptr);
    buildCountMenu(d, kinds, d.greyMenu, "greyLevels");
    buildCountMenu(d, kinds, d.colorMenu, "colorCount");
    XtVaCreateManagedWidget("space", xmLabelWidgetClass, kinds, XmNlabelString, static_cast<XmString>(blank), nullptr);

    Widget ditherFrame = framed(choices, "ditherFrame", "Dithering");
    Widget dithers = radioBox(ditherFrame, "dithers", 1);
    for (size_t i = 0; i < std::size(kDitherControls); ++i) {
        const CompoundString label(kDitherControls[i].label);
        d.ditherToggles[i] = XtVaCreateManagedWidget(kDitherControls[i].name, xmToggleButtonWidgetClass, dithers,
                                                     XmNlabelString, static_cast<XmString>(label), XmNindicatorType,
                                                     XmONE_OF_MANY, nullptr);
        XtAddCallback(d.ditherToggles[i], XmNvalueChangedCallback, ditherChanged, &d);
    }

    Widget separator = XtVaCreateManagedWidget(
        "separator", xmSeparatorWidgetClass, form, XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, choices,
        XmNleftAttachment, XmATTACH_FORM, XmNrightAttachment, XmATTACH_FORM, nullptr);
    const CompoundString okText("OK"), cancelText("Cancel");
    d.ok = XtVaCreateManagedWidget("ok", xmPushButtonWidgetClass, form, XmNlabelString, static_cast<XmString>(okText),
                                   XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, separator, XmNbottomAttachment,
                                   XmATTACH_FORM, XmNleftAttachment, XmATTACH_POSITION, XmNleftPosition, 15,
                                   XmNrightAttachment, XmATTACH_POSITION, XmNrightPosition, 40, nullptr);
    d.cancel = XtVaCreateManagedWidget(
        "cancel", xmPushButtonWidgetClass, form, XmNlabelString, static_cast<XmString>(cancelText), XmNtopAttachment,
        XmATTACH_WIDGET, XmNtopWidget, separator, XmNbottomAttachment, XmATTACH_FORM, XmNleftAttachment,
        XmATTACH_POSITION, XmNleftPosition, 60, XmNrightAttachment, XmATTACH_POSITION, XmNrightPosition, 85, nullptr);
    XtAddCallback(d.ok, XmNactivateCallback, okPressed, &d);
    XtAddCallback(d.cancel, XmNactivateCallback, cancelPressed, &d);
    // Return chooses, Escape (osfCancel) cancels.
    XtVaSetValues(form, XmNdefaultButton, d.ok, XmNcancelButton, d.cancel, nullptr);

    refresh(d);
    XtManageChild(form);
}

void reportWidget(const char *name, Widget w) {
    Position x = 0, y = 0;
    Dimension width = 0, height = 0;
    originInShell(w, x, y);
    XtVaGetValues(w, XmNwidth, &width, XmNheight, &height, nullptr);
    std::fprintf(stderr, "TolvaConvert %s %d %d %d %d\n", name, x, y, width, height);
}

void reportLayout(XtPointer clientData, XtIntervalId *) {
    auto *d = static_cast<Dialog *>(clientData);
    d->report = 0;
    for (size_t i = 0; i < std::size(kKindControls); ++i) reportWidget(kKindControls[i].name, d->kindToggles[i]);
    for (size_t i = 0; i < std::size(kDitherControls); ++i)
        reportWidget(kDitherControls[i].name, d->ditherToggles[i]);
    reportWidget("greyLevels", XmOptionButtonGadget(d->greyMenu.menu));
    reportWidget("colorCount", XmOptionButtonGadget(d->colorMenu.menu));
    reportWidget("ok", d->ok);
    reportWidget("cancel", d->cancel);
    std::fprintf(stderr, "TolvaConvert shown\n");
}

}  // namespace

int askConversionChoice(Widget parent, const ZntSaveKind *kinds, int suggested) {
    Dialog d;
    d.kinds = kinds;
    d.parts = partsOfChoice(suggested);
    build(d, parent != nullptr && XtIsRealized(parent) ? parent : gX.topLevel);
    if (gApp.verbose) d.report = XtAppAddTimeOut(gX.context, 100, reportLayout, &d);
    {
        const ModalLoop loop;
        while (d.answer == Dialog::kWaiting) XtAppProcessEvent(gX.context, XtIMAll);
    }
    if (d.report != 0) XtRemoveTimeOut(d.report);
    const int choice = d.answer == Dialog::kChosen ? choiceOfParts(d.parts) : 0;
    if (d.shell != nullptr) {
        // The shell goes after this frame: nothing may call back into `d`.
        // It leaves the screen now, before the save it was asked for runs.
        XtRemoveCallback(d.shell, XmNpopdownCallback, poppedDown, &d);
        XtRemoveCallback(d.shell, XmNdestroyCallback, shellDestroyed, &d);
        XtPopdown(d.shell);
        XtDestroyWidget(d.shell);
    }
    return choice;
}

}  // namespace quivel
