// SPDX-License-Identifier: Apache-2.0
// How a routine without a processor suffix finds its variant. The order of preference is the family's; the rules are
// here: ask the queries one by one, call the first variant whose query answers non-zero, answer -3 where none does.
#ifndef QUORVEL_RUNTIME_DISPATCH_H_
#define QUORVEL_RUNTIME_DISPATCH_H_

#include <initializer_list>

namespace quorvel {

constexpr int kNoProcessorUnit = -3;

using CapabilityQuery = int (*)();

// A variant and the query that its processor has to pass; a null query marks a plain variant, which always fits.
template <typename Routine>
struct Variant {
  CapabilityQuery query;
  Routine routine;
  bool remember = false;  // whether RememberedVariant may keep this choice
};

template <typename Routine>
const Variant<Routine>* firstFitting(std::initializer_list<Variant<Routine>> variants) {
  for (const Variant<Routine>& v : variants) {
    if (v.query == nullptr || v.query() != 0) return &v;
  }
  return nullptr;
}

// Calls the first fitting variant with the given arguments; -3, with nothing done, where none fits.
template <typename Routine, typename... Args>
int dispatch(std::initializer_list<Variant<Routine>> variants, Args... args) {
  const Variant<Routine>* v = firstFitting(variants);
  return v == nullptr ? kNoProcessorUnit : v->routine(args...);
}

// The cell of a dispatcher that remembers its choice. Only variants marked `remember` are kept; while another one wins,
// every call asks again. Constant-initialised and unlocked, like the capability cells.
template <typename Routine>
class RememberedVariant {
 public:
  template <typename... Args>
  int dispatch(std::initializer_list<Variant<Routine>> variants, Args... args) {
    if (chosen_ != nullptr) return chosen_(args...);
    const Variant<Routine>* v = firstFitting(variants);
    if (v == nullptr) return kNoProcessorUnit;
    if (v->remember) chosen_ = v->routine;
    return v->routine(args...);
  }

 private:
  Routine chosen_ = nullptr;
};

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_DISPATCH_H_
