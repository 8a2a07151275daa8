// Other programs run by the library: the document formats hand their files
// to an interpreter installed on the machine. A child is started from an
// argument vector (never through a shell), in a process group of its own so
// that everything it starts can be ended with it, with its standard input
// from /dev/null, its output into files the caller names, no other file of
// ours open, a cap on the size
// of any file it writes, and a time limit after which it is killed. While
// it runs the caller is asked at short intervals whether to stop, so that a
// progress function keeps the interface alive.
//
// TempFolder is the private folder such a child reads from and writes to:
// it is created under $TMPDIR (or /tmp) and removed with the files in it
// when the object goes, whatever path the load took.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zentar {

class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;

    bool ok() const { return !path_.empty(); }
    const std::string &path() const { return path_; }
    std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }

private:
    std::string path_;
};

// The full path of a program found in the folders of $PATH, "" when none.
std::string findProgram(std::string_view name);

struct ChildLimits {
    int timeLimitMs = 60000;
    uint64_t maxFileBytes = 0;   // RLIMIT_FSIZE of the child; 0 for the caller's own
    int pollIntervalMs = 20;
};

struct ChildResult {
    bool started = false;
    bool timedOut = false;
    bool stopped = false;    // the caller's poll asked to stop
    int exitCode = -1;       // -1 unless the child exited by itself
    int signal = 0;          // the signal that ended it, 0 for an exit

    bool succeeded() const { return started && exitCode == 0; }
};

// Runs argv (argv[0] a full path) and waits for it. Its standard output
// goes to `outputFile` and its standard error to `errorFile`; "" sends
// either to /dev/null. `poll` (may be empty) answers true to stop the child.
ChildResult runChild(const std::vector<std::string> &argv, const std::string &outputFile,
                     const std::string &errorFile, const ChildLimits &limits,
                     const std::function<bool()> &poll = {});

}  // namespace zentar
