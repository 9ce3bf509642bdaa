// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include <limits>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

TEST(Grey, PixelsWithFixedWeights) {
  const auto model = [](const Bytes& rgb, Bytes& out, unsigned n) {
    for (std::size_t i = 0; i < n; ++i) {
      const unsigned red = rgb[3 * i] * 19595u >> 16, green = rgb[3 * i + 1] * 38470u >> 16;
      out[i] = static_cast<std::uint8_t>(red + green + (rgb[3 * i + 2] * 7471u >> 16));
    }
  };
  proveRows(rowLengthsAndStreamed(1), [&](unsigned n, Pattern pattern, Guard guard) {
    prove(guard, RGBtoGray8, model, samples<std::uint8_t>(3 * n, pattern), room<std::uint8_t>(n), n);
  });
}

TEST(Grey, PlanesWithWeightsOfEachLaneOverTheWholeRange) {
  // Weights of every sign, different in every lane, so that sums wrap and lanes cannot be mistaken for one another.
  const RGB_to_Gray coef = {{9798, 32767, -1, 12345}, {19235, -32768, 32767, 23456}, {3736, 32767, 30000, -20000}};
  // Samples that fill no group of `group` are left out, and what holds not even one is refused.
  const auto model = [](unsigned group) {
    return [=](const Words& r, const Words& g, const Words& b, Words& out, unsigned n, const RGB_to_Gray* c) {
      if (group > 1 && n < group) return -1;
      const auto term = [](std::uint16_t sample, int weight) {
        return static_cast<std::int16_t>(2 * sample) * weight >> 16;
      };
      for (std::size_t i = 0; i < n / group * group; ++i) {
        const int sum = term(r[i], c->red[i % 4]) + term(g[i], c->green[i % 4]) + term(b[i], c->blue[i % 4]);
        out[i] = std::min(static_cast<std::uint16_t>(sum), std::uint16_t{0x0FFF});
      }
      return 0;
    };
  };
  proveRows(rowLengthsAndStreamed(2), [&](unsigned n, Pattern pattern, Guard guard) {
    const auto plane = [&](unsigned seed) {
      return samples<std::uint16_t>(n, pattern, seed, 0, std::array<std::uint16_t, 3>{65535, 16383, 4095}[n % 3]);
    };
    prove(guard, convertRGB_to_Gray_MMX, model(4), plane(1), plane(2), plane(3), room<std::uint16_t>(n), n, &coef);
    prove(guard, convertToGray, model(1), plane(1), plane(2), plane(3), room<std::uint16_t>(n), n, &coef);
  });
}

TEST(Grey, WeightsAreRoundedAndHeldBelowOne) {
  for (const auto& [units, stored] : {std::pair(0.0, 0),
                                      {0.49, 0},
                                      {0.5, 1},
                                      {9797.6, 9798},
                                      {32767.5, 32767},
                                      {1e300, 32767},
                                      {-2, 32767},
                                      {-1e300, 32767},
                                      {std::numeric_limits<double>::quiet_NaN(), 32767}}) {
    RGB_to_Gray coef;
    EXPECT_EQ(convertCoef_RGB_to_Gray(units / 32768, 0.587, 0.114, &coef), 0);
    for (int lane = 0; lane < 4; ++lane) {
      EXPECT_EQ(coef.red[lane], stored) << units;
      EXPECT_TRUE(coef.green[lane] == 19235 && coef.blue[lane] == 3736);
    }
  }
}

}  // namespace
}  // namespace quorvel::test
