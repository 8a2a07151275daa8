// What a view's status bar and title say.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zentar.h"

namespace quivel {

struct StatusPart {
    std::string text;
    int alignment;   // 0 beginning, 2 end (the status-bar widget's codes)
};

struct ViewStatus {
    int pageCount = 1, page = 0;      // page shown, from 0
    std::string fileName;             // the path; its base name is shown
    std::string secondText;           // the view's own note
    const Picture *picture = nullptr;
    uint64_t fileSize = 0;
    int zoom = 100;
    int frameCount = 1, frame = 0;
};

// The parts in order: "%d/%d" when the file has pages, the base name, the
// second text, "WxHxB", the colour kind, the file size when known, "%d%%",
// and "Frame %d/%d" when there are frames; the last part sits at the end.
std::vector<StatusPart> statusParts(const ViewStatus &status);

// "Binary", "%d Colors", "%d Grey Scale" or "True Colors".
std::string colorKindText(const Picture &picture);

// "1234 bytes", "12.3 KB", "4.5 MB", "1.2 GB".
std::string fileSizeText(uint64_t bytes);

// The title with the modified mark ("*" in front) set or cleared; the mark
// is never doubled.
std::string markedTitle(const std::string &title, bool modified);

// The colour-information text for the pixel at (x, y) of a picture.
std::string colorInformationText(const Picture &picture, int x, int y);

}  // namespace quivel
