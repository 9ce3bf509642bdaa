// SPDX-License-Identifier: Apache-2.0
// The land of the scene: fields, water, roads. Places are in the scene's own units, a pixel of a frame 1536 wide; north
// is up, the sun stands in the upper left.
#ifndef QUORVEL_HOST_SCENE_GROUND_H_
#define QUORVEL_HOST_SCENE_GROUND_H_

#include <cstdint>
#include <vector>

#include "host/scene/texture.h"

namespace quorvel::host {

// A line that winds about a straight one: across(t) = base + slope t + two waves.
struct Curve {
  struct Wave {
    double height, length, phase;
  };
  double base, slope;
  Wave waves[2];

  double across(double t) const;
  double slopeAt(double t) const;
  // The distance of the point (t, across) from the curve, positive beyond it.
  double distance(double t, double across) const;
};

class Ground {
 public:
  Ground(std::uint64_t seed, double width, double height);

  // What lies at `p` under the open sky: no house, no tree, no shadow.
  Colour at(Point p) const;

  // Distances from where something lies; negative inside it.
  double toMainRoad(Point p) const;
  double toStreets(Point p) const;  // the village's streets and the track to the targets
  double toRiver(Point p) const;
  double toCircle(Point p) const;  // the field watered from its centre
  double toVillage(Point p) const;
  double toForest(Point p) const;

  const Curve& mainRoad() const { return mainRoad_; }             // y over x
  const std::vector<Curve>& avenues() const { return avenues_; }  // x over y, the village's two streets to the north
  const Curve& crossStreet() const { return crossStreet_; }       // y over x

  // Where the main road crosses the river.
  Point bridge() const;
  // The places of a hedge plant: along some of the borders between fields.
  std::vector<Point> hedges() const;

  static constexpr Point kCircleCentre = {255, 235};
  static constexpr double kCircleRadius = 178;
  // From where to where the village's streets run.
  static constexpr double kAvenueTop = 130, kCrossLeft = 640, kCrossRight = 1075;

 private:
  struct Parcel {
    double left, right, top, bottom;  // in field coordinates
    int crop;
    bool across;   // furrows run along x instead of y
    double pitch;  // between furrows
    double tint;
  };

  Colour road(Point p, double distance) const;
  Colour water(Point p, double depth) const;
  Colour circleField(Point p) const;
  Colour field(Point p) const;
  const Parcel& parcelAt(Point fieldPoint) const;

  Noise noise_;
  std::uint64_t hedgeSeed_;
  Rotation fieldAngle_;
  Curve mainRoad_, crossStreet_, river_;
  std::vector<Curve> avenues_;
  std::vector<double> columns_;               // left ends of the columns of fields
  std::vector<std::vector<Parcel>> parcels_;  // a column each, from top to bottom
  double width_, height_;
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_SCENE_GROUND_H_
