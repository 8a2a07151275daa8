// PostScript, EPS and PDF rendered page by page by the interpreter: page
// counts and sizes, resolution and page size from the load parameters, a
// clear status without the interpreter, and a hanging document that is
// stopped. Also the child-process runner underneath: time limit, file-size
// cap and exit statuses.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include "child_process.h"
#include "picture_files.h"
#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;
using testsupport::TempDir;

namespace {

// Two pages with structuring comments: the left half of a 200 x 100 page
// black, then the middle third of a 300 x 150 page black.
const char *kTwoPages =
    "%!PS-Adobe-3.0\n%%BoundingBox: 0 0 200 100\n%%Pages: 2\n%%EndComments\n"
    "%%Page: 1 1\n<< /PageSize [200 100] >> setpagedevice 0 0 100 100 rectfill showpage\n"
    "%%Page: 2 2\n<< /PageSize [300 150] >> setpagedevice 100 0 100 150 rectfill showpage\n%%EOF\n";

// An environment variable set for the length of a scope.
class ScopedEnv {
public:
    ScopedEnv(const char *name, const std::string &value) : name_(name) {
        if (const char *old = std::getenv(name)) old_ = old, had_ = true;
        setenv(name, value.c_str(), 1);
    }
    ~ScopedEnv() {
        if (had_)
            setenv(name_, old_.c_str(), 1);
        else
            unsetenv(name_);
    }

private:
    const char *name_;
    std::string old_;
    bool had_ = false;
};

struct Rendered {
    OpStatus status = 0;
    Picture picture{};
    std::string message;
    ~Rendered() { zntFree(&picture); }
};

void render(Rendered &out, const std::string &path, int page, int dpi, int pageW = 0, int pageH = 0) {
    FormatParams params;
    zntDefaultParams(&params);
    params.pageNumber = page;
    params.postscriptDpi = uint16_t(dpi);
    params.pageWidthPt = uint16_t(pageW);
    params.pageHeightPt = uint16_t(pageH);
    FileInformation info{};
    out.status = zntLoad(path.c_str(), &out.picture, &params, &info);
    out.message = info.message;
}

int greyAt(const Picture &p, int x, int y) {
    const Rgba rgba = toRgba(p);
    return rgba.pixels[(size_t(y) * rgba.width + size_t(x)) * 4];
}

int entriesIn(const std::string &folder) {
    int count = 0;
    if (DIR *d = opendir(folder.c_str())) {
        while (const dirent *e = readdir(d))
            if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0) ++count;
        closedir(d);
    }
    return count;
}

}  // namespace

TEST(Documents, PostScriptPagesAtTheAskedResolution) {
    testsupport::requireTool("gs");
    TempDir dir;
    testsupport::writeFile(dir.file("two.ps"), kTwoPages);
    FileInformation info{};
    ASSERT_EQ(zntFileInformation(dir.file("two.ps").c_str(), -1, 0, &info), 0);
    EXPECT_STREQ(zntFormatGetName(info.formatIndex), "ps");
    EXPECT_EQ(info.imageCount, 2);
    EXPECT_EQ(info.images[0].width, 200u) << "points are pixels at 72 dpi";
    zntFileInformationFree(&info);

    Rendered first, second;
    render(first, dir.file("two.ps"), 0, 144);
    ASSERT_EQ(first.status, 0) << first.message;
    EXPECT_EQ(first.picture.width, 400u);
    EXPECT_EQ(first.picture.height, 200);
    EXPECT_EQ(first.picture.resolutionX, 144u);
    EXPECT_EQ(greyAt(first.picture, 50, 100), 0);
    EXPECT_EQ(greyAt(first.picture, 350, 100), 255);
    render(second, dir.file("two.ps"), 1, 72);
    ASSERT_EQ(second.status, 0) << second.message;
    EXPECT_EQ(second.picture.width, 300u);
    EXPECT_EQ(greyAt(second.picture, 20, 75), 255);
    EXPECT_EQ(greyAt(second.picture, 150, 75), 0);
}

TEST(Documents, PdfPagesAndTheirSizesComeFromTheInterpreter) {
    const std::string gs = testsupport::requireTool("gs");
    TempDir dir;
    testsupport::writeFile(dir.file("two.ps"), kTwoPages);
    ASSERT_TRUE(testsupport::runTool({gs, "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-sDEVICE=pdfwrite",
                                      "-sOutputFile=" + dir.file("two.pdf"), dir.file("two.ps")}));
    FileInformation info{};
    ASSERT_EQ(zntFileInformation(dir.file("two.pdf").c_str(), -1, 0, &info), 0);
    EXPECT_STREQ(zntFormatGetName(info.formatIndex), "pdf");
    ASSERT_EQ(info.imageCount, 2);
    EXPECT_EQ(info.images[0].width, 200u);
    EXPECT_EQ(info.images[1].width, 300u);
    EXPECT_EQ(info.images[1].height, 150u);
    zntFileInformationFree(&info);
    ASSERT_EQ(zntFileInformation(dir.file("two.pdf").c_str(), -1, ZNT_INFO_QUICK, &info), 0);
    EXPECT_EQ(info.imageCount, 1);
    zntFileInformationFree(&info);

    Rendered second, beyond;
    render(second, dir.file("two.pdf"), 1, 36);
    ASSERT_EQ(second.status, 0) << second.message;
    EXPECT_EQ(second.picture.width, 150u);
    EXPECT_EQ(greyAt(second.picture, 75, 37), 0);
    render(beyond, dir.file("two.pdf"), 2, 72);
    EXPECT_EQ(beyond.status, ZNT_BAD_FILE);
    EXPECT_EQ(beyond.message, "No page 3");
}

