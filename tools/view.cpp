// rle view: a page in the terminal, drawn with the braille characters of Unicode.
//
// A character has two columns of four dots. Its code is U+2800 plus a bit for each black dot:
//
//     0  3
//     1  4      numbers of the bits
//     2  5
//     6  7

#include <sys/ioctl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "page_file.h"
#include "values.h"

namespace rle {
namespace {

constexpr int32_t kDotColumns = 2;  // of a character
constexpr int32_t kDotRows = 4;
constexpr uint8_t kDotBit[kDotRows][kDotColumns] = {{0, 3}, {1, 4}, {2, 5}, {6, 7}};
constexpr int32_t kUsualWidth = 80;
constexpr int32_t kLeastWidth = 4;  // the widest page still has a factor that leads here
constexpr int32_t kMostWidth = 32768;

struct Request {
  std::string file;
  std::string width;  // in characters; empty for the window's
};

int32_t windowWidth() {
  winsize window{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_col == 0) return kUsualWidth;
  return std::clamp<int32_t>(window.ws_col, kLeastWidth, kMostWidth);
}

// Scales the page down to so many columns of dots at most; false when memory runs out. The library
// rounds sizes up and takes a factor in steps of 1/8192, so the factor is rounded down to one.
bool fitInto(RleRect& page, uint32_t dots) {
  if (page.width <= dots) return true;
  const uint32_t factor = (dots << 13) / page.width << 2;
  rleMinScaleRect(&page, factor, factor);
  return page.width <= dots;
}

// The characters of the rows from `top` on.
std::vector<uint8_t> cells(const RleRect& page, uint32_t top) {
  std::vector<uint8_t> line((page.width + kDotColumns - 1u) / kDotColumns);
  const uint32_t rows = std::min<uint32_t>(kDotRows, page.height - top);
  for (uint32_t i = 0; i < rows; ++i) {
    const RleLine& row = *page.rows[top + i];
    for (uint32_t r = 0; r < row.count; ++r)
      for (uint32_t x = row.runs[r].start; x < row.runs[r].end; ++x)
        line[x / kDotColumns] |= uint8_t(1u << kDotBit[i][x % kDotColumns]);
  }
  while (!line.empty() && line.back() == 0) line.pop_back();
  return line;
}

void view(const Request& request) {
  const int32_t width =
      request.width.empty() ? windowWidth() : number(request.width, kLeastWidth, kMostWidth);
  const PageFile file = readPageFile(request.file);
  if (!fitInto(*file.page, uint32_t(width * kDotColumns)))
    throw Failure(request.file, "out of memory");
  for (uint32_t top = 0; top < file.page->height; top += kDotRows) {
    std::string text;
    for (const uint8_t cell : cells(*file.page, top))  // as UTF-8
      text += {'\xE2', char(0xA0 | cell >> 6), char(0x80 | (cell & 0x3F))};
    std::cout << text << '\n';
  }
}

}  // namespace

void addViewCommand(CLI::App& app) {
  const auto request = std::make_shared<Request>();
  CLI::App* const command = app.add_subcommand("view", "Draw a page in the terminal");
  command->add_option("FILE", request->file, "The page file to read")->required()->type_name("");
  command
      ->add_option("--width", request->width,
                   "Characters to a line, 4 to 32768; as the window has if not given, 80 where "
                   "there is none")
      ->type_name("N");
  command->footer(
      "The page is drawn with braille characters of two by four dots, so the terminal must show\n"
      "UTF-8. It is scaled down to the width, with thin strokes kept, and never enlarged.");
  command->final_callback([request] { view(*request); });
}

}  // namespace rle
