// Rows united with others and cut by others.
//
// Whole pages go through here, so valid rows are merged by two loops without branches that the
// processor would have to guess: unite() takes the runs of both rows in order of their starts, and
// subtract() intersects the row's runs with the gaps between the spans to clear. Rows that are not
// valid, which only damaged data has, take the general way of row_edits.h.
//
// In both, the runs of the row that are done and those still to come make up the run count that the
// row would have if the edits so far had been made one by one. It is noted for every span, in the
// place of the span's start, which is not needed any more; the buffer's capacity follows from it.

#include "model/row_merge.h"

#include <algorithm>

namespace rle {
namespace {

// Runs as what they are in memory: a start, an end, a start, an end ...
const uint16_t* edgesOf(const RleRun* runs) { return reinterpret_cast<const uint16_t*>(runs); }

// Whether runs are sorted, not empty, and apart from each other: whether their edges ascend.
bool valid(const RleRun* runs, uint32_t count) {
  const uint16_t* const edges = edgesOf(runs);
  uint16_t wrong = 0;  // as wide as an edge, so that eight are compared at once
  for (uint32_t i = 1; i < 2 * count; ++i) wrong |= uint16_t(edges[i - 1] >= edges[i]);
  return wrong == 0;
}

// A condition that is as often true as not, at random: compilers then calculate with it instead of
// branching.
bool coinToss(bool condition) { return __builtin_expect_with_probability(condition, 1, 0.5) != 0; }

struct Union {
  uint32_t count;  // runs
  uint32_t noted;  // spans with a note; each of the others adds one run
};

// The union of the runs of a row and of spans, as its gaps: gaps[0] lies before its first run,
// gaps[1] after it, and so on; the outer ends of the first and the last gap mean nothing. Both
// lists are valid; spans[-1] exists and is written to.
Union unite(const RleRun* run, const RleRun* runsEnd, RleRun* const spans, const RleRun* spansEnd,
            RleRun* gap) {
  RleRun* span = spans;
  int32_t end = -1;  // of the run that may still grow
  auto count = int32_t(runsEnd - run);
  const RleRun* const firstRun = run;
  while (run != runsEnd && span != spansEnd && run->end < span->start) end = (run++)->end;
  std::copy_n(edgesOf(firstRun), 2 * (run - firstRun), &gap->end);
  gap += run - firstRun;
  while (run != runsEnd && span != spansEnd) {
    const int32_t runStart = run->start;
    const int32_t runEnd = run->end;
    const int32_t spanStart = span->start;
    const int32_t spanEnd = span->end;
    const RleRun* const nextRun = run + 1;
    RleRun* const nextSpan = span + 1;
    const bool takesSpan = spanStart < runStart;
    run = coinToss(takesSpan) ? run : nextRun;
    span = coinToss(takesSpan) ? nextSpan : span;
    const int32_t start = std::min(runStart, spanStart);
    const bool apart = end < start;
    *gap = {uint16_t(end), uint16_t(start)};
    gap += apart;
    end = std::max(end, coinToss(takesSpan) ? spanEnd : runEnd);
    count += int32_t{takesSpan} + int32_t{apart} - 1;
    span[-1].start = uint16_t(count);
  }
  // Only one list has something left, and what it has may lie inside the run that still grows.
  for (; run != runsEnd && run->start <= end; ++run, --count)
    end = std::max<int32_t>(end, run->end);
  span[-1].start = uint16_t(count);
  for (; span != spansEnd && span->start <= end; ++span) {
    end = std::max<int32_t>(end, span->end);
    span->start = uint16_t(count);
  }
  gap->start = uint16_t(end);
  uint16_t* const edges = std::copy_n(edgesOf(run), 2 * (runsEnd - run), &gap->end);
  std::copy_n(edgesOf(span), 2 * (spansEnd - span), edges);
  return {uint32_t(count + (spansEnd - span)), uint32_t(span - spans)};
}

// What spans leave of the runs of a row. The result is the number of runs. Both lists are valid;
// spans[-1] exists, ends at 0 and is written to.
uint32_t subtract(const RleRun* run, const RleRun* runsEnd, RleRun* span, const RleRun* spansEnd,
                  RleRun* left) {
  RleRun* const first = left;
  const RleRun* const firstRun = run;
  while (run != runsEnd && span != spansEnd && run->end < span->start) ++run;
  left = std::copy(firstRun, run, left);
  while (run != runsEnd && span != spansEnd) {  // the run meets the gap before the span
    const RleRun whole = *run;
    const RleRun* const nextRun = run + 1;
    RleRun* const nextSpan = span + 1;
    RleRun& before = span[-1];
    const uint16_t gapEnd = span->start;
    const RleRun piece = {std::max(whole.start, before.end), std::min(whole.end, gapEnd)};
    before.start = uint16_t((left - first) + (runsEnd - run));
    *left = piece;
    left += piece.start < piece.end;
    const bool crossesGap = gapEnd < whole.end;
    run = coinToss(crossesGap) ? run : nextRun;
    span = coinToss(crossesGap) ? nextSpan : span;
  }
  const uint16_t lastEnd = span[-1].end;
  while (run != runsEnd && run->end <= lastEnd) ++run;
  if (run != runsEnd) {
    *left++ = {std::max(run->start, lastEnd), run->end};
    left = std::copy(run + 1, runsEnd, left);
  }
  const auto count = uint32_t(left - first);
  for (--span; span != spansEnd; ++span) span->start = uint16_t(count);
  return count;
}

// Copies edges, each moved by `shift`, while they ascend. False when they do not.
bool copyEdges(const uint16_t* __restrict from, uint32_t count, uint16_t shift,
               uint16_t* __restrict to) {
  uint16_t wrong = 0;
  to[0] = uint16_t(from[0] + shift);
  for (uint32_t i = 1; i < count; ++i) {
    wrong |= uint16_t(from[i - 1] >= from[i]);
    to[i] = uint16_t(from[i] + shift);
  }
  return wrong == 0;
}

// What is to be set or cleared, in columns of the row that is edited.
struct Spans {
  RleRun* first;
  uint32_t count;
  bool valid;
};

// The runs of the source inside the stretch. Their edges are written from `edges` on.
Spans takeRuns(const RleLine& source, const Stretch& stretch, uint16_t* edges) {
  const RleRun* from = source.runs;
  const RleRun* to = from + source.count;
  while (from != to && from->end <= stretch.first) ++from;
  while (from != to && to[-1].start >= stretch.end) --to;
  Spans spans = {reinterpret_cast<RleRun*>(edges), uint32_t(to - from), true};
  if (spans.count == 0) return spans;
  spans.valid = copyEdges(edgesOf(from), 2 * spans.count, stretch.target(0), edges);
  if (from->start < stretch.first) spans.first->start = stretch.target(stretch.first);
  if (to[-1].end > stretch.end) spans.first[spans.count - 1].end = stretch.target(stretch.end);
  return spans;
}

// The gaps of the source inside the stretch: between its two ends, the edges of the runs are those
// of the gaps.
Spans takeGaps(const RleLine& source, const Stretch& stretch, RleRun* room) {
  const Spans runs = takeRuns(source, stretch, &room->end);
  room->start = stretch.target(stretch.first);
  room[runs.count].end = stretch.target(stretch.end);
  Spans gaps = {room, runs.count + 1, runs.valid};
  if (room[gaps.count - 1].start == room[gaps.count - 1].end) --gaps.count;
  if (gaps.count > 0 && room->start == room->end) {
    *gaps.first++ = {0, 0};  // now the slot before the spans
    --gaps.count;
  }
  return gaps;
}

// One merge of valid rows: storage, the capacity to come, and the result.
class Merge {
 public:
  Merge(RleLine& row, const RleLine& source, RunScratch& scratch)
      : row_(row), plan_(row.runs), runs_(row.runs), count_(row.count) {
    const uint32_t mostSpans = source.count + 1U;
    const uint32_t mostRuns = row.count + 1U;
    storage_ = scratch.reserve(1 + mostSpans + mostRuns + 1 + mostRuns + mostSpans);
    if (storage_ == nullptr) return;
    work_ = storage_ + 1 + mostSpans;
    out_ = work_ + mostRuns;
  }

