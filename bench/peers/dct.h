// SPDX-License-Identifier: Apache-2.0
// The cosine transform of 8 x 8 blocks by other libraries.
#ifndef QUORVEL_BENCH_PEERS_DCT_H_
#define QUORVEL_BENCH_PEERS_DCT_H_

#include <cstdint>
#include <memory>

namespace quorvel::bench {

// All blocks of a frame, in float, on one thread. The frame is made into floats beforehand.
class OpencvDct {
 public:
  OpencvDct(const std::uint8_t* frame, unsigned width, unsigned height);
  ~OpencvDct();
  void forward();
  void inverse();

 private:
  struct Frames;
  std::unique_ptr<Frames> frames_;
};

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_DCT_H_
