// Film scans (DPX and Cineon): the layouts other programs write, the
// orientations, and the conversion between 10-bit log codes and 8-bit
// linear values, by the standard table or by a table file.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "film.h"
#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;
using testsupport::haveProgram;
using testsupport::runQuietly;
using testsupport::TempDir;

namespace {

// A picture whose rows and columns all differ, so that flips show.
struct Ramp : PatternPicture {
    Ramp(int type, int w, int h)
        : PatternPicture(type, w, h, [](uint32_t i, int y) { return i * 7 + uint32_t(y) * 31 + (i % 4 == 3 ? 100 : 0); }) {}
};

// The 10-bit code of sample `index` of the first row of a 10-bit file
// written by us: three codes to a big-endian word, the first in the top
// bits, or in the low bits for grey.
int codeAt(const std::vector<uint8_t> &file, size_t index, bool firstLow) {
    const uint8_t *w = &file[2048 + index / 3 * 4];
    const uint32_t word = uint32_t(w[0]) << 24 | uint32_t(w[1]) << 16 | uint32_t(w[2]) << 8 | w[3];
    const int k = int(index % 3);
    return int(word >> (firstLow ? 2 + 10 * k : 22 - 10 * k) & 0x3ff);
}

}  // namespace

TEST(FilmScans, DpxLayoutsFromImageMagick) {
    if (!haveProgram("convert")) GTEST_SKIP() << "convert is not installed";
    TempDir dir;
    // 66 columns: ImageMagick drops the last luma sample of a row that ends inside a word.
    Ramp source(ZNT_RGB, 66, 40);
    ASSERT_EQ(save(dir.file("src.ppm"), source.picture, "ppm"), 0);
    ASSERT_EQ(runQuietly("convert " + dir.file("src.ppm") + " -colorspace gray -depth 8 " + dir.file("grey.pgm")), 0);
    struct Case {
        const char *options;
        bool grey;
        int tolerance;
    } cases[] = {
        {"-depth 8", false, 0},           {"-depth 10", false, 0},
        {"-depth 12", false, 0},          {"-depth 16", false, 0},
        {"-endian LSB -depth 10", false, 0}, {"-colorspace gray -depth 10", true, 1},
        {"-depth 10 -alpha set", false, 0},
    };
    Loaded grey;
    load(grey, dir.file("grey.pgm"));
    ASSERT_EQ(grey.status, 0);
    for (const Case &c : cases) {
        SCOPED_TRACE(c.options);
        const std::string path = dir.file("scan.dpx");
        ASSERT_EQ(runQuietly("convert " + dir.file("src.ppm") + " " + c.options + " " + path), 0);
        Loaded l;
        load(l, path);
        ASSERT_EQ(l.status, 0) << l.message;
        EXPECT_EQ(l.picture.type, c.grey ? ZNT_GREY : std::strstr(c.options, "alpha") ? ZNT_RGBA : ZNT_RGB);
        EXPECT_LE(maxDifference(toRgba(l.picture), toRgba(c.grey ? grey.picture : source.picture)), c.tolerance);
    }
}

TEST(FilmScans, CineonFromImageMagickKeepsItsCodes) {
    if (!haveProgram("convert")) GTEST_SKIP() << "convert is not installed";
    TempDir dir;
    Ramp source(ZNT_RGB, 50, 30);
    ASSERT_EQ(save(dir.file("src.ppm"), source.picture, "ppm"), 0);
    ASSERT_EQ(runQuietly("convert " + dir.file("src.ppm") + " -depth 10 " + dir.file("scan.cin")), 0);
    // ImageMagick's own view of the codes, without its log conversion.
    ASSERT_EQ(runQuietly("convert " + dir.file("scan.cin") + " -set colorspace sRGB -depth 8 " + dir.file("codes.ppm")), 0);
    Loaded ours, codes;
    load(ours, dir.file("scan.cin"));
    load(codes, dir.file("codes.ppm"));
    ASSERT_EQ(ours.status, 0) << ours.message;
    ASSERT_EQ(codes.status, 0);
    EXPECT_LE(maxDifference(toRgba(ours.picture), toRgba(codes.picture)), 1);
}

