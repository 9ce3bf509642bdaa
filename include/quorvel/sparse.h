// SPDX-License-Identifier: Apache-2.0
/// @file
/// Sparse matrices of the geometric adjustment, and the list of observation equations from which they are built.
///
/// A sparse matrix consists of lines, and each entry of a line has a position. Converted from a dense matrix M, lines
/// are the columns of M and positions its rows, and it is as this M that products take it. Two marks change that:
/// `setTranspone` makes a matrix stand for the transpose of what it stores; a matrix that is marked as symmetric with
/// one half stored stands for the whole. Conversions, and the copies of blocks, work on what is stored.
///
/// Lines keep their entries in the order of insertion, unsorted, and duplicates are not merged. A matrix belongs to one
/// thread at a time. An index that is out of its range stops the process with a message that names it and the size.
/// Memory that cannot be had throws `CMatErrorM` 21780, "incMemory".
#ifndef QUORVEL_SPARSE_H_
#define QUORVEL_SPARSE_H_

#include <quorvel/matrices.h>
#include <quorvel/types.h>

class sMatrixList;

namespace quorvel {
struct EquationList;
struct SparseMaker;
}  // namespace quorvel

/// An entry of a line.
struct sSparseEntry {
  double value;
  std::int32_t position;
};

/// Where the entries of a line lie in the pool.
struct sSparseLine {
  sSparseEntry* first;
  std::int32_t count;
};

/// Bits of `sSparseMatrix::flags`.
enum sparseFlag : std::uint32_t { sparseSymmetric = 1, sparseHalf = 2, sparseTransposed = 4 };

/// The storage of a sparse matrix. The fields are for reading. Copies are deep.
class QUORVEL_API sSparseMatrix {
 public:
  sSparseMatrix();
  sSparseMatrix(const sSparseMatrix& other);
  sSparseMatrix(sSparseMatrix&& other) noexcept;
  sSparseMatrix& operator=(const sSparseMatrix& other);
  sSparseMatrix& operator=(sSparseMatrix&& other) noexcept;
  ~sSparseMatrix();

  /// Makes an empty matrix without flags, of `first` lines with a capacity of `second` entries each; the matrices that
  /// it serves are square. The pool begins with max(third + 1, 4) * max(second + 1, 4) entries and grows as needed:
  /// `third` is the number of entries that most lines will have. Negative numbers throw `CMatErrorM` 21769.
  void createSparseMatrix(int first, int second, int third);
  /// Appends an entry to a line. Returns 1, or 0 and stores nothing where the line already holds its capacity. A
  /// position may lie beyond all others; it must not be negative.
  int insertCoef(int position, int line, double value);

  /// Makes the matrix anew from a dense one: entries of a magnitude of 1e-13 or less, and NaN, are left out. Lines have
  /// the capacity of all their positions; of 0 where nothing at all is kept.
  void convertFrom(const sMatrixD* dense);
  void convertFrom(const sMatrixLD* dense);
  /// Brings the dense matrix to the shape positions x lines, clears it and writes every stored entry.
  void convertTo(sMatrixD* dense) const;
  void convertTo(sMatrixLD* dense) const;
  /// Makes the matrix anew as a copy of the other with lines and positions exchanged, and with its flags.
  void transponeFrom(const sSparseMatrix& source);

  /// Checks that a product with the operand is possible, the operand's number of positions (rows) being the number of
  /// lines, and throws `CMatErrorM` 21762, "sSparseMatrixI::mult", where it is not. No product is formed.
  void mult(const sSparseMatrix& operand, sSparseMatrix& result) const;
  void mult(const sSparseMatrix& operand, sMatrixLD& result) const;
  void mult(const sMatrixLD& operand, sMatrixLD& result) const;

  sSparseEntry* pool = nullptr;
  std::size_t poolSize = 0;  ///< entries that the pool has room for
  sSparseLine* lineTable = nullptr;
  std::uint32_t flags = 0;
  std::int32_t lines = 0;
  std::int32_t lineCapacity = 0;
  std::int32_t nonZeros = 0;
  std::int32_t positions = 0;  ///< 1 more than the highest position that the matrix has room for or holds

 private:
  friend struct quorvel::SparseMaker;
  void create(int lineCount, int positionCount, std::uint64_t entries);
  void makeRoom(int line, std::int32_t more);
  void incMemory(std::size_t more, int line);
  void free();

  std::int32_t* rooms_ = nullptr;  // what each line may fill before it has to move
  std::size_t poolUsed_ = 0;
  std::int32_t firstRoom_ = 1, linesBegun_ = 0;
};

/// A sparse matrix as hosts hold it.
class QUORVEL_API QSparseMatrix {
 public:
  QSparseMatrix();
  QSparseMatrix(const QSparseMatrix& other);
  QSparseMatrix& operator=(const QSparseMatrix& other);
  ~QSparseMatrix();

  /// As the members of `sSparseMatrix`.
  void createSparseMatrix(int first, int second, int third);
  int insertCoef(int position, int line, double value);
  void convertFrom(const sMatrixD* dense);
  void convertFrom(const sMatrixLD* dense);
  void convertTo(sMatrixD* dense) const;
  void convertTo(sMatrixLD* dense) const;
  void transponeFrom(const QSparseMatrix& source);

