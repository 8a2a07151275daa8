// The initial window, its menu bar, and the About box.
#include "app/initial_window.h"

#include <X11/Shell.h>
#include <X11/cursorfont.h>
#include <Xm/CascadeB.h>
#include <Xm/DialogS.h>
#include <Xm/Form.h>
#include <Xm/Label.h>
#include <Xm/PushB.h>
#include <Xm/RowColumn.h>
#include <Xm/Separator.h>
#include <Xm/Xm.h>
#include <Xm/Protocols.h>

#include <cstdlib>
#include <cstring>

#include "app/command_line.h"
#include "app/later_parts.h"
#include "app/motif_text.h"
#include "app/shell_quote.h"
#include "app/x_app.h"

namespace quivel {

namespace {

constexpr const char *kContactAddress = "quivel@quivel.example";
constexpr const char *kWebSite = "http://www.quivel.example/";

Widget gInitialShell = nullptr;
Widget gAboutShell = nullptr;

struct MenuItem {
    const char *name;               // widget name; nullptr makes a separator
    const char *label;
    const char *accelerator;        // translation syntax, or nullptr
    const char *acceleratorText;
    XtCallbackProc callback;
};

void openActivated(Widget, XtPointer, XtPointer) { openFilesDialog(gInitialShell); }
void browseActivated(Widget, XtPointer, XtPointer) { browseDialog(gInitialShell); }
void optionsActivated(Widget, XtPointer, XtPointer) { optionsDialog(gInitialShell); }
void aboutActivated(Widget, XtPointer, XtPointer) { showAboutBox(gInitialShell); }
void exitActivated(Widget, XtPointer, XtPointer) { saveSettingsAndQuit(); }

constexpr MenuItem kFileMenu[] = {
    {"open", "Open...", "Ctrl<Key>o", "Ctrl+O", openActivated},
    {"browse", "Browse...", "Ctrl<Key>b", "Ctrl+B", browseActivated},
    {"options", "Options...", nullptr, nullptr, optionsActivated},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
    {"exit", "Exit", "Ctrl<Key>q", "Ctrl+Q", exitActivated},
};

constexpr MenuItem kHelpMenu[] = {
    {"about", "About...", nullptr, nullptr, aboutActivated},
};

template <size_t N>
Widget addMenu(Widget menuBar, const char *name, const char *label, char mnemonic, const MenuItem (&items)[N]) {
    Widget pulldown = XmCreatePulldownMenu(menuBar, const_cast<char *>((std::string(name) + "Menu").c_str()), nullptr, 0);
    for (const MenuItem &item : items) {
        if (item.name == nullptr) {
            XtCreateManagedWidget("separator", xmSeparatorWidgetClass, pulldown, nullptr, 0);
            continue;
        }
        Widget button = XtVaCreateManagedWidget(item.name, xmPushButtonWidgetClass, pulldown, XmNlabelString,
                                                static_cast<XmString>(CompoundString(item.label)), nullptr);
        if (item.accelerator)
            XtVaSetValues(button, XmNaccelerator, item.accelerator, XmNacceleratorText,
                          static_cast<XmString>(CompoundString(item.acceleratorText ? item.acceleratorText : "")),
                          nullptr);
        XtAddCallback(button, XmNactivateCallback, item.callback, nullptr);
    }
    return XtVaCreateManagedWidget(name, xmCascadeButtonWidgetClass, menuBar, XmNlabelString,
                                   static_cast<XmString>(CompoundString(label)), XmNsubMenuId, pulldown, XmNmnemonic,
                                   KeySym(mnemonic), nullptr);
}

void initialWindowClosed(Widget, XtPointer, XtPointer) {
    XtDestroyWidget(gInitialShell);
}

void initialWindowDestroyed(Widget, XtPointer, XtPointer) {
    gInitialShell = nullptr;
    if (!anyViewOpen() && !browserOpen()) saveSettingsAndQuit();
}

void aboutOk(Widget, XtPointer, XtPointer) {
    if (gAboutShell) XtDestroyWidget(gAboutShell);
}

void aboutDestroyed(Widget, XtPointer clientData, XtPointer) {
    const Pixmap pixmap = Pixmap(reinterpret_cast<uintptr_t>(clientData));
    if (pixmap > 2) XFreePixmap(gX.display, pixmap);
    gAboutShell = nullptr;
}

Widget addAboutLabel(Widget form, const char *name, const char *text, Widget above) {
    XmString string = XmStringCreateLtoR(const_cast<char *>(text), const_cast<char *>(XmFONTLIST_DEFAULT_TAG));
    Widget label = XtVaCreateManagedWidget(name, xmLabelWidgetClass, form, XmNlabelString, string,
                                           XmNleftAttachment, XmATTACH_FORM, XmNrightAttachment, XmATTACH_FORM,
                                           XmNtopAttachment, above ? XmATTACH_WIDGET : XmATTACH_FORM,
                                           XmNtopWidget, above, XmNtopOffset, 4, nullptr);
    XmStringFree(string);
    return label;
}

void showHandCursor(Widget label) {
    static Cursor hand = 0;
    if (hand == 0) hand = XCreateFontCursor(XtDisplay(label), XC_hand2);
    if (XtWindow(label)) XDefineCursor(XtDisplay(label), XtWindow(label), hand);
}

}  // namespace

Widget openInitialWindow() {
    if (gInitialShell != nullptr) {
        XRaiseWindow(XtDisplay(gInitialShell), XtWindow(gInitialShell));
        return gInitialShell;
    }
    gInitialShell = XtVaCreatePopupShell("TolvaInit", topLevelShellWidgetClass, gX.topLevel, XmNtitle,
                                         kProgramTitle, XmNiconName, "Quivel", XmNiconPixmap, gX.iconPixmap,
                                         XmNdeleteResponse, XmDO_NOTHING, nullptr);
    Atom deleteWindow = XmInternAtom(gX.display, const_cast<char *>("WM_DELETE_WINDOW"), False);
    XmAddWMProtocolCallback(gInitialShell, deleteWindow, initialWindowClosed, nullptr);
    XtAddCallback(gInitialShell, XmNdestroyCallback, initialWindowDestroyed, nullptr);

    Widget form = XtVaCreateManagedWidget("form", xmFormWidgetClass, gInitialShell, XmNwidth, 190, XmNheight, 35,
                                          nullptr);
    Widget menuBar = XmCreateMenuBar(form, const_cast<char *>("menuBar"), nullptr, 0);
    XtVaSetValues(menuBar, XmNtopAttachment, XmATTACH_FORM, XmNleftAttachment, XmATTACH_FORM, XmNrightAttachment,
                  XmATTACH_FORM, nullptr);
    addMenu(menuBar, "file", "File", 'F', kFileMenu);
    Widget help = addMenu(menuBar, "help", "Help", 'H', kHelpMenu);
    XtVaSetValues(menuBar, XmNmenuHelpWidget, help, nullptr);
    XtManageChild(menuBar);
    XtPopup(gInitialShell, XtGrabNone);
    return gInitialShell;
}

void showAboutBox(Widget parent) {
    if (gAboutShell != nullptr) {
        XtPopup(gAboutShell, XtGrabNone);
        XRaiseWindow(XtDisplay(gAboutShell), XtWindow(gAboutShell));
        return;
    }
    gAboutShell = XtVaCreatePopupShell("TolvaAbout", xmDialogShellWidgetClass, parent ? parent : gX.topLevel,
                                       XmNtitle, "About Quivel", XmNwidth, 420, XmNheight, 316, XmNdeleteResponse,
                                       XmDESTROY, nullptr);
    Widget form = XtVaCreateWidget("form", xmFormWidgetClass, gAboutShell, XmNwidth, 420, XmNheight, 316,
                                   XmNmarginWidth, 8, XmNmarginHeight, 8, nullptr);
    const Pixmap logo = CreateIconPixmap(form, kLargeIcon);
    XtAddCallback(gAboutShell, XmNdestroyCallback, aboutDestroyed,
                  reinterpret_cast<XtPointer>(uintptr_t(logo)));

    Widget picture = XtVaCreateManagedWidget("labelPixmap", xmLabelWidgetClass, form, XmNlabelType, XmPIXMAP,
                                             XmNlabelPixmap, logo > 2 ? logo : XmUNSPECIFIED_PIXMAP,
                                             XmNtopAttachment, XmATTACH_FORM, XmNleftAttachment, XmATTACH_FORM,
                                             XmNrightAttachment, XmATTACH_FORM, nullptr);
    Widget w = addAboutLabel(form, "labelTitle", "Quivel for X11/Motif", picture);
    w = addAboutLabel(form, "labelVersion", "Version 1.50", w);
    w = addAboutLabel(form, "labelZentar", "Zentar Version 3.87", w);
    w = addAboutLabel(form, "labelMaker", "Written by the Quivel developers", w);
    Widget email = w = addAboutLabel(form, "labelEmail", kContactAddress, w);
    Widget url = w = addAboutLabel(form, "labelUrl", kWebSite, w);
    w = addAboutLabel(form, "labelFree", "This application is freeware", w);
    w = addAboutLabel(form, "labelJpeg",
                      "The JPEG and PNG functions are based in part \non the work of the independent JPEG group "
                      "\nand Group 42, Inc",
                      w);
    w = addAboutLabel(form, "labelThanks", "I would like to thank all users who send me messages !", w);

    const CompoundString okText("O.K.");
    Widget ok = XtVaCreateManagedWidget("buttonOk", xmPushButtonWidgetClass, form, XmNlabelString, static_cast<XmString>(okText),
                                        XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, w, XmNtopOffset, 8,
                                        XmNleftAttachment, XmATTACH_POSITION, XmNleftPosition, 40,
                                        XmNrightAttachment, XmATTACH_POSITION, XmNrightPosition, 60, nullptr);
    XtAddCallback(ok, XmNactivateCallback, aboutOk, nullptr);
    XtVaSetValues(form, XmNdefaultButton, ok, nullptr);

    XtTranslations click = XtParseTranslationTable("<Btn1Down>: UrlClick()");
    XtOverrideTranslations(email, click);
    XtOverrideTranslations(url, click);
    XtManageChild(form);
    XtPopup(gAboutShell, XtGrabNone);
    showHandCursor(email);
    showHandCursor(url);
}

void UrlClick(Widget w, XEvent *, String *, Cardinal *) {
    const bool isMail = std::strcmp(XtName(w), "labelEmail") == 0;
    const std::string command = webBrowserCommand(std::getenv("WEBBROWSER"), isMail ? kContactAddress : kWebSite,
                                                  isMail);
    if (std::system(command.c_str()) == -1) return;
}

}  // namespace quivel
