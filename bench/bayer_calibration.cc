// SPDX-License-Identifier: Apache-2.0
#include <array>

#include <quorvel/bayer.h>

#include "bench/harness.h"
#include "bench/peers/tiles.h"

namespace quorvel::bench {

using Frame = std::shared_ptr<Samples<std::uint16_t>>;

// The loop that a compiler makes of the rule itself.
[[gnu::noinline]] static void countPlainly(const std::uint16_t* samples, std::uint32_t* r, std::uint32_t* g,
                                           std::uint32_t* b) {
  for (unsigned y = 0; y < kHeight; y += 2, samples += 2 * kWidth) {
    for (unsigned x = 0; x < kWidth; x += 2) {
      ++g[samples[x]];
      ++r[samples[x + 1]];
    }
    for (unsigned x = kWidth; x < 2 * kWidth; x += 2) {
      ++b[samples[x]];
      ++g[samples[x + 1]];
    }
  }
}

static void registerHistograms(const Frame& random) {
  constexpr std::size_t kValues = 65536;
  const auto counters = buffer<std::uint32_t>(3 * kValues);
  const auto contest = [&](const char* name, const Frame& frame) {
    std::uint32_t* const r = counters->data();
    const auto arguments = [=, keep = counters](auto&& count) {
      count(frame->data(), r, r + kValues, r + 2 * kValues);
    };
    Contest histogram(name, sizeof(std::uint16_t) * kSamples);
    histogram
        .quorvel([=] {
          arguments([](const auto* samples, auto* red, auto* green, auto* blue) {
            calcBayerHistogramm16_32(samples, kWidth, kWidth, kHeight, red, green, blue);
          });
        })
        .peer("plain loop", [=] { arguments(countPlainly); });
#ifdef QUORVEL_PEER_OPENCV
    histogram.peer("OpenCV-one-colour", [=] { opencvHistogram(frame->data(), kWidth, kHeight); });
#endif
  };
  contest("histogram random", random);
  // A slope across the frame with a little noise, and a frame that is dark or clipped.
  const Frame noise = randomSamples<std::uint16_t>(kSamples, 31, 5), scene = buffer<std::uint16_t>(kSamples);
  for (unsigned i = 0; i < kSamples; ++i) {
    (*scene)[i] = static_cast<std::uint16_t>((*noise)[i] + i % kWidth / 4 + i / kWidth / 2 + i % 2 * 300);
  }
  contest("histogram scene", scene);
  const Frame flat = buffer<std::uint16_t>(kSamples);
  for (unsigned i = 0; i < kSamples; ++i) (*flat)[i] = static_cast<std::uint16_t>(100 + i % 2 * 4);
  contest("histogram flat", flat);
}

void registerBayerCalibrationContests() {
  constexpr std::size_t kFrameBytes = sizeof(std::uint16_t) * kSamples;
  const Frame frame = randomSamples<std::uint16_t>(kSamples, 4095), out = buffer<std::uint16_t>(kSamples);
  registerHistograms(frame);

  Contest("correctBayerFocus", 2 * kFrameBytes).quorvel([=] {
    for (std::size_t y = 2; y + 2 < kHeight; ++y) {
      correctBayerFocus(frame->data() + y * kWidth, out->data() + y * kWidth, kWidth, kWidth, 1 / 0.75, -0.125 / 0.75);
    }
  });
  Contest("calcBayerFocusCoef", kFrameBytes).quorvel([=] {
    double result;
    calcBayerFocusCoef(frame->data(), kWidth, kWidth, 0, 0, kWidth, kHeight, &result);
    benchmark::DoNotOptimize(result);
  });
  Contest("calcBayerBlack", kFrameBytes).quorvel([=] {
    BayerBlack black;
    calcBayerBlack(reinterpret_cast<const std::int16_t*>(frame->data()), kWidth, 0, 0, 0, kWidth, kHeight, &black);
    benchmark::DoNotOptimize(black);
  });
  const Frame g = randomSamples<std::uint16_t>(kSamples, 4095, 2), b = randomSamples<std::uint16_t>(kSamples, 4095, 3);
  Contest("rgbToBayer", 2 * kFrameBytes + kFrameBytes).quorvel([=] {
    rgbToBayer(frame->data(), g->data(), b->data(), out->data(), kWidth, kHeight, kWidth);
  });
  Contest turn("turnBayer180", 2 * kFrameBytes);
  turn.quorvel([=] { turnBayer180(out->data(), kWidth, kHeight, 0, 0, kWidth, kHeight); });
#ifdef QUORVEL_PEER_OPENCV
  turn.peer("OpenCV-flip", [=] { opencvTurn(OpencvTurn::HalfInPlace, out->data(), kWidth, kHeight); });
#endif
  std::array<std::shared_ptr<Samples<std::uint8_t>>, 3> bytes;
  for (auto& plane : bytes) plane = buffer<std::uint8_t>(kSamples);
  Contest("convertBayerGammaTo8", kFrameBytes + 3 * (kFrameBytes + kSamples)).quorvel([=] {
    int maximum;
    convertBayerGammaTo8(1, 2.2, frame->data(), kWidth, frame->data(), g->data(), b->data(), kWidth, kHeight,
                         bytes[0]->data(), bytes[1]->data(), bytes[2]->data(), &maximum);
  });
}

}  // namespace quorvel::bench
