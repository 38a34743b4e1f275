#include "preview/suggestion.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace preview {

namespace {

bool sameLetter(char a, char b) {
  return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

/// Levenshtein distance: insertions, deletions and substitutions, letters of either case alike.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t substituted = diagonal + (sameLetter(a[i - 1], b[j - 1]) ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, substituted});
    }
  }
  return row.back();
}

}  // namespace

std::string suggestion(std::string_view name, const std::vector<std::string>& candidates) {
  const std::string* nearest = nullptr;
  std::size_t best = std::max<std::size_t>(1, name.size() / 3) + 1;
  for (const std::string& candidate : candidates) {
    const std::size_t d = distance(name, candidate);
    if (d < best) {
      best = d;
      nearest = &candidate;
    }
  }
  return nearest != nullptr ? "; did you mean \"" + *nearest + "\"?" : "";
}

}  // namespace preview
