// Fuzzes the jxl reader.
#include "read_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    return fuzzing::readWith(zentar::kJxlFormat, data, size);
}
