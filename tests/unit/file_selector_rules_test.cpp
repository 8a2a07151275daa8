// The file selector's rules without a display: what a folder lists and in
// which order, which files a filter passes, what typed text names, where the
// selector starts and which folders it remembers, the formats a save offers
// and the name following the format, and the preview and its labels.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <algorithm>
#include <memory>

#include "app/folder_listing.h"
#include "app/options_pages.h"
#include "app/save_formats.h"
#include "app/selector_paths.h"
#include "app/selector_preview.h"
#include "app/settings.h"
#include "test_files.h"

using namespace quivel;
using testsupport::TempDir;
using testsupport::writeFile;
using testsupport::writePpm;

namespace {

std::vector<std::string> namesOf(const std::vector<FolderEntry> &entries) {
    std::vector<std::string> names;
    for (const FolderEntry &e : entries) names.push_back(e.name);
    return names;
}

void setModified(const std::string &path, time_t when) {
    utimbuf times{when, when};
    ASSERT_EQ(utime(path.c_str(), &times), 0);
}

// Enables every format but the named ones for the scope of a test.
class FileTypes {
public:
    explicit FileTypes(std::initializer_list<const char *> disabled) {
        saved_ = gFileTypeFlags;
        gFileTypeFlags.clear();
        for (int i = 0; i < zntCount(); ++i) {
            FileTypeFlag flag{};
            std::snprintf(flag.name, sizeof flag.name, "%s", zntFormatGetName(i));
            flag.enabled = 1;
            for (const char *name : disabled)
                if (std::string(name) == flag.name) flag.enabled = 0;
            gFileTypeFlags.push_back(flag);
        }
    }
    ~FileTypes() { gFileTypeFlags = saved_; }

private:
    std::vector<FileTypeFlag> saved_;
};

}  // namespace

TEST(SelectorListing, FoldersAndFilesApartWithHiddenEntriesOnRequest) {
    TempDir dir;
    ASSERT_EQ(mkdir(dir.file("sub").c_str(), 0755), 0);
    ASSERT_EQ(mkdir(dir.file(".secret").c_str(), 0755), 0);
    writeFile(dir.file("a.png"), "x");
    writeFile(dir.file(".hidden.png"), "x");
    ASSERT_EQ(symlink("sub", dir.file("link-to-sub").c_str()), 0);
    ASSERT_EQ(symlink("gone", dir.file("dangling").c_str()), 0);

    FolderListing listing;
    ASSERT_EQ(readFolder(dir.path(), false, listing), 0);
    EXPECT_EQ(namesOf(listing.folders), (std::vector<std::string>{"..", "link-to-sub", "sub"}));
    EXPECT_EQ(namesOf(listing.files), (std::vector<std::string>{"a.png"}));

    ASSERT_EQ(readFolder(dir.path(), true, listing), 0);
    EXPECT_EQ(namesOf(listing.folders), (std::vector<std::string>{"..", ".secret", "link-to-sub", "sub"}));
    EXPECT_EQ(listing.files.size(), 2u);

    ASSERT_EQ(readFolder("/", false, listing), 0);
    EXPECT_TRUE(listing.folders.empty() || listing.folders.front().name != "..") << "nothing above the root";
    EXPECT_NE(readFolder(dir.file("missing"), false, listing), 0);
}

TEST(SelectorListing, EachSortKeyThenTheNameAndReverse) {
    TempDir dir;
    const struct {
        const char *name;
        size_t size;
        time_t modified;
    } files[] = {{"img10.png", 30, 300}, {"img2.png", 10, 100}, {"Img1.jpg", 20, 100}, {"b.gif", 20, 200}};
    for (const auto &f : files) {
        writeFile(dir.file(f.name), std::string(f.size, 'x'));
        setModified(dir.file(f.name), f.modified);
    }
    FolderListing listing;
    ASSERT_EQ(readFolder(dir.path(), false, listing), 0);
    const FileFilter all = parseFilter("*");
    auto order = [&](SortKey key, bool reverse) { return namesOf(filteredFiles(listing, all, key, reverse)); };
    using Names = std::vector<std::string>;
    EXPECT_EQ(order(SortKey::Name, false), (Names{"b.gif", "Img1.jpg", "img2.png", "img10.png"}));
    EXPECT_EQ(order(SortKey::Extension, false), (Names{"b.gif", "Img1.jpg", "img2.png", "img10.png"}));
    EXPECT_EQ(order(SortKey::Date, false), (Names{"Img1.jpg", "img2.png", "b.gif", "img10.png"}));
    EXPECT_EQ(order(SortKey::Size, false), (Names{"img2.png", "b.gif", "Img1.jpg", "img10.png"}));
    EXPECT_EQ(order(SortKey::Size, true), (Names{"img10.png", "Img1.jpg", "b.gif", "img2.png"}));

    // Numbers by value, leading zeros and case aside, with a stable tie-break.
    EXPECT_TRUE(lessByName("img007", "img10"));
    EXPECT_TRUE(lessByName("a", "B"));
    EXPECT_TRUE(lessByName("img7", "img007") != lessByName("img007", "img7"));
    EXPECT_FALSE(lessByName("same", "same"));
}

