// TIFF through libtiff: strips and tiles, contiguous and separate planes,
// every compression libtiff decodes; bilevel, grey (1 to 16 bits, either
// photometric), palette, RGB with or without alpha, CMYK, 8 and 16 bits per
// sample; every page. What the native path below does not cover (YCbCr
// without JPEG, LogLuv, odd depths) goes through libtiff's RGBA reader.
//
// Writing: bilevel (as min-is-white, the fax convention), grey, palette,
// RGB and RGBA, one page per directory, with the compression codes of
// FormatParams.compression:
//   0 none, 1 PackBits, 2 LZW, 3 LZW with predictor,
//   4 CCITT G3, 5 CCITT G3 2D, 6 CCITT G4 (bilevel only), 7 Deflate, 8 JPEG.
// A code that does not apply to the picture falls back to LZW.
#include "../format.h"
#include "../pixels.h"

#include <tiffio.h>

#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr uint32_t kMaxSidePx = 1u << 20;
constexpr int kMaxPages = 10000;

// libtiff prints through global handlers unless told otherwise; the
// library never prints, so they are silenced once and each file gets its
// own handlers that keep the first message.
void silenceGlobalHandlers() {
    static std::once_flag once;
    std::call_once(once, [] {
        TIFFSetErrorHandler(nullptr);
        TIFFSetWarningHandler(nullptr);
    });
}

int keepMessage(TIFF *, void *userData, const char *, const char *format, va_list args) {
    auto *message = static_cast<std::string *>(userData);
    if (message != nullptr && message->empty()) {
        char text[256];
        std::vsnprintf(text, sizeof text, format, args);
        *message = text;
    }
    return 1;
}

int ignoreMessage(TIFF *, void *, const char *, const char *, va_list) { return 1; }

// Reading from bytes in memory.
struct MemoryFile {
    Bytes bytes;
    uint64_t pos = 0;
};

tmsize_t memRead(thandle_t handle, void *out, tmsize_t size) {
    auto *f = static_cast<MemoryFile *>(handle);
    if (size <= 0 || f->pos >= f->bytes.size()) return 0;
    const size_t n = std::min<uint64_t>(uint64_t(size), f->bytes.size() - f->pos);
    std::memcpy(out, f->bytes.data() + f->pos, n);
    f->pos += n;
    return tmsize_t(n);
}
tmsize_t memWrite(thandle_t, void *, tmsize_t) { return 0; }
toff_t memSeek(thandle_t handle, toff_t offset, int whence) {
    auto *f = static_cast<MemoryFile *>(handle);
    uint64_t base = whence == SEEK_CUR ? f->pos : whence == SEEK_END ? f->bytes.size() : 0;
    f->pos = base + offset;
    return f->pos;
}
int memClose(thandle_t) { return 0; }
toff_t memSize(thandle_t handle) { return static_cast<MemoryFile *>(handle)->bytes.size(); }
int memMap(thandle_t handle, void **base, toff_t *size) {
    auto *f = static_cast<MemoryFile *>(handle);
    *base = const_cast<uint8_t *>(f->bytes.data());
    *size = f->bytes.size();
    return 1;
}
void memUnmap(thandle_t, void *, toff_t) {}

struct TiffHandle {
    TIFF *tif = nullptr;
    MemoryFile file;
    ~TiffHandle() {
        if (tif != nullptr) TIFFClose(tif);
    }
};

