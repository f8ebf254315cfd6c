// Comparisons: one operation done by rle and by its peers on the same page, in the same run.
//
// A suite is a function that is called once for every page and registers its comparisons. The
// program measures them all with Google Benchmark and prints one table of ratios.

#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

#include "pages.h"

namespace rle::bench {

// The measured loop: `for (auto _ : state) ...`, with what must not count around it.
using Body = std::function<void(benchmark::State&)>;

struct Contender {
  std::string name;
  Body body;
  double aim = 0;  // how many times as fast as this one rle is meant to be; 0 says nothing
};

// Registers an operation on a page: our way and the peers'.
void compare(const std::string& operation, const Page& page, Body ours,
             std::vector<Contender> peers);

// A line printed below the table.
void note(const std::string& text);

// Put one of these at file scope, naming the function that registers the file's comparisons.
struct Suite {
  explicit Suite(void (*add)(const Page& page));
};

}  // namespace rle::bench
