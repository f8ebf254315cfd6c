// rle component: cuts out what is connected to a pixel and says where it lies.

#include "component.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <span>

#include "commands.h"
#include "failure.h"
#include "operation_parsers.h"
#include "page_file.h"

namespace rle {
namespace {

struct Request {
  std::string in;
  std::string seed;
  std::string out;
};

bool isBlack(const RleRect& page, const RlePoint& pixel) {
  const RleLine& row = *page.rows[pixel.y];
  const std::span<const RleRun> runs(row.runs, row.count);
  return std::any_of(runs.begin(), runs.end(),
                     [&](RleRun run) { return run.start <= pixel.x && pixel.x < run.end; });
}

void component(const Request& request) {
  const RlePoint seed = pixel(request.seed);
  checkWritable(request.out);
  const PageFile file = readPageFile(request.in);
  const Component found = componentAt(*file.page, seed);
  if (!found.picture) throw Failure(request.in, found.reason);
  writePageFile(request.out, *found.picture);
  std::cout << "left " << found.left << ", top " << found.top << ", width " << found.picture->width
            << ", height " << found.picture->height << '\n';
}

}  // namespace

Component componentAt(RleRect& page, const RlePoint& seed) {
  Component found;
  const std::string place =
      "the pixel " + std::to_string(seed.x) + "," + std::to_string(seed.y) + " ";
  if (seed.x >= page.width || seed.y >= page.height)
    found.reason = place + "lies outside the page of " + sizeOf(page);
  else if (!isBlack(page, seed))
    found.reason = place + "is white";
  else if (found.picture.reset(rleConnected(&page, seed.x, seed.y, &found.left, &found.top));
           !found.picture)
    found.reason = "out of memory";
  return found;
}

void addComponentCommand(CLI::App& app) {
  const auto request = std::make_shared<Request>();
  CLI::App* const command =
      app.add_subcommand("component", "Cut out what is connected to a black pixel");
  command->add_option("FILE", request->in, "The page file to read")->required()->type_name("");
  command->add_option("PIXEL", request->seed, "Column and row of the pixel, as X,Y")
      ->required()
      ->type_name("");
  command->add_option("OUT", request->out, "The page file to write, named .tif, .tiff or .rle")
      ->required()
      ->type_name("");
  command->footer(
      "The black pixels that connect to this one are written as a page of their own, cropped to\n"
      "them, and one line says where that page lies on the old one: left, top, width, height.\n"
      "Pixels that touch at a corner connect.");
  command->final_callback([request] { component(*request); });
}

}  // namespace rle
