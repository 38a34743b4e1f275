// SPDX-License-Identifier: MIT
#include "preview/scene/flaws.h"

#include <algorithm>
#include <cmath>

namespace preview {

bool isOutside(std::span<const float> values, const Bounds& bounds) {
  const auto& [lower, upper] = bounds;
  for (std::size_t c = 0; c < values.size(); ++c) {
    constexpr float kRounding = 1e-6F;  // of the bounds
    const float size = std::max(std::abs(lower[c]), std::abs(upper[c]));
    const float rounding = std::isfinite(size) ? kRounding * size : 0;
    if (values[c] < lower[c] - rounding || values[c] > upper[c] + rounding) return true;
  }
  return false;
}

Flaws flawsOf(const PluginInterface& texture, const ShadingContext& sc) {
  Flaws flaws;
  const auto set = [&](Flaw flaw, bool here) {
    if (here) flaws.set(static_cast<std::size_t>(flaw));
  };
  const InterfaceId id = texture.getInterfaceId();
  if (id == EXT_TEXTURE_TRANSFORM) {
    for (const Show show : {Show::Column0, Show::Column1, Show::Column2, Show::Offset}) {
      for (const float value : evaluate(texture, show, sc)) {
        set(Flaw::NaN, std::isnan(value));
        set(Flaw::Infinity, std::isinf(value));
      }
    }
    return flaws;
  }
  const Channels values = evaluate(texture, Show::Value, sc);
  for (const float value : values) {
    set(Flaw::NaN, std::isnan(value));
    set(Flaw::Infinity, std::isinf(value));
  }
  const std::optional<Bounds> bounds = boundsOf(texture);
  set(Flaw::OutsideBounds, bounds && isOutside(values, *bounds));
  const Channels gradient = evaluate(texture, Show::Gradient, sc);
  set(Flaw::GradientNotFinite,
      !std::ranges::all_of(gradient, [](float part) { return std::isfinite(part); }));
  return flaws;
}

}  // namespace preview
