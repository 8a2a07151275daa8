// The format table and everything that looks formats up: by index, by short
// name, by signature and by suffix.
#include "format.h"
#include "pixels.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

// Index order is the order of this table; detection does not depend on it
// (each format says how strong its signature is).
const Format *const kFormats[] = {
    &kJpegFormat, &kPngFormat, &kGifFormat, &kTiffFormat, &kBmpFormat, &kPpmFormat, &kPamFormat, &kXwdFormat,
    &kDpxFormat, &kCineonFormat, &kGrobFormat, &kRawFormat, &kYuvFormat, &kPcdFormat, &kIcoFormat, &kCurFormat,
    &kTgaFormat, &kPcxFormat, &kDcxFormat, &kSgiFormat, &kSunFormat, &kIffFormat, &kXbmFormat, &kXpmFormat,
    &kSoftFormat,
    &kWebpFormat, &kHeifFormat, &kAvifFormat, &kJxlFormat, &kJp2Format, &kJ2kFormat, &kCameraRawFormat,
    &kEpsFormat, &kPsFormat, &kPdfFormat,
};

std::string lower(std::string_view text) {
    std::string out(text);
    for (char &c : out) c = char(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

// The suffix of a file name: what follows the last "." of its last path
// component, "" when there is none.
std::string_view suffixOf(std::string_view fileName) {
    const size_t slash = fileName.rfind('/');
    const std::string_view base = slash == std::string_view::npos ? fileName : fileName.substr(slash + 1);
    const size_t dot = base.rfind('.');
    if (dot == std::string_view::npos || dot + 1 == base.size()) return {};
    return base.substr(dot + 1);
}

bool formatHasSuffix(const Format &format, std::string_view suffix) {
    if (suffix.empty()) return false;
    const std::string wanted = lower(suffix);
    std::string_view list = format.suffixes;
    while (!list.empty()) {
        const size_t blank = list.find(' ');
        const std::string_view one = list.substr(0, blank);
        if (one == wanted) return true;
        if (blank == std::string_view::npos) break;
        list.remove_prefix(blank + 1);
    }
    return false;
}

std::string_view defaultSuffix(const Format &format) {
    const std::string_view list = format.suffixes;
    return list.substr(0, list.find(' '));
}

int levelsOfDepth(int depth) { return depth >= 8 ? 256 : 1 << std::max(depth, 0); }

}  // namespace

std::span<const Format *const> formats() { return kFormats; }

const Format *formatAt(int index) {
    if (index < 0 || size_t(index) >= std::size(kFormats)) return nullptr;
    return kFormats[index];
}

int indexOfFormat(const Format *format) {
    for (size_t i = 0; i < std::size(kFormats); ++i)
        if (kFormats[i] == format) return int(i);
    return -1;
}

int detectFormat(Bytes head, std::string_view fileName) {
    for (Signature pass : {Signature::specific, Signature::exact, Signature::weak}) {
        for (size_t i = 0; i < std::size(kFormats); ++i) {
            const Format &f = *kFormats[i];
            if (f.signature == pass && f.sniff != nullptr && f.sniff(head)) return int(i);
        }
    }
    const std::string_view suffix = suffixOf(fileName);
    for (size_t i = 0; i < std::size(kFormats); ++i) {
        const Format &f = *kFormats[i];
        if (f.signature == Signature::none && formatHasSuffix(f, suffix)) return int(i);
    }
    return -1;
}

bool acceptsPicture(const Format &format, const Picture &picture) {
    if (format.saveKinds == nullptr || picture.data == nullptr) return false;
    const int model = colorModelOfType(picture.type);
    for (const ZntSaveKind *kind = format.saveKinds; kind->colorModel != -1; ++kind) {
        if (kind->maxWidth != 0 && picture.width > kind->maxWidth) continue;
        if (kind->maxHeight != 0 && uint32_t(picture.height) > kind->maxHeight) continue;
        switch (model) {
        case ZNT_CM_BINARY:
            if (kind->colorModel == ZNT_CM_BINARY) return true;
            break;
        case ZNT_CM_GREY:
        case ZNT_CM_PALETTE:
            if (kind->colorModel == model && picture.numberOfColors <= levelsOfDepth(kind->depth)) return true;
            break;
        case ZNT_CM_RGB:
        case ZNT_CM_RGBA:
            if (kind->colorModel == ZNT_CM_RGB || kind->colorModel == ZNT_CM_RGBA) return true;
            break;
        default:
            break;
        }
    }
    return false;
}

}  // namespace zentar

