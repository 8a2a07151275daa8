// Truncated and corrupted files: every reader answers with a status, never a
// crash or a hang; a truncated file loads what it holds when read errors are
// ignored.
#include <gtest/gtest.h>

#include <cstring>

#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;
using testsupport::TempDir;

namespace {

struct Source : PatternPicture {
    explicit Source(int type) : PatternPicture(type, 61, 47, [](uint32_t i, int y) { return i * 13 + uint32_t(y) * 29; }) {
        if (type == ZNT_PALETTE)
            for (int i = 0; i < 768; ++i) picture.palette[i] = uint8_t(i * 7);
    }
};

struct Case {
    const char *format;
    int type;
    void (*adjust)(FormatParams &);
};

const Case kCases[] = {
    {"jpeg", ZNT_RGB, nullptr},
    {"jpeg", ZNT_RGB, [](FormatParams &p) { p.progressive = 1; }},
    {"png", ZNT_RGB, nullptr},
    {"png", ZNT_PALETTE, [](FormatParams &p) { p.progressive = 1; }},
    {"gif", ZNT_PALETTE, nullptr},
    {"gif", ZNT_PALETTE, [](FormatParams &p) { p.progressive = 1; }},
    {"tiff", ZNT_RGB, [](FormatParams &p) { p.compression = 2; }},
    {"tiff", ZNT_BINARY, [](FormatParams &p) { p.compression = 6; }},
    {"tiff", ZNT_RGB, [](FormatParams &p) { p.compression = 8; }},
    {"bmp", ZNT_RGB, nullptr},
    {"bmp", ZNT_PALETTE, [](FormatParams &p) { p.rleCompress = 1; }},
    {"ppm", ZNT_RGB, nullptr},
    {"ppm", ZNT_GREY, [](FormatParams &p) { p.ppmAscii = 1; }},
    {"pam", ZNT_RGBA, nullptr},
    {"xwd", ZNT_PALETTE, nullptr},
    {"dpx", ZNT_RGB, nullptr},
    {"dpx", ZNT_GREY, [](FormatParams &p) { p.dpx10Bits = 1; }},
    {"cin", ZNT_RGB, nullptr},
    {"grob", ZNT_BINARY, nullptr},
    {"tga", ZNT_RGBA, nullptr},
    {"tga", ZNT_PALETTE, [](FormatParams &p) { p.rleCompress = 1; }},
    {"pcx", ZNT_RGB, [](FormatParams &p) { p.rleCompress = 1; }},
    {"pcx", ZNT_PALETTE, [](FormatParams &p) { p.rleCompress = 1; }},
    {"pcx", ZNT_BINARY, nullptr},
    {"dcx", ZNT_RGB, [](FormatParams &p) { p.rleCompress = 1; }},
    {"sgi", ZNT_RGB, [](FormatParams &p) { p.rleCompress = 1; }},
    {"sgi", ZNT_GREY, nullptr},
    {"sun", ZNT_PALETTE, nullptr},
    {"iff", ZNT_RGB, [](FormatParams &p) { p.rleCompress = 1; }},
    {"iff", ZNT_PALETTE, nullptr},
    {"xbm", ZNT_BINARY, nullptr},
    {"xpm", ZNT_PALETTE, nullptr},
    {"soft", ZNT_RGBA, [](FormatParams &p) { p.rleCompress = 1; }},
    {"soft", ZNT_RGB, nullptr},
    {"webp", ZNT_RGB, [](FormatParams &p) { p.jpegQuality = 80; }},
    {"webp", ZNT_RGBA, [](FormatParams &p) { p.jpegQuality = 100; }},
    {"heif", ZNT_RGB, nullptr},
    {"avif", ZNT_RGBA, nullptr},
    {"jxl", ZNT_RGB, nullptr},
    {"jxl", ZNT_GREY, [](FormatParams &p) { p.jpegQuality = 100; }},
    {"jp2", ZNT_RGB, nullptr},
    {"j2k", ZNT_RGBA, [](FormatParams &p) { p.jpegQuality = 100; }},
};

// Formats whose last bytes are no pixels: a footer or the end of a C array.
bool tailIsNoPixels(const char *format) {
    for (const char *f : {"gif", "tiff", "tga", "xbm", "xpm"})
        if (std::strcmp(format, f) == 0) return true;
    return false;
}

// Whether a cut file loads the part it holds when errors are ignored: the
// HEIF codecs and the JPEG XL decoder need the whole of the coded picture,
// and JPEG 2000 is only decoded strictly.
bool loadsWhatACutFileHolds(const char *format) {
    for (const char *whole : {"tiff", "heif", "avif", "jxl", "jp2", "j2k"})
        if (std::strcmp(format, whole) == 0) return false;
    return true;
}

}  // namespace