OpStatus openTiff(TiffHandle &h, Bytes bytes, std::string &message) {
    silenceGlobalHandlers();
    h.file.bytes = bytes;
    TIFFOpenOptions *options = TIFFOpenOptionsAlloc();
    if (options == nullptr) return ZNT_NO_MEMORY;
    TIFFOpenOptionsSetErrorHandlerExtR(options, keepMessage, &message);
    TIFFOpenOptionsSetWarningHandlerExtR(options, ignoreMessage, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, tmsize_t(512) << 20);
    h.tif = TIFFClientOpenExt("tiff", "r", &h.file, memRead, memWrite, memSeek, memClose, memSize, memMap, memUnmap,
                              options);
    TIFFOpenOptionsFree(options);
    if (h.tif == nullptr) {
        if (message.empty()) message = "Bad TIFF file";
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

bool sniffTiff(Bytes head) {
    if (head.size() < 4) return false;
    const bool little = head[0] == 'I' && head[1] == 'I' && (head[2] == 42 || head[2] == 43) && head[3] == 0;
    const bool big = head[0] == 'M' && head[1] == 'M' && head[2] == 0 && (head[3] == 42 || head[3] == 43);
    return little || big;
}

// The fields of the current directory that decide how it is read.
struct Layout {
    uint32_t width = 0, height = 0;
    uint16_t bits = 1, samples = 1, photometric = PHOTOMETRIC_MINISBLACK, planar = PLANARCONFIG_CONTIG;
    uint16_t sampleFormat = SAMPLEFORMAT_UINT, compression = COMPRESSION_NONE, inkSet = INKSET_CMYK;
    uint16_t predictor = 1;
    uint32_t t4Options = 0;
    bool alpha = false, associatedAlpha = false;
    uint32_t dpiX = 0, dpiY = 0;
};

Layout readLayout(TIFF *tif) {
    Layout l;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &l.width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &l.height);
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &l.bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &l.samples);
    if (!TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &l.photometric))
        l.photometric = l.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISWHITE;
    TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &l.planar);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &l.sampleFormat);
    TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &l.compression);
    TIFFGetFieldDefaulted(tif, TIFFTAG_INKSET, &l.inkSet);
    TIFFGetFieldDefaulted(tif, TIFFTAG_PREDICTOR, &l.predictor);
    TIFFGetField(tif, TIFFTAG_GROUP3OPTIONS, &l.t4Options);
    uint16_t extraCount = 0;
    uint16_t *extra = nullptr;
    if (TIFFGetField(tif, TIFFTAG_EXTRASAMPLES, &extraCount, &extra) && extraCount > 0 && extra != nullptr) {
        l.alpha = extra[0] == EXTRASAMPLE_ASSOCALPHA || extra[0] == EXTRASAMPLE_UNASSALPHA ||
                  (extra[0] == EXTRASAMPLE_UNSPECIFIED && (l.samples == 2 || l.samples == 4));
        l.associatedAlpha = extra[0] == EXTRASAMPLE_ASSOCALPHA;
    }
    float rx = 0, ry = 0;
    uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(tif, TIFFTAG_RESOLUTIONUNIT, &unit);
    if (TIFFGetField(tif, TIFFTAG_XRESOLUTION, &rx) && TIFFGetField(tif, TIFFTAG_YRESOLUTION, &ry) && rx > 0 &&
        ry > 0 && rx < 1e6f && ry < 1e6f) {
        const float scale = unit == RESUNIT_CENTIMETER ? 2.54f : 1.0f;
        l.dpiX = uint32_t(rx * scale + 0.5f);
        l.dpiY = uint32_t(ry * scale + 0.5f);
    }
    return l;
}

int colorModelOf(const Layout &l) {
    switch (l.photometric) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
        return l.bits == 1 && l.samples == 1 ? ZNT_CM_BINARY : l.samples >= 2 ? ZNT_CM_GREY_ALPHA : ZNT_CM_GREY;
    case PHOTOMETRIC_PALETTE:
        return ZNT_CM_PALETTE;
    case PHOTOMETRIC_SEPARATED:
        return ZNT_CM_CMYK;
    case PHOTOMETRIC_YCBCR:
        return ZNT_CM_YCBCR;
    default:
        return l.alpha ? ZNT_CM_RGBA : ZNT_CM_RGB;
    }
}

std::string compressionName(const Layout &l) {
    switch (l.compression) {
    case COMPRESSION_NONE:
        return "None";
    case COMPRESSION_CCITTRLE:
        return "CCITT RLE";
    case COMPRESSION_CCITTFAX3:
        return (l.t4Options & GROUP3OPT_2DENCODING) ? "CCITT G3 2D" : "CCITT G3";
    case COMPRESSION_CCITTFAX4:
        return "CCITT G4";
    case COMPRESSION_LZW:
        return l.predictor > 1 ? "LZW, predictor" : "LZW";
    case COMPRESSION_OJPEG:
    case COMPRESSION_JPEG:
        return "JPEG";
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
        return l.predictor > 1 ? "Deflate, predictor" : "Deflate";
    case COMPRESSION_PACKBITS:
        return "PackBits";
    default:
        return "Compression " + std::to_string(l.compression);
    }
}

