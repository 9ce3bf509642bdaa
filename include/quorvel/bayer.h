// SPDX-License-Identifier: Apache-2.0
/// @file
/// Raw frames of the colour sensor.
#ifndef QUORVEL_BAYER_H_
#define QUORVEL_BAYER_H_

#include <quorvel/types.h>

#endif  // QUORVEL_BAYER_H_
