// The user's message for a library status: one table for every caller that
// reports a failed load or save (the error boxes, start-up, transmog).
#pragma once

#include "zentar.h"

#include <string>

namespace quivel {

// The message for `status` about `fileName`. For ZNT_BAD_FILE the library's
// own text is used when it left one (`libraryText`, may be null or empty).
// Only the low byte of the status counts. ZNT_STOPPED gives "": a stop asked
// for by the user is never reported.
std::string statusMessage(OpStatus status, const std::string &fileName, const char *libraryText = nullptr);

}  // namespace quivel
