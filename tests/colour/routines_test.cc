// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cstring>
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
void proveConversion(const Routine<Sample>& routine, const Model<Sample>& model, bool (*accepts)(unsigned)) {
  proveRows(rowLengths(0, 70), [&](unsigned n, Pattern pattern, Guard guard) {
    const auto in = samples<Sample>(3 * std::size_t{n}, pattern);
    const auto convert = [&](const auto& src, auto& dst) {
      if (!accepts(n)) return -1;
      dst = model(src);
      return 0;
    };
    prove(
        guard, [&](auto* src, auto* dst) { return routine(src, dst, n); }, convert, in, room<Sample>(in.size()));
    prove(
        guard, [&](auto* pixels) { return routine(pixels, pixels, n); },
        [&](auto& pixels) { return convert(pixels, pixels); }, in);
  });
}

bool any(unsigned) { return true; }
bool some(unsigned n) { return n != 0; }
bool eights(unsigned n) { return n % 8 == 0; }

template <typename Sample, typename Cell>
void proveValues(int (*routine)(const Sample*, Sample*, const Cell*, unsigned), reference::Grid grid) {
  // Cells at random: most sums carry.
  const auto lanes = samples<Sample>(std::size_t{4} << 3 * grid.levelBits, Pattern::Random);
  std::vector<Cell> cells(lanes.size() / 4);
  std::memcpy(cells.data(), lanes.data(), cells.size() * sizeof(Cell));
  proveConversion<Sample>([&](auto* src, auto* dst, unsigned n) { return routine(src, dst, cells.data(), n); },
                          [&](const auto& in) { return reference::throughValues(in, lanes.data(), grid); }, some);
}

TEST(ColourRoutines, ValueTablesLikeTheModel) {
  proveValues(colorConv24_24, {8, 6});
  proveValues(colorConv5_24_24, {8, 5});
  proveValues(colorConv48_48, {12, 6});
  proveValues(colorConv5_48_48, {12, 5});
}

std::vector<KxB> gainCells() {
  const auto words = samples<std::int16_t>(std::size_t{8} << 18, Pattern::Random);
  std::vector<KxB> cells(words.size() / 8);
  std::memcpy(cells.data(), words.data(), cells.size() * sizeof(KxB));
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i % 3 == 0) continue;  // the others near unity, where the outputs are not all at their limits
    for (auto& k : cells[i].k) k = static_cast<std::int16_t>(k % 16);
    for (auto& b : cells[i].b) b = static_cast<std::int16_t>(b / 16);
  }
  return cells;
}

// A routine over planes in the shape of one over pixels; in place means plane by plane.
template <typename Planes>
Routine<std::uint16_t> woven(Planes routine) {
  return [routine](const std::uint16_t* src, std::uint16_t* dst, unsigned n) {
    std::array<std::vector<std::uint16_t>, 3> planes;
    for (std::size_t i = 0; i < 3 * std::size_t{n}; ++i) planes[i % 3].push_back(src[i]);
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
  proveConversion<std::uint8_t>([&](auto* s, auto* d, unsigned n) { return colorConv24_24MMX(s, d, cells.data(), n); },
                                [&](const auto& in) {
                                  return reference::throughGains(in, cells.data(), {8, 6});
                                },
                                eights);
  const Model<std::uint16_t> model = [&](const auto& in) { return reference::throughGains(in, cells.data(), {12, 6}); };
  proveConversion<std::uint16_t>([&](auto* s, auto* d, unsigned n) { return colorConv48_48MMX(s, d, cells.data(), n); },
                                 model, any);
  proveConversion<std::uint16_t>(woven([&](auto* a, auto* b, auto* c, auto* x, auto* y, auto* z, unsigned n) {
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
    matrMulCoef(m, &coefficients);
    proveConversion<std::uint16_t>(woven([&](auto* a, auto* b, auto* c, auto* x, auto* y, auto* z, unsigned n) {
                                     return matrMul48_48_Plane_MMX(&coefficients, a, b, c, x, y, z, n);
                                   }),
                                   model, any);
    proveConversion<std::uint16_t>([&](auto* s, auto* d, unsigned n) { return matrMul48_48MMX(m, s, d, n); }, model,
                                   any);
    proveConversion<std::uint8_t>([&](auto* s, auto* d, unsigned n) { return matrMul24_24MMX(m, s, d, n); },
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

// Column by column, truncated and limited; a diagonal of half.
TEST(ColourRoutines, CoefficientsOfMatrices) {
  constexpr double kMatrix[9] = {
      1, 0.99999, -0.99999, 8, -7.5, 9, 1e300, -1e300, std::numeric_limits<double>::quiet_NaN()};
  constexpr std::array<int, 9> kExpected = {4096, 32767, 32767, 8191, -30720, -32768, -8191, 32767, 0};
  CMMXMatr33 m;
  EXPECT_EQ(matrMulCoef(kMatrix, &m), 0);
  for (std::size_t i = 0; i < 9; ++i) {
    for (const int lane : m.m[i]) EXPECT_EQ(lane, kExpected[i]) << i;
  }
}

}  // namespace
}  // namespace quorvel::test
