// Fuzzes the GROB reader, binary and text, with 1 to 5 grey planes.
#include "read_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const FormatParams options = fuzzing::optionsFrom(data, size);
    return fuzzing::readWith(zentar::kGrobFormat, data, size, &options);
}
