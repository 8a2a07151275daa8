// SGI image files ("RGB" files): a 512-byte header of big-endian fields,
// then the channels one after the other, rows bottom-up, either verbatim
// or run-length encoded row by row through a table of row offsets and
// lengths. 1 to 4 channels (grey, grey with alpha, RGB, RGBA) of 8 or 16
// bits; 16-bit samples are cut to 8. Only the normal colour-map mode is
// read (the dithered, screen and colour-map modes of very old files are
// refused).
//
// Written with 8-bit channels: grey as one, true colour as three, or four
// with the mask as alpha; run-length encoded when FormatParams.rleCompress
// is set, verbatim otherwise.
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

constexpr uint16_t kMagic = 474;
constexpr size_t kHeaderBytes = 512;

struct SgiHeader {
    uint8_t storage = 0, bytesPerChannel = 1;
    uint16_t dimension = 0, xsize = 0, ysize = 0, zsize = 0;
    uint32_t colormap = 0;
    std::string name;
};

bool sniffSgi(Bytes head) {
    if (head.size() < 12 || readBe16(head.data()) != kMagic) return false;
    return head[2] <= 1 && (head[3] == 1 || head[3] == 2) && readBe16(head.data() + 4) >= 1 && readBe16(head.data() + 4) <= 3;
}

OpStatus parseHeader(Bytes bytes, SgiHeader &h, std::string &message) {
    if (!sniffSgi(bytes)) {
        message = "Not an SGI image file";
        return ZNT_BAD_FILE;
    }
    if (bytes.size() < kHeaderBytes) return ZNT_CANT_READ;
    const uint8_t *p = bytes.data();
    h.storage = p[2];
    h.bytesPerChannel = p[3];
    h.dimension = readBe16(p + 4);
    h.xsize = readBe16(p + 6);
    h.ysize = h.dimension >= 2 ? readBe16(p + 8) : 1;
    h.zsize = h.dimension == 3 ? readBe16(p + 10) : 1;
    h.colormap = readBe32(p + 104);
    const char *name = reinterpret_cast<const char *>(p + 24);
    h.name.assign(name, strnlen(name, 80));
    if (h.xsize == 0 || h.ysize == 0 || h.zsize == 0) {
        message = "Bad SGI picture size";
        return ZNT_BAD_FILE;
    }
    if (h.zsize > 4) {
        message = "SGI file with " + std::to_string(h.zsize) + " channels is not supported";
        return ZNT_BAD_FILE;
    }
    if (h.colormap != 0) {
        message = "SGI colour-map files are not supported";
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

int colorModelOf(const SgiHeader &h) {
    switch (h.zsize) {
    case 1:
        return ZNT_CM_GREY;
    case 2:
        return ZNT_CM_GREY_ALPHA;
    case 3:
        return ZNT_CM_RGB;
    default:
        return ZNT_CM_RGBA;
    }
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    SgiHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, header.message); s != ZNT_OK) return s;
    header.images.push_back(ZntSubImage{uint16_t(colorModelOf(h)), h.xsize, h.ysize, uint16_t(8 * h.bytesPerChannel)});
    header.compression = h.storage;
    header.compressionName = h.storage ? "RLE" : "None";
    header.comment = h.name;
    return ZNT_OK;
}

