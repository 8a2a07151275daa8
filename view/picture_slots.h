// A view's two pictures, the current one and the undo one, and the one way
// every picture-changing command goes through them.
//
// The slots own their buffers (released with zntFree). A command runs its
// operation with the current picture as source into a fresh picture; only
// when that succeeds does the old undo picture go, the current one move into
// the undo slot and the result become current. A failed operation leaves
// both slots as they were. Undo is one level deep and its own inverse.
#pragma once

#include <functional>

#include "imageops/op_support.h"
#include "zentar.h"

namespace quivel {

struct PictureSlots {
    Picture current{};
    Picture undo{};
};

bool hasPixels(const Picture &picture);

// An operation from a source into an empty output record.
using SlotOperation = std::function<OpStatus(Picture *source, Picture *output)>;

// Runs `operation` on the current picture. With `keepUndo` the current
// picture becomes the undo one; without, it is released (and so is any undo
// picture). Returns the operation's status; 16 when there is no current
// picture.
OpStatus applyToSlots(PictureSlots &slots, const SlotOperation &operation, bool keepUndo);

// Exchanges the two pictures; false (nothing done) when the undo slot is empty.
bool undoSlots(PictureSlots &slots);

// Replaces the current picture with `picture` (taken over), releasing the
// undo picture; for loads, which start a new history.
void replaceCurrent(PictureSlots &slots, const Picture &picture);

void releaseSlots(PictureSlots &slots);

// Operation numbers of the picture-operation dispatcher.
enum PictureOperationNumber {
    kOpFlipVertical = 13,     // top to bottom
    kOpFlipHorizontal = 14,   // left to right
    kOpRotateRight = 15,      // 90 degrees clockwise
    kOpRotateLeft = 16,       // 90 degrees counter-clockwise
    kOpRotate180 = 17,
};

// The colour conversion of a menu entry (mode and dither as the colour
// reduction takes them) and the colour count, reached through here so that
// window code, which needs the display's colour contexts, does not also
// include the colour reduction's names.
OpStatus convertPictureKind(Picture *source, Picture *output, int mode, int dither);
int countPictureColors(const Picture &picture);

// Runs operation `number` from `source` into `output`; the flips work within
// `selection` when one is given. 16 for an unknown number.
OpStatus runPictureOperation(int number, Picture *source, Picture *output, const PictureRect *selection);

}  // namespace quivel
