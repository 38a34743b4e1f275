// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace preview {

/// Those names that fit one of the patterns, in which * and ? stand for any letters; all if there
/// are none.
class Selection {
 public:
  /// Throws `InputError` for a pattern that fits none of `names`: `missing`, as in "no picture",
  /// the pattern and a suggestion. `patterns` outlives the object.
  Selection(const std::vector<std::string>& patterns, const char* missing,
            const std::vector<std::string>& names);

  bool has(const std::string& name) const;

 private:
  const std::vector<std::string>& patterns_;
};

}  // namespace preview
