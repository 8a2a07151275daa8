// Resizing by nearest neighbour and by area.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "imageops/geometry.h"
#include "imageops/geometry_support.h"

namespace quivel {

namespace {

template <int Bytes>
void sampleRow(const uint8_t *in, uint8_t *out, const int *columns, int width) {
    for (int x = 0; x < width; ++x, out += Bytes) std::memcpy(out, in + size_t(columns[x]) * Bytes, Bytes);
}

// Each new pixel takes the source pixel under its centre.
OpStatus resizeNearest(Picture *source, Picture *output, int newWidth, int newHeight) {
    const Picture &src = *source;
    OwnedPicture result;
    if (!result.allocate(src.type, src.bitsPerComponent, newWidth, newHeight)) return ZNT_NO_MEMORY;
    if (!takeDescription(src, result)) return ZNT_NO_MEMORY;
    auto columns = workBuffer<int>(size_t(newWidth));
    if (!columns) return ZNT_NO_MEMORY;
    for (int x = 0; x < newWidth; ++x) columns[x] = int((2 * int64_t(x) + 1) * src.width / (2 * int64_t(newWidth)));

    Picture &dst = *result;
    for (int y = 0; y < newHeight; ++y) {
        const int sourceRow = int((2 * int64_t(y) + 1) * src.height / (2 * int64_t(newHeight)));
        const uint8_t *in = shownRow(src, sourceRow);
        uint8_t *out = shownRow(dst, y);
        switch (src.type == ZNT_BINARY ? 0 : src.bytesPerPixel) {
        case 0:
            for (int x = 0; x < newWidth; ++x)
                if (getBit(in, columns[x])) putBit(out, x, 1);
            break;
        case 1: sampleRow<1>(in, out, columns.get(), newWidth); break;
        case 3: sampleRow<3>(in, out, columns.get(), newWidth); break;
        default: sampleRow<4>(in, out, columns.get(), newWidth); break;
        }
    }
    deliverPicture(source, output, result);
    return ZNT_OK;
}

// One step of the walk along an axis: source pixel `from` covers `weight`
// (in source pixels) of new pixel `to`, the covered part starting at
// fraction `start` of the source pixel; `next` is the neighbour it blends
// with when the axis is enlarged (itself at the last pixel).
struct Piece {
    int to, from, next;
    double weight, start;
};

// The new pixels' edges fall at multiples of size / newSize; an edge within
// 0.0001 of a source pixel edge is taken to be on it, so that rounding does
// not leave slivers.
int walkAxis(int size, int newSize, Piece *pieces) {
    const double step = double(size) / newSize;
    int count = 0;
    double start = 0;
    for (int to = 0; to < newSize; ++to) {
        double end = to == newSize - 1 ? size : (to + 1) * step;
        const double whole = std::floor(end + 0.5);
        // (Under half a step, so that an enlargement by thousands never
        // snaps a new pixel to nothing.)
        if (std::fabs(end - whole) < std::min(0.0001, step / 2)) end = whole;
        if (end > size) end = size;
        for (int from = int(start); from < size && from < end; ++from) {
            const double lo = std::max(start, double(from)), hi = std::min(end, double(from + 1));
            if (hi <= lo) continue;
            pieces[count++] = {to, from, std::min(from + 1, size - 1), hi - lo, lo - from};
        }
        start = end;
    }
    return count;
}

template <int Bytes, bool BlendX, class Sample>
void accumulate(const Sample *row, const Piece *pieces, int count, double rowWeight, double *sums) {
    for (const Piece *p = pieces, *end = pieces + count; p < end; ++p) {
        const double w = rowWeight * p->weight;
        const Sample *a = row + size_t(p->from) * Bytes;
        double *o = sums + size_t(p->to) * Bytes;
        if constexpr (BlendX) {
            const Sample *b = row + size_t(p->next) * Bytes;
            const double t = p->start;
            for (int k = 0; k < Bytes; ++k) o[k] += w * (a[k] + t * (double(b[k]) - double(a[k])));
        } else {
            for (int k = 0; k < Bytes; ++k) o[k] += w * a[k];
        }
    }
}

template <int Bytes, class Sample>
void accumulateRow(const Sample *row, bool blendX, const Piece *pieces, int count, double rowWeight, double *sums) {
    if (blendX) accumulate<Bytes, true>(row, pieces, count, rowWeight, sums);
    else accumulate<Bytes, false>(row, pieces, count, rowWeight, sums);
}

template <class Sample>
void accumulateAny(int bytes, const Sample *row, bool blendX, const Piece *pieces, int count, double rowWeight,
                   double *sums) {
    switch (bytes) {
    case 1: accumulateRow<1>(row, blendX, pieces, count, rowWeight, sums); break;
    case 3: accumulateRow<3>(row, blendX, pieces, count, rowWeight, sums); break;
    default: accumulateRow<4>(row, blendX, pieces, count, rowWeight, sums); break;
    }
}

// Grey and true colour: every source byte adds to the new pixel under it,
// weighted by the covered width times the covered height; a finished row is
// scaled by 1 / (fx * fy) and rounded.
OpStatus resizeByArea(Picture *source, Picture *output, int newWidth, int newHeight) {
    const Picture &src = *source;
    const int width = int(src.width), height = src.height, bpp = src.bytesPerPixel;
    OwnedPicture result;
    if (!result.allocate(src.type, src.bitsPerComponent, newWidth, newHeight)) return ZNT_NO_MEMORY;
    if (!takeDescription(src, result)) return ZNT_NO_MEMORY;

    const bool enlargeX = newWidth >= width, enlargeY = newHeight >= height;
    const size_t rowValues = size_t(width) * bpp;
    auto columnPieces = workBuffer<Piece>(size_t(width) + size_t(newWidth) + 1);
    auto rowPieces = workBuffer<Piece>(size_t(height) + size_t(newHeight) + 1);
    auto sums = workBuffer<double>((size_t(newWidth) + 10) * bpp);
    std::unique_ptr<double[]> blended;
    if (enlargeY) blended = workBuffer<double>(rowValues);
    if (!columnPieces || !rowPieces || !sums || (enlargeY && !blended)) return ZNT_NO_MEMORY;
    const int columnCount = walkAxis(width, newWidth, columnPieces.get());
    const int rowCount = walkAxis(height, newHeight, rowPieces.get());

    Picture &dst = *result;
    const double scale = 1.0 / ((double(width) / newWidth) * (double(height) / newHeight));
    const size_t newValues = size_t(newWidth) * bpp;
    auto finishRow = [&](int y) {
        uint8_t *out = shownRow(dst, y);
        double *s = sums.get();
        for (size_t i = 0; i < newValues; ++i) {
            const double v = s[i] * scale + 0.5;
            out[i] = uint8_t(v >= 255.0 ? 255 : v <= 0.0 ? 0 : int(v));
            s[i] = 0.0;
        }
    };

    int currentRow = 0;
    for (int i = 0; i < rowCount; ++i) {
        const Piece &piece = rowPieces[i];
        if (piece.to != currentRow) {
            finishRow(currentRow);
            currentRow = piece.to;
        }
        const uint8_t *row = shownRow(src, piece.from);
        if (enlargeY) {
            // The row blended with the one below by the position within it.
            const uint8_t *below = shownRow(src, piece.next);
            const double t = piece.start;
            double *b = blended.get();
            for (size_t k = 0; k < rowValues; ++k) b[k] = row[k] + t * (double(below[k]) - double(row[k]));
            accumulateAny(bpp, b, enlargeX, columnPieces.get(), columnCount, piece.weight, sums.get());
        } else {
            accumulateAny(bpp, row, enlargeX, columnPieces.get(), columnCount, piece.weight, sums.get());
        }
    }
    finishRow(currentRow);
    deliverPicture(source, output, result);
    return ZNT_OK;
}

}  // namespace

OpStatus resizePicture(Picture *source, Picture *output, int newWidth, int newHeight, int mode) {
    if (source == nullptr || newWidth < 1 || newHeight < 1) return ZNT_BAD_ARGUMENT;
    if (OpStatus status = checkSource(source)) return status;
    if (mode == kResampleNearest || source->type == ZNT_PALETTE || source->type == ZNT_BINARY)
        return resizeNearest(source, output, newWidth, newHeight);
    return resizeByArea(source, output, newWidth, newHeight);
}

}  // namespace quivel
