// The file selector: the one dialog through which the user picks files to
// open, to view as a hex dump, or a file name and format to save under; the
// tools use it as well. It waits for the answer (dispatching events, so the
// other windows stay alive) and remembers the folders it was used in.
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

}  // namespace quivel
