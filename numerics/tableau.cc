// SPDX-License-Identifier: Apache-2.0
// Exchange steps, put off and done, and the order of pivots that inverts a matrix.
#include "numerics/tableau.h"

#include <algorithm>
#include <numeric>

namespace quorvel {

template <typename T>
Tableau<T>::Tableau(int rows, int columns)
    : rows_(rows),
      columns_(columns),
      stride_((index(columns) + 7) / 8 * 8),
      entries_(index(rows) * stride_),
      rowVariables_(index(rows)),
      columnVariables_(index(columns)),
      pivotRows_(kBlock * stride_),
      factors_(index(rows) * kBlock),
      upToDate_(index(rows)) {
  std::iota(columnVariables_.begin(), columnVariables_.end(), 0);
  std::iota(rowVariables_.begin(), rowVariables_.end(), columns);
}

// Applies the pending steps that a row has not seen yet to its columns `from` up to `to`.
template <typename T>
void Tableau<T>::bringUpToDate(int row, std::size_t from, std::size_t to) {
  const T* pivots[kBlock];
  T factors[kBlock];
  int steps = 0;
  for (int s = upToDate_[index(row)]; s < pending_; ++s) {
    if (factor(s, row) == 0) continue;
    pivots[steps] = pivotRow(s) + from;
    factors[steps++] = factor(s, row);
  }
  if (steps > 0) applySteps(rowOf(row) + from, to - from, pivots, factors, steps);
}

template <typename T>
T Tableau<T>::current(int row, int column) {
  T value = rowOf(row)[column];
  for (int s = upToDate_[index(row)]; s < pending_; ++s) {
    if (factor(s, row) != 0) value = withoutDust(value + factor(s, row) * pivotRow(s)[column]);
  }
  return value;
}

template <typename T>
int Tableau<T>::exchange(int row, int column) {
  const T pivot = current(row, column);
  if (!(std::abs(pivot) > static_cast<T>(kDust))) return -1;
  bringUpToDate(row, 0, stride_);
  upToDate_[index(row)] = pending_ + 1;
  T* const own = rowOf(row);
  T* const kept = pivotRow(pending_);
  std::copy_n(own, columns_, kept);

  const T reciprocal = 1 / pivot;
  T pivots[kBlock];  // of the column, side by side
  for (int s = 0; s < pending_; ++s) pivots[s] = pivotRow(s)[column];
  for (int i = 0; i < rows_; ++i) {
    if (i == row) continue;
    T entry = rowOf(i)[column];
    for (int s = upToDate_[index(i)]; s < pending_; ++s) {
      if (factor(s, i) != 0) entry = withoutDust(entry + factor(s, i) * pivots[s]);
    }
    factor(pending_, i) = entry == 0 ? T{0} : -entry / pivot;
    rowOf(i)[column] = withoutDust(entry * -reciprocal);
  }
  factor(pending_, row) = 0;
  for (int j = 0; j < columns_; ++j) own[j] = withoutDust(own[j] * reciprocal);
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
      for (int row = band * kBand; row < last; ++row) bringUpToDate(row, from, to);
    }
  }
  std::fill(upToDate_.begin(), upToDate_.end(), 0);
  pending_ = 0;
}

// Whether the entry of the diagonal is a pivot that no entry of its row exceeds by much. In a normal matrix the largest
// remaining entry of the diagonal always is.
template <typename T>
bool Tableau<T>::standsOut(int row, const std::vector<char>& openColumns) {
  bringUpToDate(row, 0, stride_);
  upToDate_[index(row)] = pending_;
  T largest = 0;
  for (int j = 0; j < columns_; ++j) {
    if (openColumns[index(j)]) largest = std::max(largest, std::abs(rowOf(row)[j]));
  }
  return std::abs(rowOf(row)[row]) * 2 >= largest && largest > 0;
}

template <typename T>
void Tableau<T>::findLargest(const std::vector<char>& openRows, const std::vector<char>& openColumns, int& row,
                             int& column) {
  settle();
  T largest = -1;
  for (int i = 0; i < rows_; ++i) {
    if (!openRows[index(i)]) continue;
    for (int j = 0; j < columns_; ++j) {
      if (openColumns[index(j)] && std::abs(rowOf(i)[j]) > largest) {
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
  std::vector<T> diagonal(index(n)), atFirst(index(n));
  std::vector<char> openRows(index(n), 1), openColumns(index(n), 1);
  for (int i = 0; i < n; ++i) {
    diagonal[index(i)] = rowOf(i)[i];
    for (int j = 0; j < n; ++j) atFirst[index(i)] = std::max(atFirst[index(i)], std::abs(rowOf(i)[j]));
  }
  for (int done = 0; done < n; ++done) {
    int row = -1, column = -1;
    for (int i = 0; i < n; ++i) {
      if (!openRows[index(i)] || !openColumns[index(i)]) continue;
      if (row < 0 || std::abs(diagonal[index(i)]) > std::abs(diagonal[index(row)])) row = column = i;
    }
    if (row < 0 || !standsOut(row, openColumns)) findLargest(openRows, openColumns, row, column);
    if (row < 0 || !(std::abs(current(row, column)) > precision * atFirst[index(row)])) return false;
    const int step = pending_;
    if (exchange(row, column) != 0) return false;
    openRows[index(row)] = openColumns[index(column)] = 0;
    for (int i = 0; i < n; ++i) {
      if (openRows[index(i)] && openColumns[index(i)] && factor(step, i) != 0) {
        diagonal[index(i)] = withoutDust(diagonal[index(i)] + factor(step, i) * pivotRow(step)[i]);
      }
    }
  }
  settle();
  return true;
}

template <typename T>
void Tableau<T>::multiply(const T* y, T* x) const {
  for (int i = 0; i < rows_; ++i) {
    T sum = 0;
    for (int j = 0; j < columns_; ++j) sum += rowOf(i)[j] * y[columnVariable(j) - columns_];
    x[rowVariable(i)] = sum;
  }
}

template class Tableau<double>;
template class Tableau<long double>;

}  // namespace quorvel
