/** @file
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
 * - Arguments: all integers are 32 bits wide. Where a text says "16 bits", only the low 16 bits
 *   count, as an unsigned number. Spans (x1, x2) and rectangles (x1, y1, x2, y2) include both ends;
 *   a run's `end` is the first pixel after it. Pointers must not be null unless the text says what
 *   null means.
 *
 * - Results: a function that makes a record hands it to the caller, who releases it with the
 *   matching rleFree... function; null means that memory ran out or that the input could not be
 *   read. A function that answers yes or no returns 1 or 0.
 *
 * - Failure: a failing call releases what it allocated itself. What it had already changed in the
 *   caller's record, or written to a stream, stays. Nothing is printed or thrown.
 *
 * - Threads: there are no locks, and nothing is shared but the three tuning words below. Threads
 *   that work on different records never disturb each other; a record or a stream belongs to one
 *   thread at a time.
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

/** A run of black pixels: columns start to end - 1. */
typedef struct RleRun {
  uint16_t start; /**< first black pixel */
  uint16_t end;   /**< first pixel after the run */
} RleRun;

/**
 * A row. Its runs are sorted, none is empty, and at least one white pixel lies between two of them.
 * `runs` is a run buffer (see rleAllocRuns) with room for at least `count` runs, or null while
 * `count` is 0.
 */
typedef struct RleLine {
  uint32_t tag;   /**< the caller's own word; no operation interprets it */
  uint16_t count; /**< runs in use */
  RleRun* runs;
} RleLine;

/** An image: `height` rows, none of them null except where a function says otherwise. */
typedef struct RleRect {
  uint32_t tag;        /**< the caller's own word */
  uint16_t resolution; /**< dots per inch */
  uint16_t width;      /**< pixels per row */
  uint16_t height;     /**< number of rows */
  RleLine** rows;      /**< row 0 first */
} RleRect;

/** A vertex in pixels. */
typedef struct RlePoint {
  int32_t x;
  int32_t y;
} RlePoint;

/** A vertex between the pixels. */
typedef struct RleDPoint {
  double x;
  double y;
} RleDPoint;

/** A polygon region: an image together with the polygon that bounds it. Pointers may be null. */
typedef struct RlePoly {
  uint32_t count;   /**< number of vertices */
  RlePoint* points; /**< the vertices */
  int32_t fillRule; /**< 0 even-odd, 1 non-zero winding */
  RleRect* mask;    /**< the polygon filled, in the size and resolution of `image` */
  RleRect* image;   /**< the pixels of the region */
} RlePoly;

typedef struct RleStream RleStream;

/** A native-format stream in use, or the header of one: two uses of one record. */
typedef union RleFile {
  struct {
    RleStream* stream; /**< not owned */
    uint32_t magic;
    uint32_t version;
    uint16_t resolution; /**< dots per inch */
  } context;
  struct {
    uint32_t magic;
    uint16_t height;
    uint16_t width;
    uint32_t version;
    uint32_t resolution; /**< dots per inch */
  } header;
} RleFile;

/* ---- Streams --------------------------------------------------------------------------------- */

/**
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
  /** Writes `count` items of `size` bytes; returns how many items were written. */
  uint32_t (*writeBlock)(RleStream* stream, const void* data, uint32_t size, uint32_t count);
  /** The next byte, 0 to 255, or -1 at the end of the data or on failure. */
  int32_t (*getByte)(RleStream* stream);
  /** Writes the low 8 bits of `byte`; -1 on failure, anything else on success. */
  int32_t (*putByte)(RleStream* stream, int32_t byte);
  /** Two bytes in the current byte order, in the low half of the result. */
  uint32_t (*getWord16)(RleStream* stream);
  /** Writes the low 16 bits of `value`. */
  int32_t (*putWord16)(RleStream* stream, uint32_t value);
  uint32_t (*getWord32)(RleStream* stream);
  /** -1 on failure. */
  int32_t (*putWord32)(RleStream* stream, uint32_t value);
  /** Moves to `offset` bytes from the start (origin 0) or from here (origin 1); 0 on success. */
  int32_t (*seek)(RleStream* stream, int32_t offset, int32_t origin);
  /** The position in bytes from the start, or -1. */
  int32_t (*tell)(RleStream* stream);
  void (*unused10)(void);
  void (*unused11)(void);
  /** 0 while every read and write so far succeeded. */
  int32_t (*hasError)(RleStream* stream);
  void (*unused13)(void);
  /** Releases the stream; 0 on success. The library calls it only on streams it made itself. */
  int32_t (*destroy)(RleStream* stream);
  /** 0 big-endian, 1 little-endian. */
  int32_t (*setByteOrder)(RleStream* stream, int32_t order);
  /** Non-zero when little-endian. */
  int32_t (*getByteOrder)(RleStream* stream);
} RleStreamOps;

struct RleStream {
  const RleStreamOps* ops;
};

/* ---- Making and releasing records ------------------------------------------------------------ */

/**
 * Run buffers are made with room to grow. A buffer asked for n runs gets n + extra(n) slots, where
 * extra(n) = n * rleRunAllocFactor / 32768, but at least rleRunAllocMinExtra, else at most
 * rleRunAllocMaxExtra. The number of slots stands in the 32-bit word before the first slot.
 *
 * The three words are read on every call and may be changed at any time at which no other thread
 * is inside the library.
 */
extern RLE_API uint32_t rleRunAllocFactor; /**< spare slots per slot, in 1/32768; initially 6553 */
extern RLE_API uint32_t rleRunAllocMinExtra; /**< fewest spare slots; initially 4 */
extern RLE_API uint32_t rleRunAllocMaxExtra; /**< most spare slots; initially 40 */

/** A new zero-filled run buffer for `count` runs (at least 1), or null. */
RLE_API RleRun* rleAllocRuns(uint32_t count);

/**
 * A buffer with room for at least `count` runs that keeps the first runs of `runs`. A buffer with
 * more than rleRunAllocMaxExtra slots to spare is returned as it is; any other is resized to
 * count + extra(count) slots and may move. Null `runs` is the same as rleAllocRuns(count). On null
 * the old buffer is untouched and still the caller's.
 */
RLE_API RleRun* rleReAllocRuns(RleRun* runs, uint32_t count);

/** Releases a run buffer, which must not be null. */
RLE_API void rleFreeRuns(RleRun* runs);

