#include "preview/pictures/color_map.h"

#include <gtest/gtest.h>

#include "support/bits.h"

namespace {

using preview::FloatImage;
using test::kInf;
using test::kNaN;

FloatImage onePixel(std::initializer_list<float> values) {
  FloatImage image(1, 1, static_cast<int>(values.size()));
  std::ranges::copy(values, image.pixel(0).begin());
  return image;
}

TEST(ColorMap, RangeAndSpecials) {
  const struct {
    const char* what;
    std::initializer_list<float> values;
    double low, high;
    std::initializer_list<float> color;
    const char* specials;
  } rows[] = {
      {"number", {0.25F}, 0, 1, {0.25F, 0.25F, 0.25F}, ""},
      {"number in a wide range", {-5}, -10, 10, {0.25F, 0.25F, 0.25F}, ""},
      {"falling range", {0.25F}, 1, 0, {0.75F, 0.75F, 0.75F}, ""},
      {"range as wide as there is", {0}, -3e38, 3e38, {0.5F, 0.5F, 0.5F}, ""},
      {"vector, clipped", {-1, 0.5F, 3}, -1, 2, {0, 0.5F, 1}, ""},
      {"alpha is not shown", {0.25F, 0.5F, 0.75F, 9}, 0, 1, {0.25F, 0.5F, 0.75F}, ""},
      {"not a number", {kNaN}, 0, 1, {1, 0, 1}, "1 NaN"},
      {"plus infinity", {0, kInf, 0}, 0, 1, {1, 1, 1}, "1 +inf"},
      {"minus infinity", {1, 1, -kInf}, 0, 1, {0, 0, 0}, "1 -inf"},
      {"not a number comes first", {kInf, -kInf, kNaN}, 0, 1, {1, 0, 1}, "1 NaN"},
      {"plus comes before minus", {-kInf, kInf, 0}, 0, 1, {1, 1, 1}, "1 +inf"},
      {"alpha is not a number", {0, 0, 0, kNaN}, 0, 1, {1, 0, 1}, "1 NaN"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const preview::ColorImage mapped =
        preview::mapToColors(onePixel(row.values), onePixel({1}), row.low, row.high);
    EXPECT_TRUE(std::ranges::equal(mapped.colors.pixel(0), row.color));
    EXPECT_EQ(describe(mapped.specials), row.specials);
  }
}

TEST(ColorMap, CountsPixelsThatAreSeen) {
  FloatImage values(4, 2, 1);
  FloatImage coverage(4, 2, 1);
  const float row[] = {kNaN, kInf, -kInf, kNaN, kNaN, -kInf, 1, kNaN};
  const float seen[] = {1, 0.5F, 1, 0.25F, 0, 1, 1, 1};
  for (std::size_t i = 0; i < 8; ++i) {
    values.pixel(i)[0] = row[i];
    coverage.pixel(i)[0] = seen[i];
  }
  const preview::ColorImage mapped = preview::mapToColors(values, coverage, 0, 1);
  EXPECT_EQ(describe(mapped.specials), "3 NaN, 1 +inf, 2 -inf");
  const float background = mapped.colors.pixel(4)[0];
  EXPECT_GT(background, 0);
  EXPECT_LT(background, 0.2F);
  EXPECT_FLOAT_EQ(mapped.colors.pixel(1)[1], 0.5F + 0.5F * background);
}

}  // namespace
