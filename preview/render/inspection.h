// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <vector>

#include "preview/scene/connections.h"
#include "preview/scene/flaws.h"
#include "preview/scene/network.h"
#include "preview/world/frame.h"

/// What textures answer in a scene, inspected for what they guarantee.
namespace preview {

/// A texture, and what may be expected of it: no more than of what it builds on.
struct Expectation {
  Reference name;
  const Node* node;
  const PluginInterface* texture;
  bool boundsEnclose, gradientIsExact;
  bool gradientIsCompared;

  /// Whether it guarantees to be without such a flaw.
  bool excludes(Flaw flaw) const {
    return (flaw != Flaw::OutsideBounds || boundsEnclose) &&
           (flaw != Flaw::GradientDiffers || gradientIsExact);
  }
};

Expectation expectationOf(const Network::NamedTexture& texture, Connections& connections);

struct Findings {
  Flaws flaws;
  bool gradientWasCompared = false;
};

/// Takes what is seen, the index of its object, and the findings of each texture there.
using UseFindings =
    std::function<void(const ShadingContext&, std::size_t, const std::vector<Findings>&)>;

/// Inspects textures at a point of the image, in pixels, if anything is seen there. On a smooth
/// surface gradients are compared with what changes across and down a pixel; those of vectors are
/// not, since it is not defined of which number they are.
void inspect(const Frame& frame, double x, double y, double rayTime,
             const std::vector<Expectation>& textures, const UseFindings& use);

}  // namespace preview
