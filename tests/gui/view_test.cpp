// The image view on real X servers with a window manager: pictures of each
// kind at each depth, zoom and scroll keys, pages and animation frames,
// undo, crop of a dragged selection, full screen and the ways out.
//
// With -v the view writes each status bar it shows as "status: a|b|c" on
// standard error; the tests follow the view through those lines and check
// what the screen shows.
#include <gtest/gtest.h>

#include <X11/Xutil.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "harness.h"
#include "test_files.h"
#include "zentar.h"

using namespace guitest;
using testsupport::TempDir;

namespace {

// True-colour, palette, grey and binary pictures filled by a function of the
// pixel position, saved through the library.
Picture makePicture(int type, int width, int height, const std::function<Rgb(int, int)> &color) {
    zntInitLibrary();
    Picture p{};
    EXPECT_TRUE(zntAllock(&p, type, type == ZNT_BINARY ? 1 : 8, width, height));
    std::vector<uint32_t> palette;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const Rgb c = color(x, y);
            uint8_t *row = p.data + size_t(y) * p.bytesPerLine;
            if (type == ZNT_BINARY) {
                if (c.r) row[x / 8] |= uint8_t(0x80 >> (x % 8));
            } else if (type == ZNT_GREY) {
                row[x] = c.r;
            } else if (type == ZNT_PALETTE) {
                const uint32_t packed = uint32_t(c.r) << 16 | uint32_t(c.g) << 8 | c.b;
                auto it = std::find(palette.begin(), palette.end(), packed);
                if (it == palette.end()) it = palette.insert(palette.end(), packed);
                row[x] = uint8_t(it - palette.begin());
            } else {
                row[3 * x] = c.r, row[3 * x + 1] = c.g, row[3 * x + 2] = c.b;
            }
        }
    if (type == ZNT_GREY) p.numberOfColors = 256;
    if (type == ZNT_PALETTE) {
        p.numberOfColors = uint16_t(std::max<size_t>(palette.size(), 2));
        for (size_t i = 0; i < palette.size(); ++i) {
            p.palette[i] = uint8_t(palette[i] >> 16);
            p.palette[256 + i] = uint8_t(palette[i] >> 8);
            p.palette[512 + i] = uint8_t(palette[i]);
        }
    }
    return p;
}

void save(const std::string &path, Picture picture, const char *format) {
    FormatParams params;
    zntDefaultParams(&params);
    params.formatIndex = int16_t(zntFormatGetIndex(format));
    EXPECT_EQ(zntSave(path.c_str(), &picture, &params, 0), ZNT_OK) << path;
    zntFree(&picture);
}

Rgb halves(int x, int width, Rgb left, Rgb right) { return x < width / 2 ? left : right; }

// Pictures used by most tests: left half red, right half blue.
std::string redBlue(const TempDir &dir, const char *name = "halves.ppm", int width = 120, int height = 80) {
    const std::string path = dir.file(name);
    save(path, makePicture(ZNT_RGB, width, height, [=](int x, int) { return halves(x, width, kRed, kBlue); }), "ppm");
    return path;
}

