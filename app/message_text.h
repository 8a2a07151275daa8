// What a message box also tells standard error with -v.
#pragma once

#include <string>

namespace quivel {

// "message: " and the box's text on one line (its line breaks become
// blanks), ended by a newline.
std::string messageLogLine(const std::string &text);

}  // namespace quivel
