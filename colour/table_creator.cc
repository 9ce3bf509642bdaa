// SPDX-License-Identifier: Apache-2.0
// The builder: one float matrix, tables of every class. Grids of 64 and of 32 levels share every second level.
#include <algorithm>

#include "colour/tables.h"

namespace quorvel {
namespace {

constexpr unsigned kFine = 64, kCoarse = 32;
constexpr unsigned cube(unsigned levels) { return levels * levels * levels; }

// Where the fine level lies among the coarse ones: between `low` and the next, `odd` half-steps from it. Beyond the
// last coarse level, the line through the last two goes on.
struct Between {
  unsigned low;
  float share;  // of the next level
};
Between among(unsigned fine) {
  const unsigned low = std::min(fine / 2, kCoarse - 2);
  return {low, static_cast<float>(fine) / 2 - static_cast<float>(low)};
}

// Twice as many levels along one axis: `from` holds `before` values that vary faster than the axis and `after` slower.
void refine(const float* from, float* to, unsigned before, unsigned after) {
  for (unsigned outer = 0; outer < after; ++outer) {
    for (unsigned level = 0; level < kFine; ++level, to += before) {
      const auto [low, share] = among(level);
      const float* a = from + (std::size_t{outer} * kCoarse + low) * before;
      for (unsigned i = 0; i < before; ++i) to[i] = a[i] + (a[i + before] - a[i]) * share;
    }
  }
}

// False without memory.
bool toFine(const TMatrix<float>& coarse, TMatrix<float>& fine) {
  TMatrix<float> first(3, kFine * kCoarse * kCoarse), second(3, kFine * kFine * kCoarse);
  fine.resize(3, cube(kFine));
  if (first.data() == nullptr || second.data() == nullptr || fine.data() == nullptr) return false;
  refine(coarse.data(), first.data(), 3, kCoarse * kCoarse);
  refine(first.data(), second.data(), 3 * kFine, kCoarse);
  refine(second.data(), fine.data(), 3 * kFine * kFine, 1);
  return true;
}

bool toCoarse(const TMatrix<float>& fine, TMatrix<float>& coarse) {
  coarse.resize(3, cube(kCoarse));
  if (coarse.data() == nullptr) return false;
  for (unsigned i = 0; i < cube(kCoarse); ++i) {
    const unsigned c0 = i % kCoarse, c1 = i / kCoarse % kCoarse, c2 = i / kCoarse / kCoarse;
    std::copy_n(fine.row(2 * (c0 + kFine * (c1 + kFine * c2))), 3, coarse.row(i));
  }
  return true;
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

ColorConvTableCreator::ColorConvTableCreator() = default;
ColorConvTableCreator::ColorConvTableCreator(const ColorConvTableCreator& other) = default;
ColorConvTableCreator& ColorConvTableCreator::operator=(const ColorConvTableCreator& other) = default;
ColorConvTableCreator::~ColorConvTableCreator() = default;

void ColorConvTableCreator::convertFrom(TMatrix<float>& matrix) {
  const unsigned rows = matrix.rows() >= cube(kFine) ? cube(kFine) : cube(kCoarse);
  if (!holdsRows(matrix, rows)) return;
  matrix_.resize(3, rows);
  if (matrix_.data() != nullptr) std::copy_n(matrix.data(), 3 * std::size_t{rows}, matrix_.data());
}

void ColorConvTableCreator::convertTo(TMatrix<float>&) {}

unsigned ColorConvTableCreator::rowsNeeded() const { return cube(kCoarse); }

void ColorConvTableCreator::genDefault() {
  matrix_.resize(3, cube(kFine));
  float* to = matrix_.data();
  if (to == nullptr) return;
  constexpr unsigned kStep = 256 / kFine;
  for (unsigned i = 0; i < cube(kFine); ++i) {
    for (const unsigned level : {i % kFine, i / kFine % kFine, i / kFine / kFine}) {
      *to++ = static_cast<float>(kStep * level);
    }
  }
}

template <typename Table>
int ColorConvTableCreator::fill(Table& table) const {
  constexpr int kFailed = 3;
  if (matrix_.data() == nullptr) return kFailed;
  TMatrix<float> matrix;
  if (matrix_.rows() == table.rowsNeeded()) {
    matrix = matrix_;
    if (matrix.data() == nullptr) return kFailed;
  } else if (!(matrix_.rows() == cube(kFine) ? toCoarse(matrix_, matrix) : toFine(matrix_, matrix))) {
    return kFailed;
  }
  table.convertFrom(matrix);
  return table.get() != nullptr ? 0 : kFailed;
}

int ColorConvTableCreator::create(ColorConvTable& table) const { return fill(table); }
int ColorConvTableCreator::create(ColorConvTable5& table) const { return fill(table); }
int ColorConvTableCreator::create(ColorConvTable64& table) const { return fill(table); }
int ColorConvTableCreator::create(ColorConvTable5_64& table) const { return fill(table); }
int ColorConvTableCreator::create(ColorConvTableKxB& table) const { return fill(table); }
