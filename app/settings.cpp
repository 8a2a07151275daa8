#include "app/settings.h"

#include <cstring>
#include <utility>

namespace quivel {

Settings gSettings;
std::vector<FileTypeFlag> gFileTypeFlags;

namespace {

// The text of View.Gamma is read into a buffer of this size.
constexpr size_t kRealTextCapacity = 64;

// Where a key lives in the record, deduced from the field's declared type so
// that widths and capacities cannot drift from the record. An array of
// anything but char is a list of keys, one per element.
struct Field {
    size_t offset;
    Storage storage;
    int count;            // 1, or the number of keys of a list
    size_t elementSize;
};

template <typename T>
constexpr Storage storageOf() {
    if constexpr (std::is_same_v<T, bool>) return Storage::Bool;
    else if constexpr (std::is_same_v<T, uint8_t>) return Storage::Byte;
    else if constexpr (std::is_same_v<T, uint16_t>) return Storage::Word;
    else if constexpr (std::is_same_v<T, int32_t>) return Storage::Int;
    else if constexpr (std::is_same_v<T, double>) return Storage::Real;
    else {
        static_assert(std::is_array_v<T> && std::is_same_v<std::remove_extent_t<T>, char>,
                      "a setting is bool, uint8_t, uint16_t, int32_t, double or a char buffer");
        return Storage::Text;
    }
}

template <typename T>
constexpr Field fieldOf(size_t offset) {
    if constexpr (std::is_array_v<T> && !std::is_same_v<std::remove_extent_t<T>, char>) {
        using Element = std::remove_extent_t<T>;
        return {offset, storageOf<Element>(), int(std::extent_v<T>), sizeof(Element)};
    } else {
        return {offset, storageOf<T>(), 1, sizeof(T)};
    }
}

#define FIELD(member) fieldOf<decltype(std::declval<Settings &>().member)>(offsetof(Settings, member))

struct KeySpec {
    const char *section;            // "" for the keys without a section
    const char *key;                // for a list, the name before the index
    Field field;
    int32_t defaultNumber = 0;
    const char *defaultText = nullptr;
    uint8_t flags = 0;
};

// The order of this table is the order of the file.
const KeySpec kKeys[] = {
    {"", "PathLoad", FIELD(pathLoad), 0, ""},
    {"", "PathSave", FIELD(pathSave), 0, ""},
    {"", "PathBrowse", FIELD(pathBrowse), 0, ""},
    {"", "PathSlide", FIELD(pathSlide), 0, ""},
    {"", "PathScript", FIELD(pathScript), 0, ""},
    {"", "PathExtract", FIELD(pathExtract), 0, ""},
    {"", "FileName_", FIELD(fileName), 0, "", kPurgedOnExit},
    {"", "DirName_", FIELD(dirName), 0, "", kPurgedOnExit},

    {"Start", "X", FIELD(start.x), -1},
    {"Start", "Y", FIELD(start.y), -1},
    {"Start", "Width", FIELD(start.width), -1},
    {"Start", "Height", FIELD(start.height), -1},
    {"Start", "SavePosition", FIELD(start.savePosition), false},
    {"Start", "LaunchBrowserAtStartup", FIELD(start.launchBrowserAtStartup), false},
    {"Start", "OpenAll", FIELD(start.openAll), false},
    {"Start", "ShowToolTipsInToolbar", FIELD(start.showToolTipsInToolbar), true},
    {"Start", "UseMostRecentlyUsedFiles", FIELD(start.useMostRecentlyUsedFiles), true},
    {"Start", "PurgeMostRecentlyUsed", FIELD(start.purgeMostRecentlyUsed), false},
    {"Start", "ToolbarViewConfig", FIELD(start.toolbarViewConfig), kDefaultToolbarMask, nullptr, kZeroMeansDefault},
    {"Start", "ToolbarBrowserConfig", FIELD(start.toolbarBrowserConfig), kDefaultToolbarMask, nullptr,
     kZeroMeansDefault},
    {"Start", "ToolbarIndex", FIELD(start.toolbarIndex), 0},

    {"View", "UsePopupInView", FIELD(view.usePopupInView), false},
    {"View", "OpenHexaViewIfNotPicture", FIELD(view.openHexaViewIfNotPicture), true},
    {"View", "StatusBar", FIELD(view.statusBar), true},
    {"View", "ToolBar", FIELD(view.toolBar), true},
    {"View", "Fit", FIELD(view.fit), 1},
    {"View", "UseUndo", FIELD(view.useUndo), true},
    {"View", "ShowFilename", FIELD(view.showFilename), true},
    {"View", "MouseNavigation", FIELD(view.mouseNavigation), true},
    {"View", "FileListSort", FIELD(view.fileListSort), 0},
    {"View", "HideMouse", FIELD(view.hideMouse), false},
    {"View", "DisableAnimation", FIELD(view.disableAnimation), false},
    {"View", "EnableBmpAnimation", FIELD(view.enableBmpAnimation), false},
    {"View", "OnlyOneView", FIELD(view.onlyOneView), false},
    {"View", "DisplayColorInformation", FIELD(view.displayColorInformation), false},
    {"View", "KeepZoomFactor", FIELD(view.keepZoomFactor), false},
    {"View", "UseGamma", FIELD(view.useGamma), false},
    {"View", "Gamma", FIELD(view.gamma), 0, "1.0"},
    {"View", "UseDPIRatio", FIELD(view.useDpiRatio), false},

    {"File", "DirName_", FIELD(file.dirName), 0, "", kPurgedOnExit},
    {"File", "ConfirmFileDelete", FIELD(file.confirmFileDelete), true},

    {"Resize", "Resample", FIELD(resize.resample), 1},
    {"Resize", "KeepRatio", FIELD(resize.keepRatio), true},
    {"Canvas", "KeepRatio", FIELD(canvas.keepRatio), true},

    {"Browser", "X", FIELD(browser.x), 0},
    {"Browser", "Y", FIELD(browser.y), 0},
    {"Browser", "Width", FIELD(browser.width), 256},
    {"Browser", "Height", FIELD(browser.height), 256},
    {"Browser", "IconWidth", FIELD(browser.iconWidth), 92},
    {"Browser", "IconHeight", FIELD(browser.iconHeight), 69},
    {"Browser", "Viewas", FIELD(browser.viewAs), 0},
    {"Browser", "ArrangeBy", FIELD(browser.arrangeBy), 1},
    {"Browser", "ViewColumn", FIELD(browser.viewColumn), 255},
    {"Browser", "Layout", FIELD(browser.layout), 0},
    {"Browser", "DirListWidth", FIELD(browser.dirListWidth), 0},
    {"Browser", "DirListHeight", FIELD(browser.dirListHeight), 0},
    {"Browser", "IconListWidth", FIELD(browser.iconListWidth), 0},
    {"Browser", "IconListHeight", FIELD(browser.iconListHeight), 0},
    {"Browser", "ShowDirList", FIELD(browser.showDirList), true},
    {"Browser", "ShowStatusBar", FIELD(browser.showStatusBar), true},
    {"Browser", "ShowToolBar", FIELD(browser.showToolBar), true},
    {"Browser", "ShowPreview", FIELD(browser.showPreview), true},
    {"Browser", "FitPreviewWindow", FIELD(browser.fitPreviewWindow), false},
    {"Browser", "ShowContent", FIELD(browser.showContent), true},
    {"Browser", "ShowInAscii", FIELD(browser.showInAscii), false},
    {"Browser", "ShowHiddenFile", FIELD(browser.showHiddenFile), true},
    {"Browser", "ItemsThumbnailMode", FIELD(browser.itemsThumbnailMode), 65535},
    {"Browser", "StartupIn", FIELD(browser.startupIn), 1},
    {"Browser", "StartupDirectory", FIELD(browser.startupDirectory), 0, ""},
    {"Browser", "RecognizeByExt", FIELD(browser.recognizeByExt), false},
    {"Browser", "HidePreviewScrollBar", FIELD(browser.hidePreviewScrollBar), false},
    {"Browser", "FitWindowOption", FIELD(browser.fitWindowOption), 0},
    {"Browser", "ShowToolTips", FIELD(browser.showToolTips), true},

    {"Save", "JpegQuality", FIELD(save.jpegQuality), 100},
    {"Save", "JpegProgressive", FIELD(save.jpegProgressive), false},
    {"Save", "OptimizeHuffmanTable", FIELD(save.optimizeHuffmanTable), false},
    {"Save", "PngCompressionLevel", FIELD(save.pngCompressionLevel), 9},
    {"Save", "PngInterlaced", FIELD(save.pngInterlaced), false},
    {"Save", "GifInterlaced", FIELD(save.gifInterlaced), false},
    {"Save", "IffCompress", FIELD(save.iffCompress), false},
    {"Save", "PcxCompress", FIELD(save.pcxCompress), false},
    {"Save", "TgaCompress", FIELD(save.tgaCompress), false},
    {"Save", "TiffCompress", FIELD(save.tiffCompress), 0},
    {"Save", "TiffBinaryCompress", FIELD(save.tiffBinaryCompress), 0},
    {"Save", "SoftCompress", FIELD(save.softCompress), true},
    {"Save", "RgbCompress", FIELD(save.rgbCompress), true},
    {"Save", "BmpCompress", FIELD(save.bmpCompress), false},
    {"Save", "Os2Header", FIELD(save.os2Header), false},
    {"Save", "Hp49Header", FIELD(save.hp49Header), false},
    {"Save", "Gif87aHeader", FIELD(save.gif87aHeader), false},
    {"Save", "Offset", FIELD(save.offset), 0},
    {"Save", "ChannelOrder", FIELD(save.channelOrder), 0},
    {"Save", "ChannelType", FIELD(save.channelType), 1},
    {"Save", "AddExtensionIfNotExist", FIELD(save.addExtensionIfNotExist), true},
    {"Save", "GifUseTransparentIndex", FIELD(save.gifUseTransparentIndex), false},
    {"Save", "GifTransparentIndex", FIELD(save.gifTransparentIndex), 0},
    {"Save", "PngUseTransparentIndex", FIELD(save.pngUseTransparentIndex), false},
    {"Save", "PngTransparentIndex", FIELD(save.pngTransparentIndex), 0},
    {"Save", "PpmAscii", FIELD(save.ppmAscii), false},
    {"Save", "DpxIn10Bits", FIELD(save.dpxIn10Bits), false},
    {"Save", "UseLut", FIELD(save.useLut), false},
    {"Save", "Lut8to10Name", FIELD(save.lut8to10Name), 0, ""},
    {"Save", "DefaultFormat", FIELD(save.defaultFormat), 0, "jpeg"},

    {"Load", "PcdBase", FIELD(load.pcdBase), 0},
    {"Load", "GrobBpp", FIELD(load.grobBpp), 0},
    {"Load", "IgnoreError", FIELD(load.ignoreError), false},
    {"Load", "RawWidth", FIELD(load.rawWidth), 256},
    {"Load", "RawHeight", FIELD(load.rawHeight), 256},
    {"Load", "RawOffset", FIELD(load.rawOffset), 0},
    {"Load", "ChannelOrder", FIELD(load.channelOrder), 0},
    {"Load", "ChannelType", FIELD(load.channelType), 1},
    {"Load", "YuvWidth", FIELD(load.yuvWidth), 720},
    {"Load", "YuvHeight", FIELD(load.yuvHeight), 576},
    {"Load", "YuvOffset", FIELD(load.yuvOffset), 0},
    {"Load", "Preview", FIELD(load.preview), false},
    {"Load", "UseLut", FIELD(load.useLut), false},
    {"Load", "Lut10to8Name", FIELD(load.lut10to8Name), 0, ""},
    {"Load", "PostscriptDpi", FIELD(load.postscriptDpi), 72},
    {"Load", "PostscriptPageSize", FIELD(load.postscriptPageSize), 0},

    {"Slide", "UseTimer", FIELD(slide.useTimer), true},
    {"Slide", "Timer", FIELD(slide.timer), 5},
    {"Slide", "Loop", FIELD(slide.loop), true},
    {"Slide", "Full", FIELD(slide.full), true},
    {"Slide", "Center", FIELD(slide.center), true},
    {"Slide", "Resize", FIELD(slide.resize), true},
    {"Slide", "Random", FIELD(slide.random), false},
    {"Slide", "FitToWindow", FIELD(slide.fitToWindow), 0},
    {"Slide", "NoTitle", FIELD(slide.noTitle), false},
    {"Slide", "NoError", FIELD(slide.noError), false},
    {"Slide", "SortOrder", FIELD(slide.sortOrder), 0},
    {"Slide", "HideMouse", FIELD(slide.hideMouse), true},
    {"Slide", "ShowFilename", FIELD(slide.showFilename), true},

    {"Rename", "Start", FIELD(rename.start), 0, nullptr, kReadAsBool},
    {"Rename", "Step", FIELD(rename.step), 1, nullptr, kReadAsBool},
    {"Rename", "Template", FIELD(rename.nameTemplate), 0, "name.#"},

    {"Html", "TableColumns", FIELD(html.tableColumns), 4},
    {"Html", "TableRows", FIELD(html.tableRows), 4, nullptr, kNotWritten},
    {"Html", "TableBorder", FIELD(html.tableBorder), 2},
    {"Html", "ThumbWidth", FIELD(html.thumbWidth), 32},
    {"Html", "ThumbHeight", FIELD(html.thumbHeight), 32},
    {"Html", "Format", FIELD(html.format), 0},
    {"Html", "InterlacedGif", FIELD(html.interlacedGif), true},
    {"Html", "ProgressiveJpeg", FIELD(html.progressiveJpeg), true},
    {"Html", "QualityJpeg", FIELD(html.qualityJpeg), 100},
    {"Html", "UseOriginalIfSmaller", FIELD(html.useOriginalIfSmaller), true},
    {"Html", "CopySourceFilename", FIELD(html.copySourceFilename), true},
    {"Html", "LaunchWebBrowser", FIELD(html.launchWebBrowser), true},
    {"Html", "Display", FIELD(html.display), 1},
    {"Html", "Sort", FIELD(html.sort), 1},
    {"Html", "OutputDirectory", FIELD(html.outputDirectory), 0, ""},

    {"ContactSheet", "Width", FIELD(contactSheet.width), 1000},
    {"ContactSheet", "Height", FIELD(contactSheet.height), 1000},
    {"ContactSheet", "Columns", FIELD(contactSheet.columns), 4},
    {"ContactSheet", "Rows", FIELD(contactSheet.rows), 4},
    {"ContactSheet", "MarginWidth", FIELD(contactSheet.marginWidth), 16},
    {"ContactSheet", "MarginHeight", FIELD(contactSheet.marginHeight), 16},
    {"ContactSheet", "SpacingWidth", FIELD(contactSheet.spacingWidth), 8},
    {"ContactSheet", "SpacingHeight", FIELD(contactSheet.spacingHeight), 8},
    {"ContactSheet", "FontName", FIELD(contactSheet.fontName), 0,
     "-*-helvetica-medium-r-normal-*-10-*-*-*-*-*-iso8859-1"},
    {"ContactSheet", "FontHeight", FIELD(contactSheet.fontHeight), 10},
    {"ContactSheet", "FontBold", FIELD(contactSheet.fontBold), 0},
    {"ContactSheet", "FontItalic", FIELD(contactSheet.fontItalic), 0},
    {"ContactSheet", "Flags", FIELD(contactSheet.flags), 1},
    {"ContactSheet", "HeadNote", FIELD(contactSheet.headNote), 0, ""},
    {"ContactSheet", "FootNote", FIELD(contactSheet.footNote), 0, ""},
    {"ContactSheet", "BackgroundColor", FIELD(contactSheet.backgroundColor), 0xFFFFFF},
    {"ContactSheet", "TextBackgroundColor", FIELD(contactSheet.textBackgroundColor), 0xFFFFFF},
    {"ContactSheet", "TextColor", FIELD(contactSheet.textColor), 0xFFFFFF},
    {"ContactSheet", "ThumbnailBackgroundColor", FIELD(contactSheet.thumbnailBackgroundColor), 0xFFFFFF},

    {"Cache", "IsActive", FIELD(cache.isActive), false},
    {"Cache", "Compression", FIELD(cache.compression), 1},
    {"Cache", "MaxDir", FIELD(cache.maxDir), 99},
    {"AutoCrop", "BackColor", FIELD(autoCrop.backColor), 0},
    {"AutoCrop", "Tolerance", FIELD(autoCrop.tolerance), 0},
    {"MultFile", "Format", FIELD(multFile.format), 0},
    {"MultFile", "Directory", FIELD(multFile.directory), 0, ""},
    {"MultFile", "FileName", FIELD(multFile.fileName), 0, "image"},
    {"Process", "AutoView", FIELD(process.autoView), false},
    {"Process", "Deinterlace", FIELD(process.deinterlace), 0},
    {"Process", "LastValue_", FIELD(process.lastValue), kNeverSet},
    {"Convert", "HideError", FIELD(convert.hideError), false},
    {"Convert", "DeleteOriginal", FIELD(convert.deleteOriginal), false},
    {"Convert", "Overwrite", FIELD(convert.overwrite), 0},
    {"Convert", "DefaultFormat", FIELD(convert.defaultFormat), 0, "jpeg"},
};

#undef FIELD

std::vector<SettingKey> expandKeys() {
    std::vector<SettingKey> keys;
    for (const KeySpec &declared : kKeys) {
        const std::string base = *declared.section ? std::string(declared.section) + "." + declared.key : declared.key;
        const Field &f = declared.field;
        const size_t capacity = f.storage == Storage::Text   ? f.elementSize
                                : f.storage == Storage::Real ? kRealTextCapacity
                                                             : 0;
        for (int i = 0; i < f.count; ++i)
            keys.push_back({f.count > 1 ? base + std::to_string(i) : base, f.storage,
                            f.offset + size_t(i) * f.elementSize, capacity, declared.defaultNumber, declared.defaultText,
                            declared.flags});
    }
    return keys;
}

template <typename T>
T &at(Settings &settings, const SettingKey &key) {
    return *reinterpret_cast<T *>(reinterpret_cast<unsigned char *>(&settings) + key.offset);
}

template <typename T>
const T &at(const Settings &settings, const SettingKey &key) {
    return *reinterpret_cast<const T *>(reinterpret_cast<const unsigned char *>(&settings) + key.offset);
}

}  // namespace

const std::vector<SettingKey> &settingKeys() {
    static const std::vector<SettingKey> keys = expandKeys();
    return keys;
}

const SettingKey *findSettingKey(std::string_view name) {
    for (const SettingKey &key : settingKeys())
        if (key.name == name) return &key;
    return nullptr;
}

long settingNumber(const Settings &settings, const SettingKey &key) {
    switch (key.storage) {
    case Storage::Bool: return at<bool>(settings, key) ? 1 : 0;
    case Storage::Byte: return at<uint8_t>(settings, key);
    case Storage::Word: return at<uint16_t>(settings, key);
    case Storage::Int: return at<int32_t>(settings, key);
    case Storage::Text:
    case Storage::Real: break;
    }
    return 0;
}

void setSettingNumber(Settings &settings, const SettingKey &key, long value) {
    switch (key.storage) {
    case Storage::Bool: at<bool>(settings, key) = value != 0; break;
    case Storage::Byte: at<uint8_t>(settings, key) = uint8_t(value); break;
    case Storage::Word: at<uint16_t>(settings, key) = uint16_t(value); break;
    case Storage::Int: at<int32_t>(settings, key) = int32_t(value); break;
    case Storage::Text:
    case Storage::Real: break;
    }
}

const char *settingText(const Settings &settings, const SettingKey &key) {
    return key.storage == Storage::Text ? &at<char>(settings, key) : "";
}

void setSettingText(Settings &settings, const SettingKey &key, std::string_view text) {
    if (key.storage != Storage::Text) return;
    char *buffer = &at<char>(settings, key);
    const size_t length = text.size() < key.capacity - 1 ? text.size() : key.capacity - 1;
    std::memcpy(buffer, text.data(), length);
    std::memset(buffer + length, 0, key.capacity - length);
}

double settingReal(const Settings &settings, const SettingKey &key) {
    return key.storage == Storage::Real ? at<double>(settings, key) : 0.0;
}

void setSettingReal(Settings &settings, const SettingKey &key, double value) {
    if (key.storage == Storage::Real) at<double>(settings, key) = value;
}

bool fileTypeEnabled(std::string_view formatName) {
    for (const FileTypeFlag &flag : gFileTypeFlags)
        if (formatName == flag.name) return flag.enabled != 0;
    return true;
}

}  // namespace quivel
