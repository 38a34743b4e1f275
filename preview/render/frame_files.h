// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "preview/pictures/color_map.h"
#include "preview/pictures/contact_sheet.h"
#include "preview/pictures/image_files.h"
#include "preview/pictures/output_folder.h"
#include "preview/pictures/page.h"
#include "preview/render/band.h"

namespace preview {

/// The pictures of a scene and the layers that they show; a layer may serve several pictures.
struct Plan {
  std::vector<LayerSource> sources;
  std::vector<std::size_t> sourceOfPicture;
};

/// A letter each. Viewers take Y alone for luminance: a number is called a value, V.
const char* channelNames(const LayerSource& source);

/// The files of one frame, written in rows from top to bottom as they are rendered: a PNG for each
/// picture, the contact sheet, what the page says of the frame, and all raw values in an EXR file.
/// Throws `WriteError` and `InputError`.
class FrameFiles {
 public:
  /// The names of the files end in `suffix`. All that is referred to outlives the object.
  FrameFiles(const Scene& scene, const Plan& plan, const Frame& frame, std::int32_t number,
             std::string suffix, const OutputFolder& folder, bool half);

  /// The next rows. `progress` is told of each finished part of them, one at a time.
  void write(const Band& band, const std::function<void(double)>& progress);

 private:
  struct PictureFile {
    PngFile png;
    Downsampler thumbnail;
    PictureNumbers numbers;

    PictureFile(std::filesystem::path path, const Image& size, int channels);
  };
  void writePicture(std::size_t index, const Band& band);
  void writeExr(const Band& band);
  void writeContactSheet() const;
  void writeNumbers() const;

  const Scene& scene_;
  const Plan& plan_;
  const OutputFolder& folder_;
  std::int32_t number_;
  std::string suffix_;
  std::vector<std::unique_ptr<PictureFile>> pictures_;
  ExrFile exr_;
};

}  // namespace preview
