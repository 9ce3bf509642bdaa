// SPDX-License-Identifier: Apache-2.0
#include "host/road/measure.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

#include <quorvel/quorvel.h>

namespace quorvel::host {

double FocusGrid::least() const { return *std::min_element(fields.begin(), fields.end()); }
double FocusGrid::greatest() const { return *std::max_element(fields.begin(), fields.end()); }
double FocusGrid::mean() const {
  return std::accumulate(fields.begin(), fields.end(), 0.0) / static_cast<double>(fields.size());
}

FocusGrid focusGrid(const RawFrame& frame, const Region& area, unsigned across) {
  FocusGrid grid;
  grid.area = area;
  // Fields of less than a cell would measure nothing.
  grid.columns = std::clamp(across, 1u, std::max(area.width / 2, 1u));
  const unsigned side = std::max(area.width / grid.columns, 1u);
  grid.rows = std::clamp((area.height + side / 2) / side, 1u, std::max(area.height / 2, 1u));
  for (unsigned row = 0; row < grid.rows; ++row) {
    for (unsigned column = 0; column < grid.columns; ++column) {
      const auto edge = [](unsigned start, unsigned size, unsigned i, unsigned n) {
        return start + static_cast<unsigned>(std::uint64_t{size} * i / n);
      };
      double measure = 0;
      calcBayerFocusCoef(frame.samples.data(), frame.width, frame.width, edge(area.x, area.width, column, grid.columns),
                         edge(area.y, area.height, row, grid.rows),
                         std::min(edge(area.x, area.width, column + 1, grid.columns), frame.width & ~1u),
                         std::min(edge(area.y, area.height, row + 1, grid.rows), frame.height & ~1u), &measure);
      grid.fields.push_back(measure);
    }
  }
  return grid;
}

Histogram histogramOf(const RawFrame& frame) {
  std::array<std::vector<std::uint32_t>, 3> counts;  // one counter for every 16-bit value
  for (auto& c : counts) c.resize(65536);
  if (calcBayerHistogramm16_32(frame.samples.data(), frame.width, frame.width & ~1u, frame.height & ~1u,
                               counts[0].data(), counts[1].data(), counts[2].data()) != 0) {
    throw std::logic_error("the library refused to count a frame");
  }
  for (auto& c : counts) c.resize(kFullScale + 1);
  return {std::move(counts)};
}

Histogram::Summary Histogram::summary(std::size_t colour, int white) const {
  Summary s;
  std::uint64_t saturated = 0;
  double sum = 0;
  s.least = -1;
  for (int level = 0; level <= kFullScale; ++level) {
    const std::uint32_t n = counts[colour][static_cast<std::size_t>(level)];
    if (n == 0) continue;
    if (s.least < 0) s.least = level;
    s.greatest = level;
    s.samples += n;
    sum += static_cast<double>(n) * level;
    if (level >= white) saturated += n;
  }
  if (s.samples == 0) return {};
  s.mean = sum / static_cast<double>(s.samples);
  s.saturated = static_cast<double>(saturated) / static_cast<double>(s.samples);
  std::uint64_t below = 0;
  for (int level = s.least; level <= s.greatest; ++level) {
    below += counts[colour][static_cast<std::size_t>(level)];
    if (2 * below >= s.samples) {
      s.median = level;
      break;
    }
  }
  return s;
}

}  // namespace quorvel::host
