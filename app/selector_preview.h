// The file selector's view of the selected file without a display: the
// texts of its information labels, and the small picture its preview shows.
#pragma once

#include <cstdint>
#include <string>

#include "zentar.h"

namespace quivel {

// The six information labels, from the file's first picture.
struct FileInformationTexts {
    std::string type, width, height, bits, planes, colors;
};

// "Type: JPEG", "Width: 640", "Height: 480", "Bits: 8" (per sample), "Planes:
// 3" (samples per pixel), "Colors: 16777216" (2 to the bits of the colour
// samples, alpha not counted; "2^48" beyond 24 bits). A file of several
// pages names their count after its type. Without information (a file the
// library does not read, or none selected) every label shows its title only.
FileInformationTexts fileInformationTexts(const FileInformation *info);

// The size of a picture of width x height fitted inside box, keeping its
// shape and never enlarged; at least 1 x 1.
struct PreviewSize {
    int width, height;
};
PreviewSize fitInside(int width, int height, int boxWidth, int boxHeight);

// Loads a reduced picture of `fileName` for a box of boxWidth x boxHeight and
// scales it to fit. `stop` is called as rows arrive; returning true ends the
// load (status 15), so that a user moving on to another file is not kept
// waiting. On success `picture` holds the result (freed by the caller with
// zntFree); on failure it holds nothing. Returns the status.
using PreviewStop = bool (*)(void *userData);
OpStatus loadPreviewPicture(const char *fileName, int boxWidth, int boxHeight, Picture &picture,
                            PreviewStop stop = nullptr, void *userData = nullptr);

}  // namespace quivel
