// SPDX-License-Identifier: MIT
#include "preview/scene/promises.h"

namespace preview {

namespace {

struct Exception {
  std::string_view plugin, output;  // "*" stands for every other
  Promise promise;
};

using enum GradientIs;

// The first that fits: whether the bounds enclose, and what the gradient is.
constexpr Exception kExceptions[] = {
    {"TexSampler", "normalObject", {false, Zero}},  // longer where the object is scaled
    {"TexSampler", "*", {true, Zero}},
    {"TexFloatOp", "product", {true, Differs}},
    {"TexFloatOp", "ratio", {false, Exact}},
    {"TexFloatOp", "power", {false, Zero}},
    {"TexVectorOp", "dot_product", {false, Zero}},
    {"TexVectorOp", "cross_product", {false, Zero}},
    {"TexVectorOp", "y", {false, Differs}},
    {"TexVectorOp", "z", {false, Differs}},
    {"TexVectorOp", "*", {true, Differs}},  // of vectors those of their lengths
    {"TexAColorOp", "product", {true, Differs}},
    {"TexAColorOp", "division", {false, Differs}},
    {"TexAColorOp", "minimum", {true, Differs}},
    {"TexAColorOp", "maximum", {true, Differs}},
    {"TexAColorOp", "power", {false, Zero}},
    {"TexAColorOp", "red", {true, Differs}},
    {"TexAColorOp", "green", {true, Differs}},
    {"TexAColorOp", "blue", {true, Differs}},
    {"TexAColorOp", "alpha", {true, Zero}},
    {"TexAColorOp", "", {false, Differs}},  // as `mode` chooses
    {"Float3ToAColor", "*", {false, Differs}},
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
