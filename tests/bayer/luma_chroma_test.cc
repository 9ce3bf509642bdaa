// SPDX-License-Identifier: Apache-2.0
#include <functional>
#include <limits>

#include <quorvel/bayer.h>

#include "tests/support/prove.h"
#include "tests/support/reference/luma_chroma.h"

namespace quorvel::test {
namespace {

using reference::IntegerVariant;
using reference::PlaneCell;
using reference::RawCell;
using reference::Second;

// Routines of one luminance plane, where the rows of both take turns, are given another that they leave alone.
template <typename T, typename Offset>
struct Forward {
  int (*routine)(const std::uint16_t*, unsigned, unsigned, unsigned, T*, T*, T*, T*, Offset);
  bool paired;
  std::function<PlaneCell<T>(const RawCell&, Offset)> model;
  bool columnsToPitch = false;
};

template <typename T, typename Offset>
struct Inverse {
  int (*routine)(const T*, const T*, const T*, const T*, Offset, unsigned, unsigned, std::uint16_t*, unsigned);
  bool paired;
  std::function<RawCell(const PlaneCell<T>&, Offset)> model;
};

template <auto kRoutine>
int forwardPaired(const std::uint16_t* src, unsigned pitch, unsigned width, unsigned height, std::int16_t* y,
                  std::int16_t*, std::int16_t* cb, std::int16_t* cr, int offset) {
  return kRoutine(src, pitch, width, height, y, cb, cr, offset);
}

template <auto kRoutine>
int inversePaired(const std::int16_t* y, const std::int16_t*, const std::int16_t* cb, const std::int16_t* cr,
                  int offset, unsigned columns, unsigned rows, std::uint16_t* dst, unsigned pitch) {
  return kRoutine(y, cb, cr, offset, columns, rows, dst, pitch);
}

template <typename T>
auto weighted(IntegerVariant variant, bool difference = false) {
  variant.difference = difference;
  return [=](const RawCell& cell, int off) {
    constexpr int kLargest = 33423360;
    return reference::toPlanes<T>(cell, variant, std::clamp(off, -kLargest, kLargest));
  };
}

const Forward<std::int16_t, int> kForward16[] = {
    {forwardPaired<BayerRGBToYCbCrPlanesApprox16slow>, true, weighted<std::int16_t>(reference::kApprox16)},
    {forwardPaired<BayerRGBToYCbCrPlanesApprox16slowCorrect>, true, weighted<std::int16_t>(reference::kApprox16)},
    {forwardPaired<BayerRGBToYCbCrPlanesApprox18slow>, true, weighted<std::int16_t>(reference::kApprox18)},
    {forwardPaired<BayerRGBToYUVplanesApprox16slow>, true, reference::toYuv, true},
    {BayerRGBToYYCbCrPlanesApprox16slow, false, weighted<std::int16_t>(reference::kApprox16)},
    {BayerRGBToYYCbCrPlanes12_4slow, false, weighted<std::int16_t>(reference::k12_4)},
    {BayerRGBToYdYCbCrPlanes12_4slow, false, weighted<std::int16_t>(reference::k12_4, true)}};
const Forward<std::int32_t, int> kForward32[] = {
    {BayerRGBToYYCbCrPlanes12_6slow, false, weighted<std::int32_t>(reference::k12_6)},
    {BayerRGBToYdYCbCrPlanes12_6slow, false, weighted<std::int32_t>(reference::k12_6, true)}};
const Forward<float, float> kForwardFloat[] = {{BayerRGBToYdYCbCrPlanesFlt, false, reference::toFloats}};

const Inverse<std::int16_t, int> kInverse16[] = {
    {inversePaired<YCbCrPlanesToBayerRGBApprox16slow>, true, reference::from16<Second::Luminance>},
    {inversePaired<YCbCrPlanesToBayerRGBApprox16slowCorrect>, true, reference::from16<Second::Luminance>},
    {inversePaired<YCbCrPlanesToBayerRGBApprox16slowForPreview>, true, reference::from16<Second::First>},
    {inversePaired<YUVplanesToBayerRGBApprox16slow>, true, reference::fromYuv},
    {YYCbCrPlanesToBayerRGBApprox16slow, false, reference::from16<Second::Luminance>},
    {YYCbCrPlanesToBayerRGBfrom12_4slow, false, reference::from12_4<false>},
    {YdYCbCrPlanesToBayerRGBfrom12_4slow, false, reference::from12_4<true>}};
const Inverse<float, float> kInverseFloat[] = {{YdYCbCrPlanesToBayerRGBFlt, false, reference::fromFloats}};

constexpr int kOffsets[] = {
    2048, 1, -2048, 300, 0, 40000, -7, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};

// Calls visit(samples, below, values) for all cells: its samples in a frame and in the row below, and the places of its
// four values in planes of `columns` values a row. Where paired, the luminances' rows take turns in the first plane.
template <typename T, typename Sample, typename Planes, typename Visit>
void forCells(Sample* frame, unsigned pitch, unsigned cells, unsigned rows, bool paired, const Planes& planes,
              unsigned columns, Visit&& visit) {
  for (std::size_t j = 0; j < rows; ++j) {
    for (std::size_t i = 0; i < cells; ++i) {
      std::array<T*, 4> values;
      for (std::size_t k = 0; k < 4; ++k) {
        const bool inTurns = paired && k < 2;
        values[k] = planes[inTurns ? 0 : k]->data() + (inTurns ? 2 * j + k : j) * columns + i;
      }
      visit(frame + 2 * j * pitch + 2 * i, frame + (2 * j + 1) * pitch + 2 * i, values);
    }
  }
}

// Columns that run to the pitch are written over what follows, until the next row comes.
template <typename T, typename Offset>
void proveForward(const Forward<T, Offset>& f, const Words& frame, unsigned pitch, unsigned width, unsigned height,
                  Offset offset, Guard guard) {
  const auto model = [&](const Words& src, unsigned, unsigned, unsigned, auto& y1, auto& y2, auto& cb, auto& cr,
                         Offset) {
    forCells<T>(src.data(), pitch, (f.columnsToPitch ? pitch : width) / 2, height / 2, f.paired,
                std::array{&y1, &y2, &cb, &cr}, width / 2, [&](auto* top, auto* bottom, const auto& values) {
                  const PlaneCell<T> cell = f.model({top[0], top[1], bottom[0], bottom[1]}, offset);
                  *values[0] = cell.y1, *values[1] = cell.y2, *values[2] = cell.cb, *values[3] = cell.cr;
                });
  };
  const std::size_t cells = std::size_t{width / 2} * (height / 2);
  const std::size_t beyond = f.columnsToPitch && cells > 0 ? pitch / 2 - width / 2 : 0;
  prove(guard, f.routine, model, frame, pitch, width, height, room<T>(f.paired ? 2 * cells + beyond : cells),
        room<T>(f.paired ? 0 : cells), room<T>(cells + beyond), room<T>(cells + beyond), offset);
}

template <typename T, typename Offset>
void proveInverse(const Inverse<T, Offset>& f, const std::array<std::vector<T>, 4>& planes, unsigned columns,
                  unsigned rows, unsigned pitch, Offset offset, Guard guard) {
  const auto model = [&](const auto& y1, const auto& y2, const auto& cb, const auto& cr, Offset, unsigned, unsigned,
                         Words& dst, unsigned) {
    forCells<const T>(dst.data(), pitch, columns, rows / 2, f.paired, std::array{&y1, &y2, &cb, &cr}, columns,
                      [&](auto* top, auto* bottom, const auto& values) {
                        const RawCell cell = f.model({*values[0], *values[1], *values[2], *values[3]}, offset);
                        const auto word = [](std::int64_t s) { return static_cast<std::uint16_t>(s); };
                        top[0] = word(cell.g1), top[1] = word(cell.r);
                        bottom[0] = word(cell.b), bottom[1] = word(cell.g2);
                      });
  };
  prove(guard, f.routine, model, planes[0], planes[1], planes[2], planes[3], offset, columns, rows,
        room<std::uint16_t>(rows < 2 ? 0 : (rows / 2 * 2 - 1) * pitch + 2 * columns), pitch);
}

template <typename T>
std::vector<T> planeValues(std::size_t n, Pattern pattern, std::uint32_t seed) {
  if constexpr (!std::is_floating_point_v<T>) {
    return samples<T>(n, pattern, seed);
  } else {  // fractions, and what is no number at all
    std::vector<T> out;
    for (const std::int16_t v : samples<std::int16_t>(n, pattern, seed)) out.push_back(static_cast<T>(v) / 7);
    for (std::size_t i = 9; i < n; i += 31) out[i] = i % 2 ? std::numeric_limits<T>::quiet_NaN() : 1e30f;
    return out;
  }
}

template <typename T, typename Offset>
void proveSize(const Forward<T, Offset>& f, unsigned width, unsigned height, unsigned seed, Offset offset,
               Guard guard) {
  const unsigned pitch = width + seed % 3 * 2;
  const Words frame =
      samples<std::uint16_t>(height == 0 ? 0 : pitch * (height - 1) + (f.columnsToPitch ? pitch : width),
                             kAllPatterns[seed % 3], seed, 0, seed % 4 < 2 ? 4095 : 65535);
  proveForward(f, frame, pitch, width, height, offset, guard);
}

template <typename T, typename Offset>
void proveSize(const Inverse<T, Offset>& f, unsigned width, unsigned height, unsigned seed, Offset offset,
               Guard guard) {
  const std::size_t cells = std::size_t{width} * (height / 2);
  const auto plane = [&](unsigned k, std::size_t n) {
    return planeValues<T>(n, kAllPatterns[(seed + k / 2) % 3], seed + k);
  };
  proveInverse(
      f, {plane(0, f.paired ? 2 * cells : cells), plane(1, f.paired ? 0 : cells), plane(2, cells), plane(3, cells)},
      width, height, 2 * width + seed % 3, offset, guard);
}

// All row lengths, whose tails differ, odd ones included, with heights without a whole row of cells; and a size that
// streams.
template <template <typename, typename> class Variant, typename T, typename Offset, std::size_t kCount>
void proveAll(const Variant<T, Offset> (&variants)[kCount]) {
  onEveryTarget([&] {
    for (const auto& f : variants) {
      for (unsigned n = 0; n <= 135; ++n) {
        const unsigned width = n == 135 ? 1503 : n, height = n == 135 ? 1499 : n % 7;
        const auto offset = static_cast<Offset>(kOffsets[n % std::size(kOffsets)]);
        SCOPED_TRACE(testing::Message() << "variant " << &f - variants << ", " << width << " x " << height
                                        << ", offset " << offset);
        proveSize(f, width, height, n, offset, n % 2 ? Guard::AfterEnd : Guard::BeforeBegin);
        if (testing::Test::HasFailure()) return;
      }
    }
  });
}

TEST(LumaChroma, ForwardVariantsEqualTheModel) {
  proveAll(kForward16);
  proveAll(kForward32);
  proveAll(kForwardFloat);
}

TEST(LumaChroma, InverseVariantsEqualTheModel) {
  proveAll(kInverse16);
  proveAll(kInverseFloat);
}

// The chroma of a green is rounded before the luminance comes to it, which random planes hardly ever show.
TEST(LumaChroma, HalvesOfTheChromaRoundByThemselves) {
  std::vector<std::int16_t> cb, cr;
  for (int b = -2048; b < 2048; ++b) {
    for (int r = -2048; r < 2048; ++r) {
      if (((22554 * b + 46802 * r) & 0xFFFF) != 0x8000) continue;
      cb.push_back(static_cast<std::int16_t>(b));
      cr.push_back(static_cast<std::int16_t>(r));
    }
  }
  const auto columns = static_cast<unsigned>(cb.size());
  ASSERT_GT(columns, 400u);
  const std::vector<std::int16_t> y(2 * columns, 498), none;
  for (const auto* variant : {&kInverse16[0], &kInverse16[2]}) {
    proveInverse(*variant, {y, none, cb, cr}, columns, 2, 2 * columns, 2048, Guard::AfterEnd);
  }
}

TEST(LumaChroma, ChangedWeightsServeTheNextCall) {
  std::int32_t* const weights = getRGBtoYCbCr_coefI16();
  const std::vector<std::int32_t> made(weights, weights + 9);
  constexpr std::int32_t kChanged[][9] = {
      // Negative weights, halves (the 1 in the middle decides), and the largest rows that are exact.
      {-65536, 65536, 65537, 1 << 24, -(1 << 24), 32767, -1, -65536, -65535},
      // The largest that 12-bit samples leave within 32 bits, and one beside them that is none of those.
      {131071, -131072, 131070, 131068, 131068, 131068, -131072, -131072, -131072},
      {131071, 131071, 131071, 131068, 131068, 131070, -131072, -131072, -131073}};
  IntegerVariant changed = reference::kApprox18;
  for (const auto& row : kChanged) {
    for (int i = 0; i < 9; ++i) changed.weights[i] = weights[i] = row[i];
    const Forward<std::int16_t, int> variant = {forwardPaired<BayerRGBToYCbCrPlanesApprox18slow>, true,
                                                weighted<std::int16_t>(changed)};
    for (const std::uint16_t most : {65535, 4095, 4096}) {
      const Words frame = samples<std::uint16_t>(66 * 8, Pattern::Extremes, 3, 0, most);
      for (const int offset : {2048, -2048, 2049}) {
        onEveryTarget([&] { proveForward(variant, frame, 66, 66, 8, offset, Guard::AfterEnd); });
      }
    }
  }
  std::copy(made.begin(), made.end(), weights);
  EXPECT_EQ(made, (std::vector<std::int32_t>{39191, 76939, 14942, -22112, -43424, 65536, 65536, -54880, -10656}));
}

// Forward and inverse meet, exactly in the reversible form and elsewhere within what the rounding of the planes costs,
// in cells of the inner half of the range, which no plane clamps.
TEST(LumaChroma, FramesComeBack) {
  constexpr unsigned kWidth = 256, kHeight = 128;
  const Words frame = samples<std::uint16_t>(kWidth * kHeight, Pattern::Random, 5, 1100, 3000);
  const auto proveBack = [&]<typename T, typename Offset>(const Forward<T, Offset>& forward,
                                                          const Inverse<T, Offset>& inverse, int most) {
    std::vector<T> y1(frame.size() / 2), y2 = y1, cb = y1, cr = y1;
    Words back(frame.size());
    forward.routine(frame.data(), kWidth, kWidth, kHeight, y1.data(), y2.data(), cb.data(), cr.data(), 2048);
    inverse.routine(y1.data(), y2.data(), cb.data(), cr.data(), 2048, kWidth / 2, kHeight, back.data(), kWidth);
    for (std::size_t i = 0; i < frame.size(); ++i) ASSERT_LE(std::abs(frame[i] - back[i]), most);
  };
  proveBack(kForward16[0], kInverse16[0], 3);
  proveBack(kForward16[3], kInverse16[3], 0);
  for (const int k : {5, 6}) proveBack(kForward16[k], kInverse16[k], 1);
  proveBack(kForwardFloat[0], kInverseFloat[0], 1);
}

}  // namespace
}  // namespace quorvel::test
