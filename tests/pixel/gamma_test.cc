// SPDX-License-Identifier: Apache-2.0
#include <functional>
#include <numeric>

#include <quorvel/pixel.h>

#include "pixel/exact_power.h"
#include "pixel/gamma_table.h"
#include "pixel/look_up.h"
#include "pixel/product_table.h"
#include "tests/support/prove.h"
#include "tests/support/reference/gamma.h"

namespace quorvel::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

// All entries of an exported table, read through the only way in.
Bytes entriesOf(CGammaTblB_DLL& table) {
  std::vector<std::int16_t> every(4096);
  std::iota(every.begin(), every.end(), std::int16_t{0});
  Bytes out(every.size());
  table.convert16_8(every.data(), out.data(), static_cast<unsigned>(every.size()));
  return out;
}

TEST(Gamma, LooksUpEverySampleOnce) {
  for (const unsigned n : rowLengths(1)) {
    const Bytes table8 = samples<std::uint8_t>(65536, Pattern::Random);
    const Words table16 = samples<std::uint16_t>(65536, Pattern::Random);
    GuardedBuffer<std::uint8_t> bytes(samples<std::uint8_t>(n, Pattern::Random)), out8(n), out16to8(n);
    // Samples of a 12-bit table, and in whole groups the upper half of a larger one.
    Words in = samples<std::uint16_t>(n, Pattern::Random, 2, 0, 4095);
    for (std::size_t i = n % 12; i < n; i += 5) in[i] = static_cast<std::uint16_t>(in[i] | 0x8000);
    GuardedBuffer<std::uint16_t> words(in), out16(n);
    const auto* signedWords = reinterpret_cast<const std::int16_t*>(words.data());
    gamma8_8(bytes.data(), out8.data(), table8.data(), n);
    gamma16_8(signedWords, out16to8.data(), table8.data(), n);
    gamma16_16(signedWords, out16.data(), table16.data(), n);
    Bytes expected8(n), expected16to8(n);
    Words expected16(n);
    for (std::size_t i = 0; i < n; ++i) {
      expected8[i] = table8[bytes.data()[i]];
      expected16to8[i] = table8[in[i]];
      expected16[i] = table16[in[i]];
    }
    EXPECT_TRUE(holds(out8, expected8) && holds(out16to8, expected16to8) && holds(out16, expected16)) << n;
  }
}

// Which way is taken is a matter of time, so each is proved by itself: tables begin and end anywhere.
TEST(Gamma, BothWaysOfLookingUpGiveTheEntry) {
  onEveryTarget([] {
    for (const auto lookUp : {lookUpBytesByWords, lookUpBytesByGathers}) {
      for (const unsigned size : {4093u, 4094u, 4095u, 4096u, 65536u}) {
        GuardedBuffer<std::uint8_t> table(samples<std::uint8_t>(size, Pattern::Random));
        for (const unsigned n : rowLengths()) {
          GuardedBuffer<std::uint16_t> in(
              samples<std::uint16_t>(n, Pattern::Random, n, 0, static_cast<std::uint16_t>(size - 1)));
          if (n > 0) in.data()[n / 2] = static_cast<std::uint16_t>(n % 2 == 0 ? size - 1 : 0);
          GuardedBuffer<std::uint8_t> out(n);
          Bytes expected(n);
          for (unsigned i = 0; i < n; ++i) expected[i] = table.data()[in.data()[i]];
          lookUp(in.data(), out.data(), table.data(), n);
          ASSERT_TRUE(holds(out, expected)) << n << " of " << size;
        }
      }
    }
  });
}

// The leading samples that fill no group of three, or of four, are indices with a sign: they reach before the table.
TEST(Gamma, LeadingSamplesHaveASign) {
  Bytes around8(32768 + 65536);
  Words around16(around8.size());
  for (std::size_t i = 0; i < around8.size(); ++i) around8[i] = static_cast<std::uint8_t>(around16[i] = i * 7919 >> 4);
  const std::int16_t negative[11] = {-1, -2, -3, -4, -5, -6, -7, -8, -9, -10, -32768};
  for (const unsigned n : {1u, 2u, 3u, 4u, 5u, 11u}) {
    Bytes out8(n);
    Words out16(n);
    gamma16_8(negative, out8.data(), around8.data() + 32768, n);
    gamma16_16(negative, out16.data(), around16.data() + 32768, n);
    for (unsigned i = 0; i < n; ++i) {
      const auto index = [&](unsigned group) {
        return 32768 + (i < n % group ? negative[i] : static_cast<std::uint16_t>(negative[i]));
      };
      EXPECT_EQ(out8[i], around8[static_cast<std::size_t>(index(3))]) << i << " of " << n;
      EXPECT_EQ(out16[i], around16[static_cast<std::size_t>(index(4))]) << i << " of " << n;
    }
  }
}

