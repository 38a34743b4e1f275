// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "preview/diagnostics/errors.h"
#include "preview/render/inspection.h"
#include "preview/render/loaded_scene.h"

namespace preview {

/// What seems wrong with a scene, or is only worth a note since nothing better is guaranteed.
struct Remark {
  SceneError what;
  bool isNote;
};

/// Looks at what the pictures of a scene need, on a coarse grid over one frame after the other.
class SceneInspection {
 public:
  /// The scene outlives the object.
  explicit SceneInspection(const LoadedScene& loaded);

  /// Adds a frame, within which the network is. `progress` is called for each point.
  void inspectFrame(const Frame& frame, std::int32_t number, const std::function<void()>& progress);

  std::vector<Remark> remarks() const;

 private:
  /// What is found of a texture.
  struct Tally {
    struct Found {
      int points = 0;
      std::string first;
    };

    int points = 0, comparisons = 0;
    std::array<Found, std::size(kFlawNames)> found = {};

    void add(const Findings& findings, const std::string& where);
    void report(const Expectation& texture, std::vector<Remark>& remarks) const;
  };

  const Scene& scene_;
  std::vector<Remark> unneeded_;
  std::vector<Expectation> textures_;
  std::vector<Tally> tallies_;
};

}  // namespace preview
