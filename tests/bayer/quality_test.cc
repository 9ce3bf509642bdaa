// SPDX-License-Identifier: Apache-2.0
// How near the methods come to real photographs. The figures beside each are those of LibRaw 0.20 in the same measure:
// its linear interpolation, which method 0 equals, and its variable number of gradients, which method 2 must not fall
// behind.
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

}  // namespace
}  // namespace quorvel::test
