// Speed of libzentar's codecs on camera-sized pictures: decode and encode of
// a 24-megapixel JPEG and PNG, and a folder's worth (1,000) of reduced JPEG
// loads as the browser makes thumbnails, beside the same loads at full size.
//
// Run without arguments for the Google Benchmark measurements. bench/compare.sh
// also runs single tasks through it, to time them beside other tools:
//   codec_bench --task make-photo OUT.ppm WIDTH HEIGHT
//   codec_bench --task make-camera OUT.jpg WIDTH HEIGHT [exif]
//   codec_bench --task decode FILE
//   codec_bench --task encode FORMAT IN OUT [QUALITY]
//   codec_bench --task thumbnails FILE COUNT [full]
#include "zentar.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// A picture with what photographs have: smooth shading, edges and some
// grain, made the same way every time.
bool makePhoto(Picture &picture, int width, int height) {
    if (!zntAllock(&picture, ZNT_RGB, 8, width, height)) return false;
    uint32_t seed = 2024;
    for (int y = 0; y < height; ++y) {
        uint8_t *row = picture.data + size_t(y) * picture.bytesPerLine;
        for (int x = 0; x < width; ++x) {
            seed = seed * 1664525u + 1013904223u;
            const int grain = int(seed >> 28) - 8;
            const int band = ((x / 97) + (y / 61)) & 1 ? 40 : 0;   // edges
            const int r = (x * 200 / width) + band + grain;
            const int g = (y * 180 / height) + grain + ((x ^ y) & 16);
            const int b = ((x + y) * 160 / (width + height)) + 60 - band / 2 + grain;
            row[3 * x] = uint8_t(r < 0 ? 0 : r > 255 ? 255 : r);
            row[3 * x + 1] = uint8_t(g < 0 ? 0 : g > 255 ? 255 : g);
            row[3 * x + 2] = uint8_t(b < 0 ? 0 : b > 255 ? 255 : b);
        }
    }
    return true;
}

OpStatus saveAs(const char *path, Picture &picture, const char *format, int quality = 90);

std::vector<uint8_t> readAll(const char *path) {
    std::vector<uint8_t> bytes;
    if (FILE *f = std::fopen(path, "rb")) {
        uint8_t buffer[65536];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, f)) > 0;) bytes.insert(bytes.end(), buffer, buffer + n);
        std::fclose(f);
    }
    return bytes;
}

// A camera's file: the JPEG, and with `exif` an EXIF block after the
// start-of-image marker holding a 160 x 120 JPEG thumbnail, as cameras write.
bool makeCameraFile(const char *path, int width, int height, bool exif) {
    Picture photo{};
    if (!makePhoto(photo, width, height) || saveAs(path, photo, "jpeg") != 0) return false;
    if (!exif) return zntFree(&photo), true;
    Picture small{};
    if (!zntAllock(&small, ZNT_RGB, 8, 160, 120)) return false;
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 160; ++x)
            std::memcpy(small.data + size_t(y) * small.bytesPerLine + 3 * size_t(x),
                        photo.data + size_t(y * height / 120) * photo.bytesPerLine + 3 * size_t(x * width / 160), 3);
    const std::string thumbPath = std::string(path) + ".thumb";
    const bool saved = saveAs(thumbPath.c_str(), small, "jpeg", 80) == 0;
    zntFree(&small);
    zntFree(&photo);
    const std::vector<uint8_t> thumb = readAll(thumbPath.c_str());
    unlink(thumbPath.c_str());
    std::vector<uint8_t> main = readAll(path);
    if (!saved || thumb.empty() || main.size() < 2) return false;
    // "Exif", a little-endian TIFF header, one directory with the
    // orientation, a second with the thumbnail's offset and length.
    std::vector<uint8_t> b = {'E', 'x', 'i', 'f', 0, 0, 'I', 'I', 42, 0, 8, 0, 0, 0};
    auto u16 = [&](unsigned v) { b.push_back(uint8_t(v)), b.push_back(uint8_t(v >> 8)); };
    auto u32 = [&](uint32_t v) { u16(v & 0xffff), u16(v >> 16); };
    u16(1), u16(0x0112), u16(3), u32(1), u32(1), u32(26);
    u16(2), u16(0x0201), u16(4), u32(1), u32(56), u16(0x0202), u16(4), u32(1), u32(uint32_t(thumb.size())), u32(0);
    b.insert(b.end(), thumb.begin(), thumb.end());
    if (b.size() + 2 > 65535) return false;
    const std::vector<uint8_t> segment = {0xff, 0xe1, uint8_t((b.size() + 2) >> 8), uint8_t(b.size() + 2)};
    main.insert(main.begin() + 2, b.begin(), b.end());
    main.insert(main.begin() + 2, segment.begin(), segment.end());
    FILE *f = std::fopen(path, "wb");
    if (f == nullptr) return false;
    const bool written = std::fwrite(main.data(), 1, main.size(), f) == main.size();
    return std::fclose(f) == 0 && written;
}

OpStatus saveAs(const char *path, Picture &picture, const char *format, int quality) {
    FormatParams params;
    zntDefaultParams(&params);
    params.formatIndex = int16_t(zntFormatGetIndex(format));
    params.jpegQuality = uint16_t(quality);
    params.pngCompressionLevel = 6;
    return zntSave(path, &picture, &params, 0);
}

OpStatus loadFile(const char *path, Picture &picture, bool reduced = false) {
    FormatParams params;
    zntDefaultParams(&params);
    if (reduced) {
        params.flags = ZNT_LOAD_REDUCED;
        params.reducedWidth = 160;
        params.reducedHeight = 120;
    }
    picture = Picture{};
    return zntLoad(path, &picture, &params, nullptr);
}

