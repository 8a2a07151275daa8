// Files that the codec libraries' own tools write, read back: WebP from
// cwebp and img2webp (an animation with its delays), HEIF and AVIF from
// heif-enc (several images, a thumbnail), JPEG XL from cjxl (grey, alpha, an
// animation), JPEG 2000 from opj_compress (and its resolution levels in
// reduced loads). Everything is made at test time from pictures drawn here.
#include <gtest/gtest.h>

#include <cstring>

#include "picture_files.h"
#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;
using testsupport::requireTool;
using testsupport::runTool;
using testsupport::TempDir;

namespace {

// A smooth picture of `type` (RGB or RGBA, the alpha a ramp), w x h.
struct Drawn : PatternPicture {
    Drawn(int type, int w, int h)
        : PatternPicture(type, w, h, [w, h, n = type == ZNT_RGBA ? 4u : 3u](uint32_t i, int y) {
              const int x = int(i / n), c = int(i % n);
              return c == 0 ? x * 255 / w : c == 1 ? y * 255 / h : c == 2 ? 200 - x : 40 + y * 200 / h;
          }) {}
};

Picture solid(int w, int h, uint8_t r, uint8_t g, uint8_t b) {
    Picture p{};
    EXPECT_TRUE(zntAllock(&p, ZNT_RGB, 8, w, h));
    for (size_t i = 0; i + 2 < size_t(p.bytesPerLine) * size_t(h); i += 3) p.data[i] = r, p.data[i + 1] = g, p.data[i + 2] = b;
    return p;
}

std::string formatOf(const std::string &path) {
    FileInformation info{};
    zntFileInformation(path.c_str(), -1, 0, &info);
    const std::string name = info.formatIndex >= 0 ? zntFormatGetName(info.formatIndex) : "";
    zntFileInformationFree(&info);
    return name;
}

std::vector<uint8_t> pixelOf(const Picture &p, int x, int y) {
    const Rgba rgba = toRgba(p);
    const uint8_t *at = &rgba.pixels[(size_t(y) * rgba.width + size_t(x)) * 4];
    return {at[0], at[1], at[2], at[3]};
}

}  // namespace

TEST(OtherWriters, WebpFromCwebp) {
    const std::string cwebp = requireTool("cwebp");
    TempDir dir;
    Drawn rgb(ZNT_RGB, 96, 64), rgba(ZNT_RGBA, 96, 64);
    ASSERT_EQ(save(dir.file("rgb.png"), rgb.picture, "png"), 0);
    ASSERT_EQ(save(dir.file("rgba.png"), rgba.picture, "png"), 0);
    ASSERT_TRUE(runTool({cwebp, "-quiet", "-q", "90", dir.file("rgb.png"), "-o", dir.file("lossy.webp")}));
    ASSERT_TRUE(runTool({cwebp, "-quiet", "-lossless", "-exact", dir.file("rgba.png"), "-o", dir.file("alpha.webp")}));

    Loaded lossy, alpha;
    load(lossy, dir.file("lossy.webp"));
    ASSERT_EQ(lossy.status, 0) << lossy.message;
    EXPECT_EQ(lossy.picture.type, ZNT_RGB);
    EXPECT_LT(meanDifference(toRgba(lossy.picture), toRgba(rgb.picture)), 3.0);
    load(alpha, dir.file("alpha.webp"));
    ASSERT_EQ(alpha.status, 0) << alpha.message;
    EXPECT_EQ(alpha.picture.type, ZNT_RGBA);
    EXPECT_EQ(maxDifference(toRgba(alpha.picture), toRgba(rgba.picture)), 0);

    FileInformation info{};
    ASSERT_EQ(zntFileInformation(dir.file("alpha.webp").c_str(), -1, 0, &info), 0);
    EXPECT_STREQ(info.compressionName, "Lossless (VP8L)");
    EXPECT_EQ(info.images[0].colorModel, ZNT_CM_RGBA);
    EXPECT_EQ(info.delaysMs, nullptr) << "a still picture has no frame delays";
    zntFileInformationFree(&info);
}

