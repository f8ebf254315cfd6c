/* Opens a scanned page, whitens an area, draws a frame and saves it: edit_page IN.tif OUT.tif */
#include <rle.h>
#include <stdio.h>
#include <xio.h>

int main(int argc, char** argv) {
  RleTiffG4Info info = {0};
  RleStream* in = argc == 3 ? xioCreateFileStreamByName(argv[1], XIO_READ) : NULL;
  if (!in || !rleReadOneStripTiffG4Info(in, &info)) return puts("no one-strip Group 4 TIFF"), 1;
  in->ops->seek(in, (int32_t)info.stripOffset, 0);
  RleRect* page = rleLoadRectFromCCITTG4(in, (int32_t)info.width, (int32_t)info.height,
                                         (int32_t)info.xResolution, info.fillOrder != 1);
  in->ops->destroy(in);
  if (!page) return puts("damaged page"), 1;

  rleFillRect(page, 1250, 500, 2400, 900, 0, NULL, 1); /* 0 white, 1 black */
  rleFillRect(page, 0, 0, page->width - 1, 11, 1, NULL, 1);
  rleFillRect(page, 0, page->height - 12, page->width - 1, page->height - 1, 1, NULL, 1);

  RleStream* out = xioCreateFileStreamByName(argv[2], XIO_WRITE);
  int saved = out && rleWriteTiffHeader(out, page->width, page->height, page->resolution, 4, 1) &&
              rleUnloadRectFromCCITTG4(out, page) == 1 &&
              rleReWriteByteCountOfTiffTag(out, (uint32_t)out->ops->tell(out) - 186) == 1;
  if (out) saved &= out->ops->destroy(out) == 0;
  rleFreeRect(page);
  return saved ? 0 : (puts("cannot save"), 1);
}
