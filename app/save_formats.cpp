#include "app/save_formats.h"

#include <algorithm>
#include <cstring>

#include "app/settings.h"
#include "zentar.h"

namespace quivel {

namespace {

constexpr size_t kNameBuffer = 4096;   // what the library's suffix functions write into

bool hasSuffix(const std::string &fileName) {
    const std::string base = fileName.substr(fileName.rfind('/') + 1);
    const size_t dot = base.rfind('.');
    return dot != std::string::npos && dot + 1 < base.size();
}

std::string correctedName(const std::string &fileName, int formatIndex) {
    if (fileName.size() >= kNameBuffer) return fileName;
    char buffer[kNameBuffer];
    std::memcpy(buffer, fileName.c_str(), fileName.size() + 1);
    zntSetCorrectExtension(buffer, formatIndex);
    return buffer;
}

// The save pages of the options dialog and the formats whose options they hold.
struct SavePage {
    const char *page;
    const char *names[3];
};
constexpr SavePage kSavePages[] = {
    {"PWgif", {"gif"}},   {"PWjpg", {"jpeg"}},  {"PWtif", {"tiff"}},        {"PWpng", {"png"}},
    {"PWbmp", {"bmp"}},   {"PWiff", {"iff"}},   {"PWpcx", {"pcx", "dcx"}}, {"PWtga", {"tga"}},
    {"PWsoft", {"soft"}}, {"PWsgi", {"sgi"}},   {"PWppm", {"ppm"}},        {"PWdpx", {"dpx", "cin"}},
    {"PWhp", {"grob"}},   {"PWraw", {"raw"}},
};
}  // namespace

std::vector<SaveFormat> saveFormats() {
    struct Candidate {
        SaveFormat format;
        std::string sortText;
        bool enabled;
    };
    std::vector<Candidate> all;
    for (int i = 0; i < zntCount(); ++i) {
        FormatInformation info{};
        if (zntFormatGetInfo(i, &info) != ZNT_OK || !info.writable) continue;
        const std::string name(info.name, strnlen(info.name, sizeof info.name));
        const std::string suffixes(info.suffixes, strnlen(info.suffixes, sizeof info.suffixes));
        const std::string suffix = suffixes.substr(0, suffixes.find(' '));
        std::string label(info.description, strnlen(info.description, sizeof info.description));
        if (label.empty()) label = name;
        if (!suffix.empty()) label += " (*." + suffix + ")";
        all.push_back({{i, name, label}, std::string(info.sortText, strnlen(info.sortText, sizeof info.sortText)),
                       fileTypeEnabled(name)});
    }
    const bool anyEnabled = std::any_of(all.begin(), all.end(), [](const Candidate &c) { return c.enabled; });
    std::erase_if(all, [anyEnabled](const Candidate &c) { return anyEnabled && !c.enabled; });
    std::sort(all.begin(), all.end(), [](const Candidate &a, const Candidate &b) {
        return a.sortText != b.sortText ? a.sortText < b.sortText : a.format.name < b.format.name;
    });
    std::vector<SaveFormat> formats;
    for (Candidate &c : all) formats.push_back(std::move(c.format));
    return formats;
}

int initialFormatPosition(const std::vector<SaveFormat> &formats, int preferredIndex, std::string_view defaultName) {
    for (size_t i = 0; i < formats.size(); ++i)
        if (formats[i].index == preferredIndex) return int(i);
    for (size_t i = 0; i < formats.size(); ++i)
        if (formats[i].name == defaultName) return int(i);
    return 0;
}

std::string withFormatSuffix(const std::string &fileName, int formatIndex) {
    if (!hasSuffix(fileName) || zntFormatForSuffix(fileName.c_str()) < 0) return fileName;
    return correctedName(fileName, formatIndex);
}

std::string savedFileName(const std::string &fileName, int formatIndex, bool addMissingSuffix) {
    if (!addMissingSuffix || hasSuffix(fileName)) return fileName;
    return correctedName(fileName, formatIndex);
}

int formatOfSuffix(const std::vector<SaveFormat> &formats, const std::string &fileName) {
    if (!hasSuffix(fileName)) return -1;
    // The offered format whose suffixes include the name's, not merely the
    // first format of the library that has it.
    for (const SaveFormat &format : formats)
        if (correctedName(fileName, format.index) == fileName) return format.index;
    return -1;
}

const char *saveOptionsPage(std::string_view formatName) {
    for (const SavePage &page : kSavePages)
        for (const char *name : page.names)
            if (name && formatName == name) return page.page;
    return nullptr;
}

}  // namespace quivel
