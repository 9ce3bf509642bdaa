// SPDX-License-Identifier: Apache-2.0
// Plain models of the transforms, an element at a time, in 16 bits that wrap.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_DCT_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_DCT_H_

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace quorvel::reference {

template <typename T>
using Block = std::array<T, 64>;
using Words = Block<std::int16_t>;

inline std::int16_t wrapped(int v) { return static_cast<std::int16_t>(static_cast<std::uint16_t>(v)); }
inline int hi(std::int16_t a, std::int16_t b) { return (a * b) >> 16; }

// left * right in sums of high halves, n x n.
inline std::int16_t element(const std::int16_t* left, const std::int16_t* right, int n, int k, int c) {
  int sum = 0;
  for (int j = 0; j < n; ++j) sum += hi(right[n * j + c], left[n * k + j]);
  return wrapped(sum);
}

inline Words product(const Words& left, const Words& right, int added) {
  Words out;
  for (int i = 0; i < 64; ++i) out[i] = wrapped(element(left.data(), right.data(), 8, i / 8, i % 8) + added);
  return out;
}

struct ForwardRule {
  int level, shift;  // X = (s - level) << shift
  int halved;        // bits of the last shift
};

inline Words forward(const Block<int>& samples, const ForwardRule& rule, const Words& left, const Words& right) {
  Words x;
  for (int i = 0; i < 64; ++i) x[i] = wrapped((samples[i] - rule.level) * (1 << rule.shift));
  Words y = product(product(left, x, 4), right, 4);
  for (std::int16_t& v : y) v = static_cast<std::int16_t>(v >> rule.halved);
  return y;
}

inline std::int16_t quantised(std::int16_t y, std::uint16_t bias, std::uint16_t recip) {
  const int s = y < 0 ? -1 : 1;
  return wrapped(s * hi(wrapped(wrapped(s * y) + bias), wrapped(recip)));
}

inline Words flat(int p, std::uint16_t bias, std::uint16_t recip) {
  const int v = (p - 128) * 8;
  const std::uint32_t q = ((static_cast<std::uint32_t>(std::abs(v)) * 8 + (bias & 0xFF)) * recip) >> 16;
  Words out{};
  out[0] = wrapped(((v > 0) - (v < 0)) * static_cast<int>(q));
  return out;
}

struct InverseRule {
  int first, second;  // constants of the passes
  int lift, push, drop;
};
inline constexpr InverseRule kTo12{4, 4, 4096, 59392, 61440}, kTo8{0, 1, 256, 65152, 65280};

inline Block<std::uint16_t> inverse(const Words& x, const InverseRule& rule, const Words& left, const Words& right) {
  const Words y = product(product(left, x, rule.first), right, rule.second);
  Block<std::uint16_t> out;
  for (int i = 0; i < 64; ++i) {
    const int u = ((y[i] >> 1) + rule.lift) & 0xFFFF;
    out[i] = static_cast<std::uint16_t>(std::max(std::min(u + rule.push, 65535) - rule.drop, 0));
  }
  return out;
}

// In floats or doubles, rounded after every operation, in the order of the index.
template <typename T>
Block<T> product(const Block<T>& left, const Block<T>& right) {
  Block<T> out;
  for (int i = 0; i < 64; ++i) {
    T sum = left[i / 8 * 8] * right[i % 8];
    for (int j = 1; j < 8; ++j) sum += left[i / 8 * 8 + j] * right[8 * j + i % 8];
    out[i] = sum;
  }
  return out;
}

// Where the coefficients of a block in zig-zag order stand in the row-major one.
inline constexpr Block<int> kZigzag = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,   //
                                       12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,  //
                                       35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,  //
                                       58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_DCT_H_
