// SPDX-License-Identifier: Apache-2.0
#include <quorvel/numerics.h>

#include "bench/harness.h"
#include "tests/support/flight.h"

#if defined(QUORVEL_PEER_EIGEN)
#include "bench/peers/numerics.h"
#endif
#if defined(QUORVEL_PEER_OPENBLAS)
#include "numerics/lapack.h"
#endif

namespace quorvel::bench {

static void registerDense() {
  for (const int n : {100, 300, 1000}) {
    const auto order = static_cast<std::size_t>(n);
    auto a = std::make_shared<std::vector<double>>(order * order);
    auto b = std::make_shared<std::vector<double>>(order), x = std::make_shared<std::vector<double>>(order);
    auto normal = std::make_shared<sMatrixLD>(n, n);
    auto sides = std::make_shared<sMatrixLD>(n, 1);
    std::minstd_rand engine(1);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j <= i; ++j) {
        const double v = static_cast<double>(engine() % 2001) / 1000 - 1 + (i == j ? n : 0);
        (*normal)(i, j) = (*normal)(j, i) = (*a)[static_cast<std::size_t>(i) * order + static_cast<std::size_t>(j)] =
            (*a)[static_cast<std::size_t>(j) * order + static_cast<std::size_t>(i)] = v;
      }
      (*sides)(i, 0) = (*b)[static_cast<std::size_t>(i)] = i % 7;
    }
    Contest contest(std::string("solveEqvD-").append(std::to_string(n)), order * order * sizeof(double));
    contest.quorvel([=] {
      int status;
      solveEqvD2(*normal, *sides, x->data(), status);
    });
#if defined(QUORVEL_PEER_EIGEN)
    contest.peer("Eigen full pivots", [=] { eigenFullPivLu(a->data(), b->data(), n, x->data()); });
#endif
#if defined(QUORVEL_PEER_OPENBLAS)
    contest.peer("OpenBLAS dgesv", [=] {
      std::vector<double> lu = *a;
      std::vector<int> pivots(order);
      const int one = 1;
      int info;
      *x = *b;
      dgesv_(&n, &one, lu.data(), &n, pivots.data(), x->data(), &n, &info);
    });
#endif
  }
}

static void registerFlight(int photos) {
  const test::Flight flight(photos);
  auto list = std::make_shared<sMatrixList>();
  flight.linearise(flight.approximation.data(), *list);
  auto jacobian = std::make_shared<QSparseMatrix>(), transposed = std::make_shared<QSparseMatrix>();
  auto constants = std::make_shared<sMatrixLD>();
  jacobian->convertFromJacobian(*list, constants.get());
  transposed->transponeFrom(*jacobian);
  const std::size_t bytes = static_cast<std::size_t>(jacobian->count()) * sizeof(sSparseEntry);
  const std::string suffix = std::string("-").append(std::to_string(photos));
  auto x = std::make_shared<std::vector<double>>(static_cast<std::size_t>(flight.unknowns()));

  Contest half("MulMatrT-half" + suffix, bytes), whole("MulMatrT" + suffix, bytes), two("MulMatr" + suffix, bytes);
  Contest solve("calcResult" + suffix, bytes);
  half.quorvel([=] {
    QSparseMatrix result;
    result.setSimmetric(1);
    jacobian->MulMatrT(result);
  });
  whole.quorvel([=] {
    QSparseMatrix result;
    jacobian->MulMatrT(result);
  });
  two.quorvel([=] {
    QSparseMatrix result;
    transposed->MulMatr(*jacobian, result);
  });
  solve.quorvel([=] { list->calcResult(x->data()); });
#if defined(QUORVEL_PEER_EIGEN)
  Triplets t;
  t.rows = jacobian->getNY();
  t.columns = jacobian->getNX();
  for (int line = 0; line < t.columns; ++line) {
    const sSparseLine& entries = jacobian->storage().lineTable[line];
    for (int e = 0; e < entries.count; ++e) {
      t.row.push_back(entries.first[e].position);
      t.column.push_back(line);
      t.value.push_back(entries.first[e].value);
    }
  }
  auto eigen = std::make_shared<EigenSparse>(t);
  std::vector<double> b;
  for (int i = 0; i < t.rows; ++i) b.push_back(static_cast<double>((*constants)(i, 0)));
  half.peer("Eigen, whole", [=] { eigen->productWithTranspose(); });
  whole.peer("Eigen", [=] { eigen->productWithTranspose(); });
  two.peer("Eigen", [=] { eigen->productOfTwo(); });
  solve.peer("Eigen LDLT", [=] { eigen->solveNormal(b); });
#if defined(QUORVEL_PEER_CHOLMOD)
  solve.peer("SuiteSparse", [=] { eigen->solveNormalCholmod(b); });
#endif
#endif
}

void registerNumericsContests() {
  registerDense();
  for (const int photos : {50, 200, 1000}) registerFlight(photos);
}

}  // namespace quorvel::bench
