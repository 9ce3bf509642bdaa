// SPDX-License-Identifier: Apache-2.0
// JPEG files by libjpeg-turbo, accurate transform, no subsampling: from pixels to bytes and back.
#ifndef QUORVEL_BENCH_PEERS_JPEG_H_
#define QUORVEL_BENCH_PEERS_JPEG_H_

#include <cstdint>
#include <vector>

namespace quorvel::bench {

struct PeerJpeg {
  unsigned width, height, channels;  // 1 or 3 interleaved
  int quality;
  bool optimize = false;  // codes of its own rather than the typical ones
  unsigned restart = 0;   // blocks between markers
};

std::vector<std::uint8_t> peerEncodeJpeg(const std::uint8_t* pixels, const PeerJpeg& jpeg);
// Returns the number of warnings.
int peerDecodeJpeg(const std::vector<std::uint8_t>& file, std::vector<std::uint8_t>& pixels);
// The quantised coefficients of each component, block by block in natural order.
std::vector<std::vector<std::int16_t>> peerJpegCoefficients(const std::vector<std::uint8_t>& file);

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_JPEG_H_
