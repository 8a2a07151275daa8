// Saving pictures of every kind in every writable format: the conversion
// choices and which formats hold them, asking for a choice and reusing it,
// resizing to a format's largest size, the options reaching the file, and
// the failures the user is told about.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/configuration_file.h"
#include "default_settings.h"
#include "imageops/op_support.h"
#include "picture/conversion_choice.h"
#include "picture/save_picture.h"
#include "picture_files.h"
#include "picture_pixels.h"

using namespace quivel;
using testsupport::OwnedTestPicture;
using testsupport::TempDir;

namespace {

// A 37 x 23 picture of `type` with varied pixels; grey pictures have 16
// levels, palette pictures 200 colours.
void makeSample(OwnedTestPicture &p, int type, int width = 37, int height = 23) {
    testsupport::makePicture(p, type, width, height, [&](int x, int y, int k) {
        if (type == ZNT_BINARY) return (x + y) % 3 == 0 ? 1 : 0;
        if (type == ZNT_GREY) return (x + y) % 16;
        if (type == ZNT_PALETTE) return (x * 7 + y * 5) % 200;
        return (x * 7 + y * 11 + k * 60) & 0xff;
    });
    if (type == ZNT_GREY) p->numberOfColors = 16;
    if (type == ZNT_PALETTE) {
        p->numberOfColors = 200;
        for (int i = 0; i < 200; ++i) testsupport::setPaletteEntry(p.p, i, i, 255 - i, (i * 37) & 0xff);
    }
}

constexpr int kSampleTypes[] = {ZNT_BINARY, ZNT_GREY, ZNT_PALETTE, ZNT_RGB, ZNT_RGBA, ZNT_ABGR};

// Records what a save asked and said; answers with `answer`, or with the
// suggestion when it is -1.
struct RecordingHooks : SaveHooks {
    int answer = -1;
    int asked = 0, suggested = 0;
    std::vector<std::string> informed, errors;
    int writes = 0;

    int chooseConversion(int, const Picture &, int offered) override {
        ++asked;
        suggested = offered;
        return answer < 0 ? offered : answer;
    }
    void inform(const std::string &text) override { informed.push_back(text); }
    void error(const std::string &text) override { errors.push_back(text); }
    void beginWrite(const std::string &, FormatParams &) override { ++writes; }
};

int save(const std::string &path, Picture &picture, const char *format, const Settings &settings,
         RecordingHooks &hooks, bool reuse = false, bool messages = true) {
    std::vector<char> name(4096);
    std::strncpy(name.data(), path.c_str(), name.size() - 1);
    SaveRequest request;
    request.formatIndex = zntFormatGetIndex(format);
    request.reuseChoice = reuse;
    request.allowMessages = messages;
    return savePicture(name.data(), picture, request, settings, hooks);
}

const ZntSaveKind *saveKindsOf(int format) {
    FormatInformation info{};
    zntFormatGetInfo(format, &info);
    return info.saveKinds;
}

std::string compressionOf(const std::string &path) {
    FileInformation info{};
    const OpStatus status = zntFileInformation(path.c_str(), -1, 0, &info);
    const std::string name = status == ZNT_OK ? info.compressionName : "status " + std::to_string(status);
    zntFileInformationFree(&info);
    return name;
}

}  // namespace

TEST(ConversionChoices, TableModesAndDialogPartsAgree) {
    for (int choice = 1; choice <= kConversionChoiceCount; ++choice)
        EXPECT_EQ(choiceOfParts(partsOfChoice(choice)), choice) << "parts name exactly one choice";
    ConversionMode mode;
    EXPECT_EQ(conversionModeForChoice(0, mode), ZNT_NO_MEMORY);
    EXPECT_EQ(conversionModeForChoice(33, mode), ZNT_NO_MEMORY);
    EXPECT_EQ(choiceOfParts({ConversionKind::Grey, 256, ConversionDither::Pattern}), 0);
    EXPECT_EQ(choiceOfParts({ConversionKind::Binary, 2, ConversionDither::Plain}), 0);
}

