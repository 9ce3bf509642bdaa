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

// A row of output by the model.
template <typename In, typename Out>
using RowModel =
    std::function<void(const Raster<In>&, std::uint32_t x, std::uint32_t y, int dx, int dy, std::vector<Out>&)>;

template <typename In, typename Out>
struct Member {
  const char* name;
  std::function<int(const In* src, const Walk&, unsigned pitch, Out* dst, unsigned width, int dstPitch)> call;
  RowModel<In, Out> model;
  int left, above, right, below;  // the neighbourhood beyond the position's own sample
  In high = static_cast<In>(~0u);
  bool signedColumns = true;
};

struct Range {
  std::int64_t first = 1 << 20, last = -(1 << 20);
  void take(int v) { first = std::min<std::int64_t>(first, v), last = std::max<std::int64_t>(last, v); }
};

template <typename In, typename Out>
void prove(const Member<In, Out>& member, const Walk& walk, unsigned width, Pattern pattern, Guard guard) {
  constexpr std::ptrdiff_t kUnit = 8 / sizeof(In);
  Raster<In> raster{nullptr, 0, walk.ring, member.signedColumns};
  Range columns, rows;
  struct Start {
    std::uint32_t x, y;
    int dx, dy;
  };
  std::vector<Start> starts;
  for (int j = 0; j < walk.rows; ++j) {
    const auto at = [j](int start, int step) {
      return static_cast<std::uint32_t>(start * std::int64_t{4096} + std::int64_t{j} * step);
    };
    starts.push_back(
        {at(walk.x, walk.dxRow), at(walk.y, walk.dyRow), walk.dxColumn + j * walk.ddx, walk.dyColumn + j * walk.ddy});
    Start s = starts.back();
    for (unsigned i = 0; i < width; ++i, s.x += static_cast<unsigned>(s.dx), s.y += static_cast<unsigned>(s.dy)) {
      columns.take(raster.column(s.x)), rows.take(reference::row(s.y));
    }
  }
  if (width == 0) columns.take(0), rows.take(0);
  columns.first -= member.left, columns.last += member.right, rows.first -= member.above, rows.last += member.below;
  if (walk.ring > 0) rows.first = 0, rows.last = walk.ring - 1;
  const std::int64_t extent = columns.last - columns.first + 1;
  raster.pitch = static_cast<std::ptrdiff_t>(extent + kUnit) / kUnit * kUnit;
  const auto size = static_cast<std::size_t>((rows.last - rows.first) * raster.pitch + extent);
  GuardedBuffer<In> src(samples<In>(size, pattern, width, 0, member.high), guard);
  raster.origin = src.data() - (rows.first * raster.pitch + columns.first);

  const int dstPitch = static_cast<int>(width) + 3;
  std::vector<Out> expected(static_cast<std::size_t>(walk.rows - 1) * static_cast<unsigned>(dstPitch) + width,
                            Out{0x5A}),
      row(width);
  GuardedBuffer<Out> dst(expected, guard);
  for (std::size_t j = 0; j < starts.size(); ++j) {
    member.model(raster, starts[j].x, starts[j].y, starts[j].dx, starts[j].dy, row);
    std::copy(row.begin(), row.end(), expected.begin() + static_cast<std::ptrdiff_t>(j) * dstPitch);
  }
  EXPECT_EQ(
      member.call(raster.origin, walk, static_cast<unsigned>(raster.pitch) * sizeof(In), dst.data(), width, dstPitch),
      0);
  EXPECT_TRUE(holds(dst, expected)) << member.name << ", " << walk.name << ", width " << width << ", " << pattern;
}

template <typename In, typename Out>
void prove(
    const std::vector<Member<In, Out>>& members, Walk (*changed)(Walk) = [](Walk walk) { return walk; }) {
  onEveryTarget([&] {
    unsigned turn = 0;
    for (const auto& member : members) {
      for (Walk walk : kWalks) {
        for (const unsigned width : {0u, 1u, 3u, 4u, 8u, 16u, 17u, 33u, 65u, 130u, 1021u}) {
          if (width == 1021 && walk.dyColumn > kOne) continue;  // its source would be vast
          prove(member, changed(walk), width, kAllPatterns[turn % 3],
                turn % 2 == 0 ? Guard::AfterEnd : Guard::BeforeBegin);
          ++turn;
          if (testing::Test::HasFailure()) return;
        }
      }
    }
  });
}

