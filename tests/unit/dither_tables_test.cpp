// The ordered-dither tables of a colour cube.
#include <gtest/gtest.h>

#include "app/dither_tables.h"
#include "imageops/dither_matrices.h"

using namespace quivel;

TEST(DitherTables, BuiltOncePerCubeShape) {
    DitherTables *a = GetDitherTables(4, 8, 4);
    EXPECT_EQ(GetDitherTables(4, 8, 4), a);
    EXPECT_NE(GetDitherTables(6, 6, 6), a);
    EXPECT_EQ(GetDitherTables(4, 8, 4), a);
}

TEST(DitherTables, EntriesBracketTheValue) {
    const DitherTables *t = GetDitherTables(4, 8, 4);
    // Red has 4 levels with an index weight of 8 * 4 = 32; step = 85.
    EXPECT_EQ(t->redTable[0].fraction, 0);
    EXPECT_EQ(t->redTable[0].lowerIndex, 0);
    EXPECT_EQ(t->redTable[0].upperIndex, 32);
    EXPECT_EQ(t->redTable[85].lowerIndex, 32) << "a value on a level starts the next interval";
    EXPECT_EQ(t->redTable[85].fraction, 0);
    EXPECT_EQ(t->redTable[127].fraction, 31);   // (127 - 85) / (85 / 63) = 31.1
    // The top value belongs to the last interval, fully at its upper end.
    EXPECT_EQ(t->redTable[255].lowerIndex, 64);
    EXPECT_EQ(t->redTable[255].upperIndex, 96);
    EXPECT_EQ(t->redTable[255].fraction, 62) << "85 / (85 / 63.0) falls just short of 63 and truncates";
    // Green weighs 4, blue 1.
    EXPECT_EQ(t->greenTable[255].upperIndex, 28);
    EXPECT_EQ(t->blueTable[255].upperIndex, 3);
    for (int v = 0; v < 256; ++v) {
        ASSERT_LE(t->greenTable[v].fraction, 63) << v;
        ASSERT_GE(t->blueTable[v].lowerIndex, v == 0 ? 0 : t->blueTable[v - 1].lowerIndex) << v;
    }
}

TEST(DitherTables, ThresholdsFollowTheStoredMatrix) {
    const DitherTables *t = GetDitherTables(2, 2, 2);
    // Matrix value 0 at (0, 0): set for every fraction above 0.
    EXPECT_EQ(t->thresholds[0][0][0], 0);
    EXPECT_EQ(t->thresholds[0][0][1], 1);
    // Value 50 at row 0, column 7: only fractions 51..63.
    EXPECT_EQ(t->thresholds[0][7][50], 0);
    EXPECT_EQ(t->thresholds[0][7][51], 1);
    int set = 0;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) set += t->thresholds[y][x][32];
    EXPECT_EQ(set, 41) << "cells of the matrix below 32";
}
