// SPDX-License-Identifier: Apache-2.0
#include "tests/digest/digest.h"

namespace quorvel::test {
namespace {

constexpr unsigned kPixels = 1000;

// Pixels through cells at random, which make sums carry and products wrap.
template <typename Sample, typename Cell>
auto throughTable(int (*routine)(const Sample*, Sample*, const Cell*, unsigned), unsigned cells) {
  return [=](Digest& d) {
    std::minstd_rand engine(7);
    std::vector<Cell> table(cells);
    auto* words = reinterpret_cast<std::uint16_t*>(table.data());
    for (std::size_t i = 0; i < cells * sizeof(Cell) / 2; ++i) words[i] = static_cast<std::uint16_t>(engine() >> 8);
    const auto in = content<Sample>(3);
    std::vector<Sample> out(3 * kPixels);
    for (const unsigned n : {kPixels, kPixels - 3}) {
      const int status = routine(in.data(), out.data(), table.data(), n);
      d.add(&status, 1);
      d.add(out.data(), out.size());
    }
  };
}

void addMatrices(Routines& routines) {
  static constexpr double kMatrix[9] = {1.7, -0.5, -0.2, -0.3, 1.6, -0.3, 0.1, -0.7, 7.9};
  routines["matrMulCoef"] = [](Digest& d) {
    CMMXMatr33 m;
    matrMulCoef(kMatrix, &m);
    d.add(&m.m[0][0], 36);
  };
  routines["matrMul48_48_Plane_MMX"] = [](Digest& d) {
    CMMXMatr33 m;
    matrMulCoef(kMatrix, &m);
    std::array<std::vector<std::uint16_t>, 3> p = {content<std::uint16_t>(1), content<std::uint16_t>(2),
                                                   content<std::uint16_t>(3)};
    matrMul48_48_Plane_MMX(&m, p[0].data(), p[1].data(), p[2].data(), p[0].data(), p[1].data(), p[2].data(), kPixels);
    for (const auto& plane : p) d.add(plane.data(), plane.size());
  };
  routines["matrMul48_48MMX"] = [](Digest& d) {
    auto pixels = content<std::uint16_t>(4);
    matrMul48_48MMX(kMatrix, pixels.data(), pixels.data(), kPixels);
    d.add(pixels.data(), pixels.size());
  };
  routines["matrMul24_24MMX"] = [](Digest& d) {
    auto pixels = content<std::uint8_t>(5);
    matrMul24_24MMX(kMatrix, pixels.data(), pixels.data(), kPixels);
    d.add(pixels.data(), pixels.size());
  };
}

}  // namespace

void addColour(Routines& routines) {
  constexpr unsigned kFine = 64 * 64 * 64, kCoarse = 32 * 32 * 32;
  routines["colorConv24_24"] = throughTable(colorConv24_24, kFine);
  routines["colorConv5_24_24"] = throughTable(colorConv5_24_24, kCoarse);
  routines["colorConv48_48"] = throughTable(colorConv48_48, kFine);
  routines["colorConv5_48_48"] = throughTable(colorConv5_48_48, kCoarse);
  routines["colorConv24_24MMX"] = throughTable(colorConv24_24MMX, kFine);
  routines["colorConv48_48MMX"] = throughTable(colorConv48_48MMX, kFine);
  routines["colorConv48_48MMX_Plane"] = throughTable<std::uint16_t, KxB>(
      [](const std::uint16_t* src, std::uint16_t* dst, const KxB* cells, unsigned n) {
        return colorConv48_48MMX_Plane(src, src + n, src + 2 * n, dst, dst + n, dst + 2 * n, cells, n);
      },
      kFine);
  addMatrices(routines);
}

}  // namespace quorvel::test
