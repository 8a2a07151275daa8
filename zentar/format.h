// The reader and writer interface every file format implements, and the
// records the C API builds from what a format reports.
//
// A format sees its file as bytes in memory (a Source): the file is mapped,
// or the fuzzers hand a buffer. Reading is split in two so that the browser
// and the file information never decode pixels: readHeader fills a Header
// from the first bytes it needs, readPixels makes the Picture of one page.
//
// Adding a format: write zentar/formats/<name>.cpp defining one `Format`,
// declare it below with the others, put it in the table of
// format_table.cpp and the file in ZENTAR_SOURCES. Nothing else changes:
// detection, the C API, information, saving and the save kinds all read
// the table. Give a format without a magic number Signature::none (its
// suffixes select it) or Signature::weak (tried after every exact one), and
// one whose files also carry another format's magic number (a camera raw
// file is a TIFF) Signature::specific.
#pragma once

#include "zentar.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zentar {

using Bytes = std::span<const uint8_t>;

// A file's contents. `name` is only used for what a reader may want to say.
struct Source {
    Bytes bytes;
    std::string_view name;
};

// What a format learns from a file without decoding its pixels.
struct Header {
    std::vector<ZntSubImage> images;   // one per page or frame, at least one on success
    std::vector<uint32_t> delaysMs;    // empty, or one per entry of `images`
    uint16_t compression = 0;          // the format's own code
    std::string compressionName;       // "LZW", "JPEG", "none" ...
    uint32_t resolutionX = 0, resolutionY = 0;  // dots per inch, 0 when unknown
    uint16_t orientation = 0;          // EXIF orientation 1-8, 0 when unknown
    std::string comment;
    std::string message;               // a reader's own words for ZNT_BAD_FILE
};

// FileInformation flag: header only. A format that would have to walk the
// whole file to count its frames (GIF) reports the first one only.
constexpr uint32_t kInfoQuick = ZNT_INFO_QUICK;

// The largest picture zntAllock makes: a side, and its pixel buffer.
constexpr uint64_t kLargestSidePx = uint64_t(1) << 20;
constexpr uint64_t kLargestPictureBytes = uint64_t(4) << 30;

// One load of one page.
struct LoadRequest {
    int page = 0;
    uint32_t flags = 0;
    uint32_t reducedWidth = 0, reducedHeight = 0;   // with ZNT_LOAD_REDUCED
    ZntProgressFunction progress = nullptr;
    void *progressUserData = nullptr;
    uint64_t maxPixels = 0;   // a stricter bound than the allocator's (fuzzing); 0 for none

    bool ignoreErrors() const { return (flags & ZNT_LOAD_IGNORE_ERRORS) != 0; }
    bool tooLarge(uint64_t width, uint64_t height) const {
        return maxPixels != 0 && width * height > maxPixels;
    }

    // The caller's read options: the geometry of files without a header (raw,
    // YUV), the Photo CD size, the GROB grey levels, the film look-up table,
    // the resolution and page size of rendered documents.
    // Null for the library's defaults (zntDefaultParams); options() gives
    // whichever applies.
    const FormatParams *params = nullptr;
    const FormatParams &options() const;

    // Whether a picture of this size would be refused by the allocator or
    // by maxPixels: readers that hand the decoding to a codec library ask
    // before the library allocates anything of that size.
    bool refusesSize(uint64_t width, uint64_t height, unsigned bytesPerPixel) const {
        if (width == 0 || height == 0 || width > kLargestSidePx || height > kLargestSidePx) return true;
        return width * height * bytesPerPixel > kLargestPictureBytes || tooLarge(width, height);
    }
};

// Reports rows as they arrive. `row` answers true when the caller asked to
// stop; the reader then returns ZNT_STOPPED.
class Progress {
public:
    Progress(const LoadRequest &request, int total)
        : function_(request.progress), userData_(request.progressUserData), total_(total) {}
    bool row(int done) { return function_ != nullptr && function_(done, total_, userData_) != 0; }
    bool active() const { return function_ != nullptr; }

private:
    ZntProgressFunction function_;
    void *userData_;
    int total_;
};

// Saving reports each row written; a save cannot be stopped.
inline void reportSaveProgress(const FormatParams &params, int done, int total) {
    if (params.progressFunction != nullptr) params.progressFunction(done, total, params.progressUserData);
}

