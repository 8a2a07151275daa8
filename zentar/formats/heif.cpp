// HEIF (HEVC pictures, "heic") and AVIF (AV1 pictures) through libheif, which
// gives both the same container code; the two formats differ in their
// brands and in the codec that writes them. Each top-level image of a file
// is a page, the primary image first. A picture is decoded with its
// rotation, mirroring and cropping applied, high bit depths cut to 8 bits,
// into RGB, or RGBA when it has alpha; a picture whose colours are all grey
// becomes a grey picture. A reduced load takes the image's own thumbnail
// when that is at least the size wanted.
//
// Tiles of a grid image are decoded on the calling thread, so that the
// progress function (called per tile) never runs on another one.
//
// Writing: a quality of 100 saves losslessly (4:4:4, RGB matrix), any lower
// one lossy at that quality with 4:2:0 chroma.
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"

#include <libheif/heif.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr int kMaxHeicSidePx = 16384;
constexpr int kMaxAvifSidePx = 32768;
constexpr int kMaxImages = 10000;

struct ContextFree {
    void operator()(heif_context *c) const { heif_context_free(c); }
};
struct HandleRelease {
    void operator()(heif_image_handle *h) const { heif_image_handle_release(h); }
};
struct ImageRelease {
    void operator()(heif_image *i) const { heif_image_release(i); }
};
struct EncoderRelease {
    void operator()(heif_encoder *e) const { heif_encoder_release(e); }
};
struct DecodingOptionsFree {
    void operator()(heif_decoding_options *o) const { heif_decoding_options_free(o); }
};
struct EncodingOptionsFree {
    void operator()(heif_encoding_options *o) const { heif_encoding_options_free(o); }
};
struct NclxFree {
    void operator()(heif_color_profile_nclx *n) const { heif_nclx_color_profile_free(n); }
};
using Context = std::unique_ptr<heif_context, ContextFree>;
using Handle = std::unique_ptr<heif_image_handle, HandleRelease>;
using Image = std::unique_ptr<heif_image, ImageRelease>;

// The brands of an ISO media file's leading "ftyp" box: major and compatible.
std::vector<std::string_view> brandsOf(Bytes head) {
    std::vector<std::string_view> brands;
    if (head.size() < 16 || std::memcmp(head.data() + 4, "ftyp", 4) != 0) return brands;
    const uint32_t size = uint32_t(head[0]) << 24 | uint32_t(head[1]) << 16 | uint32_t(head[2]) << 8 | head[3];
    const size_t end = std::min<size_t>({size, head.size(), 4096});
    auto brandAt = [&](size_t at) { return std::string_view(reinterpret_cast<const char *>(head.data() + at), 4); };
    brands.push_back(brandAt(8));
    for (size_t at = 16; at + 4 <= end; at += 4) brands.push_back(brandAt(at));
    return brands;
}

bool hasBrand(const std::vector<std::string_view> &brands, std::initializer_list<std::string_view> wanted) {
    for (std::string_view b : brands)
        if (std::find(wanted.begin(), wanted.end(), b) != wanted.end()) return true;
    return false;
}

bool sniffAvif(Bytes head) { return hasBrand(brandsOf(head), {"avif", "avis"}); }

bool sniffHeif(Bytes head) {
    const auto brands = brandsOf(head);
    return !hasBrand(brands, {"avif", "avis"}) &&
           hasBrand(brands, {"heic", "heix", "hevc", "hevx", "heim", "heis", "hevm", "hevs", "mif1", "msf1"});
}

OpStatus statusOf(const heif_error &error, std::string &message) {
    if (error.code == heif_error_Ok) return ZNT_OK;
    if (message.empty() && error.message != nullptr) message = error.message;
    switch (error.code) {
    case heif_error_Memory_allocation_error:
        return ZNT_NO_MEMORY;
    case heif_error_Invalid_input:
        return error.subcode == heif_suberror_End_of_data ? ZNT_CANT_READ : ZNT_BAD_FILE;
    case heif_error_Decoder_plugin_error:
        return ZNT_CORRUPT;
    default:
        return ZNT_BAD_FILE;
    }
}

// The library decodes a derived image (a grid, an overlay, an identity
// transform) by decoding the images it refers to, and an image's alpha by
// decoding its auxiliary image, recursively and without a bound: a file
// whose references go round in a circle, or very deep, would exhaust the
// stack (or never end). The references are checked here first, from the "iref" box of the
// top-level "meta" box.
constexpr int kMaxReferenceDepth = 32;
constexpr size_t kMaxReferences = 100000;

