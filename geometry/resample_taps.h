// SPDX-License-Identifier: Apache-2.0
// The lines of the methods that weigh a neighbourhood with a table: `count` pixels of a line, by the fastest kernel for
// this processor.
#ifndef QUORVEL_GEOMETRY_RESAMPLE_TAPS_H_
#define QUORVEL_GEOMETRY_RESAMPLE_TAPS_H_

#include "geometry/resample_walk.h"

namespace quorvel {

// 8-bit results are limited to 0..255, 16-bit ones to 0..32767.
template <typename Sample>
using TapLine = void (*)(const Line& line, std::size_t count, Sample* dst);

// Null for a method that has no kernel.
TapLine<std::uint8_t> tapLine8(int method);
TapLine<std::uint16_t> tapLine16(int method);

}  // namespace quorvel

#endif  // QUORVEL_GEOMETRY_RESAMPLE_TAPS_H_
