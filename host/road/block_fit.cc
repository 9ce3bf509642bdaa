// SPDX-License-Identifier: Apache-2.0
// Several photos at once. The unknowns are six numbers for each photo but the reference, and the places of the points;
// an equation is a coordinate of a point in a photo.
#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include <fmt/format.h>

#include "host/road/fit.h"

namespace quorvel::host {
namespace {

constexpr std::size_t kPhotoUnknowns = 6, kPointUnknowns = 2;
constexpr std::size_t kFewestShared = 3;

class BlockFitter final : public Adjustment {
 public:
  BlockFitter(const Sightings& sightings, std::size_t reference) : s_(sightings), reference_(reference) {
    std::vector<std::size_t> seen(s_.points.size()), shared(s_.photos.size());
    for (const Sighting& s : s_.all) ++seen[s.point];
    for (std::size_t i = 0; i < s_.all.size(); ++i) {
      if (seen[s_.all[i].point] > 1) tied_.push_back(i);
    }
    for (const std::size_t i : tied_) ++shared[s_.all[i].photo];
    for (std::size_t k = 0; k < shared.size(); ++k) {
      if (shared[k] >= kFewestShared) continue;
      throw FitError(fmt::format("photo '{}' shares {} point{} with others, {} are needed", s_.photos[k], shared[k],
                                 shared[k] == 1 ? "" : "s", kFewestShared),
                     matErrorTooFewPoints);
    }
    requireConnected();
    conditionPhotos();
    numberUnknowns(seen);
  }

  const std::vector<std::size_t>& tied() const { return tied_; }

  // Points without a weight are unknowns that are held, not found.
  int redundancy(const std::vector<double>& weights) const override {
    const auto used = std::count_if(weights.begin(), weights.end(), [](double w) { return w > 0; });
    const std::vector<bool> found = weighty(weights);
    const auto unknowns = kPhotoUnknowns * (s_.photos.size() - 1) +
                          kPointUnknowns * static_cast<std::size_t>(std::count(found.begin(), found.end(), true));
    return static_cast<int>(2 * used) - static_cast<int>(unknowns);
  }

  // Rough fits go a step further from the one before: the next weights change more than another step would.
  std::vector<Place> fit(const std::vector<double>& weights, bool rough) override {
    const std::vector<bool> found = weighty(weights);
    if (!rough || !started_) start(weights, found);
    started_ = true;
    if (rough) {
      sMatrixList list;
      linearise(x_.data(), weights, found, list);
      std::vector<double> step(count());
      const int code = list.calcResult(step.data());
      if (code != 0) throw FitError("the points hardly determine the model", static_cast<matErrorCode>(code));
      for (std::size_t i = 0; i < step.size(); ++i) x_[i] += step[i];
    } else {
      iterate(x_, [&](const double* x, sMatrixList& list) { linearise(x, weights, found, list); });
    }
    std::vector<Place> residuals;
    for (std::size_t t = 0; t < tied_.size(); ++t) {
      const Place r = difference(x_.data(), t);
      residuals.push_back({r.x / scale_, r.y / scale_});
    }
    return residuals;
  }

