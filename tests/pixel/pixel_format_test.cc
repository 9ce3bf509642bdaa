// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include "tests/support/prove.h"
#include "tests/support/reference/layout.h"

namespace quorvel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

TEST(PixelFormat, WidensAndNarrowsPixels) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    const Bytes three = samples<std::uint8_t>(3 * n, pattern), four = samples<std::uint8_t>(4 * n, pattern);
    const auto of3 = [&](std::size_t c) { return reference::channel(three, 3, c); };
    const auto of4 = [&](std::size_t c) { return reference::channel(four, 4, c); };
    GuardedBuffer<std::uint8_t> src3(three, guard), src4(four, guard);
    GuardedBuffer<std::uint8_t> reversed(4 * n, guard), inOrder(4 * n, guard), narrow(3 * n, guard);
    copy8_3to4(src3.data(), reversed.data(), n);
    copy8_3to4_rgb(src3.data(), inOrder.data(), n);
    copy8rgba_to8rgb(src4.data(), n, narrow.data());
    EXPECT_TRUE(holds(reversed, reference::weave<std::uint8_t>({of3(2), of3(1), of3(0), Bytes(n)})));
    EXPECT_TRUE(holds(inOrder, reference::weave<std::uint8_t>({of3(0), of3(1), of3(2), Bytes(n)})));
    EXPECT_TRUE(holds(narrow, reference::weave<std::uint8_t>({of4(0), of4(1), of4(2)})));
  });
}

TEST(PixelFormat, MakesColourWords) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    const Bytes rgb = samples<std::uint8_t>(3 * n, pattern), bgrx = samples<std::uint8_t>(4 * n, pattern);
    GuardedBuffer<std::uint8_t> src3(rgb, guard), src4(bgrx, guard);
    for (const int greenBits : {5, 6}) {
      Words fromRgb(n), fromBmp(n);
      for (std::size_t i = 0; i < n; ++i) {
        fromRgb[i] = reference::hiColor(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2], greenBits);
        fromBmp[i] = reference::hiColor(bgrx[4 * i + 2], bgrx[4 * i + 1], bgrx[4 * i], greenBits);
      }
      GuardedBuffer<std::uint16_t> words(n, guard), bmpWords(n, guard);
      EXPECT_EQ((greenBits == 5 ? RGBtoHiColor555_MMX : RGBtoHiColor565_MMX)(src3.data(), words.data(), n), 0);
      EXPECT_EQ(BMP32toHiColor_MMX(src4.data(), bmpWords.data(), n, greenBits), 0);
      EXPECT_TRUE(holds(words, fromRgb)) << greenBits;
      EXPECT_TRUE(holds(bmpWords, fromBmp)) << greenBits;
    }
    GuardedBuffer<std::uint16_t> refused(n, guard);
    EXPECT_EQ(BMP32toHiColor_MMX(src4.data(), refused.data(), n, 4), -1);
    EXPECT_TRUE(refused.untouched());
  });
}

TEST(PixelFormat, SpreadsRowsOfBits) {
  for (unsigned width = 0; width <= 40; ++width) {
    constexpr unsigned kHeight = 3;
    const unsigned rowBytes = (width + 7) / 8, stride = rowBytes + 2;
    const Bytes bits = samples<std::uint8_t>((kHeight - 1) * stride + rowBytes, Pattern::Random, width);
    Bytes expected;
    for (unsigned y = 0; y < kHeight; ++y) {
      for (unsigned x = 0; x < width; ++x) {
        expected.push_back(bits[y * stride + x / 8] & 0x80 >> x % 8 ? 255 : 0);
      }
    }
    GuardedBuffer<std::uint8_t> src(bits), dst(width * kHeight);
    EXPECT_EQ(convertBit1To8(src.data(), dst.data(), stride, width, kHeight), 0);
    EXPECT_TRUE(holds(dst, expected)) << width;
  }
}

TEST(PixelFormat, HandComputedColourWords) {
  const Bytes orange = {0xFF, 0x84, 0x08};  // R, G, B
  std::uint16_t word = 0;
  RGBtoHiColor555_MMX(orange.data(), &word, 1);
  EXPECT_EQ(word, 0x7E01);
  RGBtoHiColor565_MMX(orange.data(), &word, 1);
  EXPECT_EQ(word, 0xFC21);
}

}  // namespace
}  // namespace quorvel::test
