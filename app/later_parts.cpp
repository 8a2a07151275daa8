// Defaults for the parts of the program that start-up reaches but that are
// not built yet. Each definition moves to its own subsystem when it lands.
#include "app/later_parts.h"

#include "app/file_selector.h"
#include "app/message_box.h"
#include "picture/load_save.h"
#include "picture/status_message.h"

#include <cstdio>

namespace quivel {

Widget openBrowser(const std::string &) { return nullptr; }
Widget startSlideShow(const std::string &) { return nullptr; }
bool browserOpen() { return false; }

void openFilesDialog(Widget) {}
void browseDialog(Widget) {}
std::vector<CachedFolder> cachedFolders() { return {}; }
void removeAllCachedFolders() {}

// Plain loads and saves, without the progress dialog or conversions.
int loadPictureFile(Widget parent, const char *fileName, int page, Picture &picture, FileInformation &info,
                    bool reportErrors) {
    picture.data = nullptr;
    picture.palette = nullptr;
    OpStatus status = zntFileInformation(fileName, -1, 0, &info);
    if (status == ZNT_OK) {
        FormatParams params;
        zntDefaultParams(&params);
        params.formatIndex = info.formatIndex;
        params.pageNumber = page;
        status = zntLoad(fileName, &picture, &params, &info);
    }
    if (status != ZNT_OK && status != ZNT_STOPPED && reportErrors)
        showMessage(parent, MessageKind::Error, statusMessage(status, fileName, info.message));
    return status & 0xff;
}

int loadPictureFileBusy(Widget parent, const char *fileName, int page, Picture &picture, FileInformation &info,
                        bool reportErrors) {
    return loadPictureFile(parent, fileName, page, picture, info, reportErrors);
}

int savePictureFile(Widget parent, char *fileName, int formatIndex, Picture &picture, bool, bool, bool, bool) {
    FormatParams params;
    zntDefaultParams(&params);
    params.formatIndex = int16_t(formatIndex);
    const OpStatus status = zntSave(fileName, &picture, &params, 0);
    if (status != ZNT_OK) showMessage(parent, MessageKind::Error, statusMessage(status, fileName, ""));
    return status & 0xff;
}

bool loadOrSaveInProgress() { return false; }

bool runFileSelector(Widget, SelectorMode, const char *, const std::string &, FileSelection &, int) { return false; }

void BrowserDoCommand(Widget, XEvent *, String *, Cardinal *) {}
void BrowserDoPopup(Widget, XEvent *, String *, Cardinal *) {}
void FilelistDoCommand(Widget, XEvent *, String *, Cardinal *) {}

}  // namespace quivel