struct Box {
    int x = 0, y = 0, width = 0, height = 0;
    bool operator==(const Box &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Box &b) {
    return out << b.width << "x" << b.height << "+" << b.x << "+" << b.y;
}

// The bounding box of the pixels of one colour on the view, in the view's
// coordinates (16-bit screens keep 5 or 6 bits of each channel).
Box colorBox(Display *d, Window view, Rgb c) {
    const Geometry g = windowGeometry(d, view);
    const Screenshot shot = capture(d, DefaultRootWindow(d), g.x, g.y, g.width, g.height);
    int x0 = shot.width, y0 = shot.height, x1 = -1, y1 = -1;
    for (int y = 0; y < shot.height; ++y)
        for (int x = 0; x < shot.width; ++x)
            if (near(shot.at(x, y), c, 8)) {
                x0 = std::min(x0, x), y0 = std::min(y0, y), x1 = std::max(x1, x), y1 = std::max(y1, y);
            }
    if (x1 < 0) return {};
    return {x0, y0, x1 - x0 + 1, y1 - y0 + 1};
}

bool waitForBox(Display *d, Window view, Rgb c, int width, int height) {
    return waitUntil([&] {
        const Box b = colorBox(d, view, c);
        return b.width == width && b.height == height;
    });
}

// The screen inside the window that shows a picture of that displayed size.
Screenshot pictureShot(Display *d, Window view, int width, int height) {
    Window picture = 0;
    waitUntil([&] { return (picture = childOfSize(d, view, width, height)) != 0; });
    if (picture == 0) return {};
    const Geometry g = windowGeometry(d, picture);
    return capture(d, DefaultRootWindow(d), g.x, g.y, g.width, g.height);
}

// Checks a shot against the colour the picture has at each pixel.
void expectPixels(const Screenshot &shot, const std::function<Rgb(int, int)> &color, const std::string &what) {
    ASSERT_GT(shot.width, 0) << what << ": no window of the picture's size";
    int wrong = 0;
    for (int y = 0; y < shot.height; ++y)
        for (int x = 0; x < shot.width; ++x)
            if (!near(shot.at(x, y), color(x, y), 8) && wrong++ < 3)
                ADD_FAILURE() << what << " at " << x << "," << y << ": " << std::hex << shot.at(x, y);
    EXPECT_EQ(wrong, 0) << what;
}

Window openedView(const XServer &server, App &app) {
    const Window view = waitForWindow(server.display(), "TolvaView");
    EXPECT_NE(view, 0u) << app.errors();
    EXPECT_TRUE(app.waitForErrors(" shown in ")) << app.errors();
    return view;
}

}  // namespace

TEST(ViewGui, PicturesOfEachKindShowAtEachDepth) {
    for (int depth : {8, 16, 24}) {
        SCOPED_TRACE("depth " + std::to_string(depth));
        const Session settings;
        TempDir files;
        auto rgb = [](int x, int) { return halves(x, 120, kRed, kBlue); };
        auto grey = [](int, int y) { return y < 30 ? Rgb{0, 0, 0} : Rgb{255, 255, 255}; };
        auto palette = [](int x, int y) { return (x + y) % 2 ? kGreen : kMagenta; };
        auto binary = [](int x, int) { return x < 32 ? Rgb{255, 255, 255} : Rgb{0, 0, 0}; };
        save(files.file("a.ppm"), makePicture(ZNT_RGB, 120, 80, rgb), "ppm");
        save(files.file("b.pgm"), makePicture(ZNT_GREY, 100, 60, grey), "ppm");
        save(files.file("c.gif"), makePicture(ZNT_PALETTE, 90, 70, palette), "gif");
        save(files.file("d.pbm"), makePicture(ZNT_BINARY, 64, 40, binary), "ppm");

        XServer server({.depth = depth, .width = 800, .height = 600, .windowManager = true});
        Display *d = server.display();
        App app(server, settings.args({files.file("a.ppm"), files.file("b.pgm"), files.file("c.gif"),
                                       files.file("d.pbm")}),
                settings.environment());
        const Window view = openedView(server, app);
        ASSERT_NE(view, 0u);
        EXPECT_EQ(windowTitle(d, view), "Quivel v1.50");
        EXPECT_TRUE(waitForStatus(app, "a.ppm|1 of 4|120x80x24|True Colors|")) << lastStatus(app);
        expectPixels(pictureShot(d, view, 120, 80), rgb, "true colour");

        focusWindow(d, view);
        pressKey(d, "Next");
        ASSERT_TRUE(waitForStatus(app, "b.pgm|2 of 4|100x60x8|256 Grey Scale")) << lastStatus(app);
        expectPixels(pictureShot(d, view, 100, 60), grey, "grey");
        pressKey(d, "Next");
        ASSERT_TRUE(waitForStatus(app, "c.gif|3 of 4|90x70x8|")) << lastStatus(app);
        expectPixels(pictureShot(d, view, 90, 70), palette, "palette");
        pressKey(d, "End");
        ASSERT_TRUE(waitForStatus(app, "d.pbm|4 of 4|64x40x1|Binary")) << lastStatus(app);
        expectPixels(pictureShot(d, view, 64, 40), binary, "binary");
        pressKey(d, "Home");
        EXPECT_TRUE(waitForStatus(app, "a.ppm|1 of 4")) << lastStatus(app);
    }
}

