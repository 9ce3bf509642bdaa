// SPDX-License-Identifier: Apache-2.0
// The smooth correction that all tables of the benchmarks hold: more contrast and a turn of the hues.
#ifndef QUORVEL_BENCH_COLOUR_MOVE_H_
#define QUORVEL_BENCH_COLOUR_MOVE_H_

#include <algorithm>
#include <array>
#include <cmath>

namespace quorvel::bench {

// Colours on the scale of 0 to 1.
inline std::array<double, 3> moved(std::array<double, 3> c) {
  for (double& v : c) v = v - 0.1 * std::sin(2 * 3.14159265358979 * v);
  const double grey = 0.3 * c[0] + 0.59 * c[1] + 0.11 * c[2];
  const std::array<double, 3> from = c;
  for (std::size_t i = 0; i < 3; ++i) {
    c[i] = std::clamp(grey + 1.15 * (from[i] - grey) + 0.05 * (from[(i + 1) % 3] - grey), 0.0, 1.0);
  }
  return c;
}

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_COLOUR_MOVE_H_
