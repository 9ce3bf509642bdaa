// SPDX-License-Identifier: Apache-2.0
#include "host/road/colour.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <stdexcept>
#include <utility>

namespace quorvel::host {
namespace {

constexpr double kMostCell = 252, kMiddle = 1.5;  // of the four samples of a cell
constexpr double kCellStep = 4;

// Solves the symmetric positive definite system a x = b, each of `b` being three right-hand sides; false where it is
// none. Cholesky, with the factor in the lower triangle.
bool solve(std::vector<std::vector<double>> a, Patches& b) {
  const std::size_t n = b.size();
  for (std::size_t j = 0; j < n; ++j) {
    const double whole = a[j][j];
    for (std::size_t k = 0; k < j; ++k) a[j][j] -= a[j][k] * a[j][k];
    if (!(a[j][j] > 1e-10 * whole)) return false;
    a[j][j] = std::sqrt(a[j][j]);
    for (std::size_t i = j + 1; i < n; ++i) {
      for (std::size_t k = 0; k < j; ++k) a[i][j] -= a[i][k] * a[j][k];
      a[i][j] /= a[j][j];
    }
  }
  for (std::size_t c = 0; c < 3; ++c) {
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t k = 0; k < i; ++k) b[i][c] -= a[i][k] * b[k][c];
      b[i][c] /= a[i][i];
    }
    for (std::size_t i = n; i-- > 0;) {
      for (std::size_t k = i + 1; k < n; ++k) b[i][c] -= a[k][i] * b[k][c];
      b[i][c] /= a[i][i];
    }
  }
  return true;
}

Rgb difference(const Rgb& a, const Rgb& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

double square(const Rgb& c) { return c[0] * c[0] + c[1] * c[1] + c[2] * c[2]; }

// The table in one of the library's classes, which truncate: rounded to the cell's own steps, and limited so that no
// sum carries, whoever made the file.
template <typename Table>
Table loaded(const ColourTable& table, float steps) {
  TMatrix<float> cells = table.cells;
  if (cells.data() == nullptr) throw std::bad_alloc();
  for (std::size_t i = 0; i < std::size_t{3} * kTableCells; ++i) {
    float& v = cells.data()[i];
    v = v > 0 ? std::min(v + 0.5f / steps, static_cast<float>(kMostCell)) : 0;
  }
  Table made;
  made.convertFrom(cells);
  if (made.get() == nullptr) throw std::bad_alloc();
  return made;
}

// Where the library counts pixels in 32 bits.
template <typename Convert>
void forParts(std::size_t pixels, Convert&& convert) {
  constexpr std::size_t kMost = std::size_t{1} << 24;
  for (std::size_t from = 0; from < pixels; from += kMost) {
    convert(3 * from, static_cast<unsigned>(std::min(kMost, pixels - from)));
  }
}

}  // namespace

Rgb operator*(const Matrix3& m, const Rgb& c) {
  Rgb out;
  for (std::size_t r = 0; r < 3; ++r) out[r] = m[3 * r] * c[0] + m[3 * r + 1] * c[1] + m[3 * r + 2] * c[2];
  return out;
}

ColourTable tableOf(const ColourMap& map) {
  ColourTable table{TMatrix<float>(3, kTableCells)};
  if (table.cells.data() == nullptr) throw std::bad_alloc();
  for (unsigned i = 0; i < kTableCells; ++i) {
    const auto middle = [](unsigned level) { return kCellStep * level + kMiddle; };
    const Rgb out = map(
        {middle(i % kTableLevels), middle(i / kTableLevels % kTableLevels), middle(i / kTableLevels / kTableLevels)});
    for (std::size_t c = 0; c < 3; ++c) {
      table.cells.row(i)[c] = static_cast<float>(std::clamp(out[c] - kMiddle, 0.0, kMostCell));
    }
  }
  return table;
}

Picture throughTable(Picture picture, const ColourTable& table) {
  const std::size_t pixels = std::size_t{picture.width} * picture.height;
  if (auto* bytes = std::get_if<std::vector<std::uint8_t>>(&picture.samples)) {
    auto cells = loaded<ColorConvTable>(table, 1);
    forParts(pixels, [&](std::size_t from, unsigned n) {
      colorConv24_24(bytes->data() + from, bytes->data() + from, cells.get(), n);
    });
    return picture;
  }
  auto& words = std::get<std::vector<std::uint16_t>>(picture.samples);
  auto cells = loaded<ColorConvTable64>(table, 16);
  for (auto& v : words) v = static_cast<std::uint16_t>(v >> 4);
  forParts(pixels, [&](std::size_t from, unsigned n) {
    colorConv48_48(words.data() + from, words.data() + from, cells.get(), n);
  });
  for (auto& v : words) v = static_cast<std::uint16_t>(v << 4 | v >> 8);
  return picture;
}

