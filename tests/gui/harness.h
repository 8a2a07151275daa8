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

}  // namespace guitest
