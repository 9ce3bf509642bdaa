// SPDX-License-Identifier: Apache-2.0
// Resampling along an affine mapping by other libraries. They keep their output between calls, so that only the work is
// timed.
#ifndef QUORVEL_BENCH_PEERS_WARP_H_
#define QUORVEL_BENCH_PEERS_WARP_H_

#include <cstdint>
#include <vector>

namespace quorvel::bench {

// From output to source pixels: x' = m[0] x + m[1] y + m[2], y' = m[3] x + m[4] y + m[5].
void opencvWarp(const std::uint8_t* src, unsigned side, const double m[6], unsigned width, unsigned height, bool cubic);
void opencvWarp(const std::uint16_t* src, unsigned side, const double m[6], unsigned width, unsigned height,
                bool cubic);
// A picture of interleaved samples that stays as large as it is; what lies outside repeats its edge.
std::vector<std::uint8_t> opencvWarpPicture(const std::vector<std::uint8_t>& picture, unsigned width, unsigned height,
                                            unsigned channels, const double m[6], bool cubic);

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_WARP_H_
