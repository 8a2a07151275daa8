// Speed of the image operations on a photograph of 24 megapixels, the way
// the view runs them: a new picture made from the current one.
//
// QUIVEL_BENCH_PHOTO names a binary PPM to use (bench/compare_imageops.sh
// makes one); without it a photograph-like picture of 6000 x 4000 is drawn
// in memory.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "imageops/color_reduction.h"
#include "imageops/geometry.h"
#include "zentar.h"

using namespace quivel;

namespace {

bool readPpm(const char *path, Picture &picture) {
    FILE *file = std::fopen(path, "rb");
    if (file == nullptr) return false;
    int width = 0, height = 0, maximum = 0;
    const bool ok = std::fscanf(file, "P6 %d %d %d", &width, &height, &maximum) == 3 && maximum == 255 &&
                    std::fgetc(file) != EOF && zntAllock(&picture, ZNT_RGB, 8, width, height) != 0;
    bool complete = ok;
    for (int y = 0; complete && y < height; ++y)
        complete = std::fread(picture.data + size_t(y) * picture.bytesPerLine, 3, size_t(width), file) ==
                   size_t(width);
    std::fclose(file);
    return complete;
}

// Smooth shading, a few edges and some grain: enough colours for the
// quantiser to work as on a real photograph.
void drawPhoto(Picture &picture) {
    zntAllock(&picture, ZNT_RGB, 8, 6000, 4000);
    uint32_t seed = 12345;
    for (int y = 0; y < picture.height; ++y) {
        uint8_t *p = picture.data + size_t(y) * picture.bytesPerLine;
        for (int x = 0; x < int(picture.width); ++x, p += 3) {
            seed = seed * 1664525u + 1013904223u;
            const int grain = int(seed >> 28) - 8;
            const double u = x / 6000.0, v = y / 4000.0;
            const double sky = 0.5 + 0.5 * std::sin(6 * u + 3 * v), hill = v > 0.55 + 0.1 * std::sin(9 * u);
            p[0] = uint8_t(std::clamp(int(60 + 150 * sky * (1 - hill) + 90 * hill * u) + grain, 0, 255));
            p[1] = uint8_t(std::clamp(int(90 + 100 * sky + 60 * hill * v) + grain, 0, 255));
            p[2] = uint8_t(std::clamp(int(200 * sky * (1 - hill) + 40 * hill) + grain, 0, 255));
        }
    }
}

const Picture &photo() {
    static Picture picture = [] {
        Picture p{};
        const char *path = std::getenv("QUIVEL_BENCH_PHOTO");
        if (path == nullptr || !readPpm(path, p)) drawPhoto(p);
        return p;
    }();
    return picture;
}

template <class Operation>
void runOperation(benchmark::State &state, Operation operation) {
    Picture source = photo();
    for (auto _ : state) {
        Picture result{};
        if (operation(&source, &result) != ZNT_OK) {
            state.SkipWithError("operation failed");
            break;
        }
        benchmark::DoNotOptimize(result.data);
        zntFree(&result);
    }
    state.counters["megapixels"] = double(source.width) * source.height / 1e6;
}

void monochrome(benchmark::State &state) {
    runOperation(state, [](Picture *s, Picture *o) { return convertToBinary(s, o, kDitherFloydSteinberg); });
}
void grey(benchmark::State &state) {
    runOperation(state, [](Picture *s, Picture *o) { return convertToGrey(s, o, 256, kDitherNone); });
}
void colors256(benchmark::State &state) {
    runOperation(state, [](Picture *s, Picture *o) { return convertToColors(s, o, 256, kDitherNone); });
}
void flop(benchmark::State &state) {
    runOperation(state, [](Picture *s, Picture *o) { return flipHorizontal(s, o, nullptr); });
}
void rotate90(benchmark::State &state) {
    runOperation(state, [](Picture *s, Picture *o) { return rotatePicture(s, o, 90, 0); });
}
void resizeHalf(benchmark::State &state) {
    runOperation(state, [](Picture *s, Picture *o) {
        return resizePicture(s, o, int(s->width / 2), s->height / 2, kResampleArea);
    });
}

}  // namespace

BENCHMARK(monochrome)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(grey)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(colors256)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(flop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(rotate90)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(resizeHalf)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