// The files every benchmark reads, made once in a private folder.
struct Files {
    std::string folder, photoJpeg, photoPng, cameraJpeg, cameraExifJpeg;
    Picture photo{};
    Files() {
        char pattern[] = "/tmp/zentar-bench-XXXXXX";
        folder = mkdtemp(pattern) ? pattern : "/tmp";
        photoJpeg = folder + "/photo.jpg";
        photoPng = folder + "/photo.png";
        cameraJpeg = folder + "/camera.jpg";
        cameraExifJpeg = folder + "/camera-exif.jpg";
        if (!makePhoto(photo, 6000, 4000) || saveAs(photoJpeg.c_str(), photo, "jpeg") ||
            saveAs(photoPng.c_str(), photo, "png") || !makeCameraFile(cameraJpeg.c_str(), 2048, 1536, false) ||
            !makeCameraFile(cameraExifJpeg.c_str(), 2048, 1536, true)) {
            std::fprintf(stderr, "codec_bench: cannot make the test pictures in %s\n", folder.c_str());
            std::exit(1);
        }
    }
    ~Files() {
        for (const std::string &f : {photoJpeg, photoPng, cameraJpeg, cameraExifJpeg, folder + "/out"})
            unlink(f.c_str());
        rmdir(folder.c_str());
        zntFree(&photo);
    }
};

Files &files() {
    static Files instance;
    return instance;
}

void decode(benchmark::State &state, const std::string &path) {
    for (auto _ : state) {
        Picture picture{};
        if (loadFile(path.c_str(), picture) != 0) state.SkipWithError("load failed");
        benchmark::DoNotOptimize(picture.data);
        zntFree(&picture);
    }
    state.counters["Mpx/s"] = benchmark::Counter(24.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}

void encode(benchmark::State &state, const char *format) {
    const std::string out = files().folder + "/out";
    for (auto _ : state)
        if (saveAs(out.c_str(), files().photo, format) != 0) state.SkipWithError("save failed");
    state.counters["Mpx/s"] = benchmark::Counter(24.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_JpegDecode24MP(benchmark::State &state) { decode(state, files().photoJpeg); }
void BM_PngDecode24MP(benchmark::State &state) { decode(state, files().photoPng); }
void BM_JpegEncode24MP(benchmark::State &state) { encode(state, "jpeg"); }
void BM_PngEncode24MP(benchmark::State &state) { encode(state, "png"); }

// One folder: 1,000 loads of a 3-megapixel photo, reduced for 160 x 120
// thumbnails (by DCT scaling, or from the EXIF thumbnail) or at full size.
void thumbnails(benchmark::State &state, bool reduced, bool exif) {
    const std::string &path = exif ? files().cameraExifJpeg : files().cameraJpeg;
    const int count = int(state.range(0));
    for (auto _ : state) {
        for (int i = 0; i < count; ++i) {
            Picture picture{};
            if (loadFile(path.c_str(), picture, reduced) != 0) state.SkipWithError("load failed");
            benchmark::DoNotOptimize(picture.data);
            zntFree(&picture);
        }
    }
    state.counters["ms_per_file"] =
        benchmark::Counter(double(count) * double(state.iterations()) / 1000.0,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
void BM_JpegReducedLoads(benchmark::State &state) { thumbnails(state, true, false); }
void BM_JpegReducedLoadsExif(benchmark::State &state) { thumbnails(state, true, true); }
void BM_JpegFullLoads(benchmark::State &state) { thumbnails(state, false, false); }

BENCHMARK(BM_JpegDecode24MP)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_JpegEncode24MP)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_PngDecode24MP)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_PngEncode24MP)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_JpegReducedLoads)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_JpegReducedLoadsExif)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_JpegFullLoads)->Arg(100)->Unit(benchmark::kMillisecond)->Iterations(1);

int task(int argc, char **argv) {
    const std::string name = argc > 2 ? argv[2] : "";
    if (name == "make-photo" && argc == 6) {
        Picture p{};
        if (!makePhoto(p, std::atoi(argv[4]), std::atoi(argv[5]))) return 1;
        const OpStatus s = saveAs(argv[3], p, "ppm");
        zntFree(&p);
        return s == 0 ? 0 : 1;
    }
    if (name == "make-camera" && (argc == 6 || argc == 7)) {
        const bool exif = argc == 7 && std::strcmp(argv[6], "exif") == 0;
        return makeCameraFile(argv[3], std::atoi(argv[4]), std::atoi(argv[5]), exif) ? 0 : 1;
    }
    if (name == "decode" && argc == 4) {
        Picture p{};
        const OpStatus s = loadFile(argv[3], p);
        zntFree(&p);
        return s == 0 ? 0 : 1;
    }
    if (name == "encode" && (argc == 6 || argc == 7)) {
        Picture p{};
        if (loadFile(argv[4], p) != 0) return 1;
        const OpStatus s = saveAs(argv[5], p, argv[3], argc == 7 ? std::atoi(argv[6]) : 90);
        zntFree(&p);
        return s == 0 ? 0 : 1;
    }
    if (name == "thumbnails" && (argc == 5 || argc == 6)) {
        const bool reduced = argc == 5 || std::strcmp(argv[5], "full") != 0;
        for (int i = 0, n = std::atoi(argv[4]); i < n; ++i) {
            Picture p{};
            if (loadFile(argv[3], p, reduced) != 0) return 1;
            zntFree(&p);
        }
        return 0;
    }
    std::fprintf(stderr, "codec_bench: unknown task\n");
    return 2;
}

}  // namespace

int main(int argc, char **argv) {
    zntInitLibrary();
    if (argc > 1 && std::strcmp(argv[1], "--task") == 0) {
        const int status = task(argc, argv);
        zntExitLibrary();
        return status;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    zntExitLibrary();
    return 0;
}
