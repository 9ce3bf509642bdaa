// SPDX-License-Identifier: Apache-2.0
// What stands on the land and throws a shadow: houses, trees, cars, pools.
#ifndef QUORVEL_HOST_SCENE_OBJECTS_H_
#define QUORVEL_HOST_SCENE_OBJECTS_H_

#include <cstdint>
#include <vector>

#include "host/scene/ground.h"
#include "host/scene/texture.h"

namespace quorvel::host {

enum class ObjectKind : std::uint8_t { Pool, Car, House, Barn, Tree, Fir };

struct Object {
  ObjectKind kind;
  Point centre;
  double halfLength, halfWidth;  // a tree's radius twice
  double height;
  Rotation heading;
  Colour colour;
  bool hipped = false;  // a house whose roof slopes to all four sides
};

// All objects of a scene, found by place.
class Objects {
 public:
  // `keepOut` is a rectangle where nothing may stand, the ground of the test targets.
  Objects(std::uint64_t seed, const Ground& ground, double width, double height, Point keepOutFrom, Point keepOutTo);

  // The object that is seen at `p`, or else the ground, in its light or in the shadow of an object.
  Colour over(Point p, const Ground& ground) const;

  // The middle of the densest part of the village: the house with the most neighbours.
  Point amongHouses() const;

 private:
  void add(const Object& object);
  void buildVillage(const Ground& ground, Random& random);
  void plantTrees(const Ground& ground, Random& random);
  void parkCars(const Ground& ground, Random& random);
  bool standsFree(Point p, double margin) const;
  const std::vector<std::uint32_t>* near(Point p) const;

  Noise noise_;
  double width_, height_;
  Point keepOutFrom_, keepOutTo_;
  std::vector<Object> objects_;
  std::vector<Object> built_;  // those that plants keep away from
  unsigned columns_, rows_;
  std::vector<std::vector<std::uint32_t>> cells_;  // objects, with their shadows, that reach into a square
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_SCENE_OBJECTS_H_
