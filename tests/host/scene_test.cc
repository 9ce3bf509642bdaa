// SPDX-License-Identifier: Apache-2.0
// The test scene: the same everywhere, and with just the noise that the sensor is said to have.
#include <cmath>
#include <numeric>

#include "tests/host/support.h"

namespace quorvel::host::test {
namespace {

std::uint64_t fingerprint(const Words& samples) {
  return std::accumulate(samples.begin(), samples.end(), std::uint64_t{1},
                         [](std::uint64_t hash, std::uint16_t v) { return (hash ^ v) * 0x100000001B3u; });
}

TEST(SceneFrame, IsTheSameForASeedOnEveryPlatform) {
  const Scene& scene = smallScene();
  EXPECT_EQ(renderScene({384, 256, 1}).frame.samples, scene.frame.samples);
  EXPECT_EQ(fingerprint(scene.truth.colour[0]), 5988751875790713624u);
  EXPECT_EQ(fingerprint(scene.frame.samples), 17276970228569730120u);

  const Words green = renderScene({384, 256, 2}).truth.colour[1];
  std::size_t differ = 0;
  for (std::size_t i = 0; i < green.size(); ++i) differ += std::abs(green[i] - scene.truth.colour[1][i]) > 20;
  EXPECT_GT(differ, green.size() / 4);  // another landscape, not only other noise
}

TEST(SceneFrame, CarriesThePhaseTheLevelsAndTheNoiseOfItsSensor) {
  const Scene& scene = smallScene();
  ASSERT_EQ(scene.frame.samples.size(), std::size_t{384} * 256);
  for (unsigned site = 0; site < 4; ++site) {
    double sum = 0, power = 0, count = 0;
    for (unsigned i = 0; i < scene.frame.samples.size(); ++i) {
      if (siteOf(i % 384, i / 384) != site || scene.frame.samples[i] >= 4095) continue;
      const double truth = scene.truth.colour[kColourOfSite[site]][i];
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
