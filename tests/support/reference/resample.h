// SPDX-License-Identifier: Apache-2.0
// Plain model of resampling: one pixel at a time, from the rules.
#ifndef QUORVEL_TESTS_SUPPORT_REFERENCE_RESAMPLE_H_
#define QUORVEL_TESTS_SUPPORT_REFERENCE_RESAMPLE_H_

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include <quorvel/geometry.h>

namespace quorvel::reference {

template <typename T>
struct Raster {
  const T* origin;
  std::ptrdiff_t pitch;  // in samples
  int ring;
  bool signedColumns = true;

  int at(int column, int row) const {
    const int value = origin[(ring > 0 ? row & (ring - 1) : row) * pitch + column];
    return sizeof(T) == 2 ? static_cast<std::int16_t>(value) : value;
  }
  int column(std::uint32_t x) const {
    return signedColumns ? static_cast<std::int32_t>(x) >> 16 : static_cast<int>(x >> 16);
  }
};
inline int row(std::uint32_t y) { return static_cast<std::int32_t>(y) >> 16; }
inline int phase(std::uint32_t position) { return position >> 12 & 15; }

// Bilinear weights of a pair of phases, bent by an exponent as `genWeightTable16_16_power` says.
inline double bend = 1;
inline std::array<int, 4> bilinearWeights(int fx, int fy, int whole) {
  const auto part = [](int f, int of) {
    const double t = std::pow(f / 16.0, bend), u = std::pow(1 - f / 16.0, bend);
    return static_cast<int>(std::lround(of * (t / (t + u))));
  };
  const int bottom = part(fy, whole), top = whole - bottom, right = part(fx, top), low = part(fx, bottom);
  return {std::min(top - right, whole - 1), right, bottom - low, low};
}

template <typename T>
int bilinear(const Raster<T>& raster, std::uint32_t x, std::uint32_t y, int bias, int limit) {
  const auto w = bilinearWeights(phase(x), phase(y), 32768);
  const int column = raster.column(x), top = row(y);
  const int upper = raster.at(column, top) * w[0] + raster.at(column + 1, top) * w[1];
  const int lower = raster.at(column, top + 1) * w[2] + raster.at(column + 1, top + 1) * w[3];
  return std::min((upper >> 14) + (lower >> 14) + bias, limit) >> 1;
}

// A pixel of a group, which has two rows and one phase, by either arithmetic.
inline int groupPixel(const Raster<std::uint16_t>& raster, std::uint32_t x, int top, int bottom, int fy, bool doubled) {
  const auto w = bilinearWeights(phase(x), fy, doubled ? 32768 : 65536);
  unsigned sum = 0;
  for (int k = 0; k < 4; ++k) {
    const int s = raster.at(raster.column(x) + k % 2, k < 2 ? top : bottom);
    sum += doubled ? static_cast<unsigned>(static_cast<std::int16_t>(2 * s) * w[k] >> 16)
                   : (static_cast<unsigned>(s) & 0xFFFF) * static_cast<unsigned>(w[k]) >> 16;
  }
  return static_cast<int>(sum & 0xFFFF);
}

// The y of every pixel of a row. In groups, which are cut where y crosses a sixteenth of a pixel, it is the first's.
inline std::vector<std::uint32_t> rowOfY(std::uint32_t y, std::int64_t step, unsigned width, int ring, bool grouped) {
  std::vector<std::uint32_t> rows;
  const std::uint32_t yMask = ring > 0 ? static_cast<std::uint32_t>(ring) * 65536 - 1 : 0xFFFFFFFF;
  const bool level = std::abs(step * width) < 8193;
  for (std::int64_t left = width; left > 0;) {
    y &= yMask;
    std::int64_t count = grouped ? left : 1;
    if (grouped && !level) {
      const std::int64_t fraction = y & 4095, r = step > 0 ? 4096 - fraction : -fraction;
      const std::int64_t k = r * (1048576 / step) >> 20;
      count = std::min(left, step > 0 && step * k == r ? k : k + 1);
    }
    rows.insert(rows.end(), static_cast<std::size_t>(count), y);
    y += static_cast<std::uint32_t>(step * count);
    left -= count;
  }
  return rows;
}

struct Place {
  int column, row;
};
inline const std::vector<Place> kSixPlaces = {{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {0, 2}};
inline const std::vector<Place> kEightPlaces = {{1, -1}, {0, 0}, {1, 0}, {2, 0}, {-1, 1}, {0, 1}, {1, 1}, {0, 2}};

// Coefficients first, saturated as 8-bit samples demand (wider ones are kept as they are), then their weights.
template <typename T>
int surface(const Raster<T>& raster, std::uint32_t x, std::uint32_t y, bool eight) {
  static std::vector<std::int16_t> matrices(128),
      weights[2] = {std::vector<std::int16_t>(2048), std::vector<std::int16_t>(2048)};
  static std::vector<float> exact(4096);
  if (exact[0] == 0) genParaboloicWeightTable(matrices.data(), weights[0].data(), weights[1].data(), exact.data());
  const auto& places = eight ? kEightPlaces : kSixPlaces;
  int sum = 0;
  for (int k = 0; k < 8; ++k) {
    int halves[2] = {};
    for (std::size_t j = 0; j < places.size(); ++j) {
      const int sample = raster.at(raster.column(x) + places[j].column, row(y) + places[j].row);
      halves[j / 4] += sample * matrices[static_cast<std::size_t>(64 * eight + 8 * k) + j];
    }
    for (int& half : halves) half = sizeof(T) == 1 ? std::clamp(half, -32768, 32767) : half;
    const int coefficient = halves[0] + halves[1];
    sum += (sizeof(T) == 1 ? static_cast<std::int16_t>(coefficient) : coefficient) *
           weights[eight][static_cast<std::size_t>(8 * (phase(x) + 16 * phase(y)) + k)];
  }
  return sum >> 9;
}

template <typename T>
int sixteen(const Raster<T>& raster, std::uint32_t x, std::uint32_t y) {
  const std::int16_t* w = getCubicTable16() + 16 * (phase(x) + 16 * phase(y));
  int sum = 0;
  for (int k = 0; k < 16; ++k) sum += w[k] * raster.at(raster.column(x) - 1 + k % 4, row(y) - 1 + k / 4);
  return sum >> 14;
}

inline double cubic(double c, double r) {
  r = std::abs(r);
  return r < 1 ? (c + 2) * r * r * r - (c + 3) * r * r + 1 : r < 2 ? c * (r * r * r - 5 * r * r + 8 * r - 4) : 0;
}

// Sum / 2^bits to the nearest whole number, halves upwards.
inline std::int64_t nearest(double sum, int bits) {
  return static_cast<std::int64_t>(std::floor(std::ldexp(sum, -bits) + 0.5));
}

// A column's result in 1/2^spare, exact but for the one rounding: all weights are whole in 1/16384.
template <typename At>
std::int64_t column(At&& at, std::uint32_t y, int spare) {
  double sum = 0;
  for (int k = 0; k < 4; ++k) sum += cubic(-0.5, phase(y) / 16.0 + 1 - k) * 16384 * at(row(y) - 1 + k);
  return nearest(sum, 14 - spare);
}

template <typename T>
int twoStages(const Raster<T>& raster, std::uint32_t x, std::uint32_t y) {
  const int spare = sizeof(T) == 1 ? 6 : 1;
  double sum = 0;
  for (int k = 0; k < 4; ++k) {
    const auto at = [&](int r) { return raster.at(raster.column(x) - 1 + k, r); };
    sum += cubic(-0.5, phase(x) / 16.0 + 1 - k) * 16384 * static_cast<double>(column(at, y, spare));
  }
  return static_cast<int>(nearest(sum, 14 + spare));
}

// A pixel by a method of `GeoParab8_8MMX`.
template <typename T>
T byMethod(const Raster<T>& raster, std::uint32_t x, std::uint32_t y, int method) {
  int value = 0;
  if (method == 0) {
    const int fx = phase(x), fy = phase(y), column = raster.column(x), top = row(y);
    value = (((16 - fx) * raster.at(column, top) + fx * raster.at(column + 1, top)) * (16 - fy) +
             ((16 - fx) * raster.at(column, top + 1) + fx * raster.at(column + 1, top + 1)) * fy) >>
            8;
  } else if (method <= 2) {
    value = surface(raster, x, y, method == 2);
  } else if (method <= 4) {
    value = sixteen(raster, x, y);
  } else if (method == 6) {
    value = static_cast<int>(column([&](int r) { return raster.at(raster.column(x), r); }, y, 0));
  } else {
    value = twoStages(raster, x, y);
  }
  return static_cast<T>(std::clamp(value, 0, sizeof(T) == 1 ? 255 : 32767));
}

}  // namespace quorvel::reference

#endif  // QUORVEL_TESTS_SUPPORT_REFERENCE_RESAMPLE_H_
