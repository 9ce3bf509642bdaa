// SPDX-License-Identifier: Apache-2.0
// A picture drawn anew along a mapping.
#ifndef QUORVEL_HOST_ROAD_WARP_H_
#define QUORVEL_HOST_ROAD_WARP_H_

#include <array>

#include "host/io/image.h"
#include "host/road/mapping.h"

namespace quorvel::host {

// The resampling methods by the names that users give them. The last is what is usually wanted: the plain cubic
// convolution. Those of sixteen taps sharpen, because samples on the diagonals count at distance 1.4 too.
struct WarpMethod {
  const char* name;
  Geometry_Method method;
};
inline constexpr std::array kWarpMethods = {
    WarpMethod{"bilinear", 0}, WarpMethod{"surface6", 1},   WarpMethod{"surface8", 2}, WarpMethod{"directed16", 3},
    WarpMethod{"cubic16", 4},  WarpMethod{"cubic-rows", 6}, WarpMethod{"cubic", 7}};

struct WarpSettings {
  Size size = {0, 0};
  Geometry_Method method = 7;
  std::array<unsigned, 3> fill = {0, 0, 0};  // for pixels that come from outside the source, a value a channel
};

struct Warped {
  Picture picture;
  std::uint64_t blocks = 0;   // records that were needed
  std::uint64_t outside = 0;  // pixels that were filled
};

// Samples are resampled with 15 bits: those of 8 bits gain 7 below the point, those of 16 lose their lowest. Pixels
// whose centres come from outside the source's outline get the fill value; near its edge the outermost samples stand
// for what would lie beyond. Sizes are sane.
Warped warp(const Picture& source, const Mapping& mapping, const WarpSettings& settings);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_WARP_H_
