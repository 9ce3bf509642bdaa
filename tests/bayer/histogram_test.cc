// SPDX-License-Identifier: Apache-2.0
#include <quorvel/bayer.h>

#include "tests/support/prove.h"
#include "tests/support/reference/demosaic.h"

namespace quorvel::test {
namespace {

using Counters = std::vector<std::uint32_t>;

constexpr std::size_t kValues = 65536;

// Rows repeat themselves or do not, 16-bit counters overflow, wide samples come late; frames are small, narrow and
// wide. The histograms have counted before, one of them as far as it can.
TEST(BayerHistogram, CountsFramesLikeTheModel) {
  const auto model = [](const Words& in, unsigned pitch, unsigned width, unsigned height, Counters& r, Counters& g,
                        Counters& b) {
    Counters* const counters[] = {&r, &g, &b};
    for (unsigned y = 0; y < height / 2 * 2; ++y) {
      for (unsigned x = 0; x < width; ++x) ++(*counters[reference::colourAt(y, x)])[in[y * pitch + x]];
    }
  };
  constexpr std::size_t kNone = ~std::size_t{0};
  const struct {
    unsigned width, height;
    std::uint16_t high;
    std::size_t wideAt;  // where one sample is beyond 12 bits; none where it lies beyond the frame
  } frames[] = {{6, 5, 4095, kNone},
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
                {510, 600, 1, 510 * 599 + 509}};
  for (const auto& f : frames) {
    const unsigned pitch = f.width + f.height % 3;
    Words in = samples<std::uint16_t>(std::size_t{f.height - 1} * pitch + f.width, Pattern::Random, 1, 0, f.high);
    if (f.wideAt < in.size()) in[f.wideAt] = 4096;
    SCOPED_TRACE(testing::Message() << f.width << " x " << f.height);
    onEveryTarget([&] {
      prove(Guard::AfterEnd, calcBayerHistogramm16_32, model, in, pitch, f.width, f.height, Counters(kValues, 0),
            Counters(kValues, 5), Counters(kValues, 0xFFFFFFFF));
    });
  }
}

TEST(BayerHistogram, CountsEveryPairOfARowOrLeavesSomeOut) {
  const auto model = [](const Words& in, unsigned count, Counters& even, Counters& odd, unsigned skip) {
    if (count % 2 != 0) return -1;
    for (std::uint64_t i = 0; i < count; i += 2 + 2 * std::uint64_t{skip}) ++even[in[i]], ++odd[in[i + 1]];
    return 0;
  };
  const auto all = [](auto* row, unsigned count, auto* even, auto* odd, unsigned) {
    return calcBayerGRHistogramm16_32(row, count, even, odd);
  };
  const Counters full(kValues, 0xFFFFFFFF), none(kValues);
  for (const Pattern pattern : kAllPatterns) {
    for (const unsigned n : {0u, 2u, 6u, 7u, 8u, 16u, 40u}) {
      const Words row = samples<std::uint16_t>(n, pattern);
      prove(Guard::AfterEnd, all, model, row, n, full, none, 0u);
      for (const unsigned skip : {0u, 1u, 2u, 7u, 0xFFFFFFFFu}) {
        prove(Guard::AfterEnd, calcBayerGRHistogrammSkip16_32, model, row, n, full, none, skip);
      }
    }
  }
}

TEST(BayerHistogram, RefusesOddAddressesAndCountsNothing) {
  Words row(64);
  const auto* misaligned = reinterpret_cast<const std::uint16_t*>(reinterpret_cast<const char*>(row.data()) + 1);
  EXPECT_EQ(calcBayerGRHistogramm16_32(misaligned, 8, nullptr, nullptr), -1);
  EXPECT_EQ(calcBayerGRHistogrammSkip16_32(misaligned, 8, nullptr, nullptr, 1), -1);
  EXPECT_EQ(calcBayerHistogramm16_32(misaligned, 16, 8, 4, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(calcBayerHistogramm16_32(row.data(), 16, 7, 4, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(calcBayerHistogramm16_32(misaligned, 16, 7, 1, nullptr, nullptr, nullptr), 0) << "no pair of rows";
}

}  // namespace
}  // namespace quorvel::test
