// SPDX-License-Identifier: MIT
#include "preview/scene/bitmap.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <ImfStdIO.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "preview/system/memory.h"
#include "preview/system/regular_file.h"

namespace preview {

namespace {

using namespace QUtils;
using namespace standin;

constexpr std::size_t kChannels = 4;

/// Black in the size of a picture; throws if that is beyond what is taken.
Bitmap emptyBitmap(std::int64_t width, std::int64_t height, std::size_t bytesOfPixel) {
  constexpr int kMaxSide = 8192;
  if (std::max(width, height) > kMaxSide) {
    throw InputError("is " + std::to_string(width) + " x " + std::to_string(height) +
                     " pixels large; width and height are at most " + std::to_string(kMaxSide));
  }
  const auto count = static_cast<std::size_t>(width * height);
  checkMemory("its pixels", static_cast<double>(count * bytesOfPixel));
  return {static_cast<int>(width), static_cast<int>(height), std::vector<AColor>(count)};
}

/// IEC 61966-2-1, for numbers from 0 to 1.
float decodeSrgb(float code) {
  return code <= 0.04045F ? code / 12.92F : std::pow((code + 0.055F) / 1.055F, 2.4F);
}

struct PngReader {
  static void fail(png_structp /*png*/, png_const_charp what) { throw std::runtime_error(what); }
  static void ignore(png_structp /*png*/, png_const_charp /*what*/) {}
  static void read(png_structp png, png_bytep to, std::size_t count) {
    auto* const file = static_cast<std::istream*>(png_get_io_ptr(png));
    if (!file->read(reinterpret_cast<char*>(to), static_cast<std::streamsize>(count))) {
      fail(png, "is cut off");
    }
  }

  explicit PngReader(std::istream& file) {
    if (info == nullptr) throw std::bad_alloc();
    png_set_read_fn(png, &file, read);
  }
  ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;

  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore);
  png_infop info = png_create_info_struct(png);
};

Bitmap readPng(std::istream& file, bool isLinear) {
  using Codes = std::array<std::uint16_t, kChannels>;
  const PngReader reader(file);
  png_structp png = reader.png;
  png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  png_read_info(png, reader.info);
  Bitmap bitmap =
      emptyBitmap(png_get_image_width(png, reader.info), png_get_image_height(png, reader.info),
                  sizeof(AColor) + sizeof(Codes));
  png_set_expand_16(png);
  png_set_gray_to_rgb(png);
  png_set_add_alpha(png, std::numeric_limits<std::uint16_t>::max(), PNG_FILLER_AFTER);
  if (std::endian::native == std::endian::little) png_set_swap(png);
  png_set_interlace_handling(png);
  png_read_update_info(png, reader.info);
  std::vector<Codes> codes(bitmap.pixels.size());
  std::vector<png_bytep> rows;
  for (std::size_t i = 0; i < codes.size(); i += static_cast<std::size_t>(bitmap.width)) {
    rows.push_back(reinterpret_cast<png_bytep>(&codes[i]));
  }
  png_read_image(png, rows.data());
  png_read_end(png, nullptr);

  std::vector<float> values(std::size_t{std::numeric_limits<std::uint16_t>::max()} + 1);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const float code = static_cast<float>(i) / static_cast<float>(values.size() - 1);
    values[i] = isLinear ? code : decodeSrgb(code);
  }
  std::ranges::transform(codes, bitmap.pixels.begin(), [&](const Codes& c) -> AColor {
    return {values[c[0]], values[c[1]], values[c[2]],
            static_cast<float>(c[3]) / static_cast<float>(values.size() - 1)};
  });
  return bitmap;
}

