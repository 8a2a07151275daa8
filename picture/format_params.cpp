#include "picture/format_params.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

namespace quivel {

namespace {

// Width x height in points, by page-size choice 1 to 13: 11x17, A0 to A5,
// AB4, B5, Ledger, Legal, Letter, Note.
constexpr PageSize kPageSizes[] = {
    {792, 1224}, {2380, 3368}, {1684, 2380}, {1190, 1684}, {842, 1190}, {595, 842}, {421, 595},
    {709, 1002}, {501, 709},   {1224, 792},  {612, 1008},  {612, 792},  {612, 792},
};

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

void copyName(char *to, size_t capacity, const char *from) {
    const size_t length = std::min(std::strlen(from), capacity - 1);
    std::memcpy(to, from, length);
    to[length] = '\0';
}

// The run-length formats each have one on/off key; DCX pages are PCX.
std::optional<bool> rleSetting(const Settings::SaveSection &save, std::string_view name) {
    if (name == "iff") return save.iffCompress;
    if (isOneOf(name, {"pcx", "dcx"})) return save.pcxCompress;
    if (name == "tga") return save.tgaCompress;
    if (name == "soft") return save.softCompress;
    if (name == "sgi") return save.rgbCompress;
    if (name == "bmp") return save.bmpCompress;
    return std::nullopt;
}

// TIFF's binary key counts 0 none, 1 PackBits, 2 LZW, then the CCITT codes;
// the library keeps 3 for LZW with a predictor, so those move up by one.
uint16_t tiffCompression(const Settings::SaveSection &save, const Picture &picture) {
    if (picture.type != ZNT_BINARY) return save.tiffCompress;
    return save.tiffBinaryCompress >= 3 ? uint16_t(save.tiffBinaryCompress + 1) : save.tiffBinaryCompress;
}

}  // namespace

PageSize pageSizeForChoice(int choice) {
    if (choice < 1 || choice > int(std::size(kPageSizes))) return {};
    return kPageSizes[choice - 1];
}

FormatParams loadParams(const Settings &settings, int formatIndex, std::string_view formatName, int page) {
    const Settings::LoadSection &load = settings.load;
    FormatParams params;
    zntDefaultParams(&params);
    params.flagPair1[0] = params.flagPair1[1] = 0;
    params.flagPair2[0] = params.flagPair2[1] = 0;
    params.formatIndex = int16_t(formatIndex);
    params.flags = load.ignoreError ? uint32_t(ZNT_LOAD_IGNORE_ERRORS) : 0u;
    params.pageNumber = page;
    if (formatName == "raw") {
        params.loadValues[0] = load.rawWidth;
        params.loadValues[1] = load.rawHeight;
        params.loadValues[2] = load.rawOffset;
    } else {
        params.loadValues[0] = load.yuvWidth;
        params.loadValues[1] = load.yuvHeight;
        params.loadValues[2] = load.yuvOffset;
    }
    params.rawChannelOrder = load.channelOrder;
    params.rawChannelType = load.channelType;
    params.pcdBase = load.pcdBase;
    params.grobGreyLevels = load.grobBpp;
    params.postscriptDpi = uint16_t(std::clamp(load.postscriptDpi, 0, 65535));
    const PageSize paper = pageSizeForChoice(load.postscriptPageSize);
    params.pageWidthPt = paper.widthPt;
    params.pageHeightPt = paper.heightPt;
    params.useLut = load.useLut;
    if (load.lut10to8Name[0] != '\0') copyName(params.lutFileName, kLoadLutNameCapacity, load.lut10to8Name);
    params.progressWord = 1;
    params.progressUserData = nullptr;
    params.progressFunction = nullptr;
    return params;
}

FormatParams saveParams(const Settings &settings, int formatIndex, std::string_view formatName,
                        const Picture &picture, SaveFlags flags) {
    const Settings::SaveSection &save = settings.save;
    FormatParams params;
    zntDefaultParams(&params);
    params.flagPair1[0] = params.flagPair1[1] = 0;
    params.flagPair2[0] = params.flagPair2[1] = 0;
    params.formatIndex = int16_t(formatIndex);
    params.flags = uint32_t(ZNT_SAVE_ALWAYS) | (flags.verbose ? uint32_t(ZNT_SAVE_VERBOSE) : 0u) |
                   (flags.extra ? uint32_t(ZNT_SAVE_EXTRA) : 0u);

    params.saveOffset = save.offset;
    params.saveChannelOrder = save.channelOrder;
    params.saveChannelType = save.channelType;

    if (formatName == "tiff") {
        params.compression = tiffCompression(save, picture);
    } else if (const std::optional<bool> rle = rleSetting(save, formatName)) {
        params.compression = *rle ? 1 : 0;
        params.rleCompress = *rle ? 1 : 0;
    }
    params.jpegQuality = formatName == "jpeg" ? save.jpegQuality : 100;
    if (formatName == "png") params.pngCompressionLevel = save.pngCompressionLevel;
    if (formatName == "jpeg") params.progressive = save.jpegProgressive;
    if (formatName == "png") params.progressive = save.pngInterlaced;
    if (formatName == "gif") params.progressive = save.gifInterlaced;

    params.optimizeHuffman = save.optimizeHuffmanTable;
    params.ppmAscii = save.ppmAscii;
    params.gif87a = save.gif87aHeader;
    params.bmpOs2Header = save.os2Header;
    params.hp49Header = save.hp49Header;
    params.dpx10Bits = save.dpxIn10Bits;

    if (isOneOf(formatName, {"cin", "dpx"})) {
        params.useLut = save.useLut;
        copyName(params.lutFileName, kSaveLutNameCapacity, save.lut8to10Name);
    }
    params.progressWord = 1;
    params.progressUserData = nullptr;
    params.progressFunction = nullptr;
    return params;
}

std::optional<int16_t> transparentIndexForSave(const Settings &settings, std::string_view formatName) {
    const Settings::SaveSection &save = settings.save;
    if (formatName == "gif" && save.gifUseTransparentIndex) return int16_t(save.gifTransparentIndex & 0xff);
    if (formatName == "png" && save.pngUseTransparentIndex) return int16_t(save.pngTransparentIndex & 0xff);
    return std::nullopt;
}

bool appendMissingExtension(char *buffer, size_t capacity, std::string_view suffix) {
    const size_t length = std::strlen(buffer);
    if (std::memchr(buffer, '.', length) != nullptr || suffix.empty()) return false;
    if (length + 1 + suffix.size() + 1 > capacity) return false;
    buffer[length] = '.';
    std::memcpy(buffer + length + 1, suffix.data(), suffix.size());
    buffer[length + 1 + suffix.size()] = '\0';
    return true;
}

}  // namespace quivel
