// The older raster formats (TGA, PCX, DCX, SGI, Sun raster, IFF, XBM, XPM,
// Softimage) beside the programs people made such files with: files that
// netpbm and ImageMagick write at test time load as the pictures they were
// made from, the files we write load in those programs, and small files
// built here byte by byte cover what no installed writer produces.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "imageops/color_reduction.h"
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
    if (quivel::convertToTrueColor(&picture, &rgb, ZNT_RGB) != ZNT_OK) return ZNT_NO_MEMORY;
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

namespace {

// Bytes written in order: text, 8-bit values, and big or little-endian words.
struct Bytes {
    std::vector<uint8_t> b;
    Bytes &text(const std::string &s) { return b.insert(b.end(), s.begin(), s.end()), *this; }
    Bytes &u8(std::initializer_list<int> values) {
        for (int v : values) b.push_back(uint8_t(v));
        return *this;
    }
    Bytes &be16(unsigned v) { return u8({int(v >> 8) & 255, int(v) & 255}); }
    Bytes &be32(uint32_t v) { return be16(v >> 16).be16(v & 0xffff); }
    Bytes &le16(unsigned v) { return u8({int(v) & 255, int(v >> 8) & 255}); }
    Bytes &zeros(size_t n) { return b.resize(b.size() + n), *this; }
};

// Loads a file made of `bytes` and compares its pixels, as 0xRRGGBBAA row
// by row, with `want`; "" when they are the same.
std::string pixelsOf(const std::vector<uint8_t> &bytes, uint32_t width, const std::vector<uint32_t> &want,
                     const char *name = "made") {
    TempDir dir;
    testsupport::writeBytes(dir.file(name), bytes);
    Loaded got;
    load(got, dir.file(name));
    if (got.status != 0) return "load failed with status " + std::to_string(got.status) + " " + got.message;
    const Rgba rgba = toRgba(got.picture);
    if (rgba.width != width || rgba.pixels.size() != want.size() * 4) return "the size differs";
    std::string differences;
    for (size_t i = 0; i < want.size(); ++i) {
        const uint8_t *p = &rgba.pixels[4 * i];
        const uint32_t have = uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
        const bool clear = (want[i] & 255) == 0 && p[3] == 0;
        if (have != want[i] && !clear) {
            char text[64];
            std::snprintf(text, sizeof text, "pixel %zu is %08x, not %08x; ", i, have, want[i]);
            differences += text;
        }
    }
    return differences;
}

std::vector<uint8_t> softimageHeader(unsigned width, unsigned height) {
    Bytes h;
    h.be32(0x5380f634).be32(0x406d70a4).zeros(80).text("PICT").be16(width).be16(height).be32(0x3f800000).be16(3).be16(0);
    return h.b;
}

}  // namespace

