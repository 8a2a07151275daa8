#include "imageops/pixel_rows.h"

namespace quivel {

RowReader::RowReader(const Picture &picture) : picture_(picture), order_(channelOrderOf(picture.type)) {
    if (picture.type == ZNT_PALETTE) {
        for (int i = 0; i < 256; ++i) {
            red_[i] = picture.palette[i];
            green_[i] = picture.palette[256 + i];
            blue_[i] = picture.palette[512 + i];
        }
    } else if (picture.type == ZNT_GREY) {
        greyIntensityTable(picture.numberOfColors, red_);
        for (int i = 0; i < 256; ++i) green_[i] = blue_[i] = red_[i];
    } else if (picture.type == ZNT_BINARY) {
        red_[1] = green_[1] = blue_[1] = 255;
    }
    for (int i = 0; i < 256; ++i) luminance_[i] = uint8_t(quivel::luminance(red_[i], green_[i], blue_[i]));
}

void RowReader::luminance(const uint8_t *row, uint8_t *out, bool firstThreeBytes) const {
    const int width = int(picture_.width);
    if (picture_.type == ZNT_BINARY) {
        for (int x = 0; x < width; ++x) out[x] = (row[x >> 3] >> (7 - (x & 7))) & 1 ? 255 : 0;
        return;
    }
    if (picture_.bytesPerPixel == 1) {
        for (int x = 0; x < width; ++x) out[x] = luminance_[row[x]];
        return;
    }
    const int step = picture_.bytesPerPixel;
    const int r = firstThreeBytes ? 0 : order_.red;
    const int g = firstThreeBytes ? 1 : order_.green;
    const int b = firstThreeBytes ? 2 : order_.blue;
    for (int x = 0; x < width; ++x, row += step)
        out[x] = uint8_t((77 * row[r] + 150 * row[g] + 29 * row[b]) >> 8);
}

const uint8_t *RowReader::rgb(const uint8_t *row, uint8_t *scratch) const {
    const int width = int(picture_.width);
    if (picture_.type == ZNT_RGB) return row;
    uint8_t *out = scratch;
    if (picture_.type == ZNT_BINARY) {
        for (int x = 0; x < width; ++x, out += 3) {
            const uint8_t v = (row[x >> 3] >> (7 - (x & 7))) & 1 ? 255 : 0;
            out[0] = out[1] = out[2] = v;
        }
    } else if (picture_.bytesPerPixel == 1) {
        for (int x = 0; x < width; ++x, out += 3) {
            const uint8_t i = row[x];
            out[0] = red_[i];
            out[1] = green_[i];
            out[2] = blue_[i];
        }
    } else {
        const int step = picture_.bytesPerPixel;
        const int r = order_.red, g = order_.green, b = order_.blue;
        for (int x = 0; x < width; ++x, row += step, out += 3) {
            out[0] = row[r];
            out[1] = row[g];
            out[2] = row[b];
        }
    }
    return scratch;
}

}  // namespace quivel
