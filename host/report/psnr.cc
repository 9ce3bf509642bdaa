// SPDX-License-Identifier: Apache-2.0
#include "host/report/psnr.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "host/io/pnm.h"

namespace quorvel::host {

Planes readTruth(const fs::path& file, const RawFrame& frame) {
  Planes truth = readPpm(file);
  if (truth.width != frame.width || truth.height != frame.height) {
    throw DataError(
        file, fmt::format("is {} x {}, the frame is {} x {}", truth.width, truth.height, frame.width, frame.height));
  }
  if (std::min(truth.width, truth.height) <= 2 * kPsnrBorder) throw DataError(file, "is too small to measure");
  return truth;
}

Psnr psnr(const Planes& truth, const Planes& planes) {
  const auto decibels = [](std::uint64_t squares, double count) {
    return 10 * std::log10(static_cast<double>(kFullScale) * kFullScale * count / static_cast<double>(squares));
  };
  Psnr result{};
  std::uint64_t total = 0;  // squares of 12 bits, of up to 2^30 samples: no overflow
  const unsigned x1 = truth.width - kPsnrBorder, y1 = truth.height - kPsnrBorder;
  const double count = static_cast<double>(x1 - kPsnrBorder) * (y1 - kPsnrBorder);
  for (std::size_t c = 0; c < 3; ++c) {
    std::uint64_t squares = 0;
    for (unsigned y = kPsnrBorder; y < y1; ++y) {
      const std::size_t row = std::size_t{y} * truth.width;
      for (std::size_t i = row + kPsnrBorder; i < row + x1; ++i) {
        const std::int64_t d = std::int64_t{truth.colour[c][i]} - planes.colour[c][i];
        squares += static_cast<std::uint64_t>(d * d);
      }
    }
    result.colour[c] = decibels(squares, count);
    total += squares;
  }
  result.all = decibels(total, 3 * count);
  return result;
}

std::string text(const Psnr& p) {
  return fmt::format("PSNR {:.2f} dB (red {:.2f}, green {:.2f}, blue {:.2f})", p.all, p.colour[0], p.colour[1],
                     p.colour[2]);
}

}  // namespace quorvel::host
