#include "colorops/channel_outputs.h"

#include "colorops/shader_request.h"

namespace samplerinfo {

float RTex::getFloat(const ShadingContext& sc) const {
  const auto [c, m] = inputs.values(sc);
  return c.r * m;
}

void RTex::getFloatBounds(float& min, float& max) const {
  const auto [c, m] = inputs.bounds();
  store(product(Interval{c.lo.r, c.hi.r}, m), min, max);
}

Vector RTex::getGradient(const ShadingContext& sc) const {
  return inputs.intensity(sc).gradient;  // Kept: not that of the channel.
}

float GTex::getFloat(const ShadingContext& sc) const {
  const auto [c, m] = inputs.values(sc);
  return c.g * m;
}

void GTex::getFloatBounds(float& min, float& max) const {
  const auto [c, m] = inputs.bounds();
  store(product(Interval{c.lo.g, c.hi.g}, m), min, max);
}

Vector GTex::getGradient(const ShadingContext& sc) const {
  return inputs.intensity(sc).gradient;  // Kept: not that of the channel.
}

float BTex::getFloat(const ShadingContext& sc) const {
  const auto [c, m] = inputs.values(sc);
  return c.b * m;
}

void BTex::getFloatBounds(float& min, float& max) const {
  const auto [c, m] = inputs.bounds();
  store(product(Interval{c.lo.b, c.hi.b}, m), min, max);
}

Vector BTex::getGradient(const ShadingContext& sc) const {
  return inputs.intensity(sc).gradient;  // Kept: not that of the channel.
}

float ATex::getFloat(const ShadingContext& sc) const {
  const auto [c, m] = inputs.values(sc);
  return c.a * m;
}

void ATex::getFloatBounds(float& min, float& max) const {
  const auto [c, m] = inputs.bounds();
  store(product(Interval{c.lo.a, c.hi.a}, m), min, max);
}

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

Vector ITex::getGradient(const ShadingContext& sc) const { return inputs.intensity(sc).gradient; }

std::int32_t ITex::getShaderSource(const char* outputName, const char* secondName,
                                   const char* descriptorKind, ShaderSource& source,
                                   OCLData& oclData) {
  if (!asksMaterialFor("float", outputName, descriptorKind)) return 0;
  getRTTexInterfaceSource(inputs.color, outputName, secondName, descriptorKind, source, oclData);
  return 1;
}

}  // namespace samplerinfo
