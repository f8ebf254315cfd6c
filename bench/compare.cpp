// Measuring and the table.

#include "compare.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>

namespace rle::bench {
namespace {

struct Comparison {
  std::string operation;
  std::string page;
  std::string ours;  // names that Google Benchmark knows the contenders by
  struct Peer {
    std::string name;
    std::string benchmark;
    double aim;
  };
  std::vector<Peer> peers;
};

std::vector<Comparison>& comparisons() {
  static std::vector<Comparison> all;
  return all;
}

std::vector<std::string>& notes() {
  static std::vector<std::string> all;
  return all;
}

std::vector<void (*)(const Page&)>& suites() {
  static std::vector<void (*)(const Page&)> all;
  return all;
}

std::string registerBody(const std::string& operation, const Page& page, const std::string& who,
                         Body body) {
  const std::string name = operation + "|" + page.name + "|" + who;
  benchmark::RegisterBenchmark(name.c_str(), std::move(body))
      ->Repetitions(5)
      ->ReportAggregatesOnly()
      ->MinTime(0.1)
      ->Unit(benchmark::kMillisecond);
  return name;
}

// Keeps the median and the spread of each benchmark.
class Collector : public benchmark::BenchmarkReporter {
 public:
  struct Figure {
    double milliseconds = 0;
    double spread = 0;  // standard deviation over mean
  };

  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred)
        std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
      if (run.run_type != Run::RT_Aggregate) continue;
      const std::string& name = run.run_name.function_name;
      if (run.aggregate_name == "median") figures_[name].milliseconds = run.GetAdjustedCPUTime();
      if (run.aggregate_name == "cv") figures_[name].spread = run.cpu_accumulated_time;
    }
    std::fputc('.', stderr);
  }

  // Null for a benchmark that a filter left out.
  const Figure* find(const std::string& name) const {
    const auto found = figures_.find(name);
    return found == figures_.end() ? nullptr : &found->second;
  }

 private:
  std::map<std::string, Figure> figures_;
};

std::string machine() {
  std::ifstream cpuinfo("/proc/cpuinfo");
  for (std::string text; std::getline(cpuinfo, text);)
    if (text.starts_with("model name")) return text.substr(text.find(':') + 2);
  return "unknown processor";
}

void printTable(const Collector& collector) {
  std::printf("Measured on %s, compiled by %s. Medians of 5; ± is the standard deviation.\n\n",
              machine().c_str(), __VERSION__);
  std::printf("| operation | page | rle, ms | beside | its ms | times as fast | aim |\n");
  std::printf("|---|---|--:|---|--:|--:|--:|\n");
  for (const Comparison& comparison : comparisons()) {
    const auto* ours = collector.find(comparison.ours);
    if (ours == nullptr) continue;
    for (const auto& peer : comparison.peers) {
      const auto* theirs = collector.find(peer.benchmark);
      if (theirs == nullptr) continue;
      std::printf("| %s | %s | %.3g ± %.0f %% | %s | %.3g ± %.0f %% | %.1f |",
                  comparison.operation.c_str(), comparison.page.c_str(), ours->milliseconds,
                  100 * ours->spread, peer.name.c_str(), theirs->milliseconds, 100 * theirs->spread,
                  theirs->milliseconds / ours->milliseconds);
      if (peer.aim > 0)
        std::printf(" %g |\n", peer.aim);
      else
        std::printf(" |\n");
    }
  }
  for (const std::string& text : notes()) std::printf("\n%s\n", text.c_str());
}

std::string shortNumber(double value) {
  char text[32];
  std::snprintf(text, sizeof text, value < 10 ? "%.2g" : "%.0f", value);
  return text;
}

// The ratios alone: a row for an operation and a peer, a column for a page.
void printSummary(const Collector& collector) {
  std::vector<std::string> pages;
  std::vector<std::pair<std::string, std::string>> rows;
  std::map<std::pair<std::string, std::string>, std::map<std::string, std::string>> cells;
  for (const Comparison& comparison : comparisons()) {
    const auto* ours = collector.find(comparison.ours);
    for (const auto& peer : comparison.peers) {
      const auto* theirs = collector.find(peer.benchmark);
      if (ours == nullptr || theirs == nullptr) continue;
      const double ratio = theirs->milliseconds / ours->milliseconds;
      std::string cell = shortNumber(ratio);
      if (peer.aim > 0) cell += " (" + shortNumber(peer.aim) + ")";
      const std::pair row(comparison.operation, peer.name);
      if (!cells.contains(row)) rows.push_back(row);
      if (std::ranges::find(pages, comparison.page) == pages.end())
        pages.push_back(comparison.page);
      cells[row][comparison.page] = std::move(cell);
    }
  }
  std::printf(
      "\nTimes as fast as the peer, in brackets what is aimed at:\n\n| operation | beside |");
  for (const std::string& page : pages) std::printf(" %s |", page.c_str());
  std::printf("\n|---|---|");
  for (size_t i = 0; i < pages.size(); ++i) std::printf("--:|");
  for (const auto& row : rows) {
    std::printf("\n| %s | %s |", row.first.c_str(), row.second.c_str());
    for (const std::string& page : pages) std::printf(" %s |", cells[row][page].c_str());
  }
  std::printf("\n");
}

}  // namespace

void compare(const std::string& operation, const Page& page, Body ours,
             std::vector<Contender> peers) {
  Comparison comparison{
      operation, page.name, registerBody(operation, page, "rle", std::move(ours)), {}};
  for (Contender& peer : peers)
    comparison.peers.push_back(
        {peer.name, registerBody(operation, page, peer.name, std::move(peer.body)), peer.aim});
  comparisons().push_back(std::move(comparison));
}

void note(const std::string& text) { notes().push_back(text); }

Suite::Suite(void (*add)(const Page& page)) { suites().push_back(add); }

}  // namespace rle::bench

// rle_bench [--benchmark_filter=REGEX] [PAGE...]: without pages, the shipped text page, a halftone
// and a wide sheet.
int main(int argc, char** argv) {
  using namespace rle::bench;
  benchmark::Initialize(&argc, argv);
  std::vector<std::unique_ptr<Page>> pages;
  for (int i = 1; i < argc; ++i) pages.push_back(loadPage(argv[i]));
  if (pages.empty()) {
    pages.push_back(loadPage(RLE_TEXT_PAGE));
    if (pages[0] != nullptr) {
      pages[0]->name = "text";
      pages.push_back(halftonePage());
      pages.push_back(sheetPage(*pages[0]));
    }
  }
  for (const auto& page : pages) {
    if (page == nullptr) return 1;
    note(page->name + ": " + std::to_string(page->width) + " x " + std::to_string(page->height) +
         " pixels, " + std::to_string(page->runs()) + " runs; " +
         std::to_string(page->runBytes() / 1000) + " KB held as runs, " +
         std::to_string(page->bits.size() / 1000) + " KB as bits.");
    for (const auto add : suites()) add(*page);
  }
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  std::fputc('\n', stderr);
  printTable(collector);
  printSummary(collector);
  return 0;
}
