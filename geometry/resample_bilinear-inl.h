// SPDX-License-Identifier: Apache-2.0
// The one kernel behind all bilinear resampling. A lane is a pixel. It holds the left and right sample of the upper row
// in the halves of a 32-bit word, those of the lower row in another, and their weights likewise; how both are combined
// is what the members of the family differ in.
//
// The samples come by one of three ways. Where lines are nearly level and of nearly the source's scale, the quick
// members, which need no wider products, take them as they lie (Course). Where x moves by at most two samples a pixel
// and the pixels of a vector lie in two rows at most, the samples of a vector are a short piece of three rows, which is
// loaded and sorted in registers. Everywhere else they are gathered. Where gathers are fast, these two ways measured
// within a sixth of each other (sorting ahead with 512-bit vectors and level lines, behind with 256-bit ones); only
// gathers depend on a processor's microcode. The weights are products of the phases, computed in the lanes.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_GEOMETRY_RESAMPLE_BILINEAR_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_GEOMETRY_RESAMPLE_BILINEAR_INL_H_
#undef QUORVEL_GEOMETRY_RESAMPLE_BILINEAR_INL_H_
#else
#define QUORVEL_GEOMETRY_RESAMPLE_BILINEAR_INL_H_
#endif

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "geometry/resample_bilinear.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

using Lanes32 = hn::ScalableTag<std::int32_t>;
using Words32 = hn::Vec<Lanes32>;

struct Rows {
  Words32 top, bottom;
};

// Operations on the halves of words, as vectors of twice the lanes. The vectors of one lane have no halves and are
// taken apart.
#if HWY_TARGET == HWY_SCALAR
template <typename Half>
using HalvesTag = hn::CappedTag<Half, 1>;
#else
template <typename Half>
using HalvesTag = hn::Repartition<Half, Lanes32>;
#endif

template <typename Half, typename Op>
HWY_INLINE Words32 onHalves(Words32 a, Words32 b, Op&& op) {
  const HalvesTag<Half> d16;
#if HWY_TARGET == HWY_SCALAR
  const auto half = [=](int shift) HWY_ATTR {
    const auto part = [=](Words32 v) HWY_ATTR { return hn::Set(d16, static_cast<Half>(hn::GetLane(v) >> shift)); };
    return static_cast<std::uint32_t>(static_cast<std::uint16_t>(hn::GetLane(op(part(a), part(b))))) << shift;
  };
  return hn::Set(Lanes32(), static_cast<std::int32_t>(half(0) | half(16)));
#else
  return hn::BitCast(Lanes32(), op(hn::BitCast(d16, a), hn::BitCast(d16, b)));
#endif
}

HWY_INLINE Words32 mulHalves(Words32 a, Words32 b) {
  return onHalves<std::uint16_t>(a, b, [](auto x, auto y) HWY_ATTR { return hn::Mul(x, y); });
}
HWY_INLINE Words32 addHalves(Words32 a, Words32 b) {
  return onHalves<std::uint16_t>(a, b, [](auto x, auto y) HWY_ATTR { return hn::Add(x, y); });
}
HWY_INLINE Words32 subHalves(Words32 a, Words32 b) {
  return onHalves<std::uint16_t>(a, b, [](auto x, auto y) HWY_ATTR { return hn::Sub(x, y); });
}
HWY_INLINE Words32 minHalves(Words32 a, Words32 b) {
  return onHalves<std::uint16_t>(a, b, [](auto x, auto y) HWY_ATTR { return hn::Min(x, y); });
}
// The two products of each word's halves, summed.
HWY_INLINE Words32 sumOfProducts(Words32 a, Words32 b) {
#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR  // where the order that Highway leaves open is that of the pairs
  const Lanes32 d;
  const HalvesTag<std::int16_t> d16;
  Words32 other = hn::Zero(d);
  return hn::ReorderWidenMulAccumulate(d, hn::BitCast(d16, a), hn::BitCast(d16, b), hn::Zero(d), other);
#else
  const auto low = [](Words32 v) HWY_ATTR { return hn::ShiftRight<16>(hn::ShiftLeft<16>(v)); };
  return hn::Add(hn::Mul(low(a), low(b)), hn::Mul(hn::ShiftRight<16>(a), hn::ShiftRight<16>(b)));
#endif
}

