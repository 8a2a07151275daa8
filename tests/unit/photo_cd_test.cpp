// Photo CD image packs: the three base sizes at their sectors, PhotoYCC
// with chroma at half resolution, rotated pictures, cut files. The packs
// are built here, and written by ImageMagick where it is installed.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;
using testsupport::haveProgram;
using testsupport::runQuietly;
using testsupport::TempDir;

namespace {

struct Base {
    int width, height;
    size_t sector;
};
const Base kBases[3] = {{192, 128, 4}, {384, 256, 23}, {768, 512, 96}};

// The PhotoYCC samples of base `b` at (x, y): a different picture per base.
uint8_t lumaAt(int b, int x, int y) { return uint8_t(40 + 30 * b + x * 100 / kBases[b].width + y * 50 / kBases[b].height); }
uint8_t c1At(int b, int cx, int cy) { return uint8_t(120 + cx * 70 / kBases[b].width + (cy & 3) * 5); }
uint8_t c2At(int b, int cx, int cy) { return uint8_t(170 - cy * 80 / kBases[b].height + (cx & 1) * 9); }

// An image pack: sectors of 2048 bytes, "PCD_IPI" at 2048, the rotation at
// 0xE02, and each base as pairs of luma rows followed by one row of C1 and
// one of C2 at half the width.
std::vector<uint8_t> imagePack(int rotation) {
    std::vector<uint8_t> pack(kBases[2].sector * 2048 + size_t(768) * 512 * 3 / 2, 0xff);
    std::memcpy(&pack[2048], "PCD_IPI", 7);
    pack[0xe02] = uint8_t(rotation);
    for (int b = 0; b < 3; ++b) {
        const int w = kBases[b].width;
        uint8_t *p = &pack[kBases[b].sector * 2048];
        for (int pair = 0; pair < kBases[b].height / 2; ++pair) {
            for (int k = 0; k < 2; ++k)
                for (int x = 0; x < w; ++x) *p++ = lumaAt(b, x, 2 * pair + k);
            for (int cx = 0; cx < w / 2; ++cx) *p++ = c1At(b, cx, pair);
            for (int cx = 0; cx < w / 2; ++cx) *p++ = c2At(b, cx, pair);
        }
    }
    return pack;
}

// The colour of a PhotoYCC sample, worked out in floating point.
std::array<int, 3> rgbOf(int y, int c1, int c2) {
    const double l = 1.3584 * y, a = 2.2179 * (c1 - 156), b = 1.8215 * (c2 - 137);
    auto clamp = [](double v) { return int(std::clamp(std::lround(v), 0L, 255L)); };
    return {clamp(l + b), clamp(l - 0.194 * a - 0.509 * b), clamp(l + a)};
}

// Base `b` as it is stored (landscape), in RGBA.
Rgba expectedBase(int b) {
    Rgba out;
    out.width = uint32_t(kBases[b].width), out.height = uint32_t(kBases[b].height);
    for (int y = 0; y < kBases[b].height; ++y)
        for (int x = 0; x < kBases[b].width; ++x) {
            const auto rgb = rgbOf(lumaAt(b, x, y), c1At(b, x / 2, y / 2), c2At(b, x / 2, y / 2));
            out.pixels.insert(out.pixels.end(), {uint8_t(rgb[0]), uint8_t(rgb[1]), uint8_t(rgb[2]), 255});
        }
    return out;
}

auto base(int b) {
    return [b](FormatParams &p) { p.pcdBase = uint8_t(b); };
}

}  // namespace

TEST(PhotoCd, EachBaseSizeFromItsSectors) {
    TempDir dir;
    const std::string path = dir.file("pack.pcd");
    testsupport::writeBytes(path, imagePack(0));
    FileInformation info{};
    ASSERT_EQ(zntFileInformation(path.c_str(), -1, 0, &info), 0);
    EXPECT_STREQ(zntFormatGetName(info.formatIndex), "pcd");
    EXPECT_EQ(info.images[0].width, 768u);
    EXPECT_EQ(info.images[0].height, 512u);
    zntFileInformationFree(&info);
    for (int b = 0; b < 5; ++b) {
        SCOPED_TRACE(b);
        Loaded l;
        loadWith(l, path, base(b));
        ASSERT_EQ(l.status, 0) << l.message;
        // The larger sizes need the extension's residuals: they load as Base.
        EXPECT_LE(maxDifference(toRgba(l.picture), expectedBase(std::min(b, 2))), 1);
    }
}