TEST(OtherWriters, WebpAnimationFramesAndDelays) {
    const std::string img2webp = requireTool("img2webp");
    TempDir dir;
    // Frame 1 red; frame 2 the same with a green square, which the encoder
    // stores as a small frame to be drawn over the one before.
    Picture red = solid(16, 12, 255, 0, 0);
    Picture square = solid(16, 12, 255, 0, 0);
    for (int y = 4; y < 8; ++y)
        for (int x = 6; x < 10; ++x) std::memcpy(square.data + size_t(y) * square.bytesPerLine + 3 * size_t(x), "\0\xff\0", 3);
    ASSERT_EQ(save(dir.file("1.png"), red, "png"), 0);
    ASSERT_EQ(save(dir.file("2.png"), square, "png"), 0);
    zntFree(&red);
    zntFree(&square);
    const std::string path = dir.file("anim.webp");
    ASSERT_TRUE(runTool({img2webp, "-loop", "0", "-lossless", "-d", "80", dir.file("1.png"), "-d", "120",
                         dir.file("2.png"), "-o", path}));

    const Frames frames = framesOf(path);
    ASSERT_EQ(frames.count, 2);
    EXPECT_EQ(frames.delaysMs, (std::vector<uint32_t>{80, 120}));
    EXPECT_EQ(frames.widths[1], 16u) << "every frame is as large as the canvas";

    Loaded first, second, beyond;
    load(first, path, 0);
    ASSERT_EQ(first.status, 0) << first.message;
    EXPECT_EQ(pixelOf(first.picture, 7, 5), (std::vector<uint8_t>{255, 0, 0, 255}));
    load(second, path, 1);
    ASSERT_EQ(second.status, 0) << second.message;
    EXPECT_EQ(pixelOf(second.picture, 7, 5), (std::vector<uint8_t>{0, 255, 0, 255})) << "the square";
    EXPECT_EQ(pixelOf(second.picture, 0, 0), (std::vector<uint8_t>{255, 0, 0, 255})) << "over the frame before";
    load(beyond, path, 2);
    EXPECT_EQ(beyond.status, ZNT_BAD_FILE);
}

TEST(OtherWriters, HeifAndAvifFromHeifEnc) {
    const std::string heifEnc = requireTool("heif-enc");
    TempDir dir;
    Drawn rgb(ZNT_RGB, 96, 64), rgba(ZNT_RGBA, 96, 64);
    Picture blue = solid(48, 32, 0, 0, 255);
    ASSERT_EQ(save(dir.file("rgb.png"), rgb.picture, "png"), 0);
    ASSERT_EQ(save(dir.file("rgba.png"), rgba.picture, "png"), 0);
    ASSERT_EQ(save(dir.file("blue.png"), blue, "png"), 0);
    zntFree(&blue);
    ASSERT_TRUE(runTool({heifEnc, "-q", "90", "-o", dir.file("rgb.heic"), dir.file("rgb.png")}));
    ASSERT_TRUE(runTool({heifEnc, "-A", "-q", "90", "-o", dir.file("rgba.avif"), dir.file("rgba.png")}));
    ASSERT_TRUE(runTool({heifEnc, "-q", "90", "-o", dir.file("two.heic"), dir.file("rgb.png"), dir.file("blue.png")}));
    ASSERT_TRUE(runTool({heifEnc, "-q", "90", "-t", "32", "-o", dir.file("thumb.heic"), dir.file("rgb.png")}));

    EXPECT_EQ(formatOf(dir.file("rgb.heic")), "heif");
    EXPECT_EQ(formatOf(dir.file("rgba.avif")), "avif");
    Loaded heic, avif;
    load(heic, dir.file("rgb.heic"));
    ASSERT_EQ(heic.status, 0) << heic.message;
    EXPECT_EQ(heic.picture.type, ZNT_RGB);
    EXPECT_LT(meanDifference(toRgba(heic.picture), toRgba(rgb.picture)), 4.0);
    load(avif, dir.file("rgba.avif"));
    ASSERT_EQ(avif.status, 0) << avif.message;
    EXPECT_EQ(avif.picture.type, ZNT_RGBA);
    EXPECT_LT(meanDifference(toRgba(avif.picture), toRgba(rgba.picture)), 4.0);

    // Two top-level images are two pages, the primary (the first written) first.
    FileInformation info{};
    ASSERT_EQ(zntFileInformation(dir.file("two.heic").c_str(), -1, 0, &info), 0);
    ASSERT_EQ(info.imageCount, 2);
    EXPECT_EQ(info.images[0].width, 96u);
    EXPECT_EQ(info.images[1].width, 48u);
    zntFileInformationFree(&info);
    Loaded second, beyond;
    load(second, dir.file("two.heic"), 1);
    ASSERT_EQ(second.status, 0) << second.message;
    EXPECT_EQ(second.picture.width, 48u);
    EXPECT_GT(pixelOf(second.picture, 10, 10)[2], 200);
    load(beyond, dir.file("two.heic"), 2);
    EXPECT_EQ(beyond.status, ZNT_BAD_FILE);

    // A reduced load takes the thumbnail when it is large enough, the picture otherwise.
    for (uint32_t wanted : {16u, 64u}) {
        Loaded reduced;
        loadReduced(reduced, dir.file("thumb.heic"), wanted, wanted);
        ASSERT_EQ(reduced.status, 0);
        EXPECT_EQ(reduced.picture.width, wanted == 16 ? 32u : 96u);
    }
}

