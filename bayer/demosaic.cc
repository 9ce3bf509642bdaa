// SPDX-License-Identifier: Apache-2.0
// Demosaicing, from the outside: which method runs, and the interleaved form.
#include "bayer/demosaic.h"

#include "quorvel/bayer.h"
#include "quorvel/pixel.h"
#include "runtime/debugger.h"

using namespace quorvel;

namespace {

constexpr int kBadShape = -1;
constexpr int kUnsupportedMethod = -2;

}  // namespace

int rgbFromBayer(const std::uint16_t* src, unsigned width, unsigned height, unsigned pitch, std::uint16_t* r,
                 std::uint16_t* g, std::uint16_t* b, fromBayerMethod method) {
  const BayerFrame frame{src, width, height, pitch};
  const RgbPlanes out{r, g, b, width};
  if (method == bayerReserved) {
    debuggerBreak();
    return 0;
  }
  const bool narrow = width < 2 || height < 2;  // directions need a neighbour on each axis
  switch (method) {
    case bayerBilinear:
      return demosaicBilinear(frame, out);
    case bayerGradient:
      return narrow ? demosaicBilinear(frame, out) : demosaicGradient(frame, out);
    case bayerVariableGradients:
      return narrow ? demosaicBilinear(frame, out) : demosaicVariableGradients(frame, out);
    case bayerSeparate:
      return separateColours(frame, out);
    default:
      return kUnsupportedMethod;
  }
}

int rgbFromBayerP(const std::uint16_t* src, unsigned width, unsigned height, unsigned pitch, std::uint16_t* rgb,
                  std::uint16_t* workRows, fromBayerMethod method) {
  if (width % 2 != 0 || height % 2 != 0) return kBadShape;
  if (method != bayerBilinear) return kUnsupportedMethod;
  const BayerFrame frame{src, width, height, pitch};
  const RgbRow work{workRows, workRows + width, workRows + 2 * std::size_t{width}};
  return demosaicBilinearInterleaved(frame, work, rgb);
}
