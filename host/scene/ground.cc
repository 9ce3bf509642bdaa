// SPDX-License-Identifier: Apache-2.0
#include "host/scene/ground.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorvel::host {
namespace {

// What grows on a field, or does not.
struct Crop {
  Colour colour;
  double furrow;   // how strongly the furrows show
  double clumps;   // how uneven it stands
  bool tramlines;  // whether the farmer drives through it
};
constexpr std::array kCrops = {
    Crop{{0.40, 0.295, 0.115}, 0.10, 0.16, true},    // wheat
    Crop{{0.50, 0.405, 0.20}, 0.08, 0.12, true},     // barley
    Crop{{0.060, 0.135, 0.032}, 0.30, 0.18, true},   // maize
    Crop{{0.125, 0.235, 0.055}, 0.16, 0.16, true},   // young corn
    Crop{{0.165, 0.102, 0.063}, 0.28, 0.20, false},  // ploughed
    Crop{{0.36, 0.285, 0.175}, 0.17, 0.14, false},   // stubble
    Crop{{0.52, 0.44, 0.045}, 0.05, 0.14, true},     // rape
    Crop{{0.115, 0.190, 0.058}, 0.03, 0.34, false},  // meadow
    Crop{{0.175, 0.130, 0.225}, 0.40, 0.16, false},  // lavender
};

constexpr Colour kGrass = {0.105, 0.175, 0.052}, kLawn = {0.125, 0.205, 0.060}, kForestFloor = {0.040, 0.060, 0.022};
constexpr Colour kDirt = {0.33, 0.255, 0.165}, kGravel = {0.30, 0.27, 0.225}, kSand = {0.42, 0.36, 0.255};
constexpr Colour kAsphalt = {0.105, 0.108, 0.114}, kStreet = {0.165, 0.165, 0.168}, kPaint = {0.74, 0.74, 0.71};
constexpr Colour kConcrete = {0.43, 0.425, 0.405}, kShallows = {0.085, 0.145, 0.118}, kDeep = {0.022, 0.060, 0.068};

constexpr double kRoadHalf = 8.5, kAvenueHalf = 4.6, kTrackHalf = 4;
constexpr Point kTrackFrom = {300, 470}, kTrackTo = {300, 670};

}  // namespace

double Curve::across(double t) const {
  double v = base + slope * t;
  for (const Wave& w : waves) v += w.height * sineOfTurns(t / w.length + w.phase);
  return v;
}

double Curve::slopeAt(double t) const {
  double v = slope;
  for (const Wave& w : waves) v += w.height * 6.283185307179586 / w.length * cosineOfTurns(t / w.length + w.phase);
  return v;
}

double Curve::distance(double t, double at) const {
  const double d = at - across(t);
  if (std::abs(d) > 100) return d;  // far away the slope does not matter
  const double m = slopeAt(t);
  return d / std::sqrt(1 + m * m);
}

Ground::Ground(std::uint64_t seed, double width, double height)
    : noise_(seed * 31 + 7), hedgeSeed_(seed * 53 + 17), fieldAngle_(0.028), width_(width), height_(height) {
  Random random(seed * 977 + 13);
  const auto phase = [&] { return random.between(-0.05, 0.05); };
  mainRoad_ = {575, -0.085, {{26, 1500, 0.05 + phase()}, {5, 410, phase()}}};
  crossStreet_ = {292, 0.03, {{7, 520, 0.2 + phase()}, {0, 100, 0}}};
  river_ = {1195, 0.06, {{88, 1350, 0.12 + phase()}, {22, 430, 0.4 + phase()}}};
  avenues_ = {{786, 0.02, {{8, 420, phase()}, {0, 100, 0}}}, {948, -0.03, {{9, 500, 0.3 + phase()}, {0, 100, 0}}}};

  for (double left = -500; left < width + 700;) {
    columns_.push_back(left);
    const double right = left + random.between(115, 215);
    auto& column = parcels_.emplace_back();
    for (double top = -700 - random.between(0, 120); top < height + 700;) {
      const double bottom = top + random.between(85, 210);
      const unsigned lot = random.below(100);  // lavender is rare
      const int crop = lot < 4 ? 8 : static_cast<int>(lot % 8);
      column.push_back(
          {left, right, top, bottom, crop, random.chance(0.35), random.between(3.2, 8.5), random.between(0.86, 1.14)});
      top = bottom;
    }
    left = right;
  }
}

double Ground::toMainRoad(Point p) const { return std::abs(mainRoad_.distance(p.x, p.y)) - kRoadHalf; }

