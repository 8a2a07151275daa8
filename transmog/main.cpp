// transmog: the command-line converter.
#include "zentar.h"

#include <cstdio>

int main(int argc, char **argv) {
    (void)argv;
    zntInitLibrary();
    char version[16];
    zntVersion(version);
    if (argc < 2) std::printf("transmog (libzentar %s)\n", version);
    zntExitLibrary();
    return 0;
}
