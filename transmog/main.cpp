// transmog: the command-line converter on libzentar.
//
//   transmog -formats
//   transmog -info FILE...
//   transmog -out NAME [-o OUTPUT] [-page N] [-q QUALITY] FILE...
//
// Saving follows the viewer's rules (save_picture.h) with the program's
// default save options: a picture the format cannot hold takes the
// conversion that loses least. Exit status 0 when every file was handled, 1
// otherwise; each failure is reported on standard error with the library's
// status message.
#include "app/configuration_file.h"
#include "picture/save_picture.h"
#include "picture/status_message.h"
#include "zentar.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace quivel;

namespace {

void printUsage(FILE *out) {
    std::fputs("Usage: transmog -formats\n"
               "       transmog -info FILE...\n"
               "       transmog -out FORMAT [-o OUTPUT] [-page N] [-q QUALITY] FILE...\n"
               "  -formats      list the formats: index, name, r(ead) w(rite), suffix, description\n"
               "  -info         describe each file\n"
               "  -out FORMAT   convert each file to FORMAT (a name from -formats)\n"
               "  -o OUTPUT     the output file of a single input (default: the input's name\n"
               "                with the format's suffix)\n"
               "  -page N       the page or frame to convert, 1 the first (default 1)\n"
               "  -q QUALITY    JPEG quality, 1 to 100 (default 90)\n",
               out);
}

int listFormats() {
    for (int i = 0; i < zntCount(); ++i) {
        FormatInformation info;
        zntFormatGetInfo(i, &info);
        std::printf("%2d %-5s %c%c %-5s %s\n", i, zntFormatGetName(i), info.readable ? 'r' : '-',
                    info.writable ? 'w' : '-', zntFormatGetDefaultSuffix(i), zntFormatGetDescription(i));
    }
    return 0;
}

int describeFiles(const std::vector<std::string> &files) {
    int status = 0;
    for (const std::string &file : files) {
        FileInformation info{};
        const OpStatus s = zntFileInformation(file.c_str(), -1, 0, &info);
        if (s != ZNT_OK) {
            std::fprintf(stderr, "%s\n", statusMessage(s, file, info.message).c_str());
            zntFileInformationFree(&info);
            status = 1;
            continue;
        }
        const ZntSubImage &first = info.images[0];
        const bool frames = info.delaysMs != nullptr;
        char compression[4096];
        std::printf("%s: %s %ux%u %s %u bits, %d %s%s, %s\n", file.c_str(), zntFormatGetName(info.formatIndex),
                    first.width, first.height, zntGetLabelForColorModel(first.colorModel), first.bitsPerComponent,
                    info.imageCount, frames ? "frame" : "page", info.imageCount == 1 ? "" : "s",
                    zntGetFullLabelForCompression(compression, &info));
        zntFileInformationFree(&info);
    }
    return status;
}

// Nobody to ask: a picture the format cannot hold takes the conversion
// that loses least, and failures are printed.
class ConsoleSaveHooks : public SaveHooks {
public:
    int chooseConversion(int, const Picture &, int suggested) override {
        if (suggested == 0) error(statusMessage(ZNT_CANT_SAVE, ""));
        return suggested;
    }
    void inform(const std::string &) override {}
    void error(const std::string &text) override { std::fprintf(stderr, "%s\n", text.c_str()); }
};

// The program's default save options, with the converter's own JPEG quality
// and the output name used as given.
std::unique_ptr<Settings> converterSettings(int quality) {
    auto settings = std::make_unique<Settings>();
    std::vector<FileTypeFlag> fileTypes;
    loadSettings(nullptr, {}, *settings, fileTypes);
    settings->save.jpegQuality = uint8_t(quality > 0 ? quality : 90);
    settings->save.addExtensionIfNotExist = false;
    return settings;
}

// The input's name with its suffix replaced by the format's default suffix.
std::string outputNameFor(const std::string &input, int format) {
    const size_t slash = input.rfind('/');
    const size_t dot = input.rfind('.');
    const bool hasSuffix = dot != std::string::npos && (slash == std::string::npos || dot > slash + 1);
    return (hasSuffix ? input.substr(0, dot) : input) + "." + zntFormatGetDefaultSuffix(format);
}

int convertFiles(const std::vector<std::string> &files, int format, const std::string &output, int page,
                 int quality) {
    int status = 0;
    const std::unique_ptr<Settings> settings = converterSettings(quality);
    for (const std::string &file : files) {
        FileInformation info{};
        OpStatus s = zntFileInformation(file.c_str(), -1, 0, &info);
        Picture picture{};
        if (s == ZNT_OK) {
            FormatParams params;
            zntDefaultParams(&params);
            params.formatIndex = info.formatIndex;
            params.pageNumber = page;
            s = zntLoad(file.c_str(), &picture, &params, &info);
        }
        if (s != ZNT_OK) {
            std::fprintf(stderr, "%s\n", statusMessage(s, file, info.message).c_str());
            zntFileInformationFree(&info);
            status = 1;
            continue;
        }
        zntFileInformationFree(&info);

        const std::string target = output.empty() ? outputNameFor(file, format) : output;
        char name[4096];
        if (target.size() >= sizeof name) {
            std::fprintf(stderr, "%s\n", statusMessage(ZNT_CANT_CREATE, target).c_str());
            status = 1;
        } else {
            std::memcpy(name, target.c_str(), target.size() + 1);
            ConsoleSaveHooks hooks;
            SaveRequest request;
            request.formatIndex = format;
            if (savePicture(name, picture, request, *settings, hooks) != 0) status = 1;
        }
        zntFree(&picture);
    }
    return status;
}

bool parseNumber(const char *text, int low, int high, int &value) {
    char *end = nullptr;
    const long v = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || v < low || v > high) return false;
    value = int(v);
    return true;
}

