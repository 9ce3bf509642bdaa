// SPDX-License-Identifier: Apache-2.0
// A frame as strips of blocks, ready for the block coder, and back. A strip is some rows of 2x2 cells and knows nothing
// of its neighbours. Its samples become four planes of one value a cell; what the planes hold depends on the form.
//
//   Transformed: the mean M of both luminances of a cell and their difference D, Cb, Cr, each in 8x8 blocks of
//   quantised
//     cosine coefficients in zig-zag order. Mean and difference take fewer bits than the two luminances, which are
//     nearly equal.
//   Lossless: what is left of the reversible planes Y1, Y2, U, V after prediction from neighbours, 64 values a block.
//     Cells that do not come back from their planes, because a plane's range ends, are kept apart as they are.
#ifndef QUORVEL_HOST_ROAD_STRIPS_H_
#define QUORVEL_HOST_ROAD_STRIPS_H_

#include <array>
#include <cstdint>
#include <vector>

#include "host/io/image.h"

namespace quorvel::host {

inline constexpr std::size_t kPlanes = 4, kBlock = 64;

// A cell that is kept apart: which one of its strip, counted row by row, and its samples G1, R, B, G2.
struct CellApart {
  unsigned cell = 0;
  std::array<std::uint16_t, 4> samples{};
};

struct Strip {
  std::array<std::vector<std::int16_t>, kPlanes> blocks;
  std::vector<CellApart> apart;
};

// The cells of a frame of any size. The pattern begins with green and red after `left` columns and `top` rows of
// padding, 0 or 1; the last row and column are padded where their partner is missing.
struct CellGrid {
  CellGrid() = default;
  CellGrid(unsigned width, unsigned height, unsigned left, unsigned top, unsigned rowsOfStrip);

  unsigned width = 0, height = 0, left = 0, top = 0;
  unsigned columns = 0, rows = 0;  // in cells
  unsigned stripRows = 0, strips = 0;

  unsigned rowsOf(unsigned strip) const { return std::min(stripRows, rows - strip * stripRows); }
  std::size_t cellsOf(unsigned strip) const { return std::size_t{rowsOf(strip)} * columns; }
  // The rows of the frame that the strip holds.
  unsigned firstSampleRow(unsigned strip) const;
  unsigned endSampleRow(unsigned strip) const;
};

// The strip's samples of whole cells, 2 x columns a row, padding made of the nearest sample of the same colour.
std::vector<std::uint16_t> samplesOf(const std::vector<std::uint16_t>& frame, const CellGrid& grid, unsigned strip);
// Puts them back, padding dropped.
void putSamples(const std::vector<std::uint16_t>& samples, const CellGrid& grid, unsigned strip,
                std::vector<std::uint16_t>& frame);

// Quantiser steps of the four planes, row by row, from 1 on.
using Steps = std::array<std::array<std::uint16_t, kBlock>, kPlanes>;
// The steps of a quality from 1 to 100: the same for all frequencies, because the frame is yet to be developed, from 1
// count at 100 on, twice as large for every 10 less. The planes' steps stand to each other so that a bit spent on any
// of them takes as much off the error of the samples.
Steps stepsOfQuality(int quality);

// 12-bit samples.
Strip transformedStrip(const std::vector<std::uint16_t>& samples, const CellGrid& grid, unsigned strip,
                       const Steps& steps);
// The samples of a strip whose planes have `blocksOf` blocks.
std::vector<std::uint16_t> samplesOfTransformed(const Strip& strip, const CellGrid& grid, unsigned index,
                                                const Steps& steps);

// Any 16-bit samples; `shift` is the level shift of the luminances.
Strip losslessStrip(const std::vector<std::uint16_t>& samples, const CellGrid& grid, unsigned strip, int shift);
std::vector<std::uint16_t> samplesOfLossless(const Strip& strip, const CellGrid& grid, unsigned index, int shift);
// The smallest shift, 2048 or a power of two above it up to 32768, whose range takes the samples.
int shiftFor(const std::vector<std::uint16_t>& samples);

// Blocks of one plane of the strip.
std::size_t transformedBlocks(const CellGrid& grid, unsigned strip);
std::size_t losslessBlocks(const CellGrid& grid, unsigned strip);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_STRIPS_H_
