// SPDX-License-Identifier: Apache-2.0
// Demosaicing by other libraries. Each keeps its output between calls, so that only the work is timed.
#ifndef QUORVEL_BENCH_PEERS_DEMOSAIC_H_
#define QUORVEL_BENCH_PEERS_DEMOSAIC_H_

#include <cstdint>
#include <memory>

namespace quorvel::bench {

void opencvBilinear16(const std::uint16_t* frame, unsigned width, unsigned height);
void opencvEdgeAware16(const std::uint16_t* frame, unsigned width, unsigned height);
void opencvVng8(const std::uint8_t* frame, unsigned width, unsigned height);

// LibRaw's own variable number of gradients, called past the rest of its chain.
class LibRawVng {
 public:
  LibRawVng(const std::uint16_t* frame, unsigned width, unsigned height);
  ~LibRawVng();
  void interpolate();

 private:
  class Access;
  std::unique_ptr<Access> raw_;
};

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_DEMOSAIC_H_
