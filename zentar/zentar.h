/*
 * libzentar: the image-format library.
 *
 * Every image file the programs read or write goes through this C API. The
 * library owns the pixel and palette buffers of a Picture: they are made by
 * zntAllock or zntLoad and released only by zntFree. A Picture record itself
 * is plain data and may be copied by value; after a copy exactly one of the
 * copies may be passed to zntFree.
 *
 * A load gives the simplest picture that holds the file exactly: binary for
 * one-bit black and white, grey of the file's levels, palette (with its
 * transparent index), RGB, or RGBA where the file has alpha or partial
 * transparency. Samples of 16 bits are cut to 8.
 *
 * Order of calls: zntInitLibrary once before anything else, zntExitLibrary
 * once at the end. No function prints, exits or keeps global state beyond
 * the format table; errors are returned as an OpStatus.
 */
#ifndef ZENTAR_ZENTAR_H
#define ZENTAR_ZENTAR_H

#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(ZENTAR_BUILDING)
#define ZNT_API __attribute__((visibility("default")))
#else
#define ZNT_API
#endif

typedef uint16_t OpStatus;

/* Statuses. Only the low byte is passed on to callers. */
enum {
    ZNT_OK = 0,
    ZNT_NO_MEMORY = 1,        /* "Not enough memory" */
    ZNT_UNKNOWN_FORMAT = 2,   /* "Don't know how to read \n<%s>" */
    ZNT_CANT_OPEN = 3,        /* "Can't open file \n<%s>" */
    ZNT_CANT_READ = 4,        /* "Can't read file \n<%s>" */
    ZNT_CANT_CREATE = 5,      /* "Can't create file \n<%s>" */
    ZNT_CANT_WRITE = 6,       /* "Can't write file \n<%s>" */
    ZNT_INTERNAL = 7,         /* "Contact your dealer" */
    ZNT_CANT_SAVE = 8,        /* "Can't save in this format !!" */
    ZNT_BAD_FILE = 9,         /* the library's own text, or "Bad picture file" */
    ZNT_CORRUPT = 10,         /* "Corrupt image" */
    ZNT_JPEG_PROBLEM = 11,    /* "Problem with JPEG" */
    ZNT_STOPPED = 15,         /* stopped by the progress function; never shown */
    ZNT_BAD_ARGUMENT = 16,    /* an argument an operation cannot take */
    ZNT_NOT_APPLICABLE = 17   /* the operation does not apply to this kind of picture */
};

/* Picture types. True colour is any bit of ZNT_TRUECOLOR_MASK; the four-byte
 * kinds (whose extra byte is a mask channel) any bit of ZNT_FOURBYTE_MASK. */
enum {
    ZNT_BINARY = 1,   /* 1 bit per pixel, most significant bit leftmost, 1 = white */
    ZNT_GREY = 2,     /* 1 byte: level index 0..numberOfColors-1 */
    ZNT_PALETTE = 4,  /* 1 byte: index into palette */
    ZNT_RGB = 16,
    ZNT_RGBA = 32,
    ZNT_BGR = 64,
    ZNT_ABGR = 128,
    ZNT_BGRA = 256,
    ZNT_ARGB = 512,
    ZNT_TRUECOLOR_MASK = 0x3f0,
    ZNT_FOURBYTE_MASK = 0x3a0
};

/* Colour models of files, sub-images and of the picture kinds a format can
 * save. ZNT_CM_END ends a FileInformation sub-image list. */
enum {
    ZNT_CM_BINARY = 1,
    ZNT_CM_GREY = 2,
    ZNT_CM_PALETTE = 3,
    ZNT_CM_RGB = 4,
    ZNT_CM_RGBA = 5,
    ZNT_CM_CMYK = 6,
    ZNT_CM_YCBCR = 7,
    ZNT_CM_YCCK = 8,
    ZNT_CM_GREY_ALPHA = 9,
    ZNT_CM_END = 65535
};

typedef struct Picture {
    uint32_t width;
    int32_t height;
    uint32_t bytesPerLine;
    int16_t type;
    uint16_t bytesPerPixel;
    int16_t bitsPerComponent;
    uint16_t colorModel;
    uint32_t resolutionX, resolutionY;
    uint16_t numberOfColors;
    int16_t transparentIndex;
    uint8_t *palette;   /* 768 bytes in three planes (red, green, blue), or NULL */
    uint8_t *data;      /* height rows of bytesPerLine bytes, top row first */
} Picture;

/* Called as rows arrive (load) or leave (save). A non-zero return stops a
 * load with ZNT_STOPPED. */
typedef int (*ZntProgressFunction)(int done, int total, void *userData);

/* zntFileInformation flags */
enum {
    ZNT_INFO_QUICK = 0x10000        /* header only: a GIF reports its first frame, not all */
};

