// SPDX-License-Identifier: Apache-2.0
// Where a demosaicing method puts its rows: straight into the planes, or past the caches when they are large. Three
// planes are three quarters of all the memory that a method touches, and ordinary stores would read them first.

// Per-target include guard: the file is read again for every target.
#if defined(QUORVEL_BAYER_PLANE_SINK_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef QUORVEL_BAYER_PLANE_SINK_INL_H_
#undef QUORVEL_BAYER_PLANE_SINK_INL_H_
#else
#define QUORVEL_BAYER_PLANE_SINK_INL_H_
#endif

#include <algorithm>

#include <hwy/highway.h>

#include "bayer/demosaic.h"
#include "simd/streaming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

class PlaneSink {
 public:
  PlaneSink(const RgbPlanes& planes, std::size_t height)
      : next_(planes.row(0)),
        width_(planes.width),
        streams_(kTargetStreams && 3 * sizeof(std::uint16_t) * planes.width * height >= kStreamedBytes) {
    if (!streams_) return;
    red_.begin(planes.r);
    green_.begin(planes.g);
    blue_.begin(planes.b);
  }
  PlaneSink(const PlaneSink&) = delete;
  PlaneSink& operator=(const PlaneSink&) = delete;
  ~PlaneSink() {
    if (!streams_) return;
    red_.end();
    green_.end();
    blue_.end();
    hwy::FlushStream();
  }

  // Takes the next row, whose number is y: calls body(x, count, out) so that the calls cover its columns once and in
  // order; `out` is where the colours of column x go.
  template <typename Body>
  HWY_INLINE void row(std::size_t y, Body&& body) {
    const std::size_t block = streams_ ? kPixelsPerBlock : width_;
    for (std::size_t x = 0; x < width_; x += block) {
      const std::size_t count = std::min(block, width_ - x);
      const RgbRow to = streams_ ? RgbRow{room(red_), room(green_), room(blue_)} : next_;
      body(x, count, coloursOfRow(to, y));
      if (streams_) {
        for (Stream* stream : {&red_, &green_, &blue_}) stream->push(count * sizeof(std::uint16_t));
      } else {
        next_ = {next_.r + count, next_.g + count, next_.b + count};
      }
    }
  }

 private:
  using Stream = StreamedOutput<kPixelsPerBlock * sizeof(std::uint16_t)>;

  static std::uint16_t* room(Stream& stream) { return reinterpret_cast<std::uint16_t*>(stream.room()); }

  RgbRow next_;
  std::size_t width_;
  bool streams_;
  Stream red_, green_, blue_;
};

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
