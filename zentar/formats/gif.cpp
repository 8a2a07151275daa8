// GIF through giflib: 87a and 89a, interlaced or not, transparency, and
// every frame of an animation with its delay. Frame N loads as the viewer
// shows it: frames 0 to N drawn in turn on the logical screen with their
// disposal methods applied. While every one of those frames uses the global
// colour table the result is a palette picture (transparent index of frame
// N kept); otherwise it is RGB, or RGBA where transparent pixels remain.
//
// Writing: one frame, interlaced on request, 87a header on request, the
// transparent index in a graphics control block (89a only).
#include "../format.h"
#include "../pixels.h"

#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr int kMaxFrames = 100000;
// The canvas is RGBA while frames have their own tables: keep it below 1 GiB.
constexpr uint64_t kMaxPixels = uint64_t(1) << 28;

struct GifInput {
    Bytes bytes;
    size_t pos = 0;
    bool truncated = false;
};

int readInput(GifFileType *gif, GifByteType *out, int length) {
    auto *in = static_cast<GifInput *>(gif->UserData);
    const size_t left = in->bytes.size() - in->pos;
    const size_t n = std::min(left, size_t(std::max(length, 0)));
    std::memcpy(out, in->bytes.data() + in->pos, n);
    in->pos += n;
    if (n < size_t(length)) in->truncated = true;
    return int(n);
}

struct GifHandle {
    GifFileType *gif = nullptr;
    ~GifHandle() {
        if (gif != nullptr) {
            int error = 0;
            DGifCloseFile(gif, &error);
        }
    }
};

bool sniffGif(Bytes head) {
    return head.size() >= 6 && std::memcmp(head.data(), "GIF8", 4) == 0 && (head[4] == '7' || head[4] == '9') &&
           head[5] == 'a';
}

