// Softimage pictures: a 104-byte big-endian header (magic, version,
// comment, "PICT", width, height, aspect, fields), a chain of channel
// packets each naming some of the red, green, blue and alpha channels with
// their encoding, then the rows top first. For every row each packet in
// turn gives its channels for the whole row: raw, in pure runs (a count,
// then a value), or in mixed runs (a count below 128 for that many + 1 raw
// values, 128 and a 16-bit count, or count - 127 repeats of one value).
// Only 8-bit channels exist.
//
// Written as one RGB packet and, for pictures with a mask, one alpha
// packet; mixed runs when FormatParams.rleCompress is set, raw otherwise.
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"
#include "raster_helpers.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr uint32_t kMagic = 0x5380f634;
constexpr size_t kHeaderBytes = 104;
constexpr int kMaxPackets = 8;
enum Encoding : uint8_t { kRaw = 0, kPureRuns = 1, kMixedRuns = 2 };
enum ChannelBits : uint8_t { kRed = 0x80, kGreen = 0x40, kBlue = 0x20, kAlpha = 0x10 };

struct Packet {
    uint8_t size = 8, encoding = kRaw, channels = 0;
    int count = 0;          // channels named
    int offsets[4] = {};    // where each goes in an RGBA pixel
};

struct SoftHeader {
    uint16_t width = 0, height = 0;
    std::vector<Packet> packets;
    uint8_t allChannels = 0;
    size_t dataOffset = 0;
    std::string comment;
};

bool sniffSoft(Bytes head) {
    return head.size() >= 92 && readBe32(head.data()) == kMagic && std::memcmp(head.data() + 88, "PICT", 4) == 0;
}

OpStatus parseHeader(Bytes bytes, SoftHeader &h, std::string &message) {
    if (!sniffSoft(bytes)) {
        message = "Not a Softimage picture";
        return ZNT_BAD_FILE;
    }
    if (bytes.size() < kHeaderBytes) return ZNT_CANT_READ;
    const uint8_t *p = bytes.data();
    const char *comment = reinterpret_cast<const char *>(p + 8);
    h.comment.assign(comment, strnlen(comment, 80));
    h.width = readBe16(p + 92);
    h.height = readBe16(p + 94);
    if (h.width == 0 || h.height == 0) {
        message = "Bad Softimage picture size";
        return ZNT_BAD_FILE;
    }
    size_t pos = kHeaderBytes;
    for (bool chained = true; chained;) {
        if (pos + 4 > bytes.size()) return ZNT_CANT_READ;
        if (h.packets.size() == kMaxPackets) {
            message = "Too many Softimage channel packets";
            return ZNT_BAD_FILE;
        }
        Packet packet;
        chained = bytes[pos] != 0;
        packet.size = bytes[pos + 1];
        packet.encoding = bytes[pos + 2];
        packet.channels = bytes[pos + 3];
        pos += 4;
        if (packet.size != 8) {
            message = "Softimage channels of " + std::to_string(packet.size) + " bits are not supported";
            return ZNT_BAD_FILE;
        }
        if (packet.encoding > kMixedRuns) {
            message = "Unknown Softimage encoding " + std::to_string(packet.encoding);
            return ZNT_BAD_FILE;
        }
        if ((packet.channels & 0xf0) == 0 || (packet.channels & 0x0f) != 0) {
            message = "Bad Softimage channel packet";
            return ZNT_BAD_FILE;
        }
        for (int c = 0; c < 4; ++c)
            if (packet.channels & (0x80 >> c)) packet.offsets[packet.count++] = c;
        h.allChannels |= packet.channels;
        h.packets.push_back(packet);
    }
    h.dataOffset = pos;
    return ZNT_OK;
}

int colorModelOf(const SoftHeader &h) { return (h.allChannels & kAlpha) ? ZNT_CM_RGBA : ZNT_CM_RGB; }

