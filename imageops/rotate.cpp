// Rotation: exact quarter and half turns, and free rotation.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "imageops/geometry.h"
#include "imageops/geometry_support.h"

namespace quivel {

namespace {

// Quarter turns go through the picture in square tiles so that both the rows
// read and the rows written stay in the cache.
constexpr int kTile = 64;

OpStatus keepOrCopy(Picture *source, Picture *output) {
    if (output == nullptr || output == source) return ZNT_OK;
    OwnedPicture copy;
    if (!copyPicture(*source, copy)) return ZNT_NO_MEMORY;
    deliverPicture(source, output, copy);
    return ZNT_OK;
}

// Row pointers of a picture as shown, so that inner loops index them
// directly whatever the row order.
std::unique_ptr<uint8_t *[]> shownRows(const Picture &picture) {
    auto rows = workBuffer<uint8_t *>(size_t(picture.height));
    if (rows)
        for (int y = 0; y < picture.height; ++y) rows[y] = shownRow(picture, y);
    return rows;
}

template <int Bytes>
void turnQuarterTiles(const Picture &src, uint8_t *const *dstRows, bool clockwise) {
    const int width = int(src.width), height = src.height;
    for (int ty = 0; ty < height; ty += kTile) {
        const int yEnd = std::min(ty + kTile, height);
        for (int tx = 0; tx < width; tx += kTile) {
            const int xEnd = std::min(tx + kTile, width);
            for (int y = ty; y < yEnd; ++y) {
                const uint8_t *in = shownRow(src, y) + size_t(tx) * Bytes;
                if (clockwise) {
                    // Source (x, y) goes to (height - 1 - y, x).
                    const size_t column = size_t(height - 1 - y) * Bytes;
                    for (int x = tx; x < xEnd; ++x, in += Bytes) std::memcpy(dstRows[x] + column, in, Bytes);
                } else {
                    // Source (x, y) goes to (y, width - 1 - x).
                    const size_t column = size_t(y) * Bytes;
                    uint8_t *const *rows = dstRows + (width - 1);
                    for (int x = tx; x < xEnd; ++x, in += Bytes) std::memcpy(rows[-x] + column, in, Bytes);
                }
            }
        }
    }
}

OpStatus quarterTurn(Picture *source, Picture *output, bool clockwise) {
    const Picture &src = *source;
    const int width = int(src.width), height = src.height;
    OwnedPicture result;
    if (!result.allocate(src.type, src.bitsPerComponent, height, width)) return ZNT_NO_MEMORY;
    if (!takeDescription(src, result)) return ZNT_NO_MEMORY;
    auto rows = shownRows(*result);
    if (!rows) return ZNT_NO_MEMORY;

    switch (src.type == ZNT_BINARY ? 0 : src.bytesPerPixel) {
    case 0:
        for (int y = 0; y < height; ++y) {
            const uint8_t *in = shownRow(src, y);
            for (int x = 0; x < width; ++x) {
                if (!getBit(in, x)) continue;
                if (clockwise) putBit(rows[x], height - 1 - y, 1);
                else putBit(rows[width - 1 - x], y, 1);
            }
        }
        break;
    case 1: turnQuarterTiles<1>(src, rows.get(), clockwise); break;
    case 3: turnQuarterTiles<3>(src, rows.get(), clockwise); break;
    default: turnQuarterTiles<4>(src, rows.get(), clockwise); break;
    }
    deliverPicture(source, output, result);
    return ZNT_OK;
}

template <int Bytes>
void reverseRow(const uint8_t *in, uint8_t *out, int width) {
    out += size_t(width - 1) * Bytes;
    for (int x = 0; x < width; ++x, in += Bytes, out -= Bytes) std::memcpy(out, in, Bytes);
}

OpStatus halfTurn(Picture *source, Picture *output) {
    const Picture &src = *source;
    const int width = int(src.width), height = src.height;
    OwnedPicture result;
    if (!result.allocate(src.type, src.bitsPerComponent, width, height)) return ZNT_NO_MEMORY;
    if (!takeDescription(src, result)) return ZNT_NO_MEMORY;
    for (int y = 0; y < height; ++y) {
        const uint8_t *in = shownRow(src, y);
        uint8_t *out = shownRow(*result, height - 1 - y);
        switch (src.type == ZNT_BINARY ? 0 : src.bytesPerPixel) {
        case 0:
            for (int x = 0; x < width; ++x)
                if (getBit(in, x)) putBit(out, width - 1 - x, 1);
            break;
        case 1: reverseRow<1>(in, out, width); break;
        case 3: reverseRow<3>(in, out, width); break;
        default: reverseRow<4>(in, out, width); break;
        }
    }
    deliverPicture(source, output, result);
    return ZNT_OK;
}

int64_t floorDiv(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

// The columns X of [first, last) for which lo <= f + X * step < hi. Exact,
// since the sampling positions are stepped in integers.
void linearRange(int64_t f, int64_t step, int64_t lo, int64_t hi, int &first, int &last) {
    int64_t a, b;   // X in [a, b]
    if (step == 0) {
        if (f < lo || f >= hi) last = first;
        return;
    }
    if (step > 0) {
        a = -floorDiv(-(lo - f), step);
        b = floorDiv(hi - 1 - f, step);
    } else {
        const int64_t g = -f, t = -step;
        a = -floorDiv(-(1 - hi - g), t);
        b = floorDiv(-lo - g, t);
    }
    first = int(std::max<int64_t>(first, a));
    last = int(std::min<int64_t>(last, b + 1));
    if (last < first) last = first;
}

// Sampling positions carry 32 fractional bits.
constexpr int kFractionBits = 32;
constexpr int64_t kOne = int64_t(1) << kFractionBits;

OpStatus freeRotation(Picture *source, Picture *output, double angle, uint32_t background) {
    const Picture &src = *source;
    const int width = int(src.width), height = src.height;
    const double radians = angle * std::numbers::pi / 180.0;
    const double c = std::cos(radians), s = std::sin(radians);
    const double fitWidth = std::ceil(width * std::fabs(c) + height * std::fabs(s) - 1e-6);
    const double fitHeight = std::ceil(width * std::fabs(s) + height * std::fabs(c) - 1e-6);
    const int newWidth = int(std::clamp(fitWidth, 1.0, double(1 << 25)));
    const int newHeight = int(std::clamp(fitHeight, 1.0, double(1 << 25)));

    OwnedPicture result;
    if (!result.allocate(src.type, src.bitsPerComponent, newWidth, newHeight)) return ZNT_NO_MEMORY;
    if (!takeDescription(src, result)) return ZNT_NO_MEMORY;
    Picture &dst = *result;
    uint8_t fill[4];
    backgroundPixel(dst, background, fill);
    auto srcRows = shownRows(src);
    if (!srcRows) return ZNT_NO_MEMORY;

    const bool smooth = src.type == ZNT_GREY || isTrueColor(src.type);
    const bool binary = src.type == ZNT_BINARY;
    const int bpp = src.bytesPerPixel;
    const int64_t stepX = std::llround(c * double(kOne)), stepY = std::llround(-s * double(kOne));
    const int64_t half = kOne / 2;

    for (int Y = 0; Y < newHeight; ++Y) {
        // The source position (pixel-centre coordinates) of the new row's
        // first pixel centre, turned back by the angle about the centres.
        const double u = 0.5 - newWidth / 2.0, v = Y + 0.5 - newHeight / 2.0;
        const int64_t startX = std::llround((u * c + v * s + width / 2.0 - 0.5) * double(kOne));
        const int64_t startY = std::llround((-u * s + v * c + height / 2.0 - 0.5) * double(kOne));
        uint8_t *out = shownRow(dst, Y);

        // Columns whose samples lie wholly inside the source need no tests.
        int first = 0, last = newWidth;
        if (smooth) {
            linearRange(startX, stepX, 0, int64_t(width - 1) * kOne, first, last);
            linearRange(startY, stepY, 0, int64_t(height - 1) * kOne, first, last);
        } else {
            linearRange(startX + half, stepX, 0, int64_t(width) * kOne, first, last);
            linearRange(startY + half, stepY, 0, int64_t(height) * kOne, first, last);
        }

        int64_t fx = startX, fy = startY;
        for (int X = 0; X < newWidth; ++X, fx += stepX, fy += stepY) {
            const bool inside = X >= first && X < last;
            if (!smooth) {
                const int64_t ix = (fx + half) >> kFractionBits, iy = (fy + half) >> kFractionBits;
                const bool valid = inside || (ix >= 0 && ix < width && iy >= 0 && iy < height);
                if (binary) {
                    putBit(out, X, valid ? getBit(srcRows[iy], int(ix)) : fill[0]);
                } else {
                    out[X] = valid ? srcRows[iy][ix] : fill[0];
                }
                continue;
            }
            const int64_t ix = fx >> kFractionBits, iy = fy >> kFractionBits;
            const int ax = int((fx >> (kFractionBits - 8)) & 255), ay = int((fy >> (kFractionBits - 8)) & 255);
            const uint8_t *p00, *p01, *p10, *p11;
            if (inside) {
                p00 = srcRows[iy] + ix * bpp;
                p01 = p00 + bpp;
                p10 = srcRows[iy + 1] + ix * bpp;
                p11 = p10 + bpp;
            } else {
                // At the edges a neighbour outside the picture is background.
                auto at = [&](int64_t x, int64_t y) -> const uint8_t * {
                    return x >= 0 && x < width && y >= 0 && y < height ? srcRows[y] + x * bpp : fill;
                };
                p00 = at(ix, iy);
                p01 = at(ix + 1, iy);
                p10 = at(ix, iy + 1);
                p11 = at(ix + 1, iy + 1);
            }
            uint8_t *o = out + size_t(X) * bpp;
            for (int k = 0; k < bpp; ++k) {
                const int top = p00[k] * (256 - ax) + p01[k] * ax;
                const int bottom = p10[k] * (256 - ax) + p11[k] * ax;
                o[k] = uint8_t((top * (256 - ay) + bottom * ay + 32768) >> 16);
            }
        }
    }
    deliverPicture(source, output, result);
    return ZNT_OK;
}

}  // namespace

OpStatus rotatePicture(Picture *source, Picture *output, double angleDegrees, uint32_t background) {
    if (source == nullptr || !std::isfinite(angleDegrees)) return ZNT_BAD_ARGUMENT;
    if (OpStatus status = checkSource(source)) return status;
    const double a = angleDegrees;
    if (std::fmod(a, 360.0) == 0.0) return keepOrCopy(source, output);
    if (a == 90.0 || a == -270.0) return quarterTurn(source, output, true);
    if (a == -90.0 || a == 270.0) return quarterTurn(source, output, false);
    if (a == 180.0 || a == -180.0) return halfTurn(source, output);

    // A free angle of whole quarter turns is the exact turn.
    double turn = std::fmod(a, 360.0);
    if (turn < 0) turn += 360.0;
    if (turn == 90.0) return quarterTurn(source, output, true);
    if (turn == 180.0) return halfTurn(source, output);
    if (turn == 270.0) return quarterTurn(source, output, false);
    return freeRotation(source, output, a, background);
}

}  // namespace quivel
