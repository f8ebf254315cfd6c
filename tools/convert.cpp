// rle convert: the command line of conversions, of one file or of many.

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "batch.h"
#include "commands.h"
#include "failure.h"
#include "formats.h"
#include "gfx.h"
#include "new_file.h"
#include "values.h"

namespace rle {
namespace {

struct Request {
  std::vector<std::string> files;
  std::string outDirectory;
  std::string threads;
  std::string format;
  std::string compression;
  std::string group4Size;
  std::vector<Step> steps;
};

constexpr const char* kFooter =
    R"(Reads TIFF, PNG, JPEG, BMP, PNM and native (.rle) files; of a file with several pages, the
first. Operations apply in the order given, each as often as wanted. Columns count from 0 at the
left, rows from 0 at the top; rectangles include both corners and are clipped to the page.
MODE is `replace` (the area becomes the picture), `set` (its black is added) or `clear`
(its black is taken away). OUT may be IN: it is replaced only when everything is written.

A grey or coloured page that is only turned and scaled (by point or min) keeps its colours, unless
the output cannot hold them or --compression is given; else it becomes black and white first.

Examples:
  rle convert page.tif out.tif --blank 100,100,800,220 --frame 12
  rle convert page.png corner.tif --crop 0,0,1199,799
  rle convert page.tif stamped.tif --merge stamp.tif,1500,200,set
  rle convert page.tif out.tif --pattern grey.tif,0,3000,2478,3507,replace
  rle convert page.tif out.tif --polygon "200,100 600,100 400,500;rule=nonzero;colour=0"
  rle convert page.tif upright.pdf --turn -1 --rotate 0.7 --scale 0.5,min
  rle convert photo.jpg small.png --scale 0.25,min
  rle convert page.tif page.rle --set-dpi 300
  rle convert scans/*.png --out-dir archive -j 4)";

void addStep(Request& request, const OperationOption& option, const std::string& value) {
  try {
    request.steps.push_back({option.name, value, option.parse(value)});
  } catch (const UsageError& error) {
    throw UsageError(option.name + (" " + value) + ": " + error.what());
  }
}

// An option's value through its parser, so that a complaint names the option.
template <class Parse>
auto parsed(const char* option, const std::string& value, Parse parse) {
  try {
    return parse(value);
  } catch (const UsageError& error) {
    throw UsageError(option + (" " + value) + ": " + error.what());
  }
}

Group4Size group4Size(const std::string& value) {
  const std::vector<std::string> parts = fields(value, 3);
  return {number(parts[0], 1, kMaxSide), number(parts[1], 1, kMaxSide), number(parts[2], 1, 65535)};
}

Conversion conversionOf(const Request& request, int32_t format) {
  Conversion conversion{request.steps, format, kAnyCompression, std::nullopt};
  if (!request.compression.empty()) {
    if (format != GFX_TIFF) throw UsageError("--compression: only TIFF files have a choice");
    conversion.compression = parsed("--compression", request.compression, compressionCalled);
  }
  if (!request.group4Size.empty())
    conversion.group4 = parsed("--g4-size", request.group4Size, group4Size);
  return conversion;
}

void convertOne(const Request& request) {
  if (request.files.size() != 2)
    throw UsageError(
        "one IN and one OUT are needed, or --out-dir for many (see rle convert --help)");
  const std::string& in = request.files[0];
  const std::string& out = request.files[1];
  const int32_t format =
      request.format.empty() ? formatByName(out) : parsed("--format", request.format, formatCalled);
  requireWritable(out);
  const std::string note = convertFile(conversionOf(request, format), in, out);
  if (!note.empty()) std::cerr << "rle: " << note << '\n';
}

int convertMany(const Request& request) {
  const int32_t format =
      request.format.empty() ? GFX_TIFF : parsed("--format", request.format, formatCalled);
  const unsigned threads =
      request.threads.empty()
          ? std::max(1u, std::thread::hardware_concurrency())
          : unsigned(parsed("-j", request.threads,
                            [](const std::string& value) { return number(value, 1, 1024); }));
  const Conversion conversion = conversionOf(request, format);
  const std::vector<Job> jobs = jobsInto(request.outDirectory, request.files, format);
  std::error_code error;
  std::filesystem::create_directories(request.outDirectory, error);
  if (error) throw Failure(request.outDirectory, error.message());
  return convertAll(conversion, jobs, threads) == 0 ? 0 : 1;
}

}  // namespace

void addConvertCommand(CLI::App& app, int& status) {
  const auto request = std::make_shared<Request>();
  CLI::App* const command =
      app.add_subcommand("convert", "Edit pages and write them to files of another format");
  command->footer(kFooter);
  command->add_option("FILE", request->files, "IN and OUT, or with --out-dir any number of INs")
      ->required()
      ->type_name("");
  const auto addOption = [command](const char* name, std::string& value, const std::string& help,
                                   const char* type) {
    return command->add_option(name, value, help)->type_name(type)->group("Output");
  };
  addOption("--format", request->format,
            "What to write, whatever OUT is named; with --out-dir tiff if not given. One of " +
                formatNames(),
            "NAME");
  addOption("--compression", request->compression,
            "How to compress a TIFF file: " + compressionNames() + "; group4 if not given", "NAME");
  CLI::Option* const directory = addOption(
      "--out-dir", request->outDirectory,
      "Write each IN to this directory, under its own name with the format's extension", "DIR");
  addOption("-j", request->threads, "Threads to work on; as many as processors if not given", "N")
      ->needs(directory);
  command
      ->add_option("--g4-size", request->group4Size,
                   "IN is bare Group 4 data, the first bit of a byte highest, of a page of this "
                   "size")
      ->type_name("WIDTH,HEIGHT,DPI");
  for (const OperationOption& option : operationOptions())
    command
        ->add_option_function<std::string>(
            option.name,
            [request, &option](const std::string& value) { addStep(*request, option, value); },
            option.help)
        ->type_name(option.syntax)
        ->group("Operations")
        ->trigger_on_parse();  // so they are collected in the order given
  command->final_callback([request, &status] {
    if (request->outDirectory.empty())
      convertOne(*request);
    else
      status = convertMany(*request);
  });
}

}  // namespace rle
