// PNG through libpng. Every colour type and depth reads into the simplest
// picture that holds it exactly (16 bits are cut to 8):
//   grey 1 bit                -> binary
//   grey 2, 4, 8, 16 bits     -> grey of 4, 16 or 256 levels
//   grey up to 8 bits + tRNS  -> palette of the grey ramp with its transparent index
//   palette                   -> palette; with tRNS of a single fully transparent
//                                entry, that entry is the transparent index
//   other transparency, alpha -> RGBA
//   RGB                       -> RGB
// Writing chooses the bit depth the same way back, with the compression
// level and Adam7 interlace asked for.
//
// libpng reports errors with longjmp: the functions that call it keep no
// object with a destructor between setjmp and the calls, and everything they
// fill lives in their caller.
#include "../format.h"
#include "../pixels.h"

#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr uint32_t kMaxSidePx = 1u << 20;

struct ReadState {
    Bytes bytes;
    size_t pos = 0;
    bool truncated = false;
    std::string *message = nullptr;
    jmp_buf jump;
};

void readData(png_structp png, png_bytep out, png_size_t length) {
    auto *s = static_cast<ReadState *>(png_get_io_ptr(png));
    if (s->bytes.size() - s->pos < length) {
        s->truncated = true;
        png_error(png, "file is truncated");
    }
    std::memcpy(out, s->bytes.data() + s->pos, length);
    s->pos += length;
}

void onError(png_structp png, png_const_charp text) {
    auto *s = static_cast<ReadState *>(png_get_error_ptr(png));
    if (s->message != nullptr && s->message->empty()) *s->message = text;
    longjmp(s->jump, 1);
}

void onWarning(png_structp, png_const_charp) {}

bool sniffPng(Bytes head) { return head.size() >= 8 && png_sig_cmp(head.data(), 0, 8) == 0; }

// What a file turns into, decided from its header.
struct Plan {
    uint32_t width = 0, height = 0;
    int bitDepth = 0, colorType = 0, interlace = 0;
    int type = ZNT_RGB;
    int levels = 256;          // grey
    int transparent = -1;      // palette
    bool expandToAlpha = false;
    int fileModel = ZNT_CM_RGB;
    uint32_t dpiX = 0, dpiY = 0;
    std::string comment;
    int paletteCount = 0;
    uint8_t palette[768] = {};
};

struct Reader {
    png_structp png = nullptr;
    png_infop info = nullptr;
    ReadState state;
    ~Reader() {
        if (png) png_destroy_read_struct(&png, info ? &info : nullptr, nullptr);
    }
};

bool createReader(Reader &r, Bytes bytes, std::string &message) {
    r.state.bytes = bytes;
    r.state.message = &message;
    r.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &r.state, onError, onWarning);
    if (r.png == nullptr) return false;
    r.info = png_create_info_struct(r.png);
    if (r.info == nullptr) return false;
    png_set_read_fn(r.png, &r.state, readData);
    png_set_user_limits(r.png, kMaxSidePx, kMaxSidePx);
    png_set_chunk_malloc_max(r.png, 64u << 20);
    return true;
}

