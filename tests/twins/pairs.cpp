// SPDX-License-Identifier: MIT
#include "tests/twins/pairs.h"

#include "tests/twins/float3_to_acolor.h"
#include "tests/twins/tex_a_color_op.h"
#include "tests/twins/tex_float_op.h"
#include "tests/twins/tex_vector_op.h"

namespace twins {

namespace {

using Names = std::vector<std::string>;

template <class T>
Pair pair(const char* plugin, const char* output, Names inputs = {}, const char* setting = "",
          std::int32_t setTo = 0) {
  const auto twin = std::make_shared<T>();
  Pair result{plugin, output, setting, setTo, std::move(inputs), twin, nullptr};
  if constexpr (requires { twin->inputs(); }) {
    result.connect = [twin](std::size_t input, PluginInterface* texture) {
      const auto assign = [&]<class Texture>(std::size_t i, Texture*& member) {
        if (i == input) member = static_cast<Texture*>(texture);
      };
      std::size_t i = 0;
      std::apply([&](auto&... members) { (assign(i++, members), ...); }, twin->inputs());
    };
  }
  if constexpr (requires { twin->invert; }) twin->invert = setTo;
  if constexpr (requires { twin->mode; }) twin->mode = setTo;
  return result;
}

}  // namespace

std::string Pair::name() const {
  std::string result = plugin;
  if (!output.empty()) result += "." + output;
  if (!setting.empty()) result += " (" + setting + " " + std::to_string(setTo) + ")";
  return result;
}

ClipPlanes& clipPlanes() { return planesOfTwins; }

std::vector<Pair> pairs() {
  constexpr std::int64_t kFar = 1'000'000'000'000'000'000;
  const char* const f = "TexFloatOp";
  const Names ab = {"float_a", "float_b"};
  const char* const v = "TexVectorOp";
  const Names vectors = {"vector_a", "vector_b", "mult_a", "mult_b"};
  const Names vectorA = {"vector_a", "mult_a"}, vectorB = {"vector_b", "mult_b"};
  const char* const c = "TexAColorOp";
  const Names colors = {"color_a", "color_b", "mult_a", "mult_b", "result_alpha"};
  const Names colorA = {"color_a", "mult_a", "result_alpha"};
  const Names colorB = {"color_b", "mult_b", "result_alpha"};
  const Names power = {"color_a", "mult_a", "result_alpha", "mult_b"};
  const Names scaled = {"color_a", "mult_a"};
  const char* const n = "Float3ToAColor";
  const Names numbers = {"float1", "float2", "float3", "alpha"};
  const char* const s = "TexSampler";
  return {
      pair<ProdTex>(f, "product", ab),
      pair<RatioTex>(f, "ratio", ab),
      pair<FloatOpTwin<Plus>>(f, "sum", ab),
      pair<FloatOpTwin<Minus>>(f, "difference", ab),
      pair<CornersTwin<Power, 1>>(f, "power", ab),
      pair<WaveTwin<false>>(f, "sin", ab),
      pair<WaveTwin<true>>(f, "cos", ab),
      pair<ChoiceTwin<Less>>(f, "min", ab),
      pair<ChoiceTwin<Greater>>(f, "max", ab),

      pair<DotProdTex>(v, "dot_product", vectors),
      pair<CrossProdTex>(v, "cross_product", vectors),
      pair<VectorOpTwin<Plus>>(v, "sum", vectors),
      pair<VectorOpTwin<Minus>>(v, "difference", vectors),
      pair<MulTex>(v, "result_a", vectorA),
      pair<MulTex>(v, "result_b", vectorB),
      pair<ComponentTwin<&Vector::x>>(v, "x", vectorA),
      pair<ComponentTwin<&Vector::y>>(v, "y", vectorA),
      pair<ComponentTwin<&Vector::z>>(v, "z", vectorA),

      pair<ColorPairTwin<ColorProduct>>(c, "product", colors),
      pair<ColorPairTwin<ColorOp<Plus>>>(c, "sum", colors),
      pair<ColorPairTwin<ColorOp<Minus>>>(c, "difference", colors),
      pair<ColorMulTex>(c, "result_a", colorA),
      pair<ColorMulTex>(c, "result_b", colorB),
      pair<ColorPowTex>(c, "power", power),
      pair<ColorPairTwin<ColorQuotient>>(c, "division", colors),
      pair<ColorPairTwin<ColorChoice<Less>>>(c, "minimum", colors),
      pair<ColorPairTwin<ColorChoice<Greater>>>(c, "maximum", colors),
      pair<ColorNumberTwin<Channel<&AColor::r>>>(c, "red", scaled),
      pair<ColorNumberTwin<Channel<&AColor::g>>>(c, "green", scaled),
      pair<ColorNumberTwin<Channel<&AColor::b>>>(c, "blue", scaled),
      pair<ATex>(c, "alpha", scaled),
      pair<ColorNumberTwin<ScaledIntensity>>(c, "intensity", scaled),

      pair<ByMode<ColorMulTex>>(c, "", colorA),
      pair<ByMode<ColorMulTex>>(c, "", colorA, "mode", INT32_MIN),
      pair<ByMode<ColorMulTex>>(c, "", colorA, "mode", 0),
      pair<ByMode<ColorMulTex>>(c, "", colorB, "mode", 1),
      pair<ByMode<ColorPairTwin<ColorProduct>>>(c, "", colors, "mode", 2),
      pair<ByMode<ColorPairTwin<ColorOp<Plus>>>>(c, "", colors, "mode", 3),
      pair<ByMode<ColorPairTwin<ColorOp<Minus>>>>(c, "", colors, "mode", 4),
      pair<ByMode<ColorPowTex>>(c, "", power, "mode", 5),
      pair<ByMode<ColorPairTwin<ColorQuotient>>>(c, "", colors, "mode", 6),
      pair<ByMode<ColorPairTwin<ColorChoice<Less>>>>(c, "", colors, "mode", 7),
      pair<ByMode<ColorPairTwin<ColorChoice<Greater>>>>(c, "", colors, "mode", 8),
      pair<ByMode<ColorPairTwin<AbsoluteDifference>>>(c, "", colors, "mode", 9),
      pair<ByMode<ColorMulTex>>(c, "", colorA, "mode", 10),
      pair<ByMode<ColorMulTex>>(c, "", colorA, "mode", INT32_MAX),

      pair<Float3ToAColorTex>(n, "color", numbers, "invert", 0),
      pair<Float3ToAColorTex>(n, "color", numbers, "invert", 1),
      pair<Float3ToAColorTex>(n, "", numbers, "invert", 0),
      pair<Float3ToAColorTex>(n, "", numbers, "invert", 1),

      pair<VectorFromContext<point, kFar>>(s, "point"),
      pair<VectorFromContext<pointObject, kFar>>(s, "pointObject"),
      pair<VectorFromContext<pointCamera, kFar>>(s, "pointCamera"),
      pair<VectorFromContext<normal, 1>>(s, "normal"),
      pair<VectorFromContext<normalObject, 1>>(s, "normalObject"),
      pair<VectorFromContext<normalCamera, 1>>(s, "normalCamera"),
      pair<VectorFromContext<geometricNormal, 1>>(s, "gnormal"),
      pair<CamToWorldTex>(s, "camToWorld"),
      pair<VectorFromContext<viewDirection, 1>>(s, "view_dir"),
      pair<FloatFromContext<frameTime, -kFar, kFar>>(s, "frame_time"),
      pair<FloatFromContext<rayTime, 0, 1>>(s, "ray_time"),
      pair<FloatFromContext<facingRatio, -1, 1>>(s, "facing_ratio"),
      pair<MtlIDTex>(s, "material_id"),
      pair<FloatFromContext<flippedNormal, 0, 1>>(s, "flipped_normal"),
      pair<FloatFromContext<clipPlane<&ClipPlanes::nearPlane>, 0, 1000000000>>(
          s, "cameraNearClipPlane"),
      pair<FloatFromContext<clipPlane<&ClipPlanes::farPlane>, 0, 1000000000>>(s,
                                                                              "cameraFarClipPlane"),
      pair<VectorFromContext<uvCoord, kFar>>(s, "uvCoord"),
      pair<VectorFromContext<rayDirection, 1>>(s, "rayDirection"),
      pair<VectorFromContext<pixelCenter, kFar>>(s, "pixelCenter"),
      pair<VectorFromContext<tangentCamera<0>, 1>>(s, "tangentUCamera"),
      pair<VectorFromContext<tangentCamera<1>, 1>>(s, "tangentVCamera"),
  };
}

}  // namespace twins
