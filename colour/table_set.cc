// SPDX-License-Identifier: Apache-2.0
// A set of tables with curves before and behind: pixels pass through all three in bands that stay in the cache.
#include <algorithm>
#include <array>

#include "colour/tables.h"
#include "runtime/plain_memory.h"

namespace quorvel {
namespace {

constexpr unsigned kEntries = 4096, kBand = 512;
constexpr int kFailed = 3;

}  // namespace
}  // namespace quorvel

using namespace quorvel;

// Three curves over samples of 12 bits, and the same over samples of 8.
struct ColorConvTableSojBase::Curves {
  std::array<std::array<std::uint16_t, kEntries>, 3> words;
  std::array<std::array<std::uint8_t, 256>, 3> bytes;

  explicit Curves(const std::uint16_t* from) {
    for (unsigned c = 0; c < 3; ++c) {
      for (auto& word : words[c]) word = std::min<std::uint16_t>(*from++, kEntries - 1);
      for (unsigned i = 0; i < 256; ++i) {
        bytes[c][i] = static_cast<std::uint8_t>(std::min((words[c][16 * i] + 8) >> 4, 255));
      }
    }
  }

  void apply(std::uint16_t* pixels, std::size_t n) const {
    for (std::size_t i = 0; i < 3 * n; ++i) pixels[i] = words[i % 3][pixels[i] % kEntries];
  }
  void apply(std::uint8_t* pixels, std::size_t n) const {
    for (std::size_t i = 0; i < 3 * n; ++i) pixels[i] = bytes[i % 3][pixels[i]];
  }

  // Replaces what `slot` holds by new curves, or by none.
  static int keep(const std::uint16_t* from, Curves*& slot) {
    Curves* made = from == nullptr ? nullptr : makeObject<Curves>(from);
    if (from != nullptr && made == nullptr) return kFailed;
    destroyObject(slot);
    slot = made;
    return 0;
  }
  // False where there is no memory for what is to be copied.
  static bool copy(const Curves* from, Curves*& slot) {
    Curves* made = from == nullptr ? nullptr : makeObject<Curves>(*from);
    destroyObject(slot);
    slot = made;
    return made != nullptr || from == nullptr;
  }
  static int minMax(const Curves* curves, unsigned channel, int* least, int* greatest) {
    if (channel > 2) return -1;
    *least = 0, *greatest = kEntries - 1;
    if (curves == nullptr) return 0;
    const auto [low, high] = std::minmax_element(curves->words[channel].begin(), curves->words[channel].end());
    *least = *low, *greatest = *high;
    return 0;
  }

  // Calls load(first pixel, pixels, band) to fill a band with samples, and sends it through curves, cells and curves.
  template <typename Sample, typename Load, typename Table>
  static void convert(const Curves* before, const Curves* behind, unsigned n, Sample* dst, Load load, Table table) {
    std::array<Sample, std::size_t{3} * kBand> band;
    for (std::size_t from = 0; from < n; from += kBand) {
      const auto pixels = static_cast<unsigned>(std::min<std::size_t>(kBand, n - from));
      Sample* out = dst + 3 * from;
      load(from, pixels, band.data());
      if (before != nullptr) before->apply(band.data(), pixels);
      table(band.data(), out, pixels);
      if (behind != nullptr) behind->apply(out, pixels);
    }
  }
};

ColorConvTableSojBase::ColorConvTableSojBase() = default;
ColorConvTableSojBase::ColorConvTableSojBase(const ColorConvTableSojBase& other) { *this = other; }
ColorConvTableSojBase& ColorConvTableSojBase::operator=(const ColorConvTableSojBase& other) {
  if (this == &other) return *this;
  table32_ = other.table32_;
  table5_32_ = other.table5_32_;
  table64_ = other.table64_;
  table5_64_ = other.table5_64_;
  const bool prescanned = Curves::copy(other.prescan_, prescan_), scanned = Curves::copy(other.scan_, scan_);
  if (!prescanned || !scanned) {  // without its curves a copy would convert to something else: let it convert nothing
    table32_.free(), table5_32_.free(), table64_.free(), table5_64_.free();
  }
  return *this;
}
ColorConvTableSojBase::~ColorConvTableSojBase() {
  destroyObject(prescan_);
  destroyObject(scan_);
}

