// SPDX-License-Identifier: Apache-2.0
// The entropy coder of libjpeg-turbo alone: coefficients into a JPEG file and back, no transform.
#ifndef QUORVEL_BENCH_PEERS_HUFFMAN_JPEG_H_
#define QUORVEL_BENCH_PEERS_HUFFMAN_JPEG_H_

#include <cstdint>
#include <vector>

namespace quorvel::bench {

// A grey picture's coefficients in the peer's own memory.
class JpegCoefficients {
 public:
  // `blocks`: row by row, each in zig-zag order.
  JpegCoefficients(unsigned width, unsigned height, const std::int16_t* blocks);
  JpegCoefficients(const JpegCoefficients&) = delete;
  JpegCoefficients& operator=(const JpegCoefficients&) = delete;
  ~JpegCoefficients();

  // With the typical tables.
  const std::vector<unsigned char>& encode();
  // Decodes a file of `encode`.
  static void decode(const std::vector<unsigned char>& file);

 private:
  struct Source;
  Source* source_;
  unsigned width_, height_;
  std::vector<unsigned char> file_;
};

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_HUFFMAN_JPEG_H_
