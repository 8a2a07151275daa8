#include "film.h"
#include "bytes.h"
#include "pixels.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

namespace zentar {

namespace {

constexpr double kReferenceWhite = 685, kReferenceBlack = 95;
constexpr double kDensityPerCode = 0.002, kNegativeGamma = 0.6;

// Linear light of a code, 0 at reference black and 1 at reference white.
double blackOffset() { return std::pow(10.0, (kReferenceBlack - kReferenceWhite) * kDensityPerCode / kNegativeGamma); }

constexpr size_t kMaxLutFileBytes = 1 << 20;

struct FileCloser {
    void operator()(FILE *f) const { std::fclose(f); }
};

}  // namespace

const LogToLinear &standardLogToLinear() {
    static const LogToLinear table = [] {
        LogToLinear t{};
        const double offset = blackOffset();
        for (int code = 0; code < 1024; ++code) {
            const double light = std::pow(10.0, (code - kReferenceWhite) * kDensityPerCode / kNegativeGamma);
            const double v = std::clamp((light - offset) / (1 - offset), 0.0, 1.0);
            t[size_t(code)] = uint8_t(std::lround(v * 255));
        }
        return t;
    }();
    return table;
}

const LinearToLog &standardLinearToLog() {
    static const LinearToLog table = [] {
        LinearToLog t{};
        const double offset = blackOffset();
        for (int v = 0; v < 256; ++v) {
            const double light = v / 255.0 * (1 - offset) + offset;
            const double code = kReferenceWhite + std::log10(light) * kNegativeGamma / kDensityPerCode;
            t[size_t(v)] = uint16_t(std::clamp<long>(std::lround(code), 0, 1023));
        }
        return t;
    }();
    return table;
}

OpStatus readLutFile(const char *fileName, size_t count, unsigned maxValue, std::vector<uint16_t> &values,
                     std::string &message) {
    const std::string name = fileName != nullptr ? fileName : "";
    const std::string wanted = "The look-up table <" + name + "> must hold " + std::to_string(count) +
                               " numbers from 0 to " + std::to_string(maxValue);
    std::unique_ptr<FILE, FileCloser> file(std::fopen(name.c_str(), "rb"));
    if (!file) {
        message = "Can't read the look-up table <" + name + ">";
        return ZNT_BAD_FILE;
    }
    std::string text;
    char buffer[8192];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, file.get())) > 0;) {
        text.append(buffer, n);
        if (text.size() > kMaxLutFileBytes) {
            message = wanted;
            return ZNT_BAD_FILE;
        }
    }
    values.clear();
    size_t i = 0;
    while (i < text.size()) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '#') {
            while (i < text.size() && text[i] != '\n') ++i;
        } else if (std::isspace(c) || c == ',') {
            ++i;
        } else if (std::isdigit(c)) {
            uint32_t v = 0;
            while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])) && v <= maxValue)
                v = v * 10 + uint32_t(text[i++] - '0');
            const bool glued = i < text.size() && !std::isspace(static_cast<unsigned char>(text[i])) &&
                               text[i] != ',' && text[i] != '#';
            if (v > maxValue || glued || values.size() == count) {
                message = wanted;
                return ZNT_BAD_FILE;
            }
            values.push_back(uint16_t(v));
        } else {
            message = wanted;
            return ZNT_BAD_FILE;
        }
    }
    if (values.size() != count) {
        message = wanted;
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

OpStatus logToLinearTable(const FormatParams &params, LogToLinear &table, std::string &message) {
    if (!params.useLut) {
        for (int code = 0; code < 1024; ++code) table[size_t(code)] = uint8_t((code * 255 + 511) / 1023);
        return ZNT_OK;
    }
    if (params.lutFileName[0] == '\0') {
        table = standardLogToLinear();
        return ZNT_OK;
    }
    const std::string name(params.lutFileName, strnlen(params.lutFileName, sizeof params.lutFileName));
    std::vector<uint16_t> values;
    if (const OpStatus s = readLutFile(name.c_str(), 1024, 255, values, message); s != ZNT_OK) return s;
    for (size_t i = 0; i < 1024; ++i) table[i] = uint8_t(values[i]);
    return ZNT_OK;
}

OpStatus linearToLogTable(const FormatParams &params, LinearToLog &table, std::string &message) {
    if (!params.useLut) {
        for (int v = 0; v < 256; ++v) table[size_t(v)] = uint16_t((v * 1023 + 127) / 255);
        return ZNT_OK;
    }
    if (params.lutFileName[0] == '\0') {
        table = standardLinearToLog();
        return ZNT_OK;
    }
    const std::string name(params.lutFileName, strnlen(params.lutFileName, sizeof params.lutFileName));
    std::vector<uint16_t> values;
    if (const OpStatus s = readLutFile(name.c_str(), 256, 1023, values, message); s != ZNT_OK) return s;
    for (size_t i = 0; i < 256; ++i) table[i] = values[i];
    return ZNT_OK;
}

uint64_t rowBytes(const SampleLayout &layout, uint64_t count) {
    switch (layout.kind) {
    case SampleLayout::bytes:
        return (count + 3) / 4 * 4;
    case SampleLayout::words:
        return (count * 2 + 3) / 4 * 4;
    case SampleLayout::filled:
        return (count + 2) / 3 * 4;
    }
    return 0;
}

void unpackRow(const SampleLayout &layout, const uint8_t *in, uint32_t count, uint16_t *out) {
    switch (layout.kind) {
    case SampleLayout::bytes:
        for (uint32_t i = 0; i < count; ++i) out[i] = in[i];
        return;
    case SampleLayout::words: {
        const int shift = layout.bits == 12 && layout.highAligned ? 4 : 0;
        const uint16_t mask = uint16_t((1u << layout.bits) - 1);
        if (layout.bigEndian) {
            for (uint32_t i = 0; i < count; ++i, in += 2) out[i] = uint16_t(readBe16(in) >> shift & mask);
        } else {
            for (uint32_t i = 0; i < count; ++i, in += 2) out[i] = uint16_t(readLe16(in) >> shift & mask);
        }
        return;
    }
    case SampleLayout::filled: {
        // The shifts of the first, second and third sample of a word.
        const int low = layout.highAligned ? 2 : 0;
        const int s0 = layout.firstLow ? low : low + 20, s1 = low + 10, s2 = layout.firstLow ? low + 20 : low;
        uint32_t i = 0;
        for (; i + 3 <= count; i += 3, in += 4) {
            const uint32_t word = layout.bigEndian ? readBe32(in) : readLe32(in);
            out[i] = uint16_t(word >> s0 & 0x3ff);
            out[i + 1] = uint16_t(word >> s1 & 0x3ff);
            out[i + 2] = uint16_t(word >> s2 & 0x3ff);
        }
        if (i < count) {
            const uint32_t word = layout.bigEndian ? readBe32(in) : readLe32(in);
            out[i] = uint16_t(word >> s0 & 0x3ff);
            if (i + 1 < count) out[i + 1] = uint16_t(word >> s1 & 0x3ff);
        }
        return;
    }
    }
}

std::vector<uint8_t> sampleToByteTable(int bits, const LogToLinear *logToLinear) {
    std::vector<uint8_t> table(size_t(1) << bits);
    const uint32_t max = uint32_t(table.size() - 1);
    if (bits >= 10 && logToLinear != nullptr) {
        for (size_t v = 0; v < table.size(); ++v) table[v] = (*logToLinear)[v >> (bits - 10)];
    } else {
        for (size_t v = 0; v < table.size(); ++v) table[v] = uint8_t((v * 255 + max / 2) / max);
    }
    return table;
}

void packFilled10(const uint8_t *samples, uint32_t count, const LinearToLog &linearToLog, bool firstLow, uint8_t *out) {
    for (uint32_t i = 0; i < count; i += 3, out += 4) {
        uint32_t word = 0;
        for (uint32_t k = 0; k < 3 && i + k < count; ++k)
            word |= uint32_t(linearToLog[samples[i + k]]) << (firstLow ? 2 + 10 * k : 22 - 10 * k);
        writeBe32(out, word);
    }
}

OpStatus readFilmRaster(Bytes bytes, const FilmRaster &raster, const LoadRequest &request, OwnedPicture &out,
                        std::string &message) {
    if (request.tooLarge(raster.width, raster.height)) return ZNT_NO_MEMORY;
    const uint64_t available = raster.offset < bytes.size() ? bytes.size() - raster.offset : 0;
    const uint32_t rows = uint32_t(std::min<uint64_t>(raster.height, available / raster.stride));
    if (rows < raster.height && (!request.ignoreErrors() || uint64_t(rows) * 8 < raster.height)) return ZNT_CANT_READ;

    const FormatParams &options = request.options();
    const int bits = raster.layout.bits;
    LogToLinear lut;
    if (options.useLut && bits >= 10) {
        if (const OpStatus s = logToLinearTable(options, lut, message); s != ZNT_OK) return s;
    }
    const std::vector<uint8_t> toByte = sampleToByteTable(bits, options.useLut ? &lut : nullptr);

    const uint32_t n = raster.channels;
    const int type = n == 1 ? ZNT_GREY : n == 3 ? ZNT_RGB : ZNT_RGBA;
    if (!out.allocate(type, 8, raster.width, raster.height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOfType(type));
    if (type == ZNT_GREY) pic.numberOfColors = 256;

    const uint32_t samples = raster.width * n;   // at most 2^22
    std::vector<uint16_t> line(samples);
    Progress progress(request, int(raster.height));
    for (uint32_t y = 0; y < rows; ++y) {
        unpackRow(raster.layout, bytes.data() + raster.offset + y * raster.stride, samples, line.data());
        uint8_t *row = out.row(raster.upsideDown ? raster.height - 1 - y : y);
        const uint8_t *table = toByte.data();
        if (raster.reversed) {
            for (uint32_t i = 0; i < samples; i += 4) {
                row[i] = table[line[i + 3]], row[i + 1] = table[line[i + 2]];
                row[i + 2] = table[line[i + 1]], row[i + 3] = table[line[i]];
            }
        } else {
            for (uint32_t i = 0; i < samples; ++i) row[i] = table[line[i]];
        }
        if (raster.mirrored) {
            for (uint32_t a = 0, b = raster.width - 1; a < b; ++a, --b)
                std::swap_ranges(row + a * n, row + a * n + n, row + b * n);
        }
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    return ZNT_OK;
}

uint32_t floatBits(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

}  // namespace zentar