/** A new row without runs and without a buffer, or null. */
RLE_API RleLine* rleAllocLine(void);

/** Releases a row and its buffer. Null is ignored. */
RLE_API void rleFreeLine(RleLine* line);

/* A new array of `count` null row pointers, or null. 0 and negative counts go to calloc unchanged.
 */
RLE_API RleLine** rleAllocLines(int32_t count);

/**
 * Releases the first `count` rows and the array. With a count below 1 nothing is released, not even
 * the array.
 */
RLE_API void rleFreeLines(int32_t count, RleLine** rows);

/** A new image of size 0 x 0, 200 dots per inch, without a row array, or null. */
RLE_API RleRect* rleAllocRect(void);

/** Releases an image, its row array and its rows. Null is ignored. */
RLE_API void rleFreeRect(RleRect* rect);

/**
 * A new blank image, or null. All three arguments are 16 bits; a resolution of 0 stands for 200
 * dots per inch. Every row is present and empty.
 */
RLE_API RleRect* rleNewRect(uint32_t width, uint32_t height, uint32_t resolution);

/** A new array of `count` vertices at (0, 0), or null. A count of 0 goes to calloc unchanged. */
RLE_API RlePoint* rleAllocPoints(uint32_t count);

/** Releases a vertex array. Null is ignored. */
RLE_API void rleFreePoints(RlePoint* points);

/** A new empty polygon region, or null. */
RLE_API RlePoly* rleAllocPoly(void);

/** Releases a polygon region with its vertices, mask and image. Null is ignored. */
RLE_API void rleFreePoly(RlePoly* poly);

/** A new zero-filled record for a native-format stream or for a header, or null. */
RLE_API RleFile* rleAllocFile(void);
RLE_API RleFile* rleAllocHeader(void);

/** Releases the record, not the stream. Null is ignored. */
RLE_API void rleFreeFile(RleFile* file);
RLE_API void rleFreeHeader(RleFile* file);

/** A copy of a row: same tag and runs, in a fresh buffer (an empty row's copy has one too). */
RLE_API RleLine* rleDupLine(RleLine* line);

/** A copy of an image with all its rows, or null. Every row must be present. */
RLE_API RleRect* rleDupRect(RleRect* rect);

/** A copy of a polygon region; what is null in it stays null. */
RLE_API RlePoly* rleDupPoly(RlePoly* poly);

/* ---- Checking -------------------------------------------------------------------------------- */

/**
 * 1 when the row is valid for an image of `width` columns, else the first fault met:
 *
 *   -1  the row is null                        -6  a run starts at or beyond the width
 *   -2  the width is below 1 or above 65535    -7  a run ends beyond the width
 *   -3  runs are null though count is not 0    -8  a run repeats the one before it
 *   -5  a run is empty or reversed             -9  a run overlaps, touches or precedes the one
 *                                                  before it
 */
RLE_API int32_t rleCheckLine(RleLine* line, int32_t width);

/** 1 when every row is null or valid, else the first other code of rleCheckLine, from row 0 on. */
RLE_API int32_t rleCheckRect(RleRect* rect);

/* ---- Editing spans --------------------------------------------------------------------------- */

/**
 * These edits keep a valid row valid, and resize its buffer with rleReAllocRuns whenever the number
 * of runs changes. They do not clip: columns are 16 bits with x1 <= x2 < width, and rows must
 * exist. A span with x1 > x2, or with x2 = 65535, changes nothing. When a buffer cannot grow, the
 * row keeps the runs it had and the edit is dropped; likewise an edit that would give a row more
 * than 65535 runs.
 */

/** Makes pixels x1 to x2 black, joining the runs they touch. */
RLE_API void rleSetLine(RleLine* line, int32_t x1, int32_t x2);

/** Makes pixels x1 to x2 white. */
RLE_API void rleClearLine(RleLine* line, int32_t x1, int32_t x2);

/** rleSetLine on rows y1 to y2 (16 bits), top to bottom; nothing when y2 < y1. */
RLE_API void rleSetRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2);

/** rleClearLine on rows y1 to y2 (16 bits), top to bottom; nothing when y2 < y1. */
RLE_API void rleClearRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2);

/**
 * Sets (set not 0) or clears (set 0) in `dst` what is black in columns sx1 to sx2 of `src`; source
 * column sx1 lands on destination column dx. Columns are 16 bits. `src` does not change.
 */
RLE_API void rleMergeLineRun(RleLine* dst, RleLine* src, int32_t dx, int32_t sx1, int32_t sx2,
                             int32_t set);

/* ---- Regions --------------------------------------------------------------------------------- */

/**
 * Rectangles here may reach beyond the image, or lie outside it altogether: only the part inside
 * counts. Corners are full 32-bit numbers. A piece that is copied or cut out counts its columns and
 * rows from the corner (x1, y1) that was asked for.
 */

/**
 * Clips the rectangle (x1, y1)-(x2, y2) to an image of width x height pixels (16 bits each). 1 and
 * the clipped corners when they overlap; otherwise 0, and the results are not written. An image
 * without columns or rows overlaps nothing, nor does a rectangle with x1 > x2 or y1 > y2.
 */
RLE_API int32_t rleIntersectRect(int32_t width, int32_t height, int32_t x1, int32_t y1, int32_t x2,
                                 int32_t y2, uint16_t* ox1, uint16_t* oy1, uint16_t* ox2,
                                 uint16_t* oy2);

/**
 * A new row with pixels x1 to x2 (16 bits) of `line`, column x1 as its column 0, or null. It always
 * has a run buffer; its tag is 0.
 */
RLE_API RleLine* rleCopyLine(RleLine* line, int32_t x1, int32_t x2);

/**
 * The same row as rleCopyLine; the pixels are then cleared in `line` as by rleClearLine. When there
 * is no memory for the new row, the result is null and `line` keeps its pixels.
 */
RLE_API RleLine* rleCutLine(RleLine* line, int32_t x1, int32_t x2);

/**
 * A new image of x2 - x1 + 1 by y2 - y1 + 1 pixels (16 bits each) in the resolution of `rect`, with
 * what `rect` holds inside the rectangle and white elsewhere, or null. Tags are 0.
 */
RLE_API RleRect* rleCopyRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2);