  /// Makes the matrix anew from equations: lines are the unknowns, positions the equations. `constants` may be null, or
  /// gets the constants of the equations as a column.
  void convertFromJacobian(const sMatrixList& equations, sMatrixLD* constants);
  /// Makes the matrix anew from lines `firstX` to `lastX` and positions `firstY` to `lastY` of another, both ends
  /// included. The flags of symmetry are kept where the block lies on the diagonal; elsewhere the block of a matrix
  /// with one half stored is complete.
  void extractFrom(const QSparseMatrix& source, std::int32_t firstX, std::int32_t lastX, std::int32_t firstY,
                   std::int32_t lastY);

  /// Marks the matrix as symmetric, and, where `half` is not 0, as having one half (any one, and the diagonal) stored.
  void setSimmetric(int half);
  /// Marks the matrix as standing for the transpose of what it stores.
  void setTranspone();
  int isSimmetric() const;
  int isHalf() const;
  int isTranspone() const;
  /// The number of lines, the number of positions, and both.
  int getNX() const;
  int getNY() const;
  TPoInt<std::int32_t> Size() const;
  /// The number of stored entries.
  int count() const;
  const sSparseMatrix& storage() const { return *matrix_; }

  /// The product of this matrix, on the left, and the operand. Takes time in proportion to the multiplications that it
  /// needs. `result` is made anew, may be an operand, and has no flags; a line of a sparse result holds its entries
  /// in the order in which the products first meet them. Throws `CMatErrorM` 21762, "MulMatr", where the dimensions do
  /// not match.
  void MulMatr(const QSparseMatrix& operand, QSparseMatrix& result) const;
  void MulMatr(const QSparseMatrix& operand, sMatrixLD& result) const;
  void MulMatr(const sMatrixLD& operand, sMatrixLD& result) const;
  /// The product of the transpose of this matrix and the matrix itself, as normal equations need it. A sparse result is
  /// marked as symmetric; where it was marked as symmetric with one half stored before, it gets the half with position
  /// <= line, for half the work.
  void MulMatrT(QSparseMatrix& result) const;
  void MulMatrT(sMatrixLD& result) const;

  /// The inverse of a symmetric matrix of 3 x 3 blocks, by elimination of block after block. Blocks that no chain
  /// of entries connects are inverted apart, so that the inverse of a block-diagonal matrix takes time in proportion to
  /// the number of its blocks, and is as sparse. The caller guarantees the symmetry. Returns 0; 21762 for a matrix that
  /// is not square of an order divisible by 3; 21774 where no remaining block of the diagonal can be inverted.
  /// `result` is made anew, marked as symmetric, whole; it is left alone where 0 is not returned.
  int reverseSimmetric3x3(QSparseMatrix& result) const;

 private:
  sSparseMatrix* matrix_;
};

/// Observation equations: each says that a sum of unknowns times coefficients is a constant, as nearly as possible. All
/// indices count from 0 and stop the process where they are out of range.
class QUORVEL_API sMatrixList {
 public:
  sMatrixList();
  sMatrixList(const sMatrixList& other);
  sMatrixList& operator=(const sMatrixList& other);
  ~sMatrixList();

  /// Begins a new list in `unknowns` unknowns; `equations` is how many equations are expected.
  void createEquationList(int unknowns, int equations);
  /// Appends an equation without coefficients, of a weight that is not negative. Returns its index.
  int createEquation(double constant, double weight = 1);
  /// Adds `coefficient` to what the unknown is multiplied with in an equation. O(1) in the equation created last, else
  /// O(its terms).
  void insertMult(int equation, int unknown, double coefficient);

  /// The number of equations and of unknowns.
  int askNEqv() const;
  int askNVar() const;
  /// The largest number of unknowns in an equation, and of equations in which one unknown takes part.
  int calcMaxVarPerRow() const;
  int calcMaxVarPerY() const;

  /// The matrix of the coefficients, equations x unknowns, and the column of the constants (or null). Both carry the
  /// weights: a row is multiplied by the root of its equation's.
  void convertToJacobian(sMatrixD* jacobian, sMatrixD* constants) const;
  void convertToJacobian(sMatrixLD* jacobian, sMatrixLD* constants) const;

  /// Least squares: the unknowns that minimise the weighted sum of squares of the equations' errors, by the sparse
  /// normal equations, with an order of elimination that keeps their factor sparse and one refinement in twice the
  /// precision. `solution` has one entry for each unknown. Returns 0; or 21761 without unknowns, 21766 where the
  /// equations do not determine an unknown (its pivot is below the linear precision, relative to its own normal
  /// equation), 21780 for memory, and `solution` is left alone.
  int calcResult(double* solution) const;

  /// Writes the equations as text, one a line, such as "2*x0 - 0.5*x3 = 1.25", at most `room` bytes with the closing
  /// zero. Returns the length of the whole text.
  int printfSym(char* text, int room) const;

  const quorvel::EquationList& equations() const { return *list_; }

 private:
  quorvel::EquationList* list_;
};

extern "C" {

/// @name Products for hosts that no exception can reach
/// As the members of `QSparseMatrix`, but what these throw comes back as its code: 0 is success.
/// @{

QUORVEL_API int tryMulMatr(const QSparseMatrix& left, const QSparseMatrix& right, QSparseMatrix& result);
QUORVEL_API int tryMulMatrDense(const QSparseMatrix& left, const QSparseMatrix& right, sMatrixLD& result);
QUORVEL_API int tryMulMatrByDense(const QSparseMatrix& left, const sMatrixLD& right, sMatrixLD& result);
QUORVEL_API int tryMulMatrT(const QSparseMatrix& matrix, QSparseMatrix& result);
QUORVEL_API int tryMulMatrTDense(const QSparseMatrix& matrix, sMatrixLD& result);

/// @}
}  // extern "C"

#endif  // QUORVEL_SPARSE_H_