TEST(FilmScans, ImageMagickReadsWhatWeWrite) {
    if (!haveProgram("convert")) GTEST_SKIP() << "convert is not installed";
    TempDir dir;
    struct Case {
        const char *format;
        int type;
        bool tenBits;
    } cases[] = {{"dpx", ZNT_RGB, false}, {"dpx", ZNT_RGB, true}, {"dpx", ZNT_GREY, true},
                 {"dpx", ZNT_GREY, false}, {"dpx", ZNT_RGBA, true}, {"cin", ZNT_RGB, true}, {"cin", ZNT_GREY, true}};
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.format) + " " + std::to_string(c.type) + (c.tenBits ? " 10 bits" : ""));
        Ramp source(c.type, 66, 20);
        const std::string path = dir.file(std::string("ours.") + c.format);
        void (*tenBits)(FormatParams &) = [](FormatParams &p) { p.dpx10Bits = 1; };
        ASSERT_EQ(save(path, source.picture, c.format, c.tenBits ? tenBits : nullptr), 0);
        // Cineon is log data to ImageMagick: ask for its codes as they are.
        const char *asCodes = std::strcmp(c.format, "cin") == 0 ? " -set colorspace sRGB" : "";
        ASSERT_EQ(runQuietly("convert " + path + asCodes + " -depth 8 " + dir.file("back.pam")), 0);
        Loaded back;
        load(back, dir.file("back.pam"));
        ASSERT_EQ(back.status, 0);
        EXPECT_LE(maxDifference(toRgba(back.picture), toRgba(source.picture)), 1);
    }
}

TEST(FilmScans, OrientationFlipsAndMirrors) {
    TempDir dir;
    Ramp source(ZNT_RGB, 5, 4);
    const Rgba want = toRgba(source.picture);
    // Where the pixel (x, y) of the stored picture appears.
    auto expect = [&](const Rgba &got, bool mirrored, bool upsideDown) {
        for (uint32_t y = 0; y < 4; ++y)
            for (uint32_t x = 0; x < 5; ++x) {
                const uint32_t gx = mirrored ? 4 - x : x, gy = upsideDown ? 3 - y : y;
                EXPECT_EQ(std::memcmp(&got.pixels[(gy * 5 + gx) * 4], &want.pixels[(y * 5 + x) * 4], 4), 0) << x << "," << y;
            }
    };
    for (const char *format : {"dpx", "cin"}) {
        SCOPED_TRACE(format);
        const std::string path = dir.file(std::string("o.") + format);
        ASSERT_EQ(save(path, source.picture, format), 0);
        const std::vector<uint8_t> stored = testsupport::readBytes(path);
        for (uint8_t orientation = 0; orientation < 4; ++orientation) {
            SCOPED_TRACE(int(orientation));
            std::vector<uint8_t> bytes = stored;
            // DPX: a 16-bit field, 1 mirrors, 2 turns upside down. Cineon: a byte, the other way round.
            const bool dpx = std::strcmp(format, "dpx") == 0;
            bytes[dpx ? 769 : 192] = orientation;
            testsupport::writeBytes(path, bytes);
            Loaded l;
            load(l, path);
            ASSERT_EQ(l.status, 0);
            const bool first = orientation & 1, second = orientation & 2;
            expect(toRgba(l.picture), dpx ? first : second, dpx ? second : first);
        }
    }
}

TEST(FilmScans, StandardTables) {
    const zentar::LogToLinear &toLinear = zentar::standardLogToLinear();
    const zentar::LinearToLog &toLog = zentar::standardLinearToLog();
    EXPECT_EQ(toLinear[95], 0) << "reference black";
    EXPECT_EQ(toLinear[0], 0);
    EXPECT_EQ(toLinear[685], 255) << "reference white";
    EXPECT_EQ(toLinear[1023], 255);
    EXPECT_EQ(toLog[0], 95);
    EXPECT_EQ(toLog[255], 685);
    for (size_t c = 1; c < 1024; ++c) EXPECT_LE(toLinear[c - 1], toLinear[c]) << c;
    for (int v = 0; v < 256; ++v) EXPECT_LE(std::abs(toLinear[toLog[size_t(v)]] - v), 1) << v;
    // Mid grey sits high in the code range: the log scale spends codes on the shadows.
    EXPECT_GT(toLog[128], 550);
}

