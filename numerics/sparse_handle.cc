// SPDX-License-Identifier: Apache-2.0
// The handle of a sparse matrix: its marks, its copies, and the blocks that are taken out of it.
#include <utility>

#include "numerics/columns.h"
#include "numerics/equation_list.h"
#include "numerics/fatal.h"
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
  quorvel::withinMemory([&] { quorvel::store(quorvel::transposed(list.rows()), 0, *matrix_); });
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

  const bool keepHalf = onDiagonal || (flags & sparseHalf) == 0;
  quorvel::withinMemory([&] {
    const quorvel::Columns whole = keepHalf ? quorvel::Columns() : quorvel::wholeOf(*source.matrix_);
    quorvel::Columns block;
    block.begin(lastY - firstY + 1, lastX - firstX + 1);
    const auto take = [&](int position, double value) {
      if (position < firstY || position > lastY) return;
      block.row.push_back(position - firstY);
      block.value.push_back(value);
    };
    for (int x = firstX; x <= lastX; ++x) {
      if (keepHalf) {
        const sSparseLine& line = source.matrix_->lineTable[x];
        for (int e = 0; e < line.count; ++e) take(line.first[e].position, line.first[e].value);
      } else {
        for (std::size_t e = whole.first(x); e < whole.end(x); ++e) take(whole.row[e], whole.value[e]);
      }
      block.endColumn();
    }
    const std::uint32_t symmetry = onDiagonal ? flags & (sparseSymmetric | sparseHalf) : 0;
    quorvel::store(block, symmetry | (flags & sparseTransposed), *matrix_);
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