  Block result(Quality quality) const {
    Block block;
    block.reference = reference_;
    block.tied = tied_;
    for (std::size_t p = 0; p < s_.points.size(); ++p) {
      const std::size_t at = pointAt_[p];
      block.places.push_back(at == kNone ? Place{0, 0} : outer(reference_, {x_[at], x_[at + 1]}));
    }
    const std::size_t n = kPhotoUnknowns * (s_.photos.size() - 1);
    std::vector<double> inverse;
    if (quality.redundancy > 0) inverse = inverseNormal(withoutPoints(quality.weights));
    const double inner = quality.sigma * scale_;
    for (std::size_t k = 0; k < s_.photos.size(); ++k) {
      Block::Photo photo = {s_.photos[k], {{1, 0, 0, 0, 1, 0}, {}}, 0, 0, 0};
      const std::size_t at = photoAt_[k];
      if (at != kNone) {
        photo.coefficients.values = outer(k, &x_[at], true);
      }
      if (at != kNone && !inverse.empty()) {
        std::vector<double> matrix(kPhotoUnknowns * kPhotoUnknowns), own;
        for (std::size_t j = 0; j < kPhotoUnknowns; ++j) {
          std::array<double, kPhotoUnknowns> unit{};
          unit[j] = 1;
          const auto column = outer(k, unit.data(), false);
          for (std::size_t i = 0; i < kPhotoUnknowns; ++i) {
            matrix[i * kPhotoUnknowns + j] = column[i];
            own.push_back(inverse[(at + j) * n + at + i]);
          }
        }
        photo.coefficients.covariance = propagate(matrix, own, kPhotoUnknowns, inner * inner);
      }
      for (std::size_t t = 0; t < tied_.size(); ++t) {
        if (sighting(t).photo != k) continue;
        photo.outliers += quality.outliers[t];
        if (!(quality.weights[t] > 0)) continue;
        ++photo.used;
        photo.rms += quality.residuals[t].x * quality.residuals[t].x + quality.residuals[t].y * quality.residuals[t].y;
      }
      photo.rms = std::sqrt(photo.rms / static_cast<double>(std::max<std::size_t>(photo.used, 1)));
      block.photos.push_back(std::move(photo));
    }
    block.quality = std::move(quality);
    return block;
  }

 private:
  static constexpr std::size_t kNone = ~std::size_t{0};

  std::size_t count() const { return x_.size(); }
  const Sighting& sighting(std::size_t t) const { return s_.all[tied_[t]]; }

  // The points that a sighting of some weight shows.
  std::vector<bool> weighty(const std::vector<double>& weights) const {
    std::vector<bool> weighty(s_.points.size(), false);
    for (std::size_t t = 0; t < tied_.size(); ++t) {
      if (weights[t] > 0) weighty[sighting(t).point] = true;
    }
    return weighty;
  }

  void requireConnected() const {
    std::vector<std::size_t> parent(s_.photos.size()), first(s_.points.size(), kNone);
    std::iota(parent.begin(), parent.end(), std::size_t{0});
    const auto root = [&](std::size_t k) {
      while (parent[k] != k) k = parent[k];
      return k;
    };
    for (const std::size_t i : tied_) {
      const Sighting& s = s_.all[i];
      if (first[s.point] == kNone) first[s.point] = s.photo;
      parent[root(s.photo)] = root(first[s.point]);
    }
    for (std::size_t k = 0; k < parent.size(); ++k) {
      if (root(k) == root(reference_)) continue;
      throw FitError(
          fmt::format("no chain of points leads from photo '{}' to '{}'", s_.photos[k], s_.photos[reference_]),
          matErrorInfinitelyManySolutions);
    }
  }

  // Every photo around a centre of its own, but all in one scale: their pixels count the same.
  void conditionPhotos() {
    scale_ = 1e300;
    for (std::size_t k = 0; k < s_.photos.size(); ++k) {
      std::vector<Place> own;
      for (const std::size_t i : tied_) {
        if (s_.all[i].photo == k) own.push_back(s_.all[i].place);
      }
      const Conditioning c = conditioningOf(own.size(), [&](std::size_t i) { return own[i]; });
      centres_.push_back(c.centre);
      scale_ = std::min(scale_, c.scale);
    }
  }

  void numberUnknowns(const std::vector<std::size_t>& seen) {
    std::size_t next = 0;
    for (std::size_t k = 0; k < s_.photos.size(); ++k) {
      photoAt_.push_back(k == reference_ ? kNone : next);
      if (k != reference_) next += kPhotoUnknowns;
    }
    for (std::size_t p = 0; p < s_.points.size(); ++p) {
      pointAt_.push_back(seen[p] > 1 ? next : kNone);
      if (seen[p] > 1) next += kPointUnknowns;
    }
    x_.resize(next);
  }

  Place inner(std::size_t t) const {
    const Sighting& s = sighting(t);
    return {(s.place.x - centres_[s.photo].x) * scale_, (s.place.y - centres_[s.photo].y) * scale_};
  }
  Place outer(std::size_t photo, Place p) const {
    return {p.x / scale_ + centres_[photo].x, p.y / scale_ + centres_[photo].y};
  }

