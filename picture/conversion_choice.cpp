#include "picture/conversion_choice.h"

#include <algorithm>
#include <iterator>

#include "imageops/color_reduction.h"

namespace quivel {

namespace {

constexpr int kGreyCounts[] = {4, 8, 16, 32, 64, 128, 256};
constexpr int kColorCounts[] = {8, 16, 32, 64, 128, 216, 256};

struct ChoiceEntry {
    ConversionMode mode;
    ChoiceParts parts;
};

constexpr ChoiceEntry entry(int mode, int dither, ConversionKind kind, int count, ConversionDither shown) {
    return {{mode, dither}, {kind, count, shown}};
}

using K = ConversionKind;
using D = ConversionDither;

// Indexed by choice - 1.
constexpr ChoiceEntry kChoices[kConversionChoiceCount] = {
    entry(1, kDitherPattern, K::Binary, 2, D::Pattern),
    entry(1, kDitherFloydSteinberg, K::Binary, 2, D::FloydSteinberg),
    entry(1, kDitherHalftone45, K::Binary, 2, D::Halftone45),
    entry(1, kDitherHalftone90, K::Binary, 2, D::Halftone90),
    entry(2, kDitherNone, K::Grey, 4, D::Plain),
    entry(3, kDitherNone, K::Grey, 8, D::Plain),
    entry(4, kDitherNone, K::Grey, 16, D::Plain),
    entry(5, kDitherNone, K::Grey, 32, D::Plain),
    entry(6, kDitherNone, K::Grey, 64, D::Plain),
    entry(7, kDitherNone, K::Grey, 128, D::Plain),
    entry(9, kDitherNone, K::Grey, 256, D::Plain),
    entry(2, kDitherPattern, K::Grey, 4, D::Pattern),
    entry(3, kDitherPattern, K::Grey, 8, D::Pattern),
    entry(4, kDitherPattern, K::Grey, 16, D::Pattern),
    entry(5, kDitherPattern, K::Grey, 32, D::Pattern),
    entry(6, kDitherPattern, K::Grey, 64, D::Pattern),
    entry(7, kDitherPattern, K::Grey, 128, D::Pattern),
    entry(12, kDitherNone, K::Colors, 8, D::Plain),
    entry(13, kDitherNone, K::Colors, 16, D::Plain),
    entry(14, kDitherNone, K::Colors, 32, D::Plain),
    entry(15, kDitherNone, K::Colors, 64, D::Plain),
    entry(16, kDitherNone, K::Colors, 128, D::Plain),
    entry(17, kDitherNone, K::Colors, 216, D::Plain),
    entry(18, kDitherNone, K::Colors, 256, D::Plain),
    entry(12, kDitherPattern, K::Colors, 8, D::Pattern),
    entry(13, kDitherPattern, K::Colors, 16, D::Pattern),
    entry(14, kDitherPattern, K::Colors, 32, D::Pattern),
    entry(15, kDitherPattern, K::Colors, 64, D::Pattern),
    entry(16, kDitherPattern, K::Colors, 128, D::Pattern),
    entry(17, kDitherPattern, K::Colors, 216, D::Pattern),
    entry(18, kDitherPattern, K::Colors, 256, D::Pattern),
    entry(19, kDitherThreshold, K::TrueColors, 0, D::Plain),
};

bool validChoice(int choice) { return choice >= 1 && choice <= kConversionChoiceCount; }

// Levels or colours a save kind of `depth` bits holds.
int capacityOfDepth(int depth) { return depth >= 8 ? 256 : depth <= 0 ? 1 : 1 << depth; }

bool entryHolds(const ZntSaveKind &kind, const ChoiceParts &parts) {
    switch (parts.kind) {
    case ConversionKind::Binary:
        return kind.colorModel == ZNT_CM_BINARY;
    case ConversionKind::Grey:
    case ConversionKind::Colors: {
        const int model = parts.kind == ConversionKind::Grey ? ZNT_CM_GREY : ZNT_CM_PALETTE;
        if (kind.colorModel != model) return false;
        const int capacity = capacityOfDepth(kind.depth);
        return parts.count == 256 ? capacity == 256 : capacity >= parts.count;
    }
    case ConversionKind::TrueColors:
        return kind.colorModel == ZNT_CM_RGB || kind.colorModel == ZNT_CM_RGBA;
    }
    return false;
}

uint16_t gRemembered = kNoConversionChoice;

}  // namespace

OpStatus conversionModeForChoice(int choice, ConversionMode &out) {
    if (!validChoice(choice)) return ZNT_NO_MEMORY;
    out = kChoices[choice - 1].mode;
    return ZNT_OK;
}

OpStatus convertForChoice(const Picture &source, Picture &output, int choice) {
    ConversionMode mode;
    if (const OpStatus status = conversionModeForChoice(choice, mode)) return status;
    Picture input = source;   // with an output record the conversion leaves its source alone
    return convertPicture(&input, &output, mode.mode, mode.dither);
}

ChoiceParts partsOfChoice(int choice) {
    return validChoice(choice) ? kChoices[choice - 1].parts : ChoiceParts{};
}

int choiceOfParts(const ChoiceParts &parts) {
    for (int choice = 1; choice <= kConversionChoiceCount; ++choice) {
        const ChoiceParts &p = kChoices[choice - 1].parts;
        if (p.kind == parts.kind && p.dither == parts.dither && (p.count == parts.count || p.kind == K::TrueColors))
            return choice;
    }
    return 0;
}

std::span<const int> countsOfKind(ConversionKind kind) {
    if (kind == ConversionKind::Grey) return kGreyCounts;
    if (kind == ConversionKind::Colors) return kColorCounts;
    return {};
}

bool saveKindsHoldChoice(const ZntSaveKind *kinds, int choice) {
    if (kinds == nullptr || !validChoice(choice)) return false;
    const ChoiceParts &parts = kChoices[choice - 1].parts;
    for (const ZntSaveKind *kind = kinds; kind->colorModel != -1; ++kind)
        if (entryHolds(*kind, parts)) return true;
    return false;
}

bool saveKindsHoldKind(const ZntSaveKind *kinds, ConversionKind kind) {
    for (int choice = 1; choice <= kConversionChoiceCount; ++choice)
        if (kChoices[choice - 1].parts.kind == kind && saveKindsHoldChoice(kinds, choice)) return true;
    return false;
}

bool saveKindsHoldCount(const ZntSaveKind *kinds, ConversionKind kind, int count) {
    for (int choice = 1; choice <= kConversionChoiceCount; ++choice) {
        const ChoiceParts &p = kChoices[choice - 1].parts;
        if (p.kind == kind && p.count == count && saveKindsHoldChoice(kinds, choice)) return true;
    }
    return false;
}

ChoiceParts settleChoiceParts(const ZntSaveKind *kinds, ChoiceParts wanted) {
    static constexpr ConversionKind kKinds[] = {K::TrueColors, K::Colors, K::Grey, K::Binary};
    static constexpr ConversionDither kDithers[] = {D::Plain, D::FloydSteinberg, D::Pattern, D::Halftone45,
                                                     D::Halftone90};
    ChoiceParts parts = wanted;
    if (!saveKindsHoldKind(kinds, parts.kind)) {
        const ConversionKind *held = std::find_if(std::begin(kKinds), std::end(kKinds),
                                                  [&](ConversionKind k) { return saveKindsHoldKind(kinds, k); });
        if (held == std::end(kKinds)) return wanted;
        parts.kind = *held;
    }
    if (parts.kind == K::Binary) parts.count = 2;
    if (parts.kind == K::TrueColors) parts.count = 0;
    if (!saveKindsHoldCount(kinds, parts.kind, parts.count)) {
        const std::span<const int> counts = countsOfKind(parts.kind);
        for (auto count = counts.rbegin(); count != counts.rend(); ++count) {
            if (saveKindsHoldCount(kinds, parts.kind, *count)) {
                parts.count = *count;
                break;
            }
        }
    }
    if (!saveKindsHoldChoice(kinds, choiceOfParts(parts))) {
        for (ConversionDither dither : kDithers) {
            ChoiceParts candidate = parts;
            candidate.dither = dither;
            if (saveKindsHoldChoice(kinds, choiceOfParts(candidate))) {
                parts.dither = dither;
                break;
            }
        }
    }
    return parts;
}

int defaultConversionChoice(const ZntSaveKind *kinds, const Picture &source) {
    // Most faithful first. Grey levels keep a grey or black-and-white
    // picture as it was, so for those they come before colours.
    static constexpr int kColorFirst[] = {32, 24, 23, 22, 21, 20, 19, 18, 11, 10, 9, 8, 7, 6, 5, 2};
    static constexpr int kGreyFirst[] = {11, 10, 9, 8, 7, 6, 5, 24, 32, 23, 22, 21, 20, 19, 18, 2};
    const bool grey = source.type == ZNT_GREY || source.type == ZNT_BINARY;
    for (int choice : grey ? std::span<const int>(kGreyFirst) : std::span<const int>(kColorFirst))
        if (saveKindsHoldChoice(kinds, choice)) return choice;
    return 0;
}

uint16_t rememberedConversion() { return gRemembered; }
void rememberConversion(uint16_t choice) { gRemembered = choice; }
void forgetConversion() { gRemembered = kNoConversionChoice; }

}  // namespace quivel
