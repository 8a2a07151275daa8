// The C API's file operations: file information, loading, saving and
// multi-page files. Each maps or creates the file, hands the bytes to the
// format, and turns what the format reports into the C records.
#include "file_io.h"
#include "format.h"
#include "pixels.h"

#include <cstdlib>
#include <cstring>

namespace zentar {

namespace {

char *copyText(const std::string &text) {
    char *out = static_cast<char *>(std::malloc(text.size() + 1));
    if (out != nullptr) std::memcpy(out, text.c_str(), text.size() + 1);
    return out;
}

// Fills `info` from a header. Always leaves a terminated sub-image list.
OpStatus fillInformation(const Header &header, int formatIndex, uint64_t fileSize, FileInformation &info) {
    std::memset(&info, 0, sizeof info);
    info.formatIndex = int16_t(formatIndex);
    info.fileSize = fileSize;
    info.images = static_cast<ZntSubImage *>(std::calloc(header.images.size() + 1, sizeof(ZntSubImage)));
    if (info.images == nullptr) return ZNT_NO_MEMORY;
    for (size_t i = 0; i < header.images.size(); ++i) info.images[i] = header.images[i];
    info.images[header.images.size()].colorModel = ZNT_CM_END;
    info.imageCount = int32_t(header.images.size());
    if (!header.delaysMs.empty() && header.delaysMs.size() == header.images.size()) {
        info.delaysMs = static_cast<uint32_t *>(std::malloc(header.delaysMs.size() * sizeof(uint32_t)));
        if (info.delaysMs == nullptr) return ZNT_NO_MEMORY;
        std::memcpy(info.delaysMs, header.delaysMs.data(), header.delaysMs.size() * sizeof(uint32_t));
    }
    info.compression = header.compression;
    std::snprintf(info.compressionName, sizeof info.compressionName, "%s", header.compressionName.c_str());
    info.resolutionX = header.resolutionX;
    info.resolutionY = header.resolutionY;
    info.orientation = header.orientation;
    if (!header.comment.empty()) info.comment = copyText(header.comment);
    std::snprintf(info.message, sizeof info.message, "%s", header.message.c_str());
    if (const Format *f = formatAt(formatIndex)) std::snprintf(info.typeText, sizeof info.typeText, "%s", f->typeText);
    if (!header.images.empty())
        std::snprintf(info.colorText, sizeof info.colorText, "%s",
                      zntGetLabelForColorModel(header.images.front().colorModel));
    return ZNT_OK;
}

LoadRequest requestFrom(const FormatParams *params) {
    LoadRequest request;
    if (params == nullptr) return request;
    request.page = params->pageNumber;
    request.flags = params->flags;
    request.reducedWidth = params->reducedWidth;
    request.reducedHeight = params->reducedHeight;
    request.progress = params->progressFunction;
    request.progressUserData = params->progressUserData;
    request.params = params;
    return request;
}

}  // namespace

const FormatParams &LoadRequest::options() const {
    static const FormatParams defaults = [] {
        FormatParams p;
        zntDefaultParams(&p);
        return p;
    }();
    return params != nullptr ? *params : defaults;
}

OpStatus loadFromBytes(const Format &format, const Source &source, const LoadRequest &request, Picture &picture,
                       std::string &message) {
    if (format.readPixels == nullptr) return ZNT_UNKNOWN_FORMAT;
    if (request.page < 0) return ZNT_BAD_ARGUMENT;
    OwnedPicture owned;
    const OpStatus status = format.readPixels(source, request, owned, message);
    if (status != ZNT_OK) return status;
    if (owned.get().data == nullptr) return ZNT_INTERNAL;
    picture = owned.release();
    return ZNT_OK;
}

}  // namespace zentar

using namespace zentar;

struct ZntFile {
    const Format *format = nullptr;
    SaveTarget target;
    std::unique_ptr<PageWriter> writer;
    OpStatus status = ZNT_OK;   // the first failure; later pictures are refused with it
};

