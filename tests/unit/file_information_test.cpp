// The format table, detection by signature, file information, statuses and
// their messages, progress and stop, reduced JPEG loads, and what other
// programs write (made at test time when the program is installed).
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "picture/status_message.h"
#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;
using testsupport::haveProgram;
using testsupport::runQuietly;
using testsupport::TempDir;

namespace {

// Red across, green down, blue along the diagonals.
struct Gradient : PatternPicture {
    Gradient(int w, int h)
        : PatternPicture(ZNT_RGB, w, h, [w, h](uint32_t i, int y) {
              const int x = int(i / 3), c = int(i % 3);
              return c == 0 ? x * 255 / w : c == 1 ? y * 255 / h : (x + y) & 255;
          }) {}
};

}  // namespace

TEST(FormatTable, NamesSuffixesAndLookUps) {
    for (int i = 0; i < zntCount(); ++i) {
        const char *name = zntFormatGetName(i);
        ASSERT_NE(name, nullptr) << i;
        EXPECT_EQ(zntFormatGetIndex(name), i) << name;
        FormatInformation info;
        ASSERT_EQ(zntFormatGetInfo(i, &info), 0);
        EXPECT_STREQ(info.name, name);
        EXPECT_TRUE(info.readable) << name;
        EXPECT_EQ(bool(info.writable), bool(zntFormatIsWritable(i))) << name;
        // A writable format says what it takes; a read-only one has no list.
        EXPECT_EQ(info.saveKinds != nullptr, bool(info.writable)) << name;
        if (info.saveKinds != nullptr) {
            EXPECT_NE(info.saveKinds[0].colorModel, -1) << name;
        }
    }
    EXPECT_EQ(zntFormatGetIndex("nothing"), -1);
    EXPECT_EQ(zntFormatGetName(99), nullptr);
    EXPECT_TRUE(zntFormatIsSupported("dcx"));
    EXPECT_FALSE(zntFormatIsSupported("nothing"));
    EXPECT_STREQ(zntFormatGetDefaultSuffix(zntFormatGetIndex("jpeg")), "jpg");

    EXPECT_TRUE(zntHasGoodExtension("/a/b.JPEG"));
    EXPECT_TRUE(zntHasGoodExtension("x.pgm"));
    EXPECT_FALSE(zntHasGoodExtension("x.txt"));
    EXPECT_FALSE(zntHasGoodExtension("dir.png/file"));

    char name[4096];
    auto corrected = [&](const char *in, const char *format) {
        std::snprintf(name, sizeof name, "%s", in);
        zntSetCorrectExtension(name, zntFormatGetIndex(format));
        return std::string(name);
    };
    EXPECT_EQ(corrected("photo.png", "jpeg"), "photo.jpg");
    EXPECT_EQ(corrected("photo.JPEG", "jpeg"), "photo.JPEG") << "a suffix of the format stays";
    EXPECT_EQ(corrected("photo", "tiff"), "photo.tif");
    EXPECT_EQ(corrected("my.dir/photo", "png"), "my.dir/photo.png");
    EXPECT_EQ(corrected("photo.", "bmp"), "photo.bmp");
}

