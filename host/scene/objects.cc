// SPDX-License-Identifier: Apache-2.0
#include "host/scene/objects.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorvel::host {
namespace {

// Where the sun's light goes: to the lower right by these parts of an object's height, and from where it comes.
constexpr Point kShadow = {0.80, 0.66};
constexpr double kSunX = -0.54, kSunY = -0.45, kSunZ = 0.71;
// In a shadow only the blue sky gives light.
constexpr Colour kSkyLight = {0.30, 0.36, 0.46};

constexpr double kCell = 32;

Colour lit(Colour surface, Colour light) { return {surface.r * light.r, surface.g * light.g, surface.b * light.b}; }

bool isPlant(const Object& o) { return o.kind == ObjectKind::Tree || o.kind == ObjectKind::Fir; }

bool inBox(const Object& o, Point p) {
  const Point q = o.heading.into(p - o.centre);
  return std::abs(q.x) <= o.halfLength && std::abs(q.y) <= o.halfWidth;
}

// Whether the way from `p` towards the sun, as seen from above, meets the object: a segment against a box or a disc.
bool inShadow(const Object& o, Point p) {
  const Point back = kShadow * -o.height;
  if (isPlant(o)) {
    const Point q = p - o.centre;
    const double t = clamp01(-(q.x * back.x + q.y * back.y) / (back.x * back.x + back.y * back.y));
    return (q + back * t).length() < o.halfLength * (o.kind == ObjectKind::Fir ? 1 - 0.7 * t : 0.92);
  }
  const Point from = o.heading.into(p - o.centre), way = o.heading.into(back);
  double enter = 0, leave = 1;
  const auto clip = [&](double start, double step, double half) {
    if (std::abs(step) < 1e-12) {
      if (std::abs(start) > half) enter = 2;
      return;
    }
    const double a = (-half - start) / step, b = (half - start) / step;
    enter = std::max(enter, std::min(a, b));
    leave = std::min(leave, std::max(a, b));
  };
  clip(from.x, way.x, o.halfLength);
  clip(from.y, way.y, o.halfWidth);
  return enter <= leave;
}

// The light on a roof face whose fall line points along `fall` (local) with the given steepness.
double faceLight(const Object& o, Point fall, double steep) {
  const Point world = o.heading.outOf(fall);
  const double length = std::sqrt(1 + steep * steep);
  return std::max(0.12, (world.x * steep * kSunX + world.y * steep * kSunY + kSunZ) / length) / kSunZ;
}

Colour roof(const Object& o, Point p, const Noise& noise) {
  const Point q = o.heading.into(p - o.centre);
  const bool barn = o.kind == ObjectKind::Barn;
  const double beyondHip = o.hipped ? std::abs(q.x) - (o.halfLength - o.halfWidth) - std::abs(q.y) : -1;
  const bool end = beyondHip > 0;  // on one of the two end faces
  const Point fall = end ? Point{q.x < 0 ? -1.0 : 1.0, 0} : Point{0, q.y < 0 ? -1.0 : 1.0};
  const double down = end ? std::abs(q.x) - (o.halfLength - o.halfWidth) : std::abs(q.y);
  const double light = faceLight(o, fall, barn ? 0.32 : 0.72);
  // Rows of tiles lie across the fall line; the sheets of a barn run down it.
  const double rows = barn ? sineOfTurns(q.x / 3.1) * 0.16 : sineOfTurns(down / 2.5) * 0.11;
  const double weather = 1 + rows + 0.16 * noise.layers(p, 9, 2) + 0.10 * noise.at(p, 1.3);
  Colour c = o.colour * (light * weather);
  if (!barn && !end && std::abs(q.y) < 0.7) c = o.colour * 1.25;                              // ridge
  if (o.hipped && std::abs(beyondHip) < 0.8) c = o.colour * 1.12;                             // hips
  if (o.halfLength - std::abs(q.x) < 0.8 || o.halfWidth - std::abs(q.y) < 0.8) c = c * 0.72;  // gutters
  const Point chimney = q - Point{o.halfLength * 0.45, -o.halfWidth * 0.35};
  if (!barn && std::abs(chimney.x) < 1.7 && std::abs(chimney.y) < 1.7) return {0.30, 0.17, 0.12};
  // The chimney's own short shadow on the roof.
  const Point shade = chimney - o.heading.into(kShadow * 4.0);
  if (!barn && std::abs(shade.x) < 2.4 && std::abs(shade.y) < 2.4) c = lit(c, kSkyLight);
  return c;
}

Colour car(const Object& o, Point p) {
  const Point q = o.heading.into(p - o.centre);
  const double x = q.x / o.halfLength, y = std::abs(q.y) / o.halfWidth;
  if ((x > 0.12 && x < 0.42) || (x < -0.55 && x > -0.78)) return {0.030, 0.036, 0.045};  // glass
  return o.colour * (1.08 - 0.25 * y * y);
}

Colour pool(const Object& o, Point p, const Noise& noise) {
  const Point q = o.heading.into(p - o.centre);
  if (o.halfLength - std::abs(q.x) < 1.5 || o.halfWidth - std::abs(q.y) < 1.5) return {0.66, 0.63, 0.57};
  return Colour{0.075, 0.43, 0.52} * (1 + 0.16 * noise.at(p, 2.6));
}

// Whether the crown reaches over `p`, and its colour there.
bool crown(const Object& o, Point p, const Noise& noise, Colour& colour) {
  const Point q = (p - o.centre) * (1 / o.halfLength);
  const bool fir = o.kind == ObjectKind::Fir;
  const double d = q.length();
  if (d > 1.1) return false;
  const double leaves = noise.at(p, 2.2), boughs = noise.at(p, 0.42 * o.halfLength + 1.2);
  const double reach = 0.86 + 0.17 * boughs + 0.07 * leaves;
  if (d > reach) return false;
  const double up = fir ? 0.45 : std::sqrt(std::max(0.0, 1 - d * d));
  const double flat = fir ? 0.9 / (d + 0.05) : 1.0;  // a fir is a cone: one slope from top to bottom
  const double light = (q.x * flat * kSunX + q.y * flat * kSunY) + up * kSunZ;
  const double shade = 0.30 + 0.95 * std::max(0.0, light) + 0.30 * boughs + 0.34 * leaves;
  colour = o.colour * std::max(0.10, shade);
  return true;
}

constexpr std::array kRoofs = {Colour{0.36, 0.115, 0.062}, Colour{0.42, 0.155, 0.080},  Colour{0.30, 0.088, 0.055},
                               Colour{0.22, 0.125, 0.082}, Colour{0.115, 0.118, 0.128}, Colour{0.46, 0.205, 0.105},
                               Colour{0.20, 0.195, 0.19}};
constexpr std::array kPaints = {Colour{0.72, 0.72, 0.70},   Colour{0.055, 0.058, 0.062}, Colour{0.45, 0.028, 0.026},
                                Colour{0.035, 0.085, 0.30}, Colour{0.40, 0.41, 0.42},    Colour{0.60, 0.46, 0.05}};

}  // namespace

