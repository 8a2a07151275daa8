// Start-up on real X servers: the help text, the visual and colours chosen
// at each depth, the initial window, the About box, signals and the way out.
#include <gtest/gtest.h>
#include <X11/Xutil.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <regex>

#include "harness.h"
#include "test_files.h"

using namespace guitest;

namespace {

constexpr int kPseudoColor = 3;

int countLines(const std::string &text, const std::string &prefix) {
    int n = 0;
    size_t at = 0;
    while ((at = text.find(prefix, at)) != std::string::npos) {
        ++n;
        at += prefix.size();
    }
    return n;
}

}  // namespace

TEST(Startup, HelpPrintsBannerUsageAndTheServersVisuals) {
    XServer server({.depth = 24});
    App app(server, {"-help", "ignored.jpg"});
    ASSERT_EQ(app.wait(), 0);
    const std::string out = app.output();
    const std::regex banner(R"(^\*\* Quivel v1\.50 \([A-Z][a-z][a-z] [ 0-9]\d \d{4} \d\d:\d\d:\d\d\)
        Version for Linux x86/Motif \(All rights reserved\)
\*\* This is a freeware software

Usage : \S+/quivel \[options\] file \.\.\.
        Options :
          -visualid <id> : Use this visual number
              Visual available : 
)");
    EXPECT_TRUE(std::regex_search(out, banner)) << out;
    // One line per visual of the screen, then the rest of the usage.
    XVisualInfo wanted{};
    int count = 0;
    XFree(XGetVisualInfo(server.display(), VisualNoMask, &wanted, &count));
    EXPECT_EQ(countLines(out, "                0x"), count);
    EXPECT_NE(out.find(" : TrueColor       /  24 planes\n"), std::string::npos);
    const std::string tail =
        "          -own           : Use own colormap (8 bits only)\n"
        "          -nores         : No default ressources\n"
        "          -popup         : Use popup menu\n"
        "          -browser       : Launch the browser\n"
        "          -slide <file>  : Launch slide show\n"
        "          -all           : Open a window for each picture\n"
        "          -full          : Full screen\n"
        "          -v/-verbose    : Verbose\n"
        "          -ini <file>    : Ini file\n"
        "          -fi            : Force \"Fit to Image\"\n";
    EXPECT_TRUE(out.size() >= tail.size() && out.compare(out.size() - tail.size(), tail.size(), tail) == 0) << out;
}

TEST(Startup, HelpAfterAnOptionIsAFileName) {
    XServer server({.depth = 24});
    App app(server, {"-v", "-help"});
    Window window = waitForWindow(server.display(), "Quivel v1.50");
    ASSERT_NE(window, 0u) << app.errors();
    EXPECT_EQ(app.output().find("Usage :"), std::string::npos);
    EXPECT_NE(app.output().find("Type "), std::string::npos);
    // The main window records the command line as it was given, once it is up.
    char **argv = nullptr;
    int argc = 0;
    ASSERT_TRUE(waitUntil([&] { return XGetCommand(server.display(), window, &argv, &argc) != 0; }));
    ASSERT_EQ(argc, 3);
    EXPECT_EQ(std::string(argv[0]), testsupport::programPath("quivel"));
    EXPECT_EQ(std::string(argv[2]), "-help");
    XFreeStringList(argv);
}

TEST(Startup, EightBitPseudoColorGetsTheLargestCubeThatFits) {
    XServer server({.depth = 8, .visualClass = kPseudoColor});
    App app(server, {"-v"});
    Window window = waitForWindow(server.display(), "Quivel v1.50");
    ASSERT_NE(window, 0u) << app.errors();
    EXPECT_EQ(windowInstance(server.display(), window), "TolvaInit");
    EXPECT_TRUE(std::regex_search(app.errors(), std::regex(R"(Use PseudoColor visual \(0x[0-9a-f]+\) with 8 bits\.\.\.)")))
        << app.errors();
    // Stock Xvfb keeps some cells of its default colormap, so 8x8x4 and
    // 6x6x6 fail and 4x8x4 is the largest cube left.
    EXPECT_TRUE(app.waitForOutput("Use 4x8x4 colormap \n")) << app.output();
    EXPECT_EQ(app.output().find("Use 8x8x4"), std::string::npos);
}

