// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include <quorvel/colour.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

// What is to be known of each value class: levels an axis, and bits of an output.
template <typename ValueTable, unsigned kLevelsAnAxis, unsigned kSampleBits, auto kRoutine>
struct Kind {
  using Table = ValueTable;
  using Lane = std::conditional_t<kSampleBits == 8, std::uint8_t, std::uint16_t>;
  static constexpr unsigned kLevels = kLevelsAnAxis, kCells = kLevels * kLevels * kLevels, kBits = kSampleBits;
  static constexpr auto kConvert = kRoutine;

  static std::array<unsigned, 4> lanes(Table& table, unsigned cell) {
    Lane lane[4];
    std::memcpy(lane, table.get(cell), sizeof lane);
    return {lane[0], lane[1], lane[2], lane[3]};
  }
};

template <typename K>
class ValueTables : public testing::Test {};
using Kinds =
    testing::Types<Kind<ColorConvTable, 64, 8, colorConv24_24>, Kind<ColorConvTable5, 32, 8, colorConv5_24_24>,
                   Kind<ColorConvTable64, 64, 12, colorConv48_48>, Kind<ColorConvTable5_64, 32, 12, colorConv5_48_48>>;
TYPED_TEST_SUITE(ValueTables, Kinds);

TYPED_TEST(ValueTables, TheIdentityKeepsEverySample) {
  using K = TypeParam;
  typename K::Table table;
  EXPECT_EQ(table.get(), nullptr);
  table.genDefault();
  ASSERT_EQ(table.total(), K::kCells);
  EXPECT_EQ(table.getNX(), K::kCells);
  const auto in = samples<typename K::Lane>(3 * 4096, Pattern::Random, 1, 0, (1u << K::kBits) - 1);
  auto out = in;
  K::kConvert(in.data(), out.data(), table.get(), 4096);
  EXPECT_TRUE(sameSamples(in, out));
}

TYPED_TEST(ValueTables, FloatsAreLimitedAndTruncated) {
  using K = TypeParam;
  constexpr float kHuge = std::numeric_limits<float>::max(), kNan = std::numeric_limits<float>::quiet_NaN();
  TMatrix<float> matrix(3, K::kCells + 1);  // what lies behind is not looked at
  const std::array<float, 9> floats = {0.99f, 37.99f, 255.999f, -0.5f, kNan, kHuge, -kHuge, -1, 1.0625f};
  std::copy(floats.begin(), floats.end(), matrix.row(K::kCells - 3));
  typename K::Table table;
  table.convertFrom(matrix);
  const unsigned most = K::kBits == 8 ? 255 : 65535;
  const auto value = [](float v) { return static_cast<unsigned>(v * (K::kBits == 8 ? 1 : 16)); };
  EXPECT_EQ(K::lanes(table, K::kCells - 3), (std::array{value(0.99f), value(37.99f), value(255.999f), 0u}));
  EXPECT_EQ(K::lanes(table, K::kCells - 2), (std::array{0u, 0u, most, 0u}));
  EXPECT_EQ(K::lanes(table, K::kCells - 1), (std::array{0u, 0u, value(1.0625f), 0u}));

  for (auto [columns, rows] : {std::pair{3u, K::kCells - 1}, {4u, K::kCells}, {0u, 0u}}) {
    TMatrix<float> wrong(columns, rows);
    table.convertFrom(wrong);
    EXPECT_EQ(K::lanes(table, K::kCells - 2)[2], most) << "a matrix of another shape changes nothing";
  }
}

TYPED_TEST(ValueTables, CubesAreTakenCellByCell) {
  using K = TypeParam;
  TCubeI16<K::kLevels> cube;
  const auto values = samples<std::int16_t>(3 * K::kCells, Pattern::Random);
  std::copy(values.begin(), values.end(), cube.data());
  typename K::Table table;
  table.convertFrom(cube);
  for (unsigned i = 0; i < K::kCells; i += 17) {
    const std::int16_t* v = cube.cell(i % K::kLevels, i / K::kLevels % K::kLevels, i / K::kLevels / K::kLevels);
    const auto kept = [](std::int16_t w) {  // bytes down to their cell's level; negative values keep their sign's bits
      const unsigned word = static_cast<std::uint16_t>(w), step = 256 / K::kLevels;
      return K::kBits == 8 ? word / 16 % 256 / step * step : word;
    };
    ASSERT_EQ(K::lanes(table, i), (std::array{kept(v[0]), kept(v[1]), kept(v[2]), 0u})) << i;
  }
}

TYPED_TEST(ValueTables, CopiesAreDeepAndLentMemoryIsUsed) {
  using K = TypeParam;
  typename K::Table table, assigned, borrowing;
  table.genDefault();
  auto copy = table;
  assigned = table;
  assigned = assigned;
  std::memset(table.get(), 0, table.totalb());
  for (auto* t : {&copy, &assigned}) EXPECT_NE(K::lanes(*t, 1)[0], 0u);
  assigned = typename K::Table();
  EXPECT_EQ(assigned.total(), 0u);
  EXPECT_EQ(assigned.getNXYZ(), 0u);

  std::vector<std::remove_pointer_t<decltype(table.get())>> lent(K::kCells);
  borrowing.realloc(lent.data(), K::kCells, 1, 1);
  borrowing.genDefault();
  EXPECT_EQ(borrowing.get(), lent.data());
  borrowing.realloc(lent.data(), 10, 1, 1);  // too small
  borrowing.genDefault();
  EXPECT_NE(borrowing.get(), lent.data());
  EXPECT_EQ(borrowing.total(), K::kCells);
}

