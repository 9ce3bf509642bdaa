// SPDX-License-Identifier: Apache-2.0
// Resampling with a weight for every sample of a neighbourhood: surface fits, sixteen taps, and cubic convolution in
// columns and in two stages. Pixels go in runs through two stages: the first collects each pixel's samples, widened to
// signed words, in a record; the second weighs the records of four pixels at a time. Only the first knows about rows
// and rings, only the second about weights.
//
// The two sixteen-tap methods read alike here, rows of four samples at a time, and are one kernel. The two-stage method
// makes four results of columns, which keep bits beyond the sample's own (six for 8-bit samples, one for 16-bit ones,
// as many as fit), and then one of the row; its weights are exact in 1/16384, and both stages round to nearest.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geometry/resample_taps.cc"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstring>
#include <iterator>

#include "geometry/resample_shapes.h"
#include "geometry/resample_taps.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

inline constexpr std::size_t kPixels = 4;           // that the second stage takes at a time
inline constexpr std::size_t kPixelsPerFetch = 16;  // less than a line of samples where x moves by one or two

#if HWY_TARGET != HWY_SCALAR
using Sums = hn::FixedTag<std::int32_t, kPixels>;
using SampleWords = hn::FixedTag<std::int16_t, 8>;

// Two rows of four samples, widened.
HWY_INLINE hn::Vec<SampleWords> twoRows(const std::uint8_t* a, const std::uint8_t* b) {
  std::uint32_t low, high;
  std::memcpy(&low, a, sizeof low);
  std::memcpy(&high, b, sizeof high);
  const hn::FixedTag<std::uint64_t, 1> d64;
  const hn::Rebind<std::uint8_t, SampleWords> d8;
  return hn::PromoteTo(SampleWords(), hn::BitCast(d8, hn::Set(d64, std::uint64_t{high} << 32 | low)));
}
HWY_INLINE hn::Vec<SampleWords> twoRows(const std::uint16_t* a, const std::uint16_t* b) {
  const hn::Half<SampleWords> half;
  const auto row = [half](const std::uint16_t* p)
                       HWY_ATTR { return hn::LoadU(half, reinterpret_cast<const std::int16_t*>(p)); };
  return hn::Combine(SampleWords(), row(b), row(a));
}
#endif

// Samples kAt and kAt + 1 of a neighbourhood in one store: separate ones, or longer ones, some compilers put together
// in memory and then wait for them. The order of the bytes is little-endian everywhere.
template <class Shape, std::size_t kAt, typename RowOf>
HWY_INLINE void storeTwo(std::ptrdiff_t column, const RowOf& rowOf, std::int16_t* record) {
  constexpr std::size_t kSamples = std::size(Shape::kPlaces);
  std::uint32_t words = 0;
  if constexpr (kAt < kSamples) words = rowOf(Shape::kPlaces[kAt].row)[column + Shape::kPlaces[kAt].column];
  if constexpr (kAt + 1 < kSamples) {
    words |= std::uint32_t{rowOf(Shape::kPlaces[kAt + 1].row)[column + Shape::kPlaces[kAt + 1].column]} << 16;
  }
  std::memcpy(record + kAt, &words, sizeof words);
}

template <class Shape, std::size_t kAt, typename RowOf>
HWY_INLINE void storeFour(std::ptrdiff_t column, const RowOf& rowOf, std::int16_t* record) {
  storeTwo<Shape, kAt>(column, rowOf, record);
  storeTwo<Shape, kAt + 2>(column, rowOf, record);
}

// rowOf(k) is row k of the neighbourhood.
template <class Shape, typename RowOf>
HWY_INLINE void collect(std::ptrdiff_t column, const RowOf& rowOf, std::int16_t* record) {
  if constexpr (Shape::kWords == 8) {
    storeFour<Shape, 0>(column, rowOf, record);
    storeFour<Shape, 4>(column, rowOf, record);
  } else {
#if HWY_TARGET == HWY_SCALAR
    storeFour<Shape, 0>(column, rowOf, record);
    storeFour<Shape, 4>(column, rowOf, record);
    storeFour<Shape, 8>(column, rowOf, record);
    storeFour<Shape, 12>(column, rowOf, record);
#else
    const SampleWords d;
    column += Shape::kPlaces[0].column;
    hn::Store(twoRows(rowOf(0) + column, rowOf(1) + column), d, record);
    hn::Store(twoRows(rowOf(2) + column, rowOf(3) + column), d, record + 8);
#endif
  }
}

