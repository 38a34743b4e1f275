// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "math/interval.h"
#include "standin/uv_textures.h"

namespace preview {

/// The pixels of a picture file, linear, row by row from the top left corner.
struct Bitmap {
  int width, height;
  std::vector<QUtils::AColor> pixels;
};

/// Reads a PNG file, whose codes are linear or those of sRGB, or an EXR file. Alpha is 1 where
/// there is none. Throws `InputError`.
Bitmap readBitmap(const std::filesystem::path& file, bool isLinear);

/// The source of a texture that has a bitmap in the unit square of uv, v upwards: bilinear between
/// the middles of pixels; outside it repeats itself, or goes on as at the edge.
class BitmapSource {
 public:
  BitmapSource(Bitmap bitmap, bool repeats);

  QUtils::AColor valueAt(const QUtils::ShadingContext& sc) const;
  QUtils::Range<QUtils::AColor> bounds() const { return bounds_; }
  QUtils::Vector gradientAt(const QUtils::ShadingContext& sc) const;

 private:
  /// Four pixels, and where between their middles a point lies.
  struct Cell {
    QUtils::AColor left[2], right[2];  ///< the upper one first
    float x, y;                        ///< to the right and down
  };
  Cell cellAt(const QUtils::ShadingContext& sc) const;

  std::shared_ptr<const Bitmap> bitmap_;
  bool repeats_;
  QUtils::Range<QUtils::AColor> bounds_;
};

}  // namespace preview
