// SPDX-License-Identifier: Apache-2.0
#include "tests/digest/digest.h"

namespace quorvel::test {
namespace {

void addRows(Routines& routines, unsigned n) {
  CALL(tileMirrorX8_8_EMMX, n);
  CALL(tileMirrorX16_16_EMMX, n);
}

void addImages(Routines& routines, unsigned width, unsigned height) {
  const unsigned stride = width + 5;
  CALL(insertSubTileX, stride, width, height, stride + 7, width + 3, height + 4, 2, 1);
  CALL(insertSubTileX16, stride, width, height, stride + 7, width + 3, height + 4, 2, 1);
  CALL(tileTurn90_8_8, stride, width, height, height + 3);
  CALL(tileTurn90_16_16, stride, width, height, height + 3);
  CALL(tileTurn180_8_8, stride, width, height, stride + 7);
  CALL(tileTurn180_16_16, stride, width, height, stride + 7);
  CALL(tileTurn270_8_8, stride, width, height, height + 3);
  CALL(tileTurn270_16_16, stride, width, height, height + 3);
  CALL(tileBorder_8_8, stride, width, height, stride + 7, 3, 2, 4, 1);
  CALL(tileBorder_16_16, stride, width, height, stride + 7, 3, 2, 4, 1);
}

}  // namespace

void addGeometry(Routines& routines) {
  for (const unsigned n : {1024u, 333u, 77u, 8u}) addRows(routines, n);
  addImages(routines, 64, 20);
  addImages(routines, 37, 11);
}

}  // namespace quorvel::test
