// SPDX-License-Identifier: Apache-2.0
// Products of sparse matrices. O(multiplications + entries + rows + columns); dense results add their size.
#include "numerics/sparse_products.h"

#include <utility>

#include "numerics/sparse_lines.h"
#include "numerics/twofold.h"
#include "numerics/within_memory.h"
#include "quorvel/sparse.h"

namespace {

using quorvel::codeWithinMemory;
using quorvel::entriesOf;
using quorvel::Meant;
using quorvel::SparseMaker;
using quorvel::withinMemory;

void requireFit(int columnsOfLeft, int rowsOfRight) {
  if (columnsOfLeft != rowsOfRight) throw CMatErrorM(matErrorDimensionsXY, "MulMatr");
}

// The sums that make up one line of a product, and the positions that it has, in the order in which products meet them.
class LineOfSums {
 public:
  explicit LineOfSums(int positions)
      : sums_(static_cast<std::size_t>(positions)), met_(sums_.size(), -1), order_(sums_.size()) {}

  void begin(int line) {
    line_ = line;
    count_ = 0;
  }
  void add(int position, double product) {
    const auto at = static_cast<std::size_t>(position);
    if (met_[at] == line_) {
      sums_[at] += product;
    } else {
      met_[at] = line_;
      sums_[at] = product;
      order_[count_++] = position;
    }
  }
  void addTo(sSparseMatrix& result) const {
    sSparseEntry* const entries = SparseMaker::addLine(result, line_, static_cast<std::int32_t>(count_));
    for (std::size_t e = 0; e < count_; ++e) entries[e] = {sums_[static_cast<std::size_t>(order_[e])], order_[e]};
  }

 private:
  std::vector<double> sums_;
  std::vector<int> met_, order_;  // the line in which each position was last met
  std::size_t count_ = 0;
  int line_ = -1;
};

sSparseMatrix product(const sSparseMatrix& left, const sSparseMatrix& right) {
  // A first guess for the pool; it grows by what its first lines turn out to need.
  const auto guess = static_cast<std::size_t>(left.nonZeros) + static_cast<std::size_t>(right.nonZeros);
  sSparseMatrix result = SparseMaker::begin(left.positions, right.lines, guess);
  LineOfSums sums(left.positions);
  for (int j = 0; j < right.lines; ++j) {
    sums.begin(j);
    for (const auto& [factor, k] : entriesOf(right, j)) {
      for (const auto& [value, i] : entriesOf(left, k)) sums.add(i, value * factor);
    }
    sums.addTo(result);
  }
  return result;
}

// A dense result keeps what double rounding would take from its sums: it is the matrix that solvers refine against.
// Sums run in twice the precision of double rather than in `long double`, which differs between platforms.
void denseProduct(const sSparseMatrix& left, const sSparseMatrix& right, sMatrixLD& result) {
  std::vector<quorvel::Twofold<double>> sums(static_cast<std::size_t>(left.positions));
  result.resize(left.positions, right.lines);
  for (int j = 0; j < right.lines; ++j) {
    std::fill(sums.begin(), sums.end(), quorvel::Twofold<double>{});
    for (const auto& [factor, k] : entriesOf(right, j)) {
      const quorvel::Halves<double> halves(factor);
      for (const auto& [value, i] : entriesOf(left, k)) {
        sums[static_cast<std::size_t>(i)].addProduct(value, factor, halves);
      }
    }
    for (int i = 0; i < left.positions; ++i) {
      const auto& sum = sums[static_cast<std::size_t>(i)];
      result(i, j) = static_cast<long double>(sum.sum) + sum.lost;
    }
  }
}

}  // namespace

sSparseMatrix quorvel::upperNormal(const sSparseMatrix& matrix) {
  const sSparseMatrix byRows = transposed(matrix);
  sSparseMatrix result = SparseMaker::begin(matrix.lines, matrix.lines, static_cast<std::size_t>(matrix.nonZeros));
  LineOfSums sums(matrix.lines);
  for (int j = 0; j < matrix.lines; ++j) {
    sums.begin(j);
    for (const auto& [factor, k] : entriesOf(matrix, j)) {
      for (const auto& [value, i] : entriesOf(byRows, k)) {
        if (i > j) break;  // positions of a transpose ascend
        sums.add(i, value * factor);
      }
    }
    sums.addTo(result);
  }
  result.flags = sparseSymmetric | sparseHalf;
  return result;
}

void QSparseMatrix::MulMatr(const QSparseMatrix& operand, QSparseMatrix& result) const {
  withinMemory([&] {
    const Meant left(*matrix_), right(*operand.matrix_);
    requireFit(left->lines, right->positions);
    *result.matrix_ = product(*left, *right);
  });
}

void QSparseMatrix::MulMatr(const QSparseMatrix& operand, sMatrixLD& result) const {
  withinMemory([&] {
    const Meant left(*matrix_), right(*operand.matrix_);
    requireFit(left->lines, right->positions);
    denseProduct(*left, *right, result);
  });
}

void QSparseMatrix::MulMatr(const sMatrixLD& operand, sMatrixLD& result) const {
  withinMemory([&] {
    const Meant left(*matrix_);
    requireFit(left->lines, operand.rows);
    sMatrixLD product(left->positions, operand.columns);  // `result` may be the operand
    for (int j = 0; j < operand.columns; ++j) {
      for (int k = 0; k < left->lines; ++k) {
        for (const auto& [value, i] : entriesOf(*left, k)) product(i, j) += value * operand(k, j);
      }
    }
    result = product;
  });
}

void QSparseMatrix::MulMatrT(QSparseMatrix& result) const {
  withinMemory([&] {
    const bool half = result.isSimmetric() != 0 && result.isHalf() != 0;
    sSparseMatrix normal = quorvel::upperNormal(*Meant(*matrix_));
    if (!half) {
      normal = quorvel::wholeOf(normal);
      normal.flags = sparseSymmetric;
    }
    *result.matrix_ = std::move(normal);
  });
}

void QSparseMatrix::MulMatrT(sMatrixLD& result) const {
  withinMemory([&] {
    const Meant matrix(*matrix_);
    denseProduct(quorvel::transposed(*matrix), *matrix, result);
  });
}

int tryMulMatr(const QSparseMatrix& left, const QSparseMatrix& right, QSparseMatrix& result) {
  return codeWithinMemory([&] {
    left.MulMatr(right, result);
    return 0;
  });
}

int tryMulMatrDense(const QSparseMatrix& left, const QSparseMatrix& right, sMatrixLD& result) {
  return codeWithinMemory([&] {
    left.MulMatr(right, result);
    return 0;
  });
}

int tryMulMatrByDense(const QSparseMatrix& left, const sMatrixLD& right, sMatrixLD& result) {
  return codeWithinMemory([&] {
    left.MulMatr(right, result);
    return 0;
  });
}

int tryMulMatrT(const QSparseMatrix& matrix, QSparseMatrix& result) {
  return codeWithinMemory([&] {
    matrix.MulMatrT(result);
    return 0;
  });
}

int tryMulMatrTDense(const QSparseMatrix& matrix, sMatrixLD& result) {
  return codeWithinMemory([&] {
    matrix.MulMatrT(result);
    return 0;
  });
}
