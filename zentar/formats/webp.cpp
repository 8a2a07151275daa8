// WebP through libwebp: lossy and lossless, with or without alpha, and
// animations. A still picture loads as RGB, or RGBA when the file has
// alpha; it is decoded incrementally, so that rows are reported as they
// come and a truncated file can give the rows it holds. Each frame of an
// animation is a page as large as the canvas, composed with the frames
// before it (blending and disposal applied), RGBA when the canvas has any
// transparency; its delay is in the file information.
//
// Writing: a quality of 100 saves losslessly (the colour under fully
// transparent pixels kept), any lower one lossy at that quality. WebP holds
// at most 16383 x 16383 pixels.
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"

#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr int kMaxSidePx = 16383;
constexpr size_t kMaxFrames = 100000;

bool sniffWebp(Bytes head) {
    return head.size() >= 12 && std::memcmp(head.data(), "RIFF", 4) == 0 && std::memcmp(head.data() + 8, "WEBP", 4) == 0;
}

struct DemuxDeleter {
    void operator()(WebPDemuxer *d) const { WebPDemuxDelete(d); }
};
struct AnimDecoderDeleter {
    void operator()(WebPAnimDecoder *d) const { WebPAnimDecoderDelete(d); }
};
struct IDecoderDeleter {
    void operator()(WebPIDecoder *d) const { WebPIDelete(d); }
};

OpStatus statusOf(VP8StatusCode code) {
    switch (code) {
    case VP8_STATUS_OK:
        return ZNT_OK;
    case VP8_STATUS_OUT_OF_MEMORY:
        return ZNT_NO_MEMORY;
    case VP8_STATUS_NOT_ENOUGH_DATA:
    case VP8_STATUS_SUSPENDED:
        return ZNT_CANT_READ;
    case VP8_STATUS_BITSTREAM_ERROR:
        return ZNT_CORRUPT;
    default:
        return ZNT_BAD_FILE;
    }
}

OpStatus readFeatures(Bytes bytes, WebPBitstreamFeatures &features, std::string &message) {
    const VP8StatusCode code = WebPGetFeatures(bytes.data(), bytes.size(), &features);
    if (code == VP8_STATUS_OK) return ZNT_OK;
    message = code == VP8_STATUS_NOT_ENOUGH_DATA ? "" : "Bad WebP header";
    return code == VP8_STATUS_NOT_ENOUGH_DATA ? ZNT_CANT_READ : ZNT_BAD_FILE;
}

// Frame durations of an animation; a truncated file gives the frames it holds.
bool frameDelays(Bytes bytes, std::vector<uint32_t> &delays, uint32_t &canvasW, uint32_t &canvasH) {
    const WebPData data{bytes.data(), bytes.size()};
    std::unique_ptr<WebPDemuxer, DemuxDeleter> demux(WebPDemuxPartial(&data, nullptr));
    if (!demux) return false;
    canvasW = WebPDemuxGetI(demux.get(), WEBP_FF_CANVAS_WIDTH);
    canvasH = WebPDemuxGetI(demux.get(), WEBP_FF_CANVAS_HEIGHT);
    WebPIterator iter;
    if (!WebPDemuxGetFrame(demux.get(), 1, &iter)) return false;
    do {
        if (!iter.complete) break;
        delays.push_back(uint32_t(std::max(iter.duration, 0)));
    } while (delays.size() < kMaxFrames && WebPDemuxNextFrame(&iter));
    WebPDemuxReleaseIterator(&iter);
    return !delays.empty();
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    WebPBitstreamFeatures features;
    if (const OpStatus s = readFeatures(source.bytes, features, header.message); s != ZNT_OK) return s;
    const uint16_t model = features.has_alpha ? ZNT_CM_RGBA : ZNT_CM_RGB;
    if (!features.has_animation) {
        header.images.push_back(ZntSubImage{model, uint32_t(features.width), uint32_t(features.height), 8});
        header.compressionName = features.format == 2 ? "Lossless (VP8L)" : "Lossy (VP8)";
        return ZNT_OK;
    }
    uint32_t w = 0, h = 0;
    if (!frameDelays(source.bytes, header.delaysMs, w, h)) {
        header.message = "Bad WebP animation";
        return ZNT_BAD_FILE;
    }
    header.images.assign(header.delaysMs.size(), ZntSubImage{model, w, h, 8});
    header.compressionName = "Animation";
    return ZNT_OK;
}

