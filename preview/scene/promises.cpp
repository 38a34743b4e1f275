// SPDX-License-Identifier: MIT
#include "preview/scene/promises.h"

namespace preview {

namespace {

struct Exception {
  std::string_view plugin, output;  // "*" stands for every other
  Promise promise;
};

constexpr Promise kOtherGradient = {true, GradientIs::Differs};
constexpr Promise kNothing = {false, GradientIs::Differs};
constexpr Promise kNoBounds = {false, GradientIs::Exact};
constexpr Promise kNoGradient = {true, GradientIs::Zero};
constexpr Promise kNeither = {false, GradientIs::Zero};

// The first that fits.
constexpr Exception kExceptions[] = {
    {"TexSampler", "normalObject", kNeither},  // longer where the object is scaled
    {"TexSampler", "*", kNoGradient},
    {"TexFloatOp", "product", kOtherGradient},
    {"TexFloatOp", "ratio", kNoBounds},
    {"TexFloatOp", "power", kNeither},
    {"TexVectorOp", "dot_product", kNeither},
    {"TexVectorOp", "cross_product", kNeither},
    {"TexVectorOp", "y", kNothing},
    {"TexVectorOp", "z", kNothing},
    {"TexVectorOp", "*", kOtherGradient},  // of vectors those of their lengths
    {"TexAColorOp", "product", kOtherGradient},
    {"TexAColorOp", "division", kNothing},
    {"TexAColorOp", "minimum", kOtherGradient},
    {"TexAColorOp", "maximum", kOtherGradient},
    {"TexAColorOp", "power", kNeither},
    {"TexAColorOp", "red", kOtherGradient},
    {"TexAColorOp", "green", kOtherGradient},
    {"TexAColorOp", "blue", kOtherGradient},
    {"TexAColorOp", "alpha", kNoGradient},
    {"TexAColorOp", "", kNothing},  // as `mode` chooses
    {"Float3ToAColor", "*", kNothing},
};

}  // namespace

Promise promiseOf(std::string_view plugin, std::string_view output) {
  for (const Exception& exception : kExceptions) {
    if (exception.plugin == plugin && (exception.output == output || exception.output == "*")) {
      return exception.promise;
    }
  }
  return {};
}

}  // namespace preview