/* FormatParams.flags */
enum {
    ZNT_LOAD_IGNORE_ERRORS = 0x1,   /* a truncated file loads what it holds */
    ZNT_LOAD_REDUCED = 0x400,       /* with reducedWidth/Height set: a quick load for a thumbnail,
                                       at least that size where the file is larger, possibly
                                       smaller than the file (JPEG: its EXIF thumbnail or a
                                       1/2 to 1/8 DCT scaling; JPEG 2000: fewer resolution
                                       levels; HEIF and AVIF: the image's thumbnail; camera
                                       raw: the embedded preview, else a half-size
                                       development). Other formats load in full. */
    ZNT_SAVE_VERBOSE = 0x1,
    ZNT_SAVE_ALWAYS = 0x4,
    ZNT_SAVE_EXTRA = 0xC0
};

typedef struct FormatParams {
    uint8_t flagPair1[2];
    int16_t formatIndex;
    uint8_t flagPair2[2];
    uint32_t flags;
    int32_t pageNumber;              /* page or frame to read, 0 the first */

    /* Reading. */
    int32_t loadValues[3];           /* raw: width, height, offset; YUV: width, height, offset */
    uint8_t rawChannelOrder;         /* 0 interleaved, 1 sequential, 2 separate */
    uint8_t rawChannelType;          /* 0 grey, 1 RGB, 2 BGR, 3 RGBA, 4 ABGR, 5 CMY, 6 CMYK */
    uint8_t pcdBase;                 /* 0 Base/16, 1 Base/4, 2 Base, 3 and 4 larger */
    uint8_t grobGreyLevels;          /* 0-4: 2, 4, 8, 16, 32 levels */
    uint8_t useLut;                  /* DPX/Cineon: convert between 10-bit log codes and 8-bit linear
                                        values, on load and on save, through the table of lutFileName
                                        or, when it is "", the standard film table */
    uint16_t postscriptDpi;
    uint16_t pageWidthPt, pageHeightPt;  /* 0 x 0 leaves the page size to the file */
    uint32_t reducedWidth, reducedHeight; /* with ZNT_LOAD_REDUCED: the smallest size wanted */

    /* Writing. */
    int32_t saveOffset;              /* raw: starting offset */
    uint16_t saveChannelOrder, saveChannelType;
    uint16_t compression;            /* format-specific; TIFF: 0 none, 1 PackBits, 2 LZW, 3 LZW with
                                        predictor, 4 CCITT G3, 5 G3 2D, 6 G4 (binary only),
                                        7 Deflate, 8 JPEG (jpegQuality) */
    uint16_t jpegQuality;            /* 0-100 */
    uint16_t pngCompressionLevel;    /* 0-9 */
    uint8_t progressive;             /* progressive JPEG, interlaced PNG or GIF */
    uint8_t optimizeHuffman;
    uint8_t ppmAscii;
    uint8_t gif87a;
    uint8_t bmpOs2Header;
    uint8_t hp49Header;
    uint8_t dpx10Bits;
    uint8_t rleCompress;             /* run-length encoding, where a format offers it: BMP RLE4 and
                                        RLE8 (4 and 8 bits); TGA the RLE image types; PCX and each
                                        page of DCX encoding 1 (without it the rows are stored raw,
                                        which few other programs read); SGI RLE rows (else verbatim);
                                        IFF ByteRun1; Softimage mixed runs (else raw). Other formats
                                        ignore it. */

    char lutFileName[1024];          /* look-up table file for DPX/Cineon, "" for the standard table:
                                        text of decimal numbers ('#' starts a comment), 1024 values
                                        0-255 (log to linear) for loading, 256 values 0-1023 (linear
                                        to log) for saving */

    uint16_t progressWord;
    void *progressUserData;
    ZntProgressFunction progressFunction;
} FormatParams;

typedef struct ZntSubImage {
    uint16_t colorModel;             /* ZNT_CM_END ends the list */
    uint32_t width, height;
    uint16_t bitsPerComponent;       /* bits per sample (or palette index) in the file */
} ZntSubImage;

/* Filled by zntFileInformation (arrays and comment allocated, released by
 * zntFileInformationFree). zntLoad writes only `message`, and only for
 * ZNT_BAD_FILE, or for ZNT_UNKNOWN_FORMAT when the format needs a program
 * that is not installed (PostScript and PDF); it never touches the arrays. */
