#include "picture/load_files.h"

#include "picture/status_message.h"

namespace quivel {

OpStatus loadPicture(const std::string &fileName, Picture &picture, std::string &message) {
    picture.data = nullptr;
    picture.palette = nullptr;
    FileInformation info{};
    OpStatus status = zntFileInformation(fileName.c_str(), -1, 0, &info);
    if (status == ZNT_OK) {
        FormatParams params;
        zntDefaultParams(&params);
        params.formatIndex = info.formatIndex;
        params.pageNumber = 0;
        status = zntLoad(fileName.c_str(), &picture, &params, &info);
    }
    if (status != ZNT_OK) message = statusMessage(status, fileName, info.message);
    zntFileInformationFree(&info);
    return status;
}

int loadFilesReportingFailures(const std::vector<std::string> &files, FILE *errors) {
    int loaded = 0;
    for (const std::string &file : files) {
        Picture picture{};
        std::string message;
        const OpStatus status = loadPicture(file, picture, message);
        if (status == ZNT_OK) {
            ++loaded;
        } else if (!message.empty()) {
            std::fprintf(errors, "%s\n", message.c_str());
        }
        zntFree(&picture);
    }
    return loaded;
}

}  // namespace quivel
