// SPDX-License-Identifier: Apache-2.0
// Walking a row with vectors: what every kernel shares, compiled once for each target.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_SIMD_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_SIMD_LANES_INL_H_
#undef QUORVEL_SIMD_LANES_INL_H_
#else
#define QUORVEL_SIMD_LANES_INL_H_
#endif

#include <cstddef>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Calls body(d, i) so that the lanes of the calls cover 0..n-1 once and in order: whole vectors of T first, 16-byte
// vectors for what is left, single lanes for the rest. `i` is the index of the first lane, `d` the tag to work with.
// The body must neither read nor write beyond its lanes; then a row needs no padding and no second, scalar loop.
template <typename T, typename Body>
HWY_INLINE void forLanes(std::size_t n, Body&& body) {
  std::size_t i = 0;
  const hn::ScalableTag<T> full;
  const std::size_t lanes = hn::Lanes(full);
  for (; i + lanes <= n; i += lanes) body(full, i);
  if (i == n) return;
  constexpr std::size_t kBlock = 16 / sizeof(T);
  if (lanes > kBlock) {
    const hn::CappedTag<T, kBlock> block;
    for (; i + kBlock <= n; i += kBlock) body(block, i);
  }
  const hn::CappedTag<T, 1> single;
  for (; i < n; ++i) body(single, i);
}

// As forLanes, but the last vector is drawn back to end with the row, so that it covers some lanes twice. For bodies
// that may write a lane again with the same value: no lane's source may be among the lanes written.
template <typename T, typename Body>
HWY_INLINE void forLanesOverlapped(std::size_t n, Body&& body) {
  const auto cover = [n, &body](auto d) HWY_ATTR {
    const std::size_t lanes = hn::Lanes(d);
    for (std::size_t i = 0; i + lanes <= n; i += lanes) body(d, i);
    if (n % lanes != 0) body(d, n - lanes);
  };
  constexpr std::size_t kBlock = 16 / sizeof(T);
  if (n >= hn::Lanes(hn::ScalableTag<T>())) {
    cover(hn::ScalableTag<T>());
  } else if (n >= kBlock) {
    cover(hn::CappedTag<T, kBlock>());
  } else {
    const hn::CappedTag<T, 1> single;
    for (std::size_t i = 0; i < n; ++i) body(single, i);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
