// Digital Picture Exchange files of film scanners and compositing: a
// 2048-byte header (file, image, orientation, film and television parts) in
// either byte order, "SDPX" or "XPDS" first, then the samples of up to eight
// image elements.
//
// Read: the first element, luminance, RGB, RGBA or ABGR, of 8, 10, 12 or 16
// bits; 10 bits three to a 32-bit word (padding in the low or in the high
// two bits; the samples of a word from its high end, except in a luminance
// element, which fills words from the low end as other writers do), 12 bits
// in 16-bit words; rows mirrored or bottom to top as the orientation says. Samples of 10 bits and more become 8 bits through the
// film table when the caller asks for it (film.h), else they are scaled.
// Run-length encoded elements and samples packed end to end across words
// are refused.
//
// Written: one element, big-endian, luminance for grey pictures, RGB, or
// RGBA for pictures with a mask; 8 bits, or 10 bits three to a word with
// dpx10Bits (then through the linear-to-log table when useLut is set).
#include "../bytes.h"
#include "../film.h"
#include "../format.h"
#include "../pixels.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr uint32_t kMagic = 0x53445058;   // "SDPX"
constexpr uint32_t kHeaderBytes = 2048;
constexpr uint32_t kElementAt = 780;      // the first image element
constexpr uint32_t kMaxSidePx = 1u << 20;
constexpr uint32_t kUndefined = 0xffffffff;

enum Descriptor : uint8_t { kLuminance = 6, kRgb = 50, kRgba = 51, kAbgr = 52 };
enum Transfer : uint8_t { kPrintingDensity = 1, kLinear = 2 };

struct DpxHeader {
    bool bigEndian = true;
    uint32_t imageOffset = 0;
    uint16_t orientation = 0;
    uint32_t width = 0, height = 0;
    uint8_t descriptor = 0, bitSize = 0;
    uint16_t packing = 0, encoding = 0;
    uint32_t dataOffset = 0, eolPadding = 0;
    int components = 0;
    SampleLayout layout;
    std::string creator;
};

bool sniffDpx(Bytes head) {
    return head.size() >= 4 && (readBe32(head.data()) == kMagic || readLe32(head.data()) == kMagic);
}

int colorModelOf(const DpxHeader &h) {
    return h.components == 1 ? ZNT_CM_GREY : h.components == 3 ? ZNT_CM_RGB : ZNT_CM_RGBA;
}

OpStatus parseHeader(Bytes bytes, DpxHeader &h, std::string &message) {
    if (!sniffDpx(bytes)) {
        message = "Not a DPX file";
        return ZNT_BAD_FILE;
    }
    if (bytes.size() < kElementAt + 72) return ZNT_CANT_READ;
    h.bigEndian = readBe32(bytes.data()) == kMagic;
    const uint8_t *p = bytes.data();
    auto u16 = [&](size_t at) { return h.bigEndian ? readBe16(p + at) : readLe16(p + at); };
    auto u32 = [&](size_t at) { return h.bigEndian ? readBe32(p + at) : readLe32(p + at); };
    h.imageOffset = u32(4);
    h.orientation = u16(768);
    const uint16_t elements = u16(770);
    h.width = u32(772);
    h.height = u32(776);
    h.descriptor = p[kElementAt + 20];
    h.bitSize = p[kElementAt + 23];
    h.packing = u16(kElementAt + 24);
    h.encoding = u16(kElementAt + 26);
    h.dataOffset = u32(kElementAt + 28);
    h.eolPadding = u32(kElementAt + 32);
    const char *creator = reinterpret_cast<const char *>(p + 160);
    h.creator.assign(creator, strnlen(creator, 100));

    if (h.width == 0 || h.height == 0 || h.width > kMaxSidePx || h.height > kMaxSidePx) {
        message = "Bad DPX picture size";
        return ZNT_BAD_FILE;
    }
    if (elements == 0 || elements > 8) {
        message = "Bad DPX element count";
        return ZNT_BAD_FILE;
    }
    if (h.encoding != 0) {
        message = "Run-length encoded DPX is not supported";
        return ZNT_BAD_FILE;
    }
    switch (h.descriptor) {
    case kLuminance:
        h.components = 1;
        break;
    case kRgb:
        h.components = 3;
        break;
    case kRgba:
    case kAbgr:
        h.components = 4;
        break;
    default:
        message = "DPX element of descriptor " + std::to_string(h.descriptor) + " is not supported";
        return ZNT_BAD_FILE;
    }
    h.layout.bigEndian = h.bigEndian;
    h.layout.bits = h.bitSize;
    h.layout.highAligned = h.packing != 2;
    h.layout.firstLow = h.components == 1;
    const bool inWords = h.packing == 1 || h.packing == 2;
    if (h.bitSize == 8) {
        h.layout.kind = SampleLayout::bytes;
    } else if (h.bitSize == 10 && inWords) {
        h.layout.kind = SampleLayout::filled;
    } else if ((h.bitSize == 12 && inWords) || h.bitSize == 16) {
        h.layout.kind = SampleLayout::words;
    } else if (h.bitSize == 10 || h.bitSize == 12) {
        message = "DPX samples of " + std::to_string(h.bitSize) + " bits packed end to end are not supported";
        return ZNT_BAD_FILE;
    } else {
        message = "DPX samples of " + std::to_string(h.bitSize) + " bits are not supported";
        return ZNT_BAD_FILE;
    }
    if (h.dataOffset == 0 || h.dataOffset == kUndefined) h.dataOffset = h.imageOffset;
    if (h.eolPadding == kUndefined) h.eolPadding = 0;
    return ZNT_OK;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    DpxHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, header.message); s != ZNT_OK) return s;
    header.images.push_back(ZntSubImage{uint16_t(colorModelOf(h)), h.width, h.height, h.bitSize});
    header.compressionName = "None";
    header.comment = h.creator;
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    DpxHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    FilmRaster raster;
    raster.layout = h.layout;
    raster.offset = h.dataOffset;
    raster.width = h.width;
    raster.height = h.height;
    raster.channels = uint32_t(h.components);
    raster.stride = rowBytes(h.layout, uint64_t(raster.width) * raster.channels) + h.eolPadding;
    // Orientations 1 to 3 mirror the rows, turn them upside down, or both;
    // the transposed ones (4 to 7) load as stored.
    raster.mirrored = h.orientation == 1 || h.orientation == 3;
    raster.upsideDown = h.orientation == 2 || h.orientation == 3;
    raster.reversed = h.descriptor == kAbgr;
    return readFilmRaster(source.bytes, raster, request, out, message);
}

