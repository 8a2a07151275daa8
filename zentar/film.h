// What the two film-scan formats (DPX and Cineon) share: the conversion of
// 10-bit log codes to 8-bit linear values and back, the look-up table files
// a user may give for it, and the ways samples of 8 to 16 bits sit in a row.
//
// Tables. Without useLut, codes are scaled: 10-bit code c is the 8-bit value
// c * 255 / 1023 rounded, and back. With useLut and no file, the standard
// printing-density conversion: reference white at code 685, reference black
// at 95, 0.002 density per code and a negative gamma of 0.6, so that black
// gives 0 and white and everything above it 255. With a file, its numbers.
// The standard tables are computed once and kept.
//
// Table files are text: decimal numbers separated by blanks, line ends or
// commas, '#' starting a comment to the end of its line. A log-to-linear
// table holds exactly 1024 numbers from 0 to 255 (the 8-bit value of each
// 10-bit code); a linear-to-log table exactly 256 numbers from 0 to 1023.
// Anything else is refused with ZNT_BAD_FILE and a message naming the file.
#pragma once

#include "format.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace zentar {

using LogToLinear = std::array<uint8_t, 1024>;
using LinearToLog = std::array<uint16_t, 256>;

const LogToLinear &standardLogToLinear();
const LinearToLog &standardLinearToLog();

// The table a load or a save uses, from params.useLut and params.lutFileName.
OpStatus logToLinearTable(const FormatParams &params, LogToLinear &table, std::string &message);
OpStatus linearToLogTable(const FormatParams &params, LinearToLog &table, std::string &message);

// Reads a table file of exactly `count` numbers from 0 to `maxValue`.
OpStatus readLutFile(const char *fileName, size_t count, unsigned maxValue, std::vector<uint16_t> &values,
                     std::string &message);

// How the samples of a row are stored. Rows start on a 32-bit boundary.
//   bytes: 8 bits, one byte each
//   words: 16-bit words holding 12 (in the high bits with highAligned, else
//          the low bits) or 16 bits
//   filled: 10 bits, three to a 32-bit word; highAligned leaves bits 1-0
//          unused, else bits 31-30. The first sample of a word takes the
//          highest ten bits, or with firstLow the lowest: film files of
//          one channel are written that way.
// Samples of 10 or 12 bits packed end to end across words are not read.
struct SampleLayout {
    enum Kind { bytes, words, filled } kind = bytes;
    int bits = 8;
    bool highAligned = true;
    bool firstLow = false;
    bool bigEndian = true;   // of the 16- and 32-bit words
};

// The bytes of a row of `count` samples, padding included.
uint64_t rowBytes(const SampleLayout &layout, uint64_t count);

// The samples of one row as numbers of layout.bits bits.
void unpackRow(const SampleLayout &layout, const uint8_t *in, uint32_t count, uint16_t *out);

// The 8-bit value of every sample of `bits` bits: for 10 bits and more
// through `logToLinear` (by the top ten bits) when there is one, else
// scaled.
std::vector<uint8_t> sampleToByteTable(int bits, const LogToLinear *logToLinear);

// Where a film file's samples sit and how its rows are turned.
struct FilmRaster {
    SampleLayout layout;
    uint64_t offset = 0;   // of the first row in the file
    uint64_t stride = 0;   // from row to row, padding included
    uint32_t width = 0, height = 0;
    uint32_t channels = 1;             // 1 grey, 3 RGB, 4 RGBA
    bool upsideDown = false;           // the first row is the bottom one
    bool mirrored = false;             // rows run right to left
    bool reversed = false;             // four channels stored as A, B, G, R
};

// Loads the samples as an 8-bit grey, RGB or RGBA picture, through the
// log-to-linear table when the caller asks for it (useLut), else scaled.
// A file cut short loads what it holds when errors are ignored, if that is
// a fair part of it; a few bytes claiming a huge picture are refused.
OpStatus readFilmRaster(Bytes bytes, const FilmRaster &raster, const LoadRequest &request, OwnedPicture &out,
                        std::string &message);

// Writes one row of 8-bit samples as 10-bit codes through `linearToLog`,
// filled three to a big-endian word, bits 1-0 unused, the first sample in
// the highest bits or with firstLow the lowest.
void packFilled10(const uint8_t *samples, uint32_t count, const LinearToLog &linearToLog, bool firstLow, uint8_t *out);

// IEEE single-precision float bits, for the headers' real fields.
uint32_t floatBits(float value);

}  // namespace zentar
