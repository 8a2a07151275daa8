// The view's menu bar (or popup menu), built from the menu tables, and the
// state its items show.
#include <Xm/CascadeB.h>
#include <Xm/CascadeBG.h>
#include <Xm/PushBG.h>
#include <Xm/RowColumn.h>
#include <Xm/SeparatoG.h>
#include <Xm/ToggleB.h>
#include <Xm/Xm.h>

#include <cstdlib>
#include <string>

#include "app/initial_window.h"
#include "app/motif_text.h"
#include "app/settings.h"
#include "app/shell_quote.h"
#include "picture/load_save.h"
#include "app/x_app.h"
#include "view/commands.h"
#include "view/menu_tables.h"
#include "view/view_window.h"

namespace quivel {

namespace {

constexpr const char *kWebSite = "http://www.quivel.example/";

// A compound string, or none for a null text; the caller frees it.
XmString optionalText(const char *s) { return s ? XmStringCreateLocalized(const_cast<char *>(s)) : nullptr; }

// Every item reaches its command the way its key does.
void commandActivated(Widget w, XtPointer clientData, XtPointer callData) {
    const auto *item = static_cast<const ViewMenuItem *>(clientData);
    auto *cb = static_cast<XmAnyCallbackStruct *>(callData);
    String params[1] = {const_cast<String>(item->command)};
    XtCallActionProc(w, const_cast<String>("ViewDoCommand"), cb ? cb->event : nullptr, params, 1);
}

void fitActivated(Widget w, XtPointer clientData, XtPointer callData) {
    if (loadOrSaveInProgress()) return;
    const auto *item = static_cast<const ViewMenuItem *>(clientData);
    auto *cb = static_cast<XmToggleButtonCallbackStruct *>(callData);
    View *v = viewForWidget(w);
    if (v == nullptr || (cb != nullptr && !cb->set)) {
        if (v) updateMenus(*v);
        return;
    }
    if (item->command != nullptr)
        commandActivated(w, clientData, callData);
    else
        setFitMode(*v, item->code);
}

void convertActivated(Widget w, XtPointer clientData, XtPointer) {
    if (loadOrSaveInProgress()) return;
    const auto *item = static_cast<const ViewMenuItem *>(clientData);
    View *v = viewForWidget(w);
    if (v == nullptr) return;
    const int mode = item->code, dither = item->argument;
    applyPictureOperation(
        *v, [mode, dither](Picture *source, Picture *output) { return convertPictureKind(source, output, mode, dither); },
        true);
}

void actionActivated(Widget w, XtPointer clientData, XtPointer) {
    if (loadOrSaveInProgress()) return;
    const auto *item = static_cast<const ViewMenuItem *>(clientData);
    View *v = viewForWidget(w);
    if (v == nullptr) return;
    switch (item->code) {
    case kActionSave: return saveViewInPlace(*v);
    case kActionSelectNone: return setSelection(*v, false);
    case kActionCopy: return copyToClipboard(*v);
    case kActionPaste: return pasteFromClipboard(*v);
    case kActionPageDialog: return showPageDialog(*v);
    case kActionRotate180:
        return applyPictureOperation(
            *v, [](Picture *source, Picture *output) { return runPictureOperation(kOpRotate180, source, output, nullptr); },
            false);
    case kActionCanvas: return canvasDialog(*v);
    case kActionCountColors: return countColors(*v);
    case kActionAbout: return showAboutBox(v->shell);
    case kActionWebSite: {
        const std::string command = webBrowserCommand(std::getenv("WEBBROWSER"), kWebSite, false);
        if (std::system(command.c_str()) == -1) return;
        return;
    }
    default: return;
    }
}

void recentFileActivated(Widget w, XtPointer clientData, XtPointer) {
    if (loadOrSaveInProgress()) return;
    View *v = viewForWidget(w);
    const int index = int(reinterpret_cast<intptr_t>(clientData));
    if (v == nullptr || index < 0 || index >= kRecentCount || gSettings.fileName[index][0] == '\0') return;
    const std::string path = gSettings.fileName[index];
    if (!settleChanges(*v)) return;
    std::vector<std::string> list;
    list.swap(v->fileList);
    // A stopped load stays on the file and the list shown.
    if (!loadViewFile(*v, path, 0, false) && v->path != path) list.swap(v->fileList);
}

void windowActivated(Widget, XtPointer clientData, XtPointer) {
    for (View *v : openViews())
        if (v == clientData && XtWindow(v->shell)) XMapRaised(XtDisplay(v->shell), XtWindow(v->shell));
}

// The recent files are shown as they are each time the File menu opens.
void fileMenuOpening(Widget w, XtPointer, XtPointer) {
    Widget pane = nullptr;
    XtVaGetValues(w, XmNsubMenuId, &pane, nullptr);
    if (pane == nullptr) return;
    for (int i = 0; i < kRecentCount; ++i) {
        const std::string name = "recentFile" + std::to_string(i);
        Widget item = XtNameToWidget(pane, name.c_str());
        if (item == nullptr) continue;
        const char *path = gSettings.fileName[i];
        if (path[0] == '\0') {
            XtUnmanageChild(item);
            continue;
        }
        const std::string label = std::to_string(i + 1) + " " + std::string(baseName(path));
        XtVaSetValues(item, XmNlabelString, static_cast<XmString>(CompoundString(label)), nullptr);
        XtManageChild(item);
    }
}

void windowMenuOpening(Widget w, XtPointer, XtPointer) {
    Widget pane = nullptr;
    XtVaGetValues(w, XmNsubMenuId, &pane, nullptr);
    if (pane == nullptr) return;
    WidgetList children = nullptr;
    Cardinal count = 0;
    XtVaGetValues(pane, XmNchildren, &children, XmNnumChildren, &count, nullptr);
    const std::vector<Widget> old(children, children + count);
    for (Widget child : old) XtDestroyWidget(child);
    int n = 0;
    for (View *v : openViews()) {
        const std::string label = std::to_string(++n) + " " + (v->path.empty() ? "(none)" : std::string(baseName(v->path)));
        Widget item = XtVaCreateManagedWidget(("window" + std::to_string(n)).c_str(), xmPushButtonGadgetClass, pane,
                                              XmNlabelString, static_cast<XmString>(CompoundString(label)), nullptr);
        XtAddCallback(item, XmNactivateCallback, windowActivated, v);
    }
}

void addItems(Widget pane, std::span<const ViewMenuItem> items) {
    for (const ViewMenuItem *item : shownItems(items, gSettings.start.useMostRecentlyUsedFiles)) {
        XmString label = optionalText(item->label);
        XmString accelerator = optionalText(item->acceleratorText);
        auto *data = const_cast<ViewMenuItem *>(item);
        switch (item->kind) {
        case MenuItemKind::Separator:
            XtCreateManagedWidget(item->name, xmSeparatorGadgetClass, pane, nullptr, 0);
            break;
        case MenuItemKind::Submenu: {
            Widget sub = XmCreatePulldownMenu(pane, const_cast<char *>((std::string(item->name) + "Pane").c_str()),
                                              nullptr, 0);
            if (std::string_view(item->name) == "MenuFit") XtVaSetValues(sub, XmNradioBehavior, True, nullptr);
            addItems(sub, item->submenu);
            XtVaCreateManagedWidget(item->name, xmCascadeButtonGadgetClass, pane, XmNlabelString, label,
                                    XmNsubMenuId, sub, nullptr);
            break;
        }
        case MenuItemKind::Toggle:
        case MenuItemKind::FitMode: {
            Widget w = XtVaCreateManagedWidget(item->name, xmToggleButtonWidgetClass, pane, XmNlabelString, label,
                                               XmNvisibleWhenOff, True, XmNindicatorType,
                                               item->kind == MenuItemKind::FitMode ? XmONE_OF_MANY : XmN_OF_MANY,
                                               nullptr);
            if (accelerator) XtVaSetValues(w, XmNacceleratorText, accelerator, nullptr);
            XtAddCallback(w, XmNvalueChangedCallback,
                          item->kind == MenuItemKind::FitMode ? fitActivated : commandActivated, data);
            break;
        }
        case MenuItemKind::RecentFiles:
            for (int i = 0; i < kRecentCount; ++i) {
                Widget w = XtCreateWidget(("recentFile" + std::to_string(i)).c_str(), xmPushButtonGadgetClass, pane,
                                          nullptr, 0);
                XtAddCallback(w, XmNactivateCallback, recentFileActivated, reinterpret_cast<XtPointer>(intptr_t(i)));
            }
            break;
        case MenuItemKind::WindowList: break;
        default: {
            Widget w = XtVaCreateManagedWidget(item->name, xmPushButtonGadgetClass, pane, XmNlabelString, label,
                                               nullptr);
            if (accelerator) XtVaSetValues(w, XmNacceleratorText, accelerator, nullptr);
            XtCallbackProc callback = item->kind == MenuItemKind::Convert ? convertActivated
                                      : item->kind == MenuItemKind::Action ? actionActivated
                                                                           : commandActivated;
            XtAddCallback(w, XmNactivateCallback, callback, data);
            break;
        }
        }
        if (label) XmStringFree(label);
        if (accelerator) XmStringFree(accelerator);
    }
}

Widget menuRoot(const View &v) { return v.menuBar ? v.menuBar : v.popupMenu; }

void setToggle(Widget root, const char *name, bool on) {
    const std::string pattern = std::string("*") + name;
    if (Widget w = XtNameToWidget(root, pattern.c_str())) XmToggleButtonSetState(w, on, False);
}

void setSensitive(const View &v, const char *name, bool on) {
    const std::string pattern = std::string("*") + name;
    for (Widget root : {menuRoot(v), v.toolBar})
        if (root != nullptr)
            if (Widget w = XtNameToWidget(root, pattern.c_str())) XtSetSensitive(w, on);
}

}  // namespace

void buildMenus(View &v) {
    Widget bar = v.menuBar;
    if (bar == nullptr) bar = v.popupMenu = XmCreatePopupMenu(v.drawingArea, const_cast<char *>("popupMenu"), nullptr, 0);
    for (const ViewMenu &menu : viewMenus()) {
        const bool dynamic = !menu.items.empty() && menu.items[0].kind == MenuItemKind::WindowList;
        if (!dynamic && shownItems(menu.items, gSettings.start.useMostRecentlyUsedFiles).empty()) continue;
        Widget pane = XmCreatePulldownMenu(bar, const_cast<char *>((std::string(menu.name) + "Menu").c_str()), nullptr, 0);
        addItems(pane, menu.items);
        const CompoundString label(menu.label);
        Widget cascade = XtVaCreateManagedWidget(menu.name, v.menuBar ? xmCascadeButtonWidgetClass
                                                                      : xmCascadeButtonGadgetClass,
                                                 bar, XmNlabelString, static_cast<XmString>(label), XmNsubMenuId,
                                                 pane, XmNmnemonic, KeySym(menu.mnemonic), nullptr);
        if (std::string_view(menu.name) == "file") XtAddCallback(cascade, XmNcascadingCallback, fileMenuOpening, nullptr);
        if (dynamic) XtAddCallback(cascade, XmNcascadingCallback, windowMenuOpening, nullptr);
        if (std::string_view(menu.name) == "help" && v.menuBar) XtVaSetValues(v.menuBar, XmNmenuHelpWidget, cascade, nullptr);
    }
}

void updateMenus(View &v) {
    const Picture &current = v.pictures.current;
    const bool picture = hasPixels(current);
    for (const auto &[name, on] : pictureMenuSensitivity(v.loadFailed || !picture, current.type))
        setSensitive(v, name, on);
    if (!picture) setSensitive(v, "canvas", false);
    setSensitive(v, "undo", hasPixels(v.pictures.undo));
    setSensitive(v, "crop", v.selectionActive);
    setSensitive(v, "selectNone", v.selectionActive);
    for (const char *name : {"save", "saveFiles", "copy", "count", "rotate180", "pages"}) setSensitive(v, name, picture);
    Widget root = menuRoot(v);
    if (root == nullptr) return;
    setToggle(root, "fullScreen", v.fullScreen);
    setToggle(root, "statusBar", XtIsManaged(v.statusBar) || (v.fullScreen && gSettings.view.statusBar));
    setToggle(root, "toolBar", XtIsManaged(v.toolBar) || (v.fullScreen && gSettings.view.toolBar));
    setToggle(root, "colorInformation", v.colorInformation);
    setToggle(root, "showMask", v.showMask);
    const std::pair<const char *, int> fits[] = {{"fitNone", 0}, {"fitWindow", 1}, {"fitAll", 2},
                                                 {"fitLarge", 3}, {"fitWidth", 6}, {"fitHeight", 7}};
    for (const auto &[name, mode] : fits) setToggle(root, name, v.fit == mode);
}

}  // namespace quivel
