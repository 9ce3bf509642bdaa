// SPDX-License-Identifier: Apache-2.0
#include <Eigen/Dense>
#include <Eigen/Sparse>
#if defined(QUORVEL_PEER_CHOLMOD)
#include <Eigen/CholmodSupport>
#endif

#include "bench/peers/numerics.h"

namespace quorvel::bench {

using Dense = Eigen::Map<const Eigen::MatrixXd>;
using Column = Eigen::Map<const Eigen::VectorXd>;
using Sparse = Eigen::SparseMatrix<double>;

void eigenFullPivLu(const double* a, const double* b, int n, double* x) {
  Eigen::Map<Eigen::VectorXd>(x, n) = Eigen::FullPivLU<Eigen::MatrixXd>(Dense(a, n, n)).solve(Column(b, n));
}

std::vector<double> eigenLeastSquares(const double* a, const double* b, int rows, int columns) {
  const Eigen::VectorXd x = Dense(a, rows, columns).colPivHouseholderQr().solve(Column(b, rows));
  return {x.data(), x.data() + columns};
}

struct EigenSparse::Matrices {
  Sparse j, jt;
};

EigenSparse::EigenSparse(const Triplets& t) : matrices_(new Matrices) {
  std::vector<Eigen::Triplet<double>> entries;
  for (std::size_t i = 0; i < t.value.size(); ++i) entries.emplace_back(t.row[i], t.column[i], t.value[i]);
  matrices_->j.resize(t.rows, t.columns);
  matrices_->j.setFromTriplets(entries.begin(), entries.end());
  matrices_->jt = matrices_->j.transpose();
}

EigenSparse::~EigenSparse() = default;

std::size_t EigenSparse::productWithTranspose() const {
  const Sparse normal = matrices_->j.transpose() * matrices_->j;
  return static_cast<std::size_t>(normal.nonZeros());
}

std::size_t EigenSparse::productOfTwo() const {
  const Sparse normal = matrices_->jt * matrices_->j;
  return static_cast<std::size_t>(normal.nonZeros());
}

template <typename Solver>
static std::vector<double> solveWith(const Sparse& j, const std::vector<double>& b) {
  const Sparse normal = j.transpose() * j;
  Solver solver(normal);
  const Eigen::VectorXd x = solver.solve(j.transpose() * Column(b.data(), static_cast<Eigen::Index>(b.size())));
  return {x.data(), x.data() + x.size()};
}

std::vector<double> EigenSparse::solveNormal(const std::vector<double>& b) const {
  return solveWith<Eigen::SimplicialLDLT<Sparse>>(matrices_->j, b);
}

std::vector<double> EigenSparse::solveNormalCholmod(const std::vector<double>& b) const {
#if defined(QUORVEL_PEER_CHOLMOD)
  return solveWith<Eigen::CholmodDecomposition<Sparse>>(matrices_->j, b);
#else
  (void)b;
  return {};
#endif
}

}  // namespace quorvel::bench
