// Saving a picture in a chosen format, whatever its kind and size: the
// steps between a save command and the library's zntSave.
//
//   1. Without a "." anywhere in the name, and Save.AddExtensionIfNotExist
//      on, the format's default suffix is appended.
//   2. A picture of a kind the format holds, but larger than that kind's
//      maximum size, is resized to the maximum ("Resizing in %dx%d").
//   3. A picture of a kind the format does not hold is converted by a
//      conversion choice (conversion_choice.h): the remembered one when the
//      caller allows its reuse and the format holds it, else the hooks ask.
//      A conversion whose result is still too large is then resized too.
//   4. The parameters come from the settings (format_params.h); GIF and PNG
//      mark the configured transparent index for the duration of the save.
//   5. zntSave, between beginWrite and endWrite.
//
// The caller's picture is never changed (its transparent index is put back);
// resized and converted copies are freed before the call returns. The hooks
// are the only way out to the user: the windows show dialogs, the converter
// prints.
#pragma once

#include <string>

#include "app/settings.h"
#include "zentar.h"

namespace quivel {

// Result of a save refused before the library was called: no conversion
// chosen, or the conversion failed.
inline constexpr int kSaveRefused = 255;

class SaveHooks {
public:
    virtual ~SaveHooks() = default;
    // Asks for the conversion of `picture` for format `formatIndex`;
    // `suggested` is the choice to offer first. A choice outside 1 to 32
    // refuses the save.
    virtual int chooseConversion(int formatIndex, const Picture &picture, int suggested) = 0;
    // Information the caller allowed ("Resizing in %dx%d").
    virtual void inform(const std::string &text) = 0;
    // A failure; always called for a failed save except a refused conversion.
    virtual void error(const std::string &text) = 0;
    // Just before and after zntSave; beginWrite may set the progress function.
    virtual void beginWrite(const std::string &fileName, FormatParams &params) {
        (void)fileName;
        (void)params;
    }
    virtual void endWrite() {}
};

struct SaveRequest {
    int formatIndex = -1;
    bool extraFlags = false;      // ZNT_SAVE_EXTRA
    bool allowMessages = false;   // inform() may be called
    bool reuseChoice = false;     // a remembered conversion may be used without asking
    bool verbose = false;         // ZNT_SAVE_VERBOSE
};

// Saves `picture` under the name in `fileName`, a buffer of 4096 bytes to
// which a suffix may be appended. Returns 0, the low byte of a failed
// status, or kSaveRefused.
int savePicture(char *fileName, Picture &picture, const SaveRequest &request, const Settings &settings,
                SaveHooks &hooks);

// The size a save kind allows for `picture`, when the picture is of a kind
// the save kinds hold (sizes aside): true, with `width` and `height` set to
// the picture's own size or, where it exceeds the first fitting entry's
// maximum, to that maximum. False when no entry holds the kind.
bool saveKindSize(const ZntSaveKind *kinds, const Picture &picture, uint32_t &width, uint32_t &height);

}  // namespace quivel
