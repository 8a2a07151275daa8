// Files without a header, raw samples and YUV 4:2:0 frames: the caller's
// geometry and channel layout, the refusal of a geometry the file cannot
// hold, and the files other programs write.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;
using testsupport::haveProgram;
using testsupport::runQuietly;
using testsupport::TempDir;

namespace {

struct Colours : PatternPicture {
    Colours(int type, int w, int h)
        : PatternPicture(type, w, h, [](uint32_t i, int y) { return i * 11 + uint32_t(y) * 37 + (i % 4) * 50; }) {}
};

auto geometry(int w, int h, int offset = 0, int type = 1, int order = 0) {
    return [=](FormatParams &p) {
        p.loadValues[0] = w, p.loadValues[1] = h, p.loadValues[2] = offset;
        p.rawChannelType = uint8_t(type), p.rawChannelOrder = uint8_t(order);
    };
}

}  // namespace

TEST(RawSamples, EveryChannelTypeAndOrderComesBack) {
    TempDir dir;
    Colours source(ZNT_RGBA, 7, 5);
    const Rgba want = toRgba(source.picture);
    const uint32_t channels[] = {1, 3, 3, 4, 4, 3, 4};
    for (int type = 0; type < 7; ++type) {
        for (int order = 0; order < 3; ++order) {
            SCOPED_TRACE("type " + std::to_string(type) + " order " + std::to_string(order));
            const std::string path = dir.file("s.raw");
            FormatParams params;
            zntDefaultParams(&params);
            params.formatIndex = int16_t(zntFormatGetIndex("raw"));
            params.saveChannelType = uint16_t(type), params.saveChannelOrder = uint16_t(order);
            params.saveOffset = 100;
            ASSERT_EQ(zntSave(path.c_str(), &source.picture, &params, 0), 0);
            EXPECT_EQ(testsupport::readBytes(path).size(), 100 + 7 * 5 * channels[type]);
            Loaded back;
            loadWith(back, path, geometry(7, 5, 100, type, order));
            ASSERT_EQ(back.status, 0) << back.message;
            Rgba got = toRgba(back.picture), expected = want;
            const bool alpha = type == 3 || type == 4;
            for (size_t i = 0; i < expected.pixels.size(); i += 4) {
                uint8_t *e = &expected.pixels[i];
                if (type == 0) e[0] = e[1] = e[2] = uint8_t((77 * e[0] + 150 * e[1] + 29 * e[2]) >> 8);
                if (!alpha) e[3] = 255;
            }
            EXPECT_LE(maxDifference(got, expected), type == 6 ? 1 : 0) << "CMYK rounds";
        }
    }
}

TEST(RawSamples, SubtractiveAndAlphaFirstChannels) {
    // Known bytes: black taken out of CMYK exactly, and alpha first, which
    // ImageMagick does not write.
    TempDir dir;
    // Cyan, and a half-black red.
    testsupport::writeBytes(dir.file("k.raw"), {255, 0, 0, 0, 0, 255, 255, 128});
    Loaded cmyk;
    loadWith(cmyk, dir.file("k.raw"), geometry(2, 1, 0, 6));
    ASSERT_EQ(cmyk.status, 0);
    EXPECT_EQ(std::vector<uint8_t>(cmyk.picture.data, cmyk.picture.data + 6), (std::vector<uint8_t>{0, 255, 255, 127, 0, 0}));
    testsupport::writeBytes(dir.file("a.raw"), {10, 20, 30, 40});
    Loaded abgr;
    loadWith(abgr, dir.file("a.raw"), geometry(1, 1, 0, 4));
    ASSERT_EQ(abgr.status, 0);
    EXPECT_EQ(abgr.picture.type, ZNT_RGBA);
    EXPECT_EQ(std::vector<uint8_t>(abgr.picture.data, abgr.picture.data + 4), (std::vector<uint8_t>{40, 30, 20, 10}));
}

