// SPDX-License-Identifier: Apache-2.0
// The working objects of the normal equations as hosts see them.
#include <new>

#include "numerics/simplex_access.h"
#include "quorvel/numerics.h"

using quorvel::Tableau;

CVarDescList::CVarDescList() = default;

CVarDescList::~CVarDescList() { delete[] list_; }

void CVarDescList::reset(int n) {
  if (n > room_) {
    auto* const fresh = new (std::nothrow) sVarDesc[static_cast<std::size_t>(n)];
    if (fresh == nullptr) throw CMatErrorM(matErrorMemory, "CVarDescList::reset");
    delete[] list_;
    list_ = fresh;
    room_ = n;
  }
  for (int i = 0; i < n; ++i) list_[i] = {i, i};
  size_ = n;
}

CSimplexProgram::CSimplexProgram() = default;

CSimplexProgram::~CSimplexProgram() { clear(); }

void CSimplexProgram::clear() {
  delete double_;
  delete extended_;
  double_ = nullptr;
  extended_ = nullptr;
}

template <typename T>
Tableau<T>& quorvel::SimplexAccess::fresh(CSimplexProgram& program, int rows, int columns) {
  program.clear();
  try {
    auto* const tableau = new Tableau<T>(rows, columns);
    if constexpr (sizeof(T) == sizeof(double)) {
      program.double_ = tableau;
    } else {
      program.extended_ = tableau;
    }
    return *tableau;
  } catch (const std::bad_alloc&) {
    throw CMatErrorM(matErrorMemory, "CSimplexProgram::load");
  }
}
template Tableau<double>& quorvel::SimplexAccess::fresh(CSimplexProgram&, int, int);
template Tableau<long double>& quorvel::SimplexAccess::fresh(CSimplexProgram&, int, int);

namespace {

template <typename T>
void loadInto(CSimplexProgram& program, const TDenseMatrix<T>& matrix) {
  auto& tableau = quorvel::SimplexAccess::fresh<T>(program, matrix.rows, matrix.columns);
  for (int j = 0; j < matrix.columns; ++j) {
    for (int i = 0; i < matrix.rows; ++i) tableau.entry(i, j) = matrix(i, j);
  }
}

// Puts the tableau in use, whichever it is, through the same question; `otherwise` where there is none.
template <typename Result, typename Question>
Result ask(Tableau<double>* plain, Tableau<long double>* extended, Result otherwise, Question&& question) {
  if (plain != nullptr) return question(*plain);
  if (extended != nullptr) return question(*extended);
  return otherwise;
}

}  // namespace

void CSimplexProgram::load(const sMatrixD& matrix) { loadInto(*this, matrix); }

void CSimplexProgram::load(const sMatrixLD& matrix) { loadInto(*this, matrix); }

int CSimplexProgram::exchange(int row, int column) {
  return ask(double_, extended_, -1, [=](auto& tableau) {
    const bool inside = row >= 0 && row < tableau.rows() && column >= 0 && column < tableau.columns();
    return inside ? tableau.exchange(row, column) : -1;
  });
}

int CSimplexProgram::rows() const {
  return ask(double_, extended_, 0, [](auto& tableau) { return tableau.rows(); });
}

int CSimplexProgram::columns() const {
  return ask(double_, extended_, 0, [](auto& tableau) { return tableau.columns(); });
}

long double CSimplexProgram::entry(int row, int column) const {
  return ask(double_, extended_, 0.0L,
             [=](auto& tableau) { return static_cast<long double>(tableau.current(row, column)); });
}

int CSimplexProgram::rowVariable(int row) const {
  return ask(double_, extended_, -1, [=](auto& tableau) { return tableau.rowVariable(row); });
}

int CSimplexProgram::columnVariable(int column) const {
  return ask(double_, extended_, -1, [=](auto& tableau) { return tableau.columnVariable(column); });
}
