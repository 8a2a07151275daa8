// The command line: options, banner and usage texts.
#pragma once

#include <string>
#include <vector>

namespace quivel {

inline constexpr const char *kProgramTitle = "Quivel v1.50";

struct StartOptions {
    long visualId = -1;                 // -visualid, hexadecimal; -1 none
    bool ownColormap = false;           // -own
    bool popupMenu = false;             // -popup
    bool browser = false;               // -browser
    bool slideShow = false;             // -slide <file>
    std::string slideFile;
    bool oneWindowPerPicture = false;   // -all
    bool fullScreen = false;            // -full
    bool verbose = false;               // -v, -verbose
    bool fitToImage = false;            // -fi
    std::vector<std::string> files;     // everything from the first non-option on
};

// -help counts only as the very first argument.
bool isHelpRequest(const std::vector<std::string> &args);

// -nores and -ini are looked for anywhere, before the toolkit and the
// configuration are set up. A trailing -ini without a file is ignored.
bool hasNoResourcesOption(const std::vector<std::string> &args);
std::string iniFileOption(const std::vector<std::string> &args);

// Parses options in order until the first argument that is not one; the rest
// are files and folders. `args` excludes the program name.
StartOptions parseOptions(const std::vector<std::string> &args);

// "** Quivel v1.50 (<date> <time>)" and the lines after it.
std::string bannerText();
// The usage text, in two pieces: the visual list goes between them.
std::string usageTextBeforeVisuals(const std::string &programName);
std::string usageTextAfterVisuals();
std::string typeHelpLine(const std::string &programName);

}  // namespace quivel