typedef struct FileInformation {
    int16_t formatIndex;
    ZntSubImage *images;             /* imageCount entries, then one ZNT_CM_END entry */
    int32_t imageCount;              /* pages or frames */
    uint32_t *delaysMs;              /* imageCount frame delays, or NULL */
    uint16_t compression;
    char compressionName[64];
    uint32_t resolutionX, resolutionY;
    uint16_t orientation;            /* EXIF orientation 1-8, 0 when unknown */
    char *comment;                   /* or NULL */
    char message[256];               /* the library's text for ZNT_BAD_FILE (or a missing program) */
    char typeText[32];               /* printable type for sorting, e.g. "JPEG" */
    char colorText[32];              /* printable colour model, e.g. "RGB" */
    uint64_t fileSize;               /* bytes */
} FileInformation;

typedef struct ZntSaveKind {
    int32_t colorModel;              /* ZNT_CM_BINARY, _GREY, _PALETTE, _RGB or _RGBA; -1 ends the list */
    int32_t depth;                   /* bits per pixel: 2 to the depth levels or colours at most */
    uint32_t maxWidth, maxHeight;    /* 0: no limit */
} ZntSaveKind;

typedef struct FormatInformation {
    char name[10];                   /* short name, at most 9 characters */
    char description[64];
    char suffixes[64];               /* blank-separated, first is the default */
    char sortText[64];               /* format lists are sorted by this text */
    uint8_t readable, writable, multiPage;
    const ZntSaveKind *saveKinds;    /* picture kinds a save accepts, or NULL */
} FormatInformation;

typedef struct ZntFile ZntFile;

ZNT_API void zntInitLibrary(void);
ZNT_API void zntExitLibrary(void);
ZNT_API void zntVersion(char *text);                  /* "3.87" and a zero byte */
ZNT_API int zntCount(void);
ZNT_API const char *zntFormatGetName(int index);
ZNT_API const char *zntFormatGetDescription(int index);
ZNT_API const char *zntFormatGetDefaultSuffix(int index);
ZNT_API OpStatus zntFormatGetInfo(int index, FormatInformation *info);
ZNT_API int zntFormatGetIndex(const char *name);      /* -1 for an unknown name */
ZNT_API int zntFormatIsWritable(int index);
ZNT_API int zntFormatIsSupported(const char *name);
/* Non-zero when one of the format's save kinds holds the picture as it is:
 * a binary picture needs a binary kind, a grey or palette picture of n
 * levels or colours a grey or palette kind of at least n, a true-colour
 * picture an RGB kind (its mask dropped) or an RGBA kind; within the kind's
 * maximum size. zntSave refuses other pictures with ZNT_CANT_SAVE. */
ZNT_API int zntFormatAcceptsPicture(int index, const Picture *picture);
ZNT_API int zntHasGoodExtension(const char *fileName);
/* The first format whose suffixes include the file name's suffix, or -1. */
ZNT_API int zntFormatForSuffix(const char *fileName);
ZNT_API void zntSetCorrectExtension(char *fileName, int index);   /* a 4096-byte buffer */
ZNT_API OpStatus zntFileInformation(const char *fileName, int formatIndex, uint32_t flags, FileInformation *info);
ZNT_API void zntFileInformationFree(FileInformation *info);
ZNT_API const char *zntGetLabelForColorModel(int colorModel);
ZNT_API const char *zntGetFullLabelForCompression(char *text, const FileInformation *info);
ZNT_API void zntDefaultParams(FormatParams *params);
/* Loads page params->pageNumber of the file in the format params->formatIndex
 * (-1, or params NULL: detected from the signature). On failure the picture
 * gets no buffers; `info` may be NULL. */
ZNT_API OpStatus zntLoad(const char *fileName, Picture *picture, FormatParams *params, FileInformation *info);
/* Saves in params->formatIndex (-1: the format whose suffix the name has).
 * The file is written under a temporary name beside it and renamed when
 * complete. ZNT_CANT_SAVE when the format does not hold the picture. */
ZNT_API OpStatus zntSave(const char *fileName, Picture *picture, FormatParams *params, int reserved);
ZNT_API int zntAllock(Picture *picture, int type, int bitsPerComponent, int width, int height); /* rows zeroed */
ZNT_API void zntFree(Picture *picture);
/* Gives a picture without a palette a zeroed 768-byte one; returns it, or NULL when memory is short. */
ZNT_API uint8_t *zntAllockPalette(Picture *picture);
/* A file of several pages: NULL for a format that holds one picture ("tiff"
 * and "dcx" hold several) or a file that cannot be created. zntFileClose
 * returns the first failure (for a DCX without pages ZNT_CANT_SAVE) and
 * then leaves no file behind. */
ZNT_API ZntFile *zntFileCreate(const char *fileName, int formatIndex, const FormatParams *params);
ZNT_API OpStatus zntFileAddPicture(ZntFile *file, const Picture *picture);
ZNT_API OpStatus zntFileClose(ZntFile *file);
ZNT_API uint16_t zntFileReadWordLsbf(FILE *file);   /* bytes past the end read as 0 */

#ifdef __cplusplus
}
#endif

#endif
