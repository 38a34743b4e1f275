// SPDX-License-Identifier: MIT
#include "preview/pictures/contact_sheet.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <sstream>
#include <utility>
#include <vector>

#include "preview/diagnostics/errors.h"
#include "preview/diagnostics/one_line.h"

namespace preview {
namespace {

// Sizes in pixels, brightness linear.
constexpr int kMargin = 12;
constexpr int kTextSize = 13;
constexpr int kLineHeight = 17;
constexpr float kPaper = 0.015F;
constexpr float kInk = 0.8F;

class Font {
 public:
  Font() : library_(nullptr, FT_Done_FreeType), face_(nullptr, FT_Done_Face) {
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0) throw InputError("the font library cannot be used");
    library_.reset(library);
    FT_Face face = nullptr;
    if (FT_New_Face(library, CAPTION_FONT, 0, &face) != 0) {
      throw InputError(CAPTION_FONT ": no font can be loaded from it, or memory is short");
    }
    face_.reset(face);
    FT_Set_Pixel_Sizes(face, 0, kTextSize);
  }

  int widthOf(const std::string& text) {
    int width = 0;
    for (const char32_t character : charactersOf(text)) {
      if (load(character, FT_LOAD_DEFAULT)) width += advance();
    }
    return width;
  }

  /// Draws text whose baseline begins at (x, y), as far as it fits left of `right`.
  void draw(FloatImage& image, const std::string& text, int x, int y, int right) {
    for (const char32_t character : charactersOf(text)) {
      if (!load(character, FT_LOAD_RENDER)) continue;
      if (x + advance() > right) return;
      blend(image, x + face_->glyph->bitmap_left, y - face_->glyph->bitmap_top);
      x += advance();
    }
  }

 private:
  bool load(char32_t point, FT_Int32 flags) { return FT_Load_Char(face_.get(), point, flags) == 0; }
  int advance() const { return static_cast<int>(face_->glyph->advance.x / 64); }

  void blend(FloatImage& image, int left, int top) const {
    const FT_Bitmap& glyph = face_->glyph->bitmap;
    for (int row = 0; row < static_cast<int>(glyph.rows); ++row) {
      for (int column = 0; column < static_cast<int>(glyph.width); ++column) {
        const int x = left + column;
        const int y = top + row;
        if (x < 0 || y < 0 || x >= image.width() || y >= image.height()) continue;
        const float ink = static_cast<float>(glyph.buffer[row * glyph.pitch + column]) / 255;
        for (float& value : image.pixel(x, y)) value += ink * (kInk - value);
      }
    }
  }

  std::unique_ptr<FT_LibraryRec_, FT_Error (*)(FT_Library)> library_;
  std::unique_ptr<FT_FaceRec_, FT_Error (*)(FT_Face)> face_;
};

std::vector<std::string> linesOf(const std::string& caption, Font& font) {
  std::vector<std::string> lines;
  std::istringstream words(caption);
  for (std::string word; words >> word;) {
    if (!lines.empty() && font.widthOf(lines.back() + " " + word) <= kThumbnailWidth) {
      lines.back() += " " + word;
    } else {
      lines.push_back(word);
    }
  }
  return lines;
}

FloatImage reduced(int width, int height) {
  constexpr double kMaxWidth = kThumbnailWidth, kMaxHeight = 2 * kMaxWidth;
  const double scale = std::min({1.0, kMaxWidth / width, kMaxHeight / height});
  const auto length = [&](int side) { return std::max(1, static_cast<int>(side * scale)); };
  return {length(width), length(height), 3};
}

}  // namespace

Downsampler::Downsampler(int width, int height)
    : width_(width), height_(height), image_(reduced(width, height)), sums_(image_.row(0).size()) {}

void Downsampler::add(const FloatImage& rows) {
  // Each pixel is the mean of those that it covers.
  const auto edge = [](int i, int from, int to) {
    return static_cast<int>(static_cast<std::int64_t>(i) * from / to);
  };
  for (int sourceY = 0; sourceY < rows.height(); ++sourceY) {
    const int y0 = edge(row_, height_, image_.height());
    const int y1 = edge(row_ + 1, height_, image_.height());
    const bool completes = ++sourceRow_ == y1;
    for (int x = 0; x < image_.width(); ++x) {
      const int x0 = edge(x, width_, image_.width());
      const int x1 = edge(x + 1, width_, image_.width());
      double* sums = &sums_[static_cast<std::size_t>(x) * 3];
      for (int sourceX = x0; sourceX < x1; ++sourceX) {
        for (std::size_t c = 0; c < 3; ++c) sums[c] += rows.pixel(sourceX, sourceY)[c];
      }
      const int count = (y1 - y0) * (x1 - x0);
      for (std::size_t c = 0; c < 3 && completes; ++c) {
        image_.pixel(x, row_)[c] = static_cast<float>(std::exchange(sums[c], 0) / count);
      }
    }
    if (completes) ++row_;
  }
}

FloatImage contactSheet(std::span<const Thumbnail> thumbnails) {
  Font font;
  std::vector<std::vector<std::string>> captions;
  for (const Thumbnail& thumbnail : thumbnails) {
    captions.push_back(linesOf(thumbnail.caption, font));
  }

  const auto columns =
      static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(thumbnails.size()))));
  std::vector<int> rowTops = {kMargin};
  for (std::size_t first = 0; first < thumbnails.size(); first += columns) {
    int height = 0;
    for (std::size_t i = first; i < std::min(first + columns, thumbnails.size()); ++i) {
      height = std::max(height, thumbnails[i].image->height() +
                                    kLineHeight * static_cast<int>(captions[i].size()));
    }
    rowTops.push_back(rowTops.back() + height + kMargin);
  }

  constexpr int kColumn = kThumbnailWidth + kMargin;
  FloatImage sheet(kMargin + static_cast<int>(columns) * kColumn, rowTops.back(), 3);
  for (std::size_t i = 0; i < sheet.pixels(); ++i) std::ranges::fill(sheet.pixel(i), kPaper);
  for (std::size_t i = 0; i < thumbnails.size(); ++i) {
    const FloatImage& image = *thumbnails[i].image;
    const int left = kMargin + static_cast<int>(i % columns) * kColumn;
    const int top = rowTops[i / columns];
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        std::ranges::copy(image.pixel(x, y), sheet.pixel(left + x, top + y).begin());
      }
    }
    int baseline = top + image.height();
    for (const std::string& line : captions[i]) {
      baseline += kLineHeight;
      font.draw(sheet, line, left, baseline, left + kThumbnailWidth);
    }
  }
  return sheet;
}

}  // namespace preview