TEST(ViewGui, ZoomKeysFollowTheStepsAndArrowsScrollByHalfTheArea) {
    const Session settings("View.Fit = 0\n");
    TempDir files;
    auto quadrants = [](int w, int h) {
        return [=](int x, int y) { return y < h / 2 ? (x < w / 2 ? kRed : kGreen) : (x < w / 2 ? kBlue : kMagenta); };
    };
    save(files.file("small.ppm"), makePicture(ZNT_RGB, 200, 150, quadrants(200, 150)), "ppm");
    save(files.file("large.ppm"), makePicture(ZNT_RGB, 2000, 1600, quadrants(2000, 1600)), "ppm");
    XServer server({.width = 1280, .height = 1024, .windowManager = true});
    Display *d = server.display();
    App app(server, settings.args({files.file("small.ppm"), files.file("large.ppm")}), settings.environment());
    const Window view = openedView(server, app);
    ASSERT_NE(view, 0u);
    EXPECT_TRUE(waitForBox(d, view, kRed, 100, 75));
    focusWindow(d, view);

    pressKey(d, "plus");
    EXPECT_TRUE(waitForStatus(app, "|200%")) << lastStatus(app);
    EXPECT_TRUE(waitForBox(d, view, kRed, 200, 150)) << colorBox(d, view, kRed);
    pressKey(d, "minus");
    pressKey(d, "minus");
    EXPECT_TRUE(waitForStatus(app, "|70%")) << lastStatus(app);
    // 140 x 105 displayed: source column x * 200 / 140 is red below 100.
    EXPECT_TRUE(waitForBox(d, view, kRed, 70, 53)) << colorBox(d, view, kRed);
    pressKey(d, "asterisk");
    EXPECT_TRUE(waitForStatus(app, "|100%")) << lastStatus(app);

    // A picture larger than the area opens centred; Left and Up bring more
    // of the top-left quadrant into view, by half the visible area a step.
    pressKey(d, "Next");
    ASSERT_TRUE(waitForStatus(app, "large.ppm|2 of 2|2000x1600x24")) << lastStatus(app);
    Box red, green, blue;
    waitUntil([&] {
        red = colorBox(d, view, kRed), green = colorBox(d, view, kGreen), blue = colorBox(d, view, kBlue);
        return red.width > 0 && green.width > 0 && blue.width > 0;
    });
    const int areaWidth = red.width + green.width, areaHeight = red.height + blue.height;
    ASSERT_GT(areaWidth, 400);
    EXPECT_LE(std::abs(red.width - green.width), 1) << "centred";
    pressKey(d, "Left");
    EXPECT_TRUE(waitForBox(d, view, kRed, red.width + areaWidth / 2, red.height)) << colorBox(d, view, kRed);
    pressKey(d, "Up");
    EXPECT_TRUE(waitForBox(d, view, kRed, red.width + areaWidth / 2, red.height + areaHeight / 2))
        << colorBox(d, view, kRed);
    pressKey(d, "Right");
    pressKey(d, "Down");
    EXPECT_TRUE(waitForBox(d, view, kRed, red.width, red.height)) << colorBox(d, view, kRed);
}

