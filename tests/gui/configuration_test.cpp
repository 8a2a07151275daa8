// The configuration named with -ini is read at start-up and written back,
// every key in order, when the last window closes.
#include <gtest/gtest.h>

#include <sstream>

#include "harness.h"
#include "test_files.h"

using namespace guitest;
using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

std::string replaced(std::string text, const std::string &from, const std::string &to) {
    return text.replace(text.find(from), from.size(), to);
}

}  // namespace

TEST(ConfigurationGui, ClosingTheInitialWindowWritesTheFileBack) {
    TempDir dir;
    const std::string rc = dir.file("my.rc");
    writeFile(rc, "# settings of an earlier run\nView.Fit = 3\nPathLoad = /pictures\nView.Fit = 0\n"
                  "Start.ToolbarViewConfig = 0\nHtml.TableRows = 9\nFileTypes.jpeg = False\n");
    XServer server;
    App app(server, {"-ini", rc}, {"HOME=" + dir.path()});
    const Window window = waitForWindow(server.display(), "TolvaInit");
    ASSERT_NE(window, 0u) << app.output() << app.errors();
    closeWindow(server.display(), window);
    ASSERT_EQ(app.wait(), 0) << app.errors();

    std::string expected = readFile(testsupport::dataPath("configuration/default.quivelrc"));
    expected = replaced(expected, "View.Fit = 1\n", "View.Fit = 3\n");
    expected = replaced(expected, "PathLoad = \n", "PathLoad = /pictures\n");
    // The format lines come last, one per format of the library; with a jpeg
    // line of False in the file, every format not listed is off.
    std::istringstream written(readFile(rc));
    std::string settings, line;
    bool inFormats = false;
    while (std::getline(written, line)) {
        if (line.rfind("FileTypes.", 0) == 0) {
            inFormats = true;
            EXPECT_EQ(line.substr(line.size() - 8), " = False") << line;
        } else {
            EXPECT_FALSE(inFormats) << line << ": after the format lines";
            settings += line + "\n";
        }
    }
    EXPECT_EQ(settings, expected);
}

TEST(ConfigurationGui, AFileThatCannotBeWrittenIsReportedAndTheProgramStillEnds) {
    TempDir dir;
    const std::string rc = dir.file("missing/my.rc");
    XServer server;
    App app(server, {"-ini", rc}, {"HOME=" + dir.path()});
    const Window window = waitForWindow(server.display(), "TolvaInit");
    ASSERT_NE(window, 0u) << app.output() << app.errors();
    focusWindow(server.display(), window);
    pressKey(server.display(), "q", {"Control_L"});   // File > Exit
    ASSERT_EQ(app.wait(), 0) << app.errors();
    EXPECT_NE(app.errors().find("Error in creating <" + rc + ">\n"), std::string::npos) << app.errors();
}
