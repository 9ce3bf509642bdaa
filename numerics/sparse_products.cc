// SPDX-License-Identifier: Apache-2.0
// Products of sparse matrices. O(multiplications + entries + rows + columns); dense results add their size.
#include "numerics/columns.h"
#include "numerics/twofold.h"
#include "numerics/within_memory.h"
#include "quorvel/sparse.h"

namespace {

using quorvel::codeWithinMemory;
using quorvel::Columns;
using quorvel::withinMemory;

void requireFit(int columnsOfLeft, int rowsOfRight) {
  if (columnsOfLeft != rowsOfRight) throw CMatErrorM(matErrorDimensionsXY, "MulMatr");
}

// A dense result keeps what double rounding would take from its sums: it is the matrix that solvers refine against.
// Sums run in twice the precision of double rather than in `long double`, which differs between platforms.
void denseProduct(const Columns& left, const Columns& right, sMatrixLD& result) {
  const auto rows = static_cast<std::size_t>(left.rows);
  std::vector<quorvel::Twofold<double>> sums(rows);
  result.resize(left.rows, right.columns);
  for (int j = 0; j < right.columns; ++j) {
    std::fill(sums.begin(), sums.end(), quorvel::Twofold<double>{});
    for (std::size_t k = right.first(j); k < right.end(j); ++k) {
      const double factor = right.value[k];
      const quorvel::Halves<double> halves(factor);
      for (std::size_t e = left.first(right.row[k]); e < left.end(right.row[k]); ++e) {
        sums[static_cast<std::size_t>(left.row[e])].addProduct(left.value[e], factor, halves);
      }
    }
    for (int i = 0; i < left.rows; ++i) {
      const auto& sum = sums[static_cast<std::size_t>(i)];
      result(i, j) = static_cast<long double>(sum.sum) + sum.lost;
    }
  }
}

// The half that is there and, mirrored, the one that is not.
Columns bothHalves(const Columns& upper) {
  const Columns lower = quorvel::transposed(upper);
  Columns both;
  both.begin(upper.rows, upper.columns);
  both.row.reserve(2 * upper.row.size());
  both.value.reserve(2 * upper.row.size());
  for (int j = 0; j < upper.columns; ++j) {
    const auto append = [&](const Columns& half, std::size_t from) {
      const auto first = static_cast<std::ptrdiff_t>(from), end = static_cast<std::ptrdiff_t>(half.end(j));
      both.row.insert(both.row.end(), half.row.begin() + first, half.row.begin() + end);
      both.value.insert(both.value.end(), half.value.begin() + first, half.value.begin() + end);
    };
    append(upper, upper.first(j));
    // Rows of a transpose ascend, so its diagonal entry, which is there already, comes first.
    const std::size_t first = lower.first(j);
    append(lower, first < lower.end(j) && lower.row[first] == j ? first + 1 : first);
    both.endColumn();
  }
  return both;
}

}  // namespace

void QSparseMatrix::MulMatr(const QSparseMatrix& operand, QSparseMatrix& result) const {
  withinMemory([&] {
    const Columns left = quorvel::columnsOf(*matrix_), right = quorvel::columnsOf(*operand.matrix_);
    requireFit(left.columns, right.rows);
    Columns product;
    product.begin(left.rows, right.columns);
    quorvel::multiplyColumns(left, right, [&](int, const std::vector<int>& rows, const double* sums) {
      for (const int row : rows) {
        product.row.push_back(row);
        product.value.push_back(sums[row]);
      }
      product.endColumn();
    });
    quorvel::store(product, 0, *result.matrix_);
  });
}

void QSparseMatrix::MulMatr(const QSparseMatrix& operand, sMatrixLD& result) const {
  withinMemory([&] {
    const Columns left = quorvel::columnsOf(*matrix_), right = quorvel::columnsOf(*operand.matrix_);
    requireFit(left.columns, right.rows);
    denseProduct(left, right, result);
  });
}

void QSparseMatrix::MulMatr(const sMatrixLD& operand, sMatrixLD& result) const {
  withinMemory([&] {
    const Columns left = quorvel::columnsOf(*matrix_);
    requireFit(left.columns, operand.rows);
    sMatrixLD product(left.rows, operand.columns);  // `result` may be the operand
    for (int j = 0; j < operand.columns; ++j) {
      for (int k = 0; k < left.columns; ++k) {
        for (std::size_t e = left.first(k); e < left.end(k); ++e)
          product(left.row[e], j) += left.value[e] * operand(k, j);
      }
    }
    result = product;
  });
}

void QSparseMatrix::MulMatrT(QSparseMatrix& result) const {
  withinMemory([&] {
    const bool half = result.isSimmetric() != 0 && result.isHalf() != 0;
    const Columns upper = quorvel::upperNormal(quorvel::columnsOf(*matrix_));
    if (half) {
      quorvel::store(upper, sparseSymmetric | sparseHalf, *result.matrix_);
    } else {
      quorvel::store(bothHalves(upper), sparseSymmetric, *result.matrix_);
    }
  });
}

void QSparseMatrix::MulMatrT(sMatrixLD& result) const {
  withinMemory([&] {
    const Columns matrix = quorvel::columnsOf(*matrix_);
    denseProduct(quorvel::transposed(matrix), matrix, result);
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
