// SPDX-License-Identifier: Apache-2.0
// Pixels through value tables. A pixel is worked on as one integer, of 32 bits for bytes and of 64 for words, laid out
// like a cell: then level and residual of all three channels are masks of it, and the cell takes one addition. What is
// left is the time that the cell takes from the cache; many look-ups in flight at once hide most of it.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "colour/convert_values.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "colour/grid-inl.h"
#include "quorvel/colour.h"
#include "simd/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// Adds the 32-bit parts of pixels, whatever their integer.
template <class D>
HWY_INLINE hn::Vec<D> addParts(D d, hn::Vec<D> a, hn::Vec<D> b) {
#if HWY_TARGET == HWY_SCALAR  // a lane has no parts there
  if constexpr (sizeof(hn::TFromD<D>) == 8) {
    const auto upper = hn::Set(d, ~std::uint64_t{0xFFFFFFFF});
    return hn::Or(hn::Add(hn::And(a, upper), hn::And(b, upper)), hn::AndNot(upper, hn::Add(a, b)));
  } else {
    return hn::Add(a, b);
  }
#else
  const hn::Repartition<std::uint32_t, D> d32;
  return hn::BitCast(d, hn::Add(hn::BitCast(d32, a), hn::BitCast(d32, b)));
#endif
}

template <class G, class D>
HWY_INLINE hn::Vec<D> converted(D d, hn::Vec<D> p, const typename G::Word* HWY_RESTRICT cells) {
  const hn::RebindToSigned<D> di;
  const auto cell = hn::GatherIndex(d, cells, hn::BitCast(di, cellNumbers<G>(d, p)));
  return addParts(d, cell, hn::And(p, hn::Set(d, G::residuals())));
}

template <class G>
HWY_INLINE void convertRow(const std::uint8_t* src, std::uint8_t* dst, const void* table, std::size_t n) {
  const auto* HWY_RESTRICT cells = static_cast<const typename G::Word*>(table);
  forPixels<typename G::Word>(src, dst, n, [=](auto d, auto p) HWY_ATTR { return converted<G>(d, p, cells); });
}

void convertBytes64(const std::uint8_t* src, std::uint8_t* dst, const void* cells, std::size_t n) {
  convertRow<Bytes64>(src, dst, cells, n);
}
void convertBytes32(const std::uint8_t* src, std::uint8_t* dst, const void* cells, std::size_t n) {
  convertRow<Bytes32>(src, dst, cells, n);
}
void convertWords64(const std::uint8_t* src, std::uint8_t* dst, const void* cells, std::size_t n) {
  convertRow<Words64>(src, dst, cells, n);
}
void convertWords32(const std::uint8_t* src, std::uint8_t* dst, const void* cells, std::size_t n) {
  convertRow<Words32>(src, dst, cells, n);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(convertBytes64);
HWY_EXPORT(convertBytes32);
HWY_EXPORT(convertWords64);
HWY_EXPORT(convertWords32);

template <typename Kernel, typename Sample>
int convert(Kernel kernel, const Sample* src, Sample* dst, const void* cells, unsigned n) {
  if (n == 0) return -1;
  kernel(reinterpret_cast<const std::uint8_t*>(src), reinterpret_cast<std::uint8_t*>(dst), cells, n);
  return 0;
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int colorConv24_24(const std::uint8_t* src, std::uint8_t* dst, const std::uint32_t* cells, unsigned n) {
  return convert(HWY_DYNAMIC_DISPATCH(convertBytes64), src, dst, cells, n);
}

int colorConv5_24_24(const std::uint8_t* src, std::uint8_t* dst, const std::uint32_t* cells, unsigned n) {
  return convert(HWY_DYNAMIC_DISPATCH(convertBytes32), src, dst, cells, n);
}

int colorConv48_48(const std::uint16_t* src, std::uint16_t* dst, const std::int64_t* cells, unsigned n) {
  return convert(HWY_DYNAMIC_DISPATCH(convertWords64), src, dst, cells, n);
}

int colorConv5_48_48(const std::uint16_t* src, std::uint16_t* dst, const std::int64_t* cells, unsigned n) {
  return convert(HWY_DYNAMIC_DISPATCH(convertWords32), src, dst, cells, n);
}

#endif
