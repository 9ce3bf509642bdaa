// SPDX-License-Identifier: Apache-2.0
// What this build is, and which vector target it runs on.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "runtime/version.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "quorvel/runtime.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

const char* targetName() { return hwy::TargetName(HWY_TARGET); }

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {
HWY_EXPORT(targetName);
}  // namespace
}  // namespace quorvel

using namespace quorvel;

const char* quorvelVersion() { return QUORVEL_VERSION; }

const char* quorvelSimdTarget() { return HWY_DYNAMIC_DISPATCH(targetName)(); }

#endif
