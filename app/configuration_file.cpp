#include "app/configuration_file.h"

#include <locale.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>

namespace quivel {

namespace {

constexpr size_t kPieceSize = 512;        // a line is read in pieces of at most 511 bytes
constexpr size_t kKeyTokenMax = 127;
constexpr size_t kValueTokenMax = 511;
constexpr size_t kFormatNameMax = sizeof(FileTypeFlag::name) - 1;

// White space as the C locale knows it, whatever locale the program runs in.
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }

bool equalsIgnoringAsciiCase(const char *a, const char *b) {
    for (; *a && *b; ++a, ++b) {
        const char x = *a >= 'A' && *a <= 'Z' ? char(*a + 32) : *a;
        const char y = *b >= 'A' && *b <= 'Z' ? char(*b + 32) : *b;
        if (x != y) return false;
    }
    return *a == *b;
}

// One piece of a line: a key token, optional blanks, "=", optional blanks, a
// value token. The key token stops at a blank or after 127 characters, so
// "Key=value" holds no "=" where one is needed and does not count.
bool parsePiece(const char *piece, std::string_view &key, std::string_view &value) {
    const char *p = piece;
    while (isBlank(*p)) ++p;
    const char *keyStart = p;
    while (*p && !isBlank(*p) && size_t(p - keyStart) < kKeyTokenMax) ++p;
    if (p == keyStart) return false;
    key = std::string_view(keyStart, size_t(p - keyStart));
    while (isBlank(*p)) ++p;
    if (*p != '=') return false;
    ++p;
    while (isBlank(*p)) ++p;
    const char *valueStart = p;
    while (*p && !isBlank(*p) && size_t(p - valueStart) < kValueTokenMax) ++p;
    if (p == valueStart) return false;
    value = std::string_view(valueStart, size_t(p - valueStart));
    return true;
}

long integerValue(const char *text) { return std::strtol(text, nullptr, 10); }

// 1 for true, 0 for false, -1 for a value that leaves the default.
int booleanValue(const char *text) {
    const long number = integerValue(text);
    if (equalsIgnoringAsciiCase(text, "true") || number == 1) return 1;
    if (equalsIgnoringAsciiCase(text, "false") || number == 0) return 0;
    return -1;
}

locale_t cLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
    return locale;
}

void loadKey(const KeyValueTable *table, const SettingKey &key, Settings &settings) {
    const char *value = table ? table->lookup(key.name) : nullptr;
    switch (key.storage) {
    case Storage::Text:
        setSettingText(settings, key, value ? value : key.defaultText);
        return;
    case Storage::Real:
        setSettingReal(settings, key, realSettingValue(value ? value : key.defaultText, key.capacity));
        return;
    case Storage::Bool:
        break;
    case Storage::Byte:
    case Storage::Word:
    case Storage::Int:
        if (!(key.flags & kReadAsBool)) {
            setSettingNumber(settings, key, value ? integerValue(value) : key.defaultNumber);
            if ((key.flags & kZeroMeansDefault) && settingNumber(settings, key) == 0)
                setSettingNumber(settings, key, key.defaultNumber);
            return;
        }
        break;
    }
    const int flag = value ? booleanValue(value) : -1;
    setSettingNumber(settings, key, flag < 0 ? key.defaultNumber : flag);
}

std::string fileTypeKey(std::string_view name) { return "FileTypes." + std::string(name.substr(0, kFormatNameMax)); }

}  // namespace

// Decimal points do not depend on the user's locale: the file (and the gamma
// field of the options dialog) reads the same whatever LC_NUMERIC says.
double realSettingValue(const char *text, size_t capacity) {
    char buffer[kValueTokenMax + 1];
    const size_t length = std::min(std::strlen(text), std::min(capacity, sizeof buffer) - 1);
    std::memcpy(buffer, text, length);
    buffer[length] = '\0';
    return strtod_l(buffer, nullptr, cLocale());
}

std::string realSettingText(double value) {
    char buffer[400];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 2);
    if (result.ec != std::errc()) return "0.00";
    return std::string(buffer, result.ptr);
}

