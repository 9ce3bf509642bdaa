// SPDX-License-Identifier: Apache-2.0
// Transformations from points: known ones come back, their deviations are true, outliers are named, and what cannot be
// fitted is refused.
#include <cmath>
#include <random>

#include <nlohmann/json.hpp>

#include "host/io/transform_file.h"
#include "host/road/fit.h"
#include "tests/host/support.h"

namespace quorvel::host::test {
namespace {

class FitPoints : public InDirectory {};

constexpr Size kOutput = {4000, 3000};

struct Known {
  const char* model;
  Model kind;
  Mapping truth;
};

std::vector<Known> knownModels() {
  return {
      {"affine", Model::Affine, projectiveMapping({0.9, -0.3, 5000, 0.3, 0.8, -200, 0, 0, 1}, kOutput)},
      {"projective", Model::Projective, projectiveMapping({1.1, 0.2, -300, -0.1, 1.2, 700, 2e-4, 1e-4, 1}, kOutput)},
      {"poly2", Model::Poly2, polynomialMapping(2, {50, 1, 0.1, 2e-5, -1e-5, 4e-5, -90, 0, 1.2, 1e-5, 0, -3e-5})},
      {"poly3", Model::Poly3,
       polynomialMapping(3, {9, 1, 0, 0, 0, 0, 9e-9, 0, -5e-9, 0, -2, 0, 1, 1e-5, 0, 0, 0, 2e-9, 0, 3e-9})}};
}

// 30 points over the output, on no grid.
std::vector<TiePoint> pointsOf(const Mapping& truth) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> jitter(0, 400);
  std::vector<TiePoint> points;
  for (std::size_t i = 0; i < 30; ++i) {
    const double x = 650.0 * static_cast<double>(i % 6) + jitter(random);
    const double y = 550.0 * static_cast<double>(i / 6) + jitter(random);
    points.push_back({i + 1, {x, y}, *truth({x, y}), 1});
  }
  return points;
}

TEST_F(FitPoints, KnownTransformationsComeBackDespiteOutliers) {
  for (const auto& [model, kind, truth] : knownModels()) {
    auto points = pointsOf(truth);
    const std::set<std::size_t> wrong = {3, 14, 22, 27};
    for (const std::size_t i : wrong) {
      const double off = static_cast<double>(i * i);
      points[i].source.x += i % 2 ? off : -off;
      points[i].source.y -= 3 * off;
    }
    points[8].source.x += 1000, points[8].weight = 0;  // compared only
    std::string csv = "x,y,X,Y,weight\n";
    for (const TiePoint& p : points)
      csv += fmt::format("{},{},{},{},{}\n", p.output.x, p.output.y, p.source.x, p.source.y, p.weight);
    put("points.csv", csv);
    const Outcome run = quorvel(fmt::format("fit points.csv --model {} -o t.json --json --plot t.ppm --force", model));
    ASSERT_EQ(run.status, kDone) << model << run.err;
    const auto report = nlohmann::json::parse(run.out);
    for (std::size_t i = 0; i < points.size(); ++i) {
      EXPECT_EQ(report["residuals"][i]["outlier"], wrong.count(i) == 1) << model << ' ' << i;
      EXPECT_EQ(report["residuals"][i]["line"], i + 2);
    }
    EXPECT_NEAR(report["residuals"][8]["x"].get<double>(), 1000, 1e-3);
    EXPECT_LT(report["rms"].get<double>(), 1e-6);
    const Mapping fitted = readTransform(at("t.json"), kOutput);
    for (double x = 0; x <= 4000; x += 500) {
      const Place got = *fitted({x, 3000 - x / 2}), wanted = *truth({x, 3000 - x / 2});
      EXPECT_NEAR(got.x, wanted.x, 1e-6) << model;
      EXPECT_NEAR(got.y, wanted.y, 1e-6) << model;
    }
    const Bytes plot = std::get<Bytes>(readPicture(at("t.ppm")).samples);
    std::size_t red = 0;
    for (std::size_t i = 0; i < plot.size(); i += 3) red += plot[i] == 240 && plot[i + 1] == 72;
    EXPECT_GT(red, 4 * 100u) << model;  // four squares
  }
}

// What fits say of their own errors, beside the errors that they make over many draws.
struct Draws {
  std::vector<std::vector<double>> values, told;

