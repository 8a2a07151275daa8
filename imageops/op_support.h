// The common ground of every image operation: rectangles, the test that a
// Picture record can be read at all, pictures owned while they are being
// built, work buffers, and how a finished picture reaches the caller.
//
// Every operation has the shape
//     OpStatus operation(Picture *source, Picture *output, ...parameters)
// and returns ZNT_OK (0), ZNT_NO_MEMORY (1), ZNT_BAD_ARGUMENT (16, a
// parameter or rectangle it cannot take) or ZNT_NOT_APPLICABLE (17, a picture
// kind it does not handle, or a record that does not describe readable
// pixels). With an output record the result is copied into it and the source
// stays as it was; whatever the output held before is overwritten, not freed.
// With no output (nullptr, or the source itself) the source's buffers are
// released with zntFree and the result takes the source's place. Whenever the
// status is not 0, source and output are both left exactly as they were.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "zentar.h"

namespace quivel {

// A rectangle in picture coordinates. Operations that take one accept
// nullptr for the whole picture.
struct PictureRect {
    int32_t x = 0, y = 0, width = 0, height = 0;
};

// A rectangle after clipping to the picture: columns x0..x1-1, rows y0..y1-1.
struct ClippedRect {
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    int width() const { return x1 - x0; }
    int height() const { return y1 - y0; }
};

// Clips `rect` (nullptr: the whole picture) to the picture. False when
// nothing of it is left.
bool clipRectangle(const Picture &picture, const PictureRect *rect, ClippedRect &clipped);

// Bit 0x10 of colorModel: picture row y is stored at buffer row height-1-y.
constexpr uint16_t kBottomUpRows = 0x10;

// Bytes per pixel of a picture type, 0 for an unknown type.
int bytesPerPixelOfType(int type);

// Byte positions of red, green, blue and the fourth (mask) byte within a pixel
// of each true-colour type; alpha is -1 for three-byte types.
struct ChannelOrder {
    int red, green, blue, alpha;
};
ChannelOrder channelOrderOf(int type);

inline bool isTrueColor(int type) { return (type & ZNT_TRUECOLOR_MASK) != 0; }

// True when the record describes pixels that can be read: a known type with
// its bytes per pixel, at least 1 x 1 and at most 2^24 on a side, rows long
// enough for the width, pixel data, and a palette for palette pictures.
bool pictureIsUsable(const Picture *picture);

// 0 when the source can be read; 16 for no record at all, 17 otherwise.
OpStatus checkSource(const Picture *source);

// Buffer row `row` of a picture.
inline uint8_t *bufferRow(const Picture &picture, int row) {
    return picture.data + size_t(row) * picture.bytesPerLine;
}

// Picture row y as shown, honouring bottom-up storage.
inline uint8_t *shownRow(const Picture &picture, int y) {
    const bool bottomUp = (picture.colorModel & kBottomUpRows) != 0;
    return bufferRow(picture, bottomUp ? picture.height - 1 - y : y);
}

inline int luminance(int red, int green, int blue) { return (77 * red + 150 * green + 29 * blue) >> 8; }

// Intensity of each level index of a grey picture with `levels` levels:
// i * 255 / (levels - 1), and 255 for indices past the last level. A grey
// record claiming fewer than 2 levels is read as having 256.
void greyIntensityTable(int levels, uint8_t table[256]);

// A picture under construction. Its buffers are released when it goes out of
// scope unless it has been handed on with deliverPicture or release().
class OwnedPicture {
public:
    OwnedPicture() = default;
    ~OwnedPicture();
    OwnedPicture(const OwnedPicture &) = delete;
    OwnedPicture &operator=(const OwnedPicture &) = delete;

    // zntAllock with rows zeroed; false when memory is short.
    bool allocate(int type, int bitsPerComponent, int width, int height);
    // Gives the picture a zeroed 768-byte palette if it has none.
    bool allocatePalette();

    Picture &operator*() { return picture_; }
    Picture *operator->() { return &picture_; }
    Picture &get() { return picture_; }

    Picture release();

private:
    Picture picture_{};
};

// Allocates a picture of the source's size and kind (and bitsPerComponent)
// holding a copy of its pixels, palette and every descriptive field.
bool copyPicture(const Picture &source, OwnedPicture &copy);

// Copies colorModel, resolutionX and resolutionY, which every operation
// carries over unchanged.
void copyCarriedFields(const Picture &from, Picture &to);

// Hands the finished picture to the caller as the header describes.
void deliverPicture(Picture *source, Picture *output, OwnedPicture &result);

// A work buffer of `count` zeroed elements, or nullptr when memory is short.
template <class T>
std::unique_ptr<T[]> workBuffer(size_t count);

// For tests of the out-of-memory paths: after `count` more successful
// allocations (pictures and work buffers alike) every further one fails;
// a negative count restores normal allocation.
void failAllocationsAfter(int count);

// Internal: consumes one allocation from the budget set above.
bool allocationAllowed();

template <class T>
std::unique_ptr<T[]> workBuffer(size_t count) {
    if (!allocationAllowed()) return nullptr;
    return std::unique_ptr<T[]>(new (std::nothrow) T[count == 0 ? 1 : count]());
}

}  // namespace quivel
