#include "view/status_text.h"

#include <algorithm>
#include <cstdio>

namespace quivel {

namespace {

std::string format(const char *pattern, auto... values) {
    char text[160];
    std::snprintf(text, sizeof text, pattern, values...);
    return text;
}

std::string limited(const std::string &text) { return text.substr(0, 64); }

}  // namespace

std::string colorKindText(const Picture &p) {
    if (p.type == ZNT_BINARY) return "Binary";
    if (p.type == ZNT_PALETTE) return format("%d Colors", p.numberOfColors);
    if (p.type == ZNT_GREY) return format("%d Grey Scale", p.numberOfColors);
    return "True Colors";
}

std::string fileSizeText(uint64_t bytes) {
    if (bytes < 1024) return format("%llu bytes", (unsigned long long)bytes);
    const char *units[] = {"KB", "MB", "GB", "TB"};
    double value = double(bytes) / 1024;
    int unit = 0;
    while (value >= 1024 && unit < 3) {
        value /= 1024;
        ++unit;
    }
    return format("%.1f %s", value, units[unit]);
}

std::vector<StatusPart> statusParts(const ViewStatus &s) {
    std::vector<StatusPart> parts;
    if (s.pageCount > 1) parts.push_back({format("%d/%d", s.page + 1, s.pageCount), 0});
    const size_t slash = s.fileName.rfind('/');
    parts.push_back({limited(slash == std::string::npos ? s.fileName : s.fileName.substr(slash + 1)), 0});
    parts.push_back({limited(s.secondText), 0});
    if (s.picture != nullptr) {
        const Picture &p = *s.picture;
        const int bits = p.type == ZNT_BINARY ? 1 : p.bytesPerPixel * 8;
        parts.push_back({format("%ux%dx%d", p.width, p.height, bits), 0});
        parts.push_back({colorKindText(p), 0});
    }
    if (s.fileSize > 0) parts.push_back({fileSizeText(s.fileSize), 0});
    parts.push_back({format("%d%%", s.zoom), 0});
    if (s.frameCount > 1) parts.push_back({format("Frame %d/%d", s.frame + 1, s.frameCount), 0});
    parts.back().alignment = 2;
    return parts;
}

std::string markedTitle(const std::string &title, bool modified) {
    const bool marked = !title.empty() && title[0] == '*';
    if (modified) return marked ? title : "*" + title;
    return marked ? title.substr(1) : title;
}

std::string colorInformationText(const Picture &p, int x, int y) {
    if (p.data == nullptr || x < 0 || y < 0 || uint32_t(x) >= p.width || y >= p.height) return {};
    const uint8_t *row = p.data + size_t(y) * p.bytesPerLine;
    if (p.type & ZNT_TRUECOLOR_MASK) {
        const uint8_t *px = row + size_t(x) * p.bytesPerPixel;
        unsigned r = px[0], g = px[1], b = px[2];
        if (p.type == ZNT_BGR || p.type == ZNT_BGRA) std::swap(r, b);
        if (p.type == ZNT_ABGR) r = px[3], g = px[2], b = px[1];
        if (p.type == ZNT_ARGB) r = px[1], g = px[2], b = px[3];
        return format("X: %d, Y: %d\n  RGB (%u,%u,%u)\n  HTML (#%02X%02X%02X)", x, y, r, g, b, r, g, b);
    }
    if (p.type == ZNT_BINARY) {
        const unsigned bit = (row[x >> 3] >> (7 - (x & 7))) & 1;
        const unsigned level = bit ? 255 : 0;
        return format("X: %d, Y: %d\n  INDEX (%u)\n  HTML (#%02X)", x, y, bit, level);
    }
    const unsigned index = row[x];
    if (p.type == ZNT_PALETTE && p.palette != nullptr) {
        const unsigned r = p.palette[index], g = p.palette[256 + index], b = p.palette[512 + index];
        return format("X: %d, Y: %d\n  INDEX (%u)\n  RGB (%u,%u,%u)\n  HTML (#%02X%02X%02X)", x, y, index, r, g, b,
                      r, g, b);
    }
    const unsigned levels = p.numberOfColors > 1 ? p.numberOfColors : 256;
    const unsigned grey = p.palette ? p.palette[index] : std::min(255u, index * 255 / (levels - 1));
    return format("X: %d, Y: %d\n  INDEX (%u)\n  HTML (#%02X)", x, y, index, grey);
}

}  // namespace quivel
