// The rules of image views: zoom steps, status texts, the title mark, file
// navigation, command names and menu sensitivity.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>

#include "app/settings.h"
#include "test_files.h"
#include "view/commands.h"
#include "view/file_navigation.h"
#include "view/status_text.h"
#include "view/zoom.h"

using namespace quivel;

TEST(Zoom, StepsAndTheirKeptQuirks) {
    const Size picture{640, 480}, area{800, 600};
    EXPECT_EQ(zoomForArgument("-", 7, picture, area), 7) << "the smallest step stays";
    EXPECT_EQ(zoomForArgument("-1", 5, picture, area), 100) << "below the smallest step jumps to 100";
    EXPECT_EQ(zoomForArgument("+1", 1600, picture, area), 1600);
    EXPECT_EQ(zoomForArgument("+1", 2000, picture, area), 1600);
    EXPECT_EQ(zoomForArgument("+1", 100, picture, area), 200);
    EXPECT_EQ(zoomForArgument("-1", 100, picture, area), 70);
    EXPECT_EQ(zoomForArgument("+1", 150, picture, area), 200) << "off-step zooms go to the next step";
    EXPECT_EQ(zoomForArgument("-1", 150, picture, area), 100);
    EXPECT_EQ(zoomForArgument("100", 37, picture, area), 100);
    EXPECT_EQ(zoomForArgument("0", 37, picture, area), 100);
    EXPECT_EQ(zoomForArgument("250", 37, picture, area), 250);
}

TEST(Zoom, PlusAloneFitsTheWholePicture) {
    EXPECT_EQ(zoomForArgument("+", 100, {640, 480}, {800, 600}), 100);
    EXPECT_EQ(zoomForArgument("+", 100, {6000, 4000}, {1000, 700}), 15);
    EXPECT_EQ(zoomForArgument("+", 100, {100, 50}, {800, 600}), 800);
    EXPECT_EQ(zoomForArgument("+", 100, {100000, 10}, {800, 600}), 7) << "nothing fits: the smallest step";
}

TEST(Zoom, FitModes) {
    EXPECT_EQ(fitZoom(2, {100, 50}, {800, 600}), 800) << "all pictures fill the window";
    EXPECT_EQ(fitZoom(3, {100, 50}, {800, 600}), 100) << "small pictures stay at 100 %";
    EXPECT_EQ(fitZoom(3, {3000, 2000}, {800, 600}), 25);
    EXPECT_EQ(fitZoom(6, {1600, 100000}, {800, 600}), 50) << "by width only";
    EXPECT_EQ(fitZoom(7, {100000, 1200}, {800, 600}), 50) << "by height only";
    EXPECT_EQ(fitZoom(0, {3000, 2000}, {800, 600}), 100);
}

TEST(Zoom, ScrollKeepsTheCentreOrPlacesTheAnchor) {
    // The centre of an 800 x 600 area at offset (100, 50), zoom 100 -> 200.
    const Offset centred = scrollAfterZoom("+1", 100, 200, {100, 50}, {}, {2000, 2000}, {800, 600});
    EXPECT_EQ(centred.x, (400 + 100) * 2 - 400);
    EXPECT_EQ(centred.y, (300 + 50) * 2 - 300);
    const Offset anchored = scrollAfterZoom("+", 100, 50, {0, 0}, {400, 300}, {1000, 800}, {800, 600});
    EXPECT_EQ(anchored.x, 50 * 400 / 100 - (800 - 500) / 2);
    EXPECT_EQ(anchored.y, 50 * 300 / 100 - (600 - 400) / 2);
}

TEST(StatusText, PartsInOrderWithTheLastAtTheEnd) {
    Picture picture{};
    picture.width = 640;
    picture.height = 480;
    picture.type = ZNT_PALETTE;
    picture.bytesPerPixel = 1;
    picture.numberOfColors = 64;
    ViewStatus s;
    s.fileName = "/pics/holiday/beach.gif";
    s.picture = &picture;
    s.fileSize = 2048;
    s.zoom = 50;
    auto parts = statusParts(s);
    std::vector<std::string> texts;
    for (auto &p : parts) texts.push_back(p.text);
    EXPECT_EQ(texts, (std::vector<std::string>{"beach.gif", "", "640x480x8", "64 Colors", "2.0 KB", "50%"}));
    EXPECT_EQ(parts.back().alignment, 2);
    EXPECT_EQ(parts.front().alignment, 0);

    s.pageCount = 5;
    s.page = 2;
    s.frameCount = 12;
    s.frame = 3;
    s.fileSize = 0;
    picture.type = ZNT_BINARY;
    parts = statusParts(s);
    EXPECT_EQ(parts.front().text, "3/5");
    EXPECT_EQ(parts[3].text, "640x480x1") << "binary pictures show 1 bit";
    EXPECT_EQ(parts[4].text, "Binary");
    EXPECT_EQ(parts.back().text, "Frame 4/12");
    EXPECT_EQ(parts.size(), 7u) << "no size part when the size is unknown";
}

TEST(StatusText, KindsSizesAndTitles) {
    Picture grey{};
    grey.type = ZNT_GREY;
    grey.numberOfColors = 16;
    EXPECT_EQ(colorKindText(grey), "16 Grey Scale");
    grey.type = ZNT_ABGR;
    EXPECT_EQ(colorKindText(grey), "True Colors");
    EXPECT_EQ(fileSizeText(1023), "1023 bytes");
    EXPECT_EQ(fileSizeText(5 * 1024 * 1024 + 512 * 1024), "5.5 MB");
    EXPECT_EQ(markedTitle("Quivel v1.50", true), "*Quivel v1.50");
    EXPECT_EQ(markedTitle("*Quivel v1.50", true), "*Quivel v1.50") << "never doubled";
    EXPECT_EQ(markedTitle("*Quivel v1.50", false), "Quivel v1.50");
    EXPECT_EQ(markedTitle("Quivel v1.50", false), "Quivel v1.50");
}

