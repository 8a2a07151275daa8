// Pictures of every kind saved in every writable format that holds them and
// read back: exactly for the lossless formats and the codecs that save
// losslessly at quality 100, within a tolerance for JPEG; each format's save
// options; lossy saves of the newer codecs; multi-page TIFF.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <initializer_list>

#include <unistd.h>
#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;

namespace {

// Deterministic test pictures of each kind, 37 x 23 (odd sizes catch padding).
struct Sample {
    const char *name;
    Picture picture{};
    Sample(const char *n, int type, int colours = 256, int transparent = -1) : name(n) {
        const int w = 37, h = 23;
        EXPECT_TRUE(zntAllock(&picture, type, 8, w, h));
        uint32_t seed = 12345u + uint32_t(type) * 7u + uint32_t(colours);
        auto next = [&] { return seed = seed * 1103515245u + 12345u, (seed >> 16) & 0xffff; };
        if (type == ZNT_PALETTE) {
            for (int i = 0; i < 768; ++i) picture.palette[i] = uint8_t(next());
            picture.numberOfColors = uint16_t(colours);
            picture.transparentIndex = int16_t(transparent);
        }
        if (type == ZNT_GREY) picture.numberOfColors = uint16_t(colours);
        for (int y = 0; y < h; ++y) {
            uint8_t *row = picture.data + size_t(y) * picture.bytesPerLine;
            if (type == ZNT_BINARY) {
                for (int x = 0; x < w; ++x)
                    if ((x * 3 + y * 5 + int(next() & 1)) % 4 < 2) row[x / 8] |= uint8_t(0x80 >> (x % 8));
            } else if (type == ZNT_GREY || type == ZNT_PALETTE) {
                for (int x = 0; x < w; ++x) row[x] = uint8_t(next() % unsigned(colours));
            } else {
                // Smooth ramps, a different one per channel: JPEG compares within a tolerance.
                const uint32_t step = picture.bytesPerPixel;
                for (uint32_t i = 0; i < picture.bytesPerLine; ++i)
                    row[i] = uint8_t(int(i / step) * 2 + y * 3 + int(i % step) * 30 + int(next() & 1));
            }
        }
    }
    ~Sample() { zntFree(&picture); }
};

// What a file without its own description needs to be read back: the raw
// geometry, the GROB grey planes.
void readOptionsFor(FormatParams &p, const char *format, const Picture &picture) {
    if (std::strcmp(format, "raw") == 0) {
        p.loadValues[0] = int32_t(picture.width);
        p.loadValues[1] = picture.height;
    }
    if (std::strcmp(format, "grob") == 0 && picture.type == ZNT_GREY) {
        while ((2 << p.grobGreyLevels) < picture.numberOfColors) ++p.grobGreyLevels;
    }
}

bool oneOf(const char *format, std::initializer_list<const char *> names) {
    for (const char *name : names)
        if (std::strcmp(format, name) == 0) return true;
    return false;
}

bool formatKeepsAlpha(const char *format) {
    return oneOf(format, {"png", "tiff", "pam", "tga", "sgi", "soft", "dpx", "webp", "heif", "avif", "jxl", "jp2", "j2k"});
}

// The largest difference a lossless save may show: HEIF and AVIF carry RGB
// through the codec's identity matrix, and the library's conversion moves
// some values by one.
int losslessTolerance(const char *format) { return oneOf(format, {"heif", "avif"}) ? 1 : 0; }

// The picture as the format stores it: without a mask where the format has none.
Rgba expected(const Picture &p, const char *format) {
    Rgba want = toRgba(p);
    const bool dropsMask = (p.type & ZNT_FOURBYTE_MASK) && !formatKeepsAlpha(format);
    const bool dropsTransparency = p.type == ZNT_PALETTE && !oneOf(format, {"png", "gif", "iff", "xpm"});
    if (dropsMask || dropsTransparency)
        for (size_t i = 3; i < want.pixels.size(); i += 4) want.pixels[i] = 255;
    return want;
}

}  // namespace

