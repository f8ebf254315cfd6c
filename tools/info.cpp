// rle info: what a page file holds and what it weighs.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "page_file.h"

namespace rle {
namespace {

struct Request {
  std::vector<std::string> files;
  bool json = false;
};

struct Facts {
  uint64_t runs = 0;
  uint64_t blackPixels = 0;
  uint64_t bytesAsRuns =
      0;  // held in memory: the image, its rows, and their buffers with spare room
  uint64_t bytesAsBits = 0;  // the same page packed eight pixels a byte
};

// The room of a run buffer stands in the word before it, which belongs to it.
uint64_t bufferBytes(const RleRun* runs) {
  if (!runs) return 0;
  const uint32_t slots = reinterpret_cast<const uint32_t*>(runs)[-1];
  return sizeof(uint32_t) + uint64_t{slots} * sizeof(RleRun);
}

Facts measure(const RleRect& page) {
  Facts facts;
  facts.bytesAsRuns = sizeof(RleRect);
  facts.bytesAsBits = uint64_t{page.height} * ((page.width + 7u) / 8u);
  for (uint32_t y = 0; y < page.height; ++y) {
    const RleLine& row = *page.rows[y];
    facts.runs += row.count;
    facts.bytesAsRuns += sizeof(RleLine*) + sizeof(RleLine) + bufferBytes(row.runs);
    for (uint32_t i = 0; i < row.count; ++i)
      facts.blackPixels += uint64_t{row.runs[i].end} - row.runs[i].start;
  }
  return facts;
}

double blackShare(const RleRect& page, const Facts& facts) {
  return double(facts.blackPixels) / (double(page.width) * page.height);
}

nlohmann::ordered_json asJson(const std::string& name, const PageFile& file, const Facts& facts) {
  return {{"file", name},
          {"format", file.format},
          {"compression", file.compression},
          {"strips", file.strips},
          {"fileBytes", file.byteCount},
          {"width", file.page->width},
          {"height", file.page->height},
          {"resolution", file.page->resolution},
          {"runs", facts.runs},
          {"blackShare", blackShare(*file.page, facts)},
          {"bytesAsRuns", facts.bytesAsRuns},
          {"bytesAsBits", facts.bytesAsBits}};
}

void print(const std::string& name, const PageFile& file, const Facts& facts) {
  const RleRect& page = *file.page;
  char size[64] = "";
  if (page.resolution != 0) {
    const double millimetres = 25.4 / page.resolution;
    std::snprintf(size, sizeof size, ", %.1f x %.1f mm", page.width * millimetres,
                  page.height * millimetres);
  }
  const std::string resolution =
      page.resolution == 0 ? "not known" : std::to_string(page.resolution) + " dpi";
  std::string strips;
  if (file.strips != 0)
    strips = ", " + std::to_string(file.strips) + (file.strips == 1 ? " strip" : " strips");
  char text[512];
  std::snprintf(text, sizeof text,
                "  size        %d x %d pixels%s\n"
                "  resolution  %s\n"
                "  runs        %llu, %.1f a row\n"
                "  black       %.2f %%\n"
                "  file        %s, %s%s, %llu bytes\n"
                "  in memory   %llu bytes as runs, %llu bytes as bits\n",
                page.width, page.height, size, resolution.c_str(),
                static_cast<unsigned long long>(facts.runs), double(facts.runs) / page.height,
                100 * blackShare(page, facts), file.format.c_str(), file.compression.c_str(),
                strips.c_str(), static_cast<unsigned long long>(file.byteCount),
                static_cast<unsigned long long>(facts.bytesAsRuns),
                static_cast<unsigned long long>(facts.bytesAsBits));
  std::cout << name << '\n' << text;
}

// A file that cannot be read does not keep the others from being shown.
int info(const Request& request) {
  int status = 0;
  auto list = nlohmann::ordered_json::array();
  for (const std::string& name : request.files) {
    try {
      const PageFile file = readPageFile(name);
      const Facts facts = measure(*file.page);
      if (request.json)
        list.push_back(asJson(name, file, facts));
      else
        print(name, file, facts);
    } catch (const Failure& failure) {
      std::cerr << "rle: " << failure.what() << '\n';
      status = 1;
    }
  }
  // A file name need not be UTF-8; what is not is shown as the replacement character.
  if (request.json)
    std::cout << list.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
  return status;
}

}  // namespace

void addInfoCommand(CLI::App& app, int& status) {
  const auto request = std::make_shared<Request>();
  CLI::App* const command = app.add_subcommand("info", "Say what page files hold");
  command->add_option("FILE", request->files, "Page files")->required()->type_name("");
  command->add_flag("--json", request->json, "Print a JSON array with an object for each file");
  command->footer(
      "For each file: size, resolution, number of runs of black pixels, share of black pixels,\n"
      "format, and the bytes it takes in memory as runs and as packed bits.");
  command->final_callback([request, &status] { status = info(*request); });
}

}  // namespace rle
