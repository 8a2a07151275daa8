// Camera raw files through LibRaw: DNG and the makers' own raw formats.
// Read only. A full load develops the sensor data (the camera's white
// balance, the usual demosaicing, 8 bits per sample) into RGB, or grey for a
// sensor without colour filters. A reduced load takes the preview the camera
// embedded when it is at least the size wanted and of the picture's
// proportions (a JPEG preview is itself decoded reduced); without one it
// develops at half size, which skips the demosaicing.
//
// The picture is not turned: the orientation the camera recorded is in the
// file information (as EXIF numbers), as for JPEG, so that a preview and a
// full load agree.
//
// Many raw formats are TIFF files, which the TIFF reader would otherwise
// take: this format's signature is tried first and claims a TIFF only when
// it is a DNG (it has the DNGVersion tag) or carries the marks of a camera
// file (a Make tag, sub-directories and a reduced-size first image), or a
// CR2. Other raw formats have magic numbers of their own.
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"

#include <libraw/libraw.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <string>

namespace zentar {

namespace {

// LibRaw keeps the raw data (16 bits a sample) and a four-channel 16-bit
// image of the whole sensor: bound the sensor well below our allocator.
constexpr uint64_t kMaxSensorPixels = uint64_t(1) << 28;

bool startsWith(Bytes head, size_t at, const char *magic, size_t length) {
    return head.size() >= at + length && std::memcmp(head.data() + at, magic, length) == 0;
}

// Whether a TIFF's first directory marks a camera file.
bool tiffFromCamera(Bytes head) {
    const bool little = startsWith(head, 0, "II*\0", 4);
    if (!little && !startsWith(head, 0, "MM\0*", 4)) return false;
    if (startsWith(head, 8, "CR\x02", 3)) return true;
    auto u16 = [&](uint64_t at) -> uint32_t {
        if (at + 2 > head.size()) return 0;
        return little ? readLe16(head.data() + at) : readBe16(head.data() + at);
    };
    auto u32 = [&](uint64_t at) -> uint32_t {
        if (at + 4 > head.size()) return 0;
        return little ? readLe32(head.data() + at) : readBe32(head.data() + at);
    };
    const uint64_t ifd = u32(4);
    if (ifd < 8 || ifd + 2 > head.size()) return false;
    bool make = false, subIfds = false, reduced = false;
    const uint32_t count = std::min<uint32_t>(u16(ifd), 1000);
    for (uint32_t i = 0; i < count; ++i) {
        const uint64_t entry = ifd + 2 + uint64_t(i) * 12;
        if (entry + 12 > head.size()) break;
        const uint32_t tag = u16(entry);
        if (tag == 0xc612) return true;   // DNGVersion
        if (tag == 0x010f) make = true;
        if (tag == 0x014a) subIfds = true;
        if (tag == 0x00fe) reduced = (u16(entry + 2) == 3 ? u16(entry + 8) : u32(entry + 8)) & 1;
    }
    return make && subIfds && reduced;
}

bool sniffRaw(Bytes head) {
    return tiffFromCamera(head) || startsWith(head, 0, "IIRO", 4) || startsWith(head, 0, "IIRS", 4) ||
           startsWith(head, 0, "MMOR", 4) || startsWith(head, 0, "IIU\0", 4) ||
           startsWith(head, 0, "FUJIFILMCCD-RAW", 15) || startsWith(head, 6, "HEAPCCDR", 8) ||
           startsWith(head, 0, "\0MRM", 4) || startsWith(head, 0, "FOVb", 4) ||
           (startsWith(head, 4, "ftyp", 4) && startsWith(head, 8, "crx ", 4));
}

// LibRaw's default handlers print; the library never does.
void quietMemory(void *, const char *, const char *) {}
void quietData(void *, const char *, const int) {}

struct ProgressState {
    const LoadRequest *request;
    int calls = 0;
    bool stop = false;
};

// Development goes through about a dozen stages: each call is one step.
constexpr int kDevelopSteps = 24;

int onProgress(void *data, LibRaw_progress, int, int) {
    auto *s = static_cast<ProgressState *>(data);
    const LoadRequest &r = *s->request;
    if (r.progress != nullptr && r.progress(std::min(s->calls++, kDevelopSteps - 1), kDevelopSteps, r.progressUserData) != 0)
        s->stop = true;
    return s->stop ? 1 : 0;
}

OpStatus statusOf(int code) {
    switch (code) {
    case LIBRAW_SUCCESS:
        return ZNT_OK;
    case LIBRAW_UNSUFFICIENT_MEMORY:
    case LIBRAW_TOO_BIG:
    case LIBRAW_MEMPOOL_OVERFLOW:
        return ZNT_NO_MEMORY;
    case LIBRAW_CANCELLED_BY_CALLBACK:
        return ZNT_STOPPED;
    case LIBRAW_IO_ERROR:
    case LIBRAW_DATA_ERROR:
        return ZNT_CORRUPT;
    default:
        return ZNT_BAD_FILE;
    }
}

struct Opened {
    std::unique_ptr<LibRaw> raw;
    ProgressState progress{nullptr};
};

OpStatus open(Bytes bytes, const LoadRequest *request, Opened &o, std::string &message) {
    o.raw.reset(new (std::nothrow) LibRaw(LIBRAW_OPTIONS_NONE));
    if (!o.raw) return ZNT_NO_MEMORY;
    LibRaw &raw = *o.raw;
    raw.set_memerror_handler(quietMemory, nullptr);
    raw.set_dataerror_handler(quietData, nullptr);
    if (request != nullptr) {
        o.progress.request = request;
        raw.set_progress_handler(onProgress, &o.progress);
    }
    const int code = raw.open_buffer(const_cast<uint8_t *>(bytes.data()), bytes.size());
    if (o.progress.stop) return ZNT_STOPPED;
    if (code != LIBRAW_SUCCESS) {
        message = "Unsupported camera raw file";
        return statusOf(code) == ZNT_CORRUPT ? ZNT_CORRUPT : ZNT_BAD_FILE;
    }
    const libraw_image_sizes_t &s = raw.imgdata.sizes;
    if (s.width == 0 || s.height == 0 || uint64_t(s.raw_width) * s.raw_height > kMaxSensorPixels) {
        message = "Bad camera raw size";
        return s.width == 0 || s.height == 0 ? ZNT_BAD_FILE : ZNT_NO_MEMORY;
    }
    return ZNT_OK;
}

// LibRaw's flip to EXIF orientation.
uint16_t orientationOf(int flip) {
    switch (flip) {
    case 3:
        return 3;
    case 5:
        return 8;
    case 6:
        return 6;
    default:
        return 1;
    }
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    Opened o;
    if (const OpStatus s = open(source.bytes, nullptr, o, header.message); s != ZNT_OK) return s;
    const libraw_data_t &d = o.raw->imgdata;
    header.images.push_back(ZntSubImage{uint16_t(d.idata.colors == 1 ? ZNT_CM_GREY : ZNT_CM_RGB), d.sizes.width,
                                        d.sizes.height, uint16_t(d.color.maximum > 0 ? std::bit_width(unsigned(d.color.maximum)) : 16)});
    header.compressionName = d.idata.dng_version != 0 ? "DNG" : "Camera raw";
    header.orientation = orientationOf(d.sizes.flip);
    header.comment = std::string(d.idata.make) + (d.idata.model[0] != '\0' ? " " : "") + d.idata.model;
    return ZNT_OK;
}

// The embedded preview, when it is large enough and of the picture's shape.
OpStatus readPreview(LibRaw &raw, const LoadRequest &request, OwnedPicture &out, std::string &message, bool &used) {
    used = false;
    if (raw.unpack_thumb() != LIBRAW_SUCCESS) return ZNT_OK;
    const libraw_thumbnail_t &t = raw.imgdata.thumbnail;
    const libraw_image_sizes_t &s = raw.imgdata.sizes;
    if (t.twidth < request.reducedWidth || t.theight < request.reducedHeight || t.twidth == 0 || t.theight == 0)
        return ZNT_OK;
    const double shape = double(t.twidth) * s.height / (double(t.theight) * s.width);
    if (std::fabs(shape - 1) > 0.05) return ZNT_OK;
    int code = 0;
    std::unique_ptr<libraw_processed_image_t, void (*)(libraw_processed_image_t *)> image(
        raw.dcraw_make_mem_thumb(&code), LibRaw::dcraw_clear_mem);
    if (!image) return ZNT_OK;
    if (image->type == LIBRAW_IMAGE_JPEG) {
        LoadRequest jpeg = request;
        jpeg.page = 0;
        jpeg.progress = nullptr;
        OwnedPicture picture;
        if (kJpegFormat.readPixels(Source{Bytes(image->data, image->data_size), "preview"}, jpeg, picture, message) != ZNT_OK) {
            message.clear();
            return ZNT_OK;   // a broken preview: develop instead
        }
        Picture p = picture.release();
        zntFree(&out.get());
        out.get() = p;
        used = true;
        return ZNT_OK;
    }
    if (image->type != LIBRAW_IMAGE_BITMAP || image->bits != 8 || (image->colors != 3 && image->colors != 1)) return ZNT_OK;
    if (uint64_t(image->width) * image->height * image->colors > image->data_size) return ZNT_OK;
    if (request.refusesSize(image->width, image->height, 3)) return ZNT_NO_MEMORY;
    if (!out.allocate(image->colors == 3 ? ZNT_RGB : ZNT_GREY, 8, image->width, image->height)) return ZNT_NO_MEMORY;
    const size_t rowBytes = size_t(image->width) * image->colors;
    for (uint32_t y = 0; y < image->height; ++y) std::memcpy(out.row(y), image->data + y * rowBytes, rowBytes);
    used = true;
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    if (request.page != 0) {
        message = "No page " + std::to_string(request.page + 1);
        return ZNT_BAD_FILE;
    }
    Opened o;
    if (const OpStatus s = open(source.bytes, &request, o, message); s != ZNT_OK) return s;
    LibRaw &raw = *o.raw;
    const bool reduced = (request.flags & ZNT_LOAD_REDUCED) != 0 && (request.reducedWidth != 0 || request.reducedHeight != 0);
    if (reduced) {
        bool used = false;
        if (const OpStatus s = readPreview(raw, request, out, message, used); s != ZNT_OK || used) {
            if (s == ZNT_OK) out.get().colorModel = ZNT_CM_RGB;
            return s;
        }
    }

    libraw_output_params_t &p = raw.imgdata.params;
    p.output_bps = 8;
    p.use_camera_wb = 1;
    p.user_flip = 0;
    p.half_size = reduced ? 1 : 0;
    const libraw_image_sizes_t &s = raw.imgdata.sizes;
    if (request.refusesSize(s.width, s.height, 4)) return ZNT_NO_MEMORY;
    int code = raw.unpack();
    if (code == LIBRAW_SUCCESS) code = raw.dcraw_process();
    if (o.progress.stop) return ZNT_STOPPED;
    if (code != LIBRAW_SUCCESS) {
        message = LibRaw::strerror(code);
        const OpStatus status = statusOf(code);
        return status == ZNT_BAD_FILE ? OpStatus(ZNT_CORRUPT) : status;
    }
    if (!request.ignoreErrors() && raw.error_count() > 0) return ZNT_CORRUPT;
    int width = 0, height = 0, colors = 0, bps = 0;
    raw.get_mem_image_format(&width, &height, &colors, &bps);
    if (width < 1 || height < 1 || bps != 8 || (colors != 1 && colors != 3)) return ZNT_CORRUPT;
    if (request.refusesSize(uint32_t(width), uint32_t(height), 3)) return ZNT_NO_MEMORY;
    if (!out.allocate(colors == 3 ? ZNT_RGB : ZNT_GREY, 8, uint32_t(width), uint32_t(height))) return ZNT_NO_MEMORY;
    if (raw.copy_mem_image(out.get().data, int(out.get().bytesPerLine), 0) != LIBRAW_SUCCESS) return ZNT_INTERNAL;
    out.get().colorModel = uint16_t(colors == 3 ? ZNT_CM_RGB : ZNT_CM_GREY);
    return ZNT_OK;
}

}  // namespace

const Format kCameraRawFormat = {
    "camraw", "Camera raw", "dng cr2 cr3 crw nef nrw arw orf rw2 raf pef srw x3f mrw erf kdc",
    "RAW", Signature::specific, sniffRaw, readHeader, readPixels, nullptr, nullptr, nullptr,
};

}  // namespace zentar
