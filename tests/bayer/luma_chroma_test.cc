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
using Words = std::vector<std::uint16_t>;

// Either `paired`, with the luminances in one plane, or `separate` is a routine.
template <typename T, typename Offset = int>
struct Forward {
  int (*paired)(const std::uint16_t*, unsigned, unsigned, unsigned, T*, T*, T*, Offset);
  int (*separate)(const std::uint16_t*, unsigned, unsigned, unsigned, T*, T*, T*, T*, Offset);
  std::function<PlaneCell<T>(const RawCell&, Offset)> model;
  bool columnsToPitch = false;
};

template <typename T, typename Offset = int>
struct Inverse {
  int (*paired)(const T*, const T*, const T*, Offset, unsigned, unsigned, std::uint16_t*, unsigned);
  int (*separate)(const T*, const T*, const T*, const T*, Offset, unsigned, unsigned, std::uint16_t*, unsigned);
  std::function<RawCell(const PlaneCell<T>&, Offset)> model;
};

template <typename T>
auto weighted(IntegerVariant variant, bool difference = false) {
  variant.difference = difference;
  return [=](const RawCell& cell, int off) {
    constexpr int kLargest = 33423360;
    return reference::toPlanes<T>(cell, variant, std::clamp(off, -kLargest, kLargest));
  };
}

template <Second kSecond>
RawCell from16(const reference::Planes16& p, int off) {
  return reference::from16(p, off, kSecond);
}

template <bool kDifference>
RawCell from12_4(const reference::Planes16& p, int off) {
  return reference::from12_4(p, off, kDifference);
}

const Forward<std::int16_t> kForward16[] = {
    {BayerRGBToYCbCrPlanesApprox16slow, nullptr, weighted<std::int16_t>(reference::kApprox16)},
    {BayerRGBToYCbCrPlanesApprox16slowCorrect, nullptr, weighted<std::int16_t>(reference::kApprox16)},
    {BayerRGBToYCbCrPlanesApprox18slow, nullptr, weighted<std::int16_t>(reference::kApprox18)},
    {BayerRGBToYUVplanesApprox16slow, nullptr, reference::toYuv, true},
    {nullptr, BayerRGBToYYCbCrPlanesApprox16slow, weighted<std::int16_t>(reference::kApprox16)},
    {nullptr, BayerRGBToYYCbCrPlanes12_4slow, weighted<std::int16_t>(reference::k12_4)},
    {nullptr, BayerRGBToYdYCbCrPlanes12_4slow, weighted<std::int16_t>(reference::k12_4, true)}};
const Forward<std::int32_t> kForward32[] = {
    {nullptr, BayerRGBToYYCbCrPlanes12_6slow, weighted<std::int32_t>(reference::k12_6)},
    {nullptr, BayerRGBToYdYCbCrPlanes12_6slow, weighted<std::int32_t>(reference::k12_6, true)}};
const Forward<float, float> kForwardFloat[] = {{nullptr, BayerRGBToYdYCbCrPlanesFlt, reference::toFloats}};

const Inverse<std::int16_t> kInverse16[] = {
    {YCbCrPlanesToBayerRGBApprox16slow, nullptr, from16<Second::Luminance>},
    {YCbCrPlanesToBayerRGBApprox16slowCorrect, nullptr, from16<Second::Luminance>},
    {YCbCrPlanesToBayerRGBApprox16slowForPreview, nullptr, from16<Second::First>},
    {nullptr, YYCbCrPlanesToBayerRGBApprox16slow, from16<Second::Luminance>},
    {nullptr, YYCbCrPlanesToBayerRGBfrom12_4slow, from12_4<false>},
    {nullptr, YdYCbCrPlanesToBayerRGBfrom12_4slow, from12_4<true>},
    {YUVplanesToBayerRGBApprox16slow, nullptr, reference::fromYuv}};
const Inverse<float, float> kInverseFloat[] = {{nullptr, YdYCbCrPlanesToBayerRGBFlt, reference::fromFloats}};

constexpr int kOffsets[] = {
    2048, 1, -2048, 300, 0, 40000, -7, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};

// Where a plane's value of the cell in row j and column i stands among `columns` x `rows`.
std::size_t placeOf(bool paired, std::size_t plane, std::size_t j, std::size_t i, std::size_t columns) {
  return paired && plane < 2 ? (2 * j + plane) * columns + i : j * columns + i;
}

