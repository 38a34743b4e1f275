// SPDX-License-Identifier: MIT
#include "preview/render/inspection.h"

#include <algorithm>
#include <cmath>

#include "math/vector.h"
#include "preview/diagnostics/errors.h"
#include "preview/scene/guarantees.h"

namespace preview {

namespace {

/// The number of which a texture's gradient is that.
double scalarOf(const PluginInterface& texture, const ShadingContext& sc) {
  const Channels v = evaluate(texture, Show::Value, sc);
  if (texture.getInterfaceId() != EXT_TEXTURE) return v[0];
  return (static_cast<double>(v[0]) + v[1] + v[2]) / 3;
}

double cosine(Vector a, Vector b) { return dot(toDouble(a), toDouble(b)); }  // of unit length

/// Compares the gradient in the middle between two near points with what changes from the one to
/// the other. Where that is an edge or a kink, it fits on one side of the middle.
void compareGradient(const PluginInterface& texture, const ShadingContext& a,
                     const ShadingContext& middle, const ShadingContext& b, Findings& findings) {
  const Channels g = evaluate(texture, Show::Gradient, middle);
  const auto differs = [&](const ShadingContext& from, const ShadingContext& to) {
    const DVector &p = from.shadingPoint, &q = to.shadingPoint;
    const double before = scalarOf(texture, from);
    const double after = scalarOf(texture, to);
    const DVector step = {q.x - p.x, q.y - p.y, q.z - p.z};
    const DVector gradient = {g[0], g[1], g[2]};
    const double expected = dot(gradient, step);
    const double steepest = std::sqrt(dot(gradient, gradient) * dot(step, step));
    const double change = after - before;
    if (!std::isfinite(change + expected)) return false;
    findings.gradientWasCompared = true;
    constexpr double kTolerance = 0.1, kRounding = 1e-5;
    return std::abs(change - expected) >
           kTolerance * std::max(std::abs(change), steepest) +
               kRounding * std::max(std::abs(before), std::abs(after));
  };
  if (differs(a, b) && differs(a, middle) && differs(middle, b)) {
    findings.flaws.set(static_cast<std::size_t>(Flaw::GradientDiffers));
  }
}

}  // namespace

Expectation expectationOf(const Network::NamedTexture& texture, Connections& connections) {
  const Node& node = connections.nodeOf(texture.name);
  const Connections::Kept kept = connections.keptByInputs(node);
  const Guarantee guarantee = guaranteeOf(node.plugin, texture.name.output);
  const InterfaceId kind = texture.texture->getInterfaceId();
  const bool isNumber = kind == EXT_TEXTURE || kind == EXT_TEXTURE_FLOAT;
  return {.name = texture.name,
          .node = &node,
          .texture = texture.texture,
          .boundsEnclose = kept.bounds && guarantee.boundsEnclose,
          .gradientIsExact = guarantee.gradient == "exact",
          .gradientIsCompared = isNumber && kept.gradient && guarantee.gradient != "zero"};
}

void inspect(const Frame& frame, double x, double y, double rayTime,
             const std::vector<Expectation>& textures, const UseFindings& use) {
  const auto at = [&](double dx, double dy, auto look) {
    frame.shade(x + dx, y + dy, rayTime, look);
  };
  at(0, 0, [&](const ShadingContext& middle, std::size_t objectMiddle) {
    std::vector<Findings> findings(textures.size());
    for (std::size_t i = 0; i < textures.size(); ++i) {
      findings[i].flaws = callPlugin(textures[i].name.text(),
                                     [&] { return flawsOf(*textures[i].texture, middle); });
    }
    const auto compareAlong = [&](double dx, double dy) {
      at(-dx, -dy, [&](const ShadingContext& a, std::size_t objectA) {
        at(dx, dy, [&](const ShadingContext& b, std::size_t objectB) {
          constexpr double kSmooth = 0.99;
          if (objectA != objectMiddle || objectB != objectMiddle ||
              cosine(a.geometricNormal, middle.geometricNormal) < kSmooth ||
              cosine(b.geometricNormal, middle.geometricNormal) < kSmooth) {
            return;
          }
          for (std::size_t i = 0; i < textures.size(); ++i) {
            if (!textures[i].gradientIsCompared) continue;
            callPlugin(textures[i].name.text(),
                       [&] { compareGradient(*textures[i].texture, a, middle, b, findings[i]); });
          }
        });
      });
    };
    constexpr double kHalf = 0.5;  // pixels
    compareAlong(kHalf, 0);
    compareAlong(0, kHalf);
    use(middle, objectMiddle, findings);
  });
}

}  // namespace preview
