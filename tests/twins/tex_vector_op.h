// SPDX-License-Identifier: MIT
#pragma once

#include "tests/twins/twin.h"

namespace twins {

struct VectorPair {
  TextureVectorInterface *vector_a = nullptr, *vector_b = nullptr;
  TextureFloatInterface *mult_a = nullptr, *mult_b = nullptr;
  auto inputs() { return std::tie(vector_a, vector_b, mult_a, mult_b); }
};
struct ScaledVector {
  TextureVectorInterface* vector = nullptr;
  TextureFloatInterface* mult = nullptr;
  auto inputs() { return std::tie(vector, mult); }
};

inline Vector cross(const Vector& a, const Vector& b) { return narrow(cross(wide(a), wide(b))); }

/// `f` of each component, which is a range.
TWIN_INLINE inline void storeComponents(Vector& min, Vector& max, auto f) {
  const Interval x = f(&Vector::x), y = f(&Vector::y), z = f(&Vector::z);
  min = {x.lo, y.lo, z.lo};
  max = {x.hi, y.hi, z.hi};
}

class DotProdTex final : public Twin<TextureFloatInterface, VectorPair> {
  float getFloat(const ShadingContext& sc) const override {
    const float ma = valueOf(mult_a, sc, 1), mb = valueOf(mult_b, sc, 1);
    const Vector va = valueOf(vector_a, sc), vb = valueOf(vector_b, sc);
    return narrow(static_cast<double>(ma * mb) * dot(va, vb));
  }
  void getFloatBounds(float& min, float& max) const override {
    const Bounds ma(mult_a, 1), mb(mult_b, 1);
    const Bounds va(vector_a), vb(vector_b);
    const Range<double> d =
        chained(dot(va.hi, vb.hi), dot(va.hi, vb.lo), dot(va.lo, vb.hi), dot(va.lo, vb.lo));
    const Interval rounded = {narrow(d.lo), narrow(d.hi)};
    store(chainedCorners(chainedCorners(ma, mb, Times()), rounded, Times()), min, max);
  }
};

class CrossProdTex final : public Twin<TextureVectorInterface, VectorPair> {
  Vector getVector(const ShadingContext& sc) const override {
    const float ma = valueOf(mult_a, sc, 1), mb = valueOf(mult_b, sc, 1);
    const Vector va = valueOf(vector_a, sc), vb = valueOf(vector_b, sc);
    return cross(va, vb) * (ma * mb);
  }
  void getVectorBounds(Vector& min, Vector& max) const override {
    const Bounds ma(mult_a, 1), mb(mult_b, 1);
    const Bounds va(vector_a), vb(vector_b);
    const Interval m = chainedCorners(ma, mb, Times());
    const Vector ll = cross(va.lo, vb.lo), lh = cross(va.lo, vb.hi);
    const Vector hl = cross(va.hi, vb.lo), hh = cross(va.hi, vb.hi);
    storeComponents(min, max, [&](float Vector::*c) TWIN_INLINE {
      return pairedCorners(m, paired(ll.*c, lh.*c, hl.*c, hh.*c), Times());
    });
  }
};

/// `Op` of both scaled vectors.
template <class Op>
class VectorOpTwin final : public Twin<TextureVectorInterface, VectorPair> {
  Vector getVector(const ShadingContext& sc) const override {
    const float ma = valueOf(mult_a, sc, 1), mb = valueOf(mult_b, sc, 1);
    const Vector va = valueOf(vector_a, sc), vb = valueOf(vector_b, sc);
    return Op()(va * ma, vb * mb);
  }
  void getVectorBounds(Vector& min, Vector& max) const override {
    const Bounds ma(mult_a, 1), mb(mult_b, 1);
    const Bounds va(vector_a), vb(vector_b);
    storeComponents(min, max, [&](float Vector::*c) TWIN_INLINE {
      return pairedCorners(pairedCorners(at(va, c), ma, Times()),
                           pairedCorners(at(vb, c), mb, Times()), Op());
    });
  }
  Vector getGradient(const ShadingContext& sc) const override {
    const float ma = valueOf(mult_a, sc, 1), mb = valueOf(mult_b, sc, 1);
    const float a = length(valueOf(vector_a, sc)), b = length(valueOf(vector_b, sc));
    const Vector dma = gradientOf(mult_a, sc), dmb = gradientOf(mult_b, sc);
    const Vector da = gradientOf(vector_a, sc), db = gradientOf(vector_b, sc);
    return Op()(da * ma + dma * a, db * mb + dmb * b);
  }
};

class MulTex final : public Twin<TextureVectorInterface, ScaledVector> {
  Vector getVector(const ShadingContext& sc) const override {
    const float m = valueOf(mult, sc, 1);
    return valueOf(vector, sc) * m;
  }
  void getVectorBounds(Vector& min, Vector& max) const override {
    const Bounds m(mult, 1);
    const Bounds v(vector);
    storeComponents(min, max, [&](float Vector::*c) TWIN_INLINE {
      return pairedCorners(at(v, c), m, Times());
    });
  }
  Vector getGradient(const ShadingContext& sc) const override {
    const float m = valueOf(mult, sc, 1);
    const float len = length(valueOf(vector, sc));
    const Vector dm = gradientOf(mult, sc), dv = gradientOf(vector, sc);
    return dm * len + dv * m;
  }
};

/// A component of the scaled vector. Its corner of `hi` and `lo` takes x, whatever the component.
template <float Vector::*kComponent>
class ComponentTwin final : public Twin<TextureFloatInterface, ScaledVector> {
  float getFloat(const ShadingContext& sc) const override {
    const float m = valueOf(mult, sc, 1);
    return m * (valueOf(vector, sc).*kComponent);
  }
  void getFloatBounds(float& min, float& max) const override {
    const Bounds m(mult, 1);
    const Bounds v(vector);
    const Interval c = at(v, kComponent);
    store(paired(c.lo * m.lo, c.lo * m.hi, v.hi.x * m.lo, c.hi * m.hi), min, max);
  }
  Vector getGradient(const ShadingContext& sc) const override {
    const float m = valueOf(mult, sc, 1);
    const float component = valueOf(vector, sc).*kComponent;
    const Vector dm = gradientOf(mult, sc), dv = gradientOf(vector, sc);
    return dm * component + dv * m;
  }
};

}  // namespace twins
