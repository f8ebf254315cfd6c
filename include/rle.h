/*
 * rle - bilevel document images held as runs.
 *
 * An image is a stack of rows; a row is a sorted list of the runs of black pixels in it, and
 * everything between two runs is white. Columns count from 0 at the left, rows from 0 at the top.
 * An image is at most 65535 columns wide and 65535 rows high.
 *
 *     column   0 1 2 3 4 5 6 7 8 9
 *     pixels   . . # # # . . . # .       runs: {2, 5} {8, 9}
 *
 * Conventions that hold for every function here:
 *
 *   Arguments   All integers are 32 bits wide. Where a text says "16 bits", only the low 16 bits
 *               count, as an unsigned number. Spans (x1, x2) and rectangles (x1, y1, x2, y2)
 * include both ends; a run's `end` is the first pixel after it. Results     Functions that make a
 * record return it to the caller, who releases it with the matching rleFree... function; null means
 * that memory ran out or that the input could not be read. Functions that answer yes or no return 1
 * or 0. Failure     A failing call releases what it allocated itself. What it had already changed
 * in the caller's record, or written to a stream, stays. Nothing is printed or thrown. Null
 * Pointers must not be null unless the text says what null means. Threads     The library has no
 * locks and shares nothing but the three tuning words below: threads that work on different records
 * never disturb each other. One record, or one stream, belongs to one thread at a time.
 */
#ifndef RLE_H
#define RLE_H

#include <stdint.h>

#if defined(__GNUC__)
#define RLE_API __attribute__((visibility("default")))
#else
#define RLE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Records --------------------------------------------------------------------------------- */

/* A run of black pixels: columns start to end - 1. */
typedef struct RleRun {
  uint16_t start; /* first black pixel */
  uint16_t end;   /* first pixel after the run */
} RleRun;

/*
 * A row. Its runs are sorted, none is empty, and at least one white pixel lies between two of them.
 * `runs` is a run buffer (see rleAllocRuns) with room for at least `count` runs, or null while
 * `count` is 0.
 */
typedef struct RleLine {
  uint32_t tag;   /* the caller's own word; no operation interprets it */
  uint16_t count; /* runs in use */
  RleRun* runs;
} RleLine;

/* An image: `height` rows, none of them null except where a function says otherwise. */
typedef struct RleRect {
  uint32_t tag;        /* the caller's own word */
  uint16_t resolution; /* dots per inch */
  uint16_t width;      /* pixels per row */
  uint16_t height;     /* number of rows */
  RleLine** rows;      /* row 0 first */
} RleRect;

/* A vertex in pixels. */
typedef struct RlePoint {
  int32_t x;
  int32_t y;
} RlePoint;

/* A polygon region: an image together with the polygon that bounds it. Pointers may be null. */
typedef struct RlePoly {
  uint32_t count;   /* number of vertices */
  RlePoint* points; /* the vertices */
  int32_t fillRule; /* 0 even-odd, 1 non-zero winding */
  RleRect* mask;    /* the polygon filled, in the size and resolution of `image` */
  RleRect* image;   /* the pixels of the region */
} RlePoly;

typedef struct RleStream RleStream;

/* A native-format stream in use, or the header of one: two uses of one record. */
typedef union RleFile {
  struct {
    RleStream* stream; /* not owned */
    uint32_t magic;
    uint32_t version;
    uint16_t resolution; /* dots per inch */
  } context;
  struct {
    uint32_t magic;
    uint16_t height;
    uint16_t width;
    uint32_t version;
    uint32_t resolution; /* dots per inch */
  } header;
} RleFile;

/* ---- Streams --------------------------------------------------------------------------------- */

/*
 * Every byte that the library reads or writes goes through a stream object: any record whose first
 * field points to a table of operations. xio.h has ready ones over memory and files; an application
 * can bring its own (docs/streams.md shows one).
 *
 * 16-bit and 32-bit values travel in the stream's byte order, which is big-endian (most significant
 * byte first) until it is changed. A stream remembers the first read or write that failed, a read
 * past the end included, and hasError answers non-zero from then on.
 *
 * Slots that the library never calls may be null.
 */
