#include "progress_bar.h"

#include <unistd.h>

#include <iostream>

namespace rle {
namespace {

constexpr size_t kCells = 40;
constexpr const char* kEraseLine = "\r\033[K";

}  // namespace

ProgressBar::ProgressBar(size_t jobs) : jobs_(jobs), visible_(isatty(STDERR_FILENO) != 0) {
  draw();
}

ProgressBar::~ProgressBar() { erase(); }

void ProgressBar::jobDone() {
  ++done_;
  draw();
}

void ProgressBar::print(const std::string& line) {
  erase();
  std::cerr << line << '\n';
  draw();
}

void ProgressBar::draw() {
  if (!visible_) return;
  const size_t filled = jobs_ == 0 ? kCells : done_ * kCells / jobs_;
  std::cerr << kEraseLine << '[' << std::string(filled, '#') << std::string(kCells - filled, '.')
            << "] " << done_ << '/' << jobs_ << std::flush;
}

void ProgressBar::erase() {
  if (visible_) std::cerr << kEraseLine << std::flush;
}

}  // namespace rle
