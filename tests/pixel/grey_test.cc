// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include <limits>

#include "tests/support/prove.h"
#include "tests/support/reference/sums.h"

namespace quorvel::test {
namespace {

using Words = std::vector<std::uint16_t>;

TEST(Grey, PixelsWithFixedWeights) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    const auto rgb = samples<std::uint8_t>(3 * n, pattern);
    GuardedBuffer<std::uint8_t> src(rgb, guard), dst(n, guard);
    RGBtoGray8(src.data(), dst.data(), n);
    EXPECT_TRUE(holds(dst, reference::greyOfPixels(rgb)));
  });
  const std::vector<std::uint8_t> whiteAndGreen = {255, 255, 255, 0, 255, 0};
  std::array<std::uint8_t, 2> grey;
  RGBtoGray8(whiteAndGreen.data(), grey.data(), 2);
  EXPECT_EQ(grey, (std::array<std::uint8_t, 2>{254, 149}));
}

TEST(Grey, PlanesWithWeightsOfEachLaneOverTheWholeRange) {
  // Weights of every sign, different in every lane, so that sums wrap and lanes cannot be mistaken for one another.
  const RGB_to_Gray coef = {{9798, 32767, -1, 12345}, {19235, -32768, 32767, 23456}, {3736, 32767, 30000, -20000}};
  proveRows(rowLengths(), [&](unsigned n, Pattern pattern, Guard guard) {
    const unsigned high = n % 3 == 0 ? 65535 : n % 3 == 1 ? 16383 : 4095;
    const auto plane = [&](unsigned seed) {
      return samples<std::uint16_t>(n, pattern, seed, 0, static_cast<std::uint16_t>(high));
    };
    const Words red = plane(1), green = plane(2), blue = plane(3);
    Words all(n), groups(n, 0xA7A7);  // samples left over stay as the buffer was
    for (std::size_t i = 0; i < n; ++i) all[i] = reference::greyOfSamples(red[i], green[i], blue[i], i, coef);
    std::copy_n(all.begin(), n / 4 * 4, groups.begin());
    GuardedBuffer<std::uint16_t> r(red, guard), g(green, guard), b(blue, guard), whole(n, guard), every(n, guard);
    EXPECT_EQ(convertRGB_to_Gray_MMX(r.data(), g.data(), b.data(), whole.data(), n, &coef), n < 4 ? -1 : 0);
    EXPECT_TRUE(holds(whole, groups));
    EXPECT_EQ(convertToGray(r.data(), g.data(), b.data(), every.data(), n, &coef), 0);
    EXPECT_TRUE(holds(every, all));
  });
}

TEST(Grey, WeightsAreRoundedAndHeldBelowOne) {
  RGB_to_Gray coef;
  EXPECT_EQ(convertCoef_RGB_to_Gray(0.299, 0.587, 0.114, &coef), 0);
  for (int lane = 0; lane < 4; ++lane) {
    EXPECT_EQ(coef.red[lane], 9798);
    EXPECT_EQ(coef.green[lane], 19235);
    EXPECT_EQ(coef.blue[lane], 3736);
  }
  const Words white(4, 4095);
  Words grey(4);
  EXPECT_EQ(convertRGB_to_Gray_MMX(white.data(), white.data(), white.data(), grey.data(), 4, &coef), 0);
  EXPECT_EQ(grey, Words(4, 4093));

  const struct {
    double weight;
    int stored;
  } cases[] = {{0, 0},
               {0.5 / 32768, 1},
               {0.49 / 32768, 0},
               {32767.4 / 32768, 32767},
               {32767.5 / 32768, 32767},
               {1, 32767},
               {4, 32767},
               {1e300, 32767},
               {-2.0 / 32768, 32767},
               {-0.5, 32767},
               {-1e300, 32767},
               {std::numeric_limits<double>::quiet_NaN(), 32767}};
  for (const auto& [weight, stored] : cases) {
    convertCoef_RGB_to_Gray(weight, 0, 0, &coef);
    EXPECT_EQ(coef.red[3], stored) << weight;
  }
}

}  // namespace
}  // namespace quorvel::test
