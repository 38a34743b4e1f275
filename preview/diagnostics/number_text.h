// SPDX-License-Identifier: MIT
#pragma once

#include <charconv>
#include <cmath>
#include <string>

namespace preview {

/// The shortest text that reads back as the same number. A NaN has no sign.
template <class T>
std::string numberText(T number) {
  if (std::isnan(number)) return "nan";
  char buffer[64];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr};
}

}  // namespace preview