typedef struct RleStreamOps {
  void (*unused0)(void);
  /* Writes `count` items of `size` bytes; returns how many items were written. */
  uint32_t (*writeBlock)(RleStream* stream, const void* data, uint32_t size, uint32_t count);
  /* The next byte, 0 to 255, or -1 at the end of the data or on failure. */
  int32_t (*getByte)(RleStream* stream);
  /* Writes the low 8 bits of `byte`; -1 on failure, anything else on success. */
  int32_t (*putByte)(RleStream* stream, int32_t byte);
  /* Two bytes in the current byte order, in the low half of the result. */
  uint32_t (*getWord16)(RleStream* stream);
  /* Writes the low 16 bits of `value`. */
  int32_t (*putWord16)(RleStream* stream, uint32_t value);
  uint32_t (*getWord32)(RleStream* stream);
  /* -1 on failure. */
  int32_t (*putWord32)(RleStream* stream, uint32_t value);
  /* Moves to `offset` bytes from the start (origin 0) or from here (origin 1); 0 on success. */
  int32_t (*seek)(RleStream* stream, int32_t offset, int32_t origin);
  /* The position in bytes from the start, or -1. */
  int32_t (*tell)(RleStream* stream);
  void (*unused10)(void);
  void (*unused11)(void);
  /* 0 while every read and write so far succeeded. */
  int32_t (*hasError)(RleStream* stream);
  void (*unused13)(void);
  /* Releases the stream; 0 on success. The library calls it only on streams it made itself. */
  int32_t (*destroy)(RleStream* stream);
  /* 0 big-endian, 1 little-endian. */
  int32_t (*setByteOrder)(RleStream* stream, int32_t order);
  /* Non-zero when little-endian. */
  int32_t (*getByteOrder)(RleStream* stream);
} RleStreamOps;

struct RleStream {
  const RleStreamOps* ops;
};

/* ---- Making and releasing records ------------------------------------------------------------ */

/*
 * Run buffers are made with room to grow. A buffer asked for n runs gets n + extra(n) slots, where
 * extra(n) = n * rleRunAllocFactor / 32768, but at least rleRunAllocMinExtra, else at most
 * rleRunAllocMaxExtra. The number of slots stands in the 32-bit word before the first slot.
 *
 * The three words are read on every call and may be changed at any time at which no other thread
 * is inside the library.
 */
extern RLE_API uint32_t rleRunAllocFactor;   /* spare slots per slot, in 1/32768; initially 6553 */
extern RLE_API uint32_t rleRunAllocMinExtra; /* fewest spare slots; initially 4 */
extern RLE_API uint32_t rleRunAllocMaxExtra; /* most spare slots; initially 40 */

/* A new zero-filled run buffer for `count` runs (at least 1), or null. */
RLE_API RleRun* rleAllocRuns(uint32_t count);

/*
 * A buffer with room for at least `count` runs that keeps the first runs of `runs`. A buffer with
 * more than rleRunAllocMaxExtra slots to spare is returned as it is; any other is resized to
 * count + extra(count) slots and may move. Null `runs` is the same as rleAllocRuns(count). On null
 * the old buffer is untouched and still the caller's.
 */
RLE_API RleRun* rleReAllocRuns(RleRun* runs, uint32_t count);

/* Releases a run buffer, which must not be null. */
RLE_API void rleFreeRuns(RleRun* runs);

/* A new row without runs and without a buffer, or null. */
RLE_API RleLine* rleAllocLine(void);

/* Releases a row and its buffer. Null is ignored. */
RLE_API void rleFreeLine(RleLine* line);

/* A new array of `count` null row pointers, or null. 0 and negative counts go to calloc unchanged.
 */
RLE_API RleLine** rleAllocLines(int32_t count);

/*
 * Releases the first `count` rows and the array. With a count below 1 nothing is released, not even
 * the array.
 */
