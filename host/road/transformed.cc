// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include <quorvel/dct_tables.h>
#include <quorvel/quorvel.h>

#include "host/road/strips.h"
#include "host/road/transforms.h"

namespace quorvel::host {
namespace {

constexpr unsigned kSide = 8;
constexpr int kShift = 2048;
// The forward transform takes a block of mean 0 for white: its sums wrap there. Blocks of 2 and more are clear of that.
constexpr int kLowest = 2;

// One plane, filled up to whole blocks by its last column and row, in the transforms' unsigned 12-bit samples.
struct BlockPlane {
  BlockPlane(unsigned columns, unsigned rows)
      : width((columns + kSide - 1) / kSide * kSide),
        height((rows + kSide - 1) / kSide * kSide),
        samples(width * height) {}

  void fillUp(unsigned columns, unsigned rows) {
    for (unsigned y = 0; y < rows; ++y) {
      std::uint16_t* row = &samples[y * width];
      std::fill(row + columns, row + width, row[columns - 1]);
    }
    for (unsigned y = rows; y < height; ++y) std::copy_n(&samples[(rows - 1) * width], width, &samples[y * width]);
  }

  std::size_t width, height;
  std::vector<std::uint16_t> samples;
};

// The tables that the quantiser takes besides the steps. Rounding is to the nearest for the first coefficient; for the
// others the middle third of each step goes to the smaller value, which there costs fewer bits and is the likelier one.
struct Quantiser {
  explicit Quantiser(const std::array<std::uint16_t, kBlock>& steps) {
    genQuantizeTable(steps.data(), reciprocals.data());
    for (std::size_t i = 0; i < kBlock; ++i) {
      bias[i] = static_cast<std::uint16_t>(i == 0 ? steps[i] / 2 : steps[i] / 3);
      twice[i] = static_cast<std::uint16_t>(2 * steps[i]);
      limit[i] = static_cast<std::int16_t>(32767 / twice[i]);
    }
    const auto rowMajor = limit;  // the blocks are in zig-zag order when they are limited
    zigzagBlock(rowMajor.data(), limit.data());
  }

