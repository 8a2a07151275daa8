// The conformance suites: every PNG of the PNG suite decodes to its reference
// values and its broken files are refused; every good bitmap of the bitmap
// suite decodes like its reference, every bad one is refused, and the
// questionable ones decode like a reference or are refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "picture_pixels.h"
#include "test_files.h"

using namespace pictest;
using testsupport::dataPath;

namespace {

std::vector<int> readJsonNumbers(const std::string &path) {
    const std::string text = testsupport::readFile(path);
    std::vector<int> values;
    int v = 0;
    bool in = false;
    for (char c : text) {
        if (std::isdigit(static_cast<unsigned char>(c))) {
            v = v * 10 + (c - '0');
            in = true;
        } else if (in) {
            values.push_back(v);
            v = 0;
            in = false;
        }
    }
    return values;
}

std::vector<std::string> filesIn(const std::string &folder, const std::string &suffix) {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name.size() > suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

TEST(Conformance, PngSuiteDecodesToItsReferences) {
    const std::string base = dataPath("conformance/pngsuite");
    const auto names = filesIn(base + "/png", ".png");
    ASSERT_GT(names.size(), 150u);
    for (const std::string &name : names) {
        SCOPED_TRACE(name);
        Loaded l;
        load(l, base + "/png/" + name);
        if (name[0] == 'x') {
            EXPECT_NE(l.status, 0) << "a broken file must be refused";
            continue;
        }
        ASSERT_EQ(l.status, 0) << l.message;
        const std::string stem = name.substr(0, name.size() - 4);
        const bool sixteen = name.find("16") == name.size() - 6;
        // 16-bit files have 8-bit references beside some of them; the others are cut here.
        std::string json = base + "/json/" + stem + (sixteen ? "_to8" : "") + ".json";
        const bool cut = !std::filesystem::exists(json);
        if (cut) json = base + "/json/" + stem + ".json";
        std::vector<int> values = readJsonNumbers(json);
        if (sixteen && cut)
            for (int &v : values) v >>= 8;
        const Rgba got = toRgba(l.picture);
        ASSERT_EQ(values.size(), got.pixels.size());
        Rgba want{got.width, got.height, {}};
        for (int v : values) want.pixels.push_back(uint8_t(std::min(v, 255)));
        EXPECT_LE(maxDifference(got, want), sixteen ? 1 : 0);
    }
}

TEST(Conformance, PngSuiteKindsAreTheSimplestThatHoldTheFile) {
    const std::string base = dataPath("conformance/pngsuite/png/");
    struct Case {
        const char *file;
        int type;
        int colours;
    } cases[] = {
        {"basn0g01.png", ZNT_BINARY, 2},   {"basn0g02.png", ZNT_GREY, 4},    {"basn0g04.png", ZNT_GREY, 16},
        {"basn0g16.png", ZNT_GREY, 256},   {"basn3p04.png", ZNT_PALETTE, 15}, {"basn2c16.png", ZNT_RGB, 0},
        {"basn4a08.png", ZNT_RGBA, 0},     {"basn6a16.png", ZNT_RGBA, 0},     {"tbbn3p08.png", ZNT_PALETTE, 0},
        {"tbrn2c08.png", ZNT_RGBA, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.file);
        Loaded l;
        load(l, base + c.file);
        ASSERT_EQ(l.status, 0);
        EXPECT_EQ(l.picture.type, c.type);
        if (c.colours) {
            EXPECT_EQ(l.picture.numberOfColors, c.colours);
        }
    }
    Loaded transparent;
    load(transparent, base + "tp1n3p08.png");
    ASSERT_EQ(transparent.status, 0);
    EXPECT_EQ(transparent.picture.type, ZNT_PALETTE);
    EXPECT_GE(transparent.picture.transparentIndex, 0) << "one fully transparent entry stays a palette index";
}

TEST(Conformance, BmpSuite) {
    const std::string base = dataPath("conformance/bmpsuite/");
    std::ifstream list(base + "references.tsv");
    std::string line;
    std::getline(list, line);   // header
    int good = 0, bad = 0, questionable = 0;
    while (std::getline(list, line)) {
        std::istringstream fields(line);
        std::string file, references, notes;
        std::getline(fields, file, '\t');
        std::getline(fields, references, '\t');
        std::getline(fields, notes);
        SCOPED_TRACE(file);
        Loaded l;
        load(l, base + file);
        const bool tolerated = notes.find("tolerated") != std::string::npos ||
                               notes.find("may decode") != std::string::npos;
        if (file[0] == 'b') {
            ++bad;
            if (!tolerated) {
                EXPECT_NE(l.status, 0) << "a bad file must be refused";
            }
            continue;
        }
        if (file[0] == 'g') {
            ++good;
            ASSERT_EQ(l.status, 0) << l.message;
        } else {
            ++questionable;
            if (l.status != 0) continue;
        }
        if (notes.find("inexact") != std::string::npos) continue;
        // This file's ICC profile swaps channels back; colour profiles are not applied.
        if (file == "q/rgb24prof2.bmp") continue;
        const Rgba got = toRgba(l.picture);
        const bool lossy = file.find("jpeg") != std::string::npos;
        std::istringstream names(references);
        std::string reference;
        int best = 1 << 30;
        while (names >> reference) {
            Loaded ref;
            load(ref, base + reference);
            ASSERT_EQ(ref.status, 0) << reference;
            const Rgba want = toRgba(ref.picture);
            const int d = lossy ? int(meanDifference(got, want)) : maxDifference(got, want);
            if (d >= 0) best = std::min(best, d);
        }
        EXPECT_LE(best, lossy ? 3 : 1) << "decoded unlike every reference";
    }
    EXPECT_EQ(good, 27);
    EXPECT_EQ(bad, 20);
    EXPECT_EQ(questionable, 43);
}