TEST(Sniffing, TheSignatureDecidesNotTheName) {
    Gradient g(20, 10);
    TempDir dir;
    for (int f = 0; f < zntCount(); ++f) {
        const char *format = zntFormatGetName(f);
        // Raw samples are the one writable format without a signature.
        if (!zntFormatIsWritable(f) || std::strcmp(format, "raw") == 0) continue;
        SCOPED_TRACE(format);
        // True colour where the format holds it, else grey, else black and white.
        Picture grey{}, binary{};
        ASSERT_TRUE(zntAllock(&grey, ZNT_GREY, 8, 20, 10));
        ASSERT_TRUE(zntAllock(&binary, ZNT_BINARY, 1, 20, 10));
        Picture &picture = zntFormatAcceptsPicture(f, &g.picture) ? g.picture : zntFormatAcceptsPicture(f, &grey) ? grey : binary;
        const std::string path = dir.file("misnamed.txt");
        ASSERT_EQ(save(path, picture, format), 0);
        zntFree(&grey);
        zntFree(&binary);
        FileInformation info{};
        ASSERT_EQ(zntFileInformation(path.c_str(), -1, 0, &info), 0);
        EXPECT_STREQ(zntFormatGetName(info.formatIndex), format);
        EXPECT_EQ(info.imageCount, 1);
        EXPECT_EQ(info.images[0].width, 20u);
        EXPECT_EQ(info.images[0].height, 10u);
        EXPECT_EQ(info.images[1].colorModel, ZNT_CM_END);
        zntFileInformationFree(&info);
    }
    testsupport::writeFile(dir.file("text.png"), "just some text, not a picture");
    FileInformation info{};
    EXPECT_EQ(zntFileInformation(dir.file("text.png").c_str(), -1, 0, &info), ZNT_UNKNOWN_FORMAT);
    EXPECT_EQ(info.images[0].colorModel, ZNT_CM_END) << "the list is terminated even on failure";
    zntFileInformationFree(&info);
    EXPECT_EQ(zntFileInformation(dir.file("missing.png").c_str(), -1, 0, &info), ZNT_CANT_OPEN);
    zntFileInformationFree(&info);
    EXPECT_EQ(zntFileInformation(dir.path().c_str(), -1, 0, &info), ZNT_CANT_OPEN) << "a folder";
    zntFileInformationFree(&info);
    Loaded l;
    load(l, dir.file("text.png"));
    EXPECT_EQ(l.status, ZNT_UNKNOWN_FORMAT);
    EXPECT_EQ(l.picture.data, nullptr);
}

TEST(StatusMessages, OneTextPerStatus) {
    using quivel::statusMessage;
    EXPECT_EQ(statusMessage(3, "a.jpg"), "Can't open file \n<a.jpg>") << "the file is named";
    EXPECT_EQ(statusMessage(9, "a"), "Bad picture file");
    EXPECT_EQ(statusMessage(9, "a", ""), "Bad picture file");
    EXPECT_EQ(statusMessage(9, "a", "Bad TIFF file"), "Bad TIFF file") << "the library's own words";
    EXPECT_EQ(statusMessage(12, "a"), "Contact your dealer") << "past the list";
    EXPECT_EQ(statusMessage(0, "a"), "Contact your dealer");
    EXPECT_EQ(statusMessage(15, "a"), "");
    EXPECT_EQ(statusMessage(0x0103, "a"), "Can't open file \n<a>") << "only the low byte counts";
}

TEST(Loading, ProgressReportsRowsAndStops) {
    Gradient g(64, 48);
    TempDir dir;
    for (const char *format : {"jpeg", "png", "tiff", "bmp", "ppm", "xwd", "tga", "pcx", "dcx", "sgi", "sun", "iff", "xpm",
                               "soft", "dpx", "cin"}) {
        SCOPED_TRACE(format);
        const std::string path = dir.file(std::string("p.") + format);
        ASSERT_EQ(save(path, g.picture, format), 0);
        struct Count {
            int calls = 0, last = -1, total = 0, stopAt = -1;
        } count;
        auto progress = [](int done, int total, void *data) {
            auto *c = static_cast<Count *>(data);
            ++c->calls, c->last = done, c->total = total;
            return c->stopAt >= 0 && done >= c->stopAt ? 1 : 0;
        };
        FormatParams params;
        zntDefaultParams(&params);
        params.progressFunction = progress;
        params.progressUserData = &count;
        Picture picture{};
        ASSERT_EQ(zntLoad(path.c_str(), &picture, &params, nullptr), 0);
        zntFree(&picture);
        EXPECT_EQ(count.calls, 48);
        EXPECT_EQ(count.last, 47);
        EXPECT_EQ(count.total, 48);
        count = Count{};
        count.stopAt = 10;
        EXPECT_EQ(zntLoad(path.c_str(), &picture, &params, nullptr), ZNT_STOPPED);
        EXPECT_EQ(picture.data, nullptr) << "a stopped load leaves no picture";
    }
}