// A still picture, fed to the incremental decoder in slices so that the
// rows decoded so far can be reported (and the load stopped) between them.
OpStatus readStill(Bytes bytes, const WebPBitstreamFeatures &features, const LoadRequest &request,
                   OwnedPicture &out) {
    const bool alpha = features.has_alpha != 0;
    if (!out.allocate(alpha ? ZNT_RGBA : ZNT_RGB, 8, uint32_t(features.width), uint32_t(features.height)))
        return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = alpha ? ZNT_CM_RGBA : ZNT_CM_RGB;

    WebPDecoderConfig config;
    if (!WebPInitDecoderConfig(&config)) return ZNT_INTERNAL;
    config.output.colorspace = alpha ? MODE_RGBA : MODE_RGB;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = pic.data;
    config.output.u.RGBA.stride = int(pic.bytesPerLine);
    config.output.u.RGBA.size = size_t(pic.bytesPerLine) * size_t(pic.height);
    std::unique_ptr<WebPIDecoder, IDecoderDeleter> decoder(WebPIDecode(nullptr, 0, &config));
    if (!decoder) return ZNT_NO_MEMORY;

    Progress progress(request, pic.height);
    const size_t slice = std::max<size_t>(bytes.size() / 16, 64 * 1024);
    VP8StatusCode code = VP8_STATUS_SUSPENDED;
    for (size_t fed = 0; fed < bytes.size() && code == VP8_STATUS_SUSPENDED;) {
        fed = std::min(bytes.size(), fed + slice);
        code = WebPIUpdate(decoder.get(), bytes.data(), fed);
        int lastY = 0;
        if (progress.active() && WebPIDecGetRGB(decoder.get(), &lastY, nullptr, nullptr, nullptr) != nullptr &&
            code == VP8_STATUS_SUSPENDED && progress.row(std::max(lastY - 1, 0)))
            return ZNT_STOPPED;
    }
    if (code == VP8_STATUS_OK) {
        if (progress.active() && progress.row(pic.height - 1)) return ZNT_STOPPED;
        return ZNT_OK;
    }
    // Rows not decoded stay zero: black, or transparent with alpha.
    return request.ignoreErrors() ? OpStatus(ZNT_OK) : statusOf(code);
}