TEST(ConversionChoices, WhatASaveKindListHolds) {
    const ZntSaveKind grey16[] = {{ZNT_CM_GREY, 4, 0, 0}, {-1, 0, 0, 0}};
    const ZntSaveKind palette128[] = {{ZNT_CM_PALETTE, 7, 0, 0}, {-1, 0, 0, 0}};
    const ZntSaveKind full[] = {{ZNT_CM_BINARY, 1, 0, 0}, {ZNT_CM_GREY, 8, 0, 0}, {ZNT_CM_PALETTE, 8, 0, 0},
                                {ZNT_CM_RGBA, 32, 0, 0}, {-1, 0, 0, 0}};
    auto held = [](const ZntSaveKind *kinds) {
        std::string marks;
        for (int choice = 1; choice <= kConversionChoiceCount; ++choice)
            marks += saveKindsHoldChoice(kinds, choice) ? 'x' : '.';
        return marks;
    };
    EXPECT_EQ(held(grey16), "....xxx....xxx..............." "...");
    EXPECT_EQ(held(palette128), "................." "xxxxx.." "xxxxx.." ".");
    EXPECT_EQ(held(full), std::string(32, 'x'));
    EXPECT_EQ(held(nullptr), std::string(32, '.'));
    EXPECT_TRUE(saveKindsHoldKind(grey16, ConversionKind::Grey));
    EXPECT_FALSE(saveKindsHoldKind(grey16, ConversionKind::TrueColors));
    EXPECT_TRUE(saveKindsHoldCount(palette128, ConversionKind::Colors, 128));
    EXPECT_FALSE(saveKindsHoldCount(palette128, ConversionKind::Colors, 216));
}

TEST(ConversionChoices, DefaultsLoseLeastAndTheDialogSettlesOnWhatIsHeld) {
    const ZntSaveKind greyAndRgb[] = {{ZNT_CM_GREY, 8, 0, 0}, {ZNT_CM_RGB, 24, 0, 0}, {-1, 0, 0, 0}};
    const ZntSaveKind paletteOnly[] = {{ZNT_CM_PALETTE, 8, 0, 0}, {-1, 0, 0, 0}};
    const ZntSaveKind binaryOnly[] = {{ZNT_CM_BINARY, 1, 0, 0}, {-1, 0, 0, 0}};
    const ZntSaveKind grey16[] = {{ZNT_CM_GREY, 4, 0, 0}, {-1, 0, 0, 0}};
    Picture rgb{}, grey{}, binary{};
    rgb.type = ZNT_RGB, grey.type = ZNT_GREY, binary.type = ZNT_BINARY;
    EXPECT_EQ(defaultConversionChoice(greyAndRgb, rgb), kTrueColorChoice);
    EXPECT_EQ(defaultConversionChoice(greyAndRgb, binary), 11) << "black and white keeps to grey";
    EXPECT_EQ(defaultConversionChoice(paletteOnly, rgb), 24);
    EXPECT_EQ(defaultConversionChoice(paletteOnly, grey), 24);
    EXPECT_EQ(defaultConversionChoice(grey16, rgb), 7) << "16 levels, the most it holds";
    EXPECT_EQ(defaultConversionChoice(binaryOnly, rgb), 2);
    EXPECT_EQ(defaultConversionChoice(nullptr, rgb), 0);

    // Kind, count and dither each fall back to what the format holds.
    ChoiceParts settled = settleChoiceParts(paletteOnly, {ConversionKind::TrueColors, 0, ConversionDither::Plain});
    EXPECT_EQ(choiceOfParts(settled), 24);
    settled = settleChoiceParts(grey16, {ConversionKind::Grey, 256, ConversionDither::Plain});
    EXPECT_EQ(choiceOfParts(settled), 7);
    settled = settleChoiceParts(grey16, {ConversionKind::Grey, 8, ConversionDither::Halftone45});
    EXPECT_EQ(choiceOfParts(settled), 6);
    settled = settleChoiceParts(binaryOnly, {ConversionKind::Colors, 16, ConversionDither::Halftone90});
    EXPECT_EQ(choiceOfParts(settled), 4);
    settled = settleChoiceParts(binaryOnly, {ConversionKind::Colors, 16, ConversionDither::Pattern});
    EXPECT_EQ(choiceOfParts(settled), 1);
}

