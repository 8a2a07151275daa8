// Fuzzes the JPEG 2000 reader, which takes JP2 files and bare codestreams.
#include "read_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    return fuzzing::readWith(zentar::kJp2Format, data, size);
}
