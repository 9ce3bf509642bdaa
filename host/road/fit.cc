// SPDX-License-Identifier: Apache-2.0
#include "host/road/fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "host/io/library_text.h"

namespace quorvel::host {
namespace {

// Points narrower than this share of their extent lie on a line (a conic for order 2, ...): what could be told across
// it would be rounding.
constexpr double kRankCondition = 1e-6;
// Relative pivots of normal equations are squares of that.
constexpr double kPivotCondition = 1e-12;
// Inner coordinates are about 1, so that this is far below what a picture shows, and above rounding.
constexpr double kTolerance = 1e-10;
constexpr int kMostIterations = 50;

// Of damped steps: what their corrections weigh beside the points, in the beginning and at most, and how it changes.
constexpr double kFirstDamping = 1e-3, kMostDamping = 1e6, kDampingStep = 10;
// Whole steps do the rest.
constexpr double kRoughTolerance = 1e-5;

// No measured place is better than this, in pixels. It keeps exact points from being told apart by rounding.
constexpr double kFinest = 1e-3;
constexpr double kHuber = 1.345;  // standard deviations that count in full
constexpr int kMostRounds = 30;
constexpr double kSettled = 1e-3;  // change of a weight that ends the rounds

// With one place to spare, an error shows in all residuals alike: it takes two to tell whose it is.
constexpr int kTellsOutliers = 4;
// Of so few places the deviation is so uncertain that a multiple of it does not make an outlier; but each can be left
// out on trial.
constexpr std::ptrdiff_t kFewPlaces = 40;
// How often good points alone may lose one of them there, with the usual tuning.
constexpr double kFalseAlarms = 0.01;

// The process-wide thresholds, for the time of a fit.
class Thresholds {
 public:
  Thresholds() {
    setLinearPrecision(kPivotCondition);
    setRankCondValue(kRankCondition);
  }
  Thresholds(const Thresholds&) = delete;
  Thresholds& operator=(const Thresholds&) = delete;
  ~Thresholds() {
    restoreLinearPrecision();
    setRankCondValue(-1);
  }
};

sMatrixD normalOf(const sMatrixList& equations) {
  QSparseMatrix jacobian;
  jacobian.convertFromJacobian(equations, nullptr);
  sMatrixLD product;
  jacobian.MulMatrT(product);
  sMatrixD normal(product.rows, product.rows);
  for (int i = 0; i < normal.rows; ++i) {
    for (int j = 0; j < normal.rows; ++j) normal(i, j) = static_cast<double>(product(i, j));
  }
  return normal;
}

double length(Place p) { return std::hypot(p.x, p.y); }

struct Term {
  int x, y;  // exponents
};

// In the order of the transformation files.
std::vector<Term> termsOf(Model model) {
  if (model == Model::Affine) return {{1, 0}, {0, 1}, {0, 0}};
  std::vector<Term> terms = {{0, 0}, {1, 0}, {0, 1}, {2, 0}, {1, 1}, {0, 2}};
  if (model == Model::Poly3) terms.insert(terms.end(), {{3, 0}, {2, 1}, {1, 2}, {0, 3}});
  return terms;
}

double power(double base, int exponent) {
  double result = 1;
  while (exponent-- > 0) result *= base;
  return result;
}

// One transformation and its unknowns, in inner coordinates on both sides.
class Fitter final : public Adjustment {
 public:
  Fitter(const std::vector<TiePoint>& points, Model model)
      : points_(points), terms_(model == Model::Projective ? std::vector<Term>() : termsOf(model)) {
    output_ = conditioningOf(points.size(), [&](std::size_t i) { return points[i].output; });
    source_ = conditioningOf(points.size(), [&](std::size_t i) { return points[i].source; });
    unknowns_.resize(terms_.empty() ? 8 : 2 * terms_.size());
  }

  int count() const { return static_cast<int>(unknowns_.size()); }

  int redundancy(const std::vector<double>& weights) const override {
    const auto weighty = std::count_if(weights.begin(), weights.end(), [](double w) { return w > 0; });
    return static_cast<int>(2 * weighty) - count();
  }

  std::vector<Place> fit(const std::vector<double>& weights, bool rough) override {
    solveDirectly(weights);
    if (terms_.empty()) refine(weights, rough);
    std::vector<Place> residuals;
    for (std::size_t i = 0; i < points_.size(); ++i) residuals.push_back(residual(unknowns_.data(), i));
    return residuals;
  }