  std::array<std::uint16_t, kBlock> reciprocals{}, bias{}, twice{};
  // A coefficient beyond this times its step would leave the inverse's 16 bits: white would come back as black.
  std::array<std::int16_t, kBlock> limit{};
};

void transformPlane(const BlockPlane& plane, const Quantiser& q, std::vector<std::int16_t>& blocks) {
  const auto across = static_cast<unsigned>(plane.width / kSide);
  blocks.resize(plane.samples.size());
  for (std::size_t y = 0; y < plane.height; y += kSide) {
    calcFDCT16_wq_strip(&plane.samples[y * plane.width], static_cast<unsigned>(2 * plane.width), across, q.bias.data(),
                        q.reciprocals.data(), reinterpret_cast<std::uint16_t*>(&blocks[y * plane.width]), 1);
  }
  for (std::size_t at = 0; at < blocks.size(); at += kBlock) {
    for (std::size_t i = 0; i < kBlock; ++i) {
      blocks[at + i] = std::clamp(blocks[at + i], static_cast<std::int16_t>(-q.limit[i]), q.limit[i]);
    }
  }
}

void restorePlane(const std::vector<std::int16_t>& blocks, const Quantiser& q, BlockPlane& plane) {
  const auto across = static_cast<unsigned>(plane.width / kSide);
  for (std::size_t y = 0; y < plane.height; y += kSide) {
    calcIDCT16_wq_strip(reinterpret_cast<const std::uint16_t*>(&blocks[y * plane.width]), across, q.twice.data(),
                        &plane.samples[y * plane.width], static_cast<unsigned>(2 * plane.width), 1);
  }
}

struct CellPlanes {
  explicit CellPlanes(std::size_t cells) {
    for (auto& plane : planes) plane.resize(cells);
  }
  std::array<std::vector<std::int16_t>, kPlanes> planes;  // Y1, Y2, Cb, Cr
};

}  // namespace

Steps stepsOfQuality(int quality) {
  // The squares of these are in the inverse ratio of what an error of the plane does to the four samples of a cell.
  constexpr std::array<double, kPlanes> kWeights = {1, 1.35, 1.09, 1.16};
  Steps steps;
  for (std::size_t plane = 0; plane < kPlanes; ++plane) {
    const double step = kWeights[plane] * 3 * std::exp2((100 - quality) / 10.0);
    steps[plane].fill(static_cast<std::uint16_t>(std::lround(step)));
  }
  return steps;
}

std::size_t transformedBlocks(const CellGrid& grid, unsigned strip) {
  return std::size_t{(grid.columns + kSide - 1) / kSide} * ((grid.rowsOf(strip) + kSide - 1) / kSide);
}

Strip transformedStrip(const std::vector<std::uint16_t>& samples, const CellGrid& grid, unsigned index,
                       const Steps& steps) {
  prepareTransforms();
  const unsigned columns = grid.columns, rows = grid.rowsOf(index);
  CellPlanes cells(grid.cellsOf(index));
  auto& [y1, y2, cb, cr] = cells.planes;
  BayerRGBToYYCbCrPlanesApprox16slow(samples.data(), 2 * columns, 2 * columns, 2 * rows, y1.data(), y2.data(),
                                     cb.data(), cr.data(), kShift);
  for (std::size_t i = 0; i < y1.size(); ++i) {
    const int first = y1[i], second = y2[i];
    y1[i] = static_cast<std::int16_t>((first + second) >> 1);
    y2[i] = static_cast<std::int16_t>(std::clamp(first - second, -kShift, kShift - 1));
  }
  Strip strip;
  BlockPlane plane(columns, rows);
  for (std::size_t p = 0; p < kPlanes; ++p) {
    const std::int16_t* from = cells.planes[p].data();
    for (unsigned y = 0; y < rows; ++y, from += columns) {
      std::transform(from, from + columns, &plane.samples[y * plane.width],
                     [](std::int16_t v) { return static_cast<std::uint16_t>(std::max(v + kShift, kLowest)); });
    }
    plane.fillUp(columns, rows);
    transformPlane(plane, Quantiser(steps[p]), strip.blocks[p]);
  }
  return strip;
}

std::vector<std::uint16_t> samplesOfTransformed(const Strip& strip, const CellGrid& grid, unsigned index,
                                                const Steps& steps) {
  prepareTransforms();
  const unsigned columns = grid.columns, rows = grid.rowsOf(index);
  CellPlanes cells(grid.cellsOf(index));
  BlockPlane plane(columns, rows);
  for (std::size_t p = 0; p < kPlanes; ++p) {
    restorePlane(strip.blocks[p], Quantiser(steps[p]), plane);
    std::int16_t* to = cells.planes[p].data();
    for (unsigned y = 0; y < rows; ++y, to += columns) {
      std::transform(&plane.samples[y * plane.width], &plane.samples[y * plane.width] + columns, to,
                     [](std::uint16_t v) { return static_cast<std::int16_t>(v - kShift); });
    }
  }
  auto& [y1, y2, cb, cr] = cells.planes;
  for (std::size_t i = 0; i < y1.size(); ++i) {
    const int mean = y1[i], difference = y2[i];
    y1[i] = static_cast<std::int16_t>(mean + ((difference + 1) >> 1));
    y2[i] = static_cast<std::int16_t>(y1[i] - difference);
  }
  std::vector<std::uint16_t> samples(4 * y1.size());
  YYCbCrPlanesToBayerRGBApprox16slow(y1.data(), y2.data(), cb.data(), cr.data(), kShift, columns, 2 * rows,
                                     samples.data(), 2 * columns);
  return samples;
}

}  // namespace quorvel::host
