#include "harness.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "test_files.h"

extern char **environ;

namespace guitest {

namespace {

using Clock = std::chrono::steady_clock;

void sleepMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

// The child dies with the test process, whatever ends it.
void dieWithParent(pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
}

std::vector<char *> cStrings(std::vector<std::string> &strings) {
    std::vector<char *> out;
    for (std::string &s : strings) out.push_back(s.data());
    out.push_back(nullptr);
    return out;
}

int ignoreErrors(Display *, XErrorEvent *) { return 0; }

}  // namespace

XServer::XServer(const ServerOptions &options) {
    int fds[2];
    if (pipe(fds) != 0) throw std::runtime_error("pipe");
    std::vector<std::string> args = {"/usr/bin/Xvfb", "-displayfd", std::to_string(fds[1]), "-screen", "0",
                                     std::to_string(options.width) + "x" + std::to_string(options.height) + "x" +
                                         std::to_string(options.depth),
                                     "-nolisten", "tcp", "-noreset"};
    if (options.visualClass >= 0) {
        args.push_back("-cc");
        args.push_back(std::to_string(options.visualClass));
    }
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) {
        dieWithParent(parent);
        close(fds[0]);
        int devnull = open("/dev/null", O_RDWR);
        dup2(devnull, 0);
        dup2(devnull, 1);
        dup2(devnull, 2);
        setpgid(0, 0);
        std::vector<char *> argv = cStrings(args);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(fds[1]);
    std::string number;
    char c;
    while (read(fds[0], &c, 1) == 1 && c != '\n') number += c;
    close(fds[0]);
    if (number.empty()) throw std::runtime_error("Xvfb did not start");
    name_ = ":" + number;
    for (int i = 0; i < 200 && display_ == nullptr; ++i) {
        display_ = XOpenDisplay(name_.c_str());
        if (display_ == nullptr) sleepMs(25);
    }
    if (display_ == nullptr) throw std::runtime_error("cannot connect to " + name_);
    XSetErrorHandler(ignoreErrors);
    if (options.windowManager) startWindowManager();
}

void XServer::startWindowManager() {
    const pid_t parent = getpid();
    windowManager_ = fork();
    if (windowManager_ == 0) {
        dieWithParent(parent);
        int devnull = open("/dev/null", O_RDWR);
        dup2(devnull, 0);
        dup2(devnull, 1);
        dup2(devnull, 2);
        setpgid(0, 0);
        setenv("DISPLAY", name_.c_str(), 1);
        execl("/usr/bin/mwm", "mwm", static_cast<char *>(nullptr));
        _exit(127);
    }
    // The window manager is ready once it has announced itself on the root window.
    const Atom info = XInternAtom(display_, "_MOTIF_WM_INFO", False);
    waitUntil([&] {
        Atom type;
        int format;
        unsigned long count, after;
        unsigned char *data = nullptr;
        const bool found = XGetWindowProperty(display_, DefaultRootWindow(display_), info, 0, 2, False,
                                              AnyPropertyType, &type, &format, &count, &after, &data) == Success &&
                           type != None;
        if (data) XFree(data);
        return found;
    });
}

XServer::~XServer() {
    if (windowManager_ > 0) {
        kill(windowManager_, SIGKILL);
        waitpid(windowManager_, nullptr, 0);
    }
    if (display_) XCloseDisplay(display_);
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
        for (int i = 0; i < 100; ++i) {
            if (waitpid(pid_, nullptr, WNOHANG) == pid_) return;
            sleepMs(20);
        }
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

App::App(const XServer &server, const std::vector<std::string> &args, const std::vector<std::string> &environment,
         const std::string &program) {
    char folder[] = "/tmp/quivel-app-XXXXXX";
    if (mkdtemp(folder) == nullptr) throw std::runtime_error("mkdtemp");
    folder_ = folder;
    outPath_ = folder_ + "/stdout";
    errPath_ = folder_ + "/stderr";

    std::vector<std::string> argv = {program.find('/') == std::string::npos ? testsupport::programPath(program)
                                                                             : program};
    argv.insert(argv.end(), args.begin(), args.end());
    std::map<std::string, std::string> env;
    for (char **e = environ; *e; ++e) {
        std::string s = *e;
        env[s.substr(0, s.find('='))] = s;
    }
    env["DISPLAY"] = server.environment();
    for (const std::string &e : environment) {
        const std::string name = e.substr(0, e.find('='));
        if (e.find('=') == std::string::npos)
            env.erase(name);
        else
            env[name] = e;
    }
    std::vector<std::string> envStrings;
    for (auto &[name, value] : env) envStrings.push_back(value);

    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) {
        dieWithParent(parent);
        int in = open("/dev/null", O_RDONLY);
        int out = open(outPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int err = open(errPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        setpgid(0, 0);
        std::vector<char *> a = cStrings(argv), e = cStrings(envStrings);
        execve(a[0], a.data(), e.data());
        _exit(127);
    }
}

App::~App() {
    if (!ended_ && pid_ > 0) {
        kill(-pid_, SIGKILL);
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string App::output() const { return testsupport::readFile(outPath_); }
std::string App::errors() const { return testsupport::readFile(errPath_); }

bool App::running() {
    if (ended_) return false;
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) == pid_) {
        ended_ = true;
        status_ = status;
        return false;
    }
    return true;
}

int App::wait(int timeoutMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    while (running()) {
        if (Clock::now() > deadline) return -2;
        sleepMs(10);
    }
    if (WIFSIGNALED(status_)) {
        endSignal_ = WTERMSIG(status_);
        return -1;
    }
    return WEXITSTATUS(status_);
}

void App::sendSignal(int signal) { kill(pid_, signal); }

bool App::waitForOutput(const std::string &text, int timeoutMs) {
    return waitUntil([&] { return output().find(text) != std::string::npos; }, timeoutMs);
}

bool App::waitForErrors(const std::string &text, int timeoutMs) {
    return waitUntil([&] { return errors().find(text) != std::string::npos; }, timeoutMs);
}

bool waitUntil(const std::function<bool()> &condition, int timeoutMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition()) {
        if (Clock::now() > deadline) return false;
        sleepMs(20);
    }
    return true;
}

std::string windowTitle(Display *display, Window window) {
    XTextProperty property{};
    std::string title;
    if (XGetWMName(display, window, &property) && property.value) {
        title.assign(reinterpret_cast<char *>(property.value), property.nitems);
        XFree(property.value);
    }
    return title;
}

std::string windowInstance(Display *display, Window window) {
    XClassHint hint{};
    std::string name;
    if (XGetClassHint(display, window, &hint)) {
        if (hint.res_name) name = hint.res_name;
        XFree(hint.res_name);
        XFree(hint.res_class);
    }
    return name;
}

std::vector<Window> allWindows(Display *display) {
    std::vector<Window> found;
    std::vector<Window> pending = {DefaultRootWindow(display)};
    while (!pending.empty()) {
        Window w = pending.back();
        pending.pop_back();
        Window root, parent, *children = nullptr;
        unsigned count = 0;
        if (!XQueryTree(display, w, &root, &parent, &children, &count)) continue;
        for (unsigned i = 0; i < count; ++i) {
            found.push_back(children[i]);
            pending.push_back(children[i]);
        }
        if (children) XFree(children);
    }
    return found;
}

std::vector<Window> mappedWindows(Display *display) {
    std::vector<Window> mapped;
    for (Window w : allWindows(display)) {
        XWindowAttributes attributes;
        if (XGetWindowAttributes(display, w, &attributes) && attributes.map_state == IsViewable) mapped.push_back(w);
    }
    return mapped;
}

static Window findMapped(Display *display, const std::string &name) {
    for (Window w : allWindows(display)) {
        if (windowTitle(display, w) != name && windowInstance(display, w) != name) continue;
        XWindowAttributes attributes;
        if (XGetWindowAttributes(display, w, &attributes) && attributes.map_state == IsViewable) return w;
    }
    return 0;
}

Window waitForWindow(Display *display, const std::string &name, int timeoutMs) {
    Window found = 0;
    waitUntil([&] { return (found = findMapped(display, name)) != 0; }, timeoutMs);
    return found;
}

bool windowExists(Display *display, const std::string &name) { return findMapped(display, name) != 0; }

Geometry windowGeometry(Display *display, Window window) {
    XWindowAttributes attributes{};
    XGetWindowAttributes(display, window, &attributes);
    int x = 0, y = 0;
    Window child;
    XTranslateCoordinates(display, window, DefaultRootWindow(display), 0, 0, &x, &y, &child);
    return {x, y, attributes.width, attributes.height};
}

void closeWindow(Display *display, Window window) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = long(XInternAtom(display, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display, window, False, NoEventMask, &event);
    XFlush(display);
}

void focusWindow(Display *display, Window window) {
    const Geometry g = windowGeometry(display, window);
    movePointer(display, g.x + g.width / 2, g.y + g.height / 2);
    XSetInputFocus(display, window, RevertToPointerRoot, CurrentTime);
    XSync(display, False);
}

static KeyCode keycodeFor(Display *display, const std::string &keysym) {
    KeySym sym = XStringToKeysym(keysym.c_str());
    if (sym == NoSymbol) throw std::runtime_error("unknown keysym " + keysym);
    KeyCode code = XKeysymToKeycode(display, sym);
    if (code == 0) throw std::runtime_error("no key for " + keysym);
    return code;
}

void pressKey(Display *display, const std::string &keysym, const std::vector<std::string> &modifiers) {
    std::vector<KeyCode> held;
    for (const std::string &m : modifiers) held.push_back(keycodeFor(display, m));
    KeyCode code = keycodeFor(display, keysym);
    // A key whose symbol needs Shift on this keyboard map gets it.
    KeySym sym = XStringToKeysym(keysym.c_str());
    if (XkbKeycodeToKeysym(display, code, 0, 0) != sym && XkbKeycodeToKeysym(display, code, 0, 1) == sym)
        held.push_back(keycodeFor(display, "Shift_L"));
    for (KeyCode m : held) XTestFakeKeyEvent(display, m, True, CurrentTime);
    XTestFakeKeyEvent(display, code, True, CurrentTime);
    XTestFakeKeyEvent(display, code, False, CurrentTime);
    for (auto it = held.rbegin(); it != held.rend(); ++it) XTestFakeKeyEvent(display, *it, False, CurrentTime);
    XSync(display, False);
    // Keys come at a person's pace: menus post and grab between two keys.
    sleepMs(40);
}

void typeText(Display *display, const std::string &text) {
    static const std::map<char, std::string> names = {
        {' ', "space"}, {'.', "period"}, {'/', "slash"}, {'-', "minus"}, {'_', "underscore"}, {'\n', "Return"},
        {',', "comma"}, {':', "colon"}, {'=', "equal"}, {'~', "asciitilde"}, {'+', "plus"}};
    for (char c : text) {
        auto it = names.find(c);
        pressKey(display, it != names.end() ? it->second : std::string(1, c));
    }
}

void movePointer(Display *display, int x, int y) {
    XTestFakeMotionEvent(display, -1, x, y, CurrentTime);
    XSync(display, False);
}

void click(Display *display, int x, int y, int button) {
    movePointer(display, x, y);
    XTestFakeButtonEvent(display, unsigned(button), True, CurrentTime);
    XSync(display, False);
    // A button held for no time at all is not a click to Motif's option
    // menus: they post, but take no keys. A person holds it a little.
    sleepMs(30);
    XTestFakeButtonEvent(display, unsigned(button), False, CurrentTime);
    XSync(display, False);
}

void drag(Display *display, int x0, int y0, int x1, int y1, int button) {
    movePointer(display, x0, y0);
    XTestFakeButtonEvent(display, unsigned(button), True, CurrentTime);
    XSync(display, False);
    for (int step = 1; step <= 8; ++step) {
        movePointer(display, x0 + (x1 - x0) * step / 8, y0 + (y1 - y0) * step / 8);
        sleepMs(10);
    }
    XTestFakeButtonEvent(display, unsigned(button), False, CurrentTime);
    XSync(display, False);
}

Screenshot capture(Display *display, Window window) {
    XWindowAttributes attributes{};
    XGetWindowAttributes(display, window, &attributes);
    return capture(display, window, 0, 0, attributes.width, attributes.height);
}

Screenshot capture(Display *display, Window window, int x, int y, int width, int height) {
    Screenshot shot;
    XWindowAttributes attributes{};
    XGetWindowAttributes(display, window, &attributes);
    XImage *image = XGetImage(display, window, x, y, unsigned(width), unsigned(height), AllPlanes, ZPixmap);
    if (image == nullptr) return shot;
    shot.width = width;
    shot.height = height;
    shot.pixels.resize(size_t(width) * size_t(height));
    Visual *visual = attributes.visual;
    const bool mapped = visual->c_class == PseudoColor || visual->c_class == GrayScale ||
                        visual->c_class == StaticColor || visual->c_class == StaticGray;
    std::map<unsigned long, uint32_t> colors;
    auto channel = [](unsigned long pixel, unsigned long mask) -> uint32_t {
        if (mask == 0) return 0;
        int shift = 0;
        while (!((mask >> shift) & 1)) ++shift;
        const unsigned long max = mask >> shift;
        return uint32_t(((pixel & mask) >> shift) * 255 / max);
    };
    for (int row = 0; row < height; ++row)
        for (int col = 0; col < width; ++col) {
            const unsigned long pixel = XGetPixel(image, col, row);
            uint32_t rgb;
            if (mapped && image->depth <= 8) {
                auto it = colors.find(pixel);
                if (it == colors.end()) {
                    XColor color{};
                    color.pixel = pixel;
                    XQueryColor(display, attributes.colormap, &color);
                    it = colors.emplace(pixel, uint32_t(color.red >> 8) << 16 | uint32_t(color.green >> 8) << 8 |
                                                   uint32_t(color.blue >> 8))
                             .first;
                }
                rgb = it->second;
            } else {
                rgb = channel(pixel, visual->red_mask) << 16 | channel(pixel, visual->green_mask) << 8 |
                      channel(pixel, visual->blue_mask);
            }
            shot.pixels[size_t(row) * size_t(width) + size_t(col)] = rgb;
        }
    XDestroyImage(image);
    return shot;
}

bool Screenshot::savePpm(const std::string &path) const {
    std::ofstream out(path, std::ios::binary);
    out << "P6\n" << width << " " << height << "\n255\n";
    for (uint32_t p : pixels) {
        const char rgb[3] = {char(p >> 16), char(p >> 8), char(p)};
        out.write(rgb, 3);
    }
    return bool(out);
}

bool near(uint32_t pixel, Rgb c, int tolerance) {
    return std::abs(int(pixel >> 16 & 255) - c.r) <= tolerance && std::abs(int(pixel >> 8 & 255) - c.g) <= tolerance &&
           std::abs(int(pixel & 255) - c.b) <= tolerance;
}

std::string lastStatus(const App &app) {
    const std::string err = app.errors();
    const size_t at = err.rfind("status: ");
    if (at == std::string::npos) return {};
    return err.substr(at + 8, err.find('\n', at) - at - 8);
}

bool waitForStatus(const App &app, const std::string &part, int timeoutMs) {
    return waitUntil([&] { return lastStatus(app).find(part) != std::string::npos; }, timeoutMs);
}

bool noMessages(const App &app) { return app.errors().find("message: ") == std::string::npos; }

Session::Session(const std::string &settings) : rc(home.file("test.rc")) { testsupport::writeFile(rc, settings); }

std::vector<std::string> Session::args(const std::vector<std::string> &files) const {
    std::vector<std::string> a = {"-v", "-ini", rc};
    a.insert(a.end(), files.begin(), files.end());
    return a;
}

std::vector<std::string> Session::environment(int stepDelayMs) const {
    std::vector<std::string> e = {"HOME=" + home.path()};
    if (stepDelayMs > 0) {
        e.push_back("LD_PRELOAD=" + testsupport::programPath("libslow_library.so"));
        e.push_back("SLOW_LIBRARY_STEP_MS=" + std::to_string(stepDelayMs));
    }
    return e;
}

std::vector<Window> views(Display *display) {
    std::vector<Window> found;
    for (Window w : mappedWindows(display))
        if (windowInstance(display, w) == "TolvaView") found.push_back(w);
    return found;
}

Window childOfSize(Display *display, Window top, int width, int height) {
    Window root, parent, *children = nullptr;
    unsigned count = 0;
    if (!XQueryTree(display, top, &root, &parent, &children, &count)) return 0;
    Window found = 0;
    for (unsigned i = 0; i < count && !found; ++i) {
        XWindowAttributes a{};
        XGetWindowAttributes(display, children[i], &a);
        if (a.width == width && a.height == height && a.map_state == IsViewable)
            found = children[i];
        else
            found = childOfSize(display, children[i], width, height);
    }
    if (children) XFree(children);
    return found;
}

void waitUntilDrawn(Display *display, Window dialog) {
    const Geometry g = windowGeometry(display, dialog);
    waitUntil([&] {
        const Screenshot shot = capture(display, dialog, 0, 0, g.width, g.height);
        for (uint32_t pixel : shot.pixels)
            if (pixel == 0x707070) return true;   // the bar's colour
        return false;
    });
}

}  // namespace guitest
