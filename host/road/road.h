// SPDX-License-Identifier: Apache-2.0
// The steps from a raw frame to a picture, each a function from one value to the next. The work on samples is the
// library's; here it is given its parameters.
#ifndef QUORVEL_HOST_ROAD_ROAD_H_
#define QUORVEL_HOST_ROAD_ROAD_H_

#include <string_view>

#include <quorvel/quorvel.h>

#include "host/io/image.h"

namespace quorvel::host {

// The demosaicing methods by the names that users give them.
struct Method {
  const char* name;
  fromBayerMethod method;
};
inline constexpr Method kMethods[] = {{"bilinear", bayerBilinear},
                                      {"gradient", bayerGradient},
                                      {"vng", bayerVariableGradients},
                                      {"separate", bayerSeparate}};

// Counts above black: takes each site's level off its samples, none below 0. All colours end at one common white, so
// that what saturated the sensor stays neutral.
RawFrame aboveBlack(RawFrame frame);

// The frame's colour planes, and how long the library took for them: the shortest of `runs`.
struct Demosaiced {
  Planes planes;
  double seconds = 0;
};
Demosaiced demosaic(const RawFrame& frame, fromBayerMethod method, int runs = 1);

// The factors that make the mean of all unsaturated pixels grey.
Gains greyWorld(const Planes& planes, int white);

// Balance, gamma and layout of a finished picture.
struct Tone {
  Gains gains = {1, 1, 1};
  int white = kFullScale;  // the planes' level of a saturated sensor
  double gamma = 2.2;
  int bits = 8;  // 8 or 16
};
Picture finish(const Planes& planes, const Tone& tone);

// Megapixels a second.
double rate(const Planes& planes, double seconds);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ROAD_ROAD_H_
