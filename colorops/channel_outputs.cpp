#include "colorops/channel_outputs.h"

namespace samplerinfo {

PluginInterface* ITex::getInterface(InterfaceId id) {
  if (id == EXT_RTTEX) return static_cast<RTTexInterface*>(this);
  return PluginBase::getInterface(id);
}

float ITex::getFloat(const ShadingContext& sc) const {
  const auto [c, m] = inputs.values(sc);
  return (m * ((c.r + c.g) + c.b)) / 3.0F;
}

void ITex::getFloatBounds(float& min, float& max) const {
  const auto [c, m] = inputs.bounds();
  store(product(Interval{intensity(c.lo), intensity(c.hi)}, m), min, max);
}

Vector ITex::getGradient(const ShadingContext& sc) const {
  return inputs.scaledIntensity(sc).gradient;
}

std::int32_t ITex::getShaderSource(const char* outputName, const char* secondName,
                                   const char* descriptorKind, ShaderSource& source,
                                   OCLData& oclData) {
  return serve("float", inputs.color, {outputName, secondName, descriptorKind, source, oclData});
}

}  // namespace samplerinfo