TEST(Saving, EveryChoiceAFormatHoldsGivesAPictureItAccepts) {
    OwnedTestPicture source;
    makeSample(source, ZNT_RGB);
    for (int format = 0; format < zntCount(); ++format) {
        if (!zntFormatIsWritable(format)) continue;
        for (int choice = 1; choice <= kConversionChoiceCount; ++choice) {
            if (!saveKindsHoldChoice(saveKindsOf(format), choice)) continue;
            OwnedTestPicture converted;
            ASSERT_EQ(convertForChoice(source.p, converted.p, choice), ZNT_OK) << choice;
            EXPECT_TRUE(zntFormatAcceptsPicture(format, &converted.p))
                << zntFormatGetName(format) << " choice " << choice;
        }
    }
}

TEST(Saving, EveryWritableFormatSavesEveryPictureKind) {
    TempDir dir;
    auto settings = defaultSettings();
    int saved = 0;
    for (int format = 0; format < zntCount(); ++format) {
        if (!zntFormatIsWritable(format)) continue;
        const char *name = zntFormatGetName(format);
        for (int type : kSampleTypes) {
            SCOPED_TRACE(std::string(name) + " type " + std::to_string(type));
            OwnedTestPicture picture;
            makeSample(picture, type);
            const Picture before = picture.p;
            const std::string path = dir.file("out." + std::string(zntFormatGetDefaultSuffix(format)));
            RecordingHooks hooks;
            ASSERT_EQ(save(path, picture.p, name, *settings, hooks), 0) << testing::PrintToString(hooks.errors);
            EXPECT_EQ(hooks.asked, zntFormatAcceptsPicture(format, &picture.p) ? 0 : 1);
            EXPECT_EQ(std::memcmp(&before, &picture.p, sizeof before), 0) << "the caller's picture is left alone";
            pictest::Loaded back;
            if (std::string(name) == "raw") {
                // Raw samples carry no geometry: read them as they were written.
                pictest::loadWith(back, path, [&](FormatParams &p) {
                    p.loadValues[0] = 37, p.loadValues[1] = 23, p.loadValues[2] = settings->save.offset;
                    p.rawChannelOrder = uint8_t(settings->save.channelOrder);
                    p.rawChannelType = uint8_t(settings->save.channelType);
                });
            } else {
                pictest::load(back, path);
            }
            ASSERT_EQ(back.status, 0);
            if (std::string(name) == "grob" && back.picture.height > 23) {
                // A grey GROB does not record how many bit planes it stacks:
                // read it again as that many planes.
                const int planes = back.picture.height / 23;
                zntFree(&back.picture);
                pictest::loadWith(back, path, [&](FormatParams &p) { p.grobGreyLevels = uint8_t(planes - 1); });
                ASSERT_EQ(back.status, 0);
            }
            EXPECT_EQ(back.picture.width, 37u);
            EXPECT_EQ(back.picture.height, 23);
            // Every format but JPEG saves losslessly at the quality a save
            // passes (100); a mask is dropped where there is no room for one.
            // HEIF and AVIF carry RGB through the codec's own conversion, which
            // moves some values by one.
            const std::string shortName = name;
            if (hooks.asked == 0 && shortName != "jpeg" && !(type & ZNT_FOURBYTE_MASK)) {
                const int tolerance = shortName == "heif" || shortName == "avif" ? 1 : 0;
                EXPECT_LE(pictest::maxDifference(pictest::toRgba(back.picture), pictest::toRgba(picture.p)), tolerance);
            }
            ++saved;
        }
    }
    EXPECT_GE(saved, 8 * int(std::size(kSampleTypes)));
}

