// SPDX-License-Identifier: Apache-2.0
// Divisions that find the first sample on or behind a limit.
#ifndef QUORVEL_GEOMETRY_ROUNDING_H_
#define QUORVEL_GEOMETRY_ROUNDING_H_

#include <cstdint>

namespace quorvel {

// The quotient rounded up; the divisor is positive.
constexpr std::int64_t ceiling(std::int64_t dividend, std::int64_t divisor) {
  return dividend / divisor + (dividend % divisor > 0 ? 1 : 0);
}

}  // namespace quorvel

#endif  // QUORVEL_GEOMETRY_ROUNDING_H_