// A row's weights for the left and right sample, 32768 in all four, before the largest is limited: no other reaches it.
HWY_INLINE Rows phaseWeights(Words32 x, Words32 y) {
  const Lanes32 d;
  const Words32 right = hn::And(hn::ShiftRight<5>(x), hn::Set(d, 15 << 7));  // 128 * phase
  const Words32 across = hn::Add(hn::ShiftLeft<16>(right), hn::Sub(hn::Set(d, 16 << 7), right));
  const Words32 upper = hn::Sub(hn::Set(d, 16), hn::And(hn::ShiftRight<12>(y), hn::Set(d, 15)));
  const Words32 top = mulHalves(across, hn::Or(upper, hn::ShiftLeft<16>(upper)));
  return {top, subHalves(hn::ShiftLeft<4>(across), top)};  // no half overflows but by its own top bit
}

HWY_INLINE Rows signedWeights(Words32 x, Words32 y, const std::int16_t* bent) {
  const Lanes32 d;
  if (HWY_LIKELY(bent == nullptr)) {
    const Rows weights = phaseWeights(x, y);
    return {minHalves(weights.top, hn::Set(d, 0x7FFF7FFF)), weights.bottom};
  }
  const auto* pairs = reinterpret_cast<const std::int32_t*>(bent);
  const Words32 entry =
      hn::Or(hn::And(hn::ShiftRight<11>(x), hn::Set(d, 15 << 1)), hn::And(hn::ShiftRight<7>(y), hn::Set(d, 15 << 5)));
  return {hn::GatherIndex(d, pairs, entry), hn::GatherIndex(d, pairs, hn::Add(entry, hn::Set(d, 1)))};
}

// Twice the result, without the last shift.
HWY_INLINE Words32 doubled(const Rows& samples, const Rows& weights) {
  return hn::Add(hn::ShiftRight<14>(sumOfProducts(samples.top, weights.top)),
                 hn::ShiftRight<14>(sumOfProducts(samples.bottom, weights.bottom)));
}

// The members. `combine` gives a result a lane.
struct Truncated8 {
  using In = std::uint8_t;
  using Out = std::uint8_t;
  static HWY_INLINE Words32 combine(const Rows& samples, Words32 x, Words32 y, const std::int16_t* bent) {
    return hn::ShiftRight<1>(doubled(samples, signedWeights(x, y, bent)));
  }
};
struct Rounded16 {
  using In = std::uint16_t;
  using Out = std::uint16_t;
  static HWY_INLINE Words32 combine(const Rows& samples, Words32 x, Words32 y, const std::int16_t* bent) {
    const Lanes32 d;
    const Words32 twice = hn::Add(doubled(samples, signedWeights(x, y, bent)), hn::Set(d, 1));
    return hn::ShiftRight<1>(hn::Min(twice, hn::Set(d, 32767)));
  }
};
// The members that sum four parts of 16 bits, each made of a sample and its weight alone.
template <class Member>
HWY_INLINE Words32 sumOfParts(const Rows& samples, const Rows& weights) {
  const auto parts = [](Words32 sample, Words32 weight) HWY_ATTR {
    return onHalves<std::uint16_t>(sample, weight, [](auto s, auto w) HWY_ATTR { return Member::part(s, w); });
  };
  const Words32 sum = addHalves(parts(samples.top, weights.top), parts(samples.bottom, weights.bottom));
  return hn::And(hn::Add(sum, hn::ShiftRight<16>(sum)), hn::Set(Lanes32(), 0xFFFF));
}
struct SignedLine16 {
  using In = std::uint16_t;
  using Out = std::uint16_t;
  template <class V>
  static HWY_INLINE V part(V sample, V weight) {
    const hn::DFromV<V> d;
    const hn::RebindToSigned<decltype(d)> dSigned;
    const V limited = hn::Min(weight, hn::Set(d, 0x7FFF));
    return hn::BitCast(d, hn::MulHigh(hn::BitCast(dSigned, hn::Add(sample, sample)), hn::BitCast(dSigned, limited)));
  }
  static HWY_INLINE Words32 combine(const Rows& samples, Words32 x, Words32 y, const std::int16_t* bent) {
    return sumOfParts<SignedLine16>(samples, signedWeights(x, y, bent));
  }
};
struct UnsignedLine16 {
  using In = std::uint16_t;
  using Out = std::uint16_t;
  template <class V>
  static HWY_INLINE V part(V sample, V weight) {  // in all 65536 once they are doubled, the largest at most 65535
    return hn::MulHigh(sample, hn::SaturatedAdd(weight, weight));
  }
  static HWY_INLINE Words32 combine(const Rows& samples, Words32 x, Words32 y, const std::int16_t*) {
    return sumOfParts<UnsignedLine16>(samples, phaseWeights(x, y));
  }
};

