// Geometry rules of the progress bar, status bar, bubble and combo history.
#include <gtest/gtest.h>

#include "widgets/widget_layout.h"

using namespace quivel;

TEST(WidgetLayout, ProgressFill) {
    EXPECT_EQ(progressFillWidth(240, 30, 120), 60);
    EXPECT_EQ(progressFillWidth(240, 0, 120), 0);
    EXPECT_EQ(progressFillWidth(240, 121, 120), 240) << "beyond the maximum stays full";
    EXPECT_EQ(progressFillWidth(240, -5, 120), 0);
    EXPECT_EQ(progressFillWidth(240, 5, 0), 0) << "no maximum, no bar";
    EXPECT_EQ(progressFillWidth(100, 2000000000, 2100000000), 95) << "no overflow on large counts";
}

TEST(WidgetLayout, StatusPartsPackFromBothEnds) {
    const std::vector<StatusPartSpec> parts = {{50, kAlignBeginning}, {0, kAlignBeginning}, {30, kAlignBeginning},
                                               {20, kAlignEnd}};
    const auto boxes = layoutStatusParts(300, parts, 4, 2);
    EXPECT_EQ(boxes[0].x, 0);
    EXPECT_EQ(boxes[0].width, 58);
    EXPECT_EQ(boxes[0].textX, 4);
    EXPECT_EQ(boxes[1].width, 0) << "an empty part takes no room";
    EXPECT_EQ(boxes[2].x, 60);
    EXPECT_EQ(boxes[3].x, 300 - 28);
    EXPECT_EQ(boxes[3].textX, 300 - 24);
}

TEST(WidgetLayout, NarrowStatusBarShortensTheLastLeftPart) {
    const std::vector<StatusPartSpec> parts = {{50, kAlignBeginning}, {80, kAlignBeginning}, {20, kAlignEnd}};
    const auto boxes = layoutStatusParts(120, parts, 4, 2);
    EXPECT_EQ(boxes[2].x, 92);
    EXPECT_EQ(boxes[0].width, 58);
    EXPECT_EQ(boxes[1].x, 60);
    EXPECT_EQ(boxes[1].width, 30) << "cut at the end part";
    const auto tiny = layoutStatusParts(10, parts, 4, 2);
    for (const StatusPartBox &b : tiny) EXPECT_GE(b.width, 0);
}

TEST(WidgetLayout, CentredPartText) {
    const auto boxes = layoutStatusParts(200, {{40, kAlignCenter}}, 10, 2);
    EXPECT_EQ(boxes[0].textX, 10);
}

TEST(WidgetLayout, BubbleStaysOnScreen) {
    EXPECT_EQ(bubblePosition(100, 100, 50, 20, 800, 600).x, 100);
    EXPECT_EQ(bubblePosition(100, 100, 50, 20, 800, 600).y, 120);
    EXPECT_EQ(bubblePosition(790, 100, 50, 20, 800, 600).x, 750) << "pulled back from the right edge";
    EXPECT_EQ(bubblePosition(100, 590, 50, 20, 800, 600).y, 566) << "above the pointer at the bottom";
    EXPECT_EQ(bubblePosition(5, 5, 900, 700, 800, 600).x, 0);
}

TEST(WidgetLayout, ComboHistory) {
    std::vector<std::string> items = {"/a", "/b", "/c"};
    rememberComboItem(items, "/c", 3);
    EXPECT_EQ(items, (std::vector<std::string>{"/c", "/a", "/b"}));
    rememberComboItem(items, "/d", 3);
    EXPECT_EQ(items, (std::vector<std::string>{"/d", "/c", "/a"}));
    rememberComboItem(items, "  ", 3);
    EXPECT_EQ(items.size(), 3u);
}
