// slow_library: preloaded into build/quivel by the GUI tests
// (LD_PRELOAD=build/libslow_library.so), it stands between the program and
// libzentar's zntLoad and zntSave and makes every progress step of a load or
// save take SLOW_LIBRARY_STEP_MS milliseconds longer, so that a test can act
// while one runs. The program itself is not changed: without the variable,
// or without a progress function, the calls pass straight through.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>

#include "zentar.h"

namespace {

struct Slowed {
    ZntProgressFunction progress = nullptr;
    void *userData = nullptr;
};

useconds_t stepDelayUs() {
    const char *text = std::getenv("SLOW_LIBRARY_STEP_MS");
    const long ms = text != nullptr ? std::strtol(text, nullptr, 10) : 0;
    return ms > 0 ? useconds_t(ms) * 1000 : 0;
}

int slowProgress(int done, int total, void *userData) {
    usleep(stepDelayUs());
    const Slowed *slowed = static_cast<const Slowed *>(userData);
    return slowed->progress(done, total, slowed->userData);
}

template <typename Call>
OpStatus slowed(FormatParams *params, Call call) {
    if (params == nullptr || params->progressFunction == nullptr || stepDelayUs() == 0) return call();
    // Each call keeps its own record, so that a nested one could not mix them.
    Slowed record{params->progressFunction, params->progressUserData};
    params->progressFunction = slowProgress;
    params->progressUserData = &record;
    const OpStatus status = call();
    params->progressFunction = record.progress;
    params->progressUserData = record.userData;
    return status;
}

template <typename Function>
Function next(const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

OpStatus zntLoad(const char *fileName, Picture *picture, FormatParams *params, FileInformation *info) {
    using Load = OpStatus (*)(const char *, Picture *, FormatParams *, FileInformation *);
    static const Load real = next<Load>("zntLoad");
    return slowed(params, [&] { return real(fileName, picture, params, info); });
}

OpStatus zntSave(const char *fileName, Picture *picture, FormatParams *params, int reserved) {
    using Save = OpStatus (*)(const char *, Picture *, FormatParams *, int);
    static const Save real = next<Save>("zntSave");
    return slowed(params, [&] { return real(fileName, picture, params, reserved); });
}
}
