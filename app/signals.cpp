#include "app/signals.h"

#include <unistd.h>

#include <csignal>
#include <cstring>

namespace quivel {

namespace {

volatile sig_atomic_t gInterruptCount = 0;

// write(2) only: standard output is line buffered (see start-up), so every
// complete line printed before the signal is already out.
void say(const char *text) {
    ssize_t ignored = write(STDOUT_FILENO, text, std::strlen(text));
    (void)ignored;
}

void onInterrupt(int) {
    say("****** Interrupt detected ******\n");
    gInterruptCount = gInterruptCount + 1;
    if (gInterruptCount > 2) _exit(1);
    char line[] = "****** Hit 0 Ctrl+C for exiting without saving ******\n";
    line[11] = char('0' + (3 - gInterruptCount));
    say(line);
    std::signal(SIGINT, onInterrupt);
}

void onFault(int) {
    say("****** Error detected ******\n");
    _exit(0);
}

void onAlarm(int) {
    say("****** Alarm signal ******\n");
    _exit(0);
}

}  // namespace

void installSignalHandlers() {
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGFPE, onFault);
    std::signal(SIGBUS, onFault);
    std::signal(SIGSEGV, onFault);
    std::signal(SIGALRM, onAlarm);
}

}  // namespace quivel
