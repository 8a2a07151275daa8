// Helpers shared by every test program: temporary folders, whole-file I/O and
// running a program with its output captured.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace testsupport {

// A fresh folder under $TMPDIR, removed with everything in it at the end.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;
    const std::string &path() const { return path_; }
    std::string file(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

std::string readFile(const std::string &path);
std::vector<uint8_t> readBytes(const std::string &path);
void writeFile(const std::string &path, const std::string &text);
void writeBytes(const std::string &path, const std::vector<uint8_t> &bytes);
// A binary PPM (maximum value 255) whose pixel (x, y) is color(x, y) as
// 0xRRGGBB, or all of one colour.
void writePpm(const std::string &path, int width, int height, const std::function<uint32_t(int, int)> &color);
void writePpm(const std::string &path, int width, int height, uint32_t color);

// A path in tests/data, and a program in the build folder.
std::string dataPath(const std::string &relative);
std::string programPath(const std::string &name);

struct RunResult {
    int exitCode = -1;   // -1 when killed by a signal or the time ran out
    int signal = 0;      // the signal that ended it, 0 for a normal exit
    bool timedOut = false;
    std::string out, err;
};

// Whether a program is on PATH, for tests that are skipped without it.
bool haveProgram(const std::string &name);

// Runs a shell command, its output thrown away; its status as system() gives it.
int runQuietly(const std::string &command);

// Runs argv[0] with the given arguments, extra environment entries
// ("NAME=value") and standard input, and waits at most timeoutMs.
RunResult runProgram(const std::vector<std::string> &argv,
                     const std::vector<std::string> &environment = {},
                     const std::string &input = {}, int timeoutMs = 60000);

}  // namespace testsupport
