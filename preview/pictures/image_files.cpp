// SPDX-License-Identifier: MIT
#include "preview/pictures/image_files.h"

#include <Iex.h>
#include <ImfChannelList.h>
#include <ImfFloatAttribute.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIntAttribute.h>
#include <ImfOutputFile.h>
#include <ImfStandardAttributes.h>
#include <ImfStdIO.h>
#include <ImfStringAttribute.h>
#include <ImfThreading.h>
#include <half.h>
#include <oneapi/tbb/global_control.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <exception>
#include <fstream>
#include <functional>
#include <optional>
#include <system_error>
#include <utility>

namespace preview {
namespace {

/// 0 stands for the caller's own.
int exrThreads() {
  constexpr std::size_t kMost = 8;
  const std::size_t threads =
      tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism);
  return threads > 1 ? static_cast<int>(std::min(threads, kMost)) : 0;
}

/// IEC 61966-2-1, for numbers from 0 to 1.
int encodeSrgb(float linear) {
  const float encoded =
      linear <= 0.0031308F ? 12.92F * linear : 1.055F * std::pow(linear, 1 / 2.4F) - 0.055F;
  return static_cast<int>(std::lround(255 * encoded));
}

/// The same by look-up. Floats from 0 to 1 are ordered as their bits are; those that share the
/// upper half of their bits have at most two codes.
class SrgbCodes {
 public:
  SrgbCodes() {
    for (std::uint32_t i = 0; i < codes_.size(); ++i) {
      std::uint32_t first = i << kLowBits;
      const int code = encodeSrgb(std::bit_cast<float>(first));
      std::uint32_t next = first + (1U << kLowBits);  // where the next code begins
      while (next - first > 1) {
        const std::uint32_t middle = first + (next - first) / 2;
        (encodeSrgb(std::bit_cast<float>(middle)) == code ? first : next) = middle;
      }
      codes_[i] = {next, static_cast<std::uint8_t>(code)};
    }
  }

  /// What is NaN becomes 0.
  std::uint8_t operator()(float linear) const {
    if (!(linear > 0)) return 0;
    if (linear >= 1) return 255;
    const auto bits = std::bit_cast<std::uint32_t>(linear);
    const auto [next, code] = codes_[bits >> kLowBits];
    return static_cast<std::uint8_t>(code + (bits >= next ? 1 : 0));
  }

 private:
  static constexpr int kLowBits = 16;
  struct Codes {
    std::uint32_t next;
    std::uint8_t code;
  };
  static constexpr std::size_t kCount = std::bit_cast<std::uint32_t>(1.0F) >> kLowBits;
  std::array<Codes, kCount> codes_;
};

/// What is NaN becomes 0.
std::uint8_t linearCode(float value) {
  return value > 0 ? static_cast<std::uint8_t>(std::lround(255 * std::min(value, 1.0F))) : 0;
}

std::string systemError() { return std::generic_category().message(errno); }

[[noreturn]] void failPng(png_structp /*png*/, png_const_charp message) {
  const std::string text = message;
  if (text.ends_with("memory")) throw std::bad_alloc();
  throw std::runtime_error("PNG: " + text);
}

void ignoreWarning(png_structp /*png*/, png_const_charp /*message*/) {}

}  // namespace

void append(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::app);
  file << bytes;
  file.close();
  if (!file) throw WriteError(path, systemError());
}

void PngEncoder::Destroy::operator()(png_struct_def* png) const {
  png_destroy_write_struct(&png, nullptr);
}

PngEncoder::PngEncoder(int width, int height, bool isLinear)
    : rowsLeft_(height),
      isLinear_(isLinear),
      png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, failPng, ignoreWarning)) {
  png_infop info = png_ ? png_create_info_struct(png_.get()) : nullptr;
  if (info == nullptr) throw std::bad_alloc();
  const auto take = [](png_structp png, png_bytep bytes, std::size_t count) {
    static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<char*>(bytes), count);
  };
  png_set_write_fn(png_.get(), &encoded_, take, nullptr);
  png_set_IHDR(png_.get(), info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height),
               8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (isLinear) {
    png_set_gAMA(png_.get(), info, 1);
  } else {
    png_set_sRGB(png_.get(), info, PNG_sRGB_INTENT_PERCEPTUAL);
  }
  // What libpng itself calls fast.
  png_set_filter(png_.get(), PNG_FILTER_TYPE_BASE, PNG_NO_FILTERS);
  png_set_compression_level(png_.get(), 3);
  png_write_info(png_.get(), info);
  png_destroy_info_struct(png_.get(), &info);
}

