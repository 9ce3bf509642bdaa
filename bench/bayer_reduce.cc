// SPDX-License-Identifier: Apache-2.0
#include <quorvel/bayer.h>

#include "bench/harness.h"
#include "bench/peers/resize.h"

namespace quorvel::bench {

void registerBayerReductionContests() {
  const auto frame = randomSamples<std::uint16_t>(kSamples, 4095);
  const auto out = buffer<std::uint16_t>(kSamples);
  const auto reduction = [=](const char* name, auto routine, unsigned factor, unsigned samplesRead) {
    Contest contest(name, sizeof(std::uint16_t) * (samplesRead + kSamples / (factor * factor)));
    contest.quorvel([=] { routine(frame->data(), kWidth, kHeight, out->data()); });
#ifdef QUORVEL_PEER_OPENCV
    contest.peer("OpenCV-area-16", [=] { opencvArea16(frame->data(), kWidth, kHeight, factor); });
#endif
  };
  reduction("compressBayer_x2", compressBayer_x2, 2, kSamples);
  reduction("compressBayer_x2Step", compressBayer_x2Step, 2, kSamples / 2);
  reduction("compressBayer_x4Step", compressBayer_x4Step, 4, kSamples / 4);
  reduction("compressBayer_x8", compressBayer_x8, 8, kSamples);

  const auto red = randomSamples<std::uint16_t>(kSamples, 4095, 2),
             blue = randomSamples<std::uint16_t>(kSamples, 4095, 3);
  // Half of the rows of red and of blue are read.
  Contest planes("rgbToBayer_x4", sizeof(std::uint16_t) * (2 * kSamples + kSamples / 16));
  planes.quorvel(
      [=] { rgbToBayer_x4(red->data(), frame->data(), blue->data(), out->data(), kWidth, kHeight, kWidth / 4); });
#ifdef QUORVEL_PEER_OPENCV
  planes.peer("OpenCV-area-16 of planes", [=] {
    for (const auto& plane : {red, frame, blue}) opencvArea16(plane->data(), kWidth, kHeight, 4);
  });
#endif

  const auto reweighting = [=](const char* name, auto routine) {
    constexpr std::size_t kMoved = 2 * sizeof(std::uint16_t) * kSamples;
    Contest(name, kMoved).quorvel([=] { routine(frame->data(), out->data(), kWidth, kHeight); });
    Contest(std::string(name) + " in place", kMoved).quorvel([=] {
      routine(out->data(), out->data(), kWidth, kHeight);
    });
  };
  reweighting("bayerReweightFor_x2", bayerReweightFor_x2);
  reweighting("bayerReweightFor_x4", bayerReweightFor_x4);
}

}  // namespace quorvel::bench
