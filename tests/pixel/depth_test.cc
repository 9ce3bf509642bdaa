// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <limits>

#include <quorvel/pixel.h>

#include "tests/support/prove.h"
#include "tests/support/reference/depth.h"

namespace quorvel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

template <typename Out, typename In, typename Rule>
std::vector<Out> mapped(const std::vector<In>& in, Rule&& rule) {
  std::vector<Out> out(in.size());
  for (std::size_t i = 0; i < in.size(); ++i) out[i] = static_cast<Out>(rule(in[i], i));
  return out;
}

// Proves routine(src, dst, n) of samples In to samples Out against rule(sample, index, n).
template <typename In, typename Out, typename Routine, typename Rule>
void proveConversion(const std::vector<unsigned>& lengths, Routine&& routine, Rule&& rule) {
  proveRows(lengths, [&](unsigned n, Pattern pattern, Guard guard) {
    const std::vector<In> in = samples<In>(n, pattern);
    GuardedBuffer<In> src(in, guard);
    GuardedBuffer<Out> dst(n, guard);
    EXPECT_EQ(routine(src.data(), dst.data(), n), 0);
    EXPECT_TRUE(holds(dst, mapped<Out>(in, [&](In v, std::size_t i) { return rule(v, i, n); })));
  });
}

std::vector<unsigned> multiplesOf(unsigned step) {
  std::vector<unsigned> lengths;
  for (const unsigned n : rowLengths()) {
    if (n % step == 0) lengths.push_back(n);
  }
  return lengths;
}

TEST(Depth, RoundedShiftsSaturateInGroupsAndWrapInTheRemainder) {
  const struct {
    int (*routine)(const std::uint16_t*, std::uint8_t*, unsigned);
    unsigned half;
    int bits;
  } cases[] = {{conv12to8MMX, 8, 4}, {conv14to8MMX, 32, 6}};
  for (const auto& c : cases) {
    proveConversion<std::uint16_t, std::uint8_t>(rowLengths(), c.routine,
                                                 [&](std::uint16_t v, std::size_t i, unsigned n) {
                                                   return i < n % 8 ? reference::narrowInRemainder(v, c.half, c.bits)
                                                                    : reference::narrowInGroup(v, c.half, c.bits);
                                                 });
  }
}

TEST(Depth, ShiftsByAnyNumberOfBits) {
  for (const int shift : {0, 1, 2, 4, 7, 8, 15, 16, 31, 32, -1}) {
    SCOPED_TRACE(shift);
    const std::vector<unsigned> lengths = shift == 4 ? rowLengths() : std::vector<unsigned>{1, 15, 40, 129};
    proveConversion<std::uint16_t, std::uint8_t>(
        lengths, [=](const auto* src, auto* dst, unsigned n) { return convNto8MMX(src, dst, n, shift); },
        [=](std::uint16_t v, std::size_t, unsigned) { return shift < 0 || shift > 15 ? 0 : v >> shift & 0xFF; });
    proveConversion<std::uint8_t, std::uint16_t>(
        lengths, [=](const auto* src, auto* dst, unsigned n) { return conv8toN_MMX(src, dst, n, shift); },
        [=](std::uint8_t v, std::size_t, unsigned) { return reference::widen(v, shift); });
    proveConversion<std::int8_t, std::int16_t>(
        lengths,
        [=](const auto* src, auto* dst, unsigned n) {
          return conv8stoN_MMX(reinterpret_cast<const char*>(src), dst, n, shift);
        },
        [=](std::int8_t v, std::size_t, unsigned) { return reference::widen(v, shift); });
  }
  proveConversion<std::uint8_t, std::uint16_t>(rowLengths(), conv8to12MMX,
                                               [](std::uint8_t v, std::size_t, unsigned) { return v << 4; });
}

TEST(Depth, WholeGroupsWithoutAShift) {
  for (const int finish : {0, 1}) {
    proveConversion<std::uint16_t, std::uint8_t>(
        multiplesOf(8), [=](const auto* src, auto* dst, unsigned n) { return conv12to8MMX11(src, dst, n, finish); },
        [](std::uint16_t v, std::size_t, unsigned) { return std::min<int>(v, 255); });
    proveConversion<std::uint8_t, std::uint16_t>(
        multiplesOf(8), [=](const auto* src, auto* dst, unsigned n) { return conv8to12MMX11(src, dst, n, finish); },
        [](std::uint8_t v, std::size_t, unsigned) { return v; });
  }
  proveConversion<std::int32_t, std::int16_t>(
      multiplesOf(4), conv32to16lowMMX,
      [](std::int32_t v, std::size_t, unsigned) { return std::clamp(v, -32768, 32767); });
}