std::string encodingName(const SoftHeader &h) {
    uint8_t most = kRaw;
    for (const Packet &p : h.packets) most = std::max(most, p.encoding);
    return most == kRaw ? "None" : most == kPureRuns ? "Pure RLE" : "Mixed RLE";
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    SoftHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, header.message); s != ZNT_OK) return s;
    header.images.push_back(ZntSubImage{uint16_t(colorModelOf(h)), h.width, h.height, 8});
    header.compressionName = encodingName(h);
    header.compression = header.compressionName == "None" ? 0 : 1;
    header.comment = h.comment;
    return ZNT_OK;
}

// Reads one packet's channels for one row of RGBA pixels.
class RowReader {
public:
    explicit RowReader(Bytes bytes, size_t pos) : bytes_(bytes), pos_(pos) {}

    bool read(const Packet &packet, uint8_t *row, uint32_t width) {
        const int n = packet.count;
        const int *at = packet.offsets;
        const size_t remaining = bytes_.size() - pos_;
        const uint8_t *in = bytes_.data() + pos_;
        size_t used = 0;
        auto take = [&](uint8_t *pixel) {
            for (int c = 0; c < n; ++c) pixel[at[c]] = in[used + size_t(c)];
            used += size_t(n);
        };
        uint32_t x = 0;
        switch (packet.encoding) {
        case kRaw:
            if (remaining < size_t(width) * size_t(n)) return false;
            for (; x < width; ++x) take(row + 4 * size_t(x));
            break;
        case kPureRuns:
            while (x < width) {
                if (remaining - used < 1 + size_t(n)) return false;
                const uint32_t count = in[used++];
                if (count == 0 || count > width - x) return false;
                uint8_t *first = row + 4 * size_t(x);
                take(first);
                for (uint32_t i = 1; i < count; ++i)
                    for (int c = 0; c < n; ++c) first[4 * i + size_t(at[c])] = first[at[c]];
                x += count;
            }
            break;
        default:
            while (x < width) {
                if (remaining - used < 1) return false;
                uint32_t count = in[used++];
                if (count < 128) {
                    ++count;
                    if (count > width - x || remaining - used < size_t(count) * size_t(n)) return false;
                    for (uint32_t i = 0; i < count; ++i) take(row + 4 * size_t(x + i));
                } else {
                    if (count == 128) {
                        if (remaining - used < 2) return false;
                        count = readBe16(in + used);
                        used += 2;
                    } else {
                        count -= 127;
                    }
                    if (count == 0 || count > width - x || remaining - used < size_t(n)) return false;
                    uint8_t *first = row + 4 * size_t(x);
                    take(first);
                    for (uint32_t i = 1; i < count; ++i)
                        for (int c = 0; c < n; ++c) first[4 * i + size_t(at[c])] = first[at[c]];
                }
                x += count;
            }
            break;
        }
        pos_ += used;
        return true;
    }

private:
    Bytes bytes_;
    size_t pos_;
};

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    SoftHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    const uint32_t w = h.width, height = h.height;
    if (request.tooLarge(w, height)) return ZNT_NO_MEMORY;
    int bytesPerPixel = 0;
    bool anyRuns = false;
    for (const Packet &p : h.packets) bytesPerPixel += p.count, anyRuns |= p.encoding != kRaw;
    // A mixed run of three bytes and one channel stands for 65535 values.
    const uint64_t raster = uint64_t(w) * height * uint64_t(bytesPerPixel);
    if (!canHold(raster, source.bytes.size() - h.dataOffset, anyRuns ? 255 : 1, request.ignoreErrors()))
        return ZNT_CANT_READ;

    if (!out.allocate(ZNT_RGBA, 8, w, height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOf(h));
    // Channels no packet names: black, and opaque.
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t *row = out.row(y);
        for (uint32_t x = 0; x < w; ++x) row[4 * x + 3] = 255;
    }
    RowReader reader(source.bytes, h.dataOffset);
    Progress progress(request, int(height));
    bool complete = true;
    for (uint32_t y = 0; y < height && complete; ++y) {
        uint8_t *row = out.row(y);
        for (const Packet &p : h.packets)
            if (!reader.read(p, row, w)) {
                complete = false;
                break;
            }
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    if (!complete && !request.ignoreErrors()) return ZNT_CANT_READ;
    dropOpaqueMask(pic);
    return ZNT_OK;
}