HWY_INLINE void storeResults(Words32 results, std::uint8_t* dst) {
  const hn::Rebind<std::uint8_t, Lanes32> d8;
  hn::StoreU(hn::DemoteTo(d8, results), d8, dst);
}
HWY_INLINE void storeResults(Words32 results, std::uint16_t* dst) {
  const hn::Rebind<std::uint16_t, Lanes32> d16;
  hn::StoreU(hn::TruncateTo(d16, hn::BitCast(hn::RebindToUnsigned<Lanes32>(), results)), d16, dst);
}

// The pairs of samples at the given distances, in bytes, from one place in the upper and one in the lower row. Both
// places are a multiple of 8 bytes apart.
HWY_INLINE Rows gatherPairs(const std::uint16_t*, const std::uint8_t* top, const std::uint8_t* bottom, Words32 fromTop,
                            Words32 fromBottom) {
  const Lanes32 d;  // a word is the pair itself
  return {hn::GatherOffset(d, reinterpret_cast<const std::int32_t*>(top), fromTop),
          hn::GatherOffset(d, reinterpret_cast<const std::int32_t*>(bottom), fromBottom)};
}

#if HWY_ARCH_X86 && HWY_MAX_BYTES >= 32 && HWY_TARGET != HWY_SCALAR

// A word has two bytes more than a pair. They come from the aligned word in which the pair begins, or where the pair
// ends in the next one, from before it: no word reaches into a page that its pair does not touch.
HWY_INLINE Rows gatherPairs(const std::uint8_t*, const std::uint8_t* top, const std::uint8_t* bottom, Words32 fromTop,
                            Words32 fromBottom) {
  const Lanes32 d;
  const hn::Repartition<std::uint8_t, Lanes32> d8;
  const std::uintptr_t beyond = reinterpret_cast<std::uintptr_t>(top) & 3;
  const Words32 place = hn::Add(fromTop, hn::Set(d, static_cast<std::int32_t>(beyond)));
  const Words32 skipped = hn::Min(hn::And(place, hn::Set(d, 3)), hn::Set(d, 2));
  // Of each word's bytes `skipped` and the next, with a zero behind either; words are counted within 16 bytes.
  const Words32 words = hn::ShiftLeft<2>(hn::And(hn::Iota(d, 0), hn::Set(d, 3)));
  const Words32 first = hn::Add(words, skipped);
  const Words32 order =
      hn::Add(hn::Or(first, hn::ShiftLeft<16>(first)), hn::Set(d, static_cast<std::int32_t>(0x80018000)));
  const auto pairs = [=](const std::uint8_t* row, Words32 from) HWY_ATTR {
    const Words32 found = hn::GatherOffset(d, reinterpret_cast<const std::int32_t*>(row), hn::Sub(from, skipped));
    return hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(d8, found), hn::BitCast(d8, order)));
  };
  return {pairs(top, fromTop), pairs(bottom, fromBottom)};
}