TEST(ViewGui, PagesOfATiffAndFramesOfAnAnimation) {
    const Session settings;
    TempDir files;
    const Rgb colors[3] = {kRed, kGreen, kBlue};
    {
        FormatParams params;
        zntInitLibrary();
        zntDefaultParams(&params);
        ZntFile *file = zntFileCreate(files.file("pages.tif").c_str(), zntFormatGetIndex("tiff"), &params);
        ASSERT_NE(file, nullptr);
        for (const Rgb c : colors) {
            Picture page = makePicture(ZNT_RGB, 80, 60, [c](int, int) { return c; });
            zntFileAddPicture(file, &page);
            zntFree(&page);
        }
        ASSERT_EQ(zntFileClose(file), ZNT_OK);
    }
    const bool haveConvert = access("/usr/bin/convert", X_OK) == 0;
    if (haveConvert) {
        std::vector<std::string> argv = {"/usr/bin/convert", "-delay", "15"};
        for (int i = 0; i < 3; ++i) {
            const std::string frame = files.file("frame" + std::to_string(i) + ".ppm");
            save(frame, makePicture(ZNT_RGB, 50, 40, [&, i](int, int) { return colors[i]; }), "ppm");
            argv.push_back(frame);
        }
        argv.push_back(files.file("anim.gif"));
        ASSERT_EQ(testsupport::runProgram(argv).exitCode, 0);
    }
    XServer server({.width = 800, .height = 600, .windowManager = true});
    Display *d = server.display();
    std::vector<std::string> opened = {files.file("pages.tif")};
    if (haveConvert) opened.push_back(files.file("anim.gif"));
    App app(server, settings.args(opened), settings.environment());
    const Window view = openedView(server, app);
    ASSERT_NE(view, 0u);
    EXPECT_TRUE(waitForStatus(app, "1/3|pages.tif|")) << lastStatus(app);
    focusWindow(d, view);
    pressKey(d, "Next", {"Shift_L"});
    EXPECT_TRUE(waitForStatus(app, "2/3|pages.tif|")) << lastStatus(app);
    EXPECT_TRUE(waitForBox(d, view, kGreen, 80, 60));
    pressKey(d, "End", {"Shift_L"});
    EXPECT_TRUE(waitForStatus(app, "3/3|pages.tif|")) << lastStatus(app);
    EXPECT_TRUE(waitForBox(d, view, kBlue, 80, 60));
    pressKey(d, "Next", {"Shift_L"});
    pressKey(d, "Home", {"Shift_L"});
    EXPECT_TRUE(waitForStatus(app, "1/3|pages.tif|")) << lastStatus(app);
    EXPECT_TRUE(waitForBox(d, view, kRed, 80, 60));
    if (!haveConvert) GTEST_SKIP() << "convert is not installed: no animation to play";

    // The animation plays by itself, and a page key stops it on a frame.
    pressKey(d, "Next");
    EXPECT_TRUE(waitForStatus(app, "|Frame 2/3")) << lastStatus(app);
    EXPECT_TRUE(waitForStatus(app, "|Frame 3/3")) << lastStatus(app);
    EXPECT_TRUE(waitForStatus(app, "|Frame 1/3")) << lastStatus(app);
    pressKey(d, "End", {"Shift_L"});
    EXPECT_TRUE(waitForStatus(app, "|Frame 3/3")) << lastStatus(app);
    EXPECT_TRUE(waitForBox(d, view, kBlue, 50, 40));
    usleep(400 * 1000);
    EXPECT_NE(lastStatus(app).find("|Frame 3/3"), std::string::npos) << "stopped";
}

TEST(ViewGui, UndoTwiceThenCropADraggedSelection) {
    const Session settings;
    TempDir files;
    const std::string path = redBlue(files);
    XServer server({.width = 800, .height = 600, .windowManager = true});
    Display *d = server.display();
    App app(server, settings.args({path}), settings.environment());
    const Window view = openedView(server, app);
    ASSERT_NE(view, 0u);
    focusWindow(d, view);
    pressKey(d, "R", {"Shift_L"});
    EXPECT_TRUE(waitForStatus(app, "|80x120x24|")) << lastStatus(app);
    EXPECT_TRUE(waitUntil([&] { return windowTitle(d, view) == "*Quivel v1.50"; })) << windowTitle(d, view);
    EXPECT_TRUE(waitForBox(d, view, kRed, 80, 60)) << "turned clockwise, red on top";
    pressKey(d, "z", {"Control_L"});
    EXPECT_TRUE(waitForStatus(app, "|120x80x24|")) << lastStatus(app);
    EXPECT_TRUE(waitForBox(d, view, kRed, 60, 80));
    pressKey(d, "z", {"Control_L"});
    EXPECT_TRUE(waitForStatus(app, "|80x120x24|")) << "undo of the undo";
    pressKey(d, "z", {"Control_L"});
    EXPECT_TRUE(waitForStatus(app, "|120x80x24|")) << lastStatus(app);
    EXPECT_EQ(windowTitle(d, view), "*Quivel v1.50") << "one mark, never doubled";

    // Drag over part of the red half, then crop to it.
    ASSERT_TRUE(waitForBox(d, view, kRed, 60, 80));
    const Box red = colorBox(d, view, kRed);
    const Geometry g = windowGeometry(d, view);
    const int x0 = g.x + red.x, y0 = g.y + red.y;
    drag(d, x0 + 10, y0 + 10, x0 + 49, y0 + 59);
    EXPECT_TRUE(waitForStatus(app, "|Selection 10,10 40x50|")) << lastStatus(app);
    pressKey(d, "y", {"Control_L"});
    EXPECT_TRUE(waitForStatus(app, "|40x50x24|")) << lastStatus(app);
    EXPECT_TRUE(waitForBox(d, view, kRed, 40, 50));
    EXPECT_EQ(colorBox(d, view, kBlue).width, 0);
}

