// SPDX-License-Identifier: MIT
#include "preview/scene/texture.h"

#include <algorithm>

#include "standin/introspection.h"

namespace preview {

namespace {

Channels channels(float v) { return {v}; }
Channels channels(Vector v) { return {v.x, v.y, v.z}; }
Channels channels(AColor v) { return {v.r, v.g, v.b, v.a}; }

template <class T, class Interface>
Bounds boundsAs(const PluginInterface& texture, void (Interface::*bounds)(T&, T&) const) {
  T lower = {}, upper = {};
  (static_cast<const Interface&>(texture).*bounds)(lower, upper);
  return {channels(lower), channels(upper)};
}

/// The value or the gradient of a texture that has both.
template <class T, class Interface>
Channels evaluateAs(const PluginInterface& texture,
                    T (Interface::*value)(const ShadingContext&) const, Show show,
                    const ShadingContext& sc) {
  const auto& typed = static_cast<const Interface&>(texture);
  return show == Show::Value ? channels((typed.*value)(sc)) : channels(typed.getGradient(sc));
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

std::optional<Bounds> boundsOf(const PluginInterface& texture) {
  switch (texture.getInterfaceId()) {
    case EXT_TEXTURE_FLOAT:
      return boundsAs(texture, &TextureFloatInterface::getFloatBounds);
    case EXT_TEXTURE_VECTOR:
      return boundsAs(texture, &TextureVectorInterface::getVectorBounds);
    case EXT_TEXTURE:
      return boundsAs(texture, &TextureInterface::getColorBounds);
    default:
      return std::nullopt;
  }
}

Channels evaluate(const PluginInterface& texture, Show show, const ShadingContext& sc) {
  if (channelCount(texture, show) == 0) return {};
  if (show == Show::Lower) return boundsOf(texture)->lower;
  if (show == Show::Upper) return boundsOf(texture)->upper;
  switch (texture.getInterfaceId()) {
    case EXT_TEXTURE_FLOAT:
      return evaluateAs(texture, &TextureFloatInterface::getFloat, show, sc);
    case EXT_TEXTURE_VECTOR:
      return evaluateAs(texture, &TextureVectorInterface::getVector, show, sc);
    case EXT_TEXTURE_INT:
      return channels(
          static_cast<float>(static_cast<const TextureIntInterface&>(texture).getInt(sc)));
    case EXT_TEXTURE_TRANSFORM:
      return channels(
          columnOf(static_cast<const TextureTransformInterface&>(texture).getTransform(sc), show));
    default:
      return evaluateAs(texture, &TextureInterface::getColor, show, sc);
  }
}

}  // namespace preview
