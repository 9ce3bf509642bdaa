// SPDX-License-Identifier: Apache-2.0
// The reversible planes and their prediction. Y1, U and V are predicted from the left, upper and upper left neighbour;
// Y2 lies between four values of Y1, which are all known when it is decoded. Arithmetic on values wraps at 16 bits, so
// that every range has a residual of 16 bits; -32768, for which the coder has no symbol, is avoided by changing the
// value by one, and the cell is then kept apart.
#include <algorithm>
#include <bit>
#include <limits>

#include <quorvel/quorvel.h>

#include "host/road/strips.h"

namespace quorvel::host {
namespace {

struct Planes16 {
  explicit Planes16(const CellGrid& grid, unsigned strip)
      : columns(grid.columns), rows(grid.rowsOf(strip)), y(2 * grid.cellsOf(strip)), u(y.size() / 2), v(y.size() / 2) {}

  unsigned columns, rows;
  std::vector<std::int16_t> y, u, v;  // rows of y hold the first luminances and behind them the second ones
};

// The middle one of left, upper, and the plane through the three neighbours.
int medianOf(int left, int upper, int corner) {
  const auto [low, high] = std::minmax(left, upper);
  return std::clamp(left + upper - corner, low, high);
}

// Calls step(value, prediction) for every value of a plane, row by row; earlier values may have been changed by it.
template <typename Step>
void walkAlong(std::int16_t* plane, std::size_t pitch, unsigned columns, unsigned rows, Step step) {
  for (unsigned x = 0; x < columns; ++x) step(plane[x], x > 0 ? plane[x - 1] : 0);
  for (unsigned row = 1; row < rows; ++row) {
    const std::int16_t* above = plane;
    plane += pitch;
    step(plane[0], above[0]);
    for (unsigned x = 1; x < columns; ++x) step(plane[x], medianOf(plane[x - 1], above[x], above[x - 1]));
  }
}

template <typename Step>
void walkBetween(Planes16& planes, Step step) {
  const unsigned columns = planes.columns;
  for (unsigned row = 0; row < planes.rows; ++row) {
    std::int16_t* at = planes.y.data() + std::size_t{row} * 2 * columns;
    const std::int16_t* below = row + 1 < planes.rows ? at + 2 * columns : at;
    for (unsigned x = 0; x < columns; ++x) {
      const unsigned right = std::min(x + 1, columns - 1);
      step(at[columns + x], (at[x] + at[right] + below[x] + below[right] + 2) >> 2);
    }
  }
}

// Calls step(plane, value, prediction) for all values of all planes, in the order in which they can be decoded.
template <typename Step>
void walk(Planes16& planes, Step step) {
  const auto of = [&](std::size_t plane) {
    return [&step, plane](std::int16_t& value, int prediction) { step(plane, value, prediction); };
  };
  walkAlong(planes.y.data(), std::size_t{2} * planes.columns, planes.columns, planes.rows, of(0));
  walkBetween(planes, of(1));
  walkAlong(planes.u.data(), planes.columns, planes.columns, planes.rows, of(2));
  walkAlong(planes.v.data(), planes.columns, planes.columns, planes.rows, of(3));
}

std::vector<std::uint16_t> samplesOfPlanes(const Planes16& planes, int shift) {
  std::vector<std::uint16_t> samples(2 * planes.y.size());
  YUVplanesToBayerRGBApprox16slow(planes.y.data(), planes.u.data(), planes.v.data(), shift, planes.columns,
                                  2 * planes.rows, samples.data(), 2 * planes.columns);
  return samples;
}

// The four places of a cell in the samples of a strip, as G1, R, B, G2.
std::array<std::size_t, 4> placesOf(unsigned cell, unsigned columns) {
  const std::size_t first = std::size_t{cell / columns} * 4 * columns + 2 * (cell % columns);
  return {first, first + 1, first + 2 * columns, first + 2 * columns + 1};
}

}  // namespace

int shiftFor(const std::vector<std::uint16_t>& samples) {
  const unsigned highest = samples.empty() ? 0 : *std::max_element(samples.begin(), samples.end());
  return std::max(2048, static_cast<int>(std::bit_ceil(highest + 1) / 2));
}

std::size_t losslessBlocks(const CellGrid& grid, unsigned strip) { return (grid.cellsOf(strip) + kBlock - 1) / kBlock; }

Strip losslessStrip(const std::vector<std::uint16_t>& samples, const CellGrid& grid, unsigned index, int shift) {
  Planes16 planes(grid, index);
  BayerRGBToYUVplanesApprox16slow(samples.data(), 2 * planes.columns, 2 * planes.columns, 2 * planes.rows,
                                  planes.y.data(), planes.u.data(), planes.v.data(), shift);
  Strip strip;
  std::array<std::size_t, kPlanes> filled{};
  for (auto& blocks : strip.blocks) blocks.resize(losslessBlocks(grid, index) * kBlock);
  walk(planes, [&](std::size_t plane, std::int16_t& value, int prediction) {
    auto residual = static_cast<std::int16_t>(value - prediction);
    if (residual == std::numeric_limits<std::int16_t>::min()) {
      value = static_cast<std::int16_t>(value + 1);
      ++residual;
    }
    strip.blocks[plane][filled[plane]++] = residual;
  });
  const std::vector<std::uint16_t> back = samplesOfPlanes(planes, shift);
  if (back == samples) return strip;
  for (unsigned cell = 0; cell < grid.cellsOf(index); ++cell) {
    const auto places = placesOf(cell, grid.columns);
    if (std::all_of(places.begin(), places.end(), [&](std::size_t i) { return back[i] == samples[i]; })) continue;
    strip.apart.push_back({cell, {samples[places[0]], samples[places[1]], samples[places[2]], samples[places[3]]}});
  }
  return strip;
}

std::vector<std::uint16_t> samplesOfLossless(const Strip& strip, const CellGrid& grid, unsigned index, int shift) {
  Planes16 planes(grid, index);
  std::array<std::size_t, kPlanes> taken{};
  walk(planes, [&](std::size_t plane, std::int16_t& value, int prediction) {
    value = static_cast<std::int16_t>(prediction + strip.blocks[plane][taken[plane]++]);
  });
  std::vector<std::uint16_t> samples = samplesOfPlanes(planes, shift);
  for (const CellApart& kept : strip.apart) {
    const auto places = placesOf(kept.cell, grid.columns);
    for (std::size_t i = 0; i < 4; ++i) samples[places[i]] = kept.samples[i];
  }
  return samples;
}

}  // namespace quorvel::host
