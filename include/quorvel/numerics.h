// SPDX-License-Identifier: Apache-2.0
/// @file
/// Dense equation solving: closed forms for two and three unknowns, LU, LAPACK's solvers, normal equations by exchange
/// steps, and iterated least squares.
///
/// Matrices are stored by columns (`quorvel/matrices.h`) unless a routine says row-major. Arguments that are only read
/// stay as they are, and a routine that fails leaves its outputs alone unless it says otherwise. Unless stated, inputs
/// are finite numbers.
///
/// Threads: LAPACK's solvers start none. Large eliminations (`CSimplexProgram`) use OpenMP's, as many as the variable
/// OMP_NUM_THREADS allows; on a machine that is busy with other work, 1 is quickest.
///
/// Bits: every result in double is the same on every processor and platform, LAPACK's in builds with LAPACK's own
/// sources (QUORVEL_LAPACK_SOURCE), as the packaged ones are. What computes in `long double` (the names with an L or
/// LD) agrees to double precision; see `sMatrixLD`. On x86 it relies on the processor's 64-bit mantissas, which a
/// 32-bit Windows host must not have switched off.
#ifndef QUORVEL_NUMERICS_H_
#define QUORVEL_NUMERICS_H_

#include <quorvel/errors.h>
#include <quorvel/matrices.h>
#include <quorvel/sparse.h>
#include <quorvel/types.h>

namespace quorvel {
template <typename T>
class Tableau;
struct SimplexAccess;
}  // namespace quorvel

/// Where an unknown stands.
struct sVarDesc {
  int index;     ///< its index in the system
  int position;  ///< the row of the solved system that tells its value; its index until something is exchanged
};

/// One descriptor for each unknown of a system. Index arguments are not tested.
class QUORVEL_API CVarDescList {
 public:
  CVarDescList();
  CVarDescList(const CVarDescList&) = delete;
  CVarDescList& operator=(const CVarDescList&) = delete;
  ~CVarDescList();

  /// `n` unknowns, each at its own index. Throws `CMatErrorM` 21780 where memory cannot be had.
  void reset(int n);
  int size() const { return size_; }
  sVarDesc& operator[](int i) { return list_[i]; }
  const sVarDesc& operator[](int i) const { return list_[i]; }

 private:
  sVarDesc* list_ = nullptr;
  int size_ = 0, room_ = 0;
};

/// A system of linear equations as a tableau on which exchange steps are made: row i says that
/// y(i) + sum of a(i, j) * x(j) is constant. A step exchanges the parts of one x and one y; after as many steps as a
/// square system has rows, the tableau is the inverse of its matrix, rows standing for the x.
///
/// It computes in the precision of the matrix that it was loaded with. From 100 rows on it uses OpenMP's threads, where
/// the library was built with OpenMP; the bits do not depend on it.
class QUORVEL_API CSimplexProgram {
 public:
  CSimplexProgram();
  CSimplexProgram(const CSimplexProgram&) = delete;
  CSimplexProgram& operator=(const CSimplexProgram&) = delete;
  ~CSimplexProgram();

  /// Takes a copy of the matrix. The variables of rows and columns are numbered from 0 each.
  /// Throws `CMatErrorM` 21780 where memory cannot be had.
  void load(const sMatrixD& matrix);
  void load(const sMatrixLD& matrix);

  /// One exchange step with the pivot in `column` of `row`. Refused with -1, and nothing changed, where an index lies
  /// outside the tableau or the magnitude of the pivot p is 1e-16 or less. Else 0, and
  /// - every other row whose entry e in the pivot column is not 0 takes up the pivot row, multiplied by -e / p, in
  ///   all other columns; a result of magnitude 1e-16 or less becomes 0;
  /// - the pivot row is multiplied by 1 / p and the pivot column by -1 / p, with the same rule for what is next to
  ///   nothing, and the pivot becomes 1 / p;
  /// - the variables of the row and of the column change places.
  int exchange(int row, int column);

  int rows() const;
  int columns() const;
  /// Entries and variables of the tableau. Indices are not tested. A column's variable was a column's at first where
  /// the number is below `columns()`, else it is that of row number - `columns()`; likewise for a row.
  long double entry(int row, int column) const;
  int rowVariable(int row) const;
  int columnVariable(int column) const;

 private:
  friend struct quorvel::SimplexAccess;
  void clear();

