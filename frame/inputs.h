#pragma once

#include "frame/texture_interfaces.h"
#include "math/interval.h"

/// The questions to an input that may be absent: a null texture is not asked, its substitute
/// counts.
namespace samplerinfo {

using namespace QUtils;

inline float valueOr(const TextureFloatInterface* input, const ShadingContext& sc,
                     float substitute) {
  return input != nullptr ? input->getFloat(sc) : substitute;
}

/// An absent vector is zero.
inline Vector valueOrZero(const TextureVectorInterface* input, const ShadingContext& sc) {
  return input != nullptr ? input->getVector(sc) : Vector{};
}

/// An absent colour is zero in all four channels.
inline AColor valueOrZero(const TextureInterface* input, const ShadingContext& sc) {
  return input != nullptr ? input->getColor(sc) : AColor{};
}

inline Interval boundsOr(const TextureFloatInterface* input, float substitute) {
  Interval bounds = exactly(substitute);
  if (input != nullptr) input->getFloatBounds(bounds.lo, bounds.hi);
  return bounds;
}

inline Range<Vector> boundsOrZero(const TextureVectorInterface* input) {
  Range<Vector> bounds{};
  if (input != nullptr) input->getVectorBounds(bounds.lo, bounds.hi);
  return bounds;
}

inline Range<AColor> boundsOrZero(const TextureInterface* input) {
  Range<AColor> bounds{};
  if (input != nullptr) input->getColorBounds(bounds.lo, bounds.hi);
  return bounds;
}

/// The gradient of any kind of texture.
template <class Texture>
Vector gradientOrZero(const Texture* input, const ShadingContext& sc) {
  return input != nullptr ? input->getGradient(sc) : Vector{};
}

}  // namespace samplerinfo
