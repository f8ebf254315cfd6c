// How libpng is called.
//
// libpng leaves a function that fails by a jump to where runPng() began, with the reason kept as
// the last error. Frames in between are skipped, not unwound: whatever owns something lives in the
// instance, never in a local variable of a call or of one of libpng's call-backs.

#pragma once

#include <png.h>

#include <csetjmp>

#include "last_error.h"

namespace gfx {

[[noreturn]] inline void failPng(png_structp png, png_const_charp reason) {
  setLastError("%s", reason);
  png_longjmp(png, 1);
}

// libpng has repaired or left out what it warns of; its own handler would print.
inline void ignorePngWarning(png_structp, png_const_charp) {}

// Makes libpng calls; false when one of them failed.
template <class Calls>
[[gnu::noinline]] bool runPng(png_structp png, Calls calls) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  calls();
  return true;
}

}  // namespace gfx