// A model of rows out of one of pixels: value(raster, x, y).
template <typename In, typename Out, typename Value>
RowModel<In, Out> byPixel(Value value) {
  return [value](const Raster<In>& raster, std::uint32_t x, std::uint32_t y, int dx, int dy, std::vector<Out>& out) {
    for (Out& o : out) {
      o = static_cast<Out>(value(raster, x, y));
      x += static_cast<unsigned>(dx), y += static_cast<unsigned>(dy);
    }
  };
}

template <typename Out, typename Finish>
RowModel<std::uint16_t, Out> byGroups(bool doubled, Finish finish) {
  return [=](const Raster<std::uint16_t>& raster, std::uint32_t x, std::uint32_t y, int dx, int dy,
             std::vector<Out>& out) {
    std::size_t i = 0;
    for (const GroupEl& g : reference::cutGroups(y, dy, static_cast<unsigned>(out.size()), raster.ring)) {
      for (unsigned k = 0; k < g.count; ++k, x += static_cast<unsigned>(dx))
        out[i++] = finish(reference::groupPixel(raster, g, x, doubled));
    }
  };
}

// The call of an entry point, `last` being its sixteenth argument.
template <typename In, typename Out, typename Routine, typename Last>
auto calls(Routine routine, Last last) {
  return [=](const In* src, const Walk& w, unsigned pitch, Out* dst, unsigned width, int dstPitch) {
    return routine(src, w.x, w.y, w.dxColumn, w.dyColumn, w.dxRow, w.dyRow, w.ddx, w.ddy, pitch, w.ring, dst, width,
                   w.rows, dstPitch, last);
  };
}

const std::vector<std::uint8_t> kTable = samples<std::uint8_t>(65536, Pattern::Random);
std::uint8_t lookedUp(int value) { return kTable[static_cast<std::uint16_t>(value)]; }

using Bytes = Member<std::uint8_t, std::uint8_t>;
using Words = Member<std::uint16_t, std::uint16_t>;
using WordsToBytes = Member<std::uint16_t, std::uint8_t>;

const auto kTruncated = [](const auto& raster, std::uint32_t x, std::uint32_t y) {
  return reference::bilinear(raster, x, y, 0, 1 << 20);
};
const auto kRounded = [](const auto& raster, std::uint32_t x, std::uint32_t y) {
  return reference::bilinear(raster, x, y, 1, 32767);
};

std::vector<Bytes> bilinearBytes() {
  return {{"Geo8_8MMX", calls<std::uint8_t, std::uint8_t>(Geo8_8MMX, 5),
           byPixel<std::uint8_t, std::uint8_t>(kTruncated), 0, 0, 1, 1}};
}
std::vector<Words> bilinearWords() {
  static std::vector<GroupEl> groups(1021);
  return {{"Geo16_16MMX", calls<std::uint16_t, std::uint16_t>(Geo16_16MMX, 5),
           byPixel<std::uint16_t, std::uint16_t>(kRounded), 0, 0, 1, 1, 65535, false},
          {"GeoQGamma16_16MMX", calls<std::uint16_t, std::uint16_t>(GeoQGamma16_16MMX, groups.data()),
           byGroups<std::uint16_t>(false, [](int v) { return static_cast<std::uint16_t>(v); }), 0, 0, 1, 1}};
}
std::vector<WordsToBytes> lookUps() {
  return {{"GeoGamma16_8MMX", calls<std::uint16_t, std::uint8_t>(GeoGamma16_8MMX, kTable.data()),
           byPixel<std::uint16_t, std::uint8_t>(
               [](const auto& r, std::uint32_t x, std::uint32_t y) { return lookedUp(kRounded(r, x, y)); }),
           0, 0, 1, 1},
          {"GeoQGamma16_8MMX", calls<std::uint16_t, std::uint8_t>(GeoQGamma16_8MMX, kTable.data()),
           byGroups<std::uint8_t>(true, lookedUp), 0, 0, 1, 1}};
}

TEST(Resample, BilinearMembersFollowTheModel) {
  prove(bilinearBytes());
  prove(bilinearWords());
  prove(lookUps());
}

TEST(Resample, BentWeightsReachTheMembersOfTheSignedTable) {
  for (const double exponent : {1.7, 1.0}) {  // the plain table comes back last
    signedBilinear[0][0] = 0;
    genWeightTable16_16_power(exponent);
    genWeightTable16_16_power(3.0);  // changes nothing any more
    reference::bend = exponent;
    prove(bilinearBytes());
    prove(lookUps());
  }
}

