// SPDX-License-Identifier: Apache-2.0
#include <quorvel/dct_tables.h>

#include "runtime/capabilities.h"
#include "tests/support/prove.h"
#include "tests/support/reference/dct.h"

namespace quorvel::test {
namespace {

using reference::Block;
using reference::Words;
using Steps = Block<std::uint16_t>;

template <typename T>
Block<T> block(Pattern pattern, std::uint32_t seed, T low = std::numeric_limits<T>::min(),
               T high = std::numeric_limits<T>::max()) {
  Block<T> out;
  std::ranges::copy(samples<T>(64, pattern, seed, low, high), out.begin());
  return out;
}

// The factors as the models want them: each table its own random values, so that none is taken for another, or the
// contents that clients use.
struct Factors {
  Words forwardLeft, forwardLeft8, forwardRight, inverseLeft, inverseLeft8, inverseRight;

  explicit Factors(Pattern pattern) {
    if (pattern == Pattern::Structured) {
      fillTransformTables();
    } else {
      std::uint32_t seed = 10;
      for (std::uint64_t* table : {getFDCT64(), getIDCT64()}) spread(block<std::int16_t>(pattern, ++seed), table, 1);
      for (std::uint64_t* table : {getFDCT64_2(), getIDCT64_2()})
        spread(block<std::int16_t>(pattern, ++seed), table, 2);
      for (std::int16_t* table : {getFDCT16(), getIDCT16()})
        std::ranges::copy(block<std::int16_t>(pattern, ++seed), table);
    }
    for (int i = 0; i < 64; ++i) {
      forwardLeft[i] = static_cast<std::int16_t>(getFDCT64()[i]);
      forwardLeft8[i] = static_cast<std::int16_t>(getFDCT64_2()[2 * i]);
      inverseLeft[i] = static_cast<std::int16_t>(getIDCT64()[i]);
      inverseLeft8[i] = static_cast<std::int16_t>(getIDCT64_2()[2 * i]);
    }
    std::copy_n(getIDCT16(), 64, forwardRight.begin());
    std::copy_n(getFDCT16(), 64, inverseRight.begin());
  }

  static void spread(const Words& values, std::uint64_t* table, int words) {
    for (int i = 0; i < 64 * words; ++i) table[i] = static_cast<std::uint16_t>(values[i / words]) * 0x0001000100010001u;
  }
};

// Blocks side by side: samples against a guard page, rows a padded stride apart.
template <typename Sample>
struct Strip {
  unsigned blocks, pitch;
  GuardedBuffer<Sample> samples;

