// What start-up and the exit path ask of the rest of the program: the views,
// the browser and the slide show. Each function here is implemented by the
// subsystem that owns it; a subsystem not built yet answers with a plain
// default (nothing opened).
#pragma once

#include <X11/Intrinsic.h>

#include <cstdint>
#include <string>
#include <vector>

#include "app/options_dialog.h"

namespace quivel {

// Windows. Each returns the shell it opened (or raised), or nullptr.
Widget openView(const std::vector<std::string> &files);   // one view over the files
Widget openBrowser(const std::string &folder);            // "" for the default folder
Widget startSlideShow(const std::string &slideFile);
bool anyViewOpen();
bool browserOpen();
// One view over the pictures of a folder, in the order of the view's folder
// navigation; nullptr when the folder holds none.
Widget openFolderView(const std::string &folder);

// Dialogs reached from the initial window.
void openFilesDialog(Widget parent);
void browseDialog(Widget parent);
// (The options dialog is in options_dialog.h.)

// The thumbnail cache's folders, for the cache page of the options dialog.
struct CachedFolder {
    std::string folder;
    int imageCount = 0;
    uint64_t sizeBytes = 0;   // of the folder's data file
};
std::vector<CachedFolder> cachedFolders();
void removeAllCachedFolders();

// Released on the way out.
void releaseToolbarResources();

// Global actions registered at start-up (with UrlClick, and DoBubble of the
// bubble-help widget).
void ViewDoCommand(Widget, XEvent *, String *, Cardinal *);
void ViewKeyScroll(Widget, XEvent *, String *, Cardinal *);
void ViewClose(Widget, XEvent *, String *, Cardinal *);
void BrowserDoCommand(Widget, XEvent *, String *, Cardinal *);
void BrowserDoPopup(Widget, XEvent *, String *, Cardinal *);
void UrlClick(Widget, XEvent *, String *, Cardinal *);
void FilelistDoCommand(Widget, XEvent *, String *, Cardinal *);

}  // namespace quivel
