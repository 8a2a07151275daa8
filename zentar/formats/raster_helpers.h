// Small pieces shared by the readers and writers of the older raster
// formats (TGA, PCX and DCX, SGI, Sun raster, IFF, Softimage, XBM, XPM):
// the size check made before allocating, the alpha clean-up after
// decoding, and the bit spreading that planar formats need.
#pragma once

#include "../format.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace zentar {

// The largest side any of these readers accepts, in pixels.
constexpr uint32_t kMaxRasterSidePx = 1u << 20;

// Whether `available` bytes of file could encode `pixelBytes` bytes of
// pixels, when the format's best case packs `ratio` bytes of pixels into
// one byte of file. Checked before allocating, so that a small hostile file
// cannot ask for a huge picture. When read errors are ignored a file cut
// short still loads what it holds, down to a sixteenth of its pixels.
inline bool canHold(uint64_t pixelBytes, uint64_t available, uint64_t ratio, bool lenient) {
    return pixelBytes <= available * ratio * (lenient ? 16 : 1);
}

// One run of a run-length coded stream: `length` bytes, copied from the
// stream (literal) or all `value`.
struct Run {
    uint32_t length = 0;
    bool literal = false;
    uint8_t value = 0;
};

// The pixel bytes of a file, stored as they are or run-length coded, taken
// a row at a time. A run may carry on into the next row, as some writers
// let it. `Codes::next(data, pos, run)` reads one code at `pos`, moving it
// on, into `run` (a code may stand for nothing: length 0), and answers
// false when the data ends; it is called once a run, not once a byte.
template <class Codes>
class RunRows {
public:
    RunRows(Bytes data, bool coded) : data_(data), coded_(coded) {}

    // Fills `count` bytes; false when the data ends first.
    bool row(uint8_t *out, size_t count) {
        if (!coded_) {
            if (data_.size() - pos_ < count) return false;
            std::memcpy(out, data_.data() + pos_, count);
            pos_ += count;
            return true;
        }
        while (count > 0) {
            if (run_.length == 0) {
                if (!Codes::next(data_, pos_, run_)) return false;
                continue;
            }
            const size_t n = std::min<size_t>(run_.length, count);
            if (run_.literal) {
                if (data_.size() - pos_ < n) return false;
                std::memcpy(out, data_.data() + pos_, n);
                pos_ += n;
            } else {
                std::memset(out, run_.value, n);
            }
            out += n;
            count -= n;
            run_.length -= uint32_t(n);
        }
        return true;
    }

private:
    Bytes data_;
    bool coded_;
    size_t pos_ = 0;
    Run run_;
};

// An RGBA picture whose mask is opaque everywhere becomes RGB in place: a
// load gives the simplest kind that holds the file. The buffer stays as it
// was allocated; only the rows are packed closer.
inline void dropOpaqueMask(Picture &picture) {
    if (picture.type != ZNT_RGBA || picture.data == nullptr) return;
    const uint32_t w = picture.width, h = uint32_t(picture.height);
    for (uint32_t y = 0; y < h; ++y) {
        const uint8_t *row = picture.data + size_t(y) * picture.bytesPerLine;
        uint8_t all = 255;
        for (uint32_t x = 0; x < w; ++x) all &= row[4 * x + 3];
        if (all != 255) return;
    }
    uint8_t *out = picture.data;
    for (uint32_t y = 0; y < h; ++y) {
        const uint8_t *in = picture.data + size_t(y) * picture.bytesPerLine;
        for (uint32_t x = 0; x < w; ++x, in += 4, out += 3) out[0] = in[0], out[1] = in[1], out[2] = in[2];
    }
    picture.type = ZNT_RGB;
    picture.bytesPerPixel = 3;
    picture.bytesPerLine = w * 3;
    picture.colorModel = ZNT_CM_RGB;
}

// The eight bits of a byte, most significant first, as eight bytes of 0 or
// 1 in memory order. Shifting the 64-bit word left by p moves every byte's
// bit to bit p of that same byte, so planes are merged eight pixels at a
// time whatever the machine's byte order.
inline const std::array<uint64_t, 256> &bitSpreadTable() {
    static const std::array<uint64_t, 256> table = [] {
        std::array<uint64_t, 256> t{};
        for (int b = 0; b < 256; ++b) {
            uint8_t bytes[8];
            for (int i = 0; i < 8; ++i) bytes[i] = uint8_t((b >> (7 - i)) & 1);
            std::memcpy(&t[size_t(b)], bytes, 8);
        }
        return t;
    }();
    return table;
}

// Merges `planes` bit planes (each `planeBytes` apart, most significant bit
// leftmost) into one byte per pixel, plane p giving bit p. `out` must have
// room for the width rounded up to eight.
inline void mergeBitPlanes(const uint8_t *in, size_t planeBytes, int planes, uint32_t width, uint8_t *out) {
    const auto &spread = bitSpreadTable();
    const uint32_t groups = (width + 7) / 8;
    for (uint32_t g = 0; g < groups; ++g) {
        uint64_t acc = 0;
        for (int p = 0; p < planes; ++p) acc |= spread[in[size_t(p) * planeBytes + g]] << p;
        std::memcpy(out + size_t(g) * 8, &acc, 8);
    }
}

// Splits one byte per pixel into `planes` bit planes of `planeBytes` each
// (the reverse of mergeBitPlanes); bytes past the width stay zero. Eight
// pixels at a time: bit p of each of eight bytes, gathered into one byte by
// a multiplication that moves byte i's bit to bit 7 - i of the top byte.
inline void splitBitPlanes(const uint8_t *in, uint32_t width, int planes, size_t planeBytes, uint8_t *out) {
    std::memset(out, 0, planeBytes * size_t(planes));
    const uint32_t groups = (width + 7) / 8;
    for (uint32_t g = 0; g < groups; ++g) {
        uint8_t eight[8] = {};
        std::memcpy(eight, in + size_t(g) * 8, std::min<size_t>(8, width - size_t(g) * 8));
        uint64_t x = 0;
        for (int i = 7; i >= 0; --i) x = x << 8 | eight[i];
        for (int p = 0; p < planes; ++p)
            out[size_t(p) * planeBytes + g] = uint8_t((((x >> p) & 0x0101010101010101u) * 0x8040201008040201u) >> 56);
    }
}

}  // namespace zentar