TEST(BadInput, TruncatedFilesAreRefusedOrLoadWhatTheyHold) {
    TempDir dir;
    for (const Case &c : kCases) {
        SCOPED_TRACE(std::string(c.format) + " type " + std::to_string(c.type));
        Source source(c.type);
        const std::string whole = dir.file("whole");
        ASSERT_EQ(save(whole, source.picture, c.format, c.adjust), 0);
        const std::vector<uint8_t> bytes = testsupport::readBytes(whole);
        // Cut in the header, early in the pixels and near the end.
        for (size_t keep : {size_t(0), size_t(5), bytes.size() / 3, bytes.size() * 2 / 3, bytes.size() - 3}) {
            SCOPED_TRACE(keep);
            const std::string cut = dir.file("cut");
            testsupport::writeBytes(cut, std::vector<uint8_t>(bytes.begin(), bytes.begin() + long(keep)));
            Loaded strict;
            load(strict, cut);
            // A GIF missing its trailer, a TIFF the end of its last directory, a TGA
            // part of its footer or an X bitmap or pixmap its closing brace lacks no pixel.
            if (keep < bytes.size() - 3 || !tailIsNoPixels(c.format)) {
                EXPECT_NE(strict.status, 0);
            }
            EXPECT_EQ(strict.status != 0, strict.picture.data == nullptr);
            // TIFF directories follow the pixels: a cut file has lost its directory.
            if (keep >= bytes.size() * 2 / 3 && keep < bytes.size() - 3 && loadsWhatACutFileHolds(c.format)) {
                Loaded lenient;
                load(lenient, cut, 0, ZNT_LOAD_IGNORE_ERRORS);
                EXPECT_EQ(lenient.status, 0) << "ignoring read errors loads the part that is there";
                if (lenient.status == 0) {
                    EXPECT_EQ(lenient.picture.width, source.picture.width);
                    EXPECT_EQ(lenient.picture.height, source.picture.height);
                }
            }
        }
    }
}

TEST(BadInput, CorruptedBytesNeverCrash) {
    TempDir dir;
    for (const Case &c : kCases) {
        SCOPED_TRACE(std::string(c.format) + " type " + std::to_string(c.type));
        Source source(c.type);
        const std::string whole = dir.file("whole");
        ASSERT_EQ(save(whole, source.picture, c.format, c.adjust), 0);
        expectDamageGivesAStatus(testsupport::readBytes(whole), dir.file("broken"), [](FormatParams &) {});
    }
}

TEST(BadInput, HostileHeadersAreRefusedBeforeAllocating) {
    TempDir dir;
    // A PPM claiming a million by a million pixels in 20 bytes.
    testsupport::writeFile(dir.file("huge.ppm"), "P6\n1000000 1000000\n255\nabc");
    Loaded l;
    load(l, dir.file("huge.ppm"));
    EXPECT_NE(l.status, 0);
    load(l, dir.file("huge.ppm"), 0, ZNT_LOAD_IGNORE_ERRORS);
    EXPECT_EQ(l.status, ZNT_NO_MEMORY) << "too large to hold: refused, not attempted";
    // A bitmap wider than any picture.
    testsupport::writeFile(dir.file("wide.pbm"), "P4\n2000000 1\n");
    load(l, dir.file("wide.pbm"));
    EXPECT_EQ(l.status, ZNT_BAD_FILE);
    // Picture allocation refuses sizes whose buffer would not fit.
    Picture p{};
    EXPECT_FALSE(zntAllock(&p, ZNT_RGBA, 8, 1 << 20, 1 << 20));
    EXPECT_FALSE(zntAllock(&p, ZNT_RGB, 8, 0, 10));
    EXPECT_FALSE(zntAllock(&p, 3, 8, 10, 10)) << "not a picture type";
    EXPECT_EQ(p.data, nullptr);
}

