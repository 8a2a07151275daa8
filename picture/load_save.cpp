// Loads and saves from the windows: the progress dialog, the progress
// functions the library calls, and the error boxes. The steps of a save and
// every parameter rule are in save_picture.cpp and format_params.cpp.
#include "picture/load_save.h"

#include <Xm/DialogS.h>
#include <Xm/Form.h>
#include <Xm/Label.h>
#include <Xm/PushB.h>
#include <Xm/Xm.h>

#include <chrono>
#include <cstring>
#include <optional>
#include <string>

#include "app/app_globals.h"
#include "app/message_box.h"
#include "app/motif_text.h"
#include "app/settings.h"
#include "app/x_app.h"
#include "picture/convert_dialog.h"
#include "picture/format_params.h"
#include "picture/save_picture.h"
#include "picture/status_message.h"
#include "widgets/progress_bar.h"

namespace quivel {

namespace {

// The one progress dialog. The widgets are null while there is none, and
// become null again if the dialog goes with its parent.
struct Progress {
    Widget shell = nullptr;   // "TolvaProgress"
    Widget form = nullptr;
    Widget bar = nullptr;     // "BarH"
    bool stop = false;        // set by Stop, read and cleared by the load progress function
    bool shown = false;
    int steps = 0, maximum = 1;
    int drawnStep = -1;       // the bar is redrawn only when its fill can change
};

Progress gProgress;
bool gBusy = false;   // a load or save runs

// Bar updates per run: more would only cost redraws.
constexpr int kBarSteps = 256;
constexpr std::chrono::milliseconds kDispatchInterval{8};

std::string baseName(const char *fileName) {
    const char *slash = std::strrchr(fileName, '/');
    return slash != nullptr ? slash + 1 : fileName;
}

Widget usableParent(Widget parent) { return parent != nullptr && XtIsRealized(parent) ? parent : gX.topLevel; }

void stopPressed(Widget, XtPointer, XtPointer) { gProgress.stop = true; }

void progressDestroyed(Widget, XtPointer, XtPointer) {
    gProgress.shell = gProgress.form = gProgress.bar = nullptr;
    gProgress.stop = true;   // the window that wanted the picture has gone
}

void createProgressDialog(Widget parent, const char *title, const std::string &text) {
    static XtTranslations cancelKey = XtParseTranslationTable("<Key>osfCancel: ArmAndActivate()");
    gProgress = Progress{};
    gProgress.shell = XtVaCreatePopupShell("TolvaProgress", xmDialogShellWidgetClass, usableParent(parent), XmNtitle,
                                           title, XmNdeleteResponse, XmDO_NOTHING, nullptr);
    XtAddCallback(gProgress.shell, XmNdestroyCallback, progressDestroyed, nullptr);
    Widget form = XtVaCreateWidget("form", xmFormWidgetClass, gProgress.shell, XmNautoUnmanage, False,
                                   XmNmarginWidth, 12, XmNmarginHeight, 10, XmNverticalSpacing, 8, nullptr);
    const CompoundString label(text);
    Widget textLabel = XtVaCreateManagedWidget("text", xmLabelWidgetClass, form, XmNlabelString, static_cast<XmString>(label),
                                               XmNalignment, XmALIGNMENT_BEGINNING, XmNtopAttachment, XmATTACH_FORM,
                                               XmNleftAttachment, XmATTACH_FORM, XmNrightAttachment, XmATTACH_FORM,
                                               nullptr);
    Arg args[6];
    XtSetArg(args[0], XmNtopAttachment, XmATTACH_WIDGET);
    XtSetArg(args[1], XmNtopWidget, textLabel);
    XtSetArg(args[2], XmNleftAttachment, XmATTACH_FORM);
    XtSetArg(args[3], XmNrightAttachment, XmATTACH_FORM);
    XtSetArg(args[4], XmNwidth, 260);
    XtSetArg(args[5], XmNheight, 18);
    gProgress.bar = MyCreateProgressBar(form, "BarH", args, 6);
    XtManageChild(gProgress.bar);
    const CompoundString stopText("Stop");
    Widget stop = XtVaCreateManagedWidget("Stop", xmPushButtonWidgetClass, form, XmNlabelString, static_cast<XmString>(stopText),
                                          XmNtopAttachment, XmATTACH_WIDGET, XmNtopWidget, gProgress.bar,
                                          XmNbottomAttachment, XmATTACH_FORM, XmNleftAttachment, XmATTACH_POSITION,
                                          XmNleftPosition, 35, XmNrightAttachment, XmATTACH_POSITION,
                                          XmNrightPosition, 65, nullptr);
    XtAddCallback(stop, XmNactivateCallback, stopPressed, nullptr);
    XtOverrideTranslations(stop, cancelKey);
    XtVaSetValues(form, XmNcancelButton, stop, XmNinitialFocus, stop, nullptr);
    gProgress.form = form;
}

void destroyProgressDialog() {
    if (gProgress.shell != nullptr) {
        XtRemoveCallback(gProgress.shell, XmNdestroyCallback, progressDestroyed, nullptr);
        XtDestroyWidget(gProgress.shell);
    }
    gProgress = Progress{};
}

// Reads and dispatches the X events that have arrived, and only those: a
// time-out that starts other work waits until the library is done. Asking
// the server costs a system call, more than decoding a row, so the queue is
// looked at no more than every few milliseconds; to the user that is still
// at once.
void dispatchPendingEvents() {
    using Clock = std::chrono::steady_clock;
    static Clock::time_point last;
    const Clock::time_point now = Clock::now();
    if (gProgress.steps > 1 && now - last < kDispatchInterval) return;
    last = now;
    while (XtAppPending(gX.context) & XtIMXEvent) XtAppProcessEvent(gX.context, XtIMXEvent);
}

// Shows the dialog on the first call and moves the bar one step per call.
void advance(int total) {
    if (gProgress.form == nullptr) return;
    if (!gProgress.shown) {
        gProgress.shown = true;
        gProgress.maximum = total > 0 ? total + 1 : 1;
        MyProgressBarSetMaximum(gProgress.bar, gProgress.maximum);
        MyProgressBarSetValue(gProgress.bar, 0);
        XtManageChild(gProgress.form);
    }
    if (gProgress.steps < gProgress.maximum) ++gProgress.steps;
    const int drawn = int(int64_t(gProgress.steps) * kBarSteps / gProgress.maximum);
    if (drawn != gProgress.drawnStep) {
        gProgress.drawnStep = drawn;
        MyProgressBarSetValue(gProgress.bar, gProgress.steps);
    }
}

int loadProgress(int, int total, void *) {
    advance(total);
    dispatchPendingEvents();
    const bool stop = gProgress.stop;
    gProgress.stop = false;
    return stop ? 1 : 0;
}

int saveProgress(int, int total, void *) {
    advance(total);
    dispatchPendingEvents();
    gProgress.stop = false;   // a save cannot be stopped
    return 0;
}

// Marks a load or save as running for its lifetime.
class BusyScope {
public:
    BusyScope() { gBusy = true; }
    ~BusyScope() { gBusy = false; }
    BusyScope(const BusyScope &) = delete;
    BusyScope &operator=(const BusyScope &) = delete;
};

// Follows the parent widget, which the events dispatched meanwhile may
// destroy: get() is then the application's shell.
class ParentWatch {
public:
    explicit ParentWatch(Widget parent) : widget_(parent) {
        if (widget_ != nullptr) XtAddCallback(widget_, XmNdestroyCallback, destroyed, this);
    }
    ~ParentWatch() {
        if (widget_ != nullptr) XtRemoveCallback(widget_, XmNdestroyCallback, destroyed, this);
    }
    ParentWatch(const ParentWatch &) = delete;
    ParentWatch &operator=(const ParentWatch &) = delete;
    Widget get() const { return widget_; }
    bool alive() const { return widget_ != nullptr; }

private:
    static void destroyed(Widget, XtPointer self, XtPointer) { static_cast<ParentWatch *>(self)->widget_ = nullptr; }
    Widget widget_;
};

// The busy cursor over a window other than the application's shell.
class BusyCursor {
public:
    explicit BusyCursor(const ParentWatch &parent) : parent_(parent) {
        on_ = parent_.alive() && parent_.get() != gX.topLevel && XtIsRealized(parent_.get());
        if (on_) SetBusyCursor(parent_.get(), true);
    }
    ~BusyCursor() {
        if (on_ && parent_.alive()) SetBusyCursor(parent_.get(), false);
    }
    BusyCursor(const BusyCursor &) = delete;
    BusyCursor &operator=(const BusyCursor &) = delete;

private:
    const ParentWatch &parent_;
    bool on_ = false;
};

class WindowSaveHooks : public SaveHooks {
public:
    WindowSaveHooks(const ParentWatch &parent, bool showProgress) : parent_(parent), showProgress_(showProgress) {}

