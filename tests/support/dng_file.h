// A small camera raw file made on the spot, since no camera's file may come
// with the tests: a DNG written with libtiff, whose first directory is an
// RGB preview (as cameras write one) and whose sub-directory holds 12-bit
// sensor data behind a red-green-green-blue colour filter. The colour
// matrix makes the camera's channels those of linear sRGB, so that a
// developed picture shows the scene's colours.
//
// The scene: the left half red, the right half blue. The preview is plain
// green, so that a test can tell a preview from a development.
#pragma once

#include <tiffio.h>

#include <cstdint>
#include <string>
#include <vector>

namespace testsupport {

struct DngOptions {
    uint32_t width = 64, height = 48;                 // the sensor
    uint32_t previewWidth = 32, previewHeight = 24;   // 0 x 0: no preview
    uint16_t orientation = 1;                         // TIFF/EXIF orientation
};

inline bool writeTestDng(const std::string &path, const DngOptions &o = {}) {
    TIFF *tif = TIFFOpen(path.c_str(), "w");
    if (tif == nullptr) return false;
    const bool preview = o.previewWidth != 0 && o.previewHeight != 0;
    static const float kXyzToCamera[9] = {3.2406f, -1.5372f, -0.4986f, -0.9689f, 1.8758f,
                                          0.0415f, 0.0557f,  -0.2040f, 1.0570f};
    static const float kNeutral[3] = {1, 1, 1};
    static const uint8_t kVersion[4] = {1, 4, 0, 0}, kBackward[4] = {1, 1, 0, 0};
    auto common = [&] {
        TIFFSetField(tif, TIFFTAG_MAKE, "Quivel");
        TIFFSetField(tif, TIFFTAG_MODEL, "Test Camera");
        TIFFSetField(tif, TIFFTAG_ORIENTATION, o.orientation);
        TIFFSetField(tif, TIFFTAG_DNGVERSION, kVersion);
        TIFFSetField(tif, TIFFTAG_DNGBACKWARDVERSION, kBackward);
        TIFFSetField(tif, TIFFTAG_UNIQUECAMERAMODEL, "Quivel Test Camera");
        TIFFSetField(tif, TIFFTAG_COLORMATRIX1, 9, kXyzToCamera);
        TIFFSetField(tif, TIFFTAG_CALIBRATIONILLUMINANT1, 21);
        TIFFSetField(tif, TIFFTAG_ASSHOTNEUTRAL, 3, kNeutral);
    };
    bool ok = true;
    if (preview) {
        uint64_t subIfd = 0;
        TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, o.previewWidth);
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, o.previewHeight);
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3);
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
        TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, o.previewHeight);
        TIFFSetField(tif, TIFFTAG_SUBIFD, 1, &subIfd);
        common();
        std::vector<uint8_t> row(size_t(o.previewWidth) * 3);
        for (uint32_t x = 0; x < o.previewWidth; ++x) row[3 * x + 1] = 200;
        for (uint32_t y = 0; y < o.previewHeight && ok; ++y) ok = TIFFWriteScanline(tif, row.data(), y, 0) == 1;
        ok = ok && TIFFWriteDirectory(tif) == 1;
    }
    TIFFSetField(tif, TIFFTAG_SUBFILETYPE, 0);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, o.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, o.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 16);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_CFA);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, o.height);
    static const uint16_t kRepeat[2] = {2, 2};
    static const uint8_t kPattern[4] = {0, 1, 1, 2};   // red, green / green, blue
    TIFFSetField(tif, TIFFTAG_CFAREPEATPATTERNDIM, kRepeat);
    TIFFSetField(tif, TIFFTAG_CFAPATTERN, 4, kPattern);
    const uint32_t white = 4095;
    TIFFSetField(tif, TIFFTAG_WHITELEVEL, 1, &white);
    if (!preview) common();
    std::vector<uint16_t> row(o.width);
    for (uint32_t y = 0; y < o.height && ok; ++y) {
        for (uint32_t x = 0; x < o.width; ++x) {
            const int site = int(y % 2) * 2 + int(x % 2);   // 0 red, 1 and 2 green, 3 blue
            const bool left = x < o.width / 2;
            const bool lit = site == 0 ? left : site == 3 ? !left : false;
            row[x] = uint16_t(lit ? 3000 : 200);
        }
        ok = TIFFWriteScanline(tif, row.data(), y, 0) == 1;
    }
    ok = ok && TIFFWriteDirectory(tif) == 1;
    TIFFClose(tif);
    return ok;
}

}  // namespace testsupport
