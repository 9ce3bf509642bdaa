// SPDX-License-Identifier: Apache-2.0
#include "host/report/residual_plot.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

#include "host/report/canvas.h"

namespace quorvel::host {
namespace {

constexpr double kLongSide = 720, kShortest = 160;  // of the area that the places span
constexpr double kLongestStroke = 56;
constexpr unsigned kMargin = 64;  // room for strokes beyond the places
constexpr Ink kPaper = {44, 49, 54}, kOutlier = {240, 72, 60};
constexpr std::array<Ink, 6> kGroups = {
    {{122, 196, 232}, {240, 196, 92}, {128, 208, 132}, {208, 160, 236}, {236, 168, 128}, {172, 184, 192}}};

// 1, 2 or 5 times a power of ten, not above.
double roundBelow(double value) {
  const double ten = std::pow(10, std::floor(std::log10(value)));
  return value >= 5 * ten ? 5 * ten : value >= 2 * ten ? 2 * ten : ten;
}

void stroke(Canvas& canvas, Place from, Place to, Ink ink) {
  const double steps = std::max(1.0, std::ceil(2 * std::hypot(to.x - from.x, to.y - from.y)));
  for (double s = 0; s <= steps; ++s) {
    const double x = from.x + (to.x - from.x) * s / steps, y = from.y + (to.y - from.y) * s / steps;
    canvas.box(static_cast<unsigned>(std::lround(x)), static_cast<unsigned>(std::lround(y)), 2, 2, ink);
  }
}

}  // namespace

Picture residualPlot(const std::vector<ResidualMark>& marks, std::string_view title) {
  Place low = marks.front().at, high = low;
  double largest = 0;
  for (const ResidualMark& m : marks) {
    low = {std::min(low.x, m.at.x), std::min(low.y, m.at.y)};
    high = {std::max(high.x, m.at.x), std::max(high.y, m.at.y)};
    if (m.used) largest = std::max(largest, std::hypot(m.residual.x, m.residual.y));
  }
  const double extent = std::max({high.x - low.x, high.y - low.y, 1e-9}), scale = kLongSide / extent;
  const auto side = [&](double length) {
    return static_cast<unsigned>(std::max(length * scale, kShortest)) + 2 * kMargin;
  };
  const unsigned top = 2 * kGap + kLine, width = side(high.x - low.x), height = side(high.y - low.y);
  const auto letters = static_cast<unsigned>(std::max<std::size_t>(title.size(), 36));
  Canvas canvas(std::max(width, letters * kLetterAdvance) + 2 * kGap, top + height + 3 * kGap + 2 * kLine);
  canvas.write(kGap, kGap, title, kText);
  canvas.box(kGap, top, width, height, kPaper);
  // Rounding is nothing to be enlarged.
  const double enlarged = kLongestStroke / std::max(largest, 1e-6);
  const auto dots = [&](Place p) {
    return Place{kGap + width / 2.0 + (p.x - (low.x + high.x) / 2) * scale,
                 top + height / 2.0 + (p.y - (low.y + high.y) / 2) * scale};
  };
  for (const bool outliers : {true, false}) {  // the others above them
    for (const ResidualMark& m : marks) {
      if (m.outlier != outliers) continue;
      const Place at = dots(m.at);
      const double length = std::hypot(m.residual.x, m.residual.y) * enlarged;
      const double shown = enlarged * std::min(1.0, kLongestStroke / std::max(length, 1e-9));
      stroke(canvas, at, {at.x + m.residual.x * shown, at.y + m.residual.y * shown},
             outliers ? kOutlier : kGroups[m.group % kGroups.size()]);
      const unsigned size = outliers ? 10 : 6;
      canvas.box(static_cast<unsigned>(std::lround(at.x)) - size / 2 + 1,
                 static_cast<unsigned>(std::lround(at.y)) - size / 2 + 1, size, size, outliers ? kOutlier : kText);
    }
  }
  const double bar = roundBelow(1.5 * kLongestStroke / enlarged);
  const auto barLength = static_cast<unsigned>(std::lround(bar * enlarged));
  const unsigned below = top + height + kGap;
  canvas.box(kGap, below + kLine / 2 - 1, barLength, 3, kText);
  canvas.write(2 * kGap + barLength, below, fmt::format("A RESIDUAL OF {:.7g} PX", bar), kText);
  const auto count = std::count_if(marks.begin(), marks.end(), [](const ResidualMark& m) { return m.outlier; });
  canvas.write(kGap, below + kLine + kGap, fmt::format("OUTLIERS IN RED {}", count), count > 0 ? kOutlier : kDim);
  return std::move(canvas).picture();
}

}  // namespace quorvel::host
