// Process-wide settings decided at start-up, read by every window kind.
#pragma once

namespace quivel {

struct AppGlobals {
    long visualId = -1;                 // -visualid; -1 none
    bool ownColormap = false;           // -own (8-bit displays only)
    bool menuBar = true;                // off with -popup or the configuration's popup choice
    bool fullScreen = false;            // -full
    bool verbose = false;               // -v, -verbose
    bool fitToImage = false;            // -fi, or the configuration
    bool oneWindowPerPicture = false;   // -all, or the configuration
    char workingFolder[4096] = {};      // getcwd at start-up
};

extern AppGlobals gApp;

}  // namespace quivel