#else

HWY_INLINE Rows gatherPairs(const std::uint8_t*, const std::uint8_t* top, const std::uint8_t* bottom, Words32 fromTop,
                            Words32 fromBottom) {
  const Lanes32 d;
  const auto pairs = [=](const std::uint8_t* row, Words32 from) HWY_ATTR {
    HWY_ALIGN std::int32_t lanes[hn::MaxLanes(Lanes32())];
    hn::Store(from, d, lanes);
    for (std::size_t i = 0; i < hn::Lanes(d); ++i) {
      const std::uint8_t* const at = row + lanes[i];
      lanes[i] = at[0] | at[1] << 16;
    }
    return hn::Load(d, lanes);
  };
  return {pairs(top, fromTop), pairs(bottom, fromBottom)};
}

#endif

#if HWY_TARGET != HWY_SCALAR

// Whether a piece of a row might touch a page beyond that of its first sample.
template <std::size_t kPieceBytes, typename In>
HWY_INLINE bool crossesPage(const In* piece) {
  constexpr std::size_t kPageBytes = 4096;
  return (reinterpret_cast<std::uintptr_t>(piece) & (kPageBytes - 1)) > kPageBytes - kPieceBytes;
}

// The processor foresees no path across rows, and each row of output would wait for the memory all along.
template <typename In>
HWY_INLINE void fetchAhead(const Line& line, const In* piece) {
  hwy::Prefetch(reinterpret_cast<const std::uint8_t*>(reinterpret_cast<std::uintptr_t>(piece) + line.ahead));
}

inline std::int64_t reach(std::uint32_t step) { return std::abs(std::int64_t{static_cast<std::int32_t>(step)}); }

// The columns that `count` pixels of a line touch, where they do not wrap.
struct Columns {
  int first, last;
  bool wrap;

  Columns(const Line& line, int mask, std::size_t count) {
    const std::int64_t begin = mask < 0 ? static_cast<std::int32_t>(line.at.x) : std::int64_t{line.at.x};
    const std::int64_t end = begin + static_cast<std::int64_t>(count - 1) * static_cast<std::int32_t>(line.step.x);
    wrap = end >> 16 != (wholePart((line.at + line.step * (count - 1)).x) & mask);
    first = static_cast<int>(std::min(begin, end) >> 16);
    last = static_cast<int>(std::max(begin, end) >> 16) + 1;
  }
};

// Words of the pairs of samples that begin at every second sample of a row, from its first or second one on.
HWY_INLINE Words32 everySecondPair(const std::uint16_t* row) {
  return hn::BitCast(Lanes32(), hn::LoadU(hn::Repartition<std::uint16_t, Lanes32>(), row));
}
HWY_INLINE Words32 everySecondPair(const std::uint8_t* row) {
  const hn::Repartition<std::uint16_t, Lanes32> d16;
  return hn::BitCast(Lanes32(), hn::PromoteTo(d16, hn::LoadU(hn::Rebind<std::uint8_t, decltype(d16)>(), row)));
}

