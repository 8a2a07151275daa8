// The library's parameter record for one load or one save, filled from the
// user's Load and Save settings. Everything here is plain data and rules;
// the windows add only the progress function.
//
// Which setting reaches which field:
//   load  flags            Load.IgnoreError (ZNT_LOAD_IGNORE_ERRORS)
//         loadValues       Load.RawWidth/RawHeight/RawOffset for the "raw" format,
//                          Load.YuvWidth/YuvHeight/YuvOffset for every other one
//         raw channels     Load.ChannelOrder, Load.ChannelType
//         pcdBase          Load.PcdBase;  grobGreyLevels  Load.GrobBpp
//         postscriptDpi    Load.PostscriptDpi; page size from Load.PostscriptPageSize
//         useLut, lutFileName   Load.UseLut, Load.Lut10to8Name (whenever one is named)
//   save  flags            4 always, 1 in verbose mode, 0xC0 on the caller's request
//         compression      the target's own key (TIFF: colour or binary key)
//         rleCompress      the same value for the run-length formats
//         jpegQuality      Save.JpegQuality for JPEG, else 100
//         pngCompressionLevel  Save.PngCompressionLevel for PNG
//         progressive      Save.JpegProgressive, Save.PngInterlaced or Save.GifInterlaced
//         the one-byte options (Huffman, ASCII, 87a, OS/2, HP-49, 10 bits) and the
//         raw output offset and channels, always copied
//         useLut, lutFileName   Save.UseLut, Save.Lut8to10Name, for "cin" and "dpx" only
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "app/settings.h"
#include "zentar.h"

namespace quivel {

// A page size in points for the rendered document formats; 0 x 0 leaves it
// to the file.
struct PageSize {
    uint16_t widthPt = 0, heightPt = 0;
};

// The size for a Load.PostscriptPageSize choice: 1 to 13 are the named
// sizes; 0 ("Normal") and anything else give 0 x 0.
PageSize pageSizeForChoice(int choice);

// Longest look-up table names handed to the library (terminator included).
inline constexpr size_t kLoadLutNameCapacity = 1024;
inline constexpr size_t kSaveLutNameCapacity = 256;

// zntDefaultParams, then the fields for loading page `page` of a file in
// format `formatIndex` whose short name is `formatName`. No progress
// function is set.
FormatParams loadParams(const Settings &settings, int formatIndex, std::string_view formatName, int page);

// What the caller of a save asks beyond the settings.
struct SaveFlags {
    bool verbose = false;   // the program runs with -v
    bool extra = false;     // adds ZNT_SAVE_EXTRA
};

// zntDefaultParams, then the fields for saving `picture` (only its kind
// matters) in format `formatIndex` of short name `formatName`. No progress
// function is set.
FormatParams saveParams(const Settings &settings, int formatIndex, std::string_view formatName,
                        const Picture &picture, SaveFlags flags);

// The palette index to mark transparent while saving in `formatName`, when
// the user asked for one (GIF and PNG only).
std::optional<int16_t> transparentIndexForSave(const Settings &settings, std::string_view formatName);

// Appends "." and `suffix` to the name in `buffer` (of `capacity` bytes)
// when the name has no "." anywhere, a folder's included. A name that would
// not fit is left as it is. Returns whether it appended.
bool appendMissingExtension(char *buffer, size_t capacity, std::string_view suffix);

}  // namespace quivel
