// SPDX-License-Identifier: Apache-2.0
#include "host/report/charts.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

#include "host/report/canvas.h"

namespace quorvel::host {
namespace {

// From dark blue over purple and orange to pale yellow: lightness rises evenly, so that the map is read right in grey
// and by eyes that do not see all colours.
Ink heat(double share) {
  constexpr std::array<Ink, 5> kStops = {{{12, 14, 40}, {92, 24, 110}, {188, 55, 84}, {245, 138, 30}, {250, 240, 160}}};
  const double at = std::clamp(share, 0.0, 1.0) * (kStops.size() - 1);
  const std::size_t low = std::min(static_cast<std::size_t>(at), kStops.size() - 2);
  const double t = at - static_cast<double>(low);
  const auto blend = [t](std::uint8_t a, std::uint8_t b) { return static_cast<std::uint8_t>(a + (b - a) * t + 0.5); };
  const Ink &a = kStops[low], &b = kStops[low + 1];
  return {blend(a.r, b.r), blend(a.g, b.g), blend(a.b, b.b)};
}

}  // namespace

Picture heatMap(const FocusGrid& grid) {
  const unsigned side = std::max(640 / std::max(grid.columns, grid.rows), 2u);
  const unsigned width = grid.columns * side, height = grid.rows * side;
  Canvas canvas(std::max(width, 300u) + 2 * kGap, height + 3 * kGap + 2 * kLine + kGap);
  const double least = grid.least(), range = grid.greatest() - least;
  for (unsigned row = 0; row < grid.rows; ++row) {
    for (unsigned column = 0; column < grid.columns; ++column) {
      const double share = range > 0 ? (grid.fields[std::size_t{row} * grid.columns + column] - least) / range : 0;
      canvas.box(kGap + column * side, kGap + row * side, side - 1, side - 1, heat(share));
    }
  }
  const unsigned below = kGap + height + kGap, bar = std::max(width, 300u);
  for (unsigned x = 0; x < bar; ++x) canvas.box(kGap + x, below, 1, kLine, heat(static_cast<double>(x) / (bar - 1)));
  const std::string high = fmt::format("{:.4f}", grid.greatest());
  canvas.write(kGap, below + kLine + kGap, fmt::format("{:.4f}", least), kText);
  canvas.write(kGap + bar - static_cast<unsigned>(high.size()) * kLetterAdvance, below + kLine + kGap, high, kText);
  return std::move(canvas).picture();
}

Picture histogramPlot(const Histogram& histogram, int white) {
  constexpr unsigned kLevelsAColumn = 4, kColumns = (kFullScale + 1) / kLevelsAColumn, kHeight = 160;
  constexpr std::array kNames = {"RED", "GREEN", "BLUE"};
  constexpr std::array<Ink, 3> kInks = {{{214, 84, 72}, {92, 176, 92}, {88, 132, 220}}};
  constexpr unsigned kBand = kHeight + kLine + 2 * kGap;
  Canvas canvas(kColumns + 2 * kGap, 3 * kBand + kGap);
  for (std::size_t c = 0; c < 3; ++c) {
    std::array<double, kColumns> columns{};
    for (unsigned level = 0; level <= kFullScale; ++level) {
      columns[level / kLevelsAColumn] += histogram.counts[c][level];
    }
    const double peak = std::max(1.0, *std::max_element(columns.begin(), columns.end()));
    const unsigned top = kGap + static_cast<unsigned>(c) * kBand;
    const auto summary = histogram.summary(c, white);
    canvas.write(kGap, top, kNames[c], kInks[c]);
    canvas.write(
        kGap + 8 * kLetterAdvance, top,
        fmt::format("{} TO {}  MEAN {:.1f}  MEDIAN {}", summary.least, summary.greatest, summary.mean, summary.median),
        kDim);
    const unsigned base = top + kLine + kGap + kHeight;
    for (unsigned x = 0; x < kColumns; ++x) {
      // A level that occurs at all shows at least a dot.
      const auto high =
          columns[x] > 0 ? std::max(1u, static_cast<unsigned>(std::lround(columns[x] / peak * kHeight))) : 0;
      canvas.box(kGap + x, base - high, 1, high, kInks[c]);
    }
    for (unsigned level = 0; level <= 4096; level += 512) {
      canvas.box(kGap + std::min(level / kLevelsAColumn, kColumns - 1), base, 1, 4, kDim);
    }
    canvas.box(kGap + static_cast<unsigned>(white) / kLevelsAColumn, top + kLine + kGap, 1, kHeight, kDim);
  }
  return std::move(canvas).picture();
}

}  // namespace quorvel::host
