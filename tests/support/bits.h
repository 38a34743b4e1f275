#pragma once

#include <cmath>
#include <limits>

namespace test {

inline constexpr float kInf = std::numeric_limits<float>::infinity();
inline constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// Compares as bits: signs of zero count, any NaN equals any other.
template <class T>
bool same(T a, T b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return a == b && std::signbit(a) == std::signbit(b);
}

}  // namespace test
