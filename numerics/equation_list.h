// SPDX-License-Identifier: Apache-2.0
// Observation equations: the terms of all lie in one array, those of an equation chained.
#ifndef QUORVEL_NUMERICS_EQUATION_LIST_H_
#define QUORVEL_NUMERICS_EQUATION_LIST_H_

#include <cmath>
#include <vector>

#include "numerics/sparse_lines.h"

namespace quorvel {

struct EquationList {
  struct Term {
    double coefficient;
    int unknown, next;  // -1 ends the chain
  };
  struct Equation {
    double constant, root;  // root of the weight
    int first, last, terms;
  };
  int unknowns = 0;
  std::vector<Equation> equations;
  std::vector<Term> terms;
  // Of each unknown the term that it has in the latest equation, if it has one: terms are mostly added there.
  struct Mark {
    int equation, term;
  };
  std::vector<Mark> marks;

  int count() const { return static_cast<int>(equations.size()); }
  const Equation& equation(int e) const { return equations[static_cast<std::size_t>(e)]; }
  // The term of an unknown in an equation, or -1. O(1) in the latest equation, O(terms of the equation) elsewhere.
  int termOf(int e, int unknown) const {
    if (e + 1 == count()) {
      const Mark& mark = marks[static_cast<std::size_t>(unknown)];
      return mark.equation == e ? mark.term : -1;
    }
    int t = equation(e).first;
    while (t >= 0 && terms[static_cast<std::size_t>(t)].unknown != unknown) t = terms[static_cast<std::size_t>(t)].next;
    return t;
  }
  double weightedConstant(int e) const { return equation(e).constant * equation(e).root; }

  // Calls take(unknown, coefficient) for each term, in the order of insertion, without the weight.
  template <typename Take>
  void forEachTerm(int e, Take&& take) const {
    for (int t = equation(e).first; t >= 0; t = terms[static_cast<std::size_t>(t)].next) {
      take(terms[static_cast<std::size_t>(t)].unknown, terms[static_cast<std::size_t>(t)].coefficient);
    }
  }
  // The weighted Jacobian by rows: a line of the result is an equation. O(terms + equations)
  sSparseMatrix rows() const {
    return gathered(unknowns, count(), [this](auto&& take) {
      for (int e = 0; e < count(); ++e) {
        forEachTerm(e, [&](int unknown, double coefficient) { take(unknown, e, coefficient * equation(e).root); });
      }
    });
  }
};

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_EQUATION_LIST_H_
