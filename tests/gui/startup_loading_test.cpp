// Start-up with files on the command line: they open in a view (the newer
// formats too: WebP, AVIF, JPEG XL, a camera raw file and a PDF), a file that
// cannot be read is reported in a message box, and the program still shows
// a window. And window dumps of the X server's dump tool at every
// depth read back as the screen showed them (screen capture relies on it).
#include <gtest/gtest.h>

#include <X11/Xutil.h>

#include <cstdio>

#include "dng_file.h"
#include "harness.h"
#include "picture_files.h"
#include "test_files.h"

using namespace guitest;
using testsupport::dataPath;
using testsupport::TempDir;

TEST(StartupLoading, FilesThatCannotBeReadAreReportedInTheView) {
    XServer server;
    TempDir dir;
    const std::string good = dataPath("conformance/pngsuite/png/basn2c08.png");
    const std::string missing = dir.file("missing.jpg");
    const std::string broken = dataPath("conformance/bmpsuite/b/badrle.bmp");
    // The view opens on the first file even when it cannot be read, and its
    // failure is shown once the window is up; the others as they come.
    App app(server, {"-v", missing, good, broken});
    EXPECT_TRUE(app.waitForErrors("message: Can't open file  <" + missing + ">\n")) << app.errors();
    const Window view = waitForWindow(server.display(), "TolvaView");
    ASSERT_NE(view, 0u) << "a window stays open";
    focusWindow(server.display(), view);
    pressKey(server.display(), "Next");
    EXPECT_TRUE(app.waitForErrors("status: basn2c08.png|2 of 3|32x32x24|")) << app.errors();
    pressKey(server.display(), "Next");
    EXPECT_TRUE(app.waitForErrors("message: Corrupt image\n")) << app.errors();
    EXPECT_EQ(app.errors().find("message: Can't open file  <" + good), std::string::npos)
        << "a file that loads is not reported";
}

TEST(StartupLoading, NewerFormatsOpen) {
    TempDir dir;
    const std::string png = dataPath("conformance/pngsuite/png/basn2c08.png");
    ASSERT_TRUE(testsupport::runTool({testsupport::requireTool("cwebp"), "-quiet", png, "-o", dir.file("a.webp")}));
    ASSERT_TRUE(testsupport::runTool({testsupport::requireTool("heif-enc"), "-A", "-o", dir.file("a.avif"), png}));
    ASSERT_TRUE(testsupport::runTool({testsupport::requireTool("cjxl"), png, dir.file("a.jxl")}));
    testsupport::writeFile(dir.file("a.ps"), "%!PS\n0 0 100 100 rectfill showpage\n");
    ASSERT_TRUE(testsupport::runTool({testsupport::requireTool("gs"), "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE",
                                      "-sDEVICE=pdfwrite", "-sOutputFile=" + dir.file("a.pdf"), dir.file("a.ps")}));
    ASSERT_TRUE(testsupport::writeTestDng(dir.file("a.dng")));
    XServer server;
    App app(server, {"-v", dir.file("a.webp"), dir.file("a.avif"), dir.file("a.jxl"), dir.file("a.dng"), dir.file("a.pdf")});
    const Window view = waitForWindow(server.display(), "TolvaView");
    ASSERT_NE(view, 0u);
    focusWindow(server.display(), view);
    // The view holds the five files: each one shows in turn.
    const char *names[] = {"a.webp", "a.avif", "a.jxl", "a.dng", "a.pdf"};
    for (int i = 0; i < 5; ++i) {
        if (i > 0) pressKey(server.display(), "Next");
        EXPECT_TRUE(app.waitForErrors(std::string("status: ") + names[i] + "|" + std::to_string(i + 1) + " of 5|"))
            << app.errors();
    }
    EXPECT_EQ(app.errors().find("message:"), std::string::npos) << "every file loads: " << app.errors();
}