  quorvel::Tableau<double>* double_ = nullptr;  // one of the two, or neither
  quorvel::Tableau<long double>* extended_ = nullptr;
};

extern "C" {

/// @name Two, three and four equations
/// @{

/// Two equations, `A` row-major: a00 a01 a10 a11. Returns 0; or 1, and both unknowns 1e30, where the determinant lies
/// within -1e-11..1e-11.
QUORVEL_API int solve2x2(const double A[4], const double b[2], double x[2]);

/// Four equations in three unknowns, by least squares. A row of `A` is three coefficients and the right-hand side.
/// Returns 0; or 1 where the columns are linearly dependent in the precision of the type.
QUORVEL_API int solve4x3(const double A[4][4], double x[3]);
QUORVEL_API int solve4x3L(const long double A[4][4], long double x[3]);

/// Inverts a symmetric matrix in place by its cofactors; reads the upper triangle only and writes both. Returns 0; or
/// 1, and leaves the matrix alone, where the determinant is exactly 0.
QUORVEL_API int funcReverse3S(double A[3][3]);

/// The inverse of a row-major 3 x 3 matrix (mode 0) or of its transpose (mode 1). `Ainv` may be `A`. Returns 0; 1 where
/// the matrix is singular in the precision of the type; -1 for another mode.
QUORVEL_API int reverseD3(const double A[9], double Ainv[9], int mode);
QUORVEL_API int reverseLD3(const long double A[9], long double Ainv[9], int mode);

/// @}
/// @name LU decomposition
/// @{

/// Decomposes an n x n matrix of row pointers in place, by columns and with partial pivoting: rows are exchanged by
/// exchanging their pointers. Afterwards the upper triangle holds U and what lies below it the multipliers of L. Of
/// candidates of equal magnitude the last becomes the pivot; a column without one is skipped.
///
/// `pivots[k]` is the row that came to place k, the last is n - 1; `sign` is 1 or -1 with an even or odd number of
/// exchanges. `work` gets the condition vector: y with y(k) = -(e(k) + s(k)) / u(k, k), s(k) the sum of u(i, k) * y(i)
/// over i < k and e(k) the sign of s(k), which makes it grow (1 for 0); then back-substituted with the unit lower
/// factor, its first entry divided by the first pivot at last. With a pivot of 0 its entries are not finite.
///
/// Returns the 1-norm of the matrix as it was given. With n = 1 only `sign` is set; n = 0 sets nothing, and returns 0.
QUORVEL_API double lu_decompNL(double** rows, unsigned n, unsigned* pivots, int* sign, double* work);

/// @}
/// @name LAPACK's solvers
/// They return LAPACK's info: 0; -i where its argument i is not acceptable, as a matrix of the wrong shape; a positive
/// number where a factor is exactly singular or an iteration did not converge. Workspace is their own. Where it cannot
/// be had they return 21780. The library's own LAPACK starts no threads; one that is built against a packaged OpenBLAS
/// starts those of OpenBLAS, whose number the environment of the host sets by OPENBLAS_NUM_THREADS.
/// @{

/// Square systems by LU with partial pivoting (`dgesv`). `b` and `x` have A->rows entries; `info` gets what is
/// returned.
QUORVEL_API int solveEquationD1(const sMatrixD* A, const double* b, double* x, int* info);

/// The shortest of the vectors x of A->columns entries that minimise |A x - b|, by singular value decomposition
/// (`dgelsd`). `A` has at least as many rows as columns, else -7; `b` has A->rows entries. Elements of `A` that are no
/// finite numbers give -4, those of `b` -6.
QUORVEL_API int solveLS(const sMatrixD* A, const double* b, double* x);

/// The same with the condition set by `setRankCondValue`: singular values below it, relative to the largest, count as
/// 0. `rankDeficit` gets the number of columns less the rank. `b` has at least A.rows elements, else -7; `x` is brought
/// to the shape A.columns x 1.
QUORVEL_API int solveLS_V(const sMatrixD& A, const sMatrixD& b, sMatrixD& x, int& rankDeficit);

/// Symmetric systems, definite or not, with any number of right-hand sides (`dsysv`). Reads the upper triangle of `A`.
/// `X` is brought to the shape of `B`.
QUORVEL_API int solveSYMM_Vt(const sMatrixD& A, const sMatrixD& B, sMatrixD& X);

/// @}
/// @name Normal equations
/// Square systems by exchange steps. Unknowns are scaled by powers of 2 so that the diagonal of the matrix comes close
/// to 1. The pivot is the largest remaining entry of the diagonal, as is stable for normal matrices; where that
/// entry does not stand out in its row, as can happen only in other matrices, the largest of all that remain. One step
/// of iterative refinement with a residual in twice the precision follows.
///
/// Return 0; or 21507 (`imgErrorEquationSystem`), and the solution is left as it was, where the largest pivot that
/// remains is, relative to the largest entry of its row at first, below the linear precision, or where the correction
/// of the refinement is more than half of the solution. A normal matrix that passes at the precision of 1e-8 is solved
/// to the last digits of the type; a host that lowers it accepts errors of the square of that correction. `status` gets
/// 0 or the reason as a `matErrorCode`: no unknowns, a matrix that is not square, a right-hand side of fewer entries
/// than that, a determinant of 0, or memory.
/// @{

/// Tableau in double, refined against the matrix as it was given, to the last of its bits. `variables` and `program`
/// are the host's to look into afterwards: the inverse of the scaled matrix stays in the program.
QUORVEL_API int solveEqvD(CVarDescList& variables, CSimplexProgram& program, const sMatrixLD& normal,
                          const sMatrixLD& rightHandSide, double* solution, int& status);
/// Tableau in extended precision.
QUORVEL_API int solveEqvLD(CVarDescList& variables, CSimplexProgram& program, const sMatrixLD& normal,
                           const sMatrixLD& rightHandSide, long double* solution, int& status);
/// As `solveEqvD` and `solveEqvLD`, with working objects of their own.
QUORVEL_API int solveEqvD2(const sMatrixLD& normal, const sMatrixLD& rightHandSide, double* solution, int& status);
QUORVEL_API int solveEqvLD2(const sMatrixLD& normal, const sMatrixLD& rightHandSide, long double* solution,
                            int& status);

/// @}
/// @name Settings
/// Of the whole process; set them before solving, not while other threads solve.
/// @{

/// The threshold of relative pivots below which `solveEqv`, its kin and `sMatrixList::calcResult` see no solution.
/// 1e-8 at first.
QUORVEL_API void setLinearPrecision(double precision);
/// Sets 1e-8 again.
QUORVEL_API void restoreLinearPrecision();
/// The condition for `solveLS_V`; negative, as at first (-1), for the precision of the machine.
QUORVEL_API void setRankCondValue(double condition);

/// @}
/// @name Iterated least squares
/// @{

/// Fills `equations` anew with the equations linearised at `unknowns`: each says that the sum of its coefficients times
/// the corrections of the unknowns is its constant, which is the observation less what the unknowns predict.
typedef void (*LinearisedEquations)(void* context, const double* unknowns, sMatrixList& equations);

/// Solves non-linear equations in `count` unknowns in the sense of least squares: linearises, solves, corrects, until
/// no correction is larger than `tolerance`. `unknowns` holds the approximation and gets the solution; it is left as
/// it was where there is none. Returns the number of iterations, at most `maxIterations`.
///
/// Throws `CImgErrorText` of code 8888 with one of four texts: fewer equations than unknowns; no solution, the
/// sum of squared constants having grown in more than 5 iterations on end; the tolerance not reached; or the text of
/// a linearised system that cannot be solved.
QUORVEL_API int solveNonLinearEqv(sMatrixList& equations, double* unknowns, int count, LinearisedEquations linearise,
                                  void* context, double tolerance, int maxIterations);
/// The same for hosts that no exception can reach: fills `error` and returns -1 in place of throwing.
QUORVEL_API int trySolveNonLinearEqv(sMatrixList& equations, double* unknowns, int count, LinearisedEquations linearise,
                                     void* context, double tolerance, int maxIterations, CImgErrorText& error);

/// @}
}  // extern "C"

/// `solveEqvD2` and `solveEqvLD2`, chosen by the solution's type.
inline int solveEqv(const sMatrixLD& normal, const sMatrixLD& rightHandSide, double* solution, int& status) {
  return solveEqvD2(normal, rightHandSide, solution, status);
}
inline int solveEqv(const sMatrixLD& normal, const sMatrixLD& rightHandSide, long double* solution, int& status) {
  return solveEqvLD2(normal, rightHandSide, solution, status);
}

#endif  // QUORVEL_NUMERICS_H_
