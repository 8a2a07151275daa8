// The older raster formats (TGA, PCX, DCX, SGI, Sun raster, IFF, XBM, XPM,
// Softimage) beside the programs people made such files with: files that
// netpbm and ImageMagick write at test time load as the pictures they were
// made from, the files we write load in those programs, and small files
// built here byte by byte cover what no installed writer produces.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "picture/simple_conversion.h"
#include "picture_files.h"
#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;
using testsupport::TempDir;

namespace {

// A picture of a kind, 37 x 23, with runs and noise so that run-length
// encoders meet both.
struct TestPicture {
    Picture p{};
    TestPicture(int type, int colours = 256, int transparent = -1) {
        const int w = 37, h = 23;
        EXPECT_TRUE(zntAllock(&p, type, 8, w, h));
        uint32_t seed = 7u + uint32_t(type) * 31u + uint32_t(colours);
        auto noise = [&] { return seed = seed * 1103515245u + 12345u, (seed >> 16) & 0xff; };
        if (type == ZNT_PALETTE) {
            for (int i = 0; i < 768; ++i) p.palette[i] = uint8_t(noise());
            p.transparentIndex = int16_t(transparent);
        }
        if (type == ZNT_PALETTE || type == ZNT_GREY) p.numberOfColors = uint16_t(colours);
        for (int y = 0; y < h; ++y) {
            uint8_t *row = p.data + size_t(y) * p.bytesPerLine;
            for (int x = 0; x < w; ++x) {
                const bool flat = x < 12;   // a run on the left of every row
                if (type == ZNT_BINARY) {
                    if (flat ? y & 1 : (noise() & 1)) row[x / 8] |= uint8_t(0x80 >> (x % 8));
                } else if (type == ZNT_GREY || type == ZNT_PALETTE) {
                    row[x] = uint8_t(flat ? y % colours : noise() % unsigned(colours));
                } else {
                    for (int c = 0; c < p.bytesPerPixel; ++c)
                        row[x * p.bytesPerPixel + c] = uint8_t(flat ? 40 * c + y : x * 6 + c * 50 + int(noise() & 7));
                }
            }
        }
    }
    ~TestPicture() { zntFree(&p); }
    TestPicture(const TestPicture &) = delete;
    TestPicture &operator=(const TestPicture &) = delete;
};

std::string runToFile(const std::vector<std::string> &argv, const std::string &output) {
    const testsupport::RunResult r = testsupport::runProgram(argv, {}, {}, 60000);
    if (r.exitCode != 0) return argv[0] + " failed: " + r.err;
    testsupport::writeFile(output, r.out);
    return {};
}

// Loads `path` and compares it with `want`: "" when they are the same, or
// differ by at most `meanTolerance` on average (for lossy encodings).
std::string loadsAs(const std::string &path, const Picture &want, double meanTolerance = 0, int page = 0) {
    Loaded got;
    load(got, path, page);
    if (got.status != 0) return "load failed with status " + std::to_string(got.status) + " " + got.message;
    const Rgba a = toRgba(got.picture), b = toRgba(want);
    if (a.width != b.width || a.height != b.height) return "the size differs";
    if (meanTolerance > 0) {
        const double d = meanDifference(a, b);
        return d <= meanTolerance ? "" : "pixels differ by " + std::to_string(d) + " on average";
    }
    const int d = maxDifference(a, b);
    return d == 0 ? "" : "pixels differ by up to " + std::to_string(d);
}

// Saves as a netpbm file: palette pictures as the colours they show.
OpStatus saveAsPnm(const std::string &path, Picture &picture) {
    if (picture.type != ZNT_PALETTE) return save(path, picture, "ppm");
    Picture rgb{};
    if (!quivel::convertToRgb(picture, rgb)) return ZNT_NO_MEMORY;
    const OpStatus status = save(path, rgb, "ppm");
    zntFree(&rgb);
    return status;
}

OpStatus saveWith(const std::string &path, Picture &picture, const char *format, bool rle) {
    FormatParams params;
    zntDefaultParams(&params);
    params.formatIndex = int16_t(zntFormatGetIndex(format));
    params.rleCompress = rle;
    return zntSave(path.c_str(), &picture, &params, 0);
}

}  // namespace

