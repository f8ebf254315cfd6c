// rle convert: reads a page, applies operations in the order of the command line, writes it.

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "operations.h"
#include "page_file.h"

namespace rle {
namespace {

struct Step {
  std::string asGiven;  // as on the command line, for messages
  Operation apply;
};

struct Conversion {
  std::string in;
  std::string out;
  std::vector<Step> steps;
};

constexpr const char* kFooter =
    R"(Operations apply in the order given, each as often as wanted. Columns count from 0 at the
left, rows from 0 at the top; rectangles include both corners and are clipped to the page.
MODE is `replace` (the area becomes the picture), `set` (its black is added) or `clear`
(its black is taken away). OUT may be IN: it is replaced only when everything is written.

Examples:
  rle convert page.tif out.tif --blank 100,100,800,220 --frame 12
  rle convert page.tif corner.tif --crop 0,0,1199,799
  rle convert page.tif stamped.tif --merge stamp.tif,1500,200,set
  rle convert page.tif out.tif --pattern grey.tif,0,3000,2478,3507,replace
  rle convert page.tif out.tif --polygon "200,100 600,100 400,500;rule=nonzero;colour=0"
  rle convert page.tif upright.tif --turn -1 --rotate 0.7 --scale 0.5,min
  rle convert page.tif page.rle --set-dpi 300)";

void addStep(Conversion& conversion, const OperationOption& option, const std::string& value) {
  const std::string asGiven = option.name + (" " + value);
  try {
    conversion.steps.push_back({asGiven, option.parse(value)});
  } catch (const UsageError& error) {
    throw UsageError(asGiven + ": " + error.what());
  }
}

void convert(const Conversion& conversion) {
  checkWritable(conversion.out);
  OwnedRect page = readPageFile(conversion.in).page;
  for (const Step& step : conversion.steps) {
    const std::string reason = step.apply(page);
    if (!reason.empty()) throw Failure(conversion.in, step.asGiven + ": " + reason);
  }
  writePageFile(conversion.out, *page);
}

}  // namespace

void addConvertCommand(CLI::App& app) {
  const auto conversion = std::make_shared<Conversion>();
  CLI::App* const command = app.add_subcommand("convert", "Edit a page and write it to a file");
  command->footer(kFooter);
  command->add_option("IN", conversion->in, "The page file to read")->required()->type_name("");
  command->add_option("OUT", conversion->out, "The page file to write, named .tif, .tiff or .rle")
      ->required()
      ->type_name("");
  for (const OperationOption& option : operationOptions())
    command
        ->add_option_function<std::string>(
            option.name,
            [conversion, &option](const std::string& value) {
              addStep(*conversion, option, value);
            },
            option.help)
        ->type_name(option.syntax)
        ->group("Operations")
        ->trigger_on_parse();  // so they are collected in the order given
  command->final_callback([conversion] { convert(*conversion); });
}

}  // namespace rle
