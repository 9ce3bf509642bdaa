// SPDX-License-Identifier: Apache-2.0
// Samples that provoke: random ones, mixes of the extremes that force saturation and wrap, and structured ones whose
// order shows in the result.
#ifndef QUORVEL_TESTS_SUPPORT_SAMPLES_H_
#define QUORVEL_TESTS_SUPPORT_SAMPLES_H_

#include <array>
#include <cstdint>
#include <limits>
#include <ostream>
#include <random>
#include <type_traits>
#include <vector>

namespace quorvel::test {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;
using Floats = std::vector<float>;

enum class Pattern { Random, Extremes, Structured };

inline constexpr std::array kAllPatterns = {Pattern::Random, Pattern::Extremes, Pattern::Structured};

inline std::ostream& operator<<(std::ostream& out, Pattern p) {
  return out << (p == Pattern::Random ? "random" : p == Pattern::Extremes ? "extremes" : "structured");
}

// `n` samples from low..high. Extremes take low, high, and their neighbours; Structured counts up with a step that
// is coprime to every vector length, so that no two lanes of a vector agree. Equal seeds give equal samples.
template <typename T>
std::vector<T> samples(std::size_t n, Pattern pattern, std::uint32_t seed = 1, T low = std::numeric_limits<T>::min(),
                       T high = std::numeric_limits<T>::max()) {
  std::mt19937 engine(seed * 2654435761u + static_cast<std::uint32_t>(n));
  std::uniform_int_distribution<std::int64_t> any(static_cast<std::int64_t>(low), static_cast<std::int64_t>(high));
  std::uniform_int_distribution<int> choice(0, 9);
  const std::int64_t range = static_cast<std::int64_t>(high) - static_cast<std::int64_t>(low) + 1;
  std::vector<T> out(n);
  for (std::size_t i = 0; i < n; ++i) {
    switch (pattern) {
      case Pattern::Random:
        out[i] = static_cast<T>(any(engine));
        break;
      case Pattern::Extremes: {
        const int c = choice(engine);
        const T inner = static_cast<T>(c == 8 && range > 1 ? low + 1 : high - (range > 1));
        out[i] = c < 4 ? low : c < 8 ? high : inner;
        break;
      }
      case Pattern::Structured:
        out[i] = static_cast<T>(low + static_cast<std::int64_t>((i + seed) * 37) % range);
        break;
    }
  }
  return out;
}

inline constexpr unsigned kLongestRow = 4096;

// Every row length up to a few vectors, where all the tails are, and a long row for the main loop.
inline std::vector<unsigned> rowLengths(unsigned from = 0, unsigned to = 130) {
  std::vector<unsigned> lengths;
  for (unsigned n = from; n <= to; ++n) lengths.push_back(n);
  lengths.push_back(1021);
  lengths.push_back(kLongestRow);
  return lengths;
}

// And one whose results, of so many bytes a sample, are some 5 MiB and go past the caches; it is odd, so that neither
// vectors nor lines nor groups come out even.
inline std::vector<unsigned> rowLengthsAndStreamed(unsigned bytes) {
  std::vector<unsigned> lengths = rowLengths();
  lengths.push_back((5u << 20) / bytes / 2 * 2 + 1209);
  return lengths;
}

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_SUPPORT_SAMPLES_H_