Objects::Objects(std::uint64_t seed, const Ground& ground, double width, double height, Point keepOutFrom,
                 Point keepOutTo)
    : noise_(seed * 131 + 3),
      width_(width),
      height_(height),
      keepOutFrom_(keepOutFrom),
      keepOutTo_(keepOutTo),
      columns_(static_cast<unsigned>(width / kCell) + 1),
      rows_(static_cast<unsigned>(height / kCell) + 1),
      cells_(std::size_t{columns_} * rows_) {
  Random random(seed * 6151 + 29);
  buildVillage(ground, random);
  parkCars(ground, random);
  plantTrees(ground, random);
  // What is higher covers what is lower, in every square.
  for (auto& cell : cells_) {
    std::stable_sort(cell.begin(), cell.end(), [this](std::uint32_t a, std::uint32_t b) {
      return objects_[a].kind != objects_[b].kind ? objects_[a].kind < objects_[b].kind
                                                  : objects_[a].height < objects_[b].height;
    });
  }
}

void Objects::add(const Object& o) {
  const double reach = o.halfLength + o.halfWidth + 2;
  const Point tip = kShadow * o.height;
  const auto square = [](double v, unsigned count) {
    return static_cast<unsigned>(std::clamp(std::floor(v / kCell), 0.0, count - 1.0));
  };
  if (o.centre.x + reach + tip.x < 0 || o.centre.y + reach + tip.y < 0 || o.centre.x - reach > width_ ||
      o.centre.y - reach > height_) {
    return;
  }
  const auto index = static_cast<std::uint32_t>(objects_.size());
  objects_.push_back(o);
  if (!isPlant(o)) built_.push_back(o);
  const unsigned x1 = square(o.centre.x + reach + tip.x, columns_), y1 = square(o.centre.y + reach + tip.y, rows_);
  for (unsigned y = square(o.centre.y - reach, rows_); y <= y1; ++y) {
    for (unsigned x = square(o.centre.x - reach, columns_); x <= x1; ++x) {
      cells_[std::size_t{y} * columns_ + x].push_back(index);
    }
  }
}

