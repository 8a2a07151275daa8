// transmog from the command line: the format list, file information,
// conversions with their output names and statuses, and every conformance
// file converted to PAM and back.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "test_files.h"

using testsupport::dataPath;
using testsupport::programPath;
using testsupport::readFile;
using testsupport::runProgram;
using testsupport::TempDir;

namespace {

testsupport::RunResult transmog(const std::vector<std::string> &args) {
    std::vector<std::string> argv = {programPath("transmog")};
    argv.insert(argv.end(), args.begin(), args.end());
    return runProgram(argv);
}

std::vector<std::string> conformanceFiles() {
    std::vector<std::string> files;
    for (const char *folder : {"conformance/pngsuite/png", "conformance/bmpsuite/g"}) {
        for (const auto &entry : std::filesystem::directory_iterator(dataPath(folder))) {
            const std::string name = entry.path().filename().string();
            if (name[0] != 'x') files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

TEST(TransmogCli, ListsTheFormats) {
    const auto r = transmog({"-formats"});
    EXPECT_EQ(r.exitCode, 0);
    // Index, name, whether it reads and writes, the default suffix.
    EXPECT_NE(r.out.find(" 0 jpeg  rw jpg   "), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(" soft  rw pic   "), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(" yuv   r- yuv "), std::string::npos) << r.out;
    EXPECT_EQ(transmog({}).exitCode, 1);
    EXPECT_EQ(transmog({"-bogus"}).exitCode, 1);
    EXPECT_EQ(transmog({"-help"}).exitCode, 0);
}

TEST(TransmogCli, DescribesFiles) {
    const std::string png = dataPath("conformance/pngsuite/png/basn3p04.png");
    auto r = transmog({"-info", png});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, png + ": png 32x32 Palette 4 bits, 1 page, Deflate\n");
    r = transmog({"-info", png, "/no/such/file.png"});
    EXPECT_EQ(r.exitCode, 1) << "one file failed";
    EXPECT_NE(r.out.find("basn3p04"), std::string::npos) << "the others are still described";
    EXPECT_EQ(r.err, "Can't open file \n</no/such/file.png>\n");
}

TEST(TransmogCli, ConvertsBesideTheInputOrIntoTheNamedOutput) {
    TempDir dir;
    const std::string input = dir.file("picture.png");
    testsupport::writeBytes(input, testsupport::readBytes(dataPath("conformance/pngsuite/png/basn2c08.png")));
    auto r = transmog({"-out", "bmp", input});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(std::filesystem::exists(dir.file("picture.bmp")));
    r = transmog({"-out", "jpeg", "-q", "50", "-o", dir.file("small.jpeg"), input});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(readFile(dir.file("small.jpeg")).substr(0, 3), "\xff\xd8\xff");
    r = transmog({"-info", dir.file("small.jpeg")});
    EXPECT_NE(r.out.find("jpeg 32x32"), std::string::npos) << r.out;

    EXPECT_EQ(transmog({"-out", "nothing", input}).exitCode, 1);
    EXPECT_EQ(transmog({"-out", "png", "-q", "0", input}).exitCode, 1);
    EXPECT_EQ(transmog({"-out", "png", "-o", dir.file("x.png"), input, input}).exitCode, 1)
        << "-o names the output of a single file";
    r = transmog({"-out", "png", "-o", "/no/such/folder/x.png", input});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "Can't create file \n</no/such/folder/x.png>\n");
    testsupport::writeFile(dir.file("text.gif"), "not a picture at all");
    r = transmog({"-out", "png", dir.file("text.gif")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "Don't know how to read \n<" + dir.file("text.gif") + ">\n");
}

TEST(TransmogCli, ConvertsWhatTheTargetCannotHold) {
    TempDir dir;
    // A palette picture to JPEG (true colour only), an RGBA one to GIF (palette only).
    const std::string palette = dataPath("conformance/pngsuite/png/basn3p08.png");
    const std::string rgba = dataPath("conformance/pngsuite/png/basn6a08.png");
    auto r = transmog({"-out", "jpeg", "-o", dir.file("p.jpg"), palette});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    r = transmog({"-out", "gif", "-o", dir.file("a.gif"), rgba});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    r = transmog({"-info", dir.file("a.gif")});
    EXPECT_NE(r.out.find("gif 32x32 Palette"), std::string::npos) << r.out;
}

TEST(TransmogCli, PagesOfAMultiPageFile) {
    TempDir dir;
    // Two raw grey maps in one file are two pages.
    testsupport::writeFile(dir.file("two.pgm"), std::string("P5\n2 1\n255\n\x10\x20P5\n1 1\n255\n\x30"));
    auto r = transmog({"-out", "pam", "-page", "2", "-o", dir.file("second.pam"), dir.file("two.pgm")});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(readFile(dir.file("second.pam")).find("WIDTH 1\n"), std::string::npos);
    r = transmog({"-out", "pam", "-page", "3", "-o", dir.file("third.pam"), dir.file("two.pgm")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "No page 3\n") << "the library's own words for a bad file";
}

TEST(TransmogCli, EveryConformanceFileToPamAndBack) {
    TempDir dir;
    int converted = 0;
    for (const std::string &file : conformanceFiles()) {
        SCOPED_TRACE(file);
        const bool bmp = file.size() > 4 && file.compare(file.size() - 4, 4, ".bmp") == 0;
        const std::string back = bmp ? dir.file("back.bmp") : dir.file("back.png");
        ASSERT_EQ(transmog({"-out", "pam", "-o", dir.file("a.pam"), file}).exitCode, 0);
        ASSERT_EQ(transmog({"-out", bmp ? "bmp" : "png", "-o", back, dir.file("a.pam")}).exitCode, 0);
        ASSERT_EQ(transmog({"-out", "pam", "-o", dir.file("b.pam"), back}).exitCode, 0);
        // The same pixels both ways: the PAM files are identical.
        EXPECT_EQ(readFile(dir.file("a.pam")), readFile(dir.file("b.pam")));
        ++converted;
    }
    EXPECT_GT(converted, 170);
}

TEST(TransmogCli, FilmCalculatorRawAndIconFormats) {
    // Each writable one converts to PAM and back without a change: colour
    // to the film formats, black and white to GROB, and for raw a picture
    // of the default raw geometry (256 x 256 RGB).
    TempDir dir;
    std::string ppm = "P6\n256 256\n255\n";
    for (int i = 0; i < 256 * 256 * 3; ++i) ppm += char((i * 7) % 251);
    testsupport::writeFile(dir.file("square.ppm"), ppm);
    struct Case {
        const char *format, *source;
    } cases[] = {{"dpx", "conformance/pngsuite/png/basn2c08.png"},
                 {"cin", "conformance/pngsuite/png/basn2c08.png"},
                 {"grob", "conformance/pngsuite/png/basn0g01.png"},
                 {"raw", nullptr}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.format);
        const std::string source = c.source ? dataPath(c.source) : dir.file("square.ppm");
        const std::string target = dir.file(std::string("t.") + c.format);
        ASSERT_EQ(transmog({"-out", "pam", "-o", dir.file("a.pam"), source}).exitCode, 0);
        auto r = transmog({"-out", c.format, "-o", target, dir.file("a.pam")});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        r = transmog({"-out", "pam", "-o", dir.file("b.pam"), target});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        EXPECT_EQ(readFile(dir.file("a.pam")), readFile(dir.file("b.pam")));
    }
    auto r = transmog({"-out", "ico", dir.file("a.pam")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, "Can't save in this format !!\n");
}

TEST(TransmogCli, OlderFormatsToPamAndBack) {
    TempDir dir;
    // Palette, grey, true colour and true colour with alpha: each format
    // gets what it holds, converted where it holds less.
    const char *pictures[] = {"basn3p08", "basn0g08", "basn2c08", "basn6a08"};
    for (const char *format : {"tga", "pcx", "dcx", "sgi", "sun", "iff", "xbm", "xpm", "soft"}) {
        for (const char *picture : pictures) {
            SCOPED_TRACE(std::string(format) + " " + picture);
            const std::string png = dataPath(std::string("conformance/pngsuite/png/") + picture + ".png");
            const std::string made = dir.file(std::string("made.") + format);
            ASSERT_EQ(transmog({"-out", format, "-o", made, png}).exitCode, 0);
            ASSERT_EQ(transmog({"-out", "pam", "-o", dir.file("a.pam"), made}).exitCode, 0);
            ASSERT_EQ(transmog({"-out", format, "-o", dir.file("back"), dir.file("a.pam")}).exitCode, 0);
            ASSERT_EQ(transmog({"-out", "pam", "-o", dir.file("b.pam"), dir.file("back")}).exitCode, 0);
            EXPECT_EQ(readFile(dir.file("a.pam")), readFile(dir.file("b.pam")));
        }
    }
}

TEST(TransmogCli, NewerFormatsConvertToPamAndBack) {
    TempDir dir;
    const std::string rgba = dataPath("conformance/pngsuite/png/basn6a08.png");
    ASSERT_EQ(transmog({"-out", "pam", "-o", dir.file("a.pam"), rgba}).exitCode, 0);
    for (const char *format : {"webp", "heif", "avif", "jxl", "jp2", "j2k"}) {
        SCOPED_TRACE(format);
        const std::string coded = dir.file(std::string("coded.") + format);
        auto r = transmog({"-out", format, "-q", "100", "-o", coded, dir.file("a.pam")});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        r = transmog({"-out", "pam", "-o", dir.file("b.pam"), coded});
        ASSERT_EQ(r.exitCode, 0) << r.err;
        // HEIF and AVIF move a few values by one even when lossless.
        const std::string heifFamily = "heif avif";
        if (heifFamily.find(format) == std::string::npos) {
            EXPECT_EQ(readFile(dir.file("a.pam")), readFile(dir.file("b.pam")));
        }
        EXPECT_EQ(readFile(dir.file("b.pam")).size(), readFile(dir.file("a.pam")).size());
    }
    // A document page, rendered.
    testsupport::writeFile(dir.file("page.ps"), "%!PS\n%%BoundingBox: 0 0 40 30\n0 0 20 30 rectfill showpage\n");
    auto r = transmog({"-out", "pam", "-o", dir.file("page.pam"), dir.file("page.ps")});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    r = transmog({"-info", dir.file("page.pam")});
    EXPECT_NE(r.out.find("pam "), std::string::npos) << r.out;
}