// Sorts the pairs of the vector at `at` out of pieces of rows, in columns lowest..lowest + 2N; false, with nothing
// done, where the pieces might touch a page that no pair touches, or leave the columns up to `lastColumn`.
template <typename In>
HWY_INLINE bool sortPairs(const Line& line, Position at, Words32 x, Words32 y, int columnMask, int lastColumn,
                          Rows& pairs) {
  const Lanes32 d;
  constexpr int kLanes = static_cast<int>(hn::MaxLanes(Lanes32()));
  constexpr std::size_t kPieceBytes = (2 * kLanes + 1) * sizeof(In);
  const Position end = at + line.step * (kLanes - 1);
  const int lowest = std::min(wholePart(at.x) & columnMask, wholePart(end.x) & columnMask);
  const int firstRow = std::min(wholePart(at.y), wholePart(end.y));
  const int otherRows = std::max(wholePart(at.y), wholePart(end.y)) - firstRow;  // 0 or 1, but where y wraps
  const bool oneRow = otherRows == 0;
  const auto piece = [=, &line](int row) { return reinterpret_cast<const In*>(line.row(row)) + lowest; };
  const In* const first = piece(firstRow);
  const In* const second = piece(firstRow + 1);
  const In* const third = oneRow ? second : piece(firstRow + 2);
  fetchAhead(line, first);
  if (HWY_UNLIKELY((otherRows > 1) | (lowest + 2 * kLanes > lastColumn) | crossesPage<kPieceBytes>(first) |
                   crossesPage<kPieceBytes>(second) | crossesPage<kPieceBytes>(third)))
    return false;

  const Words32 column = hn::Sub(hn::And(hn::ShiftRight<16>(x), hn::Set(d, columnMask)), hn::Set(d, lowest));
  const auto word = hn::IndicesFromVec(d, hn::ShiftRight<1>(column));
  const auto odd = hn::Ne(hn::And(column, hn::Set(d, 1)), hn::Zero(d));
  const auto pick = [=](const In* row) HWY_ATTR {
    return hn::IfThenElse(odd, hn::TableLookupLanes(everySecondPair(row + 1), word),
                          hn::TableLookupLanes(everySecondPair(row), word));
  };
  const auto lower = hn::Gt(hn::ShiftRight<16>(y), hn::Set(d, firstRow));
  const Words32 middle = pick(second);
  pairs.top = hn::IfThenElse(lower, middle, pick(first));
  pairs.bottom = hn::IfThenElse(lower, pick(third), middle);
  return true;
}

// The way of members that sum parts of 16 bits. Along a line that is nearly level and of nearly the source's scale, the
// samples of a vector lie in the order of its lanes, but that some lanes are one place further than others.
// Nothing needs sorting then, and a vector has twice the pixels.
using Lanes16 = hn::ScalableTag<std::uint16_t>;
using Halves = hn::Vec<Lanes16>;

// One coordinate of a vector, relative to a course that it leaves by less than one place.
struct Course {
  Halves phase;
  hn::Mask<Lanes16> further;  // the lanes at place `first` + 1 of the course, the others are at `first`
  int first, lowest, highest;

  Course(std::uint32_t start, std::uint32_t drift) {
    const Lanes16 d;
    const auto set = [d](std::uint32_t v) HWY_ATTR { return hn::Set(d, static_cast<std::uint16_t>(v)); };
    const Halves begin = set(start), now = hn::Add(begin, hn::Mul(hn::Iota(d, 0), set(drift)));
    const bool back = static_cast<std::int32_t>(drift) < 0;
    const int at = wholePart(start), end = wholePart(start + drift * static_cast<std::uint32_t>(hn::Lanes(d) - 1));
    phase = hn::ShiftRight<12>(now);
    further = back ? hn::Not(hn::Lt(begin, now)) : hn::Lt(now, begin);
    first = back ? at - 1 : at;
    lowest = std::min(at, end);
    highest = std::max(at, end);
  }

  static HWY_INLINE bool suits(std::uint32_t drift) {
    return reach(drift) * static_cast<std::int64_t>(hn::Lanes(Lanes16()) - 1) < 1 << 16;
  }
};

template <class Member>
inline constexpr bool kInHalves = requires(Halves v) {
  Member::part(v, v);
};

// Whether the vectors of a line may be tried by levelVector.
inline bool isLevel(const Line& line, const BilinearOptions& options) {
  return options.bentWeights == nullptr && Course::suits(line.step.x - 65536) && Course::suits(line.step.y);
}

