// SPDX-License-Identifier: Apache-2.0
// How near demosaicing comes to real photographs. The figures beside each are those of LibRaw 0.20 in the same measure:
// its linear interpolation, which method 0 equals, and its variable number of gradients, which method 2 must not fall
// behind.
#include <cmath>

#include <gtest/gtest.h>
#include <quorvel/bayer.h>

#include "tests/support/photographs.h"
#include "tests/support/reference/demosaic.h"

namespace quorvel::test {
namespace {

// Peak signal-to-noise ratio over all three colours, peak 4095, of what a method makes of the one colour a site that
// the sensor keeps, with a border of 8 pixels left out.
double colourPsnr(const Photograph& photo, fromBayerMethod method) {
  const std::size_t size = std::size_t{photo.width} * photo.height;
  std::vector<std::uint16_t> frame(size), planes[3] = {frame, frame, frame};
  for (std::size_t i = 0; i < size; ++i) {
    frame[i] = photo.rgb[3 * i + reference::colourAt(i / photo.width, i % photo.width)];
  }
  rgbFromBayer(frame.data(), photo.width, photo.height, photo.width, planes[0].data(), planes[1].data(),
               planes[2].data(), method);
  constexpr unsigned kBorder = 8;
  double squares = 0, count = 0;
  for (std::size_t y = kBorder; y < photo.height - kBorder; ++y) {
    for (std::size_t i = y * photo.width + kBorder; i < (y + 1) * photo.width - kBorder; ++i) {
      for (std::size_t c = 0; c < 3; ++c, ++count) {
        const double difference = static_cast<double>(planes[c][i]) - photo.rgb[3 * i + c];
        squares += difference * difference;
      }
    }
  }
  return 10 * std::log10(4095.0 * 4095.0 * count / squares);
}

TEST(DemosaicQuality, OnPhotographs) {
  const struct {
    const char* file;
    double linear, variableGradients, gradient;
  } photographs[] = {
      {"jxl/flower/flower.png", 41.30, 45.00, 45.81},
      {"external/wesaturate/500px/cvo9xd_keong_macan_srgb8.png", 31.02, 34.60, 34.40},
      {"external/wesaturate/500px/tmshre_riaphotographs_srgb8.png", 42.49, 44.28, 44.85},
      {"external/wesaturate/500px/u76c0g_bliznaca_srgb8.png", 33.54, 38.36, 37.81},
  };
  for (const auto& p : photographs) {
    const std::optional<Photograph> photo = loadPhotograph(p.file);
    if (!photo) GTEST_SKIP() << "no " << p.file << ": the package libjxl-testdata is not there";
    EXPECT_NEAR(colourPsnr(*photo, bayerBilinear), p.linear, 0.01) << p.file;
    EXPECT_NEAR(colourPsnr(*photo, bayerGradient), p.gradient, 0.01) << p.file;
    EXPECT_GE(colourPsnr(*photo, bayerVariableGradients), p.variableGradients - 0.01) << p.file;
  }
}

}  // namespace
}  // namespace quorvel::test