TEST(Startup, TrueColorDepthsPreferTheDeepestTrueColorVisual) {
    for (int depth : {16, 24}) {
        XServer server({.depth = depth});
        App app(server, {"-v"});
        ASSERT_NE(waitForWindow(server.display(), "Quivel v1.50"), 0u) << depth << app.errors();
        // Stock Xvfb also offers 32-bit TrueColor visuals, which the rule prefers.
        EXPECT_TRUE(std::regex_search(app.errors(), std::regex(R"(Use TrueColor visual \(0x[0-9a-f]+\) with 32 bits)")))
            << depth << ": " << app.errors();
        EXPECT_EQ(app.output().find("colormap"), std::string::npos);
    }
}

TEST(Startup, VisualIdZeroTakesTheDefaultVisual) {
    XServer server({.depth = 24});
    App app(server, {"-v", "-visualid", "0"});
    ASSERT_NE(waitForWindow(server.display(), "Quivel v1.50"), 0u);
    EXPECT_TRUE(std::regex_search(app.errors(), std::regex(R"(Use TrueColor visual \(0x[0-9a-f]+\) with 24 bits)")))
        << app.errors();
}

TEST(Startup, ClosingTheInitialWindowEndsTheProgram) {
    for (bool windowManager : {false, true}) {
        XServer server({.depth = 16, .windowManager = windowManager});
        App app(server, {});
        Window window = waitForWindow(server.display(), "Quivel v1.50");
        ASSERT_NE(window, 0u);
        closeWindow(server.display(), window);
        EXPECT_EQ(app.wait(), 0) << "with a window manager: " << windowManager;
    }
}

TEST(Startup, ExitItemEndsTheProgram) {
    XServer server({.depth = 24});
    App app(server, {});
    Window window = waitForWindow(server.display(), "Quivel v1.50");
    ASSERT_NE(window, 0u);
    focusWindow(server.display(), window);
    pressKey(server.display(), "q", {"Control_L"});
    EXPECT_EQ(app.wait(), 0);
}

TEST(Startup, ThreeInterruptsEndWithStatusOne) {
    XServer server({.depth = 24});
    App app(server, {});
    ASSERT_NE(waitForWindow(server.display(), "Quivel v1.50"), 0u);
    app.sendSignal(SIGINT);
    ASSERT_TRUE(app.waitForOutput("Hit 2 Ctrl+C"));
    app.sendSignal(SIGINT);
    ASSERT_TRUE(app.waitForOutput("Hit 1 Ctrl+C"));
    EXPECT_TRUE(app.running());
    app.sendSignal(SIGINT);
    EXPECT_EQ(app.wait(), 1);
    const std::string out = app.output();
    EXPECT_EQ(countLines(out, "****** Interrupt detected ******\n"), 3);
    EXPECT_NE(out.find("****** Hit 2 Ctrl+C for exiting without saving ******\n"), std::string::npos);
    EXPECT_NE(out.find("****** Hit 1 Ctrl+C for exiting without saving ******\n"), std::string::npos);
}

TEST(Startup, FaultsAndAlarmsPrintAndExitWithZero) {
    XServer server({.depth = 24});
    for (auto [signal, text] : {std::pair{SIGSEGV, "****** Error detected ******\n"},
                                std::pair{SIGFPE, "****** Error detected ******\n"},
                                std::pair{SIGALRM, "****** Alarm signal ******\n"}}) {
        App app(server, {});
        ASSERT_NE(waitForWindow(server.display(), "Quivel v1.50"), 0u);
        app.sendSignal(signal);
        EXPECT_EQ(app.wait(), 0) << signal;
        EXPECT_NE(app.output().find(text), std::string::npos) << app.output();
        waitUntil([&] { return !windowExists(server.display(), "Quivel v1.50"); }, 5000);
    }
}