TEST(FilmScans, LookUpTablesOnSaveAndLoad) {
    TempDir dir;
    Picture grey{};
    ASSERT_TRUE(zntAllock(&grey, ZNT_GREY, 8, 256, 1));
    for (int x = 0; x < 256; ++x) grey.data[x] = uint8_t(x);
    // The standard table: black and white land on the reference codes, and
    // the values come back within one step.
    for (const char *format : {"dpx", "cin"}) {
        SCOPED_TRACE(format);
        const std::string path = dir.file(std::string("lut.") + format);
        ASSERT_EQ(save(path, grey, format, [](FormatParams &p) { p.useLut = 1, p.dpx10Bits = 1; }), 0);
        const std::vector<uint8_t> file = testsupport::readBytes(path);
        EXPECT_EQ(codeAt(file, 0, true), 95);
        EXPECT_EQ(codeAt(file, 255, true), 685);
        Loaded back, plain;
        loadWith(back, path, [](FormatParams &p) { p.useLut = 1; });
        ASSERT_EQ(back.status, 0);
        EXPECT_LE(maxDifference(toRgba(back.picture), toRgba(grey)), 1);
        load(plain, path);
        EXPECT_EQ(plain.picture.data[255], (685 * 255 + 511) / 1023) << "without the table the codes are scaled";
    }
    // Table files: four codes per value and back, with comments and commas.
    std::string up = "# linear to log\n", down;
    for (int v = 0; v < 256; ++v) up += std::to_string(v * 4) + (v % 16 == 15 ? ",\n" : ", ");
    for (int c = 0; c < 1024; ++c) down += std::to_string(c / 4) + (c % 32 == 31 ? "\n" : " ");
    testsupport::writeFile(dir.file("up.lut"), up);
    testsupport::writeFile(dir.file("down.lut"), down);
    const std::string path = dir.file("table.dpx");
    const std::string upPath = dir.file("up.lut"), downPath = dir.file("down.lut");
    auto withTable = [](const std::string &table) {
        return [table](FormatParams &p) {
            p.useLut = 1, p.dpx10Bits = 1;
            std::snprintf(p.lutFileName, sizeof p.lutFileName, "%s", table.c_str());
        };
    };
    FormatParams params;
    zntDefaultParams(&params);
    withTable(upPath)(params);
    params.formatIndex = int16_t(zntFormatGetIndex("dpx"));
    ASSERT_EQ(zntSave(path.c_str(), &grey, &params, 0), 0);
    const std::vector<uint8_t> file = testsupport::readBytes(path);
    EXPECT_EQ(codeAt(file, 100, true), 400);
    Loaded back;
    loadWith(back, path, withTable(downPath));
    ASSERT_EQ(back.status, 0) << back.message;
    EXPECT_EQ(maxDifference(toRgba(back.picture), toRgba(grey)), 0);

    // Bad tables: a status and a message naming the file; a save leaves no file.
    const std::string bad = dir.file("bad.lut");
    for (const std::string &text : {down.substr(0, down.rfind(' ')), down + " 7", "256 " + down.substr(2), "12a " + down.substr(2)}) {
        testsupport::writeFile(bad, text);
        Loaded l;
        loadWith(l, path, withTable(bad));
        EXPECT_EQ(l.status, ZNT_BAD_FILE);
        EXPECT_NE(l.message.find("bad.lut"), std::string::npos) << l.message;
    }
    Loaded missing;
    loadWith(missing, path, withTable(dir.file("none.lut")));
    EXPECT_EQ(missing.status, ZNT_BAD_FILE);
    EXPECT_NE(missing.message.find("none.lut"), std::string::npos);
    zntDefaultParams(&params);
    withTable(downPath)(params);   // 1024 numbers where 256 are wanted
    params.formatIndex = int16_t(zntFormatGetIndex("cin"));
    EXPECT_EQ(zntSave(dir.file("no.cin").c_str(), &grey, &params, 0), ZNT_BAD_FILE);
    EXPECT_TRUE(testsupport::readBytes(dir.file("no.cin")).empty());
    zntFree(&grey);
}
