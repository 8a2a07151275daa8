// Icon and cursor resources: a six-byte header (0, type 1 for icons or 2
// for cursors, count), a 16-byte directory entry per image (size, colours,
// planes and bits or the cursor's hot spot, data size and offset), then the
// images. Every image is a page.
//
// An image is either a PNG stream (read by the PNG format) or a bitmap
// without its file header: the information header, whose height counts the
// colour rows and the mask rows together, the palette, the colour rows
// (1, 4, 8, 24 or 32 bits) and the AND mask (1 bit, 1 = transparent), both
// bottom to top with rows of whole 32-bit words. A 32-bit image loads as
// RGBA with its own alpha, or with the mask's when its alpha is all zero;
// another image loads as RGBA when its mask hides any pixel, else as a
// palette (black and white: binary) or RGB picture.
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
constexpr uint32_t kMaxSidePx = 1u << 16;

struct Entry {
    uint32_t width = 0, height = 0;   // from the directory, 0 read as 256
    uint32_t size = 0, offset = 0;
};

struct Directory {
    uint16_t type = 0;
    std::vector<Entry> entries;
};

bool isPng(Bytes data) { return data.size() >= 8 && std::memcmp(data.data(), kPngSignature, 8) == 0; }

bool knownInfoSize(uint32_t size) { return size == 40 || size == 52 || size == 56 || size == 108 || size == 124; }

// Reads the header and the directory; `head` may be only the file's start.
bool readDirectory(Bytes bytes, Directory &d) {
    ByteReader r(bytes);
    const uint16_t reserved = r.le16();
    d.type = r.le16();
    const uint16_t count = r.le16();
    if (!r.ok() || reserved != 0 || (d.type != 1 && d.type != 2) || count == 0) return false;
    for (uint16_t i = 0; i < count; ++i) {
        Entry e;
        const uint8_t w = r.u8(), h = r.u8();
        r.skip(6);   // colours, reserved, planes and bits (or the hot spot)
        e.width = w == 0 ? 256 : w;
        e.height = h == 0 ? 256 : h;
        e.size = r.le32();
        e.offset = r.le32();
        if (!r.ok()) return false;
        d.entries.push_back(e);
    }
    return true;
}

// The bytes from an image's start to the end of the file: some writers
// give sizes that are too small, and the image says where it ends.
Bytes imageBytes(Bytes file, const Entry &e) {
    if (e.offset >= file.size()) return {};
    return file.subspan(e.offset);
}

bool sniffIcon(Bytes head, uint16_t wantedType) {
    Directory d;
    if (head.size() < 22 || readLe16(head.data() + 2) != wantedType) return false;
    // Only the first entry needs to be there: it must point past the
    // directory, at a PNG stream or a bitmap information header.
    const uint16_t count = readLe16(head.data() + 4);
    Bytes first = head.first(22);
    std::vector<uint8_t> one(first.begin(), first.end());
    one[4] = 1, one[5] = 0;
    if (!readDirectory(one, d)) return false;
    const Entry &e = d.entries[0];
    if (e.offset < 6 + 16u * count || e.size < 40) return false;
    const Bytes image = imageBytes(head, e);
    if (image.size() < 8) return e.offset == 6 + 16u * count;   // a cut file: the usual place
    return isPng(image) || knownInfoSize(readLe32(image.data()));
}

bool sniffIco(Bytes head) { return sniffIcon(head, 1); }
bool sniffCur(Bytes head) { return sniffIcon(head, 2); }

struct Dib {
    uint32_t width = 0, height = 0;   // of the picture: the mask rows not counted
    uint16_t bitCount = 0;
    uint32_t colours = 0;             // palette entries
    size_t paletteAt = 0, pixelsAt = 0, maskAt = 0;
    uint64_t colourStride = 0, maskStride = 0;
};

