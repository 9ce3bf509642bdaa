// SPDX-License-Identifier: Apache-2.0
// Luminance, chroma and 3x3 matrices by other libraries. Each keeps its output between calls, so that only the work is
// timed.
#ifndef QUORVEL_BENCH_PEERS_COLOUR_H_
#define QUORVEL_BENCH_PEERS_COLOUR_H_

#include <cstdint>

namespace quorvel::bench {

// Interleaved floats to interleaved floats.
void opencvYCrCb(const float* rgb, unsigned width, unsigned height);

// Pixels through a matrix by rows, from buffer to buffer.
void opencvTransform(const std::uint16_t* src, std::uint16_t* dst, unsigned width, unsigned height, const double* m);
void opencvTransform(const std::uint8_t* src, std::uint8_t* dst, unsigned width, unsigned height, const double* m);

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_COLOUR_H_