TEST(BadInput, HugeJpeg2000IsRefusedBeforeDecoding) {
    // A codestream whose size fields say 100000 x 100000 in one tile.
    TempDir dir;
    Source source(ZNT_GREY);
    ASSERT_EQ(save(dir.file("small.j2k"), source.picture, "j2k"), 0);
    std::vector<uint8_t> bytes = testsupport::readBytes(dir.file("small.j2k"));
    ASSERT_GT(bytes.size(), 40u);
    ASSERT_EQ(bytes[2], 0xff);
    ASSERT_EQ(bytes[3], 0x51) << "the size marker follows the start of the codestream";
    for (size_t field : {8, 12, 24, 28}) {   // width, height, tile width, tile height
        const uint32_t v = 100000;
        bytes[field] = uint8_t(v >> 24), bytes[field + 1] = uint8_t(v >> 16), bytes[field + 2] = uint8_t(v >> 8),
        bytes[field + 3] = uint8_t(v);
    }
    testsupport::writeBytes(dir.file("huge.j2k"), bytes);
    Loaded l;
    load(l, dir.file("huge.j2k"), 0, ZNT_LOAD_IGNORE_ERRORS);
    EXPECT_EQ(l.status, ZNT_NO_MEMORY);
}

TEST(BadInput, DamagedJpeg2000FoundByFuzzing) {
    for (const char *name : {"bad/overlong-tile-part.j2k", "bad/lenient-decoder.j2k"}) {
        SCOPED_TRACE(name);
        for (uint32_t flags : {0u, uint32_t(ZNT_LOAD_IGNORE_ERRORS), uint32_t(ZNT_LOAD_IGNORE_ERRORS | ZNT_LOAD_REDUCED)}) {
            FormatParams params;
            zntDefaultParams(&params);
            params.flags = flags;
            params.reducedWidth = params.reducedHeight = 16;
            Picture picture{};
            EXPECT_NE(zntLoad(testsupport::dataPath(name).c_str(), &picture, &params, nullptr), 0);
            EXPECT_EQ(picture.data, nullptr);
        }
    }
}

TEST(BadInput, HeifImagesThatReferToThemselves) {
    Loaded l;
    load(l, testsupport::dataPath("bad/self-reference.heic"));
    EXPECT_EQ(l.status, ZNT_BAD_FILE);
    FileInformation info{};
    zntFileInformation(testsupport::dataPath("bad/self-reference.heic").c_str(), -1, 0, &info);
    zntFileInformationFree(&info);
}

TEST(BadInput, WindowDumpWhosePixelSizeDoesNotFitItsDepth) {
    // Depth 17 with one bit per pixel and rows of 4 bytes for 16 pixels:
    // once read as 4-bit pixels past the end of each row.
    const uint32_t words[25] = {101, 7, 2, 17, 16, 24, 0, 0, 32, 1, 32, 1, 4, 0, 0, 0, 0, 8, 256, 0, 16, 24, 0, 0, 0};
    std::vector<uint8_t> bytes;
    for (uint32_t w : words)
        for (int shift : {24, 16, 8, 0}) bytes.push_back(uint8_t(w >> shift));
    bytes.push_back(0);
    bytes.resize(bytes.size() + 4 * 24, 0xcc);
    TempDir dir;
    testsupport::writeBytes(dir.file("odd.xwd"), bytes);
    Loaded l;
    load(l, dir.file("odd.xwd"));
    EXPECT_EQ(l.status, ZNT_BAD_FILE);
}

TEST(BadInput, TiffTilesFarLargerThanThePicture) {
    // 16 x 12 pixels in tiles of 16400 x 57104: once a 2.8 GB tile buffer.
    Loaded l;
    load(l, testsupport::dataPath("bad/huge-tile.tif"));
    EXPECT_EQ(l.status, ZNT_BAD_FILE);
}

TEST(BadInput, PnmEdgeCases) {
    TempDir dir;
    struct Case {
        const char *text;
        int type, width, height, first;   // first: the top-left pixel as 8-bit grey or red
    } cases[] = {
        {"P1\n# a comment\n3 2\n1 0 1\n0 1 0\n", ZNT_BINARY, 3, 2, 0},
        {"P1\n3 2\n101010\n", ZNT_BINARY, 3, 2, 0},
        {"P2\n2 1\n15\n15 0\n", ZNT_GREY, 2, 1, 255},
        {"P2\n2 1\n1000\n2000 500\n", ZNT_GREY, 2, 1, 255},
        {"P3\n1 1\n65535\n65535 0 32768\n", ZNT_RGB, 1, 1, 255},
        {"P7\nWIDTH 1\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\n\x80\x40", ZNT_RGBA, 1, 1, 128},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        testsupport::writeFile(dir.file("t.pnm"), c.text);
        Loaded l;
        load(l, dir.file("t.pnm"));
        ASSERT_EQ(l.status, 0) << l.message;
        EXPECT_EQ(l.picture.type, c.type);
        EXPECT_EQ(int(l.picture.width), c.width);
        EXPECT_EQ(l.picture.height, c.height);
        EXPECT_EQ(toRgba(l.picture).pixels[0], c.first);
    }
    // Two raw images in one file are two pages.
    testsupport::writeFile(dir.file("two.pgm"), std::string("P5\n2 1\n255\n\x10\x20P5\n1 1\n255\n\x30"));
    FileInformation info{};
    ASSERT_EQ(zntFileInformation(dir.file("two.pgm").c_str(), -1, 0, &info), 0);
    EXPECT_EQ(info.imageCount, 2);
    zntFileInformationFree(&info);
    Loaded second;
    load(second, dir.file("two.pgm"), 1);
    ASSERT_EQ(second.status, 0);
    EXPECT_EQ(second.picture.width, 1u);
    EXPECT_EQ(second.picture.data[0], 0x30);
}

