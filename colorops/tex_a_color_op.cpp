// SPDX-License-Identifier: MIT
// Combines two colours, each scaled by a number: A = color_a · mult_a, B = color_b · mult_b. Each
// result is an output; one of them, chosen by `mode`, is also what the plugin itself answers as a
// texture. The GPU renderer is given `color_a`.

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>

#include "frame/inputs.h"
#include "frame/plugin_kind.h"
#include "math/color.h"
#include "math/vector.h"

namespace samplerinfo {
namespace {

// ---- Inputs ------------------------------------------------------------------------------------

/// Values as gradients see them: a colour is a number, its intensity.
struct IntensityAt : ValueAt {
  using ValueAt::operator();
  float operator()(const TextureInterface* input) const {
    return intensity(ValueAt::operator()(input));
  }
};

/// A scaled intensity.
struct ScaledIntensity {
  ScaledIntensity(const Dual<float>& i, const Dual<float>& m)
      : unscaled(i.value), scaled(m.value * i.value), gradient(productGradient(i, m)) {}

  float unscaled;   ///< the intensity of the colour alone
  float scaled;     ///< times the multiplier
  Vector gradient;  ///< of `scaled`
};

/// A colour with its multiplier. An absent colour counts as zero in all four channels, an absent
/// multiplier as 1.
struct ScaledColor {
  TextureInterface* color = nullptr;
  TextureFloatInterface* mult = nullptr;

  template <class Question, class Use>
  auto ask(const Question& question, const Use& use) const {
    const auto m = question(mult, 1);
    const auto c = question(color);
    return use(m, c);
  }

  /// The gradient of `Formula` of the intensity.
  template <class Formula>
  Vector gradientOf(const ShadingContext& sc) const {
    return askWithGradients<IntensityAt>(*this, sc, [](const auto& m, const auto& i) {
      return Formula::gradient(ScaledIntensity(i, m));
    });
  }
};

/// Two colours with a multiplier each, by the rules of `ScaledColor`.
struct ColorPair {
  TextureInterface* color_a = nullptr;
  TextureInterface* color_b = nullptr;
  TextureFloatInterface* mult_a = nullptr;
  TextureFloatInterface* mult_b = nullptr;

  template <class Question, class Use>
  auto ask(const Question& question, const Use& use) const {
    const auto ma = question(mult_a, 1);
    const auto mb = question(mult_b, 1);
    const auto ca = question(color_a);
    const auto cb = question(color_b);
    return use(ma, mb, ca, cb);
  }

  /// The gradient of `Formula` of the intensities.
  template <class Formula>
  Vector gradientOf(const ShadingContext& sc) const {
    return askWithGradients<IntensityAt>(
        *this, sc, [](const auto& ma, const auto& mb, const auto& ia, const auto& ib) {
          return Formula::gradient(ScaledIntensity(ia, ma), ScaledIntensity(ib, mb));
        });
  }
};

/// A scaled colour and an exponent, by the rules of `ScaledColor`.
struct ColorAndExponent {
  TextureInterface* color_a = nullptr;
  TextureFloatInterface* mult_a = nullptr;
  TextureFloatInterface* mult_b = nullptr;

