// Spans of one row in any order.
//
// A span changes the runs that it meets, those that it touches or overlaps, and no others. So spans
// that meet neither each other nor the same runs can be painted in any order. They are painted from
// left to right, and the runs between them move in blocks:
//
//     row       ..####..##.......###....##########..
//     spans         ######   ##            #####           the third one changes nothing
//     result    ..########...##..###....##########..
//
// Those that do meet are painted one after the other, as they came, into a copy of the few runs
// that they meet. Either way it is known by how much each span changes the number of runs, and so
// what capacity the edits one by one would have left the buffer with.
//
// Where a span falls in a row is a matter of chance, which processors cannot foresee. So what is
// done for every span is calculated without branches.

#include "draw/row_spans.h"

#include <algorithm>
#include <cstring>

#include "model/runs.h"
#include "model/span_edit.h"

namespace rle {
namespace {

constexpr uint32_t kMostSpans = 64;  // at once
constexpr uint32_t kSearches = 4;    // side by side, so that one need not wait for another
static_assert(kMostSpans % kSearches == 0);

constexpr RleRun kNoRun = {0, 0};

// A span that changes the row.
struct Meeting {
  uint32_t order;  // of the span, among those of the row
  uint32_t first;  // run that it meets
  uint32_t stop;   // the first beyond it that it does not meet
  uint16_t start;  // of the span and the runs together
  uint16_t end;
};

// At most kMostSpans edits of one row.
class SpanEdits {
 public:
  SpanEdits(RleLine& row, std::span<const RleRun> spans, bool white)
      : row_(row),
        runs_(row.count > 0 ? row.runs : &kNoRun),
        count_(row.count),
        last_(std::max(count_, 1U) - 1),
        spans_(spans),
        white_(white) {}

  // False, with the row as it was, when the edits need the general way.
  bool make(RunScratch& scratch) {
    if (count_ + spans_.size() > UINT16_MAX) return false;  // more than RleLine::count may hold
    RleRun* const changed = scratch.reserve(count_ + kMostSpans + 1);
    if (changed == nullptr) return false;
    findMeetings();
    const uint32_t begin = meetingCount_ > 0 ? meetings_[0].first : 0;
    uint32_t done = begin;
    RleRun* out = changed;
    for (uint32_t i = 0; i < meetingCount_;) {
      const Meeting& meeting = meetings_[i];
      if (meeting.first < done) return false;  // the row's runs are not in order
      out = std::copy(runs_ + done, runs_ + meeting.first, out);
      // The spans [i, next) meet.
      uint32_t next = i + 1;
      uint16_t end = meeting.end;
      done = meeting.stop;
      for (; next < meetingCount_ && meetings_[next].start <= end; ++next) {
        end = std::max(end, meetings_[next].end);
        done = std::max(done, meetings_[next].stop);
      }
      if (next == i + 1 && !white_) {
        *out++ = {meeting.start, meeting.end};
        changes_[meeting.order] = 1 - int32_t(meeting.stop - meeting.first);
      } else {
        out = makeOneByOne({meetings_ + i, meetings_ + next}, meeting.first, done, out);
      }
      i = next;
    }
    finish(begin, done, {changed, out});
    return true;
  }

 private:
  void findMeetings() {
    uint32_t firstRuns[kMostSpans];
    findFirstRuns(firstRuns);
    uint32_t byStart[kMostSpans];  // starts with orders
    const auto n = uint32_t(spans_.size());
    for (uint32_t i = 0; i < n; ++i) {
      const RleRun span = spans_[i];
      const uint32_t first = firstRuns[i];
      const RleRun run = runs_[std::min(first, last_)];
      const bool isBeyond = first == count_;
      const bool changesRow = white_ ? !isBeyond & (run.start <= span.end)
                                     : isBeyond | (run.start > span.start) | (run.end < span.end);
      byStart[meetingCount_] = uint32_t{span.start} << 16 | i;
      meetingCount_ += changesRow;
      changes_[i] = 0;
      fits_[i] = !white_;
    }
    std::sort(byStart, byStart + meetingCount_);
    for (uint32_t i = 0; i < meetingCount_; ++i) {
      const uint32_t order = byStart[i] & 0xffff;
      meetings_[i] = meet(order, firstRuns[order]);
    }
  }

