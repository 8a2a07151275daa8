// load_probe: loads and saves through the windows' load and save calls on
// the display in DISPLAY, for the GUI tests.
//
//   load_probe [-v] [-ini FILE] [-delay MS] [-load FILE] [-save FILE FORMAT] [-reuse]
//
// Opens the window "LoadProbe" (the parent of every load and save); once it
// is shown, loads FILE, printing "load <status>" and, on success,
// "picture <w>x<h> type <t>"; then saves that picture as FILE in FORMAT with
// messages and the progress dialog, printing "save <status>" and, when the
// save succeeded, "saved <name> <w>x<h> type <t> colors <n>" as the file
// reads back. Keys in the window: "l" loads again, "s" saves again; each
// prints "busy" first when another load or save is running.
//
// -delay makes every progress step of the library take MS milliseconds
// longer (the library's entry points are wrapped at link time), so that a
// test can act while a load or save runs.
#include <X11/Shell.h>
#include <X11/Xutil.h>
#include <Xm/DrawingA.h>
#include <Xm/Xm.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "app/app_globals.h"
#include "app/configuration_file.h"
#include "app/fallback_resources.h"
#include "app/settings.h"
#include "app/x_app.h"
#include "picture/load_save.h"
#include "zentar.h"

namespace quivel {
AppGlobals gApp;
XApp gX;
}  // namespace quivel

using namespace quivel;

namespace {

int gDelayMs = 0;
ZntProgressFunction gLibraryProgress = nullptr;

struct Probe {
    Widget shell = nullptr;
    std::string loadFile, saveFile, saveFormat;
    bool reuse = false;
    Picture picture{};
};
Probe gProbe;

int slowProgress(int done, int total, void *userData) {
    usleep(useconds_t(gDelayMs) * 1000);
    return gLibraryProgress(done, total, userData);
}

// Puts the slow progress function between the library and the caller's.
void slowDown(FormatParams *params) {
    if (gDelayMs <= 0 || params == nullptr || params->progressFunction == nullptr) return;
    gLibraryProgress = params->progressFunction;
    params->progressFunction = slowProgress;
}

}  // namespace

extern "C" {
OpStatus __real_zntLoad(const char *, Picture *, FormatParams *, FileInformation *);
OpStatus __real_zntSave(const char *, Picture *, FormatParams *, int);

OpStatus __wrap_zntLoad(const char *fileName, Picture *picture, FormatParams *params, FileInformation *info) {
    slowDown(params);
    return __real_zntLoad(fileName, picture, params, info);
}

OpStatus __wrap_zntSave(const char *fileName, Picture *picture, FormatParams *params, int reserved) {
    slowDown(params);
    return __real_zntSave(fileName, picture, params, reserved);
}
}

namespace {

void say(const char *format, ...) __attribute__((format(printf, 1, 2)));
void say(const char *format, ...) {
    va_list args;
    va_start(args, format);
    std::vprintf(format, args);
    va_end(args);
    std::fflush(stdout);
}

void doLoad() {
    if (gProbe.loadFile.empty()) return;
    if (loadOrSaveInProgress()) say("busy\n");
    Picture loaded{};
    FileInformation info{};
    const int status = loadPictureFileBusy(gProbe.shell, gProbe.loadFile.c_str(), 0, loaded, info, true);
    zntFileInformationFree(&info);
    say("load %d\n", status);
    if (status != 0) return;
    zntFree(&gProbe.picture);
    gProbe.picture = loaded;
    say("picture %ux%d type %d\n", loaded.width, loaded.height, loaded.type);
}

void doSave() {
    if (gProbe.saveFile.empty()) return;
    if (loadOrSaveInProgress()) say("busy\n");
    std::vector<char> name(4096);
    std::snprintf(name.data(), name.size(), "%s", gProbe.saveFile.c_str());
    const int status = savePictureFile(gProbe.shell, name.data(), zntFormatGetIndex(gProbe.saveFormat.c_str()),
                                       gProbe.picture, false, true, true, gProbe.reuse);
    say("save %d\n", status);
    if (status != 0) return;
    Picture back{};
    FormatParams params;
    zntDefaultParams(&params);
    if (zntLoad(name.data(), &back, &params, nullptr) == ZNT_OK)
        say("saved %s %ux%d type %d colors %d\n", name.data(), back.width, back.height, back.type,
            back.numberOfColors);
    zntFree(&back);
}

void start(XtPointer, XtIntervalId *) {
    doLoad();
    doSave();
}

void keyPressed(Widget, XtPointer, XtPointer callData) {
    auto *cb = static_cast<XmDrawingAreaCallbackStruct *>(callData);
    if (cb->event == nullptr || cb->event->type != KeyPress) return;
    char text[8] = {};
    KeySym key = 0;
    XLookupString(&cb->event->xkey, text, sizeof text - 1, &key, nullptr);
    if (text[0] == 'l') doLoad();
    if (text[0] == 's') doSave();
}

}  // namespace

int main(int argc, char **argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    zntInitLibrary();
    XtAppContext context;
    Widget top = XtVaAppInitialize(&context, "Quivel", nullptr, 0, &argc, argv,
                                   const_cast<String *>(kFallbackResources), XmNmappedWhenManaged, False, nullptr);
    std::string ini;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "-v") {
            gApp.verbose = true;
        } else if (arg == "-ini" && i + 1 < argc) {
            ini = argv[++i];
        } else if (arg == "-delay" && i + 1 < argc) {
            gDelayMs = std::atoi(argv[++i]);
        } else if (arg == "-load" && i + 1 < argc) {
            gProbe.loadFile = argv[++i];
        } else if (arg == "-save" && i + 2 < argc) {
            gProbe.saveFile = argv[++i];
            gProbe.saveFormat = argv[++i];
        } else if (arg == "-reuse") {
            gProbe.reuse = true;
        }
    }
    std::vector<std::string> formatNames;
    for (int i = 0; i < zntCount(); ++i) formatNames.emplace_back(zntFormatGetName(i));
    if (!ini.empty()) {
        readConfigurationFile(ini, formatNames, gSettings, gFileTypeFlags);
    } else {
        loadSettings(nullptr, formatNames, gSettings, gFileTypeFlags);
    }

    gX.context = context;
    gX.display = XtDisplay(top);
    gX.screen = DefaultScreen(gX.display);
    gX.topLevel = top;
    XtRealizeWidget(top);

    gProbe.shell = XtVaAppCreateShell("LoadProbe", "Quivel", topLevelShellWidgetClass, gX.display, XmNtitle,
                                      "LoadProbe", nullptr);
    Widget area = XtVaCreateManagedWidget("area", xmDrawingAreaWidgetClass, gProbe.shell, XmNwidth, 300, XmNheight,
                                          200, nullptr);
    XtAddCallback(area, XmNinputCallback, keyPressed, nullptr);
    XtRealizeWidget(gProbe.shell);
    XtAppAddTimeOut(context, 300, start, nullptr);
    XtAppMainLoop(context);
    return 0;
}