TEST(Startup, AboutBoxLinksStartTheWebBrowserSafely) {
    XServer server({.depth = 24});
    testsupport::TempDir dir;
    // A browser program whose path holds a blank and a quote; it records its arguments.
    const std::string browser = dir.file("web browser's");
    const std::string record = dir.file("arguments");
    testsupport::writeFile(browser, "#!/bin/sh\nfor a in \"$@\"; do echo \"[$a]\"; done >> '" + record + "'\n");
    chmod(browser.c_str(), 0755);
    App app(server, {}, {"WEBBROWSER=" + browser});
    Display *display = server.display();
    Window init = waitForWindow(display, "Quivel v1.50");
    ASSERT_NE(init, 0u);

    // The menu bar by keyboard: F10 enters it at File, Right moves to Help,
    // Down opens it on About, Return picks it.
    focusWindow(display, init);
    for (const char *key : {"F10", "Right", "Down", "Return"}) pressKey(display, key);
    Window about = waitForWindow(display, "About Quivel");
    ASSERT_NE(about, 0u);
    EXPECT_EQ(windowInstance(display, about), "TolvaAbout");
    const Geometry g = windowGeometry(display, about);
    EXPECT_EQ(g.width, 420);
    EXPECT_EQ(g.height, 316);

    // The two links are the only blue text: find their rows and click each.
    Screenshot shot;
    std::vector<int> blueRows;
    waitUntil([&] {
        shot = capture(display, about);
        blueRows.clear();
        for (int y = 0; y < shot.height; ++y)
            for (int x = 0; x < shot.width; ++x)
                if (shot.at(x, y) == 0x0000ff) {
                    blueRows.push_back(y);
                    break;
                }
        return !blueRows.empty();
    });
    ASSERT_FALSE(blueRows.empty());
    auto gap = std::adjacent_find(blueRows.begin(), blueRows.end(), [](int a, int b) { return b - a > 2; });
    ASSERT_NE(gap, blueRows.end()) << "two separate lines of blue text";
    const int emailRow = blueRows.front(), urlRow = *(gap + 1);
    click(display, g.x + g.width / 2, g.y + emailRow + 2);
    click(display, g.x + g.width / 2, g.y + urlRow + 2);
    ASSERT_TRUE(waitUntil([&] { return testsupport::readFile(record).find("http") != std::string::npos; }));
    waitUntil([&] { return testsupport::readFile(record).find("mailto") != std::string::npos; });
    const std::string args = testsupport::readFile(record);
    EXPECT_TRUE(std::regex_search(args, std::regex(R"(\[-remote\]\n\[mailto\([^)\s]+@[^)\s]+\)\])"))) << args;
    EXPECT_TRUE(std::regex_search(args, std::regex(R"(\[http://[^\]\s]+\])"))) << args;
}

TEST(Startup, FallbackResourcesGiveTheLookUnlessNoRes) {
    XServer server({.depth = 24});
    uint32_t colour[2];
    for (bool noRes : {false, true}) {
        App app(server, noRes ? std::vector<std::string>{"-nores"} : std::vector<std::string>{});
        Window window = waitForWindow(server.display(), "Quivel v1.50");
        ASSERT_NE(window, 0u);
        // The menu bar's background, between its two buttons.
        waitUntil([&] { return capture(server.display(), window).at(100, 12) != 0; }, 2000);
        colour[noRes] = capture(server.display(), window).at(100, 12);
        if (!noRes) {
            EXPECT_EQ(app.errors().find("Warning"), std::string::npos) << "every font and colour exists:\n"
                                                                       << app.errors();
        }
    }
    EXPECT_EQ(colour[0], 0xd9d9d9u);
    EXPECT_NE(colour[1], 0xd9d9d9u);
}

TEST(Startup, OwnColormapHoldsTheFullCube) {
    // A private colormap has every cell free, so the 8x8x4 cube is stored whole.
    XServer server({.depth = 8, .visualClass = kPseudoColor});
    App app(server, {"-v", "-own"});
    ASSERT_NE(waitForWindow(server.display(), "Quivel v1.50"), 0u) << app.errors();
    EXPECT_TRUE(app.waitForOutput("Use 8x8x4 colormap \n")) << app.output();
}

TEST(Startup, DirectColorDefaultVisualGetsItsRamp) {
    constexpr int kDirectColor = 5;
    XServer server({.depth = 24, .visualClass = kDirectColor});
    App app(server, {"-v", "-visualid", "0"});
    ASSERT_NE(waitForWindow(server.display(), "Quivel v1.50"), 0u) << app.errors();
    EXPECT_NE(app.errors().find("Use DirectColor visual"), std::string::npos) << app.errors();
}
