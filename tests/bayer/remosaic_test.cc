// SPDX-License-Identifier: Apache-2.0
#include <quorvel/bayer.h>

#include "tests/support/prove.h"
#include "tests/support/reference/calibration.h"
#include "tests/support/reference/gamma.h"

namespace quorvel::test {
namespace {

using Words = std::vector<std::uint16_t>;
using Bytes = std::vector<std::uint8_t>;

void proveMosaic(unsigned width, unsigned height, unsigned pitch, Pattern pattern, Guard guard) {
  Words planes[3];
  for (unsigned c = 0; c < 3; ++c) planes[c] = samples<std::uint16_t>(width * height, pattern, c);
  GuardedBuffer<std::uint16_t> r(planes[0], guard), g(planes[1], guard), b(planes[2], guard);
  Words expected(std::size_t{height - 1} * pitch + width, 0x5A5A);
  GuardedBuffer<std::uint16_t> frame(expected, guard);
  for (unsigned i = 0; i < width * height; ++i) {
    expected[i / width * pitch + i % width] = planes[reference::colourAt(i % width, i / width)][i];
  }
  EXPECT_EQ(rgbToBayer(r.data(), g.data(), b.data(), frame.data(), width, height, pitch), 0);
  EXPECT_TRUE(holds(frame, expected));
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

// Every rectangle in and around small frames, against the alignment in words: from the next even sample on, to the end
// of the cell that holds the last one, or to the frame's end where that is asked for as the width itself.
TEST(TurnBayer180, TurnsTheWholeCellsOfEveryRectangle) {
  const auto last = [](unsigned to, unsigned extent) { return to / 2 * 2 == extent ? extent - 1 : to / 2 * 2 + 1; };
  onEveryTarget([&] {
    for (unsigned c = 0; c < 4 * 9 * 9 * 9 * 9; ++c) {
      const unsigned x0 = c % 9, x1 = c / 9 % 9, y0 = c / 81 % 9, y1 = c / 729 % 9, shape = c / 6561;
      const unsigned width = 5 + shape % 2 * 3, height = 6 + shape / 2;
      const unsigned left = (x0 + 1) / 2 * 2, right = last(x1, width), top = (y0 + 1) / 2 * 2,
                     bottom = last(y1, height);
      const Words in = samples<std::uint16_t>(width * height, Pattern::Structured);
      Words expected = in;
      int status = 0;
      if (left <= right && top <= bottom) {
        if (right >= width || bottom >= height) status = -1;
        for (unsigned y = top; status == 0 && y <= bottom; ++y) {
          for (unsigned x = left; x <= right; ++x) {
            expected[y * width + x] = in[(bottom - (y - top)) * width + right - (x - left)];
          }
        }
      }
      GuardedBuffer<std::uint16_t> frame(in, c % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin);
      ASSERT_EQ(turnBayer180(frame.data(), width, height, x0, y0, x1, y1), status) << c;
      ASSERT_TRUE(holds(frame, expected))
          << x0 << ".." << x1 << ", " << y0 << ".." << y1 << " of " << width << " x " << height;
    }
  });
}

TEST(TurnBayer180, TurnsWideFrames) {
  onEveryTarget([] {
    for (const unsigned width : {130u, 4096u, 5002u}) {
      const Words in = samples<std::uint16_t>(6 * width, Pattern::Structured);
      GuardedBuffer<std::uint16_t> frame(in);
      EXPECT_EQ(turnBayer180(frame.data(), width, 6, 0, 0, width, 6), 0);
      EXPECT_TRUE(holds(frame, Words(in.rbegin(), in.rend())));
    }
  });
  EXPECT_EQ(turnBayer180(nullptr, 0, 4, 0, 0, 1, 1), 0);
  EXPECT_EQ(turnBayer180(nullptr, 4, 4, 0xFFFFFFFF, 0, 0xFFFFFFFF, 1), 0);
}

void proveBytes(unsigned width, unsigned height, unsigned pitch, int sameScale, double gamma, const Words& in) {
  int least[3] = {65535, 65535, 65535}, most[3] = {0, 0, 0};
  for (unsigned i = 0; i < width * height; ++i) {
    const unsigned c = reference::colourAt(i % width, i / width);
    const int v = in[i / width * pitch + i % width];
    least[c] = std::min(least[c], v), most[c] = std::max(most[c], v);
  }
  const int common = *std::max_element(most, most + 3);
  GuardedBuffer<std::uint16_t> frame(in);
  std::vector<Words> planes;
  for (unsigned c = 0; c < 3; ++c)
    planes.push_back(samples<std::uint16_t>(width * height, Pattern::Random, c, 0, 4095));
  GuardedBuffer<std::uint8_t> r(width * height), g(width * height), b(width * height);
  int maximum = -1;
  convertBayerGammaTo8(sameScale, gamma, frame.data(), pitch, planes[0].data(), planes[1].data(), planes[2].data(),
                       width, height, r.data(), g.data(), b.data(), &maximum);
  EXPECT_EQ(maximum, common);
  GuardedBuffer<std::uint8_t>* const outputs[] = {&r, &g, &b};
  for (unsigned c = 0; c < 3; ++c) {
    const Bytes table =
        reference::gammaTable(12, gamma, std::min(least[c], most[c]), sameScale == 0 ? common : most[c], 255);
    Bytes expected(width * height);
    for (unsigned i = 0; i < expected.size(); ++i) expected[i] = table[planes[c][i]];
    ASSERT_TRUE(holds(*outputs[c], expected)) << "colour " << c << ", same scale " << sameScale;
  }
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
  int maximum = -1;
  convertBayerGammaTo8(0, 1, nullptr, 0, nullptr, nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr, &maximum);
  EXPECT_EQ(maximum, 0);
}

}  // namespace
}  // namespace quorvel::test
