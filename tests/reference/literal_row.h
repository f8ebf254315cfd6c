// A row edited in the slow and literal way: every edit searches from the left, and the buffer's
// capacity follows every change of the run count. What the library does in one pass is checked
// against it.

#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "model/runs.h"
#include "rle.h"

namespace rle::test {

struct LiteralRow {
  std::vector<std::pair<int, int>> runs;  // [start, end)
  int64_t capacity = -1;                  // no buffer

  explicit LiteralRow(const RleLine* line) {
    if (line->runs != nullptr) capacity = capacityOf(line->runs);
    for (int i = 0; i < line->count; ++i) runs.emplace_back(line->runs[i].start, line->runs[i].end);
  }

  bool matches(const RleLine* line) const { return *this == LiteralRow(line); }
  bool operator==(const LiteralRow&) const = default;

  void edit(bool set, int start, int end) {
    auto run = runs.begin();
    while (run != runs.end() && run->second < start) ++run;
    const bool misses = run == runs.end() || run->first > end;
    const bool splits = !set && !misses && run->first < start && run->second > end;
    const bool full = runs.size() == 65535;
    if (start >= end || (misses && (!set || full)) || (splits && full)) return;
    if (misses) {
      runs.insert(run, {start, end});
    } else if (splits) {
      run = runs.insert(run, *run);
      run[0].second = start;
      run[1].first = end;
    } else if (set) {
      auto next = run + 1;
      while (next != runs.end() && next->second < end) next = runs.erase(next);
      *run = {std::min(run->first, start), std::max(run->second, end)};
      if (next != runs.end() && next->first <= end) {
        run->second = next->second;
        runs.erase(next);
      }
    } else {
      if (run->first < start) (run++)->second = start;
      const size_t before = runs.size();
      while (run != runs.end() && run->second <= end) run = runs.erase(run);
      if (run != runs.end()) run->first = std::max(run->first, end);
      if (run != runs.end() && runs.size() == before) return;
    }
    fit();
  }

 private:
  void fit() {
    const auto count = uint32_t(runs.size());
    if (capacity >= count && capacity - count > rleRunAllocMaxExtra) return;
    uint32_t extra = std::min((count * rleRunAllocFactor) >> 15, rleRunAllocMaxExtra);
    if ((count * rleRunAllocFactor) >> 15 < rleRunAllocMinExtra) extra = rleRunAllocMinExtra;
    capacity = int64_t{count} + extra;
  }
};

}  // namespace rle::test
