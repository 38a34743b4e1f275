// SPDX-License-Identifier: MIT
#include "preview/diagnostics/one_line.h"

#include <utf8.h>

#include <algorithm>

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

std::u32string charactersOf(const std::string& text) {
  return utf8::utf8to32(utf8::replace_invalid(text));
}

std::string oneLine(const std::string& text, std::size_t max) {
  std::u32string characters = charactersOf(text);
  std::ranges::replace_if(characters, isControl, U' ');
  if (characters.size() > max) {
    constexpr std::u32string_view kGap = U"...";
    const std::size_t kept = max - kGap.size();
    characters.replace(kept / 2, characters.size() - kept, kGap);
  }
  return utf8::utf32to8(characters);
}

}  // namespace preview
