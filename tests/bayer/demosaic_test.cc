// SPDX-License-Identifier: Apache-2.0
#include <quorvel/bayer.h>

#include "tests/support/counted_breaks.h"
#include "tests/support/prove.h"
#include "tests/support/reference/demosaic.h"

namespace quorvel::test {
namespace {

using reference::Frame;
using reference::Planes;

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

Frame makeFrame(int width, int height, int pitch, Pattern pattern, int low, int high, std::uint32_t seed = 1) {
  return {width, height, pitch,
          samples<std::uint16_t>(static_cast<std::size_t>((height - 1) * pitch + width), pattern, seed,
                                 static_cast<std::uint16_t>(low), static_cast<std::uint16_t>(high))};
}

class DemosaicMethods : public testing::TestWithParam<Method> {
 protected:
  static void proveFrame(const Frame& f) {
    const auto width = static_cast<unsigned>(f.width), height = static_cast<unsigned>(f.height);
    SCOPED_TRACE(testing::Message() << width << " x " << height << ", pitch " << f.pitch);
    const Planes expected = GetParam().model(f);
    const Words plane = room<std::uint16_t>(std::size_t{width} * height);
    onEveryTarget([&] {
      prove(
          width % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin,
          [&](auto* src, auto* r, auto* g, auto* b) {
            return rgbFromBayer(src, width, height, static_cast<unsigned>(f.pitch), r, g, b, GetParam().method);
          },
          [&](const Words&, Words& r, Words& g, Words& b) {
            r = expected.plane[0], g = expected.plane[1], b = expected.plane[2];
          },
          f.samples, plane, plane, plane);
    });
  }
};

// All small shapes, whose edges meet; then all row lengths, whose tails differ; rows beyond the fixed work rows; planes
// that go past the caches; and smooth content, which reaches the branches that noise never does: ties, flat
// neighbourhoods, gradients of one.
TEST_P(DemosaicMethods, EqualTheModelAtEverySize) {
  const int high = GetParam().high;
  std::uint32_t seed = 0;
  for (int width = 1; width <= 130; ++width) {
    for (const int height : {1, 2, 3, 4, 5, 8}) {
      if ((width > 12 && height != 1 && height != 4 + width % 2) || HasFailure()) continue;
      const Pattern pattern = kAllPatterns[++seed % 3];
      proveFrame(makeFrame(width, height, width + static_cast<int>(seed % 4) * 3, pattern, 0, high, seed));
    }
  }
  for (const int width : {1695, 1696, 1697, 2051}) {
    for (const Pattern pattern : kAllPatterns) proveFrame(makeFrame(width, 7, width, pattern, 0, high));
  }
  proveFrame(makeFrame(1021, 701, 1021, Pattern::Random, 0, high));
  for (const int range : {0, 1, 2, 5}) proveFrame(makeFrame(67, 34, 67, Pattern::Random, 2000, 2000 + range, 7));
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
  for (const int width : {2, 5, 34, 70}) {
    for (const int height : {5, 6}) {
      const Frame f = makeFrame(width, height, width + 5, Pattern::Random, 0, 65535);
      const auto w = static_cast<unsigned>(width), h = static_cast<unsigned>(height);
      const auto routine = [&](auto* src, auto* rgb, fromBayerMethod method) {
        GuardedBuffer<std::uint16_t> work(3 * w);
        const int answer = rgbFromBayerP(src, w, h, w + 5, rgb, work.data(), method);
        EXPECT_TRUE(work.surroundingsIntact());
        return answer;
      };
      const auto model = [&](const Words&, Words& rgb, fromBayerMethod method) {
        if (width % 2 != 0 || height % 2 != 0) return -1;
        if (method != bayerBilinear) return -2;
        const Planes planes = reference::bilinear(f);
        for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = planes.plane[i % 3][i / 3];
        return 0;
      };
      onEveryTarget([&] {
        for (const auto method : {bayerBilinear, bayerGradient, bayerReserved}) {
          prove(Guard::AfterEnd, routine, model, f.samples, room<std::uint16_t>(3 * w * h), method);
        }
      });
    }
  }
}

}  // namespace
}  // namespace quorvel::test