  Coefficients coefficients(const Quality& quality) const {
    const std::size_t n = unknowns_.size();
    const std::vector<double> zero = outer(std::vector<double>(n, 0.0));
    Coefficients c = {outer(unknowns_), {}};
    if (quality.redundancy <= 0) return c;
    // `outer` is linear, so that its matrix can be had column by column.
    std::vector<double> matrix(zero.size() * n);
    for (std::size_t j = 0; j < n; ++j) {
      std::vector<double> unit(n, 0.0);
      unit[j] = 1;
      const std::vector<double> column = outer(unit);
      for (std::size_t i = 0; i < zero.size(); ++i) matrix[i * n + j] = column[i] - zero[i];
    }
    sMatrixList equations;
    if (terms_.empty()) {
      projectiveEquations(unknowns_.data(), quality.weights, equations);
    } else {
      startEquations(quality.weights, equations);
    }
    // The equations are in inner coordinates: so is the deviation.
    const double inner = quality.sigma * source_.scale;
    c.covariance = propagate(matrix, inverseNormal(normalOf(equations)), n, inner * inner);
    return c;
  }

 private:
  std::vector<double> termsAt(Place p) const {
    std::vector<double> values;
    for (const Term& t : terms_) values.push_back(power(p.x, t.x) * power(p.y, t.y));
    return values;
  }

  Place sum(Place at) const {
    const std::vector<double> values = termsAt(output_.inner(at));
    Place s = {0, 0};
    for (std::size_t t = 0; t < values.size(); ++t) {
      s.x += values[t] * unknowns_[t];
      s.y += values[t] * unknowns_[values.size() + t];
    }
    return s;
  }

  // The matrix of a projective transformation, whose last number is 1. The centre of the points is inner place 0 and
  // lies between them, on the side of the horizon on which they all are, and so never on it.
  static Place projected(const double* h, Place p) {
    const double w = h[6] * p.x + h[7] * p.y + 1;
    return {(h[0] * p.x + h[1] * p.y + h[2]) / w, (h[3] * p.x + h[4] * p.y + h[5]) / w};
  }

  Place residual(const double* unknowns, std::size_t i) const {
    const TiePoint& p = points_[i];
    const Place fitted = terms_.empty() ? projected(unknowns, output_.inner(p.output)) : sum(p.output);
    const Place measured = source_.inner(p.source);
    return {(measured.x - fitted.x) / source_.scale, (measured.y - fitted.y) / source_.scale};
  }

  static void addEquation(sMatrixList& list, double constant, double weight, int first,
                          const std::vector<double>& coefficients) {
    const int e = list.createEquation(constant, weight);
    for (std::size_t i = 0; i < coefficients.size(); ++i)
      list.insertMult(e, first + static_cast<int>(i), coefficients[i]);
  }

  // Linear in the unknowns. Those of a projective transformation are multiplied by the depth.
  void startEquations(const std::vector<double>& weights, sMatrixList& list) const {
    list.createEquationList(count(), static_cast<int>(2 * points_.size()));
    const int half = terms_.empty() ? 3 : static_cast<int>(terms_.size());
    for (std::size_t i = 0; i < points_.size(); ++i) {
      const Place at = output_.inner(points_[i].output), to = source_.inner(points_[i].source);
      for (const bool second : {false, true}) {
        const double measured = second ? to.y : to.x;
        addEquation(list, measured, weights[i], second ? half : 0,
                    terms_.empty() ? std::vector{at.x, at.y, 1.0} : termsAt(at));
        if (!terms_.empty()) continue;
        list.insertMult(list.askNEqv() - 1, 6, -measured * at.x);
        list.insertMult(list.askNEqv() - 1, 7, -measured * at.y);
      }
    }
  }

