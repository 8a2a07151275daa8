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
#include "view/view_geometry.h"
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

TEST(Zoom, FitModesFillTheWindow) {
    EXPECT_EQ(fitZoom(2, {100, 50}, {800, 600}), 800) << "all pictures fill the window";
    EXPECT_EQ(fitZoom(2, {10, 10}, {800, 600}), 1600) << "up to the largest step";
    EXPECT_EQ(fitZoom(3, {100, 50}, {800, 600}), 100) << "small pictures stay at 100 %";
    EXPECT_EQ(fitZoom(3, {3000, 2000}, {800, 600}), 26) << "the largest whole percentage that fits";
    EXPECT_EQ(fitZoom(6, {1600, 100000}, {800, 600}), 50) << "by width only";
    EXPECT_EQ(fitZoom(7, {100000, 1200}, {800, 600}), 50) << "by height only";
    EXPECT_EQ(fitZoom(2, {100000, 100000}, {800, 600}), 1) << "never below 1 %";
    EXPECT_EQ(fitZoom(0, {3000, 2000}, {800, 600}), 100);
    // Whatever the fit, the displayed picture stays within the area.
    for (int mode : {2, 3}) {
        const Size picture{6000, 4000}, area{1213, 777};
        const Size shown = displayedSize(picture, fitZoom(mode, picture, area));
        EXPECT_LE(shown.width, area.width);
        EXPECT_LE(shown.height, area.height);
    }
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

TEST(ViewGeometry, SmallPicturesCentreAndLargeOnesScrollWithinBounds) {
    PictureLayout l = layoutPicture({100, 50}, 100, {400, 300}, {70, 70});
    EXPECT_EQ(l.window, (WindowRect{150, 125, 100, 50}));
    EXPECT_EQ(l.offset, (Offset{0, 0})) << "nothing to scroll";
    l = layoutPicture({1000, 800}, 50, {400, 300}, {-20, 9999});
    EXPECT_EQ(l.displayed, (Size{500, 400}));
    EXPECT_EQ(l.offset, (Offset{0, 100})) << "clamped to the picture";
    EXPECT_EQ(l.window, (WindowRect{0, 0, 400, 300}));
    // One axis scrolls, the other is centred.
    l = layoutPicture({1000, 100}, 100, {400, 300}, {300, 50});
    EXPECT_EQ(l.window, (WindowRect{0, 100, 400, 100}));
    EXPECT_EQ(l.offset, (Offset{300, 0}));
}

TEST(ViewGeometry, KeyScrollAndWindowFit) {
    // 0 right, 1 left, 2 up, 3 down; clamped to [minimum, maximum - slider].
    EXPECT_EQ(keyScrollValue(0, 100, 0, 1000, 300, 150), 250);
    EXPECT_EQ(keyScrollValue(0, 650, 0, 1000, 300, 150), 700);
    EXPECT_EQ(keyScrollValue(1, 100, 0, 1000, 300, 150), 0);
    EXPECT_EQ(keyScrollValue(2, 100, 0, 1000, 300, 150), 0);
    EXPECT_EQ(keyScrollValue(3, 100, 0, 1000, 300, 150), 250);
    EXPECT_EQ(keyScrollValue(3, 0, 0, 300, 300, 150), 0) << "nothing to scroll";

    // The shell changes by what the area lacks, within the screen.
    EXPECT_EQ(fittedShellSize({500, 400}, {460, 300}, {320, 240}, {1280, 1024}), (Size{360, 340}));
    EXPECT_EQ(fittedShellSize({500, 400}, {460, 300}, {6000, 4000}, {1280, 1024}), (Size{1280, 1024}));
    EXPECT_EQ(fittedShellSize({500, 400}, {460, 300}, {16, 16}, {1280, 1024}, {340, 132}), (Size{340, 132}))
        << "a tiny picture keeps the controls' minimum";
}

TEST(ViewGeometry, PointsAndDraggedRectanglesMapToPicturePixels) {
    // At 300 % each picture pixel is three displayed pixels; scrolled by 30.
    const Size picture{100, 80};
    const PictureLayout zoomed = layoutPicture(picture, 300, {200, 150}, {30, 30});
    PicturePoint p = pictureAt(zoomed, picture, 0, 0);
    EXPECT_TRUE(p.inside);
    EXPECT_EQ(p.x, 10);
    EXPECT_EQ(p.y, 10);
    p = pictureAt(zoomed, picture, 5, 2);
    EXPECT_EQ(p.x, 11);
    EXPECT_EQ(p.y, 10);
    // Dragging backwards covers the same pixels, both corners included.
    const PictureRectangle r = dragRectangle(zoomed, picture, 20, 14, 2, 2);
    EXPECT_EQ(r, (PictureRectangle{10, 10, 7, 5}));
    EXPECT_EQ(r, dragRectangle(zoomed, picture, 2, 2, 20, 14));
    // The outline drawn for it starts at the first displayed pixel of its
    // first picture pixel and spans exactly its pixels.
    EXPECT_EQ(areaRectangle(zoomed, picture, r), (WindowRect{0, 0, 21, 15}));

    // A centred picture at 50 %: points beside it are outside, and a drag
    // that starts beside it is clipped to the picture.
    const PictureLayout small = layoutPicture(picture, 50, {200, 150}, {});
    EXPECT_FALSE(pictureAt(small, picture, 10, 10).inside);
    EXPECT_TRUE(pictureAt(small, picture, 75, 55).inside);
    EXPECT_EQ(dragRectangle(small, picture, 0, 0, 99, 74), (PictureRectangle{0, 0, 50, 40}));
    EXPECT_EQ(dragRectangle(small, picture, 0, 0, 10, 10).width, 0) << "beside the picture only";
}
