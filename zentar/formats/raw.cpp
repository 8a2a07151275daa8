// Raw samples: no header, no signature. Files are recognised by their
// suffix ("raw") and their geometry comes from the caller: width, height
// and starting offset in loadValues, the channels in rawChannelType (0 grey,
// 1 RGB, 2 BGR, 3 RGBA, 4 ABGR, 5 CMY, 6 CMYK; one byte each) and their
// order in rawChannelOrder:
//   0 interleaved  the channels of each pixel together (RGBRGB...)
//   1 sequential   one whole plane per channel (all red, then all green ...)
//   2 separate     each row's channels one after the other (a row of red,
//                  the same row of green, ...)
// A geometry that needs more bytes than the file holds past the offset is
// refused with a message; bytes after the picture are ignored. File
// information has no read options and describes a file by the default
// geometry (256 x 256 RGB, interleaved, from the start), or as 0 x 0 when the
// file is too small for it: the information must not refuse a file that the
// load, given its real geometry, reads.
//
// Saving writes saveOffset zero bytes, then the picture in the channels of
// saveChannelType and the order of saveChannelOrder: grey is the luminance,
// a picture without a mask gets an opaque alpha, CMYK takes the most black
// it can.
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

enum ChannelType { kGrey, kRgb, kBgr, kRgba, kAbgr, kCmy, kCmyk, kTypeCount };
enum ChannelOrder { kInterleaved, kSequential, kSeparate, kOrderCount };

const char *const kTypeNames[kTypeCount] = {"grey", "RGB", "BGR", "RGBA", "ABGR", "CMY", "CMYK"};
const uint32_t kChannels[kTypeCount] = {1, 3, 3, 4, 4, 3, 4};
constexpr int64_t kMaxSidePx = 1 << 20;

struct RawGeometry {
    uint32_t width = 0, height = 0;
    uint64_t offset = 0;
    int type = kRgb, order = kInterleaved;
    uint32_t channels = 3;
};

