// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>
#include <vector>

#include "preview/pictures/float_image.h"

namespace preview {

/// The width of a contact sheet's columns, in pixels.
inline constexpr int kThumbnailWidth = 240;

struct Thumbnail {
  const FloatImage* image;  ///< linear red, green and blue; not owned
  std::string caption;      ///< UTF-8
};

/// An image that comes in rows, scaled down until it is at most `kThumbnailWidth` wide and twice
/// that high. An image that is small enough stays as it is.
class Downsampler {
 public:
  Downsampler(int width, int height);

  /// The next rows, of three channels.
  void add(const FloatImage& rows);

  /// The whole, once all rows have come.
  const FloatImage& image() const { return image_; }

 private:
  int width_, height_;
  int sourceRow_ = 0, row_ = 0;  ///< that come next
  FloatImage image_;
  std::vector<double> sums_;  ///< over the pixels that `row_` covers
};

/// All thumbnails on one sheet, in rows from the top left, about as many rows as columns; none is
/// wider than its column. Captions stand below, broken into lines at spaces; what is still too wide
/// is cut. Throws InputError if the font cannot be used.
FloatImage contactSheet(std::span<const Thumbnail> thumbnails);

}  // namespace preview
