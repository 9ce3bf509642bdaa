// SPDX-License-Identifier: Apache-2.0
// The inverse of a symmetric matrix of 3 x 3 blocks. O(entries + sum over the connected groups of 54 * blocks^3)
#include <algorithm>
#include <cmath>
#include <numeric>

#include "numerics/small_systems.h"
#include "numerics/sparse_lines.h"
#include "numerics/within_memory.h"
#include "quorvel/errors.h"
#include "quorvel/sparse.h"

namespace {

using quorvel::SparseMaker;

// Which blocks entries connect, directly or through others.
class Groups {
 public:
  explicit Groups(int blocks) : leader_(static_cast<std::size_t>(blocks)) {
    std::iota(leader_.begin(), leader_.end(), 0);
  }
  int leader(int block) {
    int& above = leader_[static_cast<std::size_t>(block)];
    return above == block ? block : above = leader(above);
  }
  // The smaller number leads, so that groups come in the order of their first blocks.
  void join(int a, int b) {
    const auto [low, high] = std::minmax({leader(a), leader(b)});
    leader_[static_cast<std::size_t>(high)] = low;
  }

 private:
  std::vector<int> leader_;
};

// A dense matrix of blocks, row-major.
class BlockMatrix {
 public:
  explicit BlockMatrix(std::size_t blocks) : blocks_(blocks), order_(3 * blocks), a_(order_ * order_) {}
  double& operator()(std::size_t row, std::size_t column) { return a_[row * order_ + column]; }

  // Inverts in place, always at the diagonal block whose inverse is smallest, which is the block's counterpart of the
  // largest pivot. False where no block is left that can be inverted.
  bool invert() {
    std::vector<char> open(blocks_, 1);
    for (std::size_t done = 0; done < blocks_; ++done) {
      std::size_t best = blocks_;
      double inverse[9] = {}, size = 0;
      for (std::size_t k = 0; k < blocks_; ++k) {
        double candidate[9];
        if (!open[k] || !invertDiagonal(k, candidate)) continue;
        double largest = 0;
        for (const double v : candidate) largest = std::max(largest, std::abs(v));
        if (best < blocks_ && !(largest < size)) continue;
        best = k;
        size = largest;
        std::copy_n(candidate, 9, inverse);
      }
      if (best == blocks_) return false;
      open[best] = 0;
      eliminate(best, inverse);
    }
    return true;
  }

 private:
  bool invertDiagonal(std::size_t k, double* inverse) {
    double block[9];
    for (std::size_t i = 0; i < 9; ++i) block[i] = (*this)(3 * k + i / 3, 3 * k + i % 3);
    return quorvel::invert3(block, inverse);
  }

  // The exchange step with a block for a pivot.
  void eliminate(std::size_t k, const double* inverse) {
    double* const pivots[3] = {&a_[3 * k * order_], &a_[(3 * k + 1) * order_], &a_[(3 * k + 2) * order_]};
    for (std::size_t j = 0; j < order_; ++j) {
      if (j / 3 == k) continue;
      const double v[3] = {pivots[0][j], pivots[1][j], pivots[2][j]};
      for (int i = 0; i < 3; ++i) {
        pivots[i][j] = inverse[3 * i] * v[0] + inverse[3 * i + 1] * v[1] + inverse[3 * i + 2] * v[2];
      }
    }
    for (std::size_t i = 0; i < order_; ++i) {
      if (i / 3 == k) continue;
      double* const row = &a_[i * order_];
      const double f[3] = {row[3 * k], row[3 * k + 1], row[3 * k + 2]};
      if (f[0] == 0 && f[1] == 0 && f[2] == 0) continue;
      for (std::size_t j = 0; j < order_; ++j) {
        if (j / 3 != k) row[j] -= f[0] * pivots[0][j] + f[1] * pivots[1][j] + f[2] * pivots[2][j];
      }
      for (std::size_t j = 0; j < 3; ++j) {
        row[3 * k + j] = -(f[0] * inverse[j] + f[1] * inverse[3 + j] + f[2] * inverse[6 + j]);
      }
    }
    for (std::size_t i = 0; i < 9; ++i) (*this)(3 * k + i / 3, 3 * k + i % 3) = inverse[i];
  }

  std::size_t blocks_, order_;
  std::vector<double> a_;
};

}  // namespace

int QSparseMatrix::reverseSimmetric3x3(QSparseMatrix& result) const {
  return quorvel::codeWithinMemory([&]() -> int {
    const sSparseMatrix whole = quorvel::wholeOf(*matrix_);
    if (whole.positions != whole.lines || whole.lines % 3 != 0) return matErrorDimensionsXY;
    const int blocks = whole.lines / 3;
    Groups groups(blocks);
    for (int j = 0; j < whole.lines; ++j) {
      for (const auto& entry : quorvel::entriesOf(whole, j)) groups.join(entry.position / 3, j / 3);
    }
    std::vector<std::vector<int>> members(static_cast<std::size_t>(blocks));
    std::vector<int> place(static_cast<std::size_t>(blocks));  // of a block in its group
    for (int b = 0; b < blocks; ++b) {
      auto& group = members[static_cast<std::size_t>(groups.leader(b))];
      place[static_cast<std::size_t>(b)] = static_cast<int>(group.size());
      group.push_back(b);
    }
    const auto withinGroup = [&](int index) {
      return static_cast<std::size_t>(3 * place[static_cast<std::size_t>(index / 3)] + index % 3);
    };

    std::vector<std::int32_t> counts(static_cast<std::size_t>(whole.lines));
    for (const std::vector<int>& group : members) {
      for (const int block : group) {
        std::fill_n(&counts[static_cast<std::size_t>(3 * block)], 3, static_cast<std::int32_t>(3 * group.size()));
      }
    }
    sSparseMatrix inverse = SparseMaker::withRoom(whole.lines, counts);
    for (const std::vector<int>& group : members) {
      if (group.empty()) continue;
      BlockMatrix dense(group.size());
      for (const int block : group) {
        for (int j = 3 * block; j < 3 * block + 3; ++j) {
          for (const auto& [value, i] : quorvel::entriesOf(whole, j)) dense(withinGroup(i), withinGroup(j)) += value;
        }
      }
      if (!dense.invert()) return matErrorZeroDeterminant;
      const auto index = [&group](std::size_t i) { return 3 * group[i / 3] + static_cast<int>(i % 3); };
      for (std::size_t j = 0; j < 3 * group.size(); ++j) {
        for (std::size_t i = 0; i < 3 * group.size(); ++i) {
          // To the bit symmetric.
          SparseMaker::append(inverse, index(j), index(i), dense(std::min(i, j), std::max(i, j)));
        }
      }
    }
    inverse.flags = sparseSymmetric;
    *result.matrix_ = std::move(inverse);
    return 0;
  });
}
