// The file selector's widgets and callbacks. What is listed, how typed text
// is read, which formats are offered and what the preview shows are decided
// in folder_listing, selector_paths, save_formats and selector_preview; this
// file only shows the results and passes the user's actions on.
//
// Keyboard: the name field has the focus first. Return there confirms (or
// enters a typed folder, or sets a typed pattern as the filter); Up and Down
// move through the file list; Tab completes a partly typed name and
// otherwise moves on. Return in the folder list enters the folder, in the
// file list confirms the selected files. Escape cancels anywhere.
#include "app/file_selector.h"

#include <X11/Shell.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <Xm/DialogS.h>
#include <Xm/Form.h>
#include <Xm/Frame.h>
#include <Xm/Label.h>
#include <Xm/List.h>
#include <Xm/Protocols.h>
#include <Xm/PushB.h>
#include <Xm/PushBG.h>
#include <Xm/RowColumn.h>
#include <Xm/SelectioB.h>
#include <Xm/SeparatoG.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>
#include <Xm/ToggleBG.h>
#include <Xm/Xm.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "app/app_globals.h"
#include "app/folder_listing.h"
#include "app/later_parts.h"
#include "app/message_box.h"
#include "app/motif_text.h"
#include "app/options_dialog.h"
#include "app/save_formats.h"
#include "app/selector_paths.h"
#include "app/selector_preview.h"
#include "app/settings.h"
#include "app/x_app.h"
#include "picture/renderer_x.h"
#include "picture/status_message.h"
#include "widgets/combo_box.h"

namespace quivel {

namespace {

constexpr Dimension kDialogWidth = 680, kDialogHeight = 470;
constexpr Dimension kPreviewWidth = 160, kPreviewHeight = 120;
constexpr Dimension kFieldLabelWidth = 76;
constexpr unsigned long kPreviewDelayMs = 150;   // the selection must rest this long before a preview loads

// How the user last chose to list folders; kept for the session.
struct ListOptions {
    bool showHidden = false;
    SortKey sort = SortKey::Name;
    bool reverse = false;
};
ListOptions gListOptions;

enum InfoLabel { kType, kWidth, kHeight, kBits, kPlanes, kColors, kInfoCount };
constexpr const char *kInfoNames[kInfoCount] = {"labelType",   "labelWidth",  "labelHeight",
                                                "labelBits",   "labelPlanes", "labelColors"};

struct Selector {
    SelectorRequest request;
    std::string home;
    Widget shell = nullptr, form = nullptr;
    Widget combo = nullptr, upButton = nullptr;
    Widget folderList = nullptr, fileList = nullptr;
    Widget nameField = nullptr, filterCombo = nullptr;
    Widget formatMenu = nullptr, optionsButton = nullptr;
    Widget okButton = nullptr, cancelButton = nullptr;
    Widget previewLabel = nullptr, previewToggle = nullptr;
    Widget info[kInfoCount] = {};
    Widget popup = nullptr;
    std::vector<Widget> formatButtons;

    std::string folder;                 // shown, absolute
    FolderListing listing;
    std::vector<FolderEntry> files;     // as the file list shows them
    FileFilter filter;
    std::vector<SaveFormat> formats;
    int formatPosition = 0;

    Pixmap previewPixmap = 0;
    GC gc = nullptr;
    XtIntervalId previewTimer = 0;
    std::string previewPath;            // whose information and preview are shown
    bool previewStale = false;          // shown, but to be looked at again
    bool settingName = false;           // the name field is being filled from the list

