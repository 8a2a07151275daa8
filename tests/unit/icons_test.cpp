// Icons and cursors: every image of the file is a page, bitmaps of 1 to 32
// bits with their AND masks, PNG images, as ImageMagick and netpbm write
// them and as built here.
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

void putLe(std::vector<uint8_t> &b, uint32_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) b.push_back(uint8_t(v >> (8 * i)));
}

// An icon file of one 3 x 2 image of 24 bits: the top row red, green, blue,
// the bottom row white, black, grey; the mask hides the top-right pixel.
std::vector<uint8_t> iconOf24Bits(uint16_t type) {
    std::vector<uint8_t> image;
    putLe(image, 40, 4), putLe(image, 3, 4), putLe(image, 4, 4);   // height: colour and mask rows
    putLe(image, 1, 2), putLe(image, 24, 2);
    image.resize(40, 0);
    // Colour rows, bottom first, blue green red, padded to 12 bytes.
    const uint8_t bottom[] = {255, 255, 255, 0, 0, 0, 128, 128, 128, 0, 0, 0};
    const uint8_t top[] = {0, 0, 255, 0, 255, 0, 255, 0, 0, 0, 0, 0};
    image.insert(image.end(), bottom, bottom + 12);
    image.insert(image.end(), top, top + 12);
    // Mask rows, bottom first, one 32-bit word each.
    putLe(image, 0, 4);
    image.push_back(0x20), image.push_back(0), image.push_back(0), image.push_back(0);
    std::vector<uint8_t> file;
    putLe(file, 0, 2), putLe(file, type, 2), putLe(file, 1, 2);
    file.push_back(3), file.push_back(2), file.push_back(0), file.push_back(0);
    if (type == 2) {
        putLe(file, 2, 2), putLe(file, 1, 2);   // the hot spot
    } else {
        putLe(file, 1, 2), putLe(file, 24, 2);   // planes and bits
    }
    putLe(file, uint32_t(image.size()), 4), putLe(file, 22, 4);
    file.insert(file.end(), image.begin(), image.end());
    return file;
}

}  // namespace

TEST(Icons, EveryImageIsAPage) {
    if (!haveProgram("convert")) GTEST_SKIP() << "convert is not installed";
    TempDir dir;
    const std::string a = dir.file("a.png"), b = dir.file("b.png"), c = dir.file("c.png");
    ASSERT_EQ(runQuietly("convert -size 16x16 gradient:red-blue -alpha set -channel A -fx \"i<8?1:0\" +channel -depth 8 " + a), 0);
    ASSERT_EQ(runQuietly("convert -size 32x32 gradient:green-yellow -depth 8 " + b), 0);
    ASSERT_EQ(runQuietly("convert -size 256x256 gradient:white-orange -depth 8 " + c), 0);
    const std::string icon = dir.file("three.ico");
    ASSERT_EQ(runQuietly("convert " + a + " " + b + " " + c + " " + icon), 0);

    FileInformation info{};
    ASSERT_EQ(zntFileInformation(icon.c_str(), -1, 0, &info), 0);
    EXPECT_STREQ(zntFormatGetName(info.formatIndex), "ico");
    ASSERT_EQ(info.imageCount, 3);
    EXPECT_EQ(info.images[0].width, 16u);
    EXPECT_EQ(info.images[1].height, 32u);
    EXPECT_EQ(info.images[2].width, 256u) << "a width of 0 in the directory is 256";
    EXPECT_EQ(info.images[3].colorModel, ZNT_CM_END);
    zntFileInformationFree(&info);

    const std::string sources[] = {a, b, c};
    for (int page = 0; page < 3; ++page) {
        SCOPED_TRACE(page);
        Loaded got, want;
        load(got, icon, page);
        load(want, sources[page]);
        ASSERT_EQ(got.status, 0) << got.message;
        ASSERT_EQ(want.status, 0);
        EXPECT_EQ(maxDifference(toRgba(got.picture), toRgba(want.picture)), 0);
    }
    Loaded first;
    load(first, icon, 0);
    EXPECT_EQ(first.picture.type, ZNT_RGBA) << "32 bits: the image's own alpha";
    Loaded beyond;
    load(beyond, icon, 3);
    EXPECT_EQ(beyond.status, ZNT_BAD_FILE);
    EXPECT_EQ(beyond.message, "No page 4");
}

