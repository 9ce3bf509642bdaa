// SPDX-License-Identifier: Apache-2.0
// What the solvers are worth: correct digits on regressions with certified solutions, on Hilbert matrices, and time and
// memory of a block adjustment against the number of photos.
#include <sys/resource.h>

#include <chrono>
#include <cstdio>

#include <quorvel/numerics.h>

#include "bench/peers/numerics.h"
#include "numerics/lapack.h"
#include "tests/data/regression_sets.h"
#include "tests/support/flight.h"
#include "tests/support/reference/wide.h"

namespace quorvel::bench {
namespace {

using Doubles = std::vector<double>;

Doubles openBlasLeastSquares(const sMatrixD& a, const Doubles& y) {
  Doubles matrix(a.data(), a.data() + a.size()), b = y, singular(y.size()), work(1 << 20);
  std::vector<int> integers(1 << 16);
  const int one = 1, length = 1 << 20;
  const double condition = -1;
  int rank, info;
  dgelsd_(&a.rows, &a.columns, &one, matrix.data(), &a.rows, b.data(), &a.rows, singular.data(), &condition, &rank,
          work.data(), &length, integers.data(), &info);
  b.resize(static_cast<std::size_t>(a.columns));
  return b;
}

void regressions() {
  std::printf("correct digits     solveLS  OpenBLAS  Eigen QR  calcResult  solveEqvD  solveEqvLD (normal equations)\n");
  setLinearPrecision(1e-18);
  for (const test::RegressionSet& set : test::regressionSets()) {
    sMatrixD a(static_cast<int>(set.rows.size()), static_cast<int>(set.certified.size()));
    sMatrixList list;
    list.createEquationList(a.columns, a.rows);
    for (int i = 0; i < a.rows; ++i) {
      list.createEquation(set.y[static_cast<std::size_t>(i)]);
      for (int j = 0; j < a.columns; ++j) {
        list.insertMult(i, j, a(i, j) = set.rows[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)]);
      }
    }
    Doubles x(set.certified.size()), sparse(x), plain(x);
    std::vector<long double> extended(x.size());
    QSparseMatrix jacobian;
    sMatrixLD normal, constants, sides;
    jacobian.convertFromJacobian(list, &constants);
    jacobian.MulMatrT(normal);
    jacobian.setTranspone();
    jacobian.MulMatr(constants, sides);
    int status;
    solveLS(&a, set.y.data(), x.data());
    list.calcResult(sparse.data());
    solveEqv(normal, sides, plain.data(), status);
    solveEqv(normal, sides, extended.data(), status);
    std::printf("%-15s %10.1f %9.1f %9.1f %11.1f %10.1f %11.1f\n", set.name.c_str(), test::digits(x, set.certified),
                test::digits(openBlasLeastSquares(a, set.y), set.certified),
                test::digits(eigenLeastSquares(a.data(), set.y.data(), a.rows, a.columns), set.certified),
                test::digits(sparse, set.certified), test::digits(plain, set.certified),
                test::digits(extended, set.certified));
  }
}

void hilbert() {
  for (int n = 4; n <= 10; n += 2) {
    sMatrixLD a(n, n), b(n, 1);
    test::WideRows wide(static_cast<std::size_t>(n));
    Doubles plain(static_cast<std::size_t>(n)), byColumns, eigen(plain), ones(plain.size(), 1);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        byColumns.push_back(static_cast<double>(a(i, j) = 1.0 / (i + j + 1)));
        wide[static_cast<std::size_t>(i)].push_back(a(i, j));
      }
      b(i, 0) = 1;
    }
    const auto expected = test::wideSolve(wide, std::vector<test::Wide>(plain.size(), 1));
    std::vector<long double> extended(plain.size());
    int status;
    solveEqv(a, b, plain.data(), status);
    solveEqv(a, b, extended.data(), status);
    eigenFullPivLu(byColumns.data(), ones.data(), n, eigen.data());
    std::printf("Hilbert %-7d %10s %9s  full LU %4.1f %11s %10.1f %11.1f\n", n, "", "", test::digits(eigen, expected),
                "", test::digits(plain, expected), test::digits(extended, expected));
  }
  restoreLinearPrecision();
}

double peakMegabytes() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

void flights() {
  std::printf("\nphotos  unknowns  equations  calcResult ms  peak of the process MB (with the equations)\n");
  for (const int photos : {50, 100, 200, 500, 1000}) {
    const test::Flight flight(photos);
    sMatrixList list;
    flight.linearise(flight.approximation.data(), list);
    Doubles x(flight.approximation.size());
    const auto start = std::chrono::steady_clock::now();
    const int code = list.calcResult(x.data());
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    std::printf("%6d %9d %10d %14.1f %8.1f%s\n", photos, flight.unknowns(), list.askNEqv(), time.count(),
                peakMegabytes(), code == 0 ? "" : " no solution");
  }
}

}  // namespace
}  // namespace quorvel::bench

int main() {
  quorvel::bench::regressions();
  quorvel::bench::hilbert();
  quorvel::bench::flights();
}
