#include "picture/status_message.h"

#include <cstdio>

namespace quivel {

namespace {

// Indexed by status; "%s" takes the file name.
constexpr const char *kMessages[] = {
    "Contact your dealer",                // 0: a caller reporting success has a fault
    "Not enough memory",                  // 1
    "Don't know how to read \n<%s>",      // 2
    "Can't open file \n<%s>",             // 3
    "Can't read file \n<%s>",             // 4
    "Can't create file \n<%s>",           // 5
    "Can't write file \n<%s>",            // 6
    "Contact your dealer",                // 7
    "Can't save in this format !!",       // 8
    "Bad picture file",                   // 9, unless the library left its own text
    "Corrupt image",                      // 10
    "Problem with JPEG",                  // 11
};
constexpr const char *kUnknown = "Contact your dealer";

}  // namespace

std::string statusMessage(OpStatus status, const std::string &fileName, const char *libraryText) {
    const unsigned code = status & 0xff;
    if (code == ZNT_STOPPED) return {};
    if (code == ZNT_BAD_FILE && libraryText != nullptr && libraryText[0] != '\0') return libraryText;
    const char *pattern = code < std::size(kMessages) ? kMessages[code] : kUnknown;
    std::string text;
    for (const char *p = pattern; *p != '\0'; ++p) {
        if (p[0] == '%' && p[1] == 's') {
            text += fileName;
            ++p;
        } else {
            text += *p;
        }
    }
    return text;
}

}  // namespace quivel