  // For each span the first run that ends at its start or later.
  void findFirstRuns(uint32_t* firstRuns) const {
    const auto n = uint32_t(spans_.size());
    for (uint32_t i = 0; i < n; i += kSearches) {
      uint16_t starts[kSearches];
      uint32_t found[kSearches] = {};
      for (uint32_t k = 0; k < kSearches; ++k) starts[k] = spans_[std::min(i + k, n - 1)].start;
      for (uint32_t left = count_; left > 0; left /= 2) {
        const uint32_t half = (left + 1) / 2;
        const RleRun* const middle = runs_ + half - 1;
        for (uint32_t k = 0; k < kSearches; ++k)
          found[k] += -uint32_t{middle[found[k]].end < starts[k]} & half;
      }
      std::copy_n(found, kSearches, firstRuns + i);
    }
  }

  Meeting meet(uint32_t order, uint32_t first) const {
    const RleRun span = spans_[order];
    uint32_t stop = first;
    const auto meetsNext = [&] {
      return uint32_t{stop < count_} & uint32_t{runs_[std::min(stop, last_)].start <= span.end};
    };
    stop += meetsNext();
    stop += meetsNext();
    while (meetsNext() != 0) ++stop;  // rarely more than two
    if (stop == first) return {order, first, stop, span.start, span.end};
    return {order, first, stop, std::min(span.start, runs_[first].start),
            std::max(span.end, runs_[stop - 1].end)};
  }

  // Writes what spans make of the runs [first, stop), and returns its end.
  RleRun* makeOneByOne(std::span<Meeting> meetings, uint32_t first, uint32_t stop, RleRun* out) {
    std::sort(meetings.begin(), meetings.end(),
              [](const Meeting& a, const Meeting& b) { return a.order < b.order; });
    // The next run is there too, if there is one: the row's last run is a special case.
    const uint32_t more = stop < count_ ? 1 : 0;
    RleRun* end = std::copy(runs_ + first, runs_ + stop + more, out);
    for (const Meeting& meeting : meetings) {
      const RleRun span = spans_[meeting.order];
      RleRun* place = out;
      while (place != end && place->end < span.start) ++place;
      const Change change = white_ ? clearChange(place, end, span.start, span.end)
                                   : setChange(place, end, span.start, span.end);
      std::memmove(place + change.given, place + change.taken,
                   size_t(end - place - change.taken) * sizeof(RleRun));
      std::copy_n(change.put, change.given, place);
      changes_[meeting.order] = int32_t(change.given) - int32_t(change.taken);
      fits_[meeting.order] = change.fit;
      end += changes_[meeting.order];
    }
    return end - more;
  }

  // Puts `changed` in the place of the runs [begin, done). The row keeps its former runs when it
  // cannot grow.
  void finish(uint32_t begin, uint32_t done, std::span<const RleRun> changed) {
    CapacityPlan plan(row_.runs);
    uint32_t count = count_;
    for (uint32_t i = 0; i < spans_.size(); ++i) {
      count += uint32_t(changes_[i]);
      if (fits_[i]) plan.fit(count);
    }
    const auto moveRest = [&] {
      if (done < count_)
        std::memmove(row_.runs + begin + changed.size(), row_.runs + done,
                     (count_ - done) * sizeof(RleRun));
    };
    if (count < count_) moveRest();
    if (!plan.carryOut(row_.runs, count)) return;
    if (count > count_) moveRest();
    if (!changed.empty()) std::copy(changed.begin(), changed.end(), row_.runs + begin);
    row_.count = uint16_t(count);
  }

  RleLine& row_;
  const RleRun* runs_;  // at least one that can be read
  uint32_t count_;
  uint32_t last_;
  std::span<const RleRun> spans_;
  bool white_;
  uint32_t meetingCount_ = 0;
  Meeting meetings_[kMostSpans];  // from left to right
  int32_t changes_[kMostSpans];   // of the run count, by each span
  bool fits_[kMostSpans];         // whether the buffer is then fitted to the run count
};

}  // namespace

void editSpans(RleLine& row, std::span<const RleRun> spans, bool white, RunScratch& scratch) {
  while (!spans.empty()) {
    const auto some = spans.first(std::min<size_t>(spans.size(), kMostSpans));
    spans = spans.subspan(some.size());
    if (CapacityPlan::alwaysFits() && SpanEdits(row, some, white).make(scratch)) continue;
    editRow(row, uint32_t(some.size()), scratch, [&](auto& edits) {
      for (const RleRun& span : some)
        white ? edits.clear(span.start, span.end) : edits.set(span.start, span.end);
    });
  }
}

}  // namespace rle