TEST(HeaderlessFormats, GeometryMustFitTheFile) {
    TempDir dir;
    testsupport::writeBytes(dir.file("small.raw"), std::vector<uint8_t>(300, 9));
    testsupport::writeBytes(dir.file("small.yuv"), std::vector<uint8_t>(150, 9));
    struct Case {
        const char *file;
        int w, h, offset, type;
        bool fits;
    } cases[] = {
        {"small.raw", 10, 10, 0, 1, true},   {"small.raw", 10, 10, 1, 1, false}, {"small.raw", 10, 10, 0, 3, false},
        {"small.raw", 30, 10, 0, 0, true},   {"small.raw", -10, 10, 0, 1, false}, {"small.raw", 10, 10, -5, 1, false},
        {"small.raw", 1 << 30, 1 << 30, 0, 1, false},
        {"small.yuv", 10, 10, 0, 0, true},   {"small.yuv", 9, 9, 0, 0, true},    {"small.yuv", 10, 10, 1, 0, false},
        {"small.yuv", 10, 11, 0, 0, false},  {"small.yuv", 0, 10, 0, 0, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.file) + " " + std::to_string(c.w) + "x" + std::to_string(c.h) + "+" + std::to_string(c.offset));
        Loaded l;
        loadWith(l, dir.file(c.file), geometry(c.w, c.h, c.offset, c.type));
        EXPECT_EQ(l.status, c.fits ? 0 : ZNT_BAD_FILE);
        if (!c.fits) {
            EXPECT_FALSE(l.message.empty()) << "the library says why";
        }
    }
    Loaded l;
    loadWith(l, dir.file("small.raw"), geometry(10, 11));
    EXPECT_EQ(l.message, "A raw picture of 10x11 RGB from offset 0 needs 330 bytes; the file holds 300");

    // Only the suffix selects these formats; file information, which has no
    // read options, uses the default geometry of 256 x 256.
    testsupport::writeBytes(dir.file("default.raw"), std::vector<uint8_t>(256 * 256 * 3, 1));
    testsupport::writeBytes(dir.file("default.yuv"), std::vector<uint8_t>(256 * 256 * 3 / 2, 1));
    testsupport::writeBytes(dir.file("default.dat"), std::vector<uint8_t>(256 * 256 * 3, 1));
    for (const char *name : {"default.raw", "default.yuv"}) {
        FileInformation info{};
        ASSERT_EQ(zntFileInformation(dir.file(name).c_str(), -1, 0, &info), 0) << name;
        EXPECT_EQ(info.images[0].width, 256u);
        zntFileInformationFree(&info);
    }
    FileInformation info{};
    EXPECT_EQ(zntFileInformation(dir.file("default.dat").c_str(), -1, 0, &info), ZNT_UNKNOWN_FORMAT);
    zntFileInformationFree(&info);
    // A file too small for the default geometry is still described (as
    // 0 x 0), so that a load given its real geometry can follow.
    ASSERT_EQ(zntFileInformation(dir.file("small.raw").c_str(), -1, 0, &info), 0);
    EXPECT_EQ(info.images[0].width, 0u);
    zntFileInformationFree(&info);
}

TEST(RawSamples, FromImageMagick) {
    if (!haveProgram("convert")) GTEST_SKIP() << "convert is not installed";
    TempDir dir;
    Colours source(ZNT_RGB, 9, 6);
    ASSERT_EQ(save(dir.file("src.ppm"), source.picture, "ppm"), 0);
    Loaded grey;
    ASSERT_EQ(runQuietly("convert " + dir.file("src.ppm") + " -colorspace gray -depth 8 " + dir.file("grey.pgm")), 0);
    load(grey, dir.file("grey.pgm"));
    struct Case {
        const char *output;
        int type, order, tolerance;
    } cases[] = {
        {"-depth 8 rgb:", 1, 0, 0},  {"-depth 8 -interlace plane rgb:", 1, 1, 0},
        {"-depth 8 -interlace line rgb:", 1, 2, 0}, {"-depth 8 bgr:", 2, 0, 0},
        {"-colorspace gray -depth 8 gray:", 0, 0, 0}, {"-colorspace CMYK -depth 8 cmyk:", 6, 0, 2},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.output);
        ASSERT_EQ(runQuietly("convert " + dir.file("src.ppm") + " " + c.output + dir.file("im.raw")), 0);
        Loaded l;
        loadWith(l, dir.file("im.raw"), geometry(9, 6, 0, c.type, c.order));
        ASSERT_EQ(l.status, 0) << l.message;
        EXPECT_LE(maxDifference(toRgba(l.picture), toRgba(c.type == 0 ? grey.picture : source.picture)), c.tolerance);
    }
}

TEST(Yuv, KnownSamples) {
    TempDir dir;
    // 3 x 3 pixels: chroma planes of 2 x 2. Luma 235 / 16 is white / black
    // in video range; the second chroma column is red.
    std::vector<uint8_t> frame = {235, 16, 81, 235, 16, 81, 16, 16, 16};
    frame.insert(frame.end(), {128, 90, 128, 128});    // blue difference
    frame.insert(frame.end(), {128, 240, 128, 128});   // red difference
    frame.insert(frame.begin(), 5, 0);                 // a starting offset
    testsupport::writeBytes(dir.file("f.yuv"), frame);
    Loaded l;
    loadWith(l, dir.file("f.yuv"), geometry(3, 3, 5));
    ASSERT_EQ(l.status, 0) << l.message;
    EXPECT_EQ(l.picture.type, ZNT_RGB);
    const uint8_t *p = l.picture.data;
    EXPECT_EQ(std::vector<uint8_t>(p, p + 6), (std::vector<uint8_t>{255, 255, 255, 0, 0, 0}));
    EXPECT_NEAR(p[6], 255, 1);   // luma 81 with red chroma: pure red
    EXPECT_NEAR(p[7], 0, 1);
    EXPECT_NEAR(p[8], 0, 1);
    const uint8_t *last = p + 2 * l.picture.bytesPerLine;
    EXPECT_EQ(last[6], 0) << "the last row takes the last chroma row";
}

TEST(HeaderlessFormats, DamagedFilesGiveAStatus) {
    TempDir dir;
    Colours source(ZNT_RGB, 20, 10);
    ASSERT_EQ(save(dir.file("s.raw"), source.picture, "raw"), 0);
    expectDamageGivesAStatus(testsupport::readBytes(dir.file("s.raw")), dir.file("d.raw"), geometry(20, 10));
    expectDamageGivesAStatus(std::vector<uint8_t>(300, 77), dir.file("d.yuv"), geometry(20, 10));
}