TEST(SelectorFilter, PatternsDescriptionsAndPictures) {
    EXPECT_TRUE(filterAccepts(parseFilter(""), "anything"));
    EXPECT_TRUE(filterAccepts(parseFilter(kAllFilesFilter), "notes.txt"));

    const FileFilter slides = parseFilter("Slide Files (*.sld)");
    EXPECT_EQ(slides.patterns, (std::vector<std::string>{"*.sld"}));
    EXPECT_TRUE(filterAccepts(slides, "trip.SLD")) << "without regard to case";
    EXPECT_FALSE(filterAccepts(slides, "trip.sld.bak"));

    const FileFilter several = parseFilter("*.jpg; *.png,img?.gif");
    EXPECT_TRUE(filterAccepts(several, "x.png"));
    EXPECT_TRUE(filterAccepts(several, "img1.gif"));
    EXPECT_FALSE(filterAccepts(several, "img10.gif"));
    EXPECT_TRUE(filterAccepts(parseFilter("[ab]*.tif"), "b1.tif"));

    EXPECT_TRUE(hasPatternCharacter("*.png"));
    EXPECT_FALSE(hasPatternCharacter("plain name.png"));

    const FileTypes types({"gif"});
    const FileFilter pictures = parseFilter(kPicturesFilter);
    EXPECT_TRUE(filterAccepts(pictures, "photo.JPG"));
    EXPECT_FALSE(filterAccepts(pictures, "anim.gif")) << "a disabled format is not offered";
    EXPECT_FALSE(filterAccepts(pictures, "notes.txt"));
    EXPECT_FALSE(filterAccepts(pictures, "png"));
}

TEST(SelectorTypedText, PathsResolveAgainstTheFolderAndHome) {
    EXPECT_EQ(normalisePath("/a/./b//c/../d/"), "/a/b/d");
    EXPECT_EQ(normalisePath("/../.."), "/");
    EXPECT_EQ(normalisePath("../x/.."), "..");
    EXPECT_EQ(resolvePath("/pics", "2024/a.png", "/home/u"), "/pics/2024/a.png");
    EXPECT_EQ(resolvePath("/pics/2024", "..", "/home/u"), "/pics");
    EXPECT_EQ(resolvePath("/pics", "/tmp/x", "/home/u"), "/tmp/x");
    EXPECT_EQ(resolvePath("/pics", "~", "/home/u"), "/home/u");
    EXPECT_EQ(resolvePath("/pics", "~/shots", "/home/u"), "/home/u/shots");
    EXPECT_EQ(resolvePath("/pics", "~other", "/home/u"), "/pics/~other") << "no other users' homes";
    EXPECT_EQ(parentFolder("/a"), "/");
    EXPECT_EQ(baseName("/a/b.png"), "b.png");
}

TEST(SelectorTypedText, SeveralNamesAreQuotedAndSplitBack) {
    const std::vector<std::string> names = {"a b.png", "c.jpg"};
    EXPECT_EQ(joinNames(names), "\"a b.png\" \"c.jpg\"");
    EXPECT_EQ(splitNames(joinNames(names)), names);
    EXPECT_EQ(joinNames({"one name.png"}), "one name.png");
    EXPECT_EQ(splitNames("  one name.png "), (std::vector<std::string>{"one name.png"}));
    EXPECT_EQ(splitNames("\"a.png\" \"\" \"b.png"), (std::vector<std::string>{"a.png", "b.png"}));
    EXPECT_TRUE(splitNames("   ").empty());
}

TEST(SelectorTypedText, CompletionStopsWhereTheCandidatesPart) {
    const std::vector<std::string> names = {"holiday/", "holiday-2023.jpg", "holiday-2024.jpg", "home.png"};
    EXPECT_EQ(completeName("hol", names), "holiday");
    EXPECT_EQ(completeName("holiday-", names), "holiday-202");
    EXPECT_EQ(completeName("hom", names), "home.png");
    EXPECT_EQ(completeName("x", names), "x");
    EXPECT_EQ(completeName("", names), "ho");
}

