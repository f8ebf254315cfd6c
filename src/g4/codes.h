// The code tables of ITU-T T.4 and T.6, once, as the recommendations print them.
//
// The encoder uses the words as they are; the decoder's lookup tables are derived from them at
// compile time. Every list is checked there to be complete: each sequence of bits starts with
// exactly one of its words, so a mistyped digit does not compile.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace rle::g4 {

// A code word. The first transmitted bit is bit 0, so words are put together and taken apart with
// shifts, whatever the order of bits in the bytes of a file.
struct Word {
  uint16_t bits;
  uint8_t length;
};

consteval Word word(const char* printed) {
  Word result{0, 0};
  for (; *printed != '\0'; ++printed, ++result.length)
    result.bits = uint16_t(result.bits | (*printed == '1' ? 1U << result.length : 0U));
  return result;
}

// ---- Two-dimensional codes (T.6 table 1) --------------------------------------------------------

enum class Mode : uint8_t { Vertical, Pass, Horizontal, Eol, Invalid };

struct ModeCode {
  Word word;
  Mode mode;
  int8_t offset = 0;  // a1 - b1 of a vertical code
};

inline constexpr ModeCode kModeCodes[] = {
    {word("1"), Mode::Vertical, 0},
    {word("011"), Mode::Vertical, 1},
    {word("000011"), Mode::Vertical, 2},
    {word("0000011"), Mode::Vertical, 3},
    {word("010"), Mode::Vertical, -1},
    {word("000010"), Mode::Vertical, -2},
    {word("0000010"), Mode::Vertical, -3},
    {word("0001"), Mode::Pass},
    {word("001"), Mode::Horizontal},
    {word("000000000001"), Mode::Eol},
    // What is left. 0000001 announces extensions, which no page here uses; the others stand for
    // nothing. A decoder gives up at the last bit of these, not before.
    {word("0000001"), Mode::Invalid},
    {word("00000001"), Mode::Invalid},
    {word("000000001"), Mode::Invalid},
    {word("0000000001"), Mode::Invalid},
    {word("00000000001"), Mode::Invalid},
    {word("000000000000"), Mode::Invalid},
};

constexpr Word kPassWord = kModeCodes[7].word;
constexpr Word kHorizontalWord = kModeCodes[8].word;
constexpr Word kEolWord = kModeCodes[9].word;
constexpr int kMaxOffset = 3;  // of a vertical code, to either side

consteval auto verticalWords() {
  std::array<Word, 2 * kMaxOffset + 1> words{};
  for (const ModeCode& code : kModeCodes)
    if (code.mode == Mode::Vertical) words[size_t(code.offset + kMaxOffset)] = code.word;
  return words;
}
inline constexpr auto kVerticalWords = verticalWords();  // indexed by offset + kMaxOffset

// ---- Run lengths (T.4 tables 2, 3a and 3b)
// -------------------------------------------------------

constexpr uint32_t kMakeUpUnit = 64;     // runs from here on start with a make-up code
constexpr uint32_t kLongestRun = 2560;   // that one make-up code stands for
constexpr uint32_t kRunWordCount = 104;  // 64 terminating codes, then 64, 128, ... 2560

// The run length that the word with this index stands for.
constexpr uint32_t runLength(uint32_t index) {
  return index < kMakeUpUnit ? index : (index - kMakeUpUnit + 1) * kMakeUpUnit;
}

// In front of eight zeros lies no run of either colour: an EOL does not fit inside a row's runs.
inline constexpr Word kInvalidRunWord = word("00000000");

using RunWords = std::array<Word, kRunWordCount>;

// clang-format off
inline constexpr const char* kWhiteRuns[] = {
    /*    0 */ "00110101", "000111",   "0111",     "1000",     "1011",     "1100",     "1110",     "1111",
    /*    8 */ "10011",    "10100",    "00111",    "01000",    "001000",   "000011",   "110100",   "110101",
    /*   16 */ "101010",   "101011",   "0100111",  "0001100",  "0001000",  "0010111",  "0000011",  "0000100",
    /*   24 */ "0101000",  "0101011",  "0010011",  "0100100",  "0011000",  "00000010", "00000011", "00011010",
    /*   32 */ "00011011", "00010010", "00010011", "00010100", "00010101", "00010110", "00010111", "00101000",
    /*   40 */ "00101001", "00101010", "00101011", "00101100", "00101101", "00000100", "00000101", "00001010",
    /*   48 */ "00001011", "01010010", "01010011", "01010100", "01010101", "00100100", "00100101", "01011000",
    /*   56 */ "01011001", "01011010", "01011011", "01001010", "01001011", "00110010", "00110011", "00110100",
    /*   64 */ "11011",     "10010",     "010111",    "0110111",   "00110110",  "00110111",
    /*  448 */ "01100100",  "01100101",  "01101000",  "01100111",  "011001100", "011001101",
    /*  832 */ "011010010", "011010011", "011010100", "011010101", "011010110", "011010111",
    /* 1216 */ "011011000", "011011001", "011011010", "011011011", "010011000", "010011001",
    /* 1600 */ "010011010", "011000",    "010011011",
};

