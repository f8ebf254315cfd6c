// How libjpeg is called.
//
// libjpeg leaves a function that fails by a jump to where runJpeg() began, with the reason kept as
// the last error. Frames in between are skipped, not unwound: whatever owns something lives in the
// instance, never in a local variable of a call or of one of libjpeg's call-backs.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>  // jpeglib.h takes FILE and size_t for granted

#include <jpeglib.h>

#include <jerror.h>

#include <csetjmp>

#include "last_error.h"

namespace gfx {

struct JpegErrors : jpeg_error_mgr {
  std::jmp_buf exit;
};

// Ends the runJpeg() that is under way.
[[noreturn]] inline void failJpeg(j_common_ptr jpeg, const char* reason) {
  setLastError("%s", reason);
  std::longjmp(static_cast<JpegErrors*>(jpeg->err)->exit, 1);
}

[[noreturn]] inline void failJpegWithMessage(j_common_ptr jpeg) {
  if (jpeg->err->msg_code == JERR_NO_BACKING_STORE)
    failJpeg(jpeg, "an image in several scans that takes more than 1 GiB");
  char message[JMSG_LENGTH_MAX];
  jpeg->err->format_message(jpeg, message);
  failJpeg(jpeg, message);
}

// Where libjpeg would fill in for pixels that are lost, the image has failed; it goes on after all
// other warnings, such as of stray bytes between segments or an unknown version.
inline void heedJpegWarning(j_common_ptr jpeg, int) {
  switch (jpeg->err->msg_code) {
    case JWRN_ARITH_BAD_CODE:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_MUST_RESYNC:
      failJpegWithMessage(jpeg);
    default:
      break;
  }
}

// What becomes the `err` of an object before it is created.
inline jpeg_error_mgr* prepareJpegErrors(JpegErrors& errors) {
  jpeg_std_error(&errors);
  errors.error_exit = failJpegWithMessage;
  errors.emit_message = heedJpegWarning;
  errors.output_message = [](j_common_ptr) {};
  return &errors;
}

// Makes libjpeg calls on an object with these errors; false when one of them failed.
template <class Calls>
[[gnu::noinline]] bool runJpeg(JpegErrors& errors, Calls calls) {
  if (setjmp(errors.exit) != 0) return false;
  calls();
  return true;
}

}  // namespace gfx
