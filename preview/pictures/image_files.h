// SPDX-License-Identifier: MIT
#pragma once

#include <ImathMatrix.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "preview/pictures/float_image.h"

struct png_struct_def;

/// Picture files, written from top to bottom; a file is complete after its last row.
namespace preview {

/// A file that cannot be written: "NAME: REASON".
class WriteError : public std::runtime_error {
 public:
  WriteError(const std::filesystem::path& path, const std::string& reason)
      : std::runtime_error(path.filename().string() + ": " + reason) {}
};

/// Adds bytes to a file. Throws `WriteError`.
void append(const std::filesystem::path& path, const std::string& bytes);

/// The bytes of an 8-bit PNG file of three channels.
class PngEncoder {
 public:
  /// The codes are linear, or those of sRGB; the file says which.
  PngEncoder(int width, int height, bool isLinear);
  PngEncoder(const PngEncoder&) = delete;
  PngEncoder& operator=(const PngEncoder&) = delete;

  /// Those of the next rows, with what comes before the first and behind the last: linear red,
  /// green and blue, clipped to [0, 1].
  std::string encode(const FloatImage& rows);

 private:
  struct Destroy {
    void operator()(png_struct_def* png) const;
  };

  int rowsLeft_;
  bool isLinear_;
  std::string encoded_;
  std::unique_ptr<png_struct_def, Destroy> png_;
};

/// A layer of an EXR file.
struct ExrLayer {
  std::string name;          ///< empty for the picture that viewers show first
  std::string channels;      ///< a letter each, as in "XYZ": they are called "name.X", or "X" alone
  bool keeps32Bits = false;  ///< in a file of half floats too
};

/// What an EXR file says of its frame beside the pixels.
struct ExrHeader {
  int width, height;  ///< pixels
  std::string scene;
  std::int32_t frame;
  double screenWindowWidth;   ///< the width of what is seen at distance 1
  Imath::M44d worldToCamera;  ///< multiplies row vectors from the right
  double nearPlane, farPlane;
};

/// An EXR file of 32-bit floats, not changed in any way, or of half floats. It is compressed on the
/// threads that oneTBB may use, on eight of them at most: each has buffers of its own.
class ExrFile {
 public:
  ExrFile(std::filesystem::path path, const ExrHeader& about, const std::vector<ExrLayer>& layers,
          bool asHalf);
  ~ExrFile();
  ExrFile(const ExrFile&) = delete;
  ExrFile& operator=(const ExrFile&) = delete;

  /// The memory that such a file takes, about, if its rows have so many numbers.
  static double bytesFor(std::size_t numbersOfRow);

  /// The next rows: an image for each layer, in their order.
  void write(std::span<const FloatImage* const> images);

 private:
  struct Channel;
  struct Output;

  std::filesystem::path path_;
  int rowsLeft_;
  std::vector<std::vector<Channel>> layers_;
  std::unique_ptr<Output> output_;
};

}  // namespace preview
