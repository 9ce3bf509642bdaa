// SPDX-License-Identifier: Apache-2.0
// Timing helpers of the runtime that are not exported.
#ifndef QUORVEL_RUNTIME_TIMING_H_
#define QUORVEL_RUNTIME_TIMING_H_

#include <cstdint>

namespace quorvel {

// Waits by polling timeMks, without sleeping or yielding.
void delayMicroseconds(unsigned us);

// The system time in whole seconds since the first of January 1601, UTC.
std::uint64_t systemFileTimeSeconds();

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_TIMING_H_
