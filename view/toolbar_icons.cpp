// Toolbar pictures: one character per pixel; ' ' shows the button.
#include "view/toolbar_icons.h"

#include <array>
#include <cstddef>

namespace quivel {

namespace {

constexpr int kSide = 16;

constexpr IconColor kColors[] = {
    {'k', 0x20, 0x20, 0x20}, {'w', 0xff, 0xff, 0xff}, {'b', 0x30, 0x60, 0xc0}, {'r', 0xc8, 0x20, 0x20},
    {'g', 0x30, 0xa0, 0x30}, {'y', 0xf0, 0xd0, 0x50}, {'m', 0x90, 0x90, 0x98},
};
constexpr int kColorCount = int(sizeof kColors / sizeof kColors[0]);

using Art = const char *const[kSide];
// open
constexpr Art kArt0 = {
    "                ",
    "                ",
    "  kkkk          ",
    " kyyyyk         ",
    " kyyyyykkkkkkk  ",
    " kyyyyyyyyyyyk  ",
    " kyykkkkkkkkkkkk",
    " kyykyyyyyyyyyyk",
    " kykyyyyyyyyyyk ",
    " kykyyyyyyyyyyk ",
    " kkyyyyyyyyyyk  ",
    " kkyyyyyyyyyyk  ",
    " kkkkkkkkkkkkk  ",
    "                ",
    "                ",
    "                ",
};
// save
constexpr Art kArt1 = {
    "                ",
    " kkkkkkkkkkkkk  ",
    " kbkwwwwwwwkbk  ",
    " kbkwwwwwwwkbk  ",
    " kbkwwwwwwwkbk  ",
    " kbkwwwwwwwkbk  ",
    " kbbkkkkkkkbbk  ",
    " kbbbbbbbbbbbk  ",
    " kbbkkkkkkkbbk  ",
    " kbbkmmkwwkbbk  ",
    " kbbkmmkwwkbbk  ",
    " kbbkmmkwwkbbk  ",
    "  kkkkkkkkkkkk  ",
    "                ",
    "                ",
    "                ",
};
// reopen
constexpr Art kArt2 = {
    "                ",
    "     kkkkk      ",
    "   kk     kk k  ",
    "  k         kk  ",
    "  k        kkk  ",
    " k        kkkk  ",
    " k              ",
    " k              ",
    " k           k  ",
    " k           k  ",
    "  k         k   ",
    "  k         k   ",
    "   kk     kk    ",
    "     kkkkk      ",
    "                ",
    "                ",
};
// close
constexpr Art kArt3 = {
    "                ",
    "                ",
    "  rr        rr  ",
    "  rrr      rrr  ",
    "   rrr    rrr   ",
    "    rrr  rrr    ",
    "     rrrrrr     ",
    "      rrrr      ",
    "      rrrr      ",
    "     rrrrrr     ",
    "    rrr  rrr    ",
    "   rrr    rrr   ",
    "  rrr      rrr  ",
    "  rr        rr  ",
    "                ",
    "                ",
};
// first
constexpr Art kArt4 = {
    "                ",
    "                ",
    "  kk       k    ",
    "  kk      kk    ",
    "  kk     kbk    ",
    "  kk    kbbk    ",
    "  kk   kbbbk    ",
    "  kk  kbbbbk    ",
    "  kk  kbbbbk    ",
    "  kk   kbbbk    ",
    "  kk    kbbk    ",
    "  kk     kbk    ",
    "  kk      kk    ",
    "  kk       k    ",
    "                ",
    "                ",
};
// prev
constexpr Art kArt5 = {
    "                ",
    "                ",
    "         k      ",
    "        kk      ",
    "       kbk      ",
    "      kbbk      ",
    "     kbbbk      ",
    "    kbbbbk      ",
    "    kbbbbk      ",
    "     kbbbk      ",
    "      kbbk      ",
    "       kbk      ",
    "        kk      ",
    "         k      ",
    "                ",
    "                ",
};
// next
constexpr Art kArt6 = {
    "                ",
    "                ",
    "      k         ",
    "      kk        ",
    "      kbk       ",
    "      kbbk      ",
    "      kbbbk     ",
    "      kbbbbk    ",
    "      kbbbbk    ",
    "      kbbbk     ",
    "      kbbk      ",
    "      kbk       ",
    "      kk        ",
    "      k         ",
    "                ",
    "                ",
};
// last
constexpr Art kArt7 = {
    "                ",
    "                ",
    "    k       kk  ",
    "    kk      kk  ",
    "    kbk     kk  ",
    "    kbbk    kk  ",
    "    kbbbk   kk  ",
    "    kbbbbk  kk  ",
    "    kbbbbk  kk  ",
    "    kbbbk   kk  ",
    "    kbbk    kk  ",
    "    kbk     kk  ",
    "    kk      kk  ",
    "    k       kk  ",
    "                ",
    "                ",
};
// pagePrev
constexpr Art kArt8 = {
    "                ",
    "   kkkkkkkkk    ",
    "   kwwwwwwwkk   ",
    "   kwwwwwwwkwk  ",
    "   kwwwwwwwkkkk ",
    "   kwwwkwwwwwwk ",
    "   kwwkkwwwwwwk ",
    "   kwkgkkkkkwwk ",
    "   kkgggggggkwk ",
    "   kwkgkkkkkwwk ",
    "   kwwkkwwwwwwk ",
    "   kwwwkwwwwwwk ",
    "   kwwwwwwwwwwk ",
    "   kkkkkkkkkkkk ",
    "                ",
    "                ",
};
// pageNext
constexpr Art kArt9 = {
    "                ",
    "   kkkkkkkkk    ",
    "   kwwwwwwwkk   ",
    "   kwwwwwwwkwk  ",
    "   kwwwwwwwkkkk ",
    "   kwwwwwwkwwwk ",
    "   kwwwwwwkkwwk ",
    "   kwkkkkkgkwwk ",
    "   kwgggggggkwk ",
    "   kwkkkkkgkwwk ",
    "   kwwwwwwkkwwk ",
    "   kwwwwwwkwwwk ",
    "   kwwwwwwwwwwk ",
    "   kkkkkkkkkkkk ",
    "                ",
    "                ",
};
// browse
constexpr Art kArt10 = {
    "                ",
    " kkkk           ",
    " kyyk           ",
    " kkkkkkkkk      ",
    " kyyyyyyyk      ",
    " kkkkkkkkk      ",
    "  k             ",
    "  k  kkkk       ",
    "  kkkkyyk       ",
    "  k  kkkkkkkk   ",
    "  k  kyyyyyyk   ",
    "  k  kkkkkkkk   ",
    "  k             ",
    "  k  kkkk       ",
    "  kkkkyyk       ",
    "     kkkk       ",
};
// undo
constexpr Art kArt11 = {
    "                ",
    "                ",
    "    k           ",
    "   kk           ",
    "  kbkkkkkkkk    ",
    " kbbbbbbbbbbk   ",
    "  kbkkkkkkkbbk  ",
    "   kk      kbk  ",
    "    k       kbk ",
    "            kbk ",
    "            kbk ",
    "           kbk  ",
    "      kkkkkbbk  ",
    "      kbbbbbk   ",
    "      kkkkkk    ",
    "                ",
};
// crop
constexpr Art kArt12 = {
    "                ",
    "   k            ",
    "   k            ",
    " kkkkkkkkkkk    ",
    "   k       k    ",
    "   k       k    ",
    "   k       k    ",
    "   k       k    ",
    "   k       k    ",
    "   k       k    ",
    "   k       k    ",
    "   kkkkkkkkkkkk ",
    "           k    ",
    "           k    ",
    "                ",
    "                ",
};
// zoomIn
constexpr Art kArt13 = {
    "                ",
    "    kkkkk       ",
    "   kwwwwwk      ",
    "  kwwwkwwwk     ",
    "  kwwwkwwwk     ",
    "  kwkkkkkwk     ",
    "  kwwwkwwwk     ",
    "  kwwwkwwwk     ",
    "   kwwwwwk      ",
    "    kkkkkkk     ",
    "          kk    ",
    "           kk   ",
    "            kk  ",
    "             kk ",
    "                ",
    "                ",
};
// zoomOut
constexpr Art kArt14 = {
    "                ",
    "    kkkkk       ",
    "   kwwwwwk      ",
    "  kwwwwwwwk     ",
    "  kwwwwwwwk     ",
    "  kwkkkkkwk     ",
    "  kwwwwwwwk     ",
    "  kwwwwwwwk     ",
    "   kwwwwwk      ",
    "    kkkkkkk     ",
    "          kk    ",
    "           kk   ",
    "            kk  ",
    "             kk ",
    "                ",
    "                ",
};
// zoom100
constexpr Art kArt15 = {
    "                ",
    "    kkkkk       ",
    "   kwwwwwk      ",
    "  kwwwwwwwk     ",
    "  kwkwkkkwk     ",
    "  kkkwkwkwk     ",
    "  kwkwkwkwk     ",
    "  kwkwkkkwk     ",
    "   kwwwwwk      ",
    "    kkkkkkk     ",
    "          kk    ",
    "           kk   ",
    "            kk  ",
    "             kk ",
    "                ",
    "                ",
};
// fitImage
constexpr Art kArt16 = {
    "                ",
    " kkkkkkkkkkkkkk ",
    " kbbbbbbbbbbbbk ",
    " kkkkkkkkkkkkkk ",
    " kk          kk ",
    " k kk      kk k ",
    " k  kkk  kkk  k ",
    " k            k ",
    " k            k ",
    " k  kkk  kkk  k ",
    " k kk      kk k ",
    " kk          kk ",
    " kkkkkkkkkkkkkk ",
    "                ",
    "                ",
    "                ",
};
// fullScreen
constexpr Art kArt17 = {
    "                ",
    " kkkkkkkkkkkkkk ",
    " kkkkkkkkkkkkkk ",
    " kkkkkkkkkkkkkk ",
    " kkkkbbbbbbkkkk ",
    " kkkbbbbbbbbkkk ",
    " kkkbbggbbbbkkk ",
    " kkkbggggbbbkkk ",
    " kkkggggggggkkk ",
    " kkkkggggggkkkk ",
    " kkkkkkkkkkkkkk ",
    " kkkkkkkkkkkkkk ",
    " kkkkkkkkkkkkkk ",
    "      kkkk      ",
    "    kkkkkkkk    ",
    "                ",
};
// rotateLeft
constexpr Art kArt18 = {
    "                ",
    "                ",
    "   k            ",
    "  kk  kkkkk     ",
    " kbkkkbbbbbkk   ",
    " kbbbbbbbbbbbk  ",
    "  kbkkkkkkkbbk  ",
    "   kk     kbbk  ",
    "    k  kkkkkkkk ",
    "       kwwwwwwk ",
    "       kwwwwwwk ",
    "       kwwwwwwk ",
    "       kwwwwwwk ",
    "       kkkkkkkk ",
    "                ",
    "                ",
};
// rotateRight
constexpr Art kArt19 = {
    "                ",
    "                ",
    "            k   ",
    "     kkkkk  kk  ",
    "   kkbbbbbkkkbk ",
    "  kbbbbbbbbbbbk ",
    "  kbbkkkkkkkbk  ",
    "  kbbk     kk   ",
    " kkkkkkkk  k    ",
    " kwwwwwwk       ",
    " kwwwwwwk       ",
    " kwwwwwwk       ",
    " kwwwwwwk       ",
    " kkkkkkkk       ",
    "                ",
    "                ",
};
// flipHorizontal
constexpr Art kArt20 = {
    "                ",
    "       k        ",
    "       k        ",
    "   k   k   k    ",
    "  kk   k   kk   ",
    " kbkkkkkkkkkbk  ",
    " kbbbbbbbbbbbbk ",
    " kbkkkkkkkkkbk  ",
    "  kk   k   kk   ",
    "   k   k   k    ",
    "       k        ",
    "       k        ",
    "       k        ",
    "                ",
    "                ",
    "                ",
};
// flipVertical
constexpr Art kArt21 = {
    "                ",
    "       k        ",
    "      kbk       ",
    "     kbbbk      ",
    "    kkkbkkk     ",
    "      kbk       ",
    "      kbk       ",
    " kkkkkkbkkkkkkk ",
    "      kbk       ",
    "      kbk       ",
    "    kkkbkkk     ",
    "     kbbbk      ",
    "      kbk       ",
    "       k        ",
    "                ",
    "                ",
};
// resize
constexpr Art kArt22 = {
    "                ",
    " kkkkkkkkkkkkkk ",
    " kwwwwwwwwwwwwk ",
    " kwkkkkkkwwwwwk ",
    " kwkbbbbkwwwwwk ",
    " kwkbbbbkwwwwwk ",
    " kwkbbbbkwwkwwk ",
    " kwkkkkkkwwkkwk ",
    " kwwwwwwkkkkkkk ",
    " kwwwwwwwwwkkwk ",
    " kwwwwwwwwwkwwk ",
    " kwwwwwwwwwwwwk ",
    " kwwwwwwwwwwwwk ",
    " kkkkkkkkkkkkkk ",
    "                ",
    "                ",
};
// colorInformation
constexpr Art kArt23 = {
    "                ",
    "      kkkk      ",
    "    kkrrrrkk    ",
    "   krrrrrrrrk   ",
    "  krrrrrrrrrrk  ",
    "  kggggkkbbbbk  ",
    " kgggggkkbbbbbk ",
    " kgggggkkbbbbbk ",
    " kggggkkkkbbbbk ",
    "  kgggkkkkbbbk  ",
    "  kggggkkbbbbk  ",
    "   kggggbbbbk   ",
    "    kkggbbkk    ",
    "      kkkk      ",
    "                ",
    "                ",
};
// options
constexpr Art kArt24 = {
    "                ",
    "      kkkk      ",
    "   kk kmmk kk   ",
    "  kmmkkmmkkmmk  ",
    "  kmmmmmmmmmmk  ",
    "   kmmmkkmmmk   ",
    " kkkmmk  kmmkkk ",
    " kmmmk    kmmmk ",
    " kmmmk    kmmmk ",
    " kkkmmk  kmmkkk ",
    "   kmmmkkmmmk   ",
    "  kmmmmmmmmmmk  ",
    "  kmmkkmmkkmmk  ",
    "   kk kmmk kk   ",
    "      kkkk      ",
    "                ",
};
// slideShow
constexpr Art kArt25 = {
    "                ",
    " kkkkkkkkkkkkkk ",
    " kwwwwwwwwwwwwk ",
    " kwwwkwwwwwwwwk ",
    " kwwwkkwwwwwwwk ",
    " kwwwkgkwwwwwwk ",
    " kwwwkggkwwwwwk ",
    " kwwwkgggkwwwwk ",
    " kwwwkggkwwwwwk ",
    " kwwwkgkwwwwwwk ",
    " kwwwkkwwwwwwwk ",
    " kwwwkwwwwwwwwk ",
    " kkkkkkkkkkkkkk ",
    "       kk       ",
    "     kkkkkk     ",
    "                ",
};
// viewHexa
constexpr Art kArt26 = {
    "                ",
    " kkkkkkkkkkkkkk ",
    " kwwwwwwwwwwwwk ",
    " kwbwbwwbbbwwwk ",
    " kwbwbwwbwwwwwk ",
    " kwbbbwwbbwwwwk ",
    " kwbwbwwbwwwwwk ",
    " kwbwbwwbbbwwwk ",
    " kwwwwwwwwwwwwk ",
    " kwkkwkkwkkwkkk ",
    " kwwwwwwwwwwwwk ",
    " kwkkwkkwkkwwwk ",
    " kwwwwwwwwwwwwk ",
    " kkkkkkkkkkkkkk ",
    "                ",
    "                ",
};

template <const char *const (&A)[kSide]>
constexpr std::array<uint8_t, kSide * kSide> codesOf() {
    std::array<uint8_t, kSide * kSide> codes{};
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x) codes[std::size_t(y * kSide + x)] = uint8_t(A[y][x]);
    return codes;
}

constexpr auto kCodes0 = codesOf<kArt0>();
constexpr auto kCodes1 = codesOf<kArt1>();
constexpr auto kCodes2 = codesOf<kArt2>();
constexpr auto kCodes3 = codesOf<kArt3>();
constexpr auto kCodes4 = codesOf<kArt4>();
constexpr auto kCodes5 = codesOf<kArt5>();
constexpr auto kCodes6 = codesOf<kArt6>();
constexpr auto kCodes7 = codesOf<kArt7>();
constexpr auto kCodes8 = codesOf<kArt8>();
constexpr auto kCodes9 = codesOf<kArt9>();
constexpr auto kCodes10 = codesOf<kArt10>();
constexpr auto kCodes11 = codesOf<kArt11>();
constexpr auto kCodes12 = codesOf<kArt12>();
constexpr auto kCodes13 = codesOf<kArt13>();
constexpr auto kCodes14 = codesOf<kArt14>();
constexpr auto kCodes15 = codesOf<kArt15>();
constexpr auto kCodes16 = codesOf<kArt16>();
constexpr auto kCodes17 = codesOf<kArt17>();
constexpr auto kCodes18 = codesOf<kArt18>();
constexpr auto kCodes19 = codesOf<kArt19>();
constexpr auto kCodes20 = codesOf<kArt20>();
constexpr auto kCodes21 = codesOf<kArt21>();
constexpr auto kCodes22 = codesOf<kArt22>();
constexpr auto kCodes23 = codesOf<kArt23>();
constexpr auto kCodes24 = codesOf<kArt24>();
constexpr auto kCodes25 = codesOf<kArt25>();
constexpr auto kCodes26 = codesOf<kArt26>();

constexpr IconImage iconOf(const uint8_t *codes) {
    IconImage icon{kSide, kSide, ' ', kColorCount, {}, codes};
    for (int i = 0; i < kColorCount; ++i) icon.colors[i] = kColors[i];
    return icon;
}

const IconImage kIcons[kToolbarIconCount] = {
    iconOf(kCodes0.data()),
    iconOf(kCodes1.data()),
    iconOf(kCodes2.data()),
    iconOf(kCodes3.data()),
    iconOf(kCodes4.data()),
    iconOf(kCodes5.data()),
    iconOf(kCodes6.data()),
    iconOf(kCodes7.data()),
    iconOf(kCodes8.data()),
    iconOf(kCodes9.data()),
    iconOf(kCodes10.data()),
    iconOf(kCodes11.data()),
    iconOf(kCodes12.data()),
    iconOf(kCodes13.data()),
    iconOf(kCodes14.data()),
    iconOf(kCodes15.data()),
    iconOf(kCodes16.data()),
    iconOf(kCodes17.data()),
    iconOf(kCodes18.data()),
    iconOf(kCodes19.data()),
    iconOf(kCodes20.data()),
    iconOf(kCodes21.data()),
    iconOf(kCodes22.data()),
    iconOf(kCodes23.data()),
    iconOf(kCodes24.data()),
    iconOf(kCodes25.data()),
    iconOf(kCodes26.data()),
};

}  // namespace

const IconImage *toolbarIcon(int index) {
    return index >= 0 && index < kToolbarIconCount ? &kIcons[index] : nullptr;
}

}  // namespace quivel
