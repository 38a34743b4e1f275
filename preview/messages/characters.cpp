// SPDX-License-Identifier: MIT
#include "preview/messages/characters.h"

namespace preview {

namespace {

/// The character at the begin of a text, or one without bytes if that is no valid UTF-8.
Character firstOf(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return {lead, text.substr(0, 1)};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  char32_t point = lead & (0x7FU >> length);
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {};
  for (const char next : text.substr(1, length - 1)) {
    if ((next & 0xC0) != 0x80) return {};
    point = point << 6 | (static_cast<unsigned char>(next) & 0x3FU);
  }
  const bool isOverlong = (length == 3 && point < 0x800) || (length == 4 && point < 0x10000);
  const bool isSurrogate = point >= 0xD800 && point < 0xE000;
  if (isOverlong || isSurrogate || point > 0x10FFFF) return {};
  return {point, text.substr(0, length)};
}

}  // namespace

std::vector<Character> charactersOf(std::string_view text) {
  std::vector<Character> characters;
  while (!text.empty()) {
    const Character first = firstOf(text);
    const bool isValid = !first.bytes.empty();
    characters.push_back(isValid ? first : Character{U'\uFFFD', "\uFFFD"});
    text.remove_prefix(isValid ? first.bytes.size() : 1);
  }
  return characters;
}

}  // namespace preview
