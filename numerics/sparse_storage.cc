// SPDX-License-Identifier: Apache-2.0
// The storage of sparse matrices: one pool, lines that lie in it one after the other.
//
// A line begins where the pool is used up to, and grows in place as long as it is the last, so that matrices filled
// line after line hold no gaps. A line that has another behind it moves to the end, with twice its room: insertion in
// any order costs a constant number of moves an entry and at most half of the pool.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "numerics/fatal.h"
#include "numerics/sparse_lines.h"
#include "quorvel/errors.h"
#include "quorvel/sparse.h"

namespace {

constexpr double kNegligible = 1e-13;  // of a dense matrix's entries

template <typename T>
T* array(std::uint64_t count) {
  constexpr std::uint64_t kMost = static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max()) / sizeof(T);
  T* const made = count <= kMost ? new (std::nothrow) T[static_cast<std::size_t>(count)] : nullptr;
  if (made == nullptr) throw CMatErrorM(matErrorMemory, "incMemory");
  return made;
}

}  // namespace

sSparseMatrix::sSparseMatrix() = default;

sSparseMatrix::sSparseMatrix(const sSparseMatrix& other) { *this = other; }

sSparseMatrix::sSparseMatrix(sSparseMatrix&& other) noexcept { *this = std::move(other); }

sSparseMatrix& sSparseMatrix::operator=(const sSparseMatrix& other) {
  if (this == &other) return *this;
  // Not by insertion: a line of a transpose or a block may hold more than the capacity for insertions.
  *this = quorvel::gathered(other.positions, other.lines, [&](auto&& take) {
    for (int line = 0; line < other.lines; ++line) {
      for (const auto& [value, position] : quorvel::entriesOf(other, line)) take(position, line, value);
    }
  });
  flags = other.flags;
  lineCapacity = other.lineCapacity;
  return *this;
}

sSparseMatrix& sSparseMatrix::operator=(sSparseMatrix&& other) noexcept {
  std::swap(pool, other.pool);
  std::swap(poolSize, other.poolSize);
  std::swap(lineTable, other.lineTable);
  std::swap(flags, other.flags);
  std::swap(lines, other.lines);
  std::swap(lineCapacity, other.lineCapacity);
  std::swap(nonZeros, other.nonZeros);
  std::swap(positions, other.positions);
  std::swap(rooms_, other.rooms_);
  std::swap(poolUsed_, other.poolUsed_);
  std::swap(firstRoom_, other.firstRoom_);
  std::swap(linesBegun_, other.linesBegun_);
  return *this;
}

sSparseMatrix::~sSparseMatrix() { free(); }

void sSparseMatrix::free() {
  delete[] std::exchange(pool, nullptr);
  delete[] std::exchange(lineTable, nullptr);
  delete[] std::exchange(rooms_, nullptr);
  poolSize = poolUsed_ = 0;
  flags = 0;
  lines = linesBegun_ = lineCapacity = nonZeros = positions = 0;
}

void sSparseMatrix::createSparseMatrix(int first, int second, int third) {
  if (first < 0 || second < 0 || third < 0) throw CMatErrorM(matErrorParameter, "createSparseMatrix");
  create(first, second,
         std::max<std::uint64_t>(static_cast<std::uint64_t>(third) + 1, 4) *
             std::max<std::uint64_t>(static_cast<std::uint64_t>(second) + 1, 4));
  firstRoom_ = std::clamp(third, 1, std::max(1, second));
}

void sSparseMatrix::create(int lineCount, int positionCount, std::uint64_t entries) {
  free();
  const auto tableSize = static_cast<std::size_t>(std::max(lineCount, positionCount));
  pool = array<sSparseEntry>(entries);
  poolSize = static_cast<std::size_t>(entries);
  lineTable = array<sSparseLine>(tableSize);
  rooms_ = array<std::int32_t>(tableSize);
  std::fill_n(lineTable, tableSize, sSparseLine{pool, 0});
  std::fill_n(rooms_, tableSize, 0);
  lines = lineCount;
  lineCapacity = positions = positionCount;
  firstRoom_ = 1;
}

int sSparseMatrix::insertCoef(int position, int line, double value) {
  quorvel::requireIndex("insertCoef", "line", line, lines);
  quorvel::requireIndex("insertCoef", "position", position, std::numeric_limits<int>::max());
  sSparseLine& entries = lineTable[line];
  if (entries.count >= lineCapacity) return 0;
  if (entries.count == rooms_[line]) makeRoom(line, 1);
  entries.first[entries.count++] = {value, position};
  ++nonZeros;
  positions = std::max(positions, position + 1);
  return 1;
}

