// SPDX-License-Identifier: Apache-2.0
// What tables without interpolation give up: each class on a smooth correction, at random colours, against the
// correction itself; and the interpolating tables of other libraries on the same grid. Makes the table of
// docs/colour.md.
#include <quorvel/colour.h>

#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "bench/colour_move.h"
#include "bench/peers/colour_tables.h"

namespace quorvel::bench {
namespace {

constexpr unsigned kPixels = 1 << 20;
constexpr std::array kBounds = {0.5, 1.0, 2.0, 4.0};  // in steps of 8 bits

// Where in its cell a table is right.
enum class Right { AtGridPoint, InTheMiddle };

// The value for the cell of the colours from `from` on, `width` wide, all on the scale of 8 bits. No sum carries.
std::array<double, 3> cellValue(std::array<double, 3> from, double width, Right where) {
  const double inside = where == Right::InTheMiddle ? (width - 1) / 2 : 0;
  for (double& v : from) v = (v + inside) / 255;
  from = moved(from);
  for (double& v : from) v = std::clamp(255 * v - inside, 0.0, 256 - width);
  return from;
}

template <typename Table>
Table filled(unsigned levels, double rounding, Right where) {
  const double width = 256.0 / levels;
  TMatrix<float> matrix(3, levels * levels * levels);
  for (unsigned i = 0; i < matrix.rows(); ++i) {
    const std::array<double, 3> from = {width * (i % levels), width * (i / levels % levels),
                                        width * (i / levels / levels)};
    const auto value = cellValue(from, width, where);
    for (std::size_t c = 0; c < 3; ++c) matrix.row(i)[c] = static_cast<float>(value[c] + rounding);
  }
  Table table;
  table.convertFrom(matrix);
  return table;
}

ColorConvTableKxB gains(unsigned bits) {
  CCubeI16 cube;
  const double top = (1 << bits) - 1;
  for (unsigned i = 0; i < CCubeI16::kCells; ++i) {
    const auto at = [&](unsigned level) { return level * (1 << bits) / 64 / top; };
    const auto value = moved({at(i % 64), at(i / 64 % 64), at(i / 4096)});
    // Of 8-bit outputs the cube holds sixteenths, the upper of which are rounded; of 12-bit ones the values.
    for (std::size_t c = 0; c < 3; ++c) {
      const double v = bits == 8 ? std::min(16 * (255 * value[c] + 0.5), 4095.0) : 4095 * value[c] + 0.5;
      cube.data()[3 * i + c] = static_cast<std::int16_t>(v);
    }
  }
  ColorConvTableKxB table;
  bits == 8 ? table.convertFrom(cube, 4) : table.convertFrom12(cube, 4);
  return table;
}

template <typename Sample>
void measure(const std::string& name, unsigned top, const std::function<void(const Sample*, Sample*)>& convert) {
  std::minstd_rand engine(1);
  std::vector<Sample> in(std::size_t{3} * kPixels), out(in.size());
  for (Sample& v : in) v = static_cast<Sample>((engine() >> 8) % (top + 1));
  convert(in.data(), out.data());
  std::array<double, kBounds.size() + 1> share{};
  double squares = 0, greatest = 0;
  for (std::size_t i = 0; i < in.size(); i += 3) {
    const auto wanted = moved({in[i] / double(top), in[i + 1] / double(top), in[i + 2] / double(top)});
    for (std::size_t c = 0; c < 3; ++c) {
      const double error = 255 * std::abs(out[i + c] / double(top) - wanted[c]);
      std::size_t bin = 0;
      while (bin < kBounds.size() && error > kBounds[bin] + 1e-9) ++bin;
      share[bin] += 100.0 / static_cast<double>(in.size());
      squares += error * error;
      greatest = std::max(greatest, error);
    }
  }
  std::printf("| %s |", name.c_str());
  for (const double s : share) std::printf(" %.1f |", s);
  std::printf(" %.2f | %.1f |\n", std::sqrt(squares / static_cast<double>(in.size())), greatest);
}

template <typename Sample, typename Table, typename Routine>
void measureTable(const std::string& name, Table table, Routine routine) {
  measure<Sample>(name, sizeof(Sample) == 1 ? 255 : 4095,
                  [&](const Sample* src, Sample* dst) { routine(src, dst, table.get(), kPixels); });
}

void measureAll() {
  std::printf("| table | to 0.5 | to 1 | to 2 | to 4 | above | rms | most |\n|---|---|---|---|---|---|---|---|\n");
  for (const Right where : {Right::AtGridPoint, Right::InTheMiddle}) {
    const std::string right = where == Right::AtGridPoint ? ", right at grid points" : ", right in the middle";
    measureTable<std::uint8_t>("`ColorConvTable`" + right, filled<ColorConvTable>(64, 0.5, where), colorConv24_24);
    measureTable<std::uint8_t>("`ColorConvTable5`" + right, filled<ColorConvTable5>(32, 0.5, where), colorConv5_24_24);
    measureTable<std::uint16_t>("`ColorConvTable64`" + right, filled<ColorConvTable64>(64, 1.0 / 32, where),
                                colorConv48_48);
    measureTable<std::uint16_t>("`ColorConvTable5_64`" + right, filled<ColorConvTable5_64>(32, 1.0 / 32, where),
                                colorConv5_48_48);
  }
  measureTable<std::uint8_t>("`ColorConvTableKxB`, 8 bits", gains(8), colorConv24_24MMX);
  measureTable<std::uint16_t>("`ColorConvTableKxB`, 12 bits", gains(12), colorConv48_48MMX);
  [[maybe_unused]] const auto peer = [](const char* name, const ConvertPixels& convert) {
    measure<std::uint8_t>(name, 255,
                          [&](const std::uint8_t* src, std::uint8_t* dst) { convert(src, dst, 1024, 1024); });
  };
#ifdef QUORVEL_PEER_LCMS
  peer("Little CMS, 64 levels, 8 bits", lcmsDeviceLink(64, moved));
#endif
#ifdef QUORVEL_PEER_OCIO
  peer("OpenColorIO tetrahedral, 64 levels, 8 bits", ocioLut3D(64, moved));
#endif
}

}  // namespace
}  // namespace quorvel::bench

int main() { quorvel::bench::measureAll(); }