TEST(OtherWriters, JpegXlFromCjxl) {
    const std::string cjxl = requireTool("cjxl");
    TempDir dir;
    Drawn rgb(ZNT_RGB, 96, 64), rgba(ZNT_RGBA, 96, 64);
    Picture grey{};
    ASSERT_TRUE(zntAllock(&grey, ZNT_GREY, 8, 40, 30));
    for (uint32_t i = 0; i < 40 * 30; ++i) grey.data[i] = uint8_t(i * 7);
    ASSERT_EQ(save(dir.file("rgb.png"), rgb.picture, "png"), 0);
    ASSERT_EQ(save(dir.file("rgba.png"), rgba.picture, "png"), 0);
    ASSERT_EQ(save(dir.file("grey.png"), grey, "png"), 0);
    ASSERT_TRUE(runTool({cjxl, dir.file("rgb.png"), dir.file("lossy.jxl"), "-d", "1"}));
    ASSERT_TRUE(runTool({cjxl, dir.file("rgba.png"), dir.file("alpha.jxl"), "-d", "0"}));
    ASSERT_TRUE(runTool({cjxl, dir.file("grey.png"), dir.file("grey.jxl"), "-d", "0"}));

    Loaded lossy, alpha, g;
    load(lossy, dir.file("lossy.jxl"));
    ASSERT_EQ(lossy.status, 0) << lossy.message;
    EXPECT_EQ(lossy.picture.type, ZNT_RGB);
    EXPECT_LT(meanDifference(toRgba(lossy.picture), toRgba(rgb.picture)), 3.0);
    load(alpha, dir.file("alpha.jxl"));
    ASSERT_EQ(alpha.status, 0) << alpha.message;
    EXPECT_EQ(maxDifference(toRgba(alpha.picture), toRgba(rgba.picture)), 0);
    load(g, dir.file("grey.jxl"));
    ASSERT_EQ(g.status, 0) << g.message;
    EXPECT_EQ(g.picture.type, ZNT_GREY);
    EXPECT_EQ(maxDifference(toRgba(g.picture), toRgba(grey)), 0);
    zntFree(&grey);
}

TEST(OtherWriters, JpegXlAnimationFromAGif) {
    const std::string cjxl = requireTool("cjxl");
    const std::string convert = requireTool("convert");
    TempDir dir;
    const std::string gif = dir.file("anim.gif"), jxl = dir.file("anim.jxl");
    ASSERT_TRUE(runTool({convert, "-size", "16x12", "-delay", "20", "xc:red", "-delay", "50", "xc:blue", "-loop", "0", gif}));
    ASSERT_TRUE(runTool({cjxl, gif, jxl}));
    const Frames frames = framesOf(jxl);
    ASSERT_EQ(frames.count, 2);
    EXPECT_EQ(frames.delaysMs, (std::vector<uint32_t>{200, 500}));
    EXPECT_EQ(framesOf(jxl, ZNT_INFO_QUICK).count, 1) << "a quick look reads the header only";
    Loaded second, beyond;
    load(second, jxl, 1);
    ASSERT_EQ(second.status, 0) << second.message;
    const std::vector<uint8_t> p = pixelOf(second.picture, 3, 3);
    EXPECT_TRUE(p[2] > 240 && p[0] < 15) << int(p[0]) << " " << int(p[2]);
    load(beyond, jxl, 2);
    EXPECT_EQ(beyond.status, ZNT_BAD_FILE);
}