  template <class Question, class Use>
  auto ask(const Question& question, const Use& use) const {
    const auto ma = question(mult_a, 1);
    const auto mb = question(mult_b, 1);
    const auto ca = question(color_a);
    return use(ma, mb, ca);
  }
};

// ---- Formulas, over numbers and over ranges ----------------------------------------------------

/// The four channels of a colour in one vector register: for bounds, whose corners are many.
using Channels = float __attribute__((vector_size(sizeof(AColor))));

Range<Channels> toLanes(const Range<AColor>& c) {
  return {std::bit_cast<Channels>(c.lo), std::bit_cast<Channels>(c.hi)};
}
Interval toLanes(const Interval& m) { return m; }  // serves all channels

// Ranges of numbers and of channels compare their corners in a chain.
template <class A, class B>
auto operator*(const Range<A>& a, const Range<B>& b) {
  return chainedCorners(a, b, std::multiplies{});
}
template <class T>
Range<T> operator+(const Range<T>& a, const Range<T>& b) {
  return chainedCorners(a, b, std::plus{});
}
template <class T>
Range<T> operator-(const Range<T>& a, const Range<T>& b) {
  return chainedCorners(a, b, std::minus{});
}
template <class T>
Range<T> operator/(const Range<T>& a, const Range<T>& b) {
  return chainedCorners(a, b, std::divides{});
}

/// The colour channels to a power; alpha is never raised.
AColor raised(AColor base, float exponent) {
  return {powf(base.r, exponent), powf(base.g, exponent), powf(base.b, exponent), base.a};
}
Range<Channels> raised(const Range<Channels>& base, const Interval& exponent) {
  return chainedCorners(base, exponent, [](Channels b, float e) {
    return Channels{powf(b[0], e), powf(b[1], e), powf(b[2], e), b[3]};
  });
}

AColor withAlphaOf(AColor result, AColor c) { return withAlpha(result, c.a); }
Range<Channels> withAlphaOf(Range<Channels> result, const Range<Channels>& c) {
  result.lo[3] = c.lo[3];
  result.hi[3] = c.hi[3];
  return result;
}

// The alpha of a result follows the formula or, as stated, is an unscaled one. Gradients are those
// of the scaled intensities.

struct Product {  // A · B, as (color_a · color_b) · (mult_a · mult_b)
  static auto of(const auto& ma, const auto& mb, const auto& ca, const auto& cb) {
    return (ca * cb) * (ma * mb);
  }
  static Vector gradient(const ScaledIntensity& a, const ScaledIntensity& b) {
    return productGradient({a.scaled, a.gradient}, {b.scaled, b.gradient});
  }
};

struct Sum {  // A + B; alpha: that of `color_a`, unscaled
  static auto of(const auto& ma, const auto& mb, const auto& ca, const auto& cb) {
    return withAlphaOf(ca * ma + cb * mb, ca);
  }
  static Vector gradient(const ScaledIntensity& a, const ScaledIntensity& b) {
    return a.gradient + b.gradient;
  }
};

struct Difference {  // A - B; alpha: that of `color_a`, unscaled
  static auto of(const auto& ma, const auto& mb, const auto& ca, const auto& cb) {
    return withAlphaOf(ca * ma - cb * mb, ca);
  }
  static Vector gradient(const ScaledIntensity& a, const ScaledIntensity& b) {
    return a.gradient - b.gradient;
  }
};

struct AbsoluteDifference : Difference {  // |A - B|: only the gradient differs from A - B
  static Vector gradient(const ScaledIntensity& a, const ScaledIntensity& b) {
    return a.scaled > b.scaled ? a.gradient - b.gradient : b.gradient - a.gradient;
  }
};

struct Quotient {  // A / B, not guarded against zero
  static AColor of(float ma, float mb, const AColor& ca, const AColor& cb) {
    const AColor a = ca * ma;
    const AColor b = cb * mb;
    return withAlpha(a / b, a.a * b.a);  // Kept: alpha is the product of the scaled alphas.
  }
  static Range<Channels> of(const Interval& ma, const Interval& mb, const Range<Channels>& ca,
                            const Range<Channels>& cb) {
    return (ca / cb) * (ma / mb);  // Kept: alpha is bounded as a quotient.
  }
  static Vector gradient(const ScaledIntensity& a, const ScaledIntensity& b) {
    if (b.scaled == 0) return {};
    return (a.gradient * b.scaled - b.gradient * a.scaled) / (b.scaled * b.scaled);
  }
};

struct Minimum {
  static auto of(const auto& ma, const auto& mb, const auto& ca, const auto& cb) {
    return min(ca * ma, cb * mb);
  }
  static Vector gradient(const ScaledIntensity& a, const ScaledIntensity& b) {
    return b.unscaled > a.unscaled ? a.gradient : b.gradient;  // Kept: ignores the multipliers.
  }
};

struct Maximum {
  static auto of(const auto& ma, const auto& mb, const auto& ca, const auto& cb) {
    return max(ca * ma, cb * mb);
  }
  static Vector gradient(const ScaledIntensity& a, const ScaledIntensity& b) {
    return a.unscaled > b.unscaled ? a.gradient : b.gradient;  // Kept: ignores the multipliers.
  }
};

struct Scaled {  // one colour; alpha: its own, unscaled
  static auto of(const auto& m, const auto& c) { return withAlphaOf(c * m, c); }
  static Vector gradient(const ScaledIntensity& c) { return c.gradient; }
};

struct Power {  // A to the power of mult_b; alpha: that of `color_a`, unscaled
  static auto of(const auto& ma, const auto& mb, const auto& ca) {
    return withAlphaOf(raised(ca * ma, mb), ca);
  }
};

// ---- Colour outputs ----------------------------------------------------------------------------

/// `Formula` of the inputs; `result_alpha`, if present, takes the place of its alpha. The gradient
/// is zero.
template <class Inputs, class Formula>
class ColorTex : public OperationTex<TextureInterface, Inputs> {
 public:
  AColor getColor(const ShadingContext& sc) const override {
    const AColor result =
        this->inputs.ask(ValueAt{sc}, [](const auto&... values) { return Formula::of(values...); });
    return withAlpha(result, ValueAt{sc}(result_alpha, result.a));
  }
  void getColorBounds(AColor& min, AColor& max) const final {
    const Range<Channels> result = this->inputs.ask(
        BoundsOf{}, [](const auto&... bounds) { return Formula::of(toLanes(bounds)...); });
    min = std::bit_cast<AColor>(result.lo);
    max = std::bit_cast<AColor>(result.hi);
    if (result_alpha != nullptr) result_alpha->getFloatBounds(min.a, max.a);
  }