ColorConvTable& ColorConvTableSojBase::get32() { return table32_; }
ColorConvTable5& ColorConvTableSojBase::get5_32() { return table5_32_; }
ColorConvTable64& ColorConvTableSojBase::get64() { return table64_; }
ColorConvTable5_64& ColorConvTableSojBase::get5_64() { return table5_64_; }

int ColorConvTableSojBase::generate(const std::int16_t* cube0, const std::int16_t* cube1, const std::int16_t* cube2) {
  CCubeI16 fine;
  CCube5I16 coarse;
  if (fine.data() == nullptr || coarse.data() == nullptr) return kFailed;
  const std::array cubes = {cube0, cube1, cube2};
  std::int16_t* to = fine.data();
  for (std::size_t i = 0; i < CCubeI16::kCells; ++i) {
    for (const std::int16_t* values : cubes) *to++ = values[i];
  }
  for (unsigned c2 = 0; c2 < 32; ++c2) {
    for (unsigned c1 = 0; c1 < 32; ++c1) {
      for (unsigned c0 = 0; c0 < 32; ++c0) std::copy_n(fine.cell(2 * c0, 2 * c1, 2 * c2), 3, coarse.cell(c0, c1, c2));
    }
  }
  table32_.convertFrom(fine);
  table64_.convertFrom(fine);
  table5_32_.convertFrom(coarse);
  table5_64_.convertFrom(coarse);
  const bool complete = table32_.get() && table64_.get() && table5_32_.get() && table5_64_.get();
  return complete ? 0 : kFailed;
}

int ColorConvTableSojBase::setPrescan(const std::uint16_t* tables) { return Curves::keep(tables, prescan_); }
int ColorConvTableSojBase::setScan(const std::uint16_t* tables) { return Curves::keep(tables, scan_); }
int ColorConvTableSojBase::minMaxPrescan(unsigned channel, int* least, int* greatest) const {
  return Curves::minMax(prescan_, channel, least, greatest);
}
int ColorConvTableSojBase::minMaxScan(unsigned channel, int* least, int* greatest) const {
  return Curves::minMax(scan_, channel, least, greatest);
}

ColorConvTableSoj::ColorConvTableSoj() = default;
ColorConvTableSoj::ColorConvTableSoj(const ColorConvTableSoj& other) = default;
ColorConvTableSoj& ColorConvTableSoj::operator=(const ColorConvTableSoj& other) = default;
ColorConvTableSoj::~ColorConvTableSoj() = default;

int ColorConvTableSoj::convert48_48(const std::uint16_t* src, std::uint16_t* dst, unsigned n) const {
  const std::int64_t* cells = cellsOf(table64_);
  if (cells == nullptr) return kFailed;
  Curves::convert(
      prescan_, scan_, n, dst,
      [=](std::size_t from, unsigned pixels, std::uint16_t* band) {
        std::copy_n(src + 3 * from, 3 * std::size_t{pixels}, band);
      },
      [=](const std::uint16_t* in, std::uint16_t* out, unsigned pixels) { colorConv48_48(in, out, cells, pixels); });
  return 0;
}

int ColorConvTableSoj::convert24_24(const std::uint8_t* src, std::uint8_t* dst, unsigned n) const {
  const std::uint32_t* cells = cellsOf(table32_);
  if (cells == nullptr) return kFailed;
  Curves::convert(
      prescan_, scan_, n, dst,
      [=](std::size_t from, unsigned pixels, std::uint8_t* band) {
        std::copy_n(src + 3 * from, 3 * std::size_t{pixels}, band);
      },
      [=](const std::uint8_t* in, std::uint8_t* out, unsigned pixels) { colorConv24_24(in, out, cells, pixels); });
  return 0;
}

int ColorConvTableSoj::convert16x3_48(const std::uint16_t* src0, const std::uint16_t* src1, const std::uint16_t* src2,
                                      std::uint16_t* dst, unsigned n) const {
  const std::int64_t* cells = cellsOf(table64_);
  if (cells == nullptr) return kFailed;
  Curves::convert(
      prescan_, scan_, n, dst,
      [=](std::size_t from, unsigned pixels, std::uint16_t* band) {
        for (std::size_t i = from; i < from + pixels; ++i) {
          *band++ = src0[i];
          *band++ = src1[i];
          *band++ = src2[i];
        }
      },
      [=](const std::uint16_t* in, std::uint16_t* out, unsigned pixels) { colorConv48_48(in, out, cells, pixels); });
  return 0;
}
