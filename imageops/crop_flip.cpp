// Crop, automatic crop and the two flips.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "imageops/geometry.h"
#include "imageops/geometry_support.h"
#include "imageops/pixel_rows.h"

namespace quivel {

namespace {

OpStatus cropClipped(Picture *source, Picture *output, const ClippedRect &area) {
    const Picture &src = *source;
    OwnedPicture result;
    if (!result.allocate(src.type, src.bitsPerComponent, area.width(), area.height())) return ZNT_NO_MEMORY;
    if (!takeDescription(src, result)) return ZNT_NO_MEMORY;
    Picture &dst = *result;
    const size_t rowBytes = size_t(area.width()) * src.bytesPerPixel;
    for (int r = 0; r < area.height(); ++r) {
        const uint8_t *in = shownRow(src, area.y0 + r);
        uint8_t *out = shownRow(dst, r);
        if (src.type == ZNT_BINARY) copyBits(in, area.x0, out, 0, area.width());
        else std::memcpy(out, in + size_t(area.x0) * src.bytesPerPixel, rowBytes);
    }
    deliverPicture(source, output, result);
    return ZNT_OK;
}

// The picture the flips work on: a copy for an output record, else the
// source itself.
Picture *flipTarget(Picture *source, Picture *output, OwnedPicture &copy, OpStatus &status) {
    status = ZNT_OK;
    if (output == nullptr || output == source) return source;
    if (!copyPicture(*source, copy)) {
        status = ZNT_NO_MEMORY;
        return nullptr;
    }
    return &copy.get();
}

template <int Bytes>
void mirrorPixels(uint8_t *left, uint8_t *right) {
    // left: first pixel, right: last pixel of the run.
    while (left < right) {
        uint8_t t[Bytes];
        std::memcpy(t, left, Bytes);
        std::memcpy(left, right, Bytes);
        std::memcpy(right, t, Bytes);
        left += Bytes;
        right -= Bytes;
    }
}

template <int Bytes>
void mirrorCopy(const uint8_t *in, uint8_t *out, int count) {
    out += size_t(count - 1) * Bytes;
    for (int i = 0; i < count; ++i, in += Bytes, out -= Bytes) std::memcpy(out, in, Bytes);
}

}  // namespace

OpStatus cropPicture(Picture *source, Picture *output, const PictureRect *rect) {
    if (OpStatus status = checkSource(source)) return status;
    int64_t x = 0, y = 0, width = source->width, height = source->height;
    if (rect != nullptr) {
        x = rect->x;
        y = rect->y;
        width = rect->width;
        height = rect->height;
    }
    if (x < 0) width += x, x = 0;
    if (x + width > source->width) width = int64_t(source->width) - x;
    if (y < 0) height += y, y = 0;
    if (y + height > source->height) height = int64_t(source->height) - y;
    if (width < 1 || height < 1) return ZNT_BAD_ARGUMENT;
    return cropClipped(source, output, ClippedRect{int(x), int(y), int(x + width), int(y + height)});
}

OpStatus flipHorizontal(Picture *source, Picture *output, const PictureRect *rect) {
    if (OpStatus status = checkSource(source)) return status;
    ClippedRect area;
    if (!clipRectangle(*source, rect, area)) return ZNT_BAD_ARGUMENT;
    const Picture &src = *source;
    const int bpp = src.bytesPerPixel;
    const bool inPlace = output == nullptr || output == source;

    if (src.type == ZNT_BINARY) {
        OwnedPicture copy;
        OpStatus status;
        Picture *target = flipTarget(source, output, copy, status);
        if (target == nullptr) return status;
        for (int y = area.y0; y < area.y1; ++y) {
            uint8_t *row = shownRow(*target, y);
            for (int a = area.x0, b = area.x1 - 1; a < b; ++a, --b) {
                const int bitA = getBit(row, a);
                putBit(row, a, getBit(row, b));
                putBit(row, b, bitA);
            }
        }
        if (target != source) deliverPicture(source, output, copy);
        return ZNT_OK;
    }

    if (inPlace) {
        for (int y = area.y0; y < area.y1; ++y) {
            uint8_t *row = shownRow(src, y);
            uint8_t *left = row + size_t(area.x0) * bpp, *right = row + size_t(area.x1 - 1) * bpp;
            switch (bpp) {
            case 1: std::reverse(left, right + 1); break;
            case 3: mirrorPixels<3>(left, right); break;
            default: mirrorPixels<4>(left, right); break;
            }
        }
        return ZNT_OK;
    }

    // Into a new picture: each row is written once, mirrored inside the
    // rectangle and copied outside it.
    OwnedPicture result;
    if (!result.allocate(src.type, src.bitsPerComponent, int(src.width), src.height)) return ZNT_NO_MEMORY;
    if (!takeDescription(src, result)) return ZNT_NO_MEMORY;
    const size_t rowBytes = size_t(src.width) * bpp;
    const size_t x0 = size_t(area.x0) * bpp, x1 = size_t(area.x1) * bpp;
    for (int y = 0; y < src.height; ++y) {
        const uint8_t *in = bufferRow(src, y);
        uint8_t *out = bufferRow(*result, y);
        const int shown = (src.colorModel & kBottomUpRows) ? src.height - 1 - y : y;
        if (shown < area.y0 || shown >= area.y1) {
            std::memcpy(out, in, rowBytes);
            continue;
        }
        std::memcpy(out, in, x0);
        std::memcpy(out + x1, in + x1, rowBytes - x1);
        switch (bpp) {
        case 1: mirrorCopy<1>(in + x0, out + x0, area.width()); break;
        case 3: mirrorCopy<3>(in + x0, out + x0, area.width()); break;
        default: mirrorCopy<4>(in + x0, out + x0, area.width()); break;
        }
    }
    deliverPicture(source, output, result);
    return ZNT_OK;
}

OpStatus flipVertical(Picture *source, Picture *output, const PictureRect *rect) {
    if (OpStatus status = checkSource(source)) return status;
    ClippedRect area;
    if (!clipRectangle(*source, rect, area)) return ZNT_BAD_ARGUMENT;
    OwnedPicture copy;
    OpStatus status;
    Picture *target = flipTarget(source, output, copy, status);
    if (target == nullptr) return status;

    const int bpp = target->bytesPerPixel;
    for (int a = area.y0, b = area.y1 - 1; a < b; ++a, --b) {
        uint8_t *top = shownRow(*target, a), *bottom = shownRow(*target, b);
        if (target->type == ZNT_BINARY) {
            for (int x = area.x0; x < area.x1; ++x) {
                const int bit = getBit(top, x);
                putBit(top, x, getBit(bottom, x));
                putBit(bottom, x, bit);
            }
        } else {
            std::swap_ranges(top + size_t(area.x0) * bpp, top + size_t(area.x1) * bpp, bottom + size_t(area.x0) * bpp);
        }
    }
    if (target != source) deliverPicture(source, output, copy);
    return ZNT_OK;
}

OpStatus autoCropPicture(Picture *source, Picture *output, int tolerance) {
    if (source == nullptr || tolerance < 0 || tolerance > 255) return ZNT_BAD_ARGUMENT;
    if (OpStatus status = checkSource(source)) return status;
    const Picture &src = *source;
    const int width = int(src.width);
    auto scratch = workBuffer<uint8_t>(size_t(width) * 3);
    if (!scratch) return ZNT_NO_MEMORY;
    const RowReader reader(src);

    // Ranges of each channel's values that count as border.
    const uint8_t *corner = reader.rgb(shownRow(src, 0), scratch.get());
    uint8_t inside[3][256];
    for (int c = 0; c < 3; ++c)
        for (int v = 0; v < 256; ++v) inside[c][v] = std::abs(v - corner[c]) <= tolerance;

    int top = -1, bottom = -1, left = width, right = -1;
    for (int y = 0; y < src.height; ++y) {
        const uint8_t *rgb = reader.rgb(shownRow(src, y), scratch.get());
        int first = -1, last = -1;
        for (int x = 0; x < width; ++x, rgb += 3) {
            if (inside[0][rgb[0]] & inside[1][rgb[1]] & inside[2][rgb[2]]) continue;
            if (first < 0) first = x;
            last = x;
        }
        if (first < 0) continue;
        if (top < 0) top = y;
        bottom = y;
        left = std::min(left, first);
        right = std::max(right, last);
    }
    if (top < 0) {   // all border: nothing to take away
        if (output == nullptr || output == source) return ZNT_OK;
        OwnedPicture copy;
        if (!copyPicture(src, copy)) return ZNT_NO_MEMORY;
        deliverPicture(source, output, copy);
        return ZNT_OK;
    }
    return cropClipped(source, output, ClippedRect{left, top, right + 1, bottom + 1});
}

}  // namespace quivel
