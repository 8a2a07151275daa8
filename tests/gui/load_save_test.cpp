// Loading and saving as the user sees them: the progress dialog and its
// Stop button, a second load asked for during a load, the "Convert To ..."
// dialog for a picture the format cannot hold, and the error box of a
// failed save. The load probe does the loads and saves; its library calls
// are slowed down so that there is time to act while one runs.
#include <gtest/gtest.h>

#include <sstream>

#include "harness.h"
#include "test_files.h"

using namespace guitest;
using testsupport::TempDir;

namespace {

// A true-colour PPM of width x height.
std::string writeRgbPpm(const TempDir &dir, const std::string &name, int width, int height) {
    const std::string path = dir.file(name);
    testsupport::writePpm(path, width, height, [](int x, int y) {
        return uint32_t(x * 4 & 255) << 16 | uint32_t(y & 255) << 8 | uint32_t((x + y) * 3 & 255);
    });
    return path;
}

struct Probe {
    XServer server;
    App app;
    explicit Probe(const std::vector<std::string> &args) : app(server, args, {}, "load_probe") {}
    Display *display() const { return server.display(); }
};

// The Stop button fills the middle of the progress dialog's bottom row.
void clickStop(Display *display, Window dialog) {
    const Geometry g = windowGeometry(display, dialog);
    click(display, g.x + g.width / 2, g.y + g.height - 23);
}

// Clicks a control of the "Convert To ..." dialog where it reported itself.
void clickConvertControl(Probe &probe, Window dialog, const std::string &name) {
    const std::string errors = probe.app.errors();
    const size_t at = errors.rfind("TolvaConvert " + name + " ");
    ASSERT_NE(at, std::string::npos) << "no place for " << name;
    std::istringstream place(errors.substr(at + name.size() + 14));
    int x = 0, y = 0, width = 0, height = 0;
    place >> x >> y >> width >> height;
    const Geometry g = windowGeometry(probe.display(), dialog);
    click(probe.display(), g.x + x + width / 2, g.y + y + height / 2);
}

}  // namespace

TEST(LoadSaveGui, StopEndsALoadQuietlyByButtonOrEscape) {
    TempDir dir;
    const std::string large = writeRgbPpm(dir, "large.ppm", 64, 400);
    for (bool byKey : {false, true}) {
        SCOPED_TRACE(byKey ? "Escape" : "button");
        Probe probe({"-v", "-delay", "20", "-load", large});
        const Window dialog = waitForWindow(probe.display(), "TolvaProgress");
        ASSERT_NE(dialog, 0u) << probe.app.errors();
        EXPECT_EQ(windowTitle(probe.display(), dialog), "Loading");
        waitUntilDrawn(probe.display(), dialog);
        if (byKey) {
            focusWindow(probe.display(), dialog);
            pressKey(probe.display(), "Escape");
        } else {
            clickStop(probe.display(), dialog);
        }
        ASSERT_TRUE(probe.app.waitForOutput("load 15\n", 5000)) << probe.app.output() << probe.app.errors();
        EXPECT_EQ(probe.app.output(), "load 15\n") << "no picture";
        EXPECT_TRUE(waitUntil([&] { return !windowExists(probe.display(), "TolvaProgress"); }));
        EXPECT_TRUE(noMessages(probe.app)) << probe.app.errors();
    }
}

TEST(LoadSaveGui, ASecondLoadDuringALoadIsRefusedAndTheFirstCompletes) {
    TempDir dir;
    const std::string file = writeRgbPpm(dir, "a.ppm", 64, 150);
    Probe probe({"-v", "-delay", "10", "-load", file});
    ASSERT_NE(waitForWindow(probe.display(), "TolvaProgress"), 0u);
    const Window main = waitForWindow(probe.display(), "LoadProbe");
    focusWindow(probe.display(), main);
    pressKey(probe.display(), "l");
    ASSERT_TRUE(probe.app.waitForOutput("picture 64x150 type 16\n")) << probe.app.output();
    EXPECT_EQ(probe.app.output(), "busy\nload 15\nload 0\npicture 64x150 type 16\n");
    EXPECT_TRUE(noMessages(probe.app));
}

TEST(LoadSaveGui, SavingWhatTheFormatCannotHoldAsksForAConversion) {
    TempDir dir;
    const std::string file = writeRgbPpm(dir, "a.ppm", 40, 30);
    const std::string gif = dir.file("out.gif");
    {
        Probe probe({"-v", "-load", file, "-save", gif, "gif"});
        ASSERT_TRUE(probe.app.waitForErrors("TolvaConvert shown\n")) << probe.app.errors();
        const Window dialog = waitForWindow(probe.display(), "TolvaConvert");
        ASSERT_NE(dialog, 0u);
        EXPECT_EQ(windowTitle(probe.display(), dialog), "Convert To ...");
        clickConvertControl(probe, dialog, "binary");
        clickConvertControl(probe, dialog, "halftone90");
        clickConvertControl(probe, dialog, "ok");
        ASSERT_TRUE(probe.app.waitForOutput("save 0\n")) << probe.app.output() << probe.app.errors();
        // Black and white: GIF keeps it as two palette entries.
        ASSERT_TRUE(probe.app.waitForOutput("saved " + gif + " 40x30 type ")) << probe.app.output();
        EXPECT_TRUE(probe.app.waitForOutput(" colors 2\n")) << probe.app.output();
        EXPECT_TRUE(noMessages(probe.app));
    }
    {
        // Escape cancels: nothing is saved and nothing is said.
        Probe probe({"-v", "-load", file, "-save", dir.file("none.gif"), "gif"});
        ASSERT_TRUE(probe.app.waitForErrors("TolvaConvert shown\n")) << probe.app.errors();
        const Window dialog = waitForWindow(probe.display(), "TolvaConvert");
        focusWindow(probe.display(), dialog);
        pressKey(probe.display(), "Escape");
        ASSERT_TRUE(probe.app.waitForOutput("save 255\n")) << probe.app.output();
        EXPECT_TRUE(testsupport::readBytes(dir.file("none.gif")).empty());
        EXPECT_TRUE(noMessages(probe.app));
    }
}

TEST(LoadSaveGui, ASaveShowsItsProgressAndCannotBeStopped) {
    TempDir dir;
    const std::string file = writeRgbPpm(dir, "a.ppm", 64, 200);
    const std::string png = dir.file("out.png");
    Probe probe({"-v", "-delay", "10", "-load", file, "-save", png, "png"});
    const Window dialog = waitForWindow(probe.display(), "Saving...");
    ASSERT_NE(dialog, 0u) << probe.app.output();
    clickStop(probe.display(), dialog);
    ASSERT_TRUE(probe.app.waitForOutput("saved " + png + " 64x200 type 16 colors 0\n")) << probe.app.output();
    EXPECT_NE(probe.app.output().find("save 0\n"), std::string::npos);
}

TEST(LoadSaveGui, AFailedSaveShowsTheErrorBox) {
    TempDir dir;
    const std::string file = writeRgbPpm(dir, "a.ppm", 16, 16);
    Probe probe({"-v", "-load", file, "-save", "/no/such/folder/x.png", "png"});
    ASSERT_TRUE(probe.app.waitForOutput("save 5\n")) << probe.app.output();
    EXPECT_TRUE(probe.app.waitForErrors("message: Can't create file  </no/such/folder/x.png>\n")) << probe.app.errors();
    EXPECT_NE(waitForWindow(probe.display(), "Error"), 0u);
}