extern "C" {

void zntDefaultParams(FormatParams *params) {
    if (params == nullptr) return;
    std::memset(params, 0, sizeof *params);
    params->formatIndex = -1;
    params->loadValues[0] = 256;
    params->loadValues[1] = 256;
    params->rawChannelType = 1;
    params->postscriptDpi = 72;
    params->saveChannelType = 1;
    params->jpegQuality = 90;
    params->pngCompressionLevel = 6;
    params->progressWord = 1;
}

OpStatus zntFileInformation(const char *fileName, int formatIndex, uint32_t flags, FileInformation *info) {
    if (fileName == nullptr || info == nullptr) return ZNT_BAD_ARGUMENT;
    std::memset(info, 0, sizeof *info);
    info->formatIndex = -1;
    MappedFile file;
    Header header;
    OpStatus status = file.open(fileName);
    int index = -1;
    if (status == ZNT_OK) {
        const Bytes bytes = file.bytes();
        index = formatAt(formatIndex) != nullptr ? formatIndex : detectFormat(bytes, fileName);
        const Format *format = formatAt(index);
        if (format == nullptr || format->readHeader == nullptr) {
            status = ZNT_UNKNOWN_FORMAT;
        } else {
            status = format->readHeader(Source{bytes, fileName}, flags, header);
            if (status == ZNT_OK && header.images.empty()) status = ZNT_BAD_FILE;
        }
    }
    if (status != ZNT_OK) header.images.clear();
    const OpStatus filled = fillInformation(header, index, file.bytes().size(), *info);
    return status != ZNT_OK ? status : filled;
}

void zntFileInformationFree(FileInformation *info) {
    if (info == nullptr) return;
    std::free(info->images);
    std::free(info->delaysMs);
    std::free(info->comment);
    info->images = nullptr;
    info->delaysMs = nullptr;
    info->comment = nullptr;
    info->imageCount = 0;
}

const char *zntGetLabelForColorModel(int colorModel) {
    switch (colorModel) {
    case ZNT_CM_BINARY:
        return "Black & White";
    case ZNT_CM_GREY:
        return "Grey";
    case ZNT_CM_PALETTE:
        return "Palette";
    case ZNT_CM_RGB:
        return "RGB";
    case ZNT_CM_RGBA:
        return "RGBA";
    case ZNT_CM_CMYK:
        return "CMYK";
    case ZNT_CM_YCBCR:
        return "YCbCr";
    case ZNT_CM_YCCK:
        return "YCCK";
    case ZNT_CM_GREY_ALPHA:
        return "Grey + Alpha";
    default:
        return "Unknown";
    }
}

const char *zntGetFullLabelForCompression(char *text, const FileInformation *info) {
    if (text == nullptr) return "";
    const char *name = info != nullptr && info->compressionName[0] != '\0' ? info->compressionName : "Unknown";
    std::snprintf(text, 4096, "%s", name);
    return text;
}

OpStatus zntLoad(const char *fileName, Picture *picture, FormatParams *params, FileInformation *info) {
    if (fileName == nullptr || picture == nullptr) return ZNT_BAD_ARGUMENT;
    MappedFile file;
    if (const OpStatus status = file.open(fileName); status != ZNT_OK) return status;
    const Bytes bytes = file.bytes();
    int index = params != nullptr ? params->formatIndex : -1;
    if (formatAt(index) == nullptr) index = detectFormat(bytes, fileName);
    const Format *format = formatAt(index);
    if (format == nullptr) return ZNT_UNKNOWN_FORMAT;
    std::string message;
    const OpStatus status = loadFromBytes(*format, Source{bytes, fileName}, requestFrom(params), *picture, message);
    // A format that needs a missing program says which one with ZNT_UNKNOWN_FORMAT.
    if ((status == ZNT_BAD_FILE || (status == ZNT_UNKNOWN_FORMAT && !message.empty())) && info != nullptr)
        std::snprintf(info->message, sizeof info->message, "%s", message.c_str());
    return status;
}

OpStatus zntSave(const char *fileName, Picture *picture, FormatParams *params, int) {
    if (fileName == nullptr || picture == nullptr || params == nullptr) return ZNT_BAD_ARGUMENT;
    const Format *format = formatAt(params->formatIndex);
    if (format == nullptr) format = formatAt(detectFormat({}, fileName));
    if (format == nullptr) {
        // Without a format index the suffix names the writer.
        for (int i = 0; i < zntCount() && format == nullptr; ++i) {
            char name[4096];
            std::snprintf(name, sizeof name, "%s", fileName);
            zntSetCorrectExtension(name, i);
            if (std::strcmp(name, fileName) == 0) format = formatAt(i);
        }
    }
    if (format == nullptr || format->write == nullptr || !acceptsPicture(*format, *picture)) return ZNT_CANT_SAVE;
    SaveTarget target;
    if (const OpStatus status = target.open(fileName); status != ZNT_OK) return status;
    if (const OpStatus status = format->write(target.file(), *picture, *params); status != ZNT_OK) return status;
    return target.commit();
}

ZntFile *zntFileCreate(const char *fileName, int formatIndex, const FormatParams *params) {
    const Format *format = formatAt(formatIndex);
    if (format == nullptr || format->openPages == nullptr || params == nullptr) return nullptr;
    auto file = std::make_unique<ZntFile>();
    file->format = format;
    if (file->target.open(fileName) != ZNT_OK) return nullptr;
    file->writer = format->openPages(file->target.file(), *params);
    if (!file->writer) return nullptr;
    return file.release();
}

OpStatus zntFileAddPicture(ZntFile *file, const Picture *picture) {
    if (file == nullptr || picture == nullptr) return ZNT_BAD_ARGUMENT;
    if (file->status != ZNT_OK) return file->status;
    if (!acceptsPicture(*file->format, *picture)) return ZNT_CANT_SAVE;
    file->status = file->writer->add(*picture);
    return file->status;
}

OpStatus zntFileClose(ZntFile *file) {
    if (file == nullptr) return ZNT_BAD_ARGUMENT;
    std::unique_ptr<ZntFile> owned(file);
    OpStatus status = owned->status;
    if (status == ZNT_OK) status = owned->writer->finish();
    owned->writer.reset();
    if (status == ZNT_OK) status = owned->target.commit();
    return status;
}

uint16_t zntFileReadWordLsbf(FILE *file) {
    if (file == nullptr) return 0;
    const int low = std::getc(file);
    const int high = std::getc(file);
    return uint16_t((low == EOF ? 0 : low) | (high == EOF ? 0 : high) << 8);
}

}