std::string chooseConfigurationPath(const std::string &iniFile, const std::string &startFolder, const char *home) {
    if (!iniFile.empty()) return iniFile;
    const std::string inStart = startFolder.empty() ? kConfigurationName : startFolder + "/" + kConfigurationName;
    struct stat info;
    if (stat(inStart.c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) return inStart;
    if (home != nullptr && *home != '\0') return std::string(home) + "/" + kConfigurationName;
    return inStart;
}

KnownKeys::KnownKeys(const std::vector<std::string> &formatNames) {
    fileTypeNames_.reserve(formatNames.size() + 1);
    fileTypeNames_.push_back(fileTypeKey("jpeg"));
    for (const std::string &name : formatNames) fileTypeNames_.push_back(fileTypeKey(name));
    for (const SettingKey &key : settingKeys()) names_.insert(key.name);
    for (const std::string &name : fileTypeNames_) names_.insert(name);
}

void readConfigurationLines(FILE *file, const KnownKeys &known, KeyValueTable &table) {
    char piece[kPieceSize];
    std::string_view key, value;
    while (std::fgets(piece, sizeof piece, file) != nullptr)
        if (parsePiece(piece, key, value) && known.contains(key)) table.insert(key, value);
}

void loadSettings(const KeyValueTable *table, const std::vector<std::string> &formatNames, Settings &settings,
                  std::vector<FileTypeFlag> &fileTypes) {
    std::memset(static_cast<void *>(&settings), 0, sizeof settings);
    for (const SettingKey &key : settingKeys()) loadKey(table, key, settings);

    // A file written by an earlier run lists every format it knew, jpeg
    // among them: formats it did not know stay off. Without a jpeg line, the
    // formats not named are on.
    const char *jpeg = table ? table->lookup(fileTypeKey("jpeg")) : nullptr;
    const bool enabledByDefault = (jpeg ? integerValue(jpeg) : -1) == -1;
    fileTypes.clear();
    fileTypes.reserve(formatNames.size() + 4);
    for (const std::string &name : formatNames) {
        FileTypeFlag record{};
        std::memcpy(record.name, name.data(), std::min(name.size(), kFormatNameMax));
        const char *value = table ? table->lookup(fileTypeKey(record.name)) : nullptr;
        const int flag = value ? booleanValue(value) : -1;
        record.enabled = flag < 0 ? enabledByDefault : flag;
        fileTypes.push_back(record);
    }
}

void readConfigurationFile(const std::string &path, const std::vector<std::string> &formatNames,
                           Settings &settings, std::vector<FileTypeFlag> &fileTypes) {
    KeyValueTable table;
    if (FILE *file = std::fopen(path.c_str(), "r")) {
        readConfigurationLines(file, KnownKeys(formatNames), table);
        std::fclose(file);
    }
    loadSettings(&table, formatNames, settings, fileTypes);
}

std::string configurationText(const Settings &settings, const std::vector<FileTypeFlag> &fileTypes) {
    const bool purge = settings.start.purgeMostRecentlyUsed;
    std::string text;
    text.reserve(48 * 1024);
    for (const SettingKey &key : settingKeys()) {
        if (key.flags & kNotWritten) continue;
        text += key.name;
        text += " = ";
        switch (key.storage) {
        case Storage::Bool: text += settingNumber(settings, key) ? "True" : "False"; break;
        case Storage::Byte:
        case Storage::Word:
        case Storage::Int: text += std::to_string(settingNumber(settings, key)); break;
        case Storage::Text:
            if (!(purge && (key.flags & kPurgedOnExit)))
                text.append(settingText(settings, key), strnlen(settingText(settings, key), key.capacity));
            break;
        case Storage::Real: text += realSettingText(settingReal(settings, key)); break;
        }
        text += '\n';
    }
    for (const FileTypeFlag &record : fileTypes) {
        text += "FileTypes.";
        text.append(record.name, strnlen(record.name, sizeof record.name));
        text += record.enabled ? " = True\n" : " = False\n";
    }
    return text;
}

OpStatus saveConfigurationFile(const std::string &path, std::string_view text) {
    // Through a symbolic link (a configuration kept with other dot files),
    // the file it points to is replaced and the link stays.
    std::string target = path;
    if (char *resolved = realpath(path.c_str(), nullptr)) {
        target = resolved;
        std::free(resolved);
    }
    std::string temporary = target + ".XXXXXX";
    const int fd = mkstemp(temporary.data());
    if (fd < 0) return ZNT_CANT_CREATE;

    // The new file keeps the old one's permissions; a first one gets what a
    // plain creation would give it.
    struct stat old;
    mode_t mode;
    if (stat(target.c_str(), &old) == 0) {
        mode = old.st_mode & 07777;
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    }
    fchmod(fd, mode);   // a file system without modes still takes the text
    bool written = true;
    for (size_t done = 0; written && done < text.size();) {
        const ssize_t n = write(fd, text.data() + done, text.size() - done);
        if (n > 0)
            done += size_t(n);
        else if (!(n < 0 && errno == EINTR))
            written = false;
    }
    written = written && fsync(fd) == 0;
    written = close(fd) == 0 && written;
    if (!written) {
        unlink(temporary.c_str());
        return ZNT_CANT_WRITE;
    }
    if (rename(temporary.c_str(), target.c_str()) != 0) {
        unlink(temporary.c_str());
        return ZNT_CANT_CREATE;
    }
    return ZNT_OK;
}

}  // namespace quivel
