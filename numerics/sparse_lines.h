// SPDX-License-Identifier: Apache-2.0
// Sparse matrices as the algorithms read and make them: line j holds the entries of column j, and no mark says
// otherwise.
#ifndef QUORVEL_NUMERICS_SPARSE_LINES_H_
#define QUORVEL_NUMERICS_SPARSE_LINES_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "quorvel/sparse.h"

namespace quorvel {

inline std::span<const sSparseEntry> entriesOf(const sSparseMatrix& matrix, int line) {
  const sSparseLine& entries = matrix.lineTable[line];
  return {entries.first, static_cast<std::size_t>(entries.count)};
}

// The making of matrices line by line, each of a length that is known before its entries are.
struct SparseMaker {
  // An empty matrix without marks. The pool begins with room for `entries`. Throws CMatErrorM 21780, as all here do.
  static sSparseMatrix begin(int positions, int lines, std::size_t entries);
  // Room for all the entries of the next line; they are for the caller to write.
  static sSparseEntry* addLine(sSparseMatrix& matrix, int line, std::int32_t count);
  // Lines with room for `counts` entries, all of which are for `append` to fill.
  static sSparseMatrix withRoom(int positions, const std::vector<std::int32_t>& counts);
  static void append(sSparseMatrix& matrix, int line, int position, double value) {
    sSparseLine& entries = matrix.lineTable[line];
    entries.first[entries.count++] = {value, position};
  }
};

// A matrix of the entries that forEach(take) passes to take(position, line, value), which it does twice alike.
template <typename ForEach>
sSparseMatrix gathered(int positions, int lines, ForEach&& forEach) {
  std::vector<std::int32_t> counts(static_cast<std::size_t>(lines));
  forEach([&](int, int line, double) { ++counts[static_cast<std::size_t>(line)]; });
  sSparseMatrix result = SparseMaker::withRoom(positions, counts);
  forEach([&](int position, int line, double value) { SparseMaker::append(result, line, position, value); });
  return result;
}

// What a matrix stands for: itself, read where it lies, or a copy of what its marks make of it.
class Meant {
 public:
  explicit Meant(const sSparseMatrix& matrix);
  const sSparseMatrix& operator*() const { return resolved_ ? *resolved_ : matrix_; }
  const sSparseMatrix* operator->() const { return &**this; }

 private:
  const sSparseMatrix& matrix_;
  std::optional<sSparseMatrix> resolved_;
};

// The transpose of what is stored, with the positions of each line in ascending order. O(entries + lines + positions)
sSparseMatrix transposed(const sSparseMatrix& matrix);
// What is stored, with the missing half of a matrix of which only one is. O(entries + lines)
sSparseMatrix wholeOf(const sSparseMatrix& matrix);

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_SPARSE_LINES_H_
