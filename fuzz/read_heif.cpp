// Fuzzes the HEIF reader, which also reads AVIF.
#include "read_format.h"

// The AV1 decoder keeps a few dozen bytes of some broken inputs: a leak in
// a system library, not ours to fix, which the leak checker must not count.
extern "C" const char *__lsan_default_suppressions() { return "leak:libdav1d.so\n"; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    return fuzzing::readWith(zentar::kHeifFormat, data, size);
}
