// Cineon film scans: a 1024-byte generic header (file, image, data format
// and origination parts) and a film header, in either byte order, then the
// samples, normally 10-bit printing densities three to a 32-bit word.
//
// Read: one channel (grey) or three (red, green, blue) of the same size
// and depth, pixel-interleaved; 8 bits, 10 bits three to a word (left or
// right justified; the samples of a word from its high end, except with one
// channel, which fills words from the low end like a DPX luminance
// element), 12 bits in 16-bit words, or 16 bits; rows flipped or
// mirrored as the orientation says. Samples of 10 bits and more become 8
// bits through the film table when the caller asks for it (film.h), else
// they are scaled. Line- or channel-interleaved files and samples packed
// end to end are refused.
//
// Written: big-endian, 10 bits left justified three to a word, grey or RGB,
// through the linear-to-log table when useLut is set.
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

constexpr uint32_t kMagic = 0x802a5fd7;
constexpr uint32_t kHeaderBytes = 2048;
constexpr uint32_t kGenericBytes = 1024;
constexpr uint32_t kChannelsAt = 196;   // eight channel records of 28 bytes
constexpr uint32_t kFormatAt = 680;     // interleave, packing, sign, sense, paddings
constexpr uint32_t kMaxSidePx = 1u << 20;

enum Packing : uint8_t { kPacked = 0, kByteLeft = 1, kByteRight = 2, kWordLeft = 3, kWordRight = 4, kLongLeft = 5, kLongRight = 6 };

struct CineonHeader {
    bool bigEndian = true;
    uint32_t imageOffset = 0;
    uint8_t orientation = 0, channels = 0, bits = 0, packing = 0;
    uint32_t width = 0, height = 0;
    uint32_t eolPadding = 0;
    SampleLayout layout;
    uint64_t stride = 0;
};

bool sniffCineon(Bytes head) {
    return head.size() >= 4 && (readBe32(head.data()) == kMagic || readLe32(head.data()) == kMagic);
}

OpStatus parseHeader(Bytes bytes, CineonHeader &h, std::string &message) {
    if (!sniffCineon(bytes)) {
        message = "Not a Cineon file";
        return ZNT_BAD_FILE;
    }
    if (bytes.size() < kFormatAt + 12) return ZNT_CANT_READ;
    h.bigEndian = readBe32(bytes.data()) == kMagic;
    const uint8_t *p = bytes.data();
    auto u32 = [&](size_t at) { return h.bigEndian ? readBe32(p + at) : readLe32(p + at); };
    h.imageOffset = u32(4);
    h.orientation = p[192];
    h.channels = p[193];
    h.bits = p[kChannelsAt + 2];
    h.width = u32(kChannelsAt + 4);
    h.height = u32(kChannelsAt + 8);
    const uint8_t interleave = p[kFormatAt];
    h.packing = p[kFormatAt + 1];
    h.eolPadding = u32(kFormatAt + 4);

    if (h.channels != 1 && h.channels != 3) {
        message = "Cineon files of " + std::to_string(h.channels) + " channels are not supported";
        return ZNT_BAD_FILE;
    }
    for (uint32_t c = 1; c < h.channels; ++c) {
        const uint32_t at = kChannelsAt + 28 * c;
        if (p[at + 2] != h.bits || u32(at + 4) != h.width || u32(at + 8) != h.height) {
            message = "Cineon channels of different sizes are not supported";
            return ZNT_BAD_FILE;
        }
    }
    if (h.width == 0 || h.height == 0 || h.width > kMaxSidePx || h.height > kMaxSidePx) {
        message = "Bad Cineon picture size";
        return ZNT_BAD_FILE;
    }
    if (h.channels > 1 && interleave != 0) {
        message = "Cineon files with channels in separate lines or planes are not supported";
        return ZNT_BAD_FILE;
    }
    if (h.eolPadding == 0xffffffff) h.eolPadding = 0;
    h.layout.bigEndian = h.bigEndian;
    h.layout.bits = h.bits;
    const uint64_t samples = uint64_t(h.width) * h.channels;
    if (h.bits == 8) {
        // Samples in bytes; only rows of whole 32-bit words are padded.
        h.layout.kind = SampleLayout::bytes;
        h.stride = h.packing >= kLongLeft ? rowBytes(h.layout, samples) : samples;
    } else if (h.bits == 10 && (h.packing == kLongLeft || h.packing == kLongRight)) {
        h.layout.kind = SampleLayout::filled;
        h.layout.highAligned = h.packing == kLongLeft;
        h.layout.firstLow = h.channels == 1;
        h.stride = rowBytes(h.layout, samples);
    } else if ((h.bits == 12 && (h.packing == kWordLeft || h.packing == kWordRight)) || h.bits == 16) {
        h.layout.kind = SampleLayout::words;
        h.layout.highAligned = h.packing != kWordRight;
        h.stride = samples * 2;
    } else if (h.bits == 10 || h.bits == 12) {
        message = "Cineon samples of " + std::to_string(h.bits) + " bits packed end to end are not supported";
        return ZNT_BAD_FILE;
    } else {
        message = "Cineon samples of " + std::to_string(h.bits) + " bits are not supported";
        return ZNT_BAD_FILE;
    }
    h.stride += h.eolPadding;
    return ZNT_OK;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    CineonHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, header.message); s != ZNT_OK) return s;
    header.images.push_back(
        ZntSubImage{uint16_t(h.channels == 1 ? ZNT_CM_GREY : ZNT_CM_RGB), h.width, h.height, h.bits});
    header.compressionName = "None";
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    CineonHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    FilmRaster raster;
    raster.layout = h.layout;
    raster.offset = h.imageOffset;
    raster.stride = h.stride;
    raster.width = h.width;
    raster.height = h.height;
    raster.channels = h.channels;
    // Orientation 1 is bottom to top, 2 right to left, 3 both; the
    // transposed ones (4 to 7) load as stored.
    raster.upsideDown = h.orientation == 1 || h.orientation == 3;
    raster.mirrored = h.orientation == 2 || h.orientation == 3;
    return readFilmRaster(source.bytes, raster, request, out, message);
}