/**
 * The same image as rleCopyRect; the copied pixels are then cleared in `rect`. When there is no
 * memory for the new image, the result is null and `rect` keeps all its pixels. When only a row of
 * `rect` cannot grow to be split, that row keeps its pixels; the new image is complete all the
 * same.
 */
RLE_API RleRect* rleCutRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2);

/**
 * Pastes `src` into `dst` with the top left pixel of `src` at column x, row y, which may be
 * negative. 1 when the two overlap, else 0. Modes:
 *
 *   0  replace: `dst` becomes equal to `src` where they overlap
 *   1  set: what is black in `src` becomes black
 *   2  clear: what is black in `src` becomes white
 *
 * Any other mode changes nothing. A row that cannot grow keeps the runs it had.
 */
RLE_API int32_t rleMergeRect(RleRect* dst, int32_t x, int32_t y, RleRect* src, int32_t mode);

/**
 * Pastes the image of a polygon region as rleMergeRect does, and returns the same. In mode 0 a
 * region with a mask replaces only what its mask covers. A region without an image pastes nothing
 * but the clearing of its mask.
 */
RLE_API int32_t rleMergePoly(RleRect* dst, int32_t x, int32_t y, RlePoly* poly, int32_t mode);

/**
 * Where `mask` is white, makes `rect` white (mode 0) or black (any other mode), row by row. Mask
 * columns that are missing count as white; rows that are missing leave those of `rect` alone. A row
 * that cannot grow keeps the runs it had.
 */
RLE_API void rleMaskRect(RleRect* rect, RleRect* mask, int32_t mode);

/* ---- Painting -------------------------------------------------------------------------------- */

/**
 * Paint is described by a colour, a pattern and a mode. The first line that applies decides:
 *
 *   colour -1, pattern not null   the pattern, laid in this mode
 *   mode 2, colour 1              white
 *   mode 1, colour 0              white
 *   anything else                 black
 *
 * A pattern is an image that repeats as a tile in both directions. Its modes are 1, what is black
 * in the tile becomes black; 2, what is black in the tile becomes white; and any other, the area
 * becomes a copy of the tile. A pattern without columns or rows paints nothing.
 *
 * When a row's buffer cannot grow, an edit of the row is dropped and it stays valid.
 */

/**
 * Paints n spans: span i covers widths[i] pixels from points[i] to the right. What lies outside the
 * image is dropped; spans may overlap and are painted in order. A pattern is aligned to the image:
 * its pixel (0, 0) lies on column 0, row 0.
 */
RLE_API void rleFillSpans(RleRect* image, int32_t n, RlePoint* points, int32_t* widths,
                          int32_t colour, RleRect* pattern, int32_t mode);

/**
 * Paints the rectangle (x1, y1)-(x2, y2), clipped to the image. A pattern is aligned to column 0 of
 * the image and to the top row of the clipped rectangle.
 */
RLE_API void rleFillRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2,
                         int32_t colour, RleRect* pattern, int32_t mode);

/**
 * Lays row y (16 bits, modulo the pattern's height) of the pattern over columns x1 to x2 (16 bits)
 * of a row, aligned to column 0. Does not clip. A null pattern paints nothing.
 */
RLE_API void rlePatternLine(RleLine* line, int32_t x1, int32_t x2, int32_t y, RleRect* pattern,
                            int32_t mode);

/**
 * rlePatternLine on rows y1 to y2 (16 bits), with row 0 of the pattern on row y1. Does not clip:
 * the rows must exist.
 */
RLE_API void rlePatternRect(RleRect* rect, int32_t x1, int32_t y1, int32_t x2, int32_t y2,
                            RleRect* pattern, int32_t mode);

/* ---- Bit rows -------------------------------------------------------------------------------- */

/**
 * A packed bit row holds one pixel a bit, the leftmost pixel of a byte in its highest bit; 1 is
 * black. The rows of a packed image follow each other at a distance of rowBits / 8 bytes, rounded
 * down.
 *
 * Packing collects the runs of a row in a buffer that stays from call to call: the pack cache. Each
 * thread has its own, and gives it back when it ends.
 */

/**
 * A new row with the pixels x1 to x2 - 1 (x2 is the first pixel after them) of the packed row at
 * `bits`, or null when memory runs out. Pixel x1 becomes column 0. Only the bytes that hold these
 * pixels are read. Pixels left of pixel 0 are white, and with x2 <= x1 there are none. A row holds
 * 16-bit columns: of a wider stretch, columns and the run count keep their low 16 bits.
 */
RLE_API RleLine* rlePackLine(uint8_t* bits, int32_t x1, int32_t x2);

/**
 * A new image of columns x1 to x2 and rows y1 to y2, all included, of the packed image at `bits`,
 * or null when memory runs out or when there are fewer than 0 or more than 65535 columns or rows.
 * `resolution` is 16 bits and becomes the image's as it is, 0 too. `ignored` has no meaning. Rows
 * above row 0 and pixels left of pixel 0 are white. Empties the pack cache, unless it fails.
 */
RLE_API RleRect* rlePackRect(uint8_t* bits, int32_t rowBits, int32_t ignored, int32_t x1,
                             int32_t x2, int32_t y1, int32_t y2, int32_t resolution);

/** Releases this thread's pack cache; the next call that packs makes a new one. */
RLE_API void rlePackClearCache(void);

/**
 * Paints the black pixels of columns x1 to x2 of `line` into the packed row at `rowBytes`; other
 * bits stay as they are. Column x1 comes to lie at bit `offset`, and each column is scale / 32768
 * bits wide (the two lowest bits of `scale` are dropped); a bit that is covered in part becomes
 * black. Bits from `limit` on are neither written nor looked at, nor are bits before bit 0. With a
 * scale below 4 nothing is painted, nor with x2 < x1. Returns 1.
 */
RLE_API int32_t rleUnPackLine(RleLine* line, int32_t x1, int32_t x2, uint8_t* rowBytes,
                              int32_t limit, uint32_t scale, int32_t offset);

/**
 * Paints columns x1 to x2 and rows y1 to y2 of `rect` into rows rowStart to rowEnd - 1 of the
 * packed image at `bits`, whose rows are rowBits bits long, as rleUnPackLine does with hscale and
 * offset. Row y1 comes to lie at rowStart. Each row is vscale / 32768 output rows high: with a
 * vscale below 32768 several rows are painted into one; above it a row is painted repeatedly, but
 * row y2 once only, and the output rows after it stay as they are. A vscale of 0 stands for one
 * row per output row, from row 0 to row y2, whatever y1. Rows that the image does not have, and
 * output rows above row 0, are passed over.
 */
