// Moving between files: within a view's file list, or, for a view without
// one, among the pictures of its file's folder.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quivel {

// The pictures of a folder (full paths): regular files whose name the
// library recognises and whose format is enabled, sorted by name without
// regard to ASCII case (then by exact name).
std::vector<std::string> folderPictures(const std::string &folder);

// The folder part of a path (cut at the last '/'; "." when there is none).
std::string folderOf(const std::string &path);

// The index that `first`, `last`, `next` or `prev` moves to from `current`
// in a list of `count`, or -1 when the move goes nowhere (already first or
// last, empty list, unknown command). `current` may be -1 when the shown
// file is not in the list: `next` then goes to the first name after it.
int navigateIndex(std::string_view command, int current, int count);

// Where `path` would stand among `sorted` (sorted as folderPictures sorts):
// the index of the first entry that comes after it.
int insertionIndex(const std::vector<std::string> &sorted, const std::string &path);

}  // namespace quivel