    bool done = false, confirmed = false;
    FileSelection result;
};

Selector *gSelector = nullptr;   // the one shown, while runFileSelector waits

Widget label(Widget parent, const char *name, const std::string &text) {
    return XtVaCreateManagedWidget(name, xmLabelWidgetClass, parent, XmNlabelString,
                                   static_cast<XmString>(CompoundString(text)), XmNalignment, XmALIGNMENT_BEGINNING, nullptr);
}

Widget button(Widget parent, const char *name, const std::string &text, XtCallbackProc callback) {
    Widget w = XtVaCreateManagedWidget(name, xmPushButtonWidgetClass, parent, XmNlabelString,
                                       static_cast<XmString>(CompoundString(text)), nullptr);
    XtAddCallback(w, XmNactivateCallback, callback, nullptr);
    // Return presses the button that has the focus.
    XtOverrideTranslations(w, XtParseTranslationTable("<Key>Return: ArmAndActivate()\n<Key>KP_Enter: ArmAndActivate()"));
    return w;
}

void attach(Widget w, std::initializer_list<std::pair<const char *, XtArgVal>> values) {
    std::vector<Arg> args;
    for (const auto &[name, value] : values) args.push_back({const_cast<char *>(name), value});
    XtSetValues(w, args.data(), Cardinal(args.size()));
}

// --- The preview and the information labels -------------------------------

void setPreviewPixmap(Selector &s, Pixmap pixmap) {
    XtVaSetValues(s.previewLabel, XmNlabelPixmap, pixmap ? pixmap : XmUNSPECIFIED_PIXMAP, nullptr);
    if (s.previewPixmap) XFreePixmap(gX.display, s.previewPixmap);
    s.previewPixmap = pixmap;
}

// Whether a key or button press waits in the queue; nothing is taken out.
Bool notePress(Display *, XEvent *event, XPointer found) {
    if (event->type == KeyPress || event->type == ButtonPress) *reinterpret_cast<bool *>(found) = true;
    return False;
}

bool userIsMovingOn(void *displayPointer) {
    Display *display = static_cast<Display *>(displayPointer);
    if (XEventsQueued(display, QueuedAfterReading) == 0) return false;
    bool found = false;
    XEvent event;
    XCheckIfEvent(display, &event, notePress, reinterpret_cast<XPointer>(&found));
    return found;
}

void schedulePreview(Selector &s);

// Dialogs live on the screen's default visual and colormap; the preview is
// rendered for them, which is the program's own visual unless another was
// chosen (a deeper one, or -visualid) or the colours are in a private map.
struct PreviewTarget {
    DisplayVisual visual;
    const ColorContext *colors = nullptr;
};

const PreviewTarget *previewTarget() {
    static PreviewTarget target;
    static bool made = false;
    if (made) return target.colors ? &target : nullptr;
    made = true;
    Visual *defaultVisual = DefaultVisual(gX.display, gX.screen);
    if (gX.colors != nullptr && gX.visual.visual == defaultVisual &&
        gX.colors->colormap == DefaultColormap(gX.display, gX.screen)) {
        target.visual = gX.visual;
        target.colors = gX.colors;
        return &target;
    }
    XVisualInfo wanted{};
    wanted.visualid = XVisualIDFromVisual(defaultVisual);
    int count = 0;
    XVisualInfo *info = XGetVisualInfo(gX.display, VisualIDMask, &wanted, &count);
    if (info == nullptr || count == 0) return nullptr;
    VisualDescription description;
    description.visualId = uint32_t(info->visualid);
    description.visualClass = info->c_class;
    description.depth = info->depth;
    description.colormapSize = info->colormap_size;
    description.redMask = info->red_mask;
    description.greenMask = info->green_mask;
    description.blueMask = info->blue_mask;
    XFree(info);
    fillDisplayVisual(description, target.visual);
    target.visual.visual = defaultVisual;
    // A shared context: it stays with the others until the program ends.
    target.colors = AcquireColorContext(nullptr, target.visual, 0);
    return target.colors ? &target : nullptr;
}

// The file the preview is about: the one named in the name field when it
// names a single existing file, else the first selected in the list.
std::string focusedFile(const Selector &s) {
    const std::vector<std::string> names = splitNames(textFieldValue(s.nameField));
    if (names.size() == 1) {
        const std::string path = resolvePath(s.folder, names[0], s.home);
        if (isRegularFile(path)) return path;
    }
    int *positions = nullptr, count = 0;
    std::string path;
    if (XmListGetSelectedPos(s.fileList, &positions, &count) && count > 0 && positions[0] <= int(s.files.size()))
        path = resolvePath(s.folder, s.files[size_t(positions[0] - 1)].name, s.home);
    XtFree(reinterpret_cast<char *>(positions));
    return path;
}

void showInformation(Selector &s, const FileInformation *info) {
    const FileInformationTexts texts = fileInformationTexts(info);
    const std::string *values[kInfoCount] = {&texts.type, &texts.width, &texts.height, &texts.bits, &texts.planes,
                                             &texts.colors};
    for (int i = 0; i < kInfoCount; ++i)
        XtVaSetValues(s.info[i], XmNlabelString, static_cast<XmString>(CompoundString(*values[i])), nullptr);
}

void updatePreview(Selector &s) {
    const std::string path = focusedFile(s);
    if (path == s.previewPath && !s.previewStale) return;
    s.previewStale = false;
    FileInformation info{};
    const bool known = !path.empty() && zntFileInformation(path.c_str(), -1, ZNT_INFO_QUICK, &info) == ZNT_OK;
    showInformation(s, known ? &info : nullptr);
    zntFileInformationFree(&info);

    Pixmap pixmap = 0;
    const PreviewTarget *target = previewTarget();
    if (known && XmToggleButtonGetState(s.previewToggle) && target != nullptr) {
        Picture picture{};
        const OpStatus status = loadPreviewPicture(path.c_str(), kPreviewWidth, kPreviewHeight, picture,
                                                   userIsMovingOn, XtDisplay(s.shell));
        if (status == ZNT_STOPPED) {
            // Try again once the user has come to rest.
            s.previewStale = true;
            schedulePreview(s);
            return;
        }
        if (status == ZNT_OK) {
            if (s.gc == nullptr) s.gc = XCreateGC(XtDisplay(s.shell), XtWindow(s.previewLabel), 0, nullptr);
            pixmap = CreatePicturePixmap(picture, s.gc, *target->colors, target->visual);
        }
        zntFree(&picture);
    }
    setPreviewPixmap(s, pixmap);
    s.previewPath = path;
}

void previewTimerFired(XtPointer clientData, XtIntervalId *) {
    Selector &s = *static_cast<Selector *>(clientData);
    s.previewTimer = 0;
    updatePreview(s);
}

void schedulePreview(Selector &s) {
    if (s.previewTimer) XtRemoveTimeOut(s.previewTimer);
    s.previewTimer = XtAppAddTimeOut(gX.context, kPreviewDelayMs, previewTimerFired, &s);
}

// --- Lists -----------------------------------------------------------------

void fillList(Widget list, const std::vector<FolderEntry> &entries) {
    std::vector<XmString> items;
    items.reserve(entries.size());
    for (const FolderEntry &entry : entries)
        items.push_back(XmStringCreateLocalized(const_cast<char *>(entry.name.c_str())));
    XmListDeleteAllItems(list);
    XmListAddItemsUnselected(list, items.data(), int(items.size()), 0);
    for (XmString item : items) XmStringFree(item);
}

void refillFiles(Selector &s) {
    s.files = filteredFiles(s.listing, s.filter, gListOptions.sort, gListOptions.reverse);
    fillList(s.fileList, s.files);
    s.previewStale = true;   // whatever was shown, look again
    schedulePreview(s);
}

void setName(Selector &s, const std::string &text) {
    s.settingName = true;
    XmTextFieldSetString(s.nameField, const_cast<char *>(text.c_str()));
    XmTextFieldSetInsertionPosition(s.nameField, XmTextFieldGetLastPosition(s.nameField));
    s.settingName = false;
}

void fillRecentFolders(Selector &s) {
    MyComboBoxDeleteAllItems(s.combo);
    for (const std::string &folder : recentFolders(gSettings)) MyComboBoxAddItem(s.combo, folder.c_str(), 0);
}

// Shows `folder`; false (and a message) when it cannot be read.
bool showFolder(Selector &s, const std::string &folder) {
    FolderListing listing;
    const int error = readFolder(folder, gListOptions.showHidden, listing);
    if (error != 0) {
        showMessage(s.shell, MessageKind::Error, "Can't open folder \n<" + folder + ">\n" + std::strerror(error));
        return false;
    }
    s.folder = folder;
    s.listing = std::move(listing);
    fillList(s.folderList, s.listing.folders);
    MyComboBoxSetText(s.combo, folder.c_str());
    XtSetSensitive(s.upButton, folder != "/");
    if (s.request.mode != SelectorMode::Save) setName(s, "");
    refillFiles(s);
    return true;
}

void enterFolder(Selector &s, const std::string &folder, bool focusList) {
    if (!showFolder(s, folder)) return;
    if (focusList && !s.listing.folders.empty()) {
        XmListSelectPos(s.folderList, 1, False);
        XmListSetKbdItemPos(s.folderList, 1);
    }
}

std::vector<std::string> selectedNames(const Selector &s) {
    std::vector<std::string> names;
    int *positions = nullptr, count = 0;
    if (XmListGetSelectedPos(s.fileList, &positions, &count))
        for (int i = 0; i < count; ++i)
            if (positions[i] >= 1 && size_t(positions[i]) <= s.files.size())
                names.push_back(s.files[size_t(positions[i] - 1)].name);
    XtFree(reinterpret_cast<char *>(positions));
    return names;
}

// --- Confirming ------------------------------------------------------------

SelectorMode modeOf(const Selector &s) { return s.request.mode; }

int chosenFormat(const Selector &s) {
    if (s.formats.empty()) return -1;
    return s.formats[size_t(std::clamp(s.formatPosition, 0, int(s.formats.size()) - 1))].index;
}

void chooseFormatPosition(Selector &s, int position) {
    if (position < 0 || size_t(position) >= s.formats.size()) return;
    s.formatPosition = position;
    if (s.formatMenu) XtVaSetValues(s.formatMenu, XmNmenuHistory, s.formatButtons[size_t(position)], nullptr);
    if (s.optionsButton) XtSetSensitive(s.optionsButton, saveOptionsPage(s.formats[size_t(position)].name) != nullptr);
}

void finish(Selector &s, std::vector<std::string> files) {
    const std::string folder = parentFolder(files.front());
    char *remembered = s.request.rememberedFolder;
    if (folder.size() < kPathCapacity) {
        std::memcpy(remembered, folder.c_str(), folder.size() + 1);
        rememberRecentFolder(gSettings, folder);
    }
    s.result.files = std::move(files);
    s.result.formatIndex = modeOf(s) == SelectorMode::Save ? chosenFormat(s) : -1;
    s.confirmed = s.done = true;
}

// A typed pattern, possibly after a folder ("../raw/*.png"): the folder is
// shown and the pattern becomes the filter.
void applyTypedPattern(Selector &s, const std::string &typed) {
    const size_t slash = typed.rfind('/');
    if (slash != std::string::npos) {
        const std::string folder = resolvePath(s.folder, typed.substr(0, slash + 1), s.home);
        if (folder != s.folder && !showFolder(s, folder)) return;
    }
    const std::string pattern = slash == std::string::npos ? typed : typed.substr(slash + 1);
    MyComboBoxSetText(s.filterCombo, pattern.c_str());
    s.filter = parseFilter(pattern);
    setName(s, "");
    refillFiles(s);
}

void confirmSave(Selector &s, const std::string &typed) {
    std::string path = resolvePath(s.folder, typed, s.home);
    if (!isFolder(parentFolder(path))) {
        showMessage(s.shell, MessageKind::Error, "The folder \n<" + parentFolder(path) + ">\ndoes not exist");
        return;
    }
    if (s.request.chooseFormat && !s.formats.empty()) {
        // A suffix typed by hand names the format, as the file will show it.
        const int bySuffix = formatOfSuffix(s.formats, path);
        for (size_t i = 0; i < s.formats.size(); ++i)
            if (s.formats[i].index == bySuffix) chooseFormatPosition(s, int(i));
        path = savedFileName(path, chosenFormat(s), gSettings.save.addExtensionIfNotExist);
    }
    if (path.size() >= kPathCapacity) {
        showMessage(s.shell, MessageKind::Error, "The file name is too long");
        return;
    }
    if (isFolder(path)) {
        enterFolder(s, path, false);
        return;
    }
    struct stat info;
    if (stat(path.c_str(), &info) == 0 &&
        !askQuestion(s.shell, "The file \n<" + path + ">\nalready exists. Do you want to replace it ?"))
        return;
    finish(s, {path});
}

void confirm(Selector &s) {
    const std::vector<std::string> names = splitNames(textFieldValue(s.nameField));
    if (names.empty()) {
        XBell(XtDisplay(s.shell), 0);
        return;
    }
    if (names.size() == 1) {
        if (hasPatternCharacter(names[0])) {
            applyTypedPattern(s, names[0]);
            return;
        }
        const std::string path = resolvePath(s.folder, names[0], s.home);
        if (isFolder(path)) {
            enterFolder(s, path, false);
            return;
        }
    }
    if (modeOf(s) == SelectorMode::Save || modeOf(s) == SelectorMode::View) {
        if (names.size() != 1) {
            showMessage(s.shell, MessageKind::Error, "Choose one file");
            return;
        }
        if (modeOf(s) == SelectorMode::Save) {
            confirmSave(s, names[0]);
            return;
        }
    }
    std::vector<std::string> files;
    for (const std::string &name : names) {
        const std::string path = resolvePath(s.folder, name, s.home);
        if (!isRegularFile(path)) {
            showMessage(s.shell, MessageKind::Error, statusMessage(ZNT_CANT_OPEN, path));
            return;
        }
        files.push_back(path);
    }
    finish(s, std::move(files));
}

// --- Callbacks -------------------------------------------------------------

void okActivated(Widget, XtPointer, XtPointer) {
    if (gSelector) confirm(*gSelector);
}

void cancelActivated(Widget, XtPointer, XtPointer) {
    if (gSelector) gSelector->done = true;
}

void shellDestroyed(Widget, XtPointer clientData, XtPointer) {
    Selector &s = *static_cast<Selector *>(clientData);
    s.shell = nullptr;
    s.done = true;
}

void upActivated(Widget, XtPointer, XtPointer) {
    if (gSelector) enterFolder(*gSelector, parentFolder(gSelector->folder), false);
}

void folderActivated(Widget, XtPointer, XtPointer callData) {
    if (!gSelector) return;
    Selector &s = *gSelector;
    const int position = static_cast<XmListCallbackStruct *>(callData)->item_position;
    if (position < 1 || size_t(position) > s.listing.folders.size()) return;
    const std::string &name = s.listing.folders[size_t(position - 1)].name;
    enterFolder(s, resolvePath(s.folder, name, s.home), true);
}

void fileSelected(Widget, XtPointer, XtPointer) {
    if (!gSelector) return;
    Selector &s = *gSelector;
    const std::vector<std::string> names = selectedNames(s);
    if (!names.empty() || modeOf(s) != SelectorMode::Save) setName(s, joinNames(names));
    schedulePreview(s);
}

void fileActivated(Widget, XtPointer, XtPointer) {
    if (!gSelector) return;
    const std::vector<std::string> names = selectedNames(*gSelector);
    if (names.empty()) return;
    setName(*gSelector, joinNames(names));
    confirm(*gSelector);
}

// Typing a name selects the first file that begins with it.
void nameChanged(Widget, XtPointer, XtPointer) {
    if (!gSelector || gSelector->settingName) return;
    Selector &s = *gSelector;
    const std::string typed = textFieldValue(s.nameField);
    XmListDeselectAllItems(s.fileList);
    if (!typed.empty() && typed.find_first_of("/\"") == std::string::npos && !hasPatternCharacter(typed)) {
        for (size_t i = 0; i < s.files.size(); ++i) {
            if (!s.files[i].name.starts_with(typed)) continue;
            const int position = int(i + 1);
            XmListSelectPos(s.fileList, position, False);
            XmListSetKbdItemPos(s.fileList, position);
            int top = 0, visible = 0;
            XtVaGetValues(s.fileList, XmNtopItemPosition, &top, XmNvisibleItemCount, &visible, nullptr);
            if (position < top) XmListSetPos(s.fileList, position);
            if (position >= top + visible) XmListSetBottomPos(s.fileList, position);
            break;
        }
    }
    schedulePreview(s);
}

void comboActivated(Widget, XtPointer, XtPointer callData) {
    if (!gSelector) return;
    Selector &s = *gSelector;
    const std::string typed = static_cast<MyComboBoxCallbackStruct *>(callData)->text;
    const std::string path = resolvePath(s.folder, typed, s.home);
    if (isFolder(path)) {
        enterFolder(s, path, false);
    } else if (isRegularFile(path)) {
        // A file's path: go to its folder and name it.
        enterFolder(s, parentFolder(path), false);
        if (s.folder == parentFolder(path)) {
            setName(s, baseName(path));
            nameChanged(nullptr, nullptr, nullptr);
        }
    } else {
        showMessage(s.shell, MessageKind::Error, "The folder \n<" + path + ">\ndoes not exist");
        MyComboBoxSetText(s.combo, s.folder.c_str());
    }
}

void filterActivated(Widget, XtPointer, XtPointer callData) {
    if (!gSelector) return;
    gSelector->filter = parseFilter(static_cast<MyComboBoxCallbackStruct *>(callData)->text);
    refillFiles(*gSelector);
}

void formatChosen(Widget w, XtPointer, XtPointer) {
    if (!gSelector) return;
    Selector &s = *gSelector;
    const auto at = std::find(s.formatButtons.begin(), s.formatButtons.end(), w);
    if (at == s.formatButtons.end()) return;
    chooseFormatPosition(s, int(at - s.formatButtons.begin()));
    const std::string typed = textFieldValue(s.nameField);
    // Set as if typed, so that the list follows the new name.
    if (!typed.empty() && typed.find('"') == std::string::npos)
        XmTextFieldSetString(s.nameField, const_cast<char *>(withFormatSuffix(typed, chosenFormat(s)).c_str()));
}

void optionsActivated(Widget, XtPointer, XtPointer) {
    if (!gSelector || gSelector->formats.empty()) return;
    if (const char *page = saveOptionsPage(gSelector->formats[size_t(gSelector->formatPosition)].name))
        optionsDialogAtPage(gSelector->shell, page);
}

void previewToggled(Widget, XtPointer, XtPointer callData) {
    if (!gSelector) return;
    gSettings.load.preview = static_cast<XmToggleButtonCallbackStruct *>(callData)->set != XmUNSET;
    gSelector->previewStale = true;
    schedulePreview(*gSelector);
}

// Up and Down in the name field walk the file list; Tab completes.
void moveSelection(Selector &s, int step) {
    const int count = int(s.files.size());
    if (count == 0) return;
    int *positions = nullptr, selected = 0;
    int at = 0;
    if (XmListGetSelectedPos(s.fileList, &positions, &selected) && selected > 0)
        at = step > 0 ? positions[selected - 1] : positions[0];
    XtFree(reinterpret_cast<char *>(positions));
    const int target = std::clamp(at == 0 ? (step > 0 ? 1 : count) : at + step, 1, count);
    XmListDeselectAllItems(s.fileList);
    XmListSelectPos(s.fileList, target, True);
    XmListSetKbdItemPos(s.fileList, target);
    int top = 0, visible = 0;
    XtVaGetValues(s.fileList, XmNtopItemPosition, &top, XmNvisibleItemCount, &visible, nullptr);
    if (target < top) XmListSetPos(s.fileList, target);
    if (target >= top + visible) XmListSetBottomPos(s.fileList, target);
}

void SelectorMove(Widget, XEvent *, String *params, Cardinal *count) {
    if (gSelector && *count == 1) moveSelection(*gSelector, std::atoi(params[0]));
}

void SelectorComplete(Widget w, XEvent *event, String *, Cardinal *) {
    if (!gSelector) return;
    Selector &s = *gSelector;
    const std::string typed = textFieldValue(s.nameField);
    if (!typed.empty() && typed.find('"') == std::string::npos) {
        // Complete the last component among the entries of its folder.
        const size_t slash = typed.rfind('/');
        const std::string head = slash == std::string::npos ? "" : typed.substr(0, slash + 1);
        const std::string tail = typed.substr(head.size());
        std::vector<std::string> names;
        FolderListing listing;
        const std::string folder = head.empty() ? s.folder : resolvePath(s.folder, head, s.home);
        if (readFolder(folder, gListOptions.showHidden || tail.starts_with("."), listing) == 0) {
            for (const FolderEntry &e : listing.folders)
                if (e.name != "..") names.push_back(e.name + "/");
            for (const FolderEntry &e : listing.files) names.push_back(e.name);
        }
        const std::string completed = completeName(tail, names);
        if (completed != tail) {
            XmTextFieldSetString(s.nameField, const_cast<char *>((head + completed).c_str()));
            XmTextFieldSetInsertionPosition(s.nameField, XmTextFieldGetLastPosition(s.nameField));
            return;
        }
    }
    XtCallActionProc(w, const_cast<char *>("next-tab-group"), event, nullptr, 0);
}

// --- The popup menu --------------------------------------------------------

enum PopupItem { kNewFolder, kShowHidden, kSortName, kSortExtension, kSortDate, kSortSize, kReverse, kRefresh };

bool askFolderName(Widget parent, std::string &name) {
    struct Answer {
        bool done = false, ok = false;
        std::string text;
    } answer;
    Arg args[3];
    Cardinal n = 0;
    const CompoundString prompt("Name of the new folder:"), title("New Folder");
    XtSetArg(args[n], XmNselectionLabelString, static_cast<XmString>(prompt)), ++n;
    XtSetArg(args[n], XmNdialogTitle, static_cast<XmString>(title)), ++n;
    XtSetArg(args[n], XmNdialogStyle, XmDIALOG_PRIMARY_APPLICATION_MODAL), ++n;
    Widget dialog = XmCreatePromptDialog(parent, const_cast<char *>("TolvaNewFolder"), args, n);
    XtUnmanageChild(XmSelectionBoxGetChild(dialog, XmDIALOG_HELP_BUTTON));
    auto answered = [](Widget, XtPointer clientData, XtPointer callData) {
        auto *a = static_cast<Answer *>(clientData);
        const auto *cbs = static_cast<XmSelectionBoxCallbackStruct *>(callData);
        a->ok = cbs->reason == XmCR_OK;
        if (a->ok) a->text = plainText(cbs->value);
        a->done = true;
    };
    XtAddCallback(dialog, XmNokCallback, answered, &answer);
    XtAddCallback(dialog, XmNcancelCallback, answered, &answer);
    XtAddCallback(
        XtParent(dialog), XmNpopdownCallback, [](Widget, XtPointer clientData, XtPointer) {
            static_cast<Answer *>(clientData)->done = true;
        },
        &answer);
    XtManageChild(dialog);
    {
        const ModalLoop loop;
        while (!answer.done) XtAppProcessEvent(gX.context, XtIMAll);
    }
    XtDestroyWidget(XtParent(dialog));
    name = answer.text;
    return answer.ok && !name.empty();
}

void newFolder(Selector &s) {
    std::string name;
    if (!askFolderName(s.shell, name)) return;
    const std::string path = resolvePath(s.folder, name, s.home);
    if (mkdir(path.c_str(), 0777) != 0) {
        showMessage(s.shell, MessageKind::Error, "Can't create folder \n<" + path + ">\n" + std::strerror(errno));
        return;
    }
    showFolder(s, s.folder);
    for (size_t i = 0; i < s.listing.folders.size(); ++i) {
        if (resolvePath(s.folder, s.listing.folders[i].name, s.home) != path) continue;
        XmListSelectPos(s.folderList, int(i + 1), False);
        XmListSetKbdItemPos(s.folderList, int(i + 1));
        XmListSetBottomPos(s.folderList, int(i + 1));
    }
}

void popupChosen(Widget w, XtPointer clientData, XtPointer) {
    if (!gSelector) return;
    Selector &s = *gSelector;
    switch (static_cast<PopupItem>(reinterpret_cast<intptr_t>(clientData))) {
    case kNewFolder: newFolder(s); return;
    case kShowHidden:
        gListOptions.showHidden = XmToggleButtonGadgetGetState(w);
        showFolder(s, s.folder);
        return;
    case kSortName: gListOptions.sort = SortKey::Name; break;
    case kSortExtension: gListOptions.sort = SortKey::Extension; break;
    case kSortDate: gListOptions.sort = SortKey::Date; break;
    case kSortSize: gListOptions.sort = SortKey::Size; break;
    case kReverse: gListOptions.reverse = XmToggleButtonGadgetGetState(w); break;
    case kRefresh: showFolder(s, s.folder); return;
    }
    refillFiles(s);
}

void postPopup(Widget, XtPointer, XEvent *event, Boolean *) {
    if (!gSelector) return;
    XButtonPressedEvent at{};
    if (event->type == ButtonPress) {
        if (event->xbutton.button != Button3) return;
        at = event->xbutton;
    } else if (event->type == KeyPress) {
        const KeySym key = XLookupKeysym(&event->xkey, 0);
        const bool shiftF10 = key == XK_F10 && (event->xkey.state & ShiftMask);
        if (key != XK_Menu && !shiftF10) return;
        at.type = ButtonPress;
        at.x_root = event->xkey.x_root;
        at.y_root = event->xkey.y_root;
    } else {
        return;
    }
    XmMenuPosition(gSelector->popup, &at);
    XtManageChild(gSelector->popup);
}

Widget createPopup(Selector &s) {
    Arg args[1];
    XtSetArg(args[0], XmNpopupEnabled, False);
    Widget popup = XmCreatePopupMenu(s.form, const_cast<char *>("menuPopup"), args, 1);
    auto item = [&](const char *name, const char *text, PopupItem code, int toggle, bool set = false) {
        Widget w;
        if (toggle)
            w = XtVaCreateManagedWidget(name, xmToggleButtonGadgetClass, popup, XmNlabelString,
                                        static_cast<XmString>(CompoundString(text)), XmNset, set ? XmSET : XmUNSET,
                                        XmNindicatorType, toggle == 2 ? XmONE_OF_MANY : XmN_OF_MANY,
                                        XmNvisibleWhenOff, True, nullptr);
        else
            w = XtVaCreateManagedWidget(name, xmPushButtonGadgetClass, popup, XmNlabelString,
                                        static_cast<XmString>(CompoundString(text)), nullptr);
        XtAddCallback(w, toggle ? XmNvalueChangedCallback : XmNactivateCallback, popupChosen,
                      reinterpret_cast<XtPointer>(intptr_t(code)));
        return w;
    };
    item("newFolder", "New Folder...", kNewFolder, 0);
    item("showHidden", "Show Hidden Files", kShowHidden, 1, gListOptions.showHidden);
    XtCreateManagedWidget("separator", xmSeparatorGadgetClass, popup, nullptr, 0);
    // The sort choices are one of many: a radio box inside the menu.
    const SortKey sort = gListOptions.sort;
    item("sortName", "Sort by Name", kSortName, 2, sort == SortKey::Name);
    item("sortExtension", "Sort by Extension", kSortExtension, 2, sort == SortKey::Extension);
    item("sortDate", "Sort by Date", kSortDate, 2, sort == SortKey::Date);
    item("sortSize", "Sort by Size", kSortSize, 2, sort == SortKey::Size);
    item("sortReverse", "Reverse Order", kReverse, 1, gListOptions.reverse);
    XtCreateManagedWidget("separator", xmSeparatorGadgetClass, popup, nullptr, 0);
    item("refresh", "Refresh", kRefresh, 0);
    return popup;
}

// Keeps the sort items one of many (the menu also holds toggles that are not).
void sortItemChanged(Widget w, XtPointer, XtPointer callData) {
    if (!static_cast<XmToggleButtonCallbackStruct *>(callData)->set) {
        XmToggleButtonGadgetSetState(w, True, False);   // one stays chosen
        return;
    }
    WidgetList children = nullptr;
    Cardinal count = 0;
    XtVaGetValues(XtParent(w), XmNchildren, &children, XmNnumChildren, &count, nullptr);
    for (Cardinal i = 0; i < count; ++i)
        if (children[i] != w && std::strncmp(XtName(children[i]), "sort", 4) == 0 &&
            std::strcmp(XtName(children[i]), "sortReverse") != 0)
            XmToggleButtonGadgetSetState(children[i], False, False);
}

// --- Building --------------------------------------------------------------

Widget scrolledList(Widget form, const char *name, unsigned char policy) {
    Arg args[4];
    Cardinal n = 0;
    XtSetArg(args[n], XmNselectionPolicy, policy), ++n;
    XtSetArg(args[n], XmNvisibleItemCount, 12), ++n;
    XtSetArg(args[n], XmNscrollBarDisplayPolicy, XmSTATIC), ++n;
    XtSetArg(args[n], XmNlistSizePolicy, XmCONSTANT), ++n;
    Widget list = XmCreateScrolledList(form, const_cast<char *>(name), args, n);
    XtManageChild(list);
    XtAddEventHandler(list, ButtonPressMask | KeyPressMask, False, postPopup, nullptr);
    return list;
}

void createFormatMenu(Selector &s, Widget form) {
    Widget pulldown = XmCreatePulldownMenu(form, const_cast<char *>("formatPulldown"), nullptr, 0);
    for (const SaveFormat &format : s.formats) {
        Widget item = XtVaCreateManagedWidget(format.name.c_str(), xmPushButtonGadgetClass, pulldown, XmNlabelString,
                                              static_cast<XmString>(CompoundString(format.label)), nullptr);
        XtAddCallback(item, XmNactivateCallback, formatChosen, nullptr);
        s.formatButtons.push_back(item);
    }
    Arg args[2];
    Cardinal n = 0;
    const CompoundString title("Format:");
    XtSetArg(args[n], XmNsubMenuId, pulldown), ++n;
    XtSetArg(args[n], XmNlabelString, static_cast<XmString>(title)), ++n;
    s.formatMenu = XmCreateOptionMenu(form, const_cast<char *>("optionFormat"), args, n);
    XtManageChild(s.formatMenu);
    s.optionsButton = button(form, "buttonOptions", "Options...", optionsActivated);
}

const char *confirmLabel(SelectorMode mode) {
    switch (mode) {
    case SelectorMode::Load: return "Open";
    case SelectorMode::View: return "View";
    case SelectorMode::Save: return "Save";
    }
    return "OK";
}

void createDialog(Selector &s, Widget parent) {
    s.shell = XtVaCreatePopupShell("FileSelector", xmDialogShellWidgetClass, parent ? parent : gX.topLevel, XmNtitle,
                                   s.request.title.c_str(), XmNdeleteResponse, XmDO_NOTHING, XmNallowShellResize,
                                   False, nullptr);
    XtAddCallback(s.shell, XmNdestroyCallback, shellDestroyed, &s);
    Atom deleteWindow = XmInternAtom(XtDisplay(s.shell), const_cast<char *>("WM_DELETE_WINDOW"), False);
    XmAddWMProtocolCallback(s.shell, deleteWindow, cancelActivated, nullptr);

    Widget form = s.form = XtVaCreateWidget(
        "form", xmFormWidgetClass, s.shell, XmNwidth, kDialogWidth, XmNheight, kDialogHeight, XmNfractionBase, 100,
        XmNmarginWidth, 8, XmNmarginHeight, 8, XmNhorizontalSpacing, 6, XmNverticalSpacing, 6,
        XmNdialogStyle, XmDIALOG_PRIMARY_APPLICATION_MODAL, XmNautoUnmanage, False, nullptr);

    // Made in the order Tab walks them; placed afterwards.
    Widget pathLabel = label(form, "labelPath", "Look in:");
    s.combo = MyCreateComboBox(form, "comboBox", nullptr, 0);
    XtManageChild(s.combo);
    XtAddCallback(s.combo, XmNactivateCallback, comboActivated, nullptr);
    s.upButton = button(form, "buttonUp", "Up", upActivated);

    Widget foldersLabel = label(form, "labelFolders", "Folders");
    Widget filesLabel = label(form, "labelFiles", "Files");
    s.folderList = scrolledList(form, "scrolledList1", XmBROWSE_SELECT);
    XtAddCallback(s.folderList, XmNdefaultActionCallback, folderActivated, nullptr);
    const bool several = s.request.mode == SelectorMode::Load;
    s.fileList = scrolledList(form, "scrolledList2", several ? XmEXTENDED_SELECT : XmBROWSE_SELECT);
    XtAddCallback(s.fileList, several ? XmNextendedSelectionCallback : XmNbrowseSelectionCallback, fileSelected,
                  nullptr);
    XtAddCallback(s.fileList, XmNdefaultActionCallback, fileActivated, nullptr);

    Widget frame = XtVaCreateManagedWidget("framePreview", xmFrameWidgetClass, form, nullptr);
    Widget column = XtVaCreateManagedWidget("previewArea", xmRowColumnWidgetClass, frame, XmNorientation,
                                            XmVERTICAL, XmNpacking, XmPACK_TIGHT, XmNspacing, 2,
                                            // The preview's margins stay 0 beside the toggle's.
                                            XmNadjustMargin, False, nullptr);
    s.previewLabel = XtVaCreateManagedWidget("labelPreview", xmLabelWidgetClass, column, XmNlabelType, XmPIXMAP,
                                             XmNlabelPixmap, XmUNSPECIFIED_PIXMAP, XmNrecomputeSize, False,
                                             XmNwidth, kPreviewWidth, XmNheight, kPreviewHeight, XmNmarginWidth, 0,
                                             XmNmarginHeight, 0, XmNhighlightThickness, 0, XmNshadowThickness, 0,
                                             nullptr);
    s.previewToggle = XtVaCreateManagedWidget("togglePreview", xmToggleButtonWidgetClass, column, XmNlabelString,
                                              static_cast<XmString>(CompoundString("Preview")), XmNset,
                                              gSettings.load.preview ? XmSET : XmUNSET, nullptr);
    XtAddCallback(s.previewToggle, XmNvalueChangedCallback, previewToggled, nullptr);
    for (int i = 0; i < kInfoCount; ++i) s.info[i] = label(column, kInfoNames[i], "");
    showInformation(s, nullptr);

    Widget nameLabel = label(form, "labelName", "File name:");
    s.nameField = XtVaCreateManagedWidget("textName", xmTextFieldWidgetClass, form, nullptr);
    XtAddCallback(s.nameField, XmNactivateCallback, okActivated, nullptr);
    XtAddCallback(s.nameField, XmNvalueChangedCallback, nameChanged, nullptr);
    XtOverrideTranslations(s.nameField, XtParseTranslationTable("<Key>osfUp: SelectorMove(-1)\n"
                                                                "<Key>osfDown: SelectorMove(1)\n"
                                                                "~Shift ~Ctrl ~Meta ~Alt<Key>Tab: SelectorComplete()"));
    Widget filterLabel = label(form, "labelFilter", "Filter:");
    s.filterCombo = MyCreateComboBox(form, "comboFilter", nullptr, 0);
    XtManageChild(s.filterCombo);
    XtAddCallback(s.filterCombo, XmNactivateCallback, filterActivated, nullptr);

    const bool withFormats = s.request.mode == SelectorMode::Save && s.request.chooseFormat && !s.formats.empty();
    if (withFormats) createFormatMenu(s, form);
    s.okButton = button(form, "buttonOk",
                        s.request.confirmLabel.empty() ? confirmLabel(s.request.mode) : s.request.confirmLabel,
                        okActivated);
    s.cancelButton = button(form, "buttonCancel", "Cancel", cancelActivated);
    s.popup = createPopup(s);
    for (const char *name : {"sortName", "sortExtension", "sortDate", "sortSize"})
        XtAddCallback(XtNameToWidget(s.popup, name), XmNvalueChangedCallback, sortItemChanged, nullptr);

    // Placing. Top row, then the bottom rows upwards, then the lists between.
    attach(pathLabel, {{XmNtopAttachment, XmATTACH_FORM}, {XmNtopOffset, 6}, {XmNleftAttachment, XmATTACH_FORM}});
    attach(s.upButton, {{XmNtopAttachment, XmATTACH_FORM}, {XmNrightAttachment, XmATTACH_FORM}});
    attach(s.combo, {{XmNtopAttachment, XmATTACH_FORM},
                     {XmNleftAttachment, XmATTACH_WIDGET},
                     {XmNleftWidget, XtArgVal(pathLabel)},
                     {XmNrightAttachment, XmATTACH_WIDGET},
                     {XmNrightWidget, XtArgVal(s.upButton)}});
    attach(s.cancelButton, {{XmNbottomAttachment, XmATTACH_FORM}, {XmNrightAttachment, XmATTACH_FORM},
                            {XmNwidth, 90}});
    attach(s.okButton, {{XmNbottomAttachment, XmATTACH_FORM},
                        {XmNrightAttachment, XmATTACH_WIDGET},
                        {XmNrightWidget, XtArgVal(s.cancelButton)},
                        {XmNwidth, 90}});
    Widget above = s.okButton;
    if (withFormats) {
        attach(s.formatMenu, {{XmNbottomAttachment, XmATTACH_FORM}, {XmNleftAttachment, XmATTACH_FORM}});
        attach(s.optionsButton, {{XmNbottomAttachment, XmATTACH_FORM},
                                 {XmNleftAttachment, XmATTACH_WIDGET},
                                 {XmNleftWidget, XtArgVal(s.formatMenu)}});
    }
    for (auto [fieldLabel, field] : {std::pair{filterLabel, s.filterCombo}, std::pair{nameLabel, s.nameField}}) {
        attach(field, {{XmNbottomAttachment, XmATTACH_WIDGET},
                       {XmNbottomWidget, XtArgVal(above)},
                       {XmNleftAttachment, XmATTACH_FORM},
                       {XmNleftOffset, kFieldLabelWidth + 8},
                       {XmNrightAttachment, XmATTACH_FORM}});
        attach(fieldLabel, {{XmNtopAttachment, XmATTACH_OPPOSITE_WIDGET},
                             {XmNtopWidget, XtArgVal(field)},
                             {XmNbottomAttachment, XmATTACH_OPPOSITE_WIDGET},
                             {XmNbottomWidget, XtArgVal(field)},
                             {XmNleftAttachment, XmATTACH_FORM},
                             {XmNwidth, kFieldLabelWidth},
                             {XmNrecomputeSize, False}});
        above = field;
    }
    attach(frame, {{XmNtopAttachment, XmATTACH_WIDGET},
                   {XmNtopWidget, XtArgVal(s.combo)},
                   {XmNrightAttachment, XmATTACH_FORM},
                   {XmNbottomAttachment, XmATTACH_WIDGET},
                   {XmNbottomWidget, XtArgVal(s.nameField)}});
    attach(foldersLabel, {{XmNtopAttachment, XmATTACH_WIDGET}, {XmNtopWidget, XtArgVal(s.combo)},
                          {XmNleftAttachment, XmATTACH_FORM}});
    attach(XtParent(s.folderList), {{XmNtopAttachment, XmATTACH_WIDGET},
                                    {XmNtopWidget, XtArgVal(foldersLabel)},
                                    {XmNleftAttachment, XmATTACH_FORM},
                                    {XmNrightAttachment, XmATTACH_POSITION},
                                    {XmNrightPosition, 32},
                                    {XmNbottomAttachment, XmATTACH_WIDGET},
                                    {XmNbottomWidget, XtArgVal(s.nameField)}});
    attach(filesLabel, {{XmNtopAttachment, XmATTACH_WIDGET},
                        {XmNtopWidget, XtArgVal(s.combo)},
                        {XmNleftAttachment, XmATTACH_WIDGET},
                        {XmNleftWidget, XtArgVal(XtParent(s.folderList))}});
    attach(XtParent(s.fileList), {{XmNtopAttachment, XmATTACH_WIDGET},
                                  {XmNtopWidget, XtArgVal(filesLabel)},
                                  {XmNleftAttachment, XmATTACH_WIDGET},
                                  {XmNleftWidget, XtArgVal(XtParent(s.folderList))},
                                  {XmNrightAttachment, XmATTACH_WIDGET},
                                  {XmNrightWidget, XtArgVal(frame)},
                                  {XmNbottomAttachment, XmATTACH_WIDGET},
                                  {XmNbottomWidget, XtArgVal(s.nameField)}});

    // Tab walks the fields in this order rather than by their places.
    for (Widget w : {s.combo, s.upButton, s.folderList, s.fileList, s.previewToggle, s.nameField, s.filterCombo,
                     s.formatMenu, s.optionsButton, s.okButton, s.cancelButton})
        if (w) XtVaSetValues(w, XmNnavigationType, XmEXCLUSIVE_TAB_GROUP, nullptr);
    XtVaSetValues(form, XmNcancelButton, s.cancelButton, XmNinitialFocus, s.nameField, nullptr);
    XtManageChild(form);
}

std::string homeFolder() {
    const char *home = std::getenv("HOME");
    return home && *home ? normalisePath(home) : "/";
}

void fillFilters(Selector &s) {
    std::vector<std::string> filters;
    if (!s.request.filter.empty()) filters.push_back(s.request.filter);
    for (const char *standard : {kPicturesFilter, kAllFilesFilter})
        if (std::find(filters.begin(), filters.end(), standard) == filters.end()) filters.push_back(standard);
    for (const std::string &filter : filters) MyComboBoxAddItem(s.filterCombo, filter.c_str(), 0);
    // A hex dump shows any file; the others list pictures unless asked otherwise.
    const std::string first = !s.request.filter.empty()                ? s.request.filter
                              : s.request.mode == SelectorMode::View ? kAllFilesFilter
                                                                     : kPicturesFilter;
    MyComboBoxSetText(s.filterCombo, first.c_str());
    s.filter = parseFilter(first);
}

void startingName(Selector &s) {
    if (s.request.mode != SelectorMode::Save || s.request.start.empty() || isFolder(s.request.start)) return;
    std::string name = baseName(s.request.start);
    if (!s.formats.empty() && s.request.chooseFormat) name = withFormatSuffix(name, chosenFormat(s));
    XmTextFieldSetString(s.nameField, const_cast<char *>(name.c_str()));   // and the list follows
}

}  // namespace

bool runFileSelector(Widget parent, const SelectorRequest &request, FileSelection &out) {
    if (gSelector != nullptr) {
        if (gSelector->shell) XRaiseWindow(XtDisplay(gSelector->shell), XtWindow(gSelector->shell));
        return false;
    }
    static XtActionsRec actions[] = {
        {const_cast<char *>("SelectorMove"), SelectorMove},
        {const_cast<char *>("SelectorComplete"), SelectorComplete},
    };
    static bool actionsAdded = false;
    if (!actionsAdded) XtAppAddActions(gX.context, actions, XtNumber(actions));
    actionsAdded = true;

    auto selector = std::make_unique<Selector>();
    Selector &s = *selector;
    s.request = request;
    if (s.request.rememberedFolder == nullptr)
        s.request.rememberedFolder = request.mode == SelectorMode::Save ? gSettings.pathSave : gSettings.pathLoad;
    s.home = homeFolder();
    if (request.mode == SelectorMode::Save && request.chooseFormat) {
        s.formats = saveFormats();
        s.formatPosition = initialFormatPosition(
            s.formats, request.formatIndex,
            std::string_view(gSettings.save.defaultFormat, strnlen(gSettings.save.defaultFormat,
                                                                   sizeof gSettings.save.defaultFormat)));
    }
    gSelector = &s;
    createDialog(s, parent);
    fillRecentFolders(s);
    fillFilters(s);
    chooseFormatPosition(s, s.formatPosition);
    const std::string remembered(s.request.rememberedFolder, strnlen(s.request.rememberedFolder, kPathCapacity));
    const std::string start = request.start.empty() ? "" : resolvePath(gApp.workingFolder, request.start, s.home);
    if (!showFolder(s, startFolder(start, remembered, gApp.workingFolder, s.home))) showFolder(s, "/");
    startingName(s);
    XtPopup(s.shell, XtGrabNone);
    XmProcessTraversal(s.nameField, XmTRAVERSE_CURRENT);

    {
        const ModalLoop loop;
        while (!s.done) XtAppProcessEvent(gX.context, XtIMAll);
    }

    if (s.previewTimer) XtRemoveTimeOut(s.previewTimer);
    if (s.previewPixmap) XFreePixmap(gX.display, s.previewPixmap);
    if (s.gc) XFreeGC(gX.display, s.gc);
    if (s.shell) {
        // Called from a callback, the shell is only destroyed once the event
        // that led here is done; it leaves the screen now, before the load
        // or save the caller starts with the answer.
        XtPopdown(s.shell);
        XtDestroyWidget(s.shell);
    }
    gSelector = nullptr;
    if (s.confirmed) out = std::move(s.result);
    return s.confirmed;
}

bool runFileSelector(Widget parent, SelectorMode mode, const char *title, const std::string &start,
                     FileSelection &out, int formatIndex) {
    SelectorRequest request;
    request.mode = mode;
    request.title = title ? title : "";
    request.start = start;
    request.formatIndex = formatIndex;
    return runFileSelector(parent, request, out);
}

void openFilesDialog(Widget parent) {
    FileSelection selection;
    if (runFileSelector(parent, SelectorMode::Load, "Load Files...", "", selection)) openView(selection.files);
}

}  // namespace quivel
