// Writes the test DNG of tests/support/dng_file.h at a size of one's choice,
// for timing camera raw loads: make_dng OUT WIDTH HEIGHT PREVIEW_WIDTH PREVIEW_HEIGHT
#include "dng_file.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv) {
    if (argc != 6) {
        std::fputs("usage: make_dng OUT WIDTH HEIGHT PREVIEW_WIDTH PREVIEW_HEIGHT\n", stderr);
        return 2;
    }
    testsupport::DngOptions options;
    options.width = uint32_t(std::atoi(argv[2]));
    options.height = uint32_t(std::atoi(argv[3]));
    options.previewWidth = uint32_t(std::atoi(argv[4]));
    options.previewHeight = uint32_t(std::atoi(argv[5]));
    return testsupport::writeTestDng(argv[1], options) ? 0 : 1;
}
