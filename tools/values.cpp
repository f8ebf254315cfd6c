// Parsing values of the command line.

#include "values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>

#include "failure.h"

namespace rle {

std::vector<std::string> fields(const std::string& value, size_t count) {
  std::vector<std::string> found;
  size_t end = value.size();
  while (found.size() + 1 < count) {
    const size_t comma = end == 0 ? std::string::npos : value.rfind(',', end - 1);
    if (comma == std::string::npos)
      throw UsageError(std::to_string(count) + " values between commas are wanted");
    found.push_back(value.substr(comma + 1, end - comma - 1));
    end = comma;
  }
  found.push_back(value.substr(0, end));
  std::reverse(found.begin(), found.end());
  return found;
}

int32_t number(const std::string& field, int32_t lowest, int32_t highest) {
  int32_t value = 0;
  const char* const end = field.data() + field.size();
  const auto [rest, error] = std::from_chars(field.data(), end, value);
  if (error == std::errc::invalid_argument || rest != end)
    throw UsageError("'" + field + "' is not a whole number");
  if (error != std::errc() || value < lowest || value > highest)
    throw UsageError(field + " is out of range, " + std::to_string(lowest) + " to " +
                     std::to_string(highest) + " is allowed");
  return value;
}

double decimal(const std::string& field) {
  double value = 0;
  const char* const end = field.data() + field.size();
  const auto [rest, error] = std::from_chars(field.data(), end, value);
  if (error == std::errc::invalid_argument || rest != end)
    throw UsageError("'" + field + "' is not a number");
  if (error != std::errc() || !std::isfinite(value)) throw UsageError(field + " is out of range");
  return value;
}

Rectangle rectangle(std::span<const std::string> corners) {
  const Rectangle area{number(corners[0]), number(corners[1]), number(corners[2]),
                       number(corners[3])};
  if (area.x1 > area.x2 || area.y1 > area.y2)
    throw UsageError("X1,Y1 must not lie right of or below X2,Y2");
  return area;
}

RlePoint point(const std::string& value) {
  const std::vector<std::string> parts = fields(value, 2);
  return {number(parts[0]), number(parts[1])};
}

RlePoint pixel(const std::string& value) {
  const std::vector<std::string> parts = fields(value, 2);
  return {number(parts[0], 0, kMaxSide - 1), number(parts[1], 0, kMaxSide - 1)};
}

int32_t choice(const std::string& word, std::span<const char* const> words, const char* kind) {
  std::string all;
  for (size_t i = 0; i < words.size(); ++i) {
    if (word == words[i]) return int32_t(i);
    all += (i == 0 ? "" : i + 1 == words.size() ? " and " : ", ") + std::string(words[i]);
  }
  throw UsageError("'" + word + "' is not a " + kind + ", " + all + " are");
}

std::vector<std::string> split(const std::string& value, char separator) {
  std::vector<std::string> parts;
  std::istringstream rest(value);
  for (std::string part; std::getline(rest, part, separator);)
    if (!part.empty()) parts.push_back(part);
  return parts;
}

Setting setting(const std::string& text) {
  const size_t equals = text.find('=');
  return {text.substr(0, equals), equals == std::string::npos ? "" : text.substr(equals + 1)};
}

const std::string& fileName(const std::string& field) {
  if (field.empty()) throw UsageError("the file name is missing");
  return field;
}

}  // namespace rle