  // Finds the spans to set or clear. False when that cannot be done here.
  bool takeSpans(const RleLine& source, const Stretch& stretch, bool gaps) {
    if (storage_ == nullptr) return false;
    storage_[0] = {0, 0};
    spans_ = gaps ? takeGaps(source, stretch, storage_ + 1)
                  : takeRuns(source, stretch, &storage_[1].start);
    return spans_.valid;
  }

  void clearOne(uint16_t start, uint16_t end) {
    const RleRun* const stop = runs_ + count_;
    const RleRun* first = runs_;
    while (first != stop && first->end < start) ++first;
    const Change change = clearChange(first, stop, start, end);
    RleRun* to = std::copy(runs_, first, work_);
    to = std::copy_n(change.put, change.given, to);
    to = std::copy(first + change.taken, stop, to);
    runs_ = work_;
    count_ = uint32_t(to - work_);
    if (change.fit) plan_.fit(count_);
  }

  void set() {
    RleRun* const first = spans_.first;
    const Union united = unite(runs_, runs_ + count_, first, first + spans_.count, out_);
    fitToNotes(0, united.noted);
    plan_.fitRising(united.count - (spans_.count - united.noted) + 1, united.count);
    count_ = united.count;
    runs_ = reinterpret_cast<const RleRun*>(&out_->end);  // between two gaps lies a run
  }

