// Picture buffers: every pixel and palette buffer of a Picture is made here
// and released here, so that callers never mix allocators.
#include "zentar.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sys/mman.h>
#include <unordered_map>

namespace {

// A single picture buffer larger than this is refused rather than attempted:
// a hostile header must turn into "Not enough memory", not into a process
// that the kernel kills.
constexpr uint64_t kMaxPictureBytes = uint64_t(4) << 30;
constexpr int kMaxSide = 1 << 20;

// Buffers of camera-sized pictures are mapped directly and asked for huge
// pages: a 24-megapixel picture then costs a few dozen page faults instead
// of eighteen thousand, which is a quarter of the time of a JPEG decode.
// Fresh mappings are zeroed by the kernel, so nothing is cleared twice.
// zntFree tells them from heap buffers by this registry of live mappings.
constexpr uint64_t kMappedBytes = uint64_t(8) << 20;

std::mutex gMappedLock;
std::unordered_map<void *, size_t> &mappedBuffers() {
    static std::unordered_map<void *, size_t> buffers;
    return buffers;
}

uint8_t *allocateZeroed(uint64_t total) {
    if (total < kMappedBytes) return static_cast<uint8_t *>(std::calloc(total, 1));
    void *p = mmap(nullptr, size_t(total), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) return nullptr;
    madvise(p, size_t(total), MADV_HUGEPAGE);
    const std::lock_guard<std::mutex> lock(gMappedLock);
    mappedBuffers().emplace(p, size_t(total));
    return static_cast<uint8_t *>(p);
}

void releaseBuffer(uint8_t *data) {
    if (data == nullptr) return;
    {
        const std::lock_guard<std::mutex> lock(gMappedLock);
        auto &buffers = mappedBuffers();
        const auto found = buffers.find(data);
        if (found != buffers.end()) {
            munmap(found->first, found->second);
            buffers.erase(found);
            return;
        }
    }
    std::free(data);
}

int bytesPerPixelForType(int type) {
    switch (type) {
    case ZNT_BINARY:
    case ZNT_GREY:
    case ZNT_PALETTE:
    case ZNT_RGB:
    case ZNT_BGR:
        return type == ZNT_RGB || type == ZNT_BGR ? 3 : 1;
    case ZNT_RGBA:
    case ZNT_ABGR:
    case ZNT_BGRA:
    case ZNT_ARGB:
        return 4;
    default:
        return 0;
    }
}

}  // namespace

extern "C" {

int zntAllock(Picture *picture, int type, int bitsPerComponent, int width, int height) {
    if (picture == nullptr) return 0;
    const int bpp = bytesPerPixelForType(type);
    if (bpp == 0 || width < 1 || height < 1 || width > kMaxSide || height > kMaxSide) return 0;
    const uint64_t bytesPerLine =
        type == ZNT_BINARY ? (uint64_t(width) + 7) / 8 : uint64_t(width) * uint64_t(bpp);
    const uint64_t total = bytesPerLine * uint64_t(height);
    if (total > kMaxPictureBytes) return 0;

    uint8_t *data = allocateZeroed(total);
    if (data == nullptr) return 0;
    uint8_t *palette = nullptr;
    if (type == ZNT_PALETTE) {
        palette = static_cast<uint8_t *>(std::calloc(768, 1));
        if (palette == nullptr) {
            releaseBuffer(data);
            return 0;
        }
    }

    picture->width = uint32_t(width);
    picture->height = height;
    picture->bytesPerLine = uint32_t(bytesPerLine);
    picture->type = int16_t(type);
    picture->bytesPerPixel = uint16_t(bpp);
    picture->bitsPerComponent = int16_t(bitsPerComponent);
    picture->colorModel = 0;
    picture->resolutionX = 0;
    picture->resolutionY = 0;
    picture->numberOfColors = type == ZNT_BINARY ? 2 : (type & (ZNT_GREY | ZNT_PALETTE)) ? 256 : 0;
    picture->transparentIndex = -1;
    picture->palette = palette;
    picture->data = data;
    return 1;
}

uint8_t *zntAllockPalette(Picture *picture) {
    if (picture == nullptr) return nullptr;
    if (picture->palette == nullptr) picture->palette = static_cast<uint8_t *>(std::calloc(768, 1));
    return picture->palette;
}

void zntFree(Picture *picture) {
    if (picture == nullptr) return;
    releaseBuffer(picture->data);
    std::free(picture->palette);
    picture->data = nullptr;
    picture->palette = nullptr;
}

}

#include "format.h"

namespace zentar {

bool OwnedPicture::allocate(int type, int bitsPerComponent, uint32_t width, uint32_t height) {
    zntFree(&picture_);
    if (width > uint32_t(kMaxSide) || height > uint32_t(kMaxSide)) return false;
    return zntAllock(&picture_, type, bitsPerComponent, int(width), int(height)) != 0;
}

}  // namespace zentar