// Reads the chunks up to the pixels and decides the picture kind. Returns
// false after a libpng error.
bool readPlan(Reader &r, Plan &plan) {
    if (setjmp(r.state.jump)) return false;
    png_read_info(r.png, r.info);
    png_uint_32 w = 0, h = 0;
    int depth = 0, colorType = 0, interlace = 0;
    png_get_IHDR(r.png, r.info, &w, &h, &depth, &colorType, &interlace, nullptr, nullptr);
    plan.width = w, plan.height = h, plan.bitDepth = depth, plan.colorType = colorType, plan.interlace = interlace;

    png_bytep alpha = nullptr;
    int alphaCount = 0;
    png_color_16p key = nullptr;
    const bool hasTrns = png_get_tRNS(r.png, r.info, &alpha, &alphaCount, &key) != 0;

    switch (colorType) {
    case PNG_COLOR_TYPE_GRAY:
        plan.fileModel = depth == 1 ? ZNT_CM_BINARY : ZNT_CM_GREY;
        if (hasTrns && depth <= 8 && key != nullptr) {
            plan.type = ZNT_PALETTE;
            plan.paletteCount = 1 << depth;
            setGreyRamp(plan.palette, plan.paletteCount);
            plan.transparent = key->gray < plan.paletteCount ? key->gray : -1;
        } else if (hasTrns) {
            plan.type = ZNT_RGBA;
            plan.expandToAlpha = true;
        } else {
            plan.type = depth == 1 ? ZNT_BINARY : ZNT_GREY;
            plan.levels = depth >= 8 ? 256 : 1 << depth;
        }
        break;
    case PNG_COLOR_TYPE_PALETTE: {
        plan.fileModel = ZNT_CM_PALETTE;
        png_colorp colours = nullptr;
        int count = 0;
        png_get_PLTE(r.png, r.info, &colours, &count);
        count = std::clamp(count, 0, 256);
        int clear = -1, partial = 0;
        for (int i = 0; hasTrns && alpha != nullptr && i < alphaCount && i < count; ++i) {
            if (alpha[i] == 0 && clear < 0)
                clear = i;
            else if (alpha[i] != 255)
                ++partial;
        }
        if (partial > 0) {
            plan.type = ZNT_RGBA;
            plan.expandToAlpha = true;
        } else {
            plan.type = ZNT_PALETTE;
            plan.transparent = clear;
            plan.paletteCount = count;
            for (int i = 0; i < count; ++i) {
                plan.palette[i] = colours[i].red;
                plan.palette[256 + i] = colours[i].green;
                plan.palette[512 + i] = colours[i].blue;
            }
        }
        break;
    }
    case PNG_COLOR_TYPE_GRAY_ALPHA:
        plan.fileModel = ZNT_CM_GREY_ALPHA;
        plan.type = ZNT_RGBA;
        break;
    case PNG_COLOR_TYPE_RGB:
        plan.fileModel = ZNT_CM_RGB;
        plan.type = hasTrns ? ZNT_RGBA : ZNT_RGB;
        plan.expandToAlpha = hasTrns;
        break;
    default:
        plan.fileModel = ZNT_CM_RGBA;
        plan.type = ZNT_RGBA;
        break;
    }

    png_uint_32 resX = 0, resY = 0;
    int unit = 0;
    if (png_get_pHYs(r.png, r.info, &resX, &resY, &unit) && unit == PNG_RESOLUTION_METER) {
        plan.dpiX = uint32_t((uint64_t(resX) * 254 + 5000) / 10000);
        plan.dpiY = uint32_t((uint64_t(resY) * 254 + 5000) / 10000);
    }
    png_textp texts = nullptr;
    int textCount = 0;
    png_get_text(r.png, r.info, &texts, &textCount);
    for (int i = 0; i < textCount; ++i) {
        if (texts[i].key != nullptr && texts[i].text != nullptr &&
            (std::strcmp(texts[i].key, "Comment") == 0 || std::strcmp(texts[i].key, "Description") == 0)) {
            plan.comment = texts[i].text;
            break;
        }
    }
    return true;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    Reader r;
    if (!createReader(r, source.bytes, header.message)) return ZNT_NO_MEMORY;
    Plan plan;
    if (!readPlan(r, plan)) return r.state.truncated ? ZNT_CANT_READ : ZNT_BAD_FILE;
    header.images.push_back(ZntSubImage{uint16_t(plan.fileModel), plan.width, plan.height, uint16_t(plan.bitDepth)});
    header.compression = uint16_t(plan.interlace);
    header.compressionName = plan.interlace ? "Deflate, interlaced" : "Deflate";
    header.resolutionX = plan.dpiX;
    header.resolutionY = plan.dpiY;
    header.comment = plan.comment;
    return ZNT_OK;
}

struct Rows {
    png_bytep *rows;
    uint32_t height;
    int passes;
    ZntProgressFunction progress;
    void *userData;
    bool stopped;
};

// Decodes every pass into the picture rows. Returns false after a libpng error.
bool readRows(Reader &r, Rows &rows) {
    if (setjmp(r.state.jump)) return false;
    const int total = int(rows.height) * rows.passes;
    for (int pass = 0; pass < rows.passes; ++pass) {
        for (uint32_t y = 0; y < rows.height; ++y) {
            png_read_row(r.png, rows.rows[y], nullptr);
            if (rows.progress != nullptr && rows.progress(pass * int(rows.height) + int(y), total, rows.userData) != 0) {
                rows.stopped = true;
                return true;
            }
        }
    }
    png_read_end(r.png, nullptr);
    return true;
}

