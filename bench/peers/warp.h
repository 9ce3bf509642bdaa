// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_BENCH_PEERS_WARP_H_
#define QUORVEL_BENCH_PEERS_WARP_H_

#include <cstdint>
#include <vector>

namespace quorvel::bench {

// Draws an 8-bit picture anew by OpenCV: output pixel (x, y) comes from the place m0 x + m1 y + m2, m3 x + m4 y + m5,
// pixels being counted from their centres; what lies outside repeats the edge.
std::vector<std::uint8_t> opencvWarp(const std::vector<std::uint8_t>& picture, unsigned width, unsigned height,
                                     unsigned channels, const double (&m)[6], bool cubic);

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_WARP_H_