OpStatus geometryOf(const FormatParams &p, uint64_t fileSize, RawGeometry &g, std::string &message) {
    const int64_t width = p.loadValues[0], height = p.loadValues[1], offset = p.loadValues[2];
    if (width < 1 || height < 1 || width > kMaxSidePx || height > kMaxSidePx) {
        message = "Bad raw picture size " + std::to_string(width) + "x" + std::to_string(height);
        return ZNT_BAD_FILE;
    }
    if (offset < 0) {
        message = "Bad raw starting offset " + std::to_string(offset);
        return ZNT_BAD_FILE;
    }
    if (p.rawChannelType >= kTypeCount || p.rawChannelOrder >= kOrderCount) {
        message = "Unknown raw channel type or order";
        return ZNT_BAD_FILE;
    }
    g.width = uint32_t(width), g.height = uint32_t(height), g.offset = uint64_t(offset);
    g.type = p.rawChannelType, g.order = p.rawChannelOrder;
    g.channels = kChannels[g.type];
    const uint64_t needed = g.offset + uint64_t(g.width) * g.height * g.channels;
    if (needed > fileSize) {
        message = "A raw picture of " + std::to_string(g.width) + "x" + std::to_string(g.height) + " " +
                  kTypeNames[g.type] + " from offset " + std::to_string(g.offset) + " needs " +
                  std::to_string(needed) + " bytes; the file holds " + std::to_string(fileSize);
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

int colorModelOf(int type) {
    switch (type) {
    case kGrey:
        return ZNT_CM_GREY;
    case kRgba:
    case kAbgr:
        return ZNT_CM_RGBA;
    case kCmyk:
        return ZNT_CM_CMYK;
    default:
        return ZNT_CM_RGB;
    }
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    RawGeometry g;
    std::string unused;
    if (geometryOf(LoadRequest{}.options(), source.bytes.size(), g, unused) != ZNT_OK) g.width = g.height = 0;
    header.images.push_back(ZntSubImage{uint16_t(colorModelOf(g.type)), g.width, g.height, 8});
    header.compressionName = "None";
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    RawGeometry g;
    if (const OpStatus s = geometryOf(request.options(), source.bytes.size(), g, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    if (request.tooLarge(g.width, g.height)) return ZNT_NO_MEMORY;
    const int type = g.type == kGrey ? ZNT_GREY : g.channels == 4 && g.type != kCmyk ? ZNT_RGBA : ZNT_RGB;
    if (!out.allocate(type, 8, g.width, g.height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOf(g.type));
    if (type == ZNT_GREY) pic.numberOfColors = 256;

    const uint8_t *base = source.bytes.data() + g.offset;
    const uint32_t w = g.width, n = g.channels;
    const size_t plane = size_t(w) * g.height;
    std::vector<uint8_t> line(size_t(w) * n);
    Progress progress(request, int(g.height));
    for (uint32_t y = 0; y < g.height; ++y) {
        // Gather the row's channels pixel by pixel.
        const uint8_t *s = line.data();
        if (g.order == kInterleaved || n == 1) {
            s = base + size_t(y) * w * n;
        } else {
            for (uint32_t c = 0; c < n; ++c) {
                const uint8_t *in = g.order == kSequential ? base + c * plane + size_t(y) * w : base + (size_t(y) * n + c) * w;
                for (uint32_t x = 0; x < w; ++x) line[size_t(x) * n + c] = in[x];
            }
        }
        uint8_t *row = out.row(y);
        switch (g.type) {
        case kGrey:
        case kRgb:
        case kRgba:
            std::memcpy(row, s, size_t(w) * n);
            break;
        case kBgr:
            for (uint32_t x = 0; x < w; ++x, s += 3, row += 3) row[0] = s[2], row[1] = s[1], row[2] = s[0];
            break;
        case kAbgr:
            for (uint32_t x = 0; x < w; ++x, s += 4, row += 4) row[0] = s[3], row[1] = s[2], row[2] = s[1], row[3] = s[0];
            break;
        case kCmy:
            for (uint32_t i = 0; i < w * 3; ++i) row[i] = uint8_t(255 - s[i]);
            break;
        case kCmyk:
            for (uint32_t x = 0; x < w; ++x, s += 4, row += 3) {
                const uint32_t white = 255u - s[3];
                row[0] = uint8_t(((255u - s[0]) * white + 127) / 255);
                row[1] = uint8_t(((255u - s[1]) * white + 127) / 255);
                row[2] = uint8_t(((255u - s[2]) * white + 127) / 255);
            }
            break;
        }
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    return ZNT_OK;
}

const ZntSaveKind kRawSaveKinds[] = {
    {ZNT_CM_GREY, 8, 0, 0}, {ZNT_CM_RGB, 24, 0, 0}, {ZNT_CM_RGBA, 32, 0, 0}, {-1, 0, 0, 0}};

// One picture row in the channels of `type`, pixel-interleaved.
void rowInChannels(const Picture &pic, uint32_t y, int type, std::vector<uint8_t> &rgba, uint8_t *out) {
    rowToRgba(pic, y, rgba.data());
    const uint8_t *p = rgba.data();
    const uint32_t w = pic.width;
    switch (type) {
    case kGrey:
        for (uint32_t x = 0; x < w; ++x, p += 4) out[x] = uint8_t((77 * p[0] + 150 * p[1] + 29 * p[2]) >> 8);
        break;
    case kRgb:
        for (uint32_t x = 0; x < w; ++x, p += 4, out += 3) out[0] = p[0], out[1] = p[1], out[2] = p[2];
        break;
    case kBgr:
        for (uint32_t x = 0; x < w; ++x, p += 4, out += 3) out[0] = p[2], out[1] = p[1], out[2] = p[0];
        break;
    case kRgba:
        std::memcpy(out, p, size_t(w) * 4);
        break;
    case kAbgr:
        for (uint32_t x = 0; x < w; ++x, p += 4, out += 4) out[0] = p[3], out[1] = p[2], out[2] = p[1], out[3] = p[0];
        break;
    case kCmy:
        for (uint32_t x = 0; x < w; ++x, p += 4, out += 3)
            out[0] = uint8_t(255 - p[0]), out[1] = uint8_t(255 - p[1]), out[2] = uint8_t(255 - p[2]);
        break;
    case kCmyk:
        for (uint32_t x = 0; x < w; ++x, p += 4, out += 4) {
            const uint32_t white = std::max({p[0], p[1], p[2]});
            out[3] = uint8_t(255 - white);
            if (white == 0) {
                out[0] = out[1] = out[2] = 0;
                continue;
            }
            for (int c = 0; c < 3; ++c) out[c] = uint8_t(((white - p[c]) * 255 + white / 2) / white);
        }
        break;
    }
}

OpStatus writeRaw(FILE *file, const Picture &pic, const FormatParams &params) {
    if (params.saveChannelType >= kTypeCount || params.saveChannelOrder >= kOrderCount) return ZNT_BAD_ARGUMENT;
    const int type = params.saveChannelType, order = params.saveChannelOrder;
    const uint32_t w = pic.width, height = uint32_t(pic.height), n = kChannels[type];
    FileWriter out(file);
    static const uint8_t kZeros[4096] = {};
    for (int64_t left = std::max<int32_t>(params.saveOffset, 0); left > 0; left -= int64_t(sizeof kZeros))
        out.bytes(kZeros, size_t(std::min<int64_t>(left, int64_t(sizeof kZeros))));

    std::vector<uint8_t> rgba(size_t(w) * 4), line(size_t(w) * n), channel(w);
    auto writeChannel = [&](uint32_t c) {
        for (uint32_t x = 0; x < w; ++x) channel[x] = line[size_t(x) * n + c];
        out.bytes(channel.data(), w);
    };
    if (order == kSequential && n > 1) {
        for (uint32_t c = 0; c < n; ++c) {
            for (uint32_t y = 0; y < height; ++y) {
                rowInChannels(pic, y, type, rgba, line.data());
                writeChannel(c);
            }
            reportSaveProgress(params, int(c), int(n));
        }
    } else {
        for (uint32_t y = 0; y < height; ++y) {
            rowInChannels(pic, y, type, rgba, line.data());
            if (order == kSeparate) {
                for (uint32_t c = 0; c < n; ++c) writeChannel(c);
            } else {
                out.bytes(line.data(), line.size());
            }
            reportSaveProgress(params, int(y), int(height));
        }
    }
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kRawFormat = {
    "raw", "Raw samples", "raw", "RAW", Signature::none, nullptr,
    readHeader, readPixels, kRawSaveKinds, writeRaw, nullptr,
};

}  // namespace zentar
