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

// The format table: empty until the formats are added.
extern "C" {

int zntCount(void) { return 0; }

const char *zntFormatGetName(int) { return nullptr; }

const char *zntFormatGetDescription(int) { return nullptr; }

int zntFormatGetIndex(const char *) { return -1; }

}
