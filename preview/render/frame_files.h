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

/// A picture of a frame as it is encoded from rows, from top to bottom.
struct EncodedPicture {
  PngEncoder png;
  Downsampler thumbnail;
  PictureNumbers numbers;

  EncodedPicture(int width, int height, const Layer& source, bool isLinear);

  /// The bytes of the next rows.
  std::string add(const Picture& picture, const Layer& source, const FloatImage& values,
                  const FloatImage& coverage, int firstRow);
};

/// The files of one frame, written in rows from top to bottom as they are rendered: a PNG for each
/// picture, the contact sheet, what the page says of the frame, and all raw values in an EXR file.
/// Throws `WriteError` and `InputError`.
class FrameFiles {
 public:
  /// All that is referred to outlives the object.
  FrameFiles(const Scene& scene, const RenderPlan& plan, const Frame& frame, std::int32_t number,
             const OutputFolder& folder, bool half, const std::string& key);

  /// The next rows. `progress` is called with the fraction of them that is done, by
  /// one thread at a time.
  void write(const Band& band, const std::function<void(double)>& progress);

 private:
  void writePicture(std::size_t index, const Band& band);
  void writeExr(const Band& band);
  void writeContactSheet() const;
  void writeNumbers() const;

  const Scene& scene_;
  const RenderPlan& plan_;
  const OutputFolder& folder_;
  std::int32_t number_;
  const std::string& key_;
  std::string suffix_;
  std::vector<std::unique_ptr<EncodedPicture>> pictures_;
  ExrFile exr_;
};

/// The file that is there when all of a frame's files are: the numbers of its pictures, behind the
/// key of the render.
std::string lastFileOf(const RenderPlan& plan, std::int32_t frame);

/// Whether all files of a frame are in the folder, from a render of this key.
bool isRendered(const Scene& scene, const RenderPlan& plan, std::int32_t frame,
                const OutputFolder& folder, const std::string& key);

}  // namespace preview
