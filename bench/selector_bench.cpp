// The file selector's two costs a user waits for: listing a large folder
// (read, filter to pictures, sort by name) and the preview of a large
// picture (reduced load, then scaled to the 160 x 120 box).
#include <benchmark/benchmark.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <vector>
#include <cstdlib>
#include <string>

#include "app/folder_listing.h"
#include "app/selector_preview.h"
#include "zentar.h"

using namespace quivel;

namespace {

// Every folder made here, removed when the run ends.
std::vector<std::string> gFolders;

std::string makeFolder() {
    char pattern[] = "/tmp/selector_bench_XXXXXX";
    const char *made = mkdtemp(pattern);
    if (made == nullptr) std::abort();
    gFolders.push_back(made);
    return made;
}

void touch(const std::string &path) {
    if (FILE *f = std::fopen(path.c_str(), "w")) std::fclose(f);
}

// A folder of `count` files, nine pictures in ten, named as a camera names them.
const std::string &largeFolder(int count) {
    static std::string folder;
    if (!folder.empty()) return folder;
    folder = makeFolder();
    for (int i = 0; i < count; ++i) {
        char name[64];
        std::snprintf(name, sizeof name, "/IMG_%05d.%s", i, i % 10 == 9 ? "txt" : "jpg");
        touch(folder + name);
    }
    return folder;
}

void BM_ListLargeFolder(benchmark::State &state) {
    const std::string &folder = largeFolder(int(state.range(0)));
    const FileFilter pictures = parseFilter(kPicturesFilter);
    for (auto _ : state) {
        FolderListing listing;
        readFolder(folder, false, listing);
        benchmark::DoNotOptimize(filteredFiles(listing, pictures, SortKey::Name, false));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ListLargeFolder)->Arg(20000)->Unit(benchmark::kMillisecond);

// A 3000 x 2000 photograph-like picture saved once in the format asked for.
std::string largePicture(const char *format) {
    const std::string path = makeFolder() + "/large." + format;
    Picture picture{};
    if (!zntAllock(&picture, ZNT_RGB, 8, 3000, 2000)) std::abort();
    for (int y = 0; y < 2000; ++y)
        for (int x = 0; x < 3000; ++x) {
            uint8_t *p = picture.data + size_t(y) * picture.bytesPerLine + size_t(x) * 3;
            p[0] = uint8_t(x * 255 / 3000);
            p[1] = uint8_t(y * 255 / 2000);
            p[2] = uint8_t((x ^ y) & 0xff);
        }
    FormatParams params;
    zntDefaultParams(&params);
    params.formatIndex = int16_t(zntFormatGetIndex(format));
    params.jpegQuality = 90;
    if (zntSave(path.c_str(), &picture, &params, 0) != ZNT_OK) std::abort();
    zntFree(&picture);
    return path;
}

void BM_PreviewOfLargePicture(benchmark::State &state, const char *format) {
    const std::string path = largePicture(format);
    for (auto _ : state) {
        Picture preview{};
        if (loadPreviewPicture(path.c_str(), 160, 120, preview) != ZNT_OK) state.SkipWithError("load failed");
        zntFree(&preview);
    }
}
BENCHMARK_CAPTURE(BM_PreviewOfLargePicture, jpeg, "jpeg")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PreviewOfLargePicture, png, "png")->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    for (const std::string &folder : gFolders) std::filesystem::remove_all(folder);
    return 0;
}
