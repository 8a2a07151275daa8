// The GUI test harness: a private Xvfb per test, the program started on it,
// real key and mouse events through XTest, and what the screen shows.
//
// Everything started here is stopped by the destructors, and every child is
// also told by the kernel to die with the test process (PR_SET_PDEATHSIG), so
// no Xvfb or quivel outlives a failed or crashed test.
#pragma once

#include <X11/Xlib.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "test_files.h"

namespace guitest {

struct ServerOptions {
    int depth = 24;
    int visualClass = -1;   // default visual class (X class number), -1 leaves Xvfb's default
    int width = 1280, height = 1024;
    bool windowManager = false;   // run mwm on the server, as a desktop would
};

class XServer {
public:
    explicit XServer(const ServerOptions &options = {});
    ~XServer();
    XServer(const XServer &) = delete;
    XServer &operator=(const XServer &) = delete;

    const std::string &name() const { return name_; }   // ":12"
    Display *display() const { return display_; }        // the harness's own connection
    std::string environment() const { return "DISPLAY=" + name_; }

private:
    void startWindowManager();
    pid_t pid_ = -1;
    pid_t windowManager_ = -1;
    std::string name_;
    Display *display_ = nullptr;
};

// build/quivel (or another program) running on a server, with its standard
// output and error captured.
class App {
public:
    App(const XServer &server, const std::vector<std::string> &args, const std::vector<std::string> &environment = {},
        const std::string &program = "quivel");
    ~App();
    App(const App &) = delete;
    App &operator=(const App &) = delete;

    pid_t pid() const { return pid_; }
    std::string output() const;      // standard output so far
    std::string errors() const;      // standard error so far
    bool running();
    // Waits for the process to end; returns its exit status, or -1 (with
    // `signal()` set) when a signal ended it, or -2 on time-out.
    int wait(int timeoutMs = 10000);
    int endSignal() const { return endSignal_; }
    void sendSignal(int signal);
    // Waits until standard output (or error) contains `text`.
    bool waitForOutput(const std::string &text, int timeoutMs = 10000);
    bool waitForErrors(const std::string &text, int timeoutMs = 10000);

private:
    pid_t pid_ = -1;
    bool ended_ = false;
    int status_ = 0;
    int endSignal_ = 0;
    std::string outPath_, errPath_, folder_;
};

// Windows.
std::string windowTitle(Display *display, Window window);      // WM_NAME
std::string windowInstance(Display *display, Window window);   // WM_CLASS instance name, e.g. "TolvaInit"
std::vector<Window> allWindows(Display *display);
std::vector<Window> mappedWindows(Display *display);   // the viewable ones
// Waits for a mapped window whose title or instance name equals `name`; 0 on time-out.
Window waitForWindow(Display *display, const std::string &name, int timeoutMs = 10000);
bool waitUntil(const std::function<bool()> &condition, int timeoutMs = 10000);
bool windowExists(Display *display, const std::string &name);
struct Geometry {
    int x, y, width, height;   // x, y on the root window
};
Geometry windowGeometry(Display *display, Window window);
// Asks the window to close as a window manager would (WM_DELETE_WINDOW).
void closeWindow(Display *display, Window window);

// Input, through XTest: real events as the server sees a keyboard and a mouse.
void focusWindow(Display *display, Window window);
void pressKey(Display *display, const std::string &keysym, const std::vector<std::string> &modifiers = {});
void typeText(Display *display, const std::string &text);
void movePointer(Display *display, int x, int y);
void click(Display *display, int x, int y, int button = 1);
void drag(Display *display, int x0, int y0, int x1, int y1, int button = 1);

// Screenshots, as 0xRRGGBB per pixel whatever the server's depth.
struct Screenshot {
    int width = 0, height = 0;
    std::vector<uint32_t> pixels;
    uint32_t at(int x, int y) const { return pixels[size_t(y) * size_t(width) + size_t(x)]; }
    bool savePpm(const std::string &path) const;
};
Screenshot capture(Display *display, Window window);
Screenshot capture(Display *display, Window window, int x, int y, int width, int height);

struct Rgb {
    uint8_t r, g, b;
};
constexpr Rgb kRed{255, 0, 0}, kGreen{0, 255, 0}, kBlue{0, 0, 255}, kMagenta{255, 0, 255};
// Whether a 0xRRGGBB pixel is within `tolerance` of a colour in each channel.
bool near(uint32_t pixel, Rgb c, int tolerance);

// What the program tells with -v on standard error: each status bar it shows
// as "status: a|b|c", each message box's text as "message: ...".
std::string lastStatus(const App &app);   // "" before the first
bool waitForStatus(const App &app, const std::string &part, int timeoutMs = 10000);
bool noMessages(const App &app);

// The settings file of a test and the home folder it lies in, and the
// program's arguments and environment for them. A step delay preloads the
// slow library, which makes each progress step of a load or save wait so
// long, so that a test can act while one runs.
struct Session {
    testsupport::TempDir home;
    std::string rc;
    explicit Session(const std::string &settings = "View.Fit = 1\n");
    std::vector<std::string> args(const std::vector<std::string> &files) const;   // -v -ini <rc> files
    std::vector<std::string> environment(int stepDelayMs = 0) const;
};

// The image views on the screen.
std::vector<Window> views(Display *display);
// The viewable window below `top` of exactly that size (a view's picture).
Window childOfSize(Display *display, Window top, int width, int height);
// Waits until the progress dialog has drawn its bar, so that it takes events.
void waitUntilDrawn(Display *display, Window dialog);

}  // namespace guitest