    int chooseConversion(int formatIndex, const Picture &, int suggested) override {
        FormatInformation info{};
        zntFormatGetInfo(formatIndex, &info);
        return askConversionChoice(parent_.get(), info.saveKinds, suggested);
    }
    void inform(const std::string &text) override { showMessage(parent_.get(), MessageKind::Information, text); }
    void error(const std::string &text) override { showMessage(parent_.get(), MessageKind::Error, text); }
    void beginWrite(const std::string &fileName, FormatParams &params) override {
        busyCursor_.emplace(parent_);
        if (!showProgress_) return;
        createProgressDialog(parent_.get(), "Saving...", "Saving " + baseName(fileName.c_str()));
        params.progressFunction = saveProgress;
    }
    void endWrite() override {
        destroyProgressDialog();
        busyCursor_.reset();
    }

private:
    const ParentWatch &parent_;
    bool showProgress_;
    std::optional<BusyCursor> busyCursor_;
};

}  // namespace

int loadPictureFile(Widget parent, const char *fileName, int page, Picture &picture, FileInformation &info,
                    bool reportErrors) {
    picture.data = nullptr;
    picture.palette = nullptr;
    if (gBusy) {
        std::memset(&info, 0, sizeof info);
        info.formatIndex = -1;
        return ZNT_STOPPED;
    }
    BusyScope busy;
    const ParentWatch watch(parent);
    createProgressDialog(parent, "Loading", "Loading " + baseName(fileName));
    OpStatus status = zntFileInformation(fileName, -1, 0, &info);
    if (status == ZNT_OK) {
        const char *formatName = zntFormatGetName(info.formatIndex);
        FormatParams params = loadParams(gSettings, info.formatIndex, formatName != nullptr ? formatName : "", page);
        params.progressFunction = loadProgress;
        picture.data = nullptr;
        picture.palette = nullptr;
        status = zntLoad(fileName, &picture, &params, &info);
    }
    destroyProgressDialog();
    if (status != ZNT_OK && status != ZNT_STOPPED && reportErrors)
        showMessage(watch.get(), MessageKind::Error, statusMessage(status, fileName, info.message));
    return status & 0xff;
}

int loadPictureFileBusy(Widget parent, const char *fileName, int page, Picture &picture, FileInformation &info,
                        bool reportErrors) {
    if (gBusy) return loadPictureFile(parent, fileName, page, picture, info, reportErrors);
    const ParentWatch watch(parent);
    const BusyCursor cursor(watch);
    return loadPictureFile(parent, fileName, page, picture, info, reportErrors);
}

int savePictureFile(Widget parent, char *fileName, int formatIndex, Picture &picture, bool extraFlags,
                    bool allowMessages, bool showProgress, bool reuseChoice) {
    if (gBusy) return kSaveRefused;
    BusyScope busy;
    const ParentWatch watch(parent);
    WindowSaveHooks hooks(watch, showProgress);
    SaveRequest request;
    request.formatIndex = formatIndex;
    request.extraFlags = extraFlags;
    request.allowMessages = allowMessages;
    request.reuseChoice = reuseChoice;
    request.verbose = gApp.verbose;
    return savePicture(fileName, picture, request, gSettings, hooks);
}

bool loadOrSaveInProgress() { return gBusy; }

}  // namespace quivel
