// SPDX-License-Identifier: Apache-2.0
// Plain models of the demosaicing methods: each value from the samples around it, one site at a time.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_DEMOSAIC_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_DEMOSAIC_H_

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdlib>
#include <vector>

#include "quorvel/bayer.h"

namespace quorvel::reference {

enum Colour { kRed, kGreen, kBlue };

inline Colour colourAt(std::integral auto y, std::integral auto x) {
  return (y + x) % 2 == 0 ? kGreen : y % 2 == 0 ? kRed : kBlue;
}

struct Frame {
  int width, height, pitch;
  std::vector<std::uint16_t> samples;

  // What lies outside is repeated from inside with period 2.
  int operator()(int y, int x) const {
    const auto inside = [](int v, int n) { return v < 0 ? v + 2 : v >= n ? v - 2 : v; };
    return samples[static_cast<std::size_t>(inside(y, height) * pitch + inside(x, width))];
  }
};

struct Planes {
  Planes(int w, int h) : width(w) {
    plane.fill(std::vector<std::uint16_t>(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)));
  }
  std::uint16_t& operator()(Colour c, int y, int x) { return plane[c][static_cast<std::size_t>(y * width + x)]; }

  int width;
  std::array<std::vector<std::uint16_t>, 3> plane;
};

inline int clip12(int v) { return std::clamp(v, 0, 4095); }

// Method 0. Every missing value is the mean of its neighbours; a frame of one row or column has none in a direction,
// and green takes those along an edge only.
inline Planes bilinear(const Frame& f) {
  Planes out(f.width, f.height);
  const bool wide = f.width > 1, high = f.height > 1;
  for (int y = 0; y < f.height; ++y) {
    const Colour own = y % 2 == 0 ? kRed : kBlue, other = y % 2 == 0 ? kBlue : kRed;
    for (int x = 0; x < f.width; ++x) {
      const bool edgeRow = y == 0 || y == f.height - 1, edgeColumn = x == 0 || x == f.width - 1;
      const int beside = wide ? f(y, x - 1) + f(y, x + 1) : 0, upright = high ? f(y - 1, x) + f(y + 1, x) : 0;
      const bool greenSite = colourAt(y, x) == kGreen;
      int green = f(y, x), ownValue = beside >> 1, otherValue = upright >> 1;
      if (!greenSite) {
        green = wide && edgeRow ? beside >> 1 : edgeColumn ? upright >> 1 : (beside + upright) >> 2;
        ownValue = f(y, x), otherValue = 0;
        for (const int dx : {-1, 1}) otherValue += wide && high ? f(y - 1, x + dx) + f(y + 1, x + dx) : 0;
        otherValue >>= 2;
      }
      out(kGreen, y, x) = static_cast<std::uint16_t>(green);
      out(own, y, x) = static_cast<std::uint16_t>(ownValue);
      out(other, y, x) = static_cast<std::uint16_t>(otherValue);
    }
  }
  return out;
}

// Along the line with the smaller gradient, or along both on a tie; not clipped.
struct ModelLine {
  int sum, laplacian, gradient;
  ModelLine(int a, int b, int twiceCentreLessEnds)
      : sum(a + b), laplacian(twiceCentreLessEnds), gradient(std::abs(a - b) + std::abs(twiceCentreLessEnds)) {}
  int value() const { return (sum >> 1) + laplacian / 4; }
};

inline int alongSmaller(const ModelLine& p, const ModelLine& q) {
  if (p.gradient < q.gradient) return p.value();
  if (q.gradient < p.gradient) return q.value();
  return ((p.sum + q.sum) >> 2) + (p.laplacian + q.laplacian) / 8;
}

// Method 1. Green repeats its edge; samples repeat with period 2.
inline Planes gradient(const Frame& f) {
  Planes out(f.width, f.height);
  for (int y = 0; y < f.height; ++y) {
    for (int x = 0; x < f.width; ++x) {
      const int c = f(y, x);
      const ModelLine horizontal(f(y, x - 1), f(y, x + 1), 2 * c - f(y, x - 2) - f(y, x + 2));
      const ModelLine vertical(f(y - 1, x), f(y + 1, x), 2 * c - f(y - 2, x) - f(y + 2, x));
      out(kGreen, y, x) =
          static_cast<std::uint16_t>(colourAt(y, x) == kGreen ? c : clip12(alongSmaller(horizontal, vertical)));
    }
  }
  const auto g = [&](int y, int x) {
    return int{out(kGreen, std::clamp(y, 0, f.height - 1), std::clamp(x, 0, f.width - 1))};
  };
  for (int y = 0; y < f.height; ++y) {
    const Colour own = y % 2 == 0 ? kRed : kBlue, other = y % 2 == 0 ? kBlue : kRed;
    for (int x = 0; x < f.width; ++x) {
      // The line through the site from (y + dy, x + dx) to the opposite neighbour.
      const auto line = [&](int dy, int dx) {
        return ModelLine(f(y + dy, x + dx), f(y - dy, x - dx), 2 * g(y, x) - g(y + dy, x + dx) - g(y - dy, x - dx));
      };
      const bool green = colourAt(y, x) == kGreen;
      out(own, y, x) = static_cast<std::uint16_t>(green ? clip12(line(0, 1).value()) : f(y, x));
      out(other, y, x) =
          static_cast<std::uint16_t>(clip12(green ? line(1, 0).value() : alongSmaller(line(1, 1), line(1, -1))));
    }
  }
  return out;
}

