// SPDX-License-Identifier: Apache-2.0
// Fits that are hard: hardly more points than a model needs, gross errors under strong perspective, weights beyond
// reason, and files that would write on the terminal.
#include <array>
#include <cmath>
#include <random>

#include <nlohmann/json.hpp>

#include "host/road/fit.h"
#include "tests/host/support.h"

namespace quorvel::host::test {
namespace {

class HostileFits : public InDirectory {};

// Points at random over 4000 x 4000 pixels, measured to 0.3 pixels; the first `wrong` somewhere else.
class Draws {
 public:
  std::vector<TiePoint> points(Model model, std::size_t count, std::size_t wrong, double perspective = 1e-5) {
    std::vector<TiePoint> points;
    for (std::size_t i = 0; i < count; ++i) {
      const Place at = place();
      const double w = model == Model::Projective ? 1 + 2 * perspective * at.x + perspective * at.y : 1;
      Place to = {(1.1 * at.x + 0.2 * at.y - 300) / w, (-0.1 * at.x + 1.2 * at.y - 100) / w};
      to.x += error_(random_);
      to.y += error_(random_);
      const Place elsewhere = place();
      points.push_back({i + 1, at, i < wrong ? elsewhere : to, 1});
    }
    return points;
  }

 private:
  Place place() {
    const double x = anywhere_(random_), y = anywhere_(random_);
    return {x, y};
  }

