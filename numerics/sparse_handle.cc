// SPDX-License-Identifier: Apache-2.0
// The handle of a sparse matrix: its marks, its copies, and the blocks that are taken out of it.
#include <optional>

#include "numerics/equation_list.h"
#include "numerics/fatal.h"
#include "numerics/sparse_lines.h"
#include "numerics/within_memory.h"
#include "quorvel/sparse.h"

QSparseMatrix::QSparseMatrix() : matrix_(new sSparseMatrix) {}

QSparseMatrix::QSparseMatrix(const QSparseMatrix& other) : matrix_(new sSparseMatrix(*other.matrix_)) {}

QSparseMatrix& QSparseMatrix::operator=(const QSparseMatrix& other) {
  *matrix_ = *other.matrix_;
  return *this;
}

QSparseMatrix::~QSparseMatrix() { delete matrix_; }

void QSparseMatrix::createSparseMatrix(int first, int second, int third) {
  matrix_->createSparseMatrix(first, second, third);
}

int QSparseMatrix::insertCoef(int position, int line, double value) {
  return matrix_->insertCoef(position, line, value);
}

void QSparseMatrix::convertFrom(const sMatrixD* dense) { matrix_->convertFrom(dense); }

void QSparseMatrix::convertFrom(const sMatrixLD* dense) { matrix_->convertFrom(dense); }

void QSparseMatrix::convertTo(sMatrixD* dense) const { matrix_->convertTo(dense); }

void QSparseMatrix::convertTo(sMatrixLD* dense) const { matrix_->convertTo(dense); }

void QSparseMatrix::transponeFrom(const QSparseMatrix& source) {
  quorvel::withinMemory([&] { matrix_->transponeFrom(*source.matrix_); });
}

void QSparseMatrix::convertFromJacobian(const sMatrixList& equations, sMatrixLD* constants) {
  const quorvel::EquationList& list = equations.equations();
  quorvel::withinMemory([&] { *matrix_ = quorvel::transposed(list.rows()); });
  if (constants != nullptr) {
    constants->resize(list.count(), 1);
    for (int e = 0; e < list.count(); ++e) (*constants)(e, 0) = list.weightedConstant(e);
  }
}

// O(entries of the source + lines of the block)
void QSparseMatrix::extractFrom(const QSparseMatrix& source, std::int32_t firstX, std::int32_t lastX,
                                std::int32_t firstY, std::int32_t lastY) {
  const bool onDiagonal = firstX == firstY && lastX == lastY;
  const std::uint32_t flags = source.matrix_->flags;
  for (const int x : {firstX, lastX}) quorvel::requireIndex("extractFrom", "line", x, source.getNX());
  for (const int y : {firstY, lastY}) quorvel::requireIndex("extractFrom", "position", y, source.getNY());
  quorvel::requireIndex("extractFrom", "first line", firstX, lastX + 1);
  quorvel::requireIndex("extractFrom", "first position", firstY, lastY + 1);

  const bool keepHalf = onDiagonal || (flags & sparseHalf) == 0;
  quorvel::withinMemory([&] {
    std::optional<sSparseMatrix> whole;
    if (!keepHalf) whole = quorvel::wholeOf(*source.matrix_);
    const sSparseMatrix& from = whole ? *whole : *source.matrix_;
    *matrix_ = quorvel::gathered(lastY - firstY + 1, lastX - firstX + 1, [&](auto&& take) {
      for (int x = firstX; x <= lastX; ++x) {
        for (const auto& [value, y] : quorvel::entriesOf(from, x)) {
          if (y >= firstY && y <= lastY) take(y - firstY, x - firstX, value);
        }
      }
    });
    const std::uint32_t symmetry = onDiagonal ? flags & (sparseSymmetric | sparseHalf) : 0;
    matrix_->flags = symmetry | (flags & sparseTransposed);
  });
}

void QSparseMatrix::setSimmetric(int half) {
  matrix_->flags = (matrix_->flags & sparseTransposed) | sparseSymmetric | (half != 0 ? sparseHalf : 0u);
}

void QSparseMatrix::setTranspone() { matrix_->flags |= sparseTransposed; }

int QSparseMatrix::isSimmetric() const { return (matrix_->flags & sparseSymmetric) != 0; }

int QSparseMatrix::isHalf() const { return (matrix_->flags & sparseHalf) != 0; }

int QSparseMatrix::isTranspone() const { return (matrix_->flags & sparseTransposed) != 0; }

int QSparseMatrix::getNX() const { return matrix_->lines; }

int QSparseMatrix::getNY() const { return matrix_->positions; }

TPoInt<std::int32_t> QSparseMatrix::Size() const { return {getNX(), getNY()}; }

int QSparseMatrix::count() const { return matrix_->nonZeros; }