bool applyTransforms(Reader &r, const Plan &plan, int &passes) {
    if (setjmp(r.state.jump)) return false;
    if (plan.bitDepth == 16) png_set_strip_16(r.png);
    if (plan.type != ZNT_BINARY && plan.bitDepth < 8) png_set_packing(r.png);
    if (plan.expandToAlpha) png_set_expand(r.png);
    if (plan.type == ZNT_RGBA && (plan.colorType == PNG_COLOR_TYPE_GRAY || plan.colorType == PNG_COLOR_TYPE_GRAY_ALPHA))
        png_set_gray_to_rgb(r.png);
    passes = png_set_interlace_handling(r.png);
    png_read_update_info(r.png, r.info);
    return true;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    Reader r;
    if (!createReader(r, source.bytes, message)) return ZNT_NO_MEMORY;
    Plan plan;
    if (!readPlan(r, plan)) return r.state.truncated ? ZNT_CANT_READ : ZNT_BAD_FILE;
    if (request.tooLarge(plan.width, plan.height)) return ZNT_NO_MEMORY;
    if (!out.allocate(plan.type, 8, plan.width, plan.height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(plan.fileModel);
    pic.resolutionX = plan.dpiX;
    pic.resolutionY = plan.dpiY;
    if (plan.type == ZNT_GREY) pic.numberOfColors = uint16_t(plan.levels);
    if (plan.type == ZNT_PALETTE) {
        std::memcpy(pic.palette, plan.palette, 768);
        pic.numberOfColors = uint16_t(std::max(plan.paletteCount, 1));
        pic.transparentIndex = int16_t(plan.transparent);
    }
    int passes = 1;
    if (!applyTransforms(r, plan, passes)) return ZNT_BAD_FILE;
    if (png_get_rowbytes(r.png, r.info) > pic.bytesPerLine) return ZNT_INTERNAL;

    std::vector<png_bytep> rowPointers(plan.height);
    for (uint32_t y = 0; y < plan.height; ++y) rowPointers[y] = out.row(y);
    Rows rows{rowPointers.data(), plan.height, passes, request.progress, request.progressUserData, false};
    message.clear();
    if (!readRows(r, rows)) {
        if (request.ignoreErrors()) return ZNT_OK;
        return r.state.truncated ? ZNT_CANT_READ : ZNT_CORRUPT;
    }
    return rows.stopped ? ZNT_STOPPED : ZNT_OK;
}

// Writing.

struct WriteState {
    jmp_buf jump;
};

void onWriteError(png_structp png, png_const_charp) {
    longjmp(static_cast<WriteState *>(png_get_error_ptr(png))->jump, 1);
}

struct Writer {
    png_structp png = nullptr;
    png_infop info = nullptr;
    WriteState state;
    ~Writer() {
        if (png) png_destroy_write_struct(&png, info ? &info : nullptr);
    }
};

struct WriteJob {
    const Picture *pic;
    const FormatParams *params;
    int colorType, depth;
    int paletteCount;
    uint8_t *rowBuffer;   // width * 4 bytes
};

void buildRow(const WriteJob &job, uint32_t y) {
    const Picture &pic = *job.pic;
    const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
    uint8_t *out = job.rowBuffer;
    if (job.colorType == PNG_COLOR_TYPE_RGB) {
        rowToRgb(pic, y, out);
    } else if (job.colorType == PNG_COLOR_TYPE_RGB_ALPHA) {
        rowToRgba(pic, y, out);
    } else if (pic.type == ZNT_BINARY) {
        std::memcpy(out, in, (size_t(pic.width) + 7) / 8);
    } else if (job.depth == 8) {
        if (pic.type == ZNT_GREY && pic.numberOfColors != 256)
            rowToGrey(pic, y, out);
        else
            std::memcpy(out, in, pic.width);
    } else {
        // Pack one-byte levels or indexes into 1, 2 or 4 bits.
        const int perByte = 8 / job.depth;
        const uint8_t mask = uint8_t((1 << job.depth) - 1);
        std::memset(out, 0, (size_t(pic.width) * job.depth + 7) / 8);
        for (uint32_t x = 0; x < pic.width; ++x)
            out[x / perByte] |= uint8_t((in[x] & mask) << (8 - job.depth * (int(x % perByte) + 1)));
    }
}

bool writeAll(Writer &w, WriteJob &job, FILE *file) {
    if (setjmp(w.state.jump)) return false;
    const Picture &pic = *job.pic;
    const FormatParams &params = *job.params;
    png_init_io(w.png, file);
    png_set_compression_level(w.png, std::clamp<int>(params.pngCompressionLevel, 0, 9));
    const int interlace = params.progressive ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE;
    png_set_IHDR(w.png, w.info, pic.width, uint32_t(pic.height), job.depth, job.colorType, interlace,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (job.colorType == PNG_COLOR_TYPE_PALETTE) {
        png_color colours[256];
        for (int i = 0; i < job.paletteCount; ++i) {
            colours[i].red = pic.palette ? pic.palette[i] : 0;
            colours[i].green = pic.palette ? pic.palette[256 + i] : 0;
            colours[i].blue = pic.palette ? pic.palette[512 + i] : 0;
        }
        png_set_PLTE(w.png, w.info, colours, job.paletteCount);
        if (pic.transparentIndex >= 0 && pic.transparentIndex < job.paletteCount) {
            png_byte alpha[256];
            std::memset(alpha, 255, sizeof alpha);
            alpha[pic.transparentIndex] = 0;
            png_set_tRNS(w.png, w.info, alpha, pic.transparentIndex + 1, nullptr);
        }
    }
    if (pic.resolutionX != 0 && pic.resolutionY != 0)
        png_set_pHYs(w.png, w.info, uint32_t((uint64_t(pic.resolutionX) * 10000 + 127) / 254),
                     uint32_t((uint64_t(pic.resolutionY) * 10000 + 127) / 254), PNG_RESOLUTION_METER);
    png_write_info(w.png, w.info);
    const int passes = png_set_interlace_handling(w.png);
    const uint32_t height = uint32_t(pic.height);
    for (int pass = 0; pass < passes; ++pass) {
        for (uint32_t y = 0; y < height; ++y) {
            buildRow(job, y);
            png_write_row(w.png, job.rowBuffer);
            if (pass + 1 == passes) reportSaveProgress(params, int(y), int(height));
        }
    }
    png_write_end(w.png, nullptr);
    return true;
}

int depthForCount(int count) { return count <= 2 ? 1 : count <= 4 ? 2 : count <= 16 ? 4 : 8; }

OpStatus writePng(FILE *file, const Picture &pic, const FormatParams &params) {
    Writer w;
    w.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &w.state, onWriteError, onWarning);
    if (w.png == nullptr) return ZNT_NO_MEMORY;
    w.info = png_create_info_struct(w.png);
    if (w.info == nullptr) return ZNT_NO_MEMORY;

    WriteJob job{&pic, &params, PNG_COLOR_TYPE_RGB, 8, 0, nullptr};
    if (pic.type == ZNT_BINARY) {
        job.colorType = PNG_COLOR_TYPE_GRAY, job.depth = 1;
    } else if (pic.type == ZNT_GREY) {
        job.colorType = PNG_COLOR_TYPE_GRAY;
        const int n = pic.numberOfColors;
        job.depth = (n == 2 || n == 4 || n == 16) ? depthForCount(n) : 8;
    } else if (pic.type == ZNT_PALETTE) {
        job.colorType = PNG_COLOR_TYPE_PALETTE;
        job.paletteCount = std::clamp<int>(pic.numberOfColors, 1, 256);
        job.depth = depthForCount(job.paletteCount);
    } else if (hasMask(pic.type)) {
        job.colorType = PNG_COLOR_TYPE_RGB_ALPHA;
    }
    std::vector<uint8_t> buffer(size_t(pic.width) * 4 + 8);
    job.rowBuffer = buffer.data();
    return writeAll(w, job, file) ? ZNT_OK : ZNT_CANT_WRITE;
}

const ZntSaveKind kPngSaveKinds[] = {{ZNT_CM_BINARY, 1, 0x7fffffff, 0x7fffffff},
                                     {ZNT_CM_GREY, 8, 0x7fffffff, 0x7fffffff},
                                     {ZNT_CM_PALETTE, 8, 0x7fffffff, 0x7fffffff},
                                     {ZNT_CM_RGB, 24, 0x7fffffff, 0x7fffffff},
                                     {ZNT_CM_RGBA, 32, 0x7fffffff, 0x7fffffff},
                                     {-1, 0, 0, 0}};

}  // namespace

const Format kPngFormat = {
    "png", "Portable Network Graphics", "png", "PNG", Signature::exact, sniffPng,
    readHeader, readPixels, kPngSaveKinds, writePng, nullptr,
};

}  // namespace zentar
