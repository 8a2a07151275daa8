// The configuration file: where it is, how it is read into `Settings`, and
// how it is written back.
//
// The file is plain text, one "Section.Key = value" line per key (the keys
// without a section have no "Section." part). It is read once at start-up and
// written once on the way out; nothing else touches it.
//
// Reading never fails: a missing or unreadable file, malformed lines and
// unknown keys all leave the defaults, silently. Each line is read in pieces
// of at most 511 bytes, and a piece counts only when it holds a key token (at
// most 127 characters), white space or nothing, "=", and a value token (at
// most 511 characters): a value is cut at its first blank, and a line whose
// value is empty gives the default. The first line for a key wins.
//
// Writing replaces the file as a whole: the text goes to a temporary file in
// the same folder, which is then renamed over the old one, so the old file
// stays intact until the new one is complete.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "app/key_value_table.h"
#include "app/settings.h"
#include "zentar.h"

namespace quivel {

// The file's name in the start folder and in the home folder.
inline constexpr const char *kConfigurationName = ".quivelrc";

// The file named with -ini when there is one; else ".quivelrc" in the start
// folder when it exists there and is not a folder; else in `home` (null or
// empty when HOME is not set), or in the start folder again without one.
std::string chooseConfigurationPath(const std::string &iniFile, const std::string &startFolder, const char *home);

// The names the reader keeps from a file: every key of the key table, and
// FileTypes.<name> for each of the library's formats (plus FileTypes.jpeg,
// which decides the formats' default). Nothing else enters the table, so a
// file full of unknown keys costs no more than reading it.
class KnownKeys {
public:
    explicit KnownKeys(const std::vector<std::string> &formatNames);
    KnownKeys(const KnownKeys &) = delete;   // the set points into this object's names
    KnownKeys &operator=(const KnownKeys &) = delete;
    bool contains(std::string_view name) const { return names_.count(name) != 0; }

private:
    std::vector<std::string> fileTypeNames_;
    std::unordered_set<std::string_view> names_;
};

// Reads every line of `file` and inserts the pairs whose key is known.
void readConfigurationLines(FILE *file, const KnownKeys &known, KeyValueTable &table);

// Clears `settings`, then gives every key its value from `table` (null: no
// file) or its default. `fileTypes` gets one record per format of
// `formatNames`, in that order; names longer than 9 characters are cut.
void loadSettings(const KeyValueTable *table, const std::vector<std::string> &formatNames, Settings &settings,
                  std::vector<FileTypeFlag> &fileTypes);

// The whole read: the file at `path` (which may be missing) into `settings`.
void readConfigurationFile(const std::string &path, const std::vector<std::string> &formatNames,
                           Settings &settings, std::vector<FileTypeFlag> &fileTypes);

// The text of the file for these settings, every key in the table's order,
// then one FileTypes line per record. With Start.PurgeMostRecentlyUsed set
// the three path lists are written empty.
std::string configurationText(const Settings &settings, const std::vector<FileTypeFlag> &fileTypes);

// A real value as the file keeps it: read with a point for the decimals
// (at most `capacity` - 1 characters of `text`), written as "%1.2lf".
double realSettingValue(const char *text, size_t capacity);
std::string realSettingText(double value);

// Replaces the file at `path` (through a symbolic link, the file it points
// to) by `text`: ZNT_OK, or ZNT_CANT_CREATE / ZNT_CANT_WRITE with the old file
// left as it was.
OpStatus saveConfigurationFile(const std::string &path, std::string_view text);

}  // namespace quivel
