// What instances of every kind have in common: the three operations of the public record, and the
// order in which they may be called.
//
//     made --begin--> begun --process, `height` times--> --end--> released
//
// A begin or process that fails is final, and so is a process too many; only `end` does anything
// then. Kinds of instances override start(), row() and finish().

#pragma once

#include <cstdint>
#include <memory>

#include "gfx.h"
#include "last_error.h"

namespace gfx {

class Instance : public GfxInstance {
 public:
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;
  virtual ~Instance() = default;

 protected:
  enum class Rows { Counted, Any };  // whether the description's height limits the rows

  explicit Instance(Rows rows = Rows::Counted)
      : GfxInstance{[](GfxInstance* self, GfxImageDesc* description) {
                      return of(self).beginOnce(*description);
                    },
                    [](GfxInstance* self, uint8_t* row) { return of(self).nextRow(row); },
                    [](GfxInstance* self) { return of(self).endAndRelease(); }},
        rows_(rows) {}

  // Readers and wrappers fill the description, writers take it. It has a height afterwards.
  virtual bool start(GfxImageDesc& description) = 0;

  // Called at most `height` times where rows are counted.
  virtual bool row(uint8_t* row) = 0;

  // `complete` is false when something failed before, or `begin` never came.
  virtual bool finish(bool complete) = 0;

  // Rows that are still to come.
  uint32_t rowsLeft() const { return rowsLeft_; }

 private:
  enum class State { Made, Begun, Failed };

  static Instance& of(GfxInstance* self) { return *static_cast<Instance*>(self); }

  int32_t beginOnce(GfxImageDesc& description) {
    if (state_ != State::Made) return fail("begun twice");
    if (!start(description)) return fail();
    state_ = State::Begun;
    rowsLeft_ = description.height;
    return 1;
  }

  int32_t nextRow(uint8_t* bytes) {
    if (state_ != State::Begun) return fail("a row before begin or after a failure");
    if (rows_ == Rows::Counted && rowsLeft_ == 0) return fail("a row more than the image has");
    if (!row(bytes)) return fail();
    if (rowsLeft_ > 0) --rowsLeft_;
    return 1;
  }

  int32_t endAndRelease() {
    const bool done = finish(state_ == State::Begun);
    delete this;
    return done ? 1 : 0;
  }

  int32_t fail() {
    state_ = State::Failed;
    return 0;
  }
  int32_t fail(const char* misuse) {
    if (state_ != State::Failed) setLastError("%s", misuse);  // else the reason is already there
    return fail();
  }

  Rows rows_;
  State state_ = State::Made;
  uint32_t rowsLeft_ = 0;
};

struct EndInstance {
  void operator()(GfxInstance* instance) const { instance->end(instance); }
};
using OwnedInstance = std::unique_ptr<GfxInstance, EndInstance>;

}  // namespace gfx