RLE_API void rleFreeLines(int32_t count, RleLine** rows);

/* A new image of size 0 x 0, 200 dots per inch, without a row array, or null. */
RLE_API RleRect* rleAllocRect(void);

/* Releases an image, its row array and its rows. Null is ignored. */
RLE_API void rleFreeRect(RleRect* rect);

/*
 * A new blank image, or null. All three arguments are 16 bits; a resolution of 0 stands for 200
 * dots per inch. Every row is present and empty.
 */
RLE_API RleRect* rleNewRect(uint32_t width, uint32_t height, uint32_t resolution);

/* A new array of `count` vertices at (0, 0), or null. A count of 0 goes to calloc unchanged. */
RLE_API RlePoint* rleAllocPoints(uint32_t count);

/* Releases a vertex array. Null is ignored. */
RLE_API void rleFreePoints(RlePoint* points);

/* A new empty polygon region, or null. */
RLE_API RlePoly* rleAllocPoly(void);

/* Releases a polygon region with its vertices, mask and image. Null is ignored. */
RLE_API void rleFreePoly(RlePoly* poly);

/* A new zero-filled record for a native-format stream or for a header, or null. */
RLE_API RleFile* rleAllocFile(void);
RLE_API RleFile* rleAllocHeader(void);

/* Releases the record, not the stream. Null is ignored. */
RLE_API void rleFreeFile(RleFile* file);
RLE_API void rleFreeHeader(RleFile* file);

/* A copy of a row: same tag and runs, in a fresh buffer (an empty row's copy has one too). */
RLE_API RleLine* rleDupLine(RleLine* line);

/* A copy of an image with all its rows, or null. Every row must be present. */
RLE_API RleRect* rleDupRect(RleRect* rect);

/* A copy of a polygon region; what is null in it stays null. */
RLE_API RlePoly* rleDupPoly(RlePoly* poly);

/* ---- Checking -------------------------------------------------------------------------------- */

/*
 * 1 when the row is valid for an image of `width` columns, else the first fault met:
 *
 *   -1  the row is null                        -6  a run starts at or beyond the width
 *   -2  the width is below 1 or above 65535    -7  a run ends beyond the width
 *   -3  runs are null though count is not 0    -8  a run repeats the one before it
 *   -5  a run is empty or reversed             -9  a run overlaps, touches or precedes the one
 *                                                  before it
 */
RLE_API int32_t rleCheckLine(RleLine* line, int32_t width);

/* 1 when every row is null or valid, else the first other code of rleCheckLine, from row 0 on. */
RLE_API int32_t rleCheckRect(RleRect* rect);

/* ---- Editing spans --------------------------------------------------------------------------- */

/*
 * These edits keep a valid row valid, and resize its buffer with rleReAllocRuns whenever the number
 * of runs changes. They do not clip: columns are 16 bits with x1 <= x2 < width, and rows must
 * exist. When a buffer cannot grow, the row keeps the runs it had and the edit is dropped; likewise
 * an edit that would give a row more than 65535 runs.
 */

/* Makes pixels x1 to x2 black, joining the runs they touch. */
RLE_API void rleSetLine(RleLine* line, int32_t x1, int32_t x2);

/* Makes pixels x1 to x2 white. */
RLE_API void rleClearLine(RleLine* line, int32_t x1, int32_t x2);

/* rleSetLine on rows y1 to y2 (16 bits), top to bottom; nothing when y2 < y1. */
RLE_API void rleSetRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2);

/* rleClearLine on rows y1 to y2 (16 bits), top to bottom; nothing when y2 < y1. */
RLE_API void rleClearRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2);

/*
 * Sets (set not 0) or clears (set 0) in `dst` what is black in columns sx1 to sx2 of `src`; source
 * column sx1 lands on destination column dx. Columns are 16 bits. `src` does not change.
 */
RLE_API void rleMergeLineRun(RleLine* dst, RleLine* src, int32_t dx, int32_t sx1, int32_t sx2,
                             int32_t set);