TEST(SelectorFolders, StartAtTheFirstFolderThatExists) {
    TempDir dir;
    ASSERT_EQ(mkdir(dir.file("pics").c_str(), 0755), 0);
    writeFile(dir.file("pics/a.png"), "x");
    const std::string home = dir.path();
    EXPECT_EQ(startFolder(dir.file("pics/a.png"), "/", "/", home), dir.file("pics")) << "a file's folder";
    EXPECT_EQ(startFolder(dir.file("pics"), "/", "/", home), dir.file("pics"));
    EXPECT_EQ(startFolder("", dir.file("pics"), "/", home), dir.file("pics")) << "then the remembered one";
    EXPECT_EQ(startFolder("", dir.file("gone"), dir.file("pics"), home), dir.file("pics")) << "then the working one";
    EXPECT_EQ(startFolder("", "", "", home), home);
    EXPECT_EQ(startFolder(dir.file("gone/deeper/x.png"), "", "", ""), dir.path()) << "else the nearest above";
}

TEST(SelectorFolders, RecentFoldersMoveToTheFrontAndTheOldestFallsOff) {
    auto settings = std::make_unique<Settings>();
    rememberRecentFolder(*settings, "/a");
    rememberRecentFolder(*settings, "/b");
    rememberRecentFolder(*settings, "/a");
    EXPECT_EQ(recentFolders(*settings), (std::vector<std::string>{"/a", "/b"}));
    for (int i = 0; i < kRecentCount; ++i) rememberRecentFolder(*settings, "/f" + std::to_string(i));
    const std::vector<std::string> recent = recentFolders(*settings);
    ASSERT_EQ(recent.size(), size_t(kRecentCount));
    EXPECT_EQ(recent.front(), "/f9");
    EXPECT_EQ(recent.back(), "/f0");
    rememberRecentFolder(*settings, "/" + std::string(kPathCapacity, 'x'));   // too long to keep
    EXPECT_EQ(recentFolders(*settings).front(), "/f9");
}

TEST(SaveFormatChoice, WritableEnabledFormatsInSortOrder) {
    const FileTypes types({"png"});
    const std::vector<SaveFormat> formats = saveFormats();
    ASSERT_FALSE(formats.empty());
    std::string previous;
    for (const SaveFormat &format : formats) {
        FormatInformation info{};
        ASSERT_EQ(zntFormatGetInfo(format.index, &info), ZNT_OK);
        EXPECT_TRUE(info.writable) << format.name;
        EXPECT_NE(format.name, "png") << "disabled";
        EXPECT_LE(previous, std::string(info.sortText)) << format.name;
        previous = info.sortText;
    }
    const int jpeg = zntFormatGetIndex("jpeg");
    EXPECT_EQ(formats[size_t(initialFormatPosition(formats, -1, "jpeg"))].index, jpeg);
    EXPECT_EQ(initialFormatPosition(formats, -1, "nosuch"), 0);
    EXPECT_EQ(formats[size_t(initialFormatPosition(formats, zntFormatGetIndex("tiff"), "jpeg"))].name, "tiff");
}

TEST(SaveFormatChoice, EveryFormatDisabledStillLeavesSomewhereToSave) {
    FileTypes types({});
    for (FileTypeFlag &flag : gFileTypeFlags) flag.enabled = 0;
    size_t writable = 0;
    for (int i = 0; i < zntCount(); ++i) writable += zntFormatIsWritable(i) != 0;
    EXPECT_EQ(saveFormats().size(), writable);
}

TEST(SaveFormatChoice, TheNameFollowsTheFormat) {
    const int png = zntFormatGetIndex("png"), jpeg = zntFormatGetIndex("jpeg");
    EXPECT_EQ(withFormatSuffix("/p/photo.jpg", png), "/p/photo.png");
    EXPECT_EQ(withFormatSuffix("/p/photo.jpeg", jpeg), "/p/photo.jpeg") << "already one of its suffixes";
    EXPECT_EQ(withFormatSuffix("/p/photo", png), "/p/photo");
    EXPECT_EQ(withFormatSuffix("/p/notes.final", png), "/p/notes.final");
    EXPECT_EQ(withFormatSuffix("/p.jpg/photo", png), "/p.jpg/photo") << "a folder's dot is no suffix";

    EXPECT_EQ(savedFileName("/p/photo", png, true), "/p/photo.png");
    EXPECT_EQ(savedFileName("/p/photo.", png, true), "/p/photo.png");
    EXPECT_EQ(savedFileName("/p/photo", png, false), "/p/photo");
    EXPECT_EQ(savedFileName("/p/notes.final", png, true), "/p/notes.final");

    const std::vector<SaveFormat> formats = saveFormats();
    EXPECT_EQ(formatOfSuffix(formats, "/p/a.JPEG"), jpeg);
    EXPECT_EQ(formatOfSuffix(formats, "/p/a.png"), png);
    EXPECT_EQ(formatOfSuffix(formats, "/p/a.txt"), -1);
    EXPECT_EQ(formatOfSuffix(formats, "/p/a"), -1);
}

