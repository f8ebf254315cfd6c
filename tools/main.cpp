// The program `rle`: looks at page files and edits them. This file reads the command line and
// turns every failure into one line on standard error; each command has a file of its own.

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <memory>
#include <new>

#include "commands.h"
#include "failure.h"

namespace rle {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

int complain(const std::string& message, int status) {
  std::cerr << "rle: " << message << '\n';
  return status;
}

int run(int argc, char** argv) {
  int status = 0;
  CLI::App app("Looks at scanned black-and-white pages and edits them.", "rle");
  app.set_version_flag("--version", "rle " RLE_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.require_subcommand(1);
  app.get_formatter()->column_width(32);
  app.footer(
      "Files are TIFF, PNG, JPEG, BMP or PNM files, or hold the runs of a page in the native "
      "format,\n"
      "named .rle; on reading, what a file holds decides.\n"
      "Exit status: 0 done, 1 a file could not be read, treated or written, 2 wrong usage.\n"
      "`rle COMMAND --help` says more about a command.");
  addInfoCommand(app, status);
  addConvertCommand(app, status);
  addViewCommand(app);
  addComponentCommand(app);
  addNearestCommand(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    return complain(std::string(error.what()) + " (see rle --help)", kWrongUsage);
  }
  return status;
}

int runAndReport(int argc, char** argv) {
  try {
    const int status = run(argc, argv);
    if (!std::cout.flush()) return complain("standard output: cannot be written", kFailed);
    return status;
  } catch (const UsageError& error) {
    return complain(error.what(), kWrongUsage);
  } catch (const std::bad_alloc&) {
    return complain("out of memory", kFailed);
  } catch (const std::exception& error) {
    return complain(error.what(), kFailed);
  }
}

}  // namespace
}  // namespace rle

int main(int argc, char** argv) { return rle::runAndReport(argc, argv); }
