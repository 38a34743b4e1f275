#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

/// Comparison of results as bits: signs of zero count, any NaN equals any other.
namespace test {

inline constexpr float kInf = std::numeric_limits<float>::infinity();
inline constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

inline bool sameBits(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return a == b && std::signbit(a) == std::signbit(b);
}

/// For EXPECT_TRUE(same(got, expected)).
inline testing::AssertionResult same(float got, float expected) {
  if (sameBits(static_cast<double>(got), static_cast<double>(expected))) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "got " << got << ", expected " << expected;
}

}  // namespace test