  void add(const Coefficients& fit) {
    values.push_back(fit.values);
    told.emplace_back();
    for (std::size_t k = 0; k < fit.values.size(); ++k) told.back().push_back(fit.deviation(k));
  }
  void expectTrueDeviations() const {
    const auto draws = static_cast<double>(values.size());
    for (std::size_t k = 0; k < values[0].size(); ++k) {
      double mean = 0, square = 0, expected = 0;
      for (const auto& v : values) mean += v[k] / draws;
      for (const auto& v : values) square += (v[k] - mean) * (v[k] - mean) / (draws - 1);
      for (const auto& v : told) expected += v[k] / draws;
      EXPECT_NEAR(std::sqrt(square) / expected, 1, 0.25) << k;
    }
  }
};

TEST_F(FitPoints, DeviationsAreThoseOfManyDraws) {
  constexpr int kDraws = 150;
  std::mt19937 random(11);
  std::normal_distribution<double> error(0, 0.5);
  for (const auto& [model, kind, truth] : knownModels()) {
    SCOPED_TRACE(model);
    Draws draws;
    double sigma = 0, outliers = 0;
    for (int draw = 0; draw < kDraws; ++draw) {
      auto points = pointsOf(truth);
      for (TiePoint& p : points) p.source.x += error(random), p.source.y += error(random);
      const Fit fit = fitTransform(points, kind, {});
      draws.add(fit.coefficients);
      sigma += fit.quality.sigma / kDraws;
      outliers += static_cast<double>(std::count(fit.quality.outliers.begin(), fit.quality.outliers.end(), true));
    }
    draws.expectTrueDeviations();
    EXPECT_NEAR(sigma, 0.5, 0.02);
    EXPECT_LT(outliers / (30 * kDraws), 0.01);  // good points are seldom lost
  }
}

// Four photos, the first of them the reference, that show 40 points of a plain.
constexpr double kPhotos[4][6] = {{1, 0, 0, 0, 1, 0},
                                  {0.9, 0.2, -800, -0.2, 0.95, 300},
                                  {1.1, 0, -1500, 0.05, 1.05, -900},
                                  {-0.8, 0.3, 4000, -0.3, -0.85, 3800}};

Sightings sightings(std::mt19937& random, double sigma) {
  std::normal_distribution<double> error(0, 1);
  Sightings s = {{"a", "b", "c", "d"}, {}, {}};
  for (std::size_t p = 0; p < 40; ++p) {
    const double x = 400.0 * static_cast<double>(p % 8) + 37.0 * static_cast<double>(p % 3);
    const double y = 500.0 * static_cast<double>(p / 8) + 53.0 * static_cast<double>(p % 5);
    s.points.push_back(fmt::format("p{}", p));
    for (std::size_t k = 0; k < 4; ++k) {
      if ((k == 0 && p % 8 > 5) || (k == 3 && p % 8 < 3)) continue;
      const double* m = kPhotos[k];
      const double u = m[0] * x + m[1] * y + m[2] + sigma * error(random);
      const double v = m[3] * x + m[4] * y + m[5] + sigma * error(random);
      s.all.push_back({s.all.size() + 1, k, p, {u, v}});
    }
  }
  return s;
}

TEST_F(FitPoints, BlocksBringPhotosTogether) {
  std::mt19937 random(3);
  const Sightings exact = sightings(random, 0);
  std::string text = "photo,point,x,y\n";
  for (const Sighting& s : exact.all) {
    const double off = s.line == 20 || s.line == 77 ? 250 : 0;
    text += fmt::format("{},{},{},{}\n", exact.photos[s.photo], exact.points[s.point], s.place.x + off, s.place.y);
  }
  put("block.csv", text + "b,alone,3,4\n");
  const Outcome run = quorvel("fit block.csv --model bundle-lite -o t.json --json --plot plot.ppm");
  ASSERT_EQ(run.status, kDone) << run.err;
  const auto report = nlohmann::json::parse(run.out);
  EXPECT_EQ(report["outliers"], 2);
  EXPECT_EQ(report["single"], 1);
  for (std::size_t k = 0; k < 4; ++k) {
    const double* m = kPhotos[k];
    const Place got = *readTransform(at(fmt::format("t-{}.json", exact.photos[k])), kOutput)({3000, 1000});
    EXPECT_NEAR(got.x, 3000 * m[0] + 1000 * m[1] + m[2], 1e-6);
    EXPECT_NEAR(got.y, 3000 * m[3] + 1000 * m[4] + m[5], 1e-6);
  }
  std::array<Draws, 4> draws;
  constexpr int kDraws = 100;
  double sigma = 0;
  for (int draw = 0; draw < kDraws; ++draw) {
    const Block block = fitBlock(sightings(random, 0.4), 0, {});
    sigma += block.quality.sigma / kDraws;
    for (std::size_t k = 1; k < 4; ++k) draws[k].add(block.photos[k].coefficients);
  }
  EXPECT_NEAR(sigma, 0.4, 0.02);
  for (std::size_t k = 1; k < 4; ++k) draws[k].expectTrueDeviations();
}

TEST_F(FitPoints, FilesOfEveryKindAreRead) {
  put("plain.csv", "0,0,1,2\n10,0,11,3\n0,10,2,12\n10,10,12,13.5\n");
  put("odd.csv",
      "\xEF\xBB\xBFx,y,X,Y\r\n# remark\r\n\"0\", 0 ,1,2\r\n\r\n10,0,\"11\",3\r\n0,1e1,2,12\r\n10,10,12,13.5");
  for (const std::string name : {"plain", "odd"}) {
    EXPECT_EQ(quorvel(fmt::format("fit {}.csv --model affine -o {}.json", name, name)).err, "");
  }
  EXPECT_EQ(contents(at("odd.json")), contents(at("plain.json")));
}

TEST_F(FitPoints, RefusesWhatCannotBeFitted) {
  const std::string four = "0,0,0,0\n9,0,9,1\n0,9,1,9\n9,9,8,8\n";
  const std::string line = "0,0,0,0\n1,2,9,1\n2,4,1,9\n3,6,8,8\n4,8,7,7\n5,10,1,1\n6,12,0,5\n";
  struct Case {
    std::string text;
    const char *model, *says;
  };
  put("t.json", "mine");
  put("t-a.json", "mine too");
  for (const auto& [text, model, says] :
       {Case{"", "affine", "is empty"},
        {"x,y,X,Y\n", "affine", "no points"},
        {four + "1,2,3\n", "affine", "line 5: has 3 fields"},
        {four + "1;2;3;4\n", "affine", "semicolons"},
        {four + "\n1,2,3,4,5,6\n", "affine", "line 6: has 6 fields"},
        {four + "1,2,three,4\n", "affine", "line 5: 'three'"},
        {four + "1,2,nan,4\n", "affine", "line 5: 'nan'"},
        {four + "1,2,3,1e7\n", "affine", "line 5: '1e7'"},
        {four + "1,2,3,4,-1\n", "affine", "line 5: '-1'"},
        {four + "1,2,\"3,4\n", "affine", "line 5: has a quote"},
        {"X,Y,x,y\n" + four, "affine", "line 1: 'X'"},
        {four + "9,0,7,7\n", "affine", "line 5: x and y are those of line 2"},
        {"\xFF\xFEx", "affine", "UTF-16"},
        {"0,0,0,0\n1,0,1,0\n", "affine", "affine needs 3 (error 21778: точек слишком мало)"},
        {four, "poly2", "poly2 needs 6"},
        {"0,0,0,0\n9,0,9,1\n0,9,1,9\n9,9,8,8,0\n", "projective", "3 points with a weight"},
        {line, "affine", "one line (error 21766: бесконечное кол-во решений)"},
        {line, "projective", "one line"},
        {line + "9,9,9,9\n", "projective", "hardly determine"},
        {"0,0,0,0\n1,2,1,2\n2,4,2,4\n3,6,3,6\n9,9,9,9\n", "projective", "all but one"},
        {line, "poly2", "one curve"},
        {"0,0,0,0\n9,0,1,2\n0,9,2,4\n9,9,3,6\n", "affine", "source lie on one line (error 21774"},
        {"a,1,0,0\na,2,9,0\na,3,0,9\n", "bundle-lite", "two photos"},
        {"a,1,0,0\na,2,9,0\na,3,0,9\nb,1,0,0\nb,2,1,1\n", "bundle-lite", "'a' shares 2 points"},
        {"a,1,0,0\na,2,9,0\na,3,18,0\nb,1,0,0\nb,2,1,1\nb,3,2,2\n", "bundle-lite", "one line"},
        {"a,1,0,0\na,2,9,0\na,3,0,9\nb,1,0,0\nb,2,1,1\nb,3,2,0\n"
         "c,4,0,0\nc,5,9,0\nc,6,0,9\nd,4,0,0\nd,5,1,1\nd,6,2,0\n",
         "bundle-lite", "no chain"},
        {"a,1,0,0\na,1,9,0\n", "bundle-lite", "line 2: the photo and the point are those of line 1"},
        {"../a,1,0,0\n", "bundle-lite", "cannot name a photo"},
        {"a,1,0,0\nA,1,0,0\n", "bundle-lite", "but for capitals"}}) {
    put("p.csv", text);
    expectRefused(fmt::format("fit p.csv --model {} -o t.json --force", model), 1, says);
  }
  put("p.csv", four);
  expectRefused("fit p.csv --model spline -o new.json", 2, "is not affine");
  expectRefused("fit p.csv --model affine -o t.json", 1, "exists already");
  expectRefused("fit p.csv --model affine -o p.csv --force", 1, "itself");
  expectRefused("fit none.csv --model affine -o new.json", 1, "does not exist");
  expectRefused("fit p.csv --model affine -o new.json --plot p.gif", 2, "plots are");
  expectRefused("fit p.csv --model affine -o new.json --reference a", 2, "bundle-lite");
  EXPECT_EQ(contents(at("t.json")) + contents(at("t-a.json")) + contents(at("p.csv")), "minemine too" + four);
}

}  // namespace
}  // namespace quorvel::host::test
