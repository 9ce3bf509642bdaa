// SPDX-License-Identifier: Apache-2.0
// Moves and counts of whole tiles by other libraries. They keep their output between calls, so that only the work is
// timed.
#ifndef QUORVEL_BENCH_PEERS_TILES_H_
#define QUORVEL_BENCH_PEERS_TILES_H_

#include <cstdint>

namespace quorvel::bench {

enum class OpencvTurn { Quarter, Half, ThreeQuarters, Mirror, HalfInPlace };

void opencvTurn(OpencvTurn turn, const std::uint8_t* tile, unsigned width, unsigned height);
void opencvTurn(OpencvTurn turn, const std::uint16_t* tile, unsigned width, unsigned height);
void opencvBorder(const std::uint8_t* tile, unsigned width, unsigned height, int border);
void opencvBorder(const std::uint16_t* tile, unsigned width, unsigned height, int border);
// All samples of a frame as one colour.
void opencvHistogram(const std::uint16_t* frame, unsigned width, unsigned height);

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_TILES_H_
