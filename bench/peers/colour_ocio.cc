// SPDX-License-Identifier: Apache-2.0
#include <OpenColorIO/OpenColorIO.h>

#include "bench/peers/colour_tables.h"

namespace quorvel::bench {
namespace {

namespace ocio = OCIO_NAMESPACE;

}  // namespace

ConvertPixels ocioLut3D(unsigned levels, const ColourMove& move) {
  const auto lut = ocio::Lut3DTransform::Create(levels);
  lut->setInterpolation(ocio::INTERP_TETRAHEDRAL);
  const double last = levels - 1;
  for (unsigned r = 0; r < levels; ++r) {
    for (unsigned g = 0; g < levels; ++g) {
      for (unsigned b = 0; b < levels; ++b) {
        const auto out = move({r / last, g / last, b / last});
        lut->setValue(r, g, b, static_cast<float>(out[0]), static_cast<float>(out[1]), static_cast<float>(out[2]));
      }
    }
  }
  const auto processor = ocio::Config::CreateRaw()->getProcessor(lut)->getOptimizedCPUProcessor(
      ocio::BIT_DEPTH_UINT8, ocio::BIT_DEPTH_UINT8, ocio::OPTIMIZATION_DEFAULT);
  return [processor](const std::uint8_t* src, std::uint8_t* dst, unsigned width, unsigned height) {
    const auto image = [&](const std::uint8_t* pixels) {
      return ocio::PackedImageDesc(const_cast<std::uint8_t*>(pixels), width, height, ocio::CHANNEL_ORDERING_RGB,
                                   ocio::BIT_DEPTH_UINT8, ocio::AutoStride, ocio::AutoStride, ocio::AutoStride);
    };
    const auto in = image(src);
    auto out = image(dst);
    processor->apply(in, out);
  };
}

}  // namespace quorvel::bench
