// SPDX-License-Identifier: Apache-2.0
// Points, colours and the textures that the scene is painted with.
#ifndef QUORVEL_HOST_SCENE_TEXTURE_H_
#define QUORVEL_HOST_SCENE_TEXTURE_H_

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>

#include "host/scene/random.h"

namespace quorvel::host {

struct Point {
  double x = 0, y = 0;

  constexpr Point operator+(Point o) const { return {x + o.x, y + o.y}; }
  constexpr Point operator-(Point o) const { return {x - o.x, y - o.y}; }
  constexpr Point operator*(double k) const { return {x * k, y * k}; }
  double length() const { return std::sqrt(x * x + y * y); }
};

// Linear reflectance of the three primaries; 1 is a perfect white in full sun.
struct Colour {
  double r = 0, g = 0, b = 0;

  constexpr Colour operator+(Colour o) const { return {r + o.r, g + o.g, b + o.b}; }
  constexpr Colour operator*(double k) const { return {r * k, g * k, b * k}; }
};

constexpr Colour blend(Colour from, Colour to, double share) { return from * (1 - share) + to * share; }

constexpr double clamp01(double v) { return v < 0 ? 0 : v > 1 ? 1 : v; }

// 0 below `low`, 1 above `high`, smooth between.
constexpr double ramp(double low, double high, double v) {
  const double t = clamp01((v - low) / (high - low));
  return t * t * (3 - 2 * t);
}

// sin(2 pi turns). A polynomial of its own, because the C library's sine differs from one platform to another.
inline double sineOfTurns(double turns) {
  double t = turns - std::floor(turns + 0.5);  // -0.5..0.5
  if (t > 0.25) t = 0.5 - t;
  if (t < -0.25) t = -0.5 - t;
  const double x = t * 6.283185307179586, s = x * x;
  return x * (1 + s * (-1.0 / 6 + s * (1.0 / 120 + s * (-1.0 / 5040 + s * (1.0 / 362880 - s / 39916800)))));
}

inline double cosineOfTurns(double turns) { return sineOfTurns(turns + 0.25); }

// A turn of the plane by a part of the full circle.
struct Rotation {
  explicit Rotation(double turns = 0) : c(cosineOfTurns(turns)), s(sineOfTurns(turns)) {}
  Point into(Point p) const { return {c * p.x + s * p.y, c * p.y - s * p.x}; }   // world to local
  Point outOf(Point p) const { return {c * p.x - s * p.y, s * p.x + c * p.y}; }  // local to world

  double c, s;
};

// Smooth noise over the plane, -1..1, with one bump per unit.
class Noise {
 public:
  explicit Noise(std::uint64_t seed) {
    Random random(seed);
    for (float& v : lattice_) v = static_cast<float>(random.between(-1, 1));
    for (std::size_t i = 0; i < kPeriod; ++i) order_[i] = static_cast<std::uint8_t>(i);
    for (std::size_t i = kPeriod - 1; i > 0; --i) {
      std::swap(order_[i], order_[random.below(static_cast<unsigned>(i + 1))]);
    }
  }

  double at(double x, double y) const {
    const double fx = std::floor(x), fy = std::floor(y);
    const auto ix = static_cast<std::int64_t>(fx), iy = static_cast<std::int64_t>(fy);
    const double tx = fade(x - fx), ty = fade(y - fy);
    const std::size_t left = order_[static_cast<std::size_t>(ix) % kPeriod];
    const std::size_t right = order_[static_cast<std::size_t>(ix + 1) % kPeriod];
    const double top = lattice(left, iy) * (1 - tx) + lattice(right, iy) * tx;
    const double bottom = lattice(left, iy + 1) * (1 - tx) + lattice(right, iy + 1) * tx;
    return top * (1 - ty) + bottom * ty;
  }
  double at(Point p, double size) const { return at(p.x / size, p.y / size); }

  // Octaves of halved size and strength; `size` is that of the coarsest.
  double layers(Point p, double size, int octaves) const {
    double sum = 0, strength = 0.5;
    for (int i = 0; i < octaves; ++i, size *= 0.5, strength *= 0.5) {
      sum += strength * at(p.x / size + 17.3 * i, p.y / size - 9.1 * i);
    }
    return sum;
  }

 private:
  // The noise repeats after this many bumps, farther apart than anyone could see it.
  static constexpr std::size_t kPeriod = 256;

  static double fade(double t) { return t * t * t * (t * (t * 6 - 15) + 10); }
  double lattice(std::size_t column, std::int64_t y) const {
    return lattice_[order_[(column + static_cast<std::size_t>(y)) % kPeriod]];
  }

  std::array<std::uint8_t, kPeriod> order_;
  std::array<float, kPeriod> lattice_;
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_SCENE_TEXTURE_H_
