// SPDX-License-Identifier: Apache-2.0
#include "host/scene/targets.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorvel::host {
namespace {

constexpr Colour kWhite = {0.80, 0.80, 0.79}, kBlack = {0.030, 0.030, 0.031};

// Six columns, four rows: natural colours, strong ones, the primaries with their complements, and a row of greys.
constexpr std::array<Colour, 24> kPatches = {{
    {0.17, 0.083, 0.055},  {0.54, 0.31, 0.22},  {0.115, 0.195, 0.34}, {0.094, 0.15, 0.052},  {0.235, 0.215, 0.44},
    {0.13, 0.51, 0.40},    {0.68, 0.20, 0.025}, {0.068, 0.105, 0.38}, {0.53, 0.088, 0.12},   {0.108, 0.044, 0.145},
    {0.34, 0.50, 0.048},   {0.75, 0.36, 0.026}, {0.024, 0.046, 0.29}, {0.060, 0.295, 0.064}, {0.43, 0.032, 0.042},
    {0.80, 0.57, 0.012},   {0.49, 0.088, 0.30}, {0.010, 0.24, 0.38},  {0.85, 0.85, 0.84},    {0.57, 0.57, 0.57},
    {0.355, 0.355, 0.355}, {0.19, 0.19, 0.19},  {0.088, 0.088, 0.09}, {0.031, 0.031, 0.032},
}};
constexpr double kPatch = 25, kPatchGap = 3;

}  // namespace

double Targets::inSquare(Point p, Point centre, double half, double turns) const {
  const Point q = Rotation(turns).into(p - centre);
  return cover(half - std::max(std::abs(q.x), std::abs(q.y)));
}

// 36 pairs of spokes. Raising (x + iy) / r to the 36th power multiplies its angle, without any arc function.
double Targets::starShade(Point q, double r) const {
  constexpr int kPairs = 36;
  Point power = {1, 0}, base = q * (1 / std::max(r, 1e-9));
  for (int n = kPairs; n > 0; n >>= 1) {
    if (n & 1) power = {power.x * base.x - power.y * base.y, power.x * base.y + power.y * base.x};
    base = {base.x * base.x - base.y * base.y, 2 * base.x * base.y};
  }
  return cover(power.y * r / kPairs);  // near a spoke's edge the sine times r / n is the distance to it
}

Colour Targets::edges(Point q, Colour ground) const {
  Colour c = blend(ground, kWhite, cover(std::min({q.x, q.y, 168 - q.x, 132 - q.y})));
  c = blend(c, kBlack, inSquare(q, {40, 42}, 28, 5.0 / 360));
  c = blend(c, Colour{0.50, 0.030, 0.030}, inSquare(q, {40, 104}, 17, -8.0 / 360));
  c = blend(c, Colour{0.035, 0.055, 0.40}, inSquare(q, {140, 104}, 17, 11.0 / 360));
  // Groups of bars, standing and lying, from 6 pixels a pair down to 2: four pairs each and the bar that closes them.
  double top = 8;
  for (const double pitch : {6.0, 4.5, 3.5, 2.8, 2.3, 2.0}) {
    const double length = 3.5 * pitch;
    const auto bars = [&](double along, double across) {
      if (along < -1 || along > length + 1 || across < 0 || across > length) return;
      const double phase = along + 1 - pitch * std::floor((along + 1) / pitch) - 1;
      c = blend(c, kBlack, cover(std::min({phase, pitch / 2 - phase, length - along})));
    };
    bars(q.x - 88, q.y - top);
    bars(q.y - top, q.x - 124);
    top += length + 2;
  }
  return c;
}

Colour Targets::chart(Point q, Colour ground) const {
  const Colour frame = kBlack * 1.3;
  Colour c = blend(ground, frame, cover(std::min({q.x, q.y, 171 - q.x, 115 - q.y})));
  const double step = kPatch + kPatchGap;
  const auto column = static_cast<int>(std::floor((q.x - kPatchGap) / step));
  const auto row = static_cast<int>(std::floor((q.y - kPatchGap) / step));
  if (column < 0 || column > 5 || row < 0 || row > 3) return c;
  const double x = q.x - kPatchGap - step * column, y = q.y - kPatchGap - step * row;
  const Colour patch = kPatches[static_cast<std::size_t>(row * 6 + column)];
  return blend(c, patch, cover(std::min({x, y, kPatch - x, kPatch - y})));
}

Colour Targets::at(Point p) const {
  // Slabs of concrete with dark joints, worn and stained.
  const double jointX = std::abs(p.x / 52 - std::floor(p.x / 52 + 0.5)) * 52;
  const double jointY = std::abs(p.y / 52 - std::floor(p.y / 52 + 0.5)) * 52;
  const double worn = 1 + 0.09 * noise_.layers(p, 60, 4) + 0.035 * noise_.at(p, 1.6);
  Colour c = Colour{0.385, 0.378, 0.355} * worn;
  c = blend(c, c * 0.6, cover(0.6 - std::min(jointX, jointY)));
  const double rim = std::min({p.x - kFrom.x, p.y - kFrom.y, kTo.x - p.x, kTo.y - p.y});
  c = blend(c, Colour{0.70, 0.52, 0.06} * worn, cover(std::min(rim - 4, 6.5 - rim)));  // a yellow line around it

  if (const Point q = p - kStar; q.length() < kRadius + 8) {
    const double r = q.length();
    c = blend(c, kWhite, cover(kRadius + 6 - r));
    c = blend(c, blend(kBlack, kWhite, starShade(q, r)), cover(kRadius - r));
    return blend(c, kBlack, cover(2.0 - r));
  }
  if (const Point q = p - kZone; q.length() < kRadius + 8) {
    const double r = q.length();
    c = blend(c, kWhite, cover(kRadius + 6 - r));
    // The rings' frequency grows with r and reaches 0.46 cycles a pixel at the rim.
    const double wave = 0.5 + 0.5 * cosineOfTurns(0.5 * 0.46 * r * r / kRadius);
    return blend(c, blend(kBlack, kWhite, wave), cover(kRadius - r));
  }
  if (const Point q = p - kEdges; q.x > -2 && q.x < 171 && q.y > -2 && q.y < 135) return edges(q, c);
  if (const Point q = p - kChart; q.x > -2 && q.x < 174 && q.y > -2 && q.y < 118) return chart(q, c);
  return c;
}

}  // namespace quorvel::host