TEST(Gamma, TablesFollowTheFormula) {
  CGammaTblB_DLL table;
  EXPECT_TRUE(sameSamples(reference::gammaTable(12, 1.0, 0, 4095, 255), entriesOf(table)));
  EXPECT_EQ(entriesOf(table)[2048], 128);
  const int levels[][2] = {{0, 4095}, {64, 4000}, {100, 101}, {-50, 5000}, {4000, 64}, {7, 7}};
  for (const double gamma : {0.3, 0.45, 0.5, 1.0, 1.8, 2.0, 2.2, 2.4, 5.0}) {
    for (const auto& [low, high] : levels) {
      for (const int maxOut : {255, 200, 1, 0}) {
        table.genGamma(gamma, low, high, maxOut);
        EXPECT_TRUE(sameSamples(reference::gammaTable(12, gamma, low, high, maxOut), entriesOf(table)))
            << gamma << ", " << low << ".." << high << ", " << maxOut;
      }
    }
  }
}

TEST(Gamma, ToeAndInversionOfTablesOfAnyWidth) {
  for (const unsigned bits : {4u, 8u, 12u, 14u}) {
    for (const bool toe : {false, true}) {
      for (const bool invert : {false, true}) {
        const int high = (1 << bits) - 2;
        GammaTable table(bits);
        table.generate({2.2, 1, static_cast<double>(high), 255, toe, invert});
        EXPECT_TRUE(sameSamples(reference::gammaTable(bits, 2.2, 1, high, 255, toe, invert),
                                Bytes(table.entries(), table.entries() + table.size())))
            << bits << " bits" << (toe ? ", toe" : "") << (invert ? ", inverted" : "");
        EXPECT_EQ(table.gamma(), 2.2f);
      }
    }
  }
}

// A C library may be off by a few units in the last place; the table may not show it.
TEST(Gamma, TablesDoNotDependOnTheLibrarysLastBits) {
  for (const double gamma : {1.0, 0.5, 2.0, 2.2, 3.0}) {
    for (const double high : {4095.0, 4080.0, 2048.0, 255.0}) {
      const GammaCurve curve{gamma, 0, high, 255};
      GammaTable exact(12), low(12), upper(12);
      exact.generate(curve, exactPower);
      low.generate(curve, [](double b, double e) { return std::pow(b, e) * (1 - 0x1p-50); });
      upper.generate(curve, [](double b, double e) { return std::pow(b, e) * (1 + 0x1p-50); });
      const Bytes expected(exact.entries(), exact.entries() + exact.size());
      EXPECT_TRUE(sameSamples(expected, Bytes(low.entries(), low.entries() + low.size()))) << gamma << ", " << high;
      EXPECT_TRUE(sameSamples(expected, Bytes(upper.entries(), upper.entries() + upper.size())))
          << gamma << ", " << high;
    }
  }
  for (const double base : {1e-4, 0.1, 0.5, 0.999, 1.0}) {
    for (const double exponent : {0.2, 1 / 2.2, 1.0, 3.3}) {
      EXPECT_NEAR(exactPower(base, exponent) / std::pow(base, exponent), 1, 4e-16) << base << " ^ " << exponent;
    }
  }
}

