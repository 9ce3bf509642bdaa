// SPDX-License-Identifier: Apache-2.0
// Dense and sparse systems as other libraries solve them, in double precision.
#ifndef QUORVEL_BENCH_PEERS_NUMERICS_H_
#define QUORVEL_BENCH_PEERS_NUMERICS_H_

#include <memory>
#include <vector>

namespace quorvel::bench {

// Eigen. Matrices by columns; `rows` x `columns`, a column of b.
void eigenFullPivLu(const double* a, const double* b, int n, double* x);
std::vector<double> eigenLeastSquares(const double* a, const double* b, int rows, int columns);

struct Triplets {
  int rows = 0, columns = 0;
  std::vector<int> row, column;
  std::vector<double> value;
};
class EigenSparse {
 public:
  explicit EigenSparse(const Triplets& entries);
  ~EigenSparse();
  std::size_t productWithTranspose() const;                             // J' * J; the number of its entries
  std::size_t productOfTwo() const;                                     // the same from J' kept as a matrix of its own
  std::vector<double> solveNormal(const std::vector<double>& b) const;  // J' J x = J' b
  std::vector<double> solveNormalCholmod(
      const std::vector<double>& b) const;  // with SuiteSparse's factor; may be empty

 private:
  struct Matrices;
  std::unique_ptr<Matrices> matrices_;
};

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_PEERS_NUMERICS_H_
