// The file selector as a user drives it, mostly by keyboard: from the initial
// window's Open, and through the selector probe, which runs it once and
// prints the answer ("selected: <path>", "format: <name>") and then writes
// the configuration file as the program does at exit.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <sstream>
#include <thread>

#include "app/save_formats.h"
#include "harness.h"
#include "test_files.h"

using namespace guitest;
using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;
using testsupport::writePpm;

namespace {

void pause(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

// Typing with quotes, which the harness's own typing leaves out.
void typeQuoted(Display *display, const std::string &text) {
    for (char c : text) {
        if (c == '"')
            pressKey(display, "quotedbl");
        else
            typeText(display, std::string(1, c));
    }
}

void replaceText(Display *display, const std::string &text) {
    pressKey(display, "End");
    pressKey(display, "Home", {"Shift_L"});
    typeText(display, text);
}

int pixelsOf(const Screenshot &shot, uint32_t rgb) {
    int count = 0;
    for (uint32_t p : shot.pixels) count += p == rgb;
    return count;
}

int occurrences(const std::string &text, const std::string &part) {
    int count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

bool hasLine(const std::string &text, const std::string &line) {
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

struct Probe {
    App app;
    Window window = 0;
    Probe(const XServer &server, const std::string &rc, const std::string &mode, const std::string &start,
          const std::string &title)
        : app(server, {rc, mode, start}, {}, "selector_probe") {
        window = waitForWindow(server.display(), title);
    }
};

}  // namespace

TEST(FileSelectorGui, OpenFromTheInitialWindowByKeyboardReachesTheLoad) {
    TempDir dir;
    const std::string rc = dir.file("my.rc"), pics = dir.file("pics");
    ASSERT_EQ(mkdir(pics.c_str(), 0755), 0);
    writeFile(pics + "/broken.png", "\x89PNG\r\n\x1a\nnot really");
    XServer server({.windowManager = true});
    App app(server, {"-v", "-ini", rc}, {"HOME=" + dir.path()});
    Display *display = server.display();
    const Window init = waitForWindow(display, "TolvaInit");
    ASSERT_NE(init, 0u) << app.errors();
    focusWindow(display, init);
    pressKey(display, "o", {"Control_L"});
    const Window selector = waitForWindow(display, "Load Files...");
    ASSERT_NE(selector, 0u) << app.errors();

    // A folder typed in the name field is entered; a missing file is refused
    // there, and the selector stays.
    typeText(display, pics + "\n");
    typeText(display, "missing.png\n");
    ASSERT_TRUE(app.waitForErrors("message: Can't open file")) << app.errors();
    EXPECT_NE(app.errors().find(pics + "/missing.png>"), std::string::npos);
    pressKey(display, "Return");   // the message's OK
    ASSERT_TRUE(waitUntil([&] { return windowExists(display, "Load Files..."); }));

    // A file that is there is handed to the load, which reports what it found.
    const size_t mark = app.errors().size();
    focusWindow(display, selector);
    replaceText(display, "broken.png\n");
    ASSERT_TRUE(waitUntil([&] { return !windowExists(display, "Load Files..."); })) << app.errors();
    ASSERT_TRUE(waitUntil([&] { return app.errors().find(pics + "/broken.png>", mark) != std::string::npos; }))
        << app.errors();

    focusWindow(display, init);
    pressKey(display, "q", {"Control_L"});
    ASSERT_EQ(app.wait(), 0) << app.errors();
    const std::string written = readFile(rc);
    EXPECT_TRUE(hasLine(written, "PathLoad = " + pics)) << written;
    EXPECT_TRUE(hasLine(written, "DirName_0 = " + pics));
}

TEST(FileSelectorGui, KeyboardCompletesFoldersWalksTheListAndChoosesSeveralFiles) {
    TempDir dir;
    const std::string rc = dir.file("my.rc"), pics = dir.file("pictures");
    ASSERT_EQ(mkdir(pics.c_str(), 0755), 0);
    for (const char *name : {"a.ppm", "b.ppm", "c.ppm"}) writePpm(pics + "/" + name, 4, 4, 0x808080);
    writeFile(pics + "/notes.txt", "not listed");
    XServer server({.windowManager = true});
    Display *display = server.display();
    {
        Probe probe(server, rc, "load", dir.path(), "Load Files...");
        ASSERT_NE(probe.window, 0u) << probe.app.errors();
        typeText(display, "pic");
        pressKey(display, "Tab");      // completes to "pictures/"
        pressKey(display, "Return");   // and enters it
        pause(300);
        pressKey(display, "Down");     // a.ppm
        pressKey(display, "Down");     // b.ppm
        pressKey(display, "Return");
        ASSERT_EQ(probe.app.wait(), 0) << probe.app.errors();
        EXPECT_EQ(probe.app.output(), "selected: " + pics + "/b.ppm\n");
    }
    EXPECT_TRUE(hasLine(readFile(rc), "PathLoad = " + pics));
    {
        // Opens where it was left; two names at once, in the order given.
        Probe probe(server, rc, "load", "", "Load Files...");
        ASSERT_NE(probe.window, 0u) << probe.app.errors();
        typeQuoted(display, "\"c.ppm\" \"a.ppm\"\n");
        ASSERT_EQ(probe.app.wait(), 0) << probe.app.errors();
        EXPECT_EQ(probe.app.output(), "selected: " + pics + "/c.ppm\nselected: " + pics + "/a.ppm\n");
    }
    {
        // Escape cancels.
        Probe probe(server, rc, "view", "", "View Files...");
        ASSERT_NE(probe.window, 0u) << probe.app.errors();
        pressKey(display, "Escape");
        ASSERT_EQ(probe.app.wait(), 0) << probe.app.errors();
        EXPECT_EQ(probe.app.output(), "cancelled\n");
    }
}

TEST(FileSelectorGui, PreviewShowsTheSelectedPictureFittedToItsBox) {
    TempDir dir;
    const std::string rc = dir.file("my.rc");
    writeFile(rc, "Load.Preview = True\n");
    writePpm(dir.file("red.ppm"), 64, 48, 0xff0000);
    writePpm(dir.file("wide.ppm"), 640, 240, 0x0000ff);
    XServer server({.windowManager = true});
    Display *display = server.display();
    Probe probe(server, rc, "load", dir.path(), "Load Files...");
    ASSERT_NE(probe.window, 0u) << probe.app.errors();

    typeText(display, "red");   // the list selects red.ppm as the name is typed
    Screenshot shot;
    ASSERT_TRUE(waitUntil([&] {
        shot = capture(display, probe.window);
        return pixelsOf(shot, 0xff0000) > 0;
    })) << "no preview";
    pause(200);
    shot = capture(display, probe.window);
    EXPECT_EQ(pixelsOf(shot, 0xff0000), 64 * 48) << "a small picture at its own size";

    replaceText(display, "wide.ppm");
    ASSERT_TRUE(waitUntil([&] {
        shot = capture(display, probe.window);
        return pixelsOf(shot, 0x0000ff) > 0;
    }));
    pause(200);
    shot = capture(display, probe.window);
    EXPECT_EQ(pixelsOf(shot, 0x0000ff), 160 * 60) << "a large one fitted to the box, its shape kept";
    EXPECT_EQ(pixelsOf(shot, 0xff0000), 0);

    pressKey(display, "Escape");
    ASSERT_EQ(probe.app.wait(), 0);
    EXPECT_TRUE(hasLine(readFile(rc), "Load.Preview = True"));
}

TEST(FileSelectorGui, SaveInAChosenFormatWithItsOptionsAskingBeforeReplacing) {
    TempDir dir;
    const std::string rc = dir.file("my.rc");
    writeFile(dir.file("photo.png"), "an older file");
    // How far PNG lies below the preselected JPEG in the format menu.
    const std::vector<quivel::SaveFormat> formats = quivel::saveFormats();
    const int steps = quivel::initialFormatPosition(formats, -1, "png") - quivel::initialFormatPosition(formats, -1, "jpeg");
    ASSERT_GT(steps, 0);

    XServer server({.windowManager = true});
    Display *display = server.display();
    Probe probe(server, rc, "save", dir.file("photo.jpg"), "Save File...");
    ASSERT_NE(probe.window, 0u) << probe.app.errors();
    App &app = probe.app;

    // Name field, filter, then the format menu.
    pressKey(display, "Tab");
    pressKey(display, "Tab");
    pressKey(display, "space");
    pause(200);
    for (int i = 0; i < steps; ++i) pressKey(display, "Down");
    pressKey(display, "Return");
    pause(200);

    // Options... opens the PNG page of the options dialog.
    pressKey(display, "Tab");
    pressKey(display, "space");
    ASSERT_TRUE(app.waitForErrors("TolvaOption PWpng shown")) << app.errors();
    const Window options = waitForWindow(display, "TolvaOption");
    ASSERT_NE(options, 0u);
    auto place = [&](const std::string &group, const std::string &name) {
        const std::string errors = app.errors();
        const std::string prefix = "TolvaOption " + group + " " + name + " ";
        const size_t at = errors.rfind(prefix);
        if (at == std::string::npos) throw std::runtime_error("no report of " + name);
        std::istringstream line(errors.substr(at + prefix.size()));
        Geometry g{};
        line >> g.x >> g.y >> g.width >> g.height;
        const Geometry dialog = windowGeometry(display, options);
        return Geometry{dialog.x + g.x + g.width / 2, dialog.y + g.y + g.height / 2, 0, 0};
    };
    const Geometry level = place("PWpng", "PngCompressionLevel");
    click(display, level.x, level.y);
    replaceText(display, "3");
    const Geometry ok = place("dialog", "buttonOk");
    click(display, ok.x, ok.y);
    ASSERT_TRUE(waitUntil([&] { return !windowExists(display, "TolvaOption"); }));

    // Save: the name followed the format, and the file is there already.
    focusWindow(display, probe.window);
    pressKey(display, "Tab");   // from Options... to Save
    pressKey(display, "Return");
    ASSERT_TRUE(app.waitForErrors("message: The file  <" + dir.file("photo.png") + ">")) << app.errors();
    pressKey(display, "Escape");   // no: the selector stays
    pause(300);
    EXPECT_TRUE(app.running());
    EXPECT_EQ(app.output(), "");
    focusWindow(display, probe.window);
    pressKey(display, "Return");   // Save still has the focus
    ASSERT_TRUE(waitUntil([&] { return occurrences(app.errors(), "message: The file") == 2; })) << app.errors();
    pressKey(display, "Return");   // yes
    ASSERT_EQ(app.wait(), 0) << app.errors();
    EXPECT_EQ(app.output(), "selected: " + dir.file("photo.png") + "\nformat: png\n");
    const std::string written = readFile(rc);
    EXPECT_TRUE(hasLine(written, "Save.PngCompressionLevel = 3")) << written;
    EXPECT_TRUE(hasLine(written, "PathSave = " + dir.path()));
    EXPECT_TRUE(hasLine(written, "PathLoad = ")) << "the open selector's folder is its own";
}
