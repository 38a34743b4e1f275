// SPDX-License-Identifier: MIT
#include "preview/messages/one_line.h"

#include <vector>

#include "preview/messages/characters.h"

namespace preview {

namespace {

/// Whether a terminal would do something else than show it: line breaks and changes of the
/// direction of writing, too.
bool isControl(char32_t point) {
  const auto within = [&](char32_t first, char32_t last) {
    return first <= point && point <= last;
  };
  return point < ' ' || within(0x7F, 0x9F) || point == 0x61C || within(0x200E, 0x200F) ||
         within(0x2028, 0x202F) || within(0x2060, 0x206F);
}

}  // namespace

std::string oneLine(const std::string& text, std::size_t max) {
  std::vector<std::string_view> characters;
  for (const auto& [point, bytes] : charactersOf(text)) {
    characters.push_back(isControl(point) ? " " : bytes);
  }
  if (characters.size() > max) {
    constexpr std::string_view kGap = "...";
    const auto kept = static_cast<std::ptrdiff_t>(max - kGap.size());
    const auto middle = characters.begin() + kept / 2;
    *middle = kGap;
    characters.erase(middle + 1, characters.end() - (kept - kept / 2));
  }
  std::string result;
  for (const std::string_view character : characters) result += character;
  return result;
}

}  // namespace preview