TEST(OlderFormats, LayoutsNoInstalledWriterMakes) {
    struct Case {
        const char *what;
        std::vector<uint8_t> bytes;
        uint32_t width;
        std::vector<uint32_t> want;
    };
    std::vector<Case> cases;
    {   // TGA: 16 bits with one alpha bit, rows right to left, top first, a run carried into the next row.
        Bytes b;
        b.u8({0, 0, 10}).zeros(9).le16(3).le16(2).u8({16, 0x20 | 0x10 | 1});
        b.u8({0x83}).le16(0xfc00).u8({0x01}).le16(0x03e0).le16(0x801f);
        cases.push_back({"tga", b.b, 3, {0xff0000ff, 0xff0000ff, 0xff0000ff, 0x0000ffff, 0x00ff0000, 0xff0000ff}});
    }
    {   // PCX: four colours of two bits from the header's palette.
        Bytes b;
        b.u8({10, 5, 1, 2}).le16(0).le16(0).le16(3).le16(0).le16(72).le16(72);
        b.u8({10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120}).zeros(36).u8({0, 1}).le16(2).le16(1).zeros(58);
        b.u8({0x1b, 0x00});
        cases.push_back({"pcx", b.b, 4, {0x0a141eff, 0x28323cff, 0x46505aff, 0x646e78ff}});
    }
    {   // PCX: a file that predates palettes takes the sixteen display colours.
        Bytes b;
        b.u8({10, 3, 0, 1}).le16(0).le16(0).le16(0).le16(0).le16(72).le16(72).zeros(48).u8({0, 4}).le16(2).le16(1).zeros(58);
        b.u8({0x80, 0, 0, 0, 0, 0, 0x80, 0});
        cases.push_back({"pcx", b.b, 1, {0x5555ffff}});
    }
    {   // Sun raster: 32 bits in the RGB type, the first byte padding.
        Bytes b;
        b.be32(0x59a66a95).be32(2).be32(1).be32(32).be32(8).be32(3).be32(0).be32(0);
        b.u8({0, 10, 20, 30, 99, 40, 50, 60});
        cases.push_back({"sun", b.b, 2, {0x0a141eff, 0x28323cff}});
    }
    {   // SGI: grey with alpha in 16-bit samples, verbatim.
        Bytes b;
        b.be16(474).u8({0, 2}).be16(3).be16(2).be16(1).be16(2).be32(0).be32(65535).zeros(512 - 20);
        b.be16(0x1234).be16(0xff00).be16(0x8000).be16(0xffff);
        cases.push_back({"sgi", b.b, 2, {0x12121280, 0xffffffff}});
    }
    {   // IFF: extra half-brite, 64 colours from a map of 32.
        Bytes b;
        b.text("FORM").be32(4 + 28 + 8 + 96 + 12 + 20).text("ILBM");
        b.text("BMHD").be32(20).be16(1).be16(1).be32(0).u8({6, 0, 0, 0}).be16(0).u8({1, 1}).be16(1).be16(1);
        b.text("CMAP").be32(96).zeros(3).u8({200, 100, 50}).zeros(90);
        b.text("CAMG").be32(4).be32(0x80);
        b.text("BODY").be32(12).u8({0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x80, 0});
        cases.push_back({"iff", b.b, 1, {0x643219ff}});
    }
    {   // IFF: the chunky variant, packed.
        Bytes b;
        b.text("FORM").be32(4 + 28 + 18 + 14).text("PBM ");
        b.text("BMHD").be32(20).be16(3).be16(1).be32(0).u8({8, 0, 1, 0}).be16(0).u8({1, 1}).be16(3).be16(1);
        b.text("CMAP").be32(9).u8({255, 0, 0, 0, 255, 0, 0, 0, 255, 0});
        b.text("BODY").be32(5).u8({3, 2, 1, 0, 0, 0});
        cases.push_back({"iff", b.b, 3, {0x0000ffff, 0x00ff00ff, 0xff0000ff}});
    }
    {   // IFF: a mask plane after the colour planes is skipped.
        Bytes b;
        b.text("FORM").be32(4 + 28 + 14 + 12).text("ILBM");
        b.text("BMHD").be32(20).be16(2).be16(1).be32(0).u8({1, 1, 0, 0}).be16(0).u8({1, 1}).be16(2).be16(1);
        b.text("CMAP").be32(6).u8({255, 0, 0, 0, 0, 255});
        b.text("BODY").be32(4).u8({0x80, 0, 0xc0, 0});
        cases.push_back({"iff", b.b, 2, {0x0000ffff, 0xff0000ff}});
    }
    {   // Softimage: pure runs of colour, then mixed runs of alpha (a 16-bit count, then raw values).
        Bytes b;
        b.b = softimageHeader(2, 2);
        b.u8({1, 8, 1, 0xe0, 0, 8, 2, 0x10});
        b.u8({2, 1, 2, 3}).u8({128, 0, 2, 200});
        b.u8({1, 4, 5, 6, 1, 7, 8, 9}).u8({1, 10, 20});
        cases.push_back({"soft", b.b, 2, {0x010203c8, 0x010203c8, 0x0405060a, 0x07080914}});
    }
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(pixelsOf(c.bytes, c.width, c.want, (std::string("made.") + c.what).c_str()), "");
    }
}

