// Defaults for the parts of the program that start-up reaches but that are
// not built yet. Each definition moves to its own subsystem when it lands.
#include "app/later_parts.h"

#include "app/file_selector.h"
#include "app/message_box.h"
#include "picture/load_files.h"
#include "picture/load_save.h"
#include "picture/status_message.h"

#include <cstdio>

namespace quivel {

// Until the view window exists the files are loaded and let go again, so
// that a file that cannot be read is reported at start-up.
Widget openView(const std::vector<std::string> &files) {
    loadFilesReportingFailures(files, stderr);
    return nullptr;
}

Widget openBrowser(const std::string &) { return nullptr; }
Widget startSlideShow(const std::string &) { return nullptr; }
bool anyViewOpen() { return false; }
bool browserOpen() { return false; }

void openFilesDialog(Widget) {}
void browseDialog(Widget) {}
std::vector<CachedFolder> cachedFolders() { return {}; }
void removeAllCachedFolders() {}
void releaseToolbarResources() {}

bool runFileSelector(Widget, SelectorMode, const char *, const std::string &, FileSelection &, int) { return false; }

void ViewDoCommand(Widget, XEvent *, String *, Cardinal *) {}
void ViewKeyScroll(Widget, XEvent *, String *, Cardinal *) {}
void ViewClose(Widget, XEvent *, String *, Cardinal *) {}
void BrowserDoCommand(Widget, XEvent *, String *, Cardinal *) {}
void BrowserDoPopup(Widget, XEvent *, String *, Cardinal *) {}
void FilelistDoCommand(Widget, XEvent *, String *, Cardinal *) {}

}  // namespace quivel
