// Every user preference of the program, in one process-wide record.
//
// `gSettings` is filled once at start-up from the configuration file and
// written back once on the way out (configuration_file.h); in between every
// window kind reads and changes it directly. The record is plain data with no
// default member values: a cleared record is all zero bytes, and the defaults
// live in the key table below, next to each key's name.
//
// Field widths are part of the file's behaviour: a number read into a byte or
// a 16-bit field is truncated to that width (View.Fit = 257 reads as 1). The
// narrow fields are unsigned, so a reverse-order sort (128 + key) stays
// positive.
//
// The key table is the one description of the file: the reader, the writer
// and the options dialog all walk it, so a key is added in one place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace quivel {

inline constexpr size_t kPathCapacity = 4096;
inline constexpr int kRecentCount = 10;      // each of the three path lists
inline constexpr int kLastValueCount = 25;   // Process.LastValue_N
inline constexpr int32_t kNeverSet = -255;   // a last value not entered yet
// Every toolbar button except bits 10, 25 and 26 (0xF9FFFBFF).
inline constexpr int32_t kDefaultToolbarMask = int32_t(0xF9FFFBFFu);
// Added to View.FileListSort's key for the reverse order.
inline constexpr int32_t kSortReverse = 128;
// Bits of Browser.ItemsThumbnailMode, the kinds of items the browser lists.
inline constexpr int32_t kItemsDirectories = 1;
inline constexpr int32_t kItemsOtherFiles = 2;
inline constexpr int32_t kItemsPictures = 4;

struct Settings {
    // Keys without a section.
    char pathLoad[kPathCapacity];      // last folder of the open-file selector
    char pathSave[kPathCapacity];      // ... of the save-file selector
    char pathBrowse[kPathCapacity];    // last folder chosen for browsing
    char pathSlide[kPathCapacity];     // ... of the slide-show / file-list selector
    char pathScript[kPathCapacity];    // ... of the batch-conversion selector
    char pathExtract[kPathCapacity];   // ... used when extracting pages
    char fileName[kRecentCount][kPathCapacity];   // most recently used files
    char dirName[kRecentCount][kPathCapacity];    // most recently used folders

    struct StartSection {
        int32_t x, y, width, height;   // kept and written back, -1 = not set
        bool savePosition;
        bool launchBrowserAtStartup;
        bool openAll;                  // one window per picture
        bool showToolTipsInToolbar;
        bool useMostRecentlyUsedFiles;
        bool purgeMostRecentlyUsed;    // empties all three path lists on exit
        int32_t toolbarViewConfig;     // button bit masks; 0 is read as the default
        int32_t toolbarBrowserConfig;
        uint8_t toolbarIndex;          // icon set
    } start;

    struct ViewSection {
        bool usePopupInView;
        bool openHexaViewIfNotPicture;
        bool statusBar;
        bool toolBar;
        uint8_t fit;                   // 0 none, 1 window to image, 2 image to window, 3 large only, 6 width, 7 height
        bool useUndo;
        bool showFilename;
        bool mouseNavigation;
        uint8_t fileListSort;          // 0 none, 1 name, 2 extension, 3 date, 4 size; +128 reverse
        bool hideMouse;
        bool disableAnimation;
        bool enableBmpAnimation;
        bool onlyOneView;
        bool displayColorInformation;
        bool keepZoomFactor;
        bool useGamma;
        double gamma;                  // display gamma
        bool useDpiRatio;
    } view;

    struct FileSection {
        char dirName[kRecentCount][kPathCapacity];   // copy/move destinations
        bool confirmFileDelete;
    } file;

    struct ResizeSection {
        uint8_t resample;
        bool keepRatio;
    } resize;

    struct CanvasSection {
        bool keepRatio;
    } canvas;

    struct BrowserSection {
        int32_t x, y, width, height;
        int32_t iconWidth, iconHeight;
        uint8_t viewAs;
        uint8_t arrangeBy;
        int32_t viewColumn;            // columns of the detailed list, bit mask
        uint8_t layout;
        int32_t dirListWidth, dirListHeight, iconListWidth, iconListHeight;   // 0 = layout default
        bool showDirList;
        bool showStatusBar;
        bool showToolBar;
        bool showPreview;
        bool fitPreviewWindow;
        bool showContent;
        bool showInAscii;
        bool showHiddenFile;
        int32_t itemsThumbnailMode;    // item kinds shown, bit mask
        uint8_t startupIn;             // 0 current folder, 1 last used, 2 `startupDirectory`
        char startupDirectory[kPathCapacity];
        bool recognizeByExt;
        bool hidePreviewScrollBar;
        uint8_t fitWindowOption;
        bool showToolTips;
    } browser;

    struct SaveSection {
        uint8_t jpegQuality;
        bool jpegProgressive;
        bool optimizeHuffmanTable;
        uint8_t pngCompressionLevel;
        bool pngInterlaced;
        bool gifInterlaced;
        bool iffCompress;
        bool pcxCompress;
        bool tgaCompress;
        uint8_t tiffCompress;
        uint8_t tiffBinaryCompress;
        bool softCompress;
        bool rgbCompress;
        bool bmpCompress;
        bool os2Header;
        bool hp49Header;
        bool gif87aHeader;
        int32_t offset;                // raw output
        uint8_t channelOrder;
        uint8_t channelType;
        bool addExtensionIfNotExist;
        bool gifUseTransparentIndex;
        int32_t gifTransparentIndex;
        bool pngUseTransparentIndex;
        int32_t pngTransparentIndex;
        bool ppmAscii;
        bool dpxIn10Bits;
        bool useLut;
        char lut8to10Name[kPathCapacity];
        char defaultFormat[16];        // short format name
    } save;

