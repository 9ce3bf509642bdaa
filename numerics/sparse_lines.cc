// SPDX-License-Identifier: Apache-2.0
// Matrices made line by line, transposed and made whole.
#include "numerics/sparse_lines.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "quorvel/errors.h"

namespace quorvel {

sSparseMatrix SparseMaker::begin(int positions, int lines, std::size_t entries) {
  sSparseMatrix matrix;
  matrix.create(lines, positions, entries);
  return matrix;
}

sSparseEntry* SparseMaker::addLine(sSparseMatrix& matrix, int line, std::int32_t count) {
  if (count > 0) matrix.makeRoom(line, count);
  matrix.lineTable[line].count = count;
  matrix.nonZeros += count;
  return matrix.lineTable[line].first;
}

sSparseMatrix SparseMaker::withRoom(int positions, const std::vector<std::int32_t>& counts) {
  const auto total = std::accumulate(counts.begin(), counts.end(), std::int64_t{0});
  if (total > std::numeric_limits<std::int32_t>::max()) throw CMatErrorM(matErrorMemory, "incMemory");
  sSparseMatrix matrix = begin(positions, static_cast<int>(counts.size()), static_cast<std::size_t>(total));
  for (int line = 0; line < matrix.lines; ++line) {
    if (counts[static_cast<std::size_t>(line)] > 0) matrix.makeRoom(line, counts[static_cast<std::size_t>(line)]);
  }
  matrix.nonZeros = static_cast<std::int32_t>(total);
  return matrix;
}

Meant::Meant(const sSparseMatrix& matrix) : matrix_(matrix) {
  if ((matrix.flags & sparseHalf) != 0) {
    resolved_ = wholeOf(matrix);
    if ((matrix.flags & sparseTransposed) != 0) resolved_ = transposed(*resolved_);
  } else if ((matrix.flags & sparseTransposed) != 0) {
    resolved_ = transposed(matrix);
  }
}

sSparseMatrix wholeOf(const sSparseMatrix& matrix) {
  const bool half = (matrix.flags & sparseHalf) != 0;
  const int order = std::max(matrix.positions, matrix.lines);
  return gathered(half ? order : matrix.positions, half ? order : matrix.lines, [&](auto&& take) {
    for (int line = 0; line < matrix.lines; ++line) {
      for (const auto& [value, position] : entriesOf(matrix, line)) {
        take(position, line, value);
        if (half && position != line) take(line, position, value);
      }
    }
  });
}

sSparseMatrix transposed(const sSparseMatrix& matrix) {
  return gathered(matrix.lines, matrix.positions, [&](auto&& take) {
    for (int line = 0; line < matrix.lines; ++line) {
      for (const auto& [value, position] : entriesOf(matrix, line)) take(line, position, value);
    }
  });
}

}  // namespace quorvel
