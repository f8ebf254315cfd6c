/** @file
 * gfx - a raster pipeline over the usual codecs.
 *
 * Images go through chains of instances that hand on one row at a time: a reader makes rows out of
 * a stream, wrappers around it convert, turn or scale them, a writer puts rows into a stream. All
 * bytes go through RleStream objects (see rle.h). Readers tell a file's format by its content.
 *
 *     GfxImageInfo* info = gfxGetImageInfo(in);
 *     GfxInstance* rows = gfxInitRotate(gfxInitReadRaster(in, 0, 0, info->height), 90);
 *     rows->begin(rows, &description);
 *     for (y = 0; y < description.height; ++y) rows->process(rows, buffer);
 *     rows->end(rows);
 *
 * Threads: nothing is shared; an instance and its stream belong to one thread at a time.
 * Failures: constructors answer null, operations a status of 0 or below; gfxLastError says why.
 * Nothing is printed.
 */
#ifndef GFX_H
#define GFX_H

#include <stdint.h>

#include "rle.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Pixels ---------------------------------------------------------------------------------- */

/**
 * Colour types, five to a group. Those of the second group are those of the first with alpha as the
 * last sample of each pixel (255 is opaque, colours are not multiplied by it); its bilevel types
 * are the same as the first group's. Bilevel rows have one bit a pixel, the leftmost pixel of a
 * byte in its highest bit, and start on a byte; all others have 8 bits a sample.
 */
enum {
  GFX_BILEVEL_0_BLACK = 0,
  GFX_RGB = 1,
  GFX_GREY = 2, /**< 0 is black */
  GFX_CMYK = 3, /**< 255 is full ink */
  GFX_BILEVEL_1_BLACK = 4,
  GFX_RGB_ALPHA = 6,
  GFX_GREY_ALPHA = 7,
  GFX_ALPHA_BILEVEL_0_BLACK = 5,
  GFX_ALPHA_BILEVEL_1_BLACK = 9
};

/** Bits per pixel and colour type in one word; each is read as a signed 16-bit number. */
#define GFX_FORMAT(bitsPerPixel, colourType) \
  ((uint32_t)(bitsPerPixel) << 16 | ((uint32_t)(colourType)&0xFFFF))

/* ---- Codes ----------------------------------------------------------------------------------- */

/** Formats of files. The codes between and above are refused. */
enum {
  GFX_TIFF = 0,
  GFX_BMP = 1,
  GFX_PDF = 2, /**< written only */
  GFX_PNG = 6,
  GFX_JPEG = 7,
  GFX_PNM = 8
};

/**
 * Compressions. All but the last are TIFF's; the writers of the other formats compress in the one
 * way that their format has and take any code.
 */
enum {
  GFX_UNCOMPRESSED = 0,
  GFX_GROUP3 = 0x80, /**< one-dimensional; bilevel only, as Group 4 is */
  GFX_GROUP4 = 0x100,
  GFX_PACKBITS = 0x200,
  GFX_LZW = 0x400,
  GFX_DEFLATE = 0x800,
  GFX_TIFF_JPEG = 0x1000, /**< not for bilevel */
  GFX_JPEG_DCT = 0x2000,
  GFX_OTHER_COMPRESSION = 0x8000 /**< found in a file, never written */
};

/* ---- Records --------------------------------------------------------------------------------- */

/** What a writer is told besides the description of the rows. */
typedef struct GfxOutputParams {
  uint32_t xResolution; /**< dots per inch */
  uint32_t yResolution;
  uint32_t compression;
  uint32_t zero;
} GfxOutputParams;

/** The rows that a reader delivers or a writer receives. */
typedef struct GfxImageDesc {
  uint32_t width;  /**< pixels */
  uint32_t height; /**< rows */
  uint32_t format; /**< GFX_FORMAT */
  uint32_t zero3;
  uint32_t zero4;
  GfxOutputParams* parameters; /**< null: 72 dots per inch, uncompressed */
} GfxImageDesc;

