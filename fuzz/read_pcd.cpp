// Fuzzes the Photo CD reader at each size.
#include "read_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const FormatParams options = fuzzing::optionsFrom(data, size);
    return fuzzing::readWith(zentar::kPcdFormat, data, size, &options);
}
