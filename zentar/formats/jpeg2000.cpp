// JPEG 2000 through OpenJPEG: the JP2 file ("jp2") and the bare codestream
// ("j2k"); either reader takes either kind, told apart by the signature.
// One or two components (the second an alpha channel) load as grey or
// RGBA, three or four as RGB or RGBA; sYCC is turned into RGB, subsampled
// components are spread over the full size, and samples of any precision
// are brought to 8 bits. A reduced load decodes only the resolution levels
// it needs: JPEG 2000 keeps the half, quarter ... sizes in the file.
//
// OpenJPEG reports no rows while it decodes: progress is one call at the
// end. Its messages are kept, never printed; the first error is the
// message of a bad file. The decoder always runs in its strict mode: its
// lenient one, which would decode what a cut file holds, reads freed
// memory on some damaged files. So a cut file is refused even when errors
// are ignored.
//
// Writing: a quality of 100 saves losslessly (the reversible 5/3 wavelet),
// any lower one with the 9/7 wavelet at a target PSNR that grows with the
// quality (35 dB at 50, about 50 dB at 98).
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"

#include <openjpeg.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace zentar {

namespace {

// OpenJPEG keeps 32 bits per sample of every component.
constexpr uint64_t kMaxSamples = uint64_t(1) << 30;

const uint8_t kJp2Magic[12] = {0, 0, 0, 12, 'j', 'P', ' ', ' ', 0x0d, 0x0a, 0x87, 0x0a};
const uint8_t kJ2kMagic[4] = {0xff, 0x4f, 0xff, 0x51};

bool isJp2(Bytes head) { return head.size() >= 12 && std::memcmp(head.data(), kJp2Magic, 12) == 0; }
bool isJ2k(Bytes head) { return head.size() >= 4 && std::memcmp(head.data(), kJ2kMagic, 4) == 0; }

struct CodecDestroy {
    void operator()(opj_codec_t *c) const { opj_destroy_codec(c); }
};
struct StreamDestroy {
    void operator()(opj_stream_t *s) const { opj_stream_destroy(s); }
};
struct ImageDestroy {
    void operator()(opj_image_t *i) const { opj_image_destroy(i); }
};
struct InfoDestroy {
    void operator()(opj_codestream_info_v2_t *i) const { opj_destroy_cstr_info(&i); }
};
using Codec = std::unique_ptr<opj_codec_t, CodecDestroy>;
using Stream = std::unique_ptr<opj_stream_t, StreamDestroy>;
using Image = std::unique_ptr<opj_image_t, ImageDestroy>;

void quiet(const char *, void *) {}

void keepError(const char *text, void *data) {
    auto *message = static_cast<std::string *>(data);
    if (message->empty() && text != nullptr) {
        *message = text;
        while (!message->empty() && (message->back() == '\n' || message->back() == ' ')) message->pop_back();
    }
}

// Reading from the bytes in memory.
struct MemoryInput {
    Bytes bytes;
    size_t pos = 0;
};

OPJ_SIZE_T readMemory(void *buffer, OPJ_SIZE_T count, void *data) {
    auto *in = static_cast<MemoryInput *>(data);
    if (in->pos >= in->bytes.size()) return OPJ_SIZE_T(-1);
    const size_t n = std::min<size_t>(count, in->bytes.size() - in->pos);
    std::memcpy(buffer, in->bytes.data() + in->pos, n);
    in->pos += n;
    return n;
}

OPJ_OFF_T skipMemory(OPJ_OFF_T count, void *data) {
    auto *in = static_cast<MemoryInput *>(data);
    if (count < 0) return -1;
    const size_t n = std::min<size_t>(size_t(count), in->bytes.size() - std::min(in->pos, in->bytes.size()));
    in->pos += n;
    return OPJ_OFF_T(n);
}

OPJ_BOOL seekMemory(OPJ_OFF_T to, void *data) {
    auto *in = static_cast<MemoryInput *>(data);
    if (to < 0 || uint64_t(to) > in->bytes.size()) return OPJ_FALSE;
    in->pos = size_t(to);
    return OPJ_TRUE;
}

Stream memoryStream(MemoryInput &input) {
    Stream stream(opj_stream_create(1 << 16, OPJ_TRUE));
    if (!stream) return stream;
    opj_stream_set_read_function(stream.get(), readMemory);
    opj_stream_set_skip_function(stream.get(), skipMemory);
    opj_stream_set_seek_function(stream.get(), seekMemory);
    opj_stream_set_user_data(stream.get(), &input, nullptr);
    opj_stream_set_user_data_length(stream.get(), input.bytes.size());
    return stream;
}

// A decoder with its header read.
struct Opened {
    MemoryInput input;
    Codec codec;
    Stream stream;
    Image image;
    uint32_t resolutions = 1;
};

OpStatus openDecoder(Bytes bytes, Opened &o, std::string &message) {
    if (!isJp2(bytes) && !isJ2k(bytes)) return ZNT_BAD_FILE;
    o.input.bytes = bytes;
    o.codec.reset(opj_create_decompress(isJp2(bytes) ? OPJ_CODEC_JP2 : OPJ_CODEC_J2K));
    o.stream = memoryStream(o.input);
    if (!o.codec || !o.stream) return ZNT_NO_MEMORY;
    opj_set_info_handler(o.codec.get(), quiet, nullptr);
    opj_set_warning_handler(o.codec.get(), quiet, nullptr);
    opj_set_error_handler(o.codec.get(), keepError, &message);
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    if (!opj_setup_decoder(o.codec.get(), &parameters)) return ZNT_INTERNAL;
    opj_decoder_set_strict_mode(o.codec.get(), OPJ_TRUE);
    opj_image_t *image = nullptr;
    const bool read = opj_read_header(o.stream.get(), o.codec.get(), &image);
    o.image.reset(image);
    if (!read || !o.image || o.image->numcomps == 0 || o.image->x1 <= o.image->x0 || o.image->y1 <= o.image->y0) {
        if (message.empty()) message = "Bad JPEG 2000 header";
        return o.input.pos >= bytes.size() ? ZNT_CANT_READ : ZNT_BAD_FILE;
    }
    std::unique_ptr<opj_codestream_info_v2_t, InfoDestroy> info(opj_get_cstr_info(o.codec.get()));
    if (info && info->m_default_tile_info.tccp_info != nullptr)
        o.resolutions = std::max<uint32_t>(info->m_default_tile_info.tccp_info[0].numresolutions, 1);
    return ZNT_OK;
}

// OpenJPEG allocates the length a tile-part declares before it reads the
// tile-part. One that claims more than the file holds belongs to a cut (or
// hostile) file, which is refused before the decoder sees it.

// The codestream: a JP2 file's "jp2c" box, or the whole of a bare one.
Bytes codestreamIn(Bytes file) {
    if (isJ2k(file)) return file;
    for (size_t at = 0; at + 8 <= file.size();) {
        uint64_t size = readBe32(file.data() + at);
        size_t header = 8;
        if (size == 1 && at + 16 <= file.size()) {
            size = uint64_t(readBe32(file.data() + at + 8)) << 32 | readBe32(file.data() + at + 12);
            header = 16;
        } else if (size == 0) {
            size = file.size() - at;
        }
        if (size < header || size > file.size() - at) size = file.size() - at;   // a cut box runs to the end
        if (std::memcmp(file.data() + at + 4, "jp2c", 4) == 0) return file.subspan(at + header, size_t(size) - header);
        at += size_t(size);
    }
    return {};
}

// Whether a tile-part claims more than remains. Every start-of-tile-part
// marker with its fixed length field is looked at, not only those a walk
// through well-formed markers would meet: the decoder finds tile-parts after
// damaged headers too. (Coded data never holds a 0xff byte followed by one
// above 0x8f.)
bool overlongTilePart(Bytes cs) {
    static const uint8_t kStartOfTilePart[4] = {0xff, 0x90, 0x00, 0x0a};
    for (size_t pos = 0; pos + 10 <= cs.size(); ++pos)
        if (cs[pos] == 0xff && std::memcmp(cs.data() + pos, kStartOfTilePart, 4) == 0 &&
            readBe32(cs.data() + pos + 6) > cs.size() - pos)
            return true;
    return false;
}

bool isCmyk(const opj_image_t &image) { return image.color_space == OPJ_CLRSPC_CMYK && image.numcomps >= 4; }

bool hasAlpha(const opj_image_t &image) {
    if (isCmyk(image)) return false;
    if (image.numcomps == 2 || image.numcomps >= 4) return true;
    for (uint32_t c = 0; c < image.numcomps; ++c)
        if (image.comps[c].alpha) return true;
    return false;
}

int colorModelOf(const opj_image_t &image) {
    const bool alpha = hasAlpha(image);
    if (image.numcomps <= 2) return alpha ? ZNT_CM_GREY_ALPHA : ZNT_CM_GREY;
    if (image.color_space == OPJ_CLRSPC_SYCC || image.color_space == OPJ_CLRSPC_EYCC) return ZNT_CM_YCBCR;
    if (image.color_space == OPJ_CLRSPC_CMYK) return ZNT_CM_CMYK;
    return alpha ? ZNT_CM_RGBA : ZNT_CM_RGB;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    Opened o;
    if (const OpStatus s = openDecoder(source.bytes, o, header.message); s != ZNT_OK) return s;
    const opj_image_t &image = *o.image;
    header.images.push_back(ZntSubImage{uint16_t(colorModelOf(image)), image.x1 - image.x0, image.y1 - image.y0,
                                        uint16_t(image.comps[0].prec)});
    header.compressionName = isJp2(source.bytes) ? "JPEG 2000 (JP2)" : "JPEG 2000 codestream";
    return ZNT_OK;
}

// One component as 8-bit samples on the picture's grid: for each output
// column the component's column, for each row its row, and a table or a
// shift from the component's precision to 8 bits.
struct Plane {
    const OPJ_INT32 *data = nullptr;
    uint32_t width = 0;
    std::vector<uint32_t> columns;
    std::vector<uint32_t> rows;
    int32_t offset = 0;     // added first: makes signed samples unsigned
    int32_t maximum = 255;  // the largest sample after the offset
    int shift = 0;          // precision above 8 bits
    std::array<uint8_t, 256> spread{};  // precision below 8 bits

