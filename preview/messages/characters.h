// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>
#include <vector>

namespace preview {

struct Character {
  char32_t point;
  std::string_view bytes;  ///< in UTF-8
};

/// The characters of a text, which outlives them. A byte that is no UTF-8 counts as U+FFFD.
std::vector<Character> charactersOf(std::string_view text);

}  // namespace preview
