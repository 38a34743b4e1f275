// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstdint>
#include <functional>

#include "validate/harness/check.h"
#include "validate/harness/contract.h"

/// The host's side of the contract: objects, records and textures that are nothing but structs and
/// tables of functions.
namespace validate {

// ---- Textures ----

/// How many numbers a value of the first three kinds has.
constexpr int kWidths[] = {4, 1, 3};

/// The last one asks for bounds, too, to be written among five values, before which, between which
/// and behind which nothing is to be written; all are the caller's, and come back.
struct Questions {
  enum Question { Value, Bounds, Gradient, FencedBounds };
};
using Question = Questions::Question;
constexpr const char* kQuestionNames[] = {"value", "bounds", "gradient"};

/// All NaNs are one.
inline std::uint32_t bitsOf(float number) {
  const auto bits = std::bit_cast<std::uint32_t>(number);
  return (bits & 0x7FFFFFFF) > 0x7F800000 ? 0x7FC00000 : bits;
}

/// An input of one of the first three kinds: its value, lower bound and upper bound, each with as
/// many numbers as the kind has, and its gradient. Bounds are asked without a context.
struct Input {
  explicit Input(TextureKind kind);

  void* const* table;
  float numbers[15] = {};
  std::function<void(Question question, const ShadingContext* sc)> whenAsked;
  /// Other numbers than these, where it has them.
  const float* (*numbersFor)(Input* input, Question question, const ShadingContext* sc) = nullptr;
};

/// Asks a texture. Returns how many numbers the answer has, at most 12, with a fence 20 (that of an
/// integer has its bits); 0 where there is no such question.
int ask(void* texture, TextureKind kind, Question question, const ShadingContext& sc,
        float* numbers);

// ---- Objects and records, one of each ----

/// Of a `QuorPluginHost` that ignores which plugins there are.
inline const Table hostTable{QuorPluginHost::registerPluginDesc.nothing(),
                             QuorPluginHost::unregisterPluginDesc.nothing()};

struct HostLog {
  void* const* table;
  char text[128];  ///< what was printed last
  int lines;
  std::function<void()> whilePrinting;
};

struct HostScene {
  void* const* table;
  Vector lo, hi;
  std::function<void()> whileAsked;
};

struct HostSurface {
  struct Part {
    void* const* table;
    HostSurface* surface;
  };
  void* const* table;
  Vector a, b, c;  ///< the uvw derivatives
  Vector uvw;
  std::int32_t materialId;
  Part uvwSource, materialIdSource;
};

struct Host : private Unique {
  HostLog log{};
  HostScene scene{};
  void* const* cameraMotion;
  void* const* object;
  void* const* bare;  ///< an object without interfaces
  HostSurface surface{};

  QuorFrameData frameData{};
  RenderServices services{};
  RenderContext renderContext{};
  ShadingContext sc{};

  Host();  ///< connects all that, the rest is zero
};

// What the host's camera motion and object space do, so that each leaves a trace of its own:
//   pointFromRayTime   x + 100 t        vectorFromRayTime   y + 4 t
//   pointToRayTime     z + 16 t         vectorToRayTime     z + 8 t
//   worldToObjectPoint 2 p              worldToObjectNormal -n

}  // namespace validate