RLE_API void rleUnPackRect(RleRect* rect, int32_t x1, int32_t x2, int32_t y1, int32_t y2,
                           uint8_t* bits, int32_t rowBits, int32_t rowEnd, uint32_t hscale,
                           uint32_t vscale, int32_t offset, int32_t rowStart);

/* ---- Drawing --------------------------------------------------------------------------------- */

/**
 * Fills the polygon whose boundary runs through the `count` vertices and back to the first one.
 * Vertices may lie anywhere, edges may cross, and vertices may repeat. fillRule 0 takes what the
 * boundary encloses an odd number of times (even-odd), any other value what it winds around a
 * number of times that is not 0 (non-zero). Colour, pattern and mode are those of rleFillSpans.
 *
 * Row y of the inside reaches from the ceiling of the left edge's x on that row to, but not
 * including, the ceiling of the right edge's; the row of the lowest vertex is not filled. So the
 * rectangle (0, 0), (10, 0), (10, 5), (0, 5) fills columns 0 to 9 of rows 0 to 4, and polygons that
 * share an edge neither overlap nor leave a gap. Only what lies inside the image is painted.
 *
 * Fewer than 3 vertices paint nothing. When memory for the edges runs out nothing is painted
 * either.
 */
RLE_API void rleFillPolygon(RleRect* image, int32_t count, RlePoint* points, int32_t fillRule,
                            int32_t colour, RleRect* pattern, int32_t mode);

/**
 * Fills a convex polygon whose vertices may lie between the pixels, closed as in rleFillPolygon.
 * Colour, pattern and mode are those of rleFillSpans; xOffset and yOffset move what is painted, by
 * whole pixels. Rows from the ceiling of the smallest y to, but not including, the largest y are
 * filled, each from the ceiling of the left side's x to, but not including, the ceiling of the
 * right side's, so that whole coordinates fill what they fill in rleFillPolygon. Of a polygon that
 * is not convex, a row that it cuts in several pieces is filled wrongly.
 *
 * Vertices may lie anywhere; one that is not finite, and fewer than 3, paint nothing. So it is too
 * when memory for the working arrays runs out, and then for all fills in the same bracket (see
 * below) that need no larger ones.
 */
RLE_API void rleFillSppPoly(RleRect* image, int32_t count, RleDPoint* points, int32_t xOffset,
                            int32_t yOffset, int32_t colour, RleRect* pattern, int32_t mode);

/**
 * Bracket a series of calls of rleFillSppPoly or rleFatLine, which then keep their working arrays
 * from call to call. Brackets nest; each thread has its own. The outermost rleEndSppPoly releases
 * the arrays, and so does one without a beginning.
 */
RLE_API void rleBeginSppPoly(void);
RLE_API void rleEndSppPoly(void);

/**
 * Draws a line through the `count` vertices, `width` pixels wide (below 1 stands for 1), in the
 * colour, pattern and mode of rleFillSpans. The line is closed when its last vertex equals its
 * first. Vertices that repeat the one before them are passed over; with a count below 1 nothing is
 * drawn.
 *
 *   capStyle    2 round, 3 square: the line goes on for half its width; any other value butt.
 *               Closed lines have no caps.
 *   joinStyle   0 mitre, which becomes a bevel where two segments meet at less than 11 degrees;
 *               1 round; any other value bevel
 *
 * A line 1 pixel wide always has butt caps and mitre joins.
 *
 * With a dashCount above 0 the line is dashed: `dashes` holds dashCount lengths, on, off, on, off
 * and so on, repeated; with an odd count, on and off change places each time. A length counts
 * steps of one pixel along the longer axis of a segment, and one of 0 lasts one step. dashOffset
 * is how far into the pattern the line begins; below 0 it makes the first dash longer, above 0 it
 * says nothing when all lengths are 0. In mode 0 the gaps are painted too, in colour 0 of that
 * mode, and there are end caps; in other modes the gaps stay as they are and a dashed line has no
 * caps. With a dashCount below 1 the line is solid.
 *
 * Vertices may lie anywhere; only what lies inside the image is painted, and what lies outside
 * costs next to nothing. When memory runs out, the rest of the line is not drawn.
 */
RLE_API void rleFatLine(RleRect* image, int32_t count, RlePoint* points, int32_t width,
                        int32_t colour, RleRect* pattern, int32_t capStyle, int32_t joinStyle,
                        int32_t mode, int32_t dashCount, uint8_t* dashes, int32_t dashOffset);

/* ---- Transforms ------------------------------------------------------------------------------ */

/**
 * Turns go counter-clockwise as seen with row 0 at the top. Vertices of a polygon region lie on
 * the same grid as its pixels.
 */

/** Mirrors a row left to right in place: column x moves to width - 1 - x (width: 16 bits). */
RLE_API void rleMirrorLine(RleLine* line, int32_t width);

/** Flips an image top to bottom (X: about the horizontal axis) or left to right (Y), in place. */
RLE_API void rleMirrorRectX(RleRect* rect);
RLE_API void rleMirrorRectY(RleRect* rect);

/**
 * The same for a region: its image, its mask unless null, and its vertices, y to height - y (X) or
 * x to width - x (Y) of the image. A region without an image is left as it is.
 */
RLE_API void rleMirrorPolyX(RlePoly* poly);
RLE_API void rleMirrorPolyY(RlePoly* poly);

/**
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

/**
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

/**
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

/**
 * rleScaleRect on the images of a region, and its vertices scaled and rounded down. With one factor
 * 0 the images stay as they are and the vertices move along the other axis only.
 */
RLE_API void rleScalePoly(RlePoly* poly, uint32_t xFactor, uint32_t yFactor);

/**
 * Scales with rleScaleRect, or rleScalePoly, from the image's resolution to `resolution` (dots per
 * inch) and stores that, keeping its low 16 bits. Where no factor leads from one to the other (a
 * resolution of 0, a negative one, a factor of 2^17 or more), and when memory runs out, only the
 * stored value changes. A region without an image is left as it is.
 */
