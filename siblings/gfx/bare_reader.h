// Readers of data without a head: the caller says what the image is and how many rows there are.

#pragma once

#include "instance.h"

namespace gfx {

class BareReader : public Instance {
 protected:
  BareReader(const GfxImageDesc& description, uint32_t rows)
      : Instance(Rows::Any), description_(description), rows_(rows) {}

  // Reads the next row, `rowsRead()` rows after the first.
  virtual bool readRow(uint8_t* row) = 0;

  const GfxImageDesc& description() const { return description_; }
  uint32_t rowsRead() const { return read_; }

 private:
  bool start(GfxImageDesc& description) final {
    description = description_;
    return true;
  }

  bool row(uint8_t* row) final {
    if (read_ == rows_) return setLastError("a row more than the %u of the data", rows_);
    if (!readRow(row)) return false;
    ++read_;
    return true;
  }

  // What could not be read has been told by a row that failed.
  bool finish(bool) final { return true; }

  GfxImageDesc description_;
  uint32_t rows_;  // of the data, whatever the height says
  uint32_t read_ = 0;
};

}  // namespace gfx