  TextureFloatInterface* result_alpha = nullptr;
};

/// The same with the gradient of `Formula`.
template <class Inputs, class Formula>
class DifferentiableColorTex : public ColorTex<Inputs, Formula> {
 public:
  Vector getGradient(const ShadingContext& sc) const override {
    return this->inputs.template gradientOf<Formula>(sc);
  }
};

using ColorProdTex = DifferentiableColorTex<ColorPair, Product>;
using ColorAddTex = DifferentiableColorTex<ColorPair, Sum>;
using ColorSubTex = DifferentiableColorTex<ColorPair, Difference>;
using ColorDivTex = DifferentiableColorTex<ColorPair, Quotient>;
using ColorMinTex = DifferentiableColorTex<ColorPair, Minimum>;
using ColorMaxTex = DifferentiableColorTex<ColorPair, Maximum>;
using ColorMulTex = DifferentiableColorTex<ScaledColor, Scaled>;
using ColorPowTex = ColorTex<ColorAndExponent, Power>;

/// |A - B|. No alpha escapes the absolute value. Kept: the bounds are those of A - B.
class ColorDiffTex final : public DifferentiableColorTex<ColorPair, AbsoluteDifference> {
 public:
  AColor getColor(const ShadingContext& sc) const override { return abs(ColorTex::getColor(sc)); }
};

// ---- Float outputs: one number of the scaled colour --------------------------------------------

/// A channel. Its gradient is zero.
template <float AColor::*kChannel>
class ChannelTex : public OperationTex<TextureFloatInterface, ScaledColor> {
 public:
  float getFloat(const ShadingContext& sc) const final {
    return inputs.ask(ValueAt{sc}, [](float m, const AColor& c) { return c.*kChannel * m; });
  }
  void getFloatBounds(float& min, float& max) const final {
    inputs.ask(BoundsOf{}, [&](const Interval& m, const Range<AColor>& c) {
      store(Interval{c.lo.*kChannel, c.hi.*kChannel} * m, min, max);
    });
  }
};

/// A channel that counts for the intensity.
template <float AColor::*kChannel>
class ColorChannelTex : public ChannelTex<kChannel> {
 public:
  Vector getGradient(const ShadingContext& sc) const final {
    return this->inputs.template gradientOf<Scaled>(sc);  // Kept: not that of the channel.
  }
};

/// Kept: it is an object, although nothing uses that.
class RTex final : public PluginBase, public ColorChannelTex<&AColor::r> {};
using GTex = ColorChannelTex<&AColor::g>;
using BTex = ColorChannelTex<&AColor::b>;
using ATex = ChannelTex<&AColor::a>;

/// The side of an object that the host's GPU renderer talks to. This library writes no shader
/// source: for values of the kind `Owner::kValueKind`, in a material, it has the host's own
/// generator make that of `Owner::sourceTexture()`, which may be null.
template <class Owner>
class ShaderSourceExport : public RTTexInterface {
 public:
  void* getShaderInfo() override { return nullptr; }
  void setShaderInfo(void* /*info*/) override {}
  std::int32_t getShaderSource(const char* outputName, const char* secondName,
                               const char* descriptorKind, ShaderSource& source,
                               OCLData& oclData) override {
    if (std::strcmp(outputName, Owner::kValueKind) != 0) return 0;
    if (std::strcmp(descriptorKind, "MaterialDescriptor") != 0) return 0;
    getRTTexInterfaceSource(static_cast<const Owner*>(this)->sourceTexture(), outputName,
                            secondName, descriptorKind, source, oclData);
    return 1;
  }
};

/// The intensity. An object of its own, so that the host can ask it for shader source.
class ITex final : public PluginBase,
                   public TextureFloatInterface,
                   public ShaderSourceExport<ITex> {
 public:
  static constexpr const char* kValueKind = "float";
  TextureInterface* sourceTexture() const { return inputs.color; }

  PluginInterface* getInterface(InterfaceId id) override {
    if (id == EXT_RTTEX) return static_cast<RTTexInterface*>(this);
    return PluginBase::getInterface(id);
  }
  PluginBase* getPlugin() override { return this; }

  float getFloat(const ShadingContext& sc) const override {
    return inputs.ask(ValueAt{sc},
                      [](float m, const AColor& c) { return (m * ((c.r + c.g) + c.b)) / 3.0F; });
  }
  void getFloatBounds(float& min, float& max) const override {
    inputs.ask(BoundsOf{}, [&](const Interval& m, const Range<AColor>& c) {
      store(Interval{intensity(c.lo), intensity(c.hi)} * m, min, max);
    });
  }
  Vector getGradient(const ShadingContext& sc) const override {
    return inputs.gradientOf<Scaled>(sc);
  }

  ScaledColor inputs;
};

// ---- The plugin --------------------------------------------------------------------------------

/// Which output is the plugin's own texture.
enum class Mode : std::int32_t {
  ResultA,
  ResultB,
  Product,
  Sum,
  Difference,
  Power,
  Division,
  Minimum,
  Maximum,
  AbsoluteDifference
};

class TexAColorOp final : public QuorTexture, public ShaderSourceExport<TexAColorOp> {
 public:
  static constexpr const char* kValueKind = "color";
  TextureInterface* sourceTexture() const { return color_a; }

