// The options dialog as a user drives it: opened from the initial window's
// File menu by keyboard, one change on every page with the mouse and the
// keyboard, OK (or Cancel), then the configuration file written at exit.
//
// The program started with -v reports where the dialog's widgets are each
// time a page is shown; the test clicks there.
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <thread>

#include "app/save_formats.h"
#include "harness.h"
#include "test_files.h"

using namespace guitest;
using testsupport::readFile;
using testsupport::TempDir;

namespace {

void pause(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

class OptionsDialog {
public:
    OptionsDialog(const XServer &server, App &app) : display_(server.display()), app_(app) {}

    // File > Options... by keyboard: F10 enters the menu bar at File, Down
    // opens it on "Open...", two more Downs reach "Options...".
    bool open() {
        const size_t mark = app_.errors().size();
        const Window init = waitForWindow(display_, "TolvaInit");
        if (init == 0) return false;
        focusWindow(display_, init);
        for (const char *key : {"F10", "Down", "Down", "Down", "Return"}) pressKey(display_, key);
        window_ = waitForWindow(display_, "TolvaOption");
        return window_ != 0 && waitForReport(mark, "PMisc shown");
    }

    void showPage(const std::string &page) {
        if (page == current_) return;
        const size_t mark = app_.errors().size();
        clickOn("dialog", page);
        if (!waitForReport(mark, page + " shown")) throw std::runtime_error(page + " not shown");
        current_ = page;
    }

    void toggle(const std::string &name) { clickOn(current_, name); }

    void type(const std::string &name, const std::string &text) {
        clickOn(current_, name);
        pressKey(display_, "End");
        pressKey(display_, "Home", {"Shift_L"});   // typing replaces the selection
        typeText(display_, text);
    }

    // Opens the option menu and picks the item after the current one.
    void nextChoice(const std::string &name) {
        clickOn(current_, name);
        pause(200);
        pressKey(display_, "Down");
        pressKey(display_, "Return");
        pause(100);
    }

    // The first entry of a list, such as the file types.
    void clickFirstListEntry(const std::string &name) {
        const Geometry at = place(current_, name);
        click(display_, at.x + 30, at.y + 10);
    }

    bool press(const std::string &button) {
        clickOn("dialog", button);
        return waitUntil([&] { return !windowExists(display_, "TolvaOption"); });
    }

    // The last reported place of a widget, on the root window.
    Geometry place(const std::string &group, const std::string &name) {
        const std::string errors = app_.errors();
        const std::string prefix = "TolvaOption " + group + " " + name + " ";
        const size_t at = errors.rfind(prefix);
        if (at == std::string::npos) throw std::runtime_error("no report of " + group + " " + name);
        std::istringstream line(errors.substr(at + prefix.size()));
        Geometry g{};
        line >> g.x >> g.y >> g.width >> g.height;
        const Geometry dialog = windowGeometry(display_, window_);
        return {dialog.x + g.x, dialog.y + g.y, g.width, g.height};
    }

private:
    void clickOn(const std::string &group, const std::string &name) {
        const Geometry at = place(group, name);
        click(display_, at.x + at.width / 2, at.y + at.height / 2);
    }

    bool waitForReport(size_t mark, const std::string &what) {
        return waitUntil([&] { return app_.errors().find("TolvaOption " + what, mark) != std::string::npos; });
    }

    Display *display_;
    App &app_;
    Window window_ = 0;
    std::string current_ = "PMisc";
};

std::string withChanges(std::string text, const std::map<std::string, std::string> &changes) {
    for (const auto &[key, value] : changes) {
        const size_t at = text.find("\n" + key + " = ");
        if (at == std::string::npos) throw std::runtime_error("no line for " + key);
        const size_t end = text.find('\n', at + 1);
        text.replace(at + 1, end - at - 1, key + " = " + value);
    }
    return text;
}

// The written file without its FileTypes lines, which come last.
std::string settingsPart(const std::string &written, std::vector<std::string> &fileTypeLines) {
    std::istringstream lines(written);
    std::string settings, line;
    while (std::getline(lines, line)) {
        if (line.rfind("FileTypes.", 0) == 0)
            fileTypeLines.push_back(line);
        else
            settings += line + "\n";
    }
    return settings;
}

int windowsNamed(Display *display, const std::string &instance) {
    int count = 0;
    for (Window w : mappedWindows(display)) count += windowInstance(display, w) == instance;
    return count;
}

// The default format's menu lists the save formats in their order; the test
// picks the one after the preselected JPEG.
std::string formatAfterJpeg() {
    const std::vector<quivel::SaveFormat> formats = quivel::saveFormats();
    const size_t jpeg = size_t(quivel::initialFormatPosition(formats, -1, "jpeg"));
    return jpeg + 1 < formats.size() ? formats[jpeg + 1].name : "jpeg";
}

}  // namespace

TEST(OptionsDialogGui, AChangeOnEveryPageReachesTheFileWrittenAtExit) {
    TempDir dir;
    const std::string rc = dir.file("my.rc");
    XServer server({.windowManager = true});
    App app(server, {"-v", "-ini", rc}, {"HOME=" + dir.path()});
    OptionsDialog dialog(server, app);
    ASSERT_TRUE(dialog.open()) << app.errors();

    dialog.toggle("OpenAll");
    dialog.showPage("PView");
    dialog.toggle("UseGamma");
    dialog.type("Gamma", "0");   // raised to the smallest gamma
    dialog.showPage("PBrowser");
    dialog.toggle("ItemsPictures");
    dialog.showPage("PFileList");
    dialog.nextChoice("FileListSort");
    dialog.toggle("FileListReverse");
    dialog.showPage("PSlideShow");
    dialog.toggle("NoTitle");
    dialog.showPage("PCache");
    dialog.nextChoice("Compression");
    dialog.showPage("PFileTypes");
    dialog.clickFirstListEntry("scrolledList");
    dialog.showPage("PWrite");
    dialog.nextChoice("DefaultFormat");
    const struct {
        const char *page, *control, *text;   // text: a field's new text; "+": the next menu item; "": a toggle
    } steps[] = {
        {"PWgif", "GifInterlaced", ""},      {"PWjpg", "JpegQuality", "85"},   {"PWtif", "TiffCompress", "+"},
        {"PWpng", "PngCompressionLevel", "6"}, {"PWbmp", "Os2Header", ""},     {"PWiff", "IffCompress", ""},
        {"PWpcx", "PcxCompress", ""},        {"PWtga", "TgaCompress", ""},     {"PWsoft", "SoftCompress", ""},
        {"PWsgi", "RgbCompress", ""},        {"PWppm", "PpmAscii", ""},        {"PWdpx", "Lut8to10Name", "/luts/log.lut"},
        {"PWhp", "Hp49Header", ""},          {"PWraw", "ChannelType", "+"},    {"PRead", "IgnoreError", ""},
        {"PRpcd", "PcdBase", "+"},           {"PRdpx", "UseLut", ""},          {"PReps", "PostscriptDpi", "300"},
        {"PRhp", "GrobBpp", "+"},            {"PRraw", "RawWidth", "640"},     {"PRyuv", "YuvOffset", "16"},
    };
    for (const auto &step : steps) {
        dialog.showPage(step.page);
        if (std::string(step.text) == "+")
            dialog.nextChoice(step.control);
        else if (*step.text)
            dialog.type(step.control, step.text);
        else
            dialog.toggle(step.control);
    }
    ASSERT_TRUE(dialog.press("buttonOk"));

    const Window init = waitForWindow(server.display(), "TolvaInit");
    focusWindow(server.display(), init);
    pressKey(server.display(), "q", {"Control_L"});   // File > Exit
    ASSERT_EQ(app.wait(), 0) << app.errors();

    const std::string expected = withChanges(
        readFile(testsupport::dataPath("configuration/default.quivelrc")),
        {{"Start.OpenAll", "True"},          {"View.UseGamma", "True"},
         {"View.Gamma", "0.01"},             {"Browser.ItemsThumbnailMode", "65531"},
         {"View.FileListSort", "129"},       {"Slide.NoTitle", "True"},
         {"Cache.Compression", "2"},         {"Save.DefaultFormat", formatAfterJpeg()},
         {"Save.GifInterlaced", "True"},     {"Save.JpegQuality", "85"},
         {"Save.TiffCompress", "1"},         {"Save.PngCompressionLevel", "6"},
         {"Save.Os2Header", "True"},         {"Save.IffCompress", "True"},
         {"Save.PcxCompress", "True"},       {"Save.TgaCompress", "True"},
         {"Save.SoftCompress", "False"},     {"Save.RgbCompress", "False"},
         {"Save.PpmAscii", "True"},          {"Save.Lut8to10Name", "/luts/log.lut"},
         {"Save.Hp49Header", "True"},        {"Save.ChannelType", "2"},
         {"Load.IgnoreError", "True"},       {"Load.PcdBase", "1"},
         {"Load.UseLut", "True"},            {"Load.PostscriptDpi", "300"},
         {"Load.GrobBpp", "1"},              {"Load.RawWidth", "640"},
         {"Load.YuvOffset", "16"}});
    std::vector<std::string> fileTypes;
    EXPECT_EQ(settingsPart(readFile(rc), fileTypes), expected);
    // The first format was clicked off; the others stay on.
    for (size_t i = 0; i < fileTypes.size(); ++i)
        EXPECT_EQ(fileTypes[i].substr(fileTypes[i].rfind(' ') + 1), i == 0 ? "False" : "True") << fileTypes[i];
}

TEST(OptionsDialogGui, CancelDiscardsAndOpeningAgainRaisesTheSameDialog) {
    TempDir dir;
    const std::string rc = dir.file("my.rc");
    XServer server({.windowManager = true});
    App app(server, {"-v", "-ini", rc}, {"HOME=" + dir.path()});
    OptionsDialog dialog(server, app);
    ASSERT_TRUE(dialog.open()) << app.errors();
    dialog.toggle("LaunchBrowserAtStartup");
    dialog.showPage("PView");
    dialog.type("Gamma", "2.5");
    dialog.nextChoice("Fit");

    // Options... again while it is open raises the one dialog.
    const Window init = waitForWindow(server.display(), "TolvaInit");
    focusWindow(server.display(), init);
    for (const char *key : {"F10", "Down", "Down", "Down", "Return"}) pressKey(server.display(), key);
    pause(300);
    EXPECT_EQ(windowsNamed(server.display(), "TolvaOption"), 1);
    ASSERT_TRUE(dialog.press("buttonCancel"));

    focusWindow(server.display(), init);
    pressKey(server.display(), "q", {"Control_L"});
    ASSERT_EQ(app.wait(), 0) << app.errors();
    std::vector<std::string> fileTypes;
    EXPECT_EQ(settingsPart(readFile(rc), fileTypes),
              readFile(testsupport::dataPath("configuration/default.quivelrc")));
}