RLE_API void rleChangeResRect(RleRect* rect, int32_t resolution);
RLE_API void rleChangeResPoly(RlePoly* poly, int32_t resolution);

/**
 * A new image that just holds `rect` turned by `angle` degrees (any finite value), with tag 0 and
 * the same resolution (200 for 0). cornerX and cornerY receive the place of the source's top left
 * corner in the result, in pixels from its top left. Null, with both corners 0, for a null image,
 * one without rows, and an angle that is not finite; null when memory runs out.
 *
 * Multiples of 90 degrees are turned like any other angle; rleQRotateRect is exact.
 */
RLE_API RleRect* rleRotateRect(RleRect* rect, double angle, double* cornerX, double* cornerY);

/**
 * A new region turned by `angle` degrees, by quarter turns within 0.001 degrees of one. Its mask is
 * the turned polygon, even-odd, and its image is white outside of it; a region without vertices
 * gets the four corner pixels of its image as polygon. Corners as for rleRotateRect. Null, with
 * both corners 0, for a region without an image; null when the image cannot be turned or memory
 * runs out.
 */
RLE_API RlePoly* rleRotatePoly(RlePoly* poly, double angle, double* cornerX, double* cornerY);

/* ---- Analysis -------------------------------------------------------------------------------- */

/**
 * The connected component of black pixels that contains column x of row y (both 16 bits), as a new
 * image cropped to it. Pixels that touch only at a corner are connected. The new image has the
 * resolution of `image`, 200 where that is 0, and tag 0. `left` and `top`, which may be null,
 * receive the column and row of `image` where its upper left corner lies.
 *
 * Null, with `left` and `top` untouched, when the pixel is white or lies outside the image, or when
 * memory ran out. `image` does not change. Time and memory follow the runs of the component, not
 * the size of the image. In rows that are not valid some runs may be missed; the new image is
 * valid all the same.
 */
RLE_API RleRect* rleConnected(RleRect* image, int32_t x, int32_t y, uint16_t* left, uint16_t* top);

/**
 * Finds the black pixel nearest to column x of row y, which may lie outside the image, and stores
 * its column and row through `foundX` and `foundY`, which may be null. x, y and r are 16 bits. Of
 * equally near pixels the uppermost is taken, then the leftmost.
 *
 * The search covers rows y - r to y + r - 1, and in each the runs whose `end` is at least x - r and
 * whose `start` is at most x + r; so it finds pixels from column x - r - 1 to x + r, and with r 0
 * none at all.
 *
 * 1 when there is such a pixel; otherwise 0, with nothing stored. `image` does not change.
 */
RLE_API int32_t rleClosest(RleRect* image, int32_t x, int32_t y, int32_t r, uint16_t* foundX,
                           uint16_t* foundY);

/* ---- Native format --------------------------------------------------------------------------- */

/**
 * The library's own file format (docs/format.md): a header, a polygon section and the rows as runs.
 * Most callers need the six functions for whole files only.
 *
 * These functions use the stream from where it stands, in the byte order it has, which should be
 * big-endian; they neither rewind nor release it. A failed write leaves what was written before.
 * Rows are taken as they are: what a file holds may be out of order or beyond the width until
 * rleCheckRect says otherwise.
 */

/** A new image read from a file of an image or of a polygon region, or null. */
RLE_API RleRect* rleLoadRect(RleStream* stream);
RLE_API RleRect* rleLoad(RleStream* stream);

/**
 * A new polygon region read from a file, or null. The mask is filled from the vertices; a file of a
 * plain image gives a region without vertices and without a mask. When memory for the mask runs out
 * the load fails.
 */
RLE_API RlePoly* rleLoadPoly(RleStream* stream);

/** Writes an image as a file. 1, or 0 on failure. */
RLE_API int32_t rleUnloadRect(RleStream* stream, RleRect* rect);
RLE_API int32_t rleUnload(RleStream* stream, RleRect* rect);

/** Writes a polygon region, without its mask, as a file. 1, or 0 on failure or without an image. */
RLE_API int32_t rleUnloadPoly(RleStream* stream, RlePoly* poly);

/**
 * The pieces of a file, one by one. A context holds the stream and what the last header said. Given
 * a null context, readers return null (rleReadFillRule -1) and writers 0.
 */

/** A new context for the stream, or null when memory runs out. */
RLE_API RleFile* rleOpen(RleStream* stream);

/** Releases the context and leaves the stream alone. Null is ignored. */
RLE_API void rleClose(RleFile* file);

/**
 * Writes a header with the version (1 for 0), height, width and resolution of `header`, and after
 * it an empty polygon section when withEmptyPoly is 1. 1, or 0 at the first write that fails.
 */
RLE_API int32_t rleWriteHeader(RleFile* file, RleFile* header, int32_t withEmptyPoly);

/**
 * Reads a native or a legacy header and returns it as a new record, released with rleFreeHeader, or
 * null. Its magic, version and the low 16 bits of its resolution are kept in the context too. An
 * unknown resolution becomes 400. When skipPoly is 1, the polygon section after a native header is
 * read over.
 */
RLE_API RleFile* rleReadHeader(RleFile* file, int32_t skipPoly);

/** Writes one row. 1, or 0 at the first write that fails. */
RLE_API int32_t rleWriteLine(RleFile* file, RleLine* line);

/** Writes `n` rows; returns how many were written before one failed. */
RLE_API int32_t rleWriteLines(RleFile* file, RleLine** rows, int32_t n);

/** Writes all rows of an image. 1, or 0 at the first write that fails. */
RLE_API int32_t rleWriteRect(RleFile* file, RleRect* rect);

/** Reads one row; null when that fails. A row without runs has no buffer. */
RLE_API RleLine* rleReadLine(RleFile* file);

/** A new array of `n` rows read, or null; above 65535 always null. Released with rleFreeLines. */
RLE_API RleLine** rleReadLines(RleFile* file, uint32_t n);

/**
 * A new image with `height` rows read, or null. Width and height are 16 bits; the resolution is
 * the context's as it is, 0 too.
 */
RLE_API RleRect* rleReadRect(RleFile* file, int32_t width, int32_t height);

/**
 * Writes a vertex count and the vertices. 1, or 0 at the first write that fails, and when `points`
 * is null though `count` is not 0.
 */
RLE_API int32_t rleWritePolyLine(RleFile* file, uint32_t count, RlePoint* points);

