#include "preview/scene/texture.h"

namespace preview {

namespace {

using namespace QUtils;

Channels channels(float v) { return {v}; }
Channels channels(Vector v) { return {v.x, v.y, v.z}; }
Channels channels(AColor v) { return {v.r, v.g, v.b, v.a}; }

/// What the three kinds of textures with bounds and gradients have in common.
template <class T, class Interface>
Channels evaluate(const Interface& texture, T (Interface::*value)(const ShadingContext&) const,
                  void (Interface::*bounds)(T&, T&) const, Show show, const ShadingContext& sc) {
  T lower = {}, upper = {};
  switch (show) {
    case Show::Value:
      return channels((texture.*value)(sc));
    case Show::Lower:
      (texture.*bounds)(lower, upper);
      return channels(lower);
    case Show::Upper:
      (texture.*bounds)(lower, upper);
      return channels(upper);
    case Show::Gradient:
      return channels(texture.getGradient(sc));
    default:
      return {};
  }
}

struct Evaluation {
  Show show;
  const ShadingContext& sc;

  Channels operator()(const TextureInterface* t) const {
    return evaluate(*t, &TextureInterface::getColor, &TextureInterface::getColorBounds, show, sc);
  }
  Channels operator()(const TextureFloatInterface* t) const {
    return evaluate(*t, &TextureFloatInterface::getFloat, &TextureFloatInterface::getFloatBounds,
                    show, sc);
  }
  Channels operator()(const TextureVectorInterface* t) const {
    return evaluate(*t, &TextureVectorInterface::getVector,
                    &TextureVectorInterface::getVectorBounds, show, sc);
  }
  Channels operator()(const TextureIntInterface* t) const {
    return channels(static_cast<float>(t->getInt(sc)));
  }
  Channels operator()(const TextureTransformInterface* t) const {
    switch (show) {
      case Show::Column0:
        return channels(t->getTransform(sc).c0);
      case Show::Column1:
        return channels(t->getTransform(sc).c1);
      case Show::Column2:
        return channels(t->getTransform(sc).c2);
      case Show::Offset:
        return channels(t->getTransform(sc).offset);
      default:
        return {};
    }
  }
};

}  // namespace

Texture asTexture(PluginInterface* iface) {
  switch (iface->getInterfaceId()) {
    case EXT_TEXTURE_FLOAT:
      return static_cast<TextureFloatInterface*>(iface);
    case EXT_TEXTURE_VECTOR:
      return static_cast<TextureVectorInterface*>(iface);
    case EXT_TEXTURE_INT:
      return static_cast<TextureIntInterface*>(iface);
    case EXT_TEXTURE_TRANSFORM:
      return static_cast<TextureTransformInterface*>(iface);
    default:
      return static_cast<TextureInterface*>(iface);
  }
}

const char* kindName(const Texture& texture) {
  static constexpr const char* kNames[] = {"color", "float", "vector", "integer", "transform"};
  return kNames[texture.index()];
}

int channelCount(const Texture& texture, Show show) {
  const bool ofTransform = show >= Show::Column0;
  if (std::holds_alternative<TextureTransformInterface*>(texture)) return ofTransform ? 3 : 0;
  if (ofTransform) return 0;
  if (std::holds_alternative<TextureIntInterface*>(texture)) return show == Show::Value ? 1 : 0;
  if (std::holds_alternative<TextureVectorInterface*>(texture) || show == Show::Gradient) return 3;
  return std::holds_alternative<TextureInterface*>(texture) ? 4 : 1;
}

Channels evaluate(const Texture& texture, Show show, const ShadingContext& sc) {
  return std::visit(Evaluation{show, sc}, texture);
}

}  // namespace preview