TEST(Gamma, SenselessParametersAreHarmless) {
  CGammaTblB_DLL table;
  for (const double gamma :
       {0.0, -1.0, -0.001, 1e-300, 1e300, static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
    for (const auto& [low, high] : {std::pair{0, 4095}, std::pair{4095, 0}, std::pair{5, 5}}) {
      table.genGamma(gamma, low, high, 255);
      const Bytes entries = entriesOf(table);
      EXPECT_EQ(entries[static_cast<std::size_t>(low)], 0);
      if (high > low) {
        EXPECT_EQ(entries[static_cast<std::size_t>(high)], 255);
      }
    }
  }
  std::uint8_t small[100];
  GammaTable borrowed(8);
  borrowed.borrow(small, sizeof small);
  borrowed.generate({1, 0, 255, 255});
  EXPECT_EQ(borrowed.entries(), nullptr) << "256 entries do not fit";
}

class ThreeChannels : public testing::Test {
 protected:
  static constexpr unsigned kWidth = 33, kHeight = 3, kSize = kWidth * kHeight;
  void convert() {
    convertRGBGammaTo8(&p, in[0].data(), in[1].data(), in[2].data(), kWidth, kHeight, out[0].data(), out[1].data(),
                       out[2].data(), tables, &last);
  }
  static Bytes through(const ConversionChannel& c, const Words& plane) {
    const Bytes table = reference::gammaTable(12, c.gamma, c.lowLevel, c.highLevel, c.maxOut);
    Bytes result(plane.size());
    for (std::size_t i = 0; i < plane.size(); ++i) result[i] = table[plane[i]];
    return result;
  }

  Words in[3] = {samples<std::uint16_t>(kSize, Pattern::Random, 1, 0, 4095),
                 samples<std::uint16_t>(kSize, Pattern::Random, 2, 0, 4095),
                 samples<std::uint16_t>(kSize, Pattern::Random, 3, 0, 4095)};
  Bytes out[3] = {Bytes(kSize), Bytes(kSize), Bytes(kSize)};
  CGammaTblB_DLL red, green, blue;
  CGammaTblB_DLL* tables[3] = {&red, &green, &blue};
  ConversionParam p = {{10, 4000, 2.2, 0, 255}, {20, 3900, 1.8, 0, 250}, {0, 4095, 1.0, 0, 200}}, last = {};
};

TEST_F(ThreeChannels, EachGoesThroughItsOwnTable) {
  convert();
  EXPECT_EQ(out[0], through(p.red, in[0]));
  EXPECT_EQ(out[1], through(p.green, in[1]));
  EXPECT_EQ(out[2], through(p.blue, in[2]));
  Bytes second[3] = {Bytes(kSize), Bytes(kSize), Bytes(kSize)};
  const auto process = [&] {
    convertRGBGammaTo8_(&p, in[0].data(), in[1].data(), in[2].data(), kWidth, kHeight, second[0].data(),
                        second[1].data(), second[2].data());
  };
  process();
  for (int c = 0; c < 3; ++c) EXPECT_EQ(second[c], out[c]);
  p.green.gamma = 2.4;  // the process remembers what it had
  process();
  EXPECT_EQ(second[1], through(p.green, in[1]));
  EXPECT_EQ(second[2], out[2]);
}

// A table that was made by other means shows whether the routine makes it anew.
TEST_F(ThreeChannels, OnlyAChangedRecordRegeneratesItsTable) {
  convert();
  const Bytes zeros(kSize, 0);
  const auto plant = [&] {
    for (CGammaTblB_DLL* table : tables) table->genGamma(1, 4095, 4095, 255);  // everything black
  };
  plant();
  convert();
  EXPECT_TRUE(out[0] == zeros && out[1] == zeros && out[2] == zeros) << "nothing changed, nothing is regenerated";
  const std::function<void(ConversionChannel&)> changes[] = {
      [](auto& c) { ++c.mode; }, [](auto& c) { ++c.lowLevel; }, [](auto& c) { --c.highLevel; },
      [](auto& c) { --c.maxOut; }, [](auto& c) { c.gamma += 0.1; }};
  for (const auto& change : changes) {
    plant();
    change(p.green);
    convert();
    EXPECT_TRUE(out[0] == zeros && out[2] == zeros);
    EXPECT_EQ(out[1], through(p.green, in[1]));
  }
  plant();
  p.red.gamma += 1e-12;  // no difference between 32-bit floats
  convert();
  EXPECT_EQ(out[0], zeros);
}

TEST(ProductTable, HoldsEveryProduct) {
  genMulTable8_8();
  for (unsigned a = 0; a < 256; ++a) {
    for (unsigned b = 0; b < 256; ++b) ASSERT_EQ(productTable[256 * a + b], a * b);
  }
}

}  // namespace
}  // namespace quorvel::test
