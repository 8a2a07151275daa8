// Paths in the file selector: what a text typed in its name or path field
// names, where the selector starts, completion of a partly typed name, and
// the remembered folders (the most recently used list and the last folder
// of each kind of selector), which live in `Settings` so that they reach the
// configuration file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/settings.h"

namespace quivel {

// "/a/./b//c/../d" gives "/a/b/d". ".." above the root stays at the root. A
// relative path stays relative; "" gives "".
std::string normalisePath(std::string_view path);

// The absolute, normalised path that `text` names when typed while the
// selector shows `folder`: "~" and "~/..." start at `home`, "/..." is taken
// as it is, anything else is relative to `folder`.
std::string resolvePath(const std::string &folder, std::string_view text, const std::string &home);

// The folder part of an absolute path ("/" for "/x") and its last component.
std::string parentFolder(const std::string &path);
std::string baseName(const std::string &path);

// The names in the name field: each double-quoted name when there are
// quotes ("a.jpg" "b c.png"), else the whole text without its surrounding
// blanks as one name; never empty names.
std::vector<std::string> splitNames(std::string_view text);
// The text for the name field: one name as it is, several each quoted.
std::string joinNames(const std::vector<std::string> &names);

// Completion of `typed` among `names`: the longest common beginning of the
// names that begin with it, or `typed` itself when none does.
std::string completeName(std::string_view typed, const std::vector<std::string> &names);

// Whether a path is an existing folder (following links).
bool isFolder(const std::string &path);
bool isRegularFile(const std::string &path);

// The nearest existing folder at or above `path`; "/" at the last.
std::string nearestFolder(const std::string &path);

// Where the selector opens: the folder of `start` (a file or a folder) when
// it gives one, else `remembered`, else `working`, else `home`, each only
// when it exists, else the nearest existing folder above the first of them
// that was given; "/" at the last.
std::string startFolder(const std::string &start, const std::string &remembered, const std::string &working,
                        const std::string &home);

// The most recently used folders (DirName_0 first), skipping empty entries.
std::vector<std::string> recentFolders(const Settings &settings);
// Puts `folder` first in that list; an entry already there moves up, and the
// oldest falls off the end.
void rememberRecentFolder(Settings &settings, const std::string &folder);

}  // namespace quivel
