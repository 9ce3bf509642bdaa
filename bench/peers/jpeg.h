// SPDX-License-Identifier: Apache-2.0
// Grey JPEG files by libjpeg-turbo, accurate transform, typical codes: from pixels to bytes and back.
#ifndef QUORVEL_BENCH_PEERS_JPEG_H_
#define QUORVEL_BENCH_PEERS_JPEG_H_

#include <cstdint>
#include <vector>

namespace quorvel::bench {

std::vector<std::uint8_t> peerEncodeJpeg(const std::uint8_t* pixels, unsigned width, unsigned height, int quality);
void peerDecodeJpeg(const std::vector<std::uint8_t>& file, std::vector<std::uint8_t>& pixels);

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_JPEG_H_
