// Graphic objects of the HP-48 and HP-49 calculators, as the calculators
// send them: "HPHP48-" or "HPHP49-" and one version letter, then the object
// as 4-bit nibbles, low nibble of each byte first: the prolog 02B1E, the
// object's length in nibbles from the length field on, the height and the
// width, five nibbles each (lowest first), then the rows. A row takes a
// whole number of bytes; in each byte the lowest bit is the leftmost pixel,
// and a set bit is dark. The text form ("GROB <width> <height> <hex>", the
// hex digits being the same nibbles, after an optional "%%HP:" line) is read
// too.
//
// Grey. A grey-scale GROB is a stack of bit planes, top plane first, of the
// picture's height each: plane k adds 2^k to a pixel's darkness. The file
// does not say how many planes it holds, so the reader takes the count from
// the caller (grobGreyLevels 0 to 4: 1 to 5 planes, 2 to 32 levels) and
// refuses a height that is not a multiple of it. A grey picture is written
// with as many planes as its levels need, and has to be read back with the
// same count.
//
// Size. The length field counts at most 0xFFFFF nibbles, hence the limits
// of the save kinds: black and white up to 2048 x 2000, grey up to
// 1024 x 800 (five planes).
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr uint32_t kGrobProlog = 0x02b1e;
constexpr uint32_t kMaxField = 0xfffff;
constexpr size_t kBinaryHeaderBytes = 18;   // the 8-byte name, then 20 nibbles

struct GrobFile {
    uint32_t width = 0, height = 0;   // height of all planes together
    Bytes rows;                       // binary form: the row bytes as stored
    std::vector<uint8_t> decoded;     // text form: the row bytes made from the hex digits
    bool text = false;
    uint32_t rowBytes() const { return (width + 7) / 8; }
    const uint8_t *data() const { return text ? decoded.data() : rows.data(); }
    size_t size() const { return text ? decoded.size() : rows.size(); }
};

uint32_t nibbles(Bytes bytes, size_t first, int count) {
    uint32_t v = 0;
    for (int i = count - 1; i >= 0; --i) {
        const size_t n = first + size_t(i);
        v = v << 4 | ((bytes[n / 2] >> (4 * (n & 1))) & 15);
    }
    return v;
}

