// SPDX-License-Identifier: MIT
#include "preview/messages/one_line.h"

#include <vector>

namespace preview {

namespace {

/// The bytes of the character at the begin of `text`, or 0 if they are no valid UTF-8.
std::size_t lengthOfFirst(std::string_view text) {
  const auto byte = [&](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
  };
  const unsigned first = byte(0), second = byte(1);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return 0;
  }
  const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool surrogate = first == 0xED && second >= 0xA0;
  return overlong || surrogate || (first == 0xF4 && second >= 0x90) ? 0 : length;
}

/// Whether a terminal would do something else than show it: line breaks and changes of the
/// direction of writing, too. UTF-8 sorts as the characters' numbers do.
bool isControl(std::string_view character) {
  const auto within = [&](std::string_view first, std::string_view last) {
    return first <= character && character <= last;
  };
  return character < " " || within("\x7F", "\xC2\x9F") || within("\u2028", "\u202F") ||
         within("\u2060", "\u206F");
}

}  // namespace

std::string oneLine(const std::string& text, std::size_t max) {
  std::vector<std::string_view> characters;
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t length = lengthOfFirst(rest);
    const std::string_view character = length == 0 ? "\uFFFD" : rest.substr(0, length);
    characters.push_back(isControl(character) ? " " : character);
    rest.remove_prefix(length == 0 ? 1 : length);
  }
  constexpr std::string_view kGap = "...";
  const std::size_t kept = characters.size() <= max ? characters.size() : max - kGap.size();
  const std::size_t begin = characters.size() <= max ? kept : kept / 2;
  std::string result;
  for (std::size_t i = 0; i < begin; ++i) result += characters[i];
  if (kept < characters.size()) result += kGap;
  for (std::size_t i = characters.size() - (kept - begin); i < characters.size(); ++i) {
    result += characters[i];
  }
  return result;
}

}  // namespace preview
