// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include <quorvel/quorvel.h>

#include "host/road/strips.h"
#include "host/road/transforms.h"

namespace quorvel::host {
namespace {

constexpr unsigned kSide = 8;
constexpr int kShift = 2048;

// One plane, filled up to whole blocks by its last column and row. The transform takes its level off modulo 2^16, so
// that samples may lie beyond 12 bits, as D does.
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

// The float transforms serve here: the 16-bit ones err by some counts where samples hardly differ from the mean level,
// which is most of D, Cb and Cr, and take a block of zeros for white.
void transformPlane(const BlockPlane& plane, const std::array<std::uint16_t, kBlock>& steps,
                    std::vector<std::int16_t>& blocks) {
  // Coefficients in quarters of a step. Of the first one of a block, halves are rounded up; of the others, all that is
  // below 5/8 of a step goes to the smaller value, which there costs fewer bits and is the likelier one.
  constexpr int kParts = 4;
  std::array<float, kBlock> scales, parts, work;
  std::transform(steps.begin(), steps.end(), scales.begin(), [](float step) { return kParts / step; });
  blocks.resize(plane.samples.size());
  std::int16_t* to = blocks.data();
  for (std::size_t y = 0; y < plane.height; y += kSide) {
    for (std::size_t x = 0; x < plane.width; x += kSide, to += kBlock) {
      calcFDCTf_wq(&plane.samples[y * plane.width + x], static_cast<unsigned>(2 * plane.width), scales.data(),
                   parts.data(), work.data());
      std::array<std::int16_t, kBlock> block;
      for (std::size_t i = 0; i < kBlock; ++i) {
        const int v = static_cast<int>(parts[i]), magnitude = (std::abs(v) + (i == 0 ? 2 : 1)) / kParts;
        block[i] = static_cast<std::int16_t>(v < 0 ? -magnitude : magnitude);
      }
      // The difference of two of these has still a symbol. Only D, in one of a block's every cell, could lie beyond.
      block[0] = std::clamp(block[0], std::int16_t{-16383}, std::int16_t{16383});
      zigzagBlock(block.data(), to);
    }
  }
}

void restorePlane(const std::vector<std::int16_t>& blocks, const std::array<std::uint16_t, kBlock>& steps,
                  BlockPlane& plane) {
  const float *left = getIDCTf(), *right = left + kBlock;
  std::array<std::int16_t, kBlock> block;
  std::array<float, kBlock> values, half;
  const std::int16_t* from = blocks.data();
  for (std::size_t y = 0; y < plane.height; y += kSide) {
    for (std::size_t x = 0; x < plane.width; x += kSide, from += kBlock) {
      dezigzagBlock(from, block.data());
      for (std::size_t i = 0; i < kBlock; ++i) values[i] = static_cast<float>(block[i] * steps[i]);
      matrMul8x8Flt(left, values.data(), half.data());
      matrMul8x8Flt(half.data(), right, values.data());
      for (std::size_t i = 0; i < kBlock; ++i) {  // limited to what is never reached, and positive: truncation rounds
        const float v = std::clamp(values[i], -8192.0f, 8191.0f) + 8192.5f;
        plane.samples[(y + i / kSide) * plane.width + x + i % kSide] =
            static_cast<std::uint16_t>(static_cast<int>(v) - 8192 + kShift);
      }
    }
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
    const double step = kWeights[plane] * std::exp2((100 - quality) / 10.0);
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
    y2[i] = static_cast<std::int16_t>(first - second);
  }
  Strip strip;
  BlockPlane plane(columns, rows);
  for (std::size_t p = 0; p < kPlanes; ++p) {
    const std::int16_t* from = cells.planes[p].data();
    for (unsigned y = 0; y < rows; ++y, from += columns) {
      std::transform(from, from + columns, &plane.samples[y * plane.width],
                     [](std::int16_t v) { return static_cast<std::uint16_t>(v + kShift); });
    }
    plane.fillUp(columns, rows);
    transformPlane(plane, steps[p], strip.blocks[p]);
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
    restorePlane(strip.blocks[p], steps[p], plane);
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