TEST(ViewGui, EscapeLeavesFullScreenThenClosesAndTheSettingsAreWritten) {
    const Session settings("View.Fit = 3\n");
    TempDir files;
    const std::string path = redBlue(files);
    XServer server({.width = 800, .height = 600, .windowManager = true});
    Display *d = server.display();
    App app(server, settings.args({"-full", path}), settings.environment());
    const Window view = openedView(server, app);
    ASSERT_NE(view, 0u);
    EXPECT_TRUE(waitUntil([&] {
        const Geometry g = windowGeometry(d, view);
        return g.x == 0 && g.y == 0 && g.width == 800 && g.height == 600;
    })) << "the whole screen";
    // The picture, centred on black.
    EXPECT_TRUE(waitForBox(d, view, kRed, 60, 80));
    EXPECT_EQ(colorBox(d, view, kRed), (Box{400 - 60, 300 - 40, 60, 80}));
    const Screenshot corner = capture(d, DefaultRootWindow(d), 0, 0, 40, 40);
    EXPECT_TRUE(near(corner.at(20, 20), {0, 0, 0}, 0));

    focusWindow(d, view);
    pressKey(d, "Escape");
    EXPECT_TRUE(waitUntil([&] { return windowGeometry(d, view).width < 800; })) << "back to a window";
    EXPECT_TRUE(windowExists(d, "TolvaView"));
    pressKey(d, "s", {"Control_L", "Shift_L"});   // hide the status bar: a setting to find in the file
    pressKey(d, "Escape");
    ASSERT_EQ(app.wait(), 0) << app.errors();
    const std::string written = testsupport::readFile(settings.rc);
    EXPECT_NE(written.find("View.Fit = 3\n"), std::string::npos);
    EXPECT_NE(written.find("View.StatusBar = False\n"), std::string::npos);
    EXPECT_NE(written.find("FileName_0 = " + path + "\n"), std::string::npos) << "the most recent file";
}

TEST(ViewGui, ClosingAChangedPictureAsksAndSavesItInPlace) {
    const Session settings;
    TempDir files;
    const std::string path = redBlue(files);
    XServer server({.width = 800, .height = 600, .windowManager = true});
    Display *d = server.display();
    App app(server, settings.args({path}), settings.environment());
    const Window view = openedView(server, app);
    ASSERT_NE(view, 0u);
    focusWindow(d, view);
    pressKey(d, "H", {"Shift_L"});   // flip left to right
    EXPECT_TRUE(waitUntil([&] { return windowTitle(d, view) == "*Quivel v1.50"; }));
    pressKey(d, "w", {"Control_L"});
    // The question's line break comes out as a blank.
    ASSERT_TRUE(app.waitForErrors("message: Do you want to save changes to    '" + path + "' ?"))
        << app.errors();
    const Window question = waitForWindow(d, "Question");
    ASSERT_NE(question, 0u);
    focusWindow(d, question);
    pressKey(d, "Return");
    ASSERT_EQ(app.wait(), 0) << app.errors();
    Picture saved{};
    ASSERT_EQ(zntLoad(path.c_str(), &saved, nullptr, nullptr), ZNT_OK);
    EXPECT_EQ(saved.data[0], 0) << "blue now on the left";
    EXPECT_EQ(saved.data[2], 255);
    zntFree(&saved);
}

