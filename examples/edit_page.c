/* Opens a scan of any format, whitens an area, draws a line, saves TIFF: edit_page IN OUT.tif */
#include <rle.h>
#include <stdio.h>
#include <xio.h>

int main(int argc, char** argv) {
  RleStream* in = argc == 3 ? xioCreateFileStreamByName(argv[1], XIO_READ) : NULL;
  RleRect* page = in ? rleLoadRectFromRaster(in) : NULL;
  if (in) in->ops->destroy(in);
  if (!page) return fputs("edit_page: no page to read\n", stderr), 1;

  rleFillRect(page, 1250, 500, 2400, 900, 0, NULL, 1);           /* 0 is white */
  rleFillRect(page, 0, 1000, page->width - 1, 1003, 1, NULL, 1); /* 1 is black */

  RleStream* out = xioCreateFileStreamByName(argv[2], XIO_WRITE);
  int saved = out && rleUnloadRectToRaster(out, page, 0); /* 0 is TIFF */
  if (out && out->ops->destroy(out) != 0) saved = 0; /* what was still buffered is written here */
  rleFreeRect(page);
  return saved ? 0 : (fputs("edit_page: cannot save\n", stderr), 1);
}
