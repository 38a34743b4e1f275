// SPDX-License-Identifier: MIT
#pragma once

/// In the namespace of the types that the mathematics serves, as all of it.
namespace QUtils {

/// The smaller of two numbers: the second one when they tie or when either is NaN. The
/// order of the operands, and of nested calls, is part of every result.
template <class T>
constexpr T min(T x, T y) {
  return x < y ? x : y;
}

/// The greater of two numbers, with the same rule.
template <class T>
constexpr T max(T x, T y) {
  return x > y ? x : y;
}

}  // namespace QUtils