int run(int argc, char **argv) {
    if (argc < 2) {
        printUsage(stderr);
        return 1;
    }
    const std::string command = argv[1];
    if (command == "-help" || command == "--help" || command == "-h") {
        printUsage(stdout);
        return 0;
    }
    if (command == "-formats") return listFormats();
    if (command == "-info") {
        if (argc < 3) {
            std::fputs("transmog: -info needs at least one file\n", stderr);
            return 1;
        }
        return describeFiles(std::vector<std::string>(argv + 2, argv + argc));
    }
    if (command != "-out" || argc < 3) {
        printUsage(stderr);
        return 1;
    }
    const int format = zntFormatGetIndex(argv[2]);
    if (format < 0) {
        std::fprintf(stderr, "transmog: unknown format <%s>; -formats lists them\n", argv[2]);
        return 1;
    }
    if (!zntFormatIsWritable(format)) {
        std::fprintf(stderr, "%s\n", statusMessage(ZNT_CANT_SAVE, argv[2]).c_str());
        return 1;
    }
    std::string output;
    int page = 1, quality = 0;
    std::vector<std::string> files;
    for (int i = 3; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "-o" && hasValue) {
            output = argv[++i];
        } else if (arg == "-page" && hasValue) {
            if (!parseNumber(argv[++i], 1, 1 << 30, page)) {
                std::fprintf(stderr, "transmog: bad page number <%s>\n", argv[i]);
                return 1;
            }
        } else if (arg == "-q" && hasValue) {
            if (!parseNumber(argv[++i], 1, 100, quality)) {
                std::fprintf(stderr, "transmog: bad quality <%s>, 1 to 100\n", argv[i]);
                return 1;
            }
        } else if (arg == "-o" || arg == "-page" || arg == "-q") {
            std::fprintf(stderr, "transmog: %s needs a value\n", arg.c_str());
            return 1;
        } else {
            files.push_back(arg);
        }
    }
    if (files.empty()) {
        std::fputs("transmog: no file to convert\n", stderr);
        return 1;
    }
    if (!output.empty() && files.size() > 1) {
        std::fputs("transmog: -o names the output of a single file\n", stderr);
        return 1;
    }
    return convertFiles(files, format, output, page - 1, quality);
}

}  // namespace

int main(int argc, char **argv) {
    zntInitLibrary();
    const int status = run(argc, argv);
    zntExitLibrary();
    return status;
}
