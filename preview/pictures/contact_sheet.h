#pragma once

#include <span>
#include <string>

#include "preview/pictures/float_image.h"

namespace preview {

/// The width of a contact sheet's columns, in pixels.
inline constexpr int kThumbnailWidth = 240;

struct Thumbnail {
  FloatImage image;     ///< linear red, green and blue
  std::string caption;  ///< UTF-8
};

/// The image itself, or scaled down until it is at most `width` wide and twice that high.
FloatImage scaledDown(const FloatImage& image, int width = kThumbnailWidth);

/// All thumbnails on one sheet, in rows from the top left, about as many rows as columns; none is
/// wider than `width`. Captions stand below, broken into lines at spaces; what is still too wide is
/// cut. Throws InputError if the font cannot be used.
FloatImage contactSheet(std::span<const Thumbnail> thumbnails, int width = kThumbnailWidth);

}  // namespace preview
