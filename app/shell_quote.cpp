#include "app/shell_quote.h"

#include <unistd.h>

#include <sstream>

namespace quivel {

std::string shellQuote(const std::string &text) {
    std::string quoted = "'";
    for (char c : text) {
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    }
    quoted += '\'';
    return quoted;
}

std::string webBrowserCommand(const char *browserSetting, const std::string &address, bool isMail) {
    const std::string setting = browserSetting && *browserSetting ? browserSetting : "netscape";
    std::string command;
    if (access(setting.c_str(), X_OK) == 0) {
        command = shellQuote(setting);
    } else {
        std::istringstream words(setting);
        std::string word;
        while (words >> word) {
            if (!command.empty()) command += ' ';
            command += shellQuote(word);
        }
        if (command.empty()) command = shellQuote("netscape");
    }
    if (isMail) {
        command += " -remote ";
        command += shellQuote(std::string("mailto(").append(address).append(")"));
    } else {
        command += ' ';
        command += shellQuote(address);
    }
    command += " &";
    return command;
}

}  // namespace quivel
