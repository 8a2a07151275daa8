// The choice of visual, channel layouts and the colour-cube arithmetic.
#include <gtest/gtest.h>

#include "app/color_context.h"
#include "app/display_visual.h"

using namespace quivel;

namespace {

VisualDescription visual(uint32_t id, int visualClass, int depth, unsigned long r = 0, unsigned long g = 0,
                         unsigned long b = 0) {
    VisualDescription d;
    d.visualId = id;
    d.visualClass = visualClass;
    d.depth = depth;
    d.colormapSize = 1 << (depth > 12 ? 8 : depth);
    d.redMask = r;
    d.greenMask = g;
    d.blueMask = b;
    return d;
}

VisualDescription trueColor24(uint32_t id) { return visual(id, kTrueColor, 24, 0xff0000, 0xff00, 0xff); }

}  // namespace

TEST(VisualChoice, DeeperTrueColorBeatsAPseudoColorDefault) {
    const std::vector<VisualDescription> screen = {visual(0x21, kPseudoColor, 8), visual(0x22, kGrayScale, 8),
                                                   trueColor24(0x23), visual(0x24, kDirectColor, 24)};
    EXPECT_EQ(chooseVisualIndex(screen, 0x21, -1), 2);
    EXPECT_EQ(chooseVisualIndex(screen, 0x21, 0), 0) << "-visualid 0 takes the default visual";
    EXPECT_EQ(chooseVisualIndex(screen, 0x21, 0x22), 1) << "an id the screen has is taken whatever its class";
    EXPECT_EQ(chooseVisualIndex(screen, 0x21, 0x99), 2) << "an unknown id leaves the automatic choice";
}

TEST(VisualChoice, DefaultOfTheBestDepthIsKeptWhateverItsClass) {
    const std::vector<VisualDescription> screen = {visual(0x40, kDirectColor, 24, 0xff0000, 0xff00, 0xff),
                                                   trueColor24(0x41)};
    EXPECT_EQ(chooseVisualIndex(screen, 0x40, -1), 0);
}

TEST(VisualChoice, DeepestOfAClassAndFirstAmongEquals) {
    const std::vector<VisualDescription> screen = {
        visual(0x20, kTrueColor, 16, 0xf800, 0x7e0, 0x1f), trueColor24(0x21), trueColor24(0x22),
        visual(0x23, kTrueColor, 32, 0xff0000, 0xff00, 0xff)};
    EXPECT_EQ(chooseVisualIndex(screen, 0x20, -1), 3) << "the 32-bit ARGB visual is the deepest TrueColor";
    const std::vector<VisualDescription> noArgb(screen.begin(), screen.begin() + 3);
    EXPECT_EQ(chooseVisualIndex(noArgb, 0x20, -1), 1);
}

TEST(VisualChoice, ClassOrderGoesOnlyAsFarAsNeeded) {
    // No TrueColor or DirectColor: an 8-bit PseudoColor beats a deeper StaticGray.
    const std::vector<VisualDescription> screen = {visual(0x30, kStaticGray, 12), visual(0x31, kPseudoColor, 8),
                                                   visual(0x32, kStaticColor, 8)};
    EXPECT_EQ(chooseVisualIndex(screen, 0x30, -1), 1);
}

TEST(VisualChoice, GrayScaleOnlyScreenFallsBackToTheDefault) {
    const std::vector<VisualDescription> screen = {visual(0x50, kGrayScale, 8), visual(0x51, kGrayScale, 4)};
    EXPECT_EQ(chooseVisualIndex(screen, 0x50, -1), 0);
    EXPECT_EQ(chooseVisualIndex(screen, 0x50, 0x51), 1);
    EXPECT_EQ(chooseVisualIndex(screen, 0x77, -1), -1) << "a default missing from the list is an error";
}