TEST(RoundTrip, EveryKindInEveryWritableFormat) {
    Sample samples[] = {
        {"binary", ZNT_BINARY},       {"grey", ZNT_GREY},
        {"grey16", ZNT_GREY, 16},     {"palette", ZNT_PALETTE, 200},
        {"palette12", ZNT_PALETTE, 12}, {"transparent", ZNT_PALETTE, 64, 5},
        {"rgb", ZNT_RGB},             {"rgba", ZNT_RGBA},
        {"bgr", ZNT_BGR},             {"argb", ZNT_ARGB},
    };
    testsupport::TempDir dir;
    int tried = 0;
    for (int f = 0; f < zntCount(); ++f) {
        if (!zntFormatIsWritable(f)) continue;
        const char *format = zntFormatGetName(f);
        const bool lossy = std::strcmp(format, "jpeg") == 0;
        for (Sample &s : samples) {
            if (!zntFormatAcceptsPicture(f, &s.picture)) continue;
            SCOPED_TRACE(std::string(format) + " " + s.name);
            const std::string path = dir.file(std::string(s.name) + "." + zntFormatGetDefaultSuffix(f));
            // The program saves every format but JPEG at quality 100, which the newer codecs take as lossless.
            void (*quality)(FormatParams &) = lossy ? [](FormatParams &p) { p.jpegQuality = 98; }
                                                    : [](FormatParams &p) { p.jpegQuality = 100; };
            ASSERT_EQ(save(path, s.picture, format, quality), 0);
            Loaded back;
            loadWith(back, path, [&](FormatParams &p) { readOptionsFor(p, format, s.picture); });
            ASSERT_EQ(back.status, 0) << back.message;
            const Rgba got = toRgba(back.picture), want = expected(s.picture, format);
            if (lossy) {
                EXPECT_LT(meanDifference(got, want), 3.0);
            } else {
                EXPECT_LE(maxDifference(got, want), losslessTolerance(format));
                EXPECT_GE(maxDifference(got, want), 0) << "the size is kept";
            }
            ++tried;
        }
    }
    EXPECT_GE(tried, 60);
}

TEST(RoundTrip, KindsComeBackAsTheyWent) {
    Sample binary("binary", ZNT_BINARY), grey16("grey16", ZNT_GREY, 16), transparent("t", ZNT_PALETTE, 64, 5);
    testsupport::TempDir dir;
    for (const char *format : {"png", "tiff", "bmp", "ppm", "pam", "xwd", "tga", "pcx", "dcx", "sun", "iff", "xbm", "xpm", "grob"}) {
        SCOPED_TRACE(format);
        Loaded back;
        ASSERT_EQ(save(dir.file("b"), binary.picture, format), 0);
        load(back, dir.file("b"));
        EXPECT_EQ(back.picture.type, ZNT_BINARY);
    }
    for (const char *format : {"png", "ppm", "pam", "bmp", "xwd", "pcx", "dcx", "sun", "iff", "xpm"}) {
        SCOPED_TRACE(format);
        Loaded back;
        ASSERT_EQ(save(dir.file("g"), grey16.picture, format), 0);
        load(back, dir.file("g"));
        EXPECT_EQ(back.picture.type, ZNT_GREY);
        EXPECT_EQ(back.picture.numberOfColors, 16) << "grey levels are kept";
    }
    // A grey GROB holds as many bit planes as its levels need, and is read
    // back with that many.
    Loaded greyGrob;
    ASSERT_EQ(save(dir.file("g"), grey16.picture, "grob"), 0);
    loadWith(greyGrob, dir.file("g"), [](FormatParams &p) { p.grobGreyLevels = 3; });
    EXPECT_EQ(greyGrob.picture.type, ZNT_GREY);
    EXPECT_EQ(greyGrob.picture.numberOfColors, 16);
    EXPECT_EQ(greyGrob.picture.height, grey16.picture.height);
    Sample grey("grey", ZNT_GREY), rgba("rgba", ZNT_RGBA);
    for (const char *format : {"jxl", "jp2", "j2k"}) {
        SCOPED_TRACE(format);
        Loaded back;
        ASSERT_EQ(save(dir.file("g"), grey.picture, format), 0);
        load(back, dir.file("g"));
        EXPECT_EQ(back.picture.type, ZNT_GREY);
    }
    for (const char *format : {"webp", "heif", "avif", "jxl", "jp2", "j2k"}) {
        SCOPED_TRACE(format);
        Loaded back;
        ASSERT_EQ(save(dir.file("a"), rgba.picture, format), 0);
        load(back, dir.file("a"));
        EXPECT_EQ(back.picture.type, ZNT_RGBA) << "alpha is kept, lossy or not";
    }
    for (const char *format : {"png", "gif", "iff", "xpm"}) {
        SCOPED_TRACE(format);
        Loaded back;
        ASSERT_EQ(save(dir.file("t"), transparent.picture, format), 0);
        load(back, dir.file("t"));
        EXPECT_EQ(back.picture.type, ZNT_PALETTE);
        EXPECT_EQ(back.picture.transparentIndex, 5);
    }
}

