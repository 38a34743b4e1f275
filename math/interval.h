// SPDX-License-Identifier: MIT
#pragma once

#include "math/minmax.h"

/// Bounds as values. An operation on two ranges is bounded by its results at the four corners; it
/// is not known to enclose every value, and nothing treats a divisor range around 0 specially.
namespace QUtils {

/// A lower and an upper bound. Nothing orders them.
template <class T>
struct Range {
  T lo, hi;
};

using Interval = Range<float>;

template <class T>
constexpr void store(Range<T> range, T& min, T& max) {
  min = range.lo;
  max = range.hi;
}

/// The extremes of `op` at the corners, compared in a chain from (lo, lo) up to (hi, hi).
template <class A, class B, class Op>
constexpr auto chainedCorners(const Range<A>& a, const Range<B>& b, Op op) {
  using Result = decltype(op(a.lo, b.lo));
  const Result ll = op(a.lo, b.lo);
  const Result lh = op(a.lo, b.hi);
  const Result hl = op(a.hi, b.lo);
  const Result hh = op(a.hi, b.hi);
  return Range<Result>{min(hh, min(hl, min(lh, ll))), max(hh, max(hl, max(lh, ll)))};
}

/// The extremes of four numbers, compared in two pairs. Differs from a chain in ties between zeros
/// and where one is NaN.
template <class T>
constexpr Range<T> pairedExtremes(T ll, T lh, T hl, T hh) {
  return {min(min(ll, lh), min(hl, hh)), max(max(ll, lh), max(hl, hh))};
}

/// The extremes of `op` at the corners, compared in two pairs: those of `a.lo`, then those of
/// `a.hi`.
template <class A, class B, class Op>
constexpr auto pairedCorners(const Range<A>& a, const Range<B>& b, Op op) {
  return pairedExtremes(op(a.lo, b.lo), op(a.lo, b.hi), op(a.hi, b.lo), op(a.hi, b.hi));
}

/// The lesser, or the greater, of both lower and of both upper bounds.
template <class T>
constexpr Range<T> min(const Range<T>& a, const Range<T>& b) {
  return {min(a.lo, b.lo), min(a.hi, b.hi)};
}
template <class T>
constexpr Range<T> max(const Range<T>& a, const Range<T>& b) {
  return {max(a.lo, b.lo), max(a.hi, b.hi)};
}

/// The range from the least to the greatest of all four bounds.
template <class T>
constexpr Range<T> hull(const Range<T>& a, const Range<T>& b) {
  return {min(b.hi, min(a.hi, min(b.lo, a.lo))), max(b.hi, max(a.hi, max(b.lo, a.lo)))};
}

}  // namespace QUtils
