// Fuzzes the DPX reader, with and without the film table.
#include "read_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const FormatParams options = fuzzing::optionsFrom(data, size);
    return fuzzing::readWith(zentar::kDpxFormat, data, size, &options);
}