// Method 2, with the eight gradients and means of a site taken straight from the samples around it: the rule for north
// and for north-east, turned by quarters.
inline Planes variableGradients(const Frame& f) {
  constexpr int kFactor[9] = {0, 32768, 16384, 10923, 8192, 6555, 5461, 4681, 4096};
  Planes out(f.width, f.height);
  for (int y = 0; y < f.height; ++y) {
    for (int x = 0; x < f.width; ++x) {
      struct Direction {
        int gradient, mean[3];
      };
      std::vector<Direction> directions;
      const bool greenSite = colourAt(y, x) == kGreen;
      for (int turn = 0; turn < 4; ++turn) {
        // s(u, v): the sample u steps ahead and v to the right, looking north, east, south and west in turn.
        const auto place = [&](int u, int v) {
          const int dy[4] = {-u, v, u, -v}, dx[4] = {v, u, -v, -u};
          return std::array<int, 2>{y + dy[turn], x + dx[turn]};
        };
        const auto s = [&](int u, int v) { return f(place(u, v)[0], place(u, v)[1]); };
        const auto colour = [&](int u, int v) { return colourAt(place(u, v)[0] + 4, place(u, v)[1] + 4); };
        const auto step = [&](int u1, int v1, int u2, int v2) { return std::abs(s(u1, v1) - s(u2, v2)); };

        Direction ahead{};
        ahead.gradient = step(1, 0, -1, 0) + step(2, 0, 0, 0) +
                         (step(1, -1, -1, -1) + step(1, 1, -1, 1) + step(2, -1, 0, -1) + step(2, 1, 0, 1)) / 2;
        ahead.mean[colour(0, 0)] = (s(2, 0) + s(0, 0)) / 2;
        ahead.mean[colour(1, 0)] = s(1, 0);
        ahead.mean[colour(1, 1)] = (s(1, -1) + s(1, 1)) / 2;
        if (greenSite) ahead.mean[colour(0, 1)] = (s(2, -1) + s(2, 1) + s(0, -1) + s(0, 1)) / 4;

        Direction aside{};  // ahead and to the right
        aside.gradient = step(1, 1, -1, -1) + step(2, 2, 0, 0);
        if (greenSite) {
          ahead.mean[kGreen] = (s(2, 0) + s(0, 0)) / 2;
          aside.gradient += step(2, 1, 0, -1) + step(1, 2, -1, 0);
          aside.mean[kGreen] = s(1, 1);
          aside.mean[colour(0, 1)] = (s(2, 1) + s(0, 1)) / 2;
          aside.mean[colour(1, 0)] = (s(1, 0) + s(1, 2)) / 2;
        } else {
          aside.gradient += (step(1, 0, 0, -1) + step(0, 1, -1, 0) + step(2, 1, 1, 0) + step(1, 2, 0, 1)) / 2;
          aside.mean[colour(0, 0)] = (s(2, 2) + s(0, 0)) / 2;
          aside.mean[colour(1, 1)] = s(1, 1);
          aside.mean[kGreen] = (s(2, 1) + s(1, 0) + s(0, 1) + s(1, 2)) / 4;
        }
        directions.push_back(ahead);
        directions.push_back(aside);
      }
      const auto [smallest, largest] = std::minmax_element(
          directions.begin(), directions.end(), [](const auto& a, const auto& b) { return a.gradient < b.gradient; });
      const int threshold = std::max(largest->gradient / 2 + smallest->gradient, 1);
      int sum[3] = {}, number = 0;
      for (const Direction& d : directions) {
        if (d.gradient >= threshold) continue;
        ++number;
        for (int c = 0; c < 3; ++c) sum[c] += d.mean[c];
      }
      const Colour centre = colourAt(y, x);
      for (const Colour c : {kRed, kGreen, kBlue}) {
        const int correction = c == centre ? 0 : (sum[c] - sum[centre]) * kFactor[number] >> 15;
        out(c, y, x) = static_cast<std::uint16_t>(c == centre ? f(y, x) : clip12(f(y, x) + correction));
      }
    }
  }
  return out;
}

// Method 5.
inline Planes separate(const Frame& f) {
  Planes out(f.width, f.height);
  for (int y = 0; y < f.height; ++y) {
    for (int x = 0; x < f.width; ++x) out(colourAt(y, x), y, x) = static_cast<std::uint16_t>(f(y, x));
  }
  return out;
}

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_DEMOSAIC_H_