TEST(Loading, ReducedJpegLoadsScaleInTheDecoder) {
    Gradient g(800, 600);
    TempDir dir;
    const std::string path = dir.file("big.jpg");
    ASSERT_EQ(save(path, g.picture, "jpeg"), 0);
    struct Case {
        uint32_t wantW, wantH, gotW, gotH;
    } cases[] = {{100, 75, 100, 75}, {160, 120, 200, 150}, {300, 0, 400, 300}, {801, 1, 800, 600}, {0, 0, 800, 600}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.wantW);
        Loaded reduced;
        loadReduced(reduced, path, c.wantW, c.wantH);
        ASSERT_EQ(reduced.status, 0);
        EXPECT_EQ(reduced.picture.width, c.gotW);
        EXPECT_EQ(uint32_t(reduced.picture.height), c.gotH);
    }
}

// Splices a segment in after the JPEG start-of-image marker.
static std::vector<uint8_t> withSegment(std::vector<uint8_t> jpeg, uint8_t marker, const std::vector<uint8_t> &body) {
    std::vector<uint8_t> segment = {0xff, marker, uint8_t((body.size() + 2) >> 8), uint8_t(body.size() + 2)};
    segment.insert(segment.end(), body.begin(), body.end());
    jpeg.insert(jpeg.begin() + 2, segment.begin(), segment.end());
    return jpeg;
}

// An EXIF block whose second directory points at a JPEG thumbnail.
static std::vector<uint8_t> exifWithThumbnail(const std::vector<uint8_t> &thumbnail) {
    std::vector<uint8_t> b = {'E', 'x', 'i', 'f', 0, 0, 'I', 'I', 42, 0, 8, 0, 0, 0};
    auto u16 = [&](unsigned v) { b.push_back(uint8_t(v)), b.push_back(uint8_t(v >> 8)); };
    auto u32 = [&](uint32_t v) { u16(v & 0xffff), u16(v >> 16); };
    u16(1), u16(0x0112), u16(3), u32(1), u32(1), u32(26);                // orientation 1, next at 26
    u16(2), u16(0x0201), u16(4), u32(1), u32(56), u16(0x0202), u16(4), u32(1), u32(uint32_t(thumbnail.size())), u32(0);
    b.insert(b.end(), thumbnail.begin(), thumbnail.end());
    return b;
}

TEST(Loading, ReducedJpegLoadsTakeTheExifThumbnailWhenItFits) {
    Gradient g(800, 600);
    TempDir dir;
    ASSERT_EQ(save(dir.file("main.jpg"), g.picture, "jpeg"), 0);
    for (int thumbHeight : {120, 100}) {
        SCOPED_TRACE(thumbHeight);
        Picture red{};
        ASSERT_TRUE(zntAllock(&red, ZNT_RGB, 8, 160, thumbHeight));
        for (uint32_t i = 0; i < red.bytesPerLine * uint32_t(red.height); i += 3) red.data[i] = 255;
        ASSERT_EQ(save(dir.file("thumb.jpg"), red, "jpeg"), 0);
        zntFree(&red);
        testsupport::writeBytes(dir.file("camera.jpg"), withSegment(testsupport::readBytes(dir.file("main.jpg")), 0xe1,
                                                                    exifWithThumbnail(testsupport::readBytes(dir.file("thumb.jpg")))));
        struct Case {
            uint32_t wantW, wantH;
        } cases[] = {{100, 75}, {200, 150}};
        for (const Case &c : cases) {
            Loaded reduced;
            loadReduced(reduced, dir.file("camera.jpg"), c.wantW, c.wantH);
            ASSERT_EQ(reduced.status, 0);
            // A thumbnail of other proportions is not used: the decoder scales instead.
            const bool thumbnail = thumbHeight == 120 && c.wantW == 100;
            EXPECT_EQ(reduced.picture.width, thumbnail ? 160u : c.wantW);
            EXPECT_EQ(reduced.picture.data[0] > 200, thumbnail) << "the red thumbnail, or the picture itself";
        }
    }
}