OpStatus parseDib(Bytes image, Dib &dib, std::string &message) {
    ByteReader r(image);
    const uint32_t infoSize = r.le32();
    const int32_t width = int32_t(r.le32()), height = int32_t(r.le32());
    r.skip(2);
    dib.bitCount = r.le16();
    const uint32_t compression = r.le32();
    r.skip(12);
    const uint32_t used = r.le32();
    if (!r.ok()) return ZNT_CANT_READ;
    if (!knownInfoSize(infoSize)) {
        message = "Unknown icon bitmap header";
        return ZNT_BAD_FILE;
    }
    if (width <= 0 || height <= 1 || uint32_t(width) > kMaxSidePx || uint32_t(height) / 2 > kMaxSidePx) {
        message = "Bad icon size";
        return ZNT_BAD_FILE;
    }
    const uint16_t bits = dib.bitCount;
    if (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32) {
        message = "Icons of " + std::to_string(bits) + " bits per pixel are not supported";
        return ZNT_BAD_FILE;
    }
    // A 32-bit icon may say "bit fields" for the usual masks.
    if (compression != 0 && !(compression == 3 && bits == 32)) {
        message = "Compressed icon bitmaps are not supported";
        return ZNT_BAD_FILE;
    }
    dib.width = uint32_t(width);
    dib.height = uint32_t(height) / 2;
    dib.colours = bits <= 8 ? (used == 0 || used > (1u << bits) ? 1u << bits : used) : 0;
    dib.paletteAt = infoSize + (compression == 3 && infoSize == 40 ? 12 : 0);
    dib.pixelsAt = dib.paletteAt + size_t(dib.colours) * 4;
    dib.colourStride = (uint64_t(dib.width) * bits + 31) / 32 * 4;
    dib.maskStride = (uint64_t(dib.width) + 31) / 32 * 4;
    dib.maskAt = dib.pixelsAt + size_t(dib.colourStride * dib.height);
    return ZNT_OK;
}

// A page's sub-image: from the PNG or bitmap header, else the directory.
ZntSubImage describe(Bytes file, const Entry &e) {
    const Bytes image = imageBytes(file, e);
    if (isPng(image)) {
        Header png;
        if (kPngFormat.readHeader(Source{image, ""}, 0, png) == ZNT_OK && !png.images.empty()) return png.images[0];
    } else {
        Dib dib;
        std::string ignored;
        if (parseDib(image, dib, ignored) == ZNT_OK)
            return ZntSubImage{uint16_t(dib.bitCount == 32 ? ZNT_CM_RGBA : dib.bitCount == 24 ? ZNT_CM_RGB : ZNT_CM_PALETTE),
                               dib.width, dib.height, dib.bitCount};
    }
    return ZntSubImage{ZNT_CM_RGBA, e.width, e.height, 8};
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    Directory d;
    if (!readDirectory(source.bytes, d)) {
        if (source.bytes.size() < 6) return ZNT_CANT_READ;
        header.message = "Bad icon directory";
        return ZNT_BAD_FILE;
    }
    for (const Entry &e : d.entries) header.images.push_back(describe(source.bytes, e));
    header.compressionName = "None";
    for (const Entry &e : d.entries)
        if (isPng(imageBytes(source.bytes, e))) header.compressionName = "PNG";
    return ZNT_OK;
}

