// Calculator graphic objects: the bytes as the calculators send them, grey
// pictures as stacks of bit planes, the text form, damaged files.
#include <gtest/gtest.h>

#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;
using testsupport::TempDir;

namespace {

// 10 x 2: the first row dark at both ends, the second all dark.
struct Pattern {
    Picture picture{};
    Pattern() {
        zntAllock(&picture, ZNT_BINARY, 1, 10, 2);
        picture.data[0] = 0x7f, picture.data[1] = 0x80;   // 1 is white
    }
    ~Pattern() { zntFree(&picture); }
};

// The object: name, then nibbles low first: prolog 02B1E, length 23 (15 +
// 2 rows of 2 bytes as nibbles), height 2, width 10; then the rows, lowest
// bit leftmost, a set bit dark.
const std::vector<uint8_t> kPatternFile = {'H', 'P', 'H', 'P', '4', '8', '-', 'E', 0x1e, 0x2b, 0x70, 0x01, 0x00,
                                           0x02, 0x00, 0xa0, 0x00, 0x00, 0x01, 0x02, 0xff, 0x03};

auto levels(int code) {
    return [code](FormatParams &p) { p.grobGreyLevels = uint8_t(code); };
}

}  // namespace

TEST(Grob, BytesAsTheCalculatorSendsThem) {
    TempDir dir;
    Pattern pattern;
    ASSERT_EQ(save(dir.file("p.grob"), pattern.picture, "grob"), 0);
    EXPECT_EQ(testsupport::readBytes(dir.file("p.grob")), kPatternFile);
    // The same object sent as text, with the transfer header line.
    testsupport::writeFile(dir.file("p.txt"), "%%HP: T(3)A(R)F(.);\nGROB 10 2 1020\n  ff30\n");
    Loaded text;
    load(text, dir.file("p.txt"));
    ASSERT_EQ(text.status, 0) << text.message;
    EXPECT_EQ(text.picture.type, ZNT_BINARY);
    EXPECT_EQ(maxDifference(toRgba(text.picture), toRgba(pattern.picture)), 0);
    testsupport::writeFile(dir.file("short.txt"), "GROB 10 2 1020FF");
    load(text, dir.file("short.txt"));
    EXPECT_EQ(text.status, ZNT_CANT_READ);
}

TEST(Grob, GreyPicturesAreStacksOfPlanes) {
    TempDir dir;
    // Four levels, 0 black to 3 white: darkness 3, 2, 1, 0.
    Picture grey{};
    ASSERT_TRUE(zntAllock(&grey, ZNT_GREY, 8, 4, 1));
    grey.numberOfColors = 4;
    for (int x = 0; x < 4; ++x) grey.data[x] = uint8_t(x);
    ASSERT_EQ(save(dir.file("g.grob"), grey, "grob"), 0);
    const std::vector<uint8_t> bytes = testsupport::readBytes(dir.file("g.grob"));
    ASSERT_EQ(bytes.size(), 20u);
    EXPECT_EQ(bytes[13], 0x02) << "two planes: twice the height";
    EXPECT_EQ(bytes[18], 0x05) << "the top plane holds darkness bit 0";
    EXPECT_EQ(bytes[19], 0x03) << "the next plane bit 1";
    Loaded back, asBinary, wrongCount;
    loadWith(back, dir.file("g.grob"), levels(1));
    ASSERT_EQ(back.status, 0);
    EXPECT_EQ(back.picture.type, ZNT_GREY);
    EXPECT_EQ(back.picture.numberOfColors, 4);
    EXPECT_EQ(std::vector<uint8_t>(back.picture.data, back.picture.data + 4), (std::vector<uint8_t>{0, 1, 2, 3}));
    load(asBinary, dir.file("g.grob"));
    EXPECT_EQ(asBinary.picture.height, 2) << "read as black and white, the planes are rows";
    loadWith(wrongCount, dir.file("g.grob"), levels(2));
    EXPECT_EQ(wrongCount.status, ZNT_BAD_FILE);
    EXPECT_EQ(wrongCount.message, "GROB height 2 is not a multiple of its 3 grey planes");
    // Three levels take two planes too; black and white stay black and white.
    grey.numberOfColors = 3;
    grey.data[3] = 2;
    ASSERT_EQ(save(dir.file("g3.grob"), grey, "grob"), 0);
    Loaded three;
    loadWith(three, dir.file("g3.grob"), levels(1));
    ASSERT_EQ(three.status, 0);
    EXPECT_EQ(three.picture.data[0], 0);
    EXPECT_EQ(three.picture.data[3], 3);
    zntFree(&grey);
}

TEST(Grob, DamagedFilesGiveAStatus) {
    TempDir dir;
    Picture grey{};
    ASSERT_TRUE(zntAllock(&grey, ZNT_GREY, 8, 37, 9));
    grey.numberOfColors = 8;
    for (uint32_t i = 0; i < 37 * 9; ++i) grey.data[i] = uint8_t(i % 8);
    ASSERT_EQ(save(dir.file("g.grob"), grey, "grob"), 0);
    expectDamageGivesAStatus(testsupport::readBytes(dir.file("g.grob")), dir.file("d.grob"), levels(2));
    expectDamageGivesAStatus(kPatternFile, dir.file("d.grob"), levels(0));
    std::string text = "GROB 37 9 ";
    for (int i = 0; i < 10 * 9; ++i) text += "3C";
    expectDamageGivesAStatus(std::vector<uint8_t>(text.begin(), text.end()), dir.file("d.grob"), levels(0));
    zntFree(&grey);
}