TEST(FileInformation, JpegOrientationCommentAndResolution) {
    Gradient g(40, 30);
    g.picture.resolutionX = g.picture.resolutionY = 300;
    TempDir dir;
    ASSERT_EQ(save(dir.file("plain.jpg"), g.picture, "jpeg"), 0);
    const std::vector<uint8_t> exif = {'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8,  // big-endian TIFF
                                       0, 1,                                                 // one entry
                                       0x01, 0x12, 0, 3, 0, 0, 0, 1, 0, 6, 0, 0,             // orientation 6
                                       0, 0, 0, 0};
    const std::string comment = "made for the test";
    auto bytes = withSegment(testsupport::readBytes(dir.file("plain.jpg")), 0xe1, exif);
    bytes = withSegment(bytes, 0xfe, std::vector<uint8_t>(comment.begin(), comment.end()));
    testsupport::writeBytes(dir.file("tagged.jpg"), bytes);
    FileInformation info{};
    ASSERT_EQ(zntFileInformation(dir.file("tagged.jpg").c_str(), -1, 0, &info), 0);
    EXPECT_EQ(info.orientation, 6);
    ASSERT_NE(info.comment, nullptr);
    EXPECT_EQ(std::string(info.comment), comment);
    EXPECT_EQ(info.resolutionX, 300u);
    EXPECT_STREQ(info.typeText, "JPEG");
    EXPECT_STREQ(info.colorText, "YCbCr");
    char label[4096];
    EXPECT_STREQ(zntGetFullLabelForCompression(label, &info), "JPEG baseline");
    zntFileInformationFree(&info);
    EXPECT_EQ(info.comment, nullptr);
}

TEST(OtherWriters, JpegVariantsFromTheReferenceEncoder) {
    if (!haveProgram("cjpeg") || !haveProgram("convert")) GTEST_SKIP() << "cjpeg or convert is not installed";
    TempDir dir;
    Gradient g(96, 64);
    ASSERT_EQ(save(dir.file("src.ppm"), g.picture, "ppm"), 0);
    const std::string src = dir.file("src.ppm");
    ASSERT_EQ(runQuietly("cjpeg -quality 95 -progressive -outfile " + dir.file("prog.jpg") + " " + src), 0);
    ASSERT_EQ(runQuietly("cjpeg -quality 95 -grayscale -outfile " + dir.file("grey.jpg") + " " + src), 0);
    ASSERT_EQ(runQuietly("convert " + src + " -quality 95 -colorspace CMYK " + dir.file("cmyk.jpg")), 0);
    const Rgba want = toRgba(g.picture);
    Loaded prog, grey, cmyk;
    load(prog, dir.file("prog.jpg"));
    ASSERT_EQ(prog.status, 0);
    EXPECT_LT(meanDifference(toRgba(prog.picture), want), 3.0);
    load(grey, dir.file("grey.jpg"));
    ASSERT_EQ(grey.status, 0);
    EXPECT_EQ(grey.picture.type, ZNT_GREY);
    load(cmyk, dir.file("cmyk.jpg"));
    ASSERT_EQ(cmyk.status, 0);
    EXPECT_TRUE(cmyk.picture.colorModel == ZNT_CM_CMYK || cmyk.picture.colorModel == ZNT_CM_YCCK);
    EXPECT_LT(meanDifference(toRgba(cmyk.picture), want), 6.0);
}