template <typename T, typename Offset>
void proveForward(const Forward<T, Offset>& f, const Words& frame, unsigned pitch, unsigned width, unsigned height,
                  Offset offset, Guard guard) {
  const std::size_t columns = width / 2, rows = height / 2, cells = columns * rows;
  const bool paired = f.paired != nullptr;
  std::array<std::vector<T>, 4> expected = {std::vector<T>(paired ? 2 * cells : cells),
                                            std::vector<T>(paired ? 0 : cells), std::vector<T>(cells),
                                            std::vector<T>(cells)};
  for (std::size_t j = 0; j < rows; ++j) {
    for (std::size_t i = 0; i < columns; ++i) {
      const std::uint16_t* top = frame.data() + 2 * j * pitch + 2 * i;
      const PlaneCell<T> cell = f.model({top[0], top[1], top[pitch], top[pitch + 1]}, offset);
      const T values[] = {cell.y1, cell.y2, cell.cb, cell.cr};
      for (std::size_t k = 0; k < 4; ++k) {
        expected[paired && k == 1 ? 0 : k][placeOf(paired, k, j, i, columns)] = values[k];
      }
    }
  }
  GuardedBuffer<std::uint16_t> src(frame, guard);
  GuardedBuffer<T> y1(expected[0].size(), guard), y2(expected[1].size(), guard), cb(cells, guard), cr(cells, guard);
  const int status =
      paired ? f.paired(src.data(), pitch, width, height, y1.data(), cb.data(), cr.data(), offset)
             : f.separate(src.data(), pitch, width, height, y1.data(), y2.data(), cb.data(), cr.data(), offset);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(holds(y1, expected[0])) << "first luminance";
  EXPECT_TRUE(holds(y2, expected[1])) << "second luminance";
  EXPECT_TRUE(holds(cb, expected[2])) << "Cb";
  EXPECT_TRUE(holds(cr, expected[3])) << "Cr";
}

