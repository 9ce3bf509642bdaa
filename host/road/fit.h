// SPDX-License-Identifier: Apache-2.0
// Transformations fitted to tie points, by least squares from which outliers are kept away.
#ifndef QUORVEL_HOST_ROAD_FIT_H_
#define QUORVEL_HOST_ROAD_FIT_H_

#include <functional>
#include <string>
#include <vector>

#include <quorvel/quorvel.h>

#include "host/io/points_file.h"

namespace quorvel::host {

// What cannot be fitted, with the reason; the caller knows the file.
class FitError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  FitError(const std::string& wrong, matErrorCode code);  // and the library's text for it
};

enum class Model { Affine, Projective, Poly2, Poly3 };
const char* nameOf(Model model);

// Numbers of a transformation in the order of its file, and their covariance, row by row: none without redundancy.
struct Coefficients {
  std::vector<double> values, covariance;

  double deviation(std::size_t i) const;  // the standard deviation
};

// Residuals r that are longer than `tuning` standard deviations are outliers: their weight (1 - (r / (tuning s))^2)^2
// by Tukey's biweight is 0. Where few residuals tell the deviation, it takes more of them.
struct RobustSettings {
  bool robust = true;
  double tuning = 4.685;  // 95 % of the efficiency of least squares where there are no outliers
};

// How well places were met. Residuals are measured less fitted places, in pixels.
struct Quality {
  std::vector<Place> residuals;
  std::vector<double> weights;  // that the fit gave in the end, beside the heaviest; 0 of outliers
  std::vector<bool> outliers;
  std::size_t used = 0;
  double rms = 0, largest = 0;  // of the lengths of the residuals of what was used
  double sigma = 0;             // of a coordinate of weight 1; means nothing without redundancy
  int redundancy = 0, rounds = 0;
};

// What can be fitted with weights of its places.
class Adjustment {
 public:
  Adjustment() = default;
  Adjustment(const Adjustment&) = delete;
  Adjustment& operator=(const Adjustment&) = delete;
  virtual ~Adjustment() = default;

  // Gives residuals for all places, those of weight 0 too. What is `rough` only tells the next weights. Throws
  // FitError.
  virtual std::vector<Place> fit(const std::vector<double>& weights, bool rough) = 0;
  // Coordinates that weigh something, less the unknowns that they determine.
  virtual int redundancy(const std::vector<double>& weights) const = 0;
};

// The loop that all fits share; the places weigh `measured`. The last fit is that of the result. Throws FitError.
Quality fitRobustly(const std::vector<double>& measured, const RobustSettings& settings, Adjustment& adjustment);

struct Fit {
  Model model;
  Coefficients coefficients;
  Quality quality;
};

// Throws FitError where the points are too few or do not determine the model.
Fit fitTransform(const std::vector<TiePoint>& points, Model model, const RobustSettings& settings);

// Affine transformations of several photos at once; see docs/transform.md for the model.
struct Block {
  struct Photo {
    std::string name;
    Coefficients coefficients;  // without a covariance for the reference
    std::size_t used = 0, outliers = 0;
    double rms = 0;
  };
  std::vector<Photo> photos;
  std::vector<Place> places;      // of the points, in pixels of the reference; of those that are seen once, anything
  std::vector<std::size_t> tied;  // the sightings of points that are seen more than once, as `quality` counts them
  Quality quality;
  std::size_t reference = 0;
};

Block fitBlock(const Sightings& sightings, std::size_t reference, const RobustSettings& settings);

// Shared by the two: places brought around 0, and to about 1 in size, where equations are well conditioned.
struct Conditioning {
  Place centre = {0, 0};
  double scale = 1;

  Place inner(Place p) const { return {(p.x - centre.x) * scale, (p.y - centre.y) * scale}; }
};
// Makes one of all places that `place(i)` gives for i below `count`.
Conditioning conditioningOf(std::size_t count, const std::function<Place(std::size_t)>& place);

// The inverse of a normal matrix, row by row. Throws FitError where there is none.
std::vector<double> inverseNormal(const sMatrixD& normal);
// Covariance of linear functions of the unknowns, which the rows of `matrix` are, times `variance`.
std::vector<double> propagate(const std::vector<double>& matrix, const std::vector<double>& inverse, std::size_t count,
                              double variance);
// Iterates from `unknowns` on with the library's solver. Throws FitError with its text, and leaves them as they were.
void iterate(std::vector<double>& unknowns, const std::function<void(const double*, sMatrixList&)>& linearise);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_FIT_H_