TEST(RoundTrip, SaveOptions) {
    Sample palette("palette", ZNT_PALETTE, 200), palette12("p12", ZNT_PALETTE, 12), rgb("rgb", ZNT_RGB),
        binary("binary", ZNT_BINARY), grey("grey", ZNT_GREY), rgba("rgba", ZNT_ARGB), grey16("grey16", ZNT_GREY, 16);
    testsupport::TempDir dir;
    struct Case {
        const char *format;
        Sample *sample;
        std::function<void(FormatParams &)> adjust;
    };
    std::vector<Case> cases = {
        {"png", &rgb, [](FormatParams &p) { p.progressive = 1; }},
        {"png", &rgb, [](FormatParams &p) { p.pngCompressionLevel = 0; }},
        {"gif", &palette, [](FormatParams &p) { p.progressive = 1; }},
        {"gif", &palette, [](FormatParams &p) { p.gif87a = 1; }},
        {"bmp", &palette, [](FormatParams &p) { p.rleCompress = 1; }},
        {"bmp", &palette12, [](FormatParams &p) { p.rleCompress = 1; }},
        {"bmp", &rgb, [](FormatParams &p) { p.bmpOs2Header = 1; }},
        {"bmp", &palette12, [](FormatParams &p) { p.bmpOs2Header = 1; }},
        {"ppm", &rgb, [](FormatParams &p) { p.ppmAscii = 1; }},
        {"ppm", &grey, [](FormatParams &p) { p.ppmAscii = 1; }},
        {"ppm", &binary, [](FormatParams &p) { p.ppmAscii = 1; }},
        {"dpx", &rgb, [](FormatParams &p) { p.dpx10Bits = 1; }},
        {"dpx", &grey, [](FormatParams &p) { p.dpx10Bits = 1; }},
        {"dpx", &grey16, [](FormatParams &p) { p.dpx10Bits = 1; }},
        {"dpx", &rgba, [](FormatParams &p) { p.dpx10Bits = 1; }},
        {"grob", &binary, [](FormatParams &p) { p.hp49Header = 1; }},
    };
    // Run-length encoding, on and off, for each kind the format writes its own way.
    const std::vector<std::pair<const char *, std::vector<Sample *>>> encoded = {
        {"tga", {&binary, &grey, &palette, &rgb, &rgba}}, {"pcx", {&binary, &palette12, &palette, &grey, &rgb}},
        {"dcx", {&palette12, &rgb}},                      {"sgi", {&grey, &rgb, &rgba}},
        {"iff", {&binary, &palette12, &palette, &rgb}},   {"soft", {&rgb, &rgba}},
    };
    for (const auto &[format, samples] : encoded)
        for (Sample *sample : samples)
            for (uint8_t rle : {0, 1}) cases.push_back({format, sample, [rle](FormatParams &p) { p.rleCompress = rle; }});
    for (unsigned code = 0; code <= 7; ++code) {
        cases.push_back({"tiff", &binary, [code](FormatParams &p) { p.compression = uint16_t(code); }});
        cases.push_back({"tiff", &rgb, [code](FormatParams &p) { p.compression = uint16_t(code); }});
        cases.push_back({"tiff", &palette, [code](FormatParams &p) { p.compression = uint16_t(code); }});
    }
    for (size_t i = 0; i < cases.size(); ++i) {
        const Case &c = cases[i];
        SCOPED_TRACE(std::string(c.format) + " " + c.sample->name + " case " + std::to_string(i));
        FormatParams params;
        zntDefaultParams(&params);
        params.formatIndex = int16_t(zntFormatGetIndex(c.format));
        c.adjust(params);
        const std::string path = dir.file("option");
        ASSERT_EQ(zntSave(path.c_str(), &c.sample->picture, &params, 0), 0);
        Loaded back;
        load(back, path);
        ASSERT_EQ(back.status, 0) << back.message;
        EXPECT_EQ(maxDifference(toRgba(back.picture), expected(c.sample->picture, c.format)), 0);
    }
    // The 87a header really is one, and interlace is recorded.
    FormatParams params;
    zntDefaultParams(&params);
    params.formatIndex = int16_t(zntFormatGetIndex("gif"));
    params.gif87a = 1;
    ASSERT_EQ(zntSave(dir.file("old.gif").c_str(), &palette.picture, &params, 0), 0);
    EXPECT_EQ(testsupport::readFile(dir.file("old.gif")).substr(0, 6), "GIF87a");
    for (bool hp49 : {false, true}) {
        params.formatIndex = int16_t(zntFormatGetIndex("grob"));
        params.hp49Header = hp49;
        ASSERT_EQ(zntSave(dir.file("calc.grob").c_str(), &binary.picture, &params, 0), 0);
        EXPECT_EQ(testsupport::readFile(dir.file("calc.grob")).substr(0, 7), hp49 ? "HPHP49-" : "HPHP48-");
    }
    Sample sharp("rgb", ZNT_RGB);
    for (bool progressive : {false, true}) {
        params.formatIndex = int16_t(zntFormatGetIndex("jpeg"));
        params.progressive = progressive;
        params.optimizeHuffman = 1;
        params.jpegQuality = 90;
        ASSERT_EQ(zntSave(dir.file("p.jpg").c_str(), &sharp.picture, &params, 0), 0);
        FileInformation info{};
        ASSERT_EQ(zntFileInformation(dir.file("p.jpg").c_str(), -1, 0, &info), 0);
        EXPECT_EQ(std::string(info.compressionName), progressive ? "JPEG progressive" : "JPEG baseline");
        zntFileInformationFree(&info);
    }
}