    struct LoadSection {
        uint8_t pcdBase;
        uint8_t grobBpp;
        bool ignoreError;
        int32_t rawWidth, rawHeight;
        int32_t rawOffset;
        uint8_t channelOrder;
        uint8_t channelType;
        int32_t yuvWidth, yuvHeight;
        int32_t yuvOffset;
        bool preview;
        bool useLut;
        char lut10to8Name[kPathCapacity];
        int32_t postscriptDpi;
        uint8_t postscriptPageSize;
    } load;

    struct SlideSection {
        bool useTimer;
        uint16_t timer;                // seconds
        bool loop;
        bool full;
        bool center;
        bool resize;
        bool random;
        uint8_t fitToWindow;
        bool noTitle;
        bool noError;
        uint8_t sortOrder;
        bool hideMouse;
        bool showFilename;
    } slide;

    struct RenameSection {
        uint16_t start;                // written as numbers, read back as 0 or 1
        uint16_t step;
        char nameTemplate[64];         // "#" stands for the number
    } rename;

    struct HtmlSection {
        int32_t tableColumns;
        int32_t tableRows;             // read, never written
        int32_t tableBorder;
        int32_t thumbWidth, thumbHeight;
        uint8_t format;
        bool interlacedGif;
        bool progressiveJpeg;
        int32_t qualityJpeg;
        bool useOriginalIfSmaller;
        bool copySourceFilename;
        bool launchWebBrowser;
        int32_t display;
        uint8_t sort;
        char outputDirectory[kPathCapacity];
    } html;

    struct ContactSheetSection {
        int32_t width, height;
        int32_t columns, rows;
        int32_t marginWidth, marginHeight;
        int32_t spacingWidth, spacingHeight;
        char fontName[128];
        int32_t fontHeight;
        int32_t fontBold, fontItalic;
        int32_t flags;
        char headNote[64];
        char footNote[64];
        int32_t backgroundColor;       // 0xRRGGBB
        int32_t textBackgroundColor;
        int32_t textColor;
        int32_t thumbnailBackgroundColor;
    } contactSheet;

    struct CacheSection {
        bool isActive;
        uint8_t compression;           // 0 none, 1 lossless, 2 and 3 lossy
        int32_t maxDir;
    } cache;

    struct AutoCropSection {
        int32_t backColor;
        int32_t tolerance;
    } autoCrop;

    struct MultFileSection {
        uint8_t format;
        char directory[kPathCapacity];
        char fileName[128];
    } multFile;

    struct ProcessSection {
        bool autoView;
        uint8_t deinterlace;
        int32_t lastValue[kLastValueCount];   // kNeverSet until entered
    } process;

    struct ConvertSection {
        bool hideError;
        bool deleteOriginal;
        uint8_t overwrite;
        char defaultFormat[16];
    } convert;
};

static_assert(std::is_trivially_copyable_v<Settings> && std::is_standard_layout_v<Settings>);

// One format of the image-format library and whether the user enabled it.
struct FileTypeFlag {
    char name[10];      // short name, always terminated
    uint8_t enabled;    // 0 or 1
};

// The process-wide instances. `gFileTypeFlags` holds one record per format
// of the library, in the library's order, from the read until the write.
extern Settings gSettings;
extern std::vector<FileTypeFlag> gFileTypeFlags;

// Whether the user left the format of that short name enabled; a format
// without a record (none read yet) counts as enabled.
bool fileTypeEnabled(std::string_view formatName);

// How a key's value is kept in the record. Xlib defines Bool as a macro, so
// window code that includes this header after the X headers can still use
// the rest of it (but not Storage::Bool).
#pragma push_macro("Bool")
#undef Bool
enum class Storage : uint8_t {
    Bool,     // bool, "True" / "False"
    Byte,     // uint8_t, decimal
    Word,     // uint16_t, decimal
    Int,      // int32_t, decimal
    Text,     // char buffer, cut to its capacity and always terminated
    Real,     // double, kept in the file as "%1.2lf" text
};
#pragma pop_macro("Bool")

// Exceptions to the plain rules, one bit each.
enum SettingFlags : uint8_t {
    kZeroMeansDefault = 1,   // a 0 read from the file gives the default (toolbar masks)
    kReadAsBool = 2,         // written as a number, read with the boolean rule (Rename.Start, Rename.Step)
    kNotWritten = 4,         // read but left out of the file (Html.TableRows)
    kPurgedOnExit = 8,       // one of the three path lists emptied by Start.PurgeMostRecentlyUsed
};

// One key of the file, lists expanded (FileName_0 ... FileName_9 are ten keys).
struct SettingKey {
    std::string name;          // "View.Fit", "FileName_3": section, point, key
    Storage storage;
    size_t offset;             // of the field in Settings
    size_t capacity;           // Text: buffer size with the terminator; Real: the size of its text; else 0
    int32_t defaultNumber;     // Bool, Byte, Word, Int
    const char *defaultText;   // Text, Real
    uint8_t flags;
};

// Every key in the order the writer emits them.
const std::vector<SettingKey> &settingKeys();
// The key of that exact name (case-sensitive), or nullptr.
const SettingKey *findSettingKey(std::string_view name);

// Typed access to a key's field, for the reader, the writer and the dialogs.
// Numbers are truncated to the field's width; texts are cut to the capacity.
long settingNumber(const Settings &settings, const SettingKey &key);   // Bool, Byte, Word, Int
void setSettingNumber(Settings &settings, const SettingKey &key, long value);
const char *settingText(const Settings &settings, const SettingKey &key);   // Text
void setSettingText(Settings &settings, const SettingKey &key, std::string_view text);
double settingReal(const Settings &settings, const SettingKey &key);        // Real
void setSettingReal(Settings &settings, const SettingKey &key, double value);

}  // namespace quivel
