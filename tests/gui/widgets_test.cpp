// Quivel's own widgets, shown by the widget probe and driven with real events.
#include <gtest/gtest.h>

#include <regex>

#include "harness.h"

using namespace guitest;

namespace {

struct Probe {
    XServer server{{.depth = 24}};
    App app;
    Window window = 0;
    explicit Probe(const std::vector<std::string> &args = {}) : app(server, args, {}, "widget_probe") {
        window = waitForWindow(server.display(), "WidgetProbe");
    }
    Display *display() const { return server.display(); }
};

}  // namespace

TEST(Widgets, ProgressBarFillsItsShareOfTheInside) {
    Probe probe;
    ASSERT_NE(probe.window, 0u) << probe.app.errors();
    // 244 pixels wide with a shadow of 2: 240 inside, 30 of 120 filled.
    Screenshot shot;
    int filled = 0;
    waitUntil([&] {
        shot = capture(probe.display(), probe.window, 0, 10, 244, 1);
        filled = 0;
        for (int x = 0; x < shot.width; ++x) filled += shot.at(x, 0) == 0x707070;
        return filled > 0;
    });
    EXPECT_EQ(filled, 60);
    EXPECT_EQ(shot.at(2, 0), 0x707070u) << "the bar starts inside the shadow";
    EXPECT_NE(shot.at(62, 0), 0x707070u);
}

TEST(Widgets, StatusBarPutsEndPartsAtTheRight) {
    Probe probe;
    ASSERT_NE(probe.window, 0u);
    const Geometry g = windowGeometry(probe.display(), probe.window);
    // The status bar is the bottom strip; look for dark text pixels in it.
    auto textColumns = [&](int x0, int x1) {
        Screenshot shot = capture(probe.display(), probe.window, x0, g.height - 16, x1 - x0, 12);
        int dark = 0;
        for (uint32_t p : shot.pixels) dark += (p & 0xff) < 0x40;
        return dark;
    };
    waitUntil([&] { return textColumns(0, 80) > 0; });
    EXPECT_GT(textColumns(0, 80), 20) << "\"clouds.jpg\" at the left";
    EXPECT_GT(textColumns(g.width - 40, g.width), 10) << "\"100%\" at the right end";
    EXPECT_EQ(textColumns(g.width / 2, g.width - 60), 0) << "nothing in between";
}

TEST(Widgets, ComboBoxListByKeyboardAndMouse) {
    Probe probe;
    ASSERT_NE(probe.window, 0u);
    Display *display = probe.display();
    const Geometry g = windowGeometry(display, probe.window);
    const size_t windowsBefore = mappedWindows(display).size();
    click(display, g.x + 100, g.y + 45);   // into the text
    pressKey(display, "Down");
    ASSERT_TRUE(waitUntil([&] { return mappedWindows(display).size() > windowsBefore; })) << "the list drops down";
    pressKey(display, "Down");
    pressKey(display, "Return");
    ASSERT_TRUE(probe.app.waitForOutput("activate: /tmp/second\n"));

    // The keyboard is back in the text; Return there reports what was typed, once.
    pressKey(display, "End");
    typeText(display, "/x\n");
    ASSERT_TRUE(probe.app.waitForOutput("activate: /tmp/second/x\n")) << probe.app.output();

    // The arrow, then a click on the third item.
    ASSERT_TRUE(waitUntil([&] { return mappedWindows(display).size() == windowsBefore; })) << "the list closed";
    click(display, g.x + 240, g.y + 45);
    ASSERT_TRUE(waitUntil([&] { return mappedWindows(display).size() > windowsBefore; }));
    click(display, g.x + 100, g.y + 100);
    ASSERT_TRUE(probe.app.waitForOutput("activate: /var/third\n")) << probe.app.output();
    const std::string out = probe.app.output();
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 3) << out;
}

TEST(Widgets, BubbleShowsAfterAPauseAndHidesOnLeave) {
    Probe probe;
    ASSERT_NE(probe.window, 0u);
    Display *display = probe.display();
    const Geometry g = windowGeometry(display, probe.window);
    auto tipShown = [&] {
        Screenshot shot = capture(display, DefaultRootWindow(display), 0, 0, 420, 200);
        for (uint32_t p : shot.pixels)
            if (p == 0xffffe0) return true;   // LightYellow
        return false;
    };
    movePointer(display, g.x + 300, g.y + 45);
    movePointer(display, g.x + 20, g.y + 80);   // over the button
    EXPECT_TRUE(waitUntil(tipShown, 3000));
    movePointer(display, g.x + 300, g.y + 20);
    EXPECT_TRUE(waitUntil([&] { return !tipShown(); }, 3000));
}

TEST(Widgets, PublicFunctionsCheckTheClass) {
    Probe probe({"misuse"});
    ASSERT_NE(probe.window, 0u);
    const std::string errors = probe.app.errors();
    int warnings = 0;
    const std::regex line(R"(Warning: My[A-Za-z]+: widget has invalid class\n)");
    for (auto it = std::sregex_iterator(errors.begin(), errors.end(), line); it != std::sregex_iterator(); ++it)
        ++warnings;
    EXPECT_EQ(warnings, 18) << errors;
    EXPECT_NE(errors.find("Warning: MyComboBoxGetText: widget has invalid class\n"), std::string::npos);
}
