// The options dialog's widgets and callbacks. What each control edits, its
// kind and how its state maps to the settings is in options_pages.cpp.
#include "app/options_dialog.h"

#include <X11/Shell.h>
#include <Xm/Form.h>
#include <Xm/Frame.h>
#include <Xm/Label.h>
#include <Xm/List.h>
#include <Xm/Protocols.h>
#include <Xm/PushB.h>
#include <Xm/PushBG.h>
#include <Xm/RowColumn.h>
#include <Xm/Separator.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>
#include <Xm/Xm.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "app/app_globals.h"
#include "app/file_selector.h"
#include "app/later_parts.h"
#include "app/motif_text.h"
#include "app/options_pages.h"
#include "app/settings.h"
#include "app/widget_origin.h"
#include "app/x_app.h"
#include "zentar.h"

namespace quivel {

namespace {

constexpr Dimension kDialogWidth = 660, kDialogHeight = 600;
constexpr Dimension kPageListWidth = 150;
constexpr Dimension kListWidth = 440;   // the file types and the cached folders

struct BuiltControl {
    const OptionControl *control;
    ControlKind kind;
    Widget widget;                     // the toggle, the text field or the option menu
    std::vector<Widget> menuButtons;   // an option menu's items, in order
    std::vector<int32_t> menuValues;   // and their values
};

struct BuiltPage {
    Widget widget = nullptr;   // null until the page is first shown
    std::vector<BuiltControl> controls;
    Widget fileTypeList = nullptr;
    size_t fileTypeCount = 0;
    Widget cacheList = nullptr;
};

struct Dialog {
    Widget shell = nullptr;
    Widget pageList = nullptr;
    Widget pageTitle = nullptr;
    Widget pageArea = nullptr;
    std::vector<Widget> buttons;
    std::vector<BuiltPage> pages = std::vector<BuiltPage>(optionPages().size());
    int current = -1;
};

std::unique_ptr<Dialog> gDialog;

Widget newLine(Widget page) {
    return XtVaCreateManagedWidget("line", xmRowColumnWidgetClass, page, XmNorientation, XmHORIZONTAL,
                                   XmNmarginWidth, 0, XmNmarginHeight, 0, XmNspacing, 6,
                                   XmNentryVerticalAlignment, XmALIGNMENT_CENTER, nullptr);
}

Widget addLabel(Widget line, const char *name, const std::string &text) {
    return XtVaCreateManagedWidget(name, xmLabelWidgetClass, line, XmNlabelString, static_cast<XmString>(CompoundString(text)),
                                   nullptr);
}

// A file named in a text field, picked with the file selector. The folder
// it was picked in is kept for the next pick, apart from the folders the
// program opens pictures from.
void chooseFileActivated(Widget button, XtPointer clientData, XtPointer) {
    static char lastFolder[kPathCapacity];
    Widget field = static_cast<Widget>(clientData);
    const char *filter = nullptr;
    XtVaGetValues(button, XmNuserData, &filter, nullptr);
    const std::string current = textFieldValue(field);
    const SelectorRequest request{.mode = SelectorMode::View,
                                  .title = "Choose File...",
                                  .confirmLabel = "OK",
                                  .start = current,
                                  .filter = filter ? filter : "",
                                  .rememberedFolder = lastFolder};
    FileSelection chosen;
    if (runFileSelector(gDialog ? gDialog->shell : nullptr, request, chosen))
        XmTextFieldSetString(field, const_cast<char *>(chosen.files.front().c_str()));
}

void addChooseButton(Widget line, const std::string &name, Widget field, const char *filter) {
    Widget button = XtVaCreateManagedWidget((name + "Choose").c_str(), xmPushButtonWidgetClass, line, XmNlabelString,
                                            static_cast<XmString>(CompoundString("Choose...")), XmNuserData, filter, nullptr);
    XtAddCallback(button, XmNactivateCallback, chooseFileActivated, field);
}

BuiltControl addControl(Widget line, const OptionControl &control) {
    const std::string name = controlWidgetName(control);
    BuiltControl built{&control, controlKind(control), nullptr, {}, {}};
    switch (built.kind) {
    case ControlKind::Heading:
        built.widget = addLabel(line, name.c_str(), control.label);
        break;
    case ControlKind::Toggle:
        built.widget = XtVaCreateManagedWidget(name.c_str(), xmToggleButtonWidgetClass, line, XmNlabelString,
                                               static_cast<XmString>(CompoundString(control.label)), XmNset,
                                               toggleState(gSettings, control) ? XmSET : XmUNSET, nullptr);
        break;
    case ControlKind::TextField: {
        const bool labelAfter = control.flags & kLabelAfter;
        if (*control.label && !labelAfter) addLabel(line, "label", control.label);
        built.widget = XtVaCreateManagedWidget(name.c_str(), xmTextFieldWidgetClass, line, XmNcolumns,
                                               fieldColumns(control), nullptr);
        if (const int maxLength = fieldMaxLength(control)) XtVaSetValues(built.widget, XmNmaxLength, maxLength, nullptr);
        XmTextFieldSetString(built.widget, const_cast<char *>(fieldText(gSettings, control).c_str()));
        if (*control.label && labelAfter) addLabel(line, "label", control.label);
        if (control.flags & kChooseFile) addChooseButton(line, name, built.widget, control.fileFilter);
        break;
    }
    case ControlKind::OptionMenu: {
        Widget pulldown = XmCreatePulldownMenu(line, const_cast<char *>((name + "Pulldown").c_str()), nullptr, 0);
        for (const MenuItem &item : menuItems(gSettings, control)) {
            built.menuButtons.push_back(XtVaCreateManagedWidget("item", xmPushButtonGadgetClass, pulldown,
                                                                XmNlabelString,
                                                                static_cast<XmString>(CompoundString(item.label)), nullptr));
            built.menuValues.push_back(item.value);
        }
        Arg args[3];
        Cardinal n = 0;
        XtSetArg(args[n], XmNsubMenuId, pulldown), ++n;
        const CompoundString label(control.label);
        XtSetArg(args[n], XmNlabelString, static_cast<XmString>(label)), ++n;
        XtSetArg(args[n], XmNmenuHistory, built.menuButtons[size_t(menuPosition(gSettings, control))]), ++n;
        built.widget = XmCreateOptionMenu(line, const_cast<char *>(name.c_str()), args, n);
        XtManageChild(built.widget);
        break;
    }
    }
    return built;
}

// The titles above a list. The page's column is as wide as its widest entry,
// so this label also gives the list below its width.
void addColumnTitles(Widget column, const std::string &titles) {
    XtVaCreateManagedWidget("label", xmLabelWidgetClass, column, XmNlabelString, static_cast<XmString>(CompoundString(titles)),
                            XmNalignment, XmALIGNMENT_BEGINNING, XmNrecomputeSize, False, XmNwidth, kListWidth,
                            nullptr);
}

void setAllFileTypes(Widget, XtPointer clientData, XtPointer) {
    if (!gDialog || gDialog->current < 0) return;
    const BuiltPage &page = gDialog->pages[size_t(gDialog->current)];
    if (!page.fileTypeList) return;
    XmListDeselectAllItems(page.fileTypeList);
    if (clientData)
        for (size_t i = 1; i <= page.fileTypeCount; ++i) XmListSelectPos(page.fileTypeList, int(i), False);
}

void addFileTypes(Widget pageWidget, BuiltPage &page) {
    addLabel(pageWidget, "hint", "Selected formats are offered and recognised:");
    addColumnTitles(pageWidget, fileTypeRow("Name", "Description"));
    Arg args[4];
    Cardinal n = 0;
    XtSetArg(args[n], XmNselectionPolicy, XmMULTIPLE_SELECT), ++n;
    XtSetArg(args[n], XmNvisibleItemCount, 20), ++n;
    XtSetArg(args[n], XmNscrollBarDisplayPolicy, XmSTATIC), ++n;
    XtSetArg(args[n], XmNlistSizePolicy, XmCONSTANT), ++n;
    page.fileTypeList = XmCreateScrolledList(pageWidget, const_cast<char *>("scrolledList"), args, n);
    for (const FileTypeFlag &record : gFileTypeFlags) {
        const std::string name(record.name, strnlen(record.name, sizeof record.name));
        const char *description = zntFormatGetDescription(zntFormatGetIndex(name.c_str()));
        XmListAddItemUnselected(page.fileTypeList, CompoundString(fileTypeRow(name, description ? description : "")), 0);
        ++page.fileTypeCount;
        if (record.enabled) XmListSelectPos(page.fileTypeList, int(page.fileTypeCount), False);
    }
    XtManageChild(page.fileTypeList);
    Widget line = newLine(pageWidget);
    Widget all = XtVaCreateManagedWidget("buttonAll", xmPushButtonWidgetClass, line, XmNlabelString,
                                         static_cast<XmString>(CompoundString("Enable all")), nullptr);
    Widget none = XtVaCreateManagedWidget("buttonNone", xmPushButtonWidgetClass, line, XmNlabelString,
                                          static_cast<XmString>(CompoundString("Disable all")), nullptr);
    XtAddCallback(all, XmNactivateCallback, setAllFileTypes, reinterpret_cast<XtPointer>(1));
    XtAddCallback(none, XmNactivateCallback, setAllFileTypes, nullptr);
}

void fillCacheList(Widget list) {
    XmListDeleteAllItems(list);
    for (const CachedFolder &folder : cachedFolders())
        XmListAddItemUnselected(list, CompoundString(cacheRow(folder.folder, folder.imageCount, folder.sizeBytes)), 0);
}

void removeAllActivated(Widget, XtPointer clientData, XtPointer) {
    removeAllCachedFolders();
    fillCacheList(static_cast<Widget>(clientData));
}

void addCacheMaintenance(Widget pageWidget, BuiltPage &page) {
    Widget frame = XtVaCreateManagedWidget("frameCache", xmFrameWidgetClass, pageWidget, nullptr);
    XtVaCreateManagedWidget("title", xmLabelWidgetClass, frame, XmNchildType, XmFRAME_TITLE_CHILD, XmNlabelString,
                            static_cast<XmString>(CompoundString("Cache maintenance")), nullptr);
    Widget area = XtVaCreateManagedWidget("cacheArea", xmRowColumnWidgetClass, frame, XmNorientation, XmVERTICAL,
                                          nullptr);
    addColumnTitles(area, cacheTitleRow());
    Arg args[3];
    Cardinal n = 0;
    XtSetArg(args[n], XmNvisibleItemCount, 10), ++n;
    XtSetArg(args[n], XmNscrollBarDisplayPolicy, XmSTATIC), ++n;
    XtSetArg(args[n], XmNlistSizePolicy, XmCONSTANT), ++n;
    page.cacheList = XmCreateScrolledList(area, const_cast<char *>("tbCache"), args, n);
    fillCacheList(page.cacheList);
    XtManageChild(page.cacheList);
    Widget line = newLine(area);
    Widget remove = XtVaCreateManagedWidget("buttonRemoveAll", xmPushButtonWidgetClass, line, XmNlabelString,
                                            static_cast<XmString>(CompoundString("Remove all")), nullptr);
    XtAddCallback(remove, XmNactivateCallback, removeAllActivated, page.cacheList);
}

void buildPage(const OptionPage &page, BuiltPage &built) {
    built.widget = XtVaCreateWidget(page.name, xmRowColumnWidgetClass, gDialog->pageArea, XmNorientation,
                                    XmVERTICAL, XmNpacking, XmPACK_TIGHT, XmNspacing, 4, XmNmarginWidth, 8,
                                    XmNmarginHeight, 8, XmNtopAttachment, XmATTACH_FORM, XmNleftAttachment,
                                    XmATTACH_FORM, nullptr);
    Widget line = nullptr;
    for (const OptionControl &control : page.controls) {
        if (line == nullptr || !(control.flags & kSameLine)) line = newLine(built.widget);
        built.controls.push_back(addControl(line, control));
    }
    if (page.extra == PageExtra::FileTypes) addFileTypes(built.widget, built);
    if (page.extra == PageExtra::Cache) addCacheMaintenance(built.widget, built);
}

void reportGeometry(const char *group, const char *name, Widget w, Position x, Position y, Dimension width,
                    Dimension height) {
    Position originX = 0, originY = 0;
    originInShell(w, originX, originY);
    std::fprintf(stderr, "TolvaOption %s %s %d %d %d %d\n", group, name, originX + x, originY + y, width, height);
}

void reportWidget(const char *group, const std::string &name, Widget w) {
    Dimension width = 0, height = 0, border = 0;
    XtVaGetValues(w, XmNwidth, &width, XmNheight, &height, XmNborderWidth, &border, nullptr);
    reportGeometry(group, name.c_str(), w, 0, 0, width, height);
}

void reportLayout(XtPointer, XtIntervalId *) {
    if (!gDialog || gDialog->current < 0) return;
    const std::span<const OptionPage> pages = optionPages();
    for (size_t i = 0; i < pages.size(); ++i) {
        Position x = 0, y = 0;
        Dimension width = 0, height = 0;
        if (XmListPosToBounds(gDialog->pageList, int(i + 1), &x, &y, &width, &height))
            reportGeometry("dialog", pages[i].name, gDialog->pageList, x, y, width, height);
    }
    for (Widget button : gDialog->buttons) reportWidget("dialog", XtName(button), button);
    const OptionPage &page = pages[size_t(gDialog->current)];
    const BuiltPage &built = gDialog->pages[size_t(gDialog->current)];
    for (const BuiltControl &control : built.controls) {
        if (control.kind == ControlKind::Heading) continue;
        Widget target = control.kind == ControlKind::OptionMenu ? XmOptionButtonGadget(control.widget) : control.widget;
        reportWidget(page.name, controlWidgetName(*control.control), target);
    }
    if (built.fileTypeList) reportWidget(page.name, "scrolledList", built.fileTypeList);
    if (built.cacheList) reportWidget(page.name, "tbCache", built.cacheList);
    std::fprintf(stderr, "TolvaOption %s shown\n", page.name);
}

void showPage(int index) {
    const std::span<const OptionPage> pages = optionPages();
    if (!gDialog || index < 0 || size_t(index) >= pages.size() || index == gDialog->current) return;
    if (gDialog->current >= 0) XtUnmanageChild(gDialog->pages[size_t(gDialog->current)].widget);
    BuiltPage &built = gDialog->pages[size_t(index)];
    if (built.widget == nullptr) buildPage(pages[size_t(index)], built);
    XtManageChild(built.widget);
    XtVaSetValues(gDialog->pageTitle, XmNlabelString, static_cast<XmString>(CompoundString(pages[size_t(index)].title)),
                  nullptr);
    gDialog->current = index;
    // The layout settles once the page is managed; report it after that.
    if (gApp.verbose) XtAppAddTimeOut(gX.context, 50, reportLayout, nullptr);
}

void selectPage(int index) {
    XmListSelectPos(gDialog->pageList, index + 1, False);
    XmListSetKbdItemPos(gDialog->pageList, index + 1);
    showPage(index);
}

void pageSelected(Widget, XtPointer, XtPointer callData) {
    showPage(static_cast<XmListCallbackStruct *>(callData)->item_position - 1);
}

// A second click soon after the first counts as a double click, and the list
// reports it on the entry first clicked even when the pointer moved to
// another: show the entry under the pointer.
void pageActivated(Widget list, XtPointer, XtPointer callData) {
    const auto *cbs = static_cast<XmListCallbackStruct *>(callData);
    int position = cbs->item_position;
    if (cbs->event && (cbs->event->type == ButtonPress || cbs->event->type == ButtonRelease)) {
        const int under = XmListYToPos(list, Position(cbs->event->xbutton.y));
        if (under >= 1 && under <= int(optionPages().size())) position = under;
    }
    XmListSelectPos(list, position, False);
    showPage(position - 1);
}

void storeControls() {
    for (const BuiltPage &page : gDialog->pages) {
        for (const BuiltControl &built : page.controls) {
            const OptionControl &control = *built.control;
            switch (built.kind) {
            case ControlKind::Heading: break;
            case ControlKind::Toggle: storeToggle(gSettings, control, XmToggleButtonGetState(built.widget)); break;
            case ControlKind::TextField: {
                storeFieldText(gSettings, control, textFieldValue(built.widget));
                // Show what was stored (the gamma may have been raised).
                XmTextFieldSetString(built.widget, const_cast<char *>(fieldText(gSettings, control).c_str()));
                break;
            }
            case ControlKind::OptionMenu: {
                Widget chosen = nullptr;
                XtVaGetValues(built.widget, XmNmenuHistory, &chosen, nullptr);
                const auto at = std::find(built.menuButtons.begin(), built.menuButtons.end(), chosen);
                if (at != built.menuButtons.end())
                    storeMenuValue(gSettings, control, built.menuValues[size_t(at - built.menuButtons.begin())]);
                break;
            }
            }
        }
        const size_t types = std::min(page.fileTypeCount, gFileTypeFlags.size());
        for (size_t i = 0; i < types; ++i)
            gFileTypeFlags[i].enabled = XmListPosSelected(page.fileTypeList, int(i + 1)) ? 1 : 0;
    }
}

void okActivated(Widget, XtPointer, XtPointer) {
    storeControls();
    XtDestroyWidget(gDialog->shell);
}

void applyActivated(Widget, XtPointer, XtPointer) { storeControls(); }

void cancelActivated(Widget, XtPointer, XtPointer) { XtDestroyWidget(gDialog->shell); }

void dialogDestroyed(Widget, XtPointer, XtPointer) { gDialog.reset(); }

Widget addButton(Widget form, const char *name, const char *label, int left, Widget above, XtCallbackProc callback) {
    Widget button = XtVaCreateManagedWidget(name, xmPushButtonWidgetClass, form, XmNlabelString,
                                            static_cast<XmString>(CompoundString(label)), XmNleftAttachment,
                                            XmATTACH_POSITION, XmNleftPosition, left, XmNrightAttachment,
                                            XmATTACH_POSITION, XmNrightPosition, left + 22, XmNtopAttachment,
                                            XmATTACH_WIDGET, XmNtopWidget, above, XmNtopOffset, 8,
                                            XmNbottomAttachment, XmATTACH_FORM, XmNbottomOffset, 8, nullptr);
    XtAddCallback(button, XmNactivateCallback, callback, nullptr);
    gDialog->buttons.push_back(button);
    return button;
}

void createDialog() {
    gDialog = std::make_unique<Dialog>();
    Dialog &d = *gDialog;
    d.shell = XtVaCreatePopupShell("TolvaOption", topLevelShellWidgetClass, gX.topLevel, XmNtitle, "Options",
                                   XmNiconName, "Options", XmNiconPixmap, gX.iconPixmap, XmNdeleteResponse,
                                   XmDO_NOTHING, nullptr);
    XtAddCallback(d.shell, XmNdestroyCallback, dialogDestroyed, nullptr);
    Atom deleteWindow = XmInternAtom(gX.display, const_cast<char *>("WM_DELETE_WINDOW"), False);
    XmAddWMProtocolCallback(d.shell, deleteWindow, cancelActivated, nullptr);

    Widget form = XtVaCreateWidget("form", xmFormWidgetClass, d.shell, XmNwidth, kDialogWidth, XmNheight,
                                   kDialogHeight, XmNfractionBase, 100, XmNresizePolicy, XmRESIZE_NONE, nullptr);
    // Buttons are made before the rest so the others can attach to them, but
    // the page list comes first in keyboard traversal (see below).
    Widget separator = XtVaCreateManagedWidget("separator", xmSeparatorWidgetClass, form, XmNleftAttachment,
                                               XmATTACH_FORM, XmNrightAttachment, XmATTACH_FORM,
                                               XmNbottomAttachment, XmATTACH_FORM, XmNbottomOffset, 44, nullptr);
    Widget ok = addButton(form, "buttonOk", "OK", 5, separator, okActivated);
    addButton(form, "buttonApply", "Apply", 39, separator, applyActivated);
    Widget cancel = addButton(form, "buttonCancel", "Cancel", 73, separator, cancelActivated);

    std::vector<XmString> items;
    for (const OptionPage &page : optionPages())
        items.push_back(XmStringCreateLocalized(const_cast<char *>(pageListText(page).c_str())));
    Arg args[4];
    Cardinal n = 0;
    XtSetArg(args[n], XmNitems, items.data()), ++n;
    XtSetArg(args[n], XmNitemCount, int(items.size())), ++n;
    XtSetArg(args[n], XmNvisibleItemCount, int(items.size())), ++n;
    XtSetArg(args[n], XmNselectionPolicy, XmBROWSE_SELECT), ++n;
    d.pageList = XmCreateScrolledList(form, const_cast<char *>("pageList"), args, n);
    for (XmString item : items) XmStringFree(item);
    XtVaSetValues(XtParent(d.pageList), XmNtopAttachment, XmATTACH_FORM, XmNtopOffset, 8, XmNleftAttachment,
                  XmATTACH_FORM, XmNleftOffset, 8, XmNbottomAttachment, XmATTACH_WIDGET, XmNbottomWidget,
                  separator, XmNbottomOffset, 8, XmNwidth, kPageListWidth, nullptr);
    XtAddCallback(d.pageList, XmNbrowseSelectionCallback, pageSelected, nullptr);
    // Two quick clicks on two entries make a double click on the second.
    XtAddCallback(d.pageList, XmNdefaultActionCallback, pageActivated, nullptr);
    XtManageChild(d.pageList);

    Widget frame = XtVaCreateManagedWidget("pageFrame", xmFrameWidgetClass, form, XmNtopAttachment, XmATTACH_FORM,
                                           XmNtopOffset, 8, XmNleftAttachment, XmATTACH_WIDGET, XmNleftWidget,
                                           XtParent(d.pageList), XmNleftOffset, 8, XmNrightAttachment,
                                           XmATTACH_FORM, XmNrightOffset, 8, XmNbottomAttachment, XmATTACH_WIDGET,
                                           XmNbottomWidget, separator, XmNbottomOffset, 8, nullptr);
    d.pageTitle = XtVaCreateManagedWidget("pageTitle", xmLabelWidgetClass, frame, XmNchildType,
                                          XmFRAME_TITLE_CHILD, nullptr);
    // Pages do not grow the dialog; a page larger than the area is cut.
    d.pageArea = XtVaCreateManagedWidget("pageArea", xmFormWidgetClass, frame, XmNresizePolicy, XmRESIZE_NONE,
                                         nullptr);

    XtVaSetValues(form, XmNdefaultButton, ok, XmNcancelButton, cancel, XmNinitialFocus, XtParent(d.pageList),
                  nullptr);
    XtManageChild(form);
}

}  // namespace

void optionsDialog(Widget parent) { optionsDialogAtPage(parent, nullptr); }

void optionsDialogAtPage(Widget, const char *pageName) {
    const bool created = !gDialog;
    if (created) createDialog();
    int index = created ? 0 : gDialog->current;
    if (pageName)
        if (const OptionPage *page = findOptionPage(pageName)) index = int(page - optionPages().data());
    selectPage(index);
    XtPopup(gDialog->shell, XtGrabNone);
    // Raised, and brought back if it was iconified.
    if (!created) XMapRaised(XtDisplay(gDialog->shell), XtWindow(gDialog->shell));
}

}  // namespace quivel
