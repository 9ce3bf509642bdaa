// SPDX-License-Identifier: Apache-2.0
// Splitting rows into even and odd columns.
#include "bayer/split_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/split_rows.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

void splitPairs(const std::uint16_t* HWY_RESTRICT samples, std::size_t pairs, std::int16_t* HWY_RESTRICT even,
                std::int16_t* HWY_RESTRICT odd) {
  forLanesOverlapped<std::uint16_t>(pairs, [=](auto d, std::size_t i) HWY_ATTR {
    const hn::RebindToSigned<decltype(d)> di;
    hn::Vec<decltype(d)> a, b;
    hn::LoadInterleaved2(d, samples + 2 * i, a, b);
    hn::StoreU(hn::BitCast(di, a), di, even + i);
    hn::StoreU(hn::BitCast(di, b), di, odd + i);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {

HWY_EXPORT(splitPairs);

void splitSamples(const std::uint16_t* samples, std::size_t width, const SplitRow& row) {
  HWY_DYNAMIC_DISPATCH(splitPairs)(samples, width / 2, row.half[0], row.half[1]);
  if (width % 2 != 0) row.half[0][width / 2] = static_cast<std::int16_t>(samples[width - 1]);
}

void splitFrameRow(const BayerFrame& frame, std::ptrdiff_t y, const SplitRow& row) {
  const auto height = static_cast<std::ptrdiff_t>(frame.height), width = static_cast<std::ptrdiff_t>(frame.width);
  const std::ptrdiff_t inside = y < 0 ? y + 2 : y >= height ? y - 2 : y;
  splitSamples(frame.row(static_cast<std::size_t>(inside)), frame.width, row);
  for (const std::ptrdiff_t x : {0, 1}) {
    row.at(x - 2) = row.at(x);
    row.at(width + x) = row.at(width + x - 2);
  }
}

}  // namespace quorvel

#endif
