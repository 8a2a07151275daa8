/* A plain C program written against zentar.h and linked with the shared
 * library: the header must stay valid C, and the library usable without a
 * C++ caller. It saves a small picture, loads it back and compares. */
#include "zentar.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

static int fail(const char *what) {
    fprintf(stderr, "c_program: %s\n", what);
    return 1;
}

int main(void) {
    char version[16];
    char name[64];
    Picture picture, loaded;
    FormatParams params;
    FileInformation info;
    int x, y, ppm;

    zntInitLibrary();
    zntVersion(version);
    if (strcmp(version, "3.87") != 0) return fail("version");
    ppm = zntFormatGetIndex("ppm");
    if (zntCount() < 1 || ppm < 0 || !zntFormatIsWritable(ppm)) return fail("format table");

    memset(&picture, 0, sizeof picture);
    if (!zntAllock(&picture, ZNT_RGB, 8, 5, 3)) return fail("allocation");
    for (y = 0; y < picture.height; ++y)
        for (x = 0; x < (int)picture.width * 3; ++x) picture.data[y * picture.bytesPerLine + x] = (uint8_t)(x * 17 + y);

    snprintf(name, sizeof name, "/tmp/zentar_c_%ld.ppm", (long)getpid());
    zntDefaultParams(&params);
    params.formatIndex = (int16_t)ppm;
    if (zntSave(name, &picture, &params, 0) != ZNT_OK) return fail("save");

    memset(&info, 0, sizeof info);
    if (zntFileInformation(name, -1, 0, &info) != ZNT_OK || info.formatIndex != ppm) return fail("information");
    memset(&loaded, 0, sizeof loaded);
    zntDefaultParams(&params);
    params.formatIndex = info.formatIndex;
    if (zntLoad(name, &loaded, &params, &info) != ZNT_OK) return fail("load");
    zntFileInformationFree(&info);
    unlink(name);

    if (loaded.width != picture.width || loaded.height != picture.height || loaded.type != ZNT_RGB)
        return fail("loaded size");
    for (y = 0; y < picture.height; ++y)
        if (memcmp(loaded.data + y * loaded.bytesPerLine, picture.data + y * picture.bytesPerLine, picture.width * 3) != 0)
            return fail("loaded pixels");
    zntFree(&picture);
    zntFree(&loaded);
    zntExitLibrary();
    return 0;
}
