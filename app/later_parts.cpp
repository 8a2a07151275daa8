// Defaults for the parts of the program that start-up reaches but that are
// not built yet. Each definition moves to its own subsystem when it lands.
#include "app/later_parts.h"

namespace quivel {

Widget openBrowser(const std::string &) { return nullptr; }
Widget startSlideShow(const std::string &) { return nullptr; }
bool browserOpen() { return false; }

void browseDialog(Widget) {}
std::vector<CachedFolder> cachedFolders() { return {}; }
void removeAllCachedFolders() {}

void BrowserDoCommand(Widget, XEvent *, String *, Cardinal *) {}
void BrowserDoPopup(Widget, XEvent *, String *, Cardinal *) {}
void FilelistDoCommand(Widget, XEvent *, String *, Cardinal *) {}

}  // namespace quivel
