#include "app/message_text.h"

namespace quivel {

std::string messageLogLine(const std::string &text) {
    std::string line = "message: ";
    for (char c : text) line += c == '\n' || c == '\r' ? ' ' : c;
    line += '\n';
    return line;
}

}  // namespace quivel