OpStatus readHeader(const Source &source, uint32_t flags, Header &header) {
    TiffHandle h;
    if (const OpStatus s = openTiff(h, source.bytes, header.message); s != ZNT_OK) return s;
    int page = 0;
    do {
        const Layout l = readLayout(h.tif);
        if (page == 0) {
            header.compression = l.compression;
            header.compressionName = compressionName(l);
            header.resolutionX = l.dpiX;
            header.resolutionY = l.dpiY;
            char *text = nullptr;
            if (TIFFGetField(h.tif, TIFFTAG_IMAGEDESCRIPTION, &text) && text != nullptr) header.comment = text;
            uint16_t orientation = 0;
            if (TIFFGetField(h.tif, TIFFTAG_ORIENTATION, &orientation) && orientation >= 1 && orientation <= 8)
                header.orientation = orientation;
        }
        header.images.push_back(ZntSubImage{uint16_t(colorModelOf(l)), l.width, l.height, l.bits});
        if (flags & kInfoQuick) break;
    } while (++page < kMaxPages && TIFFReadDirectory(h.tif));
    header.message.clear();
    return ZNT_OK;
}

// x * y / 255, exact for bytes.
inline uint8_t mul255(unsigned x, unsigned y) {
    const unsigned t = x * y + 128;
    return uint8_t((t + (t >> 8)) >> 8);
}

enum class Kind { binary, grey, greyAlpha, palette, rgb, rgba, cmyk };

// Turns rows of unpacked 8-bit samples into picture rows.
struct RowConverter {
    Kind kind;
    uint32_t width;
    unsigned samples;
    unsigned bits;
    bool minIsWhite;
    bool associated;

    void convert(const uint8_t *s, uint8_t *row) const {
        switch (kind) {
        case Kind::binary:
        case Kind::grey:
        case Kind::palette:
            if (samples == 1) {
                std::memcpy(row, s, width);
            } else {
                for (uint32_t x = 0; x < width; ++x) row[x] = s[x * samples];
            }
            if (minIsWhite && kind == Kind::grey) {
                const uint8_t top = uint8_t(bits >= 8 ? 255 : (1u << bits) - 1);
                for (uint32_t x = 0; x < width; ++x) row[x] = uint8_t(top - row[x]);
            }
            break;
        case Kind::greyAlpha:
            for (uint32_t x = 0; x < width; ++x, s += samples, row += 4) {
                const uint8_t v = minIsWhite ? uint8_t(255 - s[0]) : s[0];
                row[0] = row[1] = row[2] = v;
                row[3] = s[1];
            }
            break;
        case Kind::rgb:
            if (samples == 3) {
                std::memcpy(row, s, size_t(width) * 3);
            } else {
                for (uint32_t x = 0; x < width; ++x, s += samples, row += 3) row[0] = s[0], row[1] = s[1], row[2] = s[2];
            }
            break;
        case Kind::rgba:
            for (uint32_t x = 0; x < width; ++x, s += samples, row += 4) {
                const unsigned a = s[3];
                if (associated && a != 0 && a != 255) {
                    row[0] = uint8_t(std::min(255u, (s[0] * 255u + a / 2) / a));
                    row[1] = uint8_t(std::min(255u, (s[1] * 255u + a / 2) / a));
                    row[2] = uint8_t(std::min(255u, (s[2] * 255u + a / 2) / a));
                } else {
                    row[0] = s[0], row[1] = s[1], row[2] = s[2];
                }
                row[3] = uint8_t(a);
            }
            break;
        case Kind::cmyk:
            for (uint32_t x = 0; x < width; ++x, s += samples, row += 3) {
                const unsigned k = 255u - s[3];
                row[0] = mul255(255u - s[0], k);
                row[1] = mul255(255u - s[1], k);
                row[2] = mul255(255u - s[2], k);
            }
            break;
        }
    }
};

// Unpacks `count` samples of `bits` bits (1, 2, 4, 8 or 16, native order)
// into bytes; 16-bit samples keep their high byte.
void unpackSamples(const uint8_t *in, size_t count, unsigned bits, uint8_t *out) {
    switch (bits) {
    case 8:
        std::memcpy(out, in, count);
        break;
    case 16: {
        for (size_t i = 0; i < count; ++i) {
            uint16_t v;
            std::memcpy(&v, in + 2 * i, 2);
            out[i] = uint8_t(v >> 8);
        }
        break;
    }
    default: {
        const unsigned perByte = 8 / bits;
        const uint8_t mask = uint8_t((1u << bits) - 1);
        for (size_t i = 0; i < count; ++i)
            out[i] = uint8_t(in[i / perByte] >> (8 - bits * (unsigned(i % perByte) + 1)) & mask);
        break;
    }
    }
}

