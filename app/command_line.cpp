#include "app/command_line.h"

#include <cstdio>
#include <cstdlib>

namespace quivel {

namespace {

#if defined(__linux__) && (defined(__x86_64__) || defined(__i386__))
constexpr const char *kPlatformName = "Linux x86";
#elif defined(__linux__)
constexpr const char *kPlatformName = "Linux";
#else
constexpr const char *kPlatformName = "Unknown";
#endif

}  // namespace

bool isHelpRequest(const std::vector<std::string> &args) { return !args.empty() && args[0] == "-help"; }

bool hasNoResourcesOption(const std::vector<std::string> &args) {
    for (const std::string &a : args)
        if (a == "-nores") return true;
    return false;
}

std::string iniFileOption(const std::vector<std::string> &args) {
    for (size_t i = 0; i + 1 < args.size(); ++i)
        if (args[i] == "-ini") return args[i + 1];
    return {};
}

StartOptions parseOptions(const std::vector<std::string> &args) {
    StartOptions o;
    size_t i = 0;
    for (; i < args.size(); ++i) {
        const std::string &a = args[i];
        const bool hasNext = i + 1 < args.size();
        if (a == "-visualid") {
            if (hasNext) o.visualId = std::strtol(args[++i].c_str(), nullptr, 16);
        } else if (a == "-own") {
            o.ownColormap = true;
        } else if (a == "-nores") {
        } else if (a == "-popup") {
            o.popupMenu = true;
        } else if (a == "-browser") {
            o.browser = true;
        } else if (a == "-slide") {
            if (hasNext) {
                o.slideShow = true;
                o.slideFile = args[++i];
            }
        } else if (a == "-all") {
            o.oneWindowPerPicture = true;
        } else if (a == "-full") {
            o.fullScreen = true;
        } else if (a == "-v" || a == "-verbose") {
            o.verbose = true;
        } else if (a == "-ini") {
            if (hasNext) ++i;
        } else if (a == "-fi") {
            o.fitToImage = true;
        } else {
            break;
        }
    }
    o.files.assign(args.begin() + std::ptrdiff_t(i), args.end());
    return o;
}

std::string bannerText() {
    std::string text = "** Quivel v1.50 (" __DATE__ " " __TIME__ ")\n";
    char line[128];
    std::snprintf(line, sizeof line, "        Version for %s/Motif (All rights reserved)\n", kPlatformName);
    text += line;
    text += "** This is a freeware software\n";
    text += "\n";
    return text;
}

std::string usageTextBeforeVisuals(const std::string &programName) {
    return "Usage : " + programName + " [options] file ...\n"
           "        Options :\n"
           "          -visualid <id> : Use this visual number\n";
}

std::string usageTextAfterVisuals() {
    return "          -own           : Use own colormap (8 bits only)\n"
           "          -nores         : No default ressources\n"
           "          -popup         : Use popup menu\n"
           "          -browser       : Launch the browser\n"
           "          -slide <file>  : Launch slide show\n"
           "          -all           : Open a window for each picture\n"
           "          -full          : Full screen\n"
           "          -v/-verbose    : Verbose\n"
           "          -ini <file>    : Ini file\n"
           "          -fi            : Force \"Fit to Image\"\n";
}

std::string typeHelpLine(const std::string &programName) {
    return "     Type " + programName + " -help, for more information\n";
}

}  // namespace quivel
