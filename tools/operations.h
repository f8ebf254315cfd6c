// The operations that `rle convert` applies to a page, each given by one option.

#pragma once

#include <functional>
#include <span>
#include <string>

#include "model/owners.h"

namespace rle {

// Changes the page, or replaces it. Returns why it cannot be done for this page, or nothing.
// Throws Failure for another file that it needs.
using Operation = std::function<std::string(OwnedRect& page)>;

struct OperationOption {
  const char* name;    // with its dashes
  const char* syntax;  // of the option's value
  const char* help;
  Operation (*parse)(const std::string& value);  // throws UsageError
};

// In the order of the help text.
std::span<const OperationOption> operationOptions();

}  // namespace rle
