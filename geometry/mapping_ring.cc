// SPDX-License-Identifier: Apache-2.0
// Bilinear resampling out of a ring of rows.
//
// A pixel's two rows are each fetched as one 32-bit word that begins with the sample and holds its right neighbour too.
// Such a word may reach beyond the two, so rows that come near the end of a source row are made sample by sample. The
// weighted sums are those of the byte weights, taken apart: first along the two rows, then between them. They stay
// below 2^24, and the products that a table of weight by sample would hold are these very numbers.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/mapping_ring.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstring>

#include "quorvel/mapping.h"
#include "simd/lanes-inl.h"

#ifndef QUORVEL_GEOMETRY_MAPPING_RING_
#define QUORVEL_GEOMETRY_MAPPING_RING_
namespace quorvel {

// Where a row of output begins and how it goes on, 16.16 and wrapping.
struct RingWalk {
  std::uint32_t x, y, dx, dy;
};

struct RingShape {
  unsigned pitch, rows;  // rows is a power of two
  std::uint32_t yMask() const { return (rows << 16) - 1; }
};

}  // namespace quorvel
#endif

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// The 32-bit words at byte offsets from `base`, of any alignment.
template <class D, class Offsets>
HWY_INLINE hn::Vec<D> words(D d, const void* base, Offsets offsets) {
#if HWY_TARGET == HWY_SCALAR
  std::uint32_t word;
  std::memcpy(&word, static_cast<const std::uint8_t*>(base) + hn::GetLane(offsets), sizeof word);
  return hn::Set(d, word);
#else
  return hn::GatherOffset(d, static_cast<const std::uint32_t*>(base), offsets);
#endif
}

template <typename T>
HWY_INLINE void ringRow(const T* HWY_RESTRICT src, T* HWY_RESTRICT dst, std::size_t n, const RingWalk& walk,
                        const RingShape& shape) {
  const std::uint32_t rowMask = shape.rows - 1, pitchBytes = shape.pitch * sizeof(T);
  forLanes<std::uint32_t>(n, [=](auto d, std::size_t i) HWY_ATTR {
    using D = decltype(d);
    const hn::RebindToSigned<D> di;
    constexpr int kSampleBits = 8 * sizeof(T);
    const auto first = static_cast<std::uint32_t>(i);
    const auto lane = hn::Iota(d, 0);
    const auto x = hn::Add(hn::Set(d, walk.x + first * walk.dx), hn::Mul(lane, hn::Set(d, walk.dx)));
    const auto y = hn::Add(hn::Set(d, walk.y + first * walk.dy), hn::Mul(lane, hn::Set(d, walk.dy)));
    const auto column = hn::ShiftLeft<sizeof(T) / 2>(hn::ShiftRight<16>(x)), row = hn::ShiftRight<16>(y);
    const auto offset = [&](auto ofRow) HWY_ATTR {
      const auto start = hn::Mul(hn::And(ofRow, hn::Set(d, rowMask)), hn::Set(d, pitchBytes));
      return hn::BitCast(di, hn::Add(start, column));
    };
    const auto upper = words(d, src, offset(row)), lower = words(d, src, offset(hn::Add(row, hn::Set(d, 1))));

    const auto phase = [d](auto position) HWY_ATTR { return hn::And(hn::ShiftRight<12>(position), hn::Set(d, 15)); };
    const auto fx = phase(x), fy = phase(y);
    const auto cx = hn::Sub(hn::Set(d, 16), fx), cy = hn::Sub(hn::Set(d, 16), fy);
    const auto along = [&](auto word) HWY_ATTR {
      const auto mask = hn::Set(d, (1u << kSampleBits) - 1);
      return hn::Add(hn::Mul(hn::And(word, mask), cx), hn::Mul(hn::And(hn::ShiftRight<kSampleBits>(word), mask), fx));
    };
    const auto sum = hn::Add(hn::Mul(along(upper), cy), hn::Mul(along(lower), fy));
    const hn::Rebind<T, D> dt;
    hn::StoreU(hn::DemoteTo(dt, hn::BitCast(di, hn::ShiftRight<8>(sum))), dt, dst + i);
  });
}

void ringRow8(const std::uint8_t* src, std::uint8_t* dst, std::size_t n, const RingWalk& walk, const RingShape& shape) {
  ringRow(src, dst, n, walk, shape);
}