/** What is known of an image in a file before it is read. */
typedef struct GfxImageInfo {
  uint32_t page; /**< of a file with several, from 0: what gfxInitReadRaster takes */
  uint32_t width;
  uint32_t height;
  uint32_t format; /**< GFX_FORMAT of the rows that a reader delivers */
  uint32_t xResolution;
  uint32_t yResolution;
  uint32_t fileFormat;     /**< GFX_TIFF and so on */
  uint32_t compression;    /**< GFX_UNCOMPRESSED and so on */
  uint32_t resolutionUnit; /**< 1: the resolutions are in dots per inch, 0: the file names none */
  uint32_t pageCount;      /**< images in the file */
} GfxImageInfo;

/**
 * An instance. Its operations take it first and answer a status; above 0 is success.
 *
 *   begin    A reader or wrapper fills the description of the rows that it will deliver. A writer
 *            takes the description of those that it will get, and writes the file's head.
 *   process  A reader or wrapper puts the next row at `row`, a writer takes it from there. A row of
 *            1 bit per pixel has (width + 7) / 8 bytes, one of b bits per pixel b / 8 * width.
 *   end      Completes the file, if it writes one, and releases the instance with all that it
 *            wraps, whatever the status.
 *
 * A status of 0 or below from begin or process is final: only `end` may follow. A wrapper owns its
 * source from the moment it is made. Where a constructor answers null, the source stays the
 * caller's.
 */
typedef struct GfxInstance GfxInstance;
struct GfxInstance {
  int32_t (*begin)(GfxInstance* self, GfxImageDesc* description);
  int32_t (*process)(GfxInstance* self, uint8_t* row);
  int32_t (*end)(GfxInstance* self);
};

/* ---- Reading --------------------------------------------------------------------------------- */

/**
 * What is known of the raster file that starts at the position of `stream`; null when it is none.
 * The stream is left where it was. Released with gfxFreeImageInfo; null is allowed there.
 */
RLE_API GfxImageInfo* gfxGetImageInfo(RleStream* stream);
RLE_API void gfxFreeImageInfo(GfxImageInfo* info);

/** The same for page `page` of the file, from 0. */
RLE_API GfxImageInfo* gfxGetPageInfo(RleStream* stream, uint32_t page);

/**
 * A reader of page `page` of the raster file that starts at the position of `stream`. `zero` is 0.
 * `height` is the height that the info record told; the file's own is what counts.
 *
 * Bits become what the group of colour types holds: palettes become RGB, or grey where all their
 * colours are; samples of 2 and 4 bits become 8, and of 16 bits the upper 8 are kept. Bilevel
 * images are delivered with 1 as black, whatever the file does, as are palettes of one bit in black
 * and white. Of PNM files the first image is read; compressed BMP files are refused.
 */
RLE_API GfxInstance* gfxInitReadRaster(RleStream* stream, uint32_t page, int32_t zero,
                                       uint32_t height);

/**
 * A reader of ITU-T T.6 data at the position of `stream`, up to 65535 pixels wide. It delivers
 * `rows` rows of `width` pixels and calls the image `height` rows high; `zero` is 0. A height of
 * 0x7FFFFFFF is unknown: the image may end early, with a process that fails. `options` 0: the first
 * bit of a byte is its highest, 1: its lowest. After the last row the stream stands behind the byte
 * in which that row ends; an end mark is not read, and three bytes of it are left.
 *
 * What T.6 calls black becomes 1 bits. With a `flag` the rows are of type GFX_BILEVEL_0_BLACK, so
 * that these bits are white, as they are in a TIFF file with PhotometricInterpretation 1; without
 * one they are of type GFX_BILEVEL_1_BLACK.
 */
RLE_API GfxInstance* gfxInitReadG4(RleStream* stream, uint32_t width, uint32_t height, int32_t zero,
                                   uint32_t rows, int32_t flag, int32_t options);

/**
 * A reader of uncompressed rows at the position of `stream`: `rows` rows of `rowBytes` bytes, of
 * which the first hold the pixels; `dataSize` bytes in all. `options` 0: the first pixel of a byte
 * is its highest bit, 1: its lowest. Null where a row of pixels does not fit into `rowBytes`, or
 * the rows not into `dataSize`, or the bits per pixel do not suit the colour type.
 */
