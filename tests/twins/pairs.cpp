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
  if constexpr (requires { twin->clipPlanes; }) twin->clipPlanes = &clipPlanes();
  return result;
}

template <Vector (*kValue)(const ShadingContext&)>
Pair position(const char* output) {
  return pair<VectorFromContext<kValue, 1'000'000'000'000'000'000>>("TexSampler", output);
}
template <Vector (*kValue)(const ShadingContext&)>
Pair direction(const char* output) {
  return pair<VectorFromContext<kValue, 1>>("TexSampler", output);
}
template <float (*kValue)(const ShadingContext&), std::int64_t kLo, std::int64_t kHi>
Pair number(const char* output) {
  return pair<FloatFromContext<kValue, kLo, kHi>>("TexSampler", output);
}

}  // namespace

std::string Pair::name() const {
  std::string result = plugin;
  if (!output.empty()) result += "." + output;
  if (!setting.empty()) result += " (" + setting + " " + std::to_string(setTo) + ")";
  return result;
}

ClipPlanes& clipPlanes() {
  static ClipPlanes planes;
  return planes;
}

std::vector<Pair> pairs() {
  constexpr std::int64_t kFar = 1'000'000'000'000'000'000;
  constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t kGreatest = std::numeric_limits<std::int32_t>::max();
  const char* const f = "TexFloatOp";
  const Names ab = {"float_a", "float_b"};
  const char* const v = "TexVectorOp";
  const Names vectors = {"vector_a", "vector_b", "mult_a", "mult_b"};
  const Names vectorA = {"vector_a", "mult_a"}, vectorB = {"vector_b", "mult_b"};
  const char* const c = "TexAColorOp";
  const Names colors = {"color_a", "color_b", "mult_a", "mult_b", "result_alpha"};
  const Names colorA = {"color_a", "mult_a", "result_alpha"};
  const Names colorB = {"color_b", "mult_b", "result_alpha"};
  const Names power = {"color_a", "mult_a", "mult_b", "result_alpha"};
  const Names scaled = {"color_a", "mult_a"};
  const char* const n = "Float3ToAColor";
  const Names numbers = {"float1", "float2", "float3", "alpha"};
  const char* const s = "TexSampler";
  return {
      pair<ProdTex>(f, "product", ab),
      pair<RatioTex>(f, "ratio", ab),
      pair<FloatAddTex>(f, "sum", ab),
      pair<FloatSubTex>(f, "difference", ab),
      pair<FloatPowTex>(f, "power", ab),
      pair<FloatSinTex>(f, "sin", ab),
      pair<FloatCosTex>(f, "cos", ab),
      pair<FloatMinTex>(f, "min", ab),
      pair<FloatMaxTex>(f, "max", ab),

      pair<DotProdTex>(v, "dot_product", vectors),
      pair<CrossProdTex>(v, "cross_product", vectors),
      pair<AddTex>(v, "sum", vectors),
      pair<SubTex>(v, "difference", vectors),
      pair<MulTex>(v, "result_a", vectorA),
      pair<MulTex>(v, "result_b", vectorB),
      pair<XTex>(v, "x", vectorA),
      pair<YTex>(v, "y", vectorA),
      pair<ZTex>(v, "z", vectorA),

      pair<ColorProdTex>(c, "product", colors),
      pair<ColorDivTex>(c, "division", colors),
      pair<ColorMinTex>(c, "minimum", colors),
      pair<ColorMaxTex>(c, "maximum", colors),
      pair<ColorAddTex>(c, "sum", colors),
      pair<ColorSubTex>(c, "difference", colors),
      pair<ColorMulTex>(c, "result_a", colorA),
      pair<ColorMulTex>(c, "result_b", colorB),
      pair<RTex>(c, "red", scaled),
      pair<GTex>(c, "green", scaled),
      pair<BTex>(c, "blue", scaled),
      pair<ATex>(c, "alpha", scaled),
      pair<ITex>(c, "intensity", scaled),
      pair<ColorPowTex>(c, "power", power),

      pair<ColorMulTex>(c, "", colorA),
      pair<ColorMulTex>(c, "", colorA, "mode", kLeast),
      pair<ColorMulTex>(c, "", colorA, "mode", kLeast + 1),
      pair<ColorMulTex>(c, "", colorA, "mode", -1),
      pair<ColorMulTex>(c, "", colorA, "mode", 0),
      pair<ColorMulTex>(c, "", colorB, "mode", 1),
      pair<ColorProdTex>(c, "", colors, "mode", 2),
      pair<ColorAddTex>(c, "", colors, "mode", 3),
      pair<ColorSubTex>(c, "", colors, "mode", 4),
      pair<ColorPowTex>(c, "", power, "mode", 5),
      pair<ColorDivTex>(c, "", colors, "mode", 6),
      pair<ColorMinTex>(c, "", colors, "mode", 7),
      pair<ColorMaxTex>(c, "", colors, "mode", 8),
      pair<ColorDiffTex>(c, "", colors, "mode", 9),
      pair<ColorMulTex>(c, "", colorA, "mode", 10),
      pair<ColorMulTex>(c, "", colorA, "mode", kGreatest),

      pair<Float3ToAColorTex>(n, "color", numbers, "invert", 0),
      pair<Float3ToAColorTex>(n, "color", numbers, "invert", 1),
      pair<Float3ToAColorTex>(n, "", numbers, "invert", 0),
      pair<Float3ToAColorTex>(n, "", numbers, "invert", 1),

      position<point>("point"),
      position<pointObject>("pointObject"),
      position<pointCamera>("pointCamera"),
      direction<normal>("normal"),
      direction<normalCamera>("normalCamera"),
      direction<normalObject>("normalObject"),
      direction<geometricNormal>("gnormal"),
      pair<CamToWorldTex>(s, "camToWorld"),
      direction<viewDirection>("view_dir"),
      number<frameTime, -kFar, kFar>("frame_time"),
      number<rayTime, 0, 1>("ray_time"),
      number<facingRatio, -1, 1>("facing_ratio"),
      pair<MtlIDTex>(s, "material_id"),
      number<flippedNormal, 0, 1>("flipped_normal"),
      pair<ClipPlaneTwin<&ClipPlanes::nearPlane>>(s, "cameraNearClipPlane"),
      pair<ClipPlaneTwin<&ClipPlanes::farPlane>>(s, "cameraFarClipPlane"),
      position<uvCoord>("uvCoord"),
      direction<rayDirection>("rayDirection"),
      position<pixelCenter>("pixelCenter"),
      direction<tangentCamera<0>>("tangentUCamera"),
      direction<tangentCamera<1>>("tangentVCamera"),
  };
}

}  // namespace twins