bool beyondFile(TIFF *tif, uint32_t chunk, uint64_t fileSize) {
    int error = 0;
    const uint64_t offset = TIFFGetStrileOffsetWithErr(tif, chunk, &error);
    const uint64_t count = TIFFGetStrileByteCountWithErr(tif, chunk, &error);
    return error != 0 || offset > fileSize || count > fileSize - offset || count == 0;
}

// Reads rows y0 .. y0 + rows of one plane into `band` (scanline layout).
// Returns false when a chunk could not be decoded.
bool readBand(TIFF *tif, const Layout &l, bool tiled, uint32_t y0, uint32_t rows, uint16_t plane, size_t scanline,
              std::vector<uint8_t> &band, std::vector<uint8_t> &chunk, bool &truncated, uint64_t fileSize) {
    bool ok = true;
    if (!tiled) {
        const uint32_t strip = TIFFComputeStrip(tif, y0, plane);
        const tmsize_t got = TIFFReadEncodedStrip(tif, strip, band.data(), tmsize_t(size_t(rows) * scanline));
        if (got < 0) {
            truncated |= beyondFile(tif, strip, fileSize);
            return false;
        }
        if (size_t(got) < size_t(rows) * scanline) std::memset(band.data() + got, 0, size_t(rows) * scanline - size_t(got));
        return true;
    }
    uint32_t tileWidth = 0, tileLength = 0;
    TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(tif, TIFFTAG_TILELENGTH, &tileLength);
    const size_t tileRow = size_t(TIFFTileRowSize(tif));
    const unsigned bitsPerPixel = l.bits * (l.planar == PLANARCONFIG_CONTIG ? l.samples : 1);
    for (uint32_t x0 = 0; x0 < l.width; x0 += tileWidth) {
        const uint32_t tile = TIFFComputeTile(tif, x0, y0, 0, plane);
        if (TIFFReadEncodedTile(tif, tile, chunk.data(), tmsize_t(chunk.size())) < 0) {
            truncated |= beyondFile(tif, tile, fileSize);
            ok = false;
            continue;
        }
        const size_t start = size_t(uint64_t(x0) * bitsPerPixel / 8);
        const size_t length = std::min(tileRow, scanline - start);
        for (uint32_t r = 0; r < rows && r < tileLength; ++r)
            std::memcpy(band.data() + size_t(r) * scanline + start, chunk.data() + size_t(r) * tileRow, length);
    }
    return ok;
}

