// SPDX-License-Identifier: Apache-2.0
// Packed columns from stored matrices and back, transposed, and the normal product.
#include "numerics/columns.h"

#include <algorithm>
#include <numeric>

namespace quorvel {

Columns wholeOf(const sSparseMatrix& matrix) {
  const bool half = (matrix.flags & sparseHalf) != 0;
  Columns whole;
  whole.rows = half ? std::max(matrix.positions, matrix.lines) : matrix.positions;
  whole.columns = half ? whole.rows : matrix.lines;
  whole.start.assign(static_cast<std::size_t>(whole.columns) + 1, 0);
  const auto forEach = [&](auto&& take) {
    for (int line = 0; line < matrix.lines; ++line) {
      const sSparseLine& entries = matrix.lineTable[line];
      for (int e = 0; e < entries.count; ++e) {
        const auto& [value, position] = entries.first[e];
        take(position, line, value);
        if (half && position != line) take(line, position, value);
      }
    }
  };
  forEach([&](int, int column, double) { ++whole.start[static_cast<std::size_t>(column) + 1]; });
  std::partial_sum(whole.start.begin(), whole.start.end(), whole.start.begin());
  whole.row.resize(whole.start.back());
  whole.value.resize(whole.start.back());
  std::vector<std::size_t> next = whole.start;
  forEach([&](int row, int column, double value) {
    const std::size_t at = next[static_cast<std::size_t>(column)]++;
    whole.row[at] = row;
    whole.value[at] = value;
  });
  return whole;
}

Columns columnsOf(const sSparseMatrix& matrix) {
  Columns whole = wholeOf(matrix);
  return (matrix.flags & sparseTransposed) != 0 ? transposed(whole) : whole;
}

Columns transposed(const Columns& matrix) {
  Columns result;
  result.rows = matrix.columns;
  result.columns = matrix.rows;
  result.start.assign(static_cast<std::size_t>(result.columns) + 1, 0);
  for (const int row : matrix.row) ++result.start[static_cast<std::size_t>(row) + 1];
  std::partial_sum(result.start.begin(), result.start.end(), result.start.begin());
  result.row.resize(matrix.row.size());
  result.value.resize(matrix.row.size());
  std::vector<std::size_t> next = result.start;
  for (int j = 0; j < matrix.columns; ++j) {
    for (std::size_t e = matrix.first(j); e < matrix.end(j); ++e) {
      const std::size_t at = next[static_cast<std::size_t>(matrix.row[e])]++;
      result.row[at] = j;
      result.value[at] = matrix.value[e];
    }
  }
  return result;
}

Columns upperNormal(const Columns& matrix) {
  const Columns byRows = transposed(matrix);
  Columns result;
  result.begin(matrix.columns, matrix.columns);
  std::vector<std::size_t> place(static_cast<std::size_t>(matrix.columns));  // of a row in the column that grows
  std::vector<int> met(place.size(), -1);
  for (int j = 0; j < matrix.columns; ++j) {
    for (std::size_t k = matrix.first(j); k < matrix.end(j); ++k) {
      const double factor = matrix.value[k];
      const std::size_t end = byRows.end(matrix.row[k]);
      for (std::size_t e = byRows.first(matrix.row[k]); e < end && byRows.row[e] <= j; ++e) {
        const auto i = static_cast<std::size_t>(byRows.row[e]);
        if (met[i] == j) {
          result.value[place[i]] += byRows.value[e] * factor;
        } else {
          met[i] = j;
          place[i] = result.row.size();
          result.row.push_back(byRows.row[e]);
          result.value.push_back(byRows.value[e] * factor);
        }
      }
    }
    result.endColumn();
  }
  return result;
}

}  // namespace quorvel