TEST(OlderFormats, PixmapColoursCodesAndKeys) {
    const std::string named = "/* XPM */\n"
                              "static char * test_xpm[] = {\n"
                              "/* width height colours characters */\n"
                              "\"4 2 5 2 0 0\",\n"
                              "\"aa c red\",\n"
                              "\"bb m white c #00F\",\n"
                              "\"cc g4 black s background c None\",\n"
                              "\"dd c gray50\",\n"
                              "\"ee c #FFFF80800000\",\n"
                              "/* pixels */\n"
                              "\"aabbccdd\",\n"
                              "\"eeddccaa\"};\n";
    EXPECT_EQ(pixelsOf(std::vector<uint8_t>(named.begin(), named.end()), 4,
                       {0xff0000ff, 0x0000ffff, 0, 0x808080ff, 0xff8000ff, 0x808080ff, 0, 0xff0000ff}),
              "");
    // Three characters a pixel, and two transparent colours that share one index.
    const std::string three = "/* XPM */\nstatic char *x[] = {\"2 2 3 3\", \"a.b c None\", \"ccc c #010203\", "
                              "\"zzz c none\", \"a.bzzz\", \"cccccc\"};\n";
    EXPECT_EQ(pixelsOf(std::vector<uint8_t>(three.begin(), three.end()), 2, {0, 0, 0x010203ff, 0x010203ff}), "");
    TempDir dir;
    testsupport::writeFile(dir.file("three.xpm"), three);
    Loaded l;
    load(l, dir.file("three.xpm"));
    EXPECT_EQ(l.picture.type, ZNT_PALETTE);
    EXPECT_EQ(l.picture.transparentIndex, 0);

    // More than 256 colours load as true colour, with alpha when one is "None".
    for (bool none : {false, true}) {
        std::string text = "/* XPM */\nstatic char *many[] = {\n\"300 1 300 2\",\n";
        std::string row;
        std::vector<uint32_t> want;
        for (int i = 0; i < 300; ++i) {
            const std::string code = {char('A' + i / 26), char('a' + i % 26)};
            char entry[64];
            if (none && i == 7)
                std::snprintf(entry, sizeof entry, "\"%s c None\",\n", code.c_str());
            else
                std::snprintf(entry, sizeof entry, "\"%s c #%02X%02X00\",\n", code.c_str(), i & 255, i >> 8);
            text += entry;
            row += code;
            want.push_back(none && i == 7 ? 0 : uint32_t(i & 255) << 24 | uint32_t(i >> 8) << 16 | 0xff);
        }
        text += "\"" + row + "\"};\n";
        testsupport::writeFile(dir.file("many.xpm"), text);
        Loaded many;
        load(many, dir.file("many.xpm"));
        EXPECT_EQ(many.picture.type, none ? ZNT_RGBA : ZNT_RGB);
        EXPECT_EQ(pixelsOf(std::vector<uint8_t>(text.begin(), text.end()), 300, want, "many.xpm"), "");
    }
}

TEST(OlderFormats, BitmapTextVariants) {
    const std::string x11 = "/* made by hand */\n#define odd_width 10\n#define odd_height 2\n#define odd_x_hot 1\n"
                            "#define odd_y_hot 1\nstatic char odd_bits[] = {\n   0x01, /* a comment */ 0x02,\n"
                            "   255, 0x00 };\n";
    const uint32_t k = 0x000000ff, w = 0xffffffff;
    EXPECT_EQ(pixelsOf(std::vector<uint8_t>(x11.begin(), x11.end()), 10,
                       {k, w, w, w, w, w, w, w, w, k, k, k, k, k, k, k, k, k, w, w}),
              "");
    const std::string x10 = "#define w_width 17\n#define w_height 1\nstatic short w_bits[] = { 0x0001, 0x0001 };\n";
    std::vector<uint32_t> want(17, w);
    want[0] = want[16] = k;
    EXPECT_EQ(pixelsOf(std::vector<uint8_t>(x10.begin(), x10.end()), 17, want), "");
}