inline constexpr const char* kBlackRuns[] = {
    /*    0 */ "0000110111",   "010",          "11",           "10",           "011",          "0011",
    /*    6 */ "0010",         "00011",        "000101",       "000100",       "0000100",      "0000101",
    /*   12 */ "0000111",      "00000100",     "00000111",     "000011000",    "0000010111",   "0000011000",
    /*   18 */ "0000001000",   "00001100111",  "00001101000",  "00001101100",  "00000110111",  "00000101000",
    /*   24 */ "00000010111",  "00000011000",  "000011001010", "000011001011", "000011001100", "000011001101",
    /*   30 */ "000001101000", "000001101001", "000001101010", "000001101011", "000011010010", "000011010011",
    /*   36 */ "000011010100", "000011010101", "000011010110", "000011010111", "000001101100", "000001101101",
    /*   42 */ "000011011010", "000011011011", "000001010100", "000001010101", "000001010110", "000001010111",
    /*   48 */ "000001100100", "000001100101", "000001010010", "000001010011", "000000100100", "000000110111",
    /*   54 */ "000000111000", "000000100111", "000000101000", "000001011000", "000001011001", "000000101011",
    /*   60 */ "000000101100", "000001011010", "000001100110", "000001100111",
    /*   64 */ "0000001111",    "000011001000",  "000011001001",  "000001011011",  "000000110011",
    /*  384 */ "000000110100",  "000000110101",  "0000001101100", "0000001101101", "0000001001010",
    /*  704 */ "0000001001011", "0000001001100", "0000001001101", "0000001110010", "0000001110011",
    /* 1024 */ "0000001110100", "0000001110101", "0000001110110", "0000001110111", "0000001010010",
    /* 1344 */ "0000001010011", "0000001010100", "0000001010101", "0000001011010", "0000001011011",
    /* 1664 */ "0000001100100", "0000001100101",
};

inline constexpr const char* kLongRuns[] = {  // of both colours
    /* 1792 */ "00000001000",  "00000001100",  "00000001101",  "000000010010", "000000010011", "000000010100",
    /* 2176 */ "000000010101", "000000010110", "000000010111", "000000011100", "000000011101", "000000011110",
    /* 2560 */ "000000011111",
};
// clang-format on

template <size_t Count>
consteval RunWords runWords(const char* const (&runs)[Count]) {
  static_assert(Count + std::size(kLongRuns) == kRunWordCount);
  RunWords words{};
  for (size_t i = 0; i < kRunWordCount; ++i)
    words[i] = word(i < Count ? runs[i] : kLongRuns[i - Count]);
  return words;
}

// Indexed by colour: 0 white, 1 black.
inline constexpr RunWords kRunWords[2] = {runWords(kWhiteRuns), runWords(kBlackRuns)};

// ---- Checks
// --------------------------------------------------------------------------------------

constexpr uint32_t kLongestWord = 13;

// How many words of a list (of anything with a Word in it) start each sequence of 13 bits.
template <class List, class GetWord>
consteval bool everySequenceStartsOneWord(const List& list, GetWord getWord, Word oneMore) {
  std::array<uint8_t, 1 << kLongestWord> starts{};
  const auto count = [&](Word w) {
    for (uint32_t sequence = w.bits; sequence < starts.size(); sequence += 1U << w.length)
      ++starts[sequence];
  };
  for (const auto& entry : list) count(getWord(entry));
  if (oneMore.length != 0) count(oneMore);
  for (const uint8_t n : starts)
    if (n != 1) return false;
  return true;
}

static_assert(everySequenceStartsOneWord(kModeCodes, [](const ModeCode& c) { return c.word; }, {}));
static_assert(everySequenceStartsOneWord(
    kRunWords[0], [](Word w) { return w; }, kInvalidRunWord));
static_assert(everySequenceStartsOneWord(
    kRunWords[1], [](Word w) { return w; }, kInvalidRunWord));

}  // namespace rle::g4