// A photograph-like picture: smooth shading with grain, which lossy coding
// keeps close and lossless coding cannot shrink much.
struct Photo {
    Picture picture{};
    Photo() {
        const int w = 96, h = 64;
        EXPECT_TRUE(zntAllock(&picture, ZNT_RGB, 8, w, h));
        uint32_t seed = 7;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                seed = seed * 1664525u + 1013904223u;
                uint8_t *p = picture.data + size_t(y) * picture.bytesPerLine + 3 * size_t(x);
                const int grain = int(seed >> 29);
                p[0] = uint8_t(x * 2 + grain), p[1] = uint8_t(y * 3 + grain), p[2] = uint8_t(150 - x + grain);
            }
    }
    ~Photo() { zntFree(&picture); }
};

TEST(RoundTrip, NewerCodecsSaveSmallerAtLowerQualities) {
    Photo photo;
    testsupport::TempDir dir;
    for (const char *format : {"webp", "heif", "avif", "jxl", "jp2", "j2k"}) {
        SCOPED_TRACE(format);
        size_t sizes[3] = {};
        const int qualities[3] = {100, 90, 40};
        for (int i = 0; i < 3; ++i) {
            FormatParams params;
            zntDefaultParams(&params);
            params.formatIndex = int16_t(zntFormatGetIndex(format));
            params.jpegQuality = uint16_t(qualities[i]);
            const std::string path = dir.file(std::to_string(qualities[i]) + ".q");
            ASSERT_EQ(zntSave(path.c_str(), &photo.picture, &params, 0), 0);
            sizes[i] = testsupport::readBytes(path).size();
            Loaded back;
            load(back, path);
            ASSERT_EQ(back.status, 0) << back.message;
            const double difference = meanDifference(toRgba(back.picture), toRgba(photo.picture));
            EXPECT_LT(difference, qualities[i] == 100 ? 0.5 : qualities[i] == 90 ? 3.0 : 8.0) << qualities[i];
        }
        EXPECT_GT(sizes[0], sizes[1]);
        EXPECT_GT(sizes[1], sizes[2]);
    }
}

