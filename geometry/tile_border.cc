// SPDX-License-Identifier: Apache-2.0
// A tile with a border that repeats its edge samples: rows widened to both sides, then whole rows copied up and down,
// all of it fills and copies, which no kernel of ours would outrun.
#include <algorithm>
#include <cstring>

#include "quorvel/geometry.h"

namespace {

constexpr int kNoEdge = -1;

template <typename T>
int copyWithBorder(const T* src, std::size_t srcPitch, std::size_t width, std::size_t height, T* dst,
                   std::size_t dstPitch, std::size_t left, std::size_t top, std::size_t right, std::size_t bottom) {
  if (width == 0 || height == 0) return kNoEdge;
  T* const first = dst + top * dstPitch;
  for (std::size_t y = 0; y < height; ++y) {
    T* const row = first + y * dstPitch;
    // A tile that lies in its place already is left there.
    if (src != first + left) std::memcpy(row + left, src + y * srcPitch, width * sizeof(T));
    std::fill_n(row, left, row[left]);
    std::fill_n(row + left + width, right, row[left + width - 1]);
  }
  const std::size_t rowBytes = (left + width + right) * sizeof(T);
  for (std::size_t y = 0; y < top; ++y) std::memcpy(dst + y * dstPitch, first, rowBytes);
  const T* const last = first + (height - 1) * dstPitch;
  for (std::size_t y = 0; y < bottom; ++y) std::memcpy(first + (height + y) * dstPitch, last, rowBytes);
  return 0;
}

}  // namespace

int tileBorder_8_8(const std::uint8_t* src, unsigned srcPitch, unsigned width, unsigned height, std::uint8_t* dst,
                   unsigned dstPitch, unsigned left, unsigned top, unsigned right, unsigned bottom) {
  return copyWithBorder(src, srcPitch, width, height, dst, dstPitch, left, top, right, bottom);
}

int tileBorder_16_16(const std::uint16_t* src, unsigned srcPitch, unsigned width, unsigned height, std::uint16_t* dst,
                     unsigned dstPitch, unsigned left, unsigned top, unsigned right, unsigned bottom) {
  return copyWithBorder(src, srcPitch, width, height, dst, dstPitch, left, top, right, bottom);
}
