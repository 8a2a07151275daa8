// Start-up's and the exit path's view of the configuration: the path chosen
// from the command line and the environment, and the library's formats.
#include "app/configuration.h"

#include <cstdio>
#include <cstdlib>

#include "app/app_globals.h"
#include "app/configuration_file.h"
#include "app/settings.h"
#include "zentar.h"

namespace quivel {

namespace {

std::string gConfigurationPath;

std::vector<std::string> libraryFormatNames() {
    std::vector<std::string> names;
    const int count = zntCount();
    for (int i = 0; i < count; ++i)
        if (const char *name = zntFormatGetName(i)) names.emplace_back(name);
    return names;
}

}  // namespace

void readConfiguration(const std::string &iniFile) {
    gConfigurationPath = chooseConfigurationPath(iniFile, gApp.workingFolder, std::getenv("HOME"));
    readConfigurationFile(gConfigurationPath, libraryFormatNames(), gSettings, gFileTypeFlags);
}

void writeConfiguration() {
    if (gConfigurationPath.empty())
        gConfigurationPath = chooseConfigurationPath("", gApp.workingFolder, std::getenv("HOME"));
    if (saveConfigurationFile(gConfigurationPath, configurationText(gSettings, gFileTypeFlags)) != ZNT_OK)
        std::fprintf(stderr, "Error in creating <%s>\n", gConfigurationPath.c_str());
    gFileTypeFlags.clear();
    gFileTypeFlags.shrink_to_fit();
}

StartupPreferences startupPreferences() {
    StartupPreferences preferences;
    preferences.openAll = gSettings.start.openAll;
    preferences.launchBrowser = gSettings.start.launchBrowserAtStartup;
    preferences.popupInView = gSettings.view.usePopupInView;
    preferences.startInSpecifiedFolder = gSettings.browser.startupIn == 2;
    preferences.startFolder = gSettings.browser.startupDirectory;
    return preferences;
}

}  // namespace quivel
