#include "reference/g4_walk.h"

#include <algorithm>
#include <memory>
#include <span>

#include "g4/codes.h"

namespace rle::test {
namespace {

using g4::Mode;
using g4::Word;

using Elements = std::vector<uint16_t>;

constexpr size_t kBuffer = 51600;

struct Node {
  int leaf = -1;  // number of the code word that ends here; the invalid run word comes last
  std::unique_ptr<Node> child[2];

  void add(Word word, int number) {
    Node* at = this;
    for (int i = 0; i < word.length; ++i) {
      auto& next = at->child[word.bits >> i & 1];
      if (!next) next = std::make_unique<Node>();
      at = next.get();
    }
    at->leaf = number;
  }
};

Node runTree(std::span<const Word> words) {
  Node root;
  int number = 0;
  for (const Word word : words) root.add(word, number++);
  root.add(g4::kInvalidRunWord, number);
  return root;
}

class Walk {
 public:
  Walk(const std::vector<uint8_t>& bytes, int width, bool lsbFirst)
      : bytes_(bytes), width_(width), lsbFirst_(lsbFirst) {}

  Decoded run() {
    while (step()) {
    }
    return std::move(out_);
  }

 private:
  // The leaf that the next bits lead to, or -1.
  int leaf(const Node& root) {
    const Node* at = &root;
    while (at->leaf < 0) {
      if (bitsLeft_ == 0) {
        if (++out_.bytesRead > bytes_.size()) return -1;
        byte_ = bytes_[out_.bytesRead - 1];
        bitsLeft_ = 8;
      }
      --bitsLeft_;
      at = at->child[byte_ >> (lsbFirst_ ? 7 - bitsLeft_ : bitsLeft_) & 1].get();
    }
    return at->leaf;
  }

  void takeReference() {
    b1_ = consumed_ < reference_.size() ? reference_[consumed_++] : width_;
    parity_ = !parity_;
  }

  bool store() {
    coding_.push_back(uint16_t(std::min(a0_, width_)));
    return coding_.size() < kBuffer;
  }

  void endRow() {
    if (coding_.size() % 2 != 0) coding_.pop_back();
    out_.rows.push_back(coding_);
    reference_ = std::move(coding_);
    coding_.clear();
    a0_ = b1_ = -1;
    colour_ = parity_ = false;
    consumed_ = 0;
  }

  bool vertical(int offset) {
    while (b1_ <= a0_) takeReference();
    if (parity_ == colour_) takeReference();
    a0_ = std::max(b1_ + offset, a0_ + 1);
    colour_ = !colour_;
    if (!store()) return false;
    if (offset <= -2) {
      b1_ = consumed_ < 2 ? -1 : reference_[consumed_ - 2];
      consumed_ = consumed_ < 2 ? 0 : consumed_ - 1;
      parity_ = consumed_ % 2 != 0;
    }
    if (a0_ >= width_) endRow();
    return true;
  }

  void pass() {
    while (b1_ <= a0_) takeReference();
    if (parity_ == colour_) {
      if (consumed_ < reference_.size()) ++consumed_;
      parity_ = !parity_;
    }
    takeReference();
    a0_ = b1_;
    if (a0_ >= width_) endRow();
  }

  bool horizontal() {
    static const Node trees[2] = {runTree(g4::kRunWords[0]), runTree(g4::kRunWords[1])};
    for (bool first : {true, false}) {
      int length = 0;
      do {
        const int number = leaf(trees[colour_ ? 1 : 0]);
        if (number < 0 || number == int(g4::kRunWordCount)) return false;
        length = int(g4::runLength(uint32_t(number)));
        a0_ = a0_ == -1 ? length : std::min(a0_ + length, 1 << 28);
      } while (length >= 64);
      colour_ = !colour_;
      if (coding_.empty() || coding_.back() != std::min(a0_, width_))
        if (!store()) return false;
      if (!first && a0_ >= width_) endRow();
    }
    return true;
  }

  bool step() {
    static const Node tree = [] {
      Node root;
      int number = 0;
      for (const auto& code : g4::kModeCodes) root.add(code.word, number++);
      return root;
    }();
    const int number = leaf(tree);
    if (number < 0) return false;
    const auto& code = g4::kModeCodes[number];
    switch (code.mode) {
      case Mode::Vertical:
        return vertical(code.offset);
      case Mode::Pass:
        pass();
        return true;
      case Mode::Horizontal:
        return horizontal();
      case Mode::Eol:
        out_.complete = eolSeen_;
        eolSeen_ = true;
        return !out_.complete;
      case Mode::Invalid:
        break;
    }
    return false;
  }

  const std::vector<uint8_t>& bytes_;
  int width_;
  bool lsbFirst_;
  Decoded out_;
  Elements reference_, coding_;
  int a0_ = -1, b1_ = -1;
  bool colour_ = false, parity_ = false;
  size_t consumed_ = 0;
  bool eolSeen_ = false;
  uint8_t byte_ = 0;
  int bitsLeft_ = 0;
};

}  // namespace

Decoded walkDecode(const std::vector<uint8_t>& bytes, int width, bool lsbFirst) {
  return Walk(bytes, width, lsbFirst).run();
}

}  // namespace rle::test