OpStatus readWithRgba(TIFF *tif, const Layout &l, const LoadRequest &request, OwnedPicture &out,
                      std::string &message) {
    char reason[1024] = {};
    if (!TIFFRGBAImageOK(tif, reason)) {
        message = reason;
        return ZNT_BAD_FILE;
    }
    if (!out.allocate(ZNT_RGBA, 8, l.width, l.height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    const int done = TIFFReadRGBAImageOriented(tif, l.width, l.height, reinterpret_cast<uint32_t *>(pic.data),
                                               ORIENTATION_TOPLEFT, request.ignoreErrors() ? 0 : 1);
    if (!done && !request.ignoreErrors()) return ZNT_CORRUPT;
    if constexpr (std::endian::native == std::endian::big) {
        uint32_t *p = reinterpret_cast<uint32_t *>(pic.data);
        for (size_t i = 0; i < size_t(l.width) * l.height; ++i) {
            const uint32_t v = p[i];
            uint8_t *b = reinterpret_cast<uint8_t *>(p + i);
            b[0] = uint8_t(TIFFGetR(v)), b[1] = uint8_t(TIFFGetG(v)), b[2] = uint8_t(TIFFGetB(v)), b[3] = uint8_t(TIFFGetA(v));
        }
    }
    if (!l.alpha) {
        // No alpha in the file: hand back RGB.
        OwnedPicture rgb;
        if (!rgb.allocate(ZNT_RGB, 8, l.width, l.height)) return ZNT_NO_MEMORY;
        for (uint32_t y = 0; y < l.height; ++y) {
            const uint8_t *s = out.row(y);
            uint8_t *d = rgb.row(y);
            for (uint32_t x = 0; x < l.width; ++x) d[3 * x] = s[4 * x], d[3 * x + 1] = s[4 * x + 1], d[3 * x + 2] = s[4 * x + 2];
        }
        Picture moved = rgb.release();
        zntFree(&out.get());
        out.get() = moved;
    }
    out.get().colorModel = uint16_t(colorModelOf(l));
    out.get().resolutionX = l.dpiX;
    out.get().resolutionY = l.dpiY;
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    TiffHandle h;
    if (const OpStatus s = openTiff(h, source.bytes, message); s != ZNT_OK) return s;
    TIFF *tif = h.tif;
    if (request.page >= kMaxPages) return ZNT_BAD_ARGUMENT;
    if (request.page > 0 && !TIFFSetDirectory(tif, tdir_t(request.page))) {
        message = "No page " + std::to_string(request.page + 1);
        return ZNT_BAD_FILE;
    }
    Layout l = readLayout(tif);
    if (l.width == 0 || l.height == 0 || l.width > kMaxSidePx || l.height > kMaxSidePx) {
        message = "Bad TIFF picture size";
        return ZNT_BAD_FILE;
    }
    if (request.tooLarge(l.width, l.height)) return ZNT_NO_MEMORY;
    if (l.sampleFormat != SAMPLEFORMAT_UINT && l.sampleFormat != SAMPLEFORMAT_VOID) {
        message = "TIFF samples that are not unsigned integers are not supported";
        return ZNT_BAD_FILE;
    }
    // JPEG-compressed YCbCr decodes straight to RGB inside libtiff.
    if (l.photometric == PHOTOMETRIC_YCBCR && l.compression == COMPRESSION_JPEG) {
        TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        l.photometric = PHOTOMETRIC_RGB;
    }

    const bool depthOk = (l.bits == 1 || l.bits == 2 || l.bits == 4 || l.bits == 8 || l.bits == 16) && l.samples <= 16;
    Kind kind = Kind::rgb;
    bool native = depthOk;
    switch (l.photometric) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
        if (l.samples == 1)
            kind = l.bits == 1 ? Kind::binary : Kind::grey;
        else if (l.samples == 2 && l.bits >= 8)
            kind = Kind::greyAlpha;
        else
            native = false;
        break;
    case PHOTOMETRIC_PALETTE:
        kind = Kind::palette;
        native = native && l.samples == 1 && l.bits <= 8;
        break;
    case PHOTOMETRIC_RGB:
        kind = l.samples >= 4 && l.alpha ? Kind::rgba : Kind::rgb;
        native = native && l.samples >= 3 && l.bits >= 8;
        break;
    case PHOTOMETRIC_SEPARATED:
        kind = Kind::cmyk;
        native = native && l.inkSet == INKSET_CMYK && l.samples >= 4 && l.bits >= 8;
        break;
    default:
        native = false;
        break;
    }
    if (!native) return readWithRgba(tif, l, request, out, message);

    int type = ZNT_RGB;
    switch (kind) {
    case Kind::binary:
        type = ZNT_BINARY;
        break;
    case Kind::grey:
        type = ZNT_GREY;
        break;
    case Kind::palette:
        type = ZNT_PALETTE;
        break;
    case Kind::greyAlpha:
    case Kind::rgba:
        type = ZNT_RGBA;
        break;
    default:
        type = ZNT_RGB;
        break;
    }
    if (!out.allocate(type, 8, l.width, l.height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOf(l));
    pic.resolutionX = l.dpiX;
    pic.resolutionY = l.dpiY;
    if (kind == Kind::grey) pic.numberOfColors = uint16_t(l.bits >= 8 ? 256 : 1u << l.bits);
    if (kind == Kind::palette) {
        uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
        if (!TIFFGetField(tif, TIFFTAG_COLORMAP, &red, &green, &blue)) {
            message = "TIFF palette picture without a colour map";
            return ZNT_BAD_FILE;
        }
        const unsigned count = 1u << l.bits;
        // Some writers store 8-bit values in the 16-bit map.
        bool eightBit = true;
        for (unsigned i = 0; i < count; ++i)
            if (red[i] > 255 || green[i] > 255 || blue[i] > 255) eightBit = false;
        const int shift = eightBit ? 0 : 8;
        for (unsigned i = 0; i < count; ++i) {
            pic.palette[i] = uint8_t(red[i] >> shift);
            pic.palette[256 + i] = uint8_t(green[i] >> shift);
            pic.palette[512 + i] = uint8_t(blue[i] >> shift);
        }
        pic.numberOfColors = uint16_t(count);
    }

    const bool tiled = TIFFIsTiled(tif) != 0;
    const bool separate = l.planar == PLANARCONFIG_SEPARATE && l.samples > 1;
    const unsigned planes = separate ? l.samples : 1;
    const size_t scanline = separate ? (size_t(l.width) * l.bits + 7) / 8 : size_t(TIFFScanlineSize64(tif));
    if (scanline == 0) return ZNT_BAD_FILE;
    uint32_t bandRows = 0;
    if (tiled) {
        TIFFGetField(tif, TIFFTAG_TILELENGTH, &bandRows);
    } else {
        TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &bandRows);
    }
    bandRows = std::clamp<uint32_t>(bandRows, 1, l.height);
    if (uint64_t(bandRows) * scanline > (uint64_t(1) << 30)) return ZNT_NO_MEMORY;
    const size_t chunkSize = tiled ? size_t(std::max<tmsize_t>(TIFFTileSize(tif), 0)) : 0;
    if (tiled && chunkSize == 0) return ZNT_BAD_FILE;
    // Tiles may overhang the picture, but not by gigabytes.
    if (chunkSize > std::max<uint64_t>(uint64_t(scanline) * l.height * 2, uint64_t(16) << 20)) {
        message = "TIFF tiles far larger than the picture";
        return ZNT_BAD_FILE;
    }

    std::vector<std::vector<uint8_t>> bands(planes, std::vector<uint8_t>(size_t(bandRows) * scanline));
    std::vector<uint8_t> chunk(chunkSize);
    const size_t samplesPerRow = size_t(l.width) * l.samples;
    std::vector<uint8_t> samples(samplesPerRow), planeSamples(separate ? l.width : 0);
    const RowConverter converter{kind, l.width, l.samples, l.bits, l.photometric == PHOTOMETRIC_MINISWHITE,
                                 l.associatedAlpha};
    Progress progress(request, int(l.height));
    bool truncated = false, failed = false;

    for (uint32_t y0 = 0; y0 < l.height; y0 += bandRows) {
        const uint32_t rows = std::min(bandRows, l.height - y0);
        bool bandOk = true;
        for (unsigned p = 0; p < planes; ++p)
            bandOk &= readBand(tif, l, tiled, y0, rows, uint16_t(p), scanline, bands[p], chunk, truncated,
                               source.bytes.size());
        if (!bandOk) {
            failed = true;
            if (!request.ignoreErrors()) break;
        }
        for (uint32_t r = 0; r < rows; ++r) {
            uint8_t *row = out.row(y0 + r);
            if (kind == Kind::binary) {
                const uint8_t *in = bands[0].data() + size_t(r) * scanline;
                const size_t n = (size_t(l.width) + 7) / 8;
                const bool invert = l.photometric == PHOTOMETRIC_MINISWHITE;
                for (size_t i = 0; i < n; ++i) row[i] = invert ? uint8_t(~in[i]) : in[i];
                if (l.width & 7) row[n - 1] &= uint8_t(0xff00 >> (l.width & 7));
            } else if (separate) {
                for (unsigned p = 0; p < planes; ++p) {
                    unpackSamples(bands[p].data() + size_t(r) * scanline, l.width, l.bits, planeSamples.data());
                    for (uint32_t x = 0; x < l.width; ++x) samples[size_t(x) * l.samples + p] = planeSamples[x];
                }
                converter.convert(samples.data(), row);
            } else {
                unpackSamples(bands[0].data() + size_t(r) * scanline, samplesPerRow, l.bits, samples.data());
                converter.convert(samples.data(), row);
            }
            if (progress.row(int(y0 + r))) return ZNT_STOPPED;
        }
    }
    if (failed && !request.ignoreErrors()) return truncated ? ZNT_CANT_READ : ZNT_CORRUPT;
    return ZNT_OK;
}

// Writing through a FILE *.

tmsize_t fileRead(thandle_t handle, void *out, tmsize_t size) {
    return tmsize_t(std::fread(out, 1, size_t(size), static_cast<FILE *>(handle)));
}
tmsize_t fileWrite(thandle_t handle, void *data, tmsize_t size) {
    return tmsize_t(std::fwrite(data, 1, size_t(size), static_cast<FILE *>(handle)));
}
toff_t fileSeek(thandle_t handle, toff_t offset, int whence) {
    FILE *f = static_cast<FILE *>(handle);
    if (fseeko(f, off_t(offset), whence) != 0) return toff_t(-1);
    return toff_t(ftello(f));
}
int fileClose(thandle_t handle) { return std::fflush(static_cast<FILE *>(handle)); }
toff_t fileSize(thandle_t handle) {
    FILE *f = static_cast<FILE *>(handle);
    const off_t here = ftello(f);
    fseeko(f, 0, SEEK_END);
    const off_t end = ftello(f);
    fseeko(f, here, SEEK_SET);
    return toff_t(end);
}
int fileMap(thandle_t, void **, toff_t *) { return 0; }
void fileUnmap(thandle_t, void *, toff_t) {}

class TiffPages : public PageWriter {
public:
    TiffPages(TIFF *tif, FILE *file, const FormatParams &params) : tif_(tif), file_(file), params_(params) {}
    ~TiffPages() override {
        if (tif_ != nullptr) TIFFClose(tif_);
    }

    OpStatus add(const Picture &pic) override {
        const uint32_t width = pic.width, height = uint32_t(pic.height);
        const bool binary = pic.type == ZNT_BINARY;
        const bool grey = pic.type == ZNT_GREY;
        const bool palette = pic.type == ZNT_PALETTE;
        const bool alpha = hasMask(pic.type);
        const unsigned samples = binary || grey || palette ? 1 : alpha ? 4 : 3;

        unsigned code = params_.compression;
        if ((code >= 4 && code <= 6 && !binary) || (code == 8 && (binary || palette)) || code > 8) code = 2;
        if (binary && code == 3) code = 2;
        uint16_t compression = COMPRESSION_NONE;
        switch (code) {
        case 1:
            compression = COMPRESSION_PACKBITS;
            break;
        case 2:
        case 3:
            compression = COMPRESSION_LZW;
            break;
        case 4:
        case 5:
            compression = COMPRESSION_CCITTFAX3;
            break;
        case 6:
            compression = COMPRESSION_CCITTFAX4;
            break;
        case 7:
            compression = COMPRESSION_ADOBE_DEFLATE;
            break;
        case 8:
            compression = COMPRESSION_JPEG;
            break;
        default:
            break;
        }

        TIFFSetField(tif_, TIFFTAG_IMAGEWIDTH, width);
        TIFFSetField(tif_, TIFFTAG_IMAGELENGTH, height);
        TIFFSetField(tif_, TIFFTAG_BITSPERSAMPLE, binary ? 1 : 8);
        TIFFSetField(tif_, TIFFTAG_SAMPLESPERPIXEL, samples);
        TIFFSetField(tif_, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tif_, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        TIFFSetField(tif_, TIFFTAG_COMPRESSION, compression);
        if (compression == COMPRESSION_CCITTFAX3) TIFFSetField(tif_, TIFFTAG_GROUP3OPTIONS, code == 5 ? GROUP3OPT_2DENCODING : 0);
        if (code == 3 || (code == 7 && !binary)) TIFFSetField(tif_, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        uint16_t photometric = PHOTOMETRIC_RGB;
        if (binary)
            photometric = PHOTOMETRIC_MINISWHITE;
        else if (grey)
            photometric = PHOTOMETRIC_MINISBLACK;
        else if (palette)
            photometric = PHOTOMETRIC_PALETTE;
        if (compression == COMPRESSION_JPEG) {
            TIFFSetField(tif_, TIFFTAG_JPEGQUALITY, std::clamp<int>(params_.jpegQuality, 1, 100));
            if (!grey && !alpha) {
                photometric = PHOTOMETRIC_YCBCR;
            }
        }
        TIFFSetField(tif_, TIFFTAG_PHOTOMETRIC, photometric);
        if (compression == COMPRESSION_JPEG && photometric == PHOTOMETRIC_YCBCR)
            TIFFSetField(tif_, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        if (alpha) {
            const uint16_t extra[1] = {EXTRASAMPLE_UNASSALPHA};
            TIFFSetField(tif_, TIFFTAG_EXTRASAMPLES, 1, extra);
        }
        std::vector<uint16_t> map(768, 0);
        if (palette) {
            for (int i = 0; i < 256; ++i) {
                map[size_t(i)] = uint16_t((pic.palette ? pic.palette[i] : 0) * 257);
                map[size_t(256 + i)] = uint16_t((pic.palette ? pic.palette[256 + i] : 0) * 257);
                map[size_t(512 + i)] = uint16_t((pic.palette ? pic.palette[512 + i] : 0) * 257);
            }
            TIFFSetField(tif_, TIFFTAG_COLORMAP, map.data(), map.data() + 256, map.data() + 512);
        }
        if (pic.resolutionX != 0 && pic.resolutionY != 0) {
            TIFFSetField(tif_, TIFFTAG_XRESOLUTION, float(pic.resolutionX));
            TIFFSetField(tif_, TIFFTAG_YRESOLUTION, float(pic.resolutionY));
            TIFFSetField(tif_, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        }
        uint32_t rowsPerStrip = TIFFDefaultStripSize(tif_, 0);
        if (compression == COMPRESSION_JPEG) rowsPerStrip = std::max<uint32_t>(16, (rowsPerStrip + 15) / 16 * 16);
        TIFFSetField(tif_, TIFFTAG_ROWSPERSTRIP, std::min(rowsPerStrip, height));

        std::vector<uint8_t> row(size_t(width) * 4 + 8);
        for (uint32_t y = 0; y < height; ++y) {
            const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
            if (binary) {
                const size_t n = (size_t(width) + 7) / 8;
                for (size_t i = 0; i < n; ++i) row[i] = uint8_t(~in[i]);
            } else if (grey) {
                rowToGrey(pic, y, row.data());
            } else if (palette) {
                std::memcpy(row.data(), in, width);
            } else if (alpha) {
                rowToRgba(pic, y, row.data());
            } else {
                rowToRgb(pic, y, row.data());
            }
            if (TIFFWriteScanline(tif_, row.data(), y, 0) < 0) return ZNT_CANT_WRITE;
            reportSaveProgress(params_, int(y), int(height));
        }
        if (!TIFFWriteDirectory(tif_)) return ZNT_CANT_WRITE;
        return std::ferror(file_) ? ZNT_CANT_WRITE : ZNT_OK;
    }

    OpStatus finish() override {
        TIFF *tif = tif_;
        tif_ = nullptr;
        TIFFClose(tif);
        return std::ferror(file_) ? ZNT_CANT_WRITE : ZNT_OK;
    }

private:
    TIFF *tif_;
    FILE *file_;
    FormatParams params_;
};

std::unique_ptr<PageWriter> openPages(FILE *file, const FormatParams &params) {
    silenceGlobalHandlers();
    TIFFOpenOptions *options = TIFFOpenOptionsAlloc();
    if (options == nullptr) return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options, ignoreMessage, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, ignoreMessage, nullptr);
    TIFF *tif = TIFFClientOpenExt("tiff", "w", file, fileRead, fileWrite, fileSeek, fileClose, fileSize, fileMap,
                                  fileUnmap, options);
    TIFFOpenOptionsFree(options);
    if (tif == nullptr) return nullptr;
    return std::make_unique<TiffPages>(tif, file, params);
}

OpStatus writeTiff(FILE *file, const Picture &pic, const FormatParams &params) {
    std::unique_ptr<PageWriter> pages = openPages(file, params);
    if (!pages) return ZNT_CANT_WRITE;
    if (const OpStatus s = pages->add(pic); s != ZNT_OK) return s;
    return pages->finish();
}

const ZntSaveKind kTiffSaveKinds[] = {{ZNT_CM_BINARY, 1, 0, 0},
                                      {ZNT_CM_GREY, 8, 0, 0},
                                      {ZNT_CM_PALETTE, 8, 0, 0},
                                      {ZNT_CM_RGB, 24, 0, 0},
                                      {ZNT_CM_RGBA, 32, 0, 0},
                                      {-1, 0, 0, 0}};

}  // namespace

const Format kTiffFormat = {
    "tiff", "Tagged Image File Format", "tif tiff", "TIFF", Signature::exact, sniffTiff,
    readHeader, readPixels, kTiffSaveKinds, writeTiff, openPages,
};

}  // namespace zentar
