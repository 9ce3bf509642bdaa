// SPDX-License-Identifier: Apache-2.0
// The entry points that choose their kernel by the method, and the sixteen-tap kernel's own.
#include "geometry/resample_taps.h"
#include "geometry/resample_weights.h"
#include "quorvel/geometry.h"

namespace quorvel {
namespace {

constexpr Geometry_Method kShortWidth = 8;  // whose pitch is never looked at; no kernel handles it

template <typename Sample>
int resampleBy(TapLine<Sample> (*kernelOf)(int), Geometry_Method method, const Mapping<Sample, Sample>& mapping) {
  if (mapping.rows < 1) return 0;
  if (method != kShortWidth && mapping.srcPitch % 8 != 0) return kBadPitch;
  const TapLine<Sample> kernel = kernelOf(method);
  if (kernel == nullptr) return kUnhandledMethod;
  mapping.forRows([](Line&) {}, kernel);
  return 0;
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int GeoParab8_8MMX(const std::uint8_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow, int dyRow, int ddx,
                   int ddy, unsigned srcPitch, int srcRows, std::uint8_t* dst, unsigned width, int rows, int dstPitch,
                   Geometry_Method method) {
  GenParaboloicWeightTable();
  return resampleBy<std::uint8_t>(
      tapLine8, method,
      {src, x, y, dxColumn, dyColumn, dxRow, dyRow, ddx, ddy, srcPitch, srcRows, dst, width, rows, dstPitch});
}

int GeoParab16_16MMX(const std::uint16_t* src, int x, int y, int dxColumn, int dyColumn, int dxRow, int dyRow, int ddx,
                     int ddy, unsigned srcPitch, int srcRows, std::uint16_t* dst, unsigned width, int rows,
                     int dstPitch, Geometry_Method method) {
  GenParaboloicWeightTable();
  return resampleBy<std::uint16_t>(
      tapLine16, method,
      {src, x, y, dxColumn, dyColumn, dxRow, dyRow, ddx, ddy, srcPitch, srcRows, dst, width, rows, dstPitch});
}

int GeoParab16_16_2_MMX(const std::uint16_t* const* src, const GeoCoef4* coefficients, unsigned srcPitch, int srcRows,
                        std::uint16_t* const* dst, int dstPitch, Geometry_Method method) {
  const GeoCoef4& c = *coefficients;
  int status = 0;
  for (int plane = 0; plane < 3 && status == 0; ++plane) {
    status = GeoParab16_16MMX(src[plane], c.x, c.y, c.dxColumn, c.dyColumn, c.dxRow, c.dyRow, c.ddx, c.ddy, srcPitch,
                              srcRows, dst[plane], static_cast<unsigned>(c.columns), c.rows, dstPitch, method);
  }
  return status;
}

std::uint8_t* makeCubicConv16(const std::uint8_t* src, unsigned count, int* x, int* y, const int step[2],
                              const int rowMask[2], const int pitch[2], std::uint8_t* dst) {
  Line line = {src,
               pitch[0],
               rowMask[0],
               {static_cast<std::uint32_t>(*x), static_cast<std::uint32_t>(*y)},
               {static_cast<std::uint32_t>(step[0]), static_cast<std::uint32_t>(step[1])}};
  tapLine8(3)(line, count, dst);
  line.at += line.step * count;
  *x = static_cast<int>(line.at.x);
  *y = static_cast<int>(line.at.y);
  return dst + count;
}