TEST(ViewGui, EscapeClosesAChangedPictureWithoutAsking) {
    const Session settings;
    TempDir files;
    const std::string first = redBlue(files, "first.ppm"), second = redBlue(files, "second.ppm");
    const std::string before = testsupport::readFile(first);
    XServer server({.width = 800, .height = 600, .windowManager = true});
    Display *d = server.display();
    // One window per picture: closing one leaves the program running.
    App app(server, settings.args({"-all", first, second}), settings.environment());
    ASSERT_NE(openedView(server, app), 0u);
    ASSERT_TRUE(waitUntil([&] { return views(d).size() == 2; })) << "two views";
    const Window view = waitForWindow(d, "TolvaView");
    focusWindow(d, view);
    pressKey(d, "V", {"Shift_L"});
    EXPECT_TRUE(waitUntil([&] { return windowTitle(d, view) == "*Quivel v1.50"; }));
    pressKey(d, "Escape");
    EXPECT_TRUE(waitUntil([&] { return views(d).size() == 1; }));
    EXPECT_TRUE(app.running());
    EXPECT_EQ(app.errors().find("message: "), std::string::npos) << "no question";
    EXPECT_EQ(testsupport::readFile(first), before);
    EXPECT_EQ(testsupport::readFile(second), before);
}

namespace {

// The toolbar: the window below the view whose children are the buttons.
std::vector<Window> toolbarButtons(Display *d, Window top, size_t count) {
    Window root, parent, *children = nullptr;
    unsigned n = 0;
    std::vector<Window> found;
    if (!XQueryTree(d, top, &root, &parent, &children, &n)) return found;
    if (n == count) found.assign(children, children + n);
    for (unsigned i = 0; i < n && found.empty(); ++i) found = toolbarButtons(d, children[i], count);
    if (children) XFree(children);
    // Left to right, as they are shown.
    std::sort(found.begin(), found.end(),
              [d](Window a, Window b) { return windowGeometry(d, a).x < windowGeometry(d, b).x; });
    return found;
}

}  // namespace

TEST(ViewGui, ToolbarButtonsRunTheirCommandsAndShowTheirTips) {
    // Buttons 0 (open), 11 (undo), 13 (zoom in) and 14 (zoom out) only.
    const Session settings("View.Fit = 0\nStart.ToolbarViewConfig = 26625\n");
    TempDir files;
    const std::string path = redBlue(files);
    XServer server({.width = 800, .height = 600, .windowManager = true});
    Display *d = server.display();
    App app(server, settings.args({path}), settings.environment());
    const Window view = openedView(server, app);
    ASSERT_NE(view, 0u);
    const std::vector<Window> buttons = toolbarButtons(d, view, 4);
    ASSERT_EQ(buttons.size(), 4u);
    const Geometry zoomIn = windowGeometry(d, buttons[2]);
    click(d, zoomIn.x + zoomIn.width / 2, zoomIn.y + zoomIn.height / 2);
    EXPECT_TRUE(waitForStatus(app, "|200%")) << lastStatus(app);

    // Resting on a button shows its tip, on light yellow, beside it.
    const Geometry open = windowGeometry(d, buttons[0]);
    auto tipShown = [&] {
        const Screenshot shot = capture(d, DefaultRootWindow(d), open.x, open.y, 200, 80);
        return std::count(shot.pixels.begin(), shot.pixels.end(), 0xffffe0u) > 100;
    };
    EXPECT_FALSE(tipShown());
    movePointer(d, open.x + 5, open.y + 5);
    movePointer(d, open.x + 8, open.y + 8);
    EXPECT_TRUE(waitUntil(tipShown, 3000)) << "a tip";
    movePointer(d, open.x + 300, open.y + 200);
    EXPECT_TRUE(waitUntil([&] { return !tipShown(); }, 3000)) << "gone again";
}