  void clear() {
    // An edit that changes the run count fits the buffer, and so does one that meets the last run.
    // Edits before the first such one do not. Those after it may as well: to fit a buffer twice to
    // the same count is to fit it once.
    const uint32_t before = count_;
    const uint32_t meetsLast = spanAtEnd();
    RleRun* const first = spans_.first;
    count_ = subtract(runs_, runs_ + count_, first, first + spans_.count, out_);
    runs_ = out_;
    uint32_t j = 0;
    while (j < meetsLast && first[j].start == before) ++j;
    fitToNotes(j, spans_.count);
  }

  // Puts the result into the row, which keeps its former runs when it cannot grow.
  void finish() {
    if (!plan_.carryOut(row_.runs, count_)) return;
    std::copy_n(runs_, count_, row_.runs);
    row_.count = uint16_t(count_);
  }

 private:
  void fitToNotes(uint32_t from, uint32_t to) {
    CapacityPlan plan = plan_;  // a copy stays in a register
    for (uint32_t j = from; j < to; ++j) plan.fit(spans_.first[j].start);
    plan_ = plan;
  }

  // The span that touches or covers the end of the row's last run, or their number.
  uint32_t spanAtEnd() const {
    if (count_ == 0) return spans_.count;
    // Where runs are counted there are some. NOLINTNEXTLINE(clang-analyzer-core.NullDereference)
    const uint16_t end = runs_[count_ - 1].end;
    uint32_t j = spans_.count;
    while (j > 0 && spans_.first[j - 1].end >= end) --j;
    return j < spans_.count && spans_.first[j].start <= end ? j : spans_.count;
  }

  RleLine& row_;
  CapacityPlan plan_;
  const RleRun* runs_;  // the row as it is by now
  uint32_t count_;
  Spans spans_ = {};
  RleRun* storage_ = nullptr;  // a slot before the spans, and the spans
  RleRun* work_ = nullptr;
  RleRun* out_ = nullptr;
};

enum class Paste { Set, Clear, Replace };

// False, with the row as it was, when the rows need the general way.
bool pasteValid(RleLine& row, const RleLine& source, const Stretch& stretch, bool gaps, Paste paste,
                RunScratch& scratch) {
  const bool wraps = stretch.dx + (stretch.end - stretch.first) > 65535;
  if (wraps || &row == &source || !CapacityPlan::alwaysFits()) return false;
  if (paste == Paste::Clear && row.count == 0) return true;
  if (!valid(row.runs, row.count)) return false;
  Merge merge(row, source, scratch);
  if (!merge.takeSpans(source, stretch, gaps)) return false;
  if (paste == Paste::Replace)
    merge.clearOne(stretch.target(stretch.first), stretch.target(stretch.end));
  if (paste == Paste::Clear)
    merge.clear();
  else
    merge.set();
  merge.finish();
  return true;
}

template <class Edits>
void edit(Edits& edits, bool set, uint16_t start, uint16_t end) {
  if (set)
    edits.set(start, end);
  else
    edits.clear(start, end);
}

}  // namespace

void mergeRow(RleLine& row, const RleLine& source, const Stretch& stretch, bool set,
              RunScratch& scratch) {
  if (stretch.end <= stretch.first || source.count == 0) return;
  if (pasteValid(row, source, stretch, false, set ? Paste::Set : Paste::Clear, scratch)) return;
  editRow(row, source, source.count, scratch, [&](auto& edits) {
    forEachRun(source, stretch,
               [&](uint16_t start, uint16_t end) { edit(edits, set, start, end); });
  });
}

void maskRow(RleLine& row, const RleLine& source, const Stretch& stretch, bool set,
             RunScratch& scratch) {
  if (stretch.end <= stretch.first) return;
  if (pasteValid(row, source, stretch, true, set ? Paste::Set : Paste::Clear, scratch)) return;
  editRow(row, source, source.count + 1U, scratch, [&](auto& edits) {
    forEachGap(source, stretch,
               [&](uint16_t start, uint16_t end) { edit(edits, set, start, end); });
  });
}

void replaceRow(RleLine& row, const RleLine& source, const Stretch& stretch, RunScratch& scratch) {
  if (stretch.end <= stretch.first) return;
  if (pasteValid(row, source, stretch, false, Paste::Replace, scratch)) return;
  editRow(row, source, source.count + 1U, scratch, [&](auto& edits) {
    edits.clear(stretch.target(stretch.first), stretch.target(stretch.end));
    forEachRun(source, stretch, [&](uint16_t start, uint16_t end) { edits.set(start, end); });
  });
}

}  // namespace rle
