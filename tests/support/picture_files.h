// Pictures for tests of the image operations: owned Picture records made in
// code, and the two simple files that other programs write for us at test
// time (binary PPM, and 8-bit palette BMP) read back into memory.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "test_files.h"
#include "zentar.h"

namespace testsupport {

// A Picture freed at the end of the scope.
struct OwnedTestPicture {
    Picture p{};
    OwnedTestPicture() = default;
    OwnedTestPicture(const OwnedTestPicture &) = delete;
    OwnedTestPicture &operator=(const OwnedTestPicture &) = delete;
    ~OwnedTestPicture() { zntFree(&p); }
    Picture *operator->() { return &p; }
    Picture *get() { return &p; }
    // Frees what the record holds, for use as an output once more.
    Picture *fresh() {
        zntFree(&p);
        p = Picture{};
        return &p;
    }
};

// A picture of `type` whose bytes come from fill(x, y, byteIndex) (binary
// pictures: fill(x, y, 0) gives the bit).
inline void makePicture(OwnedTestPicture &picture, int type, int width, int height,
                        const std::function<int(int, int, int)> &fill) {
    ASSERT_NE(zntAllock(&picture.p, type, 8, width, height), 0);
    for (int y = 0; y < height; ++y) {
        uint8_t *row = picture.p.data + size_t(y) * picture.p.bytesPerLine;
        for (int x = 0; x < width; ++x) {
            if (type == ZNT_BINARY) {
                if (fill(x, y, 0)) row[x >> 3] |= uint8_t(0x80 >> (x & 7));
                continue;
            }
            for (int k = 0; k < picture.p.bytesPerPixel; ++k)
                row[x * picture.p.bytesPerPixel + k] = uint8_t(fill(x, y, k));
        }
    }
}

inline void setPaletteEntry(Picture &picture, int index, int r, int g, int b) {
    picture.palette[index] = uint8_t(r);
    picture.palette[256 + index] = uint8_t(g);
    picture.palette[512 + index] = uint8_t(b);
}

inline const uint8_t *pixelAt(const Picture &picture, int x, int y) {
    return picture.data + size_t(y) * picture.bytesPerLine + size_t(x) * picture.bytesPerPixel;
}

inline int bitAt(const Picture &picture, int x, int y) {
    return (picture.data[size_t(y) * picture.bytesPerLine + (x >> 3)] >> (7 - (x & 7))) & 1;
}

// Every byte a picture's rows hold for its width (binary: whole bytes).
inline std::vector<uint8_t> pixelBytes(const Picture &picture) {
    const size_t rowBytes = picture.type == ZNT_BINARY ? (picture.width + 7) / 8
                                                       : size_t(picture.width) * picture.bytesPerPixel;
    std::vector<uint8_t> bytes;
    for (int y = 0; y < picture.height; ++y) {
        const uint8_t *row = picture.data + size_t(y) * picture.bytesPerLine;
        bytes.insert(bytes.end(), row, row + rowBytes);
    }
    return bytes;
}

// The full path of a program on PATH; a test that needs one fails loudly
// when it is missing, since ./test.sh installs the test tools.
inline std::string requireTool(const std::string &name) {
    const char *path = std::getenv("PATH");
    std::stringstream folders(path ? path : "/usr/bin:/bin");
    std::string folder;
    while (std::getline(folders, folder, ':')) {
        const std::string candidate = folder + "/" + name;
        if (access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    ADD_FAILURE() << name << " is missing: install the test tools with scripts/ensure-deps.sh test";
    return {};
}

// Runs a tool and fails the test when it does not succeed.
inline bool runTool(const std::vector<std::string> &argv) {
    const RunResult run = runProgram(argv, {}, {}, 120000);
    if (run.exitCode != 0) {
        ADD_FAILURE() << argv[0] << " failed (" << run.exitCode << "): " << run.err;
        return false;
    }
    return true;
}

// Binary PPM (P6, maxval 255) into a type-16 picture.
inline bool readPpm(const std::string &path, OwnedTestPicture &picture) {
    const std::vector<uint8_t> bytes = readBytes(path);
    size_t at = 0;
    auto token = [&]() {
        std::string word;
        while (at < bytes.size()) {
            const char c = char(bytes[at]);
            if (c == '#') {
                while (at < bytes.size() && bytes[at] != '\n') ++at;
            } else if (std::isspace(static_cast<unsigned char>(c))) {
                if (!word.empty()) break;
                ++at;
            } else {
                word += c;
                ++at;
            }
        }
        return word;
    };
    if (token() != "P6") return false;
    const int width = std::atoi(token().c_str()), height = std::atoi(token().c_str());
    if (std::atoi(token().c_str()) != 255 || width < 1 || height < 1) return false;
    ++at;   // the single blank after the maximum value
    if (bytes.size() - at < size_t(width) * height * 3) return false;
    if (zntAllock(&picture.p, ZNT_RGB, 8, width, height) == 0) return false;
    for (int y = 0; y < height; ++y)
        std::memcpy(picture.p.data + size_t(y) * picture.p.bytesPerLine, &bytes[at + size_t(y) * width * 3],
                    size_t(width) * 3);
    return true;
}

// An 8-bit palette BMP: its colour table (blue, green, red, reserved) and
// its indices, top row first.
struct PaletteBmp {
    int width = 0, height = 0;
    std::vector<uint8_t> red, green, blue;
    std::vector<uint8_t> indices;
};

inline bool readPaletteBmp(const std::string &path, PaletteBmp &bmp) {
    const std::vector<uint8_t> b = readBytes(path);
    auto u16 = [&](size_t i) { return uint32_t(b[i]) | uint32_t(b[i + 1]) << 8; };
    auto u32 = [&](size_t i) { return u16(i) | u16(i + 2) << 16; };
    if (b.size() < 54 || b[0] != 'B' || b[1] != 'M') return false;
    const uint32_t dataOffset = u32(10), headerSize = u32(14);
    const int32_t width = int32_t(u32(18)), height = int32_t(u32(22));
    if (u16(28) != 8 || width < 1 || height == 0) return false;
    uint32_t entries = u32(46);
    if (entries == 0) entries = 256;
    const size_t table = 14 + headerSize;
    if (table + entries * 4 > b.size()) return false;
    for (uint32_t i = 0; i < entries; ++i) {
        bmp.blue.push_back(b[table + 4 * i]);
        bmp.green.push_back(b[table + 4 * i + 1]);
        bmp.red.push_back(b[table + 4 * i + 2]);
    }
    bmp.width = width;
    bmp.height = height < 0 ? -height : height;
    const size_t stride = (size_t(width) + 3) & ~size_t(3);
    if (dataOffset + stride * bmp.height > b.size()) return false;
    for (int y = 0; y < bmp.height; ++y) {
        const int fileRow = height < 0 ? y : bmp.height - 1 - y;
        const uint8_t *row = &b[dataOffset + stride * fileRow];
        bmp.indices.insert(bmp.indices.end(), row, row + width);
    }
    return true;
}

}  // namespace testsupport
