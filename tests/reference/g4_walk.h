// Group 4 decoding step by step, as T.6 describes them: bits one at a time through the
// code trees, lists of changing elements, the reference scanned forward and stepped back.

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "rle.h"

namespace rle::test {

struct Decoded {
  bool complete = false;                    // the second EOL came
  size_t bytesRead = 0;                     // one more than there are when the end was met
  std::vector<std::vector<uint16_t>> rows;  // changing elements, in pairs
};

Decoded walkDecode(const std::vector<uint8_t>& bytes, int width, bool lsbFirst);

}  // namespace rle::test
