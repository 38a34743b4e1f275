// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace preview {

/// A picture of 32-bit floats: row by row from the top left corner, the channels of a pixel side by
/// side. New ones are 0 throughout.
class FloatImage {
 public:
  FloatImage(int width, int height, int channels)
      : width_(width), height_(height), channels_(channels), values_(pixels() * depth()) {}

  int width() const { return width_; }
  int height() const { return height_; }
  int channels() const { return channels_; }
  std::size_t pixels() const {
    return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
  }

  std::span<float> pixel(std::size_t index) { return {&values_[index * depth()], depth()}; }
  std::span<const float> pixel(std::size_t index) const {
    return {&values_[index * depth()], depth()};
  }
  std::span<const float> values() const { return values_; }
  std::span<const float> row(int y) const {
    const std::size_t length = static_cast<std::size_t>(width_) * depth();
    return values().subspan(static_cast<std::size_t>(y) * length, length);
  }
  std::span<float> pixel(int x, int y) { return pixel(indexOf(x, y)); }
  std::span<const float> pixel(int x, int y) const { return pixel(indexOf(x, y)); }

 private:
  std::size_t depth() const { return static_cast<std::size_t>(channels_); }
  std::size_t indexOf(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
           static_cast<std::size_t>(x);
  }

  int width_, height_, channels_;
  std::vector<float> values_;
};

}  // namespace preview
