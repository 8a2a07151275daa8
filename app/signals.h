// Process-wide signal handlers, installed once at start-up.
//
// Ctrl+C twice warns, a third time ends the process with status 1 without
// saving anything; a fault or an alarm prints a line and exits with status 0.
// The handlers only write to standard output and exit.
#pragma once

namespace quivel {

void installSignalHandlers();

}  // namespace quivel