  // A photo's six numbers in pixels, with its own centre or, for differences, without.
  std::vector<double> outer(std::size_t photo, const double* inner, bool centred) const {
    const Place from = centres_[reference_], own = centred ? centres_[photo] : Place{0, 0};
    std::vector<double> six(inner, inner + kPhotoUnknowns);
    six[2] = inner[2] / scale_ + own.x - inner[0] * from.x - inner[1] * from.y;
    six[5] = inner[5] / scale_ + own.y - inner[3] * from.x - inner[4] * from.y;
    return six;
  }

  std::array<double, kPhotoUnknowns> photoNumbers(const double* x, std::size_t photo) const {
    std::array<double, kPhotoUnknowns> six = {1, 0, 0, 0, 1, 0};
    if (photoAt_[photo] != kNone) std::copy_n(x + photoAt_[photo], kPhotoUnknowns, six.begin());
    return six;
  }

  // What a sighting has measured less what the unknowns predict.
  Place difference(const double* x, std::size_t t) const {
    const auto m = photoNumbers(x, sighting(t).photo);
    const double* p = x + pointAt_[sighting(t).point];
    const Place measured = inner(t);
    return {measured.x - (m[0] * p[0] + m[1] * p[1] + m[2]), measured.y - (m[3] * p[0] + m[4] * p[1] + m[5])};
  }

  static void insert(sMatrixList& list, int equation, std::size_t unknown, double coefficient) {
    list.insertMult(equation, static_cast<int>(unknown), coefficient);
  }

  // Points all of whose sightings are outliers stay where they are.
  void hold(const std::vector<bool>& weighty, sMatrixList& list) const {
    for (std::size_t p = 0; p < weighty.size(); ++p) {
      if (pointAt_[p] == kNone || weighty[p]) continue;
      for (std::size_t c = 0; c < kPointUnknowns; ++c) insert(list, list.createEquation(0), pointAt_[p] + c, 1);
    }
  }

  // From photos to the reference all is linear, if errors are measured there: near enough to begin with.
  void start(const std::vector<double>& weights, const std::vector<bool>& weighty) {
    sMatrixList list;
    list.createEquationList(static_cast<int>(count()), static_cast<int>(2 * tied_.size()));
    for (std::size_t t = 0; t < tied_.size(); ++t) {
      const Place at = inner(t);
      const std::size_t photo = photoAt_[sighting(t).photo], point = pointAt_[sighting(t).point];
      for (std::size_t c = 0; c < kPointUnknowns; ++c) {
        const int e = list.createEquation(photo != kNone ? 0 : c == 0 ? at.x : at.y, weights[t]);
        insert(list, e, point + c, 1);
        if (photo == kNone) continue;
        insert(list, e, photo + 3 * c, -at.x);
        insert(list, e, photo + 3 * c + 1, -at.y);
        insert(list, e, photo + 3 * c + 2, -1);
      }
    }
    hold(weighty, list);
    const int code = list.calcResult(x_.data());
    if (code != 0) {
      throw FitError("the points tie the photos too loosely: those that a photo shares lie on one line",
                     static_cast<matErrorCode>(code));
    }
    for (const std::size_t at : photoAt_) {
      if (at == kNone) continue;
      double* m = &x_[at];
      const std::array<double, 6> back = {m[0], m[1], m[2], m[3], m[4], m[5]};
      const double determinant = back[0] * back[4] - back[1] * back[3];
      if (!(std::abs(determinant) > 1e-12)) {
        throw FitError("the points that a photo shares lie on one line", matErrorZeroDeterminant);
      }
      m[0] = back[4] / determinant, m[1] = -back[1] / determinant;
      m[3] = -back[3] / determinant, m[4] = back[0] / determinant;
      m[2] = -(m[0] * back[2] + m[1] * back[5]);
      m[5] = -(m[3] * back[2] + m[4] * back[5]);
    }
  }

