// JPEG through libjpeg: baseline and progressive, grey, YCbCr, CMYK and YCCK
// read (CMYK into RGB, inks stored inverted after an APP14 marker recognised); quality,
// progressive and optimised Huffman tables on write. The EXIF orientation
// and the comment are reported, not applied.
//
// A reduced load (ZNT_LOAD_REDUCED with a wanted size) takes the EXIF
// thumbnail when it is large enough and of the picture's proportions;
// otherwise the decoder scales by 1/2, 1/4 or 1/8 in the DCT, with the fast
// integer transform and plain upsampling. Either way a thumbnail never costs
// a full decode, though the DCT path still reads every coefficient.
//
// libjpeg reports errors with longjmp: the functions that call it keep no
// object with a destructor between setjmp and the calls.
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"

#include <cstdio>
#include <jpeglib.h>
#include <jerror.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

// Decoding of a hostile progressive file could otherwise run for minutes.
constexpr int kMaxScans = 1000;

struct ErrorState {
    jpeg_error_mgr manager;
    jmp_buf jump;
    std::string *message = nullptr;
    bool truncated = false;
};

void onErrorExit(j_common_ptr info) {
    auto *state = reinterpret_cast<ErrorState *>(info->err);
    if (state->message != nullptr && state->message->empty()) {
        char text[JMSG_LENGTH_MAX];
        info->err->format_message(info, text);
        *state->message = text;
    }
    longjmp(state->jump, 1);
}

void onMessage(j_common_ptr info, int level) {
    auto *state = reinterpret_cast<ErrorState *>(info->err);
    if (level < 0 && info->err->msg_code == JWRN_JPEG_EOF) state->truncated = true;
}

void onOutput(j_common_ptr) {}

void onProgress(j_common_ptr info) {
    if (!info->is_decompressor) return;
    auto *d = reinterpret_cast<j_decompress_ptr>(info);
    if (d->input_scan_number > kMaxScans) {
        auto *state = reinterpret_cast<ErrorState *>(info->err);
        if (state->message != nullptr && state->message->empty()) *state->message = "Too many scans";
        longjmp(state->jump, 1);
    }
}

bool sniffJpeg(Bytes head) { return head.size() >= 3 && head[0] == 0xff && head[1] == 0xd8 && head[2] == 0xff; }

// The orientation tag of an EXIF block ("Exif\0\0" then a TIFF structure).
uint16_t exifOrientation(const uint8_t *data, size_t size) {
    if (size < 14 || std::memcmp(data, "Exif\0\0", 6) != 0) return 0;
    const Bytes tiff(data + 6, size - 6);
    const bool little = tiff[0] == 'I' && tiff[1] == 'I';
    if (!little && !(tiff[0] == 'M' && tiff[1] == 'M')) return 0;
    auto u16 = [&](size_t at) -> uint32_t {
        if (at + 2 > tiff.size()) return 0;
        return little ? readLe16(tiff.data() + at) : readBe16(tiff.data() + at);
    };
    auto u32 = [&](size_t at) -> uint32_t {
        if (at + 4 > tiff.size()) return 0;
        return little ? readLe32(tiff.data() + at) : readBe32(tiff.data() + at);
    };
    const uint32_t ifd = u32(4);
    if (ifd < 8 || ifd + 2 > tiff.size()) return 0;
    const uint32_t count = u16(ifd);
    for (uint32_t i = 0; i < count && i < 1000; ++i) {
        const size_t entry = size_t(ifd) + 2 + size_t(i) * 12;
        if (entry + 12 > tiff.size()) break;
        if (u16(entry) == 0x0112 && u16(entry + 2) == 3) {
            const uint32_t v = u16(entry + 8);
            return v >= 1 && v <= 8 ? uint16_t(v) : 0;
        }
    }
    return 0;
}