TEST(RoundTrip, TiffJpegCompressionIsLossyButClose) {
    Sample rgb("rgb", ZNT_RGB), grey("grey", ZNT_GREY);
    testsupport::TempDir dir;
    for (Sample *s : {&rgb, &grey}) {
        ASSERT_EQ(save(dir.file("j.tif"), s->picture, "tiff", [](FormatParams &p) { p.compression = 8; p.jpegQuality = 98; }), 0);
        Loaded back;
        load(back, dir.file("j.tif"));
        ASSERT_EQ(back.status, 0) << back.message;
        EXPECT_LT(meanDifference(toRgba(back.picture), toRgba(s->picture)), s == &rgb ? 3.0 : 12.0);
    }
}

TEST(RoundTrip, MultiPageTiff) {
    Sample binary("binary", ZNT_BINARY), palette("palette", ZNT_PALETTE, 200), rgba("rgba", ZNT_RGBA);
    Picture small{};
    ASSERT_TRUE(zntAllock(&small, ZNT_GREY, 8, 5, 3));
    small.data[7] = 200;
    testsupport::TempDir dir;
    const std::string path = dir.file("pages.tif");
    FormatParams params;
    zntDefaultParams(&params);
    params.compression = 2;
    const int tiff = zntFormatGetIndex("tiff");
    EXPECT_TRUE(zntFormatIsSupported("tiff"));
    EXPECT_EQ(zntFileCreate(dir.file("x.png").c_str(), zntFormatGetIndex("png"), &params), nullptr)
        << "only multi-page formats";
    ZntFile *file = zntFileCreate(path.c_str(), tiff, &params);
    ASSERT_NE(file, nullptr);
    const Picture *pages[] = {&binary.picture, &palette.picture, &rgba.picture, &small};
    for (const Picture *p : pages) EXPECT_EQ(zntFileAddPicture(file, p), 0);
    EXPECT_EQ(zntFileClose(file), 0);

    FileInformation info{};
    ASSERT_EQ(zntFileInformation(path.c_str(), -1, 0, &info), 0);
    EXPECT_EQ(info.imageCount, 4);
    EXPECT_EQ(info.images[1].colorModel, ZNT_CM_PALETTE);
    EXPECT_EQ(info.images[3].width, 5u);
    EXPECT_EQ(info.images[4].colorModel, ZNT_CM_END);
    zntFileInformationFree(&info);
    for (int page = 0; page < 4; ++page) {
        SCOPED_TRACE(page);
        Loaded back;
        load(back, path, page);
        ASSERT_EQ(back.status, 0);
        EXPECT_EQ(maxDifference(toRgba(back.picture), toRgba(*pages[page])), 0);
    }
    Loaded beyond;
    load(beyond, path, 4);
    EXPECT_EQ(beyond.status, ZNT_BAD_FILE);
    zntFree(&small);
}

