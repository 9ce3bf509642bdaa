// SPDX-License-Identifier: Apache-2.0
#include <functional>

#include <quorvel/bayer.h>

#include "tests/support/counted_breaks.h"
#include "tests/support/prove.h"
#include "tests/support/reference/demosaic.h"

namespace quorvel::test {
namespace {

using reference::Frame;
using reference::Planes;
using Words = std::vector<std::uint16_t>;

struct Method {
  fromBayerMethod method;
  Planes (*model)(const Frame&);
  std::uint16_t high;  // largest sample of its domain
};

void PrintTo(const Method& m, std::ostream* out) { *out << "method " << static_cast<int>(m.method); }

Planes gradientOrBilinear(const Frame& f) {
  return f.width < 2 || f.height < 2 ? reference::bilinear(f) : reference::gradient(f);
}

Planes variableGradientsOrBilinear(const Frame& f) {
  return f.width < 2 || f.height < 2 ? reference::bilinear(f) : reference::variableGradients(f);
}

const Method kMethods[] = {{bayerBilinear, reference::bilinear, 65535},
                           {bayerGradient, gradientOrBilinear, 4095},
                           {bayerVariableGradients, variableGradientsOrBilinear, 4095},
                           {bayerSeparate, reference::separate, 65535}};

// Samples of a frame, and the same frame in guarded memory with its rows `pitch` apart.
Frame makeFrame(int width, int height, Pattern pattern, std::uint16_t high, std::uint32_t seed = 1) {
  return {width, height, samples<std::uint16_t>(static_cast<std::size_t>(width * height), pattern, seed, 0, high)};
}

struct GuardedFrame {
  GuardedFrame(const Frame& f, unsigned distance, Guard guard)
      : pitch(distance),
        memory(pitch * static_cast<std::size_t>(f.height - 1) + static_cast<std::size_t>(f.width), guard) {
    for (int y = 0; y < f.height; ++y) {
      std::copy_n(f.samples.begin() + y * f.width, f.width, memory.data() + static_cast<std::size_t>(y) * pitch);
    }
  }
  unsigned pitch;
  GuardedBuffer<std::uint16_t> memory;
};

void proveMethod(const Method& m, const Frame& f, unsigned pitch, Guard guard) {
  GuardedFrame src(f, pitch, guard);
  const auto size = static_cast<std::size_t>(f.width * f.height);
  GuardedBuffer<std::uint16_t> r(size, guard), g(size, guard), b(size, guard);
  EXPECT_EQ(rgbFromBayer(src.memory.data(), static_cast<unsigned>(f.width), static_cast<unsigned>(f.height), pitch,
                         r.data(), g.data(), b.data(), m.method),
            0);
  const Planes expected = m.model(f);
  EXPECT_TRUE(holds(r, expected.plane[reference::kRed])) << "red";
  EXPECT_TRUE(holds(g, expected.plane[reference::kGreen])) << "green";
  EXPECT_TRUE(holds(b, expected.plane[reference::kBlue])) << "blue";
}

class DemosaicMethods : public testing::TestWithParam<Method> {};

TEST_P(DemosaicMethods, EqualTheModelAtEverySize) {
  const Method m = GetParam();
  onEveryTarget([&] {
    std::uint32_t seed = 0;
    // All small shapes, whose edges meet; then all row lengths, whose tails differ.
    for (int width = 1; width <= 130; ++width) {
      for (const int height : {1, 2, 3, 4, 5, 8}) {
        if (width > 12 && height != 1 && height != 4 + width % 2) continue;
        const Pattern pattern = kAllPatterns[++seed % 3];
        const unsigned pitch = static_cast<unsigned>(width) + seed % 4 * 3;
        SCOPED_TRACE(testing::Message() << width << " x " << height << ", pitch " << pitch << ", " << pattern);
        proveMethod(m, makeFrame(width, height, pattern, m.high, seed), pitch,
                    seed % 2 ? Guard::AfterEnd : Guard::BeforeBegin);
        if (testing::Test::HasFailure()) return;
      }
    }
  });
}

TEST_P(DemosaicMethods, EqualTheModelBeyondTheFixedWorkRows) {
  const Method m = GetParam();
  for (const int width : {1695, 1696, 1697, 2051}) {
    for (const Pattern pattern : kAllPatterns) {
      SCOPED_TRACE(testing::Message() << width << ", " << pattern);
      proveMethod(m, makeFrame(width, 7, pattern, m.high), static_cast<unsigned>(width), Guard::AfterEnd);
    }
  }
}

// Large planes go past the caches, at any alignment of the planes.
TEST_P(DemosaicMethods, EqualTheModelWhereTheyStream) {
  const Method m = GetParam();
  const Frame f = makeFrame(1021, 701, Pattern::Random, m.high);
  const Planes expected = m.model(f);
  onEveryTarget([&] {
    GuardedBuffer<std::uint16_t> r(f.samples.size()), g(f.samples.size()), b(f.samples.size() + 7);
    rgbFromBayer(f.samples.data(), 1021, 701, 1021, r.data(), g.data(), b.data(), m.method);
    EXPECT_TRUE(holds(r, expected.plane[reference::kRed]));
    EXPECT_TRUE(holds(g, expected.plane[reference::kGreen]));
    const Words blue = b.copy();
    EXPECT_TRUE(sameSamples(expected.plane[reference::kBlue], Words(blue.begin(), blue.end() - 7)));
    EXPECT_TRUE(b.surroundingsIntact() && std::equal(blue.end() - 6, blue.end(), blue.end() - 7));
  });
}

// Smooth content reaches the branches that noise never does: ties, flat neighbourhoods, gradients of one.
TEST_P(DemosaicMethods, EqualTheModelOnQuietContent) {
  const Method m = GetParam();
  onEveryTarget([&] {
    for (const int range : {0, 1, 2, 5}) {
      Frame f = makeFrame(67, 34, Pattern::Random, static_cast<std::uint16_t>(range), 7);
      for (auto& v : f.samples) v = static_cast<std::uint16_t>(v + 2000);
      SCOPED_TRACE(range);
      proveMethod(m, f, 67, Guard::AfterEnd);
    }
  });
}

INSTANTIATE_TEST_SUITE_P(, DemosaicMethods, testing::ValuesIn(kMethods), [](const auto& test) {
  return "Method" + std::to_string(static_cast<int>(test.param.method));
});

TEST(Demosaic, ConstantFramesStayConstant) {
  for (const Method& m : kMethods) {
    if (m.method == bayerSeparate) continue;
    const Words grey(33 * 21, 1234);
    Words r(grey.size()), g(grey.size()), b(grey.size());
    rgbFromBayer(grey.data(), 33, 21, 33, r.data(), g.data(), b.data(), m.method);
    EXPECT_EQ(r, grey) << m.method;
    EXPECT_EQ(g, grey) << m.method;
    EXPECT_EQ(b, grey) << m.method;
  }
}

TEST(Demosaic, SmallestCellByHand) {
  const Words cell = {10, 200, 30, 40};  // G R / B G
  Words r(4), g(4), b(4);
  rgbFromBayer(cell.data(), 2, 2, 2, r.data(), g.data(), b.data(), bayerBilinear);
  EXPECT_EQ(r, (Words{200, 200, 200, 200}));
  EXPECT_EQ(g, (Words{10, 10, 40, 40}));
  EXPECT_EQ(b, (Words{30, 30, 30, 30}));
}

TEST(Demosaic, UnsupportedMethodsWriteNothing) {
  const Words cell = {10, 200, 30, 40};
  GuardedBuffer<std::uint16_t> r(4), g(4), b(4);
  for (const int method : {4, 6, 7, 100, -1}) {
    EXPECT_EQ(rgbFromBayer(cell.data(), 2, 2, 2, r.data(), g.data(), b.data(), static_cast<fromBayerMethod>(method)),
              -2);
  }
  EXPECT_TRUE(r.untouched() && g.untouched() && b.untouched());
}

TEST(Demosaic, ReservedMethodBreaksIntoADebuggerAndWritesNothing) {
  const CountedBreaks breaks;
  const Words cell = {10, 200, 30, 40};
  GuardedBuffer<std::uint16_t> r(4), g(4), b(4);
  EXPECT_EQ(rgbFromBayer(cell.data(), 2, 2, 2, r.data(), g.data(), b.data(), bayerReserved), 0);
  EXPECT_EQ(breaks.count(), 1);
  EXPECT_TRUE(r.untouched() && g.untouched() && b.untouched());
}

TEST(Demosaic, InterleavedFormIsMethodZero) {
  onEveryTarget([] {
    for (const int width : {2, 34, 70}) {
      const Frame f = makeFrame(width, 6, Pattern::Random, 65535);
      GuardedFrame src(f, static_cast<unsigned>(width) + 5, Guard::AfterEnd);
      const auto row = static_cast<std::size_t>(width);
      GuardedBuffer<std::uint16_t> rgb(3 * f.samples.size()), work(3 * row);
      EXPECT_EQ(rgbFromBayerP(src.memory.data(), static_cast<unsigned>(width), 6, src.pitch, rgb.data(), work.data(),
                              bayerBilinear),
                0);
      const Planes planes = reference::bilinear(f);
      Words expected;
      for (std::size_t i = 0; i < f.samples.size(); ++i) {
        for (const auto& plane : planes.plane) expected.push_back(plane[i]);
      }
      EXPECT_TRUE(holds(rgb, expected));
      EXPECT_TRUE(work.surroundingsIntact());
    }
  });
}

TEST(Demosaic, InterleavedFormRefusesShapesBeforeMethods) {
  GuardedBuffer<std::uint16_t> src(64), rgb(192), work(24);
  const struct {
    unsigned width, height;
    int method, result;
  } cases[] = {{5, 4, 0, -1}, {4, 5, 0, -1}, {5, 5, 1, -1}, {4, 4, 1, -2}, {4, 4, 4, -2}};
  for (const auto& c : cases) {
    EXPECT_EQ(rgbFromBayerP(src.data(), c.width, c.height, 8, rgb.data(), work.data(),
                            static_cast<fromBayerMethod>(c.method)),
              c.result);
  }
  EXPECT_TRUE(rgb.untouched() && work.untouched());
}

TEST(Demosaic, GreyGoesIntoAllPlanes) {
  const Frame f = makeFrame(7, 3, Pattern::Random, 65535);
  for (const auto expand : {rgbFromGray, rgbFromGrayBayer}) {
    GuardedFrame src(f, 9, Guard::AfterEnd);
    GuardedBuffer<std::uint16_t> r(21), g(21), b(21);
    EXPECT_EQ(expand(src.memory.data(), 7, 0, 9, r.data(), g.data(), b.data()), 0);
    EXPECT_TRUE(r.untouched());
    EXPECT_EQ(expand(src.memory.data(), 7, 3, 9, r.data(), g.data(), b.data()), 0);
    EXPECT_TRUE(holds(r, f.samples) && holds(g, f.samples) && holds(b, f.samples));
  }
}

// The two row routines of method 1, called as a host would that keeps work rows of its own: together they make the
// planes that the whole method makes.
TEST(Demosaic, RowRoutinesMakeMethodOne) {
  onEveryTarget([] {
    for (const int width : {2, 6, 40, 131}) {
      constexpr int kHeight = 6;
      const Frame f = makeFrame(width, kHeight, Pattern::Random, 4095, 3);
      const auto w = static_cast<std::size_t>(width), stride = w + 4;
      GuardedBuffer<std::uint16_t> work(stride * (kHeight + 4));
      for (int y = -2; y < kHeight + 2; ++y) {
        for (int x = -2; x < width + 2; ++x) {
          work.data()[static_cast<std::size_t>(y + 2) * stride + static_cast<std::size_t>(x + 2)] =
              static_cast<std::uint16_t>(f(y, x));
        }
      }
      const auto workRow = [&](int y) { return work.data() + static_cast<std::size_t>(y + 2) * stride + 2; };
      GuardedBuffer<std::uint16_t> r(f.samples.size()), g(f.samples.size()), b(f.samples.size());
      const Planes expected = reference::gradient(f);
      for (int y = 0; y < kHeight; ++y) {
        std::uint16_t* row = g.data() + static_cast<std::size_t>(y) * w;
        if (y % 2 == 0) {
          EXPECT_EQ(laplasian2T1_green2(workRow(y), static_cast<unsigned>(width), static_cast<unsigned>(stride), row),
                    0);
        } else {  // shifted by one, the ends completed by the caller
          EXPECT_EQ(laplasian2T1_green2(workRow(y) + 1, static_cast<unsigned>(width - 1), static_cast<unsigned>(stride),
                                        row + 1),
                    0);
          row[0] = expected.plane[reference::kGreen][static_cast<std::size_t>(y) * w];
        }
      }
      EXPECT_TRUE(holds(g, expected.plane[reference::kGreen]));
      for (int y = 0; y < kHeight; y += 2) {
        const std::size_t at = static_cast<std::size_t>(y) * w;
        EXPECT_EQ(laplasian2T1_NOTgreen(workRow(y), static_cast<unsigned>(width), r.data() + at, g.data() + at,
                                        b.data() + at, y == 0, y == kHeight - 2),
                  0);
      }
      EXPECT_TRUE(holds(r, expected.plane[reference::kRed]));
      EXPECT_TRUE(holds(b, expected.plane[reference::kBlue]));
    }
  });
}

TEST(SurfacePreparation, TransposeAndGatherSortByComponent) {
  constexpr unsigned kBlocks = 3, kPlanes = 9, kStride = 8 * kBlocks + 5;
  const auto records = samples<std::uint8_t>(8 * kPlanes * kBlocks, Pattern::Random);
  GuardedBuffer<std::uint8_t> src(records), blocks(records.size()), planes(kStride * (kPlanes - 1) + 8 * kBlocks);
  for (unsigned k = 0; k < kBlocks; ++k) transpone_9x8_MMX(src.data() + 72 * k, blocks.data() + 72 * k);
  copy9_1_9x(blocks.data(), planes.data(), kBlocks, kStride, kPlanes);
  for (unsigned p = 0; p < kPlanes; ++p) {
    for (unsigned i = 0; i < 8 * kBlocks; ++i) {
      ASSERT_EQ(planes.data()[p * kStride + i], records[9 * i + p]) << "component " << p << " of record " << i;
    }
  }
  EXPECT_TRUE(blocks.surroundingsIntact() && planes.surroundingsIntact());
}

}  // namespace
}  // namespace quorvel::test