    bool set(const opj_image_comp_t &comp, uint32_t outWidth, uint32_t outHeight) {
        if (comp.data == nullptr || comp.w == 0 || comp.h == 0 || comp.prec == 0 || comp.prec > 31) return false;
        data = comp.data;
        width = comp.w;
        columns.resize(outWidth);
        rows.resize(outHeight);
        for (uint32_t x = 0; x < outWidth; ++x) columns[x] = uint32_t(std::min<uint64_t>(uint64_t(x) * comp.w / outWidth, comp.w - 1));
        for (uint32_t y = 0; y < outHeight; ++y) rows[y] = uint32_t(std::min<uint64_t>(uint64_t(y) * comp.h / outHeight, comp.h - 1));
        offset = comp.sgnd ? int32_t(1u << (comp.prec - 1)) : 0;
        maximum = int32_t((uint64_t(1) << comp.prec) - 1);
        shift = comp.prec > 8 ? int(comp.prec) - 8 : 0;
        if (comp.prec < 8)
            for (int v = 0; v <= maximum; ++v) spread[size_t(v)] = uint8_t((v * 255 + maximum / 2) / maximum);
        return true;
    }
    // Row y of the output as 8-bit samples into out (one per pixel).
    void row(uint32_t y, uint8_t *out, size_t count) const {
        const OPJ_INT32 *in = data + size_t(rows[y]) * width;
        const bool small = maximum < 255;
        for (size_t x = 0; x < count; ++x) {
            const int32_t v = std::clamp(in[columns[x]] + offset, 0, maximum);
            out[x] = small ? spread[size_t(v)] : uint8_t(v >> shift);
        }
    }
};

// Full-range YCbCr to RGB in fixed point, as tables of the chroma terms.
struct YccTables {
    std::array<int32_t, 256> crToR{}, cbToB{}, crToG{}, cbToG{};
    YccTables() {
        for (int i = 0; i < 256; ++i) {
            const int c = i - 128;
            crToR[size_t(i)] = (91881 * c + 32768) >> 16;
            cbToB[size_t(i)] = (116130 * c + 32768) >> 16;
            crToG[size_t(i)] = -46802 * c;
            cbToG[size_t(i)] = -22554 * c + 32768;
        }
    }
};

uint8_t clampByte(int v) { return uint8_t(std::clamp(v, 0, 255)); }

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    if (request.page != 0) {
        message = "No page " + std::to_string(request.page + 1);
        return ZNT_BAD_FILE;
    }
    const Bytes bytes = source.bytes;
    if (overlongTilePart(codestreamIn(bytes))) return ZNT_CANT_READ;
    Opened o;
    if (const OpStatus s = openDecoder(bytes, o, message); s != ZNT_OK) return s;
    opj_image_t &image = *o.image;
    const uint64_t fullW = image.x1 - image.x0, fullH = image.y1 - image.y0;

