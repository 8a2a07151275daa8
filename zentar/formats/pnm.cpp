// The portable any-map family: "ppm" reads P1 to P6 (bitmap, grey map and
// pixel map, plain text or raw) and writes the one that fits the picture;
// "pam" reads and writes P7, the tuple form that also carries alpha.
//
// A raw file may hold several images one after the other: each is a page.
// Samples above maxval are clamped; maxval above 255 is scaled to 8 bits.
// A grey map keeps its levels: maxval 15 loads as a grey picture of 16
// levels, so that writing it back gives the same file.
#include "../bytes.h"
#include "../format.h"
#include "../pixels.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

enum class Kind { bitmap, grey, rgb, greyAlpha, rgba };

struct PnmHeader {
    int magic = 0;          // 1..7
    uint32_t width = 0, height = 0;
    uint32_t maxval = 1;
    uint32_t depth = 1;     // samples per pixel
    Kind kind = Kind::grey;
    bool plain = false;     // P1, P2, P3: samples as decimal text
    size_t dataOffset = 0;
    std::string comment;
};

bool isSpace(uint8_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

// Reads the text tokens of a header and of plain-text samples.
class Tokens {
public:
    Tokens(Bytes bytes, size_t pos) : bytes_(bytes), pos_(pos) {}
    size_t position() const { return pos_; }
    bool atEnd() const { return pos_ >= bytes_.size(); }

    void skipSpaceAndComments(std::string *comment = nullptr) {
        while (pos_ < bytes_.size()) {
            const uint8_t c = bytes_[pos_];
            if (isSpace(c)) {
                ++pos_;
            } else if (c == '#') {
                const size_t start = ++pos_;
                while (pos_ < bytes_.size() && bytes_[pos_] != '\n' && bytes_[pos_] != '\r') ++pos_;
                if (comment != nullptr && comment->size() < 4096) {
                    std::string line(reinterpret_cast<const char *>(bytes_.data() + start), pos_ - start);
                    while (!line.empty() && line.front() == ' ') line.erase(line.begin());
                    if (!comment->empty()) *comment += '\n';
                    *comment += line;
                }
            } else {
                break;
            }
        }
    }

    // A decimal number of at most 10 digits; false at the end or on a non-digit.
    bool number(uint32_t &value, std::string *comment = nullptr) {
        skipSpaceAndComments(comment);
        uint64_t v = 0;
        int digits = 0;
        while (pos_ < bytes_.size() && bytes_[pos_] >= '0' && bytes_[pos_] <= '9' && digits < 11) {
            v = v * 10 + (bytes_[pos_++] - '0');
            ++digits;
        }
        if (digits == 0 || digits > 10 || v > 0xffffffffu) return false;
        value = uint32_t(v);
        return true;
    }

    // One plain-bitmap digit: "0" or "1", blanks between digits optional.
    bool bit(uint8_t &value) {
        skipSpaceAndComments();
        if (pos_ >= bytes_.size() || (bytes_[pos_] != '0' && bytes_[pos_] != '1')) return false;
        value = uint8_t(bytes_[pos_++] - '0');
        return true;
    }

    std::string word() {
        while (pos_ < bytes_.size() && (bytes_[pos_] == ' ' || bytes_[pos_] == '\t')) ++pos_;
        const size_t start = pos_;
        while (pos_ < bytes_.size() && !isSpace(bytes_[pos_])) ++pos_;
        return std::string(reinterpret_cast<const char *>(bytes_.data() + start), pos_ - start);
    }
    std::string restOfLine() {
        const size_t start = pos_;
        while (pos_ < bytes_.size() && bytes_[pos_] != '\n') ++pos_;
        std::string line(reinterpret_cast<const char *>(bytes_.data() + start), pos_ - start);
        if (pos_ < bytes_.size()) ++pos_;
        return line;
    }

private:
    Bytes bytes_;
    size_t pos_;
};

constexpr uint32_t kMaxSidePx = 1u << 20;

OpStatus parsePamHeader(Tokens &t, PnmHeader &h, std::string &message) {
    std::string tuple;
    bool haveWidth = false, haveHeight = false, haveDepth = false, haveMaxval = false;
    for (int lines = 0; lines < 1000; ++lines) {
        if (t.atEnd()) {
            message = "PAM header without ENDHDR";
            return ZNT_BAD_FILE;
        }
        std::string line = t.restOfLine();
        while (!line.empty() && (line.back() == '\r' || isSpace(uint8_t(line.back())))) line.pop_back();
        size_t s = 0;
        while (s < line.size() && isSpace(uint8_t(line[s]))) ++s;
        line.erase(0, s);
        if (line.empty() || line[0] == '#') continue;
        const size_t blank = line.find_first_of(" \t");
        const std::string key = line.substr(0, blank);
        std::string value = blank == std::string::npos ? "" : line.substr(blank + 1);
        while (!value.empty() && isSpace(uint8_t(value.front()))) value.erase(value.begin());
        auto toNumber = [&](uint32_t &out) {
            Tokens n(Bytes(reinterpret_cast<const uint8_t *>(value.data()), value.size()), 0);
            return n.number(out);
        };
        if (key == "ENDHDR") {
            h.dataOffset = t.position();
            if (!haveWidth || !haveHeight || !haveDepth || !haveMaxval) {
                message = "PAM header lacks WIDTH, HEIGHT, DEPTH or MAXVAL";
                return ZNT_BAD_FILE;
            }
            break;
        } else if (key == "WIDTH") {
            haveWidth = toNumber(h.width);
        } else if (key == "HEIGHT") {
            haveHeight = toNumber(h.height);
        } else if (key == "DEPTH") {
            haveDepth = toNumber(h.depth);
        } else if (key == "MAXVAL") {
            haveMaxval = toNumber(h.maxval);
        } else if (key == "TUPLTYPE") {
            tuple = value;
        }
    }
    if (h.dataOffset == 0) {
        message = "PAM header without ENDHDR";
        return ZNT_BAD_FILE;
    }
    if (tuple == "BLACKANDWHITE" || (tuple.empty() && h.depth == 1 && h.maxval == 1)) {
        h.kind = Kind::bitmap;
    } else if (h.depth == 1) {
        h.kind = Kind::grey;
    } else if (h.depth == 2) {
        h.kind = Kind::greyAlpha;
    } else if (h.depth == 3) {
        h.kind = Kind::rgb;
    } else if (h.depth == 4) {
        h.kind = Kind::rgba;
    } else {
        message = "PAM depth " + std::to_string(h.depth) + " is not supported";
        return ZNT_BAD_FILE;
    }
    if (h.kind == Kind::bitmap && (h.depth != 1 || h.maxval != 1)) {
        message = "PAM black and white with depth or maxval other than 1";
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

// Parses the header that starts at `offset`.
OpStatus parseHeader(Bytes bytes, size_t offset, PnmHeader &h, std::string &message) {
    h = PnmHeader{};
    if (bytes.size() < offset + 3 || bytes[offset] != 'P' || bytes[offset + 1] < '1' || bytes[offset + 1] > '7' ||
        !isSpace(bytes[offset + 2])) {
        message = "Not a portable any-map";
        return ZNT_BAD_FILE;
    }
    h.magic = bytes[offset + 1] - '0';
    Tokens t(bytes, offset + 2);
    if (h.magic == 7) {
        if (const OpStatus s = parsePamHeader(t, h, message); s != ZNT_OK) return s;
    } else {
        h.plain = h.magic <= 3;
        h.kind = (h.magic == 1 || h.magic == 4) ? Kind::bitmap : (h.magic == 2 || h.magic == 5) ? Kind::grey : Kind::rgb;
        h.depth = h.kind == Kind::rgb ? 3 : 1;
        if (!t.number(h.width, &h.comment) || !t.number(h.height, &h.comment) ||
            (h.kind != Kind::bitmap && !t.number(h.maxval, &h.comment))) {
            message = "Bad portable any-map header";
            return ZNT_BAD_FILE;
        }
        // Exactly one white-space character ends the header of a raw file.
        h.dataOffset = t.position() + 1;
        if (h.plain) h.dataOffset = t.position();
    }
    if (h.width == 0 || h.height == 0 || h.width > kMaxSidePx || h.height > kMaxSidePx) {
        message = "Bad picture size " + std::to_string(h.width) + "x" + std::to_string(h.height);
        return ZNT_BAD_FILE;
    }
    if (h.maxval == 0 || h.maxval > 65535) {
        message = "Bad maximum sample value " + std::to_string(h.maxval);
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

// Bytes of a raw image's samples, or 0 for plain text.
uint64_t rasterBytes(const PnmHeader &h) {
    if (h.plain) return 0;
    if (h.magic == 4) return (uint64_t(h.width) + 7) / 8 * h.height;
    const uint64_t sampleBytes = h.maxval > 255 ? 2 : 1;
    return uint64_t(h.width) * h.height * h.depth * sampleBytes;
}

int colorModelOf(const PnmHeader &h) {
    switch (h.kind) {
    case Kind::bitmap:
        return ZNT_CM_BINARY;
    case Kind::grey:
        return ZNT_CM_GREY;
    case Kind::greyAlpha:
        return ZNT_CM_GREY_ALPHA;
    case Kind::rgb:
        return ZNT_CM_RGB;
    case Kind::rgba:
        return ZNT_CM_RGBA;
    }
    return ZNT_CM_GREY;
}

bool sniffPpm(Bytes head) {
    return head.size() >= 3 && head[0] == 'P' && head[1] >= '1' && head[1] <= '6' && isSpace(head[2]);
}

bool sniffPam(Bytes head) { return head.size() >= 3 && head[0] == 'P' && head[1] == '7' && head[2] == '\n'; }

// The headers of the images of the file, at most `limit` of them. Only raw
// images can be followed by another.
OpStatus listImages(Bytes bytes, size_t limit, std::vector<PnmHeader> &headers, std::string &message) {
    size_t offset = 0;
    while (headers.size() < limit) {
        PnmHeader next;
        const OpStatus s = parseHeader(bytes, offset, next, message);
        if (s != ZNT_OK) {
            if (headers.empty()) return s;
            break;   // trailing bytes after the last image
        }
        headers.push_back(next);
        const uint64_t raster = rasterBytes(next);
        if (raster == 0 || next.dataOffset + raster >= bytes.size()) break;
        offset = size_t(next.dataOffset + raster);
        while (offset < bytes.size() && isSpace(bytes[offset])) ++offset;
    }
    message.clear();
    return ZNT_OK;
}

constexpr size_t kMaxPages = 10000;

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    std::vector<PnmHeader> headers;
    if (const OpStatus s = listImages(source.bytes, kMaxPages, headers, header.message); s != ZNT_OK) return s;
    for (const PnmHeader &h : headers)
        header.images.push_back(ZntSubImage{uint16_t(colorModelOf(h)), h.width, h.height,
                                            uint16_t(h.maxval > 255 ? 16 : 8)});
    header.compressionName = headers.front().plain ? "ASCII" : "None";
    header.comment = headers.front().comment;
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    std::vector<PnmHeader> headers;
    if (size_t(request.page) >= kMaxPages) return ZNT_BAD_ARGUMENT;
    if (const OpStatus s = listImages(source.bytes, size_t(request.page) + 1, headers, message); s != ZNT_OK)
        return s;
    if (headers.size() <= size_t(request.page)) {
        message = "No page " + std::to_string(request.page + 1);
        return ZNT_BAD_FILE;
    }
    const PnmHeader &h = headers.back();
    if (request.tooLarge(h.width, h.height)) return ZNT_NO_MEMORY;

    int type = ZNT_RGB;
    int levels = 256;
    if (h.kind == Kind::bitmap) {
        type = ZNT_BINARY;
    } else if (h.kind == Kind::grey) {
        type = ZNT_GREY;
        levels = h.maxval <= 255 ? int(h.maxval) + 1 : 256;
    } else if (h.kind == Kind::greyAlpha || h.kind == Kind::rgba) {
        type = ZNT_RGBA;
    }
    if (!out.allocate(type, 8, h.width, h.height)) return ZNT_NO_MEMORY;
    Picture &pic = out.get();
    if (type == ZNT_GREY) pic.numberOfColors = uint16_t(std::max(levels, 2));
    pic.colorModel = uint16_t(colorModelOf(h));

    // Sample value to picture byte: kept for grey maps of at most 256
    // levels, otherwise spread over 0-255.
    const bool keepLevels = type == ZNT_GREY && h.maxval <= 255;
    std::vector<uint8_t> scale(size_t(h.maxval) + 1);
    for (uint32_t v = 0; v <= h.maxval; ++v)
        scale[v] = keepLevels ? uint8_t(v) : uint8_t((uint64_t(v) * 255 + h.maxval / 2) / h.maxval);

    const Bytes bytes = source.bytes;
    Progress progress(request, int(h.height));
    const uint32_t samplesPerRow = h.width * h.depth;
    std::vector<uint8_t> samples(samplesPerRow);
    const bool wide = h.maxval > 255;
    size_t pos = h.dataOffset;
    Tokens text(bytes, h.dataOffset);
    bool truncated = false;

    for (uint32_t y = 0; y < h.height && !truncated; ++y) {
        uint8_t *row = out.row(y);
        if (h.magic == 4) {
            const size_t rowBytes = (size_t(h.width) + 7) / 8;
            if (pos + rowBytes > bytes.size()) {
                truncated = true;
                break;
            }
            for (size_t i = 0; i < rowBytes; ++i) row[i] = uint8_t(~bytes[pos + i]);
            if (h.width & 7) row[rowBytes - 1] &= uint8_t(0xff00 >> (h.width & 7));
            pos += rowBytes;
        } else {
            // Gather one row of samples, each clamped to maxval and scaled.
            if (h.plain) {
                for (uint32_t i = 0; i < samplesPerRow; ++i) {
                    uint32_t v = 0;
                    if (h.magic == 1) {
                        uint8_t b;
                        if (!text.bit(b)) {
                            truncated = true;
                            break;
                        }
                        v = b;
                    } else if (!text.number(v)) {
                        truncated = true;
                        break;
                    }
                    samples[i] = scale[std::min(v, h.maxval)];
                }
                if (truncated) break;
            } else {
                const size_t rowBytes = size_t(samplesPerRow) * (wide ? 2 : 1);
                if (pos + rowBytes > bytes.size()) {
                    truncated = true;
                    break;
                }
                const uint8_t *p = bytes.data() + pos;
                if (!wide && h.maxval == 255 && (h.kind == Kind::grey || h.kind == Kind::rgb || h.kind == Kind::rgba)) {
                    std::memcpy(row, p, samplesPerRow);   // the samples are the picture row
                    pos += rowBytes;
                    if (progress.row(int(y))) return ZNT_STOPPED;
                    continue;
                }
                if (wide) {
                    for (uint32_t i = 0; i < samplesPerRow; ++i)
                        samples[i] = scale[std::min<uint32_t>(readBe16(p + 2 * i), h.maxval)];
                } else if (h.maxval == 255) {
                    std::memcpy(samples.data(), p, samplesPerRow);
                } else {
                    for (uint32_t i = 0; i < samplesPerRow; ++i)
                        samples[i] = scale[std::min<uint32_t>(p[i], h.maxval)];
                }
                pos += rowBytes;
            }
            switch (h.kind) {
            case Kind::bitmap:
                // P1 marks black with 1; a PAM bitmap marks white with 1.
                packBits(samples.data(), h.width, row, h.magic == 1);
                break;
            case Kind::grey:
            case Kind::rgb:
            case Kind::rgba:
                std::memcpy(row, samples.data(), samplesPerRow);
                break;
            case Kind::greyAlpha:
                for (uint32_t x = 0; x < h.width; ++x) {
                    row[4 * x] = row[4 * x + 1] = row[4 * x + 2] = samples[2 * x];
                    row[4 * x + 3] = samples[2 * x + 1];
                }
                break;
            }
        }
        if (progress.row(int(y))) return ZNT_STOPPED;
    }
    if (truncated && !request.ignoreErrors()) return ZNT_CANT_READ;
    return ZNT_OK;
}

const ZntSaveKind kPpmSaveKinds[] = {
    {ZNT_CM_BINARY, 1, 0, 0}, {ZNT_CM_GREY, 8, 0, 0}, {ZNT_CM_RGB, 24, 0, 0}, {-1, 0, 0, 0}};
const ZntSaveKind kPamSaveKinds[] = {
    {ZNT_CM_BINARY, 1, 0, 0}, {ZNT_CM_GREY, 8, 0, 0}, {ZNT_CM_RGB, 24, 0, 0}, {ZNT_CM_RGBA, 32, 0, 0}, {-1, 0, 0, 0}};

// Plain-text samples, at most 70 characters a line.
class TextLines {
public:
    explicit TextLines(FileWriter &w) : w_(w) {}
    void value(unsigned v, bool separate = true) {
        char text[12];
        const int n = std::snprintf(text, sizeof text, "%u", v);
        if (column_ + n + 1 > 70) {
            w_.u8('\n');
            column_ = 0;
        } else if (column_ > 0 && separate) {
            w_.u8(' ');
            ++column_;
        }
        w_.bytes(text, size_t(n));
        column_ += n;
    }
    void endRow() {
        if (column_ > 0) w_.u8('\n');
        column_ = 0;
    }

private:
    FileWriter &w_;
    int column_ = 0;
};

OpStatus writePpm(FILE *file, const Picture &pic, const FormatParams &params) {
    FileWriter w(file);
    const bool ascii = params.ppmAscii != 0;
    const uint32_t width = pic.width, height = uint32_t(pic.height);
    char head[64];
    std::vector<uint8_t> row(size_t(width) * 3);
    if (pic.type == ZNT_BINARY) {
        std::snprintf(head, sizeof head, "P%c\n%u %u\n", ascii ? '1' : '4', width, height);
        w.text(head);
        const size_t rowBytes = (size_t(width) + 7) / 8;
        std::vector<uint8_t> packed(rowBytes);
        TextLines lines(w);
        for (uint32_t y = 0; y < height; ++y) {
            const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
            if (ascii) {
                for (uint32_t x = 0; x < width; ++x) lines.value((in[x >> 3] >> (7 - (x & 7)) & 1) ? 0 : 1, false);
                lines.endRow();
            } else {
                for (size_t i = 0; i < rowBytes; ++i) packed[i] = uint8_t(~in[i]);
                if (width & 7) packed[rowBytes - 1] &= uint8_t(0xff00 >> (width & 7));
                w.bytes(packed.data(), rowBytes);
            }
            reportSaveProgress(params, int(y), int(height));
        }
    } else if (pic.type == ZNT_GREY) {
        const unsigned maxval = std::max<unsigned>(pic.numberOfColors, 2) - 1;
        std::snprintf(head, sizeof head, "P%c\n%u %u\n%u\n", ascii ? '2' : '5', width, height, std::min(maxval, 255u));
        w.text(head);
        TextLines lines(w);
        for (uint32_t y = 0; y < height; ++y) {
            const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
            for (uint32_t x = 0; x < width; ++x) row[x] = uint8_t(std::min<unsigned>(in[x], maxval));
            if (ascii) {
                for (uint32_t x = 0; x < width; ++x) lines.value(row[x]);
                lines.endRow();
            } else {
                w.bytes(row.data(), width);
            }
            reportSaveProgress(params, int(y), int(height));
        }
    } else {
        std::snprintf(head, sizeof head, "P%c\n%u %u\n255\n", ascii ? '3' : '6', width, height);
        w.text(head);
        TextLines lines(w);
        for (uint32_t y = 0; y < height; ++y) {
            rowToRgb(pic, y, row.data());
            if (ascii) {
                for (size_t i = 0; i < size_t(width) * 3; ++i) lines.value(row[i]);
                lines.endRow();
            } else {
                w.bytes(row.data(), size_t(width) * 3);
            }
            reportSaveProgress(params, int(y), int(height));
        }
    }
    return w.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

OpStatus writePam(FILE *file, const Picture &pic, const FormatParams &params) {
    FileWriter w(file);
    const uint32_t width = pic.width, height = uint32_t(pic.height);
    unsigned depth = 3, maxval = 255;
    const char *tuple = "RGB";
    if (pic.type == ZNT_BINARY) {
        depth = 1, maxval = 1, tuple = "BLACKANDWHITE";
    } else if (pic.type == ZNT_GREY) {
        depth = 1, maxval = std::max<unsigned>(pic.numberOfColors, 2) - 1, tuple = "GRAYSCALE";
        maxval = std::min(maxval, 255u);
    } else if (hasMask(pic.type)) {
        depth = 4, tuple = "RGB_ALPHA";
    }
    char head[160];
    std::snprintf(head, sizeof head, "P7\nWIDTH %u\nHEIGHT %u\nDEPTH %u\nMAXVAL %u\nTUPLTYPE %s\nENDHDR\n", width,
                  height, depth, maxval, tuple);
    w.text(head);
    std::vector<uint8_t> row(size_t(width) * 4);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t *in = pic.data + size_t(y) * pic.bytesPerLine;
        if (pic.type == ZNT_BINARY) {
            for (uint32_t x = 0; x < width; ++x) row[x] = in[x >> 3] >> (7 - (x & 7)) & 1;
        } else if (pic.type == ZNT_GREY) {
            for (uint32_t x = 0; x < width; ++x) row[x] = uint8_t(std::min<unsigned>(in[x], maxval));
        } else if (depth == 4) {
            rowToRgba(pic, y, row.data());
        } else {
            rowToRgb(pic, y, row.data());
        }
        w.bytes(row.data(), size_t(width) * depth);
        reportSaveProgress(params, int(y), int(height));
    }
    return w.ok() ? ZNT_OK : ZNT_CANT_WRITE;
}

}  // namespace

const Format kPpmFormat = {
    "ppm", "Portable Pixmap, Greymap and Bitmap", "ppm pgm pbm pnm", "PPM", Signature::exact, sniffPpm,
    readHeader, readPixels, kPpmSaveKinds, writePpm, nullptr,
};

const Format kPamFormat = {
    "pam", "Portable Arbitrary Map", "pam", "PAM", Signature::exact, sniffPam,
    readHeader, readPixels, kPamSaveKinds, writePam, nullptr,
};

}  // namespace zentar
