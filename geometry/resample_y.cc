// SPDX-License-Identifier: Apache-2.0
// Resampling of columns alone: four-tap cubic convolution along y. Neighbouring pixels are neighbours in the source
// too, so a stretch of pixels whose y lies in one source row needs four plain loads a vector, and only the weights
// differ between lanes. Samples use all their 16 bits, and so the sums 32.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/resample_y.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "geometry/resample_walk.h"
#include "quorvel/geometry.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// `count` pixels of four given rows, at `y` and by `step` on.
void columnsOfRows(const std::uint16_t* const rows[4], std::uint32_t y, std::uint32_t step, std::size_t count,
                   std::int32_t limit, std::uint16_t* HWY_RESTRICT dst) {
  forLanes<std::int32_t>(count, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::Rebind<std::uint16_t, decltype(d)> d16;
    const auto set = [d](std::uint32_t v) HWY_ATTR { return hn::Set(d, static_cast<std::int32_t>(v)); };
    const auto at = hn::Add(set(y + step * static_cast<std::uint32_t>(i)), hn::Mul(hn::Iota(d, 0), set(step)));
    const auto f = hn::And(hn::ShiftRight<12>(at), hn::Set(d, 15));
    // Cubic convolution in 1/16384, as polynomials of the phase.
    const auto square = hn::Mul(f, f), rest = hn::Sub(hn::Set(d, 16), f);
    const auto scaled = [d](auto v, int k) HWY_ATTR { return hn::Mul(v, hn::Set(d, k)); };
    const auto above = hn::Mul(scaled(f, -2), hn::Mul(rest, rest));
    const auto own = hn::Add(hn::Mul(square, hn::Sub(scaled(f, 6), hn::Set(d, 160))), hn::Set(d, 16384));
    const auto below = hn::Mul(f, hn::Sub(hn::Set(d, 512), hn::Mul(f, hn::Sub(scaled(f, 6), hn::Set(d, 128)))));
    const auto last = hn::Mul(scaled(square, -2), rest);
    const auto product = [=](int row, auto weight)
                             HWY_ATTR { return hn::Mul(hn::PromoteTo(d, hn::LoadU(d16, rows[row] + i)), weight); };
    const auto sum = hn::Add(hn::Add(product(0, above), product(1, own)), hn::Add(product(2, below), product(3, last)));
    const auto result = hn::ShiftRight<14>(hn::Add(sum, hn::Set(d, 1 << 13)));
    const auto limited = hn::Min(hn::Max(result, hn::Zero(d)), hn::Set(d, limit));
    hn::StoreU(hn::DemoteTo(d16, limited), d16, dst + i);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(columnsOfRows);

std::int32_t sampleLimit = 0xFFFF;  // of the depth that is set

constexpr unsigned kBand = 512;
constexpr Geometry_Method kColumnsOnly = 6;

// How many pixels from y on lie in its source row, at most `count`.
std::size_t pixelsInRow(std::uint32_t y, std::int32_t step, std::size_t count) {
  if (step == 0) return count;
  const std::int64_t fraction = y & 0xFFFF;
  const std::int64_t pixels = step > 0 ? (0xFFFF - fraction) / step : fraction / -std::int64_t{step};
  return std::min(count, static_cast<std::size_t>(pixels) + 1);
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

void setNbitForGeo(int bits) { sampleLimit = (1 << std::clamp(bits, 1, 16)) - 1; }

int GeoRowY6_16_16MMX(const std::uint16_t* src, int y, int yStep, unsigned srcPitch, int rowMask, std::uint16_t* dst,
                      unsigned width, int) {
  Line line = {reinterpret_cast<const std::uint8_t*>(src),
               static_cast<std::ptrdiff_t>(srcPitch),
               rowMask,
               {0, static_cast<std::uint32_t>(y)},
               {0, static_cast<std::uint32_t>(yStep)}};
  for (std::size_t i = 0; i < width;) {
    const std::size_t count = pixelsInRow(line.at.y, yStep, width - i);
    const std::uint16_t* rows[4];
    for (int k = 0; k < 4; ++k) {
      rows[k] = reinterpret_cast<const std::uint16_t*>(line.row(wholePart(line.at.y) - 1 + k)) + i;
    }
    HWY_DYNAMIC_DISPATCH(columnsOfRows)(rows, line.at.y, line.step.y, count, sampleLimit, dst + i);
    line.at += line.step * count;
    i += count;
  }
  return 0;
}

int GeoY6_16_16MMX(const std::uint16_t* src, int bits, int y, int yStepColumn, int yStepRow, unsigned srcPitch,
                   int srcRows, std::uint16_t* dst, unsigned width, int rows, int dstPitch, Geometry_Method method) {
  if (rows < 1) return 0;
  if (srcPitch % 8 != 0) return kBadPitch;
  if (method != kColumnsOnly) return kUnhandledMethod;
  setNbitForGeo(bits);
  const Position start = Position{0, static_cast<std::uint32_t>(y)} * 4096;
  const Position perColumn = {0, static_cast<std::uint32_t>(yStepColumn)},
                 perRow = {0, static_cast<std::uint32_t>(yStepRow)};
  for (unsigned column = 0; column < width; column += kBand) {
    const unsigned count = std::min(kBand, width - column);
    Position at = start + perColumn * column;
    for (int j = 0; j < rows; ++j, at += perRow) {
      GeoRowY6_16_16MMX(src + column, static_cast<int>(at.y), yStepColumn, srcPitch, ringMask(srcRows),
                        dst + std::ptrdiff_t{j} * dstPitch + column, count, j + 1 == rows);
    }
  }
  return 0;
}

#endif
