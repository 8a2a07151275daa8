// The formats a picture can be saved in, as the save dialogs offer them, and
// how a file name follows the chosen format.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quivel {

struct SaveFormat {
    int index;                  // in the library's format table
    std::string name;           // short name, "jpeg"
    std::string label;          // the menu's text, "JPEG / JFIF (*.jpg)"
};

// The writable formats the user left enabled, sorted by the library's sort
// text (then by short name). When every writable format is disabled all of
// them are offered, since a save must have somewhere to go.
std::vector<SaveFormat> saveFormats();

// The position in `formats` of `preferredIndex` when it is offered, else of
// the format named `defaultName` (Save.DefaultFormat), else 0.
int initialFormatPosition(const std::vector<SaveFormat> &formats, int preferredIndex, std::string_view defaultName);

// The name with its suffix changed to the format's default suffix when it
// has a picture suffix of another format; a name with no suffix, or one the
// library does not know ("notes.final"), is left as typed.
std::string withFormatSuffix(const std::string &fileName, int formatIndex);

// The name as it will be saved: the format's suffix appended when the name
// has none and `addMissingSuffix` (Save.AddExtensionIfNotExist) is on.
std::string savedFileName(const std::string &fileName, int formatIndex, bool addMissingSuffix);

// The format a typed name asks for by its suffix among `formats`, or -1.
int formatOfSuffix(const std::vector<SaveFormat> &formats, const std::string &fileName);

// The options dialog's page of a format's save options ("PWjpg"), or nullptr
// when the format has none.
const char *saveOptionsPage(std::string_view formatName);

}  // namespace quivel
