// Photo CD image packs. The file is a run of 2048-byte sectors: the image
// pack information ("PCD_IPI" at byte 2048, the picture's rotation in the
// low two bits of byte 0xE02), then three uncompressed pictures at fixed
// sectors: Base/16 (192 x 128) at sector 4, Base/4 (384 x 256) at sector
// 23 and Base (768 x 512) at sector 96. Each is stored landscape in rows of
// PhotoYCC: for every two rows of the picture, the two luma rows, then one
// row of each chroma channel (C1, then C2) at half the width; chroma
// serves the 2 x 2 pixels it covers.
//
// The caller chooses the size in pcdBase (0 Base/16, 1 Base/4, 2 Base). The
// larger sizes (3 and 4) are built from Huffman-coded residuals in the
// extension, which we do not decode: they load as Base. The rotation turns
// the stored picture a quarter turn counter-clockwise per step, so that
// portrait pictures stand upright; file information reports Base as it
// will be shown.
#include "../format.h"
#include "../pixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr size_t kSectorBytes = 2048;
constexpr size_t kSignatureAt = kSectorBytes;
constexpr size_t kRotationAt = 0xe02;

struct Resolution {
    uint32_t width, height;
    size_t sector;
};
constexpr Resolution kResolutions[3] = {{192, 128, 4}, {384, 256, 23}, {768, 512, 96}};

bool sniffPcd(Bytes head) {
    return head.size() >= kSignatureAt + 7 && std::memcmp(head.data() + kSignatureAt, "PCD_IPI", 7) == 0;
}

int rotationOf(Bytes bytes) { return bytes.size() > kRotationAt ? bytes[kRotationAt] & 3 : 0; }

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    if (!sniffPcd(source.bytes)) {
        header.message = "Not a Photo CD image pack";
        return ZNT_BAD_FILE;
    }
    const bool portrait = rotationOf(source.bytes) & 1;
    header.images.push_back(ZntSubImage{ZNT_CM_YCBCR, portrait ? 512u : 768u, portrait ? 768u : 512u, 8});
    header.compressionName = "None";
    return ZNT_OK;
}

// PhotoYCC to RGB in 1/1024 steps, and a clamp by table: luma is scaled by
// 1.3584, C1 (less 156) by 2.2179 and C2 (less 137) by 1.8215; red is luma
// plus C2, blue luma plus C1, green luma less 0.194 C1 and 0.509 C2.
struct PhotoYcc {
    std::array<int32_t, 256> luma{}, redC2{}, greenC1{}, greenC2{}, blueC1{};
    std::array<uint8_t, 1536> clamp{};   // index: value + 512
    PhotoYcc() {
        for (int i = 0; i < 256; ++i) {
            const double c1 = 2.2179 * (i - 156), c2 = 1.8215 * (i - 137);
            luma[size_t(i)] = int32_t(std::lround(1.3584 * i * 1024)) + 512;
            redC2[size_t(i)] = int32_t(std::lround(c2 * 1024));
            greenC1[size_t(i)] = int32_t(std::lround(-0.194 * c1 * 1024));
            greenC2[size_t(i)] = int32_t(std::lround(-0.509 * c2 * 1024));
            blueC1[size_t(i)] = int32_t(std::lround(c1 * 1024));
        }
        for (int i = 0; i < 1536; ++i) clamp[size_t(i)] = uint8_t(std::clamp(i - 512, 0, 255));
    }
};

// Turns the landscape picture `in` (w x h RGB) by `rotation` quarter turns
// counter-clockwise into `out`.
void rotate(const Picture &in, int rotation, Picture &out) {
    const uint32_t w = in.width, h = uint32_t(in.height);
    for (uint32_t y = 0; y < h; ++y) {
        const uint8_t *s = in.data + size_t(y) * in.bytesPerLine;
        for (uint32_t x = 0; x < w; ++x, s += 3) {
            uint32_t ox, oy;
            if (rotation == 1) {
                ox = y, oy = w - 1 - x;
            } else if (rotation == 2) {
                ox = w - 1 - x, oy = h - 1 - y;
            } else {
                ox = h - 1 - y, oy = x;
            }
            std::memcpy(out.data + size_t(oy) * out.bytesPerLine + size_t(ox) * 3, s, 3);
        }
    }
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    if (!sniffPcd(source.bytes)) {
        message = "Not a Photo CD image pack";
        return ZNT_BAD_FILE;
    }
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    const Resolution &r = kResolutions[std::min<int>(request.options().pcdBase, 2)];
    const Bytes bytes = source.bytes;
    const size_t start = r.sector * kSectorBytes;
    const size_t pairBytes = size_t(r.width) * 3;   // two luma rows and two half chroma rows
    const size_t available = bytes.size() > start ? bytes.size() - start : 0;
    const uint32_t pairs = uint32_t(std::min<size_t>(r.height / 2, available / pairBytes));
    if (pairs < r.height / 2 && (!request.ignoreErrors() || pairs == 0)) return ZNT_CANT_READ;

    const int rotation = rotationOf(bytes);
    OwnedPicture landscape;
    OwnedPicture &target = rotation == 0 ? out : landscape;
    if (!target.allocate(ZNT_RGB, 8, r.width, r.height)) return ZNT_NO_MEMORY;

    static const PhotoYcc t;
    const uint8_t *clamp = t.clamp.data() + 512;
    Progress progress(request, int(r.height));
    for (uint32_t pair = 0; pair < pairs; ++pair) {
        const uint8_t *p = bytes.data() + start + pair * pairBytes;
        const uint8_t *c1 = p + 2 * r.width, *c2 = c1 + r.width / 2;
        for (uint32_t k = 0; k < 2; ++k) {
            const uint8_t *luma = p + k * r.width;
            uint8_t *row = target.row(2 * pair + k);
            for (uint32_t x = 0; x < r.width; ++x, row += 3) {
                const int32_t l = t.luma[luma[x]];
                const uint8_t a = c1[x / 2], b = c2[x / 2];
                row[0] = clamp[(l + t.redC2[b]) >> 10];
                row[1] = clamp[(l + t.greenC1[a] + t.greenC2[b]) >> 10];
                row[2] = clamp[(l + t.blueC1[a]) >> 10];
            }
        }
        if (progress.row(int(2 * pair + 1))) return ZNT_STOPPED;
    }
    if (rotation != 0) {
        const bool quarter = rotation & 1;
        if (!out.allocate(ZNT_RGB, 8, quarter ? r.height : r.width, quarter ? r.width : r.height)) return ZNT_NO_MEMORY;
        rotate(landscape.get(), rotation, out.get());
    }
    out.get().colorModel = ZNT_CM_YCBCR;
    return ZNT_OK;
}

}  // namespace

const Format kPcdFormat = {
    "pcd", "Photo CD", "pcd", "PCD", Signature::exact, sniffPcd,
    readHeader, readPixels, nullptr, nullptr, nullptr,
};

}  // namespace zentar
