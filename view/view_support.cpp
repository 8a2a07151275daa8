#include "view/view_support.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "view/file_navigation.h"

namespace quivel {

void rememberRecentFile(char *list, int count, size_t capacity, const std::string &path) {
    if (path.empty() || path.size() >= capacity || count < 1) return;
    std::vector<std::string> entries{path};
    for (int i = 0; i < count; ++i) {
        const char *entry = list + size_t(i) * capacity;
        if (entry[0] != '\0' && path != entry) entries.emplace_back(entry);
    }
    for (int i = 0; i < count; ++i) {
        char *entry = list + size_t(i) * capacity;
        std::memset(entry, 0, capacity);
        if (size_t(i) < entries.size()) std::memcpy(entry, entries[size_t(i)].data(), entries[size_t(i)].size());
    }
}

std::string extractFileName(const std::string &folder, const std::string &path, int pageIndex) {
    const size_t slash = path.rfind('/');
    std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    const size_t dot = base.rfind('.');
    if (dot != std::string::npos && dot > 0) base.erase(dot);
    char number[16];
    std::snprintf(number, sizeof number, "%03d", pageIndex + 1);
    return folder + "/" + base + "_extract_" + number + ".ppm";
}

uint32_t frameDelayMs(const uint32_t *delaysMs, int frameCount, int frame) {
    uint32_t delay = delaysMs != nullptr && frame >= 0 && frame < frameCount ? delaysMs[frame] : 0;
    if (delay == 0) delay = 100;
    return delay < 20 ? 20 : delay;
}

int pageIndexFor(std::string_view command, int page, int pageCount) {
    if (command.substr(0, 4) != "page") return -1;
    std::string move(command.substr(4));
    if (move.empty()) return -1;
    if (move[0] >= 'A' && move[0] <= 'Z') move[0] = char(move[0] - 'A' + 'a');
    return navigateIndex(move, page, pageCount);
}

int keptRatioSide(int side, int from, int to) {
    if (from <= 0) return side;
    const long long scaled = ((long long)side * to + from / 2) / from;
    return int(scaled < 1 ? 1 : scaled > 65535 ? 65535 : scaled);
}

int parseSize(const char *text) {
    if (text == nullptr) return 0;
    char *end = nullptr;
    const long value = std::strtol(text, &end, 10);
    if (end == text) return 0;
    while (*end == ' ' || *end == '\t') ++end;
    return *end == '\0' && value >= 1 && value <= 65535 ? int(value) : 0;
}

std::string operationMessage(int status) {
    switch (status & 0xff) {
    case 0:
    case 15: return {};
    case 1: return "Not enough memory";
    case 16: return "This operation cannot be done with these values";
    case 17: return "This operation does not apply to this kind of picture";
    default: return "The operation failed";
    }
}

std::string saveChangesQuestion(const std::string &path) {
    return "Do you want to save changes to \n  '" + path + "' ?";
}

}  // namespace quivel
