#include "child_process.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char **environ;

namespace zentar {

TempFolder::TempFolder() {
    const char *tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/zentar-XXXXXX";
    if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;
}

TempFolder::~TempFolder() {
    if (path_.empty()) return;
    if (DIR *dir = opendir(path_.c_str())) {
        while (const dirent *entry = readdir(dir)) {
            if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
            unlink(file(entry->d_name).c_str());
        }
        closedir(dir);
    }
    rmdir(path_.c_str());
}

std::string findProgram(std::string_view name) {
    if (name.empty() || name.find('/') != std::string_view::npos) return {};
    const char *path = std::getenv("PATH");
    std::string_view folders = path != nullptr ? path : "/usr/bin:/bin";
    while (true) {
        const size_t colon = folders.find(':');
        const std::string_view folder = folders.substr(0, colon);
        if (!folder.empty()) {
            const std::string candidate = std::string(folder) + "/" + std::string(name);
            struct stat st;
            if (stat(candidate.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(candidate.c_str(), X_OK) == 0)
                return candidate;
        }
        if (colon == std::string_view::npos) break;
        folders.remove_prefix(colon + 1);
    }
    return {};
}

namespace {

// Between fork and exec only async-signal-safe calls; a failure ends the
// child with 127 like a shell's "not found".
[[noreturn]] void execChild(char *const *argv, const char *outputFile, const char *errorFile, uint64_t maxFileBytes) {
    setpgid(0, 0);
    struct sigaction plain {};
    plain.sa_handler = SIG_DFL;
    for (int s : {SIGPIPE, SIGXFSZ, SIGINT, SIGQUIT, SIGTERM, SIGCHLD}) sigaction(s, &plain, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (maxFileBytes != 0) {
        const rlimit limit{rlim_t(maxFileBytes), rlim_t(maxFileBytes)};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    const int in = open("/dev/null", O_RDONLY);
    const int out = open(outputFile, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = open(errorFile, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (in < 0 || out < 0 || err < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0) _exit(127);
    // Nothing else of ours (the display connection, files, pipes) reaches the child.
    close_range(3, ~0u, 0);
    execve(argv[0], argv, environ);
    _exit(127);
}

void sleepMs(int ms) {
    timespec t{ms / 1000, long(ms % 1000) * 1000000L};
    while (nanosleep(&t, &t) != 0 && errno == EINTR) {
    }
}

void record(int status, ChildResult &result) {
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
}

}  // namespace

ChildResult runChild(const std::vector<std::string> &argv, const std::string &outputFile,
                     const std::string &errorFile, const ChildLimits &limits, const std::function<bool()> &poll) {
    ChildResult result;
    if (argv.empty() || argv[0].empty()) return result;
    // Everything the child needs is made before the fork.
    std::vector<char *> args;
    for (const std::string &a : argv) args.push_back(const_cast<char *>(a.c_str()));
    args.push_back(nullptr);
    const char *out = outputFile.empty() ? "/dev/null" : outputFile.c_str();
    const char *err = errorFile.empty() ? "/dev/null" : errorFile.c_str();

    const pid_t pid = fork();
    if (pid < 0) return result;
    if (pid == 0) execChild(args.data(), out, err, limits.maxFileBytes);
    setpgid(pid, pid);   // also done by the child: whichever runs first
    result.started = true;

    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(limits.timeLimitMs);
    int interval = 1;   // short at first: most runs end within milliseconds
    while (true) {
        int status = 0;
        const pid_t done = waitpid(pid, &status, WNOHANG);
        if (done == pid) {
            record(status, result);
            return result;
        }
        if (done < 0 && errno != EINTR) return result;   // reaped elsewhere: the outcome is unknown
        if (Clock::now() >= deadline)
            result.timedOut = true;
        else if (poll && poll())
            result.stopped = true;
        if (result.timedOut || result.stopped) {
            kill(-pid, SIGKILL);
            kill(pid, SIGKILL);
            while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
            result.exitCode = -1;
            return result;
        }
        sleepMs(interval);
        interval = std::min(interval * 2, std::max(limits.pollIntervalMs, 1));
    }
}

}  // namespace zentar
