// Counting the distinct colours of a picture.
#include <algorithm>

#include "imageops/color_reduction.h"

namespace quivel {

namespace {

int countByteValues(const Picture &picture, int limit) {
    auto counts = workBuffer<uint32_t>(256);
    if (!counts) return -1;
    const int width = int(picture.width);
    for (int y = 0; y < picture.height; ++y) {
        const uint8_t *p = bufferRow(picture, y);
        for (int x = 0; x < width; ++x) ++counts[p[x]];
    }
    if (picture.type == ZNT_PALETTE) {
        // An entry that repeats an earlier entry's colour hands its count to
        // that entry, so the colour counts once (and still counts when only
        // the later entry is used).
        const int entries = std::min<int>(picture.numberOfColors, 256);
        const uint8_t *pal = picture.palette;
        for (int i = 0; i < entries; ++i)
            for (int j = i + 1; j < entries; ++j)
                if (counts[j] != 0 && pal[i] == pal[j] && pal[256 + i] == pal[256 + j] &&
                    pal[512 + i] == pal[512 + j]) {
                    counts[i] += counts[j];
                    counts[j] = 0;
                }
    }
    int used = 0;
    for (int i = 0; i < 256; ++i) {
        if (counts[i] == 0) continue;
        if (++used > limit && limit > 0) break;
    }
    return used;
}

// An open-addressing set of 3-byte colours. The home slot of a colour is its
// top k bits per byte side by side; the table starts at k = 4 (4096 slots)
// and grows by one bit per byte whenever it is a fifth full, until at k = 8
// every colour has a slot of its own.
class ColorSet {
public:
    bool init() { return rebuild(4); }

    // False when the table had to grow and memory was short.
    bool insert(uint32_t color, bool &added) {
        added = false;
        uint32_t slot = home(color);
        while (slots_[slot] != 0) {
            if (slots_[slot] == (color | kUsed)) return true;
            slot = (slot + 1) & mask_;
        }
        if (count_ >= limit_ && bits_ < 8) {
            if (!rebuild(bits_ + 1)) return false;
            slot = home(color);
            while (slots_[slot] != 0) slot = (slot + 1) & mask_;
        }
        slots_[slot] = color | kUsed;
        ++count_;
        added = true;
        return true;
    }

private:
    static constexpr uint32_t kUsed = 0x1000000;

    uint32_t home(uint32_t color) const {
        const int drop = 8 - bits_;
        const uint32_t c0 = (color >> 16) >> drop, c1 = ((color >> 8) & 255) >> drop, c2 = (color & 255) >> drop;
        return ((c0 << (2 * bits_)) | (c1 << bits_) | c2) & mask_;
    }

    bool rebuild(int bits) {
        const size_t size = size_t(1) << (3 * bits);
        auto fresh = workBuffer<uint32_t>(size);
        if (!fresh) return false;
        std::unique_ptr<uint32_t[]> old = std::move(slots_);
        const size_t oldSize = mask_ + size_t(1);
        slots_ = std::move(fresh);
        bits_ = bits;
        mask_ = uint32_t(size - 1);
        limit_ = size * 20 / 100;
        if (old) {
            for (size_t i = 0; i < oldSize; ++i) {
                if (old[i] == 0) continue;
                uint32_t slot = home(old[i] & 0xFFFFFF);
                while (slots_[slot] != 0) slot = (slot + 1) & mask_;
                slots_[slot] = old[i];
            }
        }
        return true;
    }

    std::unique_ptr<uint32_t[]> slots_;
    int bits_ = 0;
    uint32_t mask_ = 0;
    size_t limit_ = 0, count_ = 0;
};

int countWidePixels(const Picture &picture, int limit) {
    ColorSet set;
    if (!set.init()) return -1;
    const int width = int(picture.width), step = picture.bytesPerPixel;
    int count = 0;
    uint32_t last = 0xFFFFFFFF;
    for (int y = 0; y < picture.height; ++y) {
        const uint8_t *p = bufferRow(picture, y);
        for (int x = 0; x < width; ++x, p += step) {
            const uint32_t color = uint32_t(p[0]) << 16 | uint32_t(p[1]) << 8 | p[2];
            if (color == last) continue;
            last = color;
            bool added;
            if (!set.insert(color, added)) return -1;
            if (added && ++count > limit && limit > 0) return count;
        }
    }
    return count;
}

}  // namespace

int countColorsUsed(const Picture *picture, int limit) {
    if (!pictureIsUsable(picture)) return -1;
    if (picture->type == ZNT_BINARY) return 2;
    if (picture->bytesPerPixel == 1) return countByteValues(*picture, limit);
    return countWidePixels(*picture, limit);
}

}  // namespace quivel
