#pragma once

#include <span>
#include <string>

#include "preview/float_image.h"

namespace preview {

/// A picture of a contact sheet; the image is not owned.
struct Thumbnail {
  const FloatImage* image;  ///< linear red, green and blue
  std::string caption;      ///< UTF-8
};

/// All pictures on one sheet, in rows from the top left, about as many rows as columns. Pictures
/// wider than `width` pixels are scaled down to it. Captions stand below, broken into lines at
/// spaces; what is still too wide is cut. Throws InputError if the font cannot be used.
FloatImage contactSheet(std::span<const Thumbnail> thumbnails, int width = 240);

}  // namespace preview
