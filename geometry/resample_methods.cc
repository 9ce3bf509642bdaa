// SPDX-License-Identifier: Apache-2.0
#include "quorvel/geometry.h"

const char* getRasterMethodName(Geometry_Method method) {
  static constexpr const char* kNames[] = {"Bilinear",
                                           "Linear Surface for 4 pixels",
                                           "Surface for 6 points",
                                           "Surface for 8 points",
                                           "Cubic convolution",
                                           "Cubic convolution fast",
                                           "Cubic convolution Y only",
                                           "Cubic convolution fast (2-stages)",
                                           "Cubic convolution fast (2-stages) with short width!"};
  constexpr int kCount = static_cast<int>(sizeof kNames / sizeof *kNames);
  return method >= 0 && method < kCount ? kNames[method] : "Invalid Geometry method";
}