using Levels = std::array<unsigned, 3>;

// A cube of the values that rule(levels, channel) gives.
template <typename Rule>
CCubeI16 cubeOf(Rule rule) {
  CCubeI16 cube;
  for (unsigned i = 0; i < 3 * CCubeI16::kCells; ++i)
    cube.data()[i] = static_cast<std::int16_t>(rule(Levels{i / 3 % 64, i / 192 % 64, i / 12288}, i % 3));
  return cube;
}

double smooth(const Levels& at, unsigned c) {
  const double r = at[0], g = at[1], b = at[2];
  return c == 0 ? 4095 * std::pow(r / 63, 0.7) : c == 1 ? 40 * g + 10 * r + 10 * std::sin(b / 8) : 4000 - 60 * b + r;
}

// What keeps every sample, as a matrix of so many levels an axis.
TMatrix<float> identityOf(unsigned levels) {
  TMatrix<float> matrix(3, levels * levels * levels);
  for (unsigned i = 0; i < matrix.rows(); ++i) {
    const unsigned at[3] = {i % levels, i / levels % levels, i / levels / levels};
    for (unsigned c = 0; c < 3; ++c) matrix.row(i)[c] = static_cast<float>(256 / levels * at[c]);
  }
  return matrix;
}

// The least-squares slope through the grid point, from the corners themselves: all differences weigh in as they are.
double slope(const CCubeI16& cube, unsigned i, unsigned c, int neighbours, double step) {
  const unsigned at[3] = {i % 64, i / 64 % 64, i / 4096};
  std::vector<unsigned> order;  // offsets of corners at the next level of c, the nearest first
  for (unsigned offset : {0u, 1u, 2u, 4u, 3u, 5u, 6u, 7u}) {
    if (!(offset >> c & 1)) order.push_back(offset | 1u << c);
  }
  double xx = 0, xy = 0;
  for (int n = 0; n < neighbours; ++n) {
    unsigned p[3];
    for (unsigned a = 0; a < 3; ++a)
      p[a] = at[a] + (order[static_cast<std::size_t>(n)] >> a & 1 ? at[a] < 63 ? 1 : -1 : 0);
    const double x = step * (static_cast<double>(p[c]) - at[c]);
    xx += x * x;
    xy += x * (cube.cell(p[0], p[1], p[2])[c] - cube.cell(at[0], at[1], at[2])[c]);
  }
  return xx == 0 ? 1 : xy / xx;
}

TEST(GainTable, MeetsTheCubeAtGridPointsAndFollowsItsSlope) {
  std::minstd_rand random;
  for (const CCubeI16& cube : {cubeOf(smooth), cubeOf([&](const Levels&, unsigned) { return random() % 4096; })}) {
    for (const bool words : {false, true}) {
      for (const int neighbours : {0, 1, 2, 3, 4}) {
        SCOPED_TRACE(testing::Message() << (words ? "words, neighbours " : "bytes, neighbours ") << neighbours);
        ColorConvTableKxB table;
        words ? table.convertFrom12(cube, neighbours) : table.convertFrom(cube, neighbours);
        for (unsigned i = 0; i < CCubeI16::kCells; i += 11) {
          const unsigned unit = words ? 64 : 4;
          const std::array<unsigned, 3> at = {unit * (i % 64), unit * (i / 64 % 64), unit * (i / 4096)};
          for (unsigned c = 0; c < 3; ++c) {
            const int v = cube.data()[3 * i + c], k = table.get(i)->k[c], b = table.get(i)->b[c];
            ASSERT_EQ((static_cast<int>(at[c]) * k + b) >> 3, words ? v : v >> 4) << i << ' ' << c;
            const int last = static_cast<int>(at[c] + unit - 1);
            ASSERT_LE(std::abs(last * k), 32768) << i;
            const double wanted = 8 * slope(cube, i, c, neighbours, unit) / (words ? 1 : 16.0);
            // Where neither the products nor the offset would leave 16 bits; half a step for the rounding.
            const double reach = (std::abs(wanted) + 0.5) * last, offset = (words ? 8 * v : v / 2) - wanted * at[c];
            const bool free = reach < 32767 && std::abs(offset) + 0.5 * at[c] < 32767;
            if (neighbours == 0) {
              ASSERT_EQ(k, 8);
            } else if (free) {
              ASSERT_NEAR(k, wanted, 0.5001) << i << ' ' << c;
            }
          }
        }
      }
    }
  }
}