TEST(Depth, RefusedCountsTouchNothing) {
  GuardedBuffer<std::uint16_t> words(12);
  GuardedBuffer<std::uint8_t> bytes(12);
  GuardedBuffer<std::int32_t> longs(12);
  for (const unsigned n : {1u, 7u, 9u, 12u}) {
    EXPECT_EQ(conv12to8MMX11(words.data(), bytes.data(), n, 1), -1);
    EXPECT_EQ(conv8to12MMX11(bytes.data(), words.data(), n, 1), -1);
    if (n % 4 != 0) {
      EXPECT_EQ(conv32to16lowMMX(longs.data(), reinterpret_cast<std::int16_t*>(words.data()), n), -1);
    }
  }
  EXPECT_TRUE(words.untouched() && bytes.untouched());
}

TEST(Depth, TilesKeepTheirRowsApart) {
  const struct {
    std::uint16_t low;
    double gain;
    std::int16_t factor;  // the gain in 1/1024, its low 16 bits
  } cases[] = {{0, 1.0, 1024},
               {100, 4.0, 4096},
               {4000, 31.9999, 32767},
               {0, 32.0, -32768},
               {7, -1.0, -1024},
               {0, 64.0, 0},
               {65535, 16.0, 16384},
               {3, 0.0009, 0},
               {0, std::nan(""), 0},
               {0, 1e300, 0},
               {0, -std::numeric_limits<double>::infinity(), 0}};
  onEveryTarget([&] {
    for (const auto& c : cases) {
      for (const unsigned width : {1u, 7u, 8u, 33u, 100u}) {
        for (const unsigned gap : {0u, 5u}) {
          constexpr unsigned kHeight = 3;
          const unsigned stride = width + gap;
          const Words in = samples<std::uint16_t>(stride * (kHeight - 1) + width, Pattern::Random, width);
          GuardedBuffer<std::uint16_t> src(in);
          GuardedBuffer<std::uint8_t> dst(width * kHeight);
          EXPECT_EQ(convTileNto8MMX(c.low, c.gain, src.data(), width, kHeight, stride, dst.data()), 0);
          Bytes expected;
          for (unsigned y = 0; y < kHeight; ++y) {
            for (unsigned x = 0; x < width; ++x) {
              expected.push_back(reference::narrowScaled(in[y * stride + x], c.low, c.factor));
            }
          }
          EXPECT_TRUE(holds(dst, expected)) << "gain " << c.gain << ", width " << width;
        }
      }
    }
  });
}

TEST(Depth, FourthComponentAndTheBitsSeen) {
  proveRows(rowLengths(), [](unsigned n, Pattern pattern, Guard guard) {
    Words in = samples<std::uint16_t>(4 * n, pattern);
    if (pattern == Pattern::Structured && n > 0) {  // a single sample that does not fit, at a place of its own
      for (std::size_t i = 0; i < n; ++i) in[4 * i + 3] &= 0x7F;
      in[4 * (n * 5 / 7) + 3] = 0x8001;
    }
    unsigned all = 0;
    Bytes expected(n);
    for (std::size_t i = 0; i < n; ++i) {
      all |= in[4 * i + 3];
      expected[i] = static_cast<std::uint8_t>(in[4 * i + 3]);
    }
    GuardedBuffer<std::uint16_t> src(in, guard);
    GuardedBuffer<std::uint8_t> dst(n, guard);
    EXPECT_EQ(copy16rgba_to8_MMX(src.data(), n, dst.data()), static_cast<int>(all));
    EXPECT_TRUE(holds(dst, expected));
  });
}

TEST(Depth, HandComputedValuesPinTheRules) {
  const Words nine(9, 4095);
  Bytes out(9);
  conv12to8MMX(nine.data(), out.data(), 9);
  EXPECT_EQ(out, (Bytes{0, 255, 255, 255, 255, 255, 255, 255, 255}));
  const Words edge = {7, 8, 23, 24, 65527, 65528, 65535, 4087};
  conv12to8MMX(edge.data(), out.data(), 8);
  EXPECT_EQ(Bytes(out.begin(), out.begin() + 8), (Bytes{0, 1, 1, 2, 255, 0, 0, 255}));
}

}  // namespace
}  // namespace quorvel::test