// A Picture that frees its buffers unless released to the caller, so that
// every error path of a reader gives back what it took.
class OwnedPicture {
public:
    OwnedPicture() = default;
    ~OwnedPicture() { zntFree(&picture_); }
    OwnedPicture(const OwnedPicture &) = delete;
    OwnedPicture &operator=(const OwnedPicture &) = delete;

    // False when the size is refused or memory is short (ZNT_NO_MEMORY).
    bool allocate(int type, int bitsPerComponent, uint32_t width, uint32_t height);
    Picture &get() { return picture_; }
    const Picture &get() const { return picture_; }
    uint8_t *row(uint32_t y) { return picture_.data + size_t(y) * picture_.bytesPerLine; }
    Picture release() {
        Picture out = picture_;
        picture_.data = nullptr;
        picture_.palette = nullptr;
        return out;
    }

private:
    Picture picture_{};
};

// Writes several pictures into one file (multi-page formats).
class PageWriter {
public:
    virtual ~PageWriter() = default;
    virtual OpStatus add(const Picture &picture) = 0;
    virtual OpStatus finish() = 0;
};

enum class Signature {
    specific,   // a magic number within another format's: tried first
    exact,      // a magic number: tried after the specific ones
    weak,       // plausible header values: tried after every exact one
    none        // no signature: only the file name's suffix selects it
};

struct Format {
    const char *name;          // short name, at most 9 characters
    const char *description;
    const char *suffixes;      // blank-separated, lower case, the default first
    const char *typeText;      // printable type for sorting, e.g. "JPEG"
    Signature signature;
    bool (*sniff)(Bytes head);                       // null for Signature::none
    OpStatus (*readHeader)(const Source &, uint32_t flags, Header &);
    OpStatus (*readPixels)(const Source &, const LoadRequest &, OwnedPicture &, std::string &message);
    // Writing; null when the format is read only. The save kinds accept a
    // picture as described in acceptsPicture().
    const ZntSaveKind *saveKinds;
    OpStatus (*write)(FILE *, const Picture &, const FormatParams &);
    std::unique_ptr<PageWriter> (*openPages)(FILE *, const FormatParams &);   // null: one picture per file
};

// The formats, each defined in zentar/formats/.
extern const Format kJpegFormat;
extern const Format kPngFormat;
extern const Format kGifFormat;
extern const Format kTiffFormat;
extern const Format kBmpFormat;
extern const Format kPpmFormat;
extern const Format kPamFormat;
extern const Format kXwdFormat;
extern const Format kDpxFormat;
extern const Format kCineonFormat;
extern const Format kGrobFormat;
extern const Format kRawFormat;
extern const Format kYuvFormat;
extern const Format kPcdFormat;
extern const Format kIcoFormat;
extern const Format kCurFormat;
extern const Format kTgaFormat;
extern const Format kPcxFormat;
extern const Format kDcxFormat;
extern const Format kSgiFormat;
extern const Format kSunFormat;
extern const Format kIffFormat;
extern const Format kXbmFormat;
extern const Format kXpmFormat;
extern const Format kSoftFormat;
extern const Format kWebpFormat;
extern const Format kHeifFormat;
extern const Format kAvifFormat;
extern const Format kJxlFormat;
extern const Format kJp2Format;
extern const Format kJ2kFormat;
extern const Format kCameraRawFormat;
extern const Format kEpsFormat;
extern const Format kPsFormat;
extern const Format kPdfFormat;

// The table, in index order.
std::span<const Format *const> formats();
const Format *formatAt(int index);
int indexOfFormat(const Format *format);

// The format of a file: its signature, else (for formats without one) the
// suffix of `fileName`. -1 when nothing matches.
int detectFormat(Bytes head, std::string_view fileName);

// Whether one of the format's save kinds holds the picture. A grey picture
// of n levels needs a grey entry of at least n levels, a palette picture of
// n colours a palette entry of at least n, a binary picture a binary entry;
// every true-colour picture fits an RGB entry (its mask dropped) or an RGBA
// entry. Sizes above an entry's maximum are refused.
bool acceptsPicture(const Format &format, const Picture &picture);

// Loads from bytes in memory: what zntLoad does after mapping the file.
OpStatus loadFromBytes(const Format &format, const Source &source, const LoadRequest &request,
                       Picture &picture, std::string &message);

}  // namespace zentar