TEST(OtherWriters, NetpbmFilesLoadAsTheirSource) {
    TestPicture rgb(ZNT_RGB), palette16(ZNT_PALETTE, 16), palette200(ZNT_PALETTE, 200), grey(ZNT_GREY),
        binary(ZNT_BINARY);
    TempDir dir;
    struct Source {
        const char *file;
        Picture *picture;
    } sources[] = {{"rgb.ppm", &rgb.p}, {"p16.ppm", &palette16.p}, {"p200.ppm", &palette200.p},
                   {"grey.pgm", &grey.p}, {"binary.pbm", &binary.p}};
    for (const Source &s : sources) ASSERT_EQ(saveAsPnm(dir.file(s.file), *s.picture), 0);
    struct Case {
        std::vector<std::string> command;   // the source file is added at the end
        const char *source;
        double meanTolerance;   // hold-and-modify changes one channel a pixel: noise comes back close
    } cases[] = {
        {{"ppmtotga", "-rgb"}, "rgb.ppm", 0},          {{"ppmtotga", "-rgb", "-norle"}, "rgb.ppm", 0},
        {{"ppmtotga", "-cmap"}, "p200.ppm", 0},        {{"ppmtotga", "-cmap", "-norle"}, "p16.ppm", 0},
        {{"ppmtotga", "-mono"}, "grey.pgm", 0},        {{"ppmtopcx"}, "p16.ppm", 0},
        {{"ppmtopcx", "-packed"}, "p16.ppm", 0},       {{"ppmtopcx", "-8bit"}, "p200.ppm", 0},
        {{"ppmtopcx", "-24bit"}, "rgb.ppm", 0},        {{"ppmtopcx"}, "binary.pbm", 0},
        {{"pnmtosgi", "-rle"}, "rgb.ppm", 0},          {{"pnmtosgi", "-verbatim"}, "grey.pgm", 0},
        {{"pnmtorast"}, "rgb.ppm", 0},                 {{"pnmtorast", "-rle"}, "p200.ppm", 0},
        {{"pnmtorast", "-rle"}, "grey.pgm", 0},        {{"pnmtorast"}, "grey.pgm", 0},
        {{"ppmtoilbm"}, "rgb.ppm", 0},                 {{"ppmtoilbm", "-compress"}, "p16.ppm", 0},
        {{"ppmtoilbm", "-nocompress"}, "p200.ppm", 0}, {{"ppmtoilbm", "-ham6"}, "rgb.ppm", 10},
        {{"ppmtoilbm", "-ham8"}, "rgb.ppm", 8},        {{"pbmtoxbm"}, "binary.pbm", 0},
        {{"pbmtoxbm", "-x10"}, "binary.pbm", 0},       {{"ppmtoxpm"}, "p16.ppm", 0},
        {{"ppmtoxpm"}, "rgb.ppm", 0},
    };
    for (const Case &c : cases) {
        std::vector<std::string> argv = c.command;
        SCOPED_TRACE(argv[0] + " " + (argv.size() > 1 ? argv[1] : "") + " " + c.source);
        argv[0] = testsupport::requireTool(argv[0]);
        argv.push_back(dir.file(c.source));
        const std::string made = dir.file("made");
        ASSERT_EQ(runToFile(argv, made), "");
        const Picture *want = nullptr;
        for (const Source &s : sources)
            if (std::strcmp(s.file, c.source) == 0) want = s.picture;
        EXPECT_EQ(loadsAs(made, *want, c.meanTolerance), "");
    }
}

