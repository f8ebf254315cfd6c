// Turns a scan by an angle and saves it as PNG: straighten IN OUT.png DEGREES
//
// What the library makes is held by owners that give it back on every way out.

#include <rle.h>
#include <xio.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

struct Release {
  void operator()(RleRect* page) const { rleFreeRect(page); }
  void operator()(RleStream* stream) const { stream->ops->destroy(stream); }
};
using Page = std::unique_ptr<RleRect, Release>;
using Stream = std::unique_ptr<RleStream, Release>;

constexpr int kPng = 6;

int main(int argc, char** argv) {
  if (argc != 4) return std::fputs("usage: straighten IN OUT.png DEGREES\n", stderr), 2;
  const Stream in(xioCreateFileStreamByName(argv[1], XIO_READ));
  const Page scan(in ? rleLoadRectFromRaster(in.get()) : nullptr);
  if (!scan) return std::fprintf(stderr, "straighten: %s: not a page\n", argv[1]), 1;

  double x, y;  // where the corner of the scan has gone
  const Page turned(rleRotateRect(scan.get(), std::atof(argv[3]), &x, &y));
  Stream out(turned ? xioCreateFileStreamByName(argv[2], XIO_WRITE) : nullptr);
  bool saved = out && rleUnloadRectToRaster(out.get(), turned.get(), kPng) == 1;
  // What was still buffered is written when the stream is destroyed.
  if (RleStream* const last = out.release()) saved = last->ops->destroy(last) == 0 && saved;
  if (!saved) return std::fprintf(stderr, "straighten: %s: cannot be written\n", argv[2]), 1;
  std::printf("%d x %d pixels\n", turned->width, turned->height);
  return 0;
}
