// SPDX-License-Identifier: Apache-2.0
#include "host/road/fit.h"

#include <algorithm>
#include <array>
#include <cmath>

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

// No measured place is better than this, in pixels. It keeps exact points from being told apart by rounding.
constexpr double kFinest = 1e-3;
constexpr double kHuber = 1.345;              // standard deviations that count in full
constexpr double kMedianOfLengths = 1.17741;  // of two coordinates of standard deviation 1
constexpr int kMostRounds = 30;
constexpr double kSettled = 1e-3;  // change of a weight that ends the rounds

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
class Fitter {
 public:
  Fitter(const std::vector<TiePoint>& points, Model model)
      : points_(points), terms_(model == Model::Projective ? std::vector<Term>() : termsOf(model)) {
    output_ = conditioningOf(points.size(), [&](std::size_t i) { return points[i].output; });
    source_ = conditioningOf(points.size(), [&](std::size_t i) { return points[i].source; });
    unknowns_.resize(terms_.empty() ? 8 : 2 * terms_.size());
  }

  int count() const { return static_cast<int>(unknowns_.size()); }

  std::vector<Place> fit(const std::vector<double>& weights) {
    sMatrixList equations;
    startEquations(weights, equations);
    solveDirectly(equations);
    if (terms_.empty()) {
      iterate(unknowns_, [&](const double* h, sMatrixList& list) { projectiveEquations(h, weights, list); });
      requireOneSide(weights);
    }
    std::vector<Place> residuals;
    for (const TiePoint& p : points_) {
      const Place fitted = terms_.empty() ? projected(unknowns_.data(), output_.inner(p.output)) : sum(p.output);
      const Place measured = source_.inner(p.source);
      residuals.push_back({(measured.x - fitted.x) / source_.scale, (measured.y - fitted.y) / source_.scale});
    }
    return residuals;
  }

  Coefficients coefficients(const Quality& quality) const {
    const std::size_t n = unknowns_.size();
    const std::vector<double> zero = outer(std::vector<double>(n, 0.0));
    Coefficients c = {outer(unknowns_), {}};
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
    c.covariance = propagate(matrix, inverseNormal(equations), n, inner * inner);
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
  void solveDirectly(const sMatrixList& equations) {
    sMatrixD jacobian, constants, solution;
    equations.convertToJacobian(&jacobian, &constants);
    int deficit = 0;
    const int info = solveLS_V(jacobian, constants, solution, deficit);
    if (info != 0) throw FitError("the equations cannot be solved", matErrorNoSolution);
    if (deficit > 0) {
      throw FitError(terms_.size() == 3 ? "the points lie on one line"
                     : terms_.empty()   ? "all points, or all but one, lie on one line"
                                        : "the points lie on one curve that the model cannot tell from others",
                     matErrorInfinitelyManySolutions);
    }
    std::copy(solution.data(), solution.data() + unknowns_.size(), unknowns_.begin());
  }

  void requireOneSide(const std::vector<double>& weights) const {
    for (std::size_t i = 0; i < points_.size(); ++i) {
      const Place at = output_.inner(points_[i].output);
      if (weights[i] > 0 && !(unknowns_[6] * at.x + unknowns_[7] * at.y + 1 > 0)) {
        throw FitError(fmt::format("the horizon passes between the points, before that of line {}", points_[i].line));
      }
    }
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

// The deviation of a coordinate of weight 1 as the median of the residuals tells it, whatever a minority does.
double robustDeviation(const std::vector<Place>& residuals, const std::vector<double>& measured, int unknowns) {
  std::vector<double> lengths;
  for (std::size_t i = 0; i < residuals.size(); ++i) {
    if (measured[i] > 0) lengths.push_back(length(residuals[i]) * std::sqrt(measured[i]));
  }
  const auto middle = lengths.begin() + std::ssize(lengths) / 2;
  std::nth_element(lengths.begin(), middle, lengths.end());
  // A fit comes closer to its points than the truth does.
  const double places = 2.0 * static_cast<double>(lengths.size());
  return std::max(*middle / kMedianOfLengths * std::sqrt(places / (places - unknowns)), kFinest);
}

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

std::vector<double> inverseNormal(const sMatrixList& equations) {
  QSparseMatrix jacobian;
  jacobian.convertFromJacobian(equations, nullptr);
  sMatrixLD normal;
  jacobian.MulMatrT(normal);
  const int n = normal.rows;
  sMatrixD matrix(n, n), unit(n, n), inverse;
  for (int i = 0; i < n; ++i) {
    unit(i, i) = 1;
    for (int j = 0; j < n; ++j) matrix(i, j) = static_cast<double>(normal(i, j));
  }
  if (solveSYMM_Vt(matrix, unit, inverse) != 0) {
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

// Huber's weights, with which there is one solution only, come first: they bring the fit near enough for Tukey's,
// which take the outliers out. What remains is fitted as measured, so that the deviations are those of least squares.
Quality fitRobustly(const std::vector<double>& measured, int unknowns, const RobustSettings& settings,
                    const WeightedFit& fit) {
  const Thresholds thresholds;
  const std::size_t n = measured.size();
  const auto places =
      static_cast<int>(2 * std::count_if(measured.begin(), measured.end(), [](double w) { return w > 0; }));
  Quality q;
  q.weights = measured;
  q.residuals = fit(q.weights);
  q.outliers.assign(n, false);
  if (settings.robust && places > unknowns) {
    std::vector<double> factors(n, 1.0);
    for (const bool tukey : {false, true}) {
      for (int round = 0; round < kMostRounds; ++round) {
        const double s = robustDeviation(q.residuals, measured, unknowns);
        double change = 0;
        for (std::size_t i = 0; i < n; ++i) {
          const double r = length(q.residuals[i]) * std::sqrt(measured[i]) / s, t = r / settings.tuning;
          const double factor = tukey ? (t < 1 ? (1 - t * t) * (1 - t * t) : 0) : r > kHuber ? kHuber / r : 1;
          change = std::max(change, std::abs(factor - factors[i]));
          factors[i] = factor;
          q.weights[i] = measured[i] * factor;
        }
        if (change < kSettled) break;
        q.residuals = fit(q.weights);
        ++q.rounds;
      }
    }
    for (std::size_t i = 0; i < n; ++i) {
      q.outliers[i] = measured[i] > 0 && factors[i] == 0;
      q.weights[i] = q.outliers[i] ? 0 : measured[i];
    }
    q.residuals = fit(q.weights);
  }
  double sum = 0, weighted = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (!(q.weights[i] > 0)) continue;
    const double r = length(q.residuals[i]);
    ++q.used;
    sum += r * r;
    weighted += q.weights[i] * r * r;
    q.largest = std::max(q.largest, r);
  }
  q.rms = std::sqrt(sum / static_cast<double>(std::max<std::size_t>(q.used, 1)));
  q.redundancy = static_cast<int>(2 * q.used) - unknowns;
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
  Fit result = {model, {}, fitRobustly(measured, fitter.count(), settings, [&](const std::vector<double>& weights) {
                  return fitter.fit(weights);
                })};
  result.coefficients = fitter.coefficients(result.quality);
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
