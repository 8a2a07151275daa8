// Copy and paste of pictures through the X clipboard (the CLIPBOARD
// selection), as PNG data, so that other programs can take or give them.
#include <X11/Xatom.h>
#include <Xm/Xm.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "app/message_box.h"
#include "app/x_app.h"
#include "imageops/geometry.h"
#include "picture/status_message.h"
#include "view/view_support.h"
#include "view/view_window.h"

namespace quivel {

namespace {

// What this program offers while it owns the clipboard. The owner is the
// application's shell, so the data outlives the view it came from.
std::vector<uint8_t> gClipboard;

Atom atom(const char *name) { return XInternAtom(gX.display, name, False); }

// A temporary file for the library, which reads and writes files only.
struct TemporaryFile {
    std::string path;
    explicit TemporaryFile(const char *suffix) {
        const char *folder = std::getenv("TMPDIR");
        std::string pattern = std::string(folder && *folder ? folder : "/tmp") + "/quivel-clip-XXXXXX" + suffix;
        std::vector<char> name(pattern.begin(), pattern.end());
        name.push_back('\0');
        const int fd = mkstemps(name.data(), int(std::string(suffix).size()));
        if (fd >= 0) {
            close(fd);
            path = name.data();
        }
    }
    ~TemporaryFile() {
        if (!path.empty()) unlink(path.c_str());
    }
};

bool encodePng(const Picture &picture, std::vector<uint8_t> &out) {
    TemporaryFile file(".png");
    if (file.path.empty()) return false;
    FormatParams params;
    zntDefaultParams(&params);
    params.formatIndex = int16_t(zntFormatGetIndex("png"));
    Picture copy = picture;
    if (zntSave(file.path.c_str(), &copy, &params, 0) != ZNT_OK) return false;
    FILE *f = std::fopen(file.path.c_str(), "rb");
    if (f == nullptr) return false;
    out.clear();
    uint8_t buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) out.insert(out.end(), buffer, buffer + n);
    std::fclose(f);
    return !out.empty();
}

Boolean convertSelection(Widget, Atom *, Atom *target, Atom *type, XtPointer *value, unsigned long *length,
                         int *format) {
    if (*target == atom("TARGETS")) {
        auto *targets = reinterpret_cast<Atom *>(XtMalloc(2 * sizeof(Atom)));
        targets[0] = atom("TARGETS");
        targets[1] = atom("image/png");
        *type = XA_ATOM;
        *value = targets;
        *length = 2;
        *format = 32;
        return True;
    }
    if (*target == atom("image/png") && !gClipboard.empty()) {
        char *data = XtMalloc(Cardinal(gClipboard.size()));
        std::copy(gClipboard.begin(), gClipboard.end(), data);
        *type = *target;
        *value = data;
        *length = gClipboard.size();
        *format = 8;
        return True;
    }
    return False;
}

void selectionLost(Widget, Atom *) { gClipboard.clear(); }

bool stillOpen(const View *view) {
    const auto &views = openViews();
    return std::find(views.begin(), views.end(), view) != views.end();
}

// The picture arrives: it becomes the view's picture, with undo.
void dataReceived(Widget, XtPointer clientData, Atom *, Atom *type, XtPointer value, unsigned long *length, int *) {
    auto *view = static_cast<View *>(clientData);
    const bool usable = value != nullptr && *type != XT_CONVERT_FAIL && length != nullptr && *length > 0;
    if (!stillOpen(view) || !usable) {
        if (value) XtFree(static_cast<char *>(value));
        if (stillOpen(view) && !usable) showMessage(view->shell, MessageKind::Error, "The clipboard holds no picture");
        return;
    }
    TemporaryFile file(".clip");
    FILE *f = file.path.empty() ? nullptr : std::fopen(file.path.c_str(), "wb");
    const bool written = f != nullptr && std::fwrite(value, 1, *length, f) == *length;
    if (f) std::fclose(f);
    XtFree(static_cast<char *>(value));
    Picture picture{};
    const OpStatus status = written ? zntLoad(file.path.c_str(), &picture, nullptr, nullptr) : OpStatus(ZNT_CANT_WRITE);
    if (status != ZNT_OK) {
        showMessage(view->shell, MessageKind::Error, statusMessage(status, "clipboard"));
        return;
    }
    if (!hasPixels(view->pictures.current)) {
        replaceCurrent(view->pictures, picture);
        view->loadFailed = false;
        pictureChanged(*view, true);
        setModified(*view, true);
        return;
    }
    applyPictureOperation(
        *view,
        [&picture](Picture *, Picture *output) {
            *output = picture;
            picture = Picture{};
            return OpStatus(ZNT_OK);
        },
        false);
    if (picture.data != nullptr) zntFree(&picture);
}

// The formats the library reads, in the order they are asked for.
constexpr const char *kPasteTypes[] = {"image/png", "image/bmp", "image/x-portable-pixmap", "image/jpeg", "image/gif",
                                       "image/tiff"};

void targetsReceived(Widget w, XtPointer clientData, Atom *selection, Atom *type, XtPointer value,
                     unsigned long *length, int *format) {
    auto *view = static_cast<View *>(clientData);
    Atom chosen = None;
    if (value != nullptr && *type == XA_ATOM && *format == 32) {
        const auto *targets = static_cast<const Atom *>(value);
        for (const char *name : kPasteTypes) {
            const Atom wanted = atom(name);
            if (std::find(targets, targets + *length, wanted) != targets + *length) {
                chosen = wanted;
                break;
            }
        }
    }
    if (value) XtFree(static_cast<char *>(value));
    if (!stillOpen(view)) return;
    if (chosen == None) {
        showMessage(view->shell, MessageKind::Error, "The clipboard holds no picture");
        return;
    }
    XtGetSelectionValue(w, *selection, chosen, dataReceived, view, XtLastTimestampProcessed(gX.display));
}

}  // namespace

void copyToClipboard(View &v) {
    if (!hasPixels(v.pictures.current)) return;
    Picture part{};
    const Picture *source = &v.pictures.current;
    if (v.selectionActive) {
        const PictureRect rect{v.selection.x, v.selection.y, v.selection.width, v.selection.height};
        if (cropPicture(&v.pictures.current, &part, &rect) == ZNT_OK) source = &part;
    }
    SetBusyCursor(v.shell, true);
    std::vector<uint8_t> data;
    const bool encoded = encodePng(*source, data);
    SetBusyCursor(v.shell, false);
    if (part.data != nullptr) zntFree(&part);
    if (!encoded) {
        showMessage(v.shell, MessageKind::Error, "The picture could not be copied");
        return;
    }
    gClipboard = std::move(data);
    if (!XtOwnSelection(gX.topLevel, atom("CLIPBOARD"), XtLastTimestampProcessed(gX.display), convertSelection,
                        selectionLost, nullptr))
        gClipboard.clear();
}

void pasteFromClipboard(View &v) {
    XtGetSelectionValue(v.drawingArea, atom("CLIPBOARD"), atom("TARGETS"), targetsReceived, &v,
                        XtLastTimestampProcessed(gX.display));
}

}  // namespace quivel
