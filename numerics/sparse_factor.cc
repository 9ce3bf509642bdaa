// SPDX-License-Identifier: Apache-2.0
// L D L' of a sparse matrix, row by row of L. O(multiplications of the elimination)
//
// Row k of L solves a triangular system with the rows before it. Its pattern is what the entries of column k reach in
// the elimination tree, so that nothing is spent on zeros.
#include "numerics/sparse_factor.h"

#include <numeric>

#include "numerics/minimum_degree.h"

namespace quorvel {
namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

// The matrix with its unknowns in the given order, again the entries with row <= column. O(entries)
Columns permutedUpper(const Columns& upper, const std::vector<int>& order) {
  std::vector<int> step(order.size());
  for (std::size_t k = 0; k < order.size(); ++k) step[at(order[k])] = static_cast<int>(k);
  Columns result;
  result.rows = result.columns = upper.columns;
  result.start.assign(order.size() + 1, 0);
  const auto forEach = [&](auto&& take) {
    for (int j = 0; j < upper.columns; ++j) {
      for (std::size_t e = upper.first(j); e < upper.end(j); ++e) {
        const int a = step[at(upper.row[e])], b = step[at(j)];
        take(std::min(a, b), std::max(a, b), upper.value[e]);
      }
    }
  };
  forEach([&](int, int column, double) { ++result.start[at(column) + 1]; });
  std::partial_sum(result.start.begin(), result.start.end(), result.start.begin());
  result.row.resize(upper.row.size());
  result.value.resize(upper.row.size());
  std::vector<std::size_t> next = result.start;
  forEach([&](int row, int column, double value) {
    const std::size_t place = next[at(column)]++;
    result.row[place] = row;
    result.value[place] = value;
  });
  return result;
}

}  // namespace

// The elimination tree, and the room that each column of L needs.
void SparseFactor::analyse(const Columns& permuted) {
  const int n = permuted.columns;
  std::vector<int> reached(at(n), -1);
  std::vector<std::size_t> counts(at(n));
  parent_.assign(at(n), -1);
  for (int k = 0; k < n; ++k) {
    reached[at(k)] = k;
    for (std::size_t e = permuted.first(k); e < permuted.end(k); ++e) {
      for (int i = permuted.row[e]; reached[at(i)] != k; i = parent_[at(i)]) {
        if (parent_[at(i)] < 0) parent_[at(i)] = k;
        reached[at(i)] = k;
        ++counts[at(i)];
      }
    }
  }
  lower_ = {};
  lower_.rows = lower_.columns = n;
  lower_.start.assign(at(n) + 1, 0);
  std::partial_sum(counts.begin(), counts.end(), lower_.start.begin() + 1);
  lower_.row.resize(lower_.start.back());
  lower_.value.resize(lower_.start.back());
}

bool SparseFactor::factor(const Columns& upper, double precision) {
  order_ = minimumDegreeOrder(upper);
  const Columns permuted = permutedUpper(upper, order_);
  analyse(permuted);
  const int n = permuted.columns;
  diagonal_.assign(at(n), 0);
  std::vector<double> row(at(n));  // of L times D, zero between uses
  std::vector<int> reached(at(n), -1), path, pattern(at(n));
  std::vector<std::size_t> end(lower_.start.begin(), lower_.start.end() - 1);
  for (int k = 0; k < n; ++k) {
    reached[at(k)] = k;
    std::size_t top = at(n);  // the pattern grows from its end, each path before those found earlier
    double own = 0;
    for (std::size_t e = permuted.first(k); e < permuted.end(k); ++e) {
      if (permuted.row[e] == k) {
        own += permuted.value[e];
        continue;
      }
      row[at(permuted.row[e])] += permuted.value[e];
      path.clear();
      for (int i = permuted.row[e]; reached[at(i)] != k; i = parent_[at(i)]) {
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
      for (std::size_t e = lower_.first(i); e < end[at(i)]; ++e) row[at(lower_.row[e])] -= lower_.value[e] * scaled;
      const double entry = scaled / diagonal_[at(i)];
      pivot -= entry * scaled;
      lower_.row[end[at(i)]] = k;
      lower_.value[end[at(i)]++] = entry;
    }
    if (!(pivot > precision * own) || !(pivot > 0)) return false;
    diagonal_[at(k)] = pivot;
  }
  return true;
}

void SparseFactor::solve(std::vector<double>& x) const {
  std::vector<double> y(x.size());
  for (std::size_t k = 0; k < order_.size(); ++k) y[k] = x[at(order_[k])];
  for (int k = 0; k < lower_.columns; ++k) {
    for (std::size_t e = lower_.first(k); e < lower_.end(k); ++e) y[at(lower_.row[e])] -= lower_.value[e] * y[at(k)];
  }
  for (std::size_t k = 0; k < y.size(); ++k) y[k] /= diagonal_[k];
  for (int k = lower_.columns - 1; k >= 0; --k) {
    for (std::size_t e = lower_.first(k); e < lower_.end(k); ++e) y[at(k)] -= lower_.value[e] * y[at(lower_.row[e])];
  }
  for (std::size_t k = 0; k < order_.size(); ++k) x[at(order_[k])] = y[k];
}

}  // namespace quorvel
