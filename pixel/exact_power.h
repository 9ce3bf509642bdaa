// SPDX-License-Identifier: Apache-2.0
// A power that is the same on every platform.
#ifndef QUORVEL_PIXEL_EXACT_POWER_H_
#define QUORVEL_PIXEL_EXACT_POWER_H_

namespace quorvel {

// base ^ exponent for a normal base > 0 and a result from 2^-200 to 2^200, rounded to double: the error
// before that rounding is below 2^-95 of the result, where the C libraries leave about 2^-53 and so differ from each
// other. Only +, -, *, / and scaling by powers of two. Some 100 times slower than `std::pow`.
double exactPower(double base, double exponent);

}  // namespace quorvel

#endif  // QUORVEL_PIXEL_EXACT_POWER_H_