  explicit TexAColorOp(QuorPluginDesc* maker);

  PluginInterface* getInterface(InterfaceId id) override {
    if (id == EXT_RTTEX) return static_cast<RTTexInterface*>(this);
    return QuorTexture::getInterface(id);
  }
  PluginBase* getPlugin() override { return this; }

  void frameBegin(QuorRenderer* renderer) override {
    QuorPluginInterface::frameBegin(renderer);
    const ColorPair ab = {color_a, color_b, mult_a, mult_b};
    const ScaledColor a = {color_a, mult_a};
    const ScaledColor b = {color_b, mult_b};
    const ColorAndExponent exponent = {color_a, mult_a, mult_b};
    const auto copy = [this](const auto& inputs, auto&... outputs) {
      ((outputs.inputs = inputs), ...);
      if constexpr ((requires { outputs.result_alpha; } && ...)) {
        ((outputs.result_alpha = result_alpha), ...);
      }
    };
    copy(ab, product, sum, difference, absolute_difference, division, minimum, maximum);
    copy(a, result_a);
    copy(b, result_b);
    copy(exponent, power);
    copy(a, red, green, blue, alpha, intensity);
  }

  AColor getColor(const ShadingContext& sc) const override { return mainOutput().getColor(sc); }
  void getColorBounds(AColor& min, AColor& max) const override {
    if (Mode{mode} == Mode::AbsoluteDifference) {
      boundAbsoluteDifference(min, max);
      return;
    }
    mainOutput().getColorBounds(min, max);
  }
  Vector getGradient(const ShadingContext& sc) const override {
    return mainOutput().getGradient(sc);
  }

  TextureInterface* color_a = nullptr;
  TextureInterface* color_b = nullptr;
  TextureFloatInterface* mult_a = nullptr;
  TextureFloatInterface* mult_b = nullptr;
  TextureFloatInterface* result_alpha = nullptr;
  std::int32_t mode = 0;  ///< a `Mode`, or any number, which counts as `ResultA`
  ColorProdTex product;
  ColorAddTex sum;
  ColorSubTex difference;
  ColorDiffTex absolute_difference;
  ColorMulTex result_a;
  ColorMulTex result_b;
  ColorPowTex power;
  ColorDivTex division;
  ColorMinTex minimum;
  ColorMaxTex maximum;
  RTex red;
  GTex green;
  BTex blue;
  ATex alpha;
  ITex intensity;

