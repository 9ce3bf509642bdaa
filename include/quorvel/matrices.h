// SPDX-License-Identifier: Apache-2.0
/// @file
/// Dense matrices, stored by columns as LAPACK reads them.
#ifndef QUORVEL_MATRICES_H_
#define QUORVEL_MATRICES_H_

#include <quorvel/types.h>

/// A dense matrix of `rows` x `columns` elements in one array, column by column: the element of row r and column c is
/// number c * rows + r. Copies are deep. The library owns the array and releases it.
///
/// Indices are not tested. The two counts may be read freely; only `resize` changes them. Negative counts and memory
/// that cannot be had throw `CMatErrorM` (21769, 21780).
template <typename T>
class TDenseMatrix {
 public:
  TDenseMatrix();
  /// All elements 0.
  TDenseMatrix(int rows, int columns);
  TDenseMatrix(const TDenseMatrix& other);
  TDenseMatrix& operator=(const TDenseMatrix& other);
  ~TDenseMatrix();

  /// Gives the matrix a new shape, all elements 0.
  void resize(int rowCount, int columnCount);

  QUORVEL_INLINE T& operator()(int row, int column) { return elements_[at(row, column)]; }
  QUORVEL_INLINE const T& operator()(int row, int column) const { return elements_[at(row, column)]; }
  QUORVEL_INLINE T* data() { return elements_; }
  QUORVEL_INLINE const T* data() const { return elements_; }
  QUORVEL_INLINE std::size_t size() const { return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns); }

  int rows = 0, columns = 0;

 private:
  QUORVEL_INLINE std::size_t at(int row, int column) const {
    return static_cast<std::size_t>(column) * static_cast<std::size_t>(rows) + static_cast<std::size_t>(row);
  }

  T* elements_ = nullptr;
};

#if !defined(QUORVEL_MATRICES_DEFINED_HERE)
extern template class QUORVEL_API TDenseMatrix<double>;
extern template class QUORVEL_API TDenseMatrix<long double>;
#endif

/// `long double` is what the platform's compiler makes of it: 80 bits on x86, 128 bits on AArch64. Results of the
/// members that compute in it agree between platforms to double precision, but a rare last bit after rounding to
/// double; everything that computes in double gives the same bits everywhere.
using sMatrixD = TDenseMatrix<double>;
using sMatrixLD = TDenseMatrix<long double>;

#endif  // QUORVEL_MATRICES_H_