/* ---- Transforms ------------------------------------------------------------------------------ */

/*
 * Turns go counter-clockwise as seen with row 0 at the top. Vertices of a polygon region lie on
 * the same grid as its pixels.
 */

/* Mirrors a row left to right in place: column x moves to width - 1 - x (width: 16 bits). */
RLE_API void rleMirrorLine(RleLine* line, int32_t width);

/* Flips an image top to bottom (X: about the horizontal axis) or left to right (Y), in place. */
RLE_API void rleMirrorRectX(RleRect* rect);
RLE_API void rleMirrorRectY(RleRect* rect);

/*
 * The same for a region: its image, its mask unless null, and its vertices, y to height - y (X) or
 * x to width - x (Y) of the image. A region without an image is left as it is.
 */
RLE_API void rleMirrorPolyX(RlePoly* poly);
RLE_API void rleMirrorPolyY(RlePoly* poly);

/*
 * A new image turned by `turns` quarters, 0 to 3; null for more, and when memory runs out. With W
 * and H the size of `rect`, pixel (x, y) moves to
 *
 *   0  (x, y)                  a copy, as rleDupRect makes it
 *   1  (y, W - 1 - x)          tag and resolution are copied, row tags are 0
 *   2  (W - 1 - x, H - 1 - y)  tag 0, resolution 200 for 0; row tags are copied
 *   3  (H - 1 - y, x)          as 1
 *
 * Turns by 1 and 3 give null for an image of fewer than two rows.
 */
RLE_API RleRect* rleQRotateRect(RleRect* rect, uint32_t turns);

/*
 * Scale factors are fixed-point numbers with 15 fraction bits: 32768 is 1.0, 16384 halves. Sizes
 * and columns of a result keep their low 16 bits, so the caller keeps them below 65536. Runs that
 * shrink to nothing vanish, and runs that come to touch become one.
 *
 * rleScaleLine makes a new row with both ends of every run rounded down, rleNNScaleLine rounds them
 * to the nearest, halves upwards. The result of a row without runs has its tag and no buffer; any
 * other has tag 0 and a buffer for the runs that are left. A factor of 0 leaves none.
 */
RLE_API RleLine* rleScaleLine(RleLine* line, uint32_t factor);
RLE_API RleLine* rleNNScaleLine(RleLine* line, uint32_t factor);

/*
 * These scale an image in place, its width by xFactor and its height by yFactor (of which the two
 * lowest bits do not count). A factor of 0 changes nothing, and when memory runs out the image
 * stays as it is; its tag and resolution stay in any case.
 *
 * rleScaleRect picks rows and rounds down. rleNNScaleRect picks and rounds to the nearest.
 * rleMinScaleRect blackens a pixel when any source pixel that it covers is black, so that thin
 * strokes survive a reduction; sizes are rounded up, and all row tags are 0.
 */
RLE_API void rleScaleRect(RleRect* rect, uint32_t xFactor, uint32_t yFactor);
RLE_API void rleNNScaleRect(RleRect* rect, uint32_t xFactor, uint32_t yFactor);
RLE_API void rleMinScaleRect(RleRect* rect, uint32_t xFactor, uint32_t yFactor);

/*
 * rleScaleRect on the images of a region, and its vertices scaled and rounded down. With one factor
 * 0 the images stay as they are and the vertices move along the other axis only.
 */
RLE_API void rleScalePoly(RlePoly* poly, uint32_t xFactor, uint32_t yFactor);

/*
 * Scales with rleScaleRect, or rleScalePoly, from the image's resolution to `resolution` (dots per
 * inch) and stores that, keeping its low 16 bits. Where no factor leads from one to the other (a
 * resolution of 0, a negative one, a factor of 2^17 or more), and when memory runs out, only the
 * stored value changes. A region without an image is left as it is.
 */
RLE_API void rleChangeResRect(RleRect* rect, int32_t resolution);
RLE_API void rleChangeResPoly(RlePoly* poly, int32_t resolution);