template <typename T, typename Routine>
std::vector<Member<T, T>> methods(const char* name, Routine routine) {
  std::vector<Member<T, T>> members;
  constexpr T kHigh = sizeof(T) == 1 ? 255 : 32767;
  for (const int m : {0, 1, 2, 3, 4, 6, 7}) {
    const auto value = [m](const auto& raster, std::uint32_t x, std::uint32_t y) {
      return reference::byMethod(raster, x, y, m);
    };
    const int before = m >= 2, after = m == 0 ? 1 : 2, beside = m == 6 ? 0 : 1;
    members.push_back(
        {name, calls<T, T>(routine, m), byPixel<T, T>(value), before * beside, before, after * beside, after, kHigh});
  }
  return members;
}

TEST(Resample, MethodsFollowTheModel) {
  for (const auto generate : {genParaboloicWeightTableXY, genParaboloicWeightTable_MoveCompensXY}) {
    generate(-0.5, -0.9);
    prove(methods<std::uint8_t>("GeoParab8_8MMX", GeoParab8_8MMX));
  }
  prove(methods<std::uint16_t>("GeoParab16_16MMX", GeoParab16_16MMX));
}

// The same mappings as columns of their own: x is the column, y alone moves.
TEST(Resample, ColumnsFollowTheModelAndKeepToTheirDepth) {
  for (const int bits : {10, 16, 99}) {
    const int limit = (1 << std::min(bits, 16)) - 1;
    const auto value = [=](const auto& raster, std::uint32_t x, std::uint32_t y) {
      const auto at = [&](int r) { return raster.at(raster.column(x), r) & 0xFFFF; };
      return std::clamp<std::int64_t>(reference::column(at, y, 0), 0, limit);
    };
    const auto call = [=](const std::uint16_t* src, const Walk& w, unsigned pitch, std::uint16_t* dst, unsigned width,
                          int dstPitch) {
      return GeoY6_16_16MMX(src, bits, w.y, w.dyColumn, w.dyRow, pitch, w.ring, dst, width, w.rows, dstPitch, 6);
    };
    prove(std::vector<Words>{{"GeoY6_16_16MMX", call, byPixel<std::uint16_t, std::uint16_t>(value), 0, 1, 0, 2}},
          [](Walk walk) {
            walk.x = walk.dxRow = walk.ddx = walk.ddy = 0, walk.dxColumn = kOne;
            return walk;
          });
  }
}

TEST(Resample, GroupsAreMadeInTurnAndUsedUp) {
  onEveryTarget([] {
    const auto numbers = samples<std::uint16_t>(4000, Pattern::Random);
    for (const int step : {kOne, 70001, -40000, 200000, 0}) {
      std::vector<GroupEl> groups;
      unsigned total = 0;
      for (std::size_t g = 0; g < 40; ++g, total += groups.back().count) {
        const unsigned n = numbers[g];
        groups.push_back({n % 7 - 3, n / 7 % 7 - 3, n / 49 % 16 * 16, g < 20 ? n % 6 : n % 90});
      }
      const int start = 900 * kOne;
      const std::vector<std::uint16_t> rows = samples<std::uint16_t>(8 * 10008, Pattern::Random, 3);
      const Raster<std::uint16_t> raster{rows.data() + 3 * 10008 + (step < 0 ? 6000 : 0), 10008, 0};
      std::vector<std::uint16_t> expected;
      std::vector<std::uint8_t> expectedBytes;
      auto x = static_cast<std::uint32_t>(start);
      for (const GroupEl& g : groups) {
        for (unsigned k = 0; k < g.count; ++k, x += static_cast<unsigned>(step)) {
          expected.push_back(static_cast<std::uint16_t>(reference::groupPixel(raster, g, x, false)));
          expectedBytes.push_back(lookedUp(reference::groupPixel(raster, g, x, true)));
        }
      }
      GuardedBuffer<std::uint16_t> out(total);
      GuardedBuffer<std::uint8_t> bytes(total);
      std::vector<GroupEl> first = groups, second = groups;
      const auto used = [](const GroupEl& g) { return g.count == 0; };
      EXPECT_EQ(GeoLn16_16(raster.origin, start, first.data(), 40, out.data(), step, 10008 / 4), 0);
      EXPECT_EQ(GeoLn(raster.origin, start, second.data(), 40, bytes.data(), step, kTable.data(), 2 * 10008), 0);
      EXPECT_TRUE(holds(out, expected)) << step;
      EXPECT_TRUE(holds(bytes, expectedBytes)) << step;
      EXPECT_TRUE(std::all_of(first.begin(), first.end(), used) && std::all_of(second.begin(), second.end(), used));
    }
  });
}

