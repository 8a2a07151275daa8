// Planar YUV 4:2:0 frames as video tools write them: the luma plane, then
// the blue and the red chroma planes at half the width and half the height
// (rounded up). No header and no signature: the suffix ("yuv") selects the
// format and the caller gives width, height and starting offset in
// loadValues. A geometry that needs more bytes than the file holds is
// refused; the first frame is read and the rest of the file ignored. File
// information has no read options and describes a file by the default
// geometry (256 x 256 from the start), or as 0 x 0 when the file is too
// small for it, so that a load given the real geometry is not refused.
//
// Samples are in video range (luma 16-235, chroma 16-240 around 128) and
// turned into RGB with the ITU-R BT.601 matrix; each chroma sample serves
// the 2 x 2 pixels above it.
#include "../format.h"
#include "../pixels.h"

#include <algorithm>
#include <array>
#include <string>

namespace zentar {

namespace {

constexpr int64_t kMaxSidePx = 1 << 20;

struct YuvGeometry {
    uint32_t width = 0, height = 0, chromaWidth = 0, chromaHeight = 0;
    uint64_t offset = 0;
};

OpStatus geometryOf(const FormatParams &p, uint64_t fileSize, YuvGeometry &g, std::string &message) {
    const int64_t width = p.loadValues[0], height = p.loadValues[1], offset = p.loadValues[2];
    if (width < 1 || height < 1 || width > kMaxSidePx || height > kMaxSidePx || offset < 0) {
        message = "Bad YUV frame size " + std::to_string(width) + "x" + std::to_string(height) + " or offset " +
                  std::to_string(offset);
        return ZNT_BAD_FILE;
    }
    g.width = uint32_t(width), g.height = uint32_t(height), g.offset = uint64_t(offset);
    g.chromaWidth = (g.width + 1) / 2, g.chromaHeight = (g.height + 1) / 2;
    const uint64_t needed = g.offset + uint64_t(g.width) * g.height + 2 * uint64_t(g.chromaWidth) * g.chromaHeight;
    if (needed > fileSize) {
        message = "A YUV frame of " + std::to_string(g.width) + "x" + std::to_string(g.height) + " from offset " +
                  std::to_string(g.offset) + " needs " + std::to_string(needed) + " bytes; the file holds " +
                  std::to_string(fileSize);
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    YuvGeometry g;
    std::string unused;
    if (geometryOf(LoadRequest{}.options(), source.bytes.size(), g, unused) != ZNT_OK) g.width = g.height = 0;
    header.images.push_back(ZntSubImage{ZNT_CM_YCBCR, g.width, g.height, 8});
    header.compressionName = "None";
    return ZNT_OK;
}

// The BT.601 terms in 1/256 steps, and a clamp by table for their sums.
struct Bt601 {
    std::array<int32_t, 256> luma{}, redV{}, greenU{}, greenV{}, blueU{};
    std::array<uint8_t, 1024> clamp{};   // index: value + 384
    Bt601() {
        for (int i = 0; i < 256; ++i) {
            luma[size_t(i)] = 298 * (i - 16) + 128;
            redV[size_t(i)] = 409 * (i - 128);
            greenU[size_t(i)] = -100 * (i - 128);
            greenV[size_t(i)] = -208 * (i - 128);
            blueU[size_t(i)] = 516 * (i - 128);
        }
        for (int i = 0; i < 1024; ++i) clamp[size_t(i)] = uint8_t(std::clamp(i - 384, 0, 255));
    }
};

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    YuvGeometry g;
    if (const OpStatus s = geometryOf(request.options(), source.bytes.size(), g, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    if (request.tooLarge(g.width, g.height)) return ZNT_NO_MEMORY;
    if (!out.allocate(ZNT_RGB, 8, g.width, g.height)) return ZNT_NO_MEMORY;
    out.get().colorModel = ZNT_CM_YCBCR;

    static const Bt601 t;
    const uint8_t *lumaPlane = source.bytes.data() + g.offset;
    const uint8_t *uPlane = lumaPlane + size_t(g.width) * g.height;
    const uint8_t *vPlane = uPlane + size_t(g.chromaWidth) * g.chromaHeight;
    const uint8_t *clamp = t.clamp.data() + 384;
    Progress progress(request, int(g.height));
    for (uint32_t y = 0; y < g.height; ++y) {
        const uint8_t *ys = lumaPlane + size_t(y) * g.width;
        const uint8_t *us = uPlane + size_t(y / 2) * g.chromaWidth;
        const uint8_t *vs = vPlane + size_t(y / 2) * g.chromaWidth;
        uint8_t *row = out.row(y);
        for (uint32_t x = 0; x < g.width; ++x, row += 3) {
            const int32_t l = t.luma[ys[x]];
            const uint8_t u = us[x / 2], v = vs[x / 2];
            row[0] = clamp[(l + t.redV[v]) >> 8];
            row[1] = clamp[(l + t.greenU[u] + t.greenV[v]) >> 8];
            row[2] = clamp[(l + t.blueU[u]) >> 8];
        }
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    return ZNT_OK;
}

}  // namespace

const Format kYuvFormat = {
    "yuv", "YUV 4:2:0", "yuv", "YUV", Signature::none, nullptr,
    readHeader, readPixels, nullptr, nullptr, nullptr,
};

}  // namespace zentar