TableSummary summaryOf(const ColourTable& table) {
  TableSummary s;
  std::copy_n(table.cells.row(0), 3, s.least.begin());
  s.greatest = s.least;
  for (unsigned i = 0; i < kTableCells; ++i) {
    const float* v = table.cells.row(i);
    const unsigned level[3] = {i % kTableLevels, i / kTableLevels % kTableLevels, i / kTableLevels / kTableLevels};
    double move = 0;
    bool limited = false;
    for (std::size_t c = 0; c < 3; ++c) {
      s.least[c] = std::min(s.least[c], v[c]);
      s.greatest[c] = std::max(s.greatest[c], v[c]);
      const double d = v[c] - kCellStep * level[c];
      move += d * d;
      limited |= d != 0 && (v[c] <= 0 || v[c] >= static_cast<float>(kMostCell));
    }
    s.meanMove += std::sqrt(move) / kTableCells;
    s.greatestMove = std::max(s.greatestMove, std::sqrt(move));
    s.limited += limited;
  }
  return s;
}

void throughMatrix(Planes& planes, const Matrix3& matrix, const Gains& gains) {
  Matrix3 m{};
  for (std::size_t r = 0; r < 3; ++r) {
    for (std::size_t c = 0; c < 3; ++c) m[3 * r + c] = matrix[3 * r + c] * gains[c] / gains[r];
  }
  CMMXMatr33 coefficients;
  matrMulCoef(m.data(), &coefficients);
  auto& [r, g, b] = planes.colour;
  matrMul48_48_Plane_MMX(&coefficients, r.data(), g.data(), b.data(), r.data(), g.data(), b.data(),
                         static_cast<unsigned>(r.size()));
}

std::optional<Matrix3> leastSquares(const Patches& measured, const Patches& reference) {
  std::vector<std::vector<double>> normal(3, std::vector<double>(3));
  Patches right(3);  // row i: sums of measured channel i with each reference channel
  for (std::size_t p = 0; p < measured.size(); ++p) {
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) {
        normal[i][j] += measured[p][i] * measured[p][j];
        right[i][j] += measured[p][i] * reference[p][j];
      }
    }
  }
  if (!solve(normal, right)) return std::nullopt;
  Matrix3 m{};
  for (std::size_t r = 0; r < 3; ++r) {
    for (std::size_t c = 0; c < 3; ++c) m[3 * r + c] = right[c][r];
  }
  return m;
}

ChartCorrection::ChartCorrection(Patches measured, const Patches& reference, const Matrix3& matrix, double strength)
    : centres_(std::move(measured)), matrix_(matrix) {
  const std::size_t n = centres_.size();
  double distances = 0;
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < i; ++j) distances += std::sqrt(square(difference(centres_[i], centres_[j])));
  }
  width_ = std::max(1.0, 0.5 * distances / std::max(1.0, 0.5 * static_cast<double>(n) * static_cast<double>(n - 1)));
  std::vector<std::vector<double>> bells(n, std::vector<double>(n));
  for (std::size_t i = 0; i < n; ++i) {
    weights_.push_back(difference(reference[i], matrix_ * centres_[i]));
    for (double& v : weights_.back()) v *= strength;
    // Noise of the measurements is not followed: the ridge keeps the bells of close patches from fighting.
    for (std::size_t j = 0; j < n; ++j) bells[i][j] = bell(centres_[i], centres_[j]) + (i == j ? 0.02 : 0);
  }
  if (!solve(bells, weights_)) throw std::logic_error("bells about patches gave no solution");
}

double ChartCorrection::bell(const Rgb& a, const Rgb& b) const {
  return std::exp(-square(difference(a, b)) / (2 * width_ * width_));
}

Rgb ChartCorrection::operator()(Rgb colour) const {
  Rgb out = matrix_ * colour;
  for (std::size_t i = 0; i < centres_.size(); ++i) {
    const double share = bell(colour, centres_[i]);
    for (std::size_t c = 0; c < 3; ++c) out[c] += weights_[i][c] * share;
  }
  return out;
}

double meanError(const Patches& a, const Patches& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i) sum += square(difference(a[i], b[i]));
  return std::sqrt(sum / static_cast<double>(std::max<std::size_t>(a.size(), 1)));
}

Patches patchMeans(const Picture& picture, const Region& area, unsigned columns, unsigned rows) {
  const auto& samples = std::get<std::vector<std::uint8_t>>(picture.samples);
  Patches patches;
  for (unsigned row = 0; row < rows; ++row) {
    for (unsigned column = 0; column < columns; ++column) {
      // The middle half of each field, at least a pixel.
      const auto edge = [](unsigned start, unsigned span, double field, unsigned n) {
        return start + static_cast<unsigned>(span * field / n);
      };
      const unsigned x0 = edge(area.x, area.width, column + 0.25, columns),
                     y0 = edge(area.y, area.height, row + 0.25, rows);
      const unsigned x1 = std::max(x0 + 1, edge(area.x, area.width, column + 0.75, columns));
      const unsigned y1 = std::max(y0 + 1, edge(area.y, area.height, row + 0.75, rows));
      Rgb sum{};
      for (unsigned y = y0; y < y1; ++y) {
        for (unsigned x = x0; x < x1; ++x) {
          for (std::size_t c = 0; c < 3; ++c) sum[c] += samples[3 * (std::size_t{y} * picture.width + x) + c];
        }
      }
      for (double& v : sum) v /= static_cast<double>(x1 - x0) * (y1 - y0);
      patches.push_back(sum);
    }
  }
  return patches;
}

}  // namespace quorvel::host