// Decodes one run-length encoded row of `count` samples of `B` bytes (the
// high byte kept) from `in`; false when the row's data ends early or its
// runs overflow the row.
template <int B>
bool decodeRow(const uint8_t *in, size_t length, uint8_t *out, uint32_t count) {
    const uint8_t *end = in + length / B * B;
    uint32_t x = 0;
    while (in < end) {
        const uint8_t c = in[B - 1];
        in += B;
        const uint32_t n = c & 0x7f;
        if (n == 0) return x == count;
        if (n > count - x) return false;
        if (c & 0x80) {
            if (size_t(end - in) < size_t(n) * B) return false;
            for (uint32_t i = 0; i < n; ++i, in += B) out[x + i] = in[0];
        } else {
            if (end - in < B) return false;
            std::memset(out + x, in[0], n);
            in += B;
        }
        x += n;
    }
    return x == count;   // no end marker, but the row is whole
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    SgiHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    const Bytes bytes = source.bytes;
    const uint32_t w = h.xsize, height = h.ysize, channels = h.zsize, bpc = h.bytesPerChannel;
    if (request.tooLarge(w, height)) return ZNT_NO_MEMORY;
    const uint64_t rows = uint64_t(height) * channels;
    const uint64_t samples = uint64_t(w) * rows * bpc;
    const uint64_t available = bytes.size() - kHeaderBytes;
    const bool rle = h.storage == 1;
    // A run of 127 samples takes two units; the row tables take 8 bytes a row.
    if (rle && rows * 8 > available) return ZNT_CANT_READ;
    if (!canHold(samples, available, rle ? 63 : 1, request.ignoreErrors())) return ZNT_CANT_READ;

    const int type = channels == 1 ? ZNT_GREY : channels == 3 ? ZNT_RGB : ZNT_RGBA;
    if (!out.allocate(type, 8, w, height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOf(h));
    const int step = pic.bytesPerPixel;

    std::vector<uint8_t> channel(w);
    Progress progress(request, int(height));
    bool complete = true;
    for (uint32_t i = 0; i < height; ++i) {
        uint8_t *row = out.row(height - 1 - i);
        for (uint32_t z = 0; z < channels; ++z) {
            const uint64_t index = uint64_t(z) * height + i;
            bool ok = false;
            if (rle) {
                const uint32_t start = readBe32(bytes.data() + kHeaderBytes + 4 * index);
                const uint32_t length = readBe32(bytes.data() + kHeaderBytes + 4 * (rows + index));
                if (start < bytes.size()) {
                    const size_t held = std::min<uint64_t>(length, bytes.size() - start);
                    ok = bpc == 1 ? decodeRow<1>(bytes.data() + start, held, channel.data(), w)
                                  : decodeRow<2>(bytes.data() + start, held, channel.data(), w);
                }
            } else {
                const uint64_t at = kHeaderBytes + index * w * bpc;
                ok = at + uint64_t(w) * bpc <= bytes.size();
                if (ok) {
                    const uint8_t *in = bytes.data() + at;
                    if (bpc == 1) {
                        std::memcpy(channel.data(), in, w);
                    } else {
                        for (uint32_t x = 0; x < w; ++x) channel[x] = in[2 * x];
                    }
                }
            }
            if (!ok) {
                complete = false;
                std::fill(channel.begin(), channel.end(), 0);
            }
            // Grey with alpha spreads its grey over red, green and blue.
            const uint8_t *c = channel.data();
            if (channels == 2 && z == 0) {
                for (uint32_t x = 0; x < w; ++x) row[4 * x] = row[4 * x + 1] = row[4 * x + 2] = c[x];
            } else {
                uint8_t *o = row + (channels == 2 ? 3 : z);
                for (uint32_t x = 0; x < w; ++x, o += step) *o = c[x];
            }
        }
        if (!complete && !request.ignoreErrors()) return ZNT_CANT_READ;
        if (progress.row(int(i))) return ZNT_STOPPED;
    }
    dropOpaqueMask(pic);
    return ZNT_OK;
}

// One channel row: literal groups up to the next three equal samples, runs
// of up to 127, and the zero that ends the row.
void encodeRow(const uint8_t *in, uint32_t w, std::vector<uint8_t> &out) {
    uint32_t x = 0;
    while (x < w) {
        uint32_t start = x;
        while (x < w && !(x + 2 < w && in[x] == in[x + 1] && in[x] == in[x + 2])) ++x;
        while (start < x) {
            const uint32_t n = std::min<uint32_t>(x - start, 127);
            out.push_back(uint8_t(0x80 | n));
            out.insert(out.end(), in + start, in + start + n);
            start += n;
        }
        if (x >= w) break;
        uint32_t run = 1;
        while (x + run < w && run < 127 && in[x + run] == in[x]) ++run;
        out.push_back(uint8_t(run));
        out.push_back(in[x]);
        x += run;
    }
    out.push_back(0);
}

const ZntSaveKind kSgiSaveKinds[] = {{ZNT_CM_GREY, 8, 65535, 65535},
                                     {ZNT_CM_RGB, 24, 65535, 65535},
                                     {ZNT_CM_RGBA, 32, 65535, 65535},
                                     {-1, 0, 0, 0}};

OpStatus writeSgi(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t w = pic.width, height = uint32_t(pic.height);
    if (w > 65535 || height > 65535) return ZNT_CANT_SAVE;
    const bool rle = params.rleCompress != 0;
    const uint32_t channels = pic.type == ZNT_GREY ? 1 : hasMask(pic.type) ? 4 : 3;

    // Each channel row of the picture, bottom row first as the file stores them.
    std::vector<uint8_t> pixels(size_t(w) * 4), plane(size_t(w) * channels * height);
    for (uint32_t i = 0; i < height; ++i) {
        const uint32_t y = height - 1 - i;
        rowToChannels(pic, y, int(channels), pixels.data());
        for (uint32_t z = 0; z < channels; ++z) {
            uint8_t *o = plane.data() + (size_t(z) * height + i) * w;
            const uint8_t *s = pixels.data() + z;
            for (uint32_t x = 0; x < w; ++x, s += channels) o[x] = *s;
        }
    }

    uint8_t header[kHeaderBytes] = {};
    writeBe16(header, kMagic);
    header[2] = rle ? 1 : 0;
    header[3] = 1;
    writeBe16(header + 4, channels == 1 ? 2 : 3);
    writeBe16(header + 6, w);
    writeBe16(header + 8, height);
    writeBe16(header + 10, channels);
    header[19] = 255;   // samples from 0 to 255
    FileWriter out(file);
    out.bytes(header, sizeof header);

    const size_t rows = size_t(height) * channels;
    if (!rle) {
        out.bytes(plane.data(), plane.size());
        reportSaveProgress(params, int(height) - 1, int(height));
        return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
    }
    std::vector<uint8_t> encoded;
    std::vector<uint32_t> starts(rows), lengths(rows);
    const uint64_t dataAt = kHeaderBytes + uint64_t(rows) * 8;
    for (size_t r = 0; r < rows; ++r) {
        const size_t before = encoded.size();
        encodeRow(plane.data() + r * w, w, encoded);
        if (dataAt + encoded.size() > UINT32_MAX) return ZNT_CANT_SAVE;
        starts[r] = uint32_t(dataAt + before);
        lengths[r] = uint32_t(encoded.size() - before);
    }
    for (uint32_t v : starts) out.be32(v);
    for (uint32_t v : lengths) out.be32(v);
    out.bytes(encoded.data(), encoded.size());
    reportSaveProgress(params, int(height) - 1, int(height));
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kSgiFormat = {
    "sgi", "Silicon Graphics Image", "rgb sgi rgba bw int inta", "SGI", Signature::exact, sniffSgi,
    readHeader, readPixels, kSgiSaveKinds, writeSgi, nullptr,
};

}  // namespace zentar
