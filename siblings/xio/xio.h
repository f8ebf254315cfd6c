/*
 * xio - streams over memory and files.
 *
 * The streams made here are RleStream objects (see rle.h): they are used through the operations of
 * their table, and released with its `destroy`. A new stream is big-endian and stands at its start.
 *
 * Errors are sticky: after the first read or write that fails, a read past the end included,
 * hasError answers 1 and all further reads and writes fail. A seek to a place before the start
 * fails without moving; it may go beyond the end, where reading fails and writing fills the gap
 * with zero bytes. Positions are below 2^31.
 */
#ifndef XIO_H
#define XIO_H

#include <stdint.h>

#include "rle.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  XIO_READ = 1,   /* read what exists */
  XIO_WRITE = 2,  /* start empty: a file is created or truncated, memory grows on demand */
  XIO_UPDATE = 3, /* read and write what exists, and extend it */
};

/*
 * A stream over `size` bytes at `buffer`, or null.
 *
 * XIO_READ reads the caller's bytes in place; they must stay until the stream is destroyed.
 * XIO_WRITE ignores `buffer` and `size` and writes to memory of its own.
 * XIO_UPDATE starts with a copy of the caller's bytes.
 */
RLE_API RleStream* xioCreateMemoryStream(void* buffer, uint32_t size, int32_t mode);

/* A stream over the named file, or null when it cannot be opened that way. Buffered. */
RLE_API RleStream* xioCreateFileStreamByName(const char* path, int32_t mode);

/*
 * The bytes of a memory stream, all `*size` of them whatever the position. They stay the stream's
 * and move with its next write. Null for a stream of any other kind, and for one without bytes.
 */
RLE_API const void* xioMemoryStreamBytes(RleStream* stream, uint32_t* size);

#ifdef __cplusplus
}
#endif

#endif /* XIO_H */