// The first stage: `count` pixels from the line's first on.
template <class Shape, typename In, bool kApart>
HWY_INLINE void collectRun(const Line& line, std::size_t count, Records<Shape::kWords>& records) {
  Position at = line.at;
  for (std::size_t i = 0; i < count; ++i, at += line.step) {
    const int firstRow = wholePart(at.y) - Shape::kAbove;
    const std::uint8_t* const first = line.row(firstRow);
    const std::uint8_t* rows[Shape::kRows];
    for (int k = 0; k < Shape::kRows; ++k) rows[k] = kApart ? line.row(firstRow + k) : first + k * line.pitch;
    const auto rowOf = [&rows](int k) HWY_ATTR { return reinterpret_cast<const In*>(rows[k]); };
    if (i % kPixelsPerFetch == 0) {
      hwy::Prefetch(reinterpret_cast<const std::uint8_t*>(
          reinterpret_cast<std::uintptr_t>(rowOf(Shape::kRows - 1) + wholePart(at.x)) + line.ahead));
    }
    collect<Shape>(wholePart(at.x), rowOf, records.words[i]);
    records.phases[i] = static_cast<std::uint8_t>((at.y >> 8 & 0xF0) | (at.x >> 12 & 0x0F));
  }
}

#if HWY_TARGET == HWY_SCALAR

template <int kWords>
HWY_INLINE std::int32_t sumOfTaps(const std::int16_t* record, const std::int16_t* weights) {
  std::int32_t sum = 0;
  for (int k = 0; k < kWords; ++k) sum += record[k] * weights[k];
  return sum;
}

HWY_INLINE std::int32_t rounded(std::int32_t sum, std::int32_t half) { return sum + half; }

template <int kSpare>
HWY_INLINE std::int32_t sumOfStages(const std::int16_t* record, std::size_t phases) {
  std::int32_t sum = 0;
  for (int column = 0; column < 4; ++column) {
    std::int32_t result = 1 << (13 - kSpare);
    for (int row = 0; row < 4; ++row) result += record[4 * row + column] * kCubicWeights.column[phases][row];
    sum += (result >> (14 - kSpare)) * kCubicWeights.row[phases % kPhases][column];
  }
  return sum;
}

// Stores sumOf(i) of every pixel, shifted down and limited.
template <int kShift, typename Out, typename SumOf>
HWY_INLINE void storeSums(std::size_t count, Out* dst, SumOf&& sumOf) {
  for (std::size_t i = 0; i < count; ++i) {
    constexpr std::int32_t kLimit = sizeof(Out) == 1 ? 255 : 32767;
    dst[i] = static_cast<Out>(std::clamp<std::int32_t>(sumOf(i) >> kShift, 0, kLimit));
  }
}

#else

// Four terms in any order, whose sum is the pixel's.
template <int kWords>
HWY_INLINE hn::Vec<Sums> sumOfTaps(const std::int16_t* record, const std::int16_t* weights) {
  const SampleWords d;
  const Sums sums;
  auto other = hn::Zero(sums);
  auto sum = hn::ReorderWidenMulAccumulate(sums, hn::Load(d, record), hn::Load(d, weights), other, other);
  if constexpr (kWords == 16) {
    sum = hn::ReorderWidenMulAccumulate(sums, hn::Load(d, record + 8), hn::Load(d, weights + 8), sum, other);
  }
  return hn::Add(sum, other);
}

HWY_INLINE hn::Vec<Sums> rounded(hn::Vec<Sums> terms, std::int32_t half) {
  return hn::Add(terms, hn::Set(Sums(), half / 4));
}