/**
 * A new vertex array read, released with rleFreePoints, or null. Stores the number of vertices in
 * *countOut, unless that is null, when all went well. Memory grows with the vertices that arrive.
 */
RLE_API RlePoint* rleReadPolyLine(RleFile* file, uint32_t* countOut);

/** Writes a fill rule. 1 or 0. */
RLE_API int32_t rleWriteFillRule(RleFile* file, int32_t rule);

/** The fill rule read, 0 or 1; -1 when that fails and for any other value. */
RLE_API int32_t rleReadFillRule(RleFile* file);

/** Writes a region's polygon section and the rows of its image. 1, or 0 as rleUnloadPoly. */
RLE_API int32_t rleWritePoly(RleFile* file, RlePoly* poly);

/** A new region, without a mask, from a polygon section and `height` rows; or null. */
RLE_API RlePoly* rleReadPoly(RleFile* file, int32_t width, int32_t height);

/* ---- Group 4 --------------------------------------------------------------------------------- */

/**
 * CCITT Group 4 data (ITU-T T.6): two-dimensional coding without an EOL per row, closed by an EOFB.
 * `lsbFirst` is 0 when the first bit of a byte is its most significant one (TIFF FillOrder 1) and
 * anything else when it is the least significant one (FillOrder 2).
 */

/**
 * The image of `width` x `height` pixels that is decoded from the stream's position on, or null.
 * The resolution is 16 bits, 0 stands for 200 dots per inch.
 *
 * Decoding goes on to the second EOL, wherever it comes. Rows that the data does not reach, or does
 * not finish, stay empty; rows beyond the height are decoded and dropped. Bytes are read with
 * getByte alone, one at a time, none beyond the last bit of that EOL. What damaged data puts beyond
 * the width is clipped, so every row is valid.
 *
 * Null without reading anything when a size is negative or above 65535; null also when the data
 * ends before the second EOL, holds a code that stands for nothing, or comes to 51600 colour
 * changes in one row, and when memory runs out.
 */
RLE_API RleRect* rleLoadRectFromCCITTG4(RleStream* stream, int32_t width, int32_t height,
                                        int32_t resolution, int32_t lsbFirst);

/**
 * Writes all rows and an EOFB, least significant bit first, with putByte alone. 1 on success, -1
 * when a row has more than 25800 separate runs, -2 as soon as putByte answers -1; what was written
 * stays.
 *
 * Rows need not be valid. Empty runs are skipped; a run that touches or overlaps the one before it
 * is joined to it, and the earlier run's end is raised in the image too, when its row's turn comes;
 * a run that overlaps the one before it and starts to the left of it is ignored; what lies beyond
 * the width is clipped. No memory is allocated, but for rows of more than 2,048 runs that are not
 * valid, and then -1 is also the answer when there is none.
 */
RLE_API int32_t rleUnloadRectFromCCITTG4(RleStream* stream, RleRect* rect);

/* ---- One-strip TIFF -------------------------------------------------------------------------- */

/**
 * The one kind of TIFF file that the library reads and writes by itself: a single directory, a
 * single strip, CCITT T.6 data.
 */

/** What the directory of such a file says. */
typedef struct RleTiffG4Info {
  uint32_t width;       /**< pixels per row, below 65535 */
  uint32_t height;      /**< rows, 1 to 65534 */
  uint32_t xResolution; /**< dots per inch; 72 when the file does not say */
  uint32_t yResolution;
  uint32_t stripOffset; /**< where the data begins, in bytes from the start of the stream */
  uint32_t photometric; /**< set to 0, white is zero, when the file says so */
  uint32_t fillOrder; /**< 1 when the left pixel of a byte is its high bit, as it is unless the file
                         says otherwise; 2 when it is the low bit */
} RleTiffG4Info;

/**
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

/**
 * Each of these puts one number into a header that is already there, at the start of a big-endian
 * stream: the width and height in pixels, and the bytes of strip data. The stream is left behind
 * the entry written, at 22, 34 or 130. 1, or 0 when the seek or a write failed.
 */
RLE_API int32_t rleReWriteWidthOfOneStripTiffTag(RleStream* stream, uint32_t width);
RLE_API int32_t rleReWriteHeightOfOneStripTiffTag(RleStream* stream, uint32_t height);
RLE_API int32_t rleReWriteByteCountOfTiffTag(RleStream* stream, uint32_t byteCount);

/**
 * 1 when the stream holds a one-strip Group 4 TIFF file of either byte order, 0 when it holds
 * anything else or cannot be read. The file header is expected at the current position, and offsets
 * in the file count from the start of the stream. The stream gets back the position it had. Its
 * byte order is the file's from then on, big-endian when that could not be told; and where the file
 * was cut off its error state stays set.
 *
 * `info` receives what was found, as far as the reading went; fields that the file does not mention
 * keep their values, so clear the record first. It may be null.
 */
RLE_API int32_t rleReadOneStripTiffG4Info(RleStream* stream, RleTiffG4Info* info);

/* ---- Raster files ---------------------------------------------------------------------------- */

/**
 * Images from and to files of other formats. Reading, writing, converting and scaling their rows is
 * the work of the raster pipeline gfx (see gfx.h, also for format and compression codes), but for
 * Group 4 TIFF, which the library does itself where it can. Streams stay the caller's.
 *
 * What the pipeline got hold of is released again on every failure. What was written stays.
 */

/**
 * A new image from a raster file of any format that the pipeline reads, or null. The file begins at
 * the start of the stream.
 *
 * A one-strip Group 4 TIFF (see rleReadOneStripTiffG4Info) is decoded without the pipeline, in its
 * x resolution; the stream is left behind the EOFB. When that fails, because the EOFB is missing
 * for instance, the pipeline reads the file from the position on where the stream stood.
 *
 * Through the pipeline grey and coloured images become bilevel. The resolution is the file's where
 * it is in dots per inch, with 400 for 0 and -1, and 72 where the file names no unit or another
 * one; its low 16 bits are kept. Null for unequal x and y resolutions, for sizes above 65535, when
 * a row cannot be read or the reader's end fails, and when memory runs out.
 */
RLE_API RleRect* rleLoadRectFromRaster(RleStream* stream);

