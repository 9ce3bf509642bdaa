// SPDX-License-Identifier: Apache-2.0
// Measurements as pictures.
#ifndef QUORVEL_HOST_REPORT_CHARTS_H_
#define QUORVEL_HOST_REPORT_CHARTS_H_

#include "host/road/colour.h"
#include "host/road/measure.h"

namespace quorvel::host {

// Every field of the grid in a colour from dark (the least) to bright (the greatest), with both ends named. The steps
// between them are those of a logarithm.
Picture heatMap(const FocusGrid& grid);

// The three colours' histograms over the levels, one above the other in one frame, each to the scale of its own peak.
Picture histogramPlot(const Histogram& histogram, int white);

// Where a table moves the colours of three planes through the middle of the RGB cube, a stroke a colour from where it
// was to a dot where it is, and what becomes of the greys.
Picture tablePlot(const ColourTable& table);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_REPORT_CHARTS_H_