TEST(Documents, EpsIsCroppedToItsBoxAndAPageSizeIsFittedTo) {
    testsupport::requireTool("gs");
    TempDir dir;
    testsupport::writeFile(dir.file("box.eps"), "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 10 10 110 60\n"
                                                "0.5 setgray 10 10 100 50 rectfill\n");
    testsupport::writeFile(dir.file("two.ps"), kTwoPages);
    Rendered eps, fitted;
    render(eps, dir.file("box.eps"), 0, 72);
    ASSERT_EQ(eps.status, 0) << eps.message;
    EXPECT_EQ(eps.picture.width, 100u);
    EXPECT_EQ(eps.picture.height, 50);
    EXPECT_NEAR(greyAt(eps.picture, 50, 25), 128, 2);
    // A 200 x 100 page on a 100 x 50 page size.
    render(fitted, dir.file("two.ps"), 0, 72, 100, 50);
    ASSERT_EQ(fitted.status, 0) << fitted.message;
    EXPECT_EQ(fitted.picture.width, 100u);
    EXPECT_EQ(fitted.picture.height, 50);
    EXPECT_EQ(greyAt(fitted.picture, 20, 25), 0);
    EXPECT_EQ(greyAt(fitted.picture, 80, 25), 255);
}

TEST(Documents, WithoutTheInterpreterTheStatusSaysWhy) {
    TempDir dir, empty;
    testsupport::writeFile(dir.file("two.ps"), kTwoPages);
    ScopedEnv path("PATH", empty.path());
    FileInformation info{};
    EXPECT_EQ(zntFileInformation(dir.file("two.ps").c_str(), -1, 0, &info), ZNT_UNKNOWN_FORMAT);
    EXPECT_STREQ(zntFormatGetName(info.formatIndex), "ps") << "the format is known";
    EXPECT_NE(std::strstr(info.message, "Ghostscript"), nullptr) << info.message;
    zntFileInformationFree(&info);
    Rendered r;
    render(r, dir.file("two.ps"), 0, 72);
    EXPECT_EQ(r.status, ZNT_UNKNOWN_FORMAT);
    EXPECT_NE(r.message.find("not installed"), std::string::npos) << r.message;
}

TEST(Documents, AHangingDocumentIsStoppedAndLeavesNothingBehind) {
    testsupport::requireTool("gs");
    TempDir dir, temporary;
    testsupport::writeFile(dir.file("hang.ps"), "%!PS\n{ } loop\n");
    ScopedEnv tmp("TMPDIR", temporary.path());
    int calls = 0;
    FormatParams params;
    zntDefaultParams(&params);
    params.progressUserData = &calls;
    params.progressFunction = [](int, int, void *data) { return ++*static_cast<int *>(data) >= 3 ? 1 : 0; };
    Picture picture{};
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(zntLoad(dir.file("hang.ps").c_str(), &picture, &params, nullptr), ZNT_STOPPED);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(picture.data, nullptr);
    EXPECT_EQ(entriesIn(temporary.path()), 0) << "the private folder is removed";
}

TEST(ChildProcess, TimeLimitFileSizeCapAndExitStatus) {
    using namespace zentar;
    TempDir dir;
    ChildLimits limits;
    limits.timeLimitMs = 300;
    const auto start = std::chrono::steady_clock::now();
    ChildResult r = runChild({findProgram("sleep"), "20"}, "", "", limits);
    EXPECT_TRUE(r.started && r.timedOut);
    EXPECT_FALSE(r.succeeded());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));

    // An endless writer is ended by the cap on the size of its files.
    limits.timeLimitMs = 20000;
    limits.maxFileBytes = 1 << 20;
    r = runChild({findProgram("cat"), "/dev/zero"}, dir.file("zeros"), "", limits);
    EXPECT_FALSE(r.succeeded());
    EXPECT_FALSE(r.timedOut);
    struct stat st;
    ASSERT_EQ(stat(dir.file("zeros").c_str(), &st), 0);
    EXPECT_LE(st.st_size, 1 << 20);

    // Only the three standard files reach the child, whatever we have open.
    limits = ChildLimits{};
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    ASSERT_TRUE(runChild({findProgram("ls"), "/proc/self/fd"}, dir.file("fds"), "", limits).succeeded());
    close(fds[0]);
    close(fds[1]);
    EXPECT_EQ(testsupport::readFile(dir.file("fds")), "0\n1\n2\n3\n") << "3 is the listing itself";

    EXPECT_TRUE(runChild({findProgram("true")}, "", "", limits).succeeded());
    EXPECT_EQ(runChild({findProgram("false")}, "", "", limits).exitCode, 1);
    EXPECT_EQ(runChild({dir.file("no-such-program")}, "", "", limits).exitCode, 127);
    EXPECT_EQ(findProgram("no-such-program-anywhere"), "");
}