TEST(OtherWriters, TiffLayoutsFromImageMagick) {
    if (!haveProgram("convert")) GTEST_SKIP() << "convert is not installed";
    TempDir dir;
    Gradient g(100, 70);
    ASSERT_EQ(save(dir.file("src.ppm"), g.picture, "ppm"), 0);
    const std::string src = dir.file("src.ppm");
    const Rgba want = toRgba(g.picture);
    struct Case {
        const char *options;
        double tolerance;
    } cases[] = {
        {"-define tiff:tile-geometry=32x32 -compress lzw", 0},
        {"-interlace plane -compress zip", 0},
        {"-depth 16 -compress none", 0.6},
        {"-alpha set -compress RLE", 0},
        {"-colorspace CMYK", 2},
        {"-compress jpeg -quality 95", 3},
        {"-define tiff:rows-per-strip=7 -define tiff:predictor=2 -compress lzw", 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.options);
        const std::string out = dir.file("t.tif");
        ASSERT_EQ(runQuietly("convert " + src + " " + c.options + " " + out), 0);
        Loaded l;
        load(l, out);
        ASSERT_EQ(l.status, 0) << l.message;
        EXPECT_LE(meanDifference(toRgba(l.picture), want), c.tolerance);
    }
    // Bilevel with every fax compression, and grey of 4 bits.
    Picture bw{};
    ASSERT_TRUE(zntAllock(&bw, ZNT_BINARY, 1, 50, 20));
    for (int y = 0; y < 20; ++y) bw.data[y * bw.bytesPerLine + y / 8] = 0xf0;
    ASSERT_EQ(save(dir.file("bw.pbm"), bw, "ppm"), 0);
    for (const char *compress : {"Group4", "Fax", "RLE", "lzw"}) {
        SCOPED_TRACE(compress);
        ASSERT_EQ(runQuietly("convert " + dir.file("bw.pbm") + " -compress " + compress + " " + dir.file("bw.tif")), 0);
        Loaded l;
        load(l, dir.file("bw.tif"));
        ASSERT_EQ(l.status, 0) << l.message;
        EXPECT_EQ(maxDifference(toRgba(l.picture), toRgba(bw)), 0);
    }
    zntFree(&bw);
}

TEST(OtherWriters, GifAnimationFramesAndDelays) {
    if (!haveProgram("convert")) GTEST_SKIP() << "convert is not installed";
    TempDir dir;
    const std::string path = dir.file("anim.gif");
    ASSERT_EQ(runQuietly("convert -size 16x12 -delay 20 xc:red -delay 50 xc:blue -delay 20 -page +4+4 -size 4x4 xc:lime "
                  "-loop 0 " + path),
              0);
    const Frames frames = framesOf(path);
    ASSERT_EQ(frames.count, 3);
    EXPECT_EQ(frames.delaysMs, (std::vector<uint32_t>{200, 500, 200}));
    EXPECT_EQ(frames.widths[2], 16u) << "every frame is as large as the logical screen";
    EXPECT_EQ(framesOf(path, ZNT_INFO_QUICK).count, 1);

    Loaded third;
    load(third, path, 2);
    ASSERT_EQ(third.status, 0);
    const Rgba rgba = toRgba(third.picture);
    auto pixel = [&](int x, int y) { return std::vector<uint8_t>(&rgba.pixels[(y * 16 + x) * 4], &rgba.pixels[(y * 16 + x) * 4 + 3]); };
    EXPECT_EQ(pixel(5, 5), (std::vector<uint8_t>{0, 255, 0})) << "the small frame is drawn";
    EXPECT_EQ(pixel(0, 0), (std::vector<uint8_t>{0, 0, 255})) << "over the frame before it";
    Loaded beyond;
    load(beyond, path, 3);
    EXPECT_EQ(beyond.status, ZNT_BAD_FILE);
}
