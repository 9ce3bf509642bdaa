// SPDX-License-Identifier: Apache-2.0
// The built-in test scene: a landscape seen from the air, and what the sensor makes of it.
#ifndef QUORVEL_HOST_SCENE_SCENE_H_
#define QUORVEL_HOST_SCENE_SCENE_H_

#include <cstdint>

#include "host/io/image.h"

namespace quorvel::host {

struct SceneSettings {
  unsigned width = 1536, height = 1024;
  std::uint64_t seed = 1;
};

// Below this the targets are smaller than what they test; above it nobody waits for the rendering.
inline constexpr unsigned kMinSceneSide = 64, kMaxSceneSide = 16384;

struct Scene {
  Planes truth;    // what an ideal sensor of three colours a pixel without noise would count above black
  RawFrame frame;  // what this one counts
};

// Equal settings give equal samples, on every platform and for any number of threads.
Scene renderScene(const SceneSettings& settings);

// The parts of the scene that tell methods apart, in pixels.
std::vector<Region> regionsOfScene(const SceneSettings& settings);

// The optical image in front of the sensor, in counts above black (scene/render.cc), and the sensor (scene/sensor.cc).
Planes renderTruth(const SceneSettings& settings);
RawFrame expose(const Planes& truth, std::uint64_t seed);

// What the sensor is: how sensitive each colour is, and how many counts white paint in full sun gives in green.
inline constexpr Gains kSensitivity = {0.53, 1.0, 0.67};
inline constexpr std::array<int, 4> kSceneBlack = {256, 252, 259, 255};
inline constexpr double kCountsAtWhite = 3836;  // full scale less the highest black level

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_SCENE_SCENE_H_