  void projectiveEquations(const double* h, const std::vector<double>& weights, sMatrixList& list) const {
    list.createEquationList(count(), static_cast<int>(2 * points_.size()));
    for (std::size_t i = 0; i < points_.size(); ++i) {
      const Place at = output_.inner(points_[i].output), to = source_.inner(points_[i].source);
      const Place now = projected(h, at);
      const double w = h[6] * at.x + h[7] * at.y + 1;
      for (const bool second : {false, true}) {
        const double fitted = second ? now.y : now.x;
        addEquation(list, (second ? to.y : to.x) - fitted, weights[i], second ? 3 : 0, {at.x / w, at.y / w, 1 / w});
        list.insertMult(list.askNEqv() - 1, 6, -fitted * at.x / w);
        list.insertMult(list.askNEqv() - 1, 7, -fitted * at.y / w);
      }
    }
  }

  // By singular values, which also tell whether there is a single solution.
  void solveDirectly(const std::vector<double>& weights) {
    sMatrixD solution;
    if (deficit(weights, solution) > 0) {
      // The places themselves, or what weights make of them?
      std::vector<double> alike;
      for (const double w : weights) alike.push_back(w > 0 ? 1 : 0);
      if (deficit(alike, solution) == 0) {
        throw FitError(
            "the weights differ too much: without the points that count for nothing beside the heaviest, the rest do "
            "not determine the model",
            matErrorInfinitelyManySolutions);
      }
      throw FitError(terms_.size() == 3 ? "the points lie on one line"
                     : terms_.empty()   ? "all points, or all but one, lie on one line"
                                        : "the points lie on one curve that the model cannot tell from others",
                     matErrorInfinitelyManySolutions);
    }
    std::copy(solution.data(), solution.data() + unknowns_.size(), unknowns_.begin());
  }

  int deficit(const std::vector<double>& weights, sMatrixD& solution) const {
    sMatrixList equations;
    startEquations(weights, equations);
    sMatrixD jacobian, constants;
    equations.convertToJacobian(&jacobian, &constants);
    int deficit = 0;
    if (solveLS_V(jacobian, constants, solution, deficit) != 0) {
      throw FitError("the equations cannot be solved", matErrorNoSolution);
    }
    return deficit;
  }

  // From the linear start of a projective transformation to the distances in the source. Gross errors can bring the
  // start so far away that whole steps lead nowhere, or over the horizon: then short ones go first. Where even these do
  // not arrive, a rough fit makes do, as less weight for what is far off mends that.
  void refine(const std::vector<double>& weights, bool rough) {
    const auto wholeSteps = [&] {
      iterate(unknowns_, [&](const double* h, sMatrixList& list) { projectiveEquations(h, weights, list); });
    };
    bool arrived = true;
    try {
      wholeSteps();
    } catch (const FitError&) {
      arrived = false;
    }
    if (arrived && beyondHorizon(unknowns_.data(), weights) == points_.size()) return;
    if (arrived && !rough) requireOneSide(weights);
    dampedSteps(weights);
    const std::vector<double> damped = unknowns_;
    try {
      wholeSteps();
      requireOneSide(weights);
    } catch (const FitError&) {
      if (!rough) throw;
      unknowns_ = damped;
    }
  }

  double misfit(const double* h, const std::vector<double>& weights) const {
    double sum = 0;
    for (std::size_t i = 0; i < points_.size(); ++i) {
      const Place r = residual(h, i);
      if (weights[i] > 0) sum += weights[i] * (r.x * r.x + r.y * r.y);
    }
    return sum;
  }

  // Steps each of which fits better than what was before and leaves all points on one side of the horizon, shortened
  // until they do.
  void dampedSteps(const std::vector<double>& weights) {
    // All points in one place: from there the first step is affine, and has no horizon.
    if (beyondHorizon(unknowns_.data(), weights) < points_.size()) std::fill(unknowns_.begin(), unknowns_.end(), 0);
    const double all = std::accumulate(weights.begin(), weights.end(), 0.0);
    double damping = kFirstDamping, before = misfit(unknowns_.data(), weights);
    std::vector<double> next(unknowns_.size());
    for (int step = 0; step < kMostIterations && damping < kMostDamping; ++step) {
      sMatrixList equations;
      projectiveEquations(unknowns_.data(), weights, equations);
      for (int i = 0; i < count(); ++i) addEquation(equations, 0, damping * all, i, {1.0});
      const bool solved = equations.calcResult(next.data()) == 0;
      double largest = 0;
      for (std::size_t i = 0; i < next.size(); ++i) {
        largest = std::max(largest, std::abs(next[i]));
        next[i] += unknowns_[i];
      }
      const double after = misfit(next.data(), weights);
      if (!solved || !(after <= before) || beyondHorizon(next.data(), weights) < points_.size()) {
        damping *= kDampingStep;
        continue;
      }
      unknowns_ = next;
      before = after;
      damping /= kDampingStep;
      if (largest <= kRoughTolerance) return;
    }
  }

