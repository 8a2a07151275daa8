// Library set-up and version.
#include "zentar.h"

#include <cstring>

extern "C" {

// The formats keep no state between calls, so there is nothing to set up.
void zntInitLibrary(void) {}

void zntExitLibrary(void) {}

void zntVersion(char *text) {
    if (text != nullptr) std::memcpy(text, "3.87", 5);
}

}
