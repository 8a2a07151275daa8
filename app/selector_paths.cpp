#include "app/selector_paths.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

namespace quivel {

std::string normalisePath(std::string_view path) {
    if (path.empty()) return "";
    const bool absolute = path[0] == '/';
    std::vector<std::string_view> parts;
    size_t at = 0;
    while (at <= path.size()) {
        const size_t slash = std::min(path.find('/', at), path.size());
        const std::string_view part = path.substr(at, slash - at);
        at = slash + 1;
        if (part.empty() || part == ".") continue;
        if (part == "..") {
            if (!parts.empty() && parts.back() != "..")
                parts.pop_back();
            else if (!absolute)
                parts.push_back(part);
            continue;
        }
        parts.push_back(part);
    }
    std::string out = absolute ? "/" : "";
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i) out += '/';
        out += parts[i];
    }
    return out.empty() ? "." : out;
}

std::string resolvePath(const std::string &folder, std::string_view text, const std::string &home) {
    if (text == "~" || text.starts_with("~/")) return normalisePath(home + "/" + std::string(text.substr(1)));
    if (text.starts_with("/")) return normalisePath(text);
    return normalisePath(folder + "/" + std::string(text));
}

std::string parentFolder(const std::string &path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseName(const std::string &path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::vector<std::string> splitNames(std::string_view text) {
    std::vector<std::string> names;
    if (text.find('"') != std::string_view::npos) {
        size_t at = 0;
        while ((at = text.find('"', at)) != std::string_view::npos) {
            const size_t end = text.find('"', at + 1);
            const std::string_view name = text.substr(at + 1, end == std::string_view::npos ? end : end - at - 1);
            if (!name.empty()) names.emplace_back(name);
            if (end == std::string_view::npos) break;
            at = end + 1;
        }
        return names;
    }
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return names;
    const size_t last = text.find_last_not_of(" \t");
    names.emplace_back(text.substr(first, last - first + 1));
    return names;
}

std::string joinNames(const std::vector<std::string> &names) {
    if (names.size() == 1) return names[0];
    std::string text;
    for (const std::string &name : names) {
        if (!text.empty()) text += ' ';
        text += '"' + name + '"';
    }
    return text;
}

std::string completeName(std::string_view typed, const std::vector<std::string> &names) {
    std::string common;
    bool any = false;
    for (const std::string &name : names) {
        if (!name.starts_with(typed)) continue;
        if (!any) {
            common = name;
            any = true;
            continue;
        }
        size_t n = 0;
        while (n < common.size() && n < name.size() && common[n] == name[n]) ++n;
        common.resize(n);
    }
    return any ? common : std::string(typed);
}

bool isFolder(const std::string &path) {
    struct stat info;
    return !path.empty() && stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool isRegularFile(const std::string &path) {
    struct stat info;
    return !path.empty() && stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

std::string nearestFolder(const std::string &path) {
    std::string at = normalisePath(path);
    if (at.empty() || at[0] != '/') return "/";
    while (at != "/" && !isFolder(at)) at = parentFolder(at);
    return at;
}

std::string startFolder(const std::string &start, const std::string &remembered, const std::string &working,
                        const std::string &home) {
    std::string fromStart;
    if (!start.empty()) fromStart = isFolder(start) ? start : parentFolder(start);
    const std::string *firstGiven = nullptr;
    for (const std::string *candidate : std::initializer_list<const std::string *>{&fromStart, &remembered, &working, &home}) {
        if (candidate->empty() || (*candidate)[0] != '/') continue;
        if (isFolder(*candidate)) return normalisePath(*candidate);
        if (firstGiven == nullptr) firstGiven = candidate;
    }
    return firstGiven ? nearestFolder(*firstGiven) : "/";
}

std::vector<std::string> recentFolders(const Settings &settings) {
    std::vector<std::string> folders;
    for (const auto &entry : settings.dirName)
        if (entry[0]) folders.emplace_back(entry, strnlen(entry, sizeof entry));
    return folders;
}

void rememberRecentFolder(Settings &settings, const std::string &folder) {
    if (folder.empty() || folder.size() >= kPathCapacity) return;
    std::vector<std::string> folders = recentFolders(settings);
    folders.erase(std::remove(folders.begin(), folders.end(), folder), folders.end());
    folders.insert(folders.begin(), folder);
    for (int i = 0; i < kRecentCount; ++i) {
        char *entry = settings.dirName[i];
        const std::string &value = size_t(i) < folders.size() ? folders[size_t(i)] : std::string();
        std::memcpy(entry, value.c_str(), value.size() + 1);
    }
}

}  // namespace quivel
