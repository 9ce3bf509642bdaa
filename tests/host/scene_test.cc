// SPDX-License-Identifier: Apache-2.0
// The test scene: the same everywhere, different for every seed, and with just the noise that the sensor is said to
// have.
#include <cmath>

#include "tests/host/support.h"

namespace quorvel::host::test {
namespace {

// FNV-1a over the samples, low byte first.
std::uint64_t fingerprint(const Words& samples) {
  std::uint64_t hash = 0xCBF29CE484222325u;
  for (const std::uint16_t v : samples) {
    for (const unsigned byte : {v & 0xFFu, v >> 8 & 0xFFu}) hash = (hash ^ byte) * 0x100000001B3u;
  }
  return hash;
}

TEST(SceneFrame, IsTheSameForASeedOnEveryPlatform) {
  const Scene& scene = smallScene();
  const Scene again = renderScene({384, 256, 1});
  EXPECT_EQ(again.frame.samples, scene.frame.samples);
  EXPECT_EQ(again.truth.colour, scene.truth.colour);
  EXPECT_EQ(fingerprint(scene.truth.colour[0]), 367361210554196144u);
  EXPECT_EQ(fingerprint(scene.frame.samples), 9934277403719512725u);

  const Scene other = renderScene({384, 256, 2});
  std::size_t differ = 0;
  for (std::size_t i = 0; i < other.truth.colour[1].size(); ++i) {
    differ += std::abs(other.truth.colour[1][i] - scene.truth.colour[1][i]) > 20;
  }
  EXPECT_GT(differ, other.truth.colour[1].size() / 4);  // another landscape, not only other noise
}

TEST(SceneFrame, CarriesThePhaseTheLevelsAndTheNoiseOfItsSensor) {
  const Scene& scene = smallScene();
  const unsigned width = scene.frame.width;
  ASSERT_EQ(scene.frame.samples.size(), std::size_t{384} * 256);
  constexpr std::size_t kColours[4] = {1, 0, 2, 1};
  for (unsigned site = 0; site < 4; ++site) {
    double sum = 0, power = 0, count = 0;
    for (std::size_t i = 0; i < scene.frame.samples.size(); ++i) {
      if (i / width % 2 * 2 + i % width % 2 != site || scene.frame.samples[i] >= 4095) continue;
      const double truth = scene.truth.colour[kColours[site]][i];
      const double off = scene.frame.samples[i] - scene.frame.black[site] - truth;
      // 9 electrons a count, 7 electrons of read noise, and the rounding to whole counts.
      const double expected = (truth * 9 + 49) / 81 + 1.0 / 12;
      sum += off;
      power += off * off / expected;
      ++count;
    }
    EXPECT_NEAR(sum / count, 0, 0.25) << "site " << site;
    EXPECT_NEAR(power / count, 1, 0.04) << "site " << site;
  }
}

TEST(SceneFrame, RegionsLieInsideAtEverySize) {
  for (const SceneSettings s : {SceneSettings{64, 64, 1}, {1536, 1024, 1}, {100, 2000, 3}, {3000, 70, 4}}) {
    for (const Region& r : regionsOfScene(s)) {
      EXPECT_GE(r.width, 16u);
      EXPECT_LE(r.x + r.width, s.width) << r.name;
      EXPECT_LE(r.y + r.height, s.height) << r.name;
    }
  }
}

}  // namespace
}  // namespace quorvel::host::test