  Strip(unsigned count, Pattern pattern, Guard guard, std::uint32_t seed)
      : blocks(count),
        pitch(8 * count + (guard == Guard::AfterEnd ? 0 : 3)),
        samples(test::samples<Sample>(7 * pitch + 8 * count, pattern, seed, 0, sizeof(Sample) == 1 ? 255 : 4095),
                guard) {
    for (unsigned b = 1; b < count; b += 3) {  // some that are flat, and one that is so but for its last sample
      for (unsigned i = 0; i < 64; ++i) at(b, i) = static_cast<Sample>(b == 7 ? 128 : 40 * b);
      if (b == 4) at(b, 63) ^= 1;
    }
  }
  Sample& at(unsigned b, unsigned i) { return samples.data()[i / 8 * pitch + 8 * b + i % 8]; }
  Block<int> block(unsigned b) {
    Block<int> out;
    for (unsigned i = 0; i < 64; ++i) out[i] = at(b, i);
    return out;
  }
  unsigned stride() const { return pitch * sizeof(Sample); }
};

template <typename T, typename U>
testing::AssertionResult holdsBlock(GuardedBuffer<T>& actual, const Block<U>& expected) {
  return holds(actual, std::vector<T>(expected.begin(), expected.end()));
}

// A strip of the same block, in row-major order or in zig-zag order.
std::vector<std::int16_t> repeated(const Words& coefs, unsigned blocks, int zigzag) {
  std::vector<std::int16_t> out(std::size_t{64} * blocks);
  for (std::size_t i = 0; i < out.size(); ++i) out[i] = coefs[zigzag == 0 ? i % 64 : reference::kZigzag[i % 64]];
  return out;
}

// Holds what routine(out, stride) writes against `blocks` times the same samples side by side, and nothing between
// rows.
template <typename Sample, typename T, typename Routine>
void proveSamples(const Block<T>& expected, unsigned blocks, Guard guard, Routine&& routine) {
  const unsigned pitch = 8 * blocks + 5;
  GuardedBuffer<Sample> out(blocks == 0 ? 0 : 7 * pitch + 8 * blocks, guard);
  std::vector<Sample> wanted = out.copy();
  for (unsigned i = 0; i < 64 * blocks; ++i) {
    wanted[i % 64 / 8 * pitch + i / 64 * 8 + i % 8] = static_cast<Sample>(expected[i % 64]);
  }
  routine(out.data(), static_cast<unsigned>(pitch * sizeof(Sample)));
  EXPECT_TRUE(holds(out, wanted));
}

template <typename Sample>
struct ForwardMember {
  std::uint16_t* (*routine)(const Sample*, unsigned, const std::uint16_t*, const std::uint16_t*, std::uint16_t*,
                            std::int64_t*);
  Words Factors::*left;
  bool quantised = true;
};

// Members block by block, and the strip of them all. setUp(setting) gives the rule and whether flat blocks are short.
template <typename Sample, typename SetUp, typename StripRoutine>
void proveForward(const std::vector<ForwardMember<Sample>>& members, const std::vector<int>& settings, SetUp&& setUp,
                  StripRoutine&& stripRoutine) {
  proveRows({0, 1, 2, 7, 8, 9, 19}, [&](unsigned blocks, Pattern pattern, Guard guard) {
    const Factors factors(pattern);
    const Steps bias = block<std::uint16_t>(pattern, 3), recip = block<std::uint16_t>(pattern, 4, 1, 21846);
    for (const int setting : settings) {
      const auto [rule, shortcut] = setUp(setting);
      Strip<Sample> strip(blocks, pattern, guard, 5);
      std::vector<std::uint16_t> orders[2];
      for (unsigned b = 0; b < blocks; ++b) {
        const Block<int> in = strip.block(b);
        for (const auto& member : members) {
          Words y = reference::forward(in, rule, factors.*member.left, factors.forwardRight);
          for (int i = 0; member.quantised && i < 64; ++i) y[i] = reference::quantised(y[i], bias[i], recip[i]);
          if (shortcut && std::ranges::count(in, in[0]) == 64) y = reference::flat(in[0], bias[0], recip[0]);
          GuardedBuffer<std::uint16_t> dst(64, guard);
          EXPECT_EQ(member.routine(&strip.at(b, 0), strip.stride(), bias.data(), recip.data(), dst.data(), nullptr),
                    dst.data());
          EXPECT_TRUE(holdsBlock(dst, y));
          if (&member != &members[0]) continue;  // the strip does as the first
          for (int i = 0; i < 64; ++i) {
            orders[0].push_back(static_cast<std::uint16_t>(y[i]));
            orders[1].push_back(static_cast<std::uint16_t>(y[reference::kZigzag[i]]));
          }
        }
      }
      for (const int order : {0, 1}) {
        GuardedBuffer<std::uint16_t> dst(std::size_t{64} * blocks, guard);
        stripRoutine(strip.samples.data(), strip.stride(), blocks, bias.data(), recip.data(), dst.data(), order);
        EXPECT_TRUE(holds(dst, orders[order]));
      }
    }
  });
}

TEST(Dct, ForwardTransformsOfBytesDoAsTheModel) {
  const CapabilityCells cells = capabilityCells;
  proveForward<std::uint8_t>(
      {{calcFDCT16_bq, &Factors::forwardLeft},
       {calcFDCT16_bq_SSE2var, &Factors::forwardLeft},
       {calcFDCT16_bq_SSE2, &Factors::forwardLeft8}},
      {-1, 0, 1, 0x400000},
      [](int answer) {
        capabilityCells.commonEmmx = answer;
        return std::pair(reference::ForwardRule{128, 3, 0}, answer == 1);
      },
      calcFDCT16_bq_strip);
  capabilityCells = cells;
}

TEST(Dct, ForwardTransformsOfWordsDoAsTheModel) {
  const auto plain = [](const std::uint16_t* src, unsigned stride, const std::uint16_t*, const std::uint16_t*,
                        std::uint16_t* dst, std::int64_t* work) {
    return reinterpret_cast<std::uint16_t*>(calcFDCT16_w(src, stride, dst, work));
  };
  proveForward<std::uint16_t>(
      {{calcFDCT16_wq, &Factors::forwardLeft}, {plain, &Factors::forwardLeft, false}}, {0, 65535, 2048},
      [](int level) {
        setJpegSubWord(static_cast<std::uint16_t>(level));
        return std::pair(reference::ForwardRule{level, 1, 1}, false);
      },
      calcFDCT16_wq_strip);
}

TEST(Dct, InverseTransformsDoAsTheModel) {
  proveRows({0, 1, 3}, [](unsigned blocks, Pattern pattern, Guard guard) {
    const Factors factors(pattern);
    // Coefficients as they are met, and, with steps of any size, such as wrap in every sum.
    const bool tame = pattern == Pattern::Structured;
    const Words coefs = tame ? block<std::int16_t>(Pattern::Random, 7, -60, 60) : block<std::int16_t>(pattern, 7);
    const Steps steps = block<std::uint16_t>(pattern, 8, 1, tame ? 8 : 65535);
    Words doubled, dequantised;
    for (int i = 0; i < 64; ++i) {
      doubled[i] = reference::wrapped(coefs[i] * 2);
      dequantised[i] = reference::wrapped(coefs[i] * steps[i]);
    }
    const auto wanted = [&](const Words& x, const reference::InverseRule& rule, Words Factors::*left) {
      return reference::inverse(x, rule, factors.*left, factors.inverseRight);
    };
    const Steps to12 = wanted(dequantised, reference::kTo12, &Factors::inverseLeft);
    const Steps to8 = wanted(dequantised, reference::kTo8, &Factors::inverseLeft);
    const auto* one = reinterpret_cast<const std::uint16_t*>(coefs.data());
    proveSamples<std::uint16_t>(wanted(doubled, reference::kTo12, &Factors::inverseLeft), 1, guard,
                                [&](auto* out, unsigned stride) { calcIDCT16_w(one, out, stride, nullptr, nullptr); });
    for (const auto& [routine, samples] :
         {std::pair(&calcIDCT16_wq, to12), std::pair(&calcIDCT16_bq, to8),
          std::pair(&calcIDCT_SSE2, wanted(dequantised, reference::kTo8, &Factors::inverseLeft8))}) {
      proveSamples<std::uint16_t>(samples, 1, guard, [&, run = routine](auto* out, unsigned stride) {
        run(one, out, stride, steps.data(), nullptr, nullptr);
      });
    }
    for (const int order : {0, 1}) {
      GuardedBuffer<std::int16_t> strip(repeated(coefs, blocks, order), guard);
      const auto* in = reinterpret_cast<const std::uint16_t*>(strip.data());
      proveSamples<std::uint8_t>(to8, blocks, guard, [&](auto* out, unsigned stride) {
        calcIDCT16_bq_strip(in, blocks, steps.data(), out, stride, order);
      });
      proveSamples<std::uint16_t>(to12, blocks, guard, [&](auto* out, unsigned stride) {
        calcIDCT16_wq_strip(in, blocks, steps.data(), out, stride, order);
      });
    }
  });
}

TEST(Dct, FloatTransformsDoAsTheModelToTheBit) {
  proveRows({3, 4}, [&](unsigned blocks, Pattern pattern, Guard guard) {
    fillTransformTables();
    Block<float> scale, left, right;
    for (int i = 0; i < 64; ++i) {
      scale[i] = 1.0f / static_cast<float>(3 + 5 * i);
      left[i] = static_cast<float>(std::sin(i + 1));
      right[i] = static_cast<float>(std::cos(3 * i));
    }
    Block<float> basis, transposed;
    std::copy_n(getFDCTf(), 64, basis.begin());
    std::copy_n(getFDCTf() + 64, 64, transposed.begin());
    Strip<std::uint8_t> bytes(1, pattern, guard, 1);
    Strip<std::uint16_t> words(1, pattern, guard, 2);
    const auto check = [&](auto&& routine, const Block<int>& in, int level, float unit, const Block<float>& l,
                           const Block<float>& r, bool whole) {
      Block<float> x;
      std::ranges::transform(in, x.begin(), [=](int s) { return static_cast<float>(s - level) * unit; });
      Block<float> y = reference::product(reference::product(l, x), r);
      for (int i = 0; i < 64; ++i) y[i] = whole ? std::round(y[i] * scale[i]) : y[i] * scale[i];
      GuardedBuffer<float> dst(64, guard);
      routine(dst.data());
      EXPECT_TRUE(holdsBlock(dst, y));
    };
    check([&](float* d) { calcFDCTf_bq(bytes.samples.data(), bytes.stride(), scale.data(), d, nullptr); },
          bytes.block(0), 128, 8, basis, transposed, true);
    check([&](float* d) { calcFDCTf_wq(words.samples.data(), words.stride(), scale.data(), d, nullptr); },
          words.block(0), 2048, 1, basis, transposed, true);
    for (const auto routine : {calcFDCTFlt_SSE, calcFDCTFlt_3DNow}) {
      check(
          [&](float* d) {
            routine(bytes.samples.data(), bytes.stride(), left.data(), right.data(), scale.data(), d, nullptr);
          },
          bytes.block(0), 128, 8, left, right, false);
    }
    for (const auto routine : {matrMul8x8Flt, matrMul8x8Flt_SSE, matrMul8x8Flt_3DNow}) {
      GuardedBuffer<float> product(64, guard);
      routine(left.data(), right.data(), product.data());
      EXPECT_TRUE(holdsBlock(product, reference::product(left, right)));
    }
    const Words coefs = block<std::int16_t>(pattern, 9, -90, 90);
    Block<float> x;
    for (int i = 0; i < 64; ++i) x[i] = coefs[i] * scale[i];
    x = reference::product(reference::product(left, x), right);
    for (float& v : x) v = std::clamp(std::round(v) + 128, 0.0f, 255.0f);
    for (const auto routine : {calcIDCTFlt_SSE, calcIDCTFlt_SSE2}) {
      proveSamples<std::uint8_t>(x, 1, guard, [&](auto* out, unsigned stride) {
        routine(coefs.data(), scale.data(), left.data(), right.data(), out, stride, nullptr);
      });
    }
    const unsigned stride = 8 * blocks + 5;
    for (const int order : {0, 1}) {  // all blocks differ, so that none can stand in for its neighbour
      GuardedBuffer<std::int16_t> strip(samples<std::int16_t>(64 * blocks, pattern, 9, -90, 90), guard);
      GuardedBuffer<std::uint8_t> out(blocks == 0 ? 0 : 7 * stride + 8 * blocks, guard);
      std::vector<std::uint8_t> wanted = out.copy();
      for (unsigned b = 0; b < blocks; ++b) {
        Words one;
        for (int i = 0; i < 64; ++i) one[order == 0 ? i : reference::kZigzag[i]] = strip.data()[64 * b + i];
        calcIDCTFlt_SSE(one.data(), scale.data(), left.data(), right.data(), &wanted[8 * b], stride, nullptr);
      }
      calcIDCTFlt_strip(strip.data(), blocks, scale.data(), left.data(), right.data(), out.data(), stride, order);
      EXPECT_TRUE(holds(out, wanted));
    }
  });
}

template <typename T, typename U>
void expectWithin(int limit, const Block<T>& a, const Block<U>& b, const char* what) {
  for (int i = 0; i < 64; ++i) EXPECT_LE(std::abs(a[i] - b[i]), limit) << what << ' ' << i;
}

// With the client's tables: the 16-bit transforms beside the float ones, and each inverse after its forward partner.
TEST(Dct, TablesMakeInversesUndoTheirForwardPartners) {
  QuantizerSteps ones, threes;
  ones.fill(1), threes.fill(3);
  for (const InverseTables kind : {InverseTables::ForwardsSteps8, InverseTables::Plain}) {
    fillTransformTables(kind);
    fillFloatScales(ones, 8);
    const Quantizer q8 = makeQuantizer8(ones, kind), q12 = makeQuantizer12(threes);
    ASSERT_TRUE(q8.valid && q12.valid);
    for (const std::uint32_t seed : {1, 2, 3, 4}) {
      const auto bytes = block<std::uint8_t>(Pattern::Random, seed);
      Words coefs, rounded;
      Steps out;
      Block<float> exact;
      Block<std::uint8_t> outBytes;
      auto* const words = reinterpret_cast<std::uint16_t*>(coefs.data());
      calcFDCT16_bq(bytes.data(), 8, q8.bias.data(), q8.recip.data(), words, nullptr);
      calcFDCTf_bq(bytes.data(), 8, getFDCTfn(), exact.data(), nullptr);
      expectWithin(1, coefs, exact, "coefficient");
      calcIDCT16_bq(words, out.data(), 16, q8.inverse.data(), nullptr, nullptr);
      expectWithin(kind == InverseTables::Plain ? 11 : 6, out, bytes, "8-bit sample");
      std::ranges::transform(exact, rounded.begin(), [](float v) { return static_cast<std::int16_t>(v); });
      calcIDCTFlt_SSE(rounded.data(), getIDCTfn(), getIDCTf(), getIDCTf() + 64, outBytes.data(), 8, nullptr);
      expectWithin(2, outBytes, bytes, "float sample");
      if (kind != InverseTables::Plain) continue;
      const auto samples = block<std::uint16_t>(Pattern::Random, seed, 0, 4095);
      calcFDCT16_w(samples.data(), 16, words, nullptr);
      calcIDCT16_w(words, out.data(), 16, nullptr, nullptr);
      expectWithin(5, out, samples, "12-bit sample");
      calcFDCT16_wq(samples.data(), 16, q12.bias.data(), q12.recip.data(), words, nullptr);
      calcIDCT16_wq(words, out.data(), 16, q12.inverse.data(), nullptr, nullptr);
      expectWithin(8, out, samples, "quantised 12-bit sample");
    }
  }
}

TEST(Dct, HandComputedValuesPinTheTables) {
  fillTransformTables();
  EXPECT_EQ(getFDCT64()[0], 0x5A825A825A825A82u);  // 23170
  EXPECT_EQ(getFDCT64()[8], 0x7D8A7D8A7D8A7D8Au);  // 32138: frequency 1 at point 0
  EXPECT_EQ(getIDCT16()[1], 32138);                // and transposed
  EXPECT_EQ(getFDCT16()[8 + 7], -32138);
  EXPECT_EQ(jpegSteps(kJpegLuminanceSteps, 50), kJpegLuminanceSteps);
  EXPECT_EQ(jpegSteps(kJpegLuminanceSteps, 90)[0], 3);     // 16 * 20 %
  EXPECT_EQ(jpegSteps(kJpegChrominanceSteps, 10)[0], 85);  // 17 * 500 %
  EXPECT_EQ(jpegSteps(kJpegChrominanceSteps, 1)[63], 255);
  EXPECT_EQ(jpegSteps(kJpegLuminanceSteps, 100)[63], 1);

  Steps samples{};  // black wraps, what is next to it does not
  Words coefs;
  auto* const out = reinterpret_cast<std::uint16_t*>(coefs.data());
  calcFDCT16_w(samples.data(), 16, out, nullptr);
  EXPECT_EQ(coefs[0], 16382);
  samples.fill(1);
  calcFDCT16_w(samples.data(), 16, out, nullptr);
  EXPECT_EQ(coefs[0], -16378);

  Steps steps, recip;
  steps.fill(3), steps[5] = 16, recip.fill(7);
  EXPECT_EQ(genQuantizeTable(steps.data(), recip.data()), 0);
  EXPECT_EQ(recip[4], 21846);
  EXPECT_EQ(recip[5], 4096);
  steps[10] = 1, recip.fill(7);
  EXPECT_EQ(genQuantizeTable(steps.data(), recip.data()), 1);
  EXPECT_EQ(recip[9], 21846);
  EXPECT_EQ(recip[10], 7);
}

}  // namespace
}  // namespace quorvel::test
