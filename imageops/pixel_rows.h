// Reading one row of any picture kind as luminance or as R, G, B triplets,
// so that the operations need one inner loop per target rather than one per
// source kind. The kind is decided once per row, never per pixel.
#pragma once

#include <cstdint>

#include "imageops/op_support.h"

namespace quivel {

class RowReader {
public:
    // The picture must be usable (pictureIsUsable) and outlive the reader.
    explicit RowReader(const Picture &picture);

    // Luminance (77 R + 150 G + 29 B) >> 8 of each pixel of `row` into `out`
    // (width bytes): a palette pixel's entry, a grey pixel's intensity, a
    // binary pixel 0 or 255. With firstThreeBytes a true-colour pixel's bytes
    // 0, 1, 2 are weighed as R, G, B whatever its channel order.
    void luminance(const uint8_t *row, uint8_t *out, bool firstThreeBytes = false) const;

    // R, G, B triplets of `row`: the row itself for a type-16 picture,
    // otherwise `scratch` (3 x width bytes) filled and returned.
    const uint8_t *rgb(const uint8_t *row, uint8_t *scratch) const;

    // The colour of each palette entry or grey level, as R, G, B planes
    // (grey levels give their intensity in all three).
    const uint8_t *red() const { return red_; }
    const uint8_t *green() const { return green_; }
    const uint8_t *blue() const { return blue_; }

private:
    const Picture &picture_;
    ChannelOrder order_;
    uint8_t red_[256] = {}, green_[256] = {}, blue_[256] = {};
    uint8_t luminance_[256] = {};   // of each palette entry or grey level
};

}  // namespace quivel
