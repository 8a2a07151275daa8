// Building shell commands that carry names the user does not control: every
// word is single-quoted, so that no name can start a second command.
#pragma once

#include <string>

namespace quivel {

// 'text' with every ' written as '\''.
std::string shellQuote(const std::string &text);

// The web browser command for an address: the program of `browserSetting`
// (the value of WEBBROWSER, or "netscape" when it is unset or empty) and the
// address, run in the background. A mail address goes as -remote
// 'mailto(address)'. The setting is taken as one program when it names an
// executable file, and otherwise as blank-separated words, each quoted.
std::string webBrowserCommand(const char *browserSetting, const std::string &address, bool isMail);

}  // namespace quivel