/*
 * A new image that just holds `rect` turned by `angle` degrees (any finite value), with tag 0 and
 * the same resolution (200 for 0). cornerX and cornerY receive the place of the source's top left
 * corner in the result, in pixels from its top left. Null, with both corners 0, for a null image,
 * one without rows, and an angle that is not finite; null when memory runs out.
 *
 * Multiples of 90 degrees are turned like any other angle; rleQRotateRect is exact.
 */
RLE_API RleRect* rleRotateRect(RleRect* rect, double angle, double* cornerX, double* cornerY);

/*
 * A new region turned by `angle` degrees, by quarter turns within 0.001 degrees of one. Its mask is
 * the turned polygon, even-odd, and its image is white outside of it; a region without vertices
 * gets the four corner pixels of its image as polygon. Corners as for rleRotateRect. Null, with
 * both corners 0, for a region without an image; null when the image cannot be turned or memory
 * runs out.
 */
RLE_API RlePoly* rleRotatePoly(RlePoly* poly, double angle, double* cornerX, double* cornerY);

/* ---- Group 4 --------------------------------------------------------------------------------- */

/* ---- One-strip TIFF -------------------------------------------------------------------------- */

/*
 * The one kind of TIFF file that the library reads and writes by itself: a single directory, a
 * single strip, CCITT T.6 data.
 */

/* What the directory of such a file says. */
typedef struct RleTiffG4Info {
  uint32_t width;       /* pixels per row, below 65535 */
  uint32_t height;      /* rows, 1 to 65534 */
  uint32_t xResolution; /* dots per inch; 72 when the file does not say */
  uint32_t yResolution;
  uint32_t stripOffset; /* where the data begins, in bytes from the start of the stream */
  uint32_t photometric; /* set to 0, white is zero, when the file says so */
  uint32_t fillOrder;   /* 1 when the left pixel of a byte is its high bit, as it is unless the file
                           says otherwise; 2 when it is the low bit */
} RleTiffG4Info;

/*
 * Writes the 186-byte header after which the strip data follows. The stream must be big-endian and
 * stand at its start, because the offsets in the header count from there; it is left at 186. The
 * byte count of the strip is 0 until it is patched.
 *
 * `resolution` is in dots per inch. White is zero when `colourType` modulo 5 is 4, and black is
 * zero otherwise. `lsbFirst` not 0 says that the data has the left pixel of a byte in its low bit,
 * as rleUnloadRectFromCCITTG4 writes it. 1, or 0 after the first write that failed.
 */
RLE_API int32_t rleWriteTiffHeader(RleStream* stream, uint32_t width, uint32_t height,
                                   uint32_t resolution, int32_t colourType, int32_t lsbFirst);

/*
 * Each of these puts one number into a header that is already there, at the start of a big-endian
 * stream: the width and height in pixels, and the bytes of strip data. The stream is left behind
 * the entry written, at 22, 34 or 130. 1, or 0 when the seek or a write failed.
 */
RLE_API int32_t rleReWriteWidthOfOneStripTiffTag(RleStream* stream, uint32_t width);
RLE_API int32_t rleReWriteHeightOfOneStripTiffTag(RleStream* stream, uint32_t height);
RLE_API int32_t rleReWriteByteCountOfTiffTag(RleStream* stream, uint32_t byteCount);

/*
 * 1 when the stream holds a one-strip Group 4 TIFF file of either byte order, 0 when it holds
 * anything else or cannot be read. The file header is expected at the current position, and offsets
 * in the file count from the start of the stream. The stream gets back the position and the byte
 * order it had; but where the file was cut off its error state stays set.
 *
 * `info` receives what was found, as far as the reading went; fields that the file does not mention
 * keep their values, so clear the record first. It may be null.
 */
RLE_API int32_t rleReadOneStripTiffG4Info(RleStream* stream, RleTiffG4Info* info);

#ifdef __cplusplus
}
#endif

#endif /* RLE_H */
