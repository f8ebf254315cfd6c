/* A program of somebody else's: it knows the installed headers and libraries and nothing else. */

#include <rle.h>
#include <stdio.h>
#include <xio.h>

int main(int argc, char** argv) {
  RleStream* file = argc == 2 ? xioCreateFileStreamByName(argv[1], XIO_WRITE) : 0;
  RleRect* page = rleNewRect(1700, 2200, 0);
  RleTiffG4Info info = {0};
  int good = file && page;
  if (good) {
    rleSetRect(page, 100, 100, 199, 149);
    good = rleCheckRect(page) == 1 && page->rows[149]->count == 1 && page->rows[150]->count == 0;
    good = good &&
           rleWriteTiffHeader(file, page->width, page->height, page->resolution, 4, 1) == 1 &&
           file->ops->seek(file, 0, 0) == 0 && rleReadOneStripTiffG4Info(file, &info) == 1 &&
           info.width == 1700 && info.height == 2200 && info.yResolution == 200;
  }
  rleFreeRect(page);
  if (file && file->ops->destroy(file) != 0) good = 0;
  puts(good ? "good" : "bad");
  return good ? 0 : 1;
}
