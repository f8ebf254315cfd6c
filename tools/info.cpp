// rle info: what a page file holds and what it weighs.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
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

// A page held in memory.
struct Weight {
  uint64_t runs = 0;
  uint64_t blackPixels = 0;
  uint64_t bytesAsRuns = 0;  // the image, its rows, and their buffers with spare room
  uint64_t bytesAsBits = 0;  // the same page packed eight pixels a byte
};

// The room of a run buffer stands in the word before it, which belongs to it.
uint64_t bufferBytes(const RleRun* runs) {
  if (!runs) return 0;
  const uint32_t slots = reinterpret_cast<const uint32_t*>(runs)[-1];
  return sizeof(uint32_t) + uint64_t{slots} * sizeof(RleRun);
}

Weight weigh(const RleRect& page) {
  Weight weight;
  weight.bytesAsRuns = sizeof(RleRect);
  weight.bytesAsBits = uint64_t{page.height} * ((page.width + 7u) / 8u);
  for (uint32_t y = 0; y < page.height; ++y) {
    const RleLine& row = *page.rows[y];
    weight.runs += row.count;
    weight.bytesAsRuns += sizeof(RleLine*) + sizeof(RleLine) + bufferBytes(row.runs);
    for (uint32_t i = 0; i < row.count; ++i)
      weight.blackPixels += uint64_t{row.runs[i].end} - row.runs[i].start;
  }
  return weight;
}

// What is shown of a file. Only black-and-white pages are held as runs and weighed.
struct Report {
  std::string name;
  FileFacts facts;
  std::optional<Weight> weight;

  double blackShare() const {
    return double(weight->blackPixels) / (double(facts.width) * facts.height);
  }
};

Report examine(const std::string& name) {
  InputFile file(name);
  Report report{name, file.facts(), std::nullopt};
  // Other pages cannot be loaded, but the file is readable all the same.
  if (!report.facts.bilevel || report.facts.xResolution != report.facts.yResolution) return report;
  const OwnedRect page = file.readPage();
  report.facts.width = page->width;
  report.facts.height = page->height;
  report.facts.xResolution = report.facts.yResolution = page->resolution;
  report.weight = weigh(*page);
  return report;
}

nlohmann::ordered_json asJson(const Report& report) {
  const FileFacts& facts = report.facts;
  nlohmann::ordered_json json{
      {"file", report.name},  {"format", facts.format},       {"compression", facts.compression},
      {"pages", facts.pages}, {"fileBytes", facts.byteCount}, {"pixels", facts.pixels},
      {"width", facts.width}, {"height", facts.height},       {"resolution", facts.xResolution}};
  if (facts.yResolution != facts.xResolution) json["yResolution"] = facts.yResolution;
  if (report.weight) {
    json["runs"] = report.weight->runs;
    json["blackShare"] = report.blackShare();
    json["bytesAsRuns"] = report.weight->bytesAsRuns;
    json["bytesAsBits"] = report.weight->bytesAsBits;
  }
  return json;
}

std::string sizeInMillimetres(const FileFacts& facts) {
  if (facts.xResolution == 0 || facts.yResolution == 0) return "";
  char size[64];
  std::snprintf(size, sizeof size, ", %.1f x %.1f mm", facts.width * 25.4 / facts.xResolution,
                facts.height * 25.4 / facts.yResolution);
  return size;
}

std::string resolutionInWords(const FileFacts& facts) {
  if (facts.xResolution == 0 && facts.yResolution == 0) return "not known";
  std::string dpi = std::to_string(facts.xResolution);
  if (facts.yResolution != facts.xResolution) dpi += " x " + std::to_string(facts.yResolution);
  return dpi + " dpi";
}

void print(const Report& report) {
  const FileFacts& facts = report.facts;
  std::cout << report.name << "\n  size        " << facts.width << " x " << facts.height
            << " pixels" << sizeInMillimetres(facts) << ", " << facts.pixels << "\n  resolution  "
            << resolutionInWords(facts) << "\n  file        " << facts.format << ", "
            << facts.compression << ", " << facts.byteCount << " bytes"
            << "\n  pages       " << facts.pages << '\n';
  if (!report.weight) return;
  char text[256];
  std::snprintf(text, sizeof text,
                "  runs        %llu, %.1f a row\n"
                "  black       %.2f %%\n"
                "  in memory   %llu bytes as runs, %llu bytes as bits\n",
                static_cast<unsigned long long>(report.weight->runs),
                double(report.weight->runs) / facts.height, 100 * report.blackShare(),
                static_cast<unsigned long long>(report.weight->bytesAsRuns),
                static_cast<unsigned long long>(report.weight->bytesAsBits));
  std::cout << text;
}

// A file that cannot be read does not keep the others from being shown.
int info(const Request& request) {
  int status = 0;
  auto list = nlohmann::ordered_json::array();
  for (const std::string& name : request.files) {
    try {
      const Report report = examine(name);
      if (request.json)
        list.push_back(asJson(report));
      else
        print(report);
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
      "For each file: size, resolution, format, compression and number of pages; for a page in "
      "black\n"
      "and white also the number of runs of black pixels, the share of black pixels, and the "
      "bytes\n"
      "it takes in memory as runs and as packed bits.");
  command->final_callback([request, &status] { status = info(*request); });
}

}  // namespace rle
