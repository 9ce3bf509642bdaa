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
  // Contrast differs between parts of a scene by powers of ten, of which three are shown.
  const double least = std::max(grid.least(), grid.greatest() * 1e-3), range = std::log(grid.greatest() / least);
  for (unsigned row = 0; row < grid.rows; ++row) {
    for (unsigned column = 0; column < grid.columns; ++column) {
      const double measure = grid.fields[std::size_t{row} * grid.columns + column];
      const double share = measure > least && range > 0 ? std::log(measure / least) / range : 0;
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

Picture tablePlot(const ColourTable& table) {
  constexpr unsigned kSide = 2 * 252, kPanel = kSide + 24, kMiddleLevel = 32;  // two dots a step
  constexpr Ink kPaper = {44, 49, 54}, kRule = {70, 77, 84};
  constexpr std::array kNames = {"RED", "GREEN", "BLUE"};
  constexpr std::array<Ink, 3> kInks = {{{214, 84, 72}, {92, 176, 92}, {88, 132, 220}}};
  Canvas canvas(2 * (kPanel + kGap) + kGap, 2 * (kPanel + 2 * kGap + kLine) + kGap);
  const auto panel = [&](unsigned i, const std::string& title) {
    const std::array<unsigned, 2> at = {kGap + i % 2 * (kPanel + kGap), kGap + i / 2 * (kPanel + 2 * kGap + kLine)};
    canvas.write(at[0], at[1], title, kText);
    canvas.box(at[0], at[1] + kLine + kGap, kPanel, kPanel, kPaper);
    return std::array{at[0] + 12.0, at[1] + kLine + kGap + 12.0 + kSide};  // the origin, below on the left
  };
  const auto ink = [](float r, float g, float b) {
    const auto part = [](float v) { return static_cast<std::uint8_t>(std::clamp(v, 0.0f, 255.0f)); };
    return Ink{part(r), part(g), part(b)};
  };
  const auto put = [&](const std::array<double, 2>& origin, double x, double y, unsigned size, Ink colour) {
    const auto corner = [size](double v) { return static_cast<unsigned>(std::lround(v - (size - 1) / 2.0)); };
    canvas.box(corner(origin[0] + 2 * x), corner(origin[1] - 2 * y), size, size, colour);
  };
  // The plane of axes a and b, the third channel in its middle.
  const auto plane = [&](unsigned i, unsigned a, unsigned b) {
    const auto origin = panel(i, std::string(kNames[a]) + " AND " + kNames[b]);
    for (unsigned la = 0; la < kTableLevels; la += 3) {
      for (unsigned lb = 0; lb < kTableLevels; lb += 3) {
        std::array<unsigned, 3> level = {kMiddleLevel, kMiddleLevel, kMiddleLevel};
        level[a] = la, level[b] = lb;
        const float* to = table.at(level[0], level[1], level[2]);
        const double x0 = 4.0 * la, y0 = 4.0 * lb, dx = to[a] - x0, dy = to[b] - y0;
        const double steps = std::max(1.0, std::ceil(2 * std::hypot(dx, dy)));
        const Ink colour = ink(to[0], to[1], to[2]);
        for (double s = 0; s <= steps; ++s) put(origin, x0 + dx * s / steps, y0 + dy * s / steps, 1, kDim);
        put(origin, to[a], to[b], 5, colour);
      }
    }
  };
  plane(0, 0, 1);
  plane(1, 0, 2);
  plane(2, 1, 2);
  const auto origin = panel(3, "GREYS");
  for (double s = 0; s <= 252; s += 0.5) put(origin, s, s, 1, kRule);
  for (unsigned level = 0; level < kTableLevels; ++level) {
    for (unsigned c = 0; c < 3; ++c) put(origin, 4.0 * level, table.at(level, level, level)[c], 4, kInks[c]);
  }
  return std::move(canvas).picture();
}

}  // namespace quorvel::host
