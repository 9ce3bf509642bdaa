// SPDX-License-Identifier: Apache-2.0
// A played GPU library: the release of collectors.
#include "runtime/gpu_loader.h"

extern "C" __attribute__((visibility("default"))) void QUORVEL_GPU_CALL deleteCollector(std::uint32_t) {}
