// SPDX-License-Identifier: Apache-2.0
// Numbers that look random and are the same on every platform: integer arithmetic and exactly rounded operations only,
// no distribution of the standard library and no function whose last bit depends on the C library.
#ifndef QUORVEL_HOST_SCENE_RANDOM_H_
#define QUORVEL_HOST_SCENE_RANDOM_H_

#include <cstdint>

namespace quorvel::host {

// The finalizer of SplitMix64: every input bit moves every output bit.
constexpr std::uint64_t mixBits(std::uint64_t z) {
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
  return z ^ (z >> 31);
}

class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(mixBits(seed + 0x9E3779B97F4A7C15u)) {}

  std::uint64_t bits() {
    state_ += 0x9E3779B97F4A7C15u;
    return mixBits(state_);
  }
  // In [0, 1).
  double unit() { return static_cast<double>(bits() >> 11) * 0x1p-53; }
  double between(double low, double high) { return low + (high - low) * unit(); }
  // In 0..n - 1.
  unsigned below(unsigned n) { return static_cast<unsigned>(((bits() >> 32) * n) >> 32); }
  bool chance(double p) { return unit() < p; }
  // Mean 0, variance 1: the sum of twelve uniform numbers, which ends at six sigma.
  double normal() {
    std::uint64_t sum = 0;
    for (int word = 0; word < 3; ++word) {
      const std::uint64_t b = bits();
      sum += (b & 0xFFFF) + ((b >> 16) & 0xFFFF) + ((b >> 32) & 0xFFFF) + (b >> 48);
    }
    return (static_cast<double>(sum) - 12 * 32767.5) / 65536;
  }

 private:
  std::uint64_t state_;
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_SCENE_RANDOM_H_
