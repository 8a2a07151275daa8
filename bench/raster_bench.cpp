// Speed of our own readers and writers of the older raster formats on a
// 24-megapixel photograph (6000 x 4000): decode and encode, raw and
// run-length encoded where the format has both, and the same picture
// reduced to 256 colours for the formats that index a palette.
//
//   raster_bench [Google Benchmark options]
#include "zentar.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

constexpr int kWidth = 6000, kHeight = 4000;

// Smooth shading, edges and grain, made the same way every time.
bool makePhoto(Picture &picture) {
    if (!zntAllock(&picture, ZNT_RGB, 8, kWidth, kHeight)) return false;
    uint32_t seed = 2024;
    for (int y = 0; y < kHeight; ++y) {
        uint8_t *row = picture.data + size_t(y) * picture.bytesPerLine;
        for (int x = 0; x < kWidth; ++x) {
            seed = seed * 1664525u + 1013904223u;
            const int grain = int(seed >> 28) - 8;
            const int band = ((x / 97) + (y / 61)) & 1 ? 40 : 0;
            const int v[3] = {x * 200 / kWidth + band + grain, y * 180 / kHeight + grain + ((x ^ y) & 16),
                              (x + y) * 160 / (kWidth + kHeight) + 60 - band / 2 + grain};
            for (int c = 0; c < 3; ++c) row[3 * x + c] = uint8_t(v[c] < 0 ? 0 : v[c] > 255 ? 255 : v[c]);
        }
    }
    return true;
}

// The photograph as a palette picture: 3 bits of red and green, 2 of blue.
bool makePalettePhoto(const Picture &photo, Picture &picture) {
    if (!zntAllock(&picture, ZNT_PALETTE, 8, kWidth, kHeight)) return false;
    for (int i = 0; i < 256; ++i) {
        picture.palette[i] = uint8_t((i >> 5) * 255 / 7);
        picture.palette[256 + i] = uint8_t(((i >> 2) & 7) * 255 / 7);
        picture.palette[512 + i] = uint8_t((i & 3) * 255 / 3);
    }
    for (int y = 0; y < kHeight; ++y) {
        const uint8_t *in = photo.data + size_t(y) * photo.bytesPerLine;
        uint8_t *out = picture.data + size_t(y) * picture.bytesPerLine;
        for (int x = 0; x < kWidth; ++x, in += 3) out[x] = uint8_t((in[0] >> 5) << 5 | (in[1] >> 5) << 2 | in[2] >> 6);
    }
    return true;
}

struct Files {
    std::string folder;
    Picture photo{}, palette{};
    Files() {
        char pattern[] = "/tmp/zentar-raster-bench-XXXXXX";
        folder = mkdtemp(pattern) ? pattern : "/tmp";
        if (!makePhoto(photo) || !makePalettePhoto(photo, palette)) {
            std::fprintf(stderr, "raster_bench: out of memory\n");
            std::exit(1);
        }
    }
    ~Files() {
        zntFree(&photo);
        zntFree(&palette);
        rmdir(folder.c_str());
    }
    std::string path(const char *format, bool rle, bool indexed) const {
        return folder + "/" + format + (rle ? "-rle" : "") + (indexed ? "-256" : "");
    }
};

Files &files() {
    static Files instance;
    return instance;
}

OpStatus saveAs(const std::string &path, Picture &picture, const char *format, bool rle) {
    FormatParams params;
    zntDefaultParams(&params);
    params.formatIndex = int16_t(zntFormatGetIndex(format));
    params.rleCompress = rle;
    return zntSave(path.c_str(), &picture, &params, 0);
}

void encode(benchmark::State &state, const char *format, bool rle, bool indexed) {
    Picture &picture = indexed ? files().palette : files().photo;
    const std::string path = files().path(format, rle, indexed);
    for (auto _ : state)
        if (saveAs(path, picture, format, rle) != 0) state.SkipWithError("save failed");
    unlink(path.c_str());
    state.counters["Mpx/s"] = benchmark::Counter(24.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}

void decode(benchmark::State &state, const char *format, bool rle, bool indexed) {
    Picture &picture = indexed ? files().palette : files().photo;
    const std::string path = files().path(format, rle, indexed);
    if (saveAs(path, picture, format, rle) != 0) {
        state.SkipWithError("save failed");
        return;
    }
    for (auto _ : state) {
        Picture loaded{};
        FormatParams params;
        zntDefaultParams(&params);
        if (zntLoad(path.c_str(), &loaded, &params, nullptr) != 0) state.SkipWithError("load failed");
        benchmark::DoNotOptimize(loaded.data);
        zntFree(&loaded);
    }
    unlink(path.c_str());
    state.counters["Mpx/s"] = benchmark::Counter(24.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}

void registerAll() {
    struct Case {
        const char *format;
        bool rle, indexed;
    } cases[] = {
        {"tga", false, false}, {"tga", true, false}, {"pcx", true, false}, {"pcx", true, true},
        {"sgi", false, false}, {"sgi", true, false}, {"sun", false, false}, {"iff", true, false},
        {"iff", true, true},   {"soft", true, false}, {"xpm", false, true},
    };
    for (const Case &c : cases) {
        const std::string name = std::string(c.format) + (c.rle ? "/rle" : "/raw") + (c.indexed ? "/256" : "/rgb");
        benchmark::RegisterBenchmark(("Decode/" + name).c_str(), decode, c.format, c.rle, c.indexed)
            ->Unit(benchmark::kMillisecond)
            ->MinTime(1.0);
        benchmark::RegisterBenchmark(("Encode/" + name).c_str(), encode, c.format, c.rle, c.indexed)
            ->Unit(benchmark::kMillisecond)
            ->MinTime(1.0);
    }
}

}  // namespace

int main(int argc, char **argv) {
    zntInitLibrary();
    registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    zntExitLibrary();
    return 0;
}
