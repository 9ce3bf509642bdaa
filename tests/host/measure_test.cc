// SPDX-License-Identifier: Apache-2.0
// What the program measures on frames, and the frames that it makes of frames.
#include <cmath>

#include "host/io/calibration_file.h"
#include "host/io/pnm.h"
#include "host/road/measure.h"
#include "host/road/reshape.h"
#include "host/scene/random.h"
#include "tests/host/support.h"

namespace quorvel::host::test {
namespace {

class Measure : public InDirectory {};

constexpr std::array<int, 4> kBlack = {256, 252, 259, 240};
constexpr std::array<double, 4> kNoise = {2.0, 3.5, 1.2, 6.0};
const std::vector<HotPixel> kHot = {{0, 0, 900}, {7, 3, 300}, {8, 3, 4095}, {62, 47, 320}};

// A sensor in the dark: each site at its level, with noise of its own, and four hot pixels.
RawFrame darkFrame(unsigned width, unsigned height, std::uint64_t seed) {
  Random random(seed);
  RawFrame frame = frameOf(width, height, [&](unsigned x, unsigned y) {
    return std::lround(kBlack[siteOf(x, y)] + kNoise[siteOf(x, y)] * random.normal());
  });
  for (const HotPixel& p : kHot) {
    if (p.x < width && p.y < height) frame.samples[p.y * width + p.x] = static_cast<std::uint16_t>(p.level);
  }
  return frame;
}

TEST_F(Measure, DarkFramesGiveLevelsNoiseAndHotPixels) {
  for (const unsigned frames : {1u, 5u}) {
    DarkStudy study;
    for (unsigned i = 0; i < frames; ++i) ASSERT_TRUE(study.add(darkFrame(301, 203, i)));
    EXPECT_FALSE(study.add(darkFrame(300, 203, 9)));
    const DarkCalibration c = study.result();
    EXPECT_EQ(c.frames, frames);
    EXPECT_EQ(c.black, kBlack);
    EXPECT_EQ(c.hot, kHot) << frames;
    for (std::size_t site = 0; site < 4; ++site) {
      EXPECT_NEAR(c.noise[site], std::sqrt(kNoise[site] * kNoise[site] + 1.0 / 12), 0.03 * kNoise[site]) << site;
    }
    put("c.json", calibrationText(c));
    EXPECT_EQ(readCalibration(at("c.json")), c);
  }
}

TEST_F(Measure, HotPixelsBecomeTheMeanOfTheirGoodNeighbours) {
  const RawFrame frame = frameOf(8, 8, [](unsigned x, unsigned y) { return 8 * y + x; });
  DarkCalibration c;
  c.width = c.height = 8;
  c.black = {1, 2, 3, 4};
  c.hot = {{2, 2, 99}, {4, 2, 99}, {0, 7, 99}};
  const RawFrame made = calibrated(frame, c);
  EXPECT_EQ(made.black, c.black);
  Words expected = frame.samples;
  expected[2 * 8 + 2] = (16 + 2 + 34 + 1) / 3;  // left, above and below; on the right is the other one
  expected[2 * 8 + 4] = (22 + 4 + 36 + 1) / 3;
  expected[7 * 8 + 0] = (58 + 40 + 1) / 2;  // in a corner
  EXPECT_EQ(made.samples, expected);
}

TEST_F(Measure, FilesThatAreNoCalibrationAreRefused) {
  const std::string good = calibrationText({4, 4, 1, {1, 2, 3, 4}, {1, 1, 1, 1}, {{1, 2, 99}}});
  put("good.json", good);
  write("f.pgm", frameOf(4, 4, [](unsigned, unsigned) { return 500; }));
  expectRun("develop f.pgm -o f.ppm --calibration good.json", 0, "f.ppm");
  const auto replaced = [&](const char* what, const char* with) {
    std::string text = good;
    text.replace(text.find(what), std::string(what).size(), with);
    return text;
  };
  for (const auto& [text, says] : {std::pair<std::string, const char*>{"", "is empty"},
                                   {"P5\n", "no calibration that makes sense"},
                                   {"[1, 2]", "is not a dark calibration"},
                                   {"{}", "is not a dark calibration"},
                                   {good.substr(0, good.size() / 2), "no calibration that makes sense"},
                                   {replaced("\"version\": 1", "\"version\": 2"), "version that is not known"},
                                   {replaced("99", "-1"), "a number is out of its range"},
                                   {replaced("99", "\"x\""), "a number is missing"},
                                   {replaced("\"noise\"", "\"nose\""), "no calibration that makes sense"},
                                   {replaced("\"width\": 4", "\"width\": 8"), "f.pgm: is 4 x 4"}}) {
    put("good.json", text);
    expectRefused("develop f.pgm -o g.ppm --calibration good.json", 1, says);
  }
}

TEST_F(Measure, FocusIsHighWhereThereIsDetail) {
  const RawFrame frame = frameOf(65, 33, [](unsigned x, unsigned y) { return x >= 32 && y % 2 == 0 ? 1500 : 1000; });
  const FocusGrid grid = focusGrid(frame, {"", 0, 0, 65, 33}, 4);
  ASSERT_EQ(grid.columns, 4u);
  ASSERT_EQ(grid.rows, 2u);
  for (unsigned i = 0; i < 8; ++i) {
    EXPECT_EQ(grid.fields[i] > 0.5, i % 4 > 1) << i << ": " << grid.fields[i];
    EXPECT_EQ(grid.fields[i] == 0, i % 4 < 2) << i;
  }
  EXPECT_EQ(focusGrid(frame, {"", 3, 3, 2, 2}, 256).fields.size(), 1u);
}

TEST_F(Measure, HistogramsCountEverySampleOfItsColour) {
  const Words& samples = smallScene().frame.samples;
  Histogram expected, few;
  for (Histogram* h : {&expected, &few}) h->counts.fill(std::vector<std::uint32_t>(4096));
  for (unsigned i = 0; i < samples.size(); ++i) ++expected.counts[kColourOfSite[siteOf(i % 384, i / 384)]][samples[i]];
  EXPECT_EQ(histogramOf(smallScene().frame).counts, expected.counts);
  few.counts[2][10] = 3;
  few.counts[2][4095] = 1;
  const auto s = few.summary(2, 4095);
  EXPECT_EQ((std::array{s.least, s.median, s.greatest}), (std::array{10, 10, 4095}));
  EXPECT_EQ(s.mean, (30 + 4095) / 4.0);
  EXPECT_EQ(s.saturated, 0.25);
  EXPECT_EQ(few.summary(0, 4095).samples, 0u);
}

TEST_F(Measure, TurnedFramesKeepTheirPattern) {
  for (const auto& [width, height] : {std::pair(10u, 6u), {11u, 7u}}) {
    RawFrame frame = frameOf(width, height, [&](unsigned x, unsigned y) { return y * width + x; });
    frame.black = kBlack;
    frame.regions = {{"a", 1, 2, 3, 2}};
    const auto made = turned(frame);
    ASSERT_TRUE(made);
    ASSERT_EQ(made->width, 9u);
    EXPECT_EQ(made->black, kBlack);
    EXPECT_EQ(made->regions, (std::vector<Region>{{"a", 5, 1, 3, 2}}));
    EXPECT_EQ(made->samples, frameOf(9, 5, [&](unsigned x, unsigned y) { return (4 - y) * width + 8 - x; }).samples);
  }
}

TEST_F(Measure, ReducedFramesKeepTheirColourAndOneBlackLevel) {
  constexpr std::array kAbove = {800, 1200, 400, 800};  // one colour, above each site's own black level
  RawFrame frame =
      frameOf(301, 203, [&](unsigned x, unsigned y) { return kBlack[siteOf(x, y)] + kAbove[siteOf(x, y)]; });
  frame.black = kBlack;
  for (const unsigned factor : {2u, 4u, 8u}) {
    const auto made = reduced(frame, factor);
    ASSERT_TRUE(made);
    EXPECT_EQ(made->black, (std::array{259, 259, 259, 259}));
    const RawFrame expected = frameOf(301 / (2 * factor) * 2, 203 / (2 * factor) * 2,
                                      [&](unsigned x, unsigned y) { return 259 + kAbove[siteOf(x, y)]; });
    EXPECT_EQ(made->width, expected.width);
    EXPECT_EQ(made->samples, expected.samples) << factor;
  }
  EXPECT_FALSE(reduced(darkFrame(15, 40, 1), 8));
}

TEST_F(Measure, TheProgramTellsWhatTheStepsMeasure) {
  write("d1.pgm", darkFrame(100, 60, 1));
  write("d2.pgm", darkFrame(100, 60, 2));
  write("odd.pgm", darkFrame(64, 60, 2));
  ASSERT_EQ(quorvel("scene s.pgm --width 100 --height 64").status, 0);
  for (const auto& [arguments, says] :
       {std::pair{"calibrate dark d1.pgm d2.pgm -o dark.json", "2 frames of 100 x 60"},
        {"calibrate dark d1.pgm --json", "\"kind\": \"quorvel dark calibration\""},
        {"calibrate focus s.pgm -o map.ppm --rect 10,10,40,20 --across 4", "4 x 2 fields"},
        {"calibrate focus s.pgm --json", "\"columns\":16"},
        {"histogram s.pgm --csv h.csv --plot h.ppm", "green "},
        {"histogram s.pgm --json", "\"median\""},
        {"reduce s.pgm -o small.pgm -x 4", "24 x 16"},
        {"rotate s.pgm -o turned.pgm", "99 x 63"},
        {"develop d1.pgm -o d.ppm --calibration dark.json", "d.ppm"}}) {
    expectRun(arguments, 0, says);
  }
  expectRun("rotate s.pgm -o turned.tif --json --force", builds("TIFF") ? 0 : 1, "turned.tif");
  expectRefused("calibrate dark d1.pgm d2.pgm -o dark.json", 1, "exists already");
  expectRefused("calibrate dark d1.pgm odd.pgm", 1, "odd.pgm: is 64 x 60, unlike");
  expectRefused("calibrate focus s.pgm --rect 90,0,20,20", 1, "reaches outside");
  expectRefused("calibrate focus s.pgm --rect 1,2,3", 2, "not X,Y,WIDTH,HEIGHT");
  expectRefused("calibrate", 2, "subcommand is required");
  expectRefused("histogram s.pgm --plot h.gif", 2, "plots are written as");
  expectRefused("reduce s.pgm -o small.pgm -x 3", 2, "'3' is not 2, 4 or 8");
  expectRefused("reduce s.pgm -o s.pgm --force", 1, "is the frame itself");
  EXPECT_EQ(readRawFrame(at("small.pgm"), {}).samples, reduced(readRawFrame(at("s.pgm"), {}), 4)->samples);
  const std::string csv = contents(at("h.csv"));
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 4097);
  EXPECT_GT(readPpm(at("h.ppm")).width, 1000u);
}

}  // namespace
}  // namespace quorvel::host::test
