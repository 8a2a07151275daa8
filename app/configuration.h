// The configuration as start-up and the exit path see it: read once before
// any window is created, written once on the way out (then the process ends).
// The settings themselves are `gSettings` (settings.h).
#pragma once

#include <string>

namespace quivel {

// Reads the -ini file (or, with "", the default one) into gSettings, with the
// image-format library's formats. The chosen path is kept for the write.
void readConfiguration(const std::string &iniFile);
// Writes gSettings back to the same path; a file that cannot be written is
// reported on standard error and the settings of this run are lost.
void writeConfiguration();

// The start-up choices the configuration makes.
struct StartupPreferences {
    bool openAll = false;                 // one window per picture
    bool launchBrowser = false;           // open the browser at start-up
    bool popupInView = false;             // popup menu instead of a menu bar
    bool startInSpecifiedFolder = false;  // the browser starts in `startFolder`
    std::string startFolder;
};
StartupPreferences startupPreferences();

}  // namespace quivel