// The JPEG thumbnail an EXIF block carries in its second directory
// (tags 0x201 offset and 0x202 length), or an empty span.
Bytes exifThumbnail(const uint8_t *data, size_t size) {
    if (size < 14 || std::memcmp(data, "Exif\0\0", 6) != 0) return {};
    const Bytes tiff(data + 6, size - 6);
    const bool little = tiff[0] == 'I' && tiff[1] == 'I';
    if (!little && !(tiff[0] == 'M' && tiff[1] == 'M')) return {};
    auto u16 = [&](uint64_t at) -> uint32_t {
        if (at + 2 > tiff.size()) return 0;
        return little ? readLe16(tiff.data() + at) : readBe16(tiff.data() + at);
    };
    auto u32 = [&](uint64_t at) -> uint32_t {
        if (at + 4 > tiff.size()) return 0;
        return little ? readLe32(tiff.data() + at) : readBe32(tiff.data() + at);
    };
    const uint32_t first = u32(4);
    if (first < 8 || first + 2 > tiff.size()) return {};
    const uint64_t second = u32(first + 2 + uint64_t(u16(first)) * 12);
    if (second < 8 || second + 2 > tiff.size()) return {};
    uint32_t offset = 0, length = 0;
    const uint32_t count = u16(second);
    for (uint32_t i = 0; i < count && i < 100; ++i) {
        const uint64_t entry = second + 2 + uint64_t(i) * 12;
        const uint32_t tag = u16(entry);
        if (tag == 0x0201) offset = u32(entry + 8);
        if (tag == 0x0202) length = u32(entry + 8);
    }
    if (offset < 8 || length < 4 || offset > tiff.size() || length > tiff.size() - offset) return {};
    return tiff.subspan(offset, length);
}

struct Decoder {
    jpeg_decompress_struct info{};
    ErrorState error;
    jpeg_progress_mgr progress{};
    bool created = false;
    ~Decoder() {
        if (created) jpeg_destroy_decompress(&info);
    }
};

struct HeaderFacts {
    uint32_t width = 0, height = 0;
    int components = 0;
    int model = ZNT_CM_RGB;
    bool progressive = false, arithmetic = false;
    bool adobe = false;
    uint32_t dpiX = 0, dpiY = 0;
    uint16_t orientation = 0;
    std::string comment;
    std::vector<uint8_t> thumbnail;   // the EXIF thumbnail, a JPEG of its own
};

bool openDecoder(Decoder &d, Bytes bytes, std::string &message, HeaderFacts &facts) {
    d.info.err = jpeg_std_error(&d.error.manager);
    d.error.manager.error_exit = onErrorExit;
    d.error.manager.emit_message = onMessage;
    d.error.manager.output_message = onOutput;
    d.error.message = &message;
    if (setjmp(d.error.jump)) return false;
    jpeg_create_decompress(&d.info);
    d.created = true;
    d.progress.progress_monitor = onProgress;
    d.info.progress = &d.progress;
    d.info.mem->max_memory_to_use = size_t(2) << 30;
    jpeg_mem_src(&d.info, bytes.data(), static_cast<unsigned long>(bytes.size()));
    jpeg_save_markers(&d.info, JPEG_COM, 0xffff);
    jpeg_save_markers(&d.info, JPEG_APP0 + 1, 0xffff);
    jpeg_read_header(&d.info, TRUE);

    facts.width = d.info.image_width;
    facts.height = d.info.image_height;
    facts.components = d.info.num_components;
    facts.progressive = d.info.progressive_mode != 0;
    facts.arithmetic = d.info.arith_code != 0;
    facts.adobe = d.info.saw_Adobe_marker != 0;
    switch (d.info.jpeg_color_space) {
    case JCS_GRAYSCALE:
        facts.model = ZNT_CM_GREY;
        break;
    case JCS_CMYK:
        facts.model = ZNT_CM_CMYK;
        break;
    case JCS_YCCK:
        facts.model = ZNT_CM_YCCK;
        break;
    case JCS_YCbCr:
        facts.model = ZNT_CM_YCBCR;
        break;
    default:
        facts.model = ZNT_CM_RGB;
        break;
    }
    if (d.info.density_unit == 1) {
        facts.dpiX = d.info.X_density, facts.dpiY = d.info.Y_density;
    } else if (d.info.density_unit == 2) {
        facts.dpiX = (d.info.X_density * 254u + 50) / 100, facts.dpiY = (d.info.Y_density * 254u + 50) / 100;
    }
    for (jpeg_saved_marker_ptr m = d.info.marker_list; m != nullptr; m = m->next) {
        if (m->marker == JPEG_COM && facts.comment.empty()) {
            facts.comment.assign(reinterpret_cast<const char *>(m->data), m->data_length);
            while (!facts.comment.empty() && facts.comment.back() == '\0') facts.comment.pop_back();
        } else if (m->marker == JPEG_APP0 + 1 && facts.orientation == 0) {
            facts.orientation = exifOrientation(m->data, m->data_length);
            const Bytes thumbnail = exifThumbnail(m->data, m->data_length);
            facts.thumbnail.assign(thumbnail.begin(), thumbnail.end());
        }
    }
    return true;
}