TEST(Resample, PlanesAndTheKernelAloneGiveWhatTheMethodsGive) {
  constexpr unsigned kWidth = 77, kPitch = 160;
  const GeoCoef4 c = {40, 40, kWidth, 5, 60000, 900, 500, 70000, 333, -777, 0};
  std::vector<std::uint16_t> planes[3], out[3];
  const std::uint16_t* from[3];
  std::uint16_t* to[3];
  for (unsigned p = 0; p < 3; ++p) {
    planes[p] = samples<std::uint16_t>(kPitch * 16, Pattern::Random, p, 0, 32767);
    out[p].resize(kWidth * 5);
    from[p] = planes[p].data(), to[p] = out[p].data();
  }
  EXPECT_EQ(GeoParab16_16_2_MMX(from, &c, 2 * kPitch, 16, to, kWidth, 7), 0);
  for (unsigned p = 0; p < 3; ++p) {
    std::vector<std::uint16_t> alone(kWidth * 5);
    GeoParab16_16MMX(from[p], c.x, c.y, c.dxColumn, c.dyColumn, c.dxRow, c.dyRow, c.ddx, c.ddy, 2 * kPitch, 16,
                     alone.data(), kWidth, 5, kWidth, 7);
    EXPECT_TRUE(sameSamples(alone, out[p]));
  }
  const auto bytes = samples<std::uint8_t>(kPitch * 16, Pattern::Random);
  std::vector<std::uint8_t> whole(kWidth), parts(kWidth);
  GeoParab8_8MMX(bytes.data(), 40, -40, 70000, 3000, 0, 0, 0, 0, kPitch, 16, whole.data(), kWidth, 1, kWidth, 3);
  int x = 40 * 4096, y = -40 * 4096;
  const int step[] = {70000, 3000}, mask[] = {15, 15}, pitch[] = {kPitch, kPitch};
  std::uint8_t* end = makeCubicConv16(bytes.data(), 50, &x, &y, step, mask, pitch, parts.data());
  EXPECT_EQ(makeCubicConv16(bytes.data(), kWidth - 50, &x, &y, step, mask, pitch, end), parts.data() + kWidth);
  EXPECT_TRUE(sameSamples(whole, parts));
  EXPECT_EQ(x, 40 * 4096 + static_cast<int>(kWidth) * 70000);
}

TEST(Resample, RefusesInTheStatedOrderAndWritesNothing) {
  const auto src = samples<std::uint16_t>(4096, Pattern::Random);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(src.data());
  GuardedBuffer<std::uint8_t> dst(64);
  auto* words = reinterpret_cast<std::uint16_t*>(dst.data());
  const auto parab = [&](unsigned pitch, int rows, int method) {
    const int wide =
        GeoParab16_16MMX(src.data(), 64, 64, kOne, 0, 0, kOne, 0, 0, pitch, 0, words, 16, rows, 16, method);
    EXPECT_EQ(GeoParab8_8MMX(bytes, 64, 64, kOne, 0, 0, kOne, 0, 0, pitch, 0, dst.data(), 16, rows, 16, method), wide);
    return wide;
  };
  for (const int method : {5, 8, 9, -1}) EXPECT_EQ(parab(96, 1, method), -3) << method;
  for (const int method : {0, 4, 5, 7, 9}) EXPECT_EQ(parab(100, 1, method), -2) << method;
  EXPECT_EQ(parab(100, 1, 8), -3);
  EXPECT_EQ(parab(100, 0, 9), 0);
  EXPECT_EQ(Geo8_8MMX(bytes, 0, 0, kOne, 0, 0, kOne, 0, 0, 100, 0, dst.data(), 8, 1, 8, 0), -2);
  EXPECT_EQ(Geo16_16MMX(src.data(), 0, 0, kOne, 0, 0, kOne, 0, 0, 100, 0, words, 8, -3, 8, 0), 0);
  EXPECT_EQ(GeoY6_16_16MMX(src.data(), 16, 64, 0, kOne, 96, 0, words, 8, 1, 8, 7), -3);
  EXPECT_EQ(GeoY6_16_16MMX(src.data(), 16, 64, 0, kOne, 100, 0, words, 8, 1, 8, 6), -2);
  EXPECT_TRUE(dst.untouched());
}

