// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>

namespace preview {

/// The length that messages keep to, in characters.
inline constexpr std::size_t kMaxMessage = 200;

/// The characters of a text; what is no UTF-8 becomes U+FFFD.
std::u32string charactersOf(const std::string& text);

/// Any text as messages show it: one line of valid UTF-8 without control characters, its middle
/// left out if it has more than `max` characters.
std::string oneLine(const std::string& text, std::size_t max = kMaxMessage);

/// A name or value from the user within a message.
inline std::string shortened(const std::string& text) { return oneLine(text, 40); }

/// The file that a message is of, in front of it.
inline std::string shownPath(const std::filesystem::path& path) {
  return oneLine(path.string(), 80);
}

}  // namespace preview
