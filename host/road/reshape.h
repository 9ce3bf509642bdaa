// SPDX-License-Identifier: Apache-2.0
// Raw frames made of raw frames.
#ifndef QUORVEL_HOST_ROAD_RESHAPE_H_
#define QUORVEL_HOST_ROAD_RESHAPE_H_

#include <optional>

#include "host/io/image.h"

namespace quorvel::host {

// Smaller by 2, 4 or 8 each way, in whole cells; nothing where not one cell would be left. All sites of the result have
// one black level, because samples of both greens are mixed.
std::optional<RawFrame> reduced(const RawFrame& frame, unsigned factor);

// Turned by 180 degrees; nothing where no cell would be left. A turned cell has red where blue was: a row and a column
// are given up so that the pattern begins with green and red again.
std::optional<RawFrame> turned(const RawFrame& frame);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_RESHAPE_H_
