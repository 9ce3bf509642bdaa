// SPDX-License-Identifier: Apache-2.0
// The look-up table behind `CGammaTblB_DLL`, with the options that the exported class leaves off.
#ifndef QUORVEL_PIXEL_GAMMA_TABLE_H_
#define QUORVEL_PIXEL_GAMMA_TABLE_H_

#include <cmath>
#include <cstdint>

namespace quorvel {

struct GammaCurve {
  double gamma, lowLevel, highLevel, maxOut;
  bool toe = false;     // a straight segment just above the low level, where the power's slope has no bound
  bool invert = false;  // maxOut at the low level, 0 at the high one
};

class GammaTable {
 public:
  explicit GammaTable(unsigned bits) : bits_(bits) {}
  GammaTable(const GammaTable&) = delete;
  GammaTable& operator=(const GammaTable&) = delete;
  ~GammaTable();

  // From now on the table lies in `memory`, which its owner keeps. A table that does not fit is not generated.
  void borrow(std::uint8_t* memory, unsigned capacity);

  // Fills the 2^bits entries; without memory for them the object is left without a table. Whatever `power` returns
  // within 2^-40 of the truth, the entries are the same.
  void generate(const GammaCurve& curve, double (*power)(double, double) = std::pow);

  // Null until `generate` has succeeded.
  const std::uint8_t* entries() const { return size_ != 0 ? table_ : nullptr; }
  unsigned size() const { return size_; }
  float lowLevel() const { return lowLevel_; }
  float highLevel() const { return highLevel_; }
  float gamma() const { return gamma_; }

 private:
  bool provide(unsigned size);

  std::uint8_t* table_ = nullptr;
  unsigned size_ = 0, capacity_ = 0;
  bool borrowed_ = false;
  unsigned bits_;
  float lowLevel_ = 0, highLevel_ = 0, gamma_ = 0;  // of the last generation
};

}  // namespace quorvel

#endif  // QUORVEL_PIXEL_GAMMA_TABLE_H_