TEST(Resample, NamesAndHandComputedValues) {
  EXPECT_STREQ(getRasterMethodName(2), "Surface for 6 points");
  EXPECT_STREQ(getRasterMethodName(8), "Cubic convolution fast (2-stages) with short width!");
  for (const int none : {9, -1}) EXPECT_STREQ(getRasterMethodName(none), "Invalid Geometry method");

  // Equal samples: one less where they are met exactly in 8 bits, themselves everywhere else.
  const std::vector<std::uint8_t> hundreds(64, 100), full(64, 255);
  const std::vector<std::uint16_t> words(64, 100);
  for (int phase = 0; phase < 16; ++phase) {
    std::uint8_t low, high;
    std::uint16_t word;
    Geo8_8MMX(hundreds.data(), 16 + phase, 16, 0, 0, 0, 0, 0, 0, 8, 0, &low, 1, 1, 8, 0);
    Geo8_8MMX(full.data(), 16 + phase, 16, 0, 0, 0, 0, 0, 0, 8, 0, &high, 1, 1, 8, 0);
    Geo16_16MMX(words.data(), 16 + phase, 16, 0, 0, 0, 0, 0, 0, 16, 0, &word, 1, 1, 8, 0);
    EXPECT_EQ(low, phase == 0 ? 99 : 100);
    EXPECT_EQ(high, phase == 0 ? 254 : 255);
    EXPECT_EQ(word, 100);
    for (const int method : {0, 1, 2, 6, 7}) {
      GeoParab8_8MMX(full.data(), 16 + phase, 23, 0, 0, 0, 0, 0, 0, 8, 0, &high, 1, 1, 8, method);
      EXPECT_EQ(high, 255) << method;
    }
  }
}

TEST(Resample, TablesHoldWhatTheirRulesSay) {
  std::vector<std::uint16_t> table(1024);
  for (const int isUnsigned : {0, 1}) {
    genWeightTable16_16(table.data(), isUnsigned);
    for (unsigned i = 0; i < 1024; ++i) {
      const auto w = reference::bilinearWeights(i / 4 % 16, i / 64, isUnsigned ? 65536 : 32768);
      ASSERT_EQ(table[i], w[i % 4]) << i;
    }
  }
  genWeightTable16_16_static();
  EXPECT_TRUE(std::equal(table.begin(), table.end(), unsignedBilinear[0]));
  EXPECT_EQ(byteBilinear[0][0], 0);
  EXPECT_EQ(byteBilinear[16 * 3 + 5][3], 15);

  doNearestNeiborhoodCC();
  const std::int16_t* taps = getCubicTable16();
  for (int entry = 0; entry < 256; ++entry) {
    const int column = entry % 16 > 8 ? 2 : 1, row = entry / 16 > 8 ? 2 : 1;  // a tie is the first one's
    for (int k = 0; k < 16; ++k) ASSERT_EQ(taps[16 * entry + k], k == 4 * row + column ? 16384 : 0) << entry;
  }
  for (const bool moved : {false, true}) {
    (moved ? genParaboloicWeightTable_MoveCompensXY : genParaboloicWeightTableXY)(-0.75, -0.25);
    for (int entry = 0; entry < 256; ++entry) {
      std::array<double, 16> w;
      double sum = 0;
      for (int k = 0; k < 16; ++k) {
        const double x = std::abs(1 + entry % 16 / 16.0 - k % 4), y = std::abs(1 + entry / 16 / 16.0 - k / 4);
        const double tx = x + y == 0 ? 0.5 : x / (x + y), ty = x + y == 0 ? 0.5 : y / (x + y);
        sum += w[k] = ty * reference::cubic(moved ? -0.75 : -0.25, std::hypot(x, y)) +
                      tx * reference::cubic(moved ? -0.25 : -0.75, std::hypot(x, y));
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
  for (int entry = 0; entry < 256; ++entry) {
    const double x = entry % 16 / 16.0, y = entry / 16 / 16.0;
    for (const bool isEight : {false, true}) {
      const auto& places = isEight ? reference::kEightPlaces : reference::kSixPlaces;
      const auto& terms = isEight ? eight : six;
      double best = 0;
      int whole = 0;
      for (std::size_t j = 0; j < places.size(); ++j) {
        const double weight = exact[static_cast<std::size_t>(16 * entry + 8 * isEight) + j];
        int rounded = 0;
        for (int k = 0; k < 8; ++k) {
          rounded += matrices[static_cast<std::size_t>(64 * isEight + 8 * k) + j] *
                     terms[static_cast<std::size_t>(8 * entry + k)];
        }
        ASSERT_NEAR(rounded, 512 * weight, isEight ? 3.2 : 1e-4) << entry;
        best += weight * quadratic(places[j].column, places[j].row);
        whole += rounded;
      }
      ASSERT_NEAR(best, quadratic(x, y), 1e-5) << entry;
      ASSERT_EQ(whole, 512);
    }
  }
}

}  // namespace
}  // namespace quorvel::test
