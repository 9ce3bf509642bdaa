// SPDX-License-Identifier: Apache-2.0
// Work rows of the methods that look two samples far. A row is kept split into its even and its odd columns: then all
// lanes of a vector stand on the same colour, and neighbours are unaligned loads instead of shuffles.
#ifndef QUORVEL_BAYER_SPLIT_ROWS_H_
#define QUORVEL_BAYER_SPLIT_ROWS_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <hwy/aligned_allocator.h>

#include "bayer/demosaic.h"

namespace quorvel {

// half[p][i] is the value in column 2i + p, p = 0 or 1. Columns from -2 to width + 1 can be used; behind and before
// them there is room for whole vectors, whose lanes mean nothing.
struct SplitRow {
  std::int16_t* half[2];

  std::int16_t& at(std::ptrdiff_t column) const { return half[column & 1][column >> 1]; }
};

// Memory for the split rows of one frame: inside the object up to kFixedWidth columns, allocated beyond. Guard words
// stand before and behind it.
template <std::size_t kRows>
class SplitRowStore {
 public:
  explicit SplitRowStore(std::size_t width) : halfStride_(strideFor(width)) {
    if (width <= kFixedWidth) {
      memory_ = fixed_;
    } else {
      allocated_ = hwy::AllocateAligned<std::int16_t>(length(halfStride_));
      memory_ = allocated_.get();
      if (memory_ == nullptr) return;
    }
    // The rows' unused lanes are computed with, though never used: they had better be numbers from the start.
    std::fill_n(memory_, length(halfStride_), std::int16_t{0});
    std::fill_n(memory_, kGuardWords, kGuard);
    std::fill_n(memory_ + length(halfStride_) - kGuardWords, kGuardWords, kGuard);
  }
  SplitRowStore(const SplitRowStore&) = delete;
  SplitRowStore& operator=(const SplitRowStore&) = delete;

  bool allocated() const { return memory_ != nullptr; }
  bool guardsIntact() const {
    const auto isGuard = [](std::int16_t word) { return word == kGuard; };
    return std::all_of(memory_, memory_ + kGuardWords, isGuard) &&
           std::all_of(memory_ + length(halfStride_) - kGuardWords, memory_ + length(halfStride_), isGuard);
  }

  SplitRow row(std::size_t index) const {
    std::int16_t* first = memory_ + kGuardWords + 2 * index * halfStride_ + kBefore;
    return {{first, first + halfStride_}};
  }

 private:
  static constexpr std::size_t kFixedWidth = 1696;
  static constexpr std::size_t kGuardWords = 32;
  static constexpr std::size_t kBefore = 32;   // keeps the columns from 0 on aligned to 64 bytes
  static constexpr std::size_t kBehind = 160;  // the margin and the longest vector that may be stored past it
  static constexpr std::int16_t kGuard = 0x5555;

  static constexpr std::size_t strideFor(std::size_t width) {
    return (kBefore + (width + 1) / 2 + kBehind + 31) / 32 * 32;
  }
  static constexpr std::size_t length(std::size_t halfStride) { return 2 * kRows * halfStride + 2 * kGuardWords; }

  std::size_t halfStride_;
  hwy::AlignedFreeUniquePtr<std::int16_t[]> allocated_;
  std::int16_t* memory_ = nullptr;
  alignas(64) std::int16_t fixed_[length(strideFor(kFixedWidth))];
};

// A few neighbouring rows of a frame that is walked from top to bottom: row y lives in slot y mod kSlots until row
// y + kSlots takes its place. `first` is the store's row that is slot 0.
template <std::size_t kSlots>
class SplitRowRing {
 public:
  template <typename Store>
  SplitRowRing(const Store& store, std::size_t first) {
    for (std::size_t i = 0; i < kSlots; ++i) slots_[i] = store.row(first + i);
  }
  // y may be as low as -kSlots.
  const SplitRow& operator[](std::ptrdiff_t y) const {
    return slots_[static_cast<std::size_t>(y + static_cast<std::ptrdiff_t>(kSlots)) % kSlots];
  }

 private:
  std::array<SplitRow, kSlots> slots_;
};

// Splits `width` samples; the margin columns are left as they are.
void splitSamples(const std::uint16_t* samples, std::size_t width, const SplitRow& row);

// Splits row y of the frame, which may lie up to two rows outside, with its margin: what lies outside is repeated from
// inside with period 2, which keeps the colour phase. The frame has at least two rows and two columns.
void splitFrameRow(const BayerFrame& frame, std::ptrdiff_t y, const SplitRow& row);

}  // namespace quorvel

#endif  // QUORVEL_BAYER_SPLIT_ROWS_H_
