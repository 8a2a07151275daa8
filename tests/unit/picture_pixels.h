// Test helpers for pictures: any picture as 8-bit RGBA (written here, apart
// from the library's own row helpers, so that a mistake there shows), loads
// and saves through the C API, and a distance between two RGBA images.
#pragma once

#include "zentar.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace pictest {

struct Rgba {
    uint32_t width = 0, height = 0;
    std::vector<uint8_t> pixels;   // width * height * 4
};

inline Rgba toRgba(const Picture &p) {
    Rgba out;
    out.width = p.width;
    out.height = uint32_t(p.height);
    out.pixels.resize(size_t(out.width) * out.height * 4);
    for (uint32_t y = 0; y < out.height; ++y) {
        const uint8_t *row = p.data + size_t(y) * p.bytesPerLine;
        for (uint32_t x = 0; x < out.width; ++x) {
            uint8_t *o = &out.pixels[(size_t(y) * out.width + x) * 4];
            uint8_t r = 0, g = 0, b = 0, a = 255;
            switch (p.type) {
            case ZNT_BINARY:
                r = g = b = (row[x / 8] & (0x80 >> (x % 8))) ? 255 : 0;
                break;
            case ZNT_GREY: {
                const int levels = p.numberOfColors;
                r = g = b = uint8_t((row[x] * 255 + (levels - 1) / 2) / (levels - 1));
                break;
            }
            case ZNT_PALETTE:
                r = p.palette[row[x]], g = p.palette[256 + row[x]], b = p.palette[512 + row[x]];
                if (row[x] == p.transparentIndex) a = 0;
                break;
            case ZNT_RGB:
                r = row[3 * x], g = row[3 * x + 1], b = row[3 * x + 2];
                break;
            case ZNT_RGBA:
                r = row[4 * x], g = row[4 * x + 1], b = row[4 * x + 2], a = row[4 * x + 3];
                break;
            case ZNT_BGR:
                b = row[3 * x], g = row[3 * x + 1], r = row[3 * x + 2];
                break;
            case ZNT_ABGR:
                a = row[4 * x], b = row[4 * x + 1], g = row[4 * x + 2], r = row[4 * x + 3];
                break;
            case ZNT_BGRA:
                b = row[4 * x], g = row[4 * x + 1], r = row[4 * x + 2], a = row[4 * x + 3];
                break;
            case ZNT_ARGB:
                a = row[4 * x], r = row[4 * x + 1], g = row[4 * x + 2], b = row[4 * x + 3];
                break;
            }
            o[0] = r, o[1] = g, o[2] = b, o[3] = a;
        }
    }
    return out;
}

// The largest difference of any channel; pixels transparent in both count
// on alpha only. -1 when the sizes differ.
inline int maxDifference(const Rgba &a, const Rgba &b) {
    if (a.width != b.width || a.height != b.height) return -1;
    int worst = 0;
    for (size_t i = 0; i < a.pixels.size(); i += 4) {
        const bool clear = a.pixels[i + 3] == 0 && b.pixels[i + 3] == 0;
        for (size_t c = clear ? 3 : 0; c < 4; ++c) {
            const int d = std::abs(int(a.pixels[i + c]) - int(b.pixels[i + c]));
            if (d > worst) worst = d;
        }
    }
    return worst;
}

// Mean absolute difference per channel, for lossy comparisons.
inline double meanDifference(const Rgba &a, const Rgba &b) {
    if (a.width != b.width || a.height != b.height || a.pixels.empty()) return 1e9;
    double sum = 0;
    for (size_t i = 0; i < a.pixels.size(); ++i) sum += std::abs(int(a.pixels[i]) - int(b.pixels[i]));
    return sum / double(a.pixels.size());
}

// A picture owned by the test whose byte i of row y is fill(i, y), every
// byte of the row's bytesPerLine (a binary row: eight pixels a byte).
struct PatternPicture {
    Picture picture{};
    template <class Fill>
    PatternPicture(int type, int width, int height, Fill fill) {
        if (!zntAllock(&picture, type, 8, width, height)) {
            ADD_FAILURE() << "no memory for a " << width << " x " << height << " picture";
            return;
        }
        for (int y = 0; y < height; ++y)
            for (uint32_t i = 0; i < picture.bytesPerLine; ++i)
                picture.data[size_t(y) * picture.bytesPerLine + i] = uint8_t(fill(i, y));
    }
    ~PatternPicture() { zntFree(&picture); }
    PatternPicture(const PatternPicture &) = delete;
    PatternPicture &operator=(const PatternPicture &) = delete;
};