// The children of a box, each as its four-character type and its body.
template <typename Visit>
bool forEachBox(Bytes bytes, Visit visit) {
    size_t at = 0;
    while (at + 8 <= bytes.size()) {
        uint64_t size = readBe32(bytes.data() + at);
        size_t header = 8;
        if (size == 1) {
            if (at + 16 > bytes.size()) return false;
            size = uint64_t(readBe32(bytes.data() + at + 8)) << 32 | readBe32(bytes.data() + at + 12);
            header = 16;
        } else if (size == 0) {
            size = bytes.size() - at;
        }
        if (size < header || size > bytes.size() - at) return false;
        const std::string_view type(reinterpret_cast<const char *>(bytes.data() + at + 4), 4);
        if (!visit(type, bytes.subspan(at + header, size_t(size) - header))) return false;
        at += size_t(size);
    }
    return true;
}

bool referencesAreSafe(Bytes file) {
    // Edges from an image to the images decoding it needs.
    std::vector<std::pair<uint32_t, uint32_t>> edges;
    auto readIref = [&](Bytes iref) {
        if (iref.size() < 4) return false;
        const bool wide = iref[0] != 0;   // version 1: 32-bit item numbers
        const size_t idBytes = wide ? 4 : 2;
        auto id = [&](const uint8_t *p) { return wide ? readBe32(p) : uint32_t(readBe16(p)); };
        return forEachBox(iref.subspan(4), [&](std::string_view type, Bytes body) {
            if (body.size() < idBytes + 2) return true;
            const uint32_t from = id(body.data());
            const size_t count = std::min<size_t>(readBe16(body.data() + idBytes), (body.size() - idBytes - 2) / idBytes);
            for (size_t i = 0; i < count && edges.size() < kMaxReferences; ++i) {
                const uint32_t to = id(body.data() + idBytes + 2 + i * idBytes);
                if (type == "dimg") edges.emplace_back(from, to);   // a derived image needs its sources
                if (type == "auxl") edges.emplace_back(to, from);   // an image needs its alpha
            }
            return true;
        });
    };
    const bool parsed = forEachBox(file, [&](std::string_view type, Bytes body) {
        if (type != "meta" || body.size() < 4) return true;
        return forEachBox(body.subspan(4), [&](std::string_view inner, Bytes innerBody) {
            return inner != "iref" || readIref(innerBody);
        });
    });
    if (!parsed || edges.size() >= kMaxReferences) return parsed;   // a broken box: the library says what is wrong
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
    // A depth-first walk: meeting an image already on the path is a circle;
    // each image finished gets the length of the longest chain below it.
    std::vector<uint32_t> nodes;
    for (const auto &e : edges) nodes.push_back(e.first);
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    auto indexOf = [&](uint32_t item) {
        const auto at = std::lower_bound(nodes.begin(), nodes.end(), item);
        return at != nodes.end() && *at == item ? size_t(at - nodes.begin()) : nodes.size();
    };
    auto firstEdge = [&](size_t node) {
        return size_t(std::lower_bound(edges.begin(), edges.end(), std::make_pair(nodes[node], 0u)) - edges.begin());
    };
    constexpr int kUnseen = -2, kOnPath = -1;
    std::vector<int> height(nodes.size(), kUnseen);
    struct Frame {
        size_t node, next;
        int below;   // the longest chain below, so far
    };
    std::vector<Frame> path;
    for (size_t start = 0; start < nodes.size(); ++start) {
        if (height[start] != kUnseen) continue;
        path.push_back({start, firstEdge(start), 0});
        height[start] = kOnPath;
        while (!path.empty()) {
            Frame &f = path.back();
            if (f.next < edges.size() && edges[f.next].first == nodes[f.node]) {
                const size_t to = indexOf(edges[f.next++].second);
                if (to == nodes.size()) {
                    f.below = std::max(f.below, 1);   // an image that needs nothing more
                } else if (height[to] == kOnPath) {
                    return false;
                } else if (height[to] >= 0) {
                    f.below = std::max(f.below, height[to]);
                } else {
                    height[to] = kOnPath;
                    path.push_back({to, firstEdge(to), 0});
                }
            } else {
                const int h = f.below + 1;
                height[f.node] = h;
                path.pop_back();
                if (int(path.size()) + h > kMaxReferenceDepth) return false;
                if (!path.empty()) path.back().below = std::max(path.back().below, h);
            }
        }
    }
    return true;
}

