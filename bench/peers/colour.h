// SPDX-License-Identifier: Apache-2.0
// Luminance and chroma by other libraries. Each keeps its output between calls, so that only the work is timed.
#ifndef QUORVEL_BENCH_PEERS_COLOUR_H_
#define QUORVEL_BENCH_PEERS_COLOUR_H_

namespace quorvel::bench {

// Interleaved floats to interleaved floats.
void opencvYCrCb(const float* rgb, unsigned width, unsigned height);

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_COLOUR_H_
