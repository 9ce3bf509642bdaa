// SPDX-License-Identifier: Apache-2.0
// The list of observation equations as hosts fill it.
#include "numerics/equation_list.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "numerics/fatal.h"
#include "numerics/within_memory.h"
#include "quorvel/errors.h"
#include "quorvel/sparse.h"

using quorvel::EquationList;
using quorvel::requireIndex;
using quorvel::withinMemory;

sMatrixList::sMatrixList() : list_(new EquationList) {}

sMatrixList::sMatrixList(const sMatrixList& other) : list_(new EquationList(*other.list_)) {}

sMatrixList& sMatrixList::operator=(const sMatrixList& other) {
  *list_ = *other.list_;
  return *this;
}

sMatrixList::~sMatrixList() { delete list_; }

void sMatrixList::createEquationList(int unknowns, int equations) {
  if (unknowns < 0 || equations < 0) throw CMatErrorM(matErrorParameter, "createEquationList");
  list_->unknowns = unknowns;
  list_->equations.clear();
  list_->terms.clear();
  withinMemory([&] {
    list_->equations.reserve(static_cast<std::size_t>(equations));
    list_->marks.assign(static_cast<std::size_t>(unknowns), {-1, -1});
  });
}

int sMatrixList::createEquation(double constant, double weight) {
  if (!(weight >= 0)) throw CMatErrorM(matErrorParameter, "createEquation");
  withinMemory([&] { list_->equations.push_back({constant, std::sqrt(weight), -1, -1, 0}); });
  return list_->count() - 1;
}

void sMatrixList::insertMult(int equation, int unknown, double coefficient) {
  requireIndex("insertMult", "equation", equation, list_->count());
  requireIndex("insertMult", "unknown", unknown, list_->unknowns);
  auto& own = list_->equations[static_cast<std::size_t>(equation)];
  auto& terms = list_->terms;
  if (const int t = list_->termOf(equation, unknown); t >= 0) {
    terms[static_cast<std::size_t>(t)].coefficient += coefficient;
    return;
  }
  const int fresh = static_cast<int>(terms.size());
  withinMemory([&] { terms.push_back({coefficient, unknown, -1}); });
  (own.last >= 0 ? terms[static_cast<std::size_t>(own.last)].next : own.first) = fresh;
  own.last = fresh;
  ++own.terms;
  if (equation + 1 == list_->count()) list_->marks[static_cast<std::size_t>(unknown)] = {equation, fresh};
}

int sMatrixList::askNEqv() const { return list_->count(); }

int sMatrixList::askNVar() const { return list_->unknowns; }

int sMatrixList::calcMaxVarPerRow() const {
  int most = 0;
  for (const auto& equation : list_->equations) most = std::max(most, equation.terms);
  return most;
}

int sMatrixList::calcMaxVarPerY() const {
  return withinMemory([&] {
    std::vector<int> uses(static_cast<std::size_t>(list_->unknowns));
    for (const auto& term : list_->terms) ++uses[static_cast<std::size_t>(term.unknown)];
    return uses.empty() ? 0 : *std::max_element(uses.begin(), uses.end());
  });
}

namespace {

template <typename T>
void toDense(const EquationList& list, TDenseMatrix<T>& jacobian, TDenseMatrix<T>* constants) {
  jacobian.resize(list.count(), list.unknowns);
  if (constants != nullptr) constants->resize(list.count(), 1);
  for (int e = 0; e < list.count(); ++e) {
    list.forEachTerm(
        e, [&](int unknown, double coefficient) { jacobian(e, unknown) = coefficient * list.equation(e).root; });
    if (constants != nullptr) (*constants)(e, 0) = list.weightedConstant(e);
  }
}

}  // namespace

void sMatrixList::convertToJacobian(sMatrixD* jacobian, sMatrixD* constants) const {
  toDense(*list_, *jacobian, constants);
}

void sMatrixList::convertToJacobian(sMatrixLD* jacobian, sMatrixLD* constants) const {
  toDense(*list_, *jacobian, constants);
}

int sMatrixList::printfSym(char* text, int room) const {
  std::string whole;
  const auto print = [&](const char* format, auto... values) {
    char piece[64];
    std::snprintf(piece, sizeof piece, format, values...);
    whole += piece;
  };
  for (int e = 0; e < list_->count(); ++e) {
    bool first = true;
    list_->forEachTerm(e, [&](int unknown, double coefficient) {
      const bool minus = std::signbit(coefficient);
      whole += first ? (minus ? "-" : "") : (minus ? " - " : " + ");
      print("%.12g*x%d", std::abs(coefficient), unknown);
      first = false;
    });
    if (first) whole += "0";
    print(" = %.12g\n", list_->equation(e).constant);
  }
  if (room > 0) {
    const std::size_t copied = std::min(whole.size(), static_cast<std::size_t>(room) - 1);
    whole.copy(text, copied);
    text[copied] = '\0';
  }
  return static_cast<int>(whole.size());
}
