#include "view/file_navigation.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <strings.h>

#include "app/settings.h"
#include "zentar.h"

namespace quivel {

namespace {

bool lessByName(const std::string &a, const std::string &b) {
    const int c = strcasecmp(a.c_str(), b.c_str());
    return c != 0 ? c < 0 : a < b;
}

// A picture is a file whose suffix names a format the user left enabled.
bool isPicture(const char *name) {
    const int format = zntFormatForSuffix(name);
    if (format < 0) return false;
    const char *formatName = zntFormatGetName(format);
    return formatName != nullptr && fileTypeEnabled(formatName);
}

}  // namespace

std::string folderOf(const std::string &path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::vector<std::string> folderPictures(const std::string &folder) {
    std::vector<std::string> pictures;
    DIR *dir = opendir(folder.c_str());
    if (dir == nullptr) return pictures;
    const std::string prefix = folder == "/" ? "/" : folder + "/";
    while (dirent *entry = readdir(dir)) {
        if (entry->d_name[0] == '.' && (entry->d_name[1] == '\0' || std::strcmp(entry->d_name, "..") == 0)) continue;
        std::string path = prefix + entry->d_name;
        if (entry->d_type != DT_REG) {
            struct stat info;
            if (entry->d_type != DT_UNKNOWN && entry->d_type != DT_LNK) continue;
            if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
        }
        if (!isPicture(entry->d_name)) continue;
        pictures.push_back(std::move(path));
    }
    closedir(dir);
    std::sort(pictures.begin(), pictures.end(), lessByName);
    return pictures;
}

int insertionIndex(const std::vector<std::string> &sorted, const std::string &path) {
    return int(std::upper_bound(sorted.begin(), sorted.end(), path, lessByName) - sorted.begin());
}

int navigateIndex(std::string_view command, int current, int count) {
    if (count <= 0) return -1;
    int target = -1;
    if (command == "first")
        target = 0;
    else if (command == "last")
        target = count - 1;
    else if (command == "next")
        target = current + 1;
    else if (command == "prev")
        target = current < 0 ? -1 : current - 1;
    if (target < 0 || target >= count || target == current) return -1;
    return target;
}

}  // namespace quivel
