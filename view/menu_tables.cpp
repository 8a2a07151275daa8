#include "view/menu_tables.h"

#include "view/commands.h"

namespace quivel {

namespace {

using K = MenuItemKind;

constexpr ViewMenuItem separator(const char *name) { return {name, nullptr, nullptr, K::Separator}; }
constexpr ViewMenuItem command(const char *name, const char *label, const char *accelerator, const char *cmd) {
    return {name, label, accelerator, K::Command, cmd};
}
constexpr ViewMenuItem toggle(const char *name, const char *label, const char *accelerator, const char *cmd) {
    return {name, label, accelerator, K::Toggle, cmd};
}
constexpr ViewMenuItem action(const char *name, const char *label, int code) {
    return {name, label, nullptr, K::Action, nullptr, code};
}
constexpr ViewMenuItem convert(const char *name, const char *label, int mode, int dither) {
    return {name, label, nullptr, K::Convert, nullptr, mode, dither};
}
// Fit mode 1 is the fitImage command, which also resizes the window.
constexpr ViewMenuItem fit(const char *name, const char *label, int mode) {
    return {name, label, mode == 1 ? "Ctrl+T" : nullptr, K::FitMode, mode == 1 ? "fitImage" : nullptr, mode};
}
constexpr ViewMenuItem submenu(const char *name, const char *label, std::span<const ViewMenuItem> items) {
    return {name, label, nullptr, K::Submenu, nullptr, 0, 0, items};
}

constexpr ViewMenuItem kConversionsMenu[] = {
    command("sequenceConvert", "Sequence Conversion...", "Ctrl+N", "sequenceConvert"),
    command("multiConvert", "Multiple Files Conversion...", "Ctrl+U", "multiConvert"),
};

constexpr ViewMenuItem kFileMenu[] = {
    command("open", "Open...", "Ctrl+O", "open"),
    command("viewHexa", "View as Hexadecimal...", "Ctrl+H", "viewHexa"),
    command("reopenFiles", "Reopen", "Ctrl+R", "reopenFiles"),
    separator("separator1"),
    action("save", "Save", kActionSave),
    command("saveFiles", "Save As...", "Ctrl+S", "saveFiles"),
    separator("separator2"),
    {"recentFiles", nullptr, nullptr, K::RecentFiles},
    separator("separator3"),
    command("slideShow", "Slide Show...", "Ctrl+L", "slideShow"),
    submenu("MenuConvert", "Conversions", kConversionsMenu),
    command("properties", "Properties...", "Ctrl+E", "properties"),
    separator("separator4"),
    command("close", "Close", "Ctrl+W", "close"),
    command("quit", "Exit", "Ctrl+Q", "quit"),
};

constexpr ViewMenuItem kEditMenu[] = {
    command("undo", "Undo", "Ctrl+Z", "undo"),
    separator("separator1"),
    command("crop", "Crop", "Ctrl+Y", "crop"),
    action("selectNone", "Select None", kActionSelectNone),
    separator("separator2"),
    action("copy", "Copy", kActionCopy),
    action("paste", "Paste", kActionPaste),
    separator("separator3"),
    command("describe", "Description...", "Ctrl+D", "describe"),
    command("copyTo", "Copy To...", "Alt+C", "copyTo"),
    command("moveTo", "Move To...", "Alt+M", "moveTo"),
    command("rename", "Rename...", "F2", "rename"),
    command("delete", "Delete", "Del", "delete"),
};

constexpr ViewMenuItem kFitMenu[] = {
    fit("fitNone", "No Fit", 0),
    fit("fitWindow", "Fit Window to Image", 1),
    fit("fitAll", "Fit Image to Window", 2),
    fit("fitLarge", "Fit Image to Window (Large Only)", 3),
    fit("fitWidth", "Fit Image to Window Width", 6),
    fit("fitHeight", "Fit Image to Window Height", 7),
};

constexpr ViewMenuItem kViewMenu[] = {
    command("zoomIn", "Zoom In", "+", "zoom+"),
    command("zoomOut", "Zoom Out", "-", "zoom-"),
    command("zoom100", "Zoom 100%", "*", "zoom100"),
    separator("separator1"),
    submenu("MenuFit", "Auto Image Size", kFitMenu),
    command("adaptiveSize", "Adapt Window to Image", "Ctrl+A", "adaptiveSize"),
    separator("separator2"),
    toggle("fullScreen", "Full Screen", "Ctrl+F", "fullScreen"),
    toggle("statusBar", "Status Bar", "Ctrl+Shift+S", "statusBar"),
    toggle("toolBar", "Toolbar", "Ctrl+Shift+T", "toolBar"),
    toggle("colorInformation", "Color Information", "Ctrl+Shift+I", "colorInformation"),
    toggle("showMask", "Show Mask", "M", "showMask"),
    separator("separator3"),
    command("first", "First File", "Home", "first"),
    command("prev", "Previous File", "Page Up", "prev"),
    command("next", "Next File", "Page Down", "next"),
    command("last", "Last File", "End", "last"),
    separator("separator4"),
    command("pageFirst", "First Page", "Shift+Home", "pageFirst"),
    command("pagePrev", "Previous Page", "Shift+Page Up", "pagePrev"),
    command("pageNext", "Next Page", "Shift+Page Down", "pageNext"),
    command("pageLast", "Last Page", "Shift+End", "pageLast"),
    action("pages", "Pages...", kActionPageDialog),
};

constexpr ViewMenuItem kBinaryMenu[] = {
    convert("binaryPattern", "Binary (Pattern)", 1, 1),
    convert("binaryFloyd", "Binary (Floyd Steinberg)", 1, 5),
    convert("binaryHalftone45", "Binary (Halftone45)", 1, 2),
    convert("binaryHalftone90", "Binary (Halftone90)", 1, 3),
};

constexpr ViewMenuItem kGreyMenu[] = {
    convert("grey4", "4 Grey scale", 2, 4),
    convert("grey8", "8 Grey scale", 3, 4),
    convert("grey16", "16 Grey scale", 4, 4),
    convert("grey32", "32 Grey scale", 5, 4),
    convert("grey64", "64 Grey scale", 6, 4),
    convert("grey128", "128 Grey scale", 7, 4),
    convert("grey256", "256 Grey scale", 9, 4),
    separator("separator1"),
    convert("grey4Dither", "4 Grey scale (Dither)", 2, 1),
    convert("grey8Dither", "8 Grey scale (Dither)", 3, 1),
    convert("grey16Dither", "16 Grey scale (Dither)", 4, 1),
    convert("grey32Dither", "32 Grey scale (Dither)", 5, 1),
    convert("grey64Dither", "64 Grey scale (Dither)", 6, 1),
    convert("grey128Dither", "128 Grey scale (Dither)", 7, 1),
};

constexpr ViewMenuItem kColorsMenu[] = {
    convert("colors8", "8 colors (Adaptive)", 12, 4),
    convert("colors16", "16 colors (Adaptive)", 13, 4),
    convert("colors32", "32 colors (Adaptive)", 14, 4),
    convert("colors64", "64 colors (Adaptive)", 15, 4),
    convert("colors128", "128 colors (Adaptive)", 16, 4),
    convert("colors216", "216 colors (Adaptive)", 17, 4),
    convert("colors256", "256 colors (Adaptive)", 18, 4),
    separator("separator1"),
    convert("colors8Dither", "8 colors (Dither)", 12, 1),
    convert("colors16Dither", "16 colors (Dither)", 13, 1),
    convert("colors32Dither", "32 colors (Dither)", 14, 1),
    convert("colors64Dither", "64 colors (Dither)", 15, 1),
    convert("colors128Dither", "128 colors (Dither)", 16, 1),
    convert("colors216Dither", "216 colors (Dither)", 17, 1),
    convert("colors256Dither", "256 colors (Dither)", 18, 1),
};

constexpr ViewMenuItem kFlipMenu[] = {
    command("flipHorizontal", "Horizontal", "Shift+H", "flipHorizontal"),
    command("flipVertical", "Vertical", "Shift+V", "flipVertical"),
};

constexpr ViewMenuItem kRotateMenu[] = {
    command("rotateLeft", "Rotate Left", "Shift+L", "rotateLeft"),
    command("rotateRight", "Rotate Right", "Shift+R", "rotateRight"),
    action("rotate180", "Rotate 180", kActionRotate180),
};

constexpr ViewMenuItem kImageMenu[] = {
    submenu("MenuBinary", "Convert to Binary", kBinaryMenu),
    submenu("MenuGrey", "Convert to Grey", kGreyMenu),
    submenu("MenuColors", "Convert to Colors", kColorsMenu),
    convert("trueColor", "Convert to True Color", 19, 0),
    action("count", "Count Color Used", kActionCountColors),
    separator("separator1"),
    submenu("MenuFlip", "Flip", kFlipMenu),
    submenu("MenuRotate", "Rotate", kRotateMenu),
    separator("separator2"),
    command("resize", "Resize...", "Shift+S", "resize"),
    action("canvas", "Canvas Size...", kActionCanvas),
};

constexpr ViewMenuItem kToolsMenu[] = {
    command("browseFiles", "Browser...", "Ctrl+B", "browseFiles"),
    separator("separator1"),
    command("options", "Options...", nullptr, "options"),
};

constexpr ViewMenuItem kWindowMenu[] = {
    {"windowList", nullptr, nullptr, K::WindowList},
};

constexpr ViewMenuItem kHelpMenu[] = {
    action("about", "About Quivel...", kActionAbout),
    action("webSite", "Quivel on the Web", kActionWebSite),
};

constexpr ViewMenu kMenus[] = {
    {"file", "File", 'F', kFileMenu},       {"edit", "Edit", 'E', kEditMenu},
    {"view", "View", 'V', kViewMenu},       {"image", "Image", 'I', kImageMenu},
    {"filter", "Filter", 'l', {}},          {"tools", "Tools", 'T', kToolsMenu},
    {"window", "Window", 'W', kWindowMenu}, {"help", "Help", 'H', kHelpMenu},
};

// Icons are indexes into the toolbar's icon images (toolbar_icons.h).
constexpr ToolbarButton kToolbar[] = {
    {0, "open", "Open", "open", 0},
    {1, "saveFiles", "Save As", "saveFiles", 1},
    {2, "reopenFiles", "Reopen", "reopenFiles", 2},
    {3, "close", "Close", "close", 3},
    {4, "first", "First file", "first", 4},
    {5, "prev", "Previous file", "prev", 5},
    {6, "next", "Next file", "next", 6},
    {7, "last", "Last file", "last", 7},
    {8, "pagePrev", "Previous page", "pagePrev", 8},
    {9, "pageNext", "Next page", "pageNext", 9},
    {10, "browseFiles", "Browser", "browseFiles", 10},
    {11, "undo", "Undo", "undo", 11},
    {12, "crop", "Crop", "crop", 12},
    {13, "zoomIn", "Zoom in", "zoom+", 13},
    {14, "zoomOut", "Zoom out", "zoom-", 14},
    {15, "zoom100", "Zoom 100%", "zoom100", 15},
    {16, "fitImage", "Fit window to image", "fitImage", 16},
    {17, "fullScreen", "Full screen", "fullScreen", 17},
    {18, "rotateLeft", "Rotate left", "rotateLeft", 18},
    {19, "rotateRight", "Rotate right", "rotateRight", 19},
    {20, "flipHorizontal", "Flip horizontal", "flipHorizontal", 20},
    {21, "flipVertical", "Flip vertical", "flipVertical", 21},
    {22, "resize", "Resize", "resize", 22},
    {23, "colorInformation", "Color information", "colorInformation", 23},
    {24, "options", "Options", "options", 24},
    {25, "slideShow", "Slide show", "slideShow", 25},
    {26, "viewHexa", "View as hexadecimal", "viewHexa", 26},
};

bool available(const ViewMenuItem &item, bool recentFiles) {
    switch (item.kind) {
    case K::Command:
    case K::Toggle: return viewCommandAvailable(viewCommandByName(item.command));
    case K::RecentFiles: return recentFiles;
    case K::Submenu: return !shownItems(item.submenu, recentFiles).empty();
    default: return true;
    }
}

}  // namespace

std::span<const ViewMenu> viewMenus() { return kMenus; }

std::vector<const ViewMenuItem *> shownItems(std::span<const ViewMenuItem> items, bool recentFiles) {
    std::vector<const ViewMenuItem *> shown;
    for (const ViewMenuItem &item : items) {
        if (item.kind == K::Separator) {
            if (!shown.empty() && shown.back()->kind != K::Separator) shown.push_back(&item);
        } else if (available(item, recentFiles)) {
            shown.push_back(&item);
        }
    }
    if (!shown.empty() && shown.back()->kind == K::Separator) shown.pop_back();
    return shown;
}

std::string_view baseName(std::string_view path) {
    const size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::span<const ToolbarButton> toolbarButtons() { return kToolbar; }

std::vector<const ToolbarButton *> shownToolbarButtons(int32_t mask) {
    std::vector<const ToolbarButton *> shown;
    for (const ToolbarButton &b : kToolbar)
        if ((uint32_t(mask) >> b.bit & 1u) && viewCommandAvailable(viewCommandByName(b.command))) shown.push_back(&b);
    return shown;
}

}  // namespace quivel
