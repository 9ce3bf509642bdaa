// SPDX-License-Identifier: Apache-2.0
// The sensor: one colour a site, electrons that arrive at random, an amplifier that adds its own noise, twelve bits.
#include <algorithm>
#include <cmath>

#include "host/scene/random.h"
#include "host/scene/scene.h"

namespace quorvel::host {
namespace {

constexpr double kElectronsPerCount = 9, kReadNoise = 7;  // electrons; the sensor is full at 34500

}  // namespace

RawFrame expose(const Planes& truth, std::uint64_t seed) {
  RawFrame frame;
  frame.width = truth.width;
  frame.height = truth.height;
  frame.black = kSceneBlack;
  frame.asShot = Gains{1 / kSensitivity[0], 1 / kSensitivity[1], 1 / kSensitivity[2]};
  frame.samples.resize(std::size_t{truth.width} * truth.height);
  constexpr std::array<std::size_t, 4> kColourOfSite = {1, 0, 2, 1};
  for (unsigned y = 0; y < truth.height; ++y) {
    Random random(mixBits(seed * 0x1000003 + y));  // a row's noise is its own, whatever the frame's width
    for (unsigned x = 0; x < truth.width; ++x) {
      const std::size_t site = (y & 1) * 2 + (x & 1), at = std::size_t{y} * truth.width + x;
      const double electrons = truth.colour[kColourOfSite[site]][at] * kElectronsPerCount;
      // Arriving electrons follow Poisson's law, which the normal one meets at the counts of daylight.
      const double noise = std::sqrt(electrons + kReadNoise * kReadNoise) * random.normal();
      const double level = (electrons + noise) / kElectronsPerCount + frame.black[site] + 0.5;
      frame.samples[at] = static_cast<std::uint16_t>(std::clamp(level, 0.0, kFullScale * 1.0));
    }
  }
  return frame;
}

}  // namespace quorvel::host
