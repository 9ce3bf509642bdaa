// SPDX-License-Identifier: Apache-2.0
/// @file
/// The whole exported interface.
#ifndef QUORVEL_QUORVEL_H_
#define QUORVEL_QUORVEL_H_

#include <quorvel/bayer.h>
#include <quorvel/codec.h>
#include <quorvel/colour.h>
#include <quorvel/errors.h>
#include <quorvel/files.h>
#include <quorvel/geometry.h>
#include <quorvel/grids.h>
#include <quorvel/guards.h>
#include <quorvel/matrices.h>
#include <quorvel/numerics.h>
#include <quorvel/pixel.h>
#include <quorvel/runtime.h>
#include <quorvel/sparse.h>
#include <quorvel/types.h>

#endif  // QUORVEL_QUORVEL_H_