// Frame `page` of an animation, composed on the canvas.
OpStatus readFrame(Bytes bytes, const LoadRequest &request,
                   OwnedPicture &out, std::string &message) {
    const WebPData data{bytes.data(), bytes.size()};
    {
        // The decoder allocates its canvas: refuse a size beyond ours first.
        std::unique_ptr<WebPDemuxer, DemuxDeleter> demux(WebPDemux(&data));
        if (!demux) {
            message = "Bad WebP animation";
            return ZNT_CANT_READ;   // a cut animation: the decoder needs every frame
        }
        const uint32_t w = WebPDemuxGetI(demux.get(), WEBP_FF_CANVAS_WIDTH);
        const uint32_t h = WebPDemuxGetI(demux.get(), WEBP_FF_CANVAS_HEIGHT);
        if (request.refusesSize(w, h, 4)) return ZNT_NO_MEMORY;
        if (uint32_t(request.page) >= WebPDemuxGetI(demux.get(), WEBP_FF_FRAME_COUNT)) {
            message = "No frame " + std::to_string(request.page + 1);
            return ZNT_BAD_FILE;
        }
    }
    WebPAnimDecoderOptions options;
    if (!WebPAnimDecoderOptionsInit(&options)) return ZNT_INTERNAL;
    options.color_mode = MODE_RGBA;
    options.use_threads = 0;
    std::unique_ptr<WebPAnimDecoder, AnimDecoderDeleter> decoder(WebPAnimDecoderNew(&data, &options));
    if (!decoder) return ZNT_NO_MEMORY;
    WebPAnimInfo info;
    if (!WebPAnimDecoderGetInfo(decoder.get(), &info)) return ZNT_INTERNAL;

    Progress progress(request, request.page + 1);
    uint8_t *canvas = nullptr;
    for (int frame = 0; frame <= request.page; ++frame) {
        int timestamp = 0;
        if (!WebPAnimDecoderGetNext(decoder.get(), &canvas, &timestamp)) {
            message = "Bad WebP frame " + std::to_string(frame + 1);
            return ZNT_CORRUPT;
        }
        if (progress.row(frame)) return ZNT_STOPPED;
    }
    // Disposal can leave a canvas transparent even where no frame has alpha:
    // the canvas itself decides.
    bool alpha = false;
    const size_t canvasBytes = size_t(info.canvas_width) * info.canvas_height * 4;
    for (size_t i = 3; i < canvasBytes && !alpha; i += 4) alpha = canvas[i] != 255;
    if (!out.allocate(alpha ? ZNT_RGBA : ZNT_RGB, 8, info.canvas_width, info.canvas_height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = alpha ? ZNT_CM_RGBA : ZNT_CM_RGB;
    for (uint32_t y = 0; y < info.canvas_height; ++y) {
        const uint8_t *in = canvas + size_t(y) * info.canvas_width * 4;
        uint8_t *row = out.row(y);
        if (alpha) {
            std::memcpy(row, in, size_t(info.canvas_width) * 4);
        } else {
            for (uint32_t x = 0; x < info.canvas_width; ++x, in += 4, row += 3) row[0] = in[0], row[1] = in[1], row[2] = in[2];
        }
    }
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    WebPBitstreamFeatures features;
    if (const OpStatus s = readFeatures(source.bytes, features, message); s != ZNT_OK) return s;
    if (features.has_animation) return readFrame(source.bytes, request, out, message);
    if (request.page != 0) {
        message = "No frame " + std::to_string(request.page + 1);
        return ZNT_BAD_FILE;
    }
    if (request.refusesSize(uint32_t(features.width), uint32_t(features.height), 4)) return ZNT_NO_MEMORY;
    return readStill(source.bytes, features, request, out);
}

// Writing.

struct WriteState {
    FileWriter *file;
    const FormatParams *params;
};

int writeBytes(const uint8_t *data, size_t size, const WebPPicture *picture) {
    auto *state = static_cast<WriteState *>(picture->custom_ptr);
    state->file->bytes(data, size);
    return state->file->ok() ? 1 : 0;
}

int onEncodeProgress(int percent, const WebPPicture *picture) {
    reportSaveProgress(*static_cast<WriteState *>(picture->custom_ptr)->params, percent, 100);
    return 1;
}

struct PictureFree {
    void operator()(WebPPicture *p) const { WebPPictureFree(p); }
};

OpStatus writeWebp(FILE *file, const Picture &pic, const FormatParams &params) {
    const bool lossless = params.jpegQuality >= 100;
    const bool alpha = hasMask(pic.type);
    WebPConfig config;
    if (!WebPConfigInit(&config)) return ZNT_INTERNAL;
    config.lossless = lossless ? 1 : 0;
    config.quality = lossless ? 75.0f : float(params.jpegQuality);
    config.method = 4;
    config.exact = lossless ? 1 : 0;
    if (!WebPValidateConfig(&config)) return ZNT_INTERNAL;

    // The picture as plain RGB or RGBA rows, as the encoder imports them.
    const int channels = alpha ? 4 : 3;
    const size_t stride = size_t(pic.width) * size_t(channels);
    std::vector<uint8_t> pixels;
    if (!pictureToChannels(pic, channels, pixels)) return ZNT_NO_MEMORY;

    WebPPicture picture;
    if (!WebPPictureInit(&picture)) return ZNT_INTERNAL;
    std::unique_ptr<WebPPicture, PictureFree> owned(&picture);
    picture.width = int(pic.width);
    picture.height = pic.height;
    picture.use_argb = lossless ? 1 : 0;
    const int imported = alpha ? WebPPictureImportRGBA(&picture, pixels.data(), int(stride))
                               : WebPPictureImportRGB(&picture, pixels.data(), int(stride));
    if (!imported) return ZNT_NO_MEMORY;
    std::vector<uint8_t>().swap(pixels);

    FileWriter writer(file);
    WriteState state{&writer, &params};
    picture.writer = writeBytes;
    picture.custom_ptr = &state;
    picture.progress_hook = params.progressFunction != nullptr ? onEncodeProgress : nullptr;
    if (!WebPEncode(&config, &picture))
        return picture.error_code == VP8_ENC_ERROR_OUT_OF_MEMORY ? ZNT_NO_MEMORY : ZNT_CANT_WRITE;
    return writer.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

const ZntSaveKind kWebpSaveKinds[] = {{ZNT_CM_RGB, 24, kMaxSidePx, kMaxSidePx},
                                      {ZNT_CM_RGBA, 32, kMaxSidePx, kMaxSidePx},
                                      {-1, 0, 0, 0}};

}  // namespace

const Format kWebpFormat = {
    "webp", "WebP", "webp", "WEBP", Signature::exact, sniffWebp,
    readHeader, readPixels, kWebpSaveKinds, writeWebp, nullptr,
};

}  // namespace zentar
