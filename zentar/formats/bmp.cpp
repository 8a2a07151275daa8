// Device-independent bitmaps: 1, 2, 4, 8, 16, 24 and 32 bits per pixel,
// RLE4 and RLE8, bit fields (any contiguous masks, with alpha), OS/2 headers,
// bottom-up and top-down rows, and the JPEG or PNG stream a bitmap may
// embed. Written as 1, 4 or 8 bits with a palette, or 24 bits; RLE for 4 and
// 8 bits and the OS/2 header on request.
//
// Strictness: a header whose fields contradict the file (sizes beyond the
// file that do not match the picture, unknown header sizes, more than 256
// palette entries, planes other than 1) is refused, and so is an RLE stream
// that runs past a row or past the picture. A file that merely ends early is
// truncated (ZNT_CANT_READ), or loads what it holds when errors are ignored.
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

enum Compression : uint32_t { kRgb = 0, kRle8 = 1, kRle4 = 2, kBitFields = 3, kJpeg = 4, kPng = 5, kAlphaBitFields = 6 };

struct BmpHeader {
    uint32_t fileSize = 0;       // as the file header claims
    uint32_t dataOffset = 0;
    uint32_t headerSize = 0;
    int64_t width = 0, height = 0;
    bool topDown = false;
    uint16_t planes = 1, bitCount = 0;
    uint32_t compression = kRgb;
    uint32_t imageSize = 0;
    int32_t xPerMetre = 0, yPerMetre = 0;
    uint32_t colorsUsed = 0;
    uint32_t masks[4] = {0, 0, 0, 0};   // red, green, blue, alpha
    bool os2 = false;                   // three-byte palette entries
    size_t paletteOffset = 0;
    uint32_t paletteEntries = 0;
    uint32_t paletteEntryBytes = 4;
    std::string compressionName;
};

bool knownHeaderSize(uint32_t size) {
    switch (size) {
    case 12:
    case 16:
    case 40:
    case 52:
    case 56:
    case 64:
    case 108:
    case 124:
        return true;
    default:
        return false;
    }
}

bool sniffBmp(Bytes head) {
    return head.size() >= 18 && head[0] == 'B' && head[1] == 'M' && knownHeaderSize(readLe32(head.data() + 14));
}

uint64_t rowStride(const BmpHeader &h) { return (uint64_t(h.width) * h.bitCount + 31) / 32 * 4; }