    uint32_t reduce = 0;
    if ((request.flags & ZNT_LOAD_REDUCED) != 0 && (request.reducedWidth != 0 || request.reducedHeight != 0)) {
        auto reduced = [](uint64_t size, uint32_t r) { return (size + (uint64_t(1) << r) - 1) >> r; };
        while (reduce + 1 < o.resolutions && reduce < 31 && reduced(fullW, reduce + 1) >= request.reducedWidth &&
               reduced(fullH, reduce + 1) >= request.reducedHeight)
            ++reduce;
        if (reduce > 0 && !opj_set_decoded_resolution_factor(o.codec.get(), reduce)) reduce = 0;
    }
    const uint64_t scaledW = (fullW + (uint64_t(1) << reduce) - 1) >> reduce;
    const uint64_t scaledH = (fullH + (uint64_t(1) << reduce) - 1) >> reduce;
    if (request.refusesSize(scaledW, scaledH, 4) || scaledW * scaledH * image.numcomps > kMaxSamples)
        return ZNT_NO_MEMORY;

    const bool decoded = opj_decode(o.codec.get(), o.stream.get(), &image) && opj_end_decompress(o.codec.get(), o.stream.get());
    if (!decoded) {
        if (message.empty()) message = "Corrupt JPEG 2000 data";
        return o.input.pos >= bytes.size() ? ZNT_CANT_READ : ZNT_CORRUPT;
    }
    const uint32_t w = image.comps[0].w, h = image.comps[0].h;
    if (w == 0 || h == 0 || image.comps[0].data == nullptr) return ZNT_CORRUPT;
    if (request.refusesSize(w, h, 4)) return ZNT_NO_MEMORY;

