// Fuzzes the raw reader with a geometry taken from the first bytes.
#include "read_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const FormatParams options = fuzzing::optionsFrom(data, size);
    return fuzzing::readWith(zentar::kRawFormat, data, size, &options);
}
