// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include <quorvel/colour.h>

#include "tests/support/prove.h"

namespace quorvel::test {
namespace {

// What is to be known of each value class: levels an axis, bits of an output, and what a cube's value becomes.
template <typename T>
struct Kind;
template <>
struct Kind<ColorConvTable> {
  static constexpr unsigned kLevels = 64, kBits = 8;
  static constexpr auto kConvert = colorConv24_24;
  static unsigned fromCube(int v) { return static_cast<unsigned>(v) / 16 % 256 / 4 * 4; }
};
template <>
struct Kind<ColorConvTable5> {
  static constexpr unsigned kLevels = 32, kBits = 8;
  static constexpr auto kConvert = colorConv5_24_24;
  static unsigned fromCube(int v) { return static_cast<unsigned>(v) / 16 % 256 / 8 * 8; }
};
template <>
struct Kind<ColorConvTable64> {
  static constexpr unsigned kLevels = 64, kBits = 12;
  static constexpr auto kConvert = colorConv48_48;
  static unsigned fromCube(int v) { return static_cast<std::uint16_t>(v); }
};
template <>
struct Kind<ColorConvTable5_64> {
  static constexpr unsigned kLevels = 32, kBits = 12;
  static constexpr auto kConvert = colorConv5_48_48;
  static unsigned fromCube(int v) { return static_cast<std::uint16_t>(v); }
};

template <typename T>
class ValueTable : public testing::Test {
 protected:
  static constexpr unsigned kLevels = Kind<T>::kLevels, kCells = kLevels * kLevels * kLevels;
  using Lane = std::conditional_t<Kind<T>::kBits == 8, std::uint8_t, std::uint16_t>;

