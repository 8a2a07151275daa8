// Smaller rules of image views: the recent-file list, names of extracted
// pages, animation frame delays and page moves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quivel {

// Moves `path` to the front of a list of `count` path buffers of `capacity`
// bytes each (no duplicates; the last entry falls off when the list is full).
// Paths that do not fit a buffer are not remembered.
void rememberRecentFile(char *list, int count, size_t capacity, const std::string &path);

// "<folder>/<base name without suffix>_extract_<page, three digits>.ppm";
// pages are numbered from 1.
std::string extractFileName(const std::string &folder, const std::string &path, int pageIndex);

// The time a frame stays on screen: the file's delay, or 100 ms when the file
// gives none, and never under 20 ms so that a busy animation leaves the
// program time to answer.
uint32_t frameDelayMs(const uint32_t *delaysMs, int frameCount, int frame);

// The page that pageFirst, pageLast, pageNext or pagePrev moves to, or -1.
int pageIndexFor(std::string_view command, int page, int pageCount);

// The other side of a size whose aspect ratio is kept: `side` scaled by
// `to` / `from`, rounded, at least 1.
int keptRatioSide(int side, int from, int to);

// A size typed in a dialog: a whole number from 1 to 65535 with nothing
// after it but blanks; 0 when the text is not one.
int parseSize(const char *text);

// What the user is told when an image operation fails; "" for success and
// for a stop the user asked for.
std::string operationMessage(int status);

// The question asked before a modified picture is closed or left.
std::string saveChangesQuestion(const std::string &path);

}  // namespace quivel
