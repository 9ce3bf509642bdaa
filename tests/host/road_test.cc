// SPDX-License-Identifier: Apache-2.0
// From frame to picture: levels, balance, curves, and how close each method comes to the truth.
#include <cmath>
#include <limits>

#include "host/io/pnm.h"
#include "host/report/progress.h"
#include "host/report/psnr.h"
#include "host/road/road.h"
#include "tests/host/support.h"

namespace quorvel::host::test {
namespace {

class Road : public InDirectory {};

TEST(RoadSteps, BlackIsTakenOffEachSiteAndWhiteIsCommon) {
  constexpr std::array kSamples = {50, 100, 1000, 200, 300, 4095, 120, 1000, 101};
  RawFrame frame = frameOf(3, 3, [&](unsigned x, unsigned y) { return kSamples[3 * y + x]; });
  frame.black = {100, 90, 110, 95};
  frame.white = 1000;
  const RawFrame above = aboveBlack(frame);
  EXPECT_EQ(above.samples, (Words{0, 10, 890, 90, 205, 890, 20, 890, 1}));
  EXPECT_EQ(above.white, 890);
}

TEST(RoadSteps, BalanceAndGammaFollowTheFormulaInBothDepths) {
  Planes planes(251, 307);  // several bands and a remainder
  for (std::size_t c = 0; c < 3; ++c) {
    for (std::size_t i = 0; i < planes.colour[c].size(); ++i)
      planes.colour[c][i] = static_cast<std::uint16_t>((i * (7 + c) + 13 * c) % 4096);
  }
  const int white = 3000, full[3] = {1500, 3000, 2000};  // of the factors 2, 1, 1.5
  for (const int bits : {8, 16}) {
    const Picture picture = finish(planes, {{2, 1, 1.5}, white, 2.2, bits});
    ASSERT_EQ(picture.is16(), bits == 16);
    for (std::size_t i = 0; i < 3 * planes.colour[0].size(); ++i) {
      const int v = planes.colour[i % 3][i / 3];
      const double share = std::min(1.0, static_cast<double>(v) / full[i % 3]);
      const int got = std::visit([i](const auto& samples) { return int{samples[i]}; }, picture.samples);
      ASSERT_NEAR(got, std::pow(share, 1 / 2.2) * (bits == 16 ? 65535 : 255), 0.5001)
          << "sample " << i << " from " << v;
    }
  }
  // No factor below 1 dims a saturated sensor: gains count by their ratios.
  EXPECT_EQ(finish(planes, {{1, 0.5, 0.75}, white, 2.2, 8}).samples,
            finish(planes, {{2, 1, 1.5}, white, 2.2, 8}).samples);
}

TEST(RoadSteps, GreyWorldLeavesSaturatedPixelsOut) {
  Planes planes(2, 2);
  planes.colour[0] = {100, 200, 300, 50};
  planes.colour[1] = {400, 400, 400, 4000};
  planes.colour[2] = {300, 200, 100, 10};
  EXPECT_EQ(greyWorld(planes, 4000), (Gains{2, 1, 2}));
  EXPECT_EQ(greyWorld(planes, 50), (Gains{1, 1, 1}));
}

TEST(RoadSteps, PsnrIsThatOfItsDefinition) {
  Planes truth(20, 20), planes(20, 20);
  EXPECT_EQ(psnr(truth, planes).all, std::numeric_limits<double>::infinity());
  planes.colour[1][0] = 4095;  // in the border
  EXPECT_EQ(psnr(truth, planes).all, std::numeric_limits<double>::infinity());
  planes.colour[1][8 * 20 + 8] = 4095;  // one of the 4 x 4 pixels that count
  EXPECT_NEAR(psnr(truth, planes).colour[1], 10 * std::log10(16.0), 1e-9);
  EXPECT_NEAR(psnr(truth, planes).all, 10 * std::log10(48.0), 1e-9);
}

TEST(RoadSteps, ProgressTellsRateAndTimeLeft) {
  EXPECT_EQ(progressLine(0, 4, 0, 0), "[------------------------------]   0/4");
  EXPECT_EQ(progressLine(1, 4, 12.5, 25), "[#######-----------------------]   1/4  0.5 MP/s  1:15 left");
}

TEST_F(Road, EveryMethodComesAsCloseToTheTruthAsItShould) {
  const Scene& scene = smallScene();
  const RawFrame frame = aboveBlack(scene.frame);
  // A few tenths of a decibel below what each reaches on this scene.
  for (const auto& [method, floor] :
       {std::pair{kMethods[0], 33.0}, std::pair{kMethods[1], 38.6}, std::pair{kMethods[2], 35.6}}) {
    const Psnr quality = psnr(scene.truth, demosaic(frame, method.method).planes);
    EXPECT_GT(quality.all, floor) << method.name;
    for (const double colour : quality.colour) EXPECT_GT(colour, floor - 2.5) << method.name;
  }
}

TEST_F(Road, TheProgramMeasuresWhatTheStepsMeasure) {
  expectRun("scene s.pgm --width 384 --height 256", 0, "s.pgm");
  const Planes truth = readPpm(at("s.truth.ppm"));
  const RawFrame frame = readRawFrame(at("s.pgm"), {});
  EXPECT_EQ(truth.colour, smallScene().truth.colour);
  EXPECT_EQ(frame.samples, smallScene().frame.samples);
  EXPECT_EQ(frame.regions, smallScene().frame.regions);

  const Demosaiced done = demosaic(aboveBlack(frame), bayerVariableGradients);
  const Outcome run = quorvel("develop s.pgm -o s.ppm --method vng --truth s.truth.ppm --time --bits 16");
  ASSERT_EQ(run.status, 0) << run.err;
  for (const std::string& says :
       {text(psnr(truth, done.planes)), std::string("vng at "), std::string("the best of 9 runs")})
    EXPECT_NE(run.out.find(says), std::string::npos) << run.out << says;
  const Words wanted = std::get<Words>(finish(done.planes, {*frame.asShot, 3836, 2.2, 16}).samples);
  const Words blue = readPpm(at("s.ppm")).colour[2];
  for (std::size_t i = 0; i < blue.size(); ++i) ASSERT_EQ(blue[i], wanted[3 * i + 2]);

  // The sheet of all methods names only files that are there.
  expectRun("contact-sheet s.pgm --truth s.truth.ppm -o sheet", 0, "sheet");
  const std::string page = contents(at("sheet/index.html"));
  int pictures = 0;
  for (std::size_t found = page.find("src=\""); found != std::string::npos; found = page.find("src=\"", found + 1)) {
    const std::string name = page.substr(found + 5, page.find('"', found + 5) - found - 5);
    EXPECT_TRUE(fs::exists(at("sheet/" + name))) << name;
    ++pictures;
  }
  EXPECT_EQ(pictures, 4);
  EXPECT_EQ(page.find("http"), std::string::npos);  // complete in itself
  EXPECT_EQ(names().size(), 4u + 1 + 6);
  expectRefused("contact-sheet s.pgm -o sheet", 1, "exists already");
  expectRefused("contact-sheet s.pgm -o sheet --force --crop far=380,0,20,20", 1, "far");
}

TEST_F(Road, ACameraRawIsDeveloped) {
  if (!builds("camera raw")) GTEST_SKIP() << "this build reads no camera raws";
  const char* named = std::getenv("QUORVEL_SAMPLE_RAW");
  const fs::path sample =
      named != nullptr ? fs::path(named) : fs::path(QUORVEL_SOURCE_DIR) / "../shared/data/kodak-dc50.kdc";
  if (!fs::exists(sample))
    GTEST_SKIP() << "no camera raw to read: QUORVEL_SAMPLE_RAW names none, and there is no " << sample;
  fs::copy_file(sample, at("a.kdc"));
  const RawFrame frame = readRawFrame(at("a.kdc"), {});
  EXPECT_EQ(frame.width, 768u);
  EXPECT_EQ(frame.height, 512u);
  EXPECT_EQ(frame.white, 4095);
  // With the right phase the greens of both rows are more alike than red and blue are.
  double sum[4] = {};
  for (unsigned i = 0; i < frame.samples.size(); ++i) sum[siteOf(i % 768, i / 768)] += frame.samples[i];
  EXPECT_LT(2 * std::abs(sum[0] / sum[3] - 1), std::abs(sum[1] / sum[2] - 1));

  expectRun("develop a.kdc -o a.ppm", 0, "768 x 512");
  put("cut.kdc", contents(at("a.kdc")).substr(0, 40000));
  expectRefused("develop cut.kdc -o cut.ppm", 1, "cut.kdc: is cut short or damaged");
}

}  // namespace
}  // namespace quorvel::host::test
