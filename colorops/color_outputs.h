#pragma once

#include "colorops/scaled_color.h"
#include "frame/output_tex.h"

/// The colour outputs of TexAColorOp, of the scaled colours A = color_a · mult_a and
/// B = color_b · mult_b. Formulas hold for each channel. The alpha of a result is that of
/// `result_alpha`; where that is absent it follows the formula or, as stated, is an unscaled alpha.
/// Gradients are those of the scaled intensities of A and B and do not ask `result_alpha`.
namespace samplerinfo {

/// An output of two scaled colours.
class ColorPairTex : public OperationTex<TextureInterface, ColorPair> {
 public:
  TextureFloatInterface* result_alpha = nullptr;
};

/// A · B, as (color_a · color_b) · (mult_a · mult_b).
class ColorProdTex final : public ColorPairTex {
 public:
  AColor getColor(const ShadingContext& sc) const override;
  void getColorBounds(AColor& min, AColor& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// A + B; alpha: that of `color_a`, unscaled.
class ColorAddTex final : public ColorPairTex {
 public:
  AColor getColor(const ShadingContext& sc) const override;
  void getColorBounds(AColor& min, AColor& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// A - B; alpha: that of `color_a`, unscaled.
class ColorSubTex final : public ColorPairTex {
 public:
  AColor getColor(const ShadingContext& sc) const override;
  void getColorBounds(AColor& min, AColor& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// |A - B|; alpha: that of `color_a`, unscaled. No alpha escapes the absolute value. The bounds are
/// those of A - B.
class ColorDiffTex final : public ColorPairTex {
 public:
  AColor getColor(const ShadingContext& sc) const override;
  void getColorBounds(AColor& min, AColor& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// A / B, not guarded against zero; alpha: the product of the scaled alphas, although it is bounded
/// as a quotient. The gradient is zero where the scaled intensity of B is.
class ColorDivTex final : public ColorPairTex {
 public:
  AColor getColor(const ShadingContext& sc) const override;
  void getColorBounds(AColor& min, AColor& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// The smaller of A and B. Its gradient is that of the colour with the smaller unscaled intensity.
class ColorMinTex final : public ColorPairTex {
 public:
  AColor getColor(const ShadingContext& sc) const override;
  void getColorBounds(AColor& min, AColor& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// The greater of A and B. Its gradient is that of the colour with the greater unscaled intensity.
class ColorMaxTex final : public ColorPairTex {
 public:
  AColor getColor(const ShadingContext& sc) const override;
  void getColorBounds(AColor& min, AColor& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// One scaled colour; alpha: that of `color`, unscaled.
class ColorMulTex final : public OperationTex<TextureInterface, ScaledColor> {
 public:
  AColor getColor(const ShadingContext& sc) const override;
  void getColorBounds(AColor& min, AColor& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;

  TextureFloatInterface* result_alpha = nullptr;
};

/// A to the power of mult_b; alpha: that of `color_a`, unscaled. Its gradient is zero.
class ColorPowTex final : public OutputTex<TextureInterface> {
 public:
  AColor getColor(const ShadingContext& sc) const override;
  void getColorBounds(AColor& min, AColor& max) const override;

  TextureInterface* color_a = nullptr;
  TextureFloatInterface* mult_a = nullptr;
  TextureFloatInterface* mult_b = nullptr;
  TextureFloatInterface* result_alpha = nullptr;
};

}  // namespace samplerinfo
