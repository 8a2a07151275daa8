// Loading and saving pictures from the windows: every picture that enters or
// leaves the program through a window goes through these two calls. They
// show the progress dialog "TolvaProgress" over the parent while the library
// works and keep the interface alive by dispatching pending X events from
// the library's progress callback. Failures are reported in an error box
// with the status message of the library's status list.
//
// Reentrancy: while one load or save runs, the events it dispatches may ask
// for another; that one is refused (see each call), never run inside the
// first.
#pragma once

#include <X11/Intrinsic.h>

#include "zentar.h"

namespace quivel {

// Loads page or frame `page` of `fileName` into `picture`, whose buffers are
// cleared first (the caller has freed or moved them). `info` is filled by the
// call (zntFileInformation, then zntLoad) whatever the result; the caller
// releases it with zntFileInformationFree. `parent` null means the
// application's shell. Returns the status's low byte: 0; 15 when the user
// pressed Stop or another load or save was running (never reported); any
// other status is shown in an error box when `reportErrors` is set.
int loadPictureFile(Widget parent, const char *fileName, int page, Picture &picture, FileInformation &info,
                    bool reportErrors);

// The same with the busy cursor over `parent` for the duration.
int loadPictureFileBusy(Widget parent, const char *fileName, int page, Picture &picture, FileInformation &info,
                        bool reportErrors);

// Saves `picture` in format `formatIndex` under `fileName`, a 4096-byte
// buffer to which a missing suffix may be appended. A picture the format
// cannot hold is converted into a copy first (the "Convert To ..." choice,
// remembered when `reuseChoice` is set). `extraFlags` adds 0xC0 to the
// library flags; `allowMessages` allows the information messages (e.g.
// "Resizing in %dx%d"); `showProgress` shows the progress dialog. Returns 0
// on success, the status's low byte on a failure (always reported), or 255
// when the conversion was refused or failed, or another load or save was
// running. `picture` itself is never changed.
int savePictureFile(Widget parent, char *fileName, int formatIndex, Picture &picture, bool extraFlags,
                    bool allowMessages, bool showProgress, bool reuseChoice = false);

// True while a load or a save runs.
bool loadOrSaveInProgress();

}  // namespace quivel