OpStatus readBitmap(Bytes image, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    Dib dib;
    if (const OpStatus s = parseDib(image, dib, message); s != ZNT_OK) return s;
    const uint32_t w = dib.width, h = dib.height;
    if (request.tooLarge(w, h)) return ZNT_NO_MEMORY;
    const uint64_t end = dib.maskAt + dib.maskStride * h;
    if (end > image.size()) {
        // A cut image loads what it holds when errors are ignored, if that is most of its colour rows.
        const bool most = image.size() >= dib.pixelsAt + dib.colourStride * h / 2;
        if (!request.ignoreErrors() || !most) return ZNT_CANT_READ;
    }
    const uint8_t *data = image.data();
    auto rowAt = [&](size_t start, uint64_t stride, uint32_t y) -> const uint8_t * {
        const uint64_t at = start + stride * (h - 1 - y);   // bottom row first
        return at + stride <= image.size() ? data + at : nullptr;
    };

    uint8_t palette[768] = {};
    for (uint32_t i = 0; i < dib.colours; ++i) {
        const size_t at = dib.paletteAt + size_t(i) * 4;
        if (at + 3 > image.size()) break;
        palette[i] = data[at + 2], palette[256 + i] = data[at + 1], palette[512 + i] = data[at];
    }

    // Which pixels the mask hides, and whether a 32-bit image has any alpha.
    bool masked = false, alphaInData = false;
    for (uint32_t y = 0; y < h && !masked; ++y)
        if (const uint8_t *m = rowAt(dib.maskAt, dib.maskStride, y))
            for (uint32_t x = 0; x < w && !masked; ++x) masked = (m[x >> 3] >> (7 - (x & 7))) & 1;
    if (dib.bitCount == 32)
        for (uint32_t y = 0; y < h && !alphaInData; ++y)
            if (const uint8_t *c = rowAt(dib.pixelsAt, dib.colourStride, y))
                for (uint32_t x = 0; x < w && !alphaInData; ++x) alphaInData = c[4 * x + 3] != 0;

    const bool rgba = dib.bitCount == 32 || masked;
    bool inverted = false;
    const bool binary = !rgba && dib.bitCount == 1 && isBlackWhitePalette(palette, int(dib.colours), inverted);
    const int type = rgba ? ZNT_RGBA : binary ? ZNT_BINARY : dib.bitCount <= 8 ? ZNT_PALETTE : ZNT_RGB;
    if (!out.allocate(type, 8, w, h)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOfType(type));
    if (type == ZNT_PALETTE) {
        std::memcpy(pic.palette, palette, sizeof palette);
        pic.numberOfColors = uint16_t(dib.colours);
    }

    const int bits = dib.bitCount;
    const uint8_t indexMask = uint8_t(bits >= 8 ? 0xff : (1 << bits) - 1);
    Progress progress(request, int(h));
    for (uint32_t y = 0; y < h; ++y) {
        const uint8_t *c = rowAt(dib.pixelsAt, dib.colourStride, y);
        const uint8_t *m = rowAt(dib.maskAt, dib.maskStride, y);
        uint8_t *row = out.row(y);
        if (c == nullptr) continue;   // rows past the end of a cut image stay empty
        if (type == ZNT_BINARY) {
            const size_t n = (size_t(w) + 7) / 8;
            for (size_t k = 0; k < n; ++k) row[k] = inverted ? uint8_t(~c[k]) : c[k];
            if (w & 7) row[n - 1] &= uint8_t(0xff00 >> (w & 7));
        } else if (bits <= 8) {
            const int perByte = 8 / bits;
            for (uint32_t x = 0; x < w; ++x) {
                const uint8_t index = bits == 8 ? c[x] : uint8_t(c[x / perByte] >> (8 - bits * (int(x % perByte) + 1)) & indexMask);
                if (type == ZNT_RGBA) {
                    row[4 * x] = palette[index], row[4 * x + 1] = palette[256 + index], row[4 * x + 2] = palette[512 + index];
                } else {
                    row[x] = index;
                }
            }
        } else {
            const uint32_t step = uint32_t(bits / 8), outStep = type == ZNT_RGBA ? 4 : 3;
            for (uint32_t x = 0; x < w; ++x) {
                const uint8_t *s = c + size_t(x) * step;
                uint8_t *o = row + size_t(x) * outStep;
                o[0] = s[2], o[1] = s[1], o[2] = s[0];
                if (alphaInData) o[3] = s[3];
            }
        }
        if (type == ZNT_RGBA && !alphaInData) {
            for (uint32_t x = 0; x < w; ++x)
                row[4 * x + 3] = m != nullptr && (m[x >> 3] >> (7 - (x & 7)) & 1) ? 0 : 255;
        }
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    Directory d;
    if (!readDirectory(source.bytes, d)) {
        message = "Bad icon directory";
        return ZNT_BAD_FILE;
    }
    if (size_t(request.page) >= d.entries.size()) {
        message = "No page " + std::to_string(request.page + 1);
        return ZNT_BAD_FILE;
    }
    const Entry &e = d.entries[size_t(request.page)];
    const Bytes image = imageBytes(source.bytes, e);
    if (image.size() < e.size && !request.ignoreErrors()) return ZNT_CANT_READ;
    if (isPng(image)) {
        LoadRequest one = request;
        one.page = 0;
        return kPngFormat.readPixels(Source{image, source.name}, one, out, message);
    }
    return readBitmap(image, request, out, message);
}

}  // namespace

const Format kIcoFormat = {
    "ico", "Windows Icon", "ico", "ICO", Signature::exact, sniffIco,
    readHeader, readPixels, nullptr, nullptr, nullptr,
};

const Format kCurFormat = {
    "cur", "Windows Cursor", "cur", "CUR", Signature::exact, sniffCur,
    readHeader, readPixels, nullptr, nullptr, nullptr,
};

}  // namespace zentar
