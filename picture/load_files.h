// Loading the files named on the command line into pictures. Until the view
// window exists this is all start-up does with them: each file is loaded,
// a failure is reported on standard error with its status message, and
// the picture is released again.
#pragma once

#include "zentar.h"

#include <cstdio>
#include <string>
#include <vector>

namespace quivel {

// Loads page 0 of one file. On success `picture` holds the pixels (the
// caller frees it with zntFree); on failure it holds none and `message`
// the text to show the user. Returns the status.
OpStatus loadPicture(const std::string &fileName, Picture &picture, std::string &message);

// Loads each file in turn, writes the message of every failure to `errors`
// followed by a new line, and frees what was loaded. Returns the number of
// files that loaded.
int loadFilesReportingFailures(const std::vector<std::string> &files, FILE *errors);

}  // namespace quivel