  // The point that lies beyond the horizon, or their number.
  std::size_t beyondHorizon(const double* h, const std::vector<double>& weights) const {
    for (std::size_t i = 0; i < points_.size(); ++i) {
      const Place at = output_.inner(points_[i].output);
      if (weights[i] > 0 && !(h[6] * at.x + h[7] * at.y + 1 > 0)) return i;
    }
    return points_.size();
  }

  void requireOneSide(const std::vector<double>& weights) const {
    const std::size_t i = beyondHorizon(unknowns_.data(), weights);
    if (i == points_.size()) return;
    throw FitError(fmt::format("the horizon passes between the points, before that of line {}", points_[i].line));
  }

  // From inner to the file's coordinates.
  std::vector<double> outer(const std::vector<double>& inner) const {
    const auto [cx, cy] = output_.centre;
    const double s = output_.scale, to = 1 / source_.scale;
    if (terms_.empty()) {
      std::array<std::array<double, 3>, 3> rows;
      for (std::size_t r = 0; r < 3; ++r) {
        const double x = inner[3 * r] * s, y = inner[3 * r + 1] * s;
        rows[r] = {x, y, (r == 2 ? 1 : inner[3 * r + 2]) - x * cx - y * cy};
      }
      std::vector<double> nine;
      for (std::size_t r = 0; r < 3; ++r) {
        const double centre = r == 0 ? source_.centre.x : source_.centre.y;
        for (std::size_t k = 0; k < 3; ++k) nine.push_back(r == 2 ? rows[2][k] : rows[r][k] * to + rows[2][k] * centre);
      }
      return nine;
    }
    const std::size_t n = terms_.size();
    std::vector<double> result(2 * n, 0.0);
    constexpr std::array<std::array<double, 4>, 4> kBinomial = {
        {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}}};
    const auto binomial = [&](int a, int b) {
      return kBinomial[static_cast<std::size_t>(a)][static_cast<std::size_t>(b)];
    };
    for (std::size_t t = 0; t < n; ++t) {
      for (std::size_t k = 0; k < n; ++k) {  // what term t has of term k
        const Term from = terms_[t], into = terms_[k];
        if (into.x > from.x || into.y > from.y) continue;
        const double share = power(s, from.x + from.y) * to * binomial(from.x, into.x) * binomial(from.y, into.y) *
                             power(-cx, from.x - into.x) * power(-cy, from.y - into.y);
        result[k] += share * inner[t];
        result[n + k] += share * inner[n + t];
      }
    }
    const auto constant = static_cast<std::size_t>(
        std::find_if(terms_.begin(), terms_.end(), [](Term t) { return t.x + t.y == 0; }) - terms_.begin());
    result[constant] += source_.centre.x;
    result[n + constant] += source_.centre.y;
    return result;
  }

  const std::vector<TiePoint>& points_;
  std::vector<Term> terms_;  // none: projective
  Conditioning output_, source_;
  std::vector<double> unknowns_;
};

// The search for outliers: by weights, and of few places by leaving each out.
class Outliers {
 public:
  Outliers(const std::vector<double>& measured, const RobustSettings& settings, Adjustment& adjustment)
      : measured_(measured), settings_(settings), adjustment_(adjustment), out_(measured.size(), false) {
    std::vector<double> weights;
    for (const double w : measured) {
      if (w > 0) weights.push_back(w);
    }
    const auto middle = weights.begin() + std::ssize(weights) / 2;
    std::nth_element(weights.begin(), middle, weights.end());
    finest_ = kFinest * std::sqrt(*middle);
    places_ = std::ssize(weights);
    redundancy_ = adjustment.redundancy(measured);
  }

  // Gives the rounds that it took.
  int find() {
    const int rounds = reweight();
    keepRedundancy();
    if (places_ <= kFewPlaces) {
      takeIn();
      takeOut();
      takeIn();  // what only seemed wrong beside those
    }
    return rounds;
  }

  const std::vector<bool>& marked() const { return out_; }
  std::vector<double> weights() const { return weightsOf(out_); }