// The four columns' results in 1/2^kSpare, times the weights of the row.
template <int kSpare>
HWY_INLINE hn::Vec<Sums> sumOfStages(const std::int16_t* record, std::size_t phases) {
  const Sums d;
  auto columns = hn::Set(d, 1 << (13 - kSpare));
  for (std::size_t row = 0; row < 4; ++row) {
    const auto samples = hn::PromoteTo(d, hn::Load(hn::Rebind<std::int16_t, Sums>(), record + 4 * row));
    columns = hn::Add(columns, hn::Mul(samples, hn::Set(d, kCubicWeights.column[phases][row])));
  }
  return hn::Mul(hn::ShiftRight<14 - kSpare>(columns), hn::Load(d, kCubicWeights.row[phases % kPhases]));
}

HWY_INLINE void storeLimited(hn::Vec<Sums> v, std::uint8_t* dst) {
  const hn::Rebind<std::uint8_t, Sums> d8;
  hn::StoreU(hn::DemoteTo(d8, v), d8, dst);
}
HWY_INLINE void storeLimited(hn::Vec<Sums> v, std::uint16_t* dst) {
  const hn::Rebind<std::int16_t, Sums> d16;
  hn::StoreU(hn::Max(hn::DemoteTo(d16, v), hn::Zero(d16)), d16, reinterpret_cast<std::int16_t*>(dst));
}

template <int kShift, typename Out, typename SumOf>
HWY_INLINE void storeSums(std::size_t count, Out* dst, SumOf&& sumOf) {
  const Sums d;
  for (std::size_t i = 0; i < count; i += kPixels) {
    const auto a = sumOf(i), b = sumOf(i + 1), e = sumOf(i + 2), f = sumOf(i + 3);
    const auto ab = hn::Add(hn::InterleaveLower(d, a, b), hn::InterleaveUpper(d, a, b));
    const auto ef = hn::Add(hn::InterleaveLower(d, e, f), hn::InterleaveUpper(d, e, f));
    const auto all = hn::Add(hn::ConcatLowerLower(d, ef, ab), hn::ConcatUpperUpper(d, ef, ab));
    const auto shifted = hn::ShiftRight<kShift>(all);
    if (i + kPixels <= count) {
      storeLimited(shifted, dst + i);
    } else {
      Out last[kPixels];
      storeLimited(shifted, last);
      std::memcpy(dst + i, last, (count - i) * sizeof(Out));
    }
  }
}

#endif

// Both stages for all pixels of a line. combine(records, count, dst) is the second one.
template <class Shape, typename Sample, typename Combine>
HWY_INLINE void tapLine(Line line, std::size_t count, Sample* dst, Combine&& combine) {
  Records<Shape::kWords> records;
  while (count > 0) {
    const std::size_t run = std::min(count, kTapRun);
    if (RowSpan(line, run, Shape::kAbove, Shape::kRows - 1 - Shape::kAbove).apart) {
      collectRun<Shape, Sample, true>(line, run, records);
    } else {
      collectRun<Shape, Sample, false>(line, run, records);
    }
    for (std::size_t i = run; i % kPixels != 0; ++i) {  // pixels made with the last ones and not stored
      std::memset(records.words[i], 0, sizeof records.words[i]);
      records.phases[i] = 0;
    }
    combine(records, run, dst);
    line.at += line.step * run;
    dst += run;
    count -= run;
  }
}

// kWords weights for each pair of phases.
template <class Shape, int kShift, bool kRounds, typename Sample>
HWY_INLINE void weighLine(const Line& line, std::size_t count, Sample* dst,
                          const std::int16_t (*weights)[Shape::kWords]) {
  tapLine<Shape>(line, count, dst, [=](const auto& records, std::size_t run, Sample* out) HWY_ATTR {
    storeSums<kShift>(run, out, [&](std::size_t i) HWY_ATTR {
      const auto sum = sumOfTaps<Shape::kWords>(records.words[i], weights[records.phases[i]]);
      return rounded(sum, kRounds ? 1 << (kShift - 1) : 0);
    });
  });
}

