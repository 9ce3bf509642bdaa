// SPDX-License-Identifier: Apache-2.0
// The GPU library as the process has it: unloaded, loaded, or loaded and bound. What its entry points' arguments and
// results mean is the GPU library's own affair; their names fix the sizes of the arguments only.
#ifndef QUORVEL_RUNTIME_GPU_LOADER_H_
#define QUORVEL_RUNTIME_GPU_LOADER_H_

#include <cstdint>
#include <string_view>

#include "runtime/module_loader.h"
#include "runtime/plain_memory.h"

// The convention that the decorated names announce: the called function takes its arguments off the stack. Only 32-bit
// Windows has a choice.
#if defined(_WIN32) && defined(__i386__)
#define QUORVEL_GPU_CALL __stdcall
#else
#define QUORVEL_GPU_CALL
#endif

namespace quorvel {

using NrCudaDevices = std::int32_t(QUORVEL_GPU_CALL*)();
using CudaCall = std::int32_t(QUORVEL_GPU_CALL*)(std::uint32_t, std::uint32_t);
using DeleteCollector = void(QUORVEL_GPU_CALL*)(std::uint32_t);

struct GpuLibrary {
  Module module = nullptr;
  NrCudaDevices nrCudaDevices = nullptr;
  CudaCall cudaCall = nullptr;
  DeleteCollector releaseCollector = nullptr;  // the library's own, or one that was registered before
};

// Unlocked: one thread loads and unloads.
extern GpuLibrary gpuLibrary;

// Makes `release` the function that releases collectors, if there is none yet: the first registration wins until the
// library is unloaded.
void registerCollectorRelease(DeleteCollector release);

// Where the hint says that the library is: the hint's drive and directory, and the library's file name. Null where
// there is no memory for it.
PlainMemory<char> hintedLibrary(std::string_view hint, const PathRules& rules);

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_GPU_LOADER_H_
