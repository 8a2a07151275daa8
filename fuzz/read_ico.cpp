// Fuzzes the icon and cursor reader (one reader for both), its first two pages.
#include "read_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    return fuzzing::readWith(zentar::kIcoFormat, data, size);
}