TEST(Saving, OptionsReachTheFile) {
    TempDir dir;
    struct Case {
        const char *format;
        int type;
        std::function<void(Settings &)> set;
        const char *compression;
    } cases[] = {
        {"png", ZNT_RGB, [](Settings &s) { s.save.pngInterlaced = true; }, "Deflate, interlaced"},
        {"gif", ZNT_PALETTE, [](Settings &s) { s.save.gifInterlaced = true; }, "LZW, interlaced"},
        {"jpeg", ZNT_RGB, [](Settings &s) { s.save.jpegProgressive = true; }, "JPEG progressive"},
        {"tiff", ZNT_RGB, [](Settings &s) { s.save.tiffCompress = 3; }, "LZW, predictor"},
        {"tiff", ZNT_BINARY, [](Settings &s) { s.save.tiffBinaryCompress = 5; }, "CCITT G4"},
        {"bmp", ZNT_PALETTE, [](Settings &s) { s.save.bmpCompress = true; }, "RLE8"},
        {"ppm", ZNT_RGB, [](Settings &s) { s.save.ppmAscii = true; }, "ASCII"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.compression);
        auto settings = defaultSettings();
        c.set(*settings);
        OwnedTestPicture picture;
        makeSample(picture, c.type);
        RecordingHooks hooks;
        const std::string path = dir.file("options");   // the suffix is added
        ASSERT_EQ(save(path, picture.p, c.format, *settings, hooks), 0);
        EXPECT_NE(compressionOf(path + "." + zntFormatGetDefaultSuffix(zntFormatGetIndex(c.format))).find(c.compression),
                  std::string::npos);
    }

    // The JPEG quality, and 87a GIF headers.
    auto settings = defaultSettings();
    OwnedTestPicture photo;
    makeSample(photo, ZNT_RGB, 200, 150);
    RecordingHooks hooks;
    ASSERT_EQ(save(dir.file("best.jpg"), photo.p, "jpeg", *settings, hooks), 0);
    settings->save.jpegQuality = 20;
    ASSERT_EQ(save(dir.file("worst.jpg"), photo.p, "jpeg", *settings, hooks), 0);
    EXPECT_LT(testsupport::readBytes(dir.file("worst.jpg")).size() * 2,
              testsupport::readBytes(dir.file("best.jpg")).size());
    settings->save.gif87aHeader = true;
    OwnedTestPicture palette;
    makeSample(palette, ZNT_PALETTE);
    ASSERT_EQ(save(dir.file("old.gif"), palette.p, "gif", *settings, hooks), 0);
    EXPECT_EQ(testsupport::readFile(dir.file("old.gif")).substr(0, 6), "GIF87a");
}

TEST(Saving, ConversionIsAskedRememberedAndReused) {
    TempDir dir;
    auto settings = defaultSettings();
    OwnedTestPicture rgba;
    makeSample(rgba, ZNT_RGBA);
    forgetConversion();

    RecordingHooks first;
    first.answer = 18;   // 8 colours
    ASSERT_EQ(save(dir.file("a.gif"), rgba.p, "gif", *settings, first), 0);
    EXPECT_EQ(first.asked, 1);
    EXPECT_EQ(first.suggested, 24) << "nothing remembered: the most colours";
    EXPECT_EQ(rememberedConversion(), 18);
    pictest::Loaded back;
    pictest::load(back, dir.file("a.gif"));
    ASSERT_EQ(back.status, 0);
    EXPECT_LE(back.picture.numberOfColors, 8);

    RecordingHooks again;
    ASSERT_EQ(save(dir.file("b.gif"), rgba.p, "gif", *settings, again, true), 0);
    EXPECT_EQ(again.asked, 0) << "reused without asking";
    RecordingHooks notReused;
    ASSERT_EQ(save(dir.file("c.gif"), rgba.p, "gif", *settings, notReused, false), 0);
    EXPECT_EQ(notReused.asked, 1);
    EXPECT_EQ(notReused.suggested, 24) << "a save without reuse forgets first";

    // A remembered choice the format cannot hold is offered no more.
    rememberConversion(kTrueColorChoice);
    RecordingHooks cannotHold;
    ASSERT_EQ(save(dir.file("d.gif"), rgba.p, "gif", *settings, cannotHold, true), 0);
    EXPECT_EQ(cannotHold.asked, 1);
    EXPECT_EQ(cannotHold.suggested, 24);

    // Cancelling refuses the save quietly and writes nothing.
    RecordingHooks cancelled;
    cancelled.answer = 0;
    EXPECT_EQ(save(dir.file("e.gif"), rgba.p, "gif", *settings, cancelled), kSaveRefused);
    EXPECT_TRUE(cancelled.errors.empty());
    EXPECT_EQ(cancelled.writes, 0);
    EXPECT_TRUE(testsupport::readBytes(dir.file("e.gif")).empty());
    forgetConversion();
}

