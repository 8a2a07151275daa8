#include "app/selector_preview.h"

#include <algorithm>
#include <cstring>

#include "imageops/geometry.h"

namespace quivel {

namespace {

struct Samples {
    int planes;   // samples per pixel
    int colour;   // of them, those that make the colour
};

Samples samplesOf(int colorModel) {
    switch (colorModel) {
    case ZNT_CM_RGB:
    case ZNT_CM_YCBCR: return {3, 3};
    case ZNT_CM_RGBA: return {4, 3};
    case ZNT_CM_CMYK:
    case ZNT_CM_YCCK: return {4, 4};
    case ZNT_CM_GREY_ALPHA: return {2, 1};
    default: return {1, 1};   // binary, grey, palette
    }
}

std::string colourCount(int bits) {
    if (bits <= 0) return "";
    if (bits > 24) return "2^" + std::to_string(bits);
    return std::to_string(1L << bits);
}

struct StopContext {
    PreviewStop stop;
    void *userData;
};

int progress(int, int, void *userData) {
    const auto *context = static_cast<const StopContext *>(userData);
    return context->stop(context->userData) ? 1 : 0;
}

}  // namespace

FileInformationTexts fileInformationTexts(const FileInformation *info) {
    FileInformationTexts texts{"Type: ", "Width: ", "Height: ", "Bits: ", "Planes: ", "Colors: "};
    if (info == nullptr || info->images == nullptr || info->imageCount < 1) return texts;
    const ZntSubImage &image = info->images[0];
    texts.type += std::string(info->typeText, strnlen(info->typeText, sizeof info->typeText));
    if (info->imageCount > 1) texts.type += " (" + std::to_string(info->imageCount) + " pages)";
    texts.width += std::to_string(image.width);
    texts.height += std::to_string(image.height);
    const Samples samples = samplesOf(image.colorModel);
    texts.bits += std::to_string(image.bitsPerComponent);
    texts.planes += std::to_string(samples.planes);
    texts.colors += colourCount(samples.colour * image.bitsPerComponent);
    return texts;
}

PreviewSize fitInside(int width, int height, int boxWidth, int boxHeight) {
    width = std::max(width, 1);
    height = std::max(height, 1);
    boxWidth = std::max(boxWidth, 1);
    boxHeight = std::max(boxHeight, 1);
    if (width <= boxWidth && height <= boxHeight) return {width, height};
    // The smaller of the two scales, in integers: width/height against the box's shape.
    if (int64_t(width) * boxHeight >= int64_t(height) * boxWidth)
        return {boxWidth, int(std::max<int64_t>(1, int64_t(height) * boxWidth / width))};
    return {int(std::max<int64_t>(1, int64_t(width) * boxHeight / height)), boxHeight};
}

OpStatus loadPreviewPicture(const char *fileName, int boxWidth, int boxHeight, Picture &picture, PreviewStop stop,
                            void *userData) {
    picture = Picture{};
    FormatParams params;
    zntDefaultParams(&params);
    params.formatIndex = -1;
    params.flags |= ZNT_LOAD_REDUCED;
    params.reducedWidth = uint32_t(std::max(boxWidth, 1));
    params.reducedHeight = uint32_t(std::max(boxHeight, 1));
    StopContext context{stop, userData};
    if (stop) {
        params.progressFunction = progress;
        params.progressUserData = &context;
    }
    OpStatus status = zntLoad(fileName, &picture, &params, nullptr);
    if (status != ZNT_OK) {
        zntFree(&picture);
        picture = Picture{};
        return status;
    }
    const PreviewSize size = fitInside(int(picture.width), int(picture.height), boxWidth, boxHeight);
    if (size.width == int(picture.width) && size.height == int(picture.height)) return ZNT_OK;
    status = resizePicture(&picture, nullptr, size.width, size.height, kResampleArea);
    if (status != ZNT_OK) {
        zntFree(&picture);
        picture = Picture{};
    }
    return status;
}

}  // namespace quivel
