// What the file selector lists: the sub-folders and the files of one folder,
// which files pass its filter, and in which order they are shown.
//
// A listing is read once per folder change or refresh; filtering and sorting
// work on the entries read, so changing the filter or the order does not read
// the folder again. Folders are never filtered and always sorted by name;
// files by the chosen key, ties broken by name.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quivel {

struct FolderEntry {
    std::string name;         // the name within the folder, no slash
    bool isFolder = false;    // a folder, or a link to one
    uint64_t sizeBytes = 0;
    int64_t modifiedSec = 0;  // modification time, seconds since the epoch
};

struct FolderListing {
    std::vector<FolderEntry> folders;   // ".." first unless the folder is "/"
    std::vector<FolderEntry> files;     // regular files (or links to them)
};

// Reads `folder` (an absolute path). Hidden entries (a name starting with
// '.') are kept only with `showHidden`; ".." is always listed below "/".
// Entries that vanish or cannot be examined while the folder is read are
// left out. Returns 0, or the errno of opening the folder.
int readFolder(const std::string &folder, bool showHidden, FolderListing &out);

// The orders of the file list. Values are those of the sort menu.
enum class SortKey : uint8_t { Name, Extension, Date, Size };

// Names compare without regard to ASCII case and with runs of digits as
// numbers ("img2" before "img10"); equal names then in byte order.
bool lessByName(std::string_view a, std::string_view b);
void sortEntries(std::vector<FolderEntry> &entries, SortKey key, bool reverse);

// A filter as the user writes it: blank-, comma- or semicolon-separated
// patterns ("*.jpg *.png"), or a description with the patterns in its last
// parentheses ("Slide Files (*.sld)"). Patterns use * ? and [...] and match
// without regard to case. No pattern, or "*", passes every file;
// kPicturesFilter passes the files whose suffix names an enabled format.
inline constexpr const char *kPicturesFilter = "All pictures";
inline constexpr const char *kAllFilesFilter = "All files (*)";

struct FileFilter {
    bool pictures = false;
    std::vector<std::string> patterns;   // empty: every file
};

FileFilter parseFilter(std::string_view text);
bool filterAccepts(const FileFilter &filter, std::string_view name);
// True when the text holds a pattern character, so that typing it in the
// name field sets the filter rather than naming a file.
bool hasPatternCharacter(std::string_view text);

// A picture, for the file selector and every other list of pictures: a name
// whose suffix the library recognises, of a format the user left enabled.
bool isPictureName(std::string_view name);

// The files of `listing` that pass `filter`, sorted.
std::vector<FolderEntry> filteredFiles(const FolderListing &listing, const FileFilter &filter, SortKey key,
                                       bool reverse);

}  // namespace quivel
