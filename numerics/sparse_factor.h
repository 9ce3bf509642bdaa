// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_NUMERICS_SPARSE_FACTOR_H_
#define QUORVEL_NUMERICS_SPARSE_FACTOR_H_

#include <vector>

#include "quorvel/sparse.h"

namespace quorvel {

// L D L' of a sparse symmetric positive definite matrix, its unknowns brought into an order that keeps L sparse.
class SparseFactor {
 public:
  // Takes the entries with position <= line. False where a pivot is not above `precision` times its entry of the
  // diagonal.
  bool factor(const sSparseMatrix& upper, double precision);
  // Solves in place.
  void solve(std::vector<double>& x) const;

 private:
  void analyse(const sSparseMatrix& permuted);

  std::vector<int> order_;   // the unknown eliminated in each step
  std::vector<int> parent_;  // the next step that a step's column of L reaches; -1 for none
  sSparseMatrix lower_;      // L without its diagonal of ones
  std::vector<double> diagonal_;
};

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_SPARSE_FACTOR_H_
