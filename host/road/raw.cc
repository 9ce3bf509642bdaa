// SPDX-License-Identifier: Apache-2.0
// From raw samples to linear colour planes.
#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "host/road/road.h"

namespace quorvel::host {

RawFrame aboveBlack(RawFrame frame) {
  const int white = std::max(1, frame.white - *std::max_element(frame.black.begin(), frame.black.end()));
  for (unsigned y = 0; y < frame.height; ++y) {
    std::uint16_t* row = frame.samples.data() + std::size_t{y} * frame.width;
    const int black[2] = {frame.black[(y & 1) * 2], frame.black[(y & 1) * 2 + 1]};
    for (unsigned x = 0; x < frame.width; ++x) {
      row[x] = static_cast<std::uint16_t>(std::clamp(row[x] - black[x & 1], 0, white));
    }
  }
  frame.black = {};
  frame.white = white;
  return frame;
}

Demosaiced demosaic(const RawFrame& frame, fromBayerMethod method, int runs) {
  using Clock = std::chrono::steady_clock;
  Demosaiced result{Planes(frame.width, frame.height), 0};
  auto& [r, g, b] = result.planes.colour;
  for (int run = 0; run < runs; ++run) {
    const auto start = Clock::now();
    const int status = rgbFromBayer(frame.samples.data(), frame.width, frame.height, frame.width, r.data(), g.data(),
                                    b.data(), method);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (status != 0) throw std::logic_error("the library refused to demosaic a frame");
    result.seconds = run == 0 ? seconds : std::min(result.seconds, seconds);
  }
  return result;
}

double rate(const Planes& planes, double seconds) {
  return static_cast<double>(planes.width) * planes.height * 1e-6 / std::max(seconds, 1e-9);
}

}  // namespace quorvel::host
