#include "imageops/median_cut.h"

#include <cstring>

#include "imageops/pixel_rows.h"

namespace quivel {

namespace {

// Histogram geometry: cell (r, g, b) covers red r*8..r*8+7, green g*4..g*4+3,
// blue b*8..b*8+7.
constexpr int kRedCells = 32, kGreenCells = 64, kBlueCells = 32;
constexpr int kRedShift = 3, kGreenShift = 2, kBlueShift = 3;
constexpr int kRedScale = 2, kGreenScale = 3, kBlueScale = 1;
constexpr size_t kCellCount = size_t(kRedCells) * kGreenCells * kBlueCells;

inline size_t cellOf(int r, int g, int b) { return (size_t(r) << 11) | (size_t(g) << 5) | size_t(b); }

// The inverse map is filled in blocks of 4 x 8 x 4 cells, 32 sample values
// on each side.
constexpr int kBlockRedLog = 2, kBlockGreenLog = 3, kBlockBlueLog = 2;
constexpr int kBlockRed = 1 << kBlockRedLog, kBlockGreen = 1 << kBlockGreenLog, kBlockBlue = 1 << kBlockBlueLog;
constexpr int kBlockRedShift = kRedShift + kBlockRedLog;
constexpr int kBlockGreenShift = kGreenShift + kBlockGreenLog;
constexpr int kBlockBlueShift = kBlueShift + kBlockBlueLog;
constexpr int kBlockCells = kBlockRed * kBlockGreen * kBlockBlue;

using Cell = uint16_t;

struct Box {
    int r0, r1, g0, g1, b0, b1;   // inclusive cell bounds
    int64_t volume;               // squared weighted diagonal; 0 when it cannot be split
    int64_t filledCells;          // cells with a non-zero count
};

class MedianCut {
public:
    MedianCut(Cell *cells, int colorsWanted) : hist_(cells), wanted_(colorsWanted) {}

    void countRgbRows(const Picture &source, const RowReader &reader, uint8_t *scratch);
    void countIndexed(const Picture &source, const RowReader &reader);
    void chooseColors();
    void mapWithDiffusion(const Picture &source, const RowReader &reader, uint8_t *scratch, int16_t *errors,
                          Picture &target);
    void mapIndexed(const Picture &source, const RowReader &reader, Picture &target);
    template <int Dir>
    void diffuseRow(const uint8_t *in, uint8_t *out, int16_t *error, int width, const int *limit);

    int colorCount() const { return colorCount_; }
    const uint8_t *red() const { return red_; }
    const uint8_t *green() const { return green_; }
    const uint8_t *blue() const { return blue_; }

private:
    Cell &at(int r, int g, int b) { return hist_[cellOf(r, g, b)]; }
    void shrinkBox(Box &box);
    void computeColor(const Box &box, int index);
    int nearbyColors(int minR, int minG, int minB, uint8_t *candidates) const;
    void bestColors(int minR, int minG, int minB, int count, const uint8_t *candidates, uint8_t *best) const;
    [[gnu::noinline]] void fillBlock(int r, int g, int b);
    int indexOf(int r, int g, int b) {
        Cell &cell = at(r >> kRedShift, g >> kGreenShift, b >> kBlueShift);
        if (cell == 0) [[unlikely]]
            fillBlock(r >> kRedShift, g >> kGreenShift, b >> kBlueShift);
        return cell - 1;
    }