std::string compressionText(const HeaderFacts &f) {
    std::string text = f.progressive ? "JPEG progressive" : "JPEG baseline";
    if (f.arithmetic) text += ", arithmetic";
    return text;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    Decoder d;
    HeaderFacts facts;
    if (!openDecoder(d, source.bytes, header.message, facts)) return d.error.truncated ? ZNT_CANT_READ : ZNT_JPEG_PROBLEM;
    header.images.push_back(ZntSubImage{uint16_t(facts.model), facts.width, facts.height, 8});
    header.compression = facts.progressive ? 2 : 1;
    header.compressionName = compressionText(facts);
    header.resolutionX = facts.dpiX;
    header.resolutionY = facts.dpiY;
    header.orientation = facts.orientation;
    header.comment = facts.comment;
    return ZNT_OK;
}

// The decoder's choices for one load, made before start.
struct Output {
    bool cmyk = false;
    bool grey = false;
    unsigned denominator = 1;
};

bool startDecoder(Decoder &d, const Output &o) {
    if (setjmp(d.error.jump)) return false;
    d.info.out_color_space = o.cmyk ? JCS_CMYK : o.grey ? JCS_GRAYSCALE : JCS_RGB;
    if (o.denominator > 1) {
        d.info.scale_num = 1;
        d.info.scale_denom = o.denominator;
        d.info.dct_method = JDCT_IFAST;
        d.info.do_fancy_upsampling = FALSE;
        d.info.do_block_smoothing = FALSE;
    }
    jpeg_calc_output_dimensions(&d.info);
    return true;
}

bool beginDecompress(Decoder &d) {
    if (setjmp(d.error.jump)) return false;
    jpeg_start_decompress(&d.info);
    return true;
}

struct ScanJob {
    uint8_t *data;            // picture rows, or null for CMYK
    uint32_t bytesPerLine;
    uint8_t *cmykRows;        // CMYK: a band of rows to convert, else null
    uint32_t cmykStride;
    Picture *pic;
    bool adobe;
    ZntProgressFunction progress;
    void *userData;
    uint32_t rowsDone;
    bool stopped;
};

// x * y / 255, exact for bytes.
inline uint8_t mul255(unsigned x, unsigned y) {
    const unsigned t = x * y + 128;
    return uint8_t((t + (t >> 8)) >> 8);
}