template <typename T, typename Offset>
void proveInverse(const Inverse<T, Offset>& f, const std::array<std::vector<T>, 4>& planes, unsigned columns,
                  unsigned bayerRows, unsigned pitch, Offset offset, Guard guard) {
  const bool paired = f.paired != nullptr;
  const std::size_t rows = bayerRows / 2;
  GuardedBuffer<T> y1(planes[0], guard), y2(planes[1], guard), cb(planes[2], guard), cr(planes[3], guard);
  GuardedBuffer<std::uint16_t> out(rows == 0 ? 0 : (2 * rows - 1) * pitch + 2 * columns, guard);
  Words expected = out.copy();
  for (std::size_t j = 0; j < rows; ++j) {
    for (std::size_t i = 0; i < columns; ++i) {
      T v[4];
      for (std::size_t k = 0; k < 4; ++k) v[k] = planes[paired && k == 1 ? 0 : k][placeOf(paired, k, j, i, columns)];
      const RawCell cell = f.model({v[0], v[1], v[2], v[3]}, offset);
      std::uint16_t* top = expected.data() + 2 * j * pitch + 2 * i;
      const auto word = [](std::int64_t s) { return static_cast<std::uint16_t>(s); };
      top[0] = word(cell.g1), top[1] = word(cell.r), top[pitch] = word(cell.b), top[pitch + 1] = word(cell.g2);
    }
  }
  const int status =
      paired ? f.paired(y1.data(), cb.data(), cr.data(), offset, columns, bayerRows, out.data(), pitch)
             : f.separate(y1.data(), y2.data(), cb.data(), cr.data(), offset, columns, bayerRows, out.data(), pitch);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(holds(out, expected));
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

struct Shape {
  unsigned width, height, seed;
};

// All row lengths, whose tails differ, odd ones included; heights without a whole row of cells; and one that streams.
std::vector<Shape> shapes() {
  std::vector<Shape> all = {{1503, 1499, 1}};
  for (unsigned n = 0; n <= 134; ++n) all.push_back({n, n % 7, n});
  return all;
}

template <typename T, typename Offset, std::size_t kCount>
void proveAll(const Forward<T, Offset> (&variants)[kCount]) {
  onEveryTarget([&] {
    for (const auto& f : variants) {
      for (const Shape& s : shapes()) {
        const unsigned pitch = s.width + (f.columnsToPitch ? 0 : s.seed % 3 * 2);
        const Words frame = samples<std::uint16_t>(s.height == 0 ? 0 : pitch * (s.height - 1) + s.width,
                                                   kAllPatterns[s.seed % 3], s.seed, 0, s.seed % 4 < 2 ? 4095 : 65535);
        const auto offset = static_cast<Offset>(kOffsets[s.seed % std::size(kOffsets)]);
        SCOPED_TRACE(testing::Message() << "variant " << &f - variants << ", " << s.width << " x " << s.height
                                        << ", pitch " << pitch << ", offset " << offset);
        proveForward(f, frame, pitch, s.width, s.height, offset, s.seed % 2 ? Guard::AfterEnd : Guard::BeforeBegin);
        if (testing::Test::HasFailure()) return;
      }
    }
  });
}

template <typename T, typename Offset, std::size_t kCount>
void proveAll(const Inverse<T, Offset> (&variants)[kCount]) {
  onEveryTarget([&] {
    for (const auto& f : variants) {
      for (const Shape& s : shapes()) {
        const unsigned columns = s.width, rows = s.height, pitch = 2 * columns + s.seed % 3;
        const std::size_t cells = std::size_t{columns} * (rows / 2);
        const auto plane = [&](unsigned k, std::size_t n) {
          return planeValues<T>(n, kAllPatterns[(s.seed + k / 2) % 3], s.seed + k);
        };
        const bool paired = f.paired != nullptr;
        const auto offset = static_cast<Offset>(kOffsets[s.seed % std::size(kOffsets)]);
        SCOPED_TRACE(testing::Message() << "variant " << &f - variants << ", " << columns << " cells x " << rows
                                        << ", pitch " << pitch << ", offset " << offset);
        proveInverse(
            f, {plane(0, paired ? 2 * cells : cells), plane(1, paired ? 0 : cells), plane(2, cells), plane(3, cells)},
            columns, rows, pitch, offset, s.seed % 2 ? Guard::AfterEnd : Guard::BeforeBegin);
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
    const Forward<std::int16_t> variant = {BayerRGBToYCbCrPlanesApprox18slow, nullptr, weighted<std::int16_t>(changed)};
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

// The columns run to the pitch: a row's surplus cells are written over what follows, until the next row comes.
TEST(LumaChroma, ReversibleColumnsRunToThePitch) {
  for (const unsigned pitch : {40u, 26u, 100u, 140u}) {
    constexpr unsigned kWidth = 40, kHeight = 6, kHalf = kWidth / 2;
    const Words frame = samples<std::uint16_t>(pitch * kHeight, Pattern::Random, pitch, 0, 4095);
    std::array<std::vector<std::int16_t>, 3> expected, actual;
    for (auto* planes : {&expected, &actual}) {
      for (auto& plane : *planes) plane.assign(kWidth * kHeight + pitch, -1);
    }
    for (unsigned j = 0; j < kHeight / 2; ++j) {
      for (unsigned i = 0; i < pitch / 2; ++i) {
        const std::uint16_t* top = frame.data() + 2 * j * pitch + 2 * i;
        const auto cell = reference::toYuv({top[0], top[1], top[pitch], top[pitch + 1]}, 2048);
        expected[0][j * kWidth + i] = cell.y1;
        expected[0][j * kWidth + kHalf + i] = cell.y2;
        expected[1][j * kHalf + i] = cell.cb;
        expected[2][j * kHalf + i] = cell.cr;
      }
    }
    onEveryTarget([&] {
      BayerRGBToYUVplanesApprox16slow(frame.data(), pitch, kWidth, kHeight, actual[0].data(), actual[1].data(),
                                      actual[2].data(), 2048);
      for (int k = 0; k < 3; ++k) EXPECT_TRUE(sameSamples(expected[k], actual[k])) << "plane " << k << ", " << pitch;
    });
  }
}

// Forward and inverse meet: exactly in the reversible form, and the second green exactly in those that keep a
// difference; elsewhere within what the rounding of the planes costs.
TEST(LumaChroma, FramesComeBack) {
  constexpr unsigned kWidth = 256, kHeight = 128, kCells = kWidth * kHeight / 4;
  for (const Pattern pattern : kAllPatterns) {
    // Cells of the inner half of the range, which no plane clamps; the extremes, which reach their sums' ends.
    const bool extremes = pattern == Pattern::Extremes;
    const Words frame = samples<std::uint16_t>(kWidth * kHeight, pattern, 5, extremes ? 1024 : 1100, 3000);
    std::vector<std::int16_t> y(2 * kCells), y2(kCells), cb(kCells), cr(kCells);
    std::vector<float> fy(kCells), fyd(kCells), fcb(kCells), fcr(kCells);
    Words back(frame.size());
    const auto worst = [&] {
      int most = 0;
      for (std::size_t i = 0; i < frame.size(); ++i) most = std::max(most, std::abs(frame[i] - back[i]));
      return most;
    };
    BayerRGBToYUVplanesApprox16slow(frame.data(), kWidth, kWidth, kHeight, y.data(), cb.data(), cr.data(), 2048);
    YUVplanesToBayerRGBApprox16slow(y.data(), cb.data(), cr.data(), 2048, kWidth / 2, kHeight, back.data(), kWidth);
    EXPECT_EQ(worst(), 0);
    BayerRGBToYCbCrPlanesApprox16slow(frame.data(), kWidth, kWidth, kHeight, y.data(), cb.data(), cr.data(), 2048);
    YCbCrPlanesToBayerRGBApprox16slow(y.data(), cb.data(), cr.data(), 2048, kWidth / 2, kHeight, back.data(), kWidth);
    EXPECT_LE(worst(), 3);
    BayerRGBToYYCbCrPlanes12_4slow(frame.data(), kWidth, kWidth, kHeight, y.data(), y2.data(), cb.data(), cr.data(),
                                   2048);
    YYCbCrPlanesToBayerRGBfrom12_4slow(y.data(), y2.data(), cb.data(), cr.data(), 2048, kWidth / 2, kHeight,
                                       back.data(), kWidth);
    EXPECT_LE(worst(), 1);
    BayerRGBToYdYCbCrPlanes12_4slow(frame.data(), kWidth, kWidth, kHeight, y.data(), y2.data(), cb.data(), cr.data(),
                                    2048);
    YdYCbCrPlanesToBayerRGBfrom12_4slow(y.data(), y2.data(), cb.data(), cr.data(), 2048, kWidth / 2, kHeight,
                                        back.data(), kWidth);
    EXPECT_LE(worst(), 1);
    BayerRGBToYdYCbCrPlanesFlt(frame.data(), kWidth, kWidth, kHeight, fy.data(), fyd.data(), fcb.data(), fcr.data(),
                               2048);
    YdYCbCrPlanesToBayerRGBFlt(fy.data(), fyd.data(), fcb.data(), fcr.data(), 2048, kWidth / 2, kHeight, back.data(),
                               kWidth);
    EXPECT_LE(worst(), 1);
  }
}

TEST(LumaChroma, GreyHasNoChromaAndClampsAtBothEnds) {
  const Words grey = {100, 100, 4095, 4095, 100, 100, 4095, 4095};
  std::vector<std::int16_t> y(4), y2(2), cb(2), cr(2);
  std::vector<std::int32_t> w(2), w2(2), wcb(2), wcr(2);
  using Values = std::vector<std::int16_t>;
  BayerRGBToYCbCrPlanesApprox16slow(grey.data(), 4, 4, 2, y.data(), cb.data(), cr.data(), 2048);
  EXPECT_EQ(y, (Values{-1948, 2047, -1948, 2047}));
  EXPECT_EQ(cb, (Values{0, 0}));
  EXPECT_EQ(cr, (Values{0, 0}));
  BayerRGBToYCbCrPlanesApprox16slow(grey.data(), 4, 4, 2, y.data(), cb.data(), cr.data(), 500);
  EXPECT_EQ(y, (Values{-400, 499, -400, 499}));
  BayerRGBToYdYCbCrPlanes12_6slow(grey.data(), 4, 4, 2, w.data(), w2.data(), wcb.data(), wcr.data(), 2048);
  EXPECT_EQ(w, (std::vector<std::int32_t>{-1948 * 64, 2047 * 64}));
  EXPECT_EQ(w2, (std::vector<std::int32_t>{0, 0}));
  // Cb and Cr look at the first green alone; yd counts half steps of 1/16.
  const Words green = {100, 100, 100, 140};
  BayerRGBToYdYCbCrPlanes12_4slow(green.data(), 2, 2, 2, y.data(), y2.data(), cb.data(), cr.data(), 2048);
  EXPECT_EQ(y[0], -1948 * 16);
  EXPECT_EQ(y2[0], 8 * 40);
  EXPECT_EQ(cb[0] | cr[0], 0);
}

}  // namespace
}  // namespace quorvel::test
