// The "Convert To ..." dialog (shell "TolvaConvert"): asked when a picture
// is saved in a format that cannot hold it.
//
// Layout: on the left the frame "Convert to" with one radio group of the
// kinds ("Black & White", "Grey Levels" with an option menu of levels,
// "Colors" with an option menu of colour counts, "True Colors"); on the
// right the frame "Dithering" ("None", "Pattern", "Floyd Steinberg",
// "HalfTone 45", "HalfTone 90"); OK and Cancel below. Only what the format
// can hold is sensitive, and the parts always name one of the 32 choices
// (conversion_choice.h). Escape and closing the window cancel.
//
// With -v the places of the controls are written to standard error once the
// dialog is laid out ("TolvaConvert <name> <x> <y> <width> <height>", from
// the dialog window's origin), then "TolvaConvert shown".
#pragma once

#include <X11/Intrinsic.h>

#include "zentar.h"

namespace quivel {

// Shows the dialog over `parent` (the application's shell when null) for a
// format of these save kinds, with `suggested` selected, and waits for the
// answer, keeping the other windows drawn. Returns the choice 1 to 32, or 0
// when the user cancelled.
int askConversionChoice(Widget parent, const ZntSaveKind *kinds, int suggested);

}  // namespace quivel
