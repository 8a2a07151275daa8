// The menus and the toolbar of an image view, as constant tables.
//
// An item either names a view command (run through ViewDoCommand, the same
// path as its key) or carries a code for its menu's callback: an image
// conversion (mode and dither), a fit mode, or one of the view actions below
// that have no key. Items whose command is not available in this build are
// left out, and so are menus left empty; separators never lead, trail or
// double up.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace quivel {

enum class MenuItemKind {
    Command,     // `command` through ViewDoCommand
    Toggle,      // the same, shown as an on/off toggle of the view's state
    FitMode,     // radio entry: `code` is the fit mode
    Convert,     // colour conversion: `code` mode, `argument` dither
    Action,      // `code` is a ViewAction
    Submenu,     // `submenu` holds the items
    RecentFiles, // the most recently used files go here
    WindowList,  // the open views go here
    Separator,
};

// What the Action items do.
enum ViewAction {
    kActionSave,          // save under the view's own name and format
    kActionSelectNone,
    kActionCopy,
    kActionPaste,
    kActionPageDialog,
    kActionRotate180,
    kActionCanvas,
    kActionCountColors,
    kActionAbout,
    kActionWebSite,
};

struct ViewMenuItem {
    const char *name;              // widget name
    const char *label;
    const char *acceleratorText;   // nullptr when the item has no key
    MenuItemKind kind;
    const char *command = nullptr;
    int code = 0;
    int argument = 0;
    std::span<const ViewMenuItem> submenu = {};
};

struct ViewMenu {
    const char *name;    // cascade button name
    const char *label;
    char mnemonic;
    std::span<const ViewMenuItem> items;
};

// The menu bar, in order (the popup menu holds the same menus as cascades).
std::span<const ViewMenu> viewMenus();

// The items of `items` to show: commands available in this build, submenus
// with something in them, separators only between shown items, recent files
// only when `recentFiles` is set.
std::vector<const ViewMenuItem *> shownItems(std::span<const ViewMenuItem> items, bool recentFiles);

// The part of a path after its last '/'.
std::string_view baseName(std::string_view path);

// Toolbar buttons. Bit `bit` of Start.ToolbarViewConfig shows the button.
struct ToolbarButton {
    int bit;
    const char *name;      // widget name
    const char *tip;       // bubble help text
    const char *command;   // run through ViewDoCommand
    int icon;              // index into the icon images
};

std::span<const ToolbarButton> toolbarButtons();

// The buttons to show for a mask: bit set and command available.
std::vector<const ToolbarButton *> shownToolbarButtons(int32_t mask);

}  // namespace quivel
