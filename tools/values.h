// Values of the command line: numbers, points, rectangles, file names. All throw UsageError.

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "rle.h"

namespace rle {

inline constexpr int32_t kMaxSide = 65535;  // of a page, in pixels

struct Rectangle {
  int32_t x1, y1, x2, y2;  // corners, both included
};

// The last `count` fields between commas. A file name comes first and may have commas of its own.
std::vector<std::string> fields(const std::string& value, size_t count);

int32_t number(const std::string& field, int32_t lowest = INT32_MIN, int32_t highest = INT32_MAX);

// A finite number, with or without a fraction.
double decimal(const std::string& field);

Rectangle rectangle(std::span<const std::string> corners);

// "X,Y", anywhere in the plane.
RlePoint point(const std::string& value);

// "X,Y", where a page can have a pixel.
RlePoint pixel(const std::string& value);

// The place of `word` among `words`. `kind` says in messages what the words are.
int32_t choice(const std::string& word, std::span<const char* const> words, const char* kind);

// What is not empty between single `separator`s.
std::vector<std::string> split(const std::string& value, char separator);

// "NAME=VALUE". Without the sign the value is empty.
struct Setting {
  std::string name, value;
};
Setting setting(const std::string& text);

const std::string& fileName(const std::string& field);

}  // namespace rle
