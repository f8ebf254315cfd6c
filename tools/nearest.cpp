// rle nearest: the black pixel nearest to a point.

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "page_file.h"
#include "values.h"

namespace rle {
namespace {

struct Request {
  std::string file;
  std::string point;
  std::string radius = std::to_string(kMaxSide);
};

void nearest(const Request& request) {
  const RlePoint from = pixel(request.point);
  const int32_t radius = number(request.radius, 0, kMaxSide);
  const PageFile file = readPageFile(request.file);
  uint16_t x, y;
  if (!rleClosest(file.page.get(), from.x, from.y, radius, &x, &y))
    throw Failure(request.file, "no black pixel within " + request.radius + " of " + request.point);
  char distance[32];
  std::snprintf(distance, sizeof distance, "%.2f", std::hypot(x - from.x, y - from.y));
  std::cout << x << ',' << y << " distance " << distance << '\n';
}

}  // namespace

void addNearestCommand(CLI::App& app) {
  const auto request = std::make_shared<Request>();
  CLI::App* const command =
      app.add_subcommand("nearest", "Find the black pixel nearest to a point");
  command->add_option("FILE", request->file, "The page file to read")->required()->type_name("");
  command
      ->add_option("POINT", request->point,
                   "Column and row of the point, as X,Y; it may lie off the page")
      ->required()
      ->type_name("");
  command
      ->add_option("--radius", request->radius,
                   "How far to look, in pixels; the whole page if not given")
      ->type_name("N");
  command->footer(
      "Prints column and row of the pixel and its distance in pixels. Of equally near pixels the\n"
      "uppermost is taken, then the leftmost. With --radius N the rows Y-N up to but not "
      "including\n"
      "Y+N are searched, from column X-N-1 to X+N; so --radius 1 looks at the row above the point\n"
      "and its own, and --radius 0 at nothing. When there is no such pixel the exit status is 1.");
  command->final_callback([request] { nearest(*request); });
}

}  // namespace rle
