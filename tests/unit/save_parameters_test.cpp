// The library's parameters as the user's Load and Save settings fill them,
// and the file-name rule of saving.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "app/configuration_file.h"
#include "default_settings.h"
#include "picture/format_params.h"

using namespace quivel;

namespace {

Picture pictureOfType(int type) {
    Picture p{};
    p.type = int16_t(type);
    return p;
}

FormatParams forSave(const Settings &s, const char *format, int type = ZNT_RGB, SaveFlags flags = {}) {
    return saveParams(s, 3, format, pictureOfType(type), flags);
}

}  // namespace

TEST(SaveParameters, PageSizesInPoints) {
    EXPECT_EQ(pageSizeForChoice(1).widthPt, 792);
    EXPECT_EQ(pageSizeForChoice(1).heightPt, 1224);
    EXPECT_EQ(pageSizeForChoice(6).widthPt, 595);   // A4
    EXPECT_EQ(pageSizeForChoice(6).heightPt, 842);
    EXPECT_EQ(pageSizeForChoice(10).widthPt, 1224);   // Ledger lies on its side
    EXPECT_EQ(pageSizeForChoice(13).heightPt, 792);
    for (int outside : {0, 14, -1, 255}) {
        EXPECT_EQ(pageSizeForChoice(outside).widthPt, 0) << outside;
        EXPECT_EQ(pageSizeForChoice(outside).heightPt, 0) << outside;
    }
}

TEST(SaveParameters, LoadTakesRawValuesOnlyForRaw) {
    auto s = defaultSettings();
    s->load.rawWidth = 640, s->load.rawHeight = 480, s->load.rawOffset = 16;
    s->load.yuvWidth = 352, s->load.yuvHeight = 288, s->load.yuvOffset = 8;
    const FormatParams raw = loadParams(*s, 7, "raw", 2);
    EXPECT_EQ(raw.loadValues[0], 640);
    EXPECT_EQ(raw.loadValues[1], 480);
    EXPECT_EQ(raw.loadValues[2], 16);
    EXPECT_EQ(raw.formatIndex, 7);
    EXPECT_EQ(raw.pageNumber, 2);
    EXPECT_EQ(raw.progressWord, 1);
    const FormatParams other = loadParams(*s, 9, "yuv", 0);
    EXPECT_EQ(other.loadValues[0], 352);
    EXPECT_EQ(other.loadValues[1], 288);
    EXPECT_EQ(other.loadValues[2], 8);
}

TEST(SaveParameters, LoadReadOptions) {
    auto s = defaultSettings();
    EXPECT_EQ(loadParams(*s, 0, "jpeg", 0).flags, 0u);
    EXPECT_EQ(loadParams(*s, 0, "jpeg", 0).lutFileName[0], '\0');
    s->load.ignoreError = true;
    s->load.postscriptPageSize = 6;
    std::memset(s->load.lut10to8Name, 'l', 2000);   // longer than the library takes
    s->load.lut10to8Name[2000] = '\0';
    const FormatParams p = loadParams(*s, 0, "dpx", 0);
    EXPECT_EQ(p.flags, uint32_t(ZNT_LOAD_IGNORE_ERRORS));
    EXPECT_EQ(p.pageWidthPt, 595);
    EXPECT_EQ(p.pageHeightPt, 842);
    EXPECT_EQ(std::strlen(p.lutFileName), kLoadLutNameCapacity - 1);
}

TEST(SaveParameters, FlagsAlwaysAskTheSaveAndAddVerboseAndExtra) {
    auto s = defaultSettings();
    EXPECT_EQ(forSave(*s, "png").flags, 4u);
    EXPECT_EQ(forSave(*s, "png", ZNT_RGB, {.verbose = true}).flags, 5u);
    EXPECT_EQ(forSave(*s, "png", ZNT_RGB, {.verbose = true, .extra = true}).flags, 0xC5u);
}

TEST(SaveParameters, QualityLevelAndInterlaceBelongToTheirFormats) {
    auto s = defaultSettings();
    s->save.jpegQuality = 42, s->save.jpegProgressive = true;
    s->save.pngCompressionLevel = 3, s->save.pngInterlaced = false;
    s->save.gifInterlaced = true;
    const FormatParams jpeg = forSave(*s, "jpeg"), png = forSave(*s, "png"), gif = forSave(*s, "gif");
    const FormatParams tiff = forSave(*s, "tiff");
    EXPECT_EQ(jpeg.jpegQuality, 42);
    EXPECT_EQ(jpeg.progressive, 1);
    EXPECT_EQ(png.jpegQuality, 100);
    EXPECT_EQ(tiff.jpegQuality, 100) << "JPEG inside TIFF is always at full quality";
    EXPECT_EQ(png.pngCompressionLevel, 3);
    EXPECT_EQ(png.progressive, 0);
    EXPECT_EQ(gif.progressive, 1);
    EXPECT_EQ(tiff.progressive, 0);
    FormatParams defaults{};
    zntDefaultParams(&defaults);
    EXPECT_EQ(jpeg.pngCompressionLevel, defaults.pngCompressionLevel) << "PNG's level only for PNG";
}

