// Every image operation against the pictures it may be handed: the smallest
// ones of every kind, records that do not describe readable pixels, and
// memory running out at each allocation in turn.
#include <gtest/gtest.h>

#include <cstring>

#include "imageops/color_reduction.h"
#include "imageops/geometry.h"
#include "picture_files.h"

using namespace quivel;
using namespace testsupport;

namespace {

struct Operation {
    const char *name;
    std::function<OpStatus(Picture *, Picture *)> run;
};

const std::vector<Operation> &operations() {
    static const PictureRect rect{0, 0, 2, 1};   // meets even a 1 x 1 picture
    static const std::vector<Operation> list = {
        {"binary threshold", [](Picture *s, Picture *o) { return convertPicture(s, o, 1, 0); }},
        {"binary pattern", [](Picture *s, Picture *o) { return convertPicture(s, o, 1, 1); }},
        {"binary halftone", [](Picture *s, Picture *o) { return convertPicture(s, o, 1, 3); }},
        {"binary floyd", [](Picture *s, Picture *o) { return convertPicture(s, o, 1, 5); }},
        {"grey 16", [](Picture *s, Picture *o) { return convertPicture(s, o, 4, 4); }},
        {"grey 16 dither", [](Picture *s, Picture *o) { return convertPicture(s, o, 4, 1); }},
        {"grey 256", [](Picture *s, Picture *o) { return convertPicture(s, o, 9, 1); }},
        {"8 colours", [](Picture *s, Picture *o) { return convertPicture(s, o, 12, 4); }},
        {"256 colours", [](Picture *s, Picture *o) { return convertPicture(s, o, 18, 4); }},
        {"216 colours dither", [](Picture *s, Picture *o) { return convertPicture(s, o, 17, 1); }},
        {"true colour", [](Picture *s, Picture *o) { return convertPicture(s, o, 24, 0); }},
        {"crop", [](Picture *s, Picture *o) { return cropPicture(s, o, &rect); }},
        {"flip horizontal", [](Picture *s, Picture *o) { return flipHorizontal(s, o, nullptr); }},
        {"flip vertical", [](Picture *s, Picture *o) { return flipVertical(s, o, &rect); }},
        {"rotate 90", [](Picture *s, Picture *o) { return rotatePicture(s, o, 90, 0); }},
        {"rotate -90", [](Picture *s, Picture *o) { return rotatePicture(s, o, -90, 0); }},
        {"rotate 180", [](Picture *s, Picture *o) { return rotatePicture(s, o, 180, 0); }},
        {"rotate 33", [](Picture *s, Picture *o) { return rotatePicture(s, o, 33, 0x808080); }},
        {"resize area", [](Picture *s, Picture *o) { return resizePicture(s, o, 7, 3, kResampleArea); }},
        {"resize nearest", [](Picture *s, Picture *o) { return resizePicture(s, o, 3, 5, kResampleNearest); }},
        {"canvas", [](Picture *s, Picture *o) { return resizeCanvas(s, o, 5, 2, 0xFF0000); }},
        {"auto crop", [](Picture *s, Picture *o) { return autoCropPicture(s, o, 20); }},
        {"resolution", [](Picture *s, Picture *o) { return setResolution(s, o, 72, 72); }},
        {"de-interlace", [](Picture *s, Picture *o) { return deinterlacePicture(s, o, 0); }},
    };
    return list;
}

const int kTypes[] = {ZNT_BINARY, ZNT_GREY, ZNT_PALETTE, ZNT_RGB, ZNT_RGBA,
                      ZNT_BGR, ZNT_ABGR, ZNT_BGRA, ZNT_ARGB};

// Many distinct colours, so that the adaptive palette needs the median cut.
void makeBusy(OwnedTestPicture &picture, int type, int width, int height) {
    makePicture(picture, type, width, height, [](int x, int y, int k) {
        return (x * 41 + y * 23 + k * 71 + x * y * 5) & 255;
    });
}

}  // namespace

// Restores normal allocation however a test ends.
struct AllocationBudget {
    explicit AllocationBudget(int count) { failAllocationsAfter(count); }
    ~AllocationBudget() { failAllocationsAfter(-1); }
};

