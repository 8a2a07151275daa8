// Speed of libzentar's own readers and writers of film scans, video frames
// and raw samples, on the sizes those files have: a 2K film frame (2048 x
// 1556) as 10-bit DPX (scaled, and through the film table), Cineon and
// planar raw RGB; a PAL frame (720 x 576) of YUV 4:2:0; the Base picture
// of a Photo CD pack. Run without arguments.
#include "zentar.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kFilmWidth = 2048, kFilmHeight = 1556;

bool writeAll(const std::string &path, const std::vector<uint8_t> &bytes) {
    FILE *f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) return false;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && written;
}

OpStatus saveAs(const std::string &path, Picture &picture, const char *format, bool tenBits) {
    FormatParams params;
    zntDefaultParams(&params);
    params.formatIndex = int16_t(zntFormatGetIndex(format));
    params.dpx10Bits = tenBits;
    params.saveChannelOrder = 1;
    return zntSave(path.c_str(), &picture, &params, 0);
}

// The files every benchmark reads, made once in a private folder.
struct Files {
    std::string folder, dpx, cineon, raw, yuv, pcd;
    Picture frame{};
    Files() {
        char pattern[] = "/tmp/zentar-film-bench-XXXXXX";
        folder = mkdtemp(pattern) ? pattern : "/tmp";
        dpx = folder + "/frame.dpx", cineon = folder + "/frame.cin", raw = folder + "/frame.raw";
        yuv = folder + "/frame.yuv", pcd = folder + "/pack.pcd";
        bool ok = zntAllock(&frame, ZNT_RGB, 8, kFilmWidth, kFilmHeight) != 0;
        for (int y = 0; ok && y < kFilmHeight; ++y)
            for (uint32_t i = 0; i < frame.bytesPerLine; ++i)
                frame.data[size_t(y) * frame.bytesPerLine + i] = uint8_t(i / 9 + uint32_t(y) / 7 + (i % 3) * 40);
        ok = ok && saveAs(dpx, frame, "dpx", true) == 0 && saveAs(cineon, frame, "cin", true) == 0 &&
             saveAs(raw, frame, "raw", false) == 0;
        std::vector<uint8_t> bytes(720 * 576 * 3 / 2);
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = uint8_t(16 + (i * 7 + i / 720) % 220);
        ok = ok && writeAll(yuv, bytes);
        bytes.assign(96 * 2048 + 768 * 512 * 3 / 2, 0);
        std::memcpy(&bytes[2048], "PCD_IPI", 7);
        for (size_t i = 96 * 2048; i < bytes.size(); ++i) bytes[i] = uint8_t(60 + (i * 5 + i / 768) % 150);
        ok = ok && writeAll(pcd, bytes);
        if (!ok) {
            std::fprintf(stderr, "film_bench: cannot make the test files in %s\n", folder.c_str());
            std::exit(1);
        }
    }
    ~Files() {
        for (const std::string &f : {dpx, cineon, raw, yuv, pcd, folder + "/out"}) unlink(f.c_str());
        rmdir(folder.c_str());
        zntFree(&frame);
    }
};

Files &files() {
    static Files instance;
    return instance;
}

void decode(benchmark::State &state, const std::string &path, double megapixels, void (*adjust)(FormatParams &)) {
    for (auto _ : state) {
        FormatParams params;
        zntDefaultParams(&params);
        if (adjust != nullptr) adjust(params);
        Picture picture{};
        if (zntLoad(path.c_str(), &picture, &params, nullptr) != 0) state.SkipWithError("load failed");
        benchmark::DoNotOptimize(picture.data);
        zntFree(&picture);
    }
    state.counters["Mpx/s"] = benchmark::Counter(megapixels * double(state.iterations()), benchmark::Counter::kIsRate);
}

constexpr double kFilmMegapixels = kFilmWidth * kFilmHeight / 1e6;

void BM_Dpx10Decode2K(benchmark::State &state) { decode(state, files().dpx, kFilmMegapixels, nullptr); }
void BM_Dpx10DecodeFilmTable2K(benchmark::State &state) {
    decode(state, files().dpx, kFilmMegapixels, [](FormatParams &p) { p.useLut = 1; });
}
void BM_CineonDecode2K(benchmark::State &state) { decode(state, files().cineon, kFilmMegapixels, nullptr); }
void BM_RawPlanarDecode2K(benchmark::State &state) {
    decode(state, files().raw, kFilmMegapixels, [](FormatParams &p) {
        p.loadValues[0] = kFilmWidth, p.loadValues[1] = kFilmHeight, p.rawChannelOrder = 1;
    });
}
void BM_YuvDecodePal(benchmark::State &state) {
    decode(state, files().yuv, 720 * 576 / 1e6, [](FormatParams &p) { p.loadValues[0] = 720, p.loadValues[1] = 576; });
}
void BM_PhotoCdDecodeBase(benchmark::State &state) {
    decode(state, files().pcd, 768 * 512 / 1e6, [](FormatParams &p) { p.pcdBase = 2; });
}

void BM_Dpx10Encode2K(benchmark::State &state) {
    const std::string out = files().folder + "/out";
    for (auto _ : state)
        if (saveAs(out, files().frame, "dpx", true) != 0) state.SkipWithError("save failed");
    state.counters["Mpx/s"] = benchmark::Counter(kFilmMegapixels * double(state.iterations()), benchmark::Counter::kIsRate);
}

BENCHMARK(BM_Dpx10Decode2K)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Dpx10DecodeFilmTable2K)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CineonDecode2K)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawPlanarDecode2K)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Dpx10Encode2K)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_YuvDecodePal)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PhotoCdDecodeBase)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char **argv) {
    zntInitLibrary();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    zntExitLibrary();
    return 0;
}