TEST(OtherWriters, ImageMagickFilesLoadAsTheirSource) {
    const std::string convert = testsupport::requireTool("convert");
    TestPicture rgb(ZNT_RGB), rgba(ZNT_RGBA), palette12(ZNT_PALETTE, 12), grey(ZNT_GREY), binary(ZNT_BINARY),
        transparent(ZNT_PALETTE, 12, 3);
    TempDir dir;
    ASSERT_EQ(save(dir.file("rgb.ppm"), rgb.p, "ppm"), 0);
    ASSERT_EQ(save(dir.file("rgba.pam"), rgba.p, "pam"), 0);
    ASSERT_EQ(saveAsPnm(dir.file("p12.ppm"), palette12.p), 0);
    ASSERT_EQ(save(dir.file("grey.pgm"), grey.p, "ppm"), 0);
    ASSERT_EQ(save(dir.file("binary.pbm"), binary.p, "ppm"), 0);
    ASSERT_EQ(save(dir.file("t.png"), transparent.p, "png"), 0);
    struct Case {
        const char *source;
        std::vector<std::string> options;
        const char *target;
        Picture *want;
    } cases[] = {
        // Its TGA files keep their rows in memory order and only name the origin.
        {"rgb.ppm", {"-orient", "TopLeft"}, "tga:", &rgb.p},
        {"rgba.pam", {"-orient", "TopLeft", "-compress", "RLE"}, "tga:", &rgba.p},
        {"p12.ppm", {"-orient", "TopLeft", "-type", "Palette"}, "tga:", &palette12.p},
        {"rgb.ppm", {"-compress", "RLE"}, "pcx:", &rgb.p},
        {"p12.ppm", {"-type", "Palette"}, "pcx:", &palette12.p},
        {"binary.pbm", {}, "pcx:", &binary.p},
        {"rgba.pam", {}, "sgi:", &rgba.p},
        {"grey.pgm", {"-compress", "RLE"}, "sgi:", &grey.p},
        {"rgb.ppm", {"-compress", "RLE"}, "sun:", &rgb.p},
        {"p12.ppm", {"-type", "Palette"}, "sun:", &palette12.p},
        {"binary.pbm", {}, "sun:", &binary.p},
        {"binary.pbm", {}, "xbm:", &binary.p},
        {"t.png", {}, "xpm:", &transparent.p},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.source) + " to " + c.target);
        std::vector<std::string> argv = {convert, dir.file(c.source)};
        argv.insert(argv.end(), c.options.begin(), c.options.end());
        argv.push_back(c.target + dir.file("made"));
        ASSERT_TRUE(testsupport::runTool(argv));
        EXPECT_EQ(loadsAs(dir.file("made"), *c.want), "");
    }
    // Three pictures of three kinds in one DCX: each page by its number.
    ASSERT_TRUE(testsupport::runTool({convert, dir.file("rgb.ppm"), dir.file("p12.ppm"), dir.file("binary.pbm"),
                                      "dcx:" + dir.file("pages.dcx")}));
    FileInformation info{};
    ASSERT_EQ(zntFileInformation(dir.file("pages.dcx").c_str(), -1, 0, &info), 0);
    EXPECT_EQ(info.imageCount, 3);
    zntFileInformationFree(&info);
    const Picture *pages[] = {&rgb.p, &palette12.p, &binary.p};
    for (int page = 0; page < 3; ++page) EXPECT_EQ(loadsAs(dir.file("pages.dcx"), *pages[page], 0, page), "") << page;
}

