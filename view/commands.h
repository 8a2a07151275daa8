// The commands of an image view, their names, the view's key bindings, and
// which picture menus a view's state allows.
//
// Keys, menu items and toolbar buttons all reach a view through the action
// ViewDoCommand(name); the names are matched exactly, in table order.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

namespace quivel {

enum class ViewCommand {
    open, viewHexa, browseFiles, reopenFiles, close, saveFiles, slideShow, sequenceConvert, multiConvert, quit,
    undo, crop, options, adaptiveSize, fitImage, fullScreen, statusBar, toolBar, colorInformation,
    zoomIn, zoomOut, zoom100, showMask, first, last, next, prev, pageFirst, pageLast, pageNext, pagePrev,
    describe, properties, copyTo, moveTo, rename, remove, resize, flipVertical, flipHorizontal, rotateLeft,
    rotateRight,
    unknown
};

// The command of that name ("zoom+" is zoomIn, "delete" is remove), or unknown.
ViewCommand viewCommandByName(std::string_view name);
// The name a command is called by.
std::string_view viewCommandName(ViewCommand command);

// Whether this build can perform the command. Commands of tools not built
// yet (the browser, slide show, conversions, hex dump, descriptions,
// properties and file operations) do nothing, and their menu items and
// toolbar buttons are not shown.
bool viewCommandAvailable(ViewCommand command);

// The translation table of a view's picture area, in Xt syntax.
extern const char *const kViewTranslations;

// Picture menus made sensitive or not by widget name, after each change of
// the view's picture: all off when the last load failed; otherwise channel
// swapping only for kinds other than binary and grey.
std::vector<std::pair<const char *, bool>> pictureMenuSensitivity(bool loadFailed, int pictureType);

}  // namespace quivel