RLE_API GfxInstance* gfxInitReadRawData(RleStream* stream, uint32_t width, uint32_t height,
                                        int32_t bitsPerPixel, int32_t colourType, int32_t options,
                                        int32_t zero, uint32_t rows, uint32_t rowBytes,
                                        uint32_t dataSize);

/* ---- Wrapping -------------------------------------------------------------------------------- */

/**
 * Rows of `source` converted to a colour type: a bilevel one, grey or RGB. Bilevel is black where
 * the luminance (ITU-R BT.709) is below half; what is transparent is laid on white first. `one` is
 * 1.
 */
RLE_API GfxInstance* gfxInitColorSpaceConverter(GfxInstance* source, int32_t colourType,
                                                int32_t one);

/**
 * The image of `source` turned counter-clockwise by 0, 90, 180 or 270 degrees; other values are
 * refused. All but 0 read the whole image at the first row and hold it.
 */
RLE_API GfxInstance* gfxInitRotate(GfxInstance* source, int32_t degrees);

/**
 * The image of `source` scaled to a width, or a height, of 1 to 65535; the other side stays. When
 * `from` pixels become `to`, new column x takes its colour from source columns
 * [x * from / to, (x + 1) * from / to), both ends rounded outwards, and new row y from source rows
 * [y * from / to, (y + 1) * from / to), both ends rounded down, but from the first of them always.
 *
 *   max   takes the last of these columns, the first of these rows: what a scaling that rounds the
 *         ends of runs down makes of a bilevel image (rleScaleRect)
 *   min   takes black where any of them is black in a bilevel image, so that thin strokes stay
 *         (rleMinScaleRect), and the average of them in a grey or coloured one
 */
RLE_API GfxInstance* gfxInitMaxScaleWidth(GfxInstance* source, uint32_t width);
RLE_API GfxInstance* gfxInitMaxScaleHeight(GfxInstance* source, uint32_t height);
RLE_API GfxInstance* gfxInitMinScaleWidth(GfxInstance* source, uint32_t width);
RLE_API GfxInstance* gfxInitMinScaleHeight(GfxInstance* source, uint32_t height);

/* ---- Writing --------------------------------------------------------------------------------- */

/**
 * A writer of a raster file of a format code, which begins at the position of `stream`. Its
 * description comes with `begin`. Rows are converted to what the format can hold:
 *
 *   GFX_TIFF   every colour type
 *   GFX_BMP    bilevel, grey, RGB; CMYK becomes RGB, what is transparent is laid on white
 *   GFX_PDF    one page of bilevel Group 4 data; everything else becomes bilevel
 *   GFX_PNG    bilevel, grey, RGB, with and without alpha; CMYK becomes RGB
 *   GFX_JPEG   grey, RGB, CMYK; bilevel becomes grey, what is transparent is laid on white
 *   GFX_PNM    P4, P5 or P6 for bilevel, grey, RGB; as GFX_BMP for the rest; no resolution
 *
 * The height must be known when it begins, and fewer rows than that make `end` fail. TIFF and BMP
 * files are written with seeks to places before, all others from front to back. A BMP file has its
 * bottom row first, and 0 as black in a bilevel image. The page of a PDF file is as large as the
 * resolution says.
 */
RLE_API GfxInstance* gfxInitWriteRaster(RleStream* stream, int32_t format);

/**
 * A writer of ITU-T T.6 data for bilevel rows up to 65535 pixels wide, ended by EOFB. `mode` 0: the
 * first bit of a byte is its highest, 1: its lowest. It may be ended after any number of rows.
 * 1 bits become what T.6 calls black, whatever the colour type; see gfxInitReadG4.
 */
RLE_API GfxInstance* gfxInitWriteG4(RleStream* stream, int32_t mode);

/* ---- Failures -------------------------------------------------------------------------------- */

/**
 * Why something failed on this thread since it last asked for information, a reader or a writer, in
 * words without a full stop; empty when nothing did. The text stays until the next call.
 */
RLE_API const char* gfxLastError(void);

#ifdef __cplusplus
}
#endif

#endif /* GFX_H */
