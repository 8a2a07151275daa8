// The pages of the options dialog and the rules of their controls, without
// a display: which pages exist and in which order, which key of the settings
// table each control edits and with which label, and how a control's state
// is read from a `Settings` record and stored back into one.
//
// A control names its key; the key table (settings.h) says how the value is
// kept, and that decides the kind of control: a bool key is a toggle, a
// number with a list of choices an option menu, anything else a text field.
// A control may edit only some bits of a number (`mask`), so one key can have
// several controls (a sort menu and a reverse toggle, one toggle per kind of
// item shown); each stores its own bits and leaves the others alone.
//
// The dialog loads a page's controls when it builds the page and stores
// every built page back when the user confirms, so storing what was loaded,
// untouched, gives the record it came from.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/settings.h"

namespace quivel {

// The smallest display gamma the gamma field stores; smaller values (and text
// that is not a number) become this one. The field checks nothing else.
inline constexpr double kMinimumGamma = 0.01;

enum class ControlKind : uint8_t {
    Heading,      // a plain label, no key
    Toggle,
    TextField,
    OptionMenu,
};

struct OptionChoice {
    int32_t value;
    const char *label;
};

enum OptionControlFlags : uint8_t {
    kSameLine = 1,       // placed beside the previous control rather than below it
    kLabelAfter = 2,     // a text field's label follows the field
    kFormatChoice = 4,   // a text key holding a format's short name: a menu of the save formats
    kChooseFile = 8,     // a text field with a button that picks the file with the file selector
};

struct OptionControl {
    const char *key;                            // "View.Fit"; nullptr for a heading
    const char *label;                          // the control's text, "" for none
    std::span<const OptionChoice> choices = {};   // an option menu's items, in order
    int32_t mask = 0;                           // the bits of the key edited; 0 for all of them
    const char *name = nullptr;                 // widget name; nullptr: the key without its section
    uint8_t flags = 0;
    const char *fileFilter = nullptr;           // kChooseFile: the selector's filter
};

// What a page holds besides its controls.
enum class PageExtra : uint8_t {
    Plain,       // controls only
    FileTypes,   // one entry per format of the library, selected when enabled
    Cache,       // the cached folders and "Remove all"
};

struct OptionPage {
    const char *name;    // widget name, "PView"
    const char *title;   // its entry in the page list
    int level;           // 0, or 1 under the page before it of level 0 ("PWrite", "PRead")
    std::span<const OptionControl> controls;
    PageExtra extra = PageExtra::Plain;
};

// Every page, in the order of the page list.
std::span<const OptionPage> optionPages();
const OptionPage *findOptionPage(std::string_view name);
// The page list's text for a page: its title, indented by its level.
std::string pageListText(const OptionPage &page);

// The control's key in the settings table (nullptr for a heading or a name
// that is not in the table), its kind and its widget name.
const SettingKey *controlKey(const OptionControl &control);
ControlKind controlKind(const OptionControl &control);
std::string controlWidgetName(const OptionControl &control);

// Toggles: on when the key (or its masked bits) is not zero.
bool toggleState(const Settings &settings, const OptionControl &control);
void storeToggle(Settings &settings, const OptionControl &control, bool on);

// Text fields: a number in decimal, a text as it is, the gamma as the file
// writes it. Storing reads a number as the file does (leading digits, 0 when
// there are none) and truncates it to the field's width, cuts a text to its
// buffer, and raises the gamma to kMinimumGamma.
std::string fieldText(const Settings &settings, const OptionControl &control);
void storeFieldText(Settings &settings, const OptionControl &control, std::string_view text);
int fieldColumns(const OptionControl &control);   // the visible width in characters
int fieldMaxLength(const OptionControl &control);  // 0: no limit

// Option menus. The items are the control's choices, followed by the current
// value when none of them matches it (a value from a hand-edited file), so
// that the menu shows what the record holds and keeps it unless the user
// picks another item. A format choice offers the save formats, each item's
// value the format's index, and stores the chosen format's short name; a
// name that is not offered shows as an extra item of value -1.
struct MenuItem {
    int32_t value;
    std::string label;
};
std::vector<MenuItem> menuItems(const Settings &settings, const OptionControl &control);
// The position in `menuItems` of the record's current value.
int menuPosition(const Settings &settings, const OptionControl &control);
void storeMenuValue(Settings &settings, const OptionControl &control, int32_t value);

// The file-types page: one row per format, its short name then its description.
std::string fileTypeRow(std::string_view name, std::string_view description);

// The cache page: the column titles and one row per cached folder.
std::string cacheTitleRow();
std::string cacheRow(std::string_view folder, int imageCount, uint64_t sizeBytes);
// A size as a person reads it: "512 B", "12.3 KB", "4.0 MB".
std::string byteSizeText(uint64_t sizeBytes);

}  // namespace quivel