OpStatus parseHeader(Bytes bytes, BmpHeader &h, std::string &message) {
    ByteReader r(bytes);
    if (r.u8() != 'B' || r.u8() != 'M') {
        message = "Not a bitmap file";
        return ZNT_BAD_FILE;
    }
    h.fileSize = r.le32();
    r.skip(4);
    h.dataOffset = r.le32();
    h.headerSize = r.le32();
    if (!r.ok()) return ZNT_CANT_READ;
    if (!knownHeaderSize(h.headerSize)) {
        message = "Unknown bitmap header size " + std::to_string(h.headerSize);
        return ZNT_BAD_FILE;
    }
    if (h.headerSize == 12) {
        h.os2 = true;
        h.paletteEntryBytes = 3;
        h.width = r.le16();
        h.height = int16_t(r.le16());
        h.planes = r.le16();
        h.bitCount = r.le16();
    } else {
        h.width = int32_t(r.le32());
        h.height = int32_t(r.le32());
        h.planes = r.le16();
        h.bitCount = r.le16();
        if (h.headerSize >= 20) h.compression = r.le32();
        if (h.headerSize >= 24) h.imageSize = r.le32();
        if (h.headerSize >= 28) h.xPerMetre = int32_t(r.le32());
        if (h.headerSize >= 32) h.yPerMetre = int32_t(r.le32());
        if (h.headerSize >= 36) h.colorsUsed = r.le32();
        if (h.headerSize >= 40) r.skip(4);
        if (h.headerSize >= 52) {
            for (int i = 0; i < 3; ++i) h.masks[i] = r.le32();
            if (h.headerSize >= 56) h.masks[3] = r.le32();
        }
        // OS/2 2.x headers number their compressions differently.
        if (h.headerSize == 16 || h.headerSize == 64) {
            if (h.compression == 3 || h.compression == 4) {
                message = "OS/2 Huffman and RLE24 bitmaps are not supported";
                return ZNT_BAD_FILE;
            }
        }
    }
    if (!r.ok()) return ZNT_CANT_READ;
    size_t pos = 14 + h.headerSize;
    if (h.headerSize == 40 && (h.compression == kBitFields || h.compression == kAlphaBitFields)) {
        ByteReader m(bytes, pos);
        const int count = h.compression == kAlphaBitFields ? 4 : 3;
        for (int i = 0; i < count; ++i) h.masks[i] = m.le32();
        if (!m.ok()) return ZNT_CANT_READ;
        pos += size_t(count) * 4;
    }

    if (h.width <= 0 || h.height == 0 || h.height == INT32_MIN) {
        message = "Bad bitmap size";
        return ZNT_BAD_FILE;
    }
    if (h.height < 0) {
        h.topDown = true;
        h.height = -h.height;
    }
    if (h.planes != 1) {
        message = "Bad number of planes in bitmap";
        return ZNT_BAD_FILE;
    }
    switch (h.compression) {
    case kRgb:
        if (h.bitCount != 1 && h.bitCount != 2 && h.bitCount != 4 && h.bitCount != 8 && h.bitCount != 16 &&
            h.bitCount != 24 && h.bitCount != 32) {
            message = "Bitmap with " + std::to_string(h.bitCount) + " bits per pixel is not supported";
            return ZNT_BAD_FILE;
        }
        h.compressionName = "None";
        if (h.bitCount == 16) h.masks[0] = 0x7c00, h.masks[1] = 0x03e0, h.masks[2] = 0x001f, h.masks[3] = 0;
        if (h.bitCount == 32) h.masks[0] = 0xff0000, h.masks[1] = 0xff00, h.masks[2] = 0xff, h.masks[3] = 0;
        break;
    case kRle8:
    case kRle4:
        if (h.bitCount != (h.compression == kRle8 ? 8 : 4)) {
            message = "RLE bitmap with a bad bit count";
            return ZNT_BAD_FILE;
        }
        if (h.topDown) {
            message = "RLE bitmap stored top-down";
            return ZNT_BAD_FILE;
        }
        h.compressionName = h.compression == kRle8 ? "RLE8" : "RLE4";
        break;
    case kBitFields:
    case kAlphaBitFields:
        if (h.bitCount != 16 && h.bitCount != 32) {
            message = "Bit fields need 16 or 32 bits per pixel";
            return ZNT_BAD_FILE;
        }
        if (h.compression == kBitFields && h.headerSize < 56) h.masks[3] = 0;
        h.compressionName = "Bit fields";
        break;
    case kJpeg:
        h.compressionName = "JPEG";
        break;
    case kPng:
        h.compressionName = "PNG";
        break;
    default:
        message = "Unknown bitmap compression " + std::to_string(h.compression);
        return ZNT_BAD_FILE;
    }
    if (h.compression == kBitFields || h.compression == kAlphaBitFields) {
        for (int i = 0; i < 4; ++i) {
            const uint32_t m = h.masks[i];
            if (m == 0) continue;
            const uint32_t shifted = m >> std::countr_zero(m);
            if ((shifted & (shifted + 1)) != 0) {
                message = "Bit field masks must be contiguous";
                return ZNT_BAD_FILE;
            }
        }
        if (h.bitCount == 16 && ((h.masks[0] | h.masks[1] | h.masks[2] | h.masks[3]) >> 16) != 0) {
            message = "Bit field mask wider than the pixel";
            return ZNT_BAD_FILE;
        }
    }

    h.paletteOffset = pos;
    if (h.bitCount <= 8 && h.compression != kJpeg && h.compression != kPng) {
        const uint32_t full = 1u << h.bitCount;
        if (h.colorsUsed > 256) {
            message = "Bitmap palette of " + std::to_string(h.colorsUsed) + " entries";
            return ZNT_BAD_FILE;
        }
        h.paletteEntries = h.colorsUsed != 0 ? std::min(h.colorsUsed, full) : full;
        // Old OS/2 files have no count: the palette fills the gap before the pixels.
        if (h.os2 && h.dataOffset > pos)
            h.paletteEntries = std::min<uint32_t>(full, uint32_t((h.dataOffset - pos) / 3));
        if (h.paletteEntries == 0) h.paletteEntries = 1;
        pos += size_t(h.paletteEntries) * h.paletteEntryBytes;
    }
    if (h.dataOffset == 0) h.dataOffset = uint32_t(std::min<size_t>(pos, UINT32_MAX));
    if (h.dataOffset < 14 + h.headerSize) {
        message = "Bitmap pixels inside its header";
        return ZNT_BAD_FILE;
    }

    // Sizes that claim more than the file holds must at least match the picture.
    const bool uncompressed = h.compression == kRgb || h.compression == kBitFields || h.compression == kAlphaBitFields;
    const uint64_t raster = uncompressed ? rowStride(h) * uint64_t(h.height) : 0;
    if (h.fileSize > bytes.size() && uncompressed && h.fileSize != h.dataOffset + raster) {
        message = "Bitmap file size field does not match the file";
        return ZNT_BAD_FILE;
    }
    if (uncompressed && h.imageSize > bytes.size() && h.imageSize != raster) {
        message = "Bitmap image size field does not match the picture";
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    BmpHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, header.message); s != ZNT_OK) return s;
    int model = ZNT_CM_RGB;
    if (h.bitCount <= 8 && h.compression != kJpeg && h.compression != kPng) model = ZNT_CM_PALETTE;
    if (h.masks[3] != 0 && (h.compression == kBitFields || h.compression == kAlphaBitFields)) model = ZNT_CM_RGBA;
    header.images.push_back(ZntSubImage{uint16_t(model), uint32_t(h.width), uint32_t(h.height), 8});
    header.compression = uint16_t(h.compression);
    header.compressionName = h.compressionName;
    if (h.xPerMetre > 0) header.resolutionX = uint32_t((int64_t(h.xPerMetre) * 254 + 5000) / 10000);
    if (h.yPerMetre > 0) header.resolutionY = uint32_t((int64_t(h.yPerMetre) * 254 + 5000) / 10000);
    return ZNT_OK;
}

