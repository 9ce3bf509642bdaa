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

TEST_F(Warp, BlocksCoverTheOutputOnceAndFollowTheMapping) {
  for (const auto& [name, mapping] : mappings()) {
    std::vector<int> covered(kOutput.width * kOutput.height);
    const auto truth = [&mapping = mapping, &covered](unsigned x, unsigned y) {
      ++covered[y * kOutput.width + x];
      const auto place = mapping({x + 0.5, y + 0.5});
      return Place{place ? place->x - 0.5 : 1e9, place ? place->y - 0.5 : 1e9};
    };
    double greatest = 0, sum = 0, count = 0, spread = 0;  // of what positions are off, once truncated and in a block
    const auto block = [&](const WarpBlock& b) {
      double low = 1, high = -1;
      for (unsigned i = 0; i < b.width * b.height; ++i) {
        const Place wanted = truth(b.x + i % b.width, b.y + i / b.width);
        std::vector<TPoInt<std::int32_t>> row(b.width);
        linearCoor(&b.coef, static_cast<int>(i / b.width), row.data(), b.width);
        const auto [x, y] = row[i % b.width];
        for (const auto& [position, place] : {std::pair(x, wanted.x - b.originX), {y, wanted.y - b.originY}}) {
          const double off = (position >> 12) / 16.0 - place;
          greatest = std::max(greatest, std::abs(off));
          sum += off;
          ++count;
        }
        low = std::min(low, x / 65536.0 + b.originX - wanted.x);
        high = std::max(high, x / 65536.0 + b.originX - wanted.x);
        ASSERT_TRUE((x >> 16) >= 1 && (x >> 16) + 2 < static_cast<int>(b.windowWidth)) << name;
        ASSERT_TRUE((y >> 16) >= 1 && (y >> 16) + 2 < static_cast<int>(b.windowHeight)) << name;
      }
      spread = std::max(spread, high - low);
    };
    cutIntoBlocks(mapping, kOutput, kSource, block, [&](unsigned x, unsigned y, unsigned width, unsigned height) {
      for (unsigned i = 0; i < width * height; ++i) {
        const Place p = truth(x + i % width, y + i / width);
        ASSERT_FALSE(p.x >= -0.5 && p.x < kSource.width - 0.5 && p.y >= -0.5 && p.y < kSource.height - 0.5) << name;
      }
    });
    EXPECT_LT(spread, 2 * kWarpTolerance + 1e-4) << name;
    EXPECT_LT(greatest, 3.0 / 32) << name;
    EXPECT_LT(std::abs(sum / count), 1.0 / 64) << name;
    EXPECT_EQ(std::count(covered.begin(), covered.end(), 1), std::ssize(covered)) << name;
  }
}