  void linearise(const double* x, const std::vector<double>& weights, const std::vector<bool>& weighty,
                 sMatrixList& list) const {
    list.createEquationList(static_cast<int>(count()), static_cast<int>(2 * tied_.size()));
    for (std::size_t t = 0; t < tied_.size(); ++t) {
      const Place rest = difference(x, t);
      const std::size_t photo = photoAt_[sighting(t).photo], point = pointAt_[sighting(t).point];
      const auto m = photoNumbers(x, sighting(t).photo);
      for (std::size_t c = 0; c < 2; ++c) {
        const int e = list.createEquation(c == 0 ? rest.x : rest.y, weights[t]);
        insert(list, e, point, m[3 * c]);
        insert(list, e, point + 1, m[3 * c + 1]);
        if (photo == kNone) continue;
        insert(list, e, photo + 3 * c, x[point]);
        insert(list, e, photo + 3 * c + 1, x[point + 1]);
        insert(list, e, photo + 3 * c + 2, 1);
      }
    }
    hold(weighty, list);
  }

  // The normal matrix of the photos' unknowns that elimination of the points leaves. Each point adds, for two photos
  // that show it, the products of its place with itself times what the coordinates there have to do with each other:
  // all of their weight, less what the point itself explains.
  sMatrixD withoutPoints(const std::vector<double>& weights) const {
    std::vector<std::vector<std::size_t>> sightings(s_.points.size());
    for (std::size_t t = 0; t < tied_.size(); ++t) {
      if (weights[t] > 0) sightings[sighting(t).point].push_back(t);
    }
    const int n = static_cast<int>(kPhotoUnknowns * (s_.photos.size() - 1));
    sMatrixD normal(n, n);
    for (std::size_t p = 0; p < sightings.size(); ++p) {
      if (sightings[p].size() < 2) continue;  // which explain themselves
      struct Row {
        std::size_t unknown;  // the first of three
        double weight, x, y;  // coefficients of the point
      };
      std::vector<Row> rows;
      double xx = 0, xy = 0, yy = 0;
      for (const std::size_t t : sightings[p]) {
        const auto m = photoNumbers(x_.data(), sighting(t).photo);
        const std::size_t photo = photoAt_[sighting(t).photo];
        for (std::size_t c = 0; c < 2; ++c) {
          const double x = m[3 * c], y = m[3 * c + 1];
          if (photo != kNone) rows.push_back({photo + 3 * c, weights[t], x, y});
          xx += weights[t] * x * x, xy += weights[t] * x * y, yy += weights[t] * y * y;
        }
      }
      const double determinant = xx * yy - xy * xy;
      if (!(determinant > 0)) continue;
      const double at[3] = {x_[pointAt_[p]], x_[pointAt_[p] + 1], 1};
      for (const Row& r : rows) {
        for (const Row& s : rows) {
          const double explained = (r.x * (yy * s.x - xy * s.y) + r.y * (xx * s.y - xy * s.x)) / determinant;
          const double share = r.weight * ((&r == &s ? 1 : 0) - explained * s.weight);
          for (std::size_t k = 0; k < 3; ++k) {
            for (std::size_t j = 0; j < 3; ++j) {
              normal(static_cast<int>(s.unknown + j), static_cast<int>(r.unknown + k)) += share * at[k] * at[j];
            }
          }
        }
      }
    }
    return normal;
  }

  const Sightings& s_;
  std::size_t reference_;
  std::vector<std::size_t> tied_, photoAt_, pointAt_;
  std::vector<Place> centres_;
  double scale_ = 1;
  std::vector<double> x_;
  bool started_ = false;
};

}  // namespace

Block fitBlock(const Sightings& sightings, std::size_t reference, const RobustSettings& settings) {
  if (sightings.photos.size() < 2) throw FitError("a block needs two photos at least");
  BlockFitter fitter(sightings, reference);
  Quality quality = fitRobustly(std::vector<double>(fitter.tied().size(), 1.0), settings, fitter);
  return fitter.result(std::move(quality));
}

}  // namespace quorvel::host
