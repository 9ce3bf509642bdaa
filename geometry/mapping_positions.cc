// SPDX-License-Identifier: Apache-2.0
// The positions of a mapping's rows, and which of them a source can serve. Within a row they advance by one step, so
// the pixels on one side of a limit are a run, whose ends a division finds.
#include <algorithm>

#include "geometry/rounding.h"
#include "quorvel/mapping.h"

namespace {

using quorvel::ceiling;

// One coordinate of a row: position of pixel i = start + i * step. In 64 bits nothing wraps.
struct Line {
  std::int64_t start, step;
};

Line lineX(const GeoCoef4& c, int row) {
  return {std::int64_t{c.x} * 4096 + std::int64_t{row} * c.dxRow, c.dxColumn + std::int64_t{row} * c.ddx};
}

Line lineY(const GeoCoef4& c, int row) {
  return {std::int64_t{c.y} * 4096 + std::int64_t{row} * c.dyRow, c.dyColumn + std::int64_t{row} * c.ddy};
}

// Pixels first..end-1.
struct Run {
  std::int64_t first, end;
};

// Positions of which the first limit is one and the second is none.
struct Range {
  std::int64_t low, high;
};

// Leaves of a run the pixels whose positions are in the range.
void keep(Run& run, Line line, Range range) {
  if (line.step == 0) {
    if (line.start < range.low || line.start >= range.high) run.end = run.first;
    return;
  }
  if (line.step < 0) {  // seen in a mirror, where the limits change places and with them which of them belongs
    line = {-line.start, -line.step};
    range = {1 - range.high, 1 - range.low};
  }
  run.first = std::max(run.first, ceiling(range.low - line.start, line.step));
  run.end = std::min(run.end, ceiling(range.high - line.start, line.step));
}

int keptRun(const GeoCoef4& coef, int row, Range x, Range y, unsigned& first) {
  Run run = {0, coef.columns};
  keep(run, lineX(coef, row), x);
  keep(run, lineY(coef, row), y);
  const bool any = run.first < run.end;
  first = any ? static_cast<unsigned>(run.first) : 0;
  return any ? static_cast<int>(run.end - run.first) : 0;
}

}  // namespace

int linearCoor(const GeoCoef4* coef, int row, TPoInt<std::int32_t>* positions, unsigned n) {
  const auto low = [](std::int64_t value) { return static_cast<std::uint32_t>(value); };
  const Line x = lineX(*coef, row), y = lineY(*coef, row);
  for (std::uint32_t i = 0; i < n; ++i) {
    positions[i] = {static_cast<std::int32_t>(low(x.start) + i * low(x.step)),
                    static_cast<std::int32_t>(low(y.start) + i * low(y.step))};
  }
  return 0;
}

int calcExclude(const GeoCoef4* coef, int row, unsigned width, unsigned height, unsigned* first) {
  // The last position that still has its neighbour is just before the last sample; none reaches 32768 pixels.
  const auto limit = [](unsigned size) { return std::int64_t{std::min(std::max(size, 1u) - 1, 32768u)} << 16; };
  return keptRun(*coef, row, {0, limit(width)}, {0, limit(height)}, *first);
}

int calcExclude2(const GeoCoef4* coef, int row, const TPoInt<std::int32_t>* low, const TPoInt<std::int32_t>* high,
                 unsigned* first) {
  return keptRun(*coef, row, {low->x, high->x}, {low->y, high->y}, *first);
}
