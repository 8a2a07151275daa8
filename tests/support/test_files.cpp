#include "test_files.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

extern char **environ;

namespace testsupport {

TempDir::TempDir() {
    const char *base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/quivel-test-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = buffer.data();
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<uint8_t> readBytes(const std::string &path) {
    std::string text = readFile(path);
    return std::vector<uint8_t>(text.begin(), text.end());
}

void writeFile(const std::string &path, const std::string &text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
}

void writeBytes(const std::string &path, const std::vector<uint8_t> &bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char *>(bytes.data()), std::streamsize(bytes.size()));
}

std::string dataPath(const std::string &relative) { return std::string(QUIVEL_TEST_DATA) + "/" + relative; }

std::string programPath(const std::string &name) { return std::string(QUIVEL_BINARY_DIR) + "/" + name; }

RunResult runProgram(const std::vector<std::string> &argv, const std::vector<std::string> &environment,
                     const std::string &input, int timeoutMs) {
    RunResult result;
    int inPipe[2], outPipe[2], errPipe[2];
    if (pipe2(inPipe, O_CLOEXEC) != 0 || pipe2(outPipe, O_CLOEXEC) != 0 || pipe2(errPipe, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe failed");

    std::vector<std::string> envStrings;
    for (char **e = environ; *e != nullptr; ++e) envStrings.emplace_back(*e);
    for (const std::string &extra : environment) {
        std::string name = extra.substr(0, extra.find('='));
        std::erase_if(envStrings, [&](const std::string &s) { return s.compare(0, name.size() + 1, name + "=") == 0; });
        if (extra.find('=') != std::string::npos) envStrings.push_back(extra);  // "NAME" alone unsets
    }
    std::vector<char *> args, env;
    for (const std::string &a : argv) args.push_back(const_cast<char *>(a.c_str()));
    args.push_back(nullptr);
    for (const std::string &e : envStrings) env.push_back(const_cast<char *>(e.c_str()));
    env.push_back(nullptr);

    pid_t pid = fork();
    if (pid == 0) {
        dup2(inPipe[0], 0);
        dup2(outPipe[1], 1);
        dup2(errPipe[1], 2);
        setpgid(0, 0);
        execve(args[0], args.data(), env.data());
        _exit(127);
    }
    close(inPipe[0]);
    close(outPipe[1]);
    close(errPipe[1]);
    signal(SIGPIPE, SIG_IGN);
    size_t written = 0;
    if (input.empty()) {
        close(inPipe[1]);
        inPipe[1] = -1;
    } else {
        fcntl(inPipe[1], F_SETFL, O_NONBLOCK);
    }

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    bool outOpen = true, errOpen = true;
    char buffer[65536];
    while (outOpen || errOpen) {
        pollfd fds[3];
        int n = 0;
        if (outOpen) fds[n++] = {outPipe[0], POLLIN, 0};
        if (errOpen) fds[n++] = {errPipe[0], POLLIN, 0};
        if (inPipe[1] >= 0) fds[n++] = {inPipe[1], POLLOUT, 0};
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            result.timedOut = true;
            kill(-pid, SIGKILL);
            break;
        }
        if (poll(fds, nfds_t(n), int(left.count())) < 0) continue;
        for (int i = 0; i < n; ++i) {
            if (fds[i].revents == 0) continue;
            if (fds[i].fd == inPipe[1]) {
                ssize_t k = write(inPipe[1], input.data() + written, input.size() - written);
                if (k > 0) written += size_t(k);
                if (k < 0 || written == input.size()) {
                    close(inPipe[1]);
                    inPipe[1] = -1;
                }
                continue;
            }
            ssize_t k = read(fds[i].fd, buffer, sizeof buffer);
            std::string &sink = fds[i].fd == outPipe[0] ? result.out : result.err;
            if (k > 0) {
                sink.append(buffer, size_t(k));
            } else {
                (fds[i].fd == outPipe[0] ? outOpen : errOpen) = false;
            }
        }
    }
    if (inPipe[1] >= 0) close(inPipe[1]);
    close(outPipe[0]);
    close(errPipe[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    return result;
}

bool haveProgram(const std::string &name) { return runQuietly("command -v " + name) == 0; }

int runQuietly(const std::string &command) { return std::system((command + " >/dev/null 2>&1").c_str()); }

void writePpm(const std::string &path, int width, int height, const std::function<uint32_t(int, int)> &color) {
    std::string text = "P6\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const uint32_t c = color(x, y);
            text += {char(c >> 16), char(c >> 8), char(c)};
        }
    writeFile(path, text);
}

void writePpm(const std::string &path, int width, int height, uint32_t color) {
    writePpm(path, width, height, [color](int, int) { return color; });
}

}  // namespace testsupport
