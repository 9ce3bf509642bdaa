// SPDX-License-Identifier: Apache-2.0
// Plain models of the mappings: positions by their formula, bilinear pixels out of a ring by table products.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_MAPPING_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_MAPPING_H_

#include <cstdint>
#include <vector>

#include <quorvel/mapping.h>

namespace quorvel::reference {

// Before it wraps; small records only.
inline TPoInt<std::int64_t> positionOf(const GeoCoef4& c, std::int64_t column, std::int64_t row) {
  return {std::int64_t{c.x} * 4096 + row * c.dxRow + column * (c.dxColumn + row * c.ddx),
          std::int64_t{c.y} * 4096 + row * c.dyRow + column * (c.dyColumn + row * c.ddy)};
}

struct RingCase {
  int x0, y0;
  unsigned width;
  int dx, dy, rowDx, rowDy, rows;
  unsigned pitch = 8192, ringRows = 64;
};

template <typename T>
std::vector<T> fromRing(const T* ring, const RingCase& c) {
  const std::int64_t size = std::int64_t{c.pitch} * c.ringRows, yMask = (std::int64_t{c.ringRows} << 16) - 1;
  std::vector<T> out;
  for (int row = 0; row < c.rows; ++row) {
    for (unsigned i = 0; i < c.width; ++i) {
      const auto x = static_cast<std::int32_t>(4096ll * c.x0 + 1ll * row * c.rowDx + 1ll * i * c.dx);
      const std::int64_t y = (4096ll * c.y0 + 1ll * row * c.rowDy + 1ll * i * c.dy) & yMask;
      const std::int64_t at = (y >> 16) * c.pitch + (x >> 16), below = (at + c.pitch) % size;
      const int fx = x >> 12 & 15, fy = y >> 12 & 15;
      if (fx == 0 && fy == 0) {
        out.push_back(ring[at]);
        continue;
      }
      const int weights[4] = {(16 - fx) * (16 - fy), fx * (16 - fy), (16 - fx) * fy, fx * fy};
      const T four[4] = {ring[at], ring[at + 1], ring[below], ring[below + 1]};
      std::uint32_t sum = 0;
      for (int k = 0; k < 4; ++k) sum += static_cast<std::uint32_t>(weights[k]) * four[k];
      out.push_back(static_cast<T>(sum >> 8));
    }
  }
  return out;
}

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_MAPPING_H_
