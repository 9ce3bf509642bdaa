// SPDX-License-Identifier: Apache-2.0
// A simulated flight: a strip of photos straight down, tie points that several photos see, and the observation
// equations of its block adjustment. Lengths in metres on the ground, in focal lengths in the image.
#ifndef QUORVEL_TESTS_SUPPORT_FLIGHT_H_
#define QUORVEL_TESTS_SUPPORT_FLIGHT_H_

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include <quorvel/numerics.h>

namespace quorvel::test {

class Flight {
 public:
  static constexpr double kHeight = 1000, kBase = 200, kReach = 450;  // height, distance of photos, half a side

  explicit Flight(int photos) : photos_(photos) {
    std::mt19937 engine(7);
    const auto any = [&engine](double size) { return size * (static_cast<double>(engine() >> 4) / (1 << 27) - 1); };
    for (int p = 0; p < photos; ++p) {
      for (const double v : {p * kBase + any(5), any(5), kHeight + any(5), any(.02), any(.02), any(.05)})
        truth_.push_back(v);
    }
    for (int p = 0; p < photos; ++p) {  // twelve points a photo, in two rows and between
      for (int i = 0; i < 12; ++i) {
        for (const double v : {p * kBase + any(100), (i % 3 - 1) * 300 + any(60), any(40)}) truth_.push_back(v);
        const int point = p * 12 + i;
        for (int q = std::max(0, p - 2); q <= std::min(photos - 1, p + 2); ++q) {
          if (std::abs(unknown(point, 0) - truth_[at(6 * q)]) < kReach)
            rays_.push_back({q, point, project(truth_, q, point)});
        }
      }
    }
    approximation = truth_;
    for (int i = 0; i < unknowns(); ++i) approximation[at(i)] += any(i < 6 * photos && i % 6 > 2 ? 0.005 : 3);
  }

  int unknowns() const { return static_cast<int>(truth_.size()); }
  const std::vector<double>& truth() const { return truth_; }

  // Rays to the micrometre; the positions of the photos by satellite to a decimetre, which also places the block.
  void linearise(const double* x, sMatrixList& list) const {
    const std::vector<double> now(x, x + unknowns());
    list.createEquationList(unknowns(), static_cast<int>(2 * rays_.size()) + 3 * photos_);
    for (const Ray& ray : rays_) {
      const auto here = project(now, ray.photo, ray.point);
      int equation[2];
      for (int k = 0; k < 2; ++k) equation[k] = list.createEquation(ray.seen[at(k)] - here[at(k)], 1e10);
      for (int i = 0; i < 9; ++i) {
        const int column = i < 6 ? 6 * ray.photo + i : 6 * photos_ + 3 * ray.point + i - 6;
        const double step = i < 3 || i > 5 ? 1e-2 : 1e-5;
        auto ahead = local(now, ray), behind = ahead;
        ahead[at(i)] += step;
        behind[at(i)] -= step;
        const auto a = projectLocal(ahead), b = projectLocal(behind);
        for (int k = 0; k < 2; ++k) list.insertMult(equation[k], column, (a[at(k)] - b[at(k)]) / (2 * step));
      }
    }
    for (int p = 0; p < photos_; ++p) {
      for (int i = 6 * p; i < 6 * p + 3; ++i) list.insertMult(list.createEquation(truth_[at(i)] - x[i], 100), i, 1);
    }
  }

  std::vector<double> approximation;

 private:
  struct Ray {
    int photo, point;
    std::array<double, 2> seen;
  };
  static std::size_t at(int i) { return static_cast<std::size_t>(i); }
  double unknown(int point, int axis) const { return truth_[at(6 * photos_ + 3 * point + axis)]; }

  std::array<double, 9> local(const std::vector<double>& x, const Ray& ray) const {
    std::array<double, 9> values;
    std::copy_n(x.begin() + 6 * ray.photo, 6, values.begin());
    std::copy_n(x.begin() + 6 * photos_ + 3 * ray.point, 3, values.begin() + 6);
    return values;
  }
  std::array<double, 2> project(const std::vector<double>& x, int photo, int point) const {
    return projectLocal(local(x, {photo, point, {}}));
  }
  // Position, three angles (about x, then y, then z), point.
  static std::array<double, 2> projectLocal(const std::array<double, 9>& v) {
    double x = v[6] - v[0], y = v[7] - v[1], z = v[8] - v[2];
    const auto turn = [](double& a, double& b, double angle) {
      const double c = std::cos(angle), s = std::sin(angle), first = c * a + s * b;
      b = c * b - s * a;
      a = first;
    };
    turn(y, z, v[3]);
    turn(z, x, v[4]);
    turn(x, y, v[5]);
    return {x / -z, y / -z};
  }

  int photos_;
  std::vector<double> truth_;
  std::vector<Ray> rays_;
};

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_SUPPORT_FLIGHT_H_
