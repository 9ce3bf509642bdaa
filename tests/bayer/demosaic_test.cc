// SPDX-License-Identifier: Apache-2.0
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

template <Planes kModel(const Frame&)>
Planes orBilinear(const Frame& f) {
  return f.width < 2 || f.height < 2 ? reference::bilinear(f) : kModel(f);
}

const Method kMethods[] = {{bayerBilinear, reference::bilinear, 65535},
                           {bayerGradient, orBilinear<reference::gradient>, 4095},
                           {bayerVariableGradients, orBilinear<reference::variableGradients>, 4095},
                           {bayerSeparate, reference::separate, 65535}};

Frame makeFrame(unsigned width, unsigned height, unsigned pitch, Pattern pattern, std::uint16_t low, std::uint16_t high,
                std::uint32_t seed = 1) {
  return {static_cast<int>(width), static_cast<int>(height), static_cast<int>(pitch),
          samples<std::uint16_t>(std::size_t{height - 1} * pitch + width, pattern, seed, low, high)};
}

class DemosaicMethods : public testing::TestWithParam<Method> {
 protected:
  static void proveFrame(const Frame& f) {
    const Method m = GetParam();
    const auto width = static_cast<unsigned>(f.width), height = static_cast<unsigned>(f.height);
    SCOPED_TRACE(testing::Message() << width << " x " << height << ", pitch " << f.pitch);
    const Planes expected = m.model(f);
    const Words plane = room<std::uint16_t>(std::size_t{width} * height);
    onEveryTarget([&] {
      prove(
          width % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin,
          [&](auto* src, auto* r, auto* g, auto* b) {
            return rgbFromBayer(src, width, height, static_cast<unsigned>(f.pitch), r, g, b, m.method);
          },
          [&](const Words&, Words& r, Words& g, Words& b) {
            r = expected.plane[0], g = expected.plane[1], b = expected.plane[2];
          },
          f.samples, plane, plane, plane);
    });
  }
};

// All small shapes, whose edges meet; then all row lengths, whose tails differ; then rows beyond the fixed work rows.
TEST_P(DemosaicMethods, EqualTheModelAtEverySize) {
  std::uint32_t seed = 0;
  for (unsigned width = 1; width <= 130; ++width) {
    for (const unsigned height : {1u, 2u, 3u, 4u, 5u, 8u}) {
      if ((width > 12 && height != 1 && height != 4 + width % 2) || HasFailure()) continue;
      const Pattern pattern = kAllPatterns[++seed % 3];
      proveFrame(makeFrame(width, height, width + seed % 4 * 3, pattern, 0, GetParam().high, seed));
    }
  }
  for (const unsigned width : {1695u, 1696u, 1697u, 2051u}) {
    for (const Pattern pattern : kAllPatterns) proveFrame(makeFrame(width, 7, width, pattern, 0, GetParam().high));
  }
}

// Large planes go past the caches. Smooth content reaches the branches that noise never does: ties, flat
// neighbourhoods, gradients of one.
TEST_P(DemosaicMethods, EqualTheModelWhereTheyStreamAndOnQuietContent) {
  proveFrame(makeFrame(1021, 701, 1021, Pattern::Random, 0, GetParam().high));
  for (const std::uint16_t range : {0, 1, 2, 5}) {
    proveFrame(makeFrame(67, 34, 67, Pattern::Random, 2000, static_cast<std::uint16_t>(2000 + range), 7));
  }
}

INSTANTIATE_TEST_SUITE_P(, DemosaicMethods, testing::ValuesIn(kMethods), [](const auto& test) {
  return "Method" + std::to_string(static_cast<int>(test.param.method));
});

TEST(Demosaic, MethodsThatAreNoneWriteNothing) {
  const Words cell = {10, 200, 30, 40}, plane = room<std::uint16_t>(4);
  const CountedBreaks breaks;
  for (const int method : {4, 6, 7, 100, -1, int{bayerReserved}}) {
    const bool reserved = method == bayerReserved;  // breaks into a debugger
    prove(
        Guard::AfterEnd, rgbFromBayer, [=](auto&&...) { return reserved ? 0 : -2; }, cell, 2u, 2u, 2u, plane, plane,
        plane, static_cast<fromBayerMethod>(method));
    EXPECT_EQ(breaks.count(), reserved);
  }
}