// One channel of a bit-field pixel spread over 0-255.
struct Channel {
    uint32_t mask = 0;
    int shift = 0;
    int bits = 0;
    std::vector<uint8_t> table;   // value to 8 bits, when bits <= 16

    explicit Channel(uint32_t m) : mask(m) {
        if (m == 0) return;
        shift = std::countr_zero(m);
        bits = std::popcount(m);
        if (bits <= 16) {
            const uint32_t max = (1u << bits) - 1;
            table.resize(size_t(max) + 1);
            for (uint32_t v = 0; v <= max; ++v) table[v] = uint8_t((uint64_t(v) * 255 + max / 2) / max);
        }
    }
    uint8_t operator()(uint32_t pixel, uint8_t absent) const {
        if (mask == 0) return absent;
        const uint32_t v = (pixel & mask) >> shift;
        return bits <= 16 ? table[v] : uint8_t(v >> (bits - 8));
    }
};

// Decodes an RLE4 or RLE8 stream into one index byte per pixel, bottom row
// first. Returns ZNT_OK, ZNT_CORRUPT or ZNT_CANT_READ (`done` rows complete).
OpStatus decodeRle(Bytes bytes, const BmpHeader &h, std::vector<uint8_t> &indexes) {
    const uint32_t w = uint32_t(h.width), height = uint32_t(h.height);
    const bool four = h.compression == kRle4;
    ByteReader r(bytes, h.dataOffset);
    uint32_t x = 0, y = 0;
    for (;;) {
        const uint8_t count = r.u8();
        const uint8_t value = r.u8();
        if (!r.ok()) return ZNT_CANT_READ;
        if (count > 0) {
            if (y >= height || x + count > w) return ZNT_CORRUPT;
            uint8_t *out = indexes.data() + size_t(y) * w + x;
            if (four) {
                const uint8_t pair[2] = {uint8_t(value >> 4), uint8_t(value & 15)};
                for (uint32_t i = 0; i < count; ++i) out[i] = pair[i & 1];
            } else {
                std::memset(out, value, count);
            }
            x += count;
            continue;
        }
        switch (value) {
        case 0:   // end of line
            x = 0;
            if (++y > height) return ZNT_CORRUPT;
            break;
        case 1:   // end of bitmap
            return ZNT_OK;
        case 2: {  // delta
            const uint8_t dx = r.u8(), dy = r.u8();
            if (!r.ok()) return ZNT_CANT_READ;
            x += dx;
            y += dy;
            if (x > w || y > height || (y == height && x > 0)) return ZNT_CORRUPT;
            break;
        }
        default: {  // absolute run of `value` pixels, padded to a 16-bit boundary
            const uint32_t n = value;
            const uint32_t dataBytes = four ? (n + 1) / 2 : n;
            if (y >= height || x + n > w) return ZNT_CORRUPT;
            if (r.remaining() < dataBytes) return ZNT_CANT_READ;
            const uint8_t *p = r.here();
            uint8_t *out = indexes.data() + size_t(y) * w + x;
            if (four) {
                for (uint32_t i = 0; i < n; ++i) out[i] = (i & 1) ? p[i / 2] & 15 : p[i / 2] >> 4;
            } else {
                std::memcpy(out, p, n);
            }
            r.skip(dataBytes + (dataBytes & 1));
            x += n;
            break;
        }
        }
    }
}