/**
 * A new image of `width` x `height` pixels from Group 4 data at the stream's position, read through
 * the pipeline with the first bit of a byte as its highest; or null. A resolution of 0 or -1
 * becomes 400 dots per inch; of others the low 16 bits are kept.
 *
 * At least three bytes must follow the last row, as those of an EOFB do; three are skipped. Null
 * when they are missing, and for sizes that the pipeline refuses or an image does not hold: below 0
 * and above 65535; else as for rleLoadRectFromRaster. rleLoadRectFromCCITTG4 needs no pipeline.
 */
RLE_API RleRect* rleLoadRectFromG4(RleStream* stream, int32_t width, int32_t height,
                                   int32_t resolution);

/**
 * A new polygon region, or null, from what rleUnloadPolyToG4 writes: the header and polygon section
 * of the native format, with the image as Group 4 data in place of rows. The mask is filled from
 * the vertices, if there are any; when memory for it runs out the load fails.
 */
RLE_API RlePoly* rleLoadPolyFromG4(RleStream* stream);

/**
 * A new region, without vertices and mask, around the image that rleLoadRectFromRaster gives; or
 * null.
 */
RLE_API RlePoly* rleLoadPolyFromRaster(RleStream* stream);

/**
 * Writes the image as Group 4 data through the pipeline, the first bit of a byte as its highest. 1,
 * or 0 when the writer cannot be made or refuses a row, or memory runs out.
 *
 * Here and in the following functions the end of a writer may fail unnoticed: where that matters,
 * ask the stream's hasError.
 */
RLE_API int32_t rleUnloadRectToG4(RleStream* stream, RleRect* rect);

/**
 * Writes a native header and polygon section, then the region's image with rleUnloadRectToG4. The
 * mask is not stored. 1, or 0 at the first failure and without an image.
 */
RLE_API int32_t rleUnloadPolyToG4(RleStream* stream, RlePoly* poly);

/**
 * Writes the image as a raster file. 1, or 0 at the first failure.
 *
 * `format` is a format code of the pipeline: 0 TIFF, 1, 2, or 6 to 8; all others fail.
 * `compression` is a compression code, 0x100 for Group 4, or -1 for no preference; formats 0 and 1
 * heed it, with -1 as 0 in format 1, the others have one compression only.
 *
 * A TIFF with -1 or 0x100 is written without the pipeline: a one-strip file whose header stands at
 * the start of the stream, which must be big-endian and able to seek. The stream is left at 130,
 * behind the last entry patched, not at the end of the file.
 */
RLE_API int32_t rleUnloadRectToRasterSelectCompress(RleStream* stream, RleRect* rect,
                                                    int32_t format, int32_t compression);

/** The same without a preference. */
RLE_API int32_t rleUnloadRectToRaster(RleStream* stream, RleRect* rect, int32_t format);

/** The same for a region's image alone. 0 without an image. */
RLE_API int32_t rleUnloadPolyToRaster(RleStream* stream, RlePoly* poly, int32_t format);

/**
 * Converts the raster file in `input` to one of another format in `output`, as with
 * rleUnloadRectToRaster. 1 or 0.
 *
 * `rotation` is in quarter turns counter-clockwise, 0 to 3. `scale` is a factor for both sides, 0
 * stands for 1. `method` 0 picks pixels as rleScaleRect does, 1 takes care of thin strokes as
 * rleMinScaleRect does; any other leaves the size alone.
 *
 * A bilevel image below 65535 x 65535 pixels is loaded as runs, turned with rleQRotateRect, then
 * scaled and written; any rotation that rleQRotateRect does not know fails, and memory that runs
 * out while scaling leaves the size as it is. All others go row by row through the pipeline with
 * their pixels and resolutions kept, but 72 dots per inch in format 1; unknown rotations are none.
 * There, images are turned after they are made smaller and before they are made larger, in both
 * cases to the sizes that scaling the unturned image gives: turned by one quarter or three and made
 * larger, an image takes the proportions it had before.
 *
 * Also 0 for a scale that is negative or not a number, for a scaled size above 65535 of an image in
 * runs, and for pixel rows of 2^31 bits or more.
 */
RLE_API int32_t rleConvFromRasterToRaster(RleStream* input, RleStream* output, int32_t format,
                                          int32_t rotation, double scale, int32_t method);

/* ---- Memory raster writer -------------------------------------------------------------------- */

/**
 * Writes an image that arrives in pieces, as raw rows or as Group 4 data, into a raster file. The
 * writer is a table of methods; each takes the writer first and is called through the table every
 * time, because the pointers change while it runs. In this order:
 *
 *     RleMemoryWriter* w = rleInitWriteRasterFromMemory(out, 0);
 *     w->setScale(w, 0.5);                                   setters, as far as needed
 *     w->initialize(w, width, height, 300, 1, 4, 0, 0, "/tmp/page.part");
 *     while (...) w->write(w, rows, byteCount);
 *     w->flush(w, 0, 0);
 *     w->end(w);
 *
 * initialize chooses how the image goes to the output:
 *
 *   directly   A bilevel image of format code 0, TIFF, neither scaled nor turned, becomes a
 *              one-strip Group 4 TIFF. Its header is written at once, so the stream must be
 *              big-endian and stand at its start; the data follows as it comes, and flush seeks
 *              back to complete the header.
 *   buffered   All other images are collected, in memory and from a certain size on in a temporary
 *              file, and become a file of the format when they are flushed.
 *
 * Methods that answer a number answer 1 for success and 0 for failure. What failed is left as a
 * text for getError. A failure leaves in the output what was written so far. Given a null writer,
 * methods do nothing and answer 0 or null.
 */
