// SPDX-License-Identifier: MIT
#include <algorithm>
#include <bit>
#include <cmath>
#include <map>

#include "validate/subject/network.h"

// Some outputs leave their bounds, or have a gradient that is not the derivative, as they must; so
// nothing fails here.
namespace validate {

namespace {

constexpr int kTrials = 500;

/// In place of a leaf's numbers: each component is linear in the shading point, whose coordinates
/// lie from -1 to 1. The gradient is that of the intensity, or of the length.
const float* linearNumbers(Input* input, Question /*question*/, const ShadingContext* sc) {
  const Leaf& leaf = *static_cast<const Leaf*>(input);
  const DVector at = sc != nullptr ? sc->shadingPoint : DVector{};
  const auto width = static_cast<std::size_t>(kWidths[leaf.kind]);
  static float numbers[15];
  double sum[3] = {}, ofSquare[3] = {}, square = 0;
  for (std::size_t k = 0; k < width; ++k) {
    const double base = leaf.numbersAt[0][k];
    const double slope[] = {leaf.numbersAt[1][k] / 8.0, leaf.numbersAt[2][k] / 8.0,
                            leaf.numbersAt[3][k] / 8.0};
    const double value = base + slope[0] * at.x + slope[1] * at.y + slope[2] * at.z;
    const double reach = std::abs(slope[0]) + std::abs(slope[1]) + std::abs(slope[2]);
    numbers[k] = static_cast<float>(value);
    numbers[width + k] = static_cast<float>(base - reach);
    numbers[2 * width + k] = static_cast<float>(base + reach);
    square += value * value;
    for (int axis = 0; axis < 3; ++axis) {
      if (leaf.kind != TextureKind::Color || k < 3) sum[axis] += slope[axis];
      ofSquare[axis] += value * slope[axis];
    }
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double gradient = leaf.kind == TextureKind::Color   ? sum[axis] / 3
                            : leaf.kind == TextureKind::Float ? sum[axis]
                                                              : ofSquare[axis] / std::sqrt(square);
    numbers[3 * width + axis] = static_cast<float>(gradient);
  }
  return numbers;
}

Vector ofUnitLength(const Vector& v) {
  const float length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  return {v.x / length, v.y / length, v.z / length};
}

/// The samples: a shading point, and its neighbours on both sides along each axis, far and near.
/// All that has to be of unit length is; the camera is not turned and does not move.
constexpr double kStep = 1.0 / 256;
enum Distance { Far = 1, Near = 7 };
void placeSamples(Samples& samples, Random& random) {
  constexpr PreciseTransform kIdentity = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {}};
  samples.host.frameData.worldToCamera = samples.host.frameData.cameraToWorld = kIdentity;
  samples.host.services.cameraMoving = 0;
  ShadingContext& centre = samples.contexts[0];
  centre.shadingPoint = {random.ordinary() / 8.0, random.ordinary() / 8.0, random.ordinary() / 8.0};
  for (Vector* direction : {&centre.rayDirection, &centre.normal, &centre.geometricNormal}) {
    *direction = ofUnitLength(*direction);
  }
  centre.rayTime = (random.ordinary() + 8) / 16;
  samples.contexts.fill(ShadingContext(centre));
  for (const Distance distance : {Far, Near}) {
    const double step = distance == Far ? kStep : kStep / 2;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      ShadingContext* const pair = &samples.contexts[distance + 2 * axis];
      for (const double sign : {-1, 1}) {
        DVector& point = pair[sign > 0].shadingPoint;
        (axis == 0 ? point.x : axis == 1 ? point.y : point.z) += sign * step;
      }
    }
  }
}

double number(const Answer& answer, std::size_t i) { return std::bit_cast<float>(answer[i]); }

/// What has a gradient: an intensity, a number or a length.
double scalar(TextureKind kind, const Answer& value) {
  const double x = number(value, 0), y = number(value, 1), z = number(value, 2);
  return kind == TextureKind::Color   ? (x + y + z) / 3
         : kind == TextureKind::Float ? x
                                      : std::sqrt(x * x + y * y + z * z);
}

/// How often something was the case, and where it was so by most.
struct Tally {
  int trials = 0, times = 0;
  double farthest = 0;
  std::string example;
};
/// Counts a trial of what may be the case of an output.
using Trials =
    std::function<void(const char* what, bool isCase, double distance, const std::string& example)>;