TEST(StatusText, ColorInformation) {
    Picture p{};
    ASSERT_TRUE(zntAllock(&p, ZNT_PALETTE, 1, 4, 2));
    p.data[p.bytesPerLine + 3] = 7;
    p.palette[7] = 0x12;
    p.palette[256 + 7] = 0xab;
    p.palette[512 + 7] = 0xff;
    EXPECT_EQ(colorInformationText(p, 3, 1), "X: 3, Y: 1\n  INDEX (7)\n  RGB (18,171,255)\n  HTML (#12ABFF)");
    EXPECT_EQ(colorInformationText(p, 4, 1), "") << "outside the picture";
    zntFree(&p);
    ASSERT_TRUE(zntAllock(&p, ZNT_ARGB, 8, 2, 1));
    const uint8_t argb[] = {9, 1, 2, 3};
    std::copy(argb, argb + 4, p.data + 4);
    EXPECT_EQ(colorInformationText(p, 1, 0), "X: 1, Y: 0\n  RGB (1,2,3)\n  HTML (#010203)");
    zntFree(&p);
    ASSERT_TRUE(zntAllock(&p, ZNT_GREY, 8, 2, 1));
    p.numberOfColors = 16;
    p.data[1] = 15;
    EXPECT_EQ(colorInformationText(p, 1, 0), "X: 1, Y: 0\n  INDEX (15)\n  HTML (#FF)");
    zntFree(&p);
}

TEST(FileNavigation, FolderPicturesSortedWithoutCase) {
    testsupport::TempDir dir;
    for (const char *name : {"b.png", "A.jpg", "c.GIF", "notes.txt", "a.bmp", ".hidden.png"})
        testsupport::writeFile(dir.file(name), "x");
    mkdir(dir.file("folder.jpg").c_str(), 0755);
    const std::vector<std::string> pictures = folderPictures(dir.path());
    std::vector<std::string> names;
    for (const std::string &p : pictures) names.push_back(p.substr(dir.path().size() + 1));
    EXPECT_EQ(names, (std::vector<std::string>{".hidden.png", "a.bmp", "A.jpg", "b.png", "c.GIF"}));
    EXPECT_EQ(folderOf(dir.file("b.png")), dir.path());
    EXPECT_EQ(folderOf("b.png"), ".");
    EXPECT_EQ(folderOf("/b.png"), "/");
    EXPECT_EQ(insertionIndex(pictures, dir.file("B.txt")), 4);

    // A format switched off in the options is not offered.
    gFileTypeFlags.push_back({"gif", 0});
    EXPECT_EQ(folderPictures(dir.path()).size(), 4u);
    gFileTypeFlags.clear();
}

TEST(FileNavigation, Moves) {
    EXPECT_EQ(navigateIndex("next", 0, 3), 1);
    EXPECT_EQ(navigateIndex("next", 2, 3), -1) << "no wrap at the end";
    EXPECT_EQ(navigateIndex("prev", 0, 3), -1);
    EXPECT_EQ(navigateIndex("first", 2, 3), 0);
    EXPECT_EQ(navigateIndex("first", 0, 3), -1) << "already there";
    EXPECT_EQ(navigateIndex("last", 0, 3), 2);
    EXPECT_EQ(navigateIndex("next", -1, 3), 0) << "a file not in the list goes to the first after it";
    EXPECT_EQ(navigateIndex("next", 0, 0), -1);
    EXPECT_EQ(navigateIndex("sideways", 0, 3), -1);
}

TEST(ViewCommands, NamesMatchExactlyAndInOrder) {
    EXPECT_EQ(viewCommandByName("zoom+"), ViewCommand::zoomIn);
    EXPECT_EQ(viewCommandByName("delete"), ViewCommand::remove);
    EXPECT_EQ(viewCommandByName("Open"), ViewCommand::unknown);
    EXPECT_EQ(viewCommandByName(""), ViewCommand::unknown);
    EXPECT_EQ(viewCommandName(ViewCommand::pagePrev), "pagePrev");
    // Every command named in the key bindings exists.
    const std::string table = kViewTranslations;
    for (size_t at = 0; (at = table.find("ViewDoCommand(", at)) != std::string::npos;) {
        at += 14;
        const std::string name = table.substr(at, table.find(')', at) - at);
        EXPECT_NE(viewCommandByName(name), ViewCommand::unknown) << name;
    }
}

TEST(ViewCommands, MenuSensitivity) {
    auto lookup = [](const auto &items, std::string_view name) {
        for (auto &[n, on] : items)
            if (name == n) return int(on);
        return -1;
    };
    const auto failed = pictureMenuSensitivity(true, ZNT_RGB);
    EXPECT_EQ(lookup(failed, "MenuBinary"), 0);
    EXPECT_EQ(lookup(failed, "MenuSwap"), 0);
    EXPECT_EQ(lookup(failed, "canvas"), -1) << "left as it was";
    EXPECT_EQ(lookup(pictureMenuSensitivity(false, ZNT_GREY), "MenuSwap"), 0);
    EXPECT_EQ(lookup(pictureMenuSensitivity(false, ZNT_PALETTE), "MenuSwap"), 1);
    EXPECT_EQ(lookup(pictureMenuSensitivity(false, ZNT_BINARY), "resize"), 1);
    EXPECT_EQ(lookup(pictureMenuSensitivity(false, ZNT_BINARY), "canvas"), 1);
}
