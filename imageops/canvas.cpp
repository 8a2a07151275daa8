// Canvas size, resolution and de-interlacing.
#include <algorithm>
#include <cstring>

#include "imageops/geometry.h"
#include "imageops/geometry_support.h"

namespace quivel {

OpStatus resizeCanvas(Picture *source, Picture *output, int newWidth, int newHeight, uint32_t background) {
    if (source == nullptr || newWidth < 1 || newHeight < 1) return ZNT_BAD_ARGUMENT;
    if (OpStatus status = checkSource(source)) return status;
    const Picture &src = *source;
    const int width = int(src.width), height = src.height;
    OwnedPicture result;
    if (!result.allocate(src.type, src.bitsPerComponent, newWidth, newHeight)) return ZNT_NO_MEMORY;
    if (!takeDescription(src, result)) return ZNT_NO_MEMORY;
    Picture &dst = *result;
    uint8_t fill[4];
    backgroundPixel(dst, background, fill);

    // Offsets of the picture on the canvas; negative when the canvas is
    // smaller and the picture is cut on both sides.
    const int offsetX = int((int64_t(newWidth) - width) / 2), offsetY = int((int64_t(newHeight) - height) / 2);
    const int fromX = std::max(0, -offsetX), toX = std::max(0, offsetX);
    const int columns = std::min(width - fromX, newWidth - toX);
    const int bpp = src.bytesPerPixel;
    for (int y = 0; y < newHeight; ++y) {
        uint8_t *out = shownRow(dst, y);
        const int sourceY = y - offsetY;
        if (sourceY < 0 || sourceY >= height) {
            fillPixels(dst, out, 0, newWidth, fill);
            continue;
        }
        fillPixels(dst, out, 0, toX, fill);
        fillPixels(dst, out, toX + columns, newWidth, fill);
        const uint8_t *in = shownRow(src, sourceY);
        if (src.type == ZNT_BINARY) copyBits(in, fromX, out, toX, columns);
        else std::memcpy(out + size_t(toX) * bpp, in + size_t(fromX) * bpp, size_t(columns) * bpp);
    }
    deliverPicture(source, output, result);
    return ZNT_OK;
}

OpStatus setResolution(Picture *source, Picture *output, uint32_t dotsPerInchX, uint32_t dotsPerInchY) {
    if (source == nullptr || dotsPerInchX < 1 || dotsPerInchY < 1) return ZNT_BAD_ARGUMENT;
    if (OpStatus status = checkSource(source)) return status;
    if (output == nullptr || output == source) {
        source->resolutionX = dotsPerInchX;
        source->resolutionY = dotsPerInchY;
        return ZNT_OK;
    }
    OwnedPicture copy;
    if (!copyPicture(*source, copy)) return ZNT_NO_MEMORY;
    copy->resolutionX = dotsPerInchX;
    copy->resolutionY = dotsPerInchY;
    deliverPicture(source, output, copy);
    return ZNT_OK;
}

OpStatus deinterlacePicture(Picture *source, Picture *output, int flags) {
    if (OpStatus status = checkSource(source)) return status;
    OwnedPicture copy;
    Picture *target = source;
    if (output != nullptr && output != source) {
        if (!copyPicture(*source, copy)) return ZNT_NO_MEMORY;
        target = &copy.get();
    }
    const Picture &picture = *target;
    const int height = picture.height;
    const bool keepEven = (flags & kKeepEvenField) != 0;
    const bool duplicate = (flags & kDuplicateRows) != 0 || picture.type == ZNT_PALETTE || picture.type == ZNT_BINARY;
    const size_t rowBytes = picture.type == ZNT_BINARY ? (size_t(picture.width) + 7) / 8
                                                       : size_t(picture.width) * picture.bytesPerPixel;

    // Rows of the other field are rebuilt from the kept rows next to them,
    // which are never written, so the work can be done in place.
    for (int y = keepEven ? 1 : 0; y < height; y += 2) {
        const bool hasAbove = y > 0, hasBelow = y + 1 < height;
        if (!hasAbove && !hasBelow) continue;
        uint8_t *out = shownRow(picture, y);
        const uint8_t *above = hasAbove ? shownRow(picture, y - 1) : nullptr;
        const uint8_t *below = hasBelow ? shownRow(picture, y + 1) : nullptr;
        if (duplicate || !hasAbove || !hasBelow) {
            // Each pair of rows shows its kept row: the one above when the
            // even field is kept, the one below when the odd field is.
            const uint8_t *from = keepEven ? (above ? above : below) : (below ? below : above);
            std::memcpy(out, from, rowBytes);
        } else {
            for (size_t i = 0; i < rowBytes; ++i) out[i] = uint8_t((above[i] + below[i] + 1) >> 1);
        }
    }
    if (target != source) deliverPicture(source, output, copy);
    return ZNT_OK;
}

}  // namespace quivel
