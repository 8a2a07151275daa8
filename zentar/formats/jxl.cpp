// JPEG XL through libjxl: bare codestreams and the container, lossy and
// lossless, grey or colour, with or without alpha, and animations. A
// picture loads as grey (256 levels), RGB or RGBA (grey with alpha too),
// samples cut to 8 bits and the orientation applied; each frame of an
// animation is a page with its delay in the file information. Lossy
// (XYB) pictures are converted to sRGB by the decoder.
//
// The decoder works on the machine's cores; it writes straight into the
// picture. The file is handed over in slices, between which progress is
// reported and a stop is possible; a truncated file gives what its slices
// held when errors are ignored.
//
// Writing: a quality of 100 saves losslessly, any lower one lossy at the
// butteraugli distance that quality maps to (90 is distance 1).
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"

#include <jxl/decode.h>
#include <jxl/encode.h>
#include <jxl/thread_parallel_runner.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace zentar {

namespace {

// The decoder keeps several float planes per picture: bound the pixels
// well below what our allocator takes.
constexpr uint64_t kMaxPixels = uint64_t(1) << 28;
constexpr uint32_t kMaxSidePx = 1u << 18;
constexpr size_t kMaxFrames = 100000;

struct DecoderDestroy {
    void operator()(JxlDecoder *d) const { JxlDecoderDestroy(d); }
};
struct EncoderDestroy {
    void operator()(JxlEncoder *e) const { JxlEncoderDestroy(e); }
};
struct RunnerDestroy {
    void operator()(void *r) const { JxlThreadParallelRunnerDestroy(r); }
};
using Runner = std::unique_ptr<void, RunnerDestroy>;

Runner makeRunner() {
    const size_t threads = std::clamp<size_t>(JxlThreadParallelRunnerDefaultNumWorkerThreads(), 1, 16);
    return Runner(JxlThreadParallelRunnerCreate(nullptr, threads));
}

bool sniffJxl(Bytes head) {
    const JxlSignature s = JxlSignatureCheck(head.data(), head.size());
    return s == JXL_SIG_CODESTREAM || s == JXL_SIG_CONTAINER;
}

uint32_t delayMs(const JxlBasicInfo &info, uint32_t ticks) {
    if (info.animation.tps_numerator == 0) return 0;
    return uint32_t(std::min<uint64_t>(uint64_t(ticks) * 1000 * info.animation.tps_denominator /
                                           info.animation.tps_numerator,
                                       0xffffffffu));
}

// Width and height as decoded, the orientation applied.
void orientedSize(const JxlBasicInfo &info, uint32_t &w, uint32_t &h) {
    const bool transposed = info.orientation >= JXL_ORIENT_TRANSPOSE;
    w = transposed ? info.ysize : info.xsize;
    h = transposed ? info.xsize : info.ysize;
}

int colorModelOf(const JxlBasicInfo &info) {
    if (info.alpha_bits != 0) return ZNT_CM_RGBA;
    return info.num_color_channels == 1 ? ZNT_CM_GREY : ZNT_CM_RGB;
}

bool sizeAllowed(const JxlBasicInfo &info) {
    return info.xsize <= kMaxSidePx && info.ysize <= kMaxSidePx && uint64_t(info.xsize) * info.ysize <= kMaxPixels;
}

OpStatus readHeader(const Source &source, uint32_t flags, Header &header) {
    std::unique_ptr<JxlDecoder, DecoderDestroy> decoder(JxlDecoderCreate(nullptr));
    if (!decoder) return ZNT_NO_MEMORY;
    const bool quick = (flags & kInfoQuick) != 0;
    if (JxlDecoderSubscribeEvents(decoder.get(), JXL_DEC_BASIC_INFO | (quick ? 0 : JXL_DEC_FRAME)) != JXL_DEC_SUCCESS)
        return ZNT_INTERNAL;
    JxlDecoderSetInput(decoder.get(), source.bytes.data(), source.bytes.size());
    JxlDecoderCloseInput(decoder.get());
    JxlBasicInfo info{};
    bool haveInfo = false;
    while (true) {
        const JxlDecoderStatus status = JxlDecoderProcessInput(decoder.get());
        if (status == JXL_DEC_BASIC_INFO) {
            if (JxlDecoderGetBasicInfo(decoder.get(), &info) != JXL_DEC_SUCCESS) break;
            haveInfo = true;
            if (quick || !info.have_animation) break;
        } else if (status == JXL_DEC_FRAME) {
            JxlFrameHeader frame{};
            if (JxlDecoderGetFrameHeader(decoder.get(), &frame) != JXL_DEC_SUCCESS) break;
            header.delaysMs.push_back(delayMs(info, frame.duration));
            if (frame.is_last || header.delaysMs.size() >= kMaxFrames) break;
        } else {
            break;   // the end, an error, or a cut: report the frames seen
        }
    }
    if (!haveInfo) {
        header.message = "Bad JPEG XL header";
        return ZNT_BAD_FILE;
    }
    uint32_t w = 0, h = 0;
    orientedSize(info, w, h);
    const ZntSubImage image{uint16_t(colorModelOf(info)), w, h, uint16_t(info.bits_per_sample)};
    if (info.have_animation && !header.delaysMs.empty()) {
        header.images.assign(header.delaysMs.size(), image);
    } else {
        header.images.push_back(image);
        header.delaysMs.clear();
    }
    header.compressionName = info.uses_original_profile ? "Modular" : "VarDCT (XYB)";
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    std::unique_ptr<JxlDecoder, DecoderDestroy> decoder(JxlDecoderCreate(nullptr));
    Runner runner = makeRunner();
    if (!decoder || !runner) return ZNT_NO_MEMORY;
    if (JxlDecoderSubscribeEvents(decoder.get(), JXL_DEC_BASIC_INFO | JXL_DEC_COLOR_ENCODING | JXL_DEC_FULL_IMAGE) != JXL_DEC_SUCCESS ||
        JxlDecoderSetParallelRunner(decoder.get(), JxlThreadParallelRunner, runner.get()) != JXL_DEC_SUCCESS)
        return ZNT_INTERNAL;

    const Bytes bytes = source.bytes;
    // Without a progress function there is nothing to do between slices.
    const size_t slice = request.progress == nullptr ? bytes.size() : std::max<size_t>(bytes.size() / 16, 64 * 1024);
    size_t fed = std::min(bytes.size(), slice), consumed = 0;
    JxlDecoderSetInput(decoder.get(), bytes.data(), fed);
    if (fed == bytes.size()) JxlDecoderCloseInput(decoder.get());

    JxlBasicInfo info{};
    JxlPixelFormat format{4, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};
    Progress progress(request, 1);
    uint32_t height = 0;
    while (true) {
        const JxlDecoderStatus status = JxlDecoderProcessInput(decoder.get());
        if (status == JXL_DEC_BASIC_INFO) {
            if (JxlDecoderGetBasicInfo(decoder.get(), &info) != JXL_DEC_SUCCESS) return ZNT_BAD_FILE;
            if (!sizeAllowed(info)) return ZNT_NO_MEMORY;
            uint32_t w = 0;
            orientedSize(info, w, height);
            if (request.refusesSize(w, height, 4)) return ZNT_NO_MEMORY;
            const bool alpha = info.alpha_bits != 0;
            const bool grey = info.num_color_channels == 1;
            format.num_channels = alpha ? 4 : grey ? 1 : 3;   // grey with alpha comes as RGBA
            const int type = alpha ? ZNT_RGBA : grey ? ZNT_GREY : ZNT_RGB;
            if (!out.allocate(type, 8, w, height)) return ZNT_NO_MEMORY;
            out.get().colorModel = uint16_t(colorModelOf(info));
            progress = Progress(request, int(height));
            if (request.page > 0) {
                if (!info.have_animation) {
                    message = "No frame " + std::to_string(request.page + 1);
                    return ZNT_BAD_FILE;
                }
                JxlDecoderSkipFrames(decoder.get(), size_t(request.page));
            }
        } else if (status == JXL_DEC_COLOR_ENCODING) {
            if (!info.uses_original_profile) {
                JxlColorEncoding srgb;
                JxlColorEncodingSetToSRGB(&srgb, info.num_color_channels == 1 ? JXL_TRUE : JXL_FALSE);
                JxlDecoderSetPreferredColorProfile(decoder.get(), &srgb);
            }
        } else if (status == JXL_DEC_NEED_IMAGE_OUT_BUFFER) {
            Picture &pic = out.get();
            size_t needed = 0;
            if (pic.data == nullptr || JxlDecoderImageOutBufferSize(decoder.get(), &format, &needed) != JXL_DEC_SUCCESS ||
                needed != size_t(pic.bytesPerLine) * size_t(pic.height))
                return ZNT_INTERNAL;
            if (JxlDecoderSetImageOutBuffer(decoder.get(), &format, pic.data, needed) != JXL_DEC_SUCCESS)
                return ZNT_INTERNAL;
        } else if (status == JXL_DEC_FULL_IMAGE) {
            break;   // the frame asked for
        } else if (status == JXL_DEC_NEED_MORE_INPUT) {
            const size_t left = JxlDecoderReleaseInput(decoder.get());
            consumed = fed - left;
            if (fed == bytes.size()) {
                // The file ends before the picture does.
                if (out.get().data == nullptr) {
                    message = "Bad JPEG XL header";
                    return ZNT_CANT_READ;
                }
                if (!request.ignoreErrors()) return ZNT_CANT_READ;
                JxlDecoderFlushImage(decoder.get());
                break;
            }
            fed = std::min(bytes.size(), fed + slice);
            JxlDecoderSetInput(decoder.get(), bytes.data() + consumed, fed - consumed);
            if (fed == bytes.size()) JxlDecoderCloseInput(decoder.get());
            if (progress.active() && height != 0) {
                const int rows = int(uint64_t(height) * fed / bytes.size());
                if (progress.row(std::max(rows - 1, 0))) return ZNT_STOPPED;
            }
        } else if (status == JXL_DEC_SUCCESS) {
            // The stream ended before the frame asked for.
            message = "No frame " + std::to_string(request.page + 1);
            return ZNT_BAD_FILE;
        } else {
            if (out.get().data != nullptr && request.ignoreErrors()) {
                JxlDecoderFlushImage(decoder.get());
                break;
            }
            if (message.empty()) message = out.get().data == nullptr ? "Bad JPEG XL header" : "";
            return out.get().data == nullptr ? ZNT_BAD_FILE : ZNT_CORRUPT;
        }
    }
    if (out.get().data == nullptr) return ZNT_BAD_FILE;
    if (progress.active() && progress.row(int(height) - 1)) return ZNT_STOPPED;
    return ZNT_OK;
}

// Writing.

float distanceForQuality(int quality) {
    // The usual mapping: 90 gives distance 1 (visually lossless), 30 gives 6.4.
    if (quality >= 30) return 0.1f + float(100 - quality) * 0.09f;
    return 6.4f + float(std::pow(2.5, (30 - quality) / 5.0) / 6.25);
}

OpStatus writeJxl(FILE *file, const Picture &pic, const FormatParams &params) {
    const bool lossless = params.jpegQuality >= 100;
    const bool alpha = hasMask(pic.type);
    const bool grey = pic.type == ZNT_GREY;
    const uint32_t channels = alpha ? 4 : grey ? 1 : 3;
    std::vector<uint8_t> pixels;
    if (!pictureToChannels(pic, int(channels), pixels)) return ZNT_NO_MEMORY;

    std::unique_ptr<JxlEncoder, EncoderDestroy> encoder(JxlEncoderCreate(nullptr));
    Runner runner = makeRunner();
    if (!encoder || !runner) return ZNT_NO_MEMORY;
    if (JxlEncoderSetParallelRunner(encoder.get(), JxlThreadParallelRunner, runner.get()) != JXL_ENC_SUCCESS)
        return ZNT_INTERNAL;
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = pic.width;
    info.ysize = uint32_t(pic.height);
    info.bits_per_sample = 8;
    info.num_color_channels = grey ? 1 : 3;
    info.alpha_bits = alpha ? 8 : 0;
    info.num_extra_channels = alpha ? 1 : 0;
    info.uses_original_profile = lossless ? JXL_TRUE : JXL_FALSE;
    if (JxlEncoderSetBasicInfo(encoder.get(), &info) != JXL_ENC_SUCCESS) return ZNT_CANT_SAVE;
    JxlColorEncoding srgb;
    JxlColorEncodingSetToSRGB(&srgb, grey ? JXL_TRUE : JXL_FALSE);
    if (JxlEncoderSetColorEncoding(encoder.get(), &srgb) != JXL_ENC_SUCCESS) return ZNT_INTERNAL;
    JxlEncoderFrameSettings *settings = JxlEncoderFrameSettingsCreate(encoder.get(), nullptr);
    if (settings == nullptr) return ZNT_NO_MEMORY;
    if (lossless) {
        if (JxlEncoderSetFrameLossless(settings, JXL_TRUE) != JXL_ENC_SUCCESS) return ZNT_INTERNAL;
    } else {
        const int quality = std::clamp<int>(params.jpegQuality, 0, 99);
        if (JxlEncoderSetFrameDistance(settings, distanceForQuality(quality)) != JXL_ENC_SUCCESS) return ZNT_INTERNAL;
    }
    const JxlPixelFormat format{channels, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};
    reportSaveProgress(params, 0, 2);
    if (JxlEncoderAddImageFrame(settings, &format, pixels.data(), pixels.size()) != JXL_ENC_SUCCESS)
        return ZNT_CANT_WRITE;
    JxlEncoderCloseInput(encoder.get());

    FileWriter writer(file);
    std::vector<uint8_t> buffer(1 << 16);
    while (true) {
        uint8_t *next = buffer.data();
        size_t available = buffer.size();
        const JxlEncoderStatus status = JxlEncoderProcessOutput(encoder.get(), &next, &available);
        writer.bytes(buffer.data(), buffer.size() - available);
        if (status == JXL_ENC_SUCCESS) break;
        if (status != JXL_ENC_NEED_MORE_OUTPUT) return ZNT_CANT_WRITE;
    }
    reportSaveProgress(params, 1, 2);
    return writer.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

const ZntSaveKind kJxlSaveKinds[] = {{ZNT_CM_GREY, 8, kMaxSidePx, kMaxSidePx},
                                     {ZNT_CM_RGB, 24, kMaxSidePx, kMaxSidePx},
                                     {ZNT_CM_RGBA, 32, kMaxSidePx, kMaxSidePx},
                                     {-1, 0, 0, 0}};

}  // namespace

const Format kJxlFormat = {
    "jxl", "JPEG XL", "jxl", "JXL", Signature::exact, sniffJxl,
    readHeader, readPixels, kJxlSaveKinds, writeJxl, nullptr,
};

}  // namespace zentar