bool isBlank(uint8_t c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool binaryName(Bytes head) {
    return head.size() >= 8 && (std::memcmp(head.data(), "HPHP48-", 7) == 0 || std::memcmp(head.data(), "HPHP49-", 7) == 0);
}

// Where the text form's "GROB" starts, or npos.
size_t textStart(Bytes head) {
    size_t i = 0;
    auto skipBlanks = [&] {
        while (i < head.size() && isBlank(head[i])) ++i;
    };
    skipBlanks();
    if (head.size() - i >= 5 && std::memcmp(head.data() + i, "%%HP:", 5) == 0) {
        while (i < head.size() && head[i] != '\n' && head[i] != ';') ++i;
        if (i < head.size()) ++i;
        skipBlanks();
    }
    if (head.size() - i < 6 || std::memcmp(head.data() + i, "GROB", 4) != 0 || !isBlank(head[i + 4])) return std::string_view::npos;
    return i;
}

bool sniffGrob(Bytes head) {
    if (binaryName(head)) return head.size() >= 13 && nibbles(head.subspan(8), 0, 5) == kGrobProlog;
    return textStart(head) != std::string_view::npos;
}

OpStatus parseText(Bytes bytes, size_t at, GrobFile &g, std::string &message) {
    at += 4;
    auto number = [&](uint32_t &v) {
        while (at < bytes.size() && isBlank(bytes[at])) ++at;
        int digits = 0;
        v = 0;
        while (at < bytes.size() && bytes[at] >= '0' && bytes[at] <= '9' && digits < 8) v = v * 10 + (bytes[at++] - '0'), ++digits;
        return digits > 0 && digits < 8;
    };
    if (!number(g.width) || !number(g.height)) {
        message = "Bad GROB text";
        return ZNT_BAD_FILE;
    }
    if (g.width == 0 || g.height == 0 || g.width > kMaxField || g.height > kMaxField) {
        message = "Bad GROB size";
        return ZNT_BAD_FILE;
    }
    const uint64_t wanted = uint64_t(g.rowBytes()) * g.height;
    // Two digits a byte: the text holds at most half its size in row bytes.
    g.text = true;
    g.decoded.assign(size_t(std::min<uint64_t>(wanted, (bytes.size() - at) / 2)), 0);
    uint64_t n = 0;
    for (; at < bytes.size() && n < g.decoded.size() * 2; ++at) {
        const uint8_t c = bytes[at];
        if (isBlank(c)) continue;
        int v;
        if (c >= '0' && c <= '9') {
            v = c - '0';
        } else if ((c | 0x20) >= 'a' && (c | 0x20) <= 'f') {
            v = (c | 0x20) - 'a' + 10;
        } else {
            break;
        }
        g.decoded[size_t(n / 2)] |= uint8_t(v << (4 * (n & 1)));
        ++n;
    }
    if (n < wanted * 2) {
        g.decoded.resize(size_t(n / 2));
        return ZNT_CANT_READ;
    }
    return ZNT_OK;
}

// Reads the size and finds the rows. ZNT_CANT_READ with `g` filled as far as
// the file goes when the rows are cut short.
OpStatus parseGrob(Bytes bytes, GrobFile &g, std::string &message) {
    if (!binaryName(bytes)) {
        const size_t at = textStart(bytes);
        if (at == std::string_view::npos) {
            message = "Not an HP GROB file";
            return ZNT_BAD_FILE;
        }
        return parseText(bytes, at, g, message);
    }
    if (bytes.size() < kBinaryHeaderBytes) return ZNT_CANT_READ;
    const Bytes object = bytes.subspan(8);
    if (nibbles(object, 0, 5) != kGrobProlog) {
        message = "The calculator object is not a GROB";
        return ZNT_BAD_FILE;
    }
    g.height = nibbles(object, 10, 5);
    g.width = nibbles(object, 15, 5);
    if (g.width == 0 || g.height == 0) {
        message = "Bad GROB size";
        return ZNT_BAD_FILE;
    }
    const uint64_t wanted = uint64_t(g.rowBytes()) * g.height;
    const Bytes rest = bytes.subspan(kBinaryHeaderBytes);
    g.rows = rest.first(size_t(std::min<uint64_t>(wanted, rest.size())));
    return g.rows.size() < wanted ? ZNT_CANT_READ : ZNT_OK;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    GrobFile g;
    const OpStatus s = parseGrob(source.bytes, g, header.message);
    if (s != ZNT_OK && s != ZNT_CANT_READ) return s;
    if (g.width == 0) return s;
    header.images.push_back(ZntSubImage{ZNT_CM_BINARY, g.width, g.height, 1});
    header.compressionName = "None";
    return ZNT_OK;
}

// Each byte of a GROB row as a byte of a binary picture row: bit order
// reversed, dark (1) becoming black (0).
const std::array<uint8_t, 256> kToPictureByte = [] {
    std::array<uint8_t, 256> t{};
    for (int b = 0; b < 256; ++b) {
        uint8_t r = 0;
        for (int i = 0; i < 8; ++i)
            if (b >> i & 1) r |= uint8_t(0x80 >> i);
        t[size_t(b)] = uint8_t(~r);
    }
    return t;
}();

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    GrobFile g;
    const OpStatus parsed = parseGrob(source.bytes, g, message);
    // A cut file loads what it holds when errors are ignored, but only when
    // it holds a fair part of the rows: a few bytes claiming a huge picture
    // are refused.
    const bool fairPart = g.width != 0 && g.size() / g.rowBytes() * 8 >= g.height;
    if (parsed != ZNT_OK && !(parsed == ZNT_CANT_READ && fairPart && request.ignoreErrors())) return parsed;
    if (request.page != 0) return ZNT_BAD_ARGUMENT;
    const uint32_t planes = std::min<uint32_t>(request.options().grobGreyLevels, 4) + 1;
    if (g.height % planes != 0) {
        message = "GROB height " + std::to_string(g.height) + " is not a multiple of its " + std::to_string(planes) +
                  " grey planes";
        return ZNT_BAD_FILE;
    }
    const uint32_t width = g.width, height = g.height / planes, rowBytes = g.rowBytes();
    if (request.tooLarge(width, height)) return ZNT_NO_MEMORY;
    const int type = planes == 1 ? ZNT_BINARY : ZNT_GREY;
    if (!out.allocate(type, 8, width, height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    pic.colorModel = uint16_t(colorModelOfType(type));
    const uint32_t levels = 1u << planes;
    if (type == ZNT_GREY) {
        pic.numberOfColors = uint16_t(levels);
        for (uint32_t y = 0; y < height; ++y) std::memset(out.row(y), int(levels - 1), width);
    }
    // Rows the file does not hold stay white.
    const size_t rowsHeld = g.size() / rowBytes;
    const uint8_t *data = g.data();
    const uint8_t lastMask = uint8_t(0xff00 >> (((width - 1) & 7) + 1));
    Progress progress(request, int(height));
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t *row = out.row(y);
        for (uint32_t k = 0; k < planes; ++k) {
            const size_t fileRow = size_t(k) * height + y;
            if (fileRow >= rowsHeld) {
                if (type == ZNT_BINARY) std::memset(row, 0xff, rowBytes);
                continue;
            }
            const uint8_t *in = data + fileRow * rowBytes;
            if (type == ZNT_BINARY) {
                for (uint32_t i = 0; i < rowBytes; ++i) row[i] = kToPictureByte[in[i]];
            } else {
                for (uint32_t x = 0; x < width; ++x) row[x] = uint8_t(row[x] - (((in[x >> 3] >> (x & 7)) & 1) << k));
            }
        }
        if (type == ZNT_BINARY) row[rowBytes - 1] &= lastMask;
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    return ZNT_OK;
}

const ZntSaveKind kGrobSaveKinds[] = {{ZNT_CM_BINARY, 1, 2048, 2000}, {ZNT_CM_GREY, 5, 1024, 800}, {-1, 0, 0, 0}};

// Appends `count` nibbles of `value`, lowest first, to a nibble list.
void putNibbles(std::vector<uint8_t> &list, uint32_t value, int count) {
    for (int i = 0; i < count; ++i) list.push_back(uint8_t(value >> (4 * i) & 15));
}

OpStatus writeGrob(FILE *file, const Picture &pic, const FormatParams &params) {
    const uint32_t width = pic.width, height = uint32_t(pic.height);
    const bool binary = pic.type == ZNT_BINARY;
    const uint32_t levels = binary ? 2 : std::clamp<uint32_t>(pic.numberOfColors, 2, 256);
    uint32_t planes = 1;
    while ((1u << planes) < levels) ++planes;
    const uint32_t rowBytes = (width + 7) / 8;
    const uint64_t length = 15 + uint64_t(rowBytes) * 2 * height * planes;
    if (planes > 5 || width > kMaxField || uint64_t(height) * planes > kMaxField || length > kMaxField) return ZNT_CANT_SAVE;

    // The darkness of each grey level, its value spread over the planes' range.
    const uint32_t top = (1u << planes) - 1;
    std::array<uint8_t, 256> darkness{};
    for (uint32_t i = 0; i < 256; ++i) {
        const uint32_t level = std::min(i, levels - 1);
        darkness[i] = uint8_t(top - (level * top + (levels - 1) / 2) / (levels - 1));
    }

    FileWriter out(file);
    out.text(params.hp49Header ? "HPHP49-W" : "HPHP48-E");
    std::vector<uint8_t> fields;
    putNibbles(fields, kGrobProlog, 5);
    putNibbles(fields, uint32_t(length), 5);
    putNibbles(fields, height * planes, 5);
    putNibbles(fields, width, 5);
    for (size_t i = 0; i < fields.size(); i += 2) out.u8(unsigned(fields[i] | fields[i + 1] << 4));

    std::vector<uint8_t> line(rowBytes);
    for (uint32_t k = 0; k < planes; ++k) {
        for (uint32_t y = 0; y < height; ++y) {
            const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
            if (binary) {
                for (uint32_t i = 0; i < rowBytes; ++i) line[i] = kToPictureByte[in[i]];   // the table is its own inverse
                if (width & 7) line[rowBytes - 1] &= uint8_t((1u << (width & 7)) - 1);
            } else {
                std::fill(line.begin(), line.end(), 0);
                for (uint32_t x = 0; x < width; ++x) line[x >> 3] |= uint8_t(((darkness[in[x]] >> k) & 1) << (x & 7));
            }
            out.bytes(line.data(), rowBytes);
        }
        reportSaveProgress(params, int(k), int(planes));
    }
    return out.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kGrobFormat = {
    "grob", "HP-48/49 GROB", "grob gro", "GROB", Signature::exact, sniffGrob,
    readHeader, readPixels, kGrobSaveKinds, writeGrob, nullptr,
};

}  // namespace zentar
