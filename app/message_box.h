// Every error, warning, information and question box of the program goes
// through here. With -v the box's text is also written to standard error as
// one line "message: <text>", so that scripts and tests see what the user
// was told.
#pragma once

#include <X11/Intrinsic.h>

#include <string>

namespace quivel {

enum class MessageKind { Error, Warning, Information };

// Shows a box over `parent` (the application's shell when null) and returns
// at once; the box goes away with its button.
void showMessage(Widget parent, MessageKind kind, const std::string &text);

// Asks a yes/no question and waits for the answer, keeping other windows
// drawn meanwhile. Closing the box counts as no.
bool askQuestion(Widget parent, const std::string &text);

}  // namespace quivel