const std::vector<std::uint32_t>* Objects::near(Point p) const {
  if (p.x < 0 || p.y < 0) return nullptr;
  const auto x = static_cast<unsigned>(p.x / kCell), y = static_cast<unsigned>(p.y / kCell);
  return x < columns_ && y < rows_ ? &cells_[std::size_t{y} * columns_ + x] : nullptr;
}

bool Objects::standsFree(Point p, double margin) const {
  if (p.x > keepOutFrom_.x - margin && p.x < keepOutTo_.x + margin && p.y > keepOutFrom_.y - margin &&
      p.y < keepOutTo_.y + margin) {
    return false;
  }
  return std::none_of(built_.begin(), built_.end(), [&](const Object& o) {
    return (o.centre - p).length() < std::max(o.halfLength, o.halfWidth) + margin;
  });
}

void Objects::buildVillage(const Ground& ground, Random& random) {
  const auto build = [&](Point street, double slope, bool vertical, double side) {
    const double length = std::sqrt(1 + slope * slope);
    const Point along = vertical ? Point{slope / length, 1 / length} : Point{1 / length, slope / length};
    const Point beside = Point{-along.y, along.x} * side;
    const double halfLength = random.between(13.5, 19.5), halfWidth = random.between(9, 11.5);
    const Point centre = street + beside * random.between(25, 30);
    if (ground.toVillage(centre) > -8 || ground.toStreets(centre) < 16 || ground.toMainRoad(centre) < 20 ||
        ground.toRiver(centre) < 40 || !standsFree(centre, 16)) {
      return;
    }
    Rotation heading;
    const bool gableToStreet = random.chance(0.35);
    const Point ridge = gableToStreet ? beside : along;
    heading.c = ridge.x;
    heading.s = ridge.y;
    // One draw a statement, here and below: within an expression each compiler has an order of its own.
    const double weathering = random.between(0.85, 1.15);
    const Colour tiles = kRoofs[random.below(kRoofs.size())] * weathering;
    add({ObjectKind::House, centre, halfLength, halfWidth, random.between(11, 15), heading, tiles, random.chance(0.4)});
    const double sideways = random.between(-9, 9), backwards = random.between(24, 30);
    const Point garden = centre + beside * backwards + along * sideways;
    if (random.chance(0.22) && standsFree(garden, 8) && ground.toStreets(garden) > 10) {
      add({ObjectKind::Pool, garden, 8, 4.6, 0, heading, {}});
    }
  };
  for (const Curve& avenue : ground.avenues()) {
    for (const double side : {-1.0, 1.0}) {
      for (double y = Ground::kAvenueTop + 12; y < 560; y += random.between(37, 46)) {
        build({avenue.across(y), y}, avenue.slopeAt(y), true, side);
      }
    }
  }
  const Curve& cross = ground.crossStreet();
  for (const double side : {-1.0, 1.0}) {
    for (double x = Ground::kCrossLeft + 10; x < Ground::kCrossRight; x += random.between(39, 48)) {
      build({x, cross.across(x)}, cross.slopeAt(x), false, side);
    }
  }
  // Two farms outside the village.
  for (const Point yard : {Point{1010, 610}, Point{520, 468}}) {
    const Rotation heading(random.between(-0.03, 0.03));
    const Rotation turned(random.between(0.22, 0.28));
    add({ObjectKind::Barn, yard, 36, 15, 15, heading, Colour{0.36, 0.375, 0.39}});
    add({ObjectKind::Barn, yard + Point{-62, 14}, 27, 13, 14, turned, Colour{0.30, 0.098, 0.072}});
    add({ObjectKind::House, yard + Point{14, 44}, 18, 11, 14, heading, kRoofs[5], true});
  }
}

