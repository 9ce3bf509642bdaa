// SPDX-License-Identifier: Apache-2.0
// L D L' of a sparse matrix, row by row of L. O(multiplications of the elimination)
//
// Row k of L solves a triangular system with the rows before it. Its pattern is what the entries of column k reach in
// the elimination tree, so that nothing is spent on zeros.
#include "numerics/sparse_factor.h"

#include <algorithm>

#include "numerics/minimum_degree.h"
#include "numerics/sparse_lines.h"

namespace quorvel {
namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

// The matrix with its unknowns in the given order, again the entries with position <= line. O(entries)
sSparseMatrix permutedUpper(const sSparseMatrix& upper, const std::vector<int>& order) {
  std::vector<int> step(order.size());
  for (std::size_t k = 0; k < order.size(); ++k) step[at(order[k])] = static_cast<int>(k);
  return gathered(upper.lines, upper.lines, [&](auto&& take) {
    for (int j = 0; j < upper.lines; ++j) {
      for (const auto& [value, i] : entriesOf(upper, j)) {
        const auto [low, high] = std::minmax(step[at(i)], step[at(j)]);
        take(low, high, value);
      }
    }
  });
}

}  // namespace

// The elimination tree, and the room that each column of L needs.
void SparseFactor::analyse(const sSparseMatrix& permuted) {
  const int n = permuted.lines;
  std::vector<int> reached(at(n), -1);
  std::vector<std::int32_t> counts(at(n));
  parent_.assign(at(n), -1);
  for (int k = 0; k < n; ++k) {
    reached[at(k)] = k;
    for (const auto& entry : entriesOf(permuted, k)) {
      for (int i = entry.position; reached[at(i)] != k; i = parent_[at(i)]) {
        if (parent_[at(i)] < 0) parent_[at(i)] = k;
        reached[at(i)] = k;
        ++counts[at(i)];
      }
    }
  }
  lower_ = SparseMaker::withRoom(n, counts);
}

bool SparseFactor::factor(const sSparseMatrix& upper, double precision) {
  order_ = minimumDegreeOrder(upper);
  const sSparseMatrix permuted = permutedUpper(upper, order_);
  analyse(permuted);
  const int n = permuted.lines;
  diagonal_.assign(at(n), 0);
  std::vector<double> row(at(n));  // of L times D, zero between uses
  std::vector<int> reached(at(n), -1), path, pattern(at(n));
  for (int k = 0; k < n; ++k) {
    reached[at(k)] = k;
    std::size_t top = at(n);  // the pattern grows from its end, each path before those found earlier
    double own = 0;
    for (const auto& [value, j] : entriesOf(permuted, k)) {
      if (j == k) {
        own += value;
        continue;
      }
      row[at(j)] += value;
      path.clear();
      for (int i = j; reached[at(i)] != k; i = parent_[at(i)]) {
        reached[at(i)] = k;
        path.push_back(i);
      }
      while (!path.empty()) {
        pattern[--top] = path.back();
        path.pop_back();
      }
    }
    double pivot = own;
    for (; top < at(n); ++top) {
      const int i = pattern[top];
      const double scaled = row[at(i)];
      row[at(i)] = 0;
      for (const auto& [value, j] : entriesOf(lower_, i)) row[at(j)] -= value * scaled;
      const double entry = scaled / diagonal_[at(i)];
      pivot -= entry * scaled;
      SparseMaker::append(lower_, i, k, entry);
    }
    if (!(pivot > precision * own) || !(pivot > 0)) return false;
    diagonal_[at(k)] = pivot;
  }
  return true;
}

void SparseFactor::solve(std::vector<double>& x) const {
  std::vector<double> y(x.size());
  for (std::size_t k = 0; k < order_.size(); ++k) y[k] = x[at(order_[k])];
  for (int k = 0; k < lower_.lines; ++k) {
    for (const auto& [value, i] : entriesOf(lower_, k)) y[at(i)] -= value * y[at(k)];
  }
  for (std::size_t k = 0; k < y.size(); ++k) y[k] /= diagonal_[k];
  for (int k = lower_.lines - 1; k >= 0; --k) {
    for (const auto& [value, i] : entriesOf(lower_, k)) y[at(k)] -= value * y[at(i)];
  }
  for (std::size_t k = 0; k < order_.size(); ++k) x[at(order_[k])] = y[k];
}

}  // namespace quorvel
