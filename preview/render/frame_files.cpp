// SPDX-License-Identifier: MIT
#include "preview/render/frame_files.h"

#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/parallel_invoke.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <mutex>

#include "preview/diagnostics/number_text.h"
#include "preview/render/inspection.h"
#include "preview/scene/flaws.h"
#include "preview/scene/texture.h"

namespace preview {

namespace {

std::string pngFileOf(const Picture& picture, const std::string& suffix) {
  return picture.name + suffix + ".png";
}
std::string exrFileOf(const Scene& scene, const std::string& suffix) {
  return scene.file.stem().string() + suffix + ".exr";
}
std::string contactSheetOf(const std::string& suffix) { return "contact_sheet" + suffix + ".png"; }

/// The picture that viewers show first, RGBA: the first of a colour, or else the first of all.
std::size_t mainLayer(const RenderPlan& plan) {
  const auto isColor = [&](std::size_t layer) { return plan.layers[layer].channels() == 4; };
  const auto color = std::ranges::find_if(plan.layerOfPicture, isColor);
  return color == plan.layerOfPicture.end() ? plan.layerOfPicture.front() : *color;
}

/// Colours weighted with the coverage, which is their alpha.
FloatImage associated(const FloatImage& values, const FloatImage& coverage) {
  FloatImage result(values.width(), values.height(), 4);
  for (std::size_t i = 0; i < values.pixels(); ++i) {
    const float covered = coverage.pixel(i)[0];
    const auto color = values.pixel(i);
    for (std::size_t c = 0; c < 3; ++c) {
      result.pixel(i)[c] = covered * (color.size() == 1 ? color[0] : color[c]);
    }
    result.pixel(i)[3] = covered;
  }
  return result;
}

std::vector<ExrLayer> layersOf(const RenderPlan& plan) {
  std::vector<ExrLayer> layers = {{"", "RGBA", false}};
  for (const Layer& layer : plan.layers) {
    layers.push_back({layer.name, layer.channelNames(), layer.isInteger});
  }
  return layers;
}

ExrHeader headerOf(const Scene& scene, const Frame& frame, std::int32_t number) {
  const auto [near, far] = frame.depths();
  return {.width = scene.image.width,
          .height = scene.image.height,
          .scene = scene.file.filename().string(),
          .frame = number,
          .screenWindowWidth = frame.camera().screenWindowWidth(),
          .worldToCamera = frame.camera().matrixFromWorld(),
          .nearPlane = near,
          .farPlane = far};
}

void addTo(PictureNumbers& numbers, const FloatImage& values, const FloatImage& coverage,
           const std::optional<Bounds>& bounds) {
  if (bounds && !numbers.outsideBounds) numbers.outsideBounds = 0;
  for (std::size_t i = 0; i < values.pixels(); ++i) {
    if (coverage.pixel(i)[0] == 0) continue;
    const std::span<const float> pixel = values.pixel(i);
    if (bounds && isOutside(pixel, *bounds)) ++*numbers.outsideBounds;
    for (std::size_t c = 0; c < pixel.size(); ++c) {
      if (!std::isfinite(pixel[c])) continue;
      auto& [min, max] = numbers.channels[c];
      min = std::min(min, pixel[c]);
      max = std::max(max, pixel[c]);
    }
  }
}

std::string captionOf(const Picture& picture, const std::string& layer,
                      const SpecialPixels& specials) {
  std::string caption = picture.name + ": " + (picture.caption.empty() ? layer : picture.caption);
  if (picture.low != 0 || picture.high != 1) {
    constexpr const char* kNoBreak = "\u00A0";
    caption += " [" + numberText(picture.low) + "," + kNoBreak + numberText(picture.high) + "]";
  }
  if (picture.isLinear) caption += " linear";
  const std::string special = describe(specials);
  if (!special.empty()) caption += " (" + special + ")";
  return caption;
}

}  // namespace

EncodedPicture::EncodedPicture(int width, int height, const Layer& source, bool isLinear)
    : png(width, height, isLinear), thumbnail(width, height) {
  numbers.channels.resize(static_cast<std::size_t>(source.channels()));
}

std::string EncodedPicture::add(const Picture& picture, const Layer& source,
                                const FloatImage& values, const FloatImage& coverage,
                                int firstRow) {
  const auto [colors, specials] =
      mapToColors(values, coverage, picture.low, picture.high, firstRow);
  thumbnail.add(colors);
  numbers.specials += specials;
  addTo(numbers, values, coverage, source.show == Show::Value ? source.bounds() : std::nullopt);
  return png.encode(colors);
}

FrameFiles::FrameFiles(const Scene& scene, const RenderPlan& plan, const Frame& frame,
                       std::int32_t number, const OutputFolder& folder, bool half,
                       const std::string& key)
    : scene_(scene),
      plan_(plan),
      folder_(folder),
      number_(number),
      key_(key),
      suffix_(plan.suffixOf(number)),
      pictures_(plan.pictures.size()),
      exr_(folder.pathFor(exrFileOf(scene, suffix_)), headerOf(scene, frame, number),
           layersOf(plan), half) {}

void FrameFiles::write(const Band& band, const std::function<void(double)>& progress) {
  std::mutex mutex;
  std::size_t done = 0;
  tbb::parallel_for(std::size_t{0}, pictures_.size(), [&](std::size_t i) {
    writePicture(i, band);
    const std::lock_guard lock(mutex);
    progress(static_cast<double>(++done) / static_cast<double>(pictures_.size() + 1));
  });
  const bool isLast = band.firstRow + band.coverage.height() == scene_.image.height;
  tbb::parallel_invoke(
      [&] {
        if (!isLast) return;
        writeContactSheet();
        writeNumbers();
      },
      [&] { writeExr(band); });
  progress(1);
}

void FrameFiles::writePicture(std::size_t index, const Band& band) {
  const Picture& picture = plan_.pictures[index];
  const Layer& source = plan_.layers[plan_.layerOfPicture[index]];
  const FloatImage& values = band.layers[plan_.layerOfPicture[index]];
  std::unique_ptr<EncodedPicture>& file = pictures_[index];
  if (file == nullptr) {
    file = std::make_unique<EncodedPicture>(scene_.image.width, scene_.image.height, source,
                                            picture.isLinear);
  }
  append(folder_.pathFor(pngFileOf(picture, suffix_)),
         file->add(picture, source, values, band.coverage, band.firstRow));
}

void FrameFiles::writeExr(const Band& band) {
  const FloatImage rgba = associated(band.layers[mainLayer(plan_)], band.coverage);
  std::vector<const FloatImage*> images = {&rgba};
  for (const FloatImage& layer : band.layers) images.push_back(&layer);
  exr_.write(images);
}

void FrameFiles::writeContactSheet() const {
  std::vector<Thumbnail> thumbnails;
  for (std::size_t i = 0; i < pictures_.size(); ++i) {
    const EncodedPicture& file = *pictures_[i];
    const std::string& layer = plan_.layers[plan_.layerOfPicture[i]].name;
    thumbnails.push_back(
        {&file.thumbnail.image(), captionOf(plan_.pictures[i], layer, file.numbers.specials)});
  }
  const FloatImage sheet = contactSheet(thumbnails);
  append(folder_.pathFor(contactSheetOf(suffix_)),
         PngEncoder(sheet.width(), sheet.height(), false).encode(sheet));
}

void FrameFiles::writeNumbers() const {
  std::vector<PictureNumbers> numbers;
  for (const auto& picture : pictures_) numbers.push_back(picture->numbers);
  append(folder_.pathFor(lastFileOf(plan_, number_)), pageNumbersText(key_, number_, numbers));
}

std::string lastFileOf(const RenderPlan& plan, std::int32_t frame) {
  return "index" + plan.suffixOf(frame) + ".js";
}

bool isRendered(const Scene& scene, const RenderPlan& plan, std::int32_t frame,
                const OutputFolder& folder, const std::string& key) {
  std::string line;
  std::getline(std::ifstream(folder.target(lastFileOf(plan, frame))), line);
  if (line != renderLine(key)) return false;
  const std::string suffix = plan.suffixOf(frame);
  const auto isThere = [&](const std::string& name) { return exists(folder.target(name)); };
  return isThere(exrFileOf(scene, suffix)) && isThere(contactSheetOf(suffix)) &&
         std::ranges::all_of(plan.pictures, [&](const Picture& picture) {
           return isThere(pngFileOf(picture, suffix));
         });
}

}  // namespace preview