TEST(BadInput, SmallestPicturesOfEveryKind) {
    const int sizes[][2] = {{1, 1}, {1, 7}, {7, 1}, {9, 2}};
    for (int type : kTypes)
        for (const auto &size : sizes)
            for (const Operation &op : operations()) {
                SCOPED_TRACE(std::string(op.name) + " type " + std::to_string(type) + " " +
                             std::to_string(size[0]) + "x" + std::to_string(size[1]));
                OwnedTestPicture src;
                makeBusy(src, type, size[0], size[1]);
                OwnedTestPicture out;
                ASSERT_EQ(op.run(src.get(), out.get()), ZNT_OK);
                ASSERT_NE(out->data, nullptr);
                EXPECT_GE(out->width, 1u);
                ASSERT_EQ(op.run(src.get(), nullptr), ZNT_OK) << "in place";
                EXPECT_GE(countColorsUsed(src.get(), -1), 1);
            }
}

TEST(BadInput, RecordsThatCannotBeReadAreRefusedUntouched) {
    OwnedTestPicture good;
    makeBusy(good, ZNT_RGB, 4, 3);
    const std::vector<std::function<void(Picture &)>> spoil = {
        [](Picture &p) { p.type = 3; },
        [](Picture &p) { p.bytesPerPixel = 4; },
        [](Picture &p) { p.data = nullptr; },
        [](Picture &p) { p.width = 0; },
        [](Picture &p) { p.height = -2; },
        [](Picture &p) { p.bytesPerLine = 11; },
        [](Picture &p) { p.type = ZNT_PALETTE, p.bytesPerPixel = 1; },   // a palette picture without palette
    };
    for (size_t i = 0; i < spoil.size(); ++i) {
        Picture bad = good.p;
        spoil[i](bad);
        const Picture before = bad;
        for (const Operation &op : operations()) {
            Picture out{};
            EXPECT_EQ(op.run(&bad, &out), ZNT_NOT_APPLICABLE) << op.name << ", record " << i;
            EXPECT_EQ(op.run(&bad, nullptr), ZNT_NOT_APPLICABLE) << op.name << ", record " << i;
            EXPECT_EQ(0, std::memcmp(&bad, &before, sizeof bad)) << op.name;
            EXPECT_EQ(out.data, nullptr);
        }
        EXPECT_EQ(countColorsUsed(&bad, -1), -1);
    }
    for (const Operation &op : operations()) EXPECT_EQ(op.run(nullptr, nullptr), ZNT_BAD_ARGUMENT) << op.name;
    EXPECT_EQ(convertToGrey(good.get(), nullptr, 5, 0), ZNT_BAD_ARGUMENT);
    EXPECT_EQ(convertToColors(good.get(), nullptr, 100, 0), ZNT_BAD_ARGUMENT);
}

TEST(BadInput, RunningOutOfMemoryLeavesEverythingAsItWas) {
    // Every allocation an operation makes fails in turn, until it succeeds.
    for (int type : kTypes)
        for (const Operation &op : operations())
            for (bool inPlace : {false, true}) {
                SCOPED_TRACE(std::string(op.name) + " type " + std::to_string(type) + (inPlace ? " in place" : ""));
                OwnedTestPicture src;
                makeBusy(src, type, 40, 20);
                const Picture record = src.p;
                const std::vector<uint8_t> bytes = pixelBytes(src.p);
                OpStatus status = ZNT_NO_MEMORY;
                for (int budget = 0; budget < 10 && status == ZNT_NO_MEMORY; ++budget) {
                    Picture out{};
                    {
                        AllocationBudget limit(budget);
                        status = op.run(src.get(), inPlace ? nullptr : &out);
                    }
                    if (status == ZNT_OK) {
                        if (!inPlace) zntFree(&out);
                        break;
                    }
                    ASSERT_EQ(status, ZNT_NO_MEMORY);
                    ASSERT_EQ(0, std::memcmp(&src.p, &record, sizeof record));
                    ASSERT_EQ(pixelBytes(src.p), bytes);
                    ASSERT_EQ(out.data, nullptr);
                }
                EXPECT_EQ(status, ZNT_OK);
            }
}
