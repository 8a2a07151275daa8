// X bitmaps: C source text with "#define <name>_width", "#define
// <name>_height" (and optional hot spot), then an array of bytes ("char",
// X11) or 16-bit words ("short", X10), rows padded to the unit, the
// leftmost pixel in the least significant bit, a set bit black.
//
// Written as the X11 form under the name "image", twelve bytes a line.
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"
#include "raster_helpers.h"

#include <array>
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace zentar {

namespace {

// A byte of the file turned into a byte of our binary rows: bit order
// reversed (the file's leftmost pixel is its lowest bit) and inverted (set
// is black in the file, white in a binary picture).
constexpr std::array<uint8_t, 256> kFlip = [] {
    std::array<uint8_t, 256> t{};
    for (int b = 0; b < 256; ++b) {
        int r = 0;
        for (int i = 0; i < 8; ++i)
            if (b & (1 << i)) r |= 0x80 >> i;
        t[size_t(b)] = uint8_t(~r);
    }
    return t;
}();

constexpr std::array<int8_t, 256> kHexDigit = [] {
    std::array<int8_t, 256> t{};
    for (auto &v : t) v = -1;
    for (int i = 0; i < 10; ++i) t[size_t('0' + i)] = int8_t(i);
    for (int i = 0; i < 6; ++i) t[size_t('a' + i)] = t[size_t('A' + i)] = int8_t(10 + i);
    return t;
}();

class Text {
public:
    explicit Text(Bytes bytes) : s_(reinterpret_cast<const char *>(bytes.data()), bytes.size()) {}
    size_t position() const { return pos_; }
    size_t size() const { return s_.size(); }
    bool atEnd() const { return pos_ >= s_.size(); }

    // Skips blanks and C comments.
    void skipSpace() {
        while (pos_ < s_.size()) {
            const char c = s_[pos_];
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v') {
                ++pos_;
            } else if (c == '/' && pos_ + 1 < s_.size() && s_[pos_ + 1] == '*') {
                const size_t end = s_.find("*/", pos_ + 2);
                pos_ = end == std::string_view::npos ? s_.size() : end + 2;
            } else {
                break;
            }
        }
    }
    bool literal(std::string_view word) {
        skipSpace();
        if (s_.substr(pos_, word.size()) != word) return false;
        pos_ += word.size();
        return true;
    }
    std::string_view identifier() {
        skipSpace();
        const size_t start = pos_;
        while (pos_ < s_.size() && (std::isalnum(static_cast<unsigned char>(s_[pos_])) || s_[pos_] == '_')) ++pos_;
        return s_.substr(start, pos_ - start);
    }
    // A decimal, octal or hexadecimal number below 2^31.
    bool number(uint32_t &value) {
        skipSpace();
        uint64_t v = 0;
        int base = 10;
        if (s_.substr(pos_, 2) == "0x" || s_.substr(pos_, 2) == "0X") {
            base = 16;
            pos_ += 2;
        }
        const size_t start = pos_;
        while (pos_ < s_.size() && pos_ - start < 10) {
            const int d = kHexDigit[static_cast<unsigned char>(s_[pos_])];
            if (d < 0 || d >= base) break;
            v = v * uint64_t(base) + uint64_t(d);
            ++pos_;
        }
        if (pos_ == start || v >= (1u << 31)) return false;
        value = uint32_t(v);
        return true;
    }
    bool find(char c) {
        const size_t at = s_.find(c, pos_);
        if (at == std::string_view::npos) return false;
        pos_ = at + 1;
        return true;
    }
    std::string_view rest() const { return s_.substr(std::min(pos_, s_.size())); }

private:
    std::string_view s_;
    size_t pos_ = 0;
};

bool endsWith(std::string_view s, std::string_view end) {
    return s.size() >= end.size() && s.substr(s.size() - end.size()) == end;
}

struct XbmHeader {
    uint32_t width = 0, height = 0;
    bool words = false;     // X10: 16-bit units
    size_t dataOffset = 0;  // just after the "{"
};

OpStatus parseHeader(Bytes bytes, XbmHeader &h, std::string &message) {
    Text t(bytes);
    bool haveWidth = false, haveHeight = false;
    for (;;) {
        if (!t.literal("#define")) break;
        const std::string_view name = t.identifier();
        uint32_t value = 0;
        if (!t.number(value)) {
            message = "Bad #define in X bitmap";
            return ZNT_BAD_FILE;
        }
        if (name == "width" || endsWith(name, "_width")) h.width = value, haveWidth = true;
        if (name == "height" || endsWith(name, "_height")) h.height = value, haveHeight = true;
    }
    if (!haveWidth || !haveHeight) {
        message = "X bitmap without its width and height";
        return t.atEnd() ? ZNT_CANT_READ : ZNT_BAD_FILE;
    }
    if (h.width == 0 || h.height == 0 || h.width > kMaxRasterSidePx || h.height > kMaxRasterSidePx) {
        message = "Bad X bitmap size";
        return ZNT_BAD_FILE;
    }
    // The array's declaration: "static [unsigned] char|short <name>_bits[] = {".
    const std::string_view rest = t.rest();
    const size_t brace = rest.find('{');
    if (brace == std::string_view::npos) return ZNT_CANT_READ;
    const std::string_view declaration = rest.substr(0, brace);
    h.words = declaration.find("short") != std::string_view::npos;
    if (!h.words && declaration.find("char") == std::string_view::npos) {
        message = "X bitmap without its array of bits";
        return ZNT_BAD_FILE;
    }
    h.dataOffset = t.position() + brace + 1;
    return ZNT_OK;
}

bool sniffXbm(Bytes head) {
    Text t(head);
    if (!t.literal("#define")) return false;
    const std::string_view name = t.identifier();
    uint32_t value = 0;
    return (name == "width" || endsWith(name, "_width")) && t.number(value);
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    XbmHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, header.message); s != ZNT_OK) return s;
    header.images.push_back(ZntSubImage{ZNT_CM_BINARY, h.width, h.height, 1});
    header.compressionName = "None";
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    XbmHeader h;
    if (const OpStatus s = parseHeader(source.bytes, h, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    const uint32_t w = h.width, height = h.height;
    if (request.tooLarge(w, height)) return ZNT_NO_MEMORY;
    const uint32_t unitBytes = h.words ? 2 : 1;
    const uint32_t units = (w + 8 * unitBytes - 1) / (8 * unitBytes);   // per row
    // Each value takes at least two characters ("0,").
    const uint64_t values = uint64_t(units) * height;
    const uint64_t available = source.bytes.size() - h.dataOffset;
    if (!canHold(values, available / 2 + 1, 1, request.ignoreErrors())) return ZNT_CANT_READ;

    if (!out.allocate(ZNT_BINARY, 1, w, height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = ZNT_CM_BINARY;
    const std::string_view text(reinterpret_cast<const char *>(source.bytes.data()) + h.dataOffset, size_t(available));
    const size_t rowBytes = (size_t(w) + 7) / 8;
    std::vector<uint8_t> line(size_t(units) * unitBytes + 2);
    Progress progress(request, int(height));
    size_t pos = 0;
    bool complete = true, bad = false;
    for (uint32_t y = 0; y < height && complete && !bad; ++y) {
        for (uint32_t u = 0; u < units; ++u) {
            // Separators, blanks and comments up to the next number.
            for (;;) {
                while (pos < text.size() && (text[pos] == ',' || text[pos] == ' ' || text[pos] == '\n' ||
                                             text[pos] == '\t' || text[pos] == '\r'))
                    ++pos;
                if (text.substr(pos, 2) != "/*") break;
                const size_t end = text.find("*/", pos + 2);
                pos = end == std::string_view::npos ? text.size() : end + 2;
            }
            if (pos >= text.size() || text[pos] == '}' || text[pos] == ';') {
                complete = false;
                break;
            }
            // Hexadecimal after "0x", as every writer has it; decimal otherwise.
            int base = 10;
            if (text.substr(pos, 2) == "0x" || text.substr(pos, 2) == "0X") {
                base = 16;
                pos += 2;
            }
            uint32_t v = 0;
            int digits = 0;
            while (pos < text.size() && digits < 6) {
                const int d = kHexDigit[static_cast<unsigned char>(text[pos])];
                if (d < 0 || d >= base) break;
                v = v * uint32_t(base) + uint32_t(d);
                ++pos, ++digits;
            }
            if (digits == 0 || (h.words ? v > 0xffff : v > 0xff)) {
                bad = true;
                break;
            }
            if (h.words) {
                line[2 * u] = uint8_t(v);
                line[2 * u + 1] = uint8_t(v >> 8);
            } else {
                line[u] = uint8_t(v);
            }
        }
        if (!complete || bad) break;
        uint8_t *row = out.row(y);
        for (size_t k = 0; k < rowBytes; ++k) row[k] = kFlip[line[k]];
        if (w & 7) row[rowBytes - 1] &= uint8_t(0xff00 >> (w & 7));
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    if (bad && !request.ignoreErrors()) {
        message = "Bad value in X bitmap";
        return ZNT_CORRUPT;
    }
    if (!complete && !request.ignoreErrors()) return ZNT_CANT_READ;
    return ZNT_OK;
}

const ZntSaveKind kXbmSaveKinds[] = {{ZNT_CM_BINARY, 1, 0, 0}, {-1, 0, 0, 0}};

OpStatus writeXbm(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t w = pic.width, height = uint32_t(pic.height);
    const size_t rowBytes = (size_t(w) + 7) / 8;
    // kFlip is its own inverse once the padding bits are cleared again.
    const uint8_t lastMask = uint8_t(w & 7 ? (1u << (w & 7)) - 1 : 0xff);
    FileWriter out(file);
    char text[160];
    std::snprintf(text, sizeof text, "#define image_width %u\n#define image_height %u\nstatic unsigned char image_bits[] = {\n",
                  w, height);
    out.text(text);
    size_t written = 0;
    const size_t total = rowBytes * height;
    std::string line;
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
        for (size_t k = 0; k < rowBytes; ++k) {
            uint8_t v = kFlip[in[k]];
            if (k + 1 == rowBytes) v &= lastMask;
            static const char kHex[] = "0123456789abcdef";
            line += written % 12 == 0 ? "   0x" : " 0x";
            line += kHex[v >> 4];
            line += kHex[v & 15];
            ++written;
            line += written == total ? "};\n" : written % 12 == 0 ? ",\n" : ",";
        }
        out.bytes(line.data(), line.size());
        line.clear();
        reportSaveProgress(params, int(y), int(height));
    }
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kXbmFormat = {
    "xbm", "X11 Bitmap", "xbm bm", "XBM", Signature::exact, sniffXbm,
    readHeader, readPixels, kXbmSaveKinds, writeXbm, nullptr,
};

}  // namespace zentar
