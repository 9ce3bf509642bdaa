// SPDX-License-Identifier: Apache-2.0
// The two settings of the numerics.
#include "numerics/settings.h"

#include <atomic>

#include "quorvel/numerics.h"

namespace {

constexpr double kLinearPrecision = 1e-8;

// Relaxed: the host sets them before it solves, and nothing else hangs on their values.
std::atomic<double> linear{kLinearPrecision}, rank{-1.0};

}  // namespace

double quorvel::linearPrecision() { return linear.load(std::memory_order_relaxed); }

double quorvel::rankCondition() { return rank.load(std::memory_order_relaxed); }

void setLinearPrecision(double precision) { linear.store(precision, std::memory_order_relaxed); }

void restoreLinearPrecision() { setLinearPrecision(kLinearPrecision); }

void setRankCondValue(double condition) { rank.store(condition, std::memory_order_relaxed); }
