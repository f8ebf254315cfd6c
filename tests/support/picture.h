// Rows and images as pictures: '#' is black, anything else is white.

#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "model/owners.h"
#include "rle.h"

namespace rle::test {

// A row that tests can write down and hand to the library.
class Row {
 public:
  Row() : line_(rleAllocLine()) {}
  explicit Row(const std::string& picture);
  // Column i is black when bit i of `pixels` is set.
  Row(uint64_t pixels, int width);
  // Exactly these runs, valid or not.
  explicit Row(const std::vector<std::pair<int, int>>& runs);

  operator RleLine*() const { return line_.get(); }
  RleLine* operator->() const { return line_.get(); }

 private:
  OwnedLine line_;
};

// The pixels of a row, or of all rows of an image.
std::string picture(const RleLine* line, int width);
std::string picture(uint64_t pixels, int width);
std::vector<std::string> picture(const RleRect* rect);

// An image of 200 dots per inch; all strings have the same length.
OwnedRect image(const std::vector<std::string>& rows);

// The runs of a row, for expectations that must tell runs that touch from one run.
std::vector<std::pair<int, int>> runsOf(const RleLine* line);

}  // namespace rle::test