double Ground::toStreets(Point p) const {
  double nearest = 1e9;
  const bool north = p.y < 455 || p.y < mainRoad_.across(p.x);
  if (north && p.y > kAvenueTop && p.x > kCrossLeft && p.x < kCrossRight) {
    for (const Curve& avenue : avenues_) nearest = std::min(nearest, std::abs(avenue.distance(p.y, p.x)) - kAvenueHalf);
  }
  if (p.x > kCrossLeft && p.x < kCrossRight) {
    nearest = std::min(nearest, std::abs(crossStreet_.distance(p.x, p.y)) - kAvenueHalf);
  }
  if (!north && p.y < kTrackTo.y && p.x < kTrackFrom.x + 60) {
    nearest = std::min(nearest, std::abs(p.x - kTrackFrom.x - 3 * sineOfTurns(p.y / 130)) - kTrackHalf);
  }
  return nearest;
}

double Ground::toRiver(Point p) const {
  const double even = std::abs(river_.distance(p.y, p.x)) - (34 + 9 * sineOfTurns(p.y / 610 + 0.3));
  return even > 60 ? even : even - 4 * noise_.at(p, 45);
}

double Ground::toCircle(Point p) const { return (p - kCircleCentre).length() - kCircleRadius; }

double Ground::toVillage(Point p) const {
  const Point q = {(p.x - 862) / 245, (p.y - 300) / 178};
  const double even = (q.length() - 1) * 190;
  return std::abs(even) > 40 ? even : even + 26 * noise_.layers(p, 120, 3);
}

double Ground::toForest(Point p) const {
  const double lowerRight = 0.62 * (1505 - p.x) + 0.78 * (700 - p.y) - 40;
  const double upperRight = 0.9 * (1560 - p.x) + 0.45 * (p.y - 150);
  const double top = (Point{(p.x - 520) / 1.5, p.y + 10}).length() - 105;
  const double even = std::min({lowerRight, upperRight, top});
  return std::abs(even) > 90 ? even : even + 60 * noise_.layers(p, 170, 4);
}

Colour Ground::road(Point p, double distance) const {
  const double side = std::abs(distance);
  const double worn = 1 + 0.10 * noise_.layers(p, 14, 3) + 0.06 * noise_.at(p, 1.7);
  const bool overWater = toRiver(p) < 9;
  if (side > kRoadHalf) return overWater ? kConcrete * worn : kGravel * worn;
  if (side > kRoadHalf - 2.1 && side < kRoadHalf - 1.0) return kPaint;
  if (side < 0.6 && p.x / 26 - std::floor(p.x / 26) < 0.45) return kPaint;
  const double wheels = 1 - 0.10 * ramp(1.3, 0.2, std::abs(side - 3.2));
  return kAsphalt * (worn * wheels);
}

Colour Ground::water(Point p, double depth) const {
  Colour c = blend(kShallows, kDeep, ramp(0, 26, depth + 5 * noise_.at(p, 23)));
  // Wind draws the ripples out along one direction.
  const double ripple = noise_.at(p.x / 9 + p.y / 21, p.y / 3.1 - p.x / 16) + 0.6 * noise_.at(p.x / 3.7, p.y / 1.6);
  c = c * (1 + 0.20 * ripple);
  const double glint = ramp(0.92, 1.4, ripple + 0.3 * noise_.at(p, 60));
  return c + Colour{0.30, 0.32, 0.33} * glint;
}

Colour Ground::circleField(Point p) const {
  const Point q = p - kCircleCentre;
  const double r = q.length();
  // A third of the circle was mown: the sector between two straight lines.
  const bool mown = q.x * 0.35 + q.y > 0 && q.x - q.y * 0.55 > 0;
  const double furrow = sineOfTurns(r / 6.2);
  const double uneven = 1 + 0.16 * noise_.layers(p, 50, 3) + 0.10 * noise_.at(p, 2.1);
  Colour c = mown ? Colour{0.27, 0.265, 0.105} : Colour{0.090, 0.200, 0.050};
  c = c * (uneven * (1 + (mown ? 0.12 : 0.22) * furrow));
  // Wheel tracks of the towers of the sprinkler arm.
  const double track = std::abs(r / 43 - std::floor(r / 43) - 0.5) * 43;
  if (track < 0.9) c = blend(c, kDirt, 0.6);
  // The arm itself, and its hub.
  const double along = q.x * 0.819 + q.y * -0.574, beside = q.x * 0.574 + q.y * 0.819;
  if (r < 4.5 || (along > 0 && std::abs(beside) < 0.9)) return {0.62, 0.63, 0.65};
  if (along > 0 && beside > 0.9 && beside < 2.6) c = c * 0.55;
  return c;
}

const Ground::Parcel& Ground::parcelAt(Point q) const {
  const auto column = std::upper_bound(columns_.begin() + 1, columns_.end(), q.x) - columns_.begin() - 1;
  const auto& parcels = parcels_[static_cast<std::size_t>(column)];
  const auto parcel = std::upper_bound(parcels.begin() + 1, parcels.end(), q.y,
                                       [](double y, const Parcel& candidate) { return y < candidate.top; });
  return *(parcel - 1);
}

