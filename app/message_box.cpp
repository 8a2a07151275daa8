#include "app/message_box.h"

#include <Xm/MessageB.h>
#include <Xm/Xm.h>

#include <cstdio>

#include "app/app_globals.h"
#include "app/message_text.h"
#include "app/motif_text.h"
#include "app/x_app.h"

namespace quivel {

namespace {

Widget boxParent(Widget parent) {
    // A dialog over a shell that is not realised would have nowhere to show.
    return parent != nullptr && XtIsRealized(parent) ? parent : gX.topLevel;
}

void logMessage(const std::string &text) {
    if (gApp.verbose) std::fputs(messageLogLine(text).c_str(), stderr);
}

void destroyShell(Widget w, XtPointer, XtPointer) { XtDestroyWidget(XtParent(w)); }

}  // namespace

void showMessage(Widget parent, MessageKind kind, const std::string &text) {
    logMessage(text);
    Widget (*create)(Widget, String, ArgList, Cardinal) = XmCreateErrorDialog;
    const char *title = "Error";
    if (kind == MessageKind::Warning) {
        create = XmCreateWarningDialog;
        title = "Warning";
    } else if (kind == MessageKind::Information) {
        create = XmCreateInformationDialog;
        title = "Information";
    }
    XmString message = XmStringCreateLtoR(const_cast<char *>(text.c_str()), const_cast<char *>(XmFONTLIST_DEFAULT_TAG));
    Arg args[2];
    XtSetArg(args[0], XmNmessageString, message);
    XtSetArg(args[1], XmNdeleteResponse, XmDESTROY);
    Widget box = create(boxParent(parent), const_cast<char *>("message"), args, 2);
    XmStringFree(message);
    XtVaSetValues(XtParent(box), XmNtitle, title, nullptr);
    XtUnmanageChild(XmMessageBoxGetChild(box, XmDIALOG_CANCEL_BUTTON));
    XtUnmanageChild(XmMessageBoxGetChild(box, XmDIALOG_HELP_BUTTON));
    XtAddCallback(box, XmNokCallback, destroyShell, nullptr);
    XtManageChild(box);
}

bool askQuestion(Widget parent, const std::string &text) {
    logMessage(text);
    enum { kWaiting, kYes, kNo } answer = kWaiting;
    XmString message = XmStringCreateLtoR(const_cast<char *>(text.c_str()), const_cast<char *>(XmFONTLIST_DEFAULT_TAG));
    const CompoundString yes("Yes"), no("No");
    Arg args[5];
    XtSetArg(args[0], XmNmessageString, message);
    XtSetArg(args[1], XmNokLabelString, static_cast<XmString>(yes));
    XtSetArg(args[2], XmNcancelLabelString, static_cast<XmString>(no));
    XtSetArg(args[3], XmNdialogStyle, XmDIALOG_FULL_APPLICATION_MODAL);
    XtSetArg(args[4], XmNdeleteResponse, XmUNMAP);
    Widget box = XmCreateQuestionDialog(boxParent(parent), const_cast<char *>("question"), args, 5);
    XmStringFree(message);
    XtVaSetValues(XtParent(box), XmNtitle, "Question", nullptr);
    XtUnmanageChild(XmMessageBoxGetChild(box, XmDIALOG_HELP_BUTTON));
    auto answered = [](Widget, XtPointer clientData, XtPointer callData) {
        auto *cb = static_cast<XmAnyCallbackStruct *>(callData);
        *static_cast<decltype(answer) *>(clientData) = cb->reason == XmCR_OK ? kYes : kNo;
    };
    XtAddCallback(box, XmNokCallback, answered, &answer);
    XtAddCallback(box, XmNcancelCallback, answered, &answer);
    XtAddCallback(XtParent(box), XmNpopdownCallback, [](Widget, XtPointer clientData, XtPointer) {
        auto *a = static_cast<decltype(answer) *>(clientData);
        if (*a == kWaiting) *a = kNo;
    }, &answer);
    XtManageChild(box);
    {
        const ModalLoop loop;
        while (answer == kWaiting) XtAppProcessEvent(gX.context, XtIMAll);
    }
    XtDestroyWidget(XtParent(box));
    return answer == kYes;
}

}  // namespace quivel
