#include "picture/save_picture.h"

#include <cstdio>

#include "imageops/geometry.h"
#include "imageops/op_support.h"
#include "picture/conversion_choice.h"
#include "picture/format_params.h"
#include "picture/status_message.h"

namespace quivel {

namespace {

constexpr size_t kFileNameCapacity = 4096;

int capacityOfDepth(int depth) { return depth >= 8 ? 256 : depth <= 0 ? 1 : 1 << depth; }

// The same kind test as the library's, sizes aside.
bool entryHoldsKind(const ZntSaveKind &kind, const Picture &picture) {
    switch (picture.type) {
    case ZNT_BINARY:
        return kind.colorModel == ZNT_CM_BINARY;
    case ZNT_GREY:
    case ZNT_PALETTE:
        return kind.colorModel == (picture.type == ZNT_GREY ? ZNT_CM_GREY : ZNT_CM_PALETTE) &&
               picture.numberOfColors <= capacityOfDepth(kind.depth);
    default:
        return isTrueColor(picture.type) && (kind.colorModel == ZNT_CM_RGB || kind.colorModel == ZNT_CM_RGBA);
    }
}

bool entryHoldsSize(const ZntSaveKind &kind, const Picture &picture) {
    return (kind.maxWidth == 0 || picture.width <= kind.maxWidth) &&
           (kind.maxHeight == 0 || uint32_t(picture.height) <= kind.maxHeight);
}

// Brings `work` (the picture itself, or a copy owned by `owned`) within the
// size its format allows. False, with `status` set, when resizing failed.
bool fitSize(const ZntSaveKind *kinds, const Picture *&work, OwnedPicture &owned, bool allowMessages,
             SaveHooks &hooks, OpStatus &status) {
    uint32_t width = 0, height = 0;
    if (!saveKindSize(kinds, *work, width, height)) return true;
    if (width == work->width && height == uint32_t(work->height)) return true;
    if (allowMessages) {
        char text[64];
        std::snprintf(text, sizeof text, "Resizing in %ux%u", width, height);
        hooks.inform(text);
    }
    Picture input = *work, resized{};
    status = resizePicture(&input, &resized, int(width), int(height), kResampleArea);
    if (status != ZNT_OK) return false;
    zntFree(&owned.get());
    owned.get() = resized;
    work = &owned.get();
    return true;
}

// Sets a picture's transparent index for the duration of a save.
class TransparentIndexScope {
public:
    TransparentIndexScope(Picture &picture, std::optional<int16_t> index)
        : picture_(picture), saved_(picture.transparentIndex) {
        if (index) picture_.transparentIndex = *index;
    }
    ~TransparentIndexScope() { picture_.transparentIndex = saved_; }
    TransparentIndexScope(const TransparentIndexScope &) = delete;
    TransparentIndexScope &operator=(const TransparentIndexScope &) = delete;

private:
    Picture &picture_;
    int16_t saved_;
};

}  // namespace

bool saveKindSize(const ZntSaveKind *kinds, const Picture &picture, uint32_t &width, uint32_t &height) {
    if (kinds == nullptr) return false;
    const ZntSaveKind *first = nullptr;
    for (const ZntSaveKind *kind = kinds; kind->colorModel != -1; ++kind) {
        if (!entryHoldsKind(*kind, picture)) continue;
        if (entryHoldsSize(*kind, picture)) {
            width = picture.width;
            height = uint32_t(picture.height);
            return true;
        }
        if (first == nullptr) first = kind;
    }
    if (first == nullptr) return false;
    width = first->maxWidth != 0 && picture.width > first->maxWidth ? first->maxWidth : picture.width;
    height = first->maxHeight != 0 && uint32_t(picture.height) > first->maxHeight ? first->maxHeight
                                                                                 : uint32_t(picture.height);
    return true;
}

int savePicture(char *fileName, Picture &picture, const SaveRequest &request, const Settings &settings,
                SaveHooks &hooks) {
    const int format = request.formatIndex;
    FormatInformation info{};
    if (zntFormatGetInfo(format, &info) != ZNT_OK || !info.writable) {
        hooks.error(statusMessage(ZNT_CANT_SAVE, fileName));
        return ZNT_CANT_SAVE;
    }
    if (settings.save.addExtensionIfNotExist) {
        const char *suffix = zntFormatGetDefaultSuffix(format);
        appendMissingExtension(fileName, kFileNameCapacity, suffix != nullptr ? suffix : "");
    }
    if (!request.reuseChoice) forgetConversion();

    // `work` is what is saved: the picture itself or a copy owned here.
    const Picture *work = &picture;
    OwnedPicture owned;
    OpStatus status = ZNT_OK;
    uint32_t width = 0, height = 0;
    if (saveKindSize(info.saveKinds, picture, width, height)) {
        if (!fitSize(info.saveKinds, work, owned, request.allowMessages, hooks, status)) {
            hooks.error(statusMessage(status, fileName));
            return status & 0xff;
        }
    } else {
        const int remembered = rememberedConversion();
        int choice = 0;
        if (request.reuseChoice && saveKindsHoldChoice(info.saveKinds, remembered)) {
            choice = remembered;
        } else {
            const int suggested = saveKindsHoldChoice(info.saveKinds, remembered)
                                      ? remembered
                                      : defaultConversionChoice(info.saveKinds, picture);
            choice = hooks.chooseConversion(format, picture, suggested);
            if (choice < 1 || choice > kConversionChoiceCount) return kSaveRefused;
            rememberConversion(uint16_t(choice));
        }
        Picture converted{};
        if (convertForChoice(picture, converted, choice) != ZNT_OK) {
            hooks.error("Error converting picture !!");
            return kSaveRefused;
        }
        owned.get() = converted;
        work = &owned.get();
        if (!fitSize(info.saveKinds, work, owned, request.allowMessages, hooks, status)) {
            hooks.error(statusMessage(status, fileName));
            return status & 0xff;
        }
    }

    FormatParams params = saveParams(settings, format, info.name, *work,
                                     SaveFlags{.verbose = request.verbose, .extra = request.extraFlags});
    // The picture saved is the caller's own unless a copy was made.
    Picture &saved = work == &picture ? picture : owned.get();
    {
        TransparentIndexScope transparent(saved, transparentIndexForSave(settings, info.name));
        hooks.beginWrite(fileName, params);
        status = zntSave(fileName, &saved, &params, 0);
        hooks.endWrite();
    }
    if (status != ZNT_OK) {
        hooks.error(statusMessage(status, fileName));
        return status & 0xff;
    }
    return 0;
}

}  // namespace quivel
