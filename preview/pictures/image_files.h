#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "preview/pictures/float_image.h"

/// Picture files. Each function replaces a file of that name. On failure it throws InputError with
/// one line that names the file, and leaves no file behind.
namespace preview {

/// An 8-bit PNG file of three channels: linear red, green and blue, clipped to [0, 1] and encoded
/// as sRGB.
void writePng(const std::filesystem::path& path, const FloatImage& image);

/// A picture in an EXR file; the image is not owned.
struct ExrLayer {
  std::string name;
  const FloatImage* image;
};

/// An EXR file of 32-bit floats, not changed in any way. All layers have the same size; the
/// channels of the layer "name" are called name.R, name.G, name.B and name.A, or name.Y if there is
/// but one.
void writeExr(const std::filesystem::path& path, std::span<const ExrLayer> layers);

}  // namespace preview
