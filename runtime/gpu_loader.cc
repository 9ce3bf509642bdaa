// SPDX-License-Identifier: Apache-2.0
// Finds, binds and unloads the optional GPU library.
#include "runtime/gpu_loader.h"

#include <cstdio>
#include <cstring>

#include "quorvel/guards.h"

namespace quorvel {

GpuLibrary gpuLibrary;

void registerCollectorRelease(DeleteCollector release) {
  if (gpuLibrary.releaseCollector == nullptr) gpuLibrary.releaseCollector = release;
}

namespace {

constexpr char kLibrary[] = "Ferrox.dll";
constexpr int kBound = 0, kNotFound = 2, kEntryPointMissing = 3;

// Written as the C library's output, which hosts share whether they print or stream, and flushed at once: the message
// has no line end of its own to push it out before a host writes to its console by other means.
void say(const char* message) {
  std::fputs(message, stdout);
  std::fflush(stdout);
}

Module openLibrary(const char* pathHint) {
  if (pathHint != nullptr) {
    const PlainMemory<char> path = hintedLibrary(pathHint, systemPaths);
    const Module hinted = path != nullptr ? openModule(path.get()) : nullptr;
    if (hinted != nullptr) return hinted;
  }
  return openModule(kLibrary);
}

template <typename Function>
Function find(const char* decoratedName) {
  return reinterpret_cast<Function>(findEntryPoint(gpuLibrary.module, decoratedName));
}

}  // namespace

PlainMemory<char> hintedLibrary(std::string_view hint, const PathRules& rules) {
  const std::size_t separator = hint.find_last_of(rules.separators);
  std::size_t directory = 0;
  if (separator != std::string_view::npos) {
    directory = separator + 1;
  } else if (rules.drives && hint.size() > 1 && hint[1] == ':') {
    directory = 2;  // the drive's current directory
  }
  PlainMemory<char> path(plainMemory<char>(directory + sizeof kLibrary));
  if (path != nullptr) {
    std::memcpy(path.get(), hint.data(), directory);
    std::memcpy(path.get() + directory, kLibrary, sizeof kLibrary);
  }
  return path;
}

}  // namespace quorvel

using namespace quorvel;

int loadFerrox(const char* pathHint) {
  if (gpuLibrary.module == nullptr) gpuLibrary.module = openLibrary(pathHint);
  if (gpuLibrary.module == nullptr) {
    say("\nCan't load Ferrox.dll");
    return kNotFound;
  }
  gpuLibrary.nrCudaDevices = find<NrCudaDevices>("_nrCudaDevices@0");
  gpuLibrary.cudaCall = find<CudaCall>("_cudaCall@8");
  const auto deleteCollector = find<DeleteCollector>("_deleteCollector@4");
  if (gpuLibrary.nrCudaDevices == nullptr || gpuLibrary.cudaCall == nullptr || deleteCollector == nullptr) {
    gpuLibrary.nrCudaDevices = nullptr;
    gpuLibrary.cudaCall = nullptr;
    return kEntryPointMissing;
  }
  registerCollectorRelease(deleteCollector);
  say("\n{Cuda OK!}");
  return kBound;
}

int unloadFerrox() {
  if (gpuLibrary.module == nullptr) return 0;
  const Module module = gpuLibrary.module;
  gpuLibrary = {};
  closeModule(module);
  return 0;
}