TEST(SaveFormatChoice, FormatsWithSaveOptionsOpenTheirPage) {
    EXPECT_EQ(saveOptionsPage("xwd"), nullptr) << "a format without options";
    // Every save page of the options dialog is the page of a writable format.
    for (const OptionPage &page : optionPages()) {
        if (std::string_view(page.name).substr(0, 2) != "PW" || page.level != 1) continue;
        bool reached = false;
        for (int f = 0; f < zntCount(); ++f) {
            const char *found = zntFormatIsWritable(f) ? saveOptionsPage(zntFormatGetName(f)) : nullptr;
            if (found != nullptr && std::string_view(found) == page.name) reached = true;
        }
        EXPECT_TRUE(reached) << page.name;
    }
}

TEST(SelectorPreview, InformationLabels) {
    const FileInformationTexts none = fileInformationTexts(nullptr);
    EXPECT_EQ(none.type, "Type: ");
    EXPECT_EQ(none.colors, "Colors: ");

    ZntSubImage images[] = {{ZNT_CM_RGBA, 640, 480, 8}, {ZNT_CM_RGBA, 32, 32, 8}, {ZNT_CM_END, 0, 0, 0}};
    FileInformation info{};
    info.images = images;
    info.imageCount = 2;
    std::snprintf(info.typeText, sizeof info.typeText, "TIFF");
    FileInformationTexts texts = fileInformationTexts(&info);
    EXPECT_EQ(texts.type, "Type: TIFF (2 pages)");
    EXPECT_EQ(texts.width, "Width: 640");
    EXPECT_EQ(texts.height, "Height: 480");
    EXPECT_EQ(texts.bits, "Bits: 8");
    EXPECT_EQ(texts.planes, "Planes: 4");
    EXPECT_EQ(texts.colors, "Colors: 16777216") << "alpha is no colour";

    images[0] = {ZNT_CM_PALETTE, 10, 10, 4};
    info.imageCount = 1;
    texts = fileInformationTexts(&info);
    EXPECT_EQ(texts.type, "Type: TIFF");
    EXPECT_EQ(texts.planes, "Planes: 1");
    EXPECT_EQ(texts.colors, "Colors: 16");
    images[0] = {ZNT_CM_RGB, 10, 10, 16};
    EXPECT_EQ(fileInformationTexts(&info).colors, "Colors: 2^48");
}

TEST(SelectorPreview, FitsTheBoxKeepingTheShapeAndNeverEnlarges) {
    EXPECT_EQ(fitInside(64, 48, 160, 120).width, 64);
    const PreviewSize wide = fitInside(300, 200, 160, 120);
    EXPECT_EQ(wide.width, 160);
    EXPECT_EQ(wide.height, 106);
    const PreviewSize tall = fitInside(100, 1000, 160, 120);
    EXPECT_EQ(tall.width, 12);
    EXPECT_EQ(tall.height, 120);
    const PreviewSize line = fitInside(100000, 1, 160, 120);
    EXPECT_EQ(line.width, 160);
    EXPECT_EQ(line.height, 1);
}

TEST(SelectorPreview, LoadsAReducedPictureOrNothing) {
    TempDir dir;
    writePpm(dir.file("big.ppm"), 640, 400, 0x0000ffu);
    Picture picture{};
    ASSERT_EQ(loadPreviewPicture(dir.file("big.ppm").c_str(), 160, 120, picture), ZNT_OK);
    EXPECT_EQ(picture.width, 160u);
    EXPECT_EQ(picture.height, 100);
    EXPECT_EQ(picture.data[2], 255) << "still blue";
    zntFree(&picture);

    writePpm(dir.file("small.ppm"), 20, 10, 0xff0000u);
    ASSERT_EQ(loadPreviewPicture(dir.file("small.ppm").c_str(), 160, 120, picture), ZNT_OK);
    EXPECT_EQ(picture.width, 20u);
    zntFree(&picture);

    // The user moving on stops the load; a file that is no picture gives none.
    const OpStatus stopped = loadPreviewPicture(dir.file("big.ppm").c_str(), 160, 120, picture,
                                                [](void *) { return true; });
    EXPECT_EQ(stopped, ZNT_STOPPED);
    EXPECT_EQ(picture.data, nullptr);
    writeFile(dir.file("bad.png"), "\x89PNG\r\n\x1a\n broken");
    EXPECT_NE(loadPreviewPicture(dir.file("bad.png").c_str(), 160, 120, picture), ZNT_OK);
    EXPECT_EQ(picture.data, nullptr);
}
