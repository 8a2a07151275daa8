// Menus by keyboard: Alt and a menu's underlined letter posts that menu, in
// the initial window and in a view, with and without a window manager.
// The first item of a menu posted from the keyboard has the focus, so
// Return then runs it: File's first item is "Open...".
#include <gtest/gtest.h>

#include <signal.h>

#include "harness.h"
#include "test_files.h"

using namespace guitest;
using testsupport::TempDir;

namespace {

// Alt+F, Return: the file selector of File > Open... comes up over `window`.
bool altFOpensTheSelector(Display *d, Window window) {
    focusWindow(d, window);
    pressKey(d, "f", {"Alt_L"});
    pressKey(d, "Return");
    const Window selector = waitForWindow(d, "Load Files...", 5000);
    if (selector == 0) return false;
    focusWindow(d, selector);
    pressKey(d, "Escape");
    return waitUntil([&] { return !windowExists(d, "Load Files..."); });
}

}  // namespace

TEST(MenuKeysGui, AltAndAMenusLetterPostsThatMenu) {
    for (bool windowManager : {false, true}) {
        SCOPED_TRACE(windowManager ? "with a window manager" : "without a window manager");
        const Session session;
        TempDir files;
        const std::string picture = files.file("grey.pgm");
        testsupport::writeFile(picture, "P5\n8 6\n255\n" + std::string(48, '\x80'));
        XServer server({.width = 800, .height = 600, .windowManager = windowManager});
        Display *d = server.display();

        App first(server, session.args({}), session.environment());
        const Window init = waitForWindow(d, "TolvaInit");
        ASSERT_NE(init, 0u) << first.errors();
        EXPECT_TRUE(altFOpensTheSelector(d, init)) << "the initial window";
        // Alt+H, Return: Help's only item, the About box.
        focusWindow(d, init);
        pressKey(d, "h", {"Alt_L"});
        pressKey(d, "Return");
        EXPECT_NE(waitForWindow(d, "TolvaAbout", 5000), 0u) << first.errors();
        first.sendSignal(SIGKILL);
        first.wait();

        App second(server, session.args({picture}), session.environment());
        const Window view = waitForWindow(d, "TolvaView");
        ASSERT_NE(view, 0u) << second.errors();
        ASSERT_TRUE(waitForStatus(second, "grey.pgm|")) << second.errors();
        EXPECT_TRUE(altFOpensTheSelector(d, view)) << "a view";
        EXPECT_TRUE(second.running()) << "Escape left the selector, not the view";
    }
}