using namespace zentar;

extern "C" {

int zntCount(void) { return int(std::size(kFormats)); }

const char *zntFormatGetName(int index) {
    const Format *f = formatAt(index);
    return f ? f->name : nullptr;
}

const char *zntFormatGetDescription(int index) {
    const Format *f = formatAt(index);
    return f ? f->description : nullptr;
}

const char *zntFormatGetDefaultSuffix(int index) {
    // One text per format, made once, so that every pointer handed out stays valid.
    static const std::vector<std::string> suffixes = [] {
        std::vector<std::string> all;
        for (const Format *f : kFormats) all.emplace_back(defaultSuffix(*f));
        return all;
    }();
    const Format *f = formatAt(index);
    return f ? suffixes[size_t(index)].c_str() : nullptr;
}

OpStatus zntFormatGetInfo(int index, FormatInformation *info) {
    const Format *f = formatAt(index);
    if (f == nullptr || info == nullptr) return ZNT_BAD_ARGUMENT;
    std::memset(info, 0, sizeof *info);
    std::snprintf(info->name, sizeof info->name, "%s", f->name);
    std::snprintf(info->description, sizeof info->description, "%s", f->description);
    std::snprintf(info->suffixes, sizeof info->suffixes, "%s", f->suffixes);
    std::snprintf(info->sortText, sizeof info->sortText, "%s", f->description);
    info->readable = f->readPixels != nullptr;
    info->writable = f->write != nullptr;
    info->multiPage = f->openPages != nullptr;
    info->saveKinds = f->saveKinds;
    return ZNT_OK;
}

int zntFormatGetIndex(const char *name) {
    if (name == nullptr) return -1;
    for (size_t i = 0; i < std::size(kFormats); ++i)
        if (std::strcmp(kFormats[i]->name, name) == 0) return int(i);
    return -1;
}

int zntFormatIsWritable(int index) {
    const Format *f = formatAt(index);
    return f != nullptr && f->write != nullptr;
}

int zntFormatIsSupported(const char *name) { return zntFormatGetIndex(name) >= 0; }

int zntFormatAcceptsPicture(int index, const Picture *picture) {
    const Format *f = formatAt(index);
    return f != nullptr && picture != nullptr && acceptsPicture(*f, *picture);
}

int zntFormatForSuffix(const char *fileName) {
    if (fileName == nullptr) return -1;
    const std::string_view suffix = suffixOf(fileName);
    for (size_t i = 0; i < std::size(kFormats); ++i)
        if (formatHasSuffix(*kFormats[i], suffix)) return int(i);
    return -1;
}

int zntHasGoodExtension(const char *fileName) { return zntFormatForSuffix(fileName) >= 0; }

void zntSetCorrectExtension(char *fileName, int index) {
    const Format *f = formatAt(index);
    if (f == nullptr || fileName == nullptr) return;
    const std::string_view name = fileName;
    const std::string_view suffix = suffixOf(name);
    if (formatHasSuffix(*f, suffix)) return;
    std::string out(name.substr(0, name.size() - suffix.size()));
    if (suffix.empty() && (out.empty() || out.back() != '.')) out += '.';
    out += defaultSuffix(*f);
    constexpr size_t kBuffer = 4096;
    if (out.size() >= kBuffer) return;   // would not fit: leave the name as it is
    std::memcpy(fileName, out.c_str(), out.size() + 1);
}

}
