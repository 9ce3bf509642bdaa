// SPDX-License-Identifier: Apache-2.0
// From the land to the optical image: nine samples a pixel, then lens and pixel aperture as one kernel.
#include <algorithm>
#include <array>
#include <cmath>
#include <thread>
#include <vector>

#include "host/scene/ground.h"
#include "host/scene/objects.h"
#include "host/scene/scene.h"
#include "host/scene/targets.h"

namespace quorvel::host {
namespace {

// Three boxes of a pixel's width: the pixel's aperture and a lens as good. A third of the contrast is left at half a
// cycle a pixel, none at a whole one, so that nothing of the scene's finest texture comes back as a false pattern.
constexpr int kFine = 3, kTaps = 7;
constexpr std::array<double, kTaps> kLens = {1 / 27., 3 / 27., 6 / 27., 7 / 27., 6 / 27., 3 / 27., 1 / 27.};

// Scene units a pixel: the whole landscape is fitted into small frames, and large ones see it in more detail.
double unitsPerPixel(const SceneSettings& s) { return 1 / std::min(s.width / 1536.0, s.height / 1024.0); }

class Renderer {
 public:
  explicit Renderer(const SceneSettings& s)
      : width_(s.width),
        unit_(unitsPerPixel(s) / kFine),
        ground_(s.seed, s.width * unit_ * kFine, s.height * unit_ * kFine),
        objects_(s.seed, ground_, s.width * unit_ * kFine, s.height * unit_ * kFine, Targets::kFrom, Targets::kTo),
        targets_(s.seed, unit_),
        weather_(s.seed * 71 + 5) {}

  const Ground& ground() const { return ground_; }
  const Objects& objects() const { return objects_; }

  // Rows `from` to `to` of the truth.
  void renderRows(unsigned from, unsigned to, Planes& truth) const {
    std::array<std::vector<Colour>, kTaps> ring;  // fine rows, blurred along the row
    std::vector<Colour> fine(std::size_t{width_} * kFine + kTaps - 1);
    const auto fineRow = [&](std::int64_t y) -> std::vector<Colour>& {
      return ring[static_cast<std::size_t>((y + kTaps) % kTaps)];
    };
    std::int64_t next = std::int64_t{from} * kFine - 2;  // the first fine row that is not in the ring yet
    for (unsigned y = from; y < to; ++y) {
      const std::int64_t first = std::int64_t{y} * kFine - 2;
      for (; next < first + kTaps; ++next) sampleRow(next, fine, fineRow(next));
      for (unsigned x = 0; x < width_; ++x) {
        Colour sum;
        for (int t = 0; t < kTaps; ++t) sum = sum + fineRow(first + t)[x] * kLens[static_cast<std::size_t>(t)];
        const std::size_t at = std::size_t{y} * width_ + x;
        truth.colour[0][at] = counts(sum.r * kSensitivity[0]);
        truth.colour[1][at] = counts(sum.g * kSensitivity[1]);
        truth.colour[2][at] = counts(sum.b * kSensitivity[2]);
      }
    }
  }

 private:
  static std::uint16_t counts(double light) {
    return static_cast<std::uint16_t>(std::clamp(light * kCountsAtWhite + 0.5, 0.0, kCountsAtWhite));
  }

  void sampleRow(std::int64_t y, std::vector<Colour>& fine, std::vector<Colour>& blurred) const {
    for (std::size_t i = 0; i < fine.size(); ++i) {
      fine[i] = light({(static_cast<double>(i) - 2 + 0.5) * unit_, (static_cast<double>(y) + 0.5) * unit_});
    }
    blurred.assign(width_, {});
    for (unsigned x = 0; x < width_; ++x) {
      for (std::size_t t = 0; t < kTaps; ++t) blurred[x] = blurred[x] + fine[std::size_t{x} * kFine + t] * kLens[t];
    }
  }

  Colour light(Point p) const {
    if (Targets::covers(p)) return targets_.at(p);
    const Colour c = objects_.over(p, ground_);
    // Thin clouds take some sun here and there, and the air between adds a little blue.
    const double sun = 1 - 0.16 * ramp(-0.1, 0.4, weather_.layers(p, 520, 3));
    return c * (0.985 * sun) + Colour{0.004, 0.006, 0.010};
  }

  unsigned width_;
  double unit_;  // distance of fine samples in scene units
  Ground ground_;
  Objects objects_;
  Targets targets_;
  Noise weather_;
};

}  // namespace

Planes renderTruth(const SceneSettings& s) {
  Planes truth(s.width, s.height);
  const Renderer renderer(s);
  const unsigned bands = std::min(s.height, std::max(1u, std::thread::hardware_concurrency()));
  std::vector<std::jthread> painters;
  for (unsigned band = 0; band < bands; ++band) {
    const auto row = [&](unsigned b) { return static_cast<unsigned>(std::uint64_t{s.height} * b / bands); };
    painters.emplace_back([&, from = row(band), to = row(band + 1)] { renderer.renderRows(from, to, truth); });
  }
  painters.clear();
  return truth;
}

std::vector<Region> regionsOfScene(const SceneSettings& s) {
  const double unit = unitsPerPixel(s);
  const Renderer renderer(s);
  const auto around = [&](const char* name, Point centre, double side) {
    const auto span = static_cast<unsigned>(std::clamp(side / unit, 16.0, std::min(s.width, s.height) * 1.0));
    const auto place = [&](double at, unsigned room) {
      return static_cast<unsigned>(std::clamp(at / unit - span / 2.0, 0.0, room - 1.0 * span));
    };
    return Region{name, place(centre.x, s.width), place(centre.y, s.height), span, span};
  };
  return {around("star", Targets::kStar, 84), around("edges", Targets::kEdges + Point{94, 46}, 84),
          around("roofs", renderer.objects().amongHouses(), 84), around("bridge", renderer.ground().bridge(), 84)};
}

Scene renderScene(const SceneSettings& s) {
  Scene scene;
  scene.truth = renderTruth(s);
  scene.frame = expose(scene.truth, s.seed);
  scene.frame.regions = regionsOfScene(s);
  return scene;
}

}  // namespace quorvel::host