std::string PngEncoder::encode(const FloatImage& rows) {
  static const SrgbCodes kCodes;
  std::vector<std::uint8_t> row(3 * static_cast<std::size_t>(rows.width()));
  for (int y = 0; y < rows.height(); ++y) {
    if (isLinear_) {
      std::ranges::transform(rows.row(y), row.begin(), linearCode);
    } else {
      std::ranges::transform(rows.row(y), row.begin(), std::ref(kCodes));
    }
    png_write_row(png_.get(), row.data());
  }
  rowsLeft_ -= rows.height();
  if (rowsLeft_ == 0) {
    png_write_end(png_.get(), nullptr);
    png_.reset();
  }
  return std::exchange(encoded_, {});
}

struct ExrFile::Channel {
  std::string name;
  Imf::PixelType type;
};

struct ExrFile::Output {
  std::ofstream file;
  Imf::StdOFStream stream;
  std::optional<Imf::OutputFile> exr;  // its destructor writes too

  Output(const std::filesystem::path& path, const Imf::Header& header)
      : file(path, std::ios::binary), stream(file, path.c_str()) {
    if (!file) throw WriteError(path, systemError());
    exr.emplace(stream, header);
  }
};

ExrFile::ExrFile(std::filesystem::path path, const ExrHeader& about,
                 const std::vector<ExrLayer>& layers, bool asHalf)
    : path_(std::move(path)), rowsLeft_(about.height) {
  Imf::Header header(about.width, about.height, 1, Imath::V2f(0),
                     static_cast<float>(about.screenWindowWidth));
  header.insert("software", Imf::StringAttribute("samplerinfo-preview " PROJECT_VERSION));
  header.insert("scene", Imf::StringAttribute(about.scene));
  header.insert("frame", Imf::IntAttribute(about.frame));
  header.insert("clipNear", Imf::FloatAttribute(static_cast<float>(about.nearPlane)));
  header.insert("clipFar", Imf::FloatAttribute(static_cast<float>(about.farPlane)));
  Imf::addWorldToCamera(header, Imath::M44f(about.worldToCamera));
  for (const ExrLayer& layer : layers) {
    std::vector<Channel>& channels = layers_.emplace_back();
    for (const char letter : layer.channels) {
      channels.push_back({layer.name + (layer.name.empty() ? "" : ".") + letter,
                          asHalf && !layer.keeps32Bits ? Imf::HALF : Imf::FLOAT});
      header.channels().insert(channels.back().name, Imf::Channel(channels.back().type));
    }
  }
  Imf::setGlobalThreadCount(exrThreads());
  try {
    output_ = std::make_unique<Output>(path_, header);
  } catch (const Iex::BaseExc&) {  // its own words name the hidden folder
    throw WriteError(path_, systemError());
  }
}

ExrFile::~ExrFile() = default;

double ExrFile::bytesFor(std::size_t numbersOfRow) {
  constexpr double kRowsOfBuffer = 16, kCopies = 2;  // as they are, and while they are compressed
  const int buffers = std::max(1, 2 * exrThreads());
  return buffers * kCopies * kRowsOfBuffer * static_cast<double>(numbersOfRow * sizeof(float));
}

void ExrFile::write(std::span<const FloatImage* const> images) {
  const int first = output_->exr->currentScanLine();
  const int rows = images.front()->height();
  Imf::FrameBuffer frameBuffer;
  std::vector<std::vector<Imath::half>> halves;
  for (std::size_t i = 0; i < layers_.size(); ++i) {
    const FloatImage& image = *images[i];
    const auto insert = [&](const auto& values) {
      const std::size_t step = layers_[i].size() * sizeof values[0];
      for (std::size_t c = 0; c < layers_[i].size(); ++c) {
        const auto [name, type] = layers_[i][c];
        frameBuffer.insert(name,
                           Imf::Slice::Make(type, &values[c], {0, first}, image.width(), rows, step,
                                            step * static_cast<std::size_t>(image.width())));
      }
    };
    if (layers_[i].front().type == Imf::HALF) {
      insert(halves.emplace_back(image.values().begin(), image.values().end()));
    } else {
      insert(image.values());
    }
  }
  try {
    output_->exr->setFrameBuffer(frameBuffer);
    output_->exr->writePixels(rows);
  } catch (const Iex::BaseExc&) {  // its own words name the hidden folder
    throw WriteError(path_, systemError());
  }
  rowsLeft_ -= rows;
  if (rowsLeft_ > 0) return;
  // Brings out what the destructor of the EXR file could not write, and keeps to itself.
  output_->exr.reset();
  output_->file.close();
  if (!output_->file) throw WriteError(path_, systemError());
}

}  // namespace preview
