// The file selector: the one dialog through which the user picks files to
// open, to view as a hex dump, or a file name and format to save under; the
// tools use it as well. It waits for the answer (dispatching events, so the
// other windows stay alive) and remembers the folders it was used in.
//
// The dialog (shell "FileSelector") is modal to its parent's windows and
// there is one at a time: asking for a second while one is up raises the
// first and answers "cancelled". Confirming stores the folder of the chosen
// files in the request's remembered folder (PathLoad, PathSave...) and puts
// it first among the most recently used folders; both are in `gSettings`
// and reach the configuration file at exit.
#pragma once

#include <X11/Intrinsic.h>

#include <string>
#include <vector>

namespace quivel {

enum class SelectorMode {
    Load,   // several existing files ("Load Files...")
    View,   // one existing file ("View Files...")
    Save    // one file name and a writable format ("Save File...")
};

struct FileSelection {
    std::vector<std::string> files;   // absolute paths; exactly one for View and Save
    int formatIndex = -1;             // Save: the chosen format
};

// Shows the selector over `parent`, titled `title`, and returns when the user
// confirms (true, `out` filled) or cancels (false). `start` is a file or a
// folder to start from; "" starts from the remembered folder. In Save mode
// `formatIndex` preselects a format (-1: the configured default format).
bool runFileSelector(Widget parent, SelectorMode mode, const char *title, const std::string &start,
                     FileSelection &out, int formatIndex = -1);

// Everything a caller may ask of the selector; runFileSelector above fills
// it for the usual cases.
struct SelectorRequest {
    SelectorMode mode = SelectorMode::Load;
    std::string title;
    std::string confirmLabel;          // the confirming button's text; "" for the mode's own
    std::string start;                 // a file or a folder; "" for the remembered folder
    std::string filter;                // "Slide Files (*.sld)"; "" lists every picture (every file for View)
    char *rememberedFolder = nullptr;  // a path buffer of gSettings (pathSlide...); nullptr: the mode's own
    bool chooseFormat = true;          // Save: offer the format list (a slide list has no format)
    int formatIndex = -1;              // Save: preselected format, -1 the configured default
};
bool runFileSelector(Widget parent, const SelectorRequest &request, FileSelection &out);

}  // namespace quivel
