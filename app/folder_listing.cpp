#include "app/folder_listing.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <memory>

#include "app/settings.h"
#include "zentar.h"

namespace quivel {

namespace {

struct DirCloser {
    void operator()(DIR *dir) const { closedir(dir); }
};

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// -1, 0 or 1: the case-blind, digits-as-numbers comparison.
int compareNatural(std::string_view a, std::string_view b) {
    size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            // Skip leading zeros, then the longer run is the larger number.
            size_t si = i, sj = j;
            while (si < a.size() && a[si] == '0') ++si;
            while (sj < b.size() && b[sj] == '0') ++sj;
            size_t ei = si, ej = sj;
            while (ei < a.size() && isDigit(a[ei])) ++ei;
            while (ej < b.size() && isDigit(b[ej])) ++ej;
            if (ei - si != ej - sj) return ei - si < ej - sj ? -1 : 1;
            const int c = a.substr(si, ei - si).compare(b.substr(sj, ej - sj));
            if (c != 0) return c < 0 ? -1 : 1;
            i = ei;
            j = ej;
            continue;
        }
        const char ca = lowerAscii(a[i]), cb = lowerAscii(b[j]);
        if (ca != cb) return static_cast<unsigned char>(ca) < static_cast<unsigned char>(cb) ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size()) return 1;
    if (j < b.size()) return -1;
    return 0;
}

std::string_view suffixOf(std::string_view name) {
    const size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
}

}  // namespace

int readFolder(const std::string &folder, bool showHidden, FolderListing &out) {
    out = {};
    std::unique_ptr<DIR, DirCloser> dir(opendir(folder.c_str()));
    if (!dir) return errno ? errno : ENOENT;
    const std::string prefix = folder == "/" ? "/" : folder + "/";
    if (folder != "/") out.folders.push_back({"..", true, 0, 0});
    while (const dirent *entry = readdir(dir.get())) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        if (name[0] == '.' && !showHidden) continue;
        struct stat info;
        if (stat((prefix + entry->d_name).c_str(), &info) != 0) continue;   // a dangling link, or gone
        FolderEntry item{std::string(name), S_ISDIR(info.st_mode), uint64_t(info.st_size), int64_t(info.st_mtime)};
        if (item.isFolder)
            out.folders.push_back(std::move(item));
        else if (S_ISREG(info.st_mode))
            out.files.push_back(std::move(item));
    }
    const auto start = out.folders.begin() + (folder != "/" ? 1 : 0);
    std::sort(start, out.folders.end(), [](const FolderEntry &a, const FolderEntry &b) {
        return lessByName(a.name, b.name);
    });
    return 0;
}

bool lessByName(std::string_view a, std::string_view b) {
    const int c = compareNatural(a, b);
    return c != 0 ? c < 0 : a < b;
}

void sortEntries(std::vector<FolderEntry> &entries, SortKey key, bool reverse) {
    auto keyLess = [key](const FolderEntry &a, const FolderEntry &b) {
        switch (key) {
        case SortKey::Name: break;
        case SortKey::Extension: {
            const int c = compareNatural(suffixOf(a.name), suffixOf(b.name));
            if (c != 0) return c < 0;
            break;
        }
        case SortKey::Date:
            if (a.modifiedSec != b.modifiedSec) return a.modifiedSec < b.modifiedSec;
            break;
        case SortKey::Size:
            if (a.sizeBytes != b.sizeBytes) return a.sizeBytes < b.sizeBytes;
            break;
        }
        return lessByName(a.name, b.name);
    };
    std::sort(entries.begin(), entries.end(), keyLess);
    if (reverse) std::reverse(entries.begin(), entries.end());
}

FileFilter parseFilter(std::string_view text) {
    FileFilter filter;
    if (text == kPicturesFilter) {
        filter.pictures = true;
        return filter;
    }
    const size_t open = text.rfind('(');
    if (open != std::string_view::npos) {
        const size_t close = text.find(')', open);
        text = text.substr(open + 1, close == std::string_view::npos ? std::string_view::npos : close - open - 1);
    }
    size_t at = 0;
    while (at < text.size()) {
        const size_t end = std::min(text.find_first_of(" \t,;", at), text.size());
        if (end > at) filter.patterns.emplace_back(text.substr(at, end - at));
        at = end + 1;
    }
    // "*" alone is the same as no pattern; say so once, so callers can tell.
    if (std::find(filter.patterns.begin(), filter.patterns.end(), "*") != filter.patterns.end())
        filter.patterns.clear();
    return filter;
}

bool filterAccepts(const FileFilter &filter, std::string_view name) {
    const std::string terminated(name);
    if (filter.pictures) return isPictureName(terminated);
    if (filter.patterns.empty()) return true;
    for (const std::string &pattern : filter.patterns)
        if (fnmatch(pattern.c_str(), terminated.c_str(), FNM_CASEFOLD) == 0) return true;
    return false;
}

bool hasPatternCharacter(std::string_view text) { return text.find_first_of("*?[") != std::string_view::npos; }

bool isPictureName(std::string_view name) {
    const std::string terminated(name);
    if (!zntHasGoodExtension(terminated.c_str())) return false;
    const char *format = zntFormatGetName(zntFormatForSuffix(terminated.c_str()));
    return format != nullptr && fileTypeEnabled(format);
}

std::vector<FolderEntry> filteredFiles(const FolderListing &listing, const FileFilter &filter, SortKey key,
                                       bool reverse) {
    std::vector<FolderEntry> files;
    for (const FolderEntry &entry : listing.files)
        if (filterAccepts(filter, entry.name)) files.push_back(entry);
    sortEntries(files, key, reverse);
    return files;
}

}  // namespace quivel
