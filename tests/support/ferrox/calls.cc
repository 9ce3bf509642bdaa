// SPDX-License-Identifier: Apache-2.0
// A played GPU library: the two calls. FERROX_DEVICES tells one library from another.
#include "runtime/gpu_loader.h"

namespace {
std::uint32_t callsBefore = 0;
}

extern "C" {

__attribute__((visibility("default"))) std::int32_t QUORVEL_GPU_CALL nrCudaDevices() { return FERROX_DEVICES; }

__attribute__((visibility("default"))) std::int32_t QUORVEL_GPU_CALL cudaCall(std::uint32_t a, std::uint32_t b) {
  return static_cast<std::int32_t>(callsBefore++ * 100 + a * 10 + b);
}
}