const ZntSaveKind kCineonSaveKinds[] = {{ZNT_CM_GREY, 8, 0, 0}, {ZNT_CM_RGB, 24, 0, 0}, {-1, 0, 0, 0}};

OpStatus writeCineon(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t width = pic.width, height = uint32_t(pic.height);
    const bool grey = pic.type == ZNT_GREY || pic.type == ZNT_BINARY;
    const uint32_t channels = grey ? 1 : 3;
    LinearToLog toLog{};
    std::string message;
    if (const OpStatus s = linearToLogTable(params, toLog, message); s != ZNT_OK) return s;
    SampleLayout layout;
    layout.kind = SampleLayout::filled;
    layout.bits = 10;
    const uint32_t samples = width * channels;
    const uint64_t stride = rowBytes(layout, samples);
    const uint64_t fileSize = kHeaderBytes + stride * height;

    uint8_t h[kHeaderBytes] = {};
    writeBe32(h, kMagic);
    writeBe32(h + 4, kHeaderBytes);
    writeBe32(h + 8, kGenericBytes);
    writeBe32(h + 12, kHeaderBytes - kGenericBytes);
    writeBe32(h + 20, fileSize > 0xffffffffu ? 0xffffffffu : uint32_t(fileSize));
    std::memcpy(h + 24, "V4.5", 4);
    h[193] = uint8_t(channels);
    for (uint32_t c = 0; c < channels; ++c) {
        uint8_t *record = h + kChannelsAt + 28 * c;
        record[1] = uint8_t(grey ? 0 : 1 + c);   // 0 grey, 1 red, 2 green, 3 blue
        record[2] = 10;
        writeBe32(record + 4, width);
        writeBe32(record + 8, height);
        writeBe32(record + 12, floatBits(0.0f));
        writeBe32(record + 16, floatBits(0.0f));
        writeBe32(record + 20, floatBits(1023.0f));
        writeBe32(record + 24, floatBits(2.046f));   // density of code 1023
    }
    h[kFormatAt + 1] = kLongLeft;

    FileWriter out(file);
    out.bytes(h, sizeof h);
    std::vector<uint8_t> line(samples), packed(stride, 0);
    for (uint32_t y = 0; y < height; ++y) {
        rowToChannels(pic, y, int(channels), line.data());
        packFilled10(line.data(), samples, toLog, grey, packed.data());
        out.bytes(packed.data(), stride);
        reportSaveProgress(params, int(y), int(height));
    }
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kCineonFormat = {
    "cin", "Cineon", "cin", "CINEON", Signature::exact, sniffCineon,
    readHeader, readPixels, kCineonSaveKinds, writeCineon, nullptr,
};

}  // namespace zentar
