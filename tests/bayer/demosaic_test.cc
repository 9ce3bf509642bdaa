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

}  // namespace
}  // namespace quorvel::test
