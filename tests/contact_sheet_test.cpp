#include "preview/pictures/contact_sheet.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using preview::FloatImage;
using preview::Thumbnail;

FloatImage filled(int width, int height, std::initializer_list<float> color) {
  FloatImage image(width, height, 3);
  for (std::size_t i = 0; i < image.pixels(); ++i) std::ranges::copy(color, image.pixel(i).begin());
  return image;
}

/// How many pixels have exactly this colour, and the corners of the smallest box around them.
struct Spot {
  int count = 0, left = 1 << 20, top = 1 << 20, right = -1, bottom = -1;
};
template <class Matches>
Spot find(const FloatImage& image, Matches matches) {
  Spot spot;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (!matches(image.pixel(x, y))) continue;
      ++spot.count;
      spot.left = std::min(spot.left, x);
      spot.top = std::min(spot.top, y);
      spot.right = std::max(spot.right, x);
      spot.bottom = std::max(spot.bottom, y);
    }
  }
  return spot;
}
auto colored(std::initializer_list<float> color) {
  return [wanted = std::vector<float>(color)](std::span<const float> pixel) {
    return std::ranges::equal(pixel, wanted);
  };
}
bool isInk(std::span<const float> pixel) { return pixel[0] == pixel[2] && pixel[0] > 0.1F; }

TEST(ContactSheet, PicturesStandInRowsAndAreScaledDown) {
  const FloatImage red = filled(200, 100, {1, 0, 0});
  const FloatImage green = filled(50, 80, {0, 1, 0});
  const FloatImage blue = filled(100, 100, {0, 0, 1});
  const FloatImage tall = filled(20, 800, {1, 1, 0});
  std::vector<Thumbnail> thumbnails;
  for (const FloatImage* image : {&red, &green, &blue, &tall}) {
    thumbnails.push_back({preview::scaledDown(*image, 100), ""});
  }
  const FloatImage sheet = preview::contactSheet(thumbnails, 100);

  const Spot reds = find(sheet, colored({1, 0, 0}));
  const Spot greens = find(sheet, colored({0, 1, 0}));
  const Spot blues = find(sheet, colored({0, 0, 1}));
  EXPECT_EQ(reds.count, 100 * 50);
  EXPECT_EQ(greens.count, 50 * 80);
  EXPECT_EQ(blues.count, 100 * 100);
  EXPECT_EQ(find(sheet, colored({1, 1, 0})).count, 5 * 200);
  EXPECT_EQ(reds.top, greens.top);
  EXPECT_GT(greens.left, reds.right);
  EXPECT_EQ(blues.left, reds.left);
  EXPECT_GT(blues.top, greens.bottom);
}

TEST(ContactSheet, ScalingTakesTheMean) {
  FloatImage stripes(200, 2, 3);
  for (int x = 0; x < 200; x += 2) stripes.pixel(x, 0)[0] = 1;
  EXPECT_EQ(find(preview::scaledDown(stripes, 100), colored({0.25F, 0, 0})).count, 100);
}

TEST(ContactSheet, CaptionsStandBelowWithinTheirColumn) {
  const FloatImage red = filled(150, 20, {1, 0, 0});
  const auto inkOf = [&](const std::string& caption) {
    const Thumbnail thumbnail = {red, caption};
    const FloatImage sheet = preview::contactSheet({&thumbnail, 1}, 150);
    const Spot reds = find(sheet, colored({1, 0, 0}));
    const Spot ink = find(sheet, isInk);
    EXPECT_EQ(reds.count, 150 * 20) << "the caption covers the picture";
    if (ink.count > 0) {
      EXPECT_GT(ink.top, reds.bottom);
      EXPECT_GE(ink.left, reds.left);
      EXPECT_LE(ink.right, reds.right);
    }
    return ink;
  };
  EXPECT_EQ(inkOf("").count, 0);
  const Spot one = inkOf("facing");
  EXPECT_GT(one.count, 20);
  const Spot broken = inkOf("facing ratio from a caption of many words");
  EXPECT_GT(broken.bottom, one.bottom + 10);
  const Spot cut = inkOf("aWordThatIsMuchTooLongForItsColumnAndCannotBeBrokenAnywhere");
  EXPECT_LT(cut.bottom, one.bottom + 10);
}

TEST(ContactSheet, CaptionsAreUtf8) {
  const FloatImage red = filled(150, 20, {1, 0, 0});
  const auto sheetOf = [&](const std::string& caption) {
    const Thumbnail thumbnail = {red, caption};
    return preview::contactSheet({&thumbnail, 1}, 150);
  };
  const auto same = [](const FloatImage& a, const FloatImage& b) {
    for (std::size_t i = 0; i < a.pixels(); ++i) {
      if (!std::ranges::equal(a.pixel(i), b.pixel(i))) return false;
    }
    return true;
  };
  const FloatImage replacement = sheetOf("\uFFFD");
  EXPECT_FALSE(same(sheetOf("\u00B1"), replacement));
  EXPECT_FALSE(same(sheetOf("\u2264"), sheetOf("\u2265")));
  for (const char* broken : {"\x80", "\xC3", "\xE2\x89", "\xFF"}) {
    EXPECT_TRUE(same(sheetOf(broken), replacement));
  }
}

}  // namespace
