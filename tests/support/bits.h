#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include "host/types.h"

/// Comparison of results as bits: signs of zero count, any not-a-number equals any other.
namespace test {

inline bool sameBits(float a, float b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}
inline bool sameBits(const QUtils::Vector& a, const QUtils::Vector& b) {
  return sameBits(a.x, b.x) && sameBits(a.y, b.y) && sameBits(a.z, b.z);
}
inline bool sameBits(const QUtils::AColor& a, const QUtils::AColor& b) {
  return sameBits(a.r, b.r) && sameBits(a.g, b.g) && sameBits(a.b, b.b) && sameBits(a.a, b.a);
}

inline std::string show(float value) {
  char text[64];
  std::snprintf(text, sizeof text, "%a (%.9g)", static_cast<double>(value),
                static_cast<double>(value));
  return text;
}
inline std::string show(const QUtils::Vector& v) {
  return std::string("(") + show(v.x) + ", " + show(v.y) + ", " + show(v.z) + ")";
}
inline std::string show(const QUtils::AColor& c) {
  return std::string("(") + show(c.r) + ", " + show(c.g) + ", " + show(c.b) + ", " + show(c.a) +
         ")";
}

/// For EXPECT_TRUE(same(got, expected)).
template <class T>
::testing::AssertionResult same(const T& got, const T& expected) {
  if (sameBits(got, expected)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "got " << show(got) << ", expected " << show(expected);
}

inline constexpr float kInf = std::numeric_limits<float>::infinity();
inline constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// Numbers on which rules about ties, signs, overflow and not-a-numbers are decided.
inline constexpr float kSpecials[] = {0.0F,  -0.0F,  1.0F, -1.0F, 0.5F, 3.0F, -2.5F,      1e-40F,
                                      3e38F, -3e38F, kInf, -kInf, kNaN, 0.1F, 16777217.0F};

/// Seeded numbers; one in four is one of `kSpecials`.
class RandomFloats {
 public:
  explicit RandomFloats(std::uint32_t seed) : engine_(seed) {}

  float next() {
    if (engine_() % 4 == 0) return kSpecials[engine_() % std::size(kSpecials)];
    return std::ldexp(std::uniform_real_distribution<float>(-1, 1)(engine_),
                      static_cast<int>(engine_() % 9) - 4);
  }
  QUtils::Vector nextVector() {
    const float x = next();
    const float y = next();
    return {x, y, next()};
  }
  QUtils::AColor nextColor() {
    const QUtils::Vector v = nextVector();
    return {v.x, v.y, v.z, next()};
  }
  /// True once in `n` on average.
  bool once(unsigned n) { return engine_() % n == 0; }

 private:
  std::mt19937 engine_;
};

}  // namespace test