// Makes a vector of pixels; false, with nothing done, where pieces of rows might touch a page that no pixel touches, or
// leave the run's columns.
template <class Member>
HWY_INLINE bool levelVector(const Line& line, const Columns& columns, std::uint16_t* HWY_RESTRICT dst) {
  const Lanes16 d;
  constexpr std::size_t kPieceSamples = hn::MaxLanes(Lanes16()) + 2;
  const Course x(line.at.x, line.step.x - 65536), y(line.at.y, line.step.y);
  const auto piece = [&](int row) { return reinterpret_cast<const std::uint16_t*>(line.row(row)) + x.first; };
  // Where no lane needs the first or the third row, the second stands in for it.
  const std::uint16_t* const upper = piece(std::max(y.first, y.lowest));
  const std::uint16_t* const middle = piece(y.first + 1);
  const std::uint16_t* const lower = piece(std::min(y.first + 1, y.highest) + 1);
  fetchAhead(line, upper);
  constexpr std::size_t kPieceBytes = kPieceSamples * sizeof(std::uint16_t);
  if (HWY_UNLIKELY((x.first < columns.first) | (x.first + static_cast<int>(kPieceSamples) - 1 > columns.last) |
                   (y.highest - y.lowest > 1) | crossesPage<kPieceBytes>(upper) | crossesPage<kPieceBytes>(middle) |
                   crossesPage<kPieceBytes>(lower)))
    return false;

  const auto choose = [d](auto mask, const std::uint16_t* yes, const std::uint16_t* no, std::size_t k)
                          HWY_ATTR { return hn::IfThenElse(mask, hn::LoadU(d, yes + k), hn::LoadU(d, no + k)); };
  const Halves right = hn::ShiftLeft<7>(x.phase), left = hn::Sub(hn::Set(d, 16 << 7), right);  // 128 * phase
  const Halves above = hn::Sub(hn::Set(d, 16), y.phase);
  const auto column = [&](Halves across, std::size_t k) HWY_ATTR {
    const auto sample = [&](const std::uint16_t* yes, const std::uint16_t* no) HWY_ATTR {
      return hn::IfThenElse(x.further, choose(y.further, yes, no, k + 1), choose(y.further, yes, no, k));
    };
    const Halves top = hn::Mul(across, above);
    return hn::Add(Member::part(sample(middle, upper), top),
                   Member::part(sample(lower, middle), hn::Sub(hn::ShiftLeft<4>(across), top)));
  };
  hn::StoreU(hn::Add(column(left, 0), column(right, 1)), d, dst);
  return true;
}

#endif

