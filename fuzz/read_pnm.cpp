// Fuzzes the portable any-map readers: P1 to P6 and P7.
#include "read_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const bool tuple = size > 1 && data[1] == '7';
    return fuzzing::readWith(tuple ? zentar::kPamFormat : zentar::kPpmFormat, data, size);
}
