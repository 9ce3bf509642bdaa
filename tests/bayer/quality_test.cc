// SPDX-License-Identifier: Apache-2.0
// How near demosaicing and reduction come to real photographs. For demosaicing, the figures beside each are those of
// LibRaw 0.20 in the same measure: its linear interpolation, which method 0 equals, and its variable number of
// gradients, which method 2 must not fall behind.
#include <cmath>

#include <gtest/gtest.h>
#include <quorvel/bayer.h>

#include "tests/support/photographs.h"

namespace quorvel::test {
namespace {

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
    const std::vector<std::uint16_t> frame = mosaicOf(*photo);
    const auto psnr = [&](fromBayerMethod method) {
      std::vector<std::uint16_t> planes[3] = {frame, frame, frame};
      rgbFromBayer(frame.data(), photo->width, photo->height, photo->width, planes[0].data(), planes[1].data(),
                   planes[2].data(), method);
      return colourPsnr(*photo, planes);
    };
    EXPECT_NEAR(psnr(bayerBilinear), p.linear, 0.01) << p.file;
    EXPECT_NEAR(psnr(bayerGradient), p.gradient, 0.01) << p.file;
    EXPECT_GE(psnr(bayerVariableGradients), p.variableGradients - 0.01) << p.file;
  }
}

// The mean square of what the demosaiced frame has of R - G and B - G beyond the truth, which is the mean colour of the
// `factor` x `factor` sites that a reduced sample stands for.
double colourError(const Photograph& photo, const std::vector<std::uint16_t>& reduced, unsigned factor) {
  const unsigned width = photo.width / factor, height = photo.height / factor;
  std::vector<std::uint16_t> planes[3] = {reduced, reduced, reduced};
  rgbFromBayer(reduced.data(), width, height, width, planes[0].data(), planes[1].data(), planes[2].data(),
               bayerBilinear);
  double squares = 0;
  for (std::size_t y = 2; y < height - 2; ++y) {
    for (std::size_t x = 2; x < width - 2; ++x) {
      for (const std::size_t c : {0, 2}) {
        double truth = 0;
        for (std::size_t i = 0; i < factor * factor; ++i) {
          const std::size_t site = (y * factor + i / factor) * photo.width + x * factor + i % factor;
          truth += static_cast<double>(photo.rgb[3 * site + c]) - photo.rgb[3 * site + 1];
        }
        const double found = static_cast<double>(planes[c][y * width + x]) - planes[1][y * width + x];
        squares += (found - truth / (factor * factor)) * (found - truth / (factor * factor));
      }
    }
  }
  return squares;
}

// Reduced frames are nearer to the colours than those that take the first cell of every block.
TEST(BayerReduction, HasLessColourErrorThanTakingCells) {
  const struct {
    unsigned factor;
    double mostOfCells;
    void (*reduce)(std::uint16_t* src, unsigned width, unsigned height, std::uint16_t* dst);
  } roads[] = {
      {2, 0.6, [](auto* src, auto w, auto h, auto* dst) { compressBayer_x2(src, w, h, dst); }},
      {2, 0.8,
       [](auto* src, auto w, auto h, auto* dst) {
         bayerReweightFor_x2(src, src, w, h);
         compressBayer_x2Step(src, w, h, dst);
       }},
      {4, 0.75,
       [](auto* src, auto w, auto h, auto* dst) {
         bayerReweightFor_x4(src, src, w, h);
         compressBayer_x4Step(src, w, h, dst);
       }},
      {8, 0.55, [](auto* src, auto w, auto h, auto* dst) { compressBayer_x8(src, w, h, dst); }},
  };
  const char* const file = "jxl/flower/flower.png";
  const std::optional<Photograph> photo = loadPhotograph(file);
  if (!photo) GTEST_SKIP() << "no " << file << ": the package libjxl-testdata is not there";
  const std::vector<std::uint16_t> frame = mosaicOf(*photo);
  for (const auto& road : roads) {
    std::vector<std::uint16_t> source = frame, reduced, cells;
    const unsigned k = road.factor, width = photo->width / k, height = photo->height / k;
    reduced.resize(std::size_t{width} * height);
    road.reduce(source.data(), photo->width, photo->height, reduced.data());
    for (std::size_t y = 0; y < height; ++y) {
      for (std::size_t x = 0; x < width; ++x) {
        cells.push_back(frame[(y / 2 * 2 * k + y % 2) * photo->width + x / 2 * 2 * k + x % 2]);
      }
    }
    EXPECT_LE(std::sqrt(colourError(*photo, reduced, k) / colourError(*photo, cells, k)), road.mostOfCells) << k;
  }
}

}  // namespace
}  // namespace quorvel::test
