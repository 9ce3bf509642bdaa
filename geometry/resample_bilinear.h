// SPDX-License-Identifier: Apache-2.0
// The lines of the bilinear family: `count` pixels of a line, by the fastest kernel for this processor.
#ifndef QUORVEL_GEOMETRY_RESAMPLE_BILINEAR_H_
#define QUORVEL_GEOMETRY_RESAMPLE_BILINEAR_H_

#include "geometry/resample_walk.h"

namespace quorvel {

struct BilinearOptions {
  const std::int16_t* bentWeights;  // the signed table where it is not the plain one, null where it is
  int columnMask = -1;              // 0xFFFF where columns have no sign
};

// The longest run of pixels that is addressed from its first one. A multiple of 3 and of all vectors' lanes.
inline constexpr std::size_t kBilinearRun = 768;

void bilinear8(const Line& line, const BilinearOptions& options, std::size_t count, std::uint8_t* dst);
void bilinear16(const Line& line, const BilinearOptions& options, std::size_t count, std::uint16_t* dst);
// With the arithmetic of GeoLn and of GeoLn16_16.
void bilinearSigned16(const Line& line, const BilinearOptions& options, std::size_t count, std::uint16_t* dst);
void bilinearUnsigned16(const Line& line, std::size_t count, std::uint16_t* dst);

using BilinearLine16 = void (*)(const Line&, const BilinearOptions&, std::size_t, std::uint16_t*);

// The results of `make`, each looked up in `table`.
void lookUpLine(BilinearLine16 make, Line line, const BilinearOptions& options, std::size_t count, std::uint8_t* dst,
                const std::uint8_t* table);

}  // namespace quorvel

#endif  // QUORVEL_GEOMETRY_RESAMPLE_BILINEAR_H_
