#pragma once

#include <charconv>
#include <cmath>
#include <span>
#include <string>

namespace preview {

/// The shortest text that reads back as the same number. A NaN has no sign.
template <class T>
std::string text(T number) {
  if (std::isnan(number)) return "nan";
  char buffer[64];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr};
}

/// One number as it is, several as "(x, y, z)".
inline std::string text(std::span<const float> numbers) {
  if (numbers.size() == 1) return text(numbers[0]);
  std::string result;
  for (const float number : numbers) result += (result.empty() ? "(" : ", ") + text(number);
  return result + ")";
}

}  // namespace preview
