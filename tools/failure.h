// What the program reports and ends with: a file that cannot be used, or arguments that make no
// sense. Both end as one line on standard error.

#pragma once

#include <stdexcept>
#include <string>

namespace rle {

// A file could not be read, written or treated as asked. Exit status 1.
class Failure : public std::runtime_error {
 public:
  Failure(const std::string& file, const std::string& reason)
      : std::runtime_error(file + ": " + reason) {}
};

// The command line asks for something that cannot be meant. Exit status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace rle