TEST(OtherReaders, OurFilesLoadInNetpbm) {
    TestPicture rgb(ZNT_RGB), palette12(ZNT_PALETTE, 12), palette200(ZNT_PALETTE, 200), grey(ZNT_GREY, 256),
        grey16(ZNT_GREY, 16), binary(ZNT_BINARY);
    TempDir dir;
    struct Case {
        const char *format;
        const char *reader;
        Picture *picture;
        bool rle;
    } cases[] = {
        {"tga", "tgatoppm", &rgb.p, false},       {"tga", "tgatoppm", &rgb.p, true},
        {"tga", "tgatoppm", &palette200.p, true}, {"tga", "tgatoppm", &grey.p, false},
        {"tga", "tgatoppm", &binary.p, true},     {"pcx", "pcxtoppm", &rgb.p, true},
        {"pcx", "pcxtoppm", &palette12.p, true},  {"pcx", "pcxtoppm", &palette200.p, true},
        {"pcx", "pcxtoppm", &grey16.p, true},     {"pcx", "pcxtoppm", &binary.p, true},
        {"sgi", "sgitopnm", &rgb.p, true},        {"sgi", "sgitopnm", &grey.p, false},
        {"sun", "rasttopnm", &rgb.p, false},      {"sun", "rasttopnm", &palette200.p, false},
        {"sun", "rasttopnm", &grey.p, false},     {"sun", "rasttopnm", &binary.p, false},
        {"iff", "ilbmtoppm", &rgb.p, true},       {"iff", "ilbmtoppm", &palette12.p, false},
        {"iff", "ilbmtoppm", &palette200.p, true}, {"iff", "ilbmtoppm", &binary.p, true},
        {"xbm", "xbmtopbm", &binary.p, false},    {"xpm", "xpmtoppm", &palette200.p, false},
        {"xpm", "xpmtoppm", &rgb.p, false},       {"xpm", "xpmtoppm", &binary.p, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.format) + " read by " + c.reader + (c.rle ? " rle" : ""));
        const std::string ours = dir.file(std::string("ours.") + c.format);
        ASSERT_EQ(saveWith(ours, *c.picture, c.format, c.rle), 0);
        ASSERT_EQ(runToFile({testsupport::requireTool(c.reader), ours}, dir.file("back.pnm")), "");
        EXPECT_EQ(loadsAs(dir.file("back.pnm"), *c.picture), "");
    }
}

TEST(OtherReaders, OurAlphaAndPagesLoadInImageMagick) {
    const std::string convert = testsupport::requireTool("convert");
    TestPicture rgba(ZNT_RGBA), rgb(ZNT_RGB), palette200(ZNT_PALETTE, 200), transparent(ZNT_PALETTE, 12, 3);
    TempDir dir;
    struct Case {
        const char *format;
        Picture *picture;
        bool rle;
        std::vector<std::string> options;
    } cases[] = {
        // Bottom-up TGA rows come out in memory order unless oriented.
        {"tga", &rgba.p, true, {"-auto-orient"}},
        {"sgi", &rgba.p, true, {}},
        {"sgi", &rgba.p, false, {}},
        {"xpm", &transparent.p, false, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.format);
        const std::string ours = dir.file(std::string("ours.") + c.format);
        ASSERT_EQ(saveWith(ours, *c.picture, c.format, c.rle), 0);
        std::vector<std::string> argv = {convert, ours};
        argv.insert(argv.end(), c.options.begin(), c.options.end());
        argv.push_back(dir.file("back.png"));
        ASSERT_TRUE(testsupport::runTool(argv));
        EXPECT_EQ(loadsAs(dir.file("back.png"), *c.picture), "");
    }
    // A DCX written page by page: every page where it belongs. (Its reader
    // is not used for pages of 16 colours: it misreads some of them.)
    FormatParams params;
    zntDefaultParams(&params);
    params.rleCompress = 1;
    ZntFile *file = zntFileCreate(dir.file("pages.dcx").c_str(), zntFormatGetIndex("dcx"), &params);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(zntFileAddPicture(file, &rgb.p), 0);
    EXPECT_EQ(zntFileAddPicture(file, &palette200.p), 0);
    EXPECT_EQ(zntFileClose(file), 0);
    const Picture *pages[] = {&rgb.p, &palette200.p};
    for (int page = 0; page < 2; ++page) {
        SCOPED_TRACE(page);
        ASSERT_TRUE(testsupport::runTool({convert, dir.file("pages.dcx") + "[" + std::to_string(page) + "]",
                                          dir.file("page.ppm")}));
        EXPECT_EQ(loadsAs(dir.file("page.ppm"), *pages[page]), "");
    }
}
