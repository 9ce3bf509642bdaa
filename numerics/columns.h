// SPDX-License-Identifier: Apache-2.0
// Sparse matrices as the algorithms take them: packed columns, every mark of the stored form resolved.
#ifndef QUORVEL_NUMERICS_COLUMNS_H_
#define QUORVEL_NUMERICS_COLUMNS_H_

#include <cstddef>
#include <vector>

#include "quorvel/sparse.h"

namespace quorvel {

struct Columns {
  int rows = 0, columns = 0;
  std::vector<std::size_t> start;  // of each column, and the end of the last
  std::vector<int> row;
  std::vector<double> value;

  void begin(int rowCount, int columnCount) {
    *this = {rowCount, columnCount, {0}, {}, {}};
    start.reserve(static_cast<std::size_t>(columnCount) + 1);
  }
  void endColumn() { start.push_back(row.size()); }
  std::size_t first(int column) const { return start[static_cast<std::size_t>(column)]; }
  std::size_t end(int column) const { return start[static_cast<std::size_t>(column) + 1]; }
};

// What a matrix stands for. O(entries + lines + positions).
Columns columnsOf(const sSparseMatrix& matrix);
// The transpose, with the rows of each column in ascending order. O(entries + rows + columns).
Columns transposed(const Columns& matrix);
// The stored entries, with the missing half of a matrix of which only one is. O(entries + lines).
Columns wholeOf(const sSparseMatrix& matrix);

// Calls column(j, rows, sums) for each column of left * right: the rows that it has, in the order in which products
// meet them, and an array of sums by row. O(multiplications + rows + columns).
template <typename Column>
void multiplyColumns(const Columns& left, const Columns& right, Column&& column) {
  std::vector<double> sums(static_cast<std::size_t>(left.rows));
  std::vector<int> met(sums.size(), -1), rows;
  for (int j = 0; j < right.columns; ++j) {
    rows.clear();
    for (std::size_t k = right.first(j); k < right.end(j); ++k) {
      const double factor = right.value[k];
      const std::size_t end = left.end(right.row[k]);
      for (std::size_t e = left.first(right.row[k]); e < end; ++e) {
        const auto i = static_cast<std::size_t>(left.row[e]);
        if (met[i] == j) {
          sums[i] += left.value[e] * factor;
        } else {
          met[i] = j;
          sums[i] = left.value[e] * factor;
          rows.push_back(left.row[e]);
        }
      }
    }
    column(j, rows, sums.data());
  }
}

// matrix' * matrix, the entries with row <= column. O(half the multiplications + rows + columns).
Columns upperNormal(const Columns& matrix);

// The columns as a stored matrix, with the given flags. Throws CMatErrorM 21780.
void store(const Columns& columns, std::uint32_t flags, sSparseMatrix& matrix);

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_COLUMNS_H_
