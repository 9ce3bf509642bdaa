// SPDX-License-Identifier: Apache-2.0
// Frames to planes without interpolation: method 5, which keeps each sample in the plane of its own colour, and the
// expansion of a grey frame.
#include <cstring>

#include "bayer/demosaic.h"
#include "quorvel/bayer.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bayer/planes.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "bayer/plane_sink-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

void separateFrame(const BayerFrame& frame, const RgbPlanes& out) {
  PlaneSink sink(out, frame.height);
  for (std::size_t y = 0; y < frame.height; ++y) {
    const std::uint16_t* row = frame.row(y);
    sink.row(y, [=](std::size_t first, std::size_t count, const RowColours& to) HWY_ATTR {
      forLanesOverlapped<std::uint16_t>(count, [=](auto d, std::size_t x) HWY_ATTR {
        const auto sample = hn::LoadU(d, row + first + x);
        const auto column = hn::Iota(d, static_cast<std::uint16_t>(first + x + y));
        const auto green = hn::Eq(hn::And(column, hn::Set(d, 1)), hn::Zero(d));
        hn::StoreU(hn::IfThenElseZero(green, sample), d, to.green + x);
        hn::StoreU(hn::IfThenZeroElse(green, sample), d, to.own + x);
        hn::StoreU(hn::Zero(d), d, to.other + x);
      });
    });
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {

HWY_EXPORT(separateFrame);

int separateColours(const BayerFrame& frame, const RgbPlanes& out) {
  HWY_DYNAMIC_DISPATCH(separateFrame)(frame, out);
  return 0;
}

}  // namespace quorvel

int rgbFromGray(const std::uint16_t* src, unsigned width, unsigned height, unsigned pitch, std::uint16_t* r,
                std::uint16_t* g, std::uint16_t* b) {
  const std::size_t rowBytes = width * sizeof(std::uint16_t);
  if (rowBytes == 0) return 0;
  for (std::size_t y = 0; y < height; ++y) {
    for (std::uint16_t* plane : {r, g, b}) std::memcpy(plane + y * width, src + y * pitch, rowBytes);
  }
  return 0;
}

int rgbFromGrayBayer(const std::uint16_t* src, unsigned width, unsigned height, unsigned pitch, std::uint16_t* r,
                     std::uint16_t* g, std::uint16_t* b) {
  return rgbFromGray(src, width, height, pitch, r, g, b);
}

#endif
