// SPDX-License-Identifier: Apache-2.0
// Bilinear resampling along a line, by groups of pixels that share their rows and their y phase.
#include "geometry/resample_bilinear.h"
#include "geometry/resample_weights.h"
#include "quorvel/geometry.h"

namespace quorvel {
namespace {

// Calls make(line, count) for every group and uses the groups up. A group's rows are any two; they become rows 0 and 1
// of a line whose pitch is their distance.
template <typename Make>
int makeGroups(const std::uint16_t* src, int x, GroupEl* groups, unsigned groupCount, int step, std::ptrdiff_t pitch,
               Make&& make) {
  Position at = {static_cast<std::uint32_t>(x), 0};
  const Position perPixel = {static_cast<std::uint32_t>(step), 0};
  for (unsigned g = 0; g < groupCount; ++g) {
    GroupEl& group = groups[g];
    const std::ptrdiff_t top = static_cast<int>(group.topRow), bottom = static_cast<int>(group.bottomRow);
    at.y = group.yPhaseBase << 8;
    make(Line{reinterpret_cast<const std::uint8_t*>(src) + top * pitch, (bottom - top) * pitch, -1, at, perPixel},
         group.count);
    at += perPixel * group.count;
    group.count = 0;
  }
  return 0;
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int GeoLn(const std::uint16_t* src, int x, GroupEl* groups, unsigned groupCount, std::uint8_t* dst, int step,
          const std::uint8_t* table, unsigned pitchBytes) {
  const BilinearOptions options{bentBilinear()};
  return makeGroups(src, x, groups, groupCount, step, static_cast<std::ptrdiff_t>(pitchBytes),
                    [&](const Line& line, unsigned count) {
                      lookUpLine(bilinearSigned16, line, options, count, dst, table);
                      dst += count;
                    });
}

int GeoLn16_16(const std::uint16_t* src, int x, GroupEl* groups, unsigned groupCount, std::uint16_t* dst, int step,
               unsigned pitch8) {
  return makeGroups(src, x, groups, groupCount, step, static_cast<std::ptrdiff_t>(pitch8) * 8,
                    [&](const Line& line, unsigned count) {
                      bilinearUnsigned16(line, count, dst);
                      dst += count;
                    });
}
