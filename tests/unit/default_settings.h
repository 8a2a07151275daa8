// The settings a missing configuration file leaves, for the tests of what
// the program does with them. Settings is large: it lives on the heap.
#pragma once

#include <memory>
#include <vector>

#include "app/configuration_file.h"

inline std::unique_ptr<quivel::Settings> defaultSettings() {
    auto settings = std::make_unique<quivel::Settings>();
    std::vector<quivel::FileTypeFlag> fileTypes;
    quivel::loadSettings(nullptr, {}, *settings, fileTypes);
    return settings;
}
