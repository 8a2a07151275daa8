// X pixmaps (the C-source form that starts "/* XPM */"): a string of
// width, height, colour count and characters per pixel, one string per
// colour (its code, then keyed values: "c" colour, "g" grey, "g4" four-level
// grey, "m" mono, "s" symbol), then one string per row. Colours are "None"
// (transparent), "#" with 1 to 4 hexadecimal digits per channel, or a name
// from the common X colour names. A file of up to 256 colours loads as a
// palette picture (binary or grey when its colours are exactly that),
// larger ones as RGB, or RGBA when a colour is "None".
//
// The colour count is bounded by the file's size and 2^20, the characters
// per pixel by 8, both checked before anything is allocated.
//
// Written with as few characters per pixel as the colours need, every
// colour as "#RRGGBB" under the key "c", and a transparent index as "None".
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"
#include "raster_helpers.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zentar {

namespace {

constexpr uint32_t kMaxColours = 1u << 20;
constexpr uint32_t kMaxCharsPerPixel = 8;

struct NamedColour {
    const char *name;   // lower case, without blanks
    uint8_t r, g, b;
};

// The X colour names that pixmaps use most; "grayN" and "greyN" are computed.
constexpr NamedColour kNamedColours[] = {
    {"black", 0, 0, 0},           {"white", 255, 255, 255},       {"red", 255, 0, 0},
    {"green", 0, 255, 0},         {"blue", 0, 0, 255},            {"yellow", 255, 255, 0},
    {"cyan", 0, 255, 255},        {"magenta", 255, 0, 255},       {"gray", 190, 190, 190},
    {"grey", 190, 190, 190},      {"darkgray", 169, 169, 169},    {"darkgrey", 169, 169, 169},
    {"lightgray", 211, 211, 211}, {"lightgrey", 211, 211, 211},   {"dimgray", 105, 105, 105},
    {"dimgrey", 105, 105, 105},   {"slategray", 112, 128, 144},   {"slategrey", 112, 128, 144},
    {"gainsboro", 220, 220, 220}, {"whitesmoke", 245, 245, 245},  {"snow", 255, 250, 250},
    {"linen", 250, 240, 230},     {"ivory", 255, 255, 240},       {"beige", 245, 245, 220},
    {"orange", 255, 165, 0},      {"darkorange", 255, 140, 0},    {"brown", 165, 42, 42},
    {"pink", 255, 192, 203},      {"hotpink", 255, 105, 180},     {"deeppink", 255, 20, 147},
    {"purple", 160, 32, 240},     {"violet", 238, 130, 238},      {"orchid", 218, 112, 214},
    {"navy", 0, 0, 128},          {"navyblue", 0, 0, 128},        {"maroon", 176, 48, 96},
    {"gold", 255, 215, 0},        {"darkred", 139, 0, 0},         {"darkgreen", 0, 100, 0},
    {"darkblue", 0, 0, 139},      {"darkcyan", 0, 139, 139},      {"darkmagenta", 139, 0, 139},
    {"lightblue", 173, 216, 230}, {"lightcyan", 224, 255, 255},   {"lightyellow", 255, 255, 224},
    {"skyblue", 135, 206, 235},   {"deepskyblue", 0, 191, 255},   {"steelblue", 70, 130, 180},
    {"royalblue", 65, 105, 225},  {"dodgerblue", 30, 144, 255},   {"cornflowerblue", 100, 149, 237},
    {"midnightblue", 25, 25, 112}, {"tan", 210, 180, 140},        {"khaki", 240, 230, 140},
    {"wheat", 245, 222, 179},     {"salmon", 250, 128, 114},      {"coral", 255, 127, 80},
    {"tomato", 255, 99, 71},      {"firebrick", 178, 34, 34},     {"indianred", 205, 92, 92},
    {"sienna", 160, 82, 45},      {"chocolate", 210, 105, 30},    {"peru", 205, 133, 63},
    {"turquoise", 64, 224, 208},  {"aquamarine", 127, 255, 212},  {"lavender", 230, 230, 250},
    {"forestgreen", 34, 139, 34}, {"limegreen", 50, 205, 50},     {"seagreen", 46, 139, 87},
    {"olivedrab", 107, 142, 35},  {"darkolivegreen", 85, 107, 47},
};

struct Colour {
    uint8_t r = 0, g = 0, b = 0;
    bool none = false;
};

std::string squeezedLower(std::string_view text) {
    std::string out;
    for (char c : text)
        if (c != ' ' && c != '\t') out += char(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    c = char(std::tolower(static_cast<unsigned char>(c)));
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool parseColour(std::string_view text, Colour &colour) {
    const std::string name = squeezedLower(text);
    if (name == "none" || name == "transparent") {
        colour.none = true;
        return true;
    }
    if (!name.empty() && name[0] == '#') {
        const size_t digits = name.size() - 1;
        if (digits == 0 || digits % 3 != 0 || digits > 12) return false;
        const size_t each = digits / 3;
        uint8_t channel[3];
        for (size_t c = 0; c < 3; ++c) {
            uint32_t v = 0;
            for (size_t i = 0; i < each; ++i) {
                const int d = hexValue(name[1 + c * each + i]);
                if (d < 0) return false;
                v = v << 4 | uint32_t(d);
            }
            // The most significant eight bits; one digit is repeated (#f00 is #ff0000).
            channel[c] = each == 1 ? uint8_t(v * 17) : uint8_t(v >> (4 * (each - 2)));
        }
        colour = Colour{channel[0], channel[1], channel[2], false};
        return true;
    }
    for (const char *grey : {"gray", "grey"}) {
        const size_t n = std::strlen(grey);
        if (name.size() > n && name.size() <= n + 3 && name.compare(0, n, grey) == 0 &&
            std::all_of(name.begin() + long(n), name.end(), [](char c) { return c >= '0' && c <= '9'; })) {
            const int percent = std::stoi(name.substr(n));
            if (percent > 100) return false;
            const uint8_t v = uint8_t((percent * 255 + 50) / 100);
            colour = Colour{v, v, v, false};
            return true;
        }
    }
    for (const NamedColour &c : kNamedColours)
        if (name == c.name) {
            colour = Colour{c.r, c.g, c.b, false};
            return true;
        }
    return false;
}

// The quoted strings of the file in order, skipping what lies between them.
class Strings {
public:
    explicit Strings(std::string_view text, size_t pos) : s_(text), pos_(pos) {}

    // The next string's contents; false at the end of the array or the file.
    bool next(std::string_view &out) {
        for (;;) {
            while (pos_ < s_.size() && s_[pos_] != '"' && s_[pos_] != '/' && s_[pos_] != '}') ++pos_;
            if (pos_ >= s_.size() || s_[pos_] == '}') return false;
            if (s_[pos_] == '/') {
                if (s_.substr(pos_, 2) == "/*") {
                    const size_t end = s_.find("*/", pos_ + 2);
                    pos_ = end == std::string_view::npos ? s_.size() : end + 2;
                } else {
                    ++pos_;
                }
                continue;
            }
            const size_t start = pos_ + 1;
            const size_t end = s_.find('"', start);
            if (end == std::string_view::npos) return false;
            out = s_.substr(start, end - start);
            pos_ = end + 1;
            return true;
        }
    }
    size_t remaining() const { return pos_ < s_.size() ? s_.size() - pos_ : 0; }

private:
    std::string_view s_;
    size_t pos_;
};

std::string_view asText(Bytes bytes) { return {reinterpret_cast<const char *>(bytes.data()), bytes.size()}; }

// Where the array of strings starts: after "/* XPM */" and the next "{".
size_t arrayStart(std::string_view text) {
    size_t pos = 0;
    while (pos < text.size() && std::isspace(static_cast<unsigned char>(text[pos]))) ++pos;
    if (text.substr(pos, 2) != "/*") return std::string_view::npos;
    pos += 2;
    while (pos < text.size() && text[pos] == ' ') ++pos;
    if (text.substr(pos, 3) != "XPM") return std::string_view::npos;
    const size_t brace = text.find('{', pos);
    return brace == std::string_view::npos ? std::string_view::npos : brace + 1;
}

bool sniffXpm(Bytes head) {
    const std::string_view text = asText(head.first(std::min<size_t>(head.size(), 64)));
    size_t pos = 0;
    while (pos < text.size() && std::isspace(static_cast<unsigned char>(text[pos]))) ++pos;
    if (text.substr(pos, 2) != "/*") return false;
    pos += 2;
    while (pos < text.size() && text[pos] == ' ') ++pos;
    return text.substr(pos, 6) == "XPM */";
}

struct XpmHeader {
    uint32_t width = 0, height = 0, colours = 0, charsPerPixel = 0;
    size_t valuesEnd = 0;   // where the colour strings begin
};

OpStatus parseHeader(std::string_view text, XpmHeader &h, std::string &message) {
    const size_t start = arrayStart(text);
    if (start == std::string_view::npos) {
        message = "Not an X pixmap";
        return sniffXpm(Bytes(reinterpret_cast<const uint8_t *>(text.data()), text.size())) ? ZNT_CANT_READ : ZNT_BAD_FILE;
    }
    Strings strings(text, start);
    std::string_view values;
    if (!strings.next(values)) return ZNT_CANT_READ;
    uint64_t numbers[4] = {};
    size_t pos = 0;
    for (uint64_t &n : numbers) {
        while (pos < values.size() && (values[pos] == ' ' || values[pos] == '\t')) ++pos;
        const size_t first = pos;
        while (pos < values.size() && values[pos] >= '0' && values[pos] <= '9' && pos - first < 10)
            n = n * 10 + uint64_t(values[pos++] - '0');
        if (pos == first) {
            message = "Bad X pixmap values";
            return ZNT_BAD_FILE;
        }
    }
    h.width = uint32_t(std::min<uint64_t>(numbers[0], UINT32_MAX));
    h.height = uint32_t(std::min<uint64_t>(numbers[1], UINT32_MAX));
    if (h.width == 0 || h.height == 0 || h.width > kMaxRasterSidePx || h.height > kMaxRasterSidePx) {
        message = "Bad X pixmap size";
        return ZNT_BAD_FILE;
    }
    if (numbers[2] == 0 || numbers[2] > kMaxColours) {
        message = "X pixmap with " + std::to_string(numbers[2]) + " colours";
        return ZNT_BAD_FILE;
    }
    if (numbers[3] == 0 || numbers[3] > kMaxCharsPerPixel) {
        message = "X pixmap with " + std::to_string(numbers[3]) + " characters per pixel";
        return ZNT_BAD_FILE;
    }
    h.colours = uint32_t(numbers[2]);
    h.charsPerPixel = uint32_t(numbers[3]);
    h.valuesEnd = text.size() - strings.remaining();
    return ZNT_OK;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    XpmHeader h;
    if (const OpStatus s = parseHeader(asText(source.bytes), h, header.message); s != ZNT_OK) return s;
    const int model = h.colours <= 256 ? ZNT_CM_PALETTE : ZNT_CM_RGB;
    header.images.push_back(ZntSubImage{uint16_t(model), h.width, h.height, 8});
    header.compressionName = "None";
    return ZNT_OK;
}

uint64_t codeOf(const char *p, uint32_t count) {
    uint64_t code = 0;
    for (uint32_t i = 0; i < count; ++i) code = code << 8 | static_cast<unsigned char>(p[i]);
    return code;
}

// The colour value of one colour string, by key: colour first, then grey,
// four-level grey and mono.
bool colourOfEntry(std::string_view entry, Colour &colour) {
    static constexpr std::string_view kKeys[] = {"c", "g", "g4", "m"};
    std::string_view found[4];
    std::string_view key;
    size_t valueStart = 0, valueEnd = 0;
    auto flush = [&] {
        for (size_t k = 0; k < 4; ++k)
            if (key == kKeys[k] && valueEnd > valueStart && found[k].empty())
                found[k] = entry.substr(valueStart, valueEnd - valueStart);
    };
    size_t pos = 0;
    while (pos < entry.size()) {
        while (pos < entry.size() && (entry[pos] == ' ' || entry[pos] == '\t')) ++pos;
        const size_t begin = pos;
        while (pos < entry.size() && entry[pos] != ' ' && entry[pos] != '\t') ++pos;
        if (pos == begin) break;
        const std::string_view word = entry.substr(begin, pos - begin);
        if (word == "c" || word == "g" || word == "g4" || word == "m" || word == "s") {
            flush();
            key = word;
            valueStart = valueEnd = 0;
        } else if (!key.empty()) {
            if (valueEnd == 0) valueStart = begin;
            valueEnd = pos;
        }
    }
    flush();
    for (const std::string_view &value : found)
        if (!value.empty()) return parseColour(value, colour);
    return false;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    const std::string_view text = asText(source.bytes);
    XpmHeader h;
    if (const OpStatus s = parseHeader(text, h, message); s != ZNT_OK) return s;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    const uint32_t w = h.width, height = h.height, cpp = h.charsPerPixel;
    if (request.tooLarge(w, height)) return ZNT_NO_MEMORY;
    // Every colour string holds at least its code and "c x"; every pixel its code.
    const uint64_t available = text.size() - h.valuesEnd;
    if (uint64_t(h.colours) * (cpp + 5) > available) return ZNT_CANT_READ;
    if (!canHold(uint64_t(w) * height * cpp, available, 1, request.ignoreErrors())) return ZNT_CANT_READ;

    Strings strings(text, h.valuesEnd);
    std::vector<Colour> colours(h.colours);
    std::vector<int32_t> direct(cpp <= 2 ? size_t(1) << (8 * cpp) : 0, -1);
    std::unordered_map<uint64_t, uint32_t> codes;
    for (uint32_t i = 0; i < h.colours; ++i) {
        std::string_view entry;
        if (!strings.next(entry)) return ZNT_CANT_READ;
        if (entry.size() < cpp) {
            message = "Bad colour in X pixmap";
            return ZNT_BAD_FILE;
        }
        if (!colourOfEntry(entry.substr(cpp), colours[i]) && !request.ignoreErrors()) {
            message = "Unknown colour in X pixmap: " + std::string(entry.substr(cpp, 64));
            return ZNT_BAD_FILE;
        }
        const uint64_t code = codeOf(entry.data(), cpp);
        if (cpp <= 2) {
            if (direct[code] < 0) direct[code] = int32_t(i);
        } else {
            codes.emplace(code, i);
        }
    }

    // Up to 256 colours: a palette, every transparent entry sharing the first one's index.
    const bool indexed = h.colours <= 256;
    int transparent = -1;
    std::vector<uint8_t> remap(indexed ? h.colours : 0);
    uint8_t palette[768] = {};
    bool anyNone = false;
    for (uint32_t i = 0; i < h.colours; ++i) {
        const Colour &c = colours[i];
        anyNone |= c.none;
        if (!indexed) continue;
        remap[i] = uint8_t(i);
        if (c.none) {
            if (transparent < 0) transparent = int(i);
            remap[i] = uint8_t(transparent);
        }
        palette[i] = c.r, palette[256 + i] = c.g, palette[512 + i] = c.b;
    }
    bool inverted = false;
    const bool binary = indexed && !anyNone && isBlackWhitePalette(palette, int(h.colours), inverted);
    const int type = binary ? ZNT_BINARY : indexed ? ZNT_PALETTE : anyNone ? ZNT_RGBA : ZNT_RGB;
    if (!out.allocate(type, 8, w, height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOfType(type));
    if (type == ZNT_PALETTE) {
        std::memcpy(pic.palette, palette, sizeof palette);
        pic.numberOfColors = uint16_t(h.colours);
        pic.transparentIndex = int16_t(transparent);
    }

    std::vector<uint8_t> indexes(w);
    Progress progress(request, int(height));
    bool complete = true, unknown = false;
    for (uint32_t y = 0; y < height; ++y) {
        std::string_view row;
        if (!strings.next(row) || row.size() < size_t(w) * cpp) {
            complete = false;
            break;
        }
        const char *p = row.data();
        uint8_t *o = out.row(y);
        for (uint32_t x = 0; x < w; ++x, p += cpp) {
            int64_t index = -1;
            if (cpp == 1) {
                index = direct[static_cast<unsigned char>(p[0])];
            } else if (cpp == 2) {
                index = direct[size_t(static_cast<unsigned char>(p[0])) << 8 | static_cast<unsigned char>(p[1])];
            } else {
                const auto found = codes.find(codeOf(p, cpp));
                if (found != codes.end()) index = found->second;
            }
            if (index < 0) {
                unknown = true;
                index = 0;
            }
            if (indexed) {
                indexes[x] = remap[size_t(index)];
            } else {
                const Colour &c = colours[size_t(index)];
                uint8_t *px = o + size_t(x) * pic.bytesPerPixel;
                px[0] = c.r, px[1] = c.g, px[2] = c.b;
                if (type == ZNT_RGBA) px[3] = c.none ? 0 : 255;
            }
        }
        if (binary)
            packBits(indexes.data(), w, o, inverted);
        else if (indexed)
            std::memcpy(o, indexes.data(), w);
        if (unknown && !request.ignoreErrors()) {
            message = "Unknown pixel in X pixmap";
            return ZNT_BAD_FILE;
        }
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    if (!complete && !request.ignoreErrors()) return ZNT_CANT_READ;
    paletteToGreyIfRamp(pic);
    return ZNT_OK;
}

// Characters for the pixel codes: printable, without the quote and the
// backslash that C strings would need escaped.
constexpr std::string_view kCodeChars =
    " .XoO+@#$%&*=-;:>,<1234567890qwertyuipasdfghjklzxcvbnmMNBVCZASDFGHJKLPIUYTREWQ!~^/()_`'][{}|";

const ZntSaveKind kXpmSaveKinds[] = {{ZNT_CM_BINARY, 1, 0, 0},
                                     {ZNT_CM_GREY, 8, 0, 0},
                                     {ZNT_CM_PALETTE, 8, 0, 0},
                                     {ZNT_CM_RGB, 24, 0, 0},
                                     {-1, 0, 0, 0}};

OpStatus writeXpm(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t w = pic.width, height = uint32_t(pic.height);
    const bool trueColour = isTrueColor(pic.type);
    // The colour table: the picture's own, or the true colours in the order they appear.
    std::vector<uint32_t> table;   // 0xRRGGBB, or kNone
    constexpr uint32_t kNone = 0xffffffff;
    std::unordered_map<uint32_t, uint32_t> index;
    std::vector<uint8_t> rgb(size_t(w) * 3);
    if (pic.type == ZNT_BINARY) {
        table = {0x000000, 0xffffff};
    } else if (pic.type == ZNT_GREY) {
        const auto values = greyLevelValues(std::clamp<int>(pic.numberOfColors, 2, 256));
        for (int i = 0; i < std::clamp<int>(pic.numberOfColors, 1, 256); ++i) table.push_back(values[size_t(i)] * 0x010101u);
    } else if (pic.type == ZNT_PALETTE) {
        for (int i = 0; i < std::clamp<int>(pic.numberOfColors, 1, 256); ++i) {
            const uint8_t *p = pic.palette;
            table.push_back(i == pic.transparentIndex ? kNone
                            : p ? uint32_t(p[i]) << 16 | uint32_t(p[256 + i]) << 8 | p[512 + i]
                                : 0);
        }
    } else {
        for (uint32_t y = 0; y < height; ++y) {
            rowToRgb(pic, y, rgb.data());
            for (uint32_t x = 0; x < w; ++x) {
                const uint32_t c = uint32_t(rgb[3 * x]) << 16 | uint32_t(rgb[3 * x + 1]) << 8 | rgb[3 * x + 2];
                if (index.emplace(c, uint32_t(table.size())).second) table.push_back(c);
            }
        }
    }
    uint32_t cpp = 1;
    for (uint64_t codes = kCodeChars.size(); codes < table.size(); codes *= kCodeChars.size()) ++cpp;
    auto code = [&](uint32_t i, char *out) {
        for (uint32_t k = cpp; k-- > 0; i /= uint32_t(kCodeChars.size())) out[k] = kCodeChars[i % kCodeChars.size()];
    };

    FileWriter out(file);
    char text[192];
    std::snprintf(text, sizeof text, "/* XPM */\nstatic char *image[] = {\n/* columns rows colors chars-per-pixel */\n\"%u %u %zu %u\",\n",
                  w, height, table.size(), cpp);
    out.text(text);
    std::string line;
    for (uint32_t i = 0; i < table.size(); ++i) {
        char c[kMaxCharsPerPixel];
        code(i, c);
        line.assign(1, '"');
        line.append(c, cpp);
        if (table[i] == kNone)
            std::snprintf(text, sizeof text, " c None\",\n");
        else
            std::snprintf(text, sizeof text, " c #%06X\",\n", table[i]);
        line += text;
        out.bytes(line.data(), line.size());
    }
    out.text("/* pixels */\n");
    // Every code written once, then copied per pixel.
    std::vector<char> codes(table.size() * cpp);
    for (uint32_t i = 0; i < table.size(); ++i) code(i, codes.data() + size_t(i) * cpp);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
        line.assign(1, '"');
        if (trueColour) rowToRgb(pic, y, rgb.data());
        for (uint32_t x = 0; x < w; ++x) {
            uint32_t i;
            if (pic.type == ZNT_BINARY)
                i = (in[x >> 3] >> (7 - (x & 7))) & 1;
            else if (!trueColour)
                i = std::min<uint32_t>(in[x], uint32_t(table.size() - 1));
            else
                i = index.find(uint32_t(rgb[3 * x]) << 16 | uint32_t(rgb[3 * x + 1]) << 8 | rgb[3 * x + 2])->second;
            line.append(codes.data() + size_t(i) * cpp, cpp);
        }
        line += y + 1 == height ? "\"\n};\n" : "\",\n";
        out.bytes(line.data(), line.size());
        reportSaveProgress(params, int(y), int(height));
    }
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kXpmFormat = {
    "xpm", "X11 Pixmap", "xpm pm", "XPM", Signature::exact, sniffXpm,
    readHeader, readPixels, kXpmSaveKinds, writeXpm, nullptr,
};

}  // namespace zentar
