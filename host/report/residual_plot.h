// SPDX-License-Identifier: Apache-2.0
// What a fit left, as a picture.
#ifndef QUORVEL_HOST_REPORT_RESIDUAL_PLOT_H_
#define QUORVEL_HOST_REPORT_RESIDUAL_PLOT_H_

#include <string_view>
#include <vector>

#include "host/io/image.h"
#include "host/road/mapping.h"

namespace quorvel::host {

struct ResidualMark {
  Place at, residual;
  std::size_t group;  // drawn in a colour of its own
  bool used, outlier;
};

// A dot for every place, y downwards as in pictures, with its residual as a stroke, all enlarged alike as the bar below
// tells. Outliers are red squares. Strokes of what was not used end where they would leave the measure of the others.
Picture residualPlot(const std::vector<ResidualMark>& marks, std::string_view title);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_REPORT_RESIDUAL_PLOT_H_
