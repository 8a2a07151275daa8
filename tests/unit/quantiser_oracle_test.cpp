// The adaptive palette of photographs: the median cut with error diffusion
// must give exactly the palette and the indices of the reference JPEG
// decoder's two-pass quantiser run on the same decoded pixels.
//
// The photographs are made at test time by ImageMagick (fractal plasma,
// its built-in rose photograph, a swirled plasma and a noisy gradient) and
// saved as JPEG; djpeg decodes them once to PPM (our input) and once with
// -colors N -dither fs to an 8-bit BMP (the expected result).
#include <gtest/gtest.h>

#include "imageops/color_reduction.h"
#include "picture_files.h"

using namespace quivel;
using namespace testsupport;

namespace {

struct Photo {
    const char *name;
    std::vector<std::string> recipe;   // ImageMagick arguments before the output name
};

const std::vector<Photo> &photos() {
    static const std::vector<Photo> list = {
        {"plasma", {"-seed", "7", "-size", "640x480", "plasma:fractal"}},
        {"rose", {"rose:"}},
        {"swirl", {"-seed", "11", "-size", "333x217", "plasma:fractal", "-blur", "0x2", "-swirl", "120"}},
        {"gradient",
         {"-seed", "3", "-size", "257x129", "gradient:navy-gold", "-attenuate", "0.4", "+noise", "Gaussian"}},
    };
    return list;
}

}  // namespace

TEST(QuantiserOracle, PaletteAndIndicesMatchTheReferenceDecoder) {
    const std::string djpeg = requireTool("djpeg"), convert = requireTool("convert");
    ASSERT_FALSE(djpeg.empty() || convert.empty());
    TempDir dir;
    for (const Photo &photo : photos()) {
        SCOPED_TRACE(photo.name);
        const std::string jpeg = dir.file(std::string(photo.name) + ".jpg");
        const std::string ppm = dir.file(std::string(photo.name) + ".ppm");
        std::vector<std::string> make = {convert};
        make.insert(make.end(), photo.recipe.begin(), photo.recipe.end());
        make.push_back(jpeg);
        ASSERT_TRUE(runTool(make));
        ASSERT_TRUE(runTool({djpeg, "-pnm", "-outfile", ppm, jpeg}));
        OwnedTestPicture source;
        ASSERT_TRUE(readPpm(ppm, source));

        for (int colors : {8, 16, 64, 216, 256}) {
            SCOPED_TRACE(colors);
            const std::string bmpPath = dir.file("expected.bmp");
            ASSERT_TRUE(runTool({djpeg, "-colors", std::to_string(colors), "-dither", "fs", "-bmp", "-outfile",
                                 bmpPath, jpeg}));
            PaletteBmp expected;
            ASSERT_TRUE(readPaletteBmp(bmpPath, expected));
            ASSERT_EQ(expected.width, int(source->width));
            ASSERT_EQ(expected.height, source->height);

            OwnedTestPicture result;
            ASSERT_EQ(convertToColors(source.get(), result.get(), colors, kDitherNone), ZNT_OK);
            ASSERT_EQ(result->type, ZNT_PALETTE);
            EXPECT_EQ(result->numberOfColors, colors);
            // The reference pads its colour table with black past the
            // colours it made; so does our palette.
            for (size_t i = 0; i < expected.red.size() && i < 256; ++i) {
                ASSERT_EQ(result->palette[i], expected.red[i]) << "red of entry " << i;
                ASSERT_EQ(result->palette[256 + i], expected.green[i]) << "green of entry " << i;
                ASSERT_EQ(result->palette[512 + i], expected.blue[i]) << "blue of entry " << i;
            }
            const std::vector<uint8_t> indices = pixelBytes(result.p);
            ASSERT_EQ(indices.size(), expected.indices.size());
            size_t mismatches = 0, first = indices.size();
            for (size_t i = 0; i < indices.size(); ++i)
                if (indices[i] != expected.indices[i] && mismatches++ == 0) first = i;
            EXPECT_EQ(mismatches, 0u) << "first at pixel " << first % source->width << ", "
                                      << first / source->width;
        }
    }
}

TEST(QuantiserOracle, EveryTrueColourLayoutGivesTheSameResult) {
    // The channel order of the source must not change the palette: the same
    // pixels stored as B, G, R, A are quantised like R, G, B.
    OwnedTestPicture rgb, bgra;
    const auto value = [](int x, int y, int k) { return (x * 37 + y * 11 + k * 91 + (x * y) % 53) & 255; };
    makePicture(rgb, ZNT_RGB, 61, 47, value);
    makePicture(bgra, ZNT_BGRA, 61, 47, [&](int x, int y, int k) { return k == 3 ? 7 : value(x, y, 2 - k); });
    OwnedTestPicture a, b;
    ASSERT_EQ(convertToColors(rgb.get(), a.get(), 64, kDitherNone), ZNT_OK);
    ASSERT_EQ(convertToColors(bgra.get(), b.get(), 64, kDitherNone), ZNT_OK);
    EXPECT_EQ(pixelBytes(a.p), pixelBytes(b.p));
    EXPECT_EQ(0, std::memcmp(a->palette, b->palette, 768));
}