void ringRow16(const std::uint16_t* src, std::uint16_t* dst, std::size_t n, const RingWalk& walk,
               const RingShape& shape) {
  ringRow(src, dst, n, walk, shape);
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(ringRow8);
HWY_EXPORT(ringRow16);

// Whether all positions of a row lie so far inside their source rows that whole words can be read.
template <typename T>
bool readsWholeWords(std::size_t n, const RingWalk& walk, const RingShape& shape) {
  constexpr unsigned kSamples = 4 / sizeof(T);
  const auto first = static_cast<std::int64_t>(static_cast<std::int32_t>(walk.x));
  const std::int64_t step = static_cast<std::int32_t>(walk.dx);
  const std::int64_t last = first + static_cast<std::int64_t>(n - 1) * step;
  const auto inside = [&](std::int64_t x) { return x >= 0 && x >> 16 <= std::int64_t{shape.pitch} - kSamples; };
  return inside(first) && inside(last) && last < std::int64_t{1} << 31;
}

// The rule, sample by sample: the row below is found by its place in memory, so columns outside a row stay in the ring.
template <typename T>
void carefulRow(const T* src, T* dst, std::size_t n, RingWalk walk, const RingShape& shape) {
  const std::int64_t pitch = shape.pitch, size = pitch * shape.rows;
  for (std::size_t i = 0; i < n; ++i, walk.x += walk.dx, walk.y += walk.dy) {
    const std::int64_t row = (walk.y & shape.yMask()) >> 16;
    const std::int64_t at = row * pitch + (static_cast<std::int32_t>(walk.x) >> 16);
    const std::int64_t below = at + pitch < size ? at + pitch : at + pitch - size;
    const unsigned fx = walk.x >> 12 & 15, fy = walk.y >> 12 & 15;
    if (fx == 0 && fy == 0) {
      dst[i] = src[at];
    } else {
      const unsigned upper = (16 - fx) * src[at] + fx * src[at + 1];
      const unsigned lower = (16 - fx) * src[below] + fx * src[below + 1];
      dst[i] = static_cast<T>(((16 - fy) * upper + fy * lower) >> 8);
    }
  }
}

template <typename T>
void makeRow(const T* src, T* dst, std::size_t n, const RingWalk& walk, const RingShape& shape) {
  if (n == 0) return;
  if (!readsWholeWords<T>(n, walk, shape)) {
    carefulRow(src, dst, n, walk, shape);
  } else if constexpr (sizeof(T) == 1) {
    HWY_DYNAMIC_DISPATCH(ringRow8)(src, dst, n, walk, shape);
  } else {
    HWY_DYNAMIC_DISPATCH(ringRow16)(src, dst, n, walk, shape);
  }
}

// A start in 1/16 pixel as a position.
std::uint32_t position(int start) { return static_cast<std::uint32_t>(start) << 12; }

template <typename T>
int convert(const T* ring, T* dst, int x0, int y0, unsigned width, int dx, int dy, int rowDx, int rowDy, int rows) {
  constexpr RingShape kShape = {8192, 64};
  if (x0 < 0) return -1;
  if (y0 < 0) return -2;
  RingWalk walk = {position(x0), position(y0), static_cast<std::uint32_t>(dx), static_cast<std::uint32_t>(dy)};
  for (int row = 0; row < rows; ++row, dst += width) {
    makeRow(ring, dst, width, walk, kShape);
    walk.x += static_cast<std::uint32_t>(rowDx);
    walk.y += static_cast<std::uint32_t>(rowDy);
  }
  return 0;
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int convGeo8_8(const std::uint8_t* ring, std::uint8_t* dst, int x0, int y0, unsigned width, int dx, int dy, int rowDx,
               int rowDy, int rows) {
  return convert(ring, dst, x0, y0, width, dx, dy, rowDx, rowDy, rows);
}

int convGeo16_16(const std::uint16_t* ring, std::uint16_t* dst, int x0, int y0, unsigned width, int dx, int dy,
                 int rowDx, int rowDy, int, int, int rows) {
  return convert(ring, dst, x0, y0, width, dx, dy, rowDx, rowDy, rows);
}

int convGeo(const std::uint16_t* src, std::uint16_t* dst, int x0, int y0, const Xparam* walk, unsigned n) {
  const bool isRing = walk->rows != 0 && walk->rows <= 32768 && (walk->rows & (walk->rows - 1)) == 0;
  if (x0 < 0 || !isRing || std::uint64_t{walk->pitch} * walk->rows >= 1u << 30) return -1;
  if (y0 < 0) return -2;
  makeRow(src, dst, n,
          {position(x0), position(y0), static_cast<std::uint32_t>(walk->dx), static_cast<std::uint32_t>(walk->dy)},
          {walk->pitch, walk->rows});
  return 0;
}

#endif