TEST(SaveParameters, CompressionByTargetFormat) {
    auto s = defaultSettings();
    s->save.tiffCompress = 3;
    for (auto [binaryKey, passed] : {std::pair{0, 0}, {1, 1}, {2, 2}, {3, 4}, {4, 5}, {5, 6}}) {
        s->save.tiffBinaryCompress = uint8_t(binaryKey);
        EXPECT_EQ(forSave(*s, "tiff", ZNT_BINARY).compression, passed) << binaryKey;
    }
    EXPECT_EQ(forSave(*s, "tiff", ZNT_GREY).compression, 3) << "other kinds take the colour key";
    EXPECT_EQ(forSave(*s, "tiff", ZNT_RGBA).compression, 3);

    // Each run-length format follows its own key and no other.
    bool Settings::SaveSection::*keys[] = {&Settings::SaveSection::iffCompress, &Settings::SaveSection::pcxCompress,
                                           &Settings::SaveSection::tgaCompress, &Settings::SaveSection::softCompress,
                                           &Settings::SaveSection::rgbCompress, &Settings::SaveSection::bmpCompress};
    const char *formats[] = {"iff", "pcx", "tga", "soft", "sgi", "bmp"};
    for (size_t on = 0; on < std::size(keys); ++on) {
        for (auto &key : keys) s->save.*key = false;
        s->save.*keys[on] = true;
        for (size_t f = 0; f < std::size(formats); ++f) {
            const FormatParams p = forSave(*s, formats[f]);
            EXPECT_EQ(p.rleCompress, f == on) << formats[f] << " with key " << on;
            EXPECT_EQ(p.compression, f == on) << formats[f] << " with key " << on;
        }
    }
    s->save.bmpCompress = true;
    EXPECT_EQ(forSave(*s, "png").compression, 0);
    EXPECT_EQ(forSave(*s, "png").rleCompress, 0);
}

TEST(SaveParameters, LookUpTableOnlyForFilmFormats) {
    auto s = defaultSettings();
    s->save.useLut = true;
    std::memset(s->save.lut8to10Name, 'x', 600);
    s->save.lut8to10Name[600] = '\0';
    for (const char *film : {"cin", "dpx"}) {
        const FormatParams p = forSave(*s, film);
        EXPECT_EQ(p.useLut, 1) << film;
        EXPECT_EQ(std::strlen(p.lutFileName), kSaveLutNameCapacity - 1) << film;
    }
    const FormatParams tiff = forSave(*s, "tiff");
    EXPECT_EQ(tiff.useLut, 0);
    EXPECT_EQ(tiff.lutFileName[0], '\0');
}

TEST(SaveParameters, TransparentIndexForGifAndPngOnly) {
    auto s = defaultSettings();
    EXPECT_FALSE(transparentIndexForSave(*s, "gif"));
    s->save.gifUseTransparentIndex = true, s->save.gifTransparentIndex = 7;
    s->save.pngUseTransparentIndex = true, s->save.pngTransparentIndex = 300;
    EXPECT_EQ(transparentIndexForSave(*s, "gif"), 7);
    EXPECT_EQ(transparentIndexForSave(*s, "png"), 300 & 0xff) << "an index past the palette is cut to a byte";
    EXPECT_FALSE(transparentIndexForSave(*s, "bmp"));
}

TEST(SaveParameters, SuffixAddedOnlyWhenTheNameHasNoDotAnywhere) {
    char name[32];
    std::strcpy(name, "/tmp/picture");
    EXPECT_TRUE(appendMissingExtension(name, sizeof name, "png"));
    EXPECT_STREQ(name, "/tmp/picture.png");
    std::strcpy(name, "/tmp/my.pics/picture");
    EXPECT_FALSE(appendMissingExtension(name, sizeof name, "png")) << "a dot in a folder counts";
    EXPECT_STREQ(name, "/tmp/my.pics/picture");
    std::strcpy(name, "/tmp/twenty_eight_characters");
    EXPECT_FALSE(appendMissingExtension(name, sizeof name, "tiff")) << "no room";
    EXPECT_STREQ(name, "/tmp/twenty_eight_characters");
    EXPECT_TRUE(appendMissingExtension(name, sizeof name, "p"));
}
