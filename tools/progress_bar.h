// A bar on the terminal that shows how much of a number of jobs is done.

#pragma once

#include <cstddef>
#include <string>

namespace rle {

// Draws on standard error, and only where that is a terminal. Belongs to one thread at a time.
class ProgressBar {
 public:
  explicit ProgressBar(size_t jobs);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void jobDone();

  // Prints a line on standard error; the bar moves below it.
  void print(const std::string& line);

 private:
  void draw();
  void erase();

  size_t jobs_;
  size_t done_ = 0;
  bool visible_;
};

}  // namespace rle
