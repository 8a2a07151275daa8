// The view's own dialogs: pages of a multi-page file with their extraction,
// the resize and canvas-size dialogs, and the folder chooser.
#include <X11/keysym.h>
#include <Xm/DialogS.h>
#include <Xm/FileSB.h>
#include <Xm/Form.h>
#include <Xm/Label.h>
#include <Xm/PushB.h>
#include <Xm/RowColumn.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>
#include <Xm/Xm.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "app/message_box.h"
#include "app/settings.h"
#include "app/motif_text.h"
#include "app/x_app.h"
#include "imageops/geometry.h"
#include "picture/load_save.h"
#include "view/file_navigation.h"
#include "view/view_support.h"
#include "view/view_window.h"

namespace quivel {

namespace {

Widget button(Widget parent, const char *name, const char *label) {
    return XtVaCreateManagedWidget(name, xmPushButtonWidgetClass, parent, XmNlabelString,
                                   static_cast<XmString>(CompoundString(label)), nullptr);
}

Widget label(Widget parent, const char *name, const char *value) {
    return XtVaCreateManagedWidget(name, xmLabelWidgetClass, parent, XmNlabelString,
                                   static_cast<XmString>(CompoundString(value)), nullptr);
}

// Waits for a modal dialog's answer, keeping the other windows drawn.
enum class Answer { Waiting, Ok, Cancel };

void answerOk(Widget, XtPointer clientData, XtPointer) { *static_cast<Answer *>(clientData) = Answer::Ok; }
void answerCancel(Widget, XtPointer clientData, XtPointer) { *static_cast<Answer *>(clientData) = Answer::Cancel; }

bool waitForAnswer(Widget shell, Answer &answer) {
    XtAddCallback(shell, XmNpopdownCallback, answerCancel, &answer);
    {
        const ModalLoop loop;
        while (answer == Answer::Waiting) XtAppProcessEvent(gX.context, XtIMAll);
    }
    XtRemoveCallback(shell, XmNpopdownCallback, answerCancel, &answer);
    return answer == Answer::Ok;
}

// ---- Pages ----------------------------------------------------------------------

int ppmFormat() { return zntFormatForSuffix("page.ppm"); }

// Writes one page as a colour PPM. The page is loaded afresh, so that the
// file's pages are written as they are in the file, whatever the view did.
bool extractPage(View &v, const std::string &folder, int page) {
    Picture picture{};
    FileInformation info{};
    const int status = loadPictureFile(v.shell, v.path.c_str(), page, picture, info, true);
    zntFileInformationFree(&info);
    if (status != 0) return false;
    if (picture.type != ZNT_RGB && convertPictureKind(&picture, nullptr, 19, 0) != ZNT_OK) {
        zntFree(&picture);
        showMessage(v.shell, MessageKind::Error, operationMessage(ZNT_NO_MEMORY));
        return false;
    }
    char name[kPathCapacity] = {};
    std::snprintf(name, sizeof name, "%s", extractFileName(folder, v.path, page).c_str());
    const bool saved = savePictureFile(v.shell, name, ppmFormat(), picture, false, false, false) == 0;
    zntFree(&picture);
    return saved;
}

std::string extractFolder(const View &v) {
    return gSettings.pathExtract[0] != '\0' ? std::string(gSettings.pathExtract) : folderOf(v.path);
}

bool chooseFolder(Widget parent, const char *title, const std::string &start, std::string &out);

void pageButton(Widget w, XtPointer clientData, XtPointer) {
    View *v = viewForWidget(w);
    if (v == nullptr || loadOrSaveInProgress()) return;
    const char *command = static_cast<const char *>(clientData);
    if (std::strcmp(command, "extract") == 0) {
        SetBusyCursor(v->shell, true);
        extractPage(*v, extractFolder(*v), v->page);
        SetBusyCursor(v->shell, false);
        return;
    }
    if (std::strcmp(command, "extractInto") == 0) {
        std::string folder;
        if (!chooseFolder(v->shell, "Select Output Directory ...", extractFolder(*v), folder)) return;
        std::snprintf(gSettings.pathExtract, sizeof gSettings.pathExtract, "%s", folder.c_str());
        SetBusyCursor(v->shell, true);
        for (int page = 0; page < v->pageCount; ++page)
            if (!extractPage(*v, folder, page)) break;
        SetBusyCursor(v->shell, false);
        return;
    }
    String params[1] = {const_cast<String>(command)};
    XtCallActionProc(w, const_cast<String>("ViewDoCommand"), nullptr, params, 1);
}

void pageTyped(Widget w, XtPointer, XtPointer) {
    View *v = viewForWidget(w);
    if (v == nullptr) return;
    const int page = parseSize(textFieldValue(w).c_str());
    if (page >= 1) navigatePage(*v, page - 1);
    updatePageDialog(*v);
}

void pageDialogDestroyed(Widget w, XtPointer, XtPointer) {
    for (View *v : openViews())
        if (v->pageDialog == w) v->pageDialog = nullptr;
}

// ---- The size dialogs -----------------------------------------------------------

struct SizeFields {
    Widget width, height, keepRatio;
    int pictureWidth, pictureHeight;
    bool updating;
};

int fieldValue(Widget field) { return parseSize(textFieldValue(field).c_str()); }

void setField(Widget field, int value) {
    const std::string s = std::to_string(value);
    XmTextFieldSetString(field, const_cast<char *>(s.c_str()));
}

// With the ratio kept, typing one side sets the other.
void sideTyped(Widget w, XtPointer clientData, XtPointer) {
    auto &f = *static_cast<SizeFields *>(clientData);
    if (f.updating || !XmToggleButtonGetState(f.keepRatio)) return;
    const int value = fieldValue(w);
    if (value < 1) return;
    f.updating = true;
    if (w == f.width)
        setField(f.height, keptRatioSide(f.pictureHeight, f.pictureWidth, value));
    else
        setField(f.width, keptRatioSide(f.pictureWidth, f.pictureHeight, value));
    f.updating = false;
}

struct SizeAnswer {
    int width = 0, height = 0;
    bool keepRatio = true;
    int resample = 1;
};

// A modal dialog asking for a new size; `resample` non-null adds the choice
// of resampling. False when cancelled or the size is not valid.
bool askSize(View &v, const char *name, const char *title, bool keepRatio, const int *resample, SizeAnswer &out) {
    const Picture &p = v.pictures.current;
    Widget shell = XtVaCreatePopupShell(name, xmDialogShellWidgetClass, v.shell, XmNtitle, title, XmNdeleteResponse,
                                        XmUNMAP, nullptr);
    Widget form = XtVaCreateWidget("form", xmFormWidgetClass, shell, XmNmarginWidth, 8, XmNmarginHeight, 8,
                                   XmNdialogStyle, XmDIALOG_FULL_APPLICATION_MODAL, XmNfractionBase, 2, nullptr);
    Widget grid = XtVaCreateManagedWidget("grid", xmRowColumnWidgetClass, form, XmNpacking, XmPACK_COLUMN,
                                          XmNnumColumns, 2, XmNorientation, XmHORIZONTAL, XmNtopAttachment,
                                          XmATTACH_FORM, XmNleftAttachment, XmATTACH_FORM, XmNrightAttachment,
                                          XmATTACH_FORM, nullptr);
    SizeFields fields{};
    fields.pictureWidth = int(p.width);
    fields.pictureHeight = p.height;
    label(grid, "labelWidth", "Width :");
    fields.width = XtVaCreateManagedWidget("textWidth", xmTextFieldWidgetClass, grid, XmNcolumns, 8, nullptr);
    label(grid, "labelHeight", "Height :");
    fields.height = XtVaCreateManagedWidget("textHeight", xmTextFieldWidgetClass, grid, XmNcolumns, 8, nullptr);
    setField(fields.width, fields.pictureWidth);
    setField(fields.height, fields.pictureHeight);
    const CompoundString keep("Keep ratio");
    fields.keepRatio = XtVaCreateManagedWidget("keepRatio", xmToggleButtonWidgetClass, form, XmNlabelString,
                                               static_cast<XmString>(keep), XmNset, keepRatio, XmNtopAttachment,
                                               XmATTACH_WIDGET, XmNtopWidget, grid, XmNleftAttachment,
                                               XmATTACH_FORM, nullptr);
    Widget last = fields.keepRatio;
    Widget nearest = nullptr;
    if (resample != nullptr) {
        Widget box = XmCreateRadioBox(form, const_cast<char *>("resample"), nullptr, 0);
        XtVaSetValues(box, XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, last, XmNleftAttachment, XmATTACH_FORM,
                      nullptr);
        const CompoundString a("Nearest Neighbor"), b("Bilinear");
        nearest = XtVaCreateManagedWidget("nearest", xmToggleButtonWidgetClass, box, XmNlabelString,
                                          static_cast<XmString>(a), XmNset, *resample == kResampleNearest, nullptr);
        XtVaCreateManagedWidget("bilinear", xmToggleButtonWidgetClass, box, XmNlabelString, static_cast<XmString>(b),
                                XmNset, *resample != kResampleNearest, nullptr);
        XtManageChild(box);
        last = box;
    }
    Widget ok = button(form, "buttonOk", "OK");
    Widget cancel = button(form, "buttonCancel", "Cancel");
    XtVaSetValues(ok, XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, last, XmNtopOffset, 8, XmNleftAttachment,
                  XmATTACH_POSITION, XmNleftPosition, 0, XmNrightAttachment, XmATTACH_POSITION, XmNrightPosition, 1,
                  XmNbottomAttachment, XmATTACH_FORM, nullptr);
    XtVaSetValues(cancel, XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, last, XmNtopOffset, 8, XmNleftAttachment,
                  XmATTACH_POSITION, XmNleftPosition, 1, XmNrightAttachment, XmATTACH_POSITION, XmNrightPosition, 2,
                  XmNbottomAttachment, XmATTACH_FORM, nullptr);
    XtVaSetValues(form, XmNdefaultButton, ok, XmNcancelButton, cancel, nullptr);
    XtAddCallback(fields.width, XmNvalueChangedCallback, sideTyped, &fields);
    XtAddCallback(fields.height, XmNvalueChangedCallback, sideTyped, &fields);
    Answer answer = Answer::Waiting;
    XtAddCallback(ok, XmNactivateCallback, answerOk, &answer);
    XtAddCallback(cancel, XmNactivateCallback, answerCancel, &answer);
    // Return in a field confirms.
    XtAddCallback(fields.width, XmNactivateCallback, answerOk, &answer);
    XtAddCallback(fields.height, XmNactivateCallback, answerOk, &answer);
    XtManageChild(form);
    XmProcessTraversal(fields.width, XmTRAVERSE_CURRENT);
    const bool confirmed = waitForAnswer(shell, answer);
    out.width = fieldValue(fields.width);
    out.height = fieldValue(fields.height);
    out.keepRatio = XmToggleButtonGetState(fields.keepRatio);
    if (nearest != nullptr) out.resample = XmToggleButtonGetState(nearest) ? int(kResampleNearest) : 1;
    XtDestroyWidget(shell);
    return confirmed && out.width > 0 && out.height > 0;
}

void folderChosen(Widget w, XtPointer clientData, XtPointer callData) {
    auto *answer = static_cast<std::pair<Answer, std::string> *>(clientData);
    auto *cb = static_cast<XmFileSelectionBoxCallbackStruct *>(callData);
    if (cb != nullptr) answer->second = plainText(cb->value);
    answer->first = Answer::Ok;
    (void)w;
}

void folderCancelled(Widget, XtPointer clientData, XtPointer) {
    static_cast<std::pair<Answer, std::string> *>(clientData)->first = Answer::Cancel;
}

bool chooseFolder(Widget parent, const char *title, const std::string &start, std::string &out) {
    const CompoundString directory(start);
    Arg args[3];
    XtSetArg(args[0], XmNfileTypeMask, XmFILE_DIRECTORY);
    XtSetArg(args[1], XmNdirectory, static_cast<XmString>(directory));
    XtSetArg(args[2], XmNdialogStyle, XmDIALOG_FULL_APPLICATION_MODAL);
    Widget box = XmCreateFileSelectionDialog(parent, const_cast<char *>("folderChooser"), args, 3);
    XtVaSetValues(XtParent(box), XmNtitle, title, nullptr);
    XtUnmanageChild(XmFileSelectionBoxGetChild(box, XmDIALOG_HELP_BUTTON));
    std::pair<Answer, std::string> answer{Answer::Waiting, {}};
    XtAddCallback(box, XmNokCallback, folderChosen, &answer);
    XtAddCallback(box, XmNcancelCallback, folderCancelled, &answer);
    XtAddCallback(XtParent(box), XmNpopdownCallback, folderCancelled, &answer);
    XtManageChild(box);
    {
        const ModalLoop loop;
        while (answer.first == Answer::Waiting) XtAppProcessEvent(gX.context, XtIMAll);
    }
    XtDestroyWidget(XtParent(box));
    if (answer.first != Answer::Ok || answer.second.empty()) return false;
    out = answer.second;
    while (out.size() > 1 && out.back() == '/') out.pop_back();
    return true;
}

}  // namespace

void showPageDialog(View &v) {
    if (v.pageDialog != nullptr) {
        XtPopup(v.pageDialog, XtGrabNone);
        return updatePageDialog(v);
    }
    v.pageDialog = XtVaCreatePopupShell("TolvaPages", xmDialogShellWidgetClass, v.shell, XmNtitle, "Pages",
                                        XmNdeleteResponse, XmDESTROY, XmNallowShellResize, True, nullptr);
    XtAddCallback(v.pageDialog, XmNdestroyCallback, pageDialogDestroyed, nullptr);
    Widget form = XtVaCreateWidget("form", xmRowColumnWidgetClass, v.pageDialog, XmNorientation, XmHORIZONTAL,
                                   XmNmarginWidth, 6, XmNmarginHeight, 6, nullptr);
    const std::pair<const char *, const char *> moves[] = {
        {"first", "|<"}, {"previous", "<"}, {"next", ">"}, {"last", ">|"}};
    const char *commands[] = {"pageFirst", "pagePrev", "pageNext", "pageLast"};
    for (int i = 0; i < 4; ++i) {
        if (i == 2) {
            Widget field = XtVaCreateManagedWidget("pageNumber", xmTextFieldWidgetClass, form, XmNcolumns, 4, nullptr);
            XtAddCallback(field, XmNactivateCallback, pageTyped, nullptr);
            label(form, "pageCount", "");
        }
        Widget b = button(form, moves[i].first, moves[i].second);
        XtAddCallback(b, XmNactivateCallback, pageButton, const_cast<char *>(commands[i]));
    }
    Widget extract = button(form, "extract", "Extract");
    XtAddCallback(extract, XmNactivateCallback, pageButton, const_cast<char *>("extract"));
    Widget extractInto = button(form, "extractInto", "Extract All Into...");
    XtAddCallback(extractInto, XmNactivateCallback, pageButton, const_cast<char *>("extractInto"));
    XtManageChild(form);
    updatePageDialog(v);
    XtPopup(v.pageDialog, XtGrabNone);
}

void updatePageDialog(View &v) {
    if (v.pageDialog == nullptr) return;
    const bool frames = v.frameCount > 1;
    const int index = frames ? v.frame : v.page, count = frames ? v.frameCount : v.pageCount;
    if (Widget field = XtNameToWidget(v.pageDialog, "*pageNumber")) setField(field, index + 1);
    if (Widget countLabel = XtNameToWidget(v.pageDialog, "*pageCount"))
        XtVaSetValues(countLabel, XmNlabelString, static_cast<XmString>(CompoundString("of " + std::to_string(count))),
                      nullptr);
    for (const char *name : {"*extract", "*extractInto"})
        if (Widget w = XtNameToWidget(v.pageDialog, name)) XtSetSensitive(w, hasPixels(v.pictures.current) && !frames);
}

void resizeDialog(View &v) {
    if (!hasPixels(v.pictures.current)) return;
    const int resample = gSettings.resize.resample;
    SizeAnswer answer;
    if (!askSize(v, "TolvaResize", "Resize", gSettings.resize.keepRatio, &resample, answer)) return;
    gSettings.resize.keepRatio = answer.keepRatio;
    gSettings.resize.resample = uint8_t(answer.resample);
    const int width = answer.width, height = answer.height, mode = answer.resample;
    applyPictureOperation(
        v, [=](Picture *source, Picture *output) { return resizePicture(source, output, width, height, mode); },
        false);
}

void canvasDialog(View &v) {
    if (!hasPixels(v.pictures.current)) return;
    SizeAnswer answer;
    if (!askSize(v, "TolvaCanvas", "Canvas Size", gSettings.canvas.keepRatio, nullptr, answer)) return;
    gSettings.canvas.keepRatio = answer.keepRatio;
    const int width = answer.width, height = answer.height;
    applyPictureOperation(
        v, [=](Picture *source, Picture *output) { return resizeCanvas(source, output, width, height, 0); }, false);
}

}  // namespace quivel