TEST(PhotoCd, RotatedPicturesStandUpright) {
    TempDir dir;
    const Rgba stored = expectedBase(1);
    const uint32_t w = stored.width, h = stored.height;
    for (int rotation = 1; rotation < 4; ++rotation) {
        SCOPED_TRACE(rotation);
        const std::string path = dir.file("turned.pcd");
        testsupport::writeBytes(path, imagePack(rotation));
        Loaded l;
        loadWith(l, path, base(1));
        ASSERT_EQ(l.status, 0);
        const bool quarter = rotation != 2;
        ASSERT_EQ(l.picture.width, quarter ? h : w);
        const Rgba got = toRgba(l.picture);
        // Quarter turns counter-clockwise: the stored top-right corner comes to the top left for one.
        int worst = 0;
        for (uint32_t y = 0; y < h; y += 7)
            for (uint32_t x = 0; x < w; x += 5) {
                uint32_t gx = x, gy = y;
                if (rotation == 1) gx = y, gy = w - 1 - x;
                if (rotation == 2) gx = w - 1 - x, gy = h - 1 - y;
                if (rotation == 3) gx = h - 1 - y, gy = x;
                for (int c = 0; c < 3; ++c)
                    worst = std::max(worst, std::abs(int(got.pixels[(gy * got.width + gx) * 4 + c]) -
                                                     int(stored.pixels[(y * w + x) * 4 + c])));
            }
        EXPECT_LE(worst, 1);
    }
    FileInformation info{};
    ASSERT_EQ(zntFileInformation(dir.file("turned.pcd").c_str(), -1, 0, &info), 0);
    EXPECT_EQ(info.images[0].width, 512u) << "described as it will be shown";
    zntFileInformationFree(&info);
}

TEST(PhotoCd, FromImageMagick) {
    if (!haveProgram("convert")) GTEST_SKIP() << "convert is not installed";
    TempDir dir;
    ASSERT_EQ(runQuietly("convert -size 768x512 gradient:red-blue " + dir.file("wide.pcd")), 0);
    ASSERT_EQ(runQuietly("convert -size 512x768 gradient:red-blue " + dir.file("tall.pcd")), 0);
    for (int b = 0; b < 3; ++b) {
        SCOPED_TRACE(b);
        Loaded wide, tall;
        loadWith(wide, dir.file("wide.pcd"), base(b));
        loadWith(tall, dir.file("tall.pcd"), base(b));
        ASSERT_EQ(wide.status, 0) << wide.message;
        ASSERT_EQ(tall.status, 0) << tall.message;
        EXPECT_EQ(wide.picture.width, uint32_t(kBases[b].width));
        EXPECT_EQ(uint32_t(tall.picture.height), uint32_t(kBases[b].width));
        // Red at the top, blue at the bottom, whichever way the picture was stored.
        for (const Picture *p : {&wide.picture, &tall.picture}) {
            const Rgba rgba = toRgba(*p);
            const uint8_t *top = &rgba.pixels[(rgba.width / 2) * 4];
            const uint8_t *bottom = &rgba.pixels[((rgba.height - 1) * rgba.width + rgba.width / 2) * 4];
            EXPECT_GT(top[0], 200);
            EXPECT_LT(top[2], 60);
            EXPECT_GT(bottom[2], 200);
            EXPECT_LT(bottom[0], 60);
        }
    }
}

TEST(PhotoCd, CutAndDamagedPacks) {
    TempDir dir;
    const std::vector<uint8_t> pack = imagePack(0);
    // Cut in the middle of Base/4: Base/16 is whole, Base/4 half there, Base missing.
    const size_t cut = kBases[1].sector * 2048 + size_t(384) * 3 * 64;
    testsupport::writeBytes(dir.file("cut.pcd"), std::vector<uint8_t>(pack.begin(), pack.begin() + long(cut)));
    Loaded small, half, halfLenient, none;
    loadWith(small, dir.file("cut.pcd"), base(0));
    EXPECT_EQ(small.status, 0);
    loadWith(half, dir.file("cut.pcd"), base(1));
    EXPECT_EQ(half.status, ZNT_CANT_READ);
    loadWith(halfLenient, dir.file("cut.pcd"), [](FormatParams &p) { p.pcdBase = 1, p.flags = ZNT_LOAD_IGNORE_ERRORS; });
    ASSERT_EQ(halfLenient.status, 0);
    EXPECT_EQ(halfLenient.picture.width, 384u);
    loadWith(none, dir.file("cut.pcd"), [](FormatParams &p) { p.pcdBase = 2, p.flags = ZNT_LOAD_IGNORE_ERRORS; });
    EXPECT_EQ(none.status, ZNT_CANT_READ) << "nothing of Base is there";
    // Damage near the start and in Base/16 only, to keep the test quick.
    expectDamageGivesAStatus(std::vector<uint8_t>(pack.begin(), pack.begin() + 60000), dir.file("d.pcd"), base(0));
}
