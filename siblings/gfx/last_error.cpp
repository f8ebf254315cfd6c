#include "last_error.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "gfx.h"

namespace {

thread_local char lastError[256];

}  // namespace

namespace gfx {

bool setLastErrorV(const char* format, va_list arguments) {
  std::vsnprintf(lastError, sizeof lastError, format, arguments);
  lastError[std::strcspn(lastError, "\r\n")] = '\0';
  const size_t length = std::strlen(lastError);
  if (length > 0 && lastError[length - 1] == '.') lastError[length - 1] = '\0';
  return false;
}

bool setLastError(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  setLastErrorV(format, arguments);
  va_end(arguments);
  return false;
}

void clearLastError() { lastError[0] = '\0'; }

}  // namespace gfx

extern "C" const char* gfxLastError() { return lastError; }
