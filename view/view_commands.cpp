// The view's actions (ViewDoCommand, ViewKeyScroll, ViewClose) and the
// commands behind them. Keys, menu items and toolbar buttons all end in
// runViewCommand through ViewDoCommand.
#include <Xm/ScrollBar.h>
#include <Xm/Xm.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "app/app_globals.h"
#include "app/file_selector.h"
#include "app/later_parts.h"
#include "app/message_box.h"
#include "app/options_dialog.h"
#include "app/settings.h"
#include "app/x_app.h"
#include "imageops/geometry.h"
#include "picture/load_save.h"
#include "view/commands.h"
#include "view/file_navigation.h"
#include "view/view_support.h"
#include "view/view_window.h"

namespace quivel {

namespace {

// After a save under `name` in `format`: the view shows that file now.
void saved(View &v, const char *name, int format) {
    v.path = name;
    v.formatIndex = format;
    struct stat info;
    if (stat(name, &info) == 0) v.fileSize = uint64_t(info.st_size);
    setModified(v, false);
    updateStatus(v);
}

bool saveAs(View &v) {
    if (!hasPixels(v.pictures.current)) return false;
    FileSelection selection;
    const int format = v.formatIndex >= 0 && zntFormatIsWritable(v.formatIndex) ? v.formatIndex : -1;
    if (!runFileSelector(v.shell, SelectorMode::Save, "Save File...", v.path, selection, format) ||
        selection.files.empty())
        return false;
    char name[kPathCapacity] = {};
    std::snprintf(name, sizeof name, "%s", selection.files[0].c_str());
    if (savePictureFile(v.shell, name, selection.formatIndex, v.pictures.current, false, true, true) != 0)
        return false;
    saved(v, name, selection.formatIndex);
    if (gSettings.start.useMostRecentlyUsedFiles)
        rememberRecentFile(&gSettings.fileName[0][0], kRecentCount, kPathCapacity, v.path);
    return true;
}

// Saves under the view's own name in the format it was read in. A picture
// without one, read in a format that cannot be written, or one page or frame
// of a file that holds several (which a save in place would cut down to that
// one), goes through the save dialog.
bool saveInPlace(View &v) {
    if (!hasPixels(v.pictures.current)) return false;
    if (v.path.empty() || v.formatIndex < 0 || !zntFormatIsWritable(v.formatIndex) || v.pageCount > 1 ||
        !v.delaysMs.empty())
        return saveAs(v);
    char name[kPathCapacity] = {};
    std::snprintf(name, sizeof name, "%s", v.path.c_str());
    if (savePictureFile(v.shell, name, v.formatIndex, v.pictures.current, false, true, true) != 0) return false;
    saved(v, name, v.formatIndex);
    return true;
}

void openFiles(View &v) {
    FileSelection selection;
    if (!runFileSelector(v.shell, SelectorMode::Load, "Load Files...", v.path, selection) || selection.files.empty())
        return;
    if (gApp.oneWindowPerPicture) {
        for (const std::string &file : selection.files) openView({file});
    } else {
        openView(selection.files);
    }
}

void closeView(View &v) {
    if (!settleChanges(v)) return;
    destroyView(v);
}

void quitAll() {
    // Destroying a view only takes effect once this action returns, so the
    // list can be walked as it is; the last view's going ends the program.
    const std::vector<View *> views = openViews();
    for (View *v : views) {
        if (v->modified && askQuestion(v->shell, saveChangesQuestion(v->path))) saveInPlace(*v);
        destroyView(*v);
    }
}

void undo(View &v) {
    stopAnimation(v);
    if (!undoSlots(v.pictures)) return;
    v.frameCount = 1;
    v.frame = 0;
    v.selectionActive = false;
    pictureChanged(v, false);
    setModified(v, true);
}

void crop(View &v) {
    if (!v.selectionActive) return;
    const PictureRect rect{v.selection.x, v.selection.y, v.selection.width, v.selection.height};
    applyPictureOperation(v, [rect](Picture *source, Picture *output) { return cropPicture(source, output, &rect); },
                          false);
}

void pictureOperation(View &v, int number) {
    applyPictureOperation(
        v,
        [number, &v](Picture *source, Picture *output) {
            const PictureRect rect{v.selection.x, v.selection.y, v.selection.width, v.selection.height};
            return runPictureOperation(number, source, output, v.selectionActive ? &rect : nullptr);
        },
        number == kOpFlipHorizontal || number == kOpFlipVertical);
}

void toggleBar(View &v, Widget bar, void (*set)(View &, bool), bool setting) {
    set(v, v.fullScreen ? !setting : !XtIsManaged(bar));
}

}  // namespace

bool settleChanges(View &v) {
    if (!v.modified) return true;
    if (!askQuestion(v.shell, saveChangesQuestion(v.path))) return true;
    return saveInPlace(v);
}

void saveViewInPlace(View &v) { saveInPlace(v); }

void applyPictureOperation(View &v, const SlotOperation &operation, bool keepsSelection) {
    if (!hasPixels(v.pictures.current)) return;
    // An animation stops on its first frame, which the operation changes.
    stopAnimation(v);
    v.frame = 0;
    v.frameCount = 1;
    SetBusyCursor(v.shell, true);
    const uint32_t width = v.pictures.current.width;
    const int32_t height = v.pictures.current.height;
    const OpStatus status = applyToSlots(v.pictures, operation, gSettings.view.useUndo);
    SetBusyCursor(v.shell, false);
    if (status != ZNT_OK) {
        const std::string message = operationMessage(status);
        if (!message.empty()) showMessage(v.shell, MessageKind::Error, message);
        return;
    }
    const bool sameSize = width == v.pictures.current.width && height == v.pictures.current.height;
    if (!keepsSelection || !sameSize) v.selectionActive = false;
    pictureChanged(v, false);
    setModified(v, true);
}

void countColors(View &v) {
    if (!hasPixels(v.pictures.current)) return;
    SetBusyCursor(v.shell, true);
    const int count = countPictureColors(v.pictures.current);
    SetBusyCursor(v.shell, false);
    if (count < 1) return;
    char text[64];
    std::snprintf(text, sizeof text, "%d unique colors !", count);
    showMessage(v.shell, MessageKind::Information, text);
}

void runViewCommand(View &v, const char *name) {
    const ViewCommand command = viewCommandByName(name);
    if (!viewCommandAvailable(command)) return;
    switch (command) {
    case ViewCommand::open: return openFiles(v);
    case ViewCommand::browseFiles: openBrowser(folderOf(v.path)); return;
    case ViewCommand::reopenFiles:
        if (!v.path.empty()) loadViewFile(v, v.path, v.frameCount > 1 ? 0 : v.page, true);
        return;
    case ViewCommand::close: return closeView(v);
    case ViewCommand::saveFiles: saveAs(v); return;
    case ViewCommand::quit: return quitAll();
    case ViewCommand::undo: return undo(v);
    case ViewCommand::crop: return crop(v);
    case ViewCommand::options: return optionsDialog(v.shell);
    case ViewCommand::adaptiveSize: return fitWindowToPicture(v, false);
    case ViewCommand::fitImage: return fitWindowToPicture(v, true);
    case ViewCommand::fullScreen: return setFullScreen(v, !v.fullScreen);
    case ViewCommand::statusBar: return toggleBar(v, v.statusBar, setStatusBarShown, gSettings.view.statusBar);
    case ViewCommand::toolBar: return toggleBar(v, v.toolBar, setToolBarShown, gSettings.view.toolBar);
    case ViewCommand::colorInformation: return setColorInformation(v, !v.colorInformation);
    case ViewCommand::zoomIn: return setZoom(v, "+1");
    case ViewCommand::zoomOut: return setZoom(v, "-1");
    case ViewCommand::zoom100: return setZoom(v, "100");
    case ViewCommand::showMask: return setShowMask(v, !v.showMask);
    case ViewCommand::first:
    case ViewCommand::last:
    case ViewCommand::next:
    case ViewCommand::prev: return navigateFile(v, name);
    case ViewCommand::pageFirst:
    case ViewCommand::pageLast:
    case ViewCommand::pageNext:
    case ViewCommand::pagePrev: {
        const bool frames = v.frameCount > 1;
        const int target = pageIndexFor(name, frames ? v.frame : v.page, frames ? v.frameCount : v.pageCount);
        if (target >= 0) navigatePage(v, target);
        return;
    }
    case ViewCommand::resize: return resizeDialog(v);
    case ViewCommand::flipVertical: return pictureOperation(v, kOpFlipVertical);
    case ViewCommand::flipHorizontal: return pictureOperation(v, kOpFlipHorizontal);
    case ViewCommand::rotateLeft: return pictureOperation(v, kOpRotateLeft);
    case ViewCommand::rotateRight: return pictureOperation(v, kOpRotateRight);
    default: return;   // the commands viewCommandAvailable refuses
    }
}

// While a load or a save runs, its progress dispatches events; commands
// that arrive then are dropped, since they could change or close the view
// the load is filling.
void ViewDoCommand(Widget w, XEvent *, String *params, Cardinal *count) {
    if (count == nullptr || *count != 1 || loadOrSaveInProgress()) return;
    if (View *v = viewForWidget(w)) runViewCommand(*v, params[0]);
}

void ViewKeyScroll(Widget w, XEvent *, String *params, Cardinal *count) {
    if (count == nullptr || *count != 1 || loadOrSaveInProgress()) return;
    View *v = viewForWidget(w);
    const char *p = params[0];
    if (v == nullptr || p[0] < '0' || p[0] > '3' || p[1] != '\0') return;
    const int direction = p[0] - '0';
    Widget bar = direction < 2 ? v->scrollBarH : v->scrollBarV;
    int value = 0, minimum = 0, maximum = 0, slider = 0, increment = 0, page = 0;
    XtVaGetValues(bar, XmNvalue, &value, XmNminimum, &minimum, XmNmaximum, &maximum, XmNsliderSize, &slider,
                  XmNincrement, &increment, XmNpageIncrement, &page, nullptr);
    XmScrollBarSetValues(bar, keyScrollValue(direction, value, minimum, maximum, slider, page), slider, increment,
                         page, True);
}

void ViewClose(Widget w, XEvent *, String *, Cardinal *) {
    if (loadOrSaveInProgress()) return;
    View *v = viewForWidget(w);
    if (v == nullptr) return;
    if (v->fullScreen)
        setFullScreen(*v, false);
    else
        destroyView(*v);
}

}  // namespace quivel
