// SPDX-License-Identifier: Apache-2.0
// Sums of products in twice the precision of their type, from nothing but its additions and multiplications: the same
// bits wherever the type is the same.
#ifndef QUORVEL_NUMERICS_TWOFOLD_H_
#define QUORVEL_NUMERICS_TWOFOLD_H_

#include <limits>

namespace quorvel {

// A factor split into two halves whose products with other halves are exact.
template <typename T>
struct Halves {
  explicit Halves(T value) {
    constexpr int kLowBits = (std::numeric_limits<T>::digits + 1) / 2;
    constexpr T kSplitter = static_cast<T>(1ull << kLowBits) + 1;
    const T shifted = kSplitter * value;
    high = shifted - (shifted - value);
    low = value - high;
  }
  T high, low;
};

// A running sum that keeps what rounding takes from it.
template <typename T>
struct Twofold {
  T sum = 0, lost = 0;

  void add(T value) {
    const T next = sum + value;
    const T part = next - sum;
    lost += (sum - (next - part)) + (value - part);
    sum = next;
  }
  void addProduct(T a, T b, const Halves<T>& halvesOfB) {
    const T product = a * b;
    const Halves<T> h(a);
    lost +=
        ((h.high * halvesOfB.high - product) + h.high * halvesOfB.low + h.low * halvesOfB.high) + h.low * halvesOfB.low;
    add(product);
  }
  T value() const { return sum + lost; }
};

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_TWOFOLD_H_
