// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <functional>
#include <limits>

#include <quorvel/colour.h>

#include "tests/support/prove.h"
#include "tests/support/reference/colour.h"

namespace quorvel::test {
namespace {

template <typename Sample>
using Routine = std::function<int(const Sample*, Sample*, unsigned)>;
template <typename Sample>
using Model = std::function<std::vector<Sample>(const std::vector<Sample>&)>;

// A routine on `n` pixels, from buffer to buffer and in place, against its model. Counts that it refuses change
// nothing.
template <typename Sample>
void prove(const Routine<Sample>& routine, const Model<Sample>& model, const std::function<bool(unsigned)>& accepts) {
  proveRows(rowLengths(0, 70), [&](unsigned n, Pattern pattern, Guard guard) {
    const auto in = samples<Sample>(3 * std::size_t{n}, pattern);
    GuardedBuffer<Sample> src(in, guard), dst(in.size(), guard);
    if (!accepts(n)) {
      EXPECT_EQ(routine(src.data(), dst.data(), n), -1);
      EXPECT_TRUE(dst.untouched());
      return;
    }
    EXPECT_EQ(routine(src.data(), dst.data(), n), 0);
    EXPECT_TRUE(holds(dst, model(in)));
    EXPECT_EQ(routine(src.data(), src.data(), n), 0);
    EXPECT_TRUE(holds(src, model(in)));
  });
}

bool any(unsigned) { return true; }
bool some(unsigned n) { return n != 0; }
bool eights(unsigned n) { return n % 8 == 0; }

template <typename Sample, typename Cell>
void proveValues(int (*routine)(const Sample*, Sample*, const Cell*, unsigned), reference::Grid grid) {
  // Cells at random: most sums carry.
  const auto cells = samples<Cell>(std::size_t{1} << 3 * grid.levelBits, Pattern::Random);
  const auto* lanes = reinterpret_cast<const Sample*>(cells.data());
  prove<Sample>([&](auto* src, auto* dst, unsigned n) { return routine(src, dst, cells.data(), n); },
                [&](const auto& in) { return reference::throughValues(in, lanes, grid); }, some);
}

TEST(ColourRoutines, ValueTablesLikeTheModel) {
  proveValues(colorConv24_24, {8, 6});
  proveValues(colorConv5_24_24, {8, 5});
  proveValues(colorConv48_48, {12, 6});
  proveValues(colorConv5_48_48, {12, 5});
}

std::vector<KxB> gainCells() {
  const auto words = samples<std::int16_t>(std::size_t{8} << 18, Pattern::Random);
  std::vector<KxB> cells(std::size_t{1} << 18);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::int16_t* w = &words[8 * i];
    const bool gentle = i % 3 != 0;  // gains near unity, where the outputs are not all at their limits
    for (unsigned c = 0; c < 4; ++c) {
      cells[i].k[c] = gentle ? static_cast<std::int16_t>(w[c] % 16) : w[c];
      cells[i].b[c] = gentle ? static_cast<std::int16_t>(w[c + 4] / 16) : w[c + 4];
    }
  }
  return cells;
}

using Plane = std::vector<std::uint16_t>;
std::array<Plane, 3> split(const std::uint16_t* pixels, std::size_t n) {
  std::array<Plane, 3> planes;
  for (std::size_t i = 0; i < 3 * n; ++i) planes[i % 3].push_back(pixels[i]);
  return planes;
}

// A routine over planes in the shape of one over pixels; in place means plane by plane.
template <typename Planes>
Routine<std::uint16_t> woven(Planes routine) {
  return [routine](const std::uint16_t* src, std::uint16_t* dst, unsigned n) {
    const auto planes = split(src, n);
    using Guarded = GuardedBuffer<std::uint16_t>;
    Guarded in[3] = {Guarded(planes[0]), Guarded(planes[1]), Guarded(planes[2])};
    Guarded out[3] = {Guarded(n), Guarded(n), Guarded(n)};
    auto& to = src == dst ? in : out;
    const int status = routine(in[0].data(), in[1].data(), in[2].data(), to[0].data(), to[1].data(), to[2].data(), n);
    for (std::size_t i = 0; i < 3 * std::size_t{n}; ++i) dst[i] = to[i % 3].data()[i / 3];
    return status;
  };
}

TEST(ColourRoutines, GainTablesLikeTheModel) {
  const auto cells = gainCells();
  prove<std::uint8_t>([&](auto* s, auto* d, unsigned n) { return colorConv24_24MMX(s, d, cells.data(), n); },
                      [&](const auto& in) {
                        return reference::throughGains(in, cells.data(), {8, 6});
                      },
                      eights);
  const Model<std::uint16_t> model = [&](const auto& in) { return reference::throughGains(in, cells.data(), {12, 6}); };
  prove<std::uint16_t>([&](auto* s, auto* d, unsigned n) { return colorConv48_48MMX(s, d, cells.data(), n); }, model,
                       any);
  prove<std::uint16_t>(woven([&](auto* a, auto* b, auto* c, auto* x, auto* y, auto* z, unsigned n) {
                         return colorConv48_48MMX_Plane(a, b, c, x, y, z, cells.data(), n);
                       }),
                       model, any);
}

TEST(ColourRoutines, MatricesLikeTheModel) {
  constexpr double kUsual[9] = {1.7, -0.5, -0.2, -0.3, 1.6, -0.3, 0.1, -0.7, 1.6};
  constexpr double kExtreme[9] = {7.9, 3.9, -4, -3.9, -8, 3.99, 3.9, 3.9, 7.999};
  for (const double* m : {kUsual, kExtreme}) {
    const Model<std::uint16_t> model = [&](const auto& in) { return reference::throughMatrix(in, m); };
    CMMXMatr33 coefficients;
    ASSERT_EQ(matrMulCoef(m, &coefficients), 0);
    prove<std::uint16_t>(woven([&](auto* a, auto* b, auto* c, auto* x, auto* y, auto* z, unsigned n) {
                           return matrMul48_48_Plane_MMX(&coefficients, a, b, c, x, y, z, n);
                         }),
                         model, any);
    prove<std::uint16_t>([&](auto* s, auto* d, unsigned n) { return matrMul48_48MMX(m, s, d, n); }, model, any);
    prove<std::uint8_t>([&](auto* s, auto* d, unsigned n) { return matrMul24_24MMX(m, s, d, n); },
                        [&](const std::vector<std::uint8_t>& in) {
                          std::vector<std::uint16_t> wide(in.begin(), in.end());
                          for (auto& v : wide) v = static_cast<std::uint16_t>(v << 4);
                          std::vector<std::uint8_t> out;
                          for (const int v : model(wide))
                            out.push_back(static_cast<std::uint8_t>(std::min((v + 8) >> 4, 255)));
                          return out;
                        },
                        eights);
  }
}

TEST(ColourRoutines, HandComputedValuesPinTheRules) {
  // A carry goes from channel 0 to channel 1 of a byte pixel, and out of the second word of a word pixel nowhere.
  std::vector<std::uint32_t> bytes(1 << 18, 0x0010FF00u | 0xFF);
  std::array<std::uint8_t, 3> b = {1, 1, 0};
  colorConv24_24(b.data(), b.data(), bytes.data(), 1);
  EXPECT_EQ(b, (std::array<std::uint8_t, 3>{0, 1, 0x11}));
  std::vector<std::int64_t> words(1 << 18, 0x0000'0010'FFFF'FFFF);
  std::array<std::uint16_t, 3> w = {1, 4096, 0};
  colorConv48_48(w.data(), w.data(), words.data(), 1);
  EXPECT_EQ(w, (std::array<std::uint16_t, 3>{0, 0, 0x10}));

  // Coefficients lie column by column, truncated; a diagonal of half.
  constexpr double kMatrix[9] = {
      1, 0.99999, -0.99999, 8, -7.5, 9, 1e300, -1e300, std::numeric_limits<double>::quiet_NaN()};
  CMMXMatr33 m;
  matrMulCoef(kMatrix, &m);
  constexpr std::array<int, 9> kExpected = {4096, 32767, 32767, 8191, -30720, -32768, -8191, 32767, 0};
  for (std::size_t i = 0; i < 9; ++i) {
    for (const int lane : m.m[i]) EXPECT_EQ(lane, kExpected[i]) << i;
  }
}

}  // namespace
}  // namespace quorvel::test
