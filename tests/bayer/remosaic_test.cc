// SPDX-License-Identifier: Apache-2.0
#include <quorvel/bayer.h>

#include "tests/support/prove.h"
#include "tests/support/reference/demosaic.h"
#include "tests/support/reference/gamma.h"

namespace quorvel::test {
namespace {

using reference::colourAt;

void proveMosaic(unsigned width, unsigned height, unsigned pitch, Pattern pattern, Guard guard) {
  const auto model = [](const Words& r, const Words& g, const Words& b, Words& frame, unsigned w, unsigned h,
                        unsigned p) {
    const Words* const planes[] = {&r, &g, &b};
    for (unsigned i = 0; i < w * h; ++i) frame[i / w * p + i % w] = (*planes[colourAt(i / w, i % w)])[i];
  };
  const auto plane = [=](unsigned seed) { return samples<std::uint16_t>(width * height, pattern, seed); };
  prove(guard, rgbToBayer, model, plane(0), plane(1), plane(2),
        room<std::uint16_t>(std::size_t{height - 1} * pitch + width), width, height, pitch);
}

TEST(RgbToBayer, TakesEachSiteFromItsOwnPlane) {
  proveRows(rowLengths(1), [](unsigned width, Pattern pattern, Guard guard) {
    proveMosaic(width, 1 + width % 5, width, pattern, guard);
    proveMosaic(width, 1 + width % 4, width + 3, pattern, guard);
  });
  onEveryTarget([] {
    for (const unsigned width : {2048u, 2047u}) proveMosaic(width, 1100, width, Pattern::Random, Guard::AfterEnd);
  });
  EXPECT_EQ(rgbToBayer(nullptr, nullptr, nullptr, nullptr, 0, 3, 0), 0);
}

// From the next even sample on, to the end of the cell that holds the last one, or to the frame's end where that is
// asked for as the width itself.
int turned(Words& frame, unsigned width, unsigned height, unsigned x0, unsigned y0, unsigned x1, unsigned y1) {
  const auto last = [](unsigned to, unsigned extent) { return to / 2 * 2 == extent ? extent - 1 : to / 2 * 2 + 1; };
  const unsigned left = (x0 + 1) / 2 * 2, top = (y0 + 1) / 2 * 2, right = last(x1, width), bottom = last(y1, height);
  if (left > right || top > bottom) return 0;
  if (right >= width || bottom >= height) return -1;
  const Words in = frame;
  for (unsigned y = top; y <= bottom; ++y) {
    for (unsigned x = left; x <= right; ++x) frame[y * width + x] = in[(bottom + top - y) * width + right + left - x];
  }
  return 0;
}

TEST(TurnBayer180, TurnsTheWholeCellsOfEveryRectangle) {
  onEveryTarget([&] {
    for (unsigned c = 0; c < 4 * 9 * 9 * 9 * 9 && !HasFailure(); ++c) {
      const unsigned x0 = c % 9, x1 = c / 9 % 9, y0 = c / 81 % 9, y1 = c / 729 % 9, shape = c / 6561;
      const unsigned width = 5 + shape % 2 * 3, height = 6 + shape / 2;
      SCOPED_TRACE(c);
      prove(c % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin, turnBayer180, turned,
            samples<std::uint16_t>(width * height, Pattern::Structured), width, height, x0, y0, x1, y1);
    }
    for (const unsigned width : {130u, 4096u, 5002u}) {
      prove(Guard::AfterEnd, turnBayer180, turned, samples<std::uint16_t>(6 * width, Pattern::Structured), width, 6u,
            0u, 0u, width, 6u);
    }
  });
  EXPECT_EQ(turnBayer180(nullptr, 0, 4, 0, 0, 1, 1), 0);
  EXPECT_EQ(turnBayer180(nullptr, 4, 4, 0xFFFFFFFF, 0, 0xFFFFFFFF, 1), 0);
}

void proveBytes(unsigned width, unsigned height, unsigned pitch, int sameScale, double gamma, const Words& in) {
  const auto model = [=](int, double, const Words& frame, unsigned, const Words& r, const Words& g, const Words& b,
                         unsigned, unsigned, Bytes& outR, Bytes& outG, Bytes& outB, std::vector<int>& maximum) {
    int least[3] = {65535, 65535, 65535}, most[3] = {0, 0, 0};
    for (unsigned i = 0; i < width * height; ++i) {
      const auto c = static_cast<std::size_t>(colourAt(i / width, i % width));
      const int v = frame[i / width * pitch + i % width];
      least[c] = std::min(least[c], v), most[c] = std::max(most[c], v);
    }
    maximum = {*std::max_element(most, most + 3)};
    const std::pair<const Words&, Bytes&> planes[] = {{r, outR}, {g, outG}, {b, outB}};
    for (std::size_t c = 0; c < 3 && width > 0; ++c) {
      const auto& [plane, out] = planes[c];
      const int high = sameScale == 0 ? maximum[0] : most[c];
      const Bytes table = reference::gammaTable(12, gamma, std::min(least[c], most[c]), high, 255);
      for (std::size_t i = 0; i < out.size(); ++i) out[i] = table[plane[i]];
    }
  };
  const auto plane = [=](unsigned c) { return samples<std::uint16_t>(width * height, Pattern::Random, c, 0, 4095); };
  const Bytes out = room<std::uint8_t>(width * height);
  prove(Guard::AfterEnd, convertBayerGammaTo8, model, sameScale, gamma, in, pitch, plane(0), plane(1), plane(2), width,
        height, out, out, out, std::vector<int>{-1});
}

TEST(ConvertBayerGammaTo8, StretchesEveryColourFromTheFramesLevels) {
  onEveryTarget([] {
    for (unsigned width = 1; width <= 75; width += 1 + width / 20) {
      const unsigned height = 1 + width % 4, pitch = width + width % 3;
      Words in = samples<std::uint16_t>(std::size_t{height - 1} * pitch + width, Pattern::Random, width, 300, 1200);
      in[width / 2] = width % 2 == 0 ? 200 : 3500;  // one level decides, wherever in the vectors it lies
      in[in.size() - 1] = width % 2 == 0 ? 3000 : 7;
      for (const int sameScale : {0, 1, -3}) proveBytes(width, height, pitch, sameScale, 1.0 + width % 3, in);
    }
  });
  Words wide(16, 5000);  // beyond the table
  wide[0] = 10;
  proveBytes(4, 4, 4, 0, 2.2, wide);
  proveBytes(0, 0, 0, 0, 1, {});
}

}  // namespace
}  // namespace quorvel::test