/// Each plugin alone, with such inputs, and for each question of this kind to an output the answer
/// at the centre, and those at the samples to the question for values.
template <class Visit>
void forTrials(Question question, const Visit& visit) {
  std::map<std::string, Tally> tallies;
  forSeeds(kTrials, [&](std::uint32_t seed) {
    std::size_t evaluations = 0;
    for (void* desc : descriptors()) {
      Network network({.descs = {desc}, .seed = seed, .plugins = 1, .ordinary = true});
      Random random(seed);
      placeSamples(network.samples(), random);
      for (Leaf& leaf : network.leaves()) leaf.numbersFor = linearNumbers;
      const std::vector<Answer> answers = network.answers();
      const Answer* values = nullptr;
      for (std::size_t n = 0; n + Samples::kCount <= answers.size(); n += Samples::kCount) {
        const Network::Asked asked = network.asked(n);
        const auto add = [&](const char* what, bool isCase, double distance, auto& example) {
          Tally& tally = tallies[asked.output + ": " + what];
          ++tally.trials;
          if (!isCase) return;
          if (tally.times++ != 0 && distance <= tally.farthest) return;
          tally.farthest = distance;
          tally.example = example;
        };
        if (asked.question == Question::Value) values = &answers[n];
        if (asked.question == question) visit(add, asked.kind, values, answers[n]);
      }
      evaluations += answers.size();
    }
    return evaluations;
  });
  for (const auto& [what, tally] : tallies) {
    if (tally.times == 0) continue;
    note(formatted("%s in %.1f %% of %d trials, at worst %s", what.c_str(),
                   100.0 * tally.times / tally.trials, tally.trials, tally.example.c_str()));
  }
}

CHECK(notes, bounds,
      "says how often values lie outside their bounds, how far, and what is reversed or NaN") {
  forTrials(Question::Bounds, [](const Trials& add, TextureKind kind, auto* values, auto& bounds) {
    const auto width = static_cast<std::size_t>(kWidths[kind]);
    for (std::size_t i = 0; i < width; ++i) {
      const double is = number(values[0], i), lo = number(bounds, i),
                   hi = number(bounds, width + i);
      const double beside = std::max(lo - is, is - hi);
      const double rounding = 1e-5 * std::max(std::abs(lo), std::abs(hi));
      const std::string example = formatted("%.6g with bounds %.6g to %.6g", is, lo, hi);
      const bool areNumbers = !std::isnan(is) && !std::isnan(lo) && !std::isnan(hi);
      add("NaN", !areNumbers, 0, example);
      add("bounds reversed", lo > hi, lo - hi, example);
      add("a value outside its bounds", areNumbers && lo <= hi && beside > rounding, beside,
          example);
    }
  });
}

CHECK(notes, gradients,
      "says how often a gradient is not that of finite differences, and how far") {
  forTrials(
      Question::Gradient, [](const Trials& add, TextureKind kind, auto* values, auto& gradient) {
        const double noise = 1e-4 * std::abs(scalar(kind, values[0])) + 1e-5;
        for (std::size_t axis = 0; axis < 3; ++axis) {
          const auto slope = [&](Distance distance, double step) {
            const Answer* const pair = &values[distance + 2 * axis];
            return (scalar(kind, pair[1]) - scalar(kind, pair[0])) / (2 * step);
          };
          const double wide = slope(Far, kStep), narrow = slope(Near, kStep / 2);
          const double is = number(gradient, axis), distance = std::abs(is - narrow);
          const double tolerance = 0.01 * std::abs(narrow) + noise;
          const std::string example = formatted("%.6g for %.6g", is, narrow);
          add("a gradient that is NaN", std::isnan(is), 0, example);
          if (!(std::abs(wide - narrow) < tolerance)) continue;  // a step, or no number
          add("a gradient unlike finite differences", distance > 2 * tolerance, distance, example);
        }
      });
}

CHECK(notes, inputs,
      "says which output asks an input again or in another context, and which are never asked") {
  std::map<std::string, int> times;
  const auto read =
      watchInputs(kTrials, [&times](const std::string& question, const std::string& got) {
        ++times[question.substr(0, question.find(" at sample")) + ": " + got];
      });
  for (const auto& [what, count] : times) note(what + ", " + text(count) + " times");
  for (void* desc : descriptors()) {
    for (const ParameterInfo& info : parametersOf(desc)) {
      if (isTextureInput(info) && !read.contains(&info)) {
        note(nameOf(desc) + '.' + info.name + ": no output ever asked it");
      }
    }
  }
}

}  // namespace

}  // namespace validate