    Cell *hist_;
    int wanted_;
    Box boxes_[256] = {};
    int colorCount_ = 0;
    uint8_t red_[256] = {}, green_[256] = {}, blue_[256] = {};
};

inline void addCount(Cell &cell, uint32_t count) {
    const uint32_t sum = uint32_t(cell) + count;
    cell = Cell(sum > 65535 ? 65535 : sum);
}

void MedianCut::countRgbRows(const Picture &source, const RowReader &reader, uint8_t *scratch) {
    const int width = int(source.width);
    for (int y = 0; y < source.height; ++y) {
        const uint8_t *p = reader.rgb(bufferRow(source, y), scratch);
        for (int x = 0; x < width; ++x, p += 3) {
            Cell &cell = hist_[cellOf(p[0] >> kRedShift, p[1] >> kGreenShift, p[2] >> kBlueShift)];
            cell = Cell(cell + (cell != 65535));   // saturating
        }
    }
}

void MedianCut::countIndexed(const Picture &source, const RowReader &reader) {
    uint32_t counts[256] = {};
    const int width = int(source.width);
    for (int y = 0; y < source.height; ++y) {
        const uint8_t *p = bufferRow(source, y);
        for (int x = 0; x < width; ++x) ++counts[p[x]];
    }
    for (int i = 0; i < 256; ++i) {
        if (counts[i] == 0) continue;
        addCount(at(reader.red()[i] >> kRedShift, reader.green()[i] >> kGreenShift, reader.blue()[i] >> kBlueShift),
                 counts[i]);
    }
}

// Shrinks the box to the cells that hold counts, then recomputes its volume
// and the number of its non-empty cells.
void MedianCut::shrinkBox(Box &box) {
    int r0 = box.r0, r1 = box.r1, g0 = box.g0, g1 = box.g1, b0 = box.b0, b1 = box.b1;

    auto redPlaneUsed = [&](int r) {
        for (int g = g0; g <= g1; ++g)
            for (int b = b0; b <= b1; ++b)
                if (at(r, g, b) != 0) return true;
        return false;
    };
    if (r1 > r0) {
        for (int r = r0; r <= r1; ++r)
            if (redPlaneUsed(r)) { r0 = r; break; }
    }
    if (r1 > r0) {
        for (int r = r1; r >= r0; --r)
            if (redPlaneUsed(r)) { r1 = r; break; }
    }
    auto greenPlaneUsed = [&](int g) {
        for (int r = r0; r <= r1; ++r)
            for (int b = b0; b <= b1; ++b)
                if (at(r, g, b) != 0) return true;
        return false;
    };
    if (g1 > g0) {
        for (int g = g0; g <= g1; ++g)
            if (greenPlaneUsed(g)) { g0 = g; break; }
    }
    if (g1 > g0) {
        for (int g = g1; g >= g0; --g)
            if (greenPlaneUsed(g)) { g1 = g; break; }
    }
    auto bluePlaneUsed = [&](int b) {
        for (int r = r0; r <= r1; ++r)
            for (int g = g0; g <= g1; ++g)
                if (at(r, g, b) != 0) return true;
        return false;
    };
    if (b1 > b0) {
        for (int b = b0; b <= b1; ++b)
            if (bluePlaneUsed(b)) { b0 = b; break; }
    }
    if (b1 > b0) {
        for (int b = b1; b >= b0; --b)
            if (bluePlaneUsed(b)) { b1 = b; break; }
    }
    box = {r0, r1, g0, g1, b0, b1, 0, 0};

    // The squared diagonal rather than the true volume: it favours cutting
    // long thin boxes, and it is zero exactly when the box is one cell.
    const int64_t dr = int64_t((r1 - r0) << kRedShift) * kRedScale;
    const int64_t dg = int64_t((g1 - g0) << kGreenShift) * kGreenScale;
    const int64_t db = int64_t((b1 - b0) << kBlueShift) * kBlueScale;
    box.volume = dr * dr + dg * dg + db * db;

    int64_t filled = 0;
    for (int r = r0; r <= r1; ++r)
        for (int g = g0; g <= g1; ++g) {
            const Cell *cell = &hist_[cellOf(r, g, b0)];
            for (int b = b0; b <= b1; ++b) filled += cell[b - b0] != 0;
        }
    box.filledCells = filled;
}

void MedianCut::computeColor(const Box &box, int index) {
    int64_t total = 0, sumR = 0, sumG = 0, sumB = 0;
    for (int r = box.r0; r <= box.r1; ++r)
        for (int g = box.g0; g <= box.g1; ++g)
            for (int b = box.b0; b <= box.b1; ++b) {
                const int64_t count = at(r, g, b);
                if (count == 0) continue;
                total += count;
                sumR += ((r << kRedShift) + ((1 << kRedShift) >> 1)) * count;
                sumG += ((g << kGreenShift) + ((1 << kGreenShift) >> 1)) * count;
                sumB += ((b << kBlueShift) + ((1 << kBlueShift) >> 1)) * count;
            }
    if (total == 0) return;   // only an empty picture's single box
    red_[index] = uint8_t((sumR + (total >> 1)) / total);
    green_[index] = uint8_t((sumG + (total >> 1)) / total);
    blue_[index] = uint8_t((sumB + (total >> 1)) / total);
}

void MedianCut::chooseColors() {
    int count = 1;
    boxes_[0] = {0, kRedCells - 1, 0, kGreenCells - 1, 0, kBlueCells - 1, 0, 0};
    shrinkBox(boxes_[0]);
    while (count < wanted_) {
        // First by population (number of non-empty cells), then by volume.
        Box *split = nullptr;
        if (count * 2 <= wanted_) {
            int64_t most = 0;
            for (int i = 0; i < count; ++i)
                if (boxes_[i].filledCells > most && boxes_[i].volume > 0) {
                    split = &boxes_[i];
                    most = boxes_[i].filledCells;
                }
        } else {
            int64_t largest = 0;
            for (int i = 0; i < count; ++i)
                if (boxes_[i].volume > largest) {
                    split = &boxes_[i];
                    largest = boxes_[i].volume;
                }
        }
        if (split == nullptr) break;   // every box is a single cell
        Box &low = *split;
        Box &high = boxes_[count];
        high = low;
        const int lengthR = ((low.r1 - low.r0) << kRedShift) * kRedScale;
        const int lengthG = ((low.g1 - low.g0) << kGreenShift) * kGreenScale;
        const int lengthB = ((low.b1 - low.b0) << kBlueShift) * kBlueScale;
        // The longest side; ties go to green, then red, blue last.
        int axis = 1, longest = lengthG;
        if (lengthR > longest) { longest = lengthR; axis = 0; }
        if (lengthB > longest) axis = 2;
        switch (axis) {
        case 0: {
            const int middle = (low.r1 + low.r0) / 2;
            low.r1 = middle;
            high.r0 = middle + 1;
            break;
        }
        case 1: {
            const int middle = (low.g1 + low.g0) / 2;
            low.g1 = middle;
            high.g0 = middle + 1;
            break;
        }
        default: {
            const int middle = (low.b1 + low.b0) / 2;
            low.b1 = middle;
            high.b0 = middle + 1;
            break;
        }
        }
        shrinkBox(low);
        shrinkBox(high);
        ++count;
    }
    for (int i = 0; i < count; ++i) computeColor(boxes_[i], i);
    colorCount_ = count;
}

// The colours that may be nearest to some cell of the block whose first
// cell centre is (minR, minG, minB): every colour whose least distance to the
// block is within the smallest greatest distance of any colour.
int MedianCut::nearbyColors(int minR, int minG, int minB, uint8_t *candidates) const {
    const int maxR = minR + ((1 << kBlockRedShift) - (1 << kRedShift));
    const int maxG = minG + ((1 << kBlockGreenShift) - (1 << kGreenShift));
    const int maxB = minB + ((1 << kBlockBlueShift) - (1 << kBlueShift));
    const int centreR = (minR + maxR) >> 1, centreG = (minG + maxG) >> 1, centreB = (minB + maxB) >> 1;

    auto axis = [](int x, int lo, int hi, int centre, int scale, int64_t &least, int64_t &most) {
        int64_t t;
        if (x < lo) {
            t = int64_t(x - lo) * scale;
            least += t * t;
            t = int64_t(x - hi) * scale;
            most += t * t;
        } else if (x > hi) {
            t = int64_t(x - hi) * scale;
            least += t * t;
            t = int64_t(x - lo) * scale;
            most += t * t;
        } else {
            t = int64_t(x <= centre ? x - hi : x - lo) * scale;
            most += t * t;
        }
    };

    int64_t leastDistance[256];
    int64_t smallestMost = 0x7FFFFFFF;
    for (int i = 0; i < colorCount_; ++i) {
        int64_t least = 0, most = 0;
        axis(red_[i], minR, maxR, centreR, kRedScale, least, most);
        axis(green_[i], minG, maxG, centreG, kGreenScale, least, most);
        axis(blue_[i], minB, maxB, centreB, kBlueScale, least, most);
        leastDistance[i] = least;
        if (most < smallestMost) smallestMost = most;
    }
    int count = 0;
    for (int i = 0; i < colorCount_; ++i)
        if (leastDistance[i] <= smallestMost) candidates[count++] = uint8_t(i);
    return count;
}

// For each cell of the block, the nearest candidate (the first one on ties),
// the distances walked incrementally from the block's first cell.
void MedianCut::bestColors(int minR, int minG, int minB, int count, const uint8_t *candidates,
                           uint8_t *best) const {
    constexpr int64_t stepR = (1 << kRedShift) * kRedScale;
    constexpr int64_t stepG = (1 << kGreenShift) * kGreenScale;
    constexpr int64_t stepB = (1 << kBlueShift) * kBlueScale;
    int64_t bestDistance[kBlockCells];
    for (int64_t &d : bestDistance) d = 0x7FFFFFFF;

    for (int i = 0; i < count; ++i) {
        const int color = candidates[i];
        int64_t incR = int64_t(minR - red_[color]) * kRedScale;
        int64_t distR = incR * incR;
        int64_t incG = int64_t(minG - green_[color]) * kGreenScale;
        distR += incG * incG;
        int64_t incB = int64_t(minB - blue_[color]) * kBlueScale;
        distR += incB * incB;
        incR = incR * (2 * stepR) + stepR * stepR;
        incG = incG * (2 * stepG) + stepG * stepG;
        incB = incB * (2 * stepB) + stepB * stepB;
        int64_t *distance = bestDistance;
        uint8_t *choice = best;
        int64_t xr = incR;
        for (int r = 0; r < kBlockRed; ++r) {
            int64_t distG = distR, xg = incG;
            for (int g = 0; g < kBlockGreen; ++g) {
                int64_t distB = distG, xb = incB;
                for (int b = 0; b < kBlockBlue; ++b, ++distance, ++choice) {
                    if (distB < *distance) {
                        *distance = distB;
                        *choice = uint8_t(color);
                    }
                    distB += xb;
                    xb += 2 * stepB * stepB;
                }
                distG += xg;
                xg += 2 * stepG * stepG;
            }
            distR += xr;
            xr += 2 * stepR * stepR;
        }
    }
}

void MedianCut::fillBlock(int r, int g, int b) {
    r >>= kBlockRedLog;
    g >>= kBlockGreenLog;
    b >>= kBlockBlueLog;
    // Centre of the block's first cell: the low corner of the volume searched.
    const int minR = (r << kBlockRedShift) + ((1 << kRedShift) >> 1);
    const int minG = (g << kBlockGreenShift) + ((1 << kGreenShift) >> 1);
    const int minB = (b << kBlockBlueShift) + ((1 << kBlueShift) >> 1);
    uint8_t candidates[256];
    uint8_t best[kBlockCells];
    const int count = nearbyColors(minR, minG, minB, candidates);
    bestColors(minR, minG, minB, count, candidates, best);

    r <<= kBlockRedLog;
    g <<= kBlockGreenLog;
    b <<= kBlockBlueLog;
    const uint8_t *choice = best;
    for (int ir = 0; ir < kBlockRed; ++ir)
        for (int ig = 0; ig < kBlockGreen; ++ig) {
            Cell *cell = &at(r + ir, g + ig, b);
            for (int ib = 0; ib < kBlockBlue; ++ib) cell[ib] = Cell(*choice++ + 1);
        }
}

// The limiting curve of the diffused error, indexed -255..255: small errors
// pass unchanged, medium ones grow at half the rate, large ones stop at 32.
struct ErrorLimit {
    int table[511];
    ErrorLimit() {
        int *t = table + 255;
        int in = 0, out = 0;
        for (; in < 16; ++in, ++out) t[in] = out, t[-in] = -out;
        for (; in < 48; ++in, out += (in & 1) ? 0 : 1) t[in] = out, t[-in] = -out;
        for (; in <= 255; ++in) t[in] = out, t[-in] = -out;
    }
};

inline int clampSample(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

template <int Dir>
void MedianCut::diffuseRow(const uint8_t *in, uint8_t *out, int16_t *error, int width, const int *limit) {
    // The error cells are one per column plus one spare at each end; `error`
    // points at the cells of the column before the current one.
    constexpr int dir3 = 3 * Dir;
    if (Dir < 0) {
        in += (width - 1) * 3;
        out += width - 1;
        error += (width + 1) * 3;
    }
    // cur*: the error carried along the row (times 16), then the value.
    int curR = 0, curG = 0, curB = 0;
    int belowR = 0, belowG = 0, belowB = 0;     // for the pixel below the current one
    int behindR = 0, behindG = 0, behindB = 0;  // for the pixel below and behind
    // Local copies: the stores through `out` and `error` could otherwise
    // alias the members and force them to be read again for every pixel.
    Cell *const map = hist_;
    const uint8_t *const red = red_, *const green = green_, *const blue = blue_;
    for (int n = width; n > 0; --n) {
        curR = clampSample(limit[(curR + error[dir3 + 0] + 8) >> 4] + in[0]);
        curG = clampSample(limit[(curG + error[dir3 + 1] + 8) >> 4] + in[1]);
        curB = clampSample(limit[(curB + error[dir3 + 2] + 8) >> 4] + in[2]);
        const Cell *cell = &map[cellOf(curR >> kRedShift, curG >> kGreenShift, curB >> kBlueShift)];
        if (*cell == 0) [[unlikely]]
            fillBlock(curR >> kRedShift, curG >> kGreenShift, curB >> kBlueShift);
        const int index = *cell - 1;
        *out = uint8_t(index);
        curR -= red[index];
        curG -= green[index];
        curB -= blue[index];

        error[0] = int16_t(behindR + curR * 3);
        behindR = belowR + curR * 5;
        belowR = curR;
        curR *= 7;
        error[1] = int16_t(behindG + curG * 3);
        behindG = belowG + curG * 5;
        belowG = curG;
        curG *= 7;
        error[2] = int16_t(behindB + curB * 3);
        behindB = belowB + curB * 5;
        belowB = curB;
        curB *= 7;

        in += dir3;
        out += Dir;
        error += dir3;
    }
    // The last column's below-behind share; the below-ahead one falls on
    // the spare cell past the row and is dropped.
    error[0] = int16_t(behindR);
    error[1] = int16_t(behindG);
    error[2] = int16_t(behindB);
}

void MedianCut::mapWithDiffusion(const Picture &source, const RowReader &reader, uint8_t *scratch,
                                 int16_t *errors, Picture &target) {
    static const ErrorLimit limit;
    const int width = int(source.width);
    for (int y = 0; y < source.height; ++y) {
        const uint8_t *in = reader.rgb(bufferRow(source, y), scratch);
        // Even rows left to right, odd rows right to left.
        if (y & 1) diffuseRow<-1>(in, bufferRow(target, y), errors, width, limit.table + 255);
        else diffuseRow<1>(in, bufferRow(target, y), errors, width, limit.table + 255);
    }
}

void MedianCut::mapIndexed(const Picture &source, const RowReader &reader, Picture &target) {
    uint8_t remap[256];
    for (int i = 0; i < 256; ++i) remap[i] = uint8_t(indexOf(reader.red()[i], reader.green()[i], reader.blue()[i]));
    const int width = int(source.width);
    for (int y = 0; y < source.height; ++y) {
        const uint8_t *in = bufferRow(source, y);
        uint8_t *out = bufferRow(target, y);
        for (int x = 0; x < width; ++x) out[x] = remap[in[x]];
    }
}

}  // namespace

int medianCutQuantize(const Picture &source, int colors, Picture &target) {
    if (colors < 1) colors = 1;
    if (colors > 256) colors = 256;
    const bool trueColor = isTrueColor(source.type);
    auto cells = workBuffer<Cell>(kCellCount);
    std::unique_ptr<uint8_t[]> scratch;
    std::unique_ptr<int16_t[]> errors;
    if (trueColor) {
        scratch = workBuffer<uint8_t>(size_t(source.width) * 3);
        errors = workBuffer<int16_t>((size_t(source.width) + 2) * 3);
    }
    if (!cells || (trueColor && (!scratch || !errors))) return -1;

    MedianCut cut(cells.get(), colors);
    const RowReader reader(source);
    if (trueColor) cut.countRgbRows(source, reader, scratch.get());
    else cut.countIndexed(source, reader);
    cut.chooseColors();

    // The histogram's cells become the inverse colour map: 0 for a cell not
    // filled yet, else the colour's index + 1.
    std::memset(cells.get(), 0, kCellCount * sizeof(Cell));
    if (trueColor) cut.mapWithDiffusion(source, reader, scratch.get(), errors.get(), target);
    else cut.mapIndexed(source, reader, target);

    for (int i = 0; i < cut.colorCount(); ++i) {
        target.palette[i] = cut.red()[i];
        target.palette[256 + i] = cut.green()[i];
        target.palette[512 + i] = cut.blue()[i];
    }
    return cut.colorCount();
}

}  // namespace quivel
