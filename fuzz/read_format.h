// The body shared by the reader fuzz targets: header, then pixels of one
// page, with errors ignored or not, under a pixel cap so that a hostile
// size is refused quickly; every output byte is read so that the sanitizers
// see uninitialised or out-of-bounds results.
#pragma once

#include "format.h"

#include <cstdint>
#include <cstring>

namespace fuzzing {

// `params`: read options for the formats that take them, or null.
inline int readWith(const zentar::Format &format, const uint8_t *data, size_t size,
                    const FormatParams *params = nullptr) {
    const zentar::Source source{zentar::Bytes(data, size), "fuzz"};
    zentar::Header header;
    format.readHeader(source, 0, header);

    zentar::LoadRequest request;
    request.params = params;
    request.maxPixels = 1u << 22;
    request.flags = size > 0 && (data[size - 1] & 1) ? ZNT_LOAD_IGNORE_ERRORS : 0;
    request.page = size > 1 && (data[size - 2] & 3) == 3 ? 1 : 0;
    if (size > 2 && (data[size - 3] & 7) == 7) {
        request.flags |= ZNT_LOAD_REDUCED;
        request.reducedWidth = request.reducedHeight = 16;
    }
    Picture picture{};
    std::string message;
    if (zentar::loadFromBytes(format, source, request, picture, message) == ZNT_OK) {
        volatile uint8_t sink = 0;
        uint8_t sum = 0;
        for (int32_t y = 0; y < picture.height; ++y) {
            const uint8_t *row = picture.data + size_t(y) * picture.bytesPerLine;
            for (uint32_t i = 0; i < picture.bytesPerLine; ++i) sum = uint8_t(sum + row[i]);
        }
        if (picture.palette != nullptr)
            for (int i = 0; i < 768; ++i) sum = uint8_t(sum + picture.palette[i]);
        sink = sum;
        (void)sink;
        zntFree(&picture);
    }
    return 0;
}

// Read options from the input's first eight bytes, for the formats whose
// files do not describe themselves: raw and YUV geometry (width, height,
// offset, channel type and order), the Photo CD size, the GROB grey levels
// and the film table. Values out of range are kept: they must be refused.
inline FormatParams optionsFrom(const uint8_t *data, size_t size) {
    FormatParams p;
    zntDefaultParams(&p);
    uint8_t b[8] = {};
    std::memcpy(b, data, size < 8 ? size : 8);
    p.loadValues[0] = b[0] | b[1] << 8;
    p.loadValues[1] = b[2] | b[3] << 8;
    p.loadValues[2] = b[4];
    p.rawChannelType = uint8_t(b[5] % 8);
    p.rawChannelOrder = uint8_t(b[6] % 4);
    p.pcdBase = p.grobGreyLevels = uint8_t(b[7] % 6);
    p.useLut = b[7] & 1;
    return p;
}

}  // namespace fuzzing
