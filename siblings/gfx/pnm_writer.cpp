// A writer of raw PNM files: P4, P5 and P6.

#include <cstdio>
#include <new>

#include "writer.h"

namespace gfx {
namespace {

class PnmWriter final : public Writer {
 public:
  explicit PnmWriter(RleStream* stream) : Writer(stream) {}

 private:
  uint32_t heldFormat(uint32_t format) const override { return opaqueFormat(format); }

  bool writeHead(const GfxImageDesc& description) override {
    if (rowBytes(description.format, description.width) > INT32_MAX)
      return setLastError("rows of %u pixels are too long", description.width);
    rowSize_ = uint32_t(rowBytes(description.format, description.width));
    const bool bits = description.format == kBilevel;
    paddingBits_ = bits ? rowSize_ * 8 - description.width : 0;
    char head[48];
    const int length = std::snprintf(head, sizeof head, "P%c\n%u %u\n%s",
                                     bits                          ? '4'
                                     : description.format == kGrey ? '5'
                                                                   : '6',
                                     description.width, description.height, bits ? "" : "255\n");
    return writeBytes(stream_, head, uint32_t(length)) || refused();
  }

  bool writeRow(const uint8_t* row) override {
    const int32_t last = row[rowSize_ - 1] >> paddingBits_ << paddingBits_;
    const bool written =
        writeBytes(stream_, row, rowSize_ - 1) && stream_->ops->putByte(stream_, last) != -1;
    return written || refused();
  }

  bool writeTail() override { return true; }

  static bool refused() { return setLastError("the PNM file could not be written"); }

  uint32_t rowSize_ = 0;
  uint32_t paddingBits_ = 0;
};

}  // namespace

Writer* newPnmWriter(RleStream* stream) { return new (std::nothrow) PnmWriter(stream); }

}  // namespace gfx
