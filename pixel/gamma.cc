// SPDX-License-Identifier: Apache-2.0
// Gamma: look-ups through any table, the generator of gamma tables, and three channels at once.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "pixel/exact_power.h"
#include "pixel/gamma_table.h"
#include "pixel/look_up.h"
#include "quorvel/pixel.h"
#include "runtime/plain_memory.h"

namespace quorvel {
namespace {

// dst[i] = table[src[i]] for unsigned samples. Entries of 16 bits and samples of 8 gain nothing over the plain loop.
template <typename Sample, typename Entry>
void lookUp(const Sample* __restrict src, Entry* __restrict dst, const Entry* __restrict table, std::size_t n) {
  if constexpr (sizeof(Sample) == 2 && sizeof(Entry) == 1) {
    lookUpBytes(src, dst, table, n);
  } else {
    for (std::size_t i = 0; i < n; ++i) dst[i] = table[src[i]];
  }
}

// The first n mod `group` samples are indices with a sign, the others without.
template <typename Entry>
void lookUpGroups(const std::int16_t* src, Entry* dst, const Entry* table, std::size_t n, unsigned group) {
  const std::size_t leading = n % group;
  for (std::size_t i = 0; i < leading; ++i) dst[i] = table[src[i]];
  lookUp(reinterpret_cast<const std::uint16_t*>(src) + leading, dst + leading, table, n - leading);
}

using Power = double (*)(double, double);

// The curve at `distance` levels above the low level, before truncation.
double curveValue(const GammaCurve& curve, double distance, unsigned toeLength, Power power) {
  const double exponent = 1 / curve.gamma, scale = 1 / (curve.highLevel - curve.lowLevel);
  if (!curve.toe || distance > toeLength) return power(distance * scale, exponent) * curve.maxOut + 0.5;
  const double slope = (power(toeLength * scale, exponent) * curve.maxOut + 0.5) / toeLength;
  return distance * slope;
}

// Truncates; a byte keeps the low 8 bits. What no 32-bit integer holds becomes the nearest that one does, NaN 0.
std::uint8_t toByte(double v) {
  if (std::isnan(v)) return 0;
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::uint8_t>(
      static_cast<std::int32_t>(std::clamp(v, static_cast<double>(Limits::min()), static_cast<double>(Limits::max()))));
}

// The C libraries' powers differ in their last bits, and so would the tables, wherever the curve comes that close to an
// integer. There, and only there, the exact power decides.
std::uint8_t curveByte(const GammaCurve& curve, double distance, unsigned toeLength, Power power) {
  const double v = curveValue(curve, distance, toeLength, power);
  const bool undecided = std::abs(v - std::round(v)) <= (1 + std::abs(v)) * 0x1p-30;  // false for infinities and NaN
  return toByte(undecided && std::abs(v) < 0x1p31 ? curveValue(curve, distance, toeLength, exactPower) : v);
}

}  // namespace

GammaTable::~GammaTable() {
  if (!borrowed_) FreeMemory()(table_);
}

void GammaTable::borrow(std::uint8_t* memory, unsigned capacity) {
  if (!borrowed_) FreeMemory()(table_);
  table_ = memory;
  size_ = 0;
  capacity_ = capacity;
  borrowed_ = true;
}

bool GammaTable::provide(unsigned size) {
  if (table_ == nullptr || size > capacity_) {
    if (!borrowed_) FreeMemory()(table_);
    table_ = borrowed_ ? nullptr : plainMemory<std::uint8_t>(size);
    capacity_ = table_ != nullptr ? size : 0;
  }
  size_ = table_ != nullptr ? size : 0;
  return table_ != nullptr;
}

void GammaTable::generate(const GammaCurve& curve, Power power) {
  const unsigned size = 1u << bits_;
  if (!provide(size)) return;
  lowLevel_ = static_cast<float>(curve.lowLevel);
  highLevel_ = static_cast<float>(curve.highLevel);
  gamma_ = static_cast<float>(curve.gamma);

  const unsigned toeLength = std::max(size * 8 / 4096, 1u);
  const std::uint8_t full = toByte(curve.maxOut);
  for (unsigned i = 0; i < size; ++i) {
    std::uint8_t c;
    if (curve.lowLevel >= i) {
      c = 0;
    } else if (i >= curve.highLevel) {
      c = full;
    } else {
      c = curveByte(curve, std::trunc(i - curve.lowLevel), toeLength, power);
    }
    table_[i] = curve.invert ? static_cast<std::uint8_t>(full - c) : c;
  }
}

namespace {

constexpr std::array kChannels = {&ConversionParam::red, &ConversionParam::green, &ConversionParam::blue};

bool differ(const ConversionChannel& a, const ConversionChannel& b) {
  return a.lowLevel != b.lowLevel || a.highLevel != b.highLevel || a.mode != b.mode || a.maxOut != b.maxOut ||
         static_cast<float>(a.gamma) != static_cast<float>(b.gamma);
}

// What `convertRGBGammaTo8_` keeps for the process.
struct ProcessTables {
  CGammaTblB_DLL red, green, blue;
  std::array<CGammaTblB_DLL*, 3> all = {&red, &green, &blue};
  ConversionParam last;

