// Files in and out of the image view as a user works with them: Open and
// Save As through the file selector, the "Convert To ..." question of a
// format that cannot hold the picture, failed saves, loads that take long
// enough to be stopped, and a folder given on the command line.
//
// The program runs with a window manager and -v, which writes each status
// bar ("status: a|b|c") and each message box ("message: ...") to standard
// error. Slow loads come from libslow_library.so, preloaded into the
// program: it makes each progress step of the library wait a few
// milliseconds, so that the test can act while a load runs.
#include <gtest/gtest.h>

#include <X11/Xutil.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>

#include "harness.h"
#include "test_files.h"
#include "zentar.h"

using namespace guitest;
using testsupport::TempDir;

namespace {

// A true-colour PPM filled by a function of the position.
std::string writePpm(const TempDir &dir, const std::string &name, int width, int height,
                     const std::function<Rgb(int, int)> &color) {
    const std::string path = dir.file(name);
    testsupport::writePpm(path, width, height, [&](int x, int y) {
        const Rgb c = color(x, y);
        return uint32_t(c.r) << 16 | uint32_t(c.g) << 8 | c.b;
    });
    return path;
}

std::function<Rgb(int, int)> plain(Rgb c) {
    return [c](int, int) { return c; };
}

// Left half red, right half blue.
std::function<Rgb(int, int)> halves(int width) {
    return [width](int x, int) { return x < width / 2 ? kRed : kBlue; };
}

int count(const std::string &text, const std::string &part) {
    int n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

// The screen as the user sees it, dumped by xwd and read back through the
// library. Reads of the root window from the test's own connection were
// seen to show a picture where the screen showed another view's picture
// composited over it; the server's dump shows what is on the screen.
Screenshot screenAsShown(const XServer &server) {
    Screenshot shot;
    TempDir dir;
    const std::string dump = dir.file("screen.xwd");
    App xwd(server, {"-root", "-silent", "-out", dump}, {}, "/usr/bin/xwd");
    if (xwd.wait() != 0) return shot;
    Picture p{};
    if (zntLoad(dump.c_str(), &p, nullptr, nullptr) != ZNT_OK) return shot;
    shot.width = int(p.width);
    shot.height = p.height;
    for (int y = 0; y < p.height; ++y)
        for (uint32_t x = 0; x < p.width; ++x) {
            const uint8_t *row = p.data + size_t(y) * p.bytesPerLine;
            uint32_t r, g, b;
            if (p.type == ZNT_PALETTE) {
                r = p.palette[row[x]], g = p.palette[256 + row[x]], b = p.palette[512 + row[x]];
            } else {
                r = row[3 * x], g = row[3 * x + 1], b = row[3 * x + 2];
            }
            shot.pixels.push_back(r << 16 | g << 8 | b);
        }
    zntFree(&p);
    return shot;
}

// Whether the screen shows the picture in the view, pixel for pixel (within
// the rounding of the display's colours).
bool showsPicture(const XServer &server, Window view, int width, int height,
                  const std::function<Rgb(int, int)> &color) {
    Display *d = server.display();
    const Window picture = childOfSize(d, view, width, height);
    if (picture == 0) return false;
    const Geometry g = windowGeometry(d, picture);
    const Screenshot shot = screenAsShown(server);
    if (g.x < 0 || g.y < 0 || g.x + width > shot.width || g.y + height > shot.height) return false;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            if (!near(shot.at(g.x + x, g.y + y), color(x, y), 8)) return false;
    return true;
}

bool waitForPicture(const XServer &server, Window view, int width, int height,
                    const std::function<Rgb(int, int)> &color) {
    return waitUntil([&] { return showsPicture(server, view, width, height, color); }, 5000);
}

// Replaces the text of the focused field.
void replaceText(Display *d, const std::string &text) {
    pressKey(d, "End");
    pressKey(d, "Home", {"Shift_L"});
    typeText(d, text);
}

// The progress dialog has drawn its bar, so that it takes events.
Window progressShown(Display *d) {
    const Window dialog = waitForWindow(d, "TolvaProgress");
    if (dialog != 0) waitUntilDrawn(d, dialog);
    return dialog;
}

bool centredOver(Display *d, Window dialog, Window view) {
    const Geometry a = windowGeometry(d, dialog), b = windowGeometry(d, view);
    const int x = a.x + a.width / 2, y = a.y + a.height / 2;
    return x >= b.x && x < b.x + b.width && y >= b.y && y < b.y + b.height;
}

}  // namespace

TEST(ViewFilesGui, OpenFromAViewByKeyboardShowsThePictureInANewView) {
    for (int depth : {24, 8}) {
        SCOPED_TRACE("depth " + std::to_string(depth));
        const Session session;
        TempDir files;
        // An animation large enough that the new view lands over it, and
        // that keeps drawing there (a still picture without ImageMagick).
        std::string first = writePpm(files, "first.ppm", 480, 360, plain(kRed));
        if (access("/usr/bin/convert", X_OK) == 0) {
            writePpm(files, "frame2.ppm", 480, 360, plain(kBlue));
            first = files.file("first.gif");
            ASSERT_EQ(testsupport::runProgram(
                          {"/usr/bin/convert", "-delay", "2", files.file("first.ppm"), files.file("frame2.ppm"), first})
                          .exitCode,
                      0);
        }
        writePpm(files, "green.ppm", 90, 70, plain(kGreen));
        ServerOptions options{.depth = depth, .width = 800, .height = 600, .windowManager = true};
        if (depth == 8) options.visualClass = PseudoColor;
        XServer server(options);
        Display *d = server.display();
        App app(server, session.args({first}), session.environment());
        const Window view = waitForWindow(d, "TolvaView");
        ASSERT_NE(view, 0u) << app.errors();
        ASSERT_TRUE(app.waitForErrors(" shown in ")) << app.errors();

        focusWindow(d, view);
        pressKey(d, "o", {"Control_L"});
        const Window selector = waitForWindow(d, "Load Files...");
        ASSERT_NE(selector, 0u) << app.errors();
        // It lists the view's folder: the name alone finds the file.
        typeText(d, "green.ppm\n");
        // (The animation's status lines come in between.)
        ASSERT_TRUE(app.waitForErrors("status: green.ppm||90x70x24|True Colors|")) << app.errors();
        EXPECT_TRUE(waitUntil([&] { return !windowExists(d, "Load Files..."); }));
        std::vector<Window> shown;
        ASSERT_TRUE(waitUntil([&] { return (shown = views(d)).size() == 2; }));
        const Window opened = shown[0] == view ? shown[1] : shown[0];
        // The new view stands over the first one and shows its own picture.
        EXPECT_TRUE(waitForPicture(server, opened, 90, 70, plain(kGreen))) << "the new view's picture";
        usleep(300 * 1000);
        EXPECT_TRUE(showsPicture(server, opened, 90, 70, plain(kGreen))) << "and keeps it";

        // The keyboard is the new view's.
        pressKey(d, "plus");
        EXPECT_TRUE(app.waitForErrors("status: green.ppm||90x70x24|True Colors|18.5 KB|200%")) << app.errors();
        EXPECT_TRUE(noMessages(app)) << app.errors();
    }
}

TEST(ViewFilesGui, SaveReplacesTheViewsFileOrConvertsForGifAndCancellingWritesNothing) {
    for (int depth : {24, 8}) {
        SCOPED_TRACE("depth " + std::to_string(depth));
        const Session session;
        TempDir files;
        const std::string path = writePpm(files, "photo.ppm", 120, 80, halves(120));
        ServerOptions options{.depth = depth, .width = 800, .height = 600, .windowManager = true};
        if (depth == 8) options.visualClass = PseudoColor;
        XServer server(options);
        Display *d = server.display();
        App app(server, session.args({path}), session.environment());
        const Window view = waitForWindow(d, "TolvaView");
        ASSERT_NE(view, 0u) << app.errors();
        ASSERT_TRUE(waitForStatus(app, "photo.ppm||120x80x24|")) << lastStatus(app);
        focusWindow(d, view);
        pressKey(d, "H", {"Shift_L"});   // flip: blue on the left now
        ASSERT_TRUE(waitUntil([&] { return windowTitle(d, view) == "*Quivel v1.50"; }));

        // The selector offers the view's own name and format: Return asks
        // to replace the file, and yes writes the picture over it.
        pressKey(d, "s", {"Control_L"});
        ASSERT_NE(waitForWindow(d, "Save File..."), 0u) << app.errors();
        pressKey(d, "Return");
        ASSERT_TRUE(app.waitForErrors("message: The file  <" + path + "> already exists")) << app.errors();
        pressKey(d, "Return");
        EXPECT_TRUE(waitUntil([&] { return windowTitle(d, view) == "Quivel v1.50"; })) << windowTitle(d, view);
        Picture replaced{};
        ASSERT_EQ(zntLoad(path.c_str(), &replaced, nullptr, nullptr), ZNT_OK);
        EXPECT_EQ(replaced.data[2], 255) << "blue on the left";
        zntFree(&replaced);

        // A name typed with another suffix chooses that format.
        pressKey(d, "H", {"Shift_L"});
        ASSERT_TRUE(waitUntil([&] { return windowTitle(d, view) == "*Quivel v1.50"; }));
        pressKey(d, "s", {"Control_L"});
        ASSERT_NE(waitForWindow(d, "Save File..."), 0u) << app.errors();
        replaceText(d, "photo.gif\n");
        ASSERT_TRUE(app.waitForErrors("TolvaConvert shown\n")) << app.errors();
        const Window convert = waitForWindow(d, "TolvaConvert");
        ASSERT_NE(convert, 0u);
        EXPECT_EQ(windowTitle(d, convert), "Convert To ...");
        EXPECT_TRUE(centredOver(d, convert, view));
        // Tab to the kinds, Space takes "Black & White", Return is OK.
        focusWindow(d, convert);
        pressKey(d, "Tab");
        pressKey(d, "space");
        pressKey(d, "Return");
        const std::string gif = files.file("photo.gif");
        ASSERT_TRUE(waitForStatus(app, "photo.gif||120x80x24|True Colors|")) << lastStatus(app);
        EXPECT_TRUE(waitUntil([&] { return windowTitle(d, view) == "Quivel v1.50"; })) << windowTitle(d, view);
        struct stat written{};
        ASSERT_EQ(stat(gif.c_str(), &written), 0);
        Picture saved{};
        ASSERT_EQ(zntLoad(gif.c_str(), &saved, nullptr, nullptr), ZNT_OK);
        EXPECT_EQ(saved.width, 120u);
        EXPECT_EQ(saved.height, 80);
        EXPECT_LE(saved.numberOfColors, 2) << "black and white";
        zntFree(&saved);
        // The status bar tells the new file's size.
        char size[32];
        if (written.st_size < 1024)
            std::snprintf(size, sizeof size, "|%lld bytes|", (long long)written.st_size);
        else
            std::snprintf(size, sizeof size, "|%.1f KB|", double(written.st_size) / 1024);
        EXPECT_NE(lastStatus(app).find(size), std::string::npos) << lastStatus(app) << " " << size;

        // Cancelling the conversion writes nothing and keeps the mark. The
        // keyboard comes back to the view after each dialog.
        pressKey(d, "H", {"Shift_L"});
        ASSERT_TRUE(waitUntil([&] { return windowTitle(d, view) == "*Quivel v1.50"; }));
        pressKey(d, "s", {"Control_L"});
        ASSERT_NE(waitForWindow(d, "Save File..."), 0u);
        replaceText(d, "other.gif\n");
        ASSERT_TRUE(waitUntil([&] { return count(app.errors(), "TolvaConvert shown\n") == 2; })) << app.errors();
        focusWindow(d, waitForWindow(d, "TolvaConvert"));
        pressKey(d, "Escape");
        ASSERT_TRUE(waitUntil([&] { return !windowExists(d, "TolvaConvert"); }));
        EXPECT_TRUE(testsupport::readBytes(files.file("other.gif")).empty());
        EXPECT_EQ(windowTitle(d, view), "*Quivel v1.50");
        pressKey(d, "plus");
        EXPECT_TRUE(waitForStatus(app, "|200%")) << lastStatus(app);
        EXPECT_EQ(count(app.errors(), "message: "), 1) << "only the question to replace";
    }
}

TEST(ViewFilesGui, AFailedSaveIsShownOverTheViewWhichKeepsItsMark) {
    const Session session;
    TempDir files;
    const std::string path = writePpm(files, "photo.ppm", 60, 40, halves(60));
    XServer server({.width = 800, .height = 600, .windowManager = true});
    Display *d = server.display();
    App app(server, session.args({path}), session.environment());
    const Window view = waitForWindow(d, "TolvaView");
    ASSERT_NE(view, 0u) << app.errors();
    ASSERT_TRUE(waitForStatus(app, "photo.ppm||60x40x24|")) << lastStatus(app);
    focusWindow(d, view);
    pressKey(d, "V", {"Shift_L"});
    ASSERT_TRUE(waitUntil([&] { return windowTitle(d, view) == "*Quivel v1.50"; }));
    pressKey(d, "s", {"Control_L"});
    ASSERT_NE(waitForWindow(d, "Save File..."), 0u) << app.errors();
    // Even the superuser cannot make files in /proc.
    replaceText(d, "/proc/photo.ppm\n");
    ASSERT_TRUE(app.waitForErrors("message: Can't create file  </proc/photo.ppm>")) << app.errors();
    const Window error = waitForWindow(d, "Error");
    ASSERT_NE(error, 0u);
    EXPECT_TRUE(centredOver(d, error, view));
    focusWindow(d, error);
    pressKey(d, "Return");
    EXPECT_TRUE(waitUntil([&] { return !windowExists(d, "Error"); }));
    EXPECT_EQ(windowTitle(d, view), "*Quivel v1.50");
    EXPECT_NE(lastStatus(app).find("photo.ppm|"), std::string::npos) << lastStatus(app);

    // The keyboard goes back to the view after the box, and after a selector
    // left with Escape.
    pressKey(d, "plus");
    EXPECT_TRUE(waitForStatus(app, "photo.ppm||60x40x24|True Colors|7.0 KB|200%")) << lastStatus(app);
    pressKey(d, "s", {"Control_L"});
    ASSERT_NE(waitForWindow(d, "Save File..."), 0u);
    pressKey(d, "Escape");
    EXPECT_TRUE(waitUntil([&] { return !windowExists(d, "Save File..."); }));
    pressKey(d, "minus");
    EXPECT_TRUE(waitForStatus(app, "photo.ppm||60x40x24|True Colors|7.0 KB|100%")) << lastStatus(app);
}

TEST(ViewFilesGui, StoppedLoadsLeaveTheViewUsableAndKeysWaitForTheLoad) {
    const Session session;
    TempDir files;
    // 600 rows at 5 ms a step: three seconds to act in.
    const std::string large = writePpm(files, "large.ppm", 800, 600, plain(kBlue));
    const std::string small = writePpm(files, "small.ppm", 60, 40, halves(60));
    XServer server({.width = 1024, .height = 768, .windowManager = true});
    Display *d = server.display();
    App app(server, session.args({large, small}), session.environment(5));

    // The first load of a new view: Escape in the progress dialog stops it,
    // and the view comes up empty, without a message.
    Window dialog = progressShown(d);
    ASSERT_NE(dialog, 0u) << app.errors();
    EXPECT_EQ(windowTitle(d, dialog), "Loading");
    focusWindow(d, dialog);
    pressKey(d, "Escape");
    const Window view = waitForWindow(d, "TolvaView");
    ASSERT_NE(view, 0u) << app.errors();
    EXPECT_TRUE(waitForStatus(app, "large.ppm|1 of 2|100%")) << lastStatus(app);
    EXPECT_TRUE(waitUntil([&] { return !windowExists(d, "TolvaProgress"); }));
    focusWindow(d, view);
    pressKey(d, "Next");
    ASSERT_TRUE(waitForStatus(app, "small.ppm|2 of 2|60x40x24|")) << lastStatus(app);
    ASSERT_TRUE(waitForPicture(server, view, 60, 40, halves(60)));

    // Back to the large one. While it loads, the view's keys (previous file,
    // zoom, close, open, quit) start nothing; Stop leaves the small picture.
    const size_t mark = app.errors().size();
    pressKey(d, "Prior");
    dialog = progressShown(d);
    ASSERT_NE(dialog, 0u);
    EXPECT_TRUE(centredOver(d, dialog, view));
    focusWindow(d, view);
    pressKey(d, "Prior");
    pressKey(d, "plus");
    pressKey(d, "Escape");
    pressKey(d, "o", {"Control_L"});
    pressKey(d, "q", {"Control_L"});
    const Geometry g = windowGeometry(d, dialog);
    click(d, g.x + g.width / 2, g.y + g.height - 23);   // Stop
    EXPECT_TRUE(waitUntil([&] { return !windowExists(d, "TolvaProgress"); }));
    EXPECT_TRUE(app.running());
    EXPECT_EQ(views(d).size(), 1u);
    EXPECT_FALSE(windowExists(d, "Load Files..."));
    EXPECT_EQ(app.errors().find("status: ", mark), std::string::npos) << app.errors().substr(mark);
    EXPECT_TRUE(showsPicture(server, view, 60, 40, halves(60)));

    // Still the view it was: its keys work, and Next has nowhere to go.
    focusWindow(d, view);
    pressKey(d, "plus");
    EXPECT_TRUE(waitForStatus(app, "small.ppm|2 of 2|60x40x24|True Colors|7.0 KB|200%")) << lastStatus(app);
    EXPECT_TRUE(noMessages(app)) << app.errors();
}

TEST(ViewFilesGui, AFolderArgumentOpensAViewOverItsPicturesByName) {
    const Session session;
    TempDir folder;
    writePpm(folder, "b.ppm", 30, 20, plain(kRed));
    writePpm(folder, "C.ppm", 30, 20, plain(kGreen));
    writePpm(folder, "a.ppm", 30, 20, plain(kBlue));
    testsupport::writeFile(folder.file("notes.txt"), "not a picture");
    XServer server({.width = 800, .height = 600, .windowManager = true});
    Display *d = server.display();
    App app(server, session.args({folder.path()}), session.environment());
    const Window view = waitForWindow(d, "TolvaView");
    ASSERT_NE(view, 0u) << app.errors();
    EXPECT_TRUE(waitForStatus(app, "a.ppm|1 of 3|")) << lastStatus(app);
    focusWindow(d, view);
    pressKey(d, "Next");
    EXPECT_TRUE(waitForStatus(app, "b.ppm|2 of 3|")) << lastStatus(app);
    pressKey(d, "End");
    EXPECT_TRUE(waitForStatus(app, "C.ppm|3 of 3|")) << lastStatus(app);
    EXPECT_FALSE(windowExists(d, "TolvaInit"));
}

TEST(ViewFilesGui, ClosingTheWindowWhileItsQuestionIsUpWaitsForTheAnswer) {
    const Session session;
    TempDir files;
    const std::string first = writePpm(files, "first.ppm", 60, 40, halves(60));
    const std::string second = writePpm(files, "second.ppm", 60, 40, halves(60));
    XServer server({.width = 800, .height = 600, .windowManager = true});
    Display *d = server.display();
    App app(server, session.args({"-all", first, second}), session.environment());
    ASSERT_TRUE(waitUntil([&] { return views(d).size() == 2; })) << app.errors();
    ASSERT_TRUE(waitUntil([&] { return count(app.errors(), " shown in ") == 2; }));
    const Window view = views(d)[0];
    focusWindow(d, view);
    pressKey(d, "V", {"Shift_L"});
    ASSERT_TRUE(waitUntil([&] { return windowTitle(d, view) == "*Quivel v1.50"; }));
    pressKey(d, "w", {"Control_L"});
    ASSERT_TRUE(app.waitForErrors("message: Do you want to save changes")) << app.errors();
    const Window question = waitForWindow(d, "Question");
    ASSERT_NE(question, 0u);
    // The window manager's close button on the view, as another manager
    // would allow, while the question waits.
    closeWindow(d, view);
    usleep(300 * 1000);
    focusWindow(d, question);
    pressKey(d, "Escape");   // no
    EXPECT_TRUE(waitUntil([&] { return views(d).size() == 1; }));
    usleep(300 * 1000);
    EXPECT_TRUE(app.running()) << app.output();
    EXPECT_EQ(count(app.errors(), "message: "), 1) << app.errors();
    EXPECT_EQ(testsupport::readFile(first), testsupport::readFile(second)) << "not saved";
}