// `count` pixels of a line whose rows can be addressed from its first pixel's in 32 bits.
template <class Member>
HWY_INLINE void bilinearRun(const Line& line, const BilinearOptions& options, std::size_t count,
                            typename Member::Out* HWY_RESTRICT dst) {
  using In = typename Member::In;
  using Out = typename Member::Out;
  const Lanes32 d;
  const std::size_t lanes = hn::Lanes(d);
  const int rowMask = line.rowMask, columnMask = options.columnMask;
  const int firstRow = wholePart(line.at.y), firstColumn = wholePart(line.at.x) & columnMask;
  const auto place = [=, &line](int row) { return line.row(row) + firstColumn * std::ptrdiff_t{sizeof(In)}; };
  const std::uint8_t* const top = place(firstRow);
  const std::uint8_t* const bottom = place(firstRow + 1);
  const auto set = [d](std::uint32_t v) HWY_ATTR { return hn::Set(d, static_cast<std::int32_t>(v)); };
  const Words32 pitch = hn::Set(d, static_cast<std::int32_t>(line.pitch));
  const Words32 pixel = hn::Iota(d, 0);
  Words32 xSteps = hn::Mul(pixel, set(line.step.x)), ySteps = hn::Mul(pixel, set(line.step.y));

#if HWY_TARGET != HWY_SCALAR
  const Columns columns(line, columnMask, count);
  const bool sorts = !columns.wrap && reach(line.step.x) <= 2 << 16 &&
                     reach(line.step.y) * static_cast<std::int64_t>(lanes - 1) <= 1 << 16;
#endif

  Position at = line.at;
  const Position step = line.step * lanes;
  for (std::size_t i = 0; i < count; i += lanes, at += step) {
    const std::size_t left = count - i;
    if (HWY_UNLIKELY(left < lanes)) {  // lanes past the end repeat the last pixel, and so touch nothing else
      const Words32 used = hn::Min(pixel, hn::Set(d, static_cast<std::int32_t>(left - 1)));
      xSteps = hn::Mul(used, set(line.step.x));
      ySteps = hn::Mul(used, set(line.step.y));
    }
    const Words32 x = hn::Add(set(at.x), xSteps), y = hn::Add(set(at.y), ySteps);
    Rows pairs{hn::Zero(Lanes32()), hn::Zero(Lanes32())};
#if HWY_TARGET != HWY_SCALAR
    const bool sorted = sorts && left >= lanes && sortPairs<In>(line, at, x, y, columnMask, columns.last, pairs);
#else
    constexpr bool sorted = false;
#endif
    if (!sorted) {
      const Words32 column = hn::And(hn::ShiftRight<16>(x), hn::Set(d, columnMask)), row = hn::ShiftRight<16>(y);
      const Words32 across = hn::ShiftLeft<sizeof(In) / 2>(hn::Sub(column, hn::Set(d, firstColumn)));
      const auto from = [=](Words32 rows, int first) HWY_ATTR {
        const Words32 down = hn::Sub(hn::And(rows, hn::Set(d, rowMask)), hn::Set(d, first & rowMask));
        return hn::Add(hn::Mul(down, pitch), across);
      };
      pairs = gatherPairs(static_cast<const In*>(nullptr), top, bottom, from(row, firstRow),
                          from(hn::Add(row, hn::Set(d, 1)), firstRow + 1));
    }
    const Words32 results = Member::combine(pairs, x, y, options.bentWeights);
    if (HWY_LIKELY(left >= lanes)) {
      storeResults(results, dst + i);
    } else {
      Out last[hn::MaxLanes(Lanes32())];
      storeResults(results, last);
      std::memcpy(dst + i, last, left * sizeof(Out));
    }
  }
}

// The vectors of a run that levelVector makes, and the pixels between them, all of them where it is not for the line.
template <class Member>
HWY_INLINE void levelRun(Line line, const BilinearOptions& options, std::size_t count,
                         typename Member::Out* HWY_RESTRICT dst) {
#if HWY_TARGET != HWY_SCALAR
  if constexpr (kInHalves<Member>) {
    const std::size_t lanes = hn::Lanes(Lanes16());
    const Columns columns(line, options.columnMask, count);
    const bool level = isLevel(line, options) && !columns.wrap;
    while (level && count >= lanes) {
      if (!levelVector<Member>(line, columns, dst)) bilinearRun<Member>(line, options, lanes, dst);
      line.at += line.step * lanes;
      dst += lanes;
      count -= lanes;
    }
    if (count == 0) return;
  }
#endif
  bilinearRun<Member>(line, options, count, dst);
}

template <class Member>
HWY_INLINE void bilinearLine(Line line, const BilinearOptions& options, std::size_t count, typename Member::Out* dst) {
  while (count > 0) {
    // Distances within a run are below 2^31: those along a row are below 2^18.
    const auto reaches = [&line](std::size_t n) {
      const RowSpan rows(line, n, 0, 1);
      if (rows.apart && line.rowMask < 0) return false;
      const std::int64_t distance = rows.apart ? line.rowMask : rows.last - 1 - rows.first;
      return distance * std::abs(std::int64_t{line.pitch}) < (std::int64_t{1} << 31) - (1 << 18);
    };
    std::size_t run = std::min(count, kBilinearRun);
    if (!reaches(run)) run = 1;
    levelRun<Member>(line, options, run, dst);
    line.at += line.step * run;
    dst += run;
    count -= run;
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