  // A gamma that is no number differs from every other, so that the first call generates all three.
  ProcessTables() {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    last.red = last.green = last.blue = {0, 0, kNone, 0, 0};
  }
};

}  // namespace
}  // namespace quorvel

using namespace quorvel;

void gamma8_8(const std::uint8_t* src, std::uint8_t* dst, const std::uint8_t* table, unsigned n) {
  lookUp(src, dst, table, n);
}

void gamma16_8(const std::int16_t* src, std::uint8_t* dst, const std::uint8_t* table, unsigned n) {
  lookUpGroups(src, dst, table, n, 3);
}

void gamma16_16(const std::int16_t* src, std::uint16_t* dst, const std::uint16_t* table, unsigned n) {
  lookUpGroups(src, dst, table, n, 4);
}

CGammaTblB_DLL::CGammaTblB_DLL() : table_(makeObject<GammaTable>(12u)) { genGamma(1.0, 0, 4095, 255); }

CGammaTblB_DLL::~CGammaTblB_DLL() { destroyObject(table_); }

void CGammaTblB_DLL::genGamma(double gamma, int lowLevel, int highLevel, int maxOut) {
  if (table_ == nullptr) return;
  table_->generate({gamma, static_cast<double>(lowLevel), static_cast<double>(highLevel), static_cast<double>(maxOut)});
}

void CGammaTblB_DLL::convert16_8(const std::int16_t* src, std::uint8_t* dst, unsigned n) {
  if (table_ == nullptr || table_->entries() == nullptr) return;
  gamma16_8(src, dst, table_->entries(), n);
}

void convertRGBGammaTo8(const ConversionParam* p, const std::uint16_t* r, const std::uint16_t* g,
                        const std::uint16_t* b, unsigned width, unsigned height, std::uint8_t* outR, std::uint8_t* outG,
                        std::uint8_t* outB, CGammaTblB_DLL* const* tables, ConversionParam* last) {
  const std::array sources = {r, g, b};
  const std::array outputs = {outR, outG, outB};
  for (std::size_t i = 0; i < kChannels.size(); ++i) {
    const ConversionChannel& channel = p->*kChannels[i];
    if (differ(channel, last->*kChannels[i])) {
      tables[i]->genGamma(channel.gamma, channel.lowLevel, channel.highLevel, channel.maxOut);
    }
    tables[i]->convert16_8(reinterpret_cast<const std::int16_t*>(sources[i]), outputs[i], width * height);
  }
  *last = *p;
}

void convertRGBGammaTo8_(const ConversionParam* p, const std::uint16_t* r, const std::uint16_t* g,
                         const std::uint16_t* b, unsigned width, unsigned height, std::uint8_t* outR,
                         std::uint8_t* outG, std::uint8_t* outB) {
  static ProcessTables process;
  convertRGBGammaTo8(p, r, g, b, width, height, outR, outG, outB, process.all.data(), &process.last);
}
