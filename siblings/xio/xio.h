/** @file
 * xio - streams over memory and files.
 *
 * The streams made here are RleStream objects (see rle.h): they are used through the operations of
 * their table, every one of which is there but the unused slots 0, 10, 11 and 13, and released with
 * its `destroy`. A new stream is big-endian and stands at its start.
 *
 * Positions
 *   A seek to a place before the start, or with an origin other than 0 and 1, fails and does not
 *   move; a failed seek is no failed read, so hasError does not tell of it. A seek may go beyond
 *   the end, where reading fails and writing first fills the gap with zero bytes. `tell` answers
 *   -1 where the position is above 2^31 - 1.
 *
 * Failures
 *   hasError answers 1 for ever after the first read or write that failed, a read past the end
 *   included. A word cut off by the end reads as 0, and its bytes count as read. After a failed
 *   read the stream can still be moved and read, so that something else can be tried at another
 *   place; after a failed write all further writes fail, because bytes are missing before them.
 *
 *   Files are written behind the caller's back, so that a failure may show in a later operation,
 *   at the latest in `destroy`: it answers 0 when everything written has been handed to the system,
 *   and -1 otherwise. It releases the stream either way.
 */
#ifndef XIO_H
#define XIO_H

#include <stdint.h>

#include "rle.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  XIO_READ = 1,  /**< read what exists; writes fail */
  XIO_WRITE = 2, /**< start empty: a file is created or truncated, memory grows on demand. What has
                    been written can be read back */
  XIO_UPDATE = 3 /**< read and write what exists, and extend it; a file must exist */
};

/**
 * A stream over `size` bytes at `buffer`; null when memory runs out, for another mode than the
 * three above, and for a null buffer with a size above 0.
 *
 * XIO_READ reads the caller's bytes in place; they must stay until the stream is destroyed.
 * XIO_WRITE ignores `buffer` and `size` and writes to memory of its own.
 * XIO_UPDATE starts with a copy of the caller's bytes.
 *
 * Memory of the stream's own doubles when it is full, up to 2^32 - 1 bytes; a write for which no
 * memory is left fails.
 */
RLE_API RleStream* xioCreateMemoryStream(void* buffer, uint32_t size, int32_t mode);

/**
 * A stream over the named file; null when it cannot be opened that way, when it is a directory, for
 * another mode than the three above and for a null path. Reads and writes go through a buffer of 64
 * KiB, which seeks inside it keep.
 */
RLE_API RleStream* xioCreateFileStreamByName(const char* path, int32_t mode);

/**
 * The bytes of a memory stream, all `*size` of them whatever the position. They stay the stream's
 * and may move with its next write. Null, and a size of 0, for a stream of any other kind and for
 * one without bytes.
 */
RLE_API const void* xioMemoryStreamBytes(RleStream* stream, uint32_t* size);

#ifdef __cplusplus
}
#endif

#endif /* XIO_H */
