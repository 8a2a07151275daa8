// A test-only program that runs the file selector once over a small window
// "SelectorProbe" and reports the answer on standard output, so that GUI
// tests can drive the selector with real events:
//   selector_probe <rc file> load|view|save|slide [start]
// prints "selected: <path>" for each chosen file, then "format: <short name>"
// in save mode, or "cancelled"; then writes the configuration to <rc file>
// as the program does at exit, and ends. "slide" is a save without formats,
// filtered to slide lists and remembered in PathSlide, as the slide show
// asks for it. Messages are also printed ("message: ..."), and the options
// dialog reports where its controls are, as with quivel -v.
#include <X11/Shell.h>
#include <Xm/Label.h>
#include <Xm/Xm.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

#include "app/app_globals.h"
#include "app/configuration.h"
#include "app/fallback_resources.h"
#include "app/file_selector.h"
#include "app/settings.h"
#include "app/x_app.h"
#include "zentar.h"

using namespace quivel;

int main(int argc, char **argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: selector_probe <rc file> load|view|save|slide [start]\n");
        return 2;
    }
    const std::string rcFile = argv[1], mode = argv[2], start = argc > 3 ? argv[3] : "";
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    zntInitLibrary();
    gApp.verbose = true;
    if (getcwd(gApp.workingFolder, sizeof gApp.workingFolder) == nullptr) gApp.workingFolder[0] = '\0';
    int xArgc = 1;
    gX.topLevel = XtVaAppInitialize(&gX.context, "Quivel", nullptr, 0, &xArgc, argv,
                                    const_cast<String *>(kFallbackResources), XmNmappedWhenManaged, False, nullptr);
    gX.display = XtDisplay(gX.topLevel);
    gX.screen = DefaultScreen(gX.display);
    XtRealizeWidget(gX.topLevel);
    readConfiguration(rcFile);
    ChooseVisual(-1, gX.visual);
    gX.colors = AcquireColorContext(nullptr, gX.visual, 0);

    Widget shell = XtVaCreatePopupShell("SelectorProbe", topLevelShellWidgetClass, gX.topLevel, XmNtitle,
                                        "SelectorProbe", XmNwidth, 200, XmNheight, 40, nullptr);
    XtVaCreateManagedWidget("label", xmLabelWidgetClass, shell, nullptr);
    XtPopup(shell, XtGrabNone);

    SelectorRequest request;
    request.start = start;
    if (mode == "load") {
        request.mode = SelectorMode::Load;
        request.title = "Load Files...";
    } else if (mode == "view") {
        request.mode = SelectorMode::View;
        request.title = "View Files...";
    } else if (mode == "save") {
        request.mode = SelectorMode::Save;
        request.title = "Save File...";
    } else {
        request.mode = SelectorMode::Save;
        request.title = "Save Slide File...";
        request.filter = "Slide Files (*.sld)";
        request.rememberedFolder = gSettings.pathSlide;
        request.chooseFormat = false;
    }
    FileSelection selection;
    if (runFileSelector(shell, request, selection)) {
        for (const std::string &file : selection.files) std::printf("selected: %s\n", file.c_str());
        if (request.mode == SelectorMode::Save && request.chooseFormat)
            std::printf("format: %s\n", zntFormatGetName(selection.formatIndex));
    } else {
        std::printf("cancelled\n");
    }
    writeConfiguration();
    return 0;
}
