// A row edited in the slow and literal way: every edit searches from the left, and the buffer's
// capacity follows every change of the run count. What the library does in one pass is checked
// against it.

#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "model/runs.h"
#include "rle.h"

namespace rle::test {

struct LiteralRow {
  std::vector<std::pair<int, int>> runs;  // [start, end)
  bool buffer = false;
  uint32_t capacity = 0;

  explicit LiteralRow(const RleLine* line) : buffer(line->runs != nullptr) {
    if (buffer) capacity = capacityOf(line->runs);
    for (int i = 0; i < line->count; ++i) runs.emplace_back(line->runs[i].start, line->runs[i].end);
  }

  bool matches(const RleLine* line) const { return *this == LiteralRow(line); }
  bool operator==(const LiteralRow&) const = default;

  void set(int start, int end) {
    if (start >= end) return;
    size_t i = firstEndingFrom(start);
    if (i == runs.size() || runs[i].first > end) {
      if (runs.size() == 65535) return;
      runs.insert(runs.begin() + std::ptrdiff_t(i), {start, end});
      return fit();
    }
    if (start < runs[i].first) runs[i].first = start;
    while (i + 1 < runs.size() && runs[i + 1].second < end) drop(i + 1);
    if (i + 1 < runs.size() && runs[i + 1].first <= end) {
      runs[i].second = runs[i + 1].second;
      drop(i + 1);
    } else if (runs[i].second < end) {
      runs[i].second = end;
    }
    fit();
  }

  void clear(int start, int end) {
    if (start >= end) return;
    size_t i = firstEndingFrom(start);
    if (i == runs.size() || runs[i].first > end) return;
    if (runs[i].first < start && runs[i].second > end) {
      if (runs.size() == 65535) return;
      runs.insert(runs.begin() + std::ptrdiff_t(i), runs[i]);
      runs[i].second = start;
      runs[i + 1].first = end;
      return fit();
    }
    if (runs[i].first < start) runs[i++].second = start;
    bool deleted = false;
    for (; i < runs.size() && runs[i].second <= end; deleted = true) drop(i);
    if (deleted || i == runs.size()) fit();
    if (i < runs.size() && runs[i].first < end) runs[i].first = end;
  }

 private:
  size_t firstEndingFrom(int x) const {
    size_t i = 0;
    while (i < runs.size() && runs[i].second < x) ++i;
    return i;
  }

  void drop(size_t i) { runs.erase(runs.begin() + std::ptrdiff_t(i)); }

  void fit() {
    const auto count = uint32_t(runs.size());
    if (buffer && capacity >= count && capacity - count > rleRunAllocMaxExtra) return;
    uint32_t extra = (count * rleRunAllocFactor) >> 15;
    if (extra < rleRunAllocMinExtra)
      extra = rleRunAllocMinExtra;
    else if (extra > rleRunAllocMaxExtra)
      extra = rleRunAllocMaxExtra;
    buffer = true;
    capacity = count + extra;
  }
};

}  // namespace rle::test