    const bool alpha = hasAlpha(image);
    const bool colour = image.numcomps >= 3;
    const bool cmyk = isCmyk(image);
    const uint32_t planeCount = colour ? (alpha || cmyk ? 4 : 3) : (alpha ? 2 : 1);
    std::vector<Plane> planes(planeCount);
    for (uint32_t c = 0; c < planeCount; ++c)
        if (!planes[c].set(image.comps[c], w, h)) return ZNT_CORRUPT;
    const int type = colour ? (alpha ? ZNT_RGBA : ZNT_RGB) : (alpha ? ZNT_RGBA : ZNT_GREY);
    if (!out.allocate(type, 8, w, h)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOf(image));

    const bool ycc = colour && (image.color_space == OPJ_CLRSPC_SYCC || image.color_space == OPJ_CLRSPC_EYCC);
    static const YccTables tables;
    std::vector<uint8_t> samples(size_t(w) * planeCount);
    for (uint32_t y = 0; y < h; ++y) {
        for (uint32_t c = 0; c < planeCount; ++c) planes[c].row(y, samples.data() + size_t(c) * w, w);
        const uint8_t *s0 = samples.data(), *s1 = s0 + w, *s2 = s1 + w, *s3 = s2 + w;
        uint8_t *row = out.row(y);
        const size_t bpp = pic.bytesPerPixel;
        if (!colour) {
            for (uint32_t x = 0; x < w; ++x) {
                if (alpha)
                    row[4 * x] = row[4 * x + 1] = row[4 * x + 2] = s0[x], row[4 * x + 3] = s1[x];
                else
                    row[x] = s0[x];
            }
        } else if (ycc) {
            for (uint32_t x = 0; x < w; ++x, row += bpp) {
                const int yy = s0[x], cb = s1[x], cr = s2[x];
                row[0] = clampByte(yy + tables.crToR[size_t(cr)]);
                row[1] = clampByte(yy + ((tables.cbToG[size_t(cb)] + tables.crToG[size_t(cr)]) >> 16));
                row[2] = clampByte(yy + tables.cbToB[size_t(cb)]);
                if (alpha) row[3] = s3[x];
            }
        } else if (cmyk) {
            // Plain inks without a profile: each colour is its ink and the black removed from white.
            for (uint32_t x = 0; x < w; ++x, row += 3) {
                const int k = 255 - s3[x];
                row[0] = uint8_t((255 - s0[x]) * k / 255);
                row[1] = uint8_t((255 - s1[x]) * k / 255);
                row[2] = uint8_t((255 - s2[x]) * k / 255);
            }
        } else {
            for (uint32_t x = 0; x < w; ++x, row += bpp) {
                row[0] = s0[x], row[1] = s1[x], row[2] = s2[x];
                if (alpha) row[3] = s3[x];
            }
        }
    }
    Progress progress(request, 1);
    if (progress.row(0)) return ZNT_STOPPED;
    return ZNT_OK;
}

// Writing.

OPJ_SIZE_T writeFile(void *buffer, OPJ_SIZE_T count, void *data) {
    return std::fwrite(buffer, 1, count, static_cast<FILE *>(data)) == count ? count : OPJ_SIZE_T(-1);
}

OPJ_OFF_T skipFile(OPJ_OFF_T count, void *data) {
    return fseeko(static_cast<FILE *>(data), count, SEEK_CUR) == 0 ? count : -1;
}

OPJ_BOOL seekFile(OPJ_OFF_T to, void *data) { return fseeko(static_cast<FILE *>(data), to, SEEK_SET) == 0; }