 private:
  std::vector<double> weightsOf(const std::vector<bool>& out) const {
    std::vector<double> weights = measured_;
    for (std::size_t i = 0; i < out.size(); ++i) {
      if (out[i]) weights[i] = 0;
    }
    return weights;
  }

  // The deviation of a coordinate of weight 1 as residuals tell it, whatever a minority does. A fit goes through as
  // many places as its unknowns can bend to: the median is that of the others.
  double deviation(const std::vector<Place>& residuals) const {
    std::vector<double> lengths;
    for (std::size_t i = 0; i < residuals.size(); ++i) {
      if (measured_[i] > 0) lengths.push_back(length(residuals[i]) * std::sqrt(measured_[i]));
    }
    const std::ptrdiff_t middle = (2 * places_ - redundancy_ / 2 + 1) / 2 - 1;
    std::nth_element(lengths.begin(), lengths.begin() + middle, lengths.end());
    const double share = (static_cast<double>(middle) + 0.5) / static_cast<double>(places_);
    const double usual = std::sqrt(-2 * std::log(1 - share));  // of two coordinates of deviation 1
    // It comes closer to the others, too, than the truth does.
    const double nearer = std::sqrt(static_cast<double>(redundancy_) / (2.0 * static_cast<double>(places_)));
    return std::max(lengths[static_cast<std::size_t>(middle)] / usual / nearer, finest_);
  }

  double factorOf(double r, bool tukey) const {
    const double t = r / settings_.tuning;
    if (!tukey) return r > kHuber ? kHuber / r : 1;
    return t < 1 ? (1 - t * t) * (1 - t * t) : 0;
  }

  // Huber's weights, with which there is one solution only, come first: they bring the fit near enough for Tukey's,
  // which take the outliers out. Where weights leave too little to be fitted, those before them stand.
  int reweight() {
    int rounds = 0;
    std::vector<double> factors(measured_.size(), 1.0), next = factors;
    residuals_ = adjustment_.fit(measured_, true);
    for (const bool tukey : {false, true}) {
      for (int round = 0; round < kMostRounds; ++round) {
        const double s = deviation(residuals_);
        double change = 0;
        std::vector<double> weights = measured_;
        for (std::size_t i = 0; i < next.size(); ++i) {
          next[i] = factorOf(length(residuals_[i]) * std::sqrt(measured_[i]) / s, tukey);
          change = std::max(change, std::abs(next[i] - factors[i]));
          weights[i] *= next[i];
        }
        if (change >= kSettled) {
          if (adjustment_.redundancy(weights) <= 0) break;
          try {
            residuals_ = adjustment_.fit(weights, true);
          } catch (const FitError&) {
            break;
          }
          ++rounds;
        }
        factors = next;
        if (change < kSettled) break;
      }
    }
    for (std::size_t i = 0; i < out_.size(); ++i) out_[i] = measured_[i] > 0 && factors[i] == 0;
    return rounds;
  }

  // Outliers must not take what tells them: the mildest come back.
  void keepRedundancy() {
    while (adjustment_.redundancy(weights()) <= 0) {
      std::size_t mildest = out_.size();
      const auto size = [&](std::size_t i) { return length(residuals_[i]) * std::sqrt(measured_[i]); };
      for (std::size_t i = 0; i < out_.size(); ++i) {
        if (out_[i] && (mildest == out_.size() || size(i) < size(mildest))) mildest = i;
      }
      if (mildest == out_.size()) return;
      out_[mildest] = false;
    }
  }

  // The weighted sum of squares without some places; roughly, or none at all, where the others cannot be fitted.
  std::optional<double> misfit(const std::vector<bool>& out) const {
    const std::vector<double> weights = weightsOf(out);
    for (const bool rough : {false, true}) {
      try {
        const auto residuals = adjustment_.fit(weights, rough);
        double sum = 0;
        for (std::size_t i = 0; i < weights.size(); ++i) {
          if (weights[i] > 0) sum += weights[i] * (residuals[i].x * residuals[i].x + residuals[i].y * residuals[i].y);
        }
        return sum;
      } catch (const FitError&) {
        continue;
      }
    }
    return std::nullopt;
  }

