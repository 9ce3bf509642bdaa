// SPDX-License-Identifier: Apache-2.0
#include "host/road/warp.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace quorvel::host {
namespace {

using Words = std::vector<std::uint16_t>;

// How samples are brought to the resamplers' 15 bits and back.
class Scale {
 public:
  explicit Scale(unsigned maximum) : maximum_(maximum) {
    while (maximum << (shift_ + 1) <= kMost) ++shift_;
    halved_ = maximum > kMost;
  }
  std::uint16_t up(unsigned sample) const {
    return static_cast<std::uint16_t>(halved_ ? sample >> 1 : std::min(sample, maximum_) << shift_);
  }
  unsigned down(unsigned value) const {
    // A halved sample gets its lowest bit from its highest, so that white stays white.
    if (halved_) return std::min(value << 1 | value >> 14, maximum_);
    return std::min((value + (1u << shift_ >> 1)) >> shift_, maximum_);
  }

 private:
  static constexpr unsigned kMost = 32767;
  unsigned maximum_, shift_ = 0;
  bool halved_;
};

std::vector<Words> planesOf(const Picture& picture, const Scale& scale) {
  const std::size_t pixels = std::size_t{picture.width} * picture.height, channels = picture.channels;
  std::vector<Words> planes(channels, Words(pixels));
  std::visit(
      [&](const auto& samples) {
        for (std::size_t c = 0; c < channels; ++c) {
          for (std::size_t i = 0; i < pixels; ++i) planes[c][i] = scale.up(samples[channels * i + c]);
        }
      },
      picture.samples);
  return planes;
}

// The samples that a block can ask for, the outermost of the source standing for those beyond it.
class Window {
 public:
  void take(const Words& plane, Size source, const WarpBlock& b) {
    pitch_ = (std::size_t{b.windowWidth} + 3) & ~std::size_t{3};  // the resamplers' pitches are multiples of 8 bytes
    samples_.resize(pitch_ * b.windowHeight);
    const int right = static_cast<int>(source.width) - 1, lower = static_cast<int>(source.height) - 1;
    const int end = b.originX + static_cast<int>(b.windowWidth);
    // Columns first..last-1 are the source's own.
    const int first = std::clamp(0, b.originX, end), last = std::clamp(right + 1, first, end);
    for (unsigned j = 0; j < b.windowHeight; ++j) {
      const auto y = static_cast<std::size_t>(std::clamp(b.originY + static_cast<int>(j), 0, lower));
      const std::uint16_t* row = plane.data() + y * source.width;
      std::uint16_t* to = samples_.data() + j * pitch_;
      to = std::fill_n(to, first - b.originX, row[0]);
      if (first < last) to = std::copy(row + first, row + last, to);
      std::fill_n(to, end - last, row[right]);
    }
  }

  const std::uint16_t* samples() const { return samples_.data(); }
  unsigned pitchBytes() const { return static_cast<unsigned>(2 * pitch_); }

 private:
  Words samples_;
  std::size_t pitch_ = 0;
};

// A position among the source's samples, in a block's own; positions end where 32 bits do.
std::int32_t inBlock(double position, int origin) {
  constexpr double kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::clamp((position - origin) * 65536, -kMost, kMost));
}

class Drawing {
 public:
  Drawing(const Picture& source, const WarpSettings& settings)
      : scale_(source.maximum),
        source_{source.width, source.height},
        settings_(settings),
        planes_(planesOf(source, scale_)) {
    Picture& p = result.picture;
    p.width = settings.size.width;
    p.height = settings.size.height;
    p.channels = source.channels;
    p.maximum = source.maximum;
    const std::size_t samples = std::size_t{p.width} * p.height * p.channels;
    if (source.is16()) {
      p.samples = std::vector<std::uint16_t>(samples);
    } else {
      p.samples = std::vector<std::uint8_t>(samples);
    }
  }

  void fill(unsigned x, unsigned y, unsigned width, unsigned height) {
    result.outside += std::uint64_t{width} * height;
    for (unsigned j = 0; j < height; ++j) {
      for (std::size_t c = 0; c < planes_.size(); ++c) {
        put(x, y + j, width, c, [this, c](std::size_t) { return settings_.fill[c]; });
      }
    }
  }

  void draw(const WarpBlock& b) {
    ++result.blocks;
    made_.resize(std::size_t{b.width} * b.height);
    for (std::size_t c = 0; c < planes_.size(); ++c) {
      window_.take(planes_[c], source_, b);
      const GeoCoef4& g = b.coef;
      if (GeoParab16_16MMX(window_.samples(), g.x, g.y, g.dxColumn, g.dyColumn, g.dxRow, g.dyRow, g.ddx, g.ddy,
                           window_.pitchBytes(), 0, made_.data(), b.width, static_cast<int>(b.height),
                           static_cast<int>(b.width), settings_.method) != 0) {
        throw std::logic_error("the library refused to resample a block");
      }
      for (unsigned j = 0; j < b.height; ++j) {
        const std::uint16_t* row = made_.data() + std::size_t{j} * b.width;
        put(b.x, b.y + j, b.width, c, [=, this](std::size_t i) { return scale_.down(row[i]); });
      }
    }
    if (!b.inside) clear(b);
  }

  Warped result;

 private:
  // Fills the pixels of a block that come from outside.
  void clear(const WarpBlock& b) {
    const TPoInt<std::int32_t> low = {inBlock(-0.5, b.originX), inBlock(-0.5, b.originY)};
    const TPoInt<std::int32_t> high = {inBlock(source_.width - 0.5, b.originX),
                                       inBlock(source_.height - 0.5, b.originY)};
    for (unsigned j = 0; j < b.height; ++j) {
      unsigned first = 0;
      const auto kept = static_cast<unsigned>(calcExclude2(&b.coef, static_cast<int>(j), &low, &high, &first));
      fill(b.x, b.y + j, first, 1);
      fill(b.x + first + kept, b.y + j, b.width - first - kept, 1);
    }
  }

  // Writes one channel of a run of pixels.
  template <typename Value>
  void put(unsigned x, unsigned y, unsigned width, std::size_t channel, Value value) {
    Picture& p = result.picture;
    std::visit(
        [&](auto& samples) {
          auto* to = samples.data() + (std::size_t{y} * p.width + x) * p.channels + channel;
          for (std::size_t i = 0; i < width; ++i, to += p.channels)
            *to = static_cast<std::decay_t<decltype(*to)>>(value(i));
        },
        p.samples);
  }

  const Scale scale_;
  const Size source_;
  const WarpSettings& settings_;
  const std::vector<Words> planes_;
  Window window_;
  Words made_;
};

}  // namespace

Warped warp(const Picture& source, const Mapping& mapping, const WarpSettings& settings) {
  Drawing drawing(source, settings);
  cutIntoBlocks(
      mapping, settings.size, {source.width, source.height}, [&](const WarpBlock& b) { drawing.draw(b); },
      [&](unsigned x, unsigned y, unsigned width, unsigned height) { drawing.fill(x, y, width, height); });
  return std::move(drawing.result);
}

}  // namespace quorvel::host
