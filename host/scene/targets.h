// SPDX-License-Identifier: Apache-2.0
// A concrete apron with painted test targets, as they lie on calibration fields: a Siemens star, a zone plate, slanted
// edges, bar groups and a chart of 24 colours.
#ifndef QUORVEL_HOST_SCENE_TARGETS_H_
#define QUORVEL_HOST_SCENE_TARGETS_H_

#include "host/scene/texture.h"

namespace quorvel::host {

class Targets {
 public:
  // `texel` is the distance between samples of the rendering, for edges as wide as one.
  Targets(std::uint64_t seed, double texel) : noise_(seed * 17 + 11), texel_(texel) {}

  static constexpr Point kFrom = {60, 664}, kTo = {836, 976};
  static constexpr Point kStar = {218, 820}, kZone = {500, 820};
  static constexpr double kRadius = 128;
  static constexpr Point kEdges = {652, 684}, kChart = {652, 838};

  static bool covers(Point p) { return p.x >= kFrom.x && p.x < kTo.x && p.y >= kFrom.y && p.y < kTo.y; }
  Colour at(Point p) const;

 private:
  // 0 where d is negative, 1 where it is positive, and the share of the texel between.
  double cover(double d) const { return clamp01(0.5 + d / texel_); }
  double inSquare(Point p, Point centre, double half, double turns) const;
  double starShade(Point q, double r) const;
  Colour edges(Point q, Colour ground) const;
  Colour chart(Point q, Colour ground) const;

  Noise noise_;
  double texel_;
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_SCENE_TARGETS_H_
