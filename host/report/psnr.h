// SPDX-License-Identifier: Apache-2.0
// How close planes come to the truth.
#ifndef QUORVEL_HOST_REPORT_PSNR_H_
#define QUORVEL_HOST_REPORT_PSNR_H_

#include <string>

#include "host/error.h"
#include "host/io/image.h"

namespace quorvel::host {

// Peak signal-to-noise ratios in decibels for a peak of 4095; infinite where nothing differs.
struct Psnr {
  std::array<double, 3> colour;
  double all;  // of the three planes together
};

// Left out at each edge, where every method has to make something up.
inline constexpr unsigned kPsnrBorder = 8;

// The planes of a PPM that belongs to `frame`: of its size, and large enough to be measured.
Planes readTruth(const fs::path& file, const RawFrame& frame);

// Both are of one size, larger than the two borders.
Psnr psnr(const Planes& truth, const Planes& planes);

std::string text(const Psnr& psnr);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_REPORT_PSNR_H_