const ZntSaveKind kDpxSaveKinds[] = {
    {ZNT_CM_GREY, 8, 0, 0}, {ZNT_CM_RGB, 24, 0, 0}, {ZNT_CM_RGBA, 32, 0, 0}, {-1, 0, 0, 0}};

OpStatus writeDpx(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t width = pic.width, height = uint32_t(pic.height);
    const bool grey = pic.type == ZNT_GREY || pic.type == ZNT_BINARY;
    const bool alpha = hasMask(pic.type);
    const uint32_t components = grey ? 1 : alpha ? 4 : 3;
    const bool tenBits = params.dpx10Bits != 0;
    LinearToLog toLog{};
    std::string message;
    if (tenBits) {
        if (const OpStatus s = linearToLogTable(params, toLog, message); s != ZNT_OK) return s;
    }
    SampleLayout layout;
    layout.kind = tenBits ? SampleLayout::filled : SampleLayout::bytes;
    layout.bits = tenBits ? 10 : 8;
    const uint32_t samples = width * components;
    const uint64_t stride = rowBytes(layout, samples);
    const uint64_t fileSize = kHeaderBytes + stride * height;

    uint8_t h[kHeaderBytes] = {};
    writeBe32(h, kMagic);
    writeBe32(h + 4, kHeaderBytes);
    std::memcpy(h + 8, "V2.0", 4);
    writeBe32(h + 16, fileSize > 0xffffffffu ? kUndefined : uint32_t(fileSize));
    writeBe32(h + 20, 1);      // new picture, not a copy of the previous header
    writeBe32(h + 24, 1664);   // generic header: file, image and orientation parts
    writeBe32(h + 28, 384);    // industry header: film and television parts
    std::memcpy(h + 160, "libzentar", 9);
    writeBe32(h + 660, kUndefined);   // not encrypted
    writeBe16(h + 770, 1);
    writeBe32(h + 772, width);
    writeBe32(h + 776, height);
    // Elements two to eight are undefined.
    std::memset(h + kElementAt + 72, 0xff, 7 * 72);
    uint8_t *e = h + kElementAt;
    writeBe32(e + 12, tenBits ? 1023 : 255);
    writeBe32(e + 8, kUndefined);
    writeBe32(e + 16, kUndefined);
    e[20] = grey ? kLuminance : alpha ? kRgba : kRgb;
    e[21] = e[22] = tenBits && params.useLut ? kPrintingDensity : kLinear;
    e[23] = uint8_t(layout.bits);
    writeBe16(e + 24, tenBits ? 1 : 0);
    writeBe32(e + 28, kHeaderBytes);
    // Orientation part: offsets and centres undefined, square pixels.
    std::memset(h + 1408, 0xff, 24);
    writeBe32(h + 1628, 1);
    writeBe32(h + 1632, 1);

    FileWriter out(file);
    out.bytes(h, sizeof h);
    std::vector<uint8_t> line(samples), packed(stride, 0);
    for (uint32_t y = 0; y < height; ++y) {
        rowToChannels(pic, y, int(components), line.data());
        if (tenBits) {
            packFilled10(line.data(), samples, toLog, components == 1, packed.data());
        } else {
            std::memcpy(packed.data(), line.data(), samples);
        }
        out.bytes(packed.data(), stride);
        reportSaveProgress(params, int(y), int(height));
    }
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kDpxFormat = {
    "dpx", "Digital Picture Exchange", "dpx", "DPX", Signature::exact, sniffDpx,
    readHeader, readPixels, kDpxSaveKinds, writeDpx, nullptr,
};

}  // namespace zentar
