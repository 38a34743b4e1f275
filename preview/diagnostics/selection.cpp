// SPDX-License-Identifier: MIT
#include "preview/diagnostics/selection.h"

#include <fnmatch.h>

#include <algorithm>

#include "preview/diagnostics/errors.h"
#include "preview/diagnostics/suggestion.h"

namespace preview {

namespace {

bool fits(const std::string& pattern, const std::string& name) {
  return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
}

}  // namespace

Selection::Selection(const std::vector<std::string>& patterns, const char* missing,
                     const std::vector<std::string>& names)
    : patterns_(patterns) {
  for (const std::string& pattern : patterns) {
    const auto fitsThis = [&](const std::string& name) { return fits(pattern, name); };
    if (std::ranges::none_of(names, fitsThis)) {
      throw InputError(unknown(missing, pattern, names));
    }
  }
}

bool Selection::has(const std::string& name) const {
  const auto fitsName = [&](const std::string& pattern) { return fits(pattern, name); };
  return patterns_.empty() || std::ranges::any_of(patterns_, fitsName);
}

}  // namespace preview
