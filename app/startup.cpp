// Start-up: from the command line to the main loop, and the exit path.
#include <X11/Shell.h>
#include <X11/Xutil.h>
#include <Xm/Xm.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>
#include <sys/stat.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "app/app_globals.h"
#include "app/command_line.h"
#include "app/configuration.h"
#include "app/fallback_resources.h"
#include "app/initial_window.h"
#include "app/later_parts.h"
#include "app/signals.h"
#include "app/x_app.h"
#include "widgets/bubble_help.h"
#include "zentar.h"

namespace quivel {

AppGlobals gApp;
XApp gX;

namespace {

XtActionsRec kGlobalActions[] = {
    {const_cast<String>("ViewDoCommand"), ViewDoCommand},
    {const_cast<String>("ViewKeyScroll"), ViewKeyScroll},
    {const_cast<String>("ViewClose"), ViewClose},
    {const_cast<String>("BrowserDoCommand"), BrowserDoCommand},
    {const_cast<String>("BrowserDoPopup"), BrowserDoPopup},
    {const_cast<String>("UrlClick"), UrlClick},
    {const_cast<String>("FilelistDoCommand"), FilelistDoCommand},
    {const_cast<String>("DoBubble"), ::DoBubble},
};

// Back to the defaults of the start-up settings; the working folder stays.
void resetStartSettings() {
    AppGlobals fresh;
    std::memcpy(fresh.workingFolder, gApp.workingFolder, sizeof fresh.workingFolder);
    gApp = fresh;
}

std::vector<std::string> argumentsOf(int argc, char **argv) { return std::vector<std::string>(argv + 1, argv + argc); }

void printUsage(const char *programName) {
    std::fputs(usageTextBeforeVisuals(programName).c_str(), stdout);
    std::fflush(stdout);
    ListVisuals();
    std::fputs(usageTextAfterVisuals().c_str(), stdout);
}

// The large icon when the window manager admits 64 x 64, else the small one.
const IconImage &chooseIcon() {
    XIconSize *sizes = nullptr;
    int count = 0;
    const IconImage *icon = &kSmallIcon;
    if (XGetIconSizes(gX.display, RootWindow(gX.display, gX.screen), &sizes, &count) && sizes != nullptr) {
        for (int i = 0; i < count; ++i)
            if (sizes[i].min_width <= 64 && sizes[i].min_height <= 64 && sizes[i].max_width >= 64 &&
                sizes[i].max_height >= 64)
                icon = &kLargeIcon;
        XFree(sizes);
    }
    return *icon;
}

}  // namespace

void setMainWindow(Widget shell) {
    if (gX.mainWindow != nullptr || shell == nullptr) return;
    gX.mainWindow = shell;
    if (XtWindow(shell)) XSetCommand(gX.display, XtWindow(shell), gX.argv, gX.argc);
}

void quit() {
    if (gX.iconPixmap > 2) XFreePixmap(gX.display, gX.iconPixmap);
    gX.iconPixmap = 0;
    FreeColorContexts();
    releaseToolbarResources();
    zntExitLibrary();
    FreePointerShapes();
    std::exit(0);
}

void saveSettingsAndQuit() {
    writeConfiguration();
    quit();
}

int quivelMain(int argc, char **argv) {
    // Complete lines reach a pipe at once, so that the signal handlers'
    // direct writes come after everything printed before them.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const char *programName = argv[0];

    // The argument vector as given, before the toolkit takes its options out.
    gX.argc = argc;
    gX.argv = new char *[size_t(argc) + 1];
    for (int i = 0; i < argc; ++i) gX.argv[i] = argv[i];
    gX.argv[argc] = nullptr;

    if (isHelpRequest(argumentsOf(argc, argv))) {
        std::fputs(bannerText().c_str(), stdout);
        printUsage(programName);
        return 0;
    }
    std::setlocale(LC_ALL, "");

    zntInitLibrary();
    char version[64] = {};
    zntVersion(version);
    if (std::memcmp(version, "3.87", 5) != 0) {
        std::printf("Bad version of libzentar\n");
        zntExitLibrary();
        return 0;
    }

    std::fputs(bannerText().c_str(), stdout);
    std::fputs(typeHelpLine(programName).c_str(), stdout);
    installSignalHandlers();
    XtSetLanguageProc(nullptr, nullptr, nullptr);

    const bool noResources = hasNoResourcesOption(argumentsOf(argc, argv));
    gX.topLevel = XtVaAppInitialize(&gX.context, "Quivel", nullptr, 0, &argc, argv,
                                    noResources ? nullptr : const_cast<String *>(kFallbackResources),
                                    XmNmappedWhenManaged, False, nullptr);
    gX.display = XtDisplay(gX.topLevel);
    gX.screen = DefaultScreen(gX.display);
    XtRealizeWidget(gX.topLevel);

    CreatePointerShapes();
    XtVaSetValues(gX.topLevel, XmNx, 0, XmNy, 0, XmNwidth, DisplayWidth(gX.display, gX.screen), XmNheight,
                  DisplayHeight(gX.display, gX.screen), nullptr);

    if (getcwd(gApp.workingFolder, sizeof gApp.workingFolder) == nullptr) gApp.workingFolder[0] = '\0';

    const std::vector<std::string> args = argumentsOf(argc, argv);
    readConfiguration(iniFileOption(args));

    resetStartSettings();
    XtAppAddActions(gX.context, kGlobalActions, XtNumber(kGlobalActions));

    const StartupPreferences preferences = startupPreferences();
    gApp.oneWindowPerPicture = preferences.openAll;

    gX.iconPixmap = CreateIconPixmap(gX.topLevel, chooseIcon());

    const StartOptions options = parseOptions(args);
    gApp.visualId = options.visualId;
    gApp.ownColormap = options.ownColormap;
    gApp.menuBar = !options.popupMenu;
    gApp.fullScreen = options.fullScreen;
    gApp.verbose = options.verbose;
    if (options.fitToImage) gApp.fitToImage = true;
    if (options.oneWindowPerPicture) gApp.oneWindowPerPicture = true;

    bool wantBrowser = options.browser;
    if (preferences.launchBrowser && !options.slideShow) wantBrowser = true;
    if (preferences.popupInView) gApp.menuBar = false;

    // The display set-up every window shares: the visual and its colours.
    ChooseVisual(gApp.visualId, gX.visual);
    gX.colors = AcquireColorContext(nullptr, gX.visual, gApp.ownColormap);

    if (options.files.empty()) {
        if (wantBrowser) {
            setMainWindow(openBrowser(preferences.startInSpecifiedFolder ? preferences.startFolder : ""));
        } else if (!options.slideShow) {
            setMainWindow(openInitialWindow());
        }
    } else {
        std::vector<std::string> fileList;
        bool opened = false;
        for (const std::string &file : options.files) {
            char resolved[PATH_MAX];
            const std::string path = realpath(file.c_str(), resolved) ? resolved : file;
            struct stat info;
            if (stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
                Widget browser = openBrowser(path);
                // Until the browser is built, a folder opens a view over its
                // pictures; the browser takes over folder arguments when it lands.
                if (browser == nullptr) browser = openFolderView(path);
                setMainWindow(browser);
                opened |= browser != nullptr;
            } else if (gApp.oneWindowPerPicture) {
                Widget view = openView({path});
                setMainWindow(view);
                opened |= view != nullptr;
            } else {
                fileList.push_back(path);
            }
        }
        if (!fileList.empty()) {
            Widget view = openView(fileList);
            setMainWindow(view);
            opened |= view != nullptr;
        }
        if (!opened) setMainWindow(openInitialWindow());
    }

    if (options.slideShow) {
        setMainWindow(startSlideShow(options.slideFile));
    } else if (wantBrowser) {
        setMainWindow(openBrowser(preferences.startInSpecifiedFolder ? preferences.startFolder : ""));
    }
    // Whatever could not be opened, the program keeps a window.
    if (gX.mainWindow == nullptr && !anyViewOpen() && !browserOpen()) setMainWindow(openInitialWindow());

    XtAppMainLoop(gX.context);
    return 0;
}

}  // namespace quivel