typedef struct RleMemoryWriter RleMemoryWriter;
struct RleMemoryWriter {
  /**
   * Begins an image of `width` x `height` pixels at `resolution` dots per inch in both directions.
   * A size that is not known yet is 0 and comes with flush; but raw rows that go directly to the
   * output need their width.
   *
   * `bitsPerPixel` and `colourType` (16 bits each, signed) describe the pixels: 1 and 4 are bilevel
   * ones with 1 as black, 1 and 0 with 0 as black; gfx.h lists all. `inputKind` says what write
   * will get: 0 raw rows, 1 Group 4 data. In a direct writer any other kind is Group 4 data too; in
   * a buffered one flush refuses it. `readerOptions` goes to the reader of the collected data: 0
   * when the first pixel of a byte is its highest bit, 1 when it is its lowest. Group 4 data for a
   * direct writer has it in the lowest, whatever is said here; raw rows for one in the highest.
   *
   * `path` names the temporary file, which is made, or emptied if it exists, in every case, with
   * permission 0666 less the umask. It is deleted by end. The text is copied.
   *
   * A second initialize begins another image: what was collected for the first is dropped and its
   * temporary file deleted. What the setters set stays, and so does the last message.
   *
   *   "set path parameter in rleInitialize."     `path` is null
   *   "can not allocate memory for path."
   *   "can not create temporary file."
   *   "can not write one strip TIFF header."     direct writers
   *   "can not create gfxInitWriteG4 instance."  direct writers of raw rows
   *   "can not write header."                    likewise: the Group 4 writer does not begin
   */
  int32_t (*initialize)(RleMemoryWriter* writer, uint32_t width, uint32_t height,
                        uint32_t resolution, int32_t bitsPerPixel, int32_t colourType,
                        int32_t inputKind, int32_t readerOptions, const char* path);

  /**
   * Takes the next `length` bytes: whole rows (see setPaddingBits), or a slice of any length of
   * Group 4 data. They stay the caller's and are not needed afterwards. A direct writer ignores
   * bytes after the last whole row of a call. One image has at most 2^32 - 1 bytes, except rows
   * written directly.
   *
   * After a failed write of a buffered writer bytes are missing: further writes and flush fail too,
   * with that message left in place. After a failed write of rows by a direct writer, further
   * calls fail with "can not create gfxInitWriteG4 instance.".
   *
   *   "can not write to memory."                 buffered
   *   "can not write to temporary file."         likewise
   *   "can not write G4 data."                   direct, Group 4 data
   *   "can not create gfxInitWriteG4 instance."  direct, raw rows: initialize failed, or an earlier
   *                                              write, or the image has been flushed
   *   "write process call faild."                likewise: the Group 4 writer refuses a row, or a
   *                                              row has no bytes
   *   "can not allocate memory."                 likewise
   */
  int32_t (*write)(RleMemoryWriter* writer, const void* data, uint32_t length);

  /**
   * Completes the file. In a buffered writer, `width` and `height` are taken where initialize got
   * 0. In a direct one a size that is not 0 is put into the header, and one of 0 leaves there what
   * initialize wrote; raw rows missing up to `height` are added in zeros.
   *
   * A buffered image is read back, scaled and turned, and written in the output format. It is
   * turned after being made smaller, and before being made larger; its size is multiplied, and
   * truncated, as it was before the turn. When a row cannot be read, that is recorded, and it and
   * the rows after it become repetitions of the row before, with zeros in the first four bytes; the
   * result can still be 1.
   *
   * Raw rows of fewer than 1 or of 2 to 7 bits per pixel, of 2^32 bytes or more, or with a padding
   * of 0 have no reader. Rows of 2^31 bits or more are not allocated.
   *
   *   buffered
   *     "can not create XIO stream."                   what was collected cannot be opened
   *     "invalid raster type."                         an input kind other than 0 and 1
   *     "can not create gfx instance."                 no reader for the data, or no writer
   *     "can not create gfx instance for rotation."    without a scale
   *     "can not read header."
   *     "invalid output format type."                  codes 3 to 5, above 8 and below 0
   *     "can not write header."
   *     "can not allocate memory."                     for a row
   *     "read process call faild."                     with a result of 1 too
   *     "write process call faild."
   *     "end call faild."
   *     "close call faild."
   *     none                                           it cannot be scaled, or a write had failed
   *   direct
   *     "can not create gfxInitWriteG4 instance."      raw rows, as for write
   *     "can not allocate memory."                     raw rows
   *     "write process call faild."                    raw rows
   *     "end call faild."                              raw rows
   *     "can not rewrite width in Tiff format."
   *     "can not rewrite height in Tiff format."
   *     "can not rewrite byte count in Tiff format."   or the output told no position
   */
  int32_t (*flush)(RleMemoryWriter* writer, uint32_t width, uint32_t height);

  /**
   * Releases the writer with all that it holds, flushed or not, and deletes the temporary file. The
   * output stream stays open.
   */
  void (*end)(RleMemoryWriter* writer);

  /**
   * The setters. A scale or a rotation that is to make the writer a buffered one is set before
   * initialize. A buffered writer looks at all four at every write and at flush; once initialize
   * has begun to write raw rows directly, they do nothing.
   */

  /**
   * Data of so many bytes or more, 2097152 unless set, goes to the temporary file. An image that
   * will be scaled or turned stays in memory whatever its size.
   */
  void (*setBufferSize)(RleMemoryWriter* writer, uint32_t bytes);

  /** Multiplies width and height, 1.0 unless set. */
  void (*setScale)(RleMemoryWriter* writer, double factor);

  /** Turns the image counter-clockwise by 0, 90, 180 or 270 degrees, 0 unless set. */
  void (*setRotation)(RleMemoryWriter* writer, int32_t rotation);

  /**
   * How rows of raw input are aligned, 8 unless set. A row of 1 bit per pixel has its width,
   * rounded up to a multiple of `bits`, divided by 8 in bytes, the remainder dropped; what the row
   * then lacks of its last pixels is 0. A row of more bits per pixel has bits per pixel / 8 x width
   * bytes, rounded up to a multiple of as many BYTES. So 10 pixels of 1 bit have 2 bytes with 8, 4
   * bytes with 32 and 1 byte with 1; of 8 bits, 16 bytes with 8 and 10 with 1.
   */
  void (*setPaddingBits)(RleMemoryWriter* writer, uint32_t bits);

  /**
   * The message of the last failure, or null before the first; a later success leaves it. The text
   * is the library's own and stays.
   */
  const char* (*getError)(RleMemoryWriter* writer);

  struct RleMemoryWriterState* state; /**< private */
};

/**
 * A new writer of a raster file into `output`, which must stay until the writer has ended, or null
 * when memory runs out. `format` is 0 TIFF, 1 BMP, 2 PDF, 6 PNG, 7 JPEG or 8 PNM; other codes are
 * refused by flush.
 */
RLE_API RleMemoryWriter* rleInitWriteRasterFromMemory(RleStream* output, int32_t format);

#ifdef __cplusplus
}
#endif

#endif /* RLE_H */