Bitmap readExr(std::ifstream& stream, const std::filesystem::path& file) {
  Imf::StdIFStream bytes(stream, file.c_str());
  Imf::InputFile exr(bytes);
  const Imath::Box2i& window = exr.header().dataWindow();
  Bitmap bitmap = emptyBitmap(std::int64_t{window.max.x} - window.min.x + 1,
                              std::int64_t{window.max.y} - window.min.y + 1, sizeof(AColor));
  const auto has = [&](const char* name) {
    return exr.header().channels().findChannel(name) != nullptr;
  };
  const bool isGrey = !has("R") && !has("G") && !has("B");
  if (isGrey && !has("Y")) throw InputError("has none of the channels R, G, B and Y");
  Imf::FrameBuffer frameBuffer;
  const auto insert = [&](const char* name, float& first, double absent) {
    frameBuffer.insert(
        name, Imf::Slice::Make(Imf::FLOAT, &first, window, sizeof(AColor), 0, 1, 1, absent));
  };
  AColor& first = bitmap.pixels.front();
  insert(isGrey ? "Y" : "R", first.r, 0);
  insert("G", first.g, 0);
  insert("B", first.b, 0);
  insert("A", first.a, 1);
  exr.setFrameBuffer(frameBuffer);
  exr.readPixels(window.min.y, window.max.y);
  if (isGrey) {
    for (AColor& pixel : bitmap.pixels) pixel = {pixel.r, pixel.r, pixel.r, pixel.a};
  }
  return bitmap;
}

}  // namespace

Bitmap readBitmap(const std::filesystem::path& file, bool isLinear) try {
  std::ifstream stream = openRegularFile(file);
  const int first = stream.peek();
  constexpr int kPng = 0x89, kExr = 0x76;
  if (first == kPng) return readPng(stream, isLinear);
  if (first == kExr) return readExr(stream, file);
  throw InputError("is neither a PNG nor an EXR file");
} catch (const std::bad_alloc&) {
  throw;
} catch (const std::exception& e) {
  throw InputError(shownPath(file) + ": " + e.what());
}

BitmapSource::BitmapSource(Bitmap bitmap, bool repeats)
    : bitmap_(std::make_shared<Bitmap>(std::move(bitmap))), repeats_(repeats) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  bounds_ = {{kInfinity, kInfinity, kInfinity, kInfinity},
             {-kInfinity, -kInfinity, -kInfinity, -kInfinity}};
  for (const AColor& pixel : bitmap_->pixels) {  // NaN does not count
    bounds_ = {min(pixel, bounds_.lo), max(pixel, bounds_.hi)};
  }
}

BitmapSource::Cell BitmapSource::cellAt(const ShadingContext& sc) const {
  const Vector uvw = uvwAt(sc);
  const auto within = [&](double t) {
    return repeats_ ? t - std::floor(t) : std::clamp(t, 0.0, 1.0);
  };
  const double x = within(uvw.x) * bitmap_->width - 0.5;
  const double y = (1 - within(uvw.y)) * bitmap_->height - 0.5;
  const auto index = [&](double at, int size) {
    const int i = static_cast<int>(at);
    return static_cast<std::size_t>(repeats_ ? (i + size) % size : std::clamp(i, 0, size - 1));
  };
  const auto pixel = [&](double right, double down) {
    const std::size_t row = index(std::floor(y) + down, bitmap_->height);
    return bitmap_->pixels[row * static_cast<std::size_t>(bitmap_->width) +
                           index(std::floor(x) + right, bitmap_->width)];
  };
  return {{pixel(0, 0), pixel(0, 1)},
          {pixel(1, 0), pixel(1, 1)},
          static_cast<float>(x - std::floor(x)),
          static_cast<float>(y - std::floor(y))};
}

AColor BitmapSource::valueAt(const ShadingContext& sc) const {
  const auto [left, right, x, y] = cellAt(sc);
  return mix(mix(left[0], right[0], x), mix(left[1], right[1], x), y);
}

Vector BitmapSource::gradientAt(const ShadingContext& sc) const {
  UVWSource* source = uvwSource(sc);
  if (source == nullptr) return {};
  const auto [left, right, x, y] = cellAt(sc);
  const float perU =
      scalar(mix(right[0] - left[0], right[1] - left[1], y)) * static_cast<float>(bitmap_->width);
  const float perV =
      scalar(mix(left[0] - left[1], right[0] - right[1], x)) * static_cast<float>(bitmap_->height);
  Vector a, b, c;
  source->getUVWDerivatives(sc, 0, a, b, c);
  return {a.x * perU + a.y * perV, b.x * perU + b.y * perV, c.x * perU + c.y * perV};
}

}  // namespace preview
