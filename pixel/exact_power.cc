// SPDX-License-Identifier: Apache-2.0
// base ^ exponent = 2^n * e^r with r small, worked out in pairs of doubles, 106 bits together. Every sum and product of
// two doubles is taken apart into its rounded value and its exact error.
#include "pixel/exact_power.h"

#include <cmath>

namespace quorvel {
namespace {

// The unevaluated sum hi + lo, with hi the sum rounded to a double.
struct Pair {
  double hi, lo;
};

// For |a| >= |b|.
Pair quickSum(double a, double b) {
  const double sum = a + b;
  return {sum, b - (sum - a)};
}

Pair exactSum(double a, double b) {
  const double sum = a + b, bPart = sum - a;
  return {sum, (a - (sum - bPart)) + (b - bPart)};
}

// Halves of 26 bits, whose products are exact.
Pair split(double a) {
  const double scaled = 134217729.0 * a, high = scaled - (scaled - a);  // 2^27 + 1
  return {high, a - high};
}

Pair exactProduct(double a, double b) {
  const double product = a * b;
  const Pair p = split(a), q = split(b);
  return {product, ((p.hi * q.hi - product) + p.hi * q.lo + p.lo * q.hi) + p.lo * q.lo};
}

Pair operator+(Pair a, Pair b) {
  const Pair high = exactSum(a.hi, b.hi), low = exactSum(a.lo, b.lo);
  const Pair sum = quickSum(high.hi, high.lo + low.hi);
  return quickSum(sum.hi, sum.lo + low.lo);
}

Pair operator*(Pair a, Pair b) {
  const Pair p = exactProduct(a.hi, b.hi);
  return quickSum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}

Pair operator-(Pair a) { return {-a.hi, -a.lo}; }

Pair operator/(Pair a, Pair b) {
  const double first = a.hi / b.hi;
  const Pair rest = a + -(b * Pair{first, 0});
  const double second = rest.hi / b.hi;
  const Pair rest2 = rest + -(b * Pair{second, 0});
  return quickSum(first, second) + Pair{rest2.hi / b.hi, 0};
}

constexpr Pair kLn2 = {0x1.62e42fefa39efp-1, 0x1.abc9e3b39803fp-56};
constexpr Pair kOne = {1, 0};

// ln m = 2 artanh s with s = (m - 1) / (m + 1); m in sqrt(1/2)..sqrt(2) keeps s^2 below 0.0295, and 21 terms suffice.
Pair logarithm(double base) {
  int exponent;
  double m = std::frexp(base, &exponent);
  if (m < 0.70710678118654752) m *= 2, --exponent;
  const Pair s = exactSum(m, -1) / exactSum(m, 1), square = s * s;
  Pair series = {0, 0};
  for (int term = 41; term >= 1; term -= 2) series = series * square + kOne / Pair{static_cast<double>(term), 0};
  return Pair{2 * s.hi, 2 * s.lo} * series + Pair{static_cast<double>(exponent), 0} * kLn2;
}

}  // namespace

double exactPower(double base, double exponent) {
  const Pair y = Pair{exponent, 0} * logarithm(base);
  const double n = std::floor(y.hi / kLn2.hi + 0.5);
  const Pair r = y + -(Pair{n, 0} * kLn2);  // within ln(2) / 2, where 25 terms of e^r suffice
  Pair series = kOne;
  for (int term = 25; term >= 1; --term) series = kOne + r * series / Pair{static_cast<double>(term), 0};
  return std::ldexp(series.hi, static_cast<int>(n));
}

}  // namespace quorvel