bool readScanlines(Decoder &d, ScanJob &job) {
    if (setjmp(d.error.jump)) return false;
    const uint32_t height = d.info.output_height;
    const uint32_t band = uint32_t(std::max(1, d.info.rec_outbuf_height));
    JSAMPROW rows[16];
    while (d.info.output_scanline < height) {
        const uint32_t y = d.info.output_scanline;
        const uint32_t n = std::min<uint32_t>({band, height - y, 16u});
        for (uint32_t i = 0; i < n; ++i)
            rows[i] = job.cmykRows ? job.cmykRows + size_t(i) * job.cmykStride
                                   : job.data + size_t(y + i) * job.bytesPerLine;
        const JDIMENSION got = jpeg_read_scanlines(&d.info, rows, n);
        if (job.cmykRows != nullptr) {
            for (JDIMENSION i = 0; i < got; ++i) {
                const uint8_t *in = rows[i];
                uint8_t *out = job.pic->data + size_t(y + i) * job.pic->bytesPerLine;
                for (uint32_t x = 0; x < d.info.output_width; ++x, in += 4, out += 3) {
                    // Files with an APP14 marker store the inks inverted.
                    const unsigned c = job.adobe ? in[0] : 255u - in[0];
                    const unsigned m = job.adobe ? in[1] : 255u - in[1];
                    const unsigned yl = job.adobe ? in[2] : 255u - in[2];
                    const unsigned k = job.adobe ? in[3] : 255u - in[3];
                    out[0] = mul255(c, k);
                    out[1] = mul255(m, k);
                    out[2] = mul255(yl, k);
                }
            }
        }
        job.rowsDone = d.info.output_scanline;
        if (job.progress != nullptr) {
            for (JDIMENSION i = 0; i < got; ++i) {
                if (job.progress(int(y + i), int(height), job.userData) != 0) {
                    job.stopped = true;
                    return true;
                }
            }
        }
        if (got == 0) break;
    }
    jpeg_finish_decompress(&d.info);
    return true;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    Decoder d;
    HeaderFacts facts;
    if (!openDecoder(d, source.bytes, message, facts)) return d.error.truncated ? ZNT_CANT_READ : ZNT_JPEG_PROBLEM;

    const bool reduced = (request.flags & ZNT_LOAD_REDUCED) && (request.reducedWidth != 0 || request.reducedHeight != 0);
    if (reduced && !facts.thumbnail.empty()) {
        // Cameras store a small copy of the picture: when it is as large as
        // wanted and of the same proportions, it is all a thumbnail needs.
        const std::vector<uint8_t> bytes = std::move(facts.thumbnail);
        Decoder t;
        HeaderFacts small;
        std::string ignored;
        if (openDecoder(t, bytes, ignored, small) && small.width >= request.reducedWidth &&
            small.height >= request.reducedHeight && small.width < facts.width) {
            const uint64_t a = uint64_t(small.width) * facts.height, b = uint64_t(facts.width) * small.height;
            if ((a > b ? a - b : b - a) * 50 <= b) {
                LoadRequest inner = request;
                inner.flags &= ~uint32_t(ZNT_LOAD_REDUCED);   // and so no thumbnail of the thumbnail
                if (readPixels(Source{bytes, source.name}, inner, out, ignored) == ZNT_OK) {
                    out.get().colorModel = uint16_t(facts.model);
                    out.get().resolutionX = facts.dpiX;
                    out.get().resolutionY = facts.dpiY;
                    return ZNT_OK;
                }
            }
        }
    }

    Output o;
    o.grey = facts.model == ZNT_CM_GREY;
    o.cmyk = facts.model == ZNT_CM_CMYK || facts.model == ZNT_CM_YCCK;
    if (reduced) {
        for (unsigned denominator : {8u, 4u, 2u}) {
            const uint32_t w = (facts.width + denominator - 1) / denominator;
            const uint32_t h = (facts.height + denominator - 1) / denominator;
            if (w >= request.reducedWidth && h >= request.reducedHeight) {
                o.denominator = denominator;
                break;
            }
        }
    }
    if (!startDecoder(d, o)) return ZNT_JPEG_PROBLEM;
    const uint32_t width = d.info.output_width, height = d.info.output_height;
    if (request.tooLarge(width, height)) return ZNT_NO_MEMORY;
    // A progressive file keeps every coefficient of the full picture.
    if (facts.progressive && uint64_t(facts.width) * facts.height * uint64_t(facts.components) * 2 > (uint64_t(3) << 30))
        return ZNT_NO_MEMORY;
    if (!out.allocate(o.grey ? ZNT_GREY : ZNT_RGB, 8, width, height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(facts.model);
    pic.resolutionX = facts.dpiX;
    pic.resolutionY = facts.dpiY;

    if (!beginDecompress(d)) return d.error.truncated ? ZNT_CANT_READ : ZNT_JPEG_PROBLEM;
    std::vector<uint8_t> cmyk;
    if (o.cmyk) cmyk.resize(size_t(width) * 4 * 16);
    ScanJob job{pic.data, pic.bytesPerLine, o.cmyk ? cmyk.data() : nullptr, width * 4, &pic, facts.adobe,
                request.progress, request.progressUserData, 0, false};
    message.clear();
    const bool finished = readScanlines(d, job);
    if (job.stopped) return ZNT_STOPPED;
    if (!finished) {
        if (request.ignoreErrors() && job.rowsDone > 0) return ZNT_OK;
        return d.error.truncated ? ZNT_CANT_READ : ZNT_JPEG_PROBLEM;
    }
    if (d.error.truncated && !request.ignoreErrors()) return ZNT_CANT_READ;
    return ZNT_OK;
}

// Writing.

struct Encoder {
    jpeg_compress_struct info{};
    ErrorState error;
    bool created = false;
    ~Encoder() {
        if (created) jpeg_destroy_compress(&info);
    }
};

bool encode(Encoder &e, FILE *file, const Picture &pic, const FormatParams &params, uint8_t *buffer) {
    e.info.err = jpeg_std_error(&e.error.manager);
    e.error.manager.error_exit = onErrorExit;
    e.error.manager.emit_message = onMessage;
    e.error.manager.output_message = onOutput;
    if (setjmp(e.error.jump)) return false;
    jpeg_create_compress(&e.info);
    e.created = true;
    jpeg_stdio_dest(&e.info, file);
    const bool grey = pic.type == ZNT_GREY || pic.type == ZNT_BINARY;
    e.info.image_width = pic.width;
    e.info.image_height = JDIMENSION(pic.height);
    e.info.input_components = grey ? 1 : 3;
    e.info.in_color_space = grey ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&e.info);
    jpeg_set_quality(&e.info, std::clamp<int>(params.jpegQuality, 1, 100), TRUE);
    if (params.progressive) jpeg_simple_progression(&e.info);
    e.info.optimize_coding = params.optimizeHuffman ? TRUE : FALSE;
    if (pic.resolutionX != 0 && pic.resolutionY != 0 && pic.resolutionX <= 65535 && pic.resolutionY <= 65535) {
        e.info.density_unit = 1;
        e.info.X_density = UINT16(pic.resolutionX);
        e.info.Y_density = UINT16(pic.resolutionY);
    }
    jpeg_start_compress(&e.info, TRUE);
    const bool direct = pic.type == ZNT_RGB || (pic.type == ZNT_GREY && pic.numberOfColors == 256);
    const uint32_t height = uint32_t(pic.height);
    while (e.info.next_scanline < height) {
        const uint32_t y = e.info.next_scanline;
        JSAMPROW row = buffer;
        if (direct)
            row = pic.data + size_t(y) * pic.bytesPerLine;
        else if (grey)
            rowToGrey(pic, y, buffer);
        else
            rowToRgb(pic, y, buffer);
        jpeg_write_scanlines(&e.info, &row, 1);
        reportSaveProgress(params, int(y), int(height));
    }
    jpeg_finish_compress(&e.info);
    return true;
}

OpStatus writeJpeg(FILE *file, const Picture &pic, const FormatParams &params) {
    if (pic.width > JPEG_MAX_DIMENSION || uint32_t(pic.height) > JPEG_MAX_DIMENSION) return ZNT_CANT_SAVE;
    std::vector<uint8_t> buffer(size_t(pic.width) * 3);
    Encoder e;
    std::string message;
    e.error.message = &message;
    if (!encode(e, file, pic, params, buffer.data())) return std::ferror(file) ? ZNT_CANT_WRITE : ZNT_JPEG_PROBLEM;
    return std::ferror(file) ? ZNT_CANT_WRITE : ZNT_OK;
}

const ZntSaveKind kJpegSaveKinds[] = {
    {ZNT_CM_GREY, 8, JPEG_MAX_DIMENSION, JPEG_MAX_DIMENSION},
    {ZNT_CM_RGB, 24, JPEG_MAX_DIMENSION, JPEG_MAX_DIMENSION},
    {-1, 0, 0, 0},
};

}  // namespace

const Format kJpegFormat = {
    "jpeg", "JPEG / JFIF", "jpg jpeg jpe jfif", "JPEG", Signature::exact, sniffJpeg,
    readHeader, readPixels, kJpegSaveKinds, writeJpeg, nullptr,
};

}  // namespace zentar
