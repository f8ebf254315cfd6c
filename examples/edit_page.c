/* Opens a scanned page, whitens an area, draws a line and saves it: edit_page IN.tif OUT.tif */
#include <rle.h>
#include <stdio.h>
#include <xio.h>

static RleRect* load(RleStream* in) {
  RleTiffG4Info info = {0};
  if (!rleReadOneStripTiffG4Info(in, &info)) return NULL;
  if (in->ops->seek(in, (int32_t)info.stripOffset, 0) != 0) return NULL;
  return rleLoadRectFromCCITTG4(in, (int32_t)info.width, (int32_t)info.height,
                                (int32_t)info.xResolution, info.fillOrder != 1);
}

static int save(RleStream* out, RleRect* page) {
  return rleWriteTiffHeader(out, page->width, page->height, page->resolution, 4, 1) == 1 &&
         rleUnloadRectFromCCITTG4(out, page) == 1 &&
         rleReWriteByteCountOfTiffTag(out, (uint32_t)out->ops->tell(out) - 186) == 1;
}

int main(int argc, char** argv) {
  RleStream* in = argc == 3 ? xioCreateFileStreamByName(argv[1], XIO_READ) : NULL;
  RleRect* page = in ? load(in) : NULL;
  if (in) in->ops->destroy(in);
  if (!page) return fputs("edit_page: no page to read\n", stderr), 1;

  rleFillRect(page, 1250, 500, 2400, 900, 0, NULL, 1);           /* 0 is white */
  rleFillRect(page, 0, 1000, page->width - 1, 1003, 1, NULL, 1); /* 1 is black */

  RleStream* out = xioCreateFileStreamByName(argv[2], XIO_WRITE);
  int saved = out && save(out, page);
  if (out && out->ops->destroy(out) != 0) saved = 0; /* what was still buffered is written here */
  rleFreeRect(page);
  return saved ? 0 : (fputs("edit_page: cannot save\n", stderr), 1);
}