  // How much a place must add to the sum of squares of the others, `inside`, to be an outlier. Half of it over their
  // variance has the distribution F of 2 and their redundancy, whose tail has a closed form; the choice of places made
  // it look as large as it does, and so counts.
  double limit(double inside, int redundancy, double choices) const {
    const double half = redundancy / 2.0;
    const double f = half * (std::pow(kFalseAlarms / choices, -1 / half) - 1);
    const double relative = settings_.tuning / RobustSettings().tuning;
    const double variance = std::max(inside / redundancy, finest_ * finest_);
    return std::max(2 * f * relative * relative, settings_.tuning * settings_.tuning) * variance;
  }

  // The place of those that are out (or in) that, taken in (or out), leaves the least sum of squares.
  std::pair<std::size_t, double> best(bool out) {
    std::pair<std::size_t, double> found = {out_.size(), 0};
    for (std::size_t i = 0; i < out_.size(); ++i) {
      if (out_[i] != out || !(measured_[i] > 0)) continue;
      out_[i] = !out;
      const auto sum = misfit(out_);
      out_[i] = out;
      if (sum && (found.first == out_.size() || *sum < found.second)) found = {i, *sum};
    }
    return found;
  }

  // Takes in what bears comparison with the rest.
  void takeIn() {
    for (;;) {
      const auto outside = std::count(out_.begin(), out_.end(), true);
      if (outside == 0) return;
      double choices = 1;  // of as many places
      for (std::ptrdiff_t i = 0; i < outside; ++i) {
        choices *= static_cast<double>(places_ - i) / static_cast<double>(i + 1);
      }
      const auto inside = misfit(out_);
      const auto [place, sum] = best(true);
      if (place == out_.size()) return;
      if (inside && sum - *inside > limit(*inside, adjustment_.redundancy(weights()), choices)) return;
      out_[place] = false;
    }
  }

  // Takes out what does not.
  void takeOut() {
    for (;;) {
      const auto all = misfit(out_);
      const auto [place, inside] = best(false);
      if (!all || place == out_.size()) return;
      out_[place] = true;
      const int redundancy = adjustment_.redundancy(weights());
      if (redundancy > 0 && *all - inside > limit(inside, redundancy, static_cast<double>(places_))) continue;
      out_[place] = false;
      return;
    }
  }

  const std::vector<double>& measured_;
  const RobustSettings& settings_;
  Adjustment& adjustment_;
  std::vector<bool> out_;
  std::vector<Place> residuals_;
  double finest_ = kFinest;
  std::ptrdiff_t places_ = 0;
  int redundancy_ = 0;
};

}  // namespace

FitError::FitError(const std::string& wrong, matErrorCode code)
    : std::runtime_error(fmt::format("{} (error {}: {})", wrong, static_cast<int>(code), libraryText(code))) {}

const char* nameOf(Model model) {
  constexpr std::array kNames = {"affine", "projective", "poly2", "poly3"};
  return kNames[static_cast<std::size_t>(model)];
}

double Coefficients::deviation(std::size_t i) const {
  return covariance.empty() ? 0 : std::sqrt(std::max(0.0, covariance[i * (values.size() + 1)]));
}

Conditioning conditioningOf(std::size_t count, const std::function<Place(std::size_t)>& place) {
  Conditioning frame;
  const double n = static_cast<double>(count);
  for (std::size_t i = 0; i < count; ++i) {
    frame.centre.x += place(i).x / n;
    frame.centre.y += place(i).y / n;
  }
  double most = 0;
  for (std::size_t i = 0; i < count; ++i) {
    most = std::max({most, std::abs(place(i).x - frame.centre.x), std::abs(place(i).y - frame.centre.y)});
  }
  if (most > 0) frame.scale = 1 / most;
  return frame;
}

std::vector<double> inverseNormal(const sMatrixD& normal) {
  const int n = normal.rows;
  sMatrixD unit(n, n), inverse;
  for (int i = 0; i < n; ++i) unit(i, i) = 1;
  if (solveSYMM_Vt(normal, unit, inverse) != 0) {
    throw FitError("the normal matrix has no inverse", matErrorZeroDeterminant);
  }
  return {inverse.data(), inverse.data() + inverse.size()};  // symmetric: rows are columns
}