// Room for `more` entries behind those of a line that is full.
void sSparseMatrix::makeRoom(int line, std::int32_t more) {
  sSparseLine& entries = lineTable[line];
  std::int32_t& room = rooms_[line];
  if (room > 0 && entries.first + room == pool + poolUsed_) {
    incMemory(static_cast<std::size_t>(more), line);
    poolUsed_ += static_cast<std::size_t>(more);
    room += more;
    return;
  }
  linesBegun_ += room == 0;
  const std::int32_t fresh = std::max(entries.count + more, room == 0 ? firstRoom_ : std::max(4, 2 * room));
  incMemory(static_cast<std::size_t>(fresh), line);
  std::copy_n(entries.first, entries.count, pool + poolUsed_);
  entries.first = pool + poolUsed_;
  poolUsed_ += static_cast<std::size_t>(fresh);
  room = fresh;
}

// Sees to it that the pool has room for `more` entries. The new size extrapolates: as many lines as have been begun
// needed the present size. Where that is more than can be had, what is needed now has to do.
void sSparseMatrix::incMemory(std::size_t more, int line) {
  if (poolUsed_ + more <= poolSize) return;
  const auto width = static_cast<std::uint64_t>(std::max(lineCapacity, 1));
  const std::uint64_t done = width * static_cast<std::uint64_t>(std::max(linesBegun_ - 1, 0)) +
                             static_cast<std::uint64_t>(lineTable[line].count);
  const std::uint64_t whole = static_cast<std::uint64_t>(lines) * width;
  // In double only to see whether the product below fits 64 bits.
  const double expected = static_cast<double>(poolSize) * static_cast<double>(whole) * 116;
  const std::uint64_t needed = static_cast<std::uint64_t>(poolUsed_) + more;
  std::uint64_t size = expected < 0x1p63 ? poolSize * whole * 116 / (100 * std::max<std::uint64_t>(done, 1)) + 32 : 0;
  size = std::max(size, needed);
  sSparseEntry* grown;
  try {
    grown = array<sSparseEntry>(size);
  } catch (const CMatErrorM&) {
    size = needed + needed / 8;
    grown = array<sSparseEntry>(size);
  }
  std::copy_n(pool, poolUsed_, grown);
  for (int i = 0; i < lines; ++i) lineTable[i].first = grown + (lineTable[i].first - pool);
  delete[] std::exchange(pool, grown);
  poolSize = static_cast<std::size_t>(size);
}

namespace {

template <typename T>
void fromDense(const TDenseMatrix<T>& dense, sSparseMatrix& matrix) {
  const auto kept = [&](int row, int column) { return std::abs(dense(row, column)) > static_cast<T>(kNegligible); };
  int most = 0;
  for (int j = 0; j < dense.columns; ++j) {
    int count = 0;
    for (int i = 0; i < dense.rows; ++i) count += kept(i, j);
    most = std::max(most, count);
  }
  matrix.createSparseMatrix(dense.columns, dense.rows, most);
  if (most == 0) matrix.lineCapacity = 0;
  for (int j = 0; j < dense.columns; ++j) {
    for (int i = 0; i < dense.rows; ++i) {
      if (kept(i, j)) matrix.insertCoef(i, j, static_cast<double>(dense(i, j)));
    }
  }
}

template <typename T>
void toDense(const sSparseMatrix& matrix, TDenseMatrix<T>& dense) {
  dense.resize(matrix.positions, matrix.lines);
  for (int line = 0; line < matrix.lines; ++line) {
    const sSparseLine& entries = matrix.lineTable[line];
    for (int e = 0; e < entries.count; ++e) dense(entries.first[e].position, line) = entries.first[e].value;
  }
}

void requireFit(int rowsOfOperand, int lines) {
  if (rowsOfOperand != lines) throw CMatErrorM(matErrorDimensionsXY, "sSparseMatrixI::mult");
}

}  // namespace

void sSparseMatrix::convertFrom(const sMatrixD* dense) { fromDense(*dense, *this); }

void sSparseMatrix::convertFrom(const sMatrixLD* dense) { fromDense(*dense, *this); }

void sSparseMatrix::convertTo(sMatrixD* dense) const { toDense(*this, *dense); }

void sSparseMatrix::convertTo(sMatrixLD* dense) const { toDense(*this, *dense); }

void sSparseMatrix::transponeFrom(const sSparseMatrix& source) {
  const std::uint32_t kept = source.flags;
  *this = quorvel::transposed(source);
  flags = kept;
}

void sSparseMatrix::mult(const sSparseMatrix& operand, sSparseMatrix&) const { requireFit(operand.positions, lines); }

void sSparseMatrix::mult(const sSparseMatrix& operand, sMatrixLD&) const { requireFit(operand.positions, lines); }

void sSparseMatrix::mult(const sMatrixLD& operand, sMatrixLD&) const { requireFit(operand.rows, lines); }
