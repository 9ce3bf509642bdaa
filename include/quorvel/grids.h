// SPDX-License-Identifier: Apache-2.0
/// @file
/// Tables of plain numbers that go in and out of other objects: matrices stored by rows, and cubes over RGB levels.
///
/// Both own their memory; copies are deep. The library allocates and releases it, whoever asks. Nothing here throws:
/// where memory cannot be had, the object is empty and `data()` is null. Nothing here tests an index.
#ifndef QUORVEL_GRIDS_H_
#define QUORVEL_GRIDS_H_

#include <quorvel/types.h>

/// A matrix of `columns` x `rows` elements, row by row. A colour table file in memory is one of floats with 3 columns.
template <typename T>
class TMatrix {
 public:
  TMatrix();
  /// All elements 0.
  TMatrix(unsigned columns, unsigned rows);
  TMatrix(const TMatrix& other);
  TMatrix& operator=(const TMatrix& other);
  ~TMatrix();

  /// Gives the matrix a new shape, all elements 0. Without elements both counts are 0, whatever was asked for.
  void resize(unsigned columns, unsigned rows);

  QUORVEL_INLINE unsigned columns() const { return columns_; }
  QUORVEL_INLINE unsigned rows() const { return rows_; }
  QUORVEL_INLINE T* row(unsigned r) { return elements_ + std::size_t{r} * columns_; }
  QUORVEL_INLINE const T* row(unsigned r) const { return elements_ + std::size_t{r} * columns_; }
  QUORVEL_INLINE T* data() { return elements_; }
  QUORVEL_INLINE const T* data() const { return elements_; }

 private:
  T* elements_ = nullptr;
  unsigned columns_ = 0, rows_ = 0;
};

/// Three 16-bit values for every cell of a grid with `kLevels` levels an axis.
template <unsigned kLevels>
class TCubeI16 {
 public:
  static constexpr unsigned kCells = kLevels * kLevels * kLevels;

  /// All values 0.
  TCubeI16();
  TCubeI16(const TCubeI16& other);
  TCubeI16& operator=(const TCubeI16& other);
  ~TCubeI16();

  /// The three values of a cell; c0 varies fastest in memory.
  QUORVEL_INLINE std::int16_t* cell(unsigned c0, unsigned c1, unsigned c2) { return values_ + index(c0, c1, c2); }
  QUORVEL_INLINE const std::int16_t* cell(unsigned c0, unsigned c1, unsigned c2) const {
    return values_ + index(c0, c1, c2);
  }
  /// 3 * kCells values.
  QUORVEL_INLINE std::int16_t* data() { return values_; }
  QUORVEL_INLINE const std::int16_t* data() const { return values_; }

 private:
  QUORVEL_INLINE static std::size_t index(unsigned c0, unsigned c1, unsigned c2) {
    return 3 * (c0 + kLevels * (c1 + std::size_t{kLevels} * c2));
  }

  std::int16_t* values_;
};

using CCubeI16 = TCubeI16<64>;
using CCube5I16 = TCubeI16<32>;

#if !defined(QUORVEL_GRIDS_DEFINED_HERE)
extern template class QUORVEL_API TMatrix<float>;
extern template class QUORVEL_API TCubeI16<64>;
extern template class QUORVEL_API TCubeI16<32>;
#endif

#endif  // QUORVEL_GRIDS_H_
