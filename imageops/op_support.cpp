#include "imageops/op_support.h"

#include <algorithm>
#include <cstring>

namespace quivel {

namespace {

constexpr int64_t kMaxSide = int64_t(1) << 24;

int gAllocationsLeft = -1;   // negative: no limit

}  // namespace

void failAllocationsAfter(int count) { gAllocationsLeft = count < 0 ? -1 : count; }

bool allocationAllowed() {
    if (gAllocationsLeft < 0) return true;
    if (gAllocationsLeft == 0) return false;
    --gAllocationsLeft;
    return true;
}

bool clipRectangle(const Picture &picture, const PictureRect *rect, ClippedRect &clipped) {
    if (rect == nullptr) {
        clipped = {0, 0, int(picture.width), picture.height};
        return picture.width > 0 && picture.height > 0;
    }
    const int64_t x0 = std::max<int64_t>(rect->x, 0);
    const int64_t y0 = std::max<int64_t>(rect->y, 0);
    const int64_t x1 = std::min<int64_t>(int64_t(rect->x) + rect->width, picture.width);
    const int64_t y1 = std::min<int64_t>(int64_t(rect->y) + rect->height, picture.height);
    if (x1 - x0 <= 0 || y1 - y0 <= 0) return false;
    clipped = {int(x0), int(y0), int(x1), int(y1)};
    return true;
}

int bytesPerPixelOfType(int type) {
    switch (type) {
    case ZNT_BINARY:
    case ZNT_GREY:
    case ZNT_PALETTE:
        return 1;
    case ZNT_RGB:
    case ZNT_BGR:
        return 3;
    case ZNT_RGBA:
    case ZNT_ABGR:
    case ZNT_BGRA:
    case ZNT_ARGB:
        return 4;
    default:
        return 0;
    }
}

ChannelOrder channelOrderOf(int type) {
    switch (type) {
    case ZNT_RGBA: return {0, 1, 2, 3};
    case ZNT_BGR: return {2, 1, 0, -1};
    case ZNT_ABGR: return {3, 2, 1, 0};
    case ZNT_BGRA: return {2, 1, 0, 3};
    case ZNT_ARGB: return {1, 2, 3, 0};
    default: return {0, 1, 2, -1};
    }
}

bool pictureIsUsable(const Picture *picture) {
    if (picture == nullptr || picture->data == nullptr) return false;
    const int bpp = bytesPerPixelOfType(picture->type);
    if (bpp == 0 || picture->bytesPerPixel != bpp) return false;
    if (picture->width < 1 || picture->height < 1) return false;
    if (picture->width > kMaxSide || picture->height > kMaxSide) return false;
    const uint64_t rowBytes =
        picture->type == ZNT_BINARY ? (uint64_t(picture->width) + 7) / 8 : uint64_t(picture->width) * bpp;
    if (picture->bytesPerLine < rowBytes) return false;
    if (picture->type == ZNT_PALETTE && picture->palette == nullptr) return false;
    return true;
}

OpStatus checkSource(const Picture *source) {
    if (source == nullptr) return ZNT_BAD_ARGUMENT;
    return pictureIsUsable(source) ? ZNT_OK : ZNT_NOT_APPLICABLE;
}

void greyIntensityTable(int levels, uint8_t table[256]) {
    if (levels < 2 || levels > 256) levels = 256;
    for (int i = 0; i < 256; ++i) table[i] = uint8_t(i < levels ? i * 255 / (levels - 1) : 255);
}

OwnedPicture::~OwnedPicture() {
    if (picture_.data != nullptr || picture_.palette != nullptr) zntFree(&picture_);
}

bool OwnedPicture::allocate(int type, int bitsPerComponent, int width, int height) {
    if (picture_.data != nullptr || picture_.palette != nullptr) zntFree(&picture_);
    if (!allocationAllowed()) return false;
    return zntAllock(&picture_, type, bitsPerComponent, width, height) != 0;
}

bool OwnedPicture::allocatePalette() {
    if (picture_.palette != nullptr) return true;
    if (!allocationAllowed()) return false;
    return zntAllockPalette(&picture_) != nullptr;
}

Picture OwnedPicture::release() {
    Picture result = picture_;
    picture_.data = nullptr;
    picture_.palette = nullptr;
    return result;
}

void copyCarriedFields(const Picture &from, Picture &to) {
    to.colorModel = from.colorModel;
    to.resolutionX = from.resolutionX;
    to.resolutionY = from.resolutionY;
}

bool copyPicture(const Picture &source, OwnedPicture &copy) {
    if (!copy.allocate(source.type, source.bitsPerComponent, int(source.width), source.height)) return false;
    Picture &target = *copy;
    if (source.palette != nullptr) {
        if (!copy.allocatePalette()) return false;
        std::memcpy(target.palette, source.palette, 768);
    }
    const size_t rowBytes = std::min(source.bytesPerLine, target.bytesPerLine);
    if (rowBytes == source.bytesPerLine && rowBytes == target.bytesPerLine) {
        std::memcpy(target.data, source.data, rowBytes * size_t(source.height));
    } else {
        for (int y = 0; y < source.height; ++y) std::memcpy(bufferRow(target, y), bufferRow(source, y), rowBytes);
    }
    copyCarriedFields(source, target);
    target.numberOfColors = source.numberOfColors;
    target.transparentIndex = source.transparentIndex;
    return true;
}

void deliverPicture(Picture *source, Picture *output, OwnedPicture &result) {
    if (output != nullptr && output != source) {
        *output = result.release();
        return;
    }
    zntFree(source);
    *source = result.release();
}

}  // namespace quivel
