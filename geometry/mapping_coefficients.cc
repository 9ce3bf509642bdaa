// SPDX-License-Identifier: Apache-2.0
// From the corners of a block to the integers of its mapping.
//
// Two conversions lie beyond what a processor's own would settle alike everywhere, and are settled here: a coefficient
// outside 32 bits wraps, because positions do and steps that differ by a multiple of 2^32 are the same step; the row
// hint is limited before it is converted, so that a slope next to nothing gives the limit and not a remainder.
#include <cmath>

#include "quorvel/mapping.h"

namespace {

// The lowest 32 bits of the truncated value; 0 for one that has no 64-bit form.
template <typename Real>
int truncated(Real value) {
  constexpr Real kLimit = 9223372036854775808.0f;  // 2^63
  if (!(std::abs(value) < kLimit)) return 0;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::int64_t>(value)));
}

template <typename Real>
int rowRun(unsigned n, Real ay) {
  constexpr int kUpper = 32767, kBelowLower = 32768;
  if (ay == 0) return kUpper;
  const Real run = std::trunc(static_cast<Real>(n) * 16 / ay);
  if (run > kUpper) return kUpper;
  if (run < -32768) return kBelowLower;
  return truncated(run);
}

template <typename Rect, typename Real>
void coefficients(const Rect& r, unsigned n, unsigned m, Real sx, Real sy, GeoCoef4& coef) {
  constexpr Real kOne = 65536;
  const Real ax = r.x1 - r.x0, ay = r.y1 - r.y0;
  coef.x = truncated(r.x0 * 16);
  coef.y = truncated(r.y0 * 16);
  coef.columns = static_cast<int>(n);
  coef.rows = static_cast<int>(m);
  coef.dxColumn = truncated(kOne * ax * sx);
  coef.dyColumn = truncated(kOne * ay * sx);
  coef.dxRow = truncated((r.x2 - r.x0) * kOne * sy);
  coef.dyRow = truncated((r.y2 - r.y0) * kOne * sy);
  coef.ddx = truncated((r.x3 - r.x2 - ax) * kOne * sy * sx);
  coef.ddy = truncated((r.y3 - r.y2 - ay) * kOne * sy * sx);
  coef.rowRun = rowRun(n, ay);
}

// 1/16 pixels of a start that is moved onto the centre of its cell.
int centred(int start, int row, int column) {
  constexpr std::int64_t kHalfPixel = 32768;
  const std::int64_t move = (std::int64_t{row} + column) / 2 - kHalfPixel;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>((std::int64_t{start} * 4096 + move) >> 12));
}

}  // namespace

int calcGeo(const Geo4Rect* rect, unsigned n, unsigned m, double sx, double sy, GeoCoef4* coef) {
  coefficients(*rect, n, m, sx, sy, *coef);
  return 0;
}

int calcGeo2(const Geo4Rect* rect, unsigned n, unsigned m, double sx, double sy, GeoCoef4* coef) {
  coefficients(*rect, n, m, sx, sy, *coef);
  coef->x = centred(coef->x, coef->dxRow, coef->dxColumn);
  coef->y = centred(coef->y, coef->dyRow, coef->dyColumn);
  return 0;
}

int calcGeoF(const Geo4RectF* rect, unsigned n, unsigned m, float sx, float sy, GeoCoef4* coef) {
  coefficients(*rect, n, m, sx, sy, *coef);
  return 0;
}