TEST(VisualChoice, PictureWindowsUseTheOpaqueTwinOfAnAlphaVisual) {
    // A 24-bit screen with a compositing server's 32-bit visual: chosen for
    // its depth, drawn on through its 24-bit twin of the same masks.
    const std::vector<VisualDescription> screen = {trueColor24(0x21),
                                                   visual(0x22, kDirectColor, 24, 0xff0000, 0xff00, 0xff),
                                                   visual(0x40, kTrueColor, 32, 0xff0000, 0xff00, 0xff)};
    const int chosen = chooseVisualIndex(screen, 0x21, -1);
    ASSERT_EQ(chosen, 2);
    EXPECT_EQ(pictureVisualIndex(screen, chosen), 0);
    // A visual without spare bits is its own.
    EXPECT_EQ(pictureVisualIndex(screen, 0), 0);
    EXPECT_EQ(pictureVisualIndex(screen, 1), 1);
    // A 16-bit screen has no twin of the 32-bit visual: its own visual is
    // the deepest opaque one of the class.
    const std::vector<VisualDescription> sixteen = {visual(0x21, kTrueColor, 16, 0xf800, 0x7e0, 0x1f),
                                                    visual(0x22, kTrueColor, 8, 0xe0, 0x1c, 0x3),
                                                    visual(0x23, kDirectColor, 24, 0xff0000, 0xff00, 0xff),
                                                    visual(0x40, kTrueColor, 32, 0xff0000, 0xff00, 0xff)};
    EXPECT_EQ(pictureVisualIndex(sixteen, 3), 0);
    // No opaque visual of the class: the chosen one stays.
    const std::vector<VisualDescription> alone = {visual(0x21, kPseudoColor, 8),
                                                  visual(0x40, kTrueColor, 32, 0xff0000, 0xff00, 0xff)};
    EXPECT_EQ(pictureVisualIndex(alone, 1), 1);
    // Colour-mapped visuals have no masks to compare.
    const std::vector<VisualDescription> eight = {visual(0x21, kPseudoColor, 8)};
    EXPECT_EQ(pictureVisualIndex(eight, 0), 0);
}

TEST(VisualChoice, ChannelLayouts) {
    EXPECT_EQ(channelLayout(0xff0000).shift, 16);
    EXPECT_EQ(channelLayout(0xff0000).levels, 256);
    EXPECT_EQ(channelLayout(0x7e0).shift, 5);
    EXPECT_EQ(channelLayout(0x7e0).levels, 64);
    EXPECT_EQ(channelLayout(0x7c00).levels, 32);
    EXPECT_EQ(channelLayout(0).shift, 32);
    EXPECT_EQ(channelLayout(0).levels, 1);
}

TEST(VisualChoice, MappedClassesKeepNeutralLayouts) {
    DisplayVisual out;
    VisualDescription pseudo = visual(0x21, kPseudoColor, 8, 0xe0, 0x1c, 0x3);
    fillDisplayVisual(pseudo, out);
    EXPECT_EQ(out.redShift, 0);
    EXPECT_EQ(out.redLevels, 1);
    fillDisplayVisual(visual(0x22, kStaticGray, 8), out);
    EXPECT_EQ(out.redShift, 32);
    EXPECT_EQ(computedWhitePixel(out), 0u) << "zero masks give a white pixel of 0";
}

TEST(VisualChoice, ComputedWhitePixel) {
    DisplayVisual out;
    fillDisplayVisual(trueColor24(0x21), out);
    EXPECT_EQ(computedWhitePixel(out), 0xffffffu & 0xffffff);
    fillDisplayVisual(visual(0x22, kTrueColor, 16, 0xf800, 0x7e0, 0x1f), out);
    EXPECT_EQ(computedWhitePixel(out), 0xffffu);
    fillDisplayVisual(visual(0x23, kTrueColor, 15, 0x7c00, 0x3e0, 0x1f), out);
    EXPECT_EQ(computedWhitePixel(out), 0x7fffu);
}

TEST(VisualChoice, ReportsAndListings) {
    EXPECT_EQ(visualChoiceMessage(trueColor24(0x21)), "Use TrueColor visual (0x21) with 24 bits...\n");
    EXPECT_EQ(visualChoiceMessage(visual(0x2a, kGrayScale, 8)), "Use GrayScale visual (0x2a) with 8 bits...\n");
    const std::string list = visualListText({visual(0x21, kPseudoColor, 8), visual(0x99, 9, 8), trueColor24(0x3f)});
    EXPECT_EQ(list,
              "              Visual available : \n"
              "                0x21 : PseudoColor     /  8 planes\n"
              "                0x3f : TrueColor       /  24 planes\n") << "the space flag pads 24 too";
}

TEST(ColorCube, ColoursSpanTheFullRange) {
    const CubeColor first = cubeColor(0, 0, 0, 4, 8, 4);
    const CubeColor last = cubeColor(3, 7, 3, 4, 8, 4);
    const CubeColor middle = cubeColor(1, 3, 2, 4, 8, 4);
    EXPECT_EQ(first.red + first.green + first.blue, 0);
    EXPECT_EQ(last.red, 65535);
    EXPECT_EQ(last.green, 65535);
    EXPECT_EQ(middle.red, 21845);
    EXPECT_EQ(middle.green, 28086);
    EXPECT_EQ(middle.blue, 43690);
}