OpStatus writeWith(OPJ_CODEC_FORMAT codecFormat, FILE *file, const Picture &pic, const FormatParams &params) {
    const bool lossless = params.jpegQuality >= 100;
    const bool alpha = hasMask(pic.type);
    const bool grey = pic.type == ZNT_GREY;
    const uint32_t count = grey ? 1 : alpha ? 4 : 3;
    const uint32_t w = pic.width, h = uint32_t(pic.height);

    opj_image_cmptparm_t components[4];
    std::memset(components, 0, sizeof components);
    for (uint32_t c = 0; c < count; ++c) {
        components[c].dx = components[c].dy = 1;
        components[c].w = w;
        components[c].h = h;
        components[c].prec = 8;
        components[c].sgnd = 0;
    }
    Image image(opj_image_create(count, components, grey ? OPJ_CLRSPC_GRAY : OPJ_CLRSPC_SRGB));
    if (!image) return ZNT_NO_MEMORY;
    image->x0 = image->y0 = 0;
    image->x1 = w;
    image->y1 = h;
    if (alpha) image->comps[3].alpha = 1;
    std::vector<uint8_t> row(size_t(w) * 4);
    for (uint32_t y = 0; y < h; ++y) {
        rowToChannels(pic, y, int(count), row.data());
        for (uint32_t c = 0; c < count; ++c) {
            OPJ_INT32 *out = image->comps[c].data + size_t(y) * w;
            const uint8_t *in = row.data() + c;
            for (uint32_t x = 0; x < w; ++x, in += count) out[x] = *in;
        }
    }

    opj_cparameters_t parameters;
    opj_set_default_encoder_parameters(&parameters);
    parameters.tcp_numlayers = 1;
    int levels = 1;
    while (levels < 6 && (std::min(w, h) >> levels) >= 1) ++levels;
    parameters.numresolution = levels;
    parameters.tcp_mct = count >= 3 ? 1 : 0;
    if (lossless) {
        parameters.irreversible = 0;
        parameters.cp_disto_alloc = 1;
        parameters.tcp_rates[0] = 0;
    } else {
        parameters.irreversible = 1;
        parameters.cp_fixed_quality = 1;
        parameters.tcp_distoratio[0] = 20.0f + 0.3f * float(std::clamp<int>(params.jpegQuality, 1, 99));
    }

    std::string message;
    Codec codec(opj_create_compress(codecFormat));
    Stream stream(opj_stream_create(1 << 16, OPJ_FALSE));
    if (!codec || !stream) return ZNT_NO_MEMORY;
    opj_set_info_handler(codec.get(), quiet, nullptr);
    opj_set_warning_handler(codec.get(), quiet, nullptr);
    opj_set_error_handler(codec.get(), keepError, &message);
    opj_stream_set_write_function(stream.get(), writeFile);
    opj_stream_set_skip_function(stream.get(), skipFile);
    opj_stream_set_seek_function(stream.get(), seekFile);
    opj_stream_set_user_data(stream.get(), file, nullptr);
    if (!opj_setup_encoder(codec.get(), &parameters, image.get())) return ZNT_CANT_SAVE;
    reportSaveProgress(params, 0, 2);
    if (!opj_start_compress(codec.get(), image.get(), stream.get()) || !opj_encode(codec.get(), stream.get()) ||
        !opj_end_compress(codec.get(), stream.get()))
        return ZNT_CANT_WRITE;
    reportSaveProgress(params, 1, 2);
    return ZNT_OK;
}

OpStatus writeJp2(FILE *file, const Picture &pic, const FormatParams &params) {
    return writeWith(OPJ_CODEC_JP2, file, pic, params);
}
OpStatus writeJ2k(FILE *file, const Picture &pic, const FormatParams &params) {
    return writeWith(OPJ_CODEC_J2K, file, pic, params);
}

const ZntSaveKind kJpeg2000SaveKinds[] = {{ZNT_CM_GREY, 8, 0, 0}, {ZNT_CM_RGB, 24, 0, 0}, {ZNT_CM_RGBA, 32, 0, 0}, {-1, 0, 0, 0}};

}  // namespace

const Format kJp2Format = {
    "jp2", "JPEG 2000", "jp2 jpx jpf", "JP2", Signature::exact, isJp2,
    readHeader, readPixels, kJpeg2000SaveKinds, writeJp2, nullptr,
};

const Format kJ2kFormat = {
    "j2k", "JPEG 2000 codestream", "j2k j2c jpc", "J2K", Signature::exact, isJ2k,
    readHeader, readPixels, kJpeg2000SaveKinds, writeJ2k, nullptr,
};

}  // namespace zentar