TEST(Icons, PaletteIconsWithMasksFromNetpbm) {
    if (!haveProgram("ppmtowinicon") || !haveProgram("convert")) GTEST_SKIP() << "netpbm or convert is not installed";
    TempDir dir;
    ASSERT_EQ(runQuietly("convert -size 20x12 xc:white -fill black -draw \"rectangle 0,0 9,11\" -depth 8 " + dir.file("bw.ppm")), 0);
    ASSERT_EQ(runQuietly("convert -size 32x32 gradient:green-yellow -colors 16 -depth 8 " + dir.file("p16.ppm")), 0);
    ASSERT_EQ(runQuietly("convert -size 32x32 gradient:red-blue -colors 200 -depth 8 " + dir.file("p200.ppm")), 0);
    // The mask: black where the icon is transparent.
    ASSERT_EQ(runQuietly("convert -size 32x32 xc:white -fill black -draw \"rectangle 0,0 10,10\" -depth 8 " + dir.file("and.pgm")), 0);
    ASSERT_EQ(runQuietly("(cd " + dir.path() + " && ppmtowinicon bw.ppm > bw.ico && ppmtowinicon -andpgms p16.ppm and.pgm > p16.ico && "
                  "ppmtowinicon p200.ppm > p200.ico)"), 0);
    struct Case {
        const char *icon, *source;
        int type, bits;
    } cases[] = {{"bw.ico", "bw.ppm", ZNT_BINARY, 1}, {"p16.ico", "p16.ppm", ZNT_RGBA, 4}, {"p200.ico", "p200.ppm", ZNT_PALETTE, 8}};
    Loaded mask;
    load(mask, dir.file("and.pgm"));
    ASSERT_EQ(mask.status, 0);
    for (const Case &c : cases) {
        SCOPED_TRACE(c.icon);
        FileInformation info{};
        ASSERT_EQ(zntFileInformation(dir.file(c.icon).c_str(), -1, 0, &info), 0);
        EXPECT_EQ(info.images[0].bitsPerComponent, c.bits);
        zntFileInformationFree(&info);
        Loaded got, want;
        load(got, dir.file(c.icon));
        load(want, dir.file(c.source));
        ASSERT_EQ(got.status, 0) << got.message;
        EXPECT_EQ(got.picture.type, c.type);
        Rgba expected = toRgba(want.picture);
        if (c.type == ZNT_RGBA) {
            const Rgba hidden = toRgba(mask.picture);
            for (size_t i = 0; i < expected.pixels.size(); i += 4) expected.pixels[i + 3] = hidden.pixels[i] == 0 ? 0 : 255;
        }
        EXPECT_EQ(maxDifference(toRgba(got.picture), expected), 0);
    }
}

TEST(Icons, TwentyFourBitsWithAMaskAndCursors) {
    TempDir dir;
    for (uint16_t type : {uint16_t(1), uint16_t(2)}) {
        SCOPED_TRACE(type);
        const std::string path = dir.file("hand.bin");
        testsupport::writeBytes(path, iconOf24Bits(type));
        FileInformation info{};
        ASSERT_EQ(zntFileInformation(path.c_str(), -1, 0, &info), 0);
        EXPECT_STREQ(zntFormatGetName(info.formatIndex), type == 1 ? "ico" : "cur");
        zntFileInformationFree(&info);
        Loaded l;
        load(l, path);
        ASSERT_EQ(l.status, 0) << l.message;
        ASSERT_EQ(l.picture.type, ZNT_RGBA);
        const std::vector<uint8_t> want = {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 0,
                                           255, 255, 255, 255, 0, 0, 0, 255, 128, 128, 128, 255};
        EXPECT_EQ(toRgba(l.picture).pixels, want);
    }
    // Without any hidden pixel the same image is plain RGB.
    std::vector<uint8_t> opaque = iconOf24Bits(1);
    opaque[opaque.size() - 4] = 0;
    testsupport::writeBytes(dir.file("opaque.ico"), opaque);
    Loaded l;
    load(l, dir.file("opaque.ico"));
    ASSERT_EQ(l.status, 0);
    EXPECT_EQ(l.picture.type, ZNT_RGB);
}

TEST(Icons, DamagedFilesGiveAStatus) {
    TempDir dir;
    auto defaults = [](FormatParams &) {};
    expectDamageGivesAStatus(iconOf24Bits(1), dir.file("d.ico"), defaults);
    if (!haveProgram("convert")) return;
    ASSERT_EQ(runQuietly("convert -size 16x16 gradient:red-blue " + dir.file("a.png")), 0);
    ASSERT_EQ(runQuietly("convert -size 300x300 gradient:red-blue -resize 256x256 " + dir.file("b.png")), 0);
    ASSERT_EQ(runQuietly("convert " + dir.file("a.png") + " " + dir.file("b.png") + " -colors 16 " + dir.file("two.ico")), 0);
    expectDamageGivesAStatus(testsupport::readBytes(dir.file("two.ico")), dir.file("d.ico"), defaults);
}
