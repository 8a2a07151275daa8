// Camera raw files: a DNG made here (tests/support/dng_file.h) is told from
// a plain TIFF, described without developing it, developed in full, and
// read quickly from its embedded preview when a reduced load allows.
#include <gtest/gtest.h>

#include "dng_file.h"
#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;
using testsupport::TempDir;

namespace {

// Which colour dominates a pixel: 0 red, 1 green, 2 blue.
int dominant(const Picture &p, int x, int y) {
    const Rgba rgba = toRgba(p);
    const uint8_t *c = &rgba.pixels[(size_t(y) * rgba.width + size_t(x)) * 4];
    return c[0] >= c[1] && c[0] >= c[2] ? 0 : c[1] >= c[2] ? 1 : 2;
}

}  // namespace

TEST(CameraRaw, DngIsToldFromTiffAndDescribed) {
    TempDir dir;
    testsupport::DngOptions options;
    options.orientation = 6;
    ASSERT_TRUE(testsupport::writeTestDng(dir.file("camera.tif"), options));
    FileInformation info{};
    ASSERT_EQ(zntFileInformation(dir.file("camera.tif").c_str(), -1, 0, &info), 0);
    EXPECT_STREQ(zntFormatGetName(info.formatIndex), "camraw") << "its TIFF signature does not decide";
    EXPECT_EQ(info.images[0].width, 64u);
    EXPECT_EQ(info.images[0].height, 48u);
    EXPECT_EQ(info.images[0].bitsPerComponent, 12);
    EXPECT_EQ(info.orientation, 6) << "reported, not applied";
    EXPECT_STREQ(info.compressionName, "DNG");
    ASSERT_NE(info.comment, nullptr);
    EXPECT_STREQ(info.comment, "Quivel Test Camera");
    zntFileInformationFree(&info);

    // A TIFF of our own stays a TIFF.
    Picture plain{};
    ASSERT_TRUE(zntAllock(&plain, ZNT_RGB, 8, 20, 10));
    ASSERT_EQ(save(dir.file("plain.tif"), plain, "tiff"), 0);
    zntFree(&plain);
    ASSERT_EQ(zntFileInformation(dir.file("plain.tif").c_str(), -1, 0, &info), 0);
    EXPECT_STREQ(zntFormatGetName(info.formatIndex), "tiff");
    zntFileInformationFree(&info);
}

TEST(CameraRaw, AFullLoadDevelopsTheSensorData) {
    TempDir dir;
    ASSERT_TRUE(testsupport::writeTestDng(dir.file("camera.dng")));
    Loaded l;
    load(l, dir.file("camera.dng"));
    ASSERT_EQ(l.status, 0) << l.message;
    EXPECT_EQ(l.picture.type, ZNT_RGB);
    EXPECT_EQ(l.picture.width, 64u);
    EXPECT_EQ(l.picture.height, 48);
    EXPECT_EQ(dominant(l.picture, 10, 20), 0) << "the red half";
    EXPECT_EQ(dominant(l.picture, 54, 20), 2) << "the blue half";
    Loaded second;
    load(second, dir.file("camera.dng"), 1);
    EXPECT_EQ(second.status, ZNT_BAD_FILE) << "one page";

    // Development reports its stages, and stops when asked.
    FormatParams params;
    zntDefaultParams(&params);
    params.progressFunction = [](int, int, void *) { return 1; };
    Picture stopped{};
    EXPECT_EQ(zntLoad(dir.file("camera.dng").c_str(), &stopped, &params, nullptr), ZNT_STOPPED);
    EXPECT_EQ(stopped.data, nullptr);
}

TEST(CameraRaw, QuickLoadsTakeThePreviewWhenItIsLargeEnough) {
    TempDir dir;
    ASSERT_TRUE(testsupport::writeTestDng(dir.file("preview.dng")));   // a 32 x 24 green preview
    testsupport::DngOptions none;
    none.previewWidth = none.previewHeight = 0;
    ASSERT_TRUE(testsupport::writeTestDng(dir.file("bare.dng"), none));
    struct Case {
        const char *file;
        uint32_t wantW, wantH;
        uint32_t gotW;
        bool preview;
    } cases[] = {
        {"preview.dng", 16, 12, 32, true},
        {"preview.dng", 32, 24, 32, true},
        {"preview.dng", 40, 30, 32, false},   // too small: developed at half size
        {"bare.dng", 16, 12, 32, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.file) + " " + std::to_string(c.wantW));
        Loaded reduced;
        loadReduced(reduced, dir.file(c.file), c.wantW, c.wantH);
        ASSERT_EQ(reduced.status, 0);
        const Picture &p = reduced.picture;
        EXPECT_EQ(p.width, c.gotW);
        if (c.preview) {
            EXPECT_EQ(dominant(p, 5, 5), 1) << "the green preview";
        } else {
            EXPECT_EQ(dominant(p, 2, 5), 0);
            EXPECT_EQ(dominant(p, int(p.width) - 3, 5), 2);
        }
    }
}
