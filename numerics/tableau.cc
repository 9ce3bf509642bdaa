// SPDX-License-Identifier: Apache-2.0
// Exchange steps, put off and done, and the order of pivots that inverts a matrix.
#include "numerics/tableau.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "numerics/exchange_kernel.h"

namespace quorvel {
namespace {

// Rows are filled up with zeros, which stay zeros, so that kernels meet no ragged ends; and never start a multiple of
// 512 bytes apart, or the entries of a column would fight for few sets of the caches.
std::size_t strideOf(int columns) {
  const std::size_t stride = (static_cast<std::size_t>(columns) + 7) / 8 * 8;
  return stride % 64 == 0 ? stride + 8 : stride;
}

}  // namespace

template <typename T>
Tableau<T>::Tableau(int rows, int columns)
    : rows_(rows),
      columns_(columns),
      stride_(strideOf(columns)),
      entries_(index(rows) * stride_),
      rowVariables_(index(rows)),
      columnVariables_(index(columns)),
      pivotRows_(kBlock * stride_),
      factors_(index(rows) * kBlock),
      column_(index(rows)) {
  std::iota(columnVariables_.begin(), columnVariables_.end(), 0);
  std::iota(rowVariables_.begin(), rowVariables_.end(), columns);
}

// Applies the pending steps in which a row takes part to its columns `from` up to `to`.
template <typename T>
void Tableau<T>::applyPending(int row, std::size_t from, std::size_t to) {
  const T* pivots[kBlock];
  T taken[kBlock];
  int steps = 0;
  for (int s = 0; s < pending_; ++s) {
    const T factor = factors(s)[row];
    if (factor == 0) continue;
    pivots[steps] = pivotRow(s) + from;
    taken[steps++] = factor;
  }
  if (steps > 0) applySteps(rowOf(row) + from, to - from, pivots, taken, steps);
}

template <typename T>
void Tableau<T>::bringUpToDate(int row) {
  applyPending(row, 0, stride_);
  for (int s = 0; s < pending_; ++s) factors(s)[row] = 0;
}

template <typename T>
T Tableau<T>::current(int row, int column) {
  T value = rowOf(row)[column];
  for (int s = 0; s < pending_; ++s) {
    const T factor = factors(s)[row];
    if (factor != 0) value = withoutDust(value + factor * pivotRow(s)[column]);
  }
  return value;
}

template <typename T>
int Tableau<T>::exchange(int row, int column) {
  const T pivot = current(row, column);
  if (!(std::abs(pivot) > static_cast<T>(kDust))) return -1;
  bringUpToDate(row);
  T* const own = rowOf(row);
  std::copy_n(own, columns_, pivotRow(pending_));

  const T reciprocal = 1 / pivot;
  const T* factorsOf[kBlock];
  T pivots[kBlock];  // of the column
  for (int s = 0; s < pending_; ++s) {
    factorsOf[s] = factors(s);
    pivots[s] = pivotRow(s)[column];
  }
  for (int i = 0; i < rows_; ++i) column_[index(i)] = rowOf(i)[column];
  applyStepsToColumn(column_.data(), column_.size(), factorsOf, pivots, pending_);
  divideEntries(column_.data(), column_.size(), -pivot, factors(pending_));
  factors(pending_)[row] = 0;
  scaleEntries(column_.data(), column_.size(), -reciprocal);
  for (int i = 0; i < rows_; ++i) rowOf(i)[column] = column_[index(i)];
  scaleEntries(own, index(columns_), reciprocal);
  own[column] = reciprocal;
  // The column now is ahead of its rows: what they have not seen yet must pass it by.
  for (int s = 0; s <= pending_; ++s) pivotRow(s)[column] = 0;

  std::swap(rowVariables_[index(row)], columnVariables_[index(column)]);
  if (++pending_ == kBlock) settle();
  return 0;
}

template <typename T>
void Tableau<T>::settle() {
  // A band of rows passes over the pivot rows piece by piece, so that the pieces stay in the nearest cache.
  constexpr int kBand = 32;
  constexpr std::size_t kPiece = 256;
  const int bands = (rows_ + kBand - 1) / kBand;
  [[maybe_unused]] const bool shared = rows_ >= 100;
#if defined(_OPENMP)
#pragma omp parallel for schedule(static) if (shared)
#endif
  for (int band = 0; band < bands; ++band) {
    const int last = std::min(rows_, (band + 1) * kBand);
    for (std::size_t from = 0; from < stride_; from += kPiece) {
      const std::size_t to = std::min(stride_, from + kPiece);
      for (int row = band * kBand; row < last; ++row) applyPending(row, from, to);
    }
  }
  pending_ = 0;
}

// Whether the entry of the diagonal is a pivot that no entry of its row exceeds by much. In a normal matrix the largest
// remaining entry of the diagonal always is.
template <typename T>
bool Tableau<T>::standsOut(int row, const std::vector<T>& openColumns) {
  bringUpToDate(row);
  const T largest = largestMagnitude(rowOf(row), openColumns.data(), openColumns.size());
  return std::abs(rowOf(row)[row]) * 2 >= largest && largest > 0;
}

template <typename T>
void Tableau<T>::findLargest(const std::vector<T>& openRows, const std::vector<T>& openColumns, int& row, int& column) {
  settle();
  T largest = -1;
  for (int i = 0; i < rows_; ++i) {
    if (openRows[index(i)] == 0) continue;
    for (int j = 0; j < columns_; ++j) {
      if (openColumns[index(j)] != 0 && std::abs(rowOf(i)[j]) > largest) {
        largest = std::abs(rowOf(i)[j]);
        row = i;
        column = j;
      }
    }
  }
}

template <typename T>
bool Tableau<T>::invert(T precision) {
  const int n = rows_;
  std::vector<T> openRows(index(n), 1), openColumns(index(n), 1);  // 0 for those exchanged
  std::vector<T> diagonal(index(n)), atFirst(index(n));
  for (int i = 0; i < n; ++i) {
    diagonal[index(i)] = rowOf(i)[i];
    atFirst[index(i)] = largestMagnitude(rowOf(i), openColumns.data(), openColumns.size());
  }
  std::vector<int> candidates(index(n));  // the rows whose entry of the diagonal can be a pivot still
  std::iota(candidates.begin(), candidates.end(), 0);
  for (int done = 0; done < n; ++done) {
    int row = -1, column = -1;
    T largest = -1;
    for (const int i : candidates) {
      if (std::abs(diagonal[index(i)]) > largest) {
        largest = std::abs(diagonal[index(i)]);
        row = column = i;
      }
    }
    if (row < 0 || !standsOut(row, openColumns)) findLargest(openRows, openColumns, row, column);
    if (row < 0 || !(std::abs(current(row, column)) > precision * atFirst[index(row)])) return false;
    const int step = pending_;
    if (exchange(row, column) != 0) return false;
    openRows[index(row)] = openColumns[index(column)] = 0;
    std::erase_if(candidates, [=](int i) { return i == row || i == column; });
    const T *const pivots = pivotRow(step), *const factor = factors(step);
    for (const int i : candidates) {
      if (factor[i] != 0) diagonal[index(i)] = withoutDust(diagonal[index(i)] + factor[i] * pivots[i]);
    }
  }
  settle();
  return true;
}

template <typename T>
void Tableau<T>::multiply(const T* y, T* x) const {
  std::vector<T> ordered(index(columns_));
  for (int j = 0; j < columns_; ++j) ordered[index(j)] = y[columnVariable(j) - columns_];
  // Sums stay in the order of the columns; several rows at once hide the latency of their additions.
  constexpr int kRows = 8;
  for (int first = 0; first < rows_; first += kRows) {
    const T* rows[kRows];
    T sums[kRows] = {};
    for (int r = 0; r < kRows; ++r) rows[r] = rowOf(std::min(first + r, rows_ - 1));
    for (std::size_t j = 0; j < ordered.size(); ++j) {
      for (int r = 0; r < kRows; ++r) sums[r] += rows[r][j] * ordered[j];
    }
    for (int r = 0; r < kRows && first + r < rows_; ++r) x[rowVariable(first + r)] = sums[r];
  }
}

template class Tableau<double>;
template class Tableau<long double>;

}  // namespace quorvel