namespace {

// Reads a binary PPM of 255 levels; empty on failure.
Screenshot readPpm(const std::string &path) {
    const std::string text = testsupport::readFile(path);
    Screenshot s;
    int maxval = 0, consumed = 0;
    if (std::sscanf(text.c_str(), "P6 %d %d %d%n", &s.width, &s.height, &maxval, &consumed) != 3 || maxval != 255)
        return {};
    const size_t start = size_t(consumed) + 1;
    if (text.size() < start + size_t(s.width) * size_t(s.height) * 3) return {};
    for (size_t i = 0; i < size_t(s.width) * size_t(s.height); ++i) {
        const auto *p = reinterpret_cast<const uint8_t *>(text.data() + start + 3 * i);
        s.pixels.push_back(uint32_t(p[0]) << 16 | uint32_t(p[1]) << 8 | p[2]);
    }
    return s;
}

}  // namespace

TEST(WindowDumps, ReadAtEveryDepthAsTheWindowShowsThem) {
    // Depth 32 is a window of the 32-bit visual on a depth-24 server.
    for (int depth : {8, 16, 24, 32}) {
        SCOPED_TRACE(depth);
        ServerOptions options;
        options.depth = depth == 32 ? 24 : depth;
        options.width = 320;
        options.height = 240;
        XServer server(options);
        Display *d = server.display();
        const int screen = DefaultScreen(d);
        XVisualInfo visual{};
        if (!XMatchVisualInfo(d, screen, depth, depth <= 8 ? PseudoColor : TrueColor, &visual)) {
            ADD_FAILURE() << "no visual of depth " << depth;
            continue;
        }
        const Colormap colormap = depth == 32 ? XCreateColormap(d, RootWindow(d, screen), visual.visual, AllocNone)
                                              : DefaultColormap(d, screen);
        XSetWindowAttributes attributes{};
        attributes.override_redirect = True;
        attributes.colormap = colormap;
        attributes.border_pixel = 0;
        attributes.background_pixel = 0;
        const Window w = XCreateWindow(d, RootWindow(d, screen), 0, 0, 198, 120, 0, depth, InputOutput, visual.visual,
                                       CWOverrideRedirect | CWColormap | CWBorderPixel | CWBackPixel, &attributes);
        XMapWindow(d, w);
        GC gc = XCreateGC(d, w, 0, nullptr);
        const unsigned short colours[6][3] = {{65535, 0, 0},     {0, 65535, 0},         {0, 0, 65535},
                                              {65535, 65535, 0}, {65535, 65535, 65535}, {20000, 30000, 40000}};
        uint32_t expected[6];
        for (int i = 0; i < 6; ++i) {
            XColor c{};
            c.red = colours[i][0], c.green = colours[i][1], c.blue = colours[i][2];
            c.flags = DoRed | DoGreen | DoBlue;
            ASSERT_TRUE(XAllocColor(d, colormap, &c));
            expected[i] = uint32_t(c.red >> 8) << 16 | uint32_t(c.green >> 8) << 8 | (c.blue >> 8);
            // A 32-bit window's pixels carry an opaque alpha byte.
            XSetForeground(d, gc, depth == 32 ? c.pixel | 0xff000000ul : c.pixel);
            XFillRectangle(d, w, gc, (i % 3) * 66, (i / 3) * 60, 66, 60);
        }
        XSync(d, False);
        TempDir dir;
        const std::string dump = dir.file("window.xwd"), ppm = dir.file("window.ppm");
        App xwd(server, {"-id", std::to_string(w), "-silent", "-out", dump}, {}, "/usr/bin/xwd");
        ASSERT_EQ(xwd.wait(), 0) << xwd.errors();
        const auto info = testsupport::runProgram({testsupport::programPath("transmog"), "-info", dump});
        EXPECT_NE(info.out.find(" xwd 198x120 "), std::string::npos) << info.out;
        const auto converted =
            testsupport::runProgram({testsupport::programPath("transmog"), "-out", "ppm", "-o", ppm, dump});
        ASSERT_EQ(converted.exitCode, 0) << converted.err;
        const Screenshot got = readPpm(ppm);
        ASSERT_EQ(got.width, 198);
        ASSERT_EQ(got.height, 120);
        for (int i = 0; i < 6; ++i) {
            const uint32_t pixel = got.at((i % 3) * 66 + 33, (i / 3) * 60 + 30);
            for (int shift : {0, 8, 16})
                EXPECT_NEAR(int(pixel >> shift & 255), int(expected[i] >> shift & 255), 8)
                    << "colour " << i << " read " << std::hex << pixel << " wanted " << expected[i];
        }
        XFreeGC(d, gc);
    }
}