void Objects::parkCars(const Ground& ground, Random& random) {
  const auto put = [&](Point at, Point along) {
    Rotation heading;
    heading.c = along.x;
    heading.s = along.y;
    add({ObjectKind::Car, at, 5.2, 2.3, 3.4, heading, kPaints[random.below(kPaints.size())]});
  };
  const Curve& road = ground.mainRoad();
  for (double x = 30; x < width_; x += random.between(70, 190)) {
    const double slope = road.slopeAt(x), length = std::sqrt(1 + slope * slope);
    const Point along = {1 / length, slope / length};
    const double lane = random.chance(0.5) ? 3.9 : -3.9;  // traffic keeps to the right
    put(Point{x, road.across(x)} + Point{-along.y, along.x} * lane, along * (lane > 0 ? 1 : -1));
  }
  for (const Curve& avenue : ground.avenues()) {
    for (double y = Ground::kAvenueTop + 30; y < 470; y += random.between(30, 90)) {
      const double slope = avenue.slopeAt(y), length = std::sqrt(1 + slope * slope);
      const Point along = {slope / length, 1 / length};
      put(Point{avenue.across(y) + (random.chance(0.5) ? 2.4 : -2.4), y}, along);
    }
  }
}

void Objects::plantTrees(const Ground& ground, Random& random) {
  const auto plant = [&](Point p, double low, double high, double firs) {
    const double radius = random.between(low, high);
    const bool fir = random.chance(firs);
    const Colour leaf = fir ? Colour{0.036, 0.072, 0.032} : Colour{0.075, 0.135, 0.036};
    const double brightness = random.between(0.75, 1.25);
    const Colour tint = Colour{random.between(0.75, 1.35), 1, random.between(0.8, 1.2)} * brightness;
    if (ground.toMainRoad(p) < radius + 3 || ground.toStreets(p) < radius + 2 || ground.toRiver(p) < radius * 0.6 ||
        ground.toCircle(p) < radius + 2 || !standsFree(p, radius * 0.8 + 1)) {
      return;
    }
    add({fir ? ObjectKind::Fir : ObjectKind::Tree, p, radius, radius, radius * (fir ? 2.4 : 1.5), Rotation(),
         lit(leaf, tint)});
  };
  constexpr double kSpacing = 13.5;
  for (double y = -10; y < height_ + 10; y += kSpacing) {
    for (double x = -10; x < width_ + 10; x += kSpacing) {
      const Point p = {x + random.between(-5, 5), y + random.between(-5, 5)};
      const double river = ground.toRiver(p);
      if (ground.toForest(p) < -3) {
        plant(p, 6.5, 11.5, 0.22);
      } else if (river > 5 && river < 24 && random.chance(0.34)) {
        plant(p, 4.5, 9, 0);
      } else if (ground.toVillage(p) < 6 && random.chance(0.26)) {
        plant(p, 3.5, 7.5, 0.12);
      } else if (random.chance(0.004)) {
        plant(p, 6, 10, 0);
      }
    }
  }
  for (const Point p : ground.hedges()) {
    if (ground.toVillage(p) > 4) plant(p, 2.6, 4.6, 0);
  }
}

Colour Objects::over(Point p, const Ground& ground) const {
  const auto* cell = near(p);
  if (cell == nullptr || cell->empty()) return ground.at(p);
  // From the highest down: the first that covers `p` hides the rest. Pools lie in the ground and take shadows as it
  // does.
  Colour seen;
  for (auto i = cell->rbegin(); i != cell->rend(); ++i) {
    const Object& o = objects_[*i];
    switch (o.kind) {
      case ObjectKind::Tree:
      case ObjectKind::Fir:
        if (crown(o, p, noise_, seen)) return seen;
        break;
      case ObjectKind::House:
      case ObjectKind::Barn:
        if (inBox(o, p)) return roof(o, p, noise_);
        break;
      case ObjectKind::Car:
        if (inBox(o, p)) return car(o, p);
        break;
      case ObjectKind::Pool:
        break;
    }
  }
  const auto covers = [&](std::uint32_t i) { return objects_[i].kind == ObjectKind::Pool && inBox(objects_[i], p); };
  const auto shades = [&](std::uint32_t i) { return objects_[i].height > 0 && inShadow(objects_[i], p); };
  const auto under = std::find_if(cell->begin(), cell->end(), covers);
  const Colour c = under != cell->end() ? pool(objects_[*under], p, noise_) : ground.at(p);
  return std::any_of(cell->begin(), cell->end(), shades) ? lit(c, kSkyLight) : c;
}

Point Objects::amongHouses() const {
  Point best = {width_ / 2, height_ / 2};
  double most = -1;
  for (const Object& o : objects_) {
    if (o.kind != ObjectKind::House) continue;
    double neighbours = 0;
    for (const Object& other : objects_) {
      if (other.kind == ObjectKind::House) neighbours += ramp(75, 20, (o.centre - other.centre).length());
    }
    if (neighbours > most) {
      most = neighbours;
      best = o.centre;
    }
  }
  return best;
}

}  // namespace quorvel::host
