#include "preview/pictures/image_files.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <ImfStdIO.h>
#include <png.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <exception>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "preview/messages/errors.h"

namespace preview {
namespace {

/// IEC 61966-2-1. What is NaN becomes 0.
std::uint8_t encodeSrgb(float linear) {
  if (!(linear > 0)) return 0;
  if (linear >= 1) return 255;
  const float encoded =
      linear <= 0.0031308F ? 12.92F * linear : 1.055F * std::pow(linear, 1 / 2.4F) - 0.055F;
  return static_cast<std::uint8_t>(std::lround(255 * encoded));
}

[[noreturn]] void failToWrite(const std::filesystem::path& path, const std::string& reason) {
  std::error_code ignored;
  if (std::filesystem::is_regular_file(path, ignored)) std::filesystem::remove(path, ignored);
  throw InputError(path.string() + ": cannot be written: " + reason);
}

std::string systemError() { return std::generic_category().message(errno); }

}  // namespace

void writePng(const std::filesystem::path& path, const FloatImage& image) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(image.pixels() * 3);
  for (std::size_t i = 0; i < image.pixels(); ++i) {
    for (const float value : image.pixel(i)) bytes.push_back(encodeSrgb(value));
  }
  png_image png = {};
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(image.width());
  png.height = static_cast<png_uint_32>(image.height());
  png.format = PNG_FORMAT_RGB;
  if (png_image_write_to_file(&png, path.c_str(), 0, bytes.data(), 0, nullptr) == 0) {
    failToWrite(path, png.message);
  }
}

void writeExr(const std::filesystem::path& path, std::span<const ExrLayer> layers) {
  const FloatImage& first = *layers.front().image;
  Imf::Header header(first.width(), first.height());
  Imf::FrameBuffer frameBuffer;
  for (const ExrLayer& layer : layers) {
    const std::string_view letters = layer.image->channels() == 1 ? "Y" : "RGBA";
    const auto channels = static_cast<std::size_t>(layer.image->channels());
    for (std::size_t c = 0; c < channels; ++c) {
      const std::string name = layer.name + "." + letters[c];
      header.channels().insert(name, Imf::Channel(Imf::FLOAT));
      // The frame buffer serves reading too; writing leaves the values alone.
      char* values = reinterpret_cast<char*>(const_cast<float*>(&layer.image->pixel(0)[c]));
      const std::size_t step = channels * sizeof(float);
      frameBuffer.insert(name, Imf::Slice(Imf::FLOAT, values, step,
                                          step * static_cast<std::size_t>(first.width())));
    }
  }
  std::ofstream file(path, std::ios::binary);
  if (!file) failToWrite(path, systemError());
  try {
    Imf::StdOFStream stream(file, path.c_str());
    Imf::OutputFile output(stream, header);
    output.setFrameBuffer(frameBuffer);
    output.writePixels(first.height());
  } catch (const std::exception& error) {
    failToWrite(path, error.what());
  }
  // Brings out what the destructor of `output` could not write, and keeps to itself.
  file.close();
  if (!file) failToWrite(path, systemError());
}

}  // namespace preview