TEST(BadInput, OlderFormatsRefuseHugeClaimsFromSmallFiles) {
    auto le16 = [](unsigned v) { return std::string{char(v & 255), char(v >> 8)}; };
    auto be16 = [](unsigned v) { return std::string{char(v >> 8), char(v & 255)}; };
    auto be32 = [&](uint32_t v) { return be16(v >> 16) + be16(v & 0xffff); };
    const std::string pcxHeader = std::string("\x0a\x05\x01\x08", 4) + le16(0) + le16(0) + le16(65000) + le16(65000) +
                                  std::string(53, '\0') + std::string("\x01", 1) + le16(65002) + le16(1) + std::string(58, '\0');
    const std::string iffHeader = "FORM" + be32(64) + "ILBM" + "BMHD" + be32(20) + be16(65000) + be16(65000) + be32(0) +
                                  std::string("\x18\x00\x01\x00", 4) + std::string(8, '\0') + "BODY" + be32(8);
    struct Case {
        const char *name, *what;
        std::string bytes;
    } cases[] = {
        {"huge.tga", "raw TGA", std::string("\0\0\2", 3) + std::string(9, '\0') + le16(65535) + le16(65535) + "\x18\x20" + "abcdef"},
        {"huge.tga", "RLE TGA", std::string("\0\0\x0a", 3) + std::string(9, '\0') + le16(65535) + le16(65535) + "\x18\x20" +
                                    std::string(20, '\xff')},
        {"huge.pcx", "RLE PCX", pcxHeader + std::string(40, '\xff')},
        {"huge.iff", "packed IFF", iffHeader + std::string(8, '\x81')},
        {"huge.sgi", "SGI whose row table lies beyond the file",
         be16(474) + std::string("\1\1", 2) + be16(3) + be16(60000) + be16(60000) + be16(4) + std::string(500, '\0')},
        {"huge.ras", "byte-encoded Sun raster",
         be32(0x59a66a95) + be32(60000) + be32(60000) + be32(24) + be32(0) + be32(2) + be32(0) + be32(0) + "\x80\xff\x01"},
        {"huge.xbm", "X bitmap", "#define a_width 1000000\n#define a_height 1000000\nstatic char a_bits[] = {0x00};\n"},
        {"many.xpm", "X pixmap of a million colours", "/* XPM */\nstatic char *a[] = {\"1 1 1000000 1\", \"a c red\"};\n"},
        {"wide.xpm", "X pixmap of nine characters a pixel", "/* XPM */\nstatic char *a[] = {\"1 1 1 9\"};\n"},
        {"huge.xpm", "X pixmap far larger than its text", "/* XPM */\nstatic char *a[] = {\"60000 60000 1 1\", \"a c red\", \"a\"};\n"},
        {"loop.dcx", "DCX page inside its own table", std::string("\xb1\x68\xde\x3a\x04\0\0\0\0\0\0\0", 12)},
        {"chain.pic", "Softimage chain without end",
         be32(0x5380f634) + std::string(84, '\0') + "PICT" + be16(10) + be16(10) + std::string(8, '\0') +
             [] {
                 std::string chain;
                 for (int i = 0; i < 20; ++i) chain += std::string("\x01\x08\x00\xe0", 4);
                 return chain;
             }()},
    };
    TempDir dir;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        testsupport::writeFile(dir.file(c.name), c.bytes);
        // Refused before allocating, whether read errors are ignored or not.
        for (uint32_t flags : {0u, uint32_t(ZNT_LOAD_IGNORE_ERRORS)}) {
            Loaded l;
            load(l, dir.file(c.name), 0, flags);
            EXPECT_TRUE(l.status == ZNT_CANT_READ || l.status == ZNT_BAD_FILE) << l.status << " " << l.message;
            EXPECT_EQ(l.picture.data, nullptr);
        }
    }
}
