// SPDX-License-Identifier: Apache-2.0
// Matrices and cubes: memory that is cleared when it is made, and empty objects where there is none.
#define QUORVEL_GRIDS_DEFINED_HERE
#include "quorvel/grids.h"

#include <algorithm>

#include "runtime/plain_memory.h"

using quorvel::FreeMemory;

template <typename T>
TMatrix<T>::TMatrix() = default;

template <typename T>
TMatrix<T>::TMatrix(unsigned columns, unsigned rows) {
  resize(columns, rows);
}

template <typename T>
TMatrix<T>::TMatrix(const TMatrix& other) {
  *this = other;
}

template <typename T>
TMatrix<T>& TMatrix<T>::operator=(const TMatrix& other) {
  if (this == &other) return *this;
  resize(other.columns_, other.rows_);
  if (elements_ != nullptr) std::copy_n(other.elements_, std::size_t{columns_} * rows_, elements_);
  return *this;
}

template <typename T>
TMatrix<T>::~TMatrix() {
  FreeMemory()(elements_);
}

template <typename T>
void TMatrix<T>::resize(unsigned columns, unsigned rows) {
  FreeMemory()(elements_);
  elements_ = quorvel::clearedMemory<T>(std::uint64_t{columns} * rows);
  const bool empty = elements_ == nullptr;
  columns_ = empty ? 0 : columns;
  rows_ = empty ? 0 : rows;
}

template <unsigned kLevels>
TCubeI16<kLevels>::TCubeI16() : values_(quorvel::clearedMemory<std::int16_t>(3 * kCells)) {}

template <unsigned kLevels>
TCubeI16<kLevels>::TCubeI16(const TCubeI16& other) : TCubeI16() {
  *this = other;
}

template <unsigned kLevels>
TCubeI16<kLevels>& TCubeI16<kLevels>::operator=(const TCubeI16& other) {
  if (values_ != nullptr && other.values_ != nullptr && this != &other) {
    std::copy_n(other.values_, 3 * kCells, values_);
  }
  return *this;
}

template <unsigned kLevels>
TCubeI16<kLevels>::~TCubeI16() {
  FreeMemory()(values_);
}

template class QUORVEL_API TMatrix<float>;
template class QUORVEL_API TCubeI16<64>;
template class QUORVEL_API TCubeI16<32>;
