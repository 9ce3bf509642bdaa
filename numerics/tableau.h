// SPDX-License-Identifier: Apache-2.0
// The tableau of the simplex-style elimination.
//
// An exchange step touches every entry, and n of them pass n times over a matrix that the caches do not hold. So steps
// are put off: what a step does to the other rows is kept as its pivot row and one factor a row, and applied for
// kBlock steps in one pass. Every entry still goes through the same operations in the same order, so the bits are those
// of steps done one by one. What the next steps need at once, their pivot row and column, is brought up to date alone.
#ifndef QUORVEL_NUMERICS_TABLEAU_H_
#define QUORVEL_NUMERICS_TABLEAU_H_

#include <cstddef>
#include <vector>

namespace quorvel {

template <typename T>
class Tableau {
 public:
  // Variables of columns are numbered from 0, those of rows from `columns`. Entries are for the caller to fill.
  Tableau(int rows, int columns);

  int rows() const { return rows_; }
  int columns() const { return columns_; }
  T& entry(int row, int column) { return rowOf(row)[column]; }  // settled tableaus only
  int rowVariable(int row) const { return rowVariables_[index(row)]; }
  int columnVariable(int column) const { return columnVariables_[index(column)]; }

  // One step, see CSimplexProgram::exchange; what it does to other rows may wait for `settle`.
  int exchange(int row, int column);
  // Does what was put off.
  void settle();
  // The entry as it is, settled or not.
  T current(int row, int column);

  // Exchanges every row of a square tableau. False where a pivot falls to `precision` times the largest entry that its
  // row had before; the tableau then is of no further use.
  bool invert(T precision);
  // With all rows exchanged: x = inverse * y, in the order in which the variables were numbered first.
  void multiply(const T* y, T* x) const;

 private:
  static constexpr int kBlock = 16;

  static std::size_t index(int i) { return static_cast<std::size_t>(i); }
  T* rowOf(int row) { return entries_.data() + index(row) * stride_; }
  const T* rowOf(int row) const { return entries_.data() + index(row) * stride_; }
  T* pivotRow(int step) { return pivotRows_.data() + index(step) * stride_; }
  T* factors(int step) { return factors_.data() + index(step) * index(rows_); }

  void applyPending(int row, std::size_t from, std::size_t to);
  void bringUpToDate(int row);
  bool standsOut(int row, const std::vector<T>& openColumns);
  void findLargest(const std::vector<T>& openRows, const std::vector<T>& openColumns, int& row, int& column);

  int rows_, columns_;
  std::size_t stride_;
  std::vector<T> entries_;
  std::vector<int> rowVariables_, columnVariables_;

  int pending_ = 0;           // steps put off
  std::vector<T> pivotRows_;  // a row for each of them, 0 where a later operation must leave a column alone
  std::vector<T> factors_;    // a column for each of them, 0 where the row takes no part in the step, or did already
  std::vector<T> column_;     // of the pivot at hand
};

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_TABLEAU_H_