TEST(OtherWriters, Jpeg2000FromOpjCompress) {
    const std::string opj = requireTool("opj_compress");
    TempDir dir;
    Drawn rgb(ZNT_RGB, 96, 64);
    ASSERT_EQ(save(dir.file("rgb.ppm"), rgb.picture, "ppm"), 0);
    ASSERT_TRUE(runTool({opj, "-i", dir.file("rgb.ppm"), "-o", dir.file("lossless.jp2")}));
    ASSERT_TRUE(runTool({opj, "-i", dir.file("rgb.ppm"), "-o", dir.file("lossy.j2k"), "-r", "20"}));
    Loaded lossless, lossy;
    load(lossless, dir.file("lossless.jp2"));
    ASSERT_EQ(lossless.status, 0) << lossless.message;
    EXPECT_EQ(maxDifference(toRgba(lossless.picture), toRgba(rgb.picture)), 0);
    EXPECT_EQ(formatOf(dir.file("lossy.j2k")), "j2k");
    load(lossy, dir.file("lossy.j2k"));
    ASSERT_EQ(lossy.status, 0) << lossy.message;
    EXPECT_LT(meanDifference(toRgba(lossy.picture), toRgba(rgb.picture)), 4.0);
}

TEST(Loading, ReducedJpeg2000LoadsDecodeOnlyTheLevelsNeeded) {
    const std::string opj = requireTool("opj_compress");
    TempDir dir;
    Drawn big(ZNT_RGB, 800, 600);
    ASSERT_EQ(save(dir.file("big.ppm"), big.picture, "ppm"), 0);
    ASSERT_TRUE(runTool({opj, "-i", dir.file("big.ppm"), "-o", dir.file("big.jp2"), "-n", "6"}));
    struct Case {
        uint32_t wantW, wantH, gotW, gotH;
    } cases[] = {{100, 75, 100, 75}, {120, 80, 200, 150}, {0, 0, 800, 600}, {801, 1, 800, 600}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.wantW);
        Loaded reduced;
        loadReduced(reduced, dir.file("big.jp2"), c.wantW, c.wantH);
        ASSERT_EQ(reduced.status, 0);
        const Picture &picture = reduced.picture;
        EXPECT_EQ(picture.width, c.gotW);
        EXPECT_EQ(uint32_t(picture.height), c.gotH);
        // The right-hand edge is as red as the picture's.
        EXPECT_GT(pixelOf(picture, int(picture.width) - 1, 0)[0], 240);
    }
}

TEST(Loading, NewerCodecsReportProgressAndStopWhenAsked) {
    TempDir dir;
    Drawn rgb(ZNT_RGB, 96, 64);
    for (const char *format : {"webp", "heif", "avif", "jxl", "jp2", "j2k"}) {
        SCOPED_TRACE(format);
        const std::string path = dir.file(std::string("p.") + format);
        ASSERT_EQ(save(path, rgb.picture, format), 0);
        for (bool stop : {false, true}) {
            struct Count {
                int calls = 0;
                bool stop = false;
            } count{0, stop};
            FormatParams params;
            zntDefaultParams(&params);
            params.progressUserData = &count;
            params.progressFunction = [](int, int, void *data) {
                auto *c = static_cast<Count *>(data);
                ++c->calls;
                return c->stop ? 1 : 0;
            };
            Picture picture{};
            EXPECT_EQ(zntLoad(path.c_str(), &picture, &params, nullptr), stop ? ZNT_STOPPED : ZNT_OK);
            EXPECT_EQ(picture.data == nullptr, stop);
            EXPECT_GE(count.calls, 1);
            zntFree(&picture);
        }
    }
}