Colour Ground::field(Point p) const {
  const Point q = fieldAngle_.into(p) + Point{2.5 * noise_.at(p, 90), 2.5 * noise_.at(p.y / 90, p.x / 90)};
  const Parcel& parcel = parcelAt(q);
  const double fine = noise_.at(p, 1.9), coarse = noise_.layers(p, 70, 4);
  const double track = std::min(q.x - parcel.left, parcel.right - q.x);
  const double strip = std::min(q.y - parcel.top, parcel.bottom - q.y);
  if (track < 2.6) {  // half of a dirt track with a rut in each half
    return (track > 0.7 && track < 1.9 ? kDirt : kGrass * 1.1) * (1 + 0.15 * fine + 0.15 * coarse);
  }
  if (std::min(track, strip) < 3.6) return kGrass * (0.95 + 0.22 * fine + 0.3 * coarse);

  const Crop& crop = kCrops[static_cast<std::size_t>(parcel.crop)];
  const double along = parcel.across ? q.x : q.y, beside = parcel.across ? q.y : q.x;
  const double furrow = sineOfTurns(beside / parcel.pitch + 0.12 * noise_.at(p, 37));
  double light = parcel.tint * (1 + crop.clumps * (1.1 * coarse + 0.45 * fine) + crop.furrow * furrow);
  light *= 1 + 0.05 * noise_.at(along / 55, beside / 4.5);  // sown in lanes
  Colour c = crop.colour * light;
  if (crop.tramlines) {
    const double lane = beside / 46 - std::floor(beside / 46);
    const double wheel = std::min(std::abs(lane * 46 - 20), std::abs(lane * 46 - 25.5));
    if (wheel < 0.8) c = blend(c, kDirt * 0.75, 0.55);
  }
  return c;
}

Colour Ground::at(Point p) const {
  const double fine = noise_.at(p, 1.9);
  const double toRoad = mainRoad_.distance(p.x, p.y);
  if (std::abs(toRoad) < kRoadHalf + 2.6) return road(p, toRoad);

  const double street = toStreets(p);
  if (street < 0) {
    const bool paved = p.y < mainRoad_.across(p.x);
    return (paved ? kStreet : kDirt) * (1 + 0.12 * noise_.layers(p, 12, 3) + 0.07 * fine);
  }
  if (street < 1.4 && p.y < mainRoad_.across(p.x)) return kConcrete * (0.86 + 0.08 * fine);  // kerb

  const double river = toRiver(p);
  if (river < 0) {
    // The bridge's shadow falls beside it.
    const double under = mainRoad_.distance(p.x - 7, p.y - 6);
    return water(p, -river) * (std::abs(under) < kRoadHalf + 2.6 ? 0.45 : 1.0);
  }
  const double coarse = noise_.layers(p, 40, 3);
  if (river < 5 + 5 * coarse) return kSand * (1 + 0.16 * fine + 0.2 * coarse);
  if (river < 26 + 14 * coarse) return kGrass * (0.98 + 0.22 * fine + 0.35 * coarse);

  if (toCircle(p) < 0) return circleField(p);
  if (toCircle(p) < 4) return kDirt * (0.9 + 0.12 * fine);
  if (toForest(p) < 0) return kForestFloor * (1 + 0.3 * fine + 0.3 * coarse);
  if (toVillage(p) < 0) {
    const double dry = ramp(0.05, 0.35, noise_.layers(p, 55, 3));
    const double mown = 0.05 * sineOfTurns((p.x * 0.8 + p.y * 0.6) / 5.2);
    return blend(kLawn, {0.24, 0.235, 0.11}, 0.6 * dry) * (1 + 0.18 * fine + 0.3 * coarse + mown);
  }
  return field(p);
}

Point Ground::bridge() const {
  Point p = {1200, 450};
  for (int step = 0; step < 8; ++step)
    p = {river_.across(p.y), mainRoad_.across(p.x)};  // both are nearly straight there
  return p;
}

std::vector<Point> Ground::hedges() const {
  std::vector<Point> places;
  Random random(hedgeSeed_);
  for (std::size_t c = 1; c < columns_.size(); ++c) {
    for (const Parcel& parcel : parcels_[c]) {
      const bool west = random.chance(0.35), north = random.chance(0.45);
      const auto plant = [&](Point from, Point to) {
        const double length = (to - from).length();
        for (double t = 3; t < length - 3; t += random.between(5.5, 9)) {
          if (random.chance(0.86)) {
            places.push_back(fieldAngle_.outOf(from + (to - from) * (t / length) +
                                               Point{random.between(-1.2, 1.2), random.between(-1.2, 1.2)}));
          }
        }
      };
      if (west) plant({parcel.left, parcel.top}, {parcel.left, parcel.bottom});
      if (north) plant({parcel.left, parcel.top}, {parcel.right, parcel.top});
    }
  }
  std::erase_if(places, [&](Point p) { return p.x < -20 || p.y < -20 || p.x > width_ + 20 || p.y > height_ + 20; });
  return places;
}

}  // namespace quorvel::host
