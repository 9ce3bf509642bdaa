// SPDX-License-Identifier: Apache-2.0
// What exchange steps do to one row or one column of a tableau, entry by entry: multiply, add and clear dust, never
// fused, in the order of the steps.
#ifndef QUORVEL_NUMERICS_EXCHANGE_KERNEL_H_
#define QUORVEL_NUMERICS_EXCHANGE_KERNEL_H_

#include <cmath>
#include <cstddef>

namespace quorvel {

// An entry of this magnitude or less is rounding dust, and a pivot of it none.
inline constexpr double kDust = 1e-16;

template <typename T>
T withoutDust(T value) {
  return std::abs(value) <= static_cast<T>(kDust) ? T{0} : value;
}

// row[i] = withoutDust(row[i] + factors[s] * pivotRows[s][i]) for each step s in order.
void applySteps(double* row, std::size_t n, const double* const* pivotRows, const double* factors, int steps);
void applySteps(long double* row, std::size_t n, const long double* const* pivotRows, const long double* factors,
                int steps);

// column[i] = withoutDust(column[i] + pivots[s] * factors[s][i]) for each step s in order, save those of a factor of 0:
// they leave the entry, dust or not, as it is.
void applyStepsToColumn(double* column, std::size_t n, const double* const* factors, const double* pivots, int steps);
void applyStepsToColumn(long double* column, std::size_t n, const long double* const* factors,
                        const long double* pivots, int steps);

// values[i] = withoutDust(values[i] * factor).
void scaleEntries(double* values, std::size_t n, double factor);
void scaleEntries(long double* values, std::size_t n, long double factor);

// quotients[i] = values[i] / divisor, but 0 rather than a signed 0 or NaN for an entry of 0.
void divideEntries(const double* values, std::size_t n, double divisor, double* quotients);
void divideEntries(const long double* values, std::size_t n, long double divisor, long double* quotients);

// The largest |values[i]| among those of which open[i] is not 0, and 0 if there are none. NaN is never the largest.
double largestMagnitude(const double* values, const double* open, std::size_t n);
long double largestMagnitude(const long double* values, const long double* open, std::size_t n);

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_EXCHANGE_KERNEL_H_