std::vector<double> propagate(const std::vector<double>& matrix, const std::vector<double>& inverse, std::size_t count,
                              double variance) {
  const std::size_t rows = matrix.size() / count;
  std::vector<double> half(matrix.size(), 0.0), covariance(rows * rows, 0.0);
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::size_t k = 0; k < count; ++k) {
      for (std::size_t j = 0; j < count; ++j) half[i * count + j] += matrix[i * count + k] * inverse[k * count + j];
    }
    for (std::size_t j = 0; j <= i; ++j) {
      double sum = 0;
      for (std::size_t k = 0; k < count; ++k) sum += half[i * count + k] * matrix[j * count + k];
      covariance[i * rows + j] = covariance[j * rows + i] = sum * variance;
    }
  }
  return covariance;
}

void iterate(std::vector<double>& unknowns, const std::function<void(const double*, sMatrixList&)>& linearise) {
  using Linearise = std::function<void(const double*, sMatrixList&)>;
  sMatrixList equations;
  CImgErrorText error;
  const auto call = [](void* context, const double* x, sMatrixList& list) {
    (*static_cast<const Linearise*>(context))(x, list);
  };
  auto context = linearise;
  if (trySolveNonLinearEqv(equations, unknowns.data(), static_cast<int>(unknowns.size()), call, &context, kTolerance,
                           kMostIterations, error) < 0) {
    throw FitError(
        fmt::format("the points hardly determine the model (error {}: {})", error.getCode(), libraryText(error)));
  }
}

// What remains without the outliers is fitted as measured, so that the deviations are those of least squares.
Quality fitRobustly(const std::vector<double>& measured, const RobustSettings& settings, Adjustment& adjustment) {
  const Thresholds thresholds;
  Quality q;
  q.weights = measured;
  q.outliers.assign(measured.size(), false);
  if (settings.robust && adjustment.redundancy(measured) >= kTellsOutliers) {
    Outliers outliers(measured, settings, adjustment);
    q.rounds = outliers.find();
    q.outliers = outliers.marked();
    q.weights = outliers.weights();
  }
  q.residuals = adjustment.fit(q.weights, false);
  double sum = 0, weighted = 0;
  for (std::size_t i = 0; i < measured.size(); ++i) {
    if (!(q.weights[i] > 0)) continue;
    const double r = length(q.residuals[i]);
    ++q.used;
    sum += r * r;
    weighted += q.weights[i] * r * r;
    q.largest = std::max(q.largest, r);
  }
  q.rms = std::sqrt(sum / static_cast<double>(std::max<std::size_t>(q.used, 1)));
  q.redundancy = adjustment.redundancy(q.weights);
  q.sigma = q.redundancy > 0 ? std::sqrt(weighted / q.redundancy) : 0;
  return q;
}

Fit fitTransform(const std::vector<TiePoint>& points, Model model, const RobustSettings& settings) {
  Fitter fitter(points, model);
  std::vector<double> measured;
  for (const TiePoint& p : points) measured.push_back(p.weight);
  const auto weighty = std::count_if(measured.begin(), measured.end(), [](double w) { return w > 0; });
  if (2 * weighty < fitter.count()) {
    throw FitError(fmt::format("{} point{} with a weight, {} needs {}", weighty, weighty == 1 ? "" : "s", nameOf(model),
                               fitter.count() / 2),
                   matErrorTooFewPoints);
  }
  // Beside the heaviest: what is left out then, and what equations weigh, does not depend on the unit of the weights.
  const double heaviest = *std::max_element(measured.begin(), measured.end());
  for (double& w : measured) {
    if (w > 0) w = std::max(w / heaviest, std::numeric_limits<double>::min());
  }
  Fit result = {model, {}, fitRobustly(measured, settings, fitter)};
  result.coefficients = fitter.coefficients(result.quality);
  result.quality.sigma *= std::sqrt(heaviest);
  const auto& v = result.coefficients.values;
  if (model == Model::Affine || model == Model::Projective) {
    std::array<double, 9> matrix = {0, 0, 0, 0, 0, 0, 0, 0, 1};
    std::copy(v.begin(), v.end(), matrix.begin());
    // Seen from the points' centre, where the depth is 1.
    if (isDegenerate(matrix, {2, 2})) {
      throw FitError("the places in the source lie on one line", matErrorZeroDeterminant);
    }
  }
  return result;
}

}  // namespace quorvel::host
