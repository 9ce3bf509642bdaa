// SPDX-License-Identifier: Apache-2.0
// Reduction by other libraries. They keep their output between calls, so that only the work is timed.
#ifndef QUORVEL_BENCH_PEERS_RESIZE_H_
#define QUORVEL_BENCH_PEERS_RESIZE_H_

#include <cstdint>

namespace quorvel::bench {

// Means over areas of factor x factor samples, which are of no use to a Bayer frame but the same amount of data.
void opencvArea16(const std::uint16_t* frame, unsigned width, unsigned height, unsigned factor);

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_RESIZE_H_
