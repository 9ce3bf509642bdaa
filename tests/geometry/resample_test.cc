// SPDX-License-Identifier: Apache-2.0
// Every resampling routine is walked along the same mappings, over a source that is just as large as its neighbourhoods
// need, and held against the model of a pixel.
#include <functional>

#include <quorvel/geometry.h>

#include "geometry/resample_weights.h"
#include "tests/support/prove.h"
#include "tests/support/reference/resample.h"

namespace quorvel::test {
namespace {

using reference::Raster;

struct Walk {
  const char* name;
  int x, y, dxColumn, dyColumn, dxRow, dyRow, ddx, ddy, ring, rows;
};

constexpr int kOne = 65536;
const Walk kWalks[] = {
    {"identity", 0, 0, kOne, 0, 0, kOne, 0, 0, 0, 3},
    {"phases", 5, 11, kOne, 0, 4096, kOne + 4096, 0, 0, 0, 17},
    {"one degree", 160, 160, 66181, 1155, -1155, 66181, 0, 0, 0, 3},
    {"minus one degree", -96, -40, 66181, -1155, 1155, 66181, 0, 0, 0, 3},
    {"a little larger", 40, 500, 64500, -1300, 1300, 64500, 0, 0, 0, 3},
    {"ten degrees", 100, 400, 65178, 11493, -11493, 65178, 0, 0, 0, 2},
    {"half turn", 16000, 3000, -kOne, -3000, 0, -kOne, 0, 0, 0, 2},
    {"45 degrees in a ring", 64, 64, 46341, 46341, -46341, 46341, 0, 0, 16, 3},
    {"90 degrees in a ring", 64, -64, 0, -kOne, kOne, 0, 0, 0, 8, 2},
    {"smaller", 3, 3, 216270, 4000, -4000, 216270, 0, 0, 0, 2},
    {"larger", 3, 3, 6553, 300, -300, 6553, 0, 0, 4, 12},
    {"bilinear in the output", 40, 40, 60000, 900, 500, 70000, 333, -777, 0, 5},
    {"down through a ring", 8, 124, 70000, 4369, 11, 40000, 0, 0, 8, 4},
    {"up through a ring", 8, 4, 131072, -2048, 11, -40000, 0, 0, 8, 4},
    {"one row", -8, -8, 131072, 1365, 0, 13, 0, 0, 1, 2},
    {"groups that end with a phase", 8, 2, 50000, 4096, 11, 1024, 0, 0, 8, 3},
    {"groups up from a phase", 8, 32, 50000, -4096, 0, 0, 0, -95, 8, 3},
    {"hardly falling", 8, 15, 70000, 8, 0, 5000, 0, 0, 0, 3},
    {"hardly rising", 8, 15, 70000, -63, 0, 5000, 0, 0, 0, 3},
    {"steeper than a group", 8, 8, kOne, 3000000, 0, 8000, 0, 0, 4, 2},
    {"rows wrap", 0, (1 << 19) - 20, 66000, 9000, 0, 12000, 0, 0, 4, 2},
    {"rows wrap back", 0, -(1 << 19) + 20, 66000, -3000, 0, 12000, 0, 0, 4, 2},
    {"rows wrap slowly", 0, (1 << 19) - 20, 64900, 1700, 0, 12000, 0, 0, 4, 2},
    {"rows wrap back slowly", 0, -(1 << 19) + 20, 66000, -1700, 0, 12000, 0, 0, 4, 2},
    {"columns wrap", (1 << 19) - 160, 16, kOne, 100, 0, kOne, 0, 0, 2, 2},
    {"columns wrap back", -(1 << 19) + 160, 16, -70000, 100, 0, kOne, 0, 0, 2, 2},
    {"columns pass zero", 80, 16, -kOne, 0, 0, kOne, 0, 0, 0, 2},
};

// A routine, its model of a pixel, and the neighbourhood of a position beyond its own sample.
template <typename In, typename Out>
struct Member {
  const char* name;
  std::function<int(const In* src, const Walk&, unsigned pitch, Out* dst, unsigned width, int dstPitch)> call;
  std::function<std::int64_t(const Raster<In>&, std::uint32_t x, std::uint32_t y)> model;
  int left, above, right, below;
  In high = static_cast<In>(~0u);
  bool signedColumns = true, grouped = false;
};
using Bytes = Member<std::uint8_t, std::uint8_t>;
using Words = Member<std::uint16_t, std::uint16_t>;
using WordsToBytes = Member<std::uint16_t, std::uint8_t>;

struct Range {
  std::int64_t first = 1 << 20, last = -(1 << 20);
  void take(int v) { first = std::min<std::int64_t>(first, v), last = std::max<std::int64_t>(last, v); }
};

template <typename In, typename Out>
void proveWalk(const Member<In, Out>& member, const Walk& walk, unsigned width, Pattern pattern, Guard guard) {
  struct Position {
    std::uint32_t x, y;
  };
  std::vector<Position> positions;  // of all pixels, row by row
  Raster<In> raster{nullptr, 0, walk.ring, member.signedColumns};
  Range columns, rows;
  for (int j = 0; j < walk.rows; ++j) {
    const auto at = [j](int start, int step) {
      return static_cast<std::uint32_t>(start * std::int64_t{4096} + std::int64_t{j} * step);
    };
    std::uint32_t x = at(walk.x, walk.dxRow);
    for (const std::uint32_t y :
         reference::rowOfY(at(walk.y, walk.dyRow), walk.dyColumn + j * walk.ddy, width, walk.ring, member.grouped)) {
      positions.push_back({x, y});
      columns.take(raster.column(x)), rows.take(reference::row(y));
      x += static_cast<unsigned>(walk.dxColumn + j * walk.ddx);
    }
  }
  if (width == 0) columns.take(0), rows.take(0);
  columns.first -= member.left, columns.last += member.right, rows.first -= member.above, rows.last += member.below;
  if (walk.ring > 0) rows = {0, walk.ring - 1};
  constexpr std::ptrdiff_t kUnit = 8 / sizeof(In);
  const std::int64_t extent = columns.last - columns.first + 1;
  raster.pitch = static_cast<std::ptrdiff_t>(extent + kUnit) / kUnit * kUnit;
  const auto size = static_cast<std::size_t>((rows.last - rows.first) * raster.pitch + extent);
  GuardedBuffer<In> src(samples<In>(size, pattern, width, 0, member.high), guard);
  raster.origin = src.data() - (rows.first * raster.pitch + columns.first);

  const std::size_t dstPitch = width + 3;
  std::vector<Out> expected = room<Out>(static_cast<unsigned>(walk.rows - 1) * dstPitch + width);
  GuardedBuffer<Out> dst(expected, guard);
  for (std::size_t i = 0; i < positions.size(); ++i) {
    const auto& [x, y] = positions[i];
    expected[i / width * dstPitch + i % width] = static_cast<Out>(member.model(raster, x, y));
  }
  EXPECT_EQ(member.call(raster.origin, walk, static_cast<unsigned>(raster.pitch) * sizeof(In), dst.data(), width,
                        static_cast<int>(dstPitch)),
            0);
  EXPECT_TRUE(holds(dst, expected)) << member.name << ", " << walk.name << ", width " << width << ", " << pattern;
}

template <typename In, typename Out>
void proveWalks(
    const Member<In, Out>& member, void (*change)(Walk&) = [](Walk&) {}) {
  onEveryTarget([&] {
    unsigned turn = 0;
    for (Walk walk : kWalks) {
      change(walk);
      for (const unsigned width : {0u, 1u, 3u, 4u, 8u, 16u, 17u, 33u, 65u, 130u, 1021u}) {
        if (width == 1021 && walk.dyColumn > kOne) continue;  // its source would be vast
        ++turn;
        proveWalk(member, walk, width, kAllPatterns[turn % 3], turn % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin);
        if (testing::Test::HasFailure()) return;
      }
    }
  });
}

// The call of an entry point, `last` being its sixteenth argument.
template <typename Routine, typename Last>
auto calls(Routine routine, Last last) {
  return [=](const auto* src, const Walk& w, unsigned pitch, auto* dst, unsigned width, int dstPitch) {
    return routine(src, w.x, w.y, w.dxColumn, w.dyColumn, w.dxRow, w.dyRow, w.ddx, w.ddy, pitch, w.ring, dst, width,
                   w.rows, dstPitch, last);
  };
}

const std::vector<std::uint8_t> kTable = samples<std::uint8_t>(65536, Pattern::Random);
std::uint8_t lookedUp(int value) { return kTable[static_cast<std::uint16_t>(value)]; }

const auto kTruncated = [](const auto& raster, std::uint32_t x, std::uint32_t y) {
  return reference::bilinear(raster, x, y, 0, 1 << 20);
};
const auto kRounded = [](const auto& raster, std::uint32_t x, std::uint32_t y) {
  return reference::bilinear(raster, x, y, 1, 32767);
};
template <bool kDoubled>
int ofGroup(const Raster<std::uint16_t>& raster, std::uint32_t x, std::uint32_t y) {
  return reference::groupPixel(raster, x, reference::row(y), reference::row(y) + 1, reference::phase(y), kDoubled);
}

const Bytes kGeo8 = {"Geo8_8MMX", calls(Geo8_8MMX, 5), kTruncated, 0, 0, 1, 1};
const WordsToBytes kLookUps[] = {
    {"GeoGamma16_8MMX", calls(GeoGamma16_8MMX, kTable.data()),
     [](const auto& raster, auto x, auto y) { return lookedUp(kRounded(raster, x, y)); }, 0, 0, 1, 1},
    {"GeoQGamma16_8MMX", calls(GeoQGamma16_8MMX, kTable.data()),
     [](const auto& raster, auto x, auto y) { return lookedUp(ofGroup<true>(raster, x, y)); }, 0, 0, 1, 1, 65535, true,
     true}};

TEST(Resample, BilinearMembersFollowTheModel) {
  static std::vector<GroupEl> groups(1021);
  proveWalks(kGeo8);
  proveWalks(Words{"Geo16_16MMX", calls(Geo16_16MMX, 5), kRounded, 0, 0, 1, 1, 65535, false});
  proveWalks(Words{"GeoQGamma16_16MMX", calls(GeoQGamma16_16MMX, groups.data()), ofGroup<false>, 0, 0, 1, 1, 65535,
                   true, true});
  for (const auto& member : kLookUps) proveWalks(member);
}

TEST(Resample, BentWeightsReachTheMembersOfTheSignedTable) {
  for (const double exponent : {1.7, 1.0}) {  // the plain table comes back last
    signedBilinear[0][0] = 0;
    genWeightTable16_16_power(exponent);
    genWeightTable16_16_power(3.0);  // changes nothing any more
    reference::bend = exponent;
    proveWalks(kGeo8);
    for (const auto& member : kLookUps) proveWalks(member);
  }
}

template <typename T, typename Routine>
void proveMethods(const char* name, Routine routine) {
  for (const int m : {0, 1, 2, 3, 4, 6, 7}) {
    SCOPED_TRACE(m);
    const auto value = [m](const auto& raster, auto x, auto y) { return reference::byMethod(raster, x, y, m); };
    const int before = m >= 2, after = m == 0 ? 1 : 2, beside = m == 6 ? 0 : 1;
    proveWalks(Member<T, T>{name, calls(routine, m), value, before * beside, before, after * beside, after,
                            sizeof(T) == 1 ? T(255) : T(32767)});
  }
}

TEST(Resample, MethodsFollowTheModel) {
  for (const auto generate : {genParaboloicWeightTableXY, genParaboloicWeightTable_MoveCompensXY}) {
    generate(-0.5, -0.9);
    proveMethods<std::uint8_t>("GeoParab8_8MMX", GeoParab8_8MMX);
  }
  proveMethods<std::uint16_t>("GeoParab16_16MMX", GeoParab16_16MMX);
}

// The same mappings as columns of their own: x is the column, y alone moves.
TEST(Resample, ColumnsFollowTheModelAndKeepToTheirDepth) {
  for (const int bits : {10, 16, 99}) {
    const auto value = [=](const auto& raster, auto x, auto y) {
      const auto at = [&](int r) { return raster.at(raster.column(x), r) & 0xFFFF; };
      return std::clamp<std::int64_t>(reference::column(at, y, 0), 0, (1 << std::min(bits, 16)) - 1);
    };
    const auto call = [=](const auto* src, const Walk& w, unsigned pitch, auto* dst, unsigned width, int dstPitch) {
      return GeoY6_16_16MMX(src, bits, w.y, w.dyColumn, w.dyRow, pitch, w.ring, dst, width, w.rows, dstPitch, 6);
    };
    proveWalks(Words{"GeoY6_16_16MMX", call, value, 0, 1, 0, 2},
               [](Walk& walk) { walk.x = walk.dxRow = walk.ddx = walk.ddy = 0, walk.dxColumn = kOne; });
  }
}

// Rows and phases in any order, in groups of any length.
TEST(Resample, GroupsAreMadeInTurnAndUsedUp) {
  constexpr int kPitch = 10008, kStart = 900 * kOne;
  const auto numbers = samples<std::uint16_t>(40, Pattern::Random);
  const auto rows = samples<std::uint16_t>(8 * kPitch, Pattern::Random, 3);
  onEveryTarget([&] {
    for (const int step : {kOne, 70001, -40000, 200000, 0}) {
      const Raster<std::uint16_t> raster{rows.data() + 3 * kPitch + (step < 0 ? 6000 : 0), kPitch, 0};
      std::vector<GroupEl> groups;
      std::vector<std::uint16_t> expected;
      std::vector<std::uint8_t> expectedBytes;
      auto x = static_cast<std::uint32_t>(kStart);
      for (const unsigned n : numbers) {
        groups.push_back({n % 7 - 3, n / 7 % 7 - 3, n / 49 % 16 * 16, groups.size() < 20 ? n % 6 : n % 90});
        const GroupEl& g = groups.back();
        for (unsigned k = 0; k < g.count; ++k, x += static_cast<unsigned>(step)) {
          const auto pixel = [&](bool doubled) {
            return reference::groupPixel(raster, x, static_cast<int>(g.topRow), static_cast<int>(g.bottomRow),
                                         static_cast<int>(g.yPhaseBase / 16), doubled);
          };
          expected.push_back(static_cast<std::uint16_t>(pixel(false)));
          expectedBytes.push_back(lookedUp(pixel(true)));
        }
      }
      GuardedBuffer<std::uint16_t> out(expected.size());
      GuardedBuffer<std::uint8_t> bytes(expected.size());
      std::vector<GroupEl> first = groups, second = groups;
      const auto used = [](const GroupEl& g) { return g.count == 0; };
      EXPECT_EQ(GeoLn16_16(raster.origin, kStart, first.data(), 40, out.data(), step, kPitch / 4), 0);
      EXPECT_EQ(GeoLn(raster.origin, kStart, second.data(), 40, bytes.data(), step, kTable.data(), 2 * kPitch), 0);
      EXPECT_TRUE(holds(out, expected) && holds(bytes, expectedBytes)) << step;
      EXPECT_TRUE(std::all_of(first.begin(), first.end(), used) && std::all_of(second.begin(), second.end(), used));
    }
  });
}

TEST(Resample, RefusesInTheStatedOrderAndWritesNothing) {
  GuardedBuffer<std::uint16_t> dst(64);
  auto* const words = dst.data();
  auto* const bytes = reinterpret_cast<std::uint8_t*>(words);
  const auto onBoth = [=](auto narrow, auto wide, unsigned pitch, int rows, int method) {
    const Walk walk = {"", 64, 64, kOne, 0, 0, kOne, 0, 0, 0, rows};
    const int answer = calls(wide, method)(words, walk, pitch, words, 16, 16);
    EXPECT_EQ(calls(narrow, method)(bytes, walk, pitch, bytes, 16, 16), answer);
    return answer;
  };
  const auto parab = [&](unsigned pitch, int rows, int method) {
    return onBoth(GeoParab8_8MMX, GeoParab16_16MMX, pitch, rows, method);
  };
  for (const int method : {5, 8, 9, -1}) EXPECT_EQ(parab(96, 1, method), -3) << method;
  for (const int method : {0, 4, 5, 7, 9}) EXPECT_EQ(parab(100, 1, method), -2) << method;
  EXPECT_EQ(parab(100, 1, 8), -3);
  EXPECT_EQ(parab(100, 0, 9), 0);
  EXPECT_EQ(onBoth(Geo8_8MMX, Geo16_16MMX, 100, 1, 0), -2);
  EXPECT_EQ(onBoth(Geo8_8MMX, Geo16_16MMX, 100, -3, 0), 0);
  EXPECT_EQ(GeoY6_16_16MMX(words, 16, 64, 0, kOne, 96, 0, words, 8, 1, 8, 7), -3);
  EXPECT_EQ(GeoY6_16_16MMX(words, 16, 64, 0, kOne, 100, 0, words, 8, 1, 8, 6), -2);
  EXPECT_TRUE(dst.untouched());
  for (const int none : {9, -1}) EXPECT_STREQ(getRasterMethodName(none), "Invalid Geometry method");
}

TEST(Resample, TablesHoldWhatTheirRulesSay) {
  std::vector<std::uint16_t> table(1024);
  for (const int isUnsigned : {0, 1}) {
    genWeightTable16_16(table.data(), isUnsigned);
    for (unsigned i = 0; i < 1024; ++i) {
      ASSERT_EQ(table[i], reference::bilinearWeights(i / 4 % 16, i / 64, isUnsigned ? 65536 : 32768)[i % 4]) << i;
    }
  }
  genWeightTable16_16_static();
  EXPECT_TRUE(std::equal(table.begin(), table.end(), unsignedBilinear[0]));
  EXPECT_EQ(byteBilinear[0][0], 0);
  EXPECT_EQ(byteBilinear[16 * 3 + 5][3], 15);

  doNearestNeiborhoodCC();
  const std::int16_t* taps = getCubicTable16();
  for (int i = 0; i < 4096; ++i) {
    const int column = i / 16 % 16 > 8 ? 2 : 1, row = i / 256 > 8 ? 2 : 1;  // a tie is the first one's
    ASSERT_EQ(taps[i], i % 16 == 4 * row + column ? 16384 : 0) << i;
  }
  for (const bool moved : {false, true}) {
    (moved ? genParaboloicWeightTable_MoveCompensXY : genParaboloicWeightTableXY)(-0.75, -0.25);
    for (int entry = 0; entry < 256; ++entry) {
      std::array<double, 16> w;
      double sum = 0;
      for (int k = 0; k < 16; ++k) {
        const double x = std::abs(1 + entry % 16 / 16.0 - k % 4), y = std::abs(1 + entry / 16 / 16.0 - k / 4);
        const double tx = x + y == 0 ? 0.5 : x / (x + y), r = std::hypot(x, y);
        const double alongX = reference::cubic(-0.75, r), alongY = reference::cubic(-0.25, r);
        sum += w[k] = moved ? tx * alongY + (1 - tx) * alongX : tx * alongX + (1 - tx) * alongY;
      }
      for (int k = 0; k < 16; ++k) {
        ASSERT_NEAR(getCubicTable16f()[16 * entry + k], w[k] / sum, 1e-6);
        ASSERT_NEAR(taps[16 * entry + k], w[k] / sum * 16384, 0.5 + 1e-6);
      }
    }
  }
}

// Six samples give back any quadratic surface; eight do so before rounding, and nearly so after it.
TEST(Resample, SurfacesAreThoseOfLeastSquares) {
  std::vector<std::int16_t> matrices(128), six(2048), eight(2048);
  std::vector<float> exact(4096);
  genParaboloicWeightTable(matrices.data(), six.data(), eight.data(), exact.data());
  const auto quadratic = [](double x, double y) {
    return 3 - 2 * x + 5 * y + 0.5 * x * x - 1.25 * x * y + 0.75 * y * y;
  };
  for (std::size_t i = 0; i < 512; ++i) {
    const std::size_t entry = i / 2, isEight = i % 2;
    const auto& places = isEight ? reference::kEightPlaces : reference::kSixPlaces;
    double best = 0;
    int whole = 0;
    for (std::size_t j = 0; j < places.size(); ++j) {
      const double weight = exact[8 * i + j];
      int rounded = 0;
      for (std::size_t k = 0; k < 8; ++k) {
        rounded += matrices[64 * isEight + 8 * k + j] * (isEight ? eight : six)[8 * entry + k];
      }
      ASSERT_NEAR(rounded, 512 * weight, isEight ? 3.2 : 1e-4) << entry;
      best += weight * quadratic(places[j].column, places[j].row);
      whole += rounded;
    }
    ASSERT_NEAR(best, quadratic(static_cast<double>(entry % 16) / 16, static_cast<double>(entry / 16) / 16), 1e-5);
    ASSERT_EQ(whole, 512);
  }
}

}  // namespace
}  // namespace quorvel::test
