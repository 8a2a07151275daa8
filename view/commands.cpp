#include "view/commands.h"

#include <array>

#include "zentar.h"

namespace quivel {

namespace {

struct CommandName {
    std::string_view name;
    ViewCommand command;
};

// Matched in this order.
constexpr std::array<CommandName, 42> kCommands = {{
    {"open", ViewCommand::open},
    {"viewHexa", ViewCommand::viewHexa},
    {"browseFiles", ViewCommand::browseFiles},
    {"reopenFiles", ViewCommand::reopenFiles},
    {"close", ViewCommand::close},
    {"saveFiles", ViewCommand::saveFiles},
    {"slideShow", ViewCommand::slideShow},
    {"sequenceConvert", ViewCommand::sequenceConvert},
    {"multiConvert", ViewCommand::multiConvert},
    {"quit", ViewCommand::quit},
    {"undo", ViewCommand::undo},
    {"crop", ViewCommand::crop},
    {"options", ViewCommand::options},
    {"adaptiveSize", ViewCommand::adaptiveSize},
    {"fitImage", ViewCommand::fitImage},
    {"fullScreen", ViewCommand::fullScreen},
    {"statusBar", ViewCommand::statusBar},
    {"toolBar", ViewCommand::toolBar},
    {"colorInformation", ViewCommand::colorInformation},
    {"zoom+", ViewCommand::zoomIn},
    {"zoom-", ViewCommand::zoomOut},
    {"zoom100", ViewCommand::zoom100},
    {"showMask", ViewCommand::showMask},
    {"first", ViewCommand::first},
    {"last", ViewCommand::last},
    {"next", ViewCommand::next},
    {"prev", ViewCommand::prev},
    {"pageFirst", ViewCommand::pageFirst},
    {"pageLast", ViewCommand::pageLast},
    {"pageNext", ViewCommand::pageNext},
    {"pagePrev", ViewCommand::pagePrev},
    {"describe", ViewCommand::describe},
    {"properties", ViewCommand::properties},
    {"copyTo", ViewCommand::copyTo},
    {"moveTo", ViewCommand::moveTo},
    {"rename", ViewCommand::rename},
    {"delete", ViewCommand::remove},
    {"resize", ViewCommand::resize},
    {"flipVertical", ViewCommand::flipVertical},
    {"flipHorizontal", ViewCommand::flipHorizontal},
    {"rotateLeft", ViewCommand::rotateLeft},
    {"rotateRight", ViewCommand::rotateRight},
}};

}  // namespace

ViewCommand viewCommandByName(std::string_view name) {
    for (const CommandName &c : kCommands)
        if (c.name == name) return c.command;
    return ViewCommand::unknown;
}

std::string_view viewCommandName(ViewCommand command) {
    for (const CommandName &c : kCommands)
        if (c.command == command) return c.name;
    return {};
}

bool viewCommandAvailable(ViewCommand command) {
    switch (command) {
    case ViewCommand::viewHexa:
    case ViewCommand::browseFiles:
    case ViewCommand::slideShow:
    case ViewCommand::sequenceConvert:
    case ViewCommand::multiConvert:
    case ViewCommand::describe:
    case ViewCommand::properties:
    case ViewCommand::copyTo:
    case ViewCommand::moveTo:
    case ViewCommand::rename:
    case ViewCommand::remove:
    case ViewCommand::unknown: return false;
    default: return true;
    }
}

const char *const kViewTranslations =
    "<Key>osfRight: ViewKeyScroll(0)\n"
    "<Key>osfLeft: ViewKeyScroll(1)\n"
    "<Key>osfUp: ViewKeyScroll(2)\n"
    "<Key>osfDown: ViewKeyScroll(3)\n"
    "<Key>osfCancel: ViewClose()\n"
    "Ctrl ~Alt ~Shift<Key>o: ViewDoCommand(open)\n"
    "Ctrl ~Alt ~Shift<Key>h: ViewDoCommand(viewHexa)\n"
    "Ctrl ~Alt ~Shift<Key>b: ViewDoCommand(browseFiles)\n"
    "Ctrl ~Alt ~Shift<Key>r: ViewDoCommand(reopenFiles)\n"
    "Ctrl ~Alt ~Shift<Key>w: ViewDoCommand(close)\n"
    "Ctrl ~Alt ~Shift<Key>s: ViewDoCommand(saveFiles)\n"
    "Ctrl ~Alt ~Shift<Key>l: ViewDoCommand(slideShow)\n"
    "Ctrl ~Alt ~Shift<Key>n: ViewDoCommand(sequenceConvert)\n"
    "Ctrl ~Alt ~Shift<Key>u: ViewDoCommand(multiConvert)\n"
    "Ctrl ~Alt ~Shift<Key>q: ViewDoCommand(quit)\n"
    "Ctrl ~Alt ~Shift<Key>z: ViewDoCommand(undo)\n"
    "Ctrl ~Alt ~Shift<Key>y: ViewDoCommand(crop)\n"
    "Ctrl ~Alt ~Shift<Key>d: ViewDoCommand(describe)\n"
    "Ctrl ~Alt ~Shift<Key>e: ViewDoCommand(properties)\n"
    "Ctrl ~Alt ~Shift<Key>a: ViewDoCommand(adaptiveSize)\n"
    "Ctrl ~Alt ~Shift<Key>t: ViewDoCommand(fitImage)\n"
    "Ctrl ~Alt ~Shift<Key>f: ViewDoCommand(fullScreen)\n"
    "Ctrl ~Alt Shift<Key>s: ViewDoCommand(statusBar)\n"
    "Ctrl ~Alt Shift<Key>t: ViewDoCommand(toolBar)\n"
    "Ctrl ~Alt Shift<Key>i: ViewDoCommand(colorInformation)\n"
    "~Ctrl ~Alt Shift<Key>s: ViewDoCommand(resize)\n"
    "~Ctrl ~Alt Shift<Key>l: ViewDoCommand(rotateLeft)\n"
    "~Ctrl ~Alt Shift<Key>r: ViewDoCommand(rotateRight)\n"
    "~Ctrl ~Alt Shift<Key>v: ViewDoCommand(flipVertical)\n"
    "~Ctrl ~Alt Shift<Key>h: ViewDoCommand(flipHorizontal)\n"
    "~Meta ~Alt ~Ctrl ~Shift<Key>osfBeginLine: ViewDoCommand(first)\n"
    "~Meta ~Alt ~Ctrl ~Shift<Key>osfPageDown: ViewDoCommand(next)\n"
    "~Meta ~Alt ~Ctrl ~Shift<Key>osfPageUp: ViewDoCommand(prev)\n"
    "~Meta ~Alt ~Ctrl ~Shift<Key>osfEndLine: ViewDoCommand(last)\n"
    "~Meta ~Alt ~Ctrl Shift<Key>osfBeginLine: ViewDoCommand(pageFirst)\n"
    "~Meta ~Alt ~Ctrl Shift<Key>osfPageDown: ViewDoCommand(pageNext)\n"
    "~Meta ~Alt ~Ctrl Shift<Key>osfPageUp: ViewDoCommand(pagePrev)\n"
    "~Meta ~Alt ~Ctrl Shift<Key>osfEndLine: ViewDoCommand(pageLast)\n"
    "~Meta ~Alt ~Ctrl ~Shift<Key>space: ViewDoCommand(next)\n"
    ":<Key>-: ViewDoCommand(zoom-)\n"
    ":<Key>+: ViewDoCommand(zoom+)\n"
    ":<Key>*: ViewDoCommand(zoom100)\n"
    "~Ctrl ~Alt Shift<Key>m: ViewDoCommand(showMask)\n"
    "~Ctrl ~Alt <Key>m: ViewDoCommand(showMask)\n"
    "Meta <Key>asterisk: ViewDoCommand(zoom100)\n"
    "Meta <Key>minus: ViewDoCommand(zoom-)\n"
    "Meta <Key>plus: ViewDoCommand(zoom+)\n"
    "~Ctrl Alt ~Shift<Key>c: ViewDoCommand(copyTo)\n"
    "~Ctrl Alt ~Shift<Key>m: ViewDoCommand(moveTo)\n"
    "~Ctrl ~Alt ~Shift<Key>F2: ViewDoCommand(rename)\n"
    "~Ctrl ~Alt ~Shift<Key>Delete: ViewDoCommand(delete)\n"
    "~Ctrl ~Alt ~Shift<Key>osfDelete: ViewDoCommand(delete)";

std::vector<std::pair<const char *, bool>> pictureMenuSensitivity(bool loadFailed, int pictureType) {
    static constexpr const char *kPictureMenus[] = {"MenuBinary", "MenuGrey", "MenuColors", "MenuMap",
                                                    "MenuAdjust", "MenuFlip", "MenuRotate", "count",
                                                    "trueColor", "resize"};
    std::vector<std::pair<const char *, bool>> items;
    if (loadFailed) {
        items.emplace_back("MenuSwap", false);
        for (const char *name : kPictureMenus) items.emplace_back(name, false);
        return items;
    }
    items.emplace_back("MenuSwap", pictureType != ZNT_BINARY && pictureType != ZNT_GREY);
    for (const char *name : kPictureMenus) items.emplace_back(name, true);
    items.emplace_back("canvas", true);
    return items;
}

}  // namespace quivel
