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

// All entries of an exported table, read through the only way in.
Bytes entriesOf(CGammaTblB_DLL& table) {
  std::vector<std::int16_t> every(4096);
  std::iota(every.begin(), every.end(), std::int16_t{0});
  Bytes out(every.size());
  table.convert16_8(every.data(), out.data(), static_cast<unsigned>(every.size()));
  return out;
}

Bytes entriesOf(const GammaTable& table) { return {table.entries(), table.entries() + table.size()}; }

// The leading samples that fill no group are indices with a sign: they reach before the place in the table that the
// routine is given.
template <typename Entry>
auto lookedUp(unsigned group, unsigned before) {
  return [=](const auto& in, std::vector<Entry>& out, const std::vector<Entry>& table, unsigned n) {
    for (unsigned i = 0; i < n; ++i) {
      out[i] = table[before + (i < n % group ? static_cast<unsigned>(in[i]) : static_cast<std::uint16_t>(in[i]))];
    }
  };
}

TEST(Gamma, LooksUpEverySampleOnce) {
  constexpr unsigned kBefore = 32768;
  const auto inside = [](auto routine) {
    return [=](auto* src, auto* dst, auto* table, unsigned n) { routine(src, dst, table + kBefore, n); };
  };
  for (const unsigned n : rowLengths()) {
    const auto words = samples<std::int16_t>(n, Pattern::Random);
    prove(Guard::AfterEnd, gamma8_8, lookedUp<std::uint8_t>(1, 0), samples<std::uint8_t>(n, Pattern::Random),
          room<std::uint8_t>(n), samples<std::uint8_t>(256, Pattern::Random, 2), n);
    prove(Guard::AfterEnd, inside(gamma16_8), lookedUp<std::uint8_t>(3, kBefore), words, room<std::uint8_t>(n),
          samples<std::uint8_t>(kBefore + 65536, Pattern::Random), n);
    prove(Guard::AfterEnd, inside(gamma16_16), lookedUp<std::uint16_t>(4, kBefore), words, room<std::uint16_t>(n),
          samples<std::uint16_t>(kBefore + 65536, Pattern::Random), n);
  }
}

// Which way is taken is a matter of time, so each is proved by itself: tables begin and end anywhere.
TEST(Gamma, BothWaysOfLookingUpGiveTheEntry) {
  onEveryTarget([] {
    for (const auto lookUp : {lookUpBytesByWords, lookUpBytesByGathers}) {
      for (const unsigned size : {4093u, 4094u, 4095u, 4096u, 65536u}) {
        const Bytes table = samples<std::uint8_t>(size, Pattern::Random);
        for (const unsigned n : rowLengths()) {
          Words in = samples<std::uint16_t>(n, Pattern::Random, n, 0, static_cast<std::uint16_t>(size - 1));
          if (n > 0) in[n / 2] = static_cast<std::uint16_t>(n % 2 == 0 ? size - 1 : 0);
          prove(Guard::AfterEnd, lookUp, lookedUp<std::uint8_t>(1, 0), in, room<std::uint8_t>(n), table, n);
        }
      }
    }
  });
}

TEST(Gamma, TablesFollowTheFormula) {
  CGammaTblB_DLL exported;
  EXPECT_TRUE(sameSamples(reference::gammaTable(12, 1.0, 0, 4095, 255), entriesOf(exported)));
  exported.genGamma(2.2, 64, 4000, 200);
  EXPECT_TRUE(sameSamples(reference::gammaTable(12, 2.2, 64, 4000, 200), entriesOf(exported)));
  const std::pair<int, int> levels[] = {{0, 4095}, {64, 4000}, {100, 101}, {-50, 5000}, {4000, 64}, {7, 7}, {1, 254}};
  for (unsigned c = 0; c < 4 * 4 * 4 * 9 * std::size(levels); ++c) {
    const unsigned bits = std::array{4u, 8u, 12u, 14u}[c % 4];
    const int maxOut = std::array{255, 200, 1, 0}[c / 4 % 4];
    const bool toe = c / 16 % 2 == 0, invert = c / 32 % 2 == 0;
    const double gamma = std::array{0.3, 0.45, 0.5, 1.0, 1.8, 2.0, 2.2, 2.4, 5.0}[c / 64 % 9];
    const auto& [low, high] = levels[c / 64 / 9];
    GammaTable table(bits);
    table.generate({gamma, double(low), double(high), double(maxOut), toe, invert});
    EXPECT_TRUE(sameSamples(reference::gammaTable(bits, gamma, low, high, maxOut, toe, invert), entriesOf(table)))
        << bits << " bits, gamma " << gamma << ", " << low << ".." << high << ", " << maxOut << toe << invert;
  }
}

