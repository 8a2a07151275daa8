#include "app/options_pages.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "app/configuration_file.h"
#include "app/save_formats.h"
#include "zentar.h"

namespace quivel {

namespace {

// Option menus' items.
constexpr OptionChoice kViewFit[] = {
    {0, "No fit"},
    {1, "Fit window to image"},
    {2, "Fit image to window, all"},
    {3, "Fit image to window, large only"},
    {6, "Fit image to window width"},
    {7, "Fit image to window height"},
};
constexpr OptionChoice kFileListSort[] = {
    {0, "no Sort"}, {1, "by Name"}, {2, "by Extension"}, {3, "by Date"}, {4, "by Size"},
};
constexpr OptionChoice kToolbarIcons[] = {{0, "Default"}, {1, "Second set"}};
constexpr OptionChoice kStartupIn[] = {{0, "Current directory"}, {1, "Last Used"}, {2, "Specified"}};
constexpr OptionChoice kPreviewFit[] = {
    {0, "No fit"},
    {1, "Fit image to window, large only"},
    {2, "Fit image to window, all"},
    {3, "Fit image to window width"},
    {4, "Fit image to window height"},
};
constexpr OptionChoice kSlideFit[] = {
    {0, "Normal size"}, {1, "Fit to Window, large image only"}, {2, "Fit to Window, all images"},
};
constexpr OptionChoice kCacheCompression[] = {
    {0, "None"}, {1, "Lossless (ZIP)"}, {2, "Lossy Low (JPEG)"}, {3, "Lossy High (JPEG)"},
};
constexpr OptionChoice kTiffColor[] = {{0, "None"}, {1, "PackBits"}, {2, "LZW"}, {3, "LZW+Predict."}};
constexpr OptionChoice kTiffBinary[] = {
    {0, "None"}, {1, "PackBits"}, {2, "LZW"}, {3, "CCITT G3"}, {4, "CCITT G3 2D"}, {5, "CCITT G4"},
};
constexpr OptionChoice kChannelOrder[] = {{0, "Interleaved"}, {1, "Sequential"}, {2, "Separate"}};
constexpr OptionChoice kChannelType[] = {
    {0, "Greyscale"}, {1, "RGB"}, {2, "BGR"}, {3, "RGBA"}, {4, "ABGR"}, {5, "CMY"}, {6, "CMYK"},
};
constexpr OptionChoice kPcdSize[] = {{0, "Base/16 (192x128)"}, {1, "Base/4 (384x256)"}, {2, "Base (768x512)"}};
constexpr OptionChoice kGrobLevels[] = {{0, "2"}, {1, "4"}, {2, "8"}, {3, "16"}, {4, "32"}};
constexpr OptionChoice kPageSize[] = {
    {0, "Normal"}, {1, "11x17"}, {2, "A0"},   {3, "A1"},     {4, "A2"},     {5, "A3"},      {6, "A4"},
    {7, "A5"},     {8, "AB4"},   {9, "B5"},   {10, "Ledger"}, {11, "Legal"}, {12, "Letter"}, {13, "Note"},
};

constexpr const char *kLutFilter = "LUT Files (*.lut)";

constexpr OptionControl kMisc[] = {
    {"Start.LaunchBrowserAtStartup", "Launch Browser at Startup"},
    {"Start.OpenAll", "Open a window per picture"},
    {"Start.ShowToolTipsInToolbar", "Show tool tips in toolbar"},
    {"Start.ToolbarIndex", "Toolbar icons", kToolbarIcons},
    {"Start.UseMostRecentlyUsedFiles", "Add 'Most recently used files' to menu File"},
    {"Start.PurgeMostRecentlyUsed", "Purge 'Most Recent Used Directories' on exit"},
    {"File.ConfirmFileDelete", "Confirm file delete"},
};

constexpr OptionControl kView[] = {
    {"View.Fit", "Auto Image Size :", kViewFit},
    {"View.UsePopupInView", "Use Popup in View"},
    {"View.StatusBar", "Show status bar"},
    {"View.ToolBar", "Show tool bar"},
    {"View.ShowFilename", "Show filename"},
    {"View.UseUndo", "Enable Undo"},
    {"View.MouseNavigation", "Enable mouse navigation"},
    {"View.HideMouse", "Hide mouse"},
    {"View.OnlyOneView", "Only one view opened"},
    {"View.OpenHexaViewIfNotPicture", "Open Hexa View if not a picture"},
    {"View.DisableAnimation", "Disable GIF/JIF/ANI animation"},
    {"View.EnableBmpAnimation", "Enable BMP Animation"},
    {"View.UseDPIRatio", "Adjust zoom if X/Y DPI are different"},
    {"View.UseGamma", "Use gamma correction"},
    {"View.Gamma", "(0.01 - 5.99)", {}, 0, nullptr, kSameLine | kLabelAfter},
};

constexpr OptionControl kBrowser[] = {
    {"Browser.StartupIn", "Startup directory", kStartupIn},
    {"Browser.StartupDirectory", "Specified directory"},
    {nullptr, "Items shown"},
    {"Browser.ItemsThumbnailMode", "Directories", {}, kItemsDirectories, "ItemsDirectories"},
    {"Browser.ItemsThumbnailMode", "All other files", {}, kItemsOtherFiles, "ItemsOtherFiles", kSameLine},
    {"Browser.ItemsThumbnailMode", "Pictures", {}, kItemsPictures, "ItemsPictures", kSameLine},
    {"Browser.ShowHiddenFile", "Show hidden files"},
    {"Browser.RecognizeByExt", "Recognize only by Extension"},
    {"Browser.ShowToolTips", "Show tool tips"},
    {"Browser.IconWidth", "Thumbnail width"},
    {"Browser.IconHeight", "height", {}, 0, nullptr, kSameLine},
    {"Browser.FitWindowOption", "Preview fit", kPreviewFit},
    {"Browser.HidePreviewScrollBar", "Hide preview scrollbar"},
};

constexpr OptionControl kFileList[] = {
    {"View.FileListSort", "Sort for directory/file list", kFileListSort, kSortReverse - 1},
    {"View.FileListSort", "Reverse order", {}, kSortReverse, "FileListReverse", kSameLine},
    {"View.KeepZoomFactor", "Keep Zoom with Previous/Next File"},
};

constexpr OptionControl kSlideShow[] = {
    {"Slide.Center", "Center Window"},
    {"Slide.NoTitle", "No Title Bar"},
    {"Slide.ShowFilename", "Show filename"},
    {"Slide.HideMouse", "Hide mouse cursor"},
    {"Slide.NoError", "Suppress read error"},
    {"Slide.FitToWindow", "Picture size", kSlideFit},
};

constexpr OptionControl kCache[] = {
    {"Cache.IsActive", "Enable caching"},
    {"Cache.Compression", "Compression", kCacheCompression},
};

constexpr OptionControl kWrite[] = {
    {"Save.AddExtensionIfNotExist", "If no extension, add it"},
    {"Save.DefaultFormat", "Default format", {}, 0, nullptr, kFormatChoice},
};
constexpr OptionControl kWriteGif[] = {
    {"Save.GifInterlaced", "Interlaced"},
    {"Save.Gif87aHeader", "Gif87a"},
    {"Save.GifUseTransparentIndex", "Set the transparency value to palette entry:"},
    {"Save.GifTransparentIndex", "", {}, 0, nullptr, kSameLine},
};
constexpr OptionControl kWriteJpeg[] = {
    {"Save.JpegQuality", "Quality (0-100)"},
    {"Save.JpegProgressive", "Progressive"},
    {"Save.OptimizeHuffmanTable", "Optimize Huffman Table"},
};
constexpr OptionControl kWriteTiff[] = {
    {"Save.TiffCompress", "Color compression", kTiffColor},
    {"Save.TiffBinaryCompress", "Binary compression", kTiffBinary},
};
constexpr OptionControl kWritePng[] = {
    {"Save.PngCompressionLevel", "Compression level"},
    {"Save.PngInterlaced", "Interlaced"},
    {"Save.PngUseTransparentIndex", "Set the transparency value to palette entry:"},
    {"Save.PngTransparentIndex", "", {}, 0, nullptr, kSameLine},
};
constexpr OptionControl kWriteBmp[] = {
    {"Save.BmpCompress", "Rle Windows files (4 & 8 bits)"},
    {"Save.Os2Header", "OS/2 bmp header"},
};
constexpr OptionControl kWriteIff[] = {{"Save.IffCompress", "RLE compression"}};
constexpr OptionControl kWritePcx[] = {{"Save.PcxCompress", "RLE compression"}};
constexpr OptionControl kWriteTga[] = {{"Save.TgaCompress", "RLE compression"}};
constexpr OptionControl kWriteSoft[] = {{"Save.SoftCompress", "RLE compression"}};
constexpr OptionControl kWriteSgi[] = {{"Save.RgbCompress", "RLE compression"}};
constexpr OptionControl kWritePpm[] = {{"Save.PpmAscii", "ASCII"}};
constexpr OptionControl kWriteDpx[] = {
    {"Save.DpxIn10Bits", "Write DPX with 10bits/component"},
    {"Save.UseLut", "LUT 8-bit linear => 10-bit log"},
    {"Save.Lut8to10Name", "LUT file", {}, 0, nullptr, kChooseFile, kLutFilter},
};
constexpr OptionControl kWriteHp[] = {{"Save.Hp49Header", "HP-49 header"}};
constexpr OptionControl kWriteRaw[] = {
    {"Save.Offset", "Starting Offset"},
    {"Save.ChannelOrder", "Channel Order", kChannelOrder},
    {"Save.ChannelType", "Channel Type", kChannelType},
};

constexpr OptionControl kRead[] = {{"Load.IgnoreError", "Ignore Read Errors"}};
constexpr OptionControl kReadPcd[] = {{"Load.PcdBase", "PCD size", kPcdSize}};
constexpr OptionControl kReadDpx[] = {
    {"Load.UseLut", "LUT 10-bit log => 8-bit linear"},
    {"Load.Lut10to8Name", "LUT file", {}, 0, nullptr, kChooseFile, kLutFilter},
};
constexpr OptionControl kReadEps[] = {
    {"Load.PostscriptDpi", "Resolution (dpi)"},
    {"Load.PostscriptPageSize", "Page Size", kPageSize},
};
constexpr OptionControl kReadHp[] = {{"Load.GrobBpp", "GROB HP-48 Grey Level", kGrobLevels}};
constexpr OptionControl kReadRaw[] = {
    {"Load.RawWidth", "Width"},
    {"Load.RawHeight", "Height", {}, 0, nullptr, kSameLine},
    {"Load.RawOffset", "Starting Offset"},
    {"Load.ChannelOrder", "Channel Order", kChannelOrder},
    {"Load.ChannelType", "Channel Type", kChannelType},
};
constexpr OptionControl kReadYuv[] = {
    {"Load.YuvWidth", "Width"},
    {"Load.YuvHeight", "Height", {}, 0, nullptr, kSameLine},
    {"Load.YuvOffset", "Starting Offset"},
};

constexpr OptionPage kPages[] = {
    {"PMisc", "Miscellaneous", 0, kMisc},
    {"PView", "View", 0, kView},
    {"PBrowser", "Browser", 0, kBrowser},
    {"PFileList", "File list", 0, kFileList},
    {"PSlideShow", "Slide show", 0, kSlideShow},
    {"PCache", "Thumbnail cache", 0, kCache, PageExtra::Cache},
    {"PFileTypes", "File types", 0, {}, PageExtra::FileTypes},
    {"PWrite", "Write", 0, kWrite},
    {"PWgif", "GIF", 1, kWriteGif},
    {"PWjpg", "JPEG", 1, kWriteJpeg},
    {"PWtif", "TIFF", 1, kWriteTiff},
    {"PWpng", "PNG", 1, kWritePng},
    {"PWbmp", "BMP", 1, kWriteBmp},
    {"PWiff", "IFF", 1, kWriteIff},
    {"PWpcx", "PCX", 1, kWritePcx},
    {"PWtga", "TARGA", 1, kWriteTga},
    {"PWsoft", "Softimage", 1, kWriteSoft},
    {"PWsgi", "SGI RGB", 1, kWriteSgi},
    {"PWppm", "PPM/PGM/PBM", 1, kWritePpm},
    {"PWdpx", "DPX/Cineon", 1, kWriteDpx},
    {"PWhp", "HP GROB", 1, kWriteHp},
    {"PWraw", "Raw", 1, kWriteRaw},
    {"PRead", "Read", 0, kRead},
    {"PRpcd", "PhotoCD", 1, kReadPcd},
    {"PRdpx", "DPX/Cineon", 1, kReadDpx},
    {"PReps", "Postscript", 1, kReadEps},
    {"PRhp", "HP GROB", 1, kReadHp},
    {"PRraw", "Raw", 1, kReadRaw},
    {"PRyuv", "YUV", 1, kReadYuv},
};

// The key's value as the control sees it: the masked bits, or all of it.
long maskedNumber(const Settings &settings, const OptionControl &control, const SettingKey &key) {
    const long value = settingNumber(settings, key);
    return control.mask ? (value & control.mask) : value;
}

void storeMaskedNumber(Settings &settings, const OptionControl &control, const SettingKey &key, long value) {
    if (control.mask) value = (settingNumber(settings, key) & ~long(control.mask)) | (value & control.mask);
    setSettingNumber(settings, key, value);
}

bool isNumber(Storage storage) {
    return storage == Storage::Byte || storage == Storage::Word || storage == Storage::Int;
}

}  // namespace

std::span<const OptionPage> optionPages() { return kPages; }

const OptionPage *findOptionPage(std::string_view name) {
    for (const OptionPage &page : kPages)
        if (name == page.name) return &page;
    return nullptr;
}

std::string pageListText(const OptionPage &page) { return std::string(size_t(page.level) * 4, ' ') + page.title; }

const SettingKey *controlKey(const OptionControl &control) {
    return control.key ? findSettingKey(control.key) : nullptr;
}

ControlKind controlKind(const OptionControl &control) {
    const SettingKey *key = controlKey(control);
    if (key == nullptr) return ControlKind::Heading;
    if ((control.flags & kFormatChoice) && key->storage == Storage::Text) return ControlKind::OptionMenu;
    if (key->storage == Storage::Bool) return ControlKind::Toggle;
    if (isNumber(key->storage)) {
        if (!control.choices.empty()) return ControlKind::OptionMenu;
        // One bit of a number is a toggle.
        if (control.mask != 0 && (control.mask & (control.mask - 1)) == 0) return ControlKind::Toggle;
    }
    return ControlKind::TextField;
}

std::string controlWidgetName(const OptionControl &control) {
    if (control.name) return control.name;
    if (control.key == nullptr) return "heading";
    const char *point = std::strrchr(control.key, '.');
    return point ? point + 1 : control.key;
}

bool toggleState(const Settings &settings, const OptionControl &control) {
    const SettingKey *key = controlKey(control);
    return key && maskedNumber(settings, control, *key) != 0;
}

void storeToggle(Settings &settings, const OptionControl &control, bool on) {
    if (const SettingKey *key = controlKey(control))
        storeMaskedNumber(settings, control, *key, on ? (control.mask ? control.mask : 1) : 0);
}

std::string fieldText(const Settings &settings, const OptionControl &control) {
    const SettingKey *key = controlKey(control);
    if (key == nullptr) return "";
    switch (key->storage) {
    case Storage::Text: return std::string(settingText(settings, *key), strnlen(settingText(settings, *key), key->capacity));
    case Storage::Real: return realSettingText(settingReal(settings, *key));
    default: return std::to_string(maskedNumber(settings, control, *key));
    }
}

void storeFieldText(Settings &settings, const OptionControl &control, std::string_view text) {
    const SettingKey *key = controlKey(control);
    if (key == nullptr) return;
    if (key->storage == Storage::Text) {
        setSettingText(settings, *key, text);
        return;
    }
    const std::string terminated(text);
    if (key->storage == Storage::Real) {
        const double value = realSettingValue(terminated.c_str(), terminated.size() + 1);
        // Written so that a NaN, which compares false, is raised too.
        setSettingReal(settings, *key, value >= kMinimumGamma ? value : kMinimumGamma);
        return;
    }
    storeMaskedNumber(settings, control, *key, std::strtol(terminated.c_str(), nullptr, 10));
}

int fieldColumns(const OptionControl &control) {
    const SettingKey *key = controlKey(control);
    if (key == nullptr || key->storage != Storage::Text) return 8;
    return key->capacity > 64 ? 32 : 12;
}

int fieldMaxLength(const OptionControl &control) {
    const SettingKey *key = controlKey(control);
    return key && key->storage == Storage::Text ? int(key->capacity) - 1 : 0;
}

namespace {

bool isFormatChoice(const OptionControl &control) {
    return controlKind(control) == ControlKind::OptionMenu && (control.flags & kFormatChoice);
}

std::string formatChoiceText(const Settings &settings, const OptionControl &control) {
    const SettingKey *key = controlKey(control);
    return std::string(settingText(settings, *key), strnlen(settingText(settings, *key), key->capacity));
}

std::vector<MenuItem> formatItems(const Settings &settings, const OptionControl &control) {
    std::vector<MenuItem> items;
    const std::string current = formatChoiceText(settings, control);
    bool offered = false;
    for (const SaveFormat &format : saveFormats()) {
        items.push_back({format.index, format.label});
        offered |= format.name == current;
    }
    if (!offered) items.push_back({-1, current});
    return items;
}

}  // namespace

std::vector<MenuItem> menuItems(const Settings &settings, const OptionControl &control) {
    if (isFormatChoice(control)) return formatItems(settings, control);
    std::vector<MenuItem> items;
    for (const OptionChoice &choice : control.choices) items.push_back({choice.value, choice.label});
    const SettingKey *key = controlKey(control);
    if (key == nullptr) return items;
    const int32_t current = int32_t(maskedNumber(settings, control, *key));
    for (const MenuItem &item : items)
        if (item.value == current) return items;
    items.push_back({current, std::to_string(current)});
    return items;
}

int menuPosition(const Settings &settings, const OptionControl &control) {
    const std::vector<MenuItem> items = menuItems(settings, control);
    if (isFormatChoice(control)) {
        const std::string current = formatChoiceText(settings, control);
        for (size_t i = 0; i < items.size(); ++i) {
            const char *name = items[i].value >= 0 ? zntFormatGetName(items[i].value) : nullptr;
            if (name && current == name) return int(i);
        }
        return int(items.size()) - 1;   // the extra item
    }
    const SettingKey *key = controlKey(control);
    if (key == nullptr) return 0;
    const int32_t current = int32_t(maskedNumber(settings, control, *key));
    for (size_t i = 0; i < items.size(); ++i)
        if (items[i].value == current) return int(i);
    return 0;
}

void storeMenuValue(Settings &settings, const OptionControl &control, int32_t value) {
    const SettingKey *key = controlKey(control);
    if (key == nullptr) return;
    if (isFormatChoice(control)) {
        if (const char *name = value >= 0 ? zntFormatGetName(value) : nullptr) setSettingText(settings, *key, name);
        return;
    }
    storeMaskedNumber(settings, control, *key, value);
}

std::string fileTypeRow(std::string_view name, std::string_view description) {
    std::string row(name);
    row.resize(std::max<size_t>(row.size() + 1, 10), ' ');
    return row.append(description);
}

namespace {
constexpr int kFolderColumn = 40;   // characters; a longer folder keeps its end
constexpr int kImagesColumn = 7;
constexpr int kSizeColumn = 10;

std::string padded(std::string_view text, int width, bool right) {
    std::string cell(text);
    const size_t pad = cell.size() < size_t(width) ? size_t(width) - cell.size() : 0;
    return right ? std::string(pad, ' ') + cell : cell + std::string(pad, ' ');
}
}  // namespace

std::string cacheTitleRow() {
    return padded("Folder", kFolderColumn, false) + " " + padded("Images", kImagesColumn, true) + " " +
           padded("Size", kSizeColumn, true);
}

std::string cacheRow(std::string_view folder, int imageCount, uint64_t sizeBytes) {
    // The end of a long path tells folders apart better than its start.
    std::string shown(folder);
    if (shown.size() > size_t(kFolderColumn)) shown = "..." + shown.substr(shown.size() - size_t(kFolderColumn) + 3);
    return padded(shown, kFolderColumn, false) + " " + padded(std::to_string(imageCount), kImagesColumn, true) +
           " " + padded(byteSizeText(sizeBytes), kSizeColumn, true);
}

std::string byteSizeText(uint64_t sizeBytes) {
    if (sizeBytes < 1024) return std::to_string(sizeBytes) + " B";
    static const char *const kUnits[] = {"KB", "MB", "GB", "TB"};
    double size = double(sizeBytes) / 1024.0;
    size_t unit = 0;
    while (size >= 1024.0 && unit + 1 < std::size(kUnits)) {
        size /= 1024.0;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %s", size, kUnits[unit]);
    return text;
}

}  // namespace quivel