TEST(RoundTrip, MultiPageDcx) {
    Sample binary("binary", ZNT_BINARY), palette12("palette12", ZNT_PALETTE, 12), rgba("rgba", ZNT_RGBA),
        grey("grey", ZNT_GREY);
    testsupport::TempDir dir;
    const std::string path = dir.file("pages.dcx");
    FormatParams params;
    zntDefaultParams(&params);
    params.rleCompress = 1;
    EXPECT_TRUE(zntFormatIsSupported("dcx"));
    ZntFile *file = zntFileCreate(path.c_str(), zntFormatGetIndex("dcx"), &params);
    ASSERT_NE(file, nullptr);
    const Picture *pages[] = {&binary.picture, &palette12.picture, &rgba.picture, &grey.picture};
    for (const Picture *p : pages) EXPECT_EQ(zntFileAddPicture(file, p), 0);
    EXPECT_EQ(zntFileClose(file), 0);

    FileInformation info{};
    ASSERT_EQ(zntFileInformation(path.c_str(), -1, 0, &info), 0);
    EXPECT_STREQ(zntFormatGetName(info.formatIndex), "dcx");
    ASSERT_EQ(info.imageCount, 4);
    EXPECT_EQ(info.images[0].colorModel, ZNT_CM_BINARY);
    EXPECT_EQ(info.images[2].colorModel, ZNT_CM_RGB);
    zntFileInformationFree(&info);
    for (int page = 0; page < 4; ++page) {
        SCOPED_TRACE(page);
        Loaded back;
        load(back, path, page);
        ASSERT_EQ(back.status, 0);
        EXPECT_EQ(maxDifference(toRgba(back.picture), expected(*pages[page], "dcx")), 0);
    }
    Loaded beyond;
    load(beyond, path, 4);
    EXPECT_EQ(beyond.status, ZNT_BAD_FILE);

    // A file closed without pages is no file.
    file = zntFileCreate(dir.file("empty.dcx").c_str(), zntFormatGetIndex("dcx"), &params);
    ASSERT_NE(file, nullptr);
    EXPECT_NE(zntFileClose(file), 0);
    EXPECT_NE(access(dir.file("empty.dcx").c_str(), F_OK), 0);
}

// Rows of one value far longer than any run an encoder can write, rows
// that never repeat, pairs, and bytes that look like run markers, in every
// run-length encoder.
TEST(RoundTrip, LongRunsAndLiterals) {
    const int w = 300, h = 6;
    auto fill = [&](Picture &p) {
        for (int y = 0; y < h; ++y) {
            uint8_t *row = p.data + size_t(y) * p.bytesPerLine;
            for (uint32_t i = 0; i < p.bytesPerLine; ++i) {
                const int x = int(i) / std::max<int>(p.bytesPerPixel, 1);
                const int values[] = {0xc5, x * 7 + int(i % 3), x / 2 * 3, (x / 130) * 0x40 + 0xc0, x % 2 ? 0xff : 0xfe,
                                      x < 150 ? 9 : x * 13};
                row[i] = uint8_t(values[y]);
            }
        }
    };
    Picture kinds[4] = {};
    const int types[4] = {ZNT_GREY, ZNT_PALETTE, ZNT_RGB, ZNT_RGBA};
    for (int k = 0; k < 4; ++k) {
        ASSERT_TRUE(zntAllock(&kinds[k], types[k], 8, w, h));
        fill(kinds[k]);
        if (types[k] == ZNT_PALETTE)
            for (int i = 0; i < 768; ++i) kinds[k].palette[i] = uint8_t(i * 5);
    }
    testsupport::TempDir dir;
    for (const char *format : {"tga", "pcx", "sgi", "iff", "soft"}) {
        const int f = zntFormatGetIndex(format);
        for (const Picture &p : kinds) {
            if (!zntFormatAcceptsPicture(f, &p)) continue;
            SCOPED_TRACE(std::string(format) + " type " + std::to_string(p.type));
            Picture source = p;
            ASSERT_EQ(save(dir.file("runs"), source, format, [](FormatParams &params) { params.rleCompress = 1; }), 0);
            Loaded back;
            load(back, dir.file("runs"));
            ASSERT_EQ(back.status, 0) << back.message;
            EXPECT_EQ(maxDifference(toRgba(back.picture), expected(p, format)), 0);
        }
    }
    for (Picture &p : kinds) zntFree(&p);
}