TEST(GainTable, IdentitiesAreUnityThroughEveryWay) {
  const CCubeI16 cube = cubeOf([](const Levels& at, unsigned c) { return 64 * at[c]; });
  TMatrix<float> matrix = identityOf(64);
  ColorConvTableKxB wanted, fromCube, fromMatrix, words;
  wanted.genDefault();
  fromCube.convertFrom(cube, 9);
  fromMatrix.convertFrom(matrix);
  words.convertFrom12(cube, -1);
  for (auto* t : {&fromCube, &fromMatrix, &words}) EXPECT_EQ(std::memcmp(t->get(), wanted.get(), wanted.totalb()), 0);
  EXPECT_EQ(wanted.get(77)->k[2], 8);
  EXPECT_EQ(wanted.get(77)->k[3], 0);
}

TEST(TableCreator, FillsEveryClassFromEitherGrid) {
  ColorConvTableCreator creator;
  ColorConvTable fine, identity;
  ColorConvTable5_64 coarse, identity5;
  ColorConvTableKxB gains;
  identity.genDefault(), identity5.genDefault();
  EXPECT_EQ(creator.create(fine), 3);
  creator.genDefault();
  EXPECT_EQ(creator.create(coarse), 0);
  EXPECT_EQ(std::memcmp(coarse.get(), identity5.get(), identity5.totalb()), 0);
  TMatrix<float> small = identityOf(32), wrong(3, 100);
  creator.convertFrom(small);
  creator.convertFrom(wrong);
  EXPECT_EQ(creator.create(fine), 0);
  EXPECT_EQ(creator.create(gains), 0);
  EXPECT_EQ(std::memcmp(fine.get(), identity.get(), identity.totalb()), 0)
      << "linear between levels, and beyond the last";
}

TEST(TableSet, SendsPixelsThroughCurvesTableAndCurves) {
  ColorConvTableSoj set;
  const auto pixels = samples<std::uint16_t>(3 * 1500, Pattern::Random, 3, 0, 4095);
  auto out = pixels, expected = pixels;
  EXPECT_EQ(set.convert48_48(pixels.data(), out.data(), 1500), 3) << "nothing was generated";
  std::array<std::vector<std::int16_t>, 3> cubes;
  for (unsigned c = 0; c < 3; ++c) cubes[c] = samples<std::int16_t>(CCubeI16::kCells, Pattern::Random, c, 0, 4032);
  ASSERT_EQ(set.generate(cubes[0].data(), cubes[1].data(), cubes[2].data()), 0);
  EXPECT_EQ(*set.get5_64().getXYZ(1 + 32 * (2 + 32 * 3), 0, 0), *set.get64().getXYZ(2 + 64 * (4 + 64 * 6), 0, 0));
  EXPECT_NE(set.get5_32().get(), nullptr);

  std::vector<std::uint16_t> before(3 * 4096), behind(before), identity(before);
  for (unsigned i = 0; i < before.size(); ++i) {
    before[i] = static_cast<std::uint16_t>(4095 - i % 4096 + i / 4096);  // above 4095 here and there
    behind[i] = static_cast<std::uint16_t>(100 + i % 4096 / 2 + i / 4096);
    identity[i] = static_cast<std::uint16_t>(i % 4096);
  }
  ASSERT_EQ(set.setPrescan(before.data()), 0);
  ASSERT_EQ(set.setScan(behind.data()), 0);
  int least = -1, greatest = -1;
  EXPECT_EQ(set.minMaxScan(2, &least, &greatest), 0);
  EXPECT_EQ(std::pair(least, greatest), std::pair(102, 2149));
  EXPECT_EQ(set.minMaxPrescan(1, &least, &greatest), 0);
  EXPECT_EQ(std::pair(least, greatest), std::pair(1, 4095));
  EXPECT_EQ(set.minMaxPrescan(3, &least, &greatest), -1);

  const ColorConvTableSoj copy = set;
  EXPECT_EQ(set.setScan(nullptr), 0);
  const auto applyCurves = [](const auto& curves, auto& to) {
    for (std::size_t i = 0; i < to.size(); ++i) to[i] = std::min<std::uint16_t>(curves[4096 * (i % 3) + to[i]], 4095);
  };
  applyCurves(before, expected);
  colorConv48_48(expected.data(), expected.data(), set.get64().get(), 1500);
  std::array<std::vector<std::uint16_t>, 3> planes;
  for (std::size_t i = 0; i < pixels.size(); ++i) planes[i % 3].push_back(pixels[i]);
  set.convert16x3_48(planes[0].data(), planes[1].data(), planes[2].data(), out.data(), 1500);
  EXPECT_TRUE(sameSamples(expected, out));
  applyCurves(behind, expected);
  out = pixels;
  copy.convert48_48(out.data(), out.data(), 1500);
  EXPECT_TRUE(sameSamples(expected, out));

  // Bytes between identities of 8 bits.
  const auto bytes = samples<std::uint8_t>(3 * 1500, Pattern::Random);
  auto plain = bytes, converted = bytes;
  set.setPrescan(identity.data());
  EXPECT_EQ(set.convert24_24(bytes.data(), converted.data(), 1500), 0);
  colorConv24_24(bytes.data(), plain.data(), set.get32().get(), 1500);
  EXPECT_TRUE(sameSamples(plain, converted));
}

}  // namespace
}  // namespace quorvel::test