OpStatus openGif(GifHandle &h, GifInput &input, std::string &message) {
    int error = 0;
    h.gif = DGifOpen(&input, readInput, &error);
    if (h.gif == nullptr) {
        if (input.truncated) return ZNT_CANT_READ;
        const char *text = GifErrorString(error);
        message = text ? text : "Bad GIF file";
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

struct FrameInfo {
    int left = 0, top = 0, width = 0, height = 0;
    bool interlace = false;
    bool localMap = false;
    int transparent = -1;
    int disposal = 0;
    uint32_t delayMs = 0;
};

// Skips the LZW data of the current image.
bool skipImage(GifFileType *gif) {
    int codeSize = 0;
    GifByteType *block = nullptr;
    if (DGifGetCode(gif, &codeSize, &block) == GIF_ERROR) return false;
    while (block != nullptr)
        if (DGifGetCodeNext(gif, &block) == GIF_ERROR) return false;
    return true;
}

// Reads one extension; a graphics control block updates `pending`.
bool readExtension(GifFileType *gif, GraphicsControlBlock &pending, bool &havePending, std::string *comment) {
    int code = 0;
    GifByteType *ext = nullptr;
    if (DGifGetExtension(gif, &code, &ext) == GIF_ERROR) return false;
    bool first = true;
    while (ext != nullptr) {
        if (first && code == GRAPHICS_EXT_FUNC_CODE && ext[0] >= 4) {
            if (DGifExtensionToGCB(ext[0], ext + 1, &pending) == GIF_OK) havePending = true;
        } else if (code == COMMENT_EXT_FUNC_CODE && comment != nullptr && comment->size() < 65536) {
            comment->append(reinterpret_cast<const char *>(ext + 1), ext[0]);
        }
        first = false;
        if (DGifGetExtensionNext(gif, &ext) == GIF_ERROR) return false;
    }
    return true;
}

FrameInfo frameFrom(const GifFileType *gif, const GraphicsControlBlock &gcb, bool haveGcb) {
    FrameInfo f;
    f.left = gif->Image.Left;
    f.top = gif->Image.Top;
    f.width = gif->Image.Width;
    f.height = gif->Image.Height;
    f.interlace = gif->Image.Interlace;
    f.localMap = gif->Image.ColorMap != nullptr;
    if (haveGcb) {
        f.transparent = gcb.TransparentColor;
        f.disposal = gcb.DisposalMode;
        f.delayMs = uint32_t(std::max(gcb.DelayTime, 0)) * 10;
    }
    return f;
}

void canvasSize(const GifFileType *gif, const FrameInfo &first, uint32_t &w, uint32_t &h) {
    w = uint32_t(std::max(gif->SWidth, first.left + first.width));
    h = uint32_t(std::max(gif->SHeight, first.top + first.height));
}

OpStatus readHeader(const Source &source, uint32_t flags, Header &header) {
    GifInput input{source.bytes};
    GifHandle h;
    if (const OpStatus s = openGif(h, input, header.message); s != ZNT_OK) return s;
    GifFileType *gif = h.gif;
    GraphicsControlBlock gcb{};
    bool haveGcb = false;
    std::vector<FrameInfo> frames;
    bool complete = true;
    for (;;) {
        GifRecordType type;
        if (DGifGetRecordType(gif, &type) == GIF_ERROR) {
            complete = false;
            break;
        }
        if (type == IMAGE_DESC_RECORD_TYPE) {
            if (DGifGetImageDesc(gif) == GIF_ERROR) {
                complete = false;
                break;
            }
            frames.push_back(frameFrom(gif, gcb, haveGcb));
            haveGcb = false;
            if ((flags & kInfoQuick) || frames.size() >= size_t(kMaxFrames)) break;
            if (!skipImage(gif)) {
                complete = false;
                break;
            }
        } else if (type == EXTENSION_RECORD_TYPE) {
            if (!readExtension(gif, gcb, haveGcb, &header.comment)) {
                complete = false;
                break;
            }
        } else {
            break;
        }
    }
    if (frames.empty()) {
        if (!complete && input.truncated) return ZNT_CANT_READ;
        header.message = "GIF file without a picture";
        return ZNT_BAD_FILE;
    }
    uint32_t w = 0, hgt = 0;
    canvasSize(gif, frames.front(), w, hgt);
    for (const FrameInfo &f : frames) {
        header.images.push_back(ZntSubImage{ZNT_CM_PALETTE, w, hgt, 8});
        header.delaysMs.push_back(f.delayMs);
    }
    header.compression = 1;
    header.compressionName = frames.front().interlace ? "LZW, interlaced" : "LZW";
    return ZNT_OK;
}

// The row of an interlaced image that its i-th stored line belongs to.
std::vector<int> interlaceOrder(int height) {
    std::vector<int> order;
    order.reserve(size_t(height));
    static const int kStart[4] = {0, 4, 2, 1}, kStep[4] = {8, 8, 4, 2};
    for (int pass = 0; pass < 4; ++pass)
        for (int y = kStart[pass]; y < height; y += kStep[pass]) order.push_back(y);
    return order;
}

struct Colour {
    uint8_t r, g, b;
};

// The canvas frames are drawn on: indexes while every frame shares the
// global table, RGBA otherwise.
struct Canvas {
    uint32_t width = 0, height = 0;
    bool indexed = true;
    std::vector<uint8_t> pixels;   // width * height indexes, or width * height * 4 RGBA

    void fillRect(int left, int top, int w, int h, uint8_t index) {
        const int x0 = std::clamp(left, 0, int(width)), x1 = std::clamp(left + w, 0, int(width));
        const int y0 = std::clamp(top, 0, int(height)), y1 = std::clamp(top + h, 0, int(height));
        for (int y = y0; y < y1; ++y) {
            if (indexed)
                std::memset(pixels.data() + size_t(y) * width + x0, index, size_t(x1 - x0));
            else
                std::memset(pixels.data() + (size_t(y) * width + x0) * 4, 0, size_t(x1 - x0) * 4);
        }
    }
};

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    if (request.page >= kMaxFrames) return ZNT_BAD_ARGUMENT;
    GifInput input{source.bytes};
    GifHandle h;
    if (const OpStatus s = openGif(h, input, message); s != ZNT_OK) return s;
    GifFileType *gif = h.gif;

    // The global table, kept apart: giflib replaces Image.ColorMap per frame.
    Colour global[256] = {};
    int globalCount = 0;
    if (gif->SColorMap != nullptr) {
        globalCount = std::clamp(gif->SColorMap->ColorCount, 0, 256);
        for (int i = 0; i < globalCount; ++i)
            global[i] = {gif->SColorMap->Colors[i].Red, gif->SColorMap->Colors[i].Green, gif->SColorMap->Colors[i].Blue};
    }

    Canvas canvas;
    std::vector<uint8_t> saved;   // the canvas before a frame that restores it afterwards
    std::vector<uint8_t> frame;
    GraphicsControlBlock gcb{};
    bool haveGcb = false;
    int index = 0;
    FrameInfo previous;
    bool havePrevious = false;
    int background = gif->SBackGroundColor;
    bool failed = false;
    FrameInfo shown;

    while (index <= request.page && !failed) {
        GifRecordType type;
        if (DGifGetRecordType(gif, &type) == GIF_ERROR) {
            failed = true;
            break;
        }
        if (type == EXTENSION_RECORD_TYPE) {
            if (!readExtension(gif, gcb, haveGcb, nullptr)) failed = true;
            continue;
        }
        if (type != IMAGE_DESC_RECORD_TYPE) break;
        if (DGifGetImageDesc(gif) == GIF_ERROR) {
            failed = true;
            break;
        }
        const FrameInfo f = frameFrom(gif, gcb, haveGcb);
        haveGcb = false;
        if (index == 0) {
            canvasSize(gif, f, canvas.width, canvas.height);
            if (canvas.width == 0 || canvas.height == 0 || canvas.width > 65535 || canvas.height > 65535) {
                message = "Bad GIF picture size";
                return ZNT_BAD_FILE;
            }
            if (request.tooLarge(canvas.width, canvas.height) || uint64_t(canvas.width) * canvas.height > kMaxPixels)
                return ZNT_NO_MEMORY;
        }
        if (f.localMap && canvas.indexed && (index > 0 || request.page > 0)) {
            // Switch to RGBA, converting what is drawn so far.
            std::vector<uint8_t> rgba(size_t(canvas.width) * canvas.height * 4, 0);
            if (!canvas.pixels.empty()) {
                for (size_t i = 0; i < size_t(canvas.width) * canvas.height; ++i) {
                    const uint8_t v = canvas.pixels[i];
                    if (int(v) == shown.transparent || v >= globalCount) continue;
                    rgba[4 * i] = global[v].r, rgba[4 * i + 1] = global[v].g, rgba[4 * i + 2] = global[v].b;
                    rgba[4 * i + 3] = 255;
                }
            }
            canvas.indexed = false;
            canvas.pixels = std::move(rgba);
            saved.clear();
        }
        if (canvas.pixels.empty()) {
            // The first frame decides the fill: its transparent index, or the background.
            const uint8_t fill = f.transparent >= 0 ? uint8_t(f.transparent) : uint8_t(std::max(background, 0));
            if (f.transparent >= 0) background = f.transparent;
            if (canvas.indexed)
                canvas.pixels.assign(size_t(canvas.width) * canvas.height, fill);
            else
                canvas.pixels.assign(size_t(canvas.width) * canvas.height * 4, 0);
        }
        // Dispose of the previous frame.
        if (havePrevious) {
            if (previous.disposal == DISPOSE_BACKGROUND)
                canvas.fillRect(previous.left, previous.top, previous.width, previous.height, uint8_t(background));
            else if (previous.disposal == DISPOSE_PREVIOUS && saved.size() == canvas.pixels.size())
                canvas.pixels = saved;
        }
        if (f.disposal == DISPOSE_PREVIOUS && index < request.page) saved = canvas.pixels;

        // This frame's table.
        Colour local[256] = {};
        int localCount = 0;
        if (gif->Image.ColorMap != nullptr) {
            localCount = std::clamp(gif->Image.ColorMap->ColorCount, 0, 256);
            for (int i = 0; i < localCount; ++i)
                local[i] = {gif->Image.ColorMap->Colors[i].Red, gif->Image.ColorMap->Colors[i].Green,
                            gif->Image.ColorMap->Colors[i].Blue};
        }
        const Colour *table = f.localMap ? local : global;
        const int tableCount = f.localMap ? localCount : globalCount;

        // Decode the frame's lines, then draw them clipped to the canvas.
        if (f.width <= 0 || f.height <= 0) {
            if (!skipImage(gif)) failed = true;
        } else {
            if (request.tooLarge(uint64_t(f.width), uint64_t(f.height)) || uint64_t(f.width) * uint64_t(f.height) > kMaxPixels)
                return ZNT_NO_MEMORY;
            frame.assign(size_t(f.width) * size_t(f.height), f.transparent >= 0 ? uint8_t(f.transparent) : 0);
            std::vector<bool> got(size_t(f.height), false);
            const std::vector<int> order = f.interlace ? interlaceOrder(f.height) : std::vector<int>();
            Progress progress(request, f.height);
            for (int i = 0; i < f.height; ++i) {
                const int y = f.interlace ? order[size_t(i)] : i;
                if (DGifGetLine(gif, frame.data() + size_t(y) * f.width, f.width) == GIF_ERROR) {
                    failed = true;
                    break;
                }
                got[size_t(y)] = true;
                if (index == request.page && progress.row(i)) return ZNT_STOPPED;
            }
            const int transparent = f.transparent;
            for (int y = 0; y < f.height; ++y) {
                const int cy = f.top + y;
                if (cy < 0 || cy >= int(canvas.height) || !got[size_t(y)]) continue;
                const uint8_t *src = frame.data() + size_t(y) * f.width;
                const int x0 = std::max(0, -f.left), x1 = std::min(f.width, int(canvas.width) - f.left);
                if (canvas.indexed) {
                    uint8_t *dst = canvas.pixels.data() + size_t(cy) * canvas.width + f.left;
                    for (int x = x0; x < x1; ++x)
                        if (src[x] != transparent) dst[x] = src[x];
                } else {
                    uint8_t *dst = canvas.pixels.data() + (size_t(cy) * canvas.width + f.left) * 4;
                    for (int x = x0; x < x1; ++x) {
                        const uint8_t v = src[x];
                        if (v == transparent || v >= tableCount) continue;
                        dst[4 * x] = table[v].r, dst[4 * x + 1] = table[v].g, dst[4 * x + 2] = table[v].b;
                        dst[4 * x + 3] = 255;
                    }
                }
            }
        }
        previous = f;
        havePrevious = true;
        shown = f;
        if (index == 0 && canvas.indexed && f.localMap) {
            // A single frame with its own table: that table is the palette.
            std::memcpy(global, local, sizeof global);
            globalCount = localCount;
        }
        ++index;
    }

    if (index <= request.page) {   // the wanted frame never arrived
        if (failed) return input.truncated ? ZNT_CANT_READ : ZNT_CORRUPT;
        message = "No frame " + std::to_string(request.page + 1);
        return ZNT_BAD_FILE;
    }
    if (failed && !request.ignoreErrors()) return input.truncated ? ZNT_CANT_READ : ZNT_CORRUPT;

    if (canvas.indexed) {
        if (!out.allocate(ZNT_PALETTE, 8, canvas.width, canvas.height)) return ZNT_NO_MEMORY;
        Picture &pic = out.get();
        for (uint32_t y = 0; y < canvas.height; ++y)
            std::memcpy(out.row(y), canvas.pixels.data() + size_t(y) * canvas.width, canvas.width);
        for (int i = 0; i < globalCount; ++i)
            pic.palette[i] = global[i].r, pic.palette[256 + i] = global[i].g, pic.palette[512 + i] = global[i].b;
        pic.numberOfColors = uint16_t(std::max(globalCount, 2));
        pic.transparentIndex = int16_t(shown.transparent);
        pic.colorModel = ZNT_CM_PALETTE;
        return ZNT_OK;
    }
    bool opaque = true;
    for (size_t i = 3; i < canvas.pixels.size() && opaque; i += 4) opaque = canvas.pixels[i] == 255;
    if (!out.allocate(opaque ? ZNT_RGB : ZNT_RGBA, 8, canvas.width, canvas.height)) return ZNT_NO_MEMORY;
    for (uint32_t y = 0; y < canvas.height; ++y) {
        const uint8_t *src = canvas.pixels.data() + size_t(y) * canvas.width * 4;
        uint8_t *dst = out.row(y);
        if (opaque) {
            for (uint32_t x = 0; x < canvas.width; ++x) dst[3 * x] = src[4 * x], dst[3 * x + 1] = src[4 * x + 1], dst[3 * x + 2] = src[4 * x + 2];
        } else {
            std::memcpy(dst, src, size_t(canvas.width) * 4);
        }
    }
    out.get().colorModel = ZNT_CM_PALETTE;
    return ZNT_OK;
}

// Writing.

int writeOutput(GifFileType *gif, const GifByteType *data, int length) {
    FILE *file = static_cast<FILE *>(gif->UserData);
    return int(std::fwrite(data, 1, size_t(length), file));
}

struct EncoderHandle {
    GifFileType *gif = nullptr;
    ColorMapObject *map = nullptr;
    ~EncoderHandle() {
        if (gif != nullptr) {
            int error = 0;
            EGifCloseFile(gif, &error);
        }
        if (map != nullptr) GifFreeMapObject(map);
    }
};

OpStatus writeGif(FILE *file, const Picture &pic, const FormatParams &params) {
    const int width = int(pic.width), height = pic.height;
    int count = pic.type == ZNT_BINARY ? 2 : std::clamp<int>(pic.numberOfColors, 2, 256);
    int bits = 1;
    while ((1 << bits) < count) ++bits;
    const int mapSize = 1 << bits;
    std::vector<GifColorType> colours(size_t(mapSize), GifColorType{0, 0, 0});
    if (pic.type == ZNT_BINARY) {
        colours[1] = GifColorType{255, 255, 255};
    } else if (pic.type == ZNT_GREY) {
        const auto values = greyLevelValues(pic.numberOfColors);
        for (int i = 0; i < count; ++i) colours[size_t(i)] = GifColorType{values[size_t(i)], values[size_t(i)], values[size_t(i)]};
    } else if (pic.palette != nullptr) {
        for (int i = 0; i < count; ++i)
            colours[size_t(i)] = GifColorType{pic.palette[i], pic.palette[256 + i], pic.palette[512 + i]};
    }

    EncoderHandle e;
    e.map = GifMakeMapObject(mapSize, colours.data());
    if (e.map == nullptr) return ZNT_NO_MEMORY;
    int error = 0;
    e.gif = EGifOpen(file, writeOutput, &error);
    if (e.gif == nullptr) return ZNT_CANT_WRITE;
    const bool gif87 = params.gif87a != 0;
    const bool transparent = !gif87 && pic.type == ZNT_PALETTE && pic.transparentIndex >= 0 &&
                             pic.transparentIndex < mapSize;
    EGifSetGifVersion(e.gif, !gif87);
    if (EGifPutScreenDesc(e.gif, width, height, bits, 0, e.map) == GIF_ERROR) return ZNT_CANT_WRITE;
    if (transparent) {
        GraphicsControlBlock gcb{};
        gcb.DisposalMode = DISPOSAL_UNSPECIFIED;
        gcb.TransparentColor = pic.transparentIndex;
        GifByteType block[4];
        const size_t n = EGifGCBToExtension(&gcb, block);
        if (EGifPutExtension(e.gif, GRAPHICS_EXT_FUNC_CODE, int(n), block) == GIF_ERROR) return ZNT_CANT_WRITE;
    }
    const bool interlace = params.progressive != 0;
    if (EGifPutImageDesc(e.gif, 0, 0, width, height, interlace, nullptr) == GIF_ERROR) return ZNT_CANT_WRITE;
    std::vector<GifPixelType> line(static_cast<size_t>(width));
    const std::vector<int> order = interlace ? interlaceOrder(height) : std::vector<int>();
    for (int i = 0; i < height; ++i) {
        const int y = interlace ? order[size_t(i)] : i;
        const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
        if (pic.type == ZNT_BINARY) {
            for (int x = 0; x < width; ++x) line[size_t(x)] = in[x >> 3] >> (7 - (x & 7)) & 1;
        } else {
            for (int x = 0; x < width; ++x) line[size_t(x)] = GifPixelType(in[x] & (mapSize - 1));
        }
        if (EGifPutLine(e.gif, line.data(), width) == GIF_ERROR) return ZNT_CANT_WRITE;
        reportSaveProgress(params, i, height);
    }
    GifFileType *gif = e.gif;
    e.gif = nullptr;
    if (EGifCloseFile(gif, &error) == GIF_ERROR) return ZNT_CANT_WRITE;
    return std::ferror(file) ? ZNT_CANT_WRITE : ZNT_OK;
}

const ZntSaveKind kGifSaveKinds[] = {{ZNT_CM_BINARY, 1, 65535, 65535},
                                     {ZNT_CM_GREY, 8, 65535, 65535},
                                     {ZNT_CM_PALETTE, 8, 65535, 65535},
                                     {-1, 0, 0, 0}};

}  // namespace

const Format kGifFormat = {
    "gif", "Graphics Interchange Format", "gif", "GIF", Signature::exact, sniffGif,
    readHeader, readPixels, kGifSaveKinds, writeGif, nullptr,
};

}  // namespace zentar
