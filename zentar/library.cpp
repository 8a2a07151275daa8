// Library set-up and version.
#include "zentar.h"

#include <cstring>

extern "C" {

void zntInitLibrary(void) {}

void zntExitLibrary(void) {}

void zntVersion(char *text) {
    std::memcpy(text, "3.87", 5);
}

}