template <typename Sample>
HWY_INLINE void bilinearTaps(const Line& line, std::size_t count, Sample* dst) {
  weighLine<BilinearShape, 9, false>(line, count, dst, surfaceTaps().bilinear);
}
template <typename Sample>
HWY_INLINE void sixTaps(const Line& line, std::size_t count, Sample* dst) {
  weighLine<SixShape, 9, false>(line, count, dst, surfaceTaps().six);
}
template <typename Sample>
HWY_INLINE void eightTaps(const Line& line, std::size_t count, Sample* dst) {
  weighLine<EightShape, 9, false>(line, count, dst, surfaceTaps().eight);
}
template <typename Sample>
HWY_INLINE void sixteenTaps(const Line& line, std::size_t count, Sample* dst) {
  weighLine<SixteenShape, 14, false>(line, count, dst, cubicTaps());
}
template <typename Sample>
HWY_INLINE void columnTaps(const Line& line, std::size_t count, Sample* dst) {
  weighLine<ColumnShape, 14, true>(line, count, dst, kCubicWeights.column);
}
template <typename Sample>
HWY_INLINE void twoStageTaps(const Line& line, std::size_t count, Sample* dst) {
  constexpr int kSpare = sizeof(Sample) == 1 ? 6 : 1, kShift = 14 + kSpare;
  tapLine<SixteenShape>(line, count, dst, [=](const auto& records, std::size_t run, Sample* out) HWY_ATTR {
    storeSums<kShift>(run, out, [&](std::size_t i) HWY_ATTR {
      return rounded(sumOfStages<kSpare>(records.words[i], records.phases[i]), 1 << (kShift - 1));
    });
  });
}

#define QUORVEL_TAPS(kernel)                                                                           \
  void kernel##8(const Line& line, std::size_t count, std::uint8_t* dst) { kernel(line, count, dst); } \
  void kernel##16(const Line& line, std::size_t count, std::uint16_t* dst) { kernel(line, count, dst); }
QUORVEL_TAPS(bilinearTaps)
QUORVEL_TAPS(sixTaps)
QUORVEL_TAPS(eightTaps)
QUORVEL_TAPS(sixteenTaps)
QUORVEL_TAPS(columnTaps)
QUORVEL_TAPS(twoStageTaps)
#undef QUORVEL_TAPS

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {

#define QUORVEL_TAPS(kernel) \
  HWY_EXPORT(kernel##8);     \
  HWY_EXPORT(kernel##16);
QUORVEL_TAPS(bilinearTaps)
QUORVEL_TAPS(sixTaps)
QUORVEL_TAPS(eightTaps)
QUORVEL_TAPS(sixteenTaps)
QUORVEL_TAPS(columnTaps)
QUORVEL_TAPS(twoStageTaps)
#undef QUORVEL_TAPS

// The display names are one step off: method 1 fits six samples, method 2 eight.
#define QUORVEL_TAP_LINE(bits)                             \
  TapLine<std::uint##bits##_t> tapLine##bits(int method) { \
    switch (method) {                                      \
      case 0:                                              \
        return HWY_DYNAMIC_DISPATCH(bilinearTaps##bits);   \
      case 1:                                              \
        return HWY_DYNAMIC_DISPATCH(sixTaps##bits);        \
      case 2:                                              \
        return HWY_DYNAMIC_DISPATCH(eightTaps##bits);      \
      case 3:                                              \
      case 4:                                              \
        return HWY_DYNAMIC_DISPATCH(sixteenTaps##bits);    \
      case 6:                                              \
        return HWY_DYNAMIC_DISPATCH(columnTaps##bits);     \
      case 7:                                              \
        return HWY_DYNAMIC_DISPATCH(twoStageTaps##bits);   \
      default:                                             \
        return nullptr;                                    \
    }                                                      \
  }
QUORVEL_TAP_LINE(8)
QUORVEL_TAP_LINE(16)
#undef QUORVEL_TAP_LINE

}  // namespace quorvel

#endif
