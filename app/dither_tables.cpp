#include "app/dither_tables.h"

#include <cstdio>
#include <new>

#include "imageops/dither_matrices.h"

namespace quivel {

namespace {

DitherTables *gDitherTables = nullptr;

void fillChannel(DitherEntry *table, int levels, int multiplier, const char *errorFormat) {
    const double step = 255.0 / (levels - 1);
    for (int v = 0; v < 256; ++v) {
        int level = int(v / step);
        if (level == levels - 1) level = levels - 2;
        const int fraction = int((v - step * level) / (step / 63.0));
        table[v].fraction = uint8_t(fraction);
        table[v].lowerIndex = uint8_t(level * multiplier);
        table[v].upperIndex = uint8_t((level + 1) * multiplier);
        if (fraction > 63) std::printf(errorFormat, v, fraction);
    }
}

}  // namespace

DitherTables *GetDitherTables(int r, int g, int b) {
    for (DitherTables *t = gDitherTables; t != nullptr; t = t->next)
        if (t->redLevels == r && t->greenLevels == g && t->blueLevels == b) return t;

    DitherTables *t = new (std::nothrow) DitherTables{};
    if (t == nullptr) return nullptr;
    t->redLevels = r;
    t->greenLevels = g;
    t->blueLevels = b;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            for (int k = 0; k < 64; ++k) t->thresholds[y][x][k] = kLevelDither8[y][x] < k ? 1 : 0;
    fillChannel(t->redTable, r, g * b, "ERROR ptr->red: %d  %d \n");
    fillChannel(t->greenTable, g, b, "ERROR ptr->green: %d   %d \n");
    fillChannel(t->blueTable, b, 1, "ERROR ptr->blue: %d   %d \n");
    t->next = gDitherTables;
    gDitherTables = t;
    return t;
}

void freeDitherTables() {
    while (gDitherTables != nullptr) {
        DitherTables *next = gDitherTables->next;
        delete gDitherTables;
        gDitherTables = next;
    }
}

}  // namespace quivel
