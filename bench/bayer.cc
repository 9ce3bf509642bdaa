// SPDX-License-Identifier: Apache-2.0
#include <quorvel/bayer.h>

#include "bench/harness.h"
#include "bench/peers/demosaic.h"

namespace quorvel::bench {

void registerBayerContests() {
  const auto frame = randomSamples<std::uint16_t>(kSamples, 4095);
  const auto frame8 = randomSamples<std::uint8_t>(kSamples, 255);
  const auto r = buffer<std::uint16_t>(kSamples), g = buffer<std::uint16_t>(kSamples),
             b = buffer<std::uint16_t>(kSamples);
  const auto method = [=](fromBayerMethod m) {
    return [=] { rgbFromBayer(frame->data(), kWidth, kHeight, kWidth, r->data(), g->data(), b->data(), m); };
  };
  constexpr std::size_t kMoved = 4 * sizeof(std::uint16_t) * kSamples;

  Contest bilinear("rgbFromBayer bilinear", kMoved);
  bilinear.quorvel(method(bayerBilinear));
  Contest gradient("rgbFromBayer gradient", kMoved);
  gradient.quorvel(method(bayerGradient));
  Contest variable("rgbFromBayer vng", kMoved);
  variable.quorvel(method(bayerVariableGradients));
  Contest separate("rgbFromBayer separate", kMoved);
  separate.quorvel(method(bayerSeparate));
#ifdef QUORVEL_PEER_OPENCV
  bilinear.peer("OpenCV-16", [=] { opencvBilinear16(frame->data(), kWidth, kHeight); });
  gradient.peer("OpenCV-EA-16", [=] { opencvEdgeAware16(frame->data(), kWidth, kHeight); });
  variable.peer("OpenCV-VNG-8", [=] { opencvVng8(frame8->data(), kWidth, kHeight); });
#endif
#ifdef QUORVEL_PEER_LIBRAW
  const auto raw = std::make_shared<LibRawVng>(frame->data(), kWidth, kHeight);
  variable.peer("LibRaw-VNG", [=] { raw->interpolate(); });
#endif
}

}  // namespace quorvel::bench