// A picture of slopes, whose value at any place is known, in every depth and number of channels.
TEST_F(Warp, PixelsShowTheirPlacesOrTheFillValue) {
  for (const auto& [maximum, channels] : {std::pair(255u, 3u), {255u, 1u}, {1000u, 1u}, {65535u, 3u}}) {
    const auto slope = [maximum = maximum](double x, double y, std::size_t c) {
      return maximum * (0.1 + 0.8 * (c == 1 ? y / kSource.height : x / kSource.width));
    };
    Picture source{kSource.width, kSource.height, maximum, Bytes(), channels};
    if (maximum > 255) source.samples = Words();
    std::visit(
        [&, channels = channels](auto& samples) {
          for (std::size_t i = 0; i < kSource.width * kSource.height * channels; ++i) {
            const std::size_t pixel = i / channels;
            samples.push_back(static_cast<std::decay_t<decltype(samples[0])>>(
                std::lround(slope(static_cast<double>(pixel % kSource.width),
                                  static_cast<double>(pixel / kSource.width), i % channels))));
          }
        },
        source.samples);
    for (const auto& [name, mapping] : mappings()) {
      for (const Geometry_Method method : {0, 7}) {
        const WarpSettings settings = {kOutput, method, {maximum, 0, maximum}};
        const Warped warped = warp(source, mapping, settings);
        std::uint64_t outside = 0;
        for (unsigned i = 0; i < kOutput.width * kOutput.height; ++i) {
          const auto place = mapping({i % kOutput.width + 0.5, i / kOutput.width + 0.5});
          const auto within = [&](double margin) {
            return place && place->x > margin && place->x < kSource.width - margin && place->y > margin &&
                   place->y < kSource.height - margin;
          };
          for (std::size_t c = 0; c < channels; ++c) {
            const int got = std::visit([&, channels = channels](const auto& s) { return int{s[i * channels + c]}; },
                                       warped.picture.samples);
            if (within(2)) {
              ASSERT_NEAR(got, slope(place->x - 0.5, place->y - 0.5, c), 1.6 + maximum / 2500.0) << name << ' ' << i;
            } else if (!within(-0.2)) {
              ASSERT_EQ(got, static_cast<int>(settings.fill[c])) << name << ' ' << i;
            }
          }
          outside += !within(0);
        }
        EXPECT_NEAR(static_cast<double>(warped.outside), static_cast<double>(outside), 120) << name;
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
  put("deep.pgm", deep);
  EXPECT_EQ(quorvel("warp wide.pgm -o same.pgm --quad 0,0,40000,0,0,3,40000,3").status, kDone);
  EXPECT_EQ(contents(at("same.pgm")), wide);
  EXPECT_EQ(quorvel("warp deep.pgm -o deep2.pnm --homography 1,0,0,0,1,0,0,0,1 --method bilinear").status, kDone);
  EXPECT_EQ(contents(at("deep2.pnm")), deep);
  put("turn.json", R"({"model": "affine", "coefficients": [-1, 0, 7, 0, -1, 5]})");
  for (const std::string name : {"a.ppm", "a.png", "a.tif"}) {
    if ((name == "a.png" && !builds("PNG")) || (name == "a.tif" && !builds("TIFF"))) continue;
    EXPECT_EQ(quorvel("warp narrow.ppm --transform turn.json -o " + name).err, "");
    EXPECT_EQ(quorvel("warp " + name + " --force -o copy.ppm --quad 0,0,7,0,0,5,7,5").err, "");
    EXPECT_EQ(contents(at("copy.ppm")), back) << name;
  }
}

TEST_F(Warp, RefusesWhatCannotBeMeant) {
  put("p.pgm", "P5\n2 2\n255\nabcd");
  put("flat.json", R"({"model": "projective", "matrix": [1, 0, 0, 2, 0, 0, 0, 0, 1]})");
  put("short.json", R"({"model": "poly2", "coefficients": [1, 2]})");
  put("odd.json", R"({"model": "spline"})");
  put("bent.json", R"({"model": "affine", "matrix": [1, 0, 0, 0, 1, 0, 0, 0.1, 1]})");
  const struct {
    const char *arguments, *message;
    int status;
  } cases[] = {{"--quad 0,0,1,1,2,2,3,3", "one line", 2},
               {"--quad 0,0,2,0,0,2,nan,2", "eight numbers", 2},
               {"--quad 0,0,2,0,0,2,2,2 --size 0x5", "a size WxH", 2},
               {"--quad 0,0,2,0,0,2,2,2 --fill 300", "white is 255", 2},
               {"--quad 0,0,2,0,0,2,2,2 --fill 1,2,3", "is grey", 2},
               {"--quad 0,0,2,0,0,2,2,2 --method spline", "bilinear", 2},
               {"--homography 1,0,0,0,1,0,1,0,-1", "horizon", 2},
               {"--homography 0,0,0,0,0,0,0,0,0", "horizon", 2},
               {"", "is needed", 2},
               {"--transform flat.json", "line", 1},
               {"--transform short.json", "12 numbers", 1},
               {"--transform odd.json", "spline", 1},
               {"--transform bent.json", "affine", 1},
               {"--transform p.pgm", "not a transformation", 1},
               {"--transform none.json", "none.json", 1}};
  const auto before = names();
  for (const auto& c : cases) {
    const Outcome outcome = quorvel(std::string("warp p.pgm -o out.pgm ") + c.arguments);
    EXPECT_EQ(outcome.status, c.status) << c.arguments;
    EXPECT_NE(outcome.err.find(c.message), std::string::npos) << c.arguments << ": " << outcome.err;
  }
  EXPECT_EQ(names(), before);
}

}  // namespace
}  // namespace quorvel::host::test
