// SPDX-License-Identifier: MIT
#include "preview/scene/texture.h"

#include <algorithm>

#include "standin/introspection.h"

namespace preview {

namespace {

Channels channels(float v) { return {v}; }
Channels channels(Vector v) { return {v.x, v.y, v.z}; }
Channels channels(AColor v) { return {v.r, v.g, v.b, v.a}; }

/// What the three kinds of textures with bounds and gradients have in common.
template <class T, class Interface>
Channels evaluateAs(const PluginInterface& texture,
                    T (Interface::*value)(const ShadingContext&) const,
                    void (Interface::*bounds)(T&, T&) const, Show show, const ShadingContext& sc) {
  const auto& typed = static_cast<const Interface&>(texture);
  if (show == Show::Value) return channels((typed.*value)(sc));
  if (show == Show::Gradient) return channels(typed.getGradient(sc));
  T lower = {}, upper = {};
  (typed.*bounds)(lower, upper);
  return channels(show == Show::Lower ? lower : upper);
}

Vector columnOf(const Transform& transform, Show show) {
  switch (show) {
    case Show::Column0:
      return transform.c0;
    case Show::Column1:
      return transform.c1;
    case Show::Column2:
      return transform.c2;
    default:
      return transform.offset;
  }
}

}  // namespace

const char* kindName(const PluginInterface& texture) {
  return std::ranges::find(standin::kParamKinds, texture.getInterfaceId(),
                           &standin::ParamKind::texture)
      ->value;
}

int channelCount(const PluginInterface& texture, Show show) {
  const bool ofTransform = show >= Show::Column0;
  const InterfaceId id = texture.getInterfaceId();
  if (id == EXT_TEXTURE_TRANSFORM) return ofTransform ? 3 : 0;
  if (ofTransform) return 0;
  if (id == EXT_TEXTURE_INT) return show == Show::Value ? 1 : 0;
  if (id == EXT_TEXTURE_VECTOR || show == Show::Gradient) return 3;
  return id == EXT_TEXTURE ? 4 : 1;
}

Channels evaluate(const PluginInterface& texture, Show show, const ShadingContext& sc) {
  if (channelCount(texture, show) == 0) return {};
  switch (texture.getInterfaceId()) {
    case EXT_TEXTURE_FLOAT:
      return evaluateAs(texture, &TextureFloatInterface::getFloat,
                        &TextureFloatInterface::getFloatBounds, show, sc);
    case EXT_TEXTURE_VECTOR:
      return evaluateAs(texture, &TextureVectorInterface::getVector,
                        &TextureVectorInterface::getVectorBounds, show, sc);
    case EXT_TEXTURE_INT:
      return channels(
          static_cast<float>(static_cast<const TextureIntInterface&>(texture).getInt(sc)));
    case EXT_TEXTURE_TRANSFORM:
      return channels(
          columnOf(static_cast<const TextureTransformInterface&>(texture).getTransform(sc), show));
    default:
      return evaluateAs(texture, &TextureInterface::getColor, &TextureInterface::getColorBounds,
                        show, sc);
  }
}

}  // namespace preview