  static std::array<unsigned, 4> lanes(T& table, unsigned cell) {
    Lane lane[4];
    std::memcpy(lane, table.get(cell), sizeof lane);
    return {lane[0], lane[1], lane[2], lane[3]};
  }
};

using ValueTables = testing::Types<ColorConvTable, ColorConvTable5, ColorConvTable64, ColorConvTable5_64>;
TYPED_TEST_SUITE(ValueTable, ValueTables);

TYPED_TEST(ValueTable, TheIdentityKeepsEverySample) {
  TypeParam table;
  EXPECT_EQ(table.get(), nullptr);
  table.genDefault();
  ASSERT_EQ(table.total(), this->kCells);
  EXPECT_EQ(table.getNX(), this->kCells);
  const unsigned i = 3 + this->kLevels * (5 + this->kLevels * 7), step = (1u << Kind<TypeParam>::kBits) / this->kLevels;
  EXPECT_EQ(this->lanes(table, i), (std::array{3 * step, 5 * step, 7 * step, 0u}));
  const typename TestFixture::Lane top = (1u << Kind<TypeParam>::kBits) - 1;
  const auto in = samples<typename TestFixture::Lane>(3 * 4096, Pattern::Random, 1, 0, top);
  std::vector<typename TestFixture::Lane> out(in.size());
  Kind<TypeParam>::kConvert(in.data(), out.data(), table.get(), 4096);
  EXPECT_TRUE(sameSamples(in, out));
}

TYPED_TEST(ValueTable, FloatsAreLimitedAndTruncated) {
  constexpr float kHuge = std::numeric_limits<float>::max(), kNan = std::numeric_limits<float>::quiet_NaN();
  TMatrix<float> matrix(3, this->kCells + 1);  // what lies behind is not looked at
  const std::array<float, 9> floats = {0.99f, 37.99f, 255.999f, -0.5f, kNan, kHuge, -kHuge, -1, 1.0625f};
  std::copy(floats.begin(), floats.end(), matrix.row(this->kCells - 3));
  TypeParam table;
  table.convertFrom(matrix);
  const bool bytes = Kind<TypeParam>::kBits == 8;
  const unsigned most = bytes ? 255 : 65535, scale = bytes ? 1 : 16;
  const auto value = [&](float v) { return static_cast<unsigned>(v * static_cast<float>(scale)); };
  EXPECT_EQ(this->lanes(table, this->kCells - 3), (std::array{value(0.99f), value(37.99f), value(255.999f), 0u}));
  EXPECT_EQ(this->lanes(table, this->kCells - 2), (std::array{0u, 0u, most, 0u}));
  EXPECT_EQ(this->lanes(table, this->kCells - 1), (std::array{0u, 0u, value(1.0625f), 0u}));

  for (auto [columns, rows] : {std::pair{3u, this->kCells - 1}, {4u, this->kCells}, {0u, 0u}}) {
    TMatrix<float> wrong(columns, rows);
    table.convertFrom(wrong);
    EXPECT_EQ(this->lanes(table, this->kCells - 2)[2], most) << "a matrix of another shape changes nothing";
  }
  TMatrix<float> back;
  table.convertTo(back);
  EXPECT_EQ(back.rows(), 0u);
}

TYPED_TEST(ValueTable, CubesAreTakenCellByCell) {
  TCubeI16<TestFixture::kLevels> cube;
  const auto values = samples<std::int16_t>(3 * this->kCells, Pattern::Random);
  std::copy(values.begin(), values.end(), cube.data());
  TypeParam table;
  table.convertFrom(cube);
  for (unsigned i = 0; i < this->kCells; i += 17) {
    const std::int16_t* v =
        cube.cell(i % this->kLevels, i / this->kLevels % this->kLevels, i / this->kLevels / this->kLevels);
    // Shifted as the word that it is, so that negative values keep their sign's bits.
    const auto kept = [](std::int16_t w) {
      return Kind<TypeParam>::fromCube(static_cast<int>(w) + (w < 0 ? 65536 : 0));
    };
    ASSERT_EQ(this->lanes(table, i), (std::array{kept(v[0]), kept(v[1]), kept(v[2]), 0u})) << i;
  }
}

TYPED_TEST(ValueTable, CopiesAreDeepAndLentMemoryIsUsed) {
  TypeParam table, assigned;
  table.genDefault();
  TypeParam copy(table);
  assigned = table;
  assigned = assigned;
  std::memset(table.get(), 0, table.totalb());
  for (TypeParam* t : {&copy, &assigned}) EXPECT_NE(this->lanes(*t, 1)[0], 0u);
  assigned = TypeParam();
  EXPECT_EQ(assigned.total(), 0u);
  EXPECT_EQ(assigned.getNXYZ(), 0u);

  std::vector<std::remove_pointer_t<decltype(table.get())>> lent(this->kCells);
  TypeParam borrowing;
  borrowing.realloc(lent.data(), this->kCells, 1, 1);
  borrowing.genDefault();
  EXPECT_EQ(borrowing.get(), lent.data());
  borrowing.realloc(lent.data(), 10, 1, 1);  // too small
  borrowing.genDefault();
  EXPECT_NE(borrowing.get(), lent.data());
  EXPECT_EQ(borrowing.total(), this->kCells);
}

// A smooth cube, and one of noise.
CCubeI16 smoothCube() {
  CCubeI16 cube;
  for (unsigned i = 0; i < CCubeI16::kCells; ++i) {
    const double r = i % 64, g = i / 64 % 64, b = i / 4096;
    const double v[3] = {4095 * std::pow(r / 63, 0.7), 40 * g + 10 * r + 10 * std::sin(b / 8), 4000 - 60 * b + r};
    for (unsigned c = 0; c < 3; ++c) cube.data()[3 * i + c] = static_cast<std::int16_t>(v[c]);
  }
  return cube;
}
CCubeI16 noise() {
  CCubeI16 cube;
  const auto values = samples<std::int16_t>(3 * CCubeI16::kCells, Pattern::Random, 5, 0, 4095);
  std::copy(values.begin(), values.end(), cube.data());
  return cube;
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
  for (const CCubeI16& cube : {smoothCube(), noise()}) {
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
  CCubeI16 cube;
  TMatrix<float> matrix(3, CCubeI16::kCells);
  for (unsigned i = 0; i < CCubeI16::kCells; ++i) {
    const unsigned at[3] = {i % 64, i / 64 % 64, i / 4096};
    for (unsigned c = 0; c < 3; ++c) {
      cube.data()[3 * i + c] = static_cast<std::int16_t>(64 * at[c]);
      matrix.row(i)[c] = static_cast<float>(4 * at[c]);
    }
  }
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
  ColorConvTable fine;
  ColorConvTable5_64 coarse;
  ColorConvTableKxB gains;
  EXPECT_EQ(creator.create(fine), 3);
  creator.genDefault();
  ColorConvTable identity;
  ColorConvTable5_64 identity5;
  identity.genDefault(), identity5.genDefault();
  EXPECT_EQ(creator.create(coarse), 0);
  EXPECT_EQ(std::memcmp(coarse.get(), identity5.get(), identity5.totalb()), 0);
  TMatrix<float> small(3, 32 * 32 * 32), wrong(3, 100);
  for (unsigned i = 0; i < small.rows(); ++i) {
    const float row[3] = {8.0f * (i % 32), 8.0f * (i / 32 % 32), 8.0f * (i / 1024)};
    std::copy_n(row, 3, small.row(i));
  }
  creator.convertFrom(small);
  creator.convertFrom(wrong);
  EXPECT_EQ(creator.create(fine), 0);
  EXPECT_EQ(creator.create(gains), 0);
  EXPECT_EQ(std::memcmp(fine.get(), identity.get(), identity.totalb()), 0)
      << "linear between levels, and beyond the last";
}

TEST(TableSet, SendsPixelsThroughCurvesTableAndCurves) {
  ColorConvTableSoj set;
  std::vector<std::uint16_t> pixels = samples<std::uint16_t>(3 * 1500, Pattern::Random, 3, 0, 4095), out(pixels.size());
  EXPECT_EQ(set.convert48_48(pixels.data(), out.data(), 1500), 3) << "nothing was generated";
  std::array<std::vector<std::int16_t>, 3> cubes;
  for (unsigned c = 0; c < 3; ++c) cubes[c] = samples<std::int16_t>(CCubeI16::kCells, Pattern::Random, c, 0, 4032);
  ASSERT_EQ(set.generate(cubes[0].data(), cubes[1].data(), cubes[2].data()), 0);
  std::vector<std::uint16_t> before(3 * 4096), behind(3 * 4096);
  for (unsigned i = 0; i < before.size(); ++i) {
    before[i] = static_cast<std::uint16_t>(4095 - i % 4096 + i / 4096);  // above 4095 here and there
    behind[i] = static_cast<std::uint16_t>(100 + i % 4096 / 2 + i / 4096);
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
  const auto curve = [](const auto& tables, std::size_t c, unsigned v) {
    return std::min<unsigned>(tables[4096 * c + v % 4096], 4095);
  };
  std::vector<std::uint16_t> expected(pixels.size());
  for (std::size_t i = 0; i < pixels.size(); ++i)
    expected[i] = static_cast<std::uint16_t>(curve(before, i % 3, pixels[i]));
  colorConv48_48(expected.data(), expected.data(), set.get64().get(), 1500);
  std::array<std::vector<std::uint16_t>, 3> planes;
  for (std::size_t i = 0; i < pixels.size(); ++i) planes[i % 3].push_back(pixels[i]);
  set.convert16x3_48(planes[0].data(), planes[1].data(), planes[2].data(), out.data(), 1500);
  EXPECT_TRUE(sameSamples(expected, out));
  for (std::size_t i = 0; i < pixels.size(); ++i)
    expected[i] = static_cast<std::uint16_t>(curve(behind, i % 3, expected[i]));
  copy.convert48_48(pixels.data(), pixels.data(), 1500);
  EXPECT_TRUE(sameSamples(expected, pixels));

  // Bytes between identities of 8 bits; tables of 32 levels take every second level.
  std::vector<std::uint8_t> bytes = samples<std::uint8_t>(3 * 1500, Pattern::Random), byteOut(bytes.size()),
                            plain(bytes.size());
  for (unsigned i = 0; i < before.size(); ++i) before[i] = static_cast<std::uint16_t>(i % 4096);
  set.setPrescan(before.data());
  EXPECT_EQ(set.convert24_24(bytes.data(), byteOut.data(), 1500), 0);
  colorConv24_24(bytes.data(), plain.data(), set.get32().get(), 1500);
  EXPECT_TRUE(sameSamples(plain, byteOut));
  EXPECT_EQ(*set.get5_64().getXYZ(1 + 32 * (2 + 32 * 3), 0, 0), *set.get64().getXYZ(2 + 64 * (4 + 64 * 6), 0, 0));
  EXPECT_NE(set.get5_32().get(), nullptr);
}

}  // namespace
}  // namespace quorvel::test
