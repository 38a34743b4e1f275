#include "colorops/tex_a_color_op.h"

#include "math/minmax.h"

namespace samplerinfo {

namespace {

constexpr auto kColorA = param<&TexAColorOp::color_a>("color_a", "The first color");
constexpr auto kColorB = param<&TexAColorOp::color_b>("color_b", "The second color");
constexpr auto kMultA = param<&TexAColorOp::mult_a>("mult_a", "Multiplier for the first color");
constexpr auto kMultB = param<&TexAColorOp::mult_b>("mult_b", "Multiplier for the second color");
constexpr auto kResultAlpha = param<&TexAColorOp::result_alpha>(
    "result_alpha",
    "The alpha for the result; if not specified, the resulting alpha taken from the first color)");
constexpr auto kMode = param<&TexAColorOp::mode>(
    "mode",
    "Which output should be considered as the output of the main texture (0 - result_a, 1 - "
    "result_b, 2 - product, 3 - sum, 4 - difference, 5 - power, 6 - division, 7 - Minimum, 8 - "
    "Maximum, 9 - absolute difference)",
    0);
constexpr auto kProduct =
    param<&TexAColorOp::product>("product", "(color_a*mult_a)*(color_b*mult_b)");
constexpr auto kDivision =
    param<&TexAColorOp::division>("division", "(color_a*mult_a)/(color_b*mult_b)");
constexpr auto kMinimum =
    param<&TexAColorOp::minimum>("minimum", "Min(color_a*mult_a , color_b*mult_b)");
constexpr auto kMaximum =
    param<&TexAColorOp::maximum>("maximum", "Max(color_a*mult_a , color_b*mult_b)");
constexpr auto kSum = param<&TexAColorOp::sum>("sum", "(color_a*mult_a)+(color_b*mult_b)");
constexpr auto kDifference =
    param<&TexAColorOp::difference>("difference", "(color_a*mult_a)-(color_b*mult_b)");
constexpr auto kResultA = param<&TexAColorOp::result_a>("result_a", "color_a*mult_a");
constexpr auto kResultB = param<&TexAColorOp::result_b>("result_b", "color_b*mult_b");
constexpr auto kRed = param<&TexAColorOp::red>("red", "(color_a*mult_a).r");
constexpr auto kGreen = param<&TexAColorOp::green>("green", "(color_a*mult_a).g");
constexpr auto kBlue = param<&TexAColorOp::blue>("blue", "(color_a*mult_a).b");
constexpr auto kAlpha = param<&TexAColorOp::alpha>("alpha", "(color_a*mult_a).a");
constexpr auto kIntensity =
    param<&TexAColorOp::intensity>("intensity", "mult_a*(color_a.r+color_a.g+color_a.b)/3.0");
constexpr auto kPower = param<&TexAColorOp::power>("power", "(color_a*mult_a)^mult_b");

// clang-format off
// Kept: there is no row for the absolute difference; `mode` 9 alone reaches it.
constexpr ParamRow<TexAColorOp> kDescription[] = {
    kColorA, kColorB, kMultA, kMultB, kResultAlpha, kMode,
    kProduct, kDivision, kMinimum, kMaximum, kSum, kDifference, kResultA, kResultB,
    kRed, kGreen, kBlue, kAlpha, kIntensity, kPower,
};
constexpr ParamRow<TexAColorOp> kBinding[] = {
    kColorA, kColorB, kMultA, kMultB, kResultAlpha,
    kProduct, kDivision, kMinimum, kMaximum, kSum, kDifference, kResultA, kResultB, kPower,
    kRed, kGreen, kBlue, kAlpha, kIntensity, kMode,
};
// clang-format on

}  // namespace

std::span<const ParamRow<TexAColorOp>> TexAColorOp::description() { return kDescription; }

TexAColorOp::TexAColorOp(QuorPluginDesc* maker) : QuorTexture(maker) {
  bind(*paramList, kBinding, *this);
}

PluginInterface* TexAColorOp::getInterface(InterfaceId id) {
  if (id == EXT_RTTEX) return static_cast<RTTexInterface*>(this);
  return QuorTexture::getInterface(id);
}

void TexAColorOp::frameBegin(QuorRenderer* renderer) {
  QuorPluginInterface::frameBegin(renderer);

  const ColorPair both{color_a, color_b, mult_a, mult_b};
  ColorPairTex* const pairs[] = {&product,  &sum,     &difference, &absolute_difference,
                                 &division, &minimum, &maximum};
  for (ColorPairTex* output : pairs) {
    output->inputs = both;
    output->result_alpha = result_alpha;
  }

  const ScaledColor a{color_a, mult_a};
  result_a.inputs = a;
  result_a.result_alpha = result_alpha;
  result_b.inputs = {color_b, mult_b};
  result_b.result_alpha = result_alpha;

  power.color_a = color_a;
  power.mult_a = mult_a;
  power.mult_b = mult_b;
  power.result_alpha = result_alpha;

  red.inputs = a;
  green.inputs = a;
  blue.inputs = a;
  alpha.inputs = a;
  intensity.inputs = a;
}

const TextureInterface& TexAColorOp::mainOutput() const {
  switch (mode) {
    case 1:
      return result_b;
    case 2:
      return product;
    case 3:
      return sum;
    case 4:
      return difference;
    case 5:
      return power;
    case 6:
      return division;
    case 7:
      return minimum;
    case 8:
      return maximum;
    case 9:
      return absolute_difference;
    default:
      return result_a;
  }
}

AColor TexAColorOp::getColor(const ShadingContext& sc) const { return mainOutput().getColor(sc); }

void TexAColorOp::getColorBounds(AColor& min, AColor& max) const {
  const TextureInterface& output = mainOutput();
  if (&output != &absolute_difference) {
    output.getColorBounds(min, max);
    return;
  }
  difference.getColorBounds(min, max);
  for (float AColor::*const channel : {&AColor::r, &AColor::g, &AColor::b}) {
    if (!(min.*channel < 0)) continue;
    max.*channel = QUtils::max(-(min.*channel), max.*channel);
    min.*channel = 0;
  }
}

Vector TexAColorOp::getGradient(const ShadingContext& sc) const {
  return mainOutput().getGradient(sc);
}

std::int32_t TexAColorOp::getShaderSource(const char* outputName, const char* secondName,
                                          const char* descriptorKind, ShaderSource& source,
                                          OCLData& oclData) {
  return serve("color", color_a, {outputName, secondName, descriptorKind, source, oclData});
}

}  // namespace samplerinfo