 private:
  // Out of line, so that the other modes are one jump and need no stack frame.
  [[gnu::noinline]] void boundAbsoluteDifference(AColor& min, AColor& max) const {
    difference.getColorBounds(min, max);
    for (float AColor::*const channel : {&AColor::r, &AColor::g, &AColor::b}) {
      if (!(min.*channel < 0)) continue;
      max.*channel = QUtils::max(-(min.*channel), max.*channel);
      min.*channel = 0;
    }
  }

  /// The output that `mode` selects at the moment: it alone is read live.
  const TextureInterface& mainOutput() const {
    switch (Mode{mode}) {
      case Mode::ResultB:
        return result_b;
      case Mode::Product:
        return product;
      case Mode::Sum:
        return sum;
      case Mode::Difference:
        return difference;
      case Mode::Power:
        return power;
      case Mode::Division:
        return division;
      case Mode::Minimum:
        return minimum;
      case Mode::Maximum:
        return maximum;
      case Mode::AbsoluteDifference:
        return absolute_difference;
      default:
        return result_a;
    }
  }
};

// Kept: there is no row for the absolute difference, which `mode` 9 alone reaches; the ")" of
// "result_alpha".
constexpr std::array kParameters = {
    param<&TexAColorOp::color_a>("color_a", "The first color"),
    param<&TexAColorOp::color_b>("color_b", "The second color"),
    param<&TexAColorOp::mult_a>("mult_a", "Multiplier for the first color"),
    param<&TexAColorOp::mult_b>("mult_b", "Multiplier for the second color"),
    param<&TexAColorOp::result_alpha>("result_alpha",
                                      "The alpha for the result; if not specified, the resulting "
                                      "alpha taken from the first color)"),
    param<&TexAColorOp::mode>(
        "mode",
        "Which output should be considered as the output of the main texture (0 - result_a, 1 - "
        "result_b, 2 - product, 3 - sum, 4 - difference, 5 - power, 6 - division, 7 - Minimum, 8 - "
        "Maximum, 9 - absolute difference)",
        0),
    param<&TexAColorOp::product>("product", "(color_a*mult_a)*(color_b*mult_b)"),
    param<&TexAColorOp::division>("division", "(color_a*mult_a)/(color_b*mult_b)"),
    param<&TexAColorOp::minimum>("minimum", "Min(color_a*mult_a , color_b*mult_b)"),
    param<&TexAColorOp::maximum>("maximum", "Max(color_a*mult_a , color_b*mult_b)"),
    param<&TexAColorOp::sum>("sum", "(color_a*mult_a)+(color_b*mult_b)"),
    param<&TexAColorOp::difference>("difference", "(color_a*mult_a)-(color_b*mult_b)"),
    param<&TexAColorOp::result_a>("result_a", "color_a*mult_a"),
    param<&TexAColorOp::result_b>("result_b", "color_b*mult_b"),
    param<&TexAColorOp::red>("red", "(color_a*mult_a).r"),
    param<&TexAColorOp::green>("green", "(color_a*mult_a).g"),
    param<&TexAColorOp::blue>("blue", "(color_a*mult_a).b"),
    param<&TexAColorOp::alpha>("alpha", "(color_a*mult_a).a"),
    param<&TexAColorOp::intensity>("intensity", "mult_a*(color_a.r+color_a.g+color_a.b)/3.0"),
    param<&TexAColorOp::power>("power", "(color_a*mult_a)^mult_b"),
};
constexpr auto kBindingOrder = withMoved(withMoved(kParameters, "power", "red"), "mode");

TexAColorOp::TexAColorOp(QuorPluginDesc* maker) : QuorTexture(maker) {
  registerCaches(*paramList, kBindingOrder, *this);
}

}  // namespace

// Kept: an instance also answers EXT_TEXTURE and EXT_RTTEX, which are not announced.
constinit const PluginKind kTexAColorOp =
    pluginKind<TexAColorOp, kParameters>("TexAColorOp", 0x7782F94E);

}  // namespace samplerinfo
