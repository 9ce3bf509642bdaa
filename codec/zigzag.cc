// SPDX-License-Identifier: Apache-2.0
// The order of coefficients in JPEG data, for callers who code blocks one by one; the strips have it built in.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codec/zigzag.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "codec/zigzag-inl.h"
#include "quorvel/codec.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

void toZigzag(const std::int16_t* rowMajor, std::int16_t* zigzag) { reorderBlock<kToZigzag>(rowMajor, zigzag); }
void fromZigzag(const std::int16_t* zigzag, std::int16_t* rowMajor) { reorderBlock<kFromZigzag>(zigzag, rowMajor); }

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(toZigzag);
HWY_EXPORT(fromZigzag);

}  // namespace
}  // namespace quorvel

using namespace quorvel;

void zigzagBlock(const std::int16_t* rowMajor, std::int16_t* zigzag) {
  HWY_DYNAMIC_DISPATCH(toZigzag)(rowMajor, zigzag);
}

void dezigzagBlock(const std::int16_t* zigzag, std::int16_t* rowMajor) {
  HWY_DYNAMIC_DISPATCH(fromZigzag)(zigzag, rowMajor);
}

#endif
