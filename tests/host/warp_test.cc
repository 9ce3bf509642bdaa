// SPDX-License-Identifier: Apache-2.0
// Pictures drawn anew: how closely the blocks follow a mapping, what the pixels show, and what is refused.
#include <cmath>

#include "host/road/warp.h"
#include "tests/host/support.h"

namespace quorvel::host::test {
namespace {

class Warp : public InDirectory {};

constexpr Size kSource = {301, 223}, kOutput = {260, 300};

struct Named {
  const char* name;
  Mapping mapping;
};

std::vector<Named> mappings() {
  const auto projective = [](const std::array<double, 9>& m) { return projectiveMapping(m, kOutput); };
  const double c = std::cos(0.3), s = std::sin(0.3);
  return {{"turn", projective({c, -s, 40, s, c, -30, 0, 0, 1})},
          {"strong perspective", projective({1.3, 0.4, -60, 0.1, 1.5, -20, 0.002, 0.003, 1})},
          {"horizon, scaled by a negative number", projective({-200, 0, 20000, 0, -90, -1, 0, -1, 100})},
          {"flipped quad", quadMapping({301, 0, 0, 10, 290, 223, -7, 200}, kOutput)},
          {"twisted quad", quadMapping({0, 0, 301, 0, 301, 223, 0, 223}, kOutput)},
          {"far smaller", projective({7e4, 0, 150 - 7e4 * 130.5, 0, 7e4, 100 - 7e4 * 130.5, 0, 0, 1})},
          {"waves of order 2", polynomialMapping(2, {5, 1, 0.1, 2e-4, -1e-3, 4e-4, -9, 0, 1.2, 1e-3, 0, -1e-3})},
          {"waves of order 3",
           polynomialMapping(3, {9, 1, 0, 0, 0, 0, 9e-6, 0, -5e-6, 0, -2, 0, 1, 1e-3, 0, 0, 0, 0, 0, 3e-6})}};
}

// A block's positions, truncated to sixteenths as the resamplers do, and its window, with what they read around them.
TEST_F(Warp, BlocksFollowTheMappingWithinTheirWindows) {
  for (const auto& [name, mapping] : mappings()) {
    const auto follow = [&name = name, &mapping = mapping](const WarpBlock& b) {
      std::vector<TPoInt<std::int32_t>> row(b.width);
      for (unsigned j = 0; j < b.height; ++j) {
        linearCoor(&b.coef, static_cast<int>(j), row.data(), b.width);
        for (unsigned i = 0; i < b.width; ++i) {
          const Place place = *mapping({b.x + i + 0.5, b.y + j + 0.5});
          const auto [x, y] = row[i];
          ASSERT_NEAR((x >> 12) / 16.0 + b.originX, place.x - 0.5, 3.0 / 32) << name;
          ASSERT_NEAR((y >> 12) / 16.0 + b.originY, place.y - 0.5, 3.0 / 32) << name;
          ASSERT_TRUE((x >> 16) >= 1 && (x >> 16) + 2 < static_cast<int>(b.windowWidth)) << name;
          ASSERT_TRUE((y >> 16) >= 1 && (y >> 16) + 2 < static_cast<int>(b.windowHeight)) << name;
        }
      }
    };
    cutIntoBlocks(mapping, kOutput, kSource, follow, [](unsigned, unsigned, unsigned, unsigned) {});
  }
}

// A picture of slopes, whose value at any place is known, in every depth and number of channels.
TEST_F(Warp, PixelsShowTheirPlacesOrTheFillValue) {
  for (const auto& [maximum, channels] : {std::pair(255u, 3u), {255u, 1u}, {1000u, 1u}, {65535u, 3u}}) {
    const double full = 0.8 * maximum;
    const auto slope = [=](double x, double y, std::size_t c) {
      return full / 8 + full * (c == 1 ? y / kSource.height : x / kSource.width);
    };
    Words samples(kSource.width * kSource.height * channels);
    for (unsigned i = 0; i < samples.size(); ++i) {
      const unsigned pixel = i / channels, x = pixel % kSource.width, y = pixel / kSource.width;
      samples[i] = static_cast<std::uint16_t>(std::lround(slope(x, y, i % channels)));
    }
    Picture source{kSource.width, kSource.height, maximum, samples, channels};
    if (maximum == 255) source.samples = Bytes(samples.begin(), samples.end());
    for (const auto& [name, mapping] : mappings()) {
      for (const Geometry_Method method : {0, 7}) {
        const WarpSettings settings = {kOutput, method, {maximum, 0, maximum}};
        const Warped warped = warp(source, mapping, settings);
        double outside = 0, sum = 0, count = 0;  // of what values are off
        for (unsigned i = 0; i < kOutput.width * kOutput.height; ++i) {
          const auto place = mapping({i % kOutput.width + 0.5, i / kOutput.width + 0.5});
          const auto within = [&](double margin) {
            return place && place->x > margin && place->x < kSource.width - margin && place->y > margin &&
                   place->y < kSource.height - margin;
          };
          for (std::size_t c = 0; c < channels; ++c) {
            const int got =
                std::visit([at = i * channels + c](const auto& s) { return int{s[at]}; }, warped.picture.samples);
            if (within(2)) {
              const double off = got - slope(place->x - 0.5, place->y - 0.5, c);
              ASSERT_LT(std::abs(off), 1.1 + full / kSource.height * 3 / 32) << name << ' ' << i;
              sum += off;
              ++count;
            } else if (!within(-0.2)) {
              ASSERT_EQ(got, static_cast<int>(settings.fill[c])) << name << ' ' << i;
            }
          }
          outside += !within(0);
        }
        EXPECT_LT(std::abs(sum), 1 + count * (0.5 + full / kSource.height / 64)) << name;
        EXPECT_NEAR(static_cast<double>(warped.outside), outside, 120) << name;
      }
    }
  }
}

// Noise through the program: turned about and moved by whole pixels, samples stay what they are, beyond position 32768
// too; and what a file of each kind held comes back.
TEST_F(Warp, WholePixelsStayAsTheyAreInEveryFormat) {
  std::string wide = "P5\n40000 3\n255\n", narrow = "P6\n7 5\n255\n", back = narrow, deep = "P5\n5 2\n20000\n";
  for (unsigned i = 0; i < 120000; ++i) wide += static_cast<char>(i * i * 2654435761u >> 24);
  std::string pixels;
  for (unsigned i = 0; i < 105; ++i) pixels += static_cast<char>(i * 37);
  for (unsigned i = 35; i-- > 0;) back += pixels.substr(3 * i, 3);
  for (unsigned i = 0; i < 10; ++i) deep += {static_cast<char>(i * 7), static_cast<char>(i * 29)};
  put("wide.pgm", wide);
  put("narrow.ppm", narrow + pixels);
  EXPECT_EQ(quorvel("warp wide.pgm -o same.pgm --quad 0,0,40000,0,0,3,40000,3").status, kDone);
  EXPECT_EQ(contents(at("same.pgm")), wide);
  for (const std::string& pgm : {deep, std::string("P5\n1 1\n65535\n\xFF\xFF")}) {
    put("deep.pgm", pgm);
    EXPECT_EQ(quorvel("warp deep.pgm -o same.pnm --force --homography 1,0,0,0,1,0,0,0,1 --method bilinear").err, "");
    EXPECT_EQ(contents(at("same.pnm")), pgm);
  }
  put("turn.json", R"({"model": "affine", "coefficients": [-1, 0, 7, 0, -1, 5]})");
  for (const std::string name : {"a.ppm", "a.png", "a.tif"}) {
    if (!buildsFormatOf(name)) continue;
    EXPECT_EQ(quorvel("warp narrow.ppm --transform turn.json -o " + name).err, "");
    EXPECT_EQ(quorvel("warp " + name + " --force -o copy.ppm --quad 0,0,7,0,0,5,7,5").err, "");
    EXPECT_EQ(contents(at("copy.ppm")), back) << name;
  }
}

TEST_F(Warp, RefusesWhatCannotBeMeant) {
  put("p.pgm", "P5\n2 2\n255\nabcd");
  for (const auto& [arguments, says] : {std::pair{"--quad 0,0,1,1,2,2,3,3", "one line"},
                                        {"--quad 0,0,2,0,0,2,nan,2", "eight numbers"},
                                        {"--quad 0,0,2,0,0,2,2,2 --size 0x5", "a size WxH"},
                                        {"--quad 0,0,2,0,0,2,2,2 --fill 300", "white is 255"},
                                        {"--quad 0,0,2,0,0,2,2,2 --fill 1,2,3", "is grey"},
                                        {"--quad 0,0,2,0,0,2,2,2 --method spline", "bilinear"},
                                        {"--homography 1,0,0,0,1,0,1,0,-1", "horizon"},
                                        {"--homography 0,0,0,0,0,0,0,0,0", "horizon"},
                                        {"", "is needed"}}) {
    expectRefused(fmt::format("warp p.pgm -o out.pgm {}", arguments), 2, says);
  }
  for (const auto& [json, says] :
       {std::pair{R"({"model": "projective", "matrix": [1, 0, 0, 2, 0, 0, 0, 0, 1]})", "line"},
        {R"({"model": "poly2", "coefficients": [1, 2]})", "12 numbers"},
        {R"({"model": "spline"})", "spline"},
        {R"({"model": "affine", "matrix": [1, 0, 0, 0, 1, 0, 0, 0.1, 1]})", "affine"},
        {"P5", "not a transformation"}}) {
    put("t.json", json);
    expectRefused("warp p.pgm -o out.pgm --transform t.json", 1, says);
  }
  expectRefused("warp p.pgm -o out.pgm --transform none.json", 1, "none.json");
}

}  // namespace
}  // namespace quorvel::host::test