// A C library may be off by a few units in the last place; the table may not show it.
TEST(Gamma, TablesDoNotDependOnTheLibrarysLastBits) {
  for (const double gamma : {1.0, 0.5, 2.0, 2.2, 3.0}) {
    for (const double high : {4095.0, 4080.0, 2048.0, 255.0}) {
      GammaTable exact(12), off(12);
      exact.generate({gamma, 0, high, 255}, exactPower);
      for (const auto power : {+[](double b, double e) { return std::pow(b, e) * (1 - 0x1p-50); },
                               +[](double b, double e) { return std::pow(b, e) * (1 + 0x1p-50); }}) {
        off.generate({gamma, 0, high, 255}, power);
        EXPECT_TRUE(sameSamples(entriesOf(exact), entriesOf(off))) << gamma << ", " << high;
      }
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
  for (const double gamma : {0.0, -1.0, -0.001, 1e-300, 1e300, double(NAN), double(INFINITY)}) {
    table.genGamma(gamma, 0, 4095, 255);
    EXPECT_TRUE(entriesOf(table).front() == 0 && entriesOf(table).back() == 255) << gamma;
  }
  std::uint8_t memory[100];
  GammaTable borrowed(8);
  borrowed.borrow(memory, sizeof memory);
  borrowed.generate({1, 0, 255, 255});
  EXPECT_EQ(borrowed.entries(), nullptr) << "256 entries do not fit";
}

// A table that was made by other means shows whether the routine makes it anew: everything through it is black.
TEST(ThreeChannels, EachGoesThroughItsOwnTableMadeAnewForAChangedRecordOnly) {
  constexpr unsigned kWidth = 33, kHeight = 3, kSize = kWidth * kHeight;
  CGammaTblB_DLL red, green, blue;
  CGammaTblB_DLL* tables[3] = {&red, &green, &blue};
  ConversionParam p = {{10, 4000, 2.2, 0, 255}, {20, 3900, 1.8, 0, 250}, {0, 4095, 1.0, 0, 200}}, last = {};
  const auto proveChannels = [&](auto routine, bool greenChanged, bool othersChanged) {
    const auto model = [&](const Words& r, const Words& g, const Words& b, Bytes& outR, Bytes& outG, Bytes& outB) {
      const auto convert = [](const Words& in, Bytes& out, const ConversionChannel& c, bool changed) {
        const Bytes table = reference::gammaTable(12, c.gamma, c.lowLevel, c.highLevel, c.maxOut);
        for (unsigned i = 0; i < in.size(); ++i) out[i] = changed ? table[in[i]] : std::uint8_t{0};
      };
      convert(r, outR, p.red, othersChanged);
      convert(g, outG, p.green, greenChanged);
      convert(b, outB, p.blue, othersChanged);
    };
    const auto plane = [&](unsigned c) { return samples<std::uint16_t>(kSize, Pattern::Random, c, 0, 4095); };
    const Bytes out = room<std::uint8_t>(kSize);
    prove(Guard::AfterEnd, routine, model, plane(1), plane(2), plane(3), out, out, out);
  };
  const auto given = [&](auto* r, auto* g, auto* b, auto... out) {
    convertRGBGammaTo8(&p, r, g, b, kWidth, kHeight, out..., tables, &last);
  };
  const auto ofProcess = [&](auto* r, auto* g, auto* b, auto... out) {
    convertRGBGammaTo8_(&p, r, g, b, kWidth, kHeight, out...);
  };
  proveChannels(given, true, true);
  const std::function<void()> changes[] = {[&] { ++p.green.mode; },        [&] { ++p.green.lowLevel; },
                                           [&] { --p.green.highLevel; },   [&] { --p.green.maxOut; },
                                           [&] { p.green.gamma += 0.1; },  [] {},
                                           [&] { p.green.gamma += 1e-12; }};  // no difference between 32-bit floats
  for (const auto& change : changes) {
    for (CGammaTblB_DLL* table : tables) table->genGamma(1, 4095, 4095, 255);
    change();
    SCOPED_TRACE(&change - changes);
    proveChannels(given, &change - changes < 5, false);
    proveChannels(ofProcess, true, true);  // which remembers what it had
  }
}

TEST(ProductTable, HoldsEveryProduct) {
  genMulTable8_8();
  for (unsigned i = 0; i < 65536; ++i) ASSERT_EQ(productTable[i], i / 256 * (i % 256));
}

}  // namespace
}  // namespace quorvel::test