TEST(Demosaic, InterleavedFormIsMethodZeroAndRefusesShapesBeforeMethods) {
  const auto model = [](const Words& src, unsigned width, unsigned height, unsigned pitch, Words& rgb,
                        fromBayerMethod method) {
    if (width % 2 != 0 || height % 2 != 0) return -1;
    if (method != bayerBilinear) return -2;
    const Planes planes =
        reference::bilinear({static_cast<int>(width), static_cast<int>(height), static_cast<int>(pitch), src});
    for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = planes.plane[i % 3][i / 3];
    return 0;
  };
  onEveryTarget([&] {
    for (const unsigned width : {2u, 5u, 34u, 70u}) {
      for (const unsigned height : {5u, 6u}) {
        for (const auto method : {bayerBilinear, bayerGradient, bayerReserved}) {
          GuardedBuffer<std::uint16_t> work(3 * width);
          const auto routine = [&](auto* src, unsigned w, unsigned h, unsigned pitch, auto* rgb, fromBayerMethod m) {
            return rgbFromBayerP(src, w, h, pitch, rgb, work.data(), m);
          };
          const Frame f = makeFrame(width, height, width + 5, Pattern::Random, 0, 65535);
          prove(Guard::AfterEnd, routine, model, f.samples, width, height, width + 5,
                room<std::uint16_t>(3 * width * height), method);
          EXPECT_TRUE(work.surroundingsIntact());
        }
      }
    }
  });
}

TEST(Demosaic, GreyGoesIntoAllPlanes) {
  const auto model = [](const Words& src, unsigned width, unsigned height, unsigned pitch, Words& r, Words& g,
                        Words& b) {
    for (unsigned i = 0; i < width * height; ++i) r[i] = g[i] = b[i] = src[i / width * pitch + i % width];
  };
  const Words plane = room<std::uint16_t>(21);
  for (const auto expand : {rgbFromGray, rgbFromGrayBayer}) {
    for (const unsigned height : {0u, 3u}) {
      prove(Guard::AfterEnd, expand, model, samples<std::uint16_t>(25, Pattern::Random), 7u, height, 9u, plane, plane,
            plane);
    }
  }
}

// The two row routines of method 1, called as a host would that keeps work rows of its own: together they make the
// planes that the whole method makes.
TEST(Demosaic, RowRoutinesMakeMethodOne) {
  onEveryTarget([] {
    for (const unsigned width : {2u, 6u, 40u, 131u}) {
      constexpr int kHeight = 6;
      const Frame f = makeFrame(width, kHeight, width, Pattern::Random, 0, 4095, 3);
      const int w = f.width, stride = w + 4;
      GuardedBuffer<std::uint16_t> work(static_cast<std::size_t>(stride * (kHeight + 4)));
      GuardedBuffer<std::uint16_t> r(f.samples.size()), g(f.samples.size()), b(f.samples.size());
      for (int i = 0; i < stride * (kHeight + 4); ++i) {
        work.data()[i] = static_cast<std::uint16_t>(f(i / stride - 2, i % stride - 2));
      }
      const auto workRow = [&](int y) { return work.data() + (y + 2) * stride + 2; };
      const Planes expected = reference::gradient(f);
      for (int y = 0; y < kHeight; ++y) {  // odd rows shifted by one, the ends completed by the caller
        const int shift = y % 2;
        if (shift == 1) g.data()[y * w] = expected.plane[reference::kGreen][static_cast<std::size_t>(y * w)];
        EXPECT_EQ(laplasian2T1_green2(workRow(y) + shift, width - static_cast<unsigned>(shift),
                                      static_cast<unsigned>(stride), g.data() + y * w + shift),
                  0);
      }
      EXPECT_TRUE(holds(g, expected.plane[reference::kGreen]));
      for (int y = 0; y < kHeight; y += 2) {
        EXPECT_EQ(laplasian2T1_NOTgreen(workRow(y), width, r.data() + y * w, g.data() + y * w, b.data() + y * w, y == 0,
                                        y == kHeight - 2),
                  0);
      }
      EXPECT_TRUE(holds(r, expected.plane[reference::kRed]) && holds(b, expected.plane[reference::kBlue]));
    }
  });
}

TEST(SurfacePreparation, TransposeAndGatherSortByComponent) {
  using Bytes = std::vector<std::uint8_t>;
  constexpr unsigned kBlocks = 3, kPlanes = 9, kStride = 8 * kBlocks + 5;
  const auto sorted = [](const Bytes& records, Bytes& blocks, Bytes& planes) {
    for (unsigned i = 0; i < records.size(); ++i) {
      blocks[i / 72 * 72 + i % 9 * 8 + i / 9 % 8] = planes[i % 9 * kStride + i / 9] = records[i];
    }
  };
  const auto routines = [](auto* records, auto* blocks, auto* planes) {
    for (unsigned k = 0; k < kBlocks; ++k) transpone_9x8_MMX(records + 72 * k, blocks + 72 * k);
    copy9_1_9x(blocks, planes, kBlocks, kStride, kPlanes);
  };
  const Bytes records = samples<std::uint8_t>(8 * kPlanes * kBlocks, Pattern::Random);
  prove(Guard::AfterEnd, routines, sorted, records, room<std::uint8_t>(records.size()),
        room<std::uint8_t>(kStride * (kPlanes - 1) + 8 * kBlocks));
}

}  // namespace
}  // namespace quorvel::test