OpStatus readEmbedded(const Format &format, const Source &source, const BmpHeader &h, const LoadRequest &request,
                      OwnedPicture &out, std::string &message) {
    if (h.dataOffset >= source.bytes.size()) return ZNT_CANT_READ;
    Bytes stream = source.bytes.subspan(h.dataOffset);
    if (h.imageSize != 0 && h.imageSize < stream.size()) stream = stream.first(h.imageSize);
    if (!format.sniff(stream)) return ZNT_CORRUPT;
    LoadRequest one = request;
    one.page = 0;
    return format.readPixels(Source{stream, source.name}, one, out, message);
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    BmpHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    if (h.compression == kJpeg) return readEmbedded(kJpegFormat, source, h, request, out, message);
    if (h.compression == kPng) return readEmbedded(kPngFormat, source, h, request, out, message);

    const Bytes bytes = source.bytes;
    const uint32_t w = uint32_t(h.width), height = uint32_t(h.height);
    if (request.tooLarge(w, height)) return ZNT_NO_MEMORY;
    const bool rle = h.compression == kRle4 || h.compression == kRle8;
    const uint64_t stride = rowStride(h);
    // Refuse an uncompressed picture far larger than its file before allocating.
    const uint64_t available = h.dataOffset < bytes.size() ? bytes.size() - h.dataOffset : 0;
    if (!rle && !request.ignoreErrors() && stride * height > available) return ZNT_CANT_READ;

    uint8_t palette[768] = {};
    const uint32_t entries = h.paletteEntries;
    if (entries > 0) {
        ByteReader p(bytes, h.paletteOffset);
        for (uint32_t i = 0; i < entries; ++i) {
            const uint8_t b = p.u8(), g = p.u8(), r = p.u8();
            if (h.paletteEntryBytes == 4) p.u8();
            palette[i] = r, palette[256 + i] = g, palette[512 + i] = b;
        }
        if (!p.ok()) return ZNT_CANT_READ;
    }

    bool inverted = false;
    const bool binary = h.bitCount == 1 && isBlackWhitePalette(palette, int(entries), inverted);
    const bool alpha = h.masks[3] != 0 && (h.compression == kBitFields || h.compression == kAlphaBitFields);
    const int type = binary ? ZNT_BINARY : h.bitCount <= 8 ? ZNT_PALETTE : alpha ? ZNT_RGBA : ZNT_RGB;
    if (!out.allocate(type, 8, w, height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOfType(type));
    if (h.xPerMetre > 0) pic.resolutionX = uint32_t((int64_t(h.xPerMetre) * 254 + 5000) / 10000);
    if (h.yPerMetre > 0) pic.resolutionY = uint32_t((int64_t(h.yPerMetre) * 254 + 5000) / 10000);
    if (type == ZNT_PALETTE) {
        std::memcpy(pic.palette, palette, sizeof palette);
        pic.numberOfColors = uint16_t(entries);
    }
    Progress progress(request, int(height));

    if (rle) {
        std::vector<uint8_t> indexes(size_t(w) * height, 0);
        const OpStatus s = decodeRle(bytes, h, indexes);
        if (s != ZNT_OK && !request.ignoreErrors()) return s;
        for (uint32_t y = 0; y < height; ++y) {
            std::memcpy(out.row(height - 1 - y), indexes.data() + size_t(y) * w, w);
            if (progress.row(int(y))) return ZNT_STOPPED;
        }
        paletteToGreyIfRamp(pic);
        return ZNT_OK;
    }

    const Channel red(h.masks[0]), green(h.masks[1]), blue(h.masks[2]), alphaChannel(alpha ? h.masks[3] : 0);
    const uint64_t rowsHeld = stride == 0 ? 0 : available / stride;
    const uint32_t rows = uint32_t(std::min<uint64_t>(rowsHeld, height));
    for (uint32_t i = 0; i < rows; ++i) {
        const uint8_t *in = bytes.data() + h.dataOffset + size_t(i) * stride;
        uint8_t *row = out.row(h.topDown ? i : height - 1 - i);
        switch (h.bitCount) {
        case 1:
            if (binary) {
                const size_t n = (size_t(w) + 7) / 8;
                for (size_t k = 0; k < n; ++k) row[k] = inverted ? uint8_t(~in[k]) : in[k];
                if (w & 7) row[n - 1] &= uint8_t(0xff00 >> (w & 7));
                break;
            }
            [[fallthrough]];
        case 2:
        case 4: {
            const int bits = h.bitCount;
            const int perByte = 8 / bits;
            const uint8_t mask = uint8_t((1 << bits) - 1);
            for (uint32_t x = 0; x < w; ++x)
                row[x] = uint8_t(in[x / perByte] >> (8 - bits * (int(x % perByte) + 1)) & mask);
            break;
        }
        case 8:
            std::memcpy(row, in, w);
            break;
        case 24:
            for (uint32_t x = 0; x < w; ++x, in += 3, row += 3) row[0] = in[2], row[1] = in[1], row[2] = in[0];
            break;
        case 16:
        case 32: {
            const int step = h.bitCount / 8;
            const int outStep = alpha ? 4 : 3;
            for (uint32_t x = 0; x < w; ++x, in += step, row += outStep) {
                const uint32_t px = step == 2 ? readLe16(in) : readLe32(in);
                row[0] = red(px, 0);
                row[1] = green(px, 0);
                row[2] = blue(px, 0);
                if (alpha) row[3] = alphaChannel(px, 255);
            }
            break;
        }
        }
        if (progress.row(int(i))) return ZNT_STOPPED;
    }
    if (rows < height && !request.ignoreErrors()) return ZNT_CANT_READ;
    paletteToGreyIfRamp(pic);
    return ZNT_OK;
}

// RLE of one row of indexes: runs where pixels repeat, absolute groups
// elsewhere. In four-bit mode a run alternates the two nibbles of its byte.
void encodeRleRow(const uint8_t *px, uint32_t w, bool four, std::vector<uint8_t> &out) {
    uint32_t x = 0;
    while (x < w) {
        uint32_t run = 1;
        while (x + run < w && px[x + run] == px[x] && run < 255) ++run;
        if (run >= 3) {
            out.push_back(uint8_t(run));
            out.push_back(four ? uint8_t(px[x] << 4 | (px[x] & 15)) : px[x]);
            x += run;
            continue;
        }
        // Gather pixels up to the next run of three or more.
        uint32_t len = 0;
        while (x + len < w && len < 255) {
            uint32_t r = 1;
            while (x + len + r < w && px[x + len + r] == px[x + len] && r < 3) ++r;
            if (r >= 3) break;
            len += std::min(r, 255 - len);
        }
        if (len < 3) {
            for (uint32_t i = 0; i < len; ++i) {
                out.push_back(1);
                out.push_back(four ? uint8_t(px[x + i] << 4) : px[x + i]);
            }
        } else {
            out.push_back(0);
            out.push_back(uint8_t(len));
            size_t bytes = 0;
            if (four) {
                for (uint32_t i = 0; i < len; i += 2, ++bytes)
                    out.push_back(uint8_t(px[x + i] << 4 | (i + 1 < len ? px[x + i + 1] & 15 : 0)));
            } else {
                out.insert(out.end(), px + x, px + x + len);
                bytes = len;
            }
            if (bytes & 1) out.push_back(0);
        }
        x += len;
    }
}

const ZntSaveKind kBmpSaveKinds[] = {{ZNT_CM_BINARY, 1, 0, 0},
                                     {ZNT_CM_GREY, 8, 0, 0},
                                     {ZNT_CM_PALETTE, 8, 0, 0},
                                     {ZNT_CM_RGB, 24, 0, 0},
                                     {-1, 0, 0, 0}};

OpStatus writeBmp(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t w = pic.width, height = uint32_t(pic.height);
    const bool os2 = params.bmpOs2Header != 0;
    if (os2 && (w > 65535 || height > 32767)) return ZNT_CANT_SAVE;
    uint8_t palette[768];
    uint32_t colours = writerPalette(pic, palette);
    const int bits = pic.type == ZNT_BINARY ? 1 : colours == 0 ? 24 : colours <= 16 ? 4 : 8;
    if (os2) colours = bits <= 8 ? 1u << bits : 0;   // OS/2 palettes are always full
    const bool rle = !os2 && params.rleCompress != 0 && (bits == 4 || bits == 8);
    const uint32_t headerSize = os2 ? 12 : 40;
    const uint32_t entryBytes = os2 ? 3 : 4;
    const uint32_t offset = 14 + headerSize + colours * entryBytes;
    const uint64_t stride = (uint64_t(w) * bits + 31) / 32 * 4;

    // Rows go bottom-up; with RLE the stream is built first for its size.
    std::vector<uint8_t> encoded;
    std::vector<uint8_t> line(size_t(stride) + 8);
    std::vector<uint8_t> rgb(size_t(w) * 3);
    auto buildRow = [&](uint32_t y) {
        const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
        std::fill(line.begin(), line.end(), 0);
        if (bits == 1) {
            std::memcpy(line.data(), in, (size_t(w) + 7) / 8);
        } else if (bits == 4) {
            for (uint32_t x = 0; x < w; ++x) line[x / 2] |= uint8_t((in[x] & 15) << ((x & 1) ? 0 : 4));
        } else if (bits == 8) {
            std::memcpy(line.data(), in, w);
        } else {
            rowToRgb(pic, y, rgb.data());
            for (uint32_t x = 0; x < w; ++x)
                line[3 * x] = rgb[3 * x + 2], line[3 * x + 1] = rgb[3 * x + 1], line[3 * x + 2] = rgb[3 * x];
        }
    };
    if (rle) {
        std::vector<uint8_t> indexes(w);
        for (uint32_t i = 0; i < height; ++i) {
            const uint8_t *in = pic.data + size_t(height - 1 - i) * pic.bytesPerLine;
            for (uint32_t x = 0; x < w; ++x) indexes[x] = bits == 4 ? in[x] & 15 : in[x];
            encodeRleRow(indexes.data(), w, bits == 4, encoded);
            encoded.push_back(0);
            encoded.push_back(i + 1 == height ? 1 : 0);
        }
    }
    const uint64_t imageSize = rle ? encoded.size() : stride * height;
    if (offset + imageSize > UINT32_MAX) return ZNT_CANT_SAVE;

    FileWriter out(file);
    out.u8('B');
    out.u8('M');
    out.le32(uint32_t(offset + imageSize));
    out.le32(0);
    out.le32(offset);
    out.le32(headerSize);
    if (os2) {
        out.le16(w);
        out.le16(height);
        out.le16(1);
        out.le16(unsigned(bits));
    } else {
        const uint32_t ppmX = pic.resolutionX ? uint32_t((uint64_t(pic.resolutionX) * 10000 + 127) / 254) : 2835;
        const uint32_t ppmY = pic.resolutionY ? uint32_t((uint64_t(pic.resolutionY) * 10000 + 127) / 254) : 2835;
        out.le32(w);
        out.le32(height);
        out.le16(1);
        out.le16(unsigned(bits));
        out.le32(rle ? (bits == 8 ? kRle8 : kRle4) : kRgb);
        out.le32(uint32_t(imageSize));
        out.le32(ppmX);
        out.le32(ppmY);
        out.le32(colours);
        out.le32(0);
    }
    for (uint32_t i = 0; i < colours; ++i) {
        out.u8(palette[512 + i]);
        out.u8(palette[256 + i]);
        out.u8(palette[i]);
        if (!os2) out.u8(0);
    }
    if (rle) {
        out.bytes(encoded.data(), encoded.size());
        reportSaveProgress(params, int(height) - 1, int(height));
    } else {
        for (uint32_t i = 0; i < height; ++i) {
            buildRow(height - 1 - i);
            out.bytes(line.data(), size_t(stride));
            reportSaveProgress(params, int(i), int(height));
        }
    }
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kBmpFormat = {
    "bmp", "Windows & OS/2 Bitmap", "bmp dib rle", "BMP", Signature::exact, sniffBmp,
    readHeader, readPixels, kBmpSaveKinds, writeBmp, nullptr,
};

}  // namespace zentar
