// SPDX-License-Identifier: MIT
#include "preview/diagnostics/suggestion.h"

#include <algorithm>
#include <cctype>

namespace preview {

namespace {

char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

/// How many letters are inserted, left out, mistaken or swapped with their neighbour (the optimal
/// string alignment distance). Either case is the same letter.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        d[i][j] = i + j;
        continue;
      }
      const char ai = lower(a[i - 1]), bj = lower(b[j - 1]);
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (ai == bj ? 0 : 1)});
      if (i > 1 && j > 1 && ai == lower(b[j - 2]) && bj == lower(a[i - 2])) {
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
      }
    }
  }
  return d[a.size()][b.size()];
}

}  // namespace

std::string suggestion(std::string_view name, const std::vector<std::string>& candidates) {
  const std::string* nearest = nullptr;
  std::size_t best = std::max<std::size_t>(1, name.size() / 3) + 1;
  for (const std::string& candidate : candidates) {
    if (name.size() > candidate.size() + best) continue;
    constexpr std::size_t kEnough = 3;  // letters that tell what is meant
    const bool begun = name.size() >= kEnough && candidate.starts_with(name);
    const std::size_t d = begun ? 1 : distance(name, candidate);
    if (d < best) {
      best = d;
      nearest = &candidate;
    }
  }
  return nearest != nullptr ? "; did you mean \"" + *nearest + "\"?" : "";
}

std::string unknown(const std::string& missing, const std::string& name,
                    const std::vector<std::string>& candidates) {
  return missing + " \"" + shortened(name) + "\"" + suggestion(name, candidates);
}

}  // namespace preview