  std::mt19937 random_{7};
  std::normal_distribution<double> error_{0, 0.3};
  std::uniform_real_distribution<double> anywhere_{0, 4000};
};

TEST_F(HostileFits, FewPointsAreKeptUnlessOneIsGrosslyWrong) {
  constexpr std::size_t kDraws = 40;
  const struct {
    Model model;
    std::size_t least;
  } models[] = {{Model::Affine, 3}, {Model::Projective, 4}, {Model::Poly2, 6}, {Model::Poly3, 10}};
  Draws draws;
  for (const auto& [model, least] : models) {
    for (const std::size_t spare : {1u, 2u, 4u, 8u}) {
      for (const std::size_t wrong : {0u, 1u}) {
        if (wrong && spare == 1) continue;  // one point to spare tells that something is wrong, not what
        std::size_t lost = 0, missed = 0;
        for (std::size_t d = 0; d < kDraws; ++d) {
          const Quality q = fitTransform(draws.points(model, least + spare, wrong), model, {}).quality;
          EXPECT_GT(q.redundancy, 0);
          missed += wrong && !q.outliers[0];
          lost += std::count(q.outliers.begin(), q.outliers.end(), true) - q.outliers[0] > 0;
          if (!wrong) lost += q.outliers[0];
        }
        EXPECT_LE(lost, spare == 1 ? 0 : kDraws / 10) << nameOf(model) << ' ' << spare << ' ' << wrong;
        EXPECT_LE(missed, kDraws / 10) << nameOf(model) << ' ' << spare;
      }
    }
  }
}

TEST_F(HostileFits, MismatchesUnderStrongPerspectiveAreFound) {
  Draws draws;
  for (const std::size_t wrong : {1u, 8u}) {
    for (int d = 0; d < 60; ++d) {
      const Fit fit = fitTransform(draws.points(Model::Projective, 40, wrong, 1e-4), Model::Projective, {});
      for (std::size_t i = 0; i < wrong; ++i) EXPECT_TRUE(fit.quality.outliers[i]) << wrong << ' ' << d;
      EXPECT_LT(fit.quality.sigma, 0.5);
    }
  }
}

TEST_F(HostileFits, WithoutRedundancyNoDeviationIsTold) {
  put("exact.csv", "0,0,0,0\n9,0,9,1\n0,9,1,9\n");
  put("block.csv", "a,1,0,0\na,2,9,0\na,3,0,9\nb,1,0,0\nb,2,9,1\nb,3,1,9\n");
  for (const auto& [run, file] :
       {std::pair("fit exact.csv --model affine", "t.json"), {"fit block.csv --model bundle-lite", "t-b.json"}}) {
    const Outcome text = quorvel(fmt::format("{} -o t.json", run));
    EXPECT_EQ(text.err, "");
    EXPECT_NE(text.out.find("deviations are not known"), std::string::npos) << text.out;
    EXPECT_EQ(text.out.find("+-"), std::string::npos) << text.out;
    EXPECT_EQ(text.out.find("sigma"), std::string::npos) << text.out;
    const auto json = nlohmann::json::parse(contents(at(file)));
    for (const char* member : {"deviations", "covariance", "sigma"}) EXPECT_FALSE(json.contains(member)) << member;
    EXPECT_TRUE(json.contains("note"));
  }
}

TEST_F(HostileFits, WeightsAreComparedNotTheirUnit) {
  const auto square = [](const std::array<double, 5>& w) {
    return fmt::format("0,0,0,0,{}\n9,0,9,1,{}\n0,9,1,9,{}\n9,9,10,10,{}\n5,5,6,6,{}\n", w[0], w[1], w[2], w[3], w[4]);
  };
  put("wild.csv", square({1e6, 1e-300, 1e-300, 1, 1}));
  const Outcome wild = quorvel("fit wild.csv --model affine -o t.json");
  EXPECT_EQ(wild.status, 1);
  EXPECT_NE(wild.err.find("weights differ too much"), std::string::npos) << wild.err;
  EXPECT_EQ(wild.err.find("line on"), std::string::npos) << wild.err;
  std::vector<nlohmann::json> found;
  for (const double w : {1.0, 1e-6, 1e-300}) {
    put("alike.csv", square({w, w, w, w, w}));
    const Outcome run = quorvel("fit alike.csv --model affine -o t.json --force --json");
    ASSERT_EQ(run.err, "") << w;
    found.push_back(nlohmann::json::parse(run.out));
    EXPECT_EQ(found.back()["outliers"], found.front()["outliers"]) << w;
    EXPECT_NEAR(found.back()["sigma"].get<double>() / std::sqrt(w) / found.front()["sigma"].get<double>(), 1, 1e-9);
    for (std::size_t i = 0; i < 6; ++i) {
      EXPECT_NEAR(found.back()["deviations"][i].get<double>(), found.front()["deviations"][i].get<double>(), 1e-9) << w;
    }
  }
}

TEST_F(HostileFits, FieldsAreShownShortAndHarmless) {
  using namespace std::string_literals;
  const struct {
    std::string field, message;
  } cases[] = {{"\x1B[31mred", "'\\x1B[31mred' is not a number"},
               {"1\0002"s, "'1\\x002' is not a number"},
               {"\xC2\x9Bm\xFF\xE2\x82", "'\\xC2\\x9Bm\\xFF\\xE2\\x82' is not a number"},
               {"дом", "'дом' is not a number"},
               {std::string(1000, 'a'), fmt::format("'{}...' is not a number", std::string(40, 'a'))}};
  for (const auto& c : cases) {
    put("p.csv", c.field + ",0,0,0\n");
    EXPECT_NE(quorvel("fit p.csv --model affine -o t.json").err.find(c.message), std::string::npos) << c.message;
  }
  // Points have any names: they must not break the report, nor its JSON.
  std::string block;
  for (int i = 0; i < 40; ++i) {
    for (const int k : {0, 1, 2}) {
      block +=
          fmt::format("{},\x1B\xFF{},{},{}\n", "abc"[k], i, i % 7 * 100 + (i == 5 && k == 1 ? 80 : 0), i / 7 * 100);
    }
  }
  put("block.csv", block);
  const Outcome text = quorvel("fit block.csv --model bundle-lite -o t.json");
  EXPECT_NE(text.out.find("'\\x1B\\xFF5' in 'b'"), std::string::npos) << text.out << text.err;
  const Outcome json = quorvel("fit block.csv --model bundle-lite -o t.json --force --json");
  EXPECT_GT(nlohmann::json::parse(json.out)["outliers"], 0) << json.err;
}

}  // namespace
}  // namespace quorvel::host::test
