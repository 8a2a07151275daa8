// Defaults for the parts of the program that start-up reaches but that are
// not built yet. Each definition moves to its own subsystem when it lands.
#include "app/later_parts.h"

#include "picture/load_files.h"

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

void browseDialog(Widget) {}
std::vector<CachedFolder> cachedFolders() { return {}; }
void removeAllCachedFolders() {}
void releaseToolbarResources() {}

void ViewDoCommand(Widget, XEvent *, String *, Cardinal *) {}
void ViewKeyScroll(Widget, XEvent *, String *, Cardinal *) {}
void ViewClose(Widget, XEvent *, String *, Cardinal *) {}
void BrowserDoCommand(Widget, XEvent *, String *, Cardinal *) {}
void BrowserDoPopup(Widget, XEvent *, String *, Cardinal *) {}
void FilelistDoCommand(Widget, XEvent *, String *, Cardinal *) {}

}  // namespace quivel
