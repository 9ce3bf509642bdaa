// SPDX-License-Identifier: Apache-2.0
#include "host/road/strips.h"

#include <algorithm>

namespace quorvel::host {
namespace {

// Where in the frame the sample at `at` of the padded cells comes from: itself, or its nearest fellow of the same
// colour. A frame of one sample has no fellow.
unsigned source(unsigned at, unsigned padding, unsigned size) {
  if (at < padding) return size > 1 ? 1 : 0;
  at -= padding;
  return at < size ? at : size > 1 ? size - 2 : 0;
}

}  // namespace

CellGrid::CellGrid(unsigned w, unsigned h, unsigned l, unsigned t, unsigned rowsOfStrip)
    : width(w), height(h), left(l), top(t), columns((l + w + 1) / 2), rows((t + h + 1) / 2), stripRows(rowsOfStrip) {
  strips = (rows + stripRows - 1) / stripRows;
}

unsigned CellGrid::firstSampleRow(unsigned strip) const { return strip == 0 ? 0 : 2 * strip * stripRows - top; }

unsigned CellGrid::endSampleRow(unsigned strip) const {
  return std::min(height, 2 * (strip * stripRows + rowsOf(strip)) - top);
}

std::vector<std::uint16_t> samplesOf(const std::vector<std::uint16_t>& frame, const CellGrid& grid, unsigned strip) {
  const unsigned across = 2 * grid.columns, first = 2 * strip * grid.stripRows;
  std::vector<std::uint16_t> samples(4 * grid.cellsOf(strip));
  std::uint16_t* to = samples.data();
  for (unsigned y = first; y < first + 2 * grid.rowsOf(strip); ++y, to += across) {
    const std::uint16_t* row = frame.data() + std::size_t{source(y, grid.top, grid.height)} * grid.width;
    std::copy_n(row, grid.width, to + grid.left);
    if (grid.left != 0) to[0] = row[source(0, 1, grid.width)];
    if (grid.left + grid.width < across) to[across - 1] = row[source(across - 1, grid.left, grid.width)];
  }
  return samples;
}

void putSamples(const std::vector<std::uint16_t>& samples, const CellGrid& grid, unsigned strip,
                std::vector<std::uint16_t>& frame) {
  const unsigned firstRow = 2 * strip * grid.stripRows;
  for (unsigned y = grid.firstSampleRow(strip); y < grid.endSampleRow(strip); ++y) {
    const std::size_t row = y + grid.top - firstRow;
    std::copy_n(samples.data() + row * 2 * grid.columns + grid.left, grid.width,
                frame.data() + std::size_t{y} * grid.width);
  }
}

}  // namespace quorvel::host
