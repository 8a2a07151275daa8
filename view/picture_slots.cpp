#include "view/picture_slots.h"

#include <utility>

#include "imageops/color_reduction.h"
#include "imageops/geometry.h"

namespace quivel {

namespace {

void release(Picture &picture) {
    if (picture.data != nullptr || picture.palette != nullptr) zntFree(&picture);
    picture = Picture{};
}

}  // namespace

bool hasPixels(const Picture &picture) { return picture.data != nullptr && picture.width > 0 && picture.height > 0; }

OpStatus applyToSlots(PictureSlots &slots, const SlotOperation &operation, bool keepUndo) {
    if (!hasPixels(slots.current)) return ZNT_BAD_ARGUMENT;
    Picture result{};
    const OpStatus status = operation(&slots.current, &result);
    if (status != ZNT_OK) return status;
    release(slots.undo);
    if (keepUndo)
        slots.undo = slots.current;
    else
        release(slots.current);
    slots.current = result;
    return ZNT_OK;
}

bool undoSlots(PictureSlots &slots) {
    if (!hasPixels(slots.undo)) return false;
    std::swap(slots.current, slots.undo);
    return true;
}

void replaceCurrent(PictureSlots &slots, const Picture &picture) {
    release(slots.undo);
    release(slots.current);
    slots.current = picture;
}

void releaseSlots(PictureSlots &slots) {
    release(slots.undo);
    release(slots.current);
}

OpStatus convertPictureKind(Picture *source, Picture *output, int mode, int dither) {
    return convertPicture(source, output, mode, dither);
}

int countPictureColors(const Picture &picture) { return countColorsUsed(&picture, -1); }

OpStatus runPictureOperation(int number, Picture *source, Picture *output, const PictureRect *selection) {
    switch (number) {
    case kOpFlipVertical: return flipVertical(source, output, selection);
    case kOpFlipHorizontal: return flipHorizontal(source, output, selection);
    case kOpRotateRight: return rotatePicture(source, output, 90, 0);
    case kOpRotateLeft: return rotatePicture(source, output, -90, 0);
    case kOpRotate180: return rotatePicture(source, output, 180, 0);
    default: return ZNT_BAD_ARGUMENT;
    }
}

}  // namespace quivel