// Mixed runs of one row of pixels of `n` bytes each.
void encodeMixed(const uint8_t *px, uint32_t w, int n, std::vector<uint8_t> &out) {
    auto same = [&](uint32_t a, uint32_t b) { return std::memcmp(px + size_t(a) * n, px + size_t(b) * n, size_t(n)) == 0; };
    uint32_t x = 0;
    while (x < w) {
        uint32_t run = 1;
        while (x + run < w && run < 65535 && same(x, x + run)) ++run;
        if (run >= 2) {
            if (run <= 128) {
                out.push_back(uint8_t(run + 127));
            } else {
                out.push_back(128);
                out.push_back(uint8_t(run >> 8));
                out.push_back(uint8_t(run));
            }
            out.insert(out.end(), px + size_t(x) * n, px + size_t(x + 1) * n);
            x += run;
            continue;
        }
        uint32_t count = 1;
        while (x + count < w && count < 128 && !(x + count + 1 < w && same(x + count, x + count + 1))) ++count;
        out.push_back(uint8_t(count - 1));
        out.insert(out.end(), px + size_t(x) * n, px + size_t(x + count) * n);
        x += count;
    }
}

const ZntSaveKind kSoftSaveKinds[] = {{ZNT_CM_RGB, 24, 65535, 65535}, {ZNT_CM_RGBA, 32, 65535, 65535}, {-1, 0, 0, 0}};

OpStatus writeSoft(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t w = pic.width, height = uint32_t(pic.height);
    if (w > 65535 || height > 65535) return ZNT_CANT_SAVE;
    const bool alpha = hasMask(pic.type);
    const uint8_t encoding = params.rleCompress ? kMixedRuns : kRaw;

    uint8_t header[kHeaderBytes] = {};
    writeBe32(header, kMagic);
    writeBe32(header + 4, 0x406d70a4);   // version 3.71 as a 32-bit float
    std::memcpy(header + 88, "PICT", 4);
    writeBe16(header + 92, w);
    writeBe16(header + 94, height);
    writeBe32(header + 96, 0x3f800000);   // square pixels: aspect 1.0
    header[101] = 3;         // both fields: a full frame
    FileWriter out(file);
    out.bytes(header, sizeof header);
    const uint8_t packets[8] = {uint8_t(alpha ? 1 : 0), 8, encoding, kRed | kGreen | kBlue, 0, 8, encoding, kAlpha};
    out.bytes(packets, alpha ? 8 : 4);

    std::vector<uint8_t> rgba(size_t(w) * 4), colour(size_t(w) * 3), mask(w), encoded;
    for (uint32_t y = 0; y < height; ++y) {
        rowToRgba(pic, y, rgba.data());
        for (uint32_t x = 0; x < w; ++x) {
            colour[3 * x] = rgba[4 * x], colour[3 * x + 1] = rgba[4 * x + 1], colour[3 * x + 2] = rgba[4 * x + 2];
            mask[x] = rgba[4 * x + 3];
        }
        if (encoding == kRaw) {
            out.bytes(colour.data(), colour.size());
            if (alpha) out.bytes(mask.data(), mask.size());
        } else {
            encoded.clear();
            encodeMixed(colour.data(), w, 3, encoded);
            if (alpha) encodeMixed(mask.data(), w, 1, encoded);
            out.bytes(encoded.data(), encoded.size());
        }
        reportSaveProgress(params, int(y), int(height));
    }
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kSoftFormat = {
    "soft", "Softimage picture", "pic si", "SOFT", Signature::exact, sniffSoft,
    readHeader, readPixels, kSoftSaveKinds, writeSoft, nullptr,
};

}  // namespace zentar
