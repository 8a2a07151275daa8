// X window dumps, as the X server's dump tool writes them: a 100-byte header
// of 32-bit words (most significant byte first as written, either order
// accepted), the window name, the colour entries, then the pixels in the
// server's byte order. Read: Z pixmaps of 1, 4, 8, 16, 24 and 32 bits per
// pixel (true and direct colour through their masks, the other visuals
// through the colour entries) and one-plane bitmaps. Written: 32-bit true
// colour for true-colour pictures, 8-bit with colour entries otherwise.
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

enum Visual { kStaticGray = 0, kGrayScale = 1, kStaticColor = 2, kPseudoColor = 3, kTrueColor = 4, kDirectColor = 5 };
enum PixmapFormat { kXYBitmap = 0, kXYPixmap = 1, kZPixmap = 2 };
constexpr uint32_t kVersion = 7;
constexpr uint32_t kHeaderWords = 25;

struct XwdHeader {
    uint32_t headerSize, version, format, depth, width, height, xOffset, byteOrder, bitmapUnit, bitOrder, bitmapPad,
        bitsPerPixel, bytesPerLine, visualClass, redMask, greenMask, blueMask, bitsPerRgb, colormapEntries, colours,
        windowWidth, windowHeight, windowX, windowY, border;
    bool bigEndian;
};

bool readWords(Bytes bytes, XwdHeader &h) {
    if (bytes.size() < kHeaderWords * 4) return false;
    uint32_t words[kHeaderWords];
    const bool big = readBe32(bytes.data() + 4) == kVersion;
    const bool little = readLe32(bytes.data() + 4) == kVersion;
    if (!big && !little) return false;
    for (uint32_t i = 0; i < kHeaderWords; ++i)
        words[i] = big ? readBe32(bytes.data() + 4 * i) : readLe32(bytes.data() + 4 * i);
    std::memcpy(&h, words, sizeof words);
    h.bigEndian = big;
    return true;
}

bool plausible(const XwdHeader &h) {
    return h.headerSize >= kHeaderWords * 4 && h.headerSize < 65536 && h.format <= kZPixmap && h.depth >= 1 &&
           h.depth <= 32 && h.visualClass <= kDirectColor && h.bitsPerPixel >= 1 && h.bitsPerPixel <= 32;
}

bool sniffXwd(Bytes head) {
    XwdHeader h;
    return readWords(head, h) && plausible(h);
}

int colorModelOf(const XwdHeader &h) {
    if (h.depth == 1) return ZNT_CM_BINARY;
    if (h.visualClass == kTrueColor || h.visualClass == kDirectColor) return ZNT_CM_RGB;
    if (h.visualClass == kStaticGray || h.visualClass == kGrayScale) return ZNT_CM_GREY;
    return ZNT_CM_PALETTE;
}

OpStatus parseHeader(Bytes bytes, XwdHeader &h, std::string &message) {
    if (!readWords(bytes, h) || !plausible(h)) {
        message = "Not an X window dump";
        return ZNT_BAD_FILE;
    }
    if (h.width == 0 || h.height == 0 || h.width > (1u << 20) || h.height > (1u << 20)) {
        message = "Bad X window dump size";
        return ZNT_BAD_FILE;
    }
    const bool bitmap = h.format != kZPixmap;
    if (bitmap && h.depth != 1) {
        message = "Only one-plane XY pixmaps are supported";
        return ZNT_BAD_FILE;
    }
    const uint32_t bpp = bitmap ? 1 : h.bitsPerPixel;
    if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32) {
        message = "X window dump with " + std::to_string(bpp) + " bits per pixel is not supported";
        return ZNT_BAD_FILE;
    }
    const bool masked = (h.visualClass == kTrueColor || h.visualClass == kDirectColor) && h.depth > 1;
    // One bit per pixel is a bitmap of depth 1; colour maps index 4 or 8 bits; masks need whole bytes.
    const bool layoutOk = h.depth == 1 ? bpp == 1 : masked ? bpp >= 8 : bpp == 4 || bpp == 8;
    if (!layoutOk) {
        message = "X window dump of depth " + std::to_string(h.depth) + " with " + std::to_string(bpp) +
                  " bits per pixel is not supported";
        return ZNT_BAD_FILE;
    }
    if (masked && (h.redMask == 0 || h.greenMask == 0 || h.blueMask == 0)) {
        message = "X window dump without colour masks";
        return ZNT_BAD_FILE;
    }
    for (uint32_t m : {h.redMask, h.greenMask, h.blueMask}) {
        if (m == 0) continue;
        const uint32_t shifted = m >> std::countr_zero(m);
        if ((shifted & (shifted + 1)) != 0) {
            message = "X window dump colour masks must be contiguous";
            return ZNT_BAD_FILE;
        }
    }
    if (uint64_t(h.bytesPerLine) * 8 < uint64_t(h.width) * bpp) {
        message = "X window dump rows shorter than the picture";
        return ZNT_BAD_FILE;
    }
    if (h.colours > 65536) {
        message = "Too many colour entries in X window dump";
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    XwdHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, header.message); s != ZNT_OK) return s;
    header.images.push_back(ZntSubImage{uint16_t(colorModelOf(h)), h.width, h.height, uint16_t(h.depth)});
    header.compressionName = "None";
    // The window name follows the header words.
    const size_t nameEnd = std::min<size_t>(h.headerSize, source.bytes.size());
    if (nameEnd > kHeaderWords * 4) {
        const char *name = reinterpret_cast<const char *>(source.bytes.data()) + kHeaderWords * 4;
        header.comment.assign(name, strnlen(name, nameEnd - kHeaderWords * 4));
    }
    return ZNT_OK;
}