// The pages or frames a file's information lists: their count (-1 when the
// file cannot be described), widths, and delays (empty when it has none).
struct Frames {
    int count = -1;
    std::vector<uint32_t> widths, delaysMs;
};

inline Frames framesOf(const std::string &path, uint32_t flags = 0) {
    Frames frames;
    FileInformation info{};
    if (zntFileInformation(path.c_str(), -1, flags, &info) == 0) {
        frames.count = info.imageCount;
        for (int i = 0; i < info.imageCount; ++i) {
            frames.widths.push_back(info.images[i].width);
            if (info.delaysMs != nullptr) frames.delaysMs.push_back(info.delaysMs[i]);
        }
    }
    zntFileInformationFree(&info);
    return frames;
}

// Loads page `page` of a file; the status, and the picture on success.
struct Loaded {
    OpStatus status = 0;
    Picture picture{};
    std::string message;
    Loaded() = default;
    Loaded(const Loaded &) = delete;
    Loaded &operator=(const Loaded &) = delete;
    ~Loaded() { zntFree(&picture); }
};

inline void load(Loaded &out, const std::string &path, int page = 0, uint32_t flags = 0) {
    FormatParams params;
    zntDefaultParams(&params);
    params.pageNumber = page;
    params.flags = flags;
    FileInformation info{};
    out.status = zntLoad(path.c_str(), &out.picture, &params, &info);
    out.message = info.message;
}

// Loads page 0 with the read options that `adjust` sets (raw geometry,
// Photo CD size, GROB grey levels, look-up tables).
template <class Adjust>
inline void loadWith(Loaded &out, const std::string &path, Adjust adjust) {
    FormatParams params;
    zntDefaultParams(&params);
    adjust(params);
    FileInformation info{};
    out.status = zntLoad(path.c_str(), &out.picture, &params, &info);
    out.message = info.message;
}

// A reduced load: page 0 at about width x height (a box of 0 x 0 asks for the whole picture).
inline void loadReduced(Loaded &out, const std::string &path, uint32_t width, uint32_t height) {
    loadWith(out, path, [&](FormatParams &p) {
        p.flags = ZNT_LOAD_REDUCED;
        p.reducedWidth = width;
        p.reducedHeight = height;
    });
}

// Cuts a file at several points and changes a few of its bytes, more of
// them near the start, and loads each result (strictly, then ignoring read
// errors) with the read options of `adjust`: every load gives a status or a
// picture, never both, and never a crash. `path` names the damaged copy.
template <class Adjust>
inline void expectDamageGivesAStatus(const std::vector<uint8_t> &bytes, const std::string &path, Adjust adjust) {
    auto tryLoad = [&](const std::vector<uint8_t> &damaged) {
        FILE *f = std::fopen(path.c_str(), "wb");
        if (f == nullptr) return;
        if (!damaged.empty()) std::fwrite(damaged.data(), 1, damaged.size(), f);
        std::fclose(f);
        FileInformation info{};
        zntFileInformation(path.c_str(), -1, 0, &info);
        zntFileInformationFree(&info);
        for (uint32_t flags : {0u, uint32_t(ZNT_LOAD_IGNORE_ERRORS)}) {
            Loaded l;
            loadWith(l, path, [&](FormatParams &p) {
                adjust(p);
                p.flags = flags;
            });
            if ((l.status != 0) != (l.picture.data == nullptr)) ADD_FAILURE() << "a status and a picture";
        }
    };
    for (size_t keep : {size_t(0), size_t(7), bytes.size() / 3, bytes.size() * 2 / 3, bytes.size() - 1})
        tryLoad(std::vector<uint8_t>(bytes.begin(), bytes.begin() + long(std::min(keep, bytes.size()))));
    uint32_t seed = 7;
    for (int round = 0; round < 40 && !bytes.empty(); ++round) {
        std::vector<uint8_t> broken = bytes;
        for (int k = 0; k < 1 + round % 4; ++k) {
            seed = seed * 1664525u + 1013904223u;
            const size_t span = round % 2 ? std::min<size_t>(broken.size(), 64) : broken.size();
            broken[(seed >> 8) % span] ^= uint8_t(1 + (seed >> 24) % 255);
        }
        tryLoad(broken);
    }
}

inline OpStatus save(const std::string &path, Picture &picture, const char *format, void (*adjust)(FormatParams &) = nullptr) {
    FormatParams params;
    zntDefaultParams(&params);
    params.formatIndex = int16_t(zntFormatGetIndex(format));
    if (adjust != nullptr) adjust(params);
    return zntSave(path.c_str(), &picture, &params, 0);
}

}  // namespace pictest
