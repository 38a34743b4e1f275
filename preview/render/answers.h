// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "preview/render/inspection.h"
#include "preview/render/loaded_scene.h"

namespace preview {

/// Those of all textures that a reference can name.
std::vector<Expectation> expectationsOf(const Network& network, const std::vector<Node>& nodes);

/// A line of what a texture answers, and of where it falls short of what it guarantees.
std::string answersAsText(const Expectation& expectation, const Findings& findings,
                          const ShadingContext& sc);

/// What textures answer in the middle of a pixel and of the shutter interval of frame `number`.
nlohmann::ordered_json answersAt(const Scene& scene, const Frame& frame, std::int32_t number, int x,
                                 int y, const std::vector<Expectation>& textures);

/// As text that is valid UTF-8 or becomes so.
std::string jsonText(const nlohmann::ordered_json& json);

}  // namespace preview
