// SPDX-License-Identifier: Apache-2.0
#include <string>

#include <quorvel/mapping.h>

#include "bench/harness.h"
#include "bench/peers/warp.h"

namespace quorvel::bench {

// A ring of rows is 64 high, so a frame is made in bands; the peer makes as many pixels by the same mapping.
template <typename T, typename Routine>
static void registerRing(const std::string& name, Routine routine) {
  constexpr unsigned kRingPitch = 8192, kRingRows = 64;
  constexpr int kStep = 65000, kSlope = 1500;
  const auto ring = randomSamples<T>(kRingPitch * kRingRows, 255);
  const auto out = buffer<T>(kSamples);
  Contest contest(name, 2 * sizeof(T) * kSamples);
  contest.quorvel([=] {
    for (unsigned row = 0; row < kHeight; row += kRingRows) {
      routine(ring->data(), &(*out)[std::size_t{row} * kWidth], kStep, kSlope, static_cast<int>(kRingRows));
    }
  });
#ifdef QUORVEL_PEER_OPENCV
  const auto square = randomSamples<T>(kWidth * kWidth, 255);
  contest.peer("OpenCV", [=] {
    const double mapping[6] = {kStep / 65536.0, 0, 0.5, kSlope / 65536.0, 1, 0.5};
    opencvWarp(square->data(), kWidth, mapping, kWidth, kHeight, false);
  });
#endif
}

void registerGeometryMappingContests() {
  registerRing<std::uint8_t>("convGeo8_8", [](const std::uint8_t* ring, std::uint8_t* dst, int dx, int dy, int rows) {
    convGeo8_8(ring, dst, 8, 8, kWidth, dx, dy, 0, 65536, rows);
  });
  registerRing<std::uint16_t>("convGeo16_16",
                              [](const std::uint16_t* ring, std::uint16_t* dst, int dx, int dy, int rows) {
                                convGeo16_16(ring, dst, 8, 8, kWidth, dx, dy, 0, 65536, 0, 0, rows);
                              });
}

}  // namespace quorvel::bench
