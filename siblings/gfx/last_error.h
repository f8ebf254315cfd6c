// The text behind gfxLastError.

#pragma once

namespace gfx {

// Keeps a formatted text, cut to a line, as this thread's last error. Always false, so that a
// failing function can return it.
__attribute__((format(printf, 1, 2))) bool setLastError(const char* format, ...);

// The same for the call-backs of the codec libraries.
__attribute__((format(printf, 1, 0))) bool setLastErrorV(const char* format,
                                                         __builtin_va_list arguments);

// Forgets what went wrong before.
void clearLastError();

}  // namespace gfx