TEST(Saving, ResizesToTheLargestSizeAFormatHolds) {
    const ZntSaveKind small[] = {{ZNT_CM_PALETTE, 8, 100, 50}, {ZNT_CM_RGB, 24, 0, 0}, {-1, 0, 0, 0}};
    const ZntSaveKind smallThenAny[] = {{ZNT_CM_PALETTE, 8, 100, 50}, {ZNT_CM_PALETTE, 8, 0, 0}, {-1, 0, 0, 0}};
    Picture palette{};
    palette.type = ZNT_PALETTE;
    palette.numberOfColors = 20;
    palette.width = 150, palette.height = 40;
    uint32_t width = 0, height = 0;
    ASSERT_TRUE(saveKindSize(small, palette, width, height));
    EXPECT_EQ(width, 100u);
    EXPECT_EQ(height, 40u);
    ASSERT_TRUE(saveKindSize(smallThenAny, palette, width, height));
    EXPECT_EQ(width, 150u) << "an entry without a limit holds it as it is";
    Picture rgb = palette;
    rgb.type = ZNT_RGB;
    ASSERT_TRUE(saveKindSize(small, rgb, width, height));
    EXPECT_EQ(width, 150u);
    Picture grey = palette;
    grey.type = ZNT_GREY;
    EXPECT_FALSE(saveKindSize(small, grey, width, height)) << "a kind not held needs a conversion first";

    // GIF sides end at 65535.
    TempDir dir;
    auto settings = defaultSettings();
    OwnedTestPicture wide;
    makeSample(wide, ZNT_BINARY, 65540, 3);
    RecordingHooks hooks;
    ASSERT_EQ(save(dir.file("wide.gif"), wide.p, "gif", *settings, hooks), 0);
    EXPECT_EQ(hooks.informed, std::vector<std::string>{"Resizing in 65535x3"});
    pictest::Loaded back;
    pictest::load(back, dir.file("wide.gif"));
    ASSERT_EQ(back.status, 0);
    EXPECT_EQ(back.picture.width, 65535u);
    RecordingHooks quiet;
    ASSERT_EQ(save(dir.file("quiet.gif"), wide.p, "gif", *settings, quiet, false, false), 0);
    EXPECT_TRUE(quiet.informed.empty()) << "information only when the caller allows it";
}

TEST(Saving, TransparentIndexIsMarkedForTheSaveOnly) {
    TempDir dir;
    auto settings = defaultSettings();
    settings->save.gifUseTransparentIndex = true;
    settings->save.gifTransparentIndex = 5;
    OwnedTestPicture palette;
    makeSample(palette, ZNT_PALETTE);
    palette->transparentIndex = -1;
    RecordingHooks hooks;
    ASSERT_EQ(save(dir.file("t.gif"), palette.p, "gif", *settings, hooks), 0);
    EXPECT_EQ(palette->transparentIndex, -1);
    pictest::Loaded back;
    pictest::load(back, dir.file("t.gif"));
    ASSERT_EQ(back.status, 0);
    EXPECT_EQ(back.picture.transparentIndex, 5);

    // On a converted copy it is the copy that carries it.
    OwnedTestPicture rgb;
    makeSample(rgb, ZNT_RGB);
    ASSERT_EQ(save(dir.file("c.gif"), rgb.p, "gif", *settings, hooks), 0);
    pictest::Loaded converted;
    pictest::load(converted, dir.file("c.gif"));
    ASSERT_EQ(converted.status, 0);
    EXPECT_EQ(converted.picture.transparentIndex, 5);
}

TEST(Saving, FailuresAreReported) {
    auto settings = defaultSettings();
    OwnedTestPicture rgb;
    makeSample(rgb, ZNT_RGB);
    RecordingHooks missingFolder;
    EXPECT_EQ(save("/no/such/folder/x.png", rgb.p, "png", *settings, missingFolder), ZNT_CANT_CREATE);
    EXPECT_EQ(missingFolder.errors, std::vector<std::string>{"Can't create file \n</no/such/folder/x.png>"});

    RecordingHooks unknownFormat;
    EXPECT_EQ(save("/tmp/x", rgb.p, "no-such-format", *settings, unknownFormat), ZNT_CANT_SAVE);
    EXPECT_EQ(unknownFormat.errors, std::vector<std::string>{"Can't save in this format !!"});

    TempDir dir;
    RecordingHooks noMemory;
    failAllocationsAfter(0);
    const int status = save(dir.file("x.gif"), rgb.p, "gif", *settings, noMemory);
    failAllocationsAfter(-1);
    EXPECT_EQ(status, kSaveRefused);
    EXPECT_EQ(noMemory.errors, std::vector<std::string>{"Error converting picture !!"});
    EXPECT_EQ(noMemory.writes, 0);
}