OpStatus openContext(Bytes bytes, Context &context, std::string &message) {
    if (!referencesAreSafe(bytes)) {
        message = "Bad HEIF file: its images refer to each other in a circle or too deeply";
        return ZNT_BAD_FILE;
    }
    context.reset(heif_context_alloc());
    if (!context) return ZNT_NO_MEMORY;
    heif_context_set_maximum_image_size_limit(context.get(), kMaxAvifSidePx);
    heif_context_set_max_decoding_threads(context.get(), 0);
    return statusOf(heif_context_read_from_memory_without_copy(context.get(), bytes.data(), bytes.size(), nullptr),
                    message);
}

// The top-level images, the primary one first.
OpStatus imageIds(heif_context *context, std::vector<heif_item_id> &ids, std::string &message) {
    const int count = heif_context_get_number_of_top_level_images(context);
    if (count < 1) {
        message = "No image in the file";
        return ZNT_BAD_FILE;
    }
    ids.resize(size_t(std::min(count, kMaxImages)));
    ids.resize(size_t(heif_context_get_list_of_top_level_image_IDs(context, ids.data(), int(ids.size()))));
    heif_item_id primary = 0;
    if (heif_context_get_primary_image_ID(context, &primary).code == heif_error_Ok) {
        const auto at = std::find(ids.begin(), ids.end(), primary);
        if (at != ids.end()) std::rotate(ids.begin(), at, at + 1);
    }
    if (ids.empty()) {
        message = "No image in the file";
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

OpStatus readHeaderWith(const char *codec, const Source &source, Header &header) {
    Context context;
    if (const OpStatus s = openContext(source.bytes, context, header.message); s != ZNT_OK) return s;
    std::vector<heif_item_id> ids;
    if (const OpStatus s = imageIds(context.get(), ids, header.message); s != ZNT_OK) return s;
    for (heif_item_id id : ids) {
        heif_image_handle *raw = nullptr;
        if (const OpStatus s = statusOf(heif_context_get_image_handle(context.get(), id, &raw), header.message); s != ZNT_OK)
            return s;
        Handle handle(raw);
        const int bits = heif_image_handle_get_luma_bits_per_pixel(handle.get());
        header.images.push_back(ZntSubImage{
            uint16_t(heif_image_handle_has_alpha_channel(handle.get()) ? ZNT_CM_RGBA : ZNT_CM_RGB),
            uint32_t(std::max(heif_image_handle_get_width(handle.get()), 0)),
            uint32_t(std::max(heif_image_handle_get_height(handle.get()), 0)), uint16_t(bits > 0 ? bits : 8)});
    }
    header.compressionName = codec;
    return ZNT_OK;
}

OpStatus readHeifHeader(const Source &source, uint32_t, Header &header) { return readHeaderWith("HEVC", source, header); }
OpStatus readAvifHeader(const Source &source, uint32_t, Header &header) { return readHeaderWith("AV1", source, header); }

// The smallest thumbnail of the image that is at least the size wanted.
Handle thumbnailFor(heif_image_handle *image, const LoadRequest &request) {
    if ((request.flags & ZNT_LOAD_REDUCED) == 0 || (request.reducedWidth == 0 && request.reducedHeight == 0))
        return nullptr;
    heif_item_id ids[16];
    const int count = heif_image_handle_get_list_of_thumbnail_IDs(image, ids, 16);
    Handle best;
    for (int i = 0; i < count; ++i) {
        heif_image_handle *raw = nullptr;
        if (heif_image_handle_get_thumbnail(image, ids[i], &raw).code != heif_error_Ok) continue;
        Handle thumb(raw);
        const int w = heif_image_handle_get_width(thumb.get()), h = heif_image_handle_get_height(thumb.get());
        if (w < int(request.reducedWidth) || h < int(request.reducedHeight)) continue;
        if (!best || w < heif_image_handle_get_width(best.get())) best = std::move(thumb);
    }
    return best;
}

// Rows are not reported by the codecs: progress is per tile of a grid
// image, and once at the end.
struct ProgressState {
    const LoadRequest *request;
    int total = 1;
    bool stop = false;
    void report(int done) {
        if (request->progress != nullptr && request->progress(done, total, request->progressUserData) != 0) stop = true;
    }
};

void onStart(heif_progress_step, int maxProgress, void *data) {
    static_cast<ProgressState *>(data)->total = std::max(maxProgress, 1) + 1;
}

void onProgress(heif_progress_step, int done, void *data) {
    // A tile cannot be stopped half-way: a stop is acted on when the decode ends.
    static_cast<ProgressState *>(data)->report(done);
}

// All three channels equal everywhere: the file holds a grey picture.
bool allGrey(const uint8_t *pixels, int stride, uint32_t width, uint32_t height) {
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t *p = pixels + size_t(y) * size_t(stride);
        for (uint32_t x = 0; x < width; ++x, p += 3)
            if (p[0] != p[1] || p[1] != p[2]) return false;
    }
    return true;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    Context context;
    if (const OpStatus s = openContext(source.bytes, context, message); s != ZNT_OK) return s;
    std::vector<heif_item_id> ids;
    if (const OpStatus s = imageIds(context.get(), ids, message); s != ZNT_OK) return s;
    if (size_t(request.page) >= ids.size()) {
        message = "No image " + std::to_string(request.page + 1);
        return ZNT_BAD_FILE;
    }
    heif_image_handle *raw = nullptr;
    if (const OpStatus s = statusOf(heif_context_get_image_handle(context.get(), ids[size_t(request.page)], &raw), message);
        s != ZNT_OK)
        return s;
    Handle handle(raw);
    if (Handle thumb = thumbnailFor(handle.get(), request)) handle = std::move(thumb);
    const bool alpha = heif_image_handle_has_alpha_channel(handle.get()) != 0;
    const uint32_t w = uint32_t(std::max(heif_image_handle_get_width(handle.get()), 0));
    const uint32_t h = uint32_t(std::max(heif_image_handle_get_height(handle.get()), 0));
    if (request.refusesSize(w, h, 4)) return ZNT_NO_MEMORY;

    std::unique_ptr<heif_decoding_options, DecodingOptionsFree> options(heif_decoding_options_alloc());
    if (!options) return ZNT_NO_MEMORY;
    options->convert_hdr_to_8bit = 1;
    ProgressState state{&request};
    if (request.progress != nullptr) {
        options->start_progress = onStart;
        options->on_progress = onProgress;
        options->progress_user_data = &state;
    }
    heif_image *decodedRaw = nullptr;
    const heif_error decodeError =
        heif_decode_image(handle.get(), &decodedRaw, heif_colorspace_RGB,
                          alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, options.get());
    Image decoded(decodedRaw);
    if (const OpStatus s = statusOf(decodeError, message); s != ZNT_OK) return s;
    int stride = 0;
    const uint8_t *pixels = heif_image_get_plane_readonly(decoded.get(), heif_channel_interleaved, &stride);
    const int dw = heif_image_get_primary_width(decoded.get()), dh = heif_image_get_primary_height(decoded.get());
    if (pixels == nullptr || dw < 1 || dh < 1 || heif_image_get_bits_per_pixel(decoded.get(), heif_channel_interleaved) != (alpha ? 32 : 24))
        return ZNT_INTERNAL;
    if (request.refusesSize(uint32_t(dw), uint32_t(dh), 4)) return ZNT_NO_MEMORY;

    const bool grey = !alpha && allGrey(pixels, stride, uint32_t(dw), uint32_t(dh));
    const int type = grey ? ZNT_GREY : alpha ? ZNT_RGBA : ZNT_RGB;
    if (!out.allocate(type, 8, uint32_t(dw), uint32_t(dh))) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(alpha ? ZNT_CM_RGBA : grey ? ZNT_CM_GREY : ZNT_CM_RGB);
    for (uint32_t y = 0; y < uint32_t(dh); ++y) {
        const uint8_t *in = pixels + size_t(y) * size_t(stride);
        uint8_t *row = out.row(y);
        if (grey) {
            for (uint32_t x = 0; x < uint32_t(dw); ++x) row[x] = in[3 * x];
        } else {
            std::memcpy(row, in, size_t(dw) * pic.bytesPerPixel);
        }
    }
    state.report(state.total - 1);
    return state.stop ? ZNT_STOPPED : ZNT_OK;
}

// Writing.

heif_error writeBytes(heif_context *, const void *data, size_t size, void *userData) {
    FILE *file = static_cast<FILE *>(userData);
    if (size != 0 && std::fwrite(data, 1, size, file) != size)
        return heif_error{heif_error_Encoding_error, heif_suberror_Cannot_write_output_data, "write failed"};
    return heif_error{heif_error_Ok, heif_suberror_Unspecified, "ok"};
}

OpStatus writeWith(heif_compression_format codec, FILE *file, const Picture &pic, const FormatParams &params) {
    const bool lossless = params.jpegQuality >= 100;
    const bool alpha = hasMask(pic.type);
    Context context(heif_context_alloc());
    if (!context) return ZNT_NO_MEMORY;
    heif_encoder *rawEncoder = nullptr;
    if (heif_context_get_encoder_for_format(context.get(), codec, &rawEncoder).code != heif_error_Ok) return ZNT_CANT_SAVE;
    std::unique_ptr<heif_encoder, EncoderRelease> encoder(rawEncoder);
    std::unique_ptr<heif_color_profile_nclx, NclxFree> nclx;
    if (lossless) {
        heif_encoder_set_lossless(encoder.get(), 1);
        heif_encoder_set_parameter(encoder.get(), "chroma", "444");
        if (codec == heif_compression_AV1) heif_encoder_set_parameter(encoder.get(), "lossless-alpha", "true");
        nclx.reset(heif_nclx_color_profile_alloc());
        if (!nclx) return ZNT_NO_MEMORY;
        nclx->matrix_coefficients = heif_matrix_coefficients_RGB_GBR;
        nclx->full_range_flag = 1;
    } else {
        heif_encoder_set_lossy_quality(encoder.get(), params.jpegQuality);
    }
    if (codec == heif_compression_HEVC) heif_encoder_set_parameter(encoder.get(), "preset", "medium");

    heif_image *rawImage = nullptr;
    if (heif_image_create(int(pic.width), pic.height, heif_colorspace_RGB,
                          alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, &rawImage)
            .code != heif_error_Ok)
        return ZNT_NO_MEMORY;
    Image image(rawImage);
    if (heif_image_add_plane(image.get(), heif_channel_interleaved, int(pic.width), pic.height, 8).code != heif_error_Ok)
        return ZNT_NO_MEMORY;
    int stride = 0;
    uint8_t *plane = heif_image_get_plane(image.get(), heif_channel_interleaved, &stride);
    if (plane == nullptr) return ZNT_NO_MEMORY;
    for (uint32_t y = 0; y < uint32_t(pic.height); ++y) rowToChannels(pic, y, alpha ? 4 : 3, plane + size_t(y) * size_t(stride));

    std::unique_ptr<heif_encoding_options, EncodingOptionsFree> options(heif_encoding_options_alloc());
    if (!options) return ZNT_NO_MEMORY;
    options->save_alpha_channel = alpha ? 1 : 0;
    options->output_nclx_profile = nclx.get();
    reportSaveProgress(params, 0, 2);
    if (heif_context_encode_image(context.get(), image.get(), encoder.get(), options.get(), nullptr).code != heif_error_Ok)
        return ZNT_CANT_WRITE;
    reportSaveProgress(params, 1, 2);
    heif_writer writer{1, writeBytes};
    if (heif_context_write(context.get(), &writer, file).code != heif_error_Ok) return ZNT_CANT_WRITE;
    return ZNT_OK;
}

OpStatus writeHeif(FILE *file, const Picture &pic, const FormatParams &params) {
    return writeWith(heif_compression_HEVC, file, pic, params);
}
OpStatus writeAvif(FILE *file, const Picture &pic, const FormatParams &params) {
    return writeWith(heif_compression_AV1, file, pic, params);
}

const ZntSaveKind kHeifSaveKinds[] = {{ZNT_CM_RGB, 24, kMaxHeicSidePx, kMaxHeicSidePx},
                                      {ZNT_CM_RGBA, 32, kMaxHeicSidePx, kMaxHeicSidePx},
                                      {-1, 0, 0, 0}};
const ZntSaveKind kAvifSaveKinds[] = {{ZNT_CM_RGB, 24, kMaxAvifSidePx, kMaxAvifSidePx},
                                      {ZNT_CM_RGBA, 32, kMaxAvifSidePx, kMaxAvifSidePx},
                                      {-1, 0, 0, 0}};

}  // namespace

const Format kHeifFormat = {
    "heif", "High Efficiency Image File (HEVC)", "heic heif hif", "HEIF", Signature::exact, sniffHeif,
    readHeifHeader, readPixels, kHeifSaveKinds, writeHeif, nullptr,
};

const Format kAvifFormat = {
    "avif", "AV1 Image File", "avif", "AVIF", Signature::exact, sniffAvif,
    readAvifHeader, readPixels, kAvifSaveKinds, writeAvif, nullptr,
};

}  // namespace zentar
