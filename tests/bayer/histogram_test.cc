// SPDX-License-Identifier: Apache-2.0
#include <quorvel/bayer.h>

#include "tests/support/prove.h"
#include "tests/support/reference/calibration.h"

namespace quorvel::test {
namespace {

using Words = std::vector<std::uint16_t>;
using Counters = std::vector<std::uint32_t>;

constexpr std::size_t kValues = 65536;

// Histograms that have counted before, some of them as far as they can.
std::array<Counters, 3> begun() { return {Counters(kValues, 0), Counters(kValues, 5), Counters(kValues, 0xFFFFFFFF)}; }

void proveFrame(unsigned width, unsigned height, unsigned pitch, const Words& in) {
  auto expected = begun(), actual = begun();
  for (unsigned y = 0; y < height / 2 * 2; ++y) {
    for (unsigned x = 0; x < width; ++x) ++expected[reference::colourAt(x, y)][in[y * pitch + x]];
  }
  GuardedBuffer<std::uint16_t> frame(in);
  ASSERT_EQ(calcBayerHistogramm16_32(frame.data(), pitch, width, height, actual[0].data(), actual[1].data(),
                                     actual[2].data()),
            0);
  for (std::size_t c = 0; c < 3; ++c) {
    ASSERT_TRUE(sameSamples(expected[c], actual[c])) << width << " x " << height << ", colour " << c;
  }
}

// Rows repeat themselves or do not, 16-bit counters overflow, wide samples come late; frames are small, narrow and
// wide.
TEST(BayerHistogram, CountsFramesLikeTheModel) {
  struct Frame {
    unsigned width, height;
    std::uint16_t high;
    std::size_t wideAt;  // where one sample is beyond 12 bits; none where it lies beyond the frame
  };
  constexpr std::size_t kNone = ~std::size_t{0};
  for (const Frame& f : {Frame{6, 5, 4095, kNone},
                         {0, 4, 4095, kNone},
                         {10, 1, 4095, kNone},
                         {250, 301, 4095, kNone},
                         {252, 300, 65535, kNone},
                         {518, 1500, 0, kNone},
                         {1030, 600, 3, kNone},
                         {1030, 600, 2, kNone},
                         {2, 40000, 9, kNone},
                         {524280, 3, 0, kNone},
                         {524290, 2, 0, kNone},
                         {512, 600, 1, 512 * 257 + 3},
                         {512, 600, 1, 512 * 256 + 511},
                         {510, 600, 1, 510 * 599 + 509}}) {
    const unsigned pitch = f.width + f.height % 3;
    Words in = samples<std::uint16_t>(std::size_t{f.height - 1} * pitch + f.width, Pattern::Random, 1, 0, f.high);
    if (f.wideAt < in.size()) in[f.wideAt] = 4096;
    onEveryTarget([&] { proveFrame(f.width, f.height, pitch, in); });
  }
}

TEST(BayerHistogram, CountsEveryPairOfARowOrLeavesSomeOut) {
  for (const Pattern pattern : kAllPatterns) {
    for (unsigned count = 0; count <= 40; count += 2) {
      for (const unsigned skip : {0u, 1u, 2u, 7u, 0xFFFFFFFFu}) {
        const Words in = samples<std::uint16_t>(count, pattern);
        GuardedBuffer<std::uint16_t> row(in);
        Counters even(kValues, 0xFFFFFFFF), odd(kValues), all[2] = {even, odd}, expected[2] = {even, odd};
        for (std::uint64_t i = 0; i < count; i += 2 + 2 * std::uint64_t{skip}) {
          ++expected[0][in[i]], ++expected[1][in[i + 1]];
        }
        EXPECT_EQ(calcBayerGRHistogrammSkip16_32(row.data(), count, even.data(), odd.data(), skip), 0);
        EXPECT_TRUE(sameSamples(expected[0], even) && sameSamples(expected[1], odd)) << count << ", skip " << skip;
        if (skip != 0) continue;
        EXPECT_EQ(calcBayerGRHistogramm16_32(row.data(), count, all[0].data(), all[1].data()), 0);
        EXPECT_TRUE(sameSamples(expected[0], all[0]) && sameSamples(expected[1], all[1])) << count;
      }
    }
  }
}

TEST(BayerHistogram, RefusesOddRowsAndOddAddressesAndCountsNothing) {
  Words row(64);
  const auto* misaligned = reinterpret_cast<const std::uint16_t*>(reinterpret_cast<const char*>(row.data()) + 1);
  Counters even(kValues), odd(kValues), third(kValues);
  const auto refused = [&](const std::uint16_t* at, unsigned count) {
    EXPECT_EQ(calcBayerGRHistogramm16_32(at, count, even.data(), odd.data()), -1);
    EXPECT_EQ(calcBayerGRHistogrammSkip16_32(at, count, even.data(), odd.data(), 1), -1);
    EXPECT_EQ(calcBayerHistogramm16_32(at, 16, count, 4, even.data(), odd.data(), third.data()), -1);
  };
  refused(row.data(), 7);
  refused(misaligned, 8);
  EXPECT_EQ(calcBayerHistogramm16_32(misaligned, 16, 7, 1, even.data(), odd.data(), third.data()), 0)
      << "no pair of rows";
  for (const Counters& counters : {even, odd, third}) EXPECT_EQ(counters[0], 0u);
}

}  // namespace
}  // namespace quorvel::test
