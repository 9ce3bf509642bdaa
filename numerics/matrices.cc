// SPDX-License-Identifier: Apache-2.0
// Dense matrices: shape and ownership.
#define QUORVEL_MATRICES_DEFINED_HERE
#include "quorvel/matrices.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "quorvel/errors.h"

template <typename T>
TDenseMatrix<T>::TDenseMatrix() = default;

template <typename T>
TDenseMatrix<T>::TDenseMatrix(int rowCount, int columnCount) {
  resize(rowCount, columnCount);
}

template <typename T>
TDenseMatrix<T>::TDenseMatrix(const TDenseMatrix& other) {
  resize(other.rows, other.columns);
  std::copy_n(other.elements_, other.size(), elements_);
}

template <typename T>
TDenseMatrix<T>& TDenseMatrix<T>::operator=(const TDenseMatrix& other) {
  TDenseMatrix copy(other);
  std::swap(rows, copy.rows);
  std::swap(columns, copy.columns);
  std::swap(elements_, copy.elements_);
  return *this;
}

template <typename T>
TDenseMatrix<T>::~TDenseMatrix() {
  delete[] elements_;
}

template <typename T>
void TDenseMatrix<T>::resize(int rowCount, int columnCount) {
  if (rowCount < 0 || columnCount < 0) throw CMatErrorM(matErrorParameter, "resize");
  const std::uint64_t count = static_cast<std::uint64_t>(rowCount) * static_cast<std::uint64_t>(columnCount);
  if (count > static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max()) / sizeof(T)) {
    throw CMatErrorM(matErrorMemory, "resize");
  }
  if (count == size()) {  // also the way on which a matrix without elements stays without an array
    std::fill_n(elements_, count, T{0});
  } else {
    T* const fresh = new (std::nothrow) T[static_cast<std::size_t>(count)]();
    if (fresh == nullptr) throw CMatErrorM(matErrorMemory, "resize");
    delete[] elements_;
    elements_ = fresh;
  }
  rows = rowCount;
  columns = columnCount;
}

template class QUORVEL_API TDenseMatrix<double>;
template class QUORVEL_API TDenseMatrix<long double>;