struct MaskChannel {
    uint32_t mask;
    int shift = 0, bits = 0;
    std::vector<uint8_t> table;
    explicit MaskChannel(uint32_t m) : mask(m) {
        if (m == 0) return;
        shift = std::countr_zero(m);
        bits = std::popcount(m);
        const uint32_t max = bits >= 16 ? 0xffff : (1u << bits) - 1;
        table.resize(size_t(max) + 1);
        for (uint32_t v = 0; v <= max; ++v) table[v] = uint8_t((uint64_t(v) * 255 + max / 2) / max);
    }
    uint8_t operator()(uint32_t pixel) const {
        if (mask == 0) return 0;
        uint32_t v = (pixel & mask) >> shift;
        if (bits > 16) v >>= bits - 16;
        return table[v];
    }
};

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    XwdHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, message); s != ZNT_OK) return s;
    if (request.tooLarge(h.width, h.height)) return ZNT_NO_MEMORY;
    const Bytes bytes = source.bytes;
    const uint64_t coloursAt = h.headerSize;
    const uint64_t pixelsAt = coloursAt + uint64_t(h.colours) * 12;
    if (pixelsAt > bytes.size()) return ZNT_CANT_READ;

    const bool bitmap = h.format != kZPixmap || h.depth == 1;
    const uint32_t bpp = h.format != kZPixmap ? 1 : h.bitsPerPixel;
    const bool masked = (h.visualClass == kTrueColor || h.visualClass == kDirectColor) && h.depth > 1;

    // Colour entries by pixel value.
    uint8_t palette[768] = {};
    int paletteCount = 0;
    ByteReader entries(bytes, size_t(coloursAt));
    for (uint32_t i = 0; i < h.colours; ++i) {
        const uint32_t pixel = h.bigEndian ? entries.be32() : entries.le32();
        const uint16_t r = h.bigEndian ? entries.be16() : entries.le16();
        const uint16_t g = h.bigEndian ? entries.be16() : entries.le16();
        const uint16_t b = h.bigEndian ? entries.be16() : entries.le16();
        entries.skip(2);
        if (pixel < 256) {
            palette[pixel] = uint8_t(r >> 8), palette[256 + pixel] = uint8_t(g >> 8), palette[512 + pixel] = uint8_t(b >> 8);
            paletteCount = std::max(paletteCount, int(pixel) + 1);
        }
    }

    int type = ZNT_RGB;
    bool inverted = false;
    if (bitmap) {
        // Without colour entries a bitmap shows 1 as black, the X default.
        if (paletteCount < 2) {
            palette[0] = palette[256] = palette[512] = 255;
            paletteCount = 2;
        }
        type = isBlackWhitePalette(palette, 2, inverted) ? ZNT_BINARY : ZNT_PALETTE;
    } else if (!masked) {
        type = ZNT_PALETTE;
    }
    if (!out.allocate(type, 8, h.width, h.height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOf(h));
    if (type == ZNT_PALETTE) {
        std::memcpy(pic.palette, palette, sizeof palette);
        pic.numberOfColors = uint16_t(paletteCount > 0 ? paletteCount : 1 << std::min<uint32_t>(bpp, 8));
        if (bitmap) pic.numberOfColors = 2;
    }

    const MaskChannel red(h.redMask), green(h.greenMask), blue(h.blueMask);
    const bool lsbFirst = h.byteOrder == 0;
    const bool bitsLsbFirst = h.bitOrder == 0;
    const uint64_t available = bytes.size() - pixelsAt;
    const uint32_t rows = uint32_t(std::min<uint64_t>(h.height, available / h.bytesPerLine));
    Progress progress(request, int(h.height));
    for (uint32_t y = 0; y < rows; ++y) {
        const uint8_t *in = bytes.data() + pixelsAt + uint64_t(y) * h.bytesPerLine;
        uint8_t *row = out.row(y);
        if (bitmap) {
            for (uint32_t x = 0; x < h.width; ++x) {
                const uint32_t bitX = x + (h.format != kZPixmap ? h.xOffset % 32 : 0);
                if (uint64_t(bitX / 8) >= h.bytesPerLine) break;
                const uint8_t byte = in[bitX / 8];
                const unsigned bit = bitsLsbFirst ? (byte >> (bitX & 7)) & 1 : (byte >> (7 - (bitX & 7))) & 1;
                if (type == ZNT_BINARY) {
                    if (bit ^ unsigned(inverted)) row[x >> 3] |= uint8_t(0x80 >> (x & 7));
                } else {
                    row[x] = uint8_t(bit);
                }
            }
        } else if (masked) {
            const uint32_t step = bpp / 8;
            for (uint32_t x = 0; x < h.width; ++x, in += step, row += 3) {
                uint32_t px = 0;
                switch (step) {
                case 1:
                    px = in[0];
                    break;
                case 2:
                    px = lsbFirst ? readLe16(in) : readBe16(in);
                    break;
                case 3:
                    px = lsbFirst ? uint32_t(in[0] | in[1] << 8 | in[2] << 16) : uint32_t(in[0] << 16 | in[1] << 8 | in[2]);
                    break;
                default:
                    px = lsbFirst ? readLe32(in) : readBe32(in);
                    break;
                }
                row[0] = red(px), row[1] = green(px), row[2] = blue(px);
            }
        } else if (bpp == 8) {
            std::memcpy(row, in, h.width);
        } else {  // 4 bits: the byte order decides which nibble comes first
            for (uint32_t x = 0; x < h.width; ++x) {
                const uint8_t byte = in[x / 2];
                row[x] = (x & 1) == (lsbFirst ? 0u : 1u) ? byte & 15 : byte >> 4;
            }
        }
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    if (rows < h.height && !request.ignoreErrors()) return ZNT_CANT_READ;
    if (h.visualClass == kStaticGray || h.visualClass == kGrayScale) paletteToGreyIfRamp(pic);
    return ZNT_OK;
}

const ZntSaveKind kXwdSaveKinds[] = {{ZNT_CM_BINARY, 1, 0, 0},
                                     {ZNT_CM_GREY, 8, 0, 0},
                                     {ZNT_CM_PALETTE, 8, 0, 0},
                                     {ZNT_CM_RGB, 24, 0, 0},
                                     {-1, 0, 0, 0}};

OpStatus writeXwd(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t width = pic.width, height = uint32_t(pic.height);
    const bool trueColor = isTrueColor(pic.type);
    const bool bitmap = pic.type == ZNT_BINARY;
    const uint32_t bytesPerLine = trueColor ? width * 4 : bitmap ? (width + 31) / 32 * 4 : (width + 3) & ~3u;
    uint32_t colours = 0;
    uint8_t palette[768] = {};
    uint32_t visual = kTrueColor;
    if (pic.type == ZNT_BINARY) {
        colours = 2, visual = kStaticGray;
        palette[1] = palette[257] = palette[513] = 255;
    } else if (pic.type == ZNT_GREY) {
        colours = std::clamp<uint32_t>(pic.numberOfColors, 2, 256), visual = kGrayScale;
        setGreyRamp(palette, int(colours));
    } else if (pic.type == ZNT_PALETTE) {
        colours = std::clamp<uint32_t>(pic.numberOfColors, 1, 256), visual = kPseudoColor;
        if (pic.palette) std::memcpy(palette, pic.palette, 768);
    }
    const char name[] = "";
    const uint32_t headerSize = kHeaderWords * 4 + sizeof name;
    const uint32_t words[kHeaderWords] = {
        headerSize, kVersion, kZPixmap, trueColor ? 24u : bitmap ? 1u : 8u, width, height, 0,
        // Byte order least significant first; bitmaps keep their leftmost pixel in the high bit.
        0, 32, bitmap ? 1u : 0u, 32, trueColor ? 32u : bitmap ? 1u : 8u, bytesPerLine, visual,
        trueColor ? 0xff0000u : 0u, trueColor ? 0xff00u : 0u, trueColor ? 0xffu : 0u, 8, 256, colours,
        width, height, 0, 0, 0};
    FileWriter out(file);
    for (uint32_t w : words) out.be32(w);
    out.bytes(name, sizeof name);
    for (uint32_t i = 0; i < colours; ++i) {
        out.be32(i);
        out.be16(palette[i] * 257u);
        out.be16(palette[256 + i] * 257u);
        out.be16(palette[512 + i] * 257u);
        out.u8(7);   // red, green and blue are set
        out.u8(0);
    }
    std::vector<uint8_t> rgb(size_t(width) * 3), line(bytesPerLine, 0);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
        if (trueColor) {
            rowToRgb(pic, y, rgb.data());
            for (uint32_t x = 0; x < width; ++x) {
                line[4 * x] = rgb[3 * x + 2];
                line[4 * x + 1] = rgb[3 * x + 1];
                line[4 * x + 2] = rgb[3 * x];
                line[4 * x + 3] = 0;
            }
        } else if (bitmap) {
            std::memcpy(line.data(), in, (size_t(width) + 7) / 8);
        } else {
            std::memcpy(line.data(), in, width);
        }
        out.bytes(line.data(), bytesPerLine);
        reportSaveProgress(params, int(y), int(height));
    }
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kXwdFormat = {
    "xwd", "X Window Dump", "xwd", "XWD", Signature::weak, sniffXwd,
    readHeader, readPixels, kXwdSaveKinds, writeXwd, nullptr,
};

}  // namespace zentar
